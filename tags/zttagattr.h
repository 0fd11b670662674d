/**
 * @file zttagattr.h
 * ztTagAttribute, a named series of numbers that a tag holds, and the handle by which the tag finds it.
 */
#ifndef ZT_TAGS_ZTTAGATTR_H
#define ZT_TAGS_ZTTAGATTR_H

#include "containers/ztarray.h"

ZT_BEGIN_C

/** Designates an attribute of a tag; valid only while the attribute at the index has that type. */
typedef struct ztTagHandle {
  int32_t index; /**< the attribute's index in its tag */
  int32_t type;  /**< the attribute's type code: 1 integer, 2 floating point */
} ztTagHandle;

ZT_END_C

/** Fields of ztTagAttribute. */
#define ztTagAttribute_FIELDS                                                                       \
  ztBaseClass_FIELDS                                                                                \
  void *owner;       /* the ztTag that holds the attribute, which its copies name too; not owned */ \
  char name[32];     /* cut to 31 characters, zero behind the text */                               \
  int32_t type;      /* -1 here, 1 for ztIntTag, 2 for ztFloatTag */                                \
  uint32_t changed;  /* 1 when a value changed since a total or average was taken */                \
  int32_t userValue; /* the host's; stored with the attribute */                                    \
  int32_t binding;   /* the library's own */                                                        \
  ztArray *values;   /* owned; NULL in the base class */

/**
 * The methods of an attribute, in slot order. Values are passed by address: 4 bytes for ztIntTag, 8 for
 * ztFloatTag. Without a value array, which only the base class lacks, the results are 0 and NULL. So they
 * are, and no value is read or written, where the type is 1 or 2 and values do not have 4 or 8 bytes.
 *
 *  - `setValue`: stores a value at an index; -1 means every index, and one behind the last means the
 *    first. Then tells the owner (`attrChanged`), once. 1; 0 when the value is NULL or there is no
 *    element to store it in.
 *  - `getValue`: the address of a value, which is also copied to @c out unless that is NULL. An index
 *    behind the last means the first; NULL for a negative one, and when there are no values.
 *  - `getAverageValue`, `getTotalValue`: take the average or total of all values, and return @c out
 *    (nothing is written to a NULL). The two share one cached result, so once either has been taken, the
 *    other gives the same figure until a value is set. A ztFloatTag writes the fresh result to @c out
 *    when a value changed, else the cached one. A ztIntTag writes nothing when a value changed, else
 *    the result of the call before; it truncates averages, and the average of no values is 0.
 *  - `setNumValues`: the number of values; those that are there stay, new ones are 0. 1 or 0. Counts as
 *    no change of a value.
 *
 * A copy made by `clone` names its source's owner, without being held by it, and tells it of changes
 * until one of the two is destroyed; the next setting of a value then clears its `owner`. That of an
 * attribute in a tag, or taken out of its array by the host, is cleared when the tag is destroyed.
 * `assign` takes over the values as far as both attributes have them, and nothing from an attribute of
 * another kind. `read` gives 0 for a stored type 1 or 2 that contradicts the values that the attribute
 * has, whose type then stays.
 */
#define ztTagAttribute_METHODS                                                     \
  ztBaseClass_METHODS                                                              \
  int32_t (*setValue)(void *attribute, int32_t index, const void *value); /* 16 */ \
  void *(*getValue)(const void *attribute, int32_t index, void *out);     /* 17 */ \
  void *(*getAverageValue)(void *attribute, void *out);                   /* 18 */ \
  void *(*getTotalValue)(void *attribute, void *out);                     /* 19 */ \
  int32_t (*setNumValues)(void *attribute, int32_t count);                /* 20 */

/** The base of attributes. */
ZT_DECLARE_CLASS(ztTagAttribute)

ZT_BEGIN_C

/** Reads a handle: index, then type. @return 1; 0 as soon as a read fails, or for a NULL */
ZT_API int32_t ztTat_readHandle(void *file, ztTagHandle *handle);

/** Writes a handle: index, then type. @return 1; 0 as soon as a write fails, or for a NULL */
ZT_API int32_t ztTat_writeHandle(void *file, const ztTagHandle *handle);

ZT_END_C

#endif
