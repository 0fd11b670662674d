// The part of a tag beyond its node, for loops that copy and assign trees.
#ifndef ZT_TAGS_ZTTAG_HH
#define ZT_TAGS_ZTTAG_HH

#include "tags/zttag.h"

namespace ztcore {

// Copies a tag's attributes into a copy whose array is not its own yet. False when memory is exhausted; the
// copy may have some of them then.
bool copyAttributes(const ztTag *tag, ztTag *copy);

// Assigns the attributes of another tag to those at the same positions.
void assignAttributes(ztTag *tag, const ztTag *other);

}  // namespace ztcore

#endif
