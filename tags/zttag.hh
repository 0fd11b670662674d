// What a tag does beside what it does as a node, for trees of tags that are copied and assigned in loops.
#ifndef ZT_TAGS_ZTTAG_HH
#define ZT_TAGS_ZTTAG_HH

#include "tags/zttag.h"

namespace ztcore {

// Gives a copy, whose array is not its own yet, copies of a tag's attributes. False without memory; the copy
// may have some of them then.
bool copyAttributes(const ztTag *tag, ztTag *copy);

// Assigns the attributes of another tag to those in the same places.
void assignAttributes(ztTag *tag, const ztTag *other);

}  // namespace ztcore

#endif
