/**
 * @file ztfloattag.h
 * ztFloatTag: an attribute of doubles.
 */
#ifndef ZT_TAGS_ZTFLOATTAG_H
#define ZT_TAGS_ZTFLOATTAG_H

#include "tags/zttagattr.h"

/** Fields of ztFloatTag. */
#define ztFloatTag_FIELDS                              \
  ztTagAttribute_FIELDS                                \
  double cachedResult; /* the last total or average */ \
  int64_t reserved;    /* 0 */

/** The methods of ztTagAttribute. A new attribute has one value, 0; the average of no values is NaN. */
#define ztFloatTag_METHODS ztTagAttribute_METHODS

/** An attribute of doubles. */
ZT_DECLARE_CLASS(ztFloatTag)

#endif
