/**
 * @file ztinttag.h
 * ztIntTag: an attribute of signed 32-bit integers.
 */
#ifndef ZT_TAGS_ZTINTTAG_H
#define ZT_TAGS_ZTINTTAG_H

#include "tags/zttagattr.h"

/** Fields of ztIntTag. */
#define ztIntTag_FIELDS \
  ztTagAttribute_FIELDS \
  int32_t cachedResult; /* the last total or average */

/** The methods of ztTagAttribute. A new attribute has one value, 0; totals wrap at 32 bits. */
#define ztIntTag_METHODS ztTagAttribute_METHODS

/** An attribute of integers. */
ZT_DECLARE_CLASS(ztIntTag)

#endif
