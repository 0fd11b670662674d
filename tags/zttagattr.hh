// What the kinds of attributes have in common.
#ifndef ZT_TAGS_ZTTAGATTR_HH
#define ZT_TAGS_ZTTAGATTR_HH

#include "tags/zttagattr.h"

namespace ztcore {

// The number of the attribute's values; 0 without a value array.
int32_t countValues(const void *attribute);

// Whether the values have so many bytes each, as many as `getValue` then copies, and the type does not
// contradict that.
bool hasValuesOf(const void *attribute, int32_t size);

}  // namespace ztcore

#endif
