// Copies and assignments of whole trees.
#ifndef ZT_OBJECTS_ZTTREECOPY_HH
#define ZT_OBJECTS_ZTTREECOPY_HH

#include "objects/ztroot.h"

namespace ztcore {

// The methods of the nearest class of the library's: a node does what they do where its own are the same.
const ztRootMethods *libraryMethodsOf(const ztRoot *node);

// Fills the list of a copy with copies of a node's children, and of all below them. False, with a part of
// them listed, where one cannot be copied.
bool copyChildren(const ztRoot *node, ztRoot *copy);

// Assigns the children of another node to those in the same places, and so on below them. 0 where that
// would take more stack or memory than there is.
int32_t assignChildren(ztRoot *node, const ztRoot *other);

// Begins a copy of a node: all but its children, in memory that holds nothing. NULL on failure.
ztRoot *copyNodeAlone(const void *node, void *target);

}  // namespace ztcore

#endif
