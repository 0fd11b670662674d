#ifndef ZT_TAGS_ZTTAGATTR_HH
#define ZT_TAGS_ZTTAGATTR_HH

#include "tags/zttagattr.h"

namespace ztcore {

// 0 without a value array.
int32_t countValues(const void *attribute);

// Whether each value has `size` bytes, as many as `getValue` then copies, and the type allows that.
bool hasValuesOf(const void *attribute, int32_t size);

}  // namespace ztcore

#endif
