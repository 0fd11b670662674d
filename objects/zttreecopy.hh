#ifndef ZT_OBJECTS_ZTTREECOPY_HH
#define ZT_OBJECTS_ZTTREECOPY_HH

#include "objects/ztroot.h"

namespace ztcore {

// The methods of the nearest library class. Equal entries mean that the node does not override the method.
const ztRootMethods *libraryMethodsOf(const ztRoot *node);

// Fills the list of a copy with copies of a node's children, and of all below them. False, with a part of them
// listed, when a copy fails.
bool copyChildren(const ztRoot *node, ztRoot *copy);

// Assigns another node's children to those at the same positions, and below. 0 without enough stack or memory.
int32_t assignChildren(ztRoot *node, const ztRoot *other);

// Copies a node without its children, into memory that holds no object. NULL on failure.
ztRoot *copyNodeAlone(const void *node, void *target);

}  // namespace ztcore

#endif
