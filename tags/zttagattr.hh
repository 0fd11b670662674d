// What tags and attributes know of each other.
#ifndef ZT_TAGS_ZTTAGATTR_HH
#define ZT_TAGS_ZTTAGATTR_HH

#include "tags/zttagattr.h"

// A copy of an attribute names its source's owner, which does not know of it. Such guests are listed,
// so that a tag that dies can be struck out of them. An attribute that a tag holds is no guest.
void ztTatSetOwner(ztTagAttribute *attribute, void *tag);
void ztTatForgetOwner(const void *tag);

// The number of the attribute's values; 0 without a value array.
int32_t ztTatCount(const void *attribute);

#endif
