// What tags and attributes know of each other.
#ifndef ZT_TAGS_ZTTAGATTR_HH
#define ZT_TAGS_ZTTAGATTR_HH

#include "tags/zttagattr.h"

// Makes a tag the owner that holds the attribute in its array, or leaves the attribute without one.
void ztTatHold(ztTagAttribute *attribute, void *tag);
void ztTatLetGo(ztTagAttribute *attribute);
bool ztTatIsHeld(const ztTagAttribute *attribute);

// Strikes a tag that is destroyed out of the attributes that name it without being held by it.
void ztTatForgetOwner(const void *tag);

// Takes an attribute that is destroyed out of the array of the tag that holds it. The others keep their
// places, so that their handles stay valid.
void ztTagDropAttribute(void *tag, const ztTagAttribute *attribute);

// The number of the attribute's values; 0 without a value array.
int32_t ztTatCount(const void *attribute);

#endif
