/**
 * @file zttagattr.h
 * ztTagAttribute, a named series of numbers in a tag, and the handle by which the tag finds it.
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
#define ztTagAttribute_FIELDS                                                           \
  ztBaseClass_FIELDS                                                                    \
  void *owner;       /* the ztTag of the attribute, or of a copy's source; not owned */ \
  char name[32];     /* cut to 31 characters, zero behind the text */                   \
  int32_t type;      /* -1 here, 1 for ztIntTag, 2 for ztFloatTag */                    \
  uint32_t changed;  /* 1 when a value changed since the last total or average */       \
  int32_t userValue; /* of the host; stored with the attribute */                       \
  int32_t binding;   /* private */                                                      \
  ztArray *values;   /* owned; NULL in the base class */

/**
 * The methods of an attribute, in slot order. Values are passed by address: 4 bytes for ztIntTag, 8 for
 * ztFloatTag. Without a value array, as in the base class, the results are 0 and NULL. The same results, with
 * no value read or written, come from a type 1 or 2 whose values do not have 4 or 8 bytes.
 *
 *  - `setValue`: stores a value at an index; -1 means every index, one behind the last means the first. Then
 *    tells the owner (`attrChanged`), once. 1; 0 when the value is NULL or there is no element for it.
 *  - `getValue`: the address of a value; also copies it to @c out unless that is NULL. An index behind the last
 *    means the first; NULL for a negative one, and when there are no values.
 *  - `getAverageValue`, `getTotalValue`: the average or total of all values; return @c out (which may be NULL).
 *    The two share one cached result: after either was called, the other gives the same number until a value is
 *    set. A ztFloatTag writes the new result to @c out when a value changed, else the cached one. A ztIntTag
 *    writes nothing when a value changed, else the result of the previous call; it truncates averages, and the
 *    average of no values is 0.
 *  - `setNumValues`: the number of values; existing ones stay, new ones are 0. 1 or 0. No value counts as
 *    changed.
 *
 * A copy made by `clone` has its source's owner, which does not hold it, and tells it of changes until one of
 * the two is destroyed; the next setting of a value then clears the copy's `owner`. When a tag is destroyed,
 * the `owner` of its attributes, also of those that the host removed from its array, is cleared. `assign`
 * copies the values as far as both attributes have them, and nothing from an attribute of another kind. `read`
 * returns 0 for a stored type 1 or 2 that contradicts the attribute's values; its type then stays.
 */
#define ztTagAttribute_METHODS                                                           \
  ztBaseClass_METHODS                                                                    \
  int32_t (*setValue)(void *attribute, int32_t index, const ztBorrowed *value); /* 16 */ \
  ztBorrowed *(*getValue)(const void *attribute, int32_t index, ztOut *out);    /* 17 */ \
  ztBorrowed *(*getAverageValue)(void *attribute, ztOut *out);                  /* 18 */ \
  ztBorrowed *(*getTotalValue)(void *attribute, ztOut *out);                    /* 19 */ \
  int32_t (*setNumValues)(void *attribute, int32_t count);                      /* 20 */

/** The base of attributes. */
ZT_DECLARE_CLASS(ztTagAttribute)

ZT_BEGIN_C

/** Reads a handle: index, then type. @return 1; 0 as soon as a read fails, or for a NULL */
ZT_API int32_t ztTat_readHandle(void *file, ztTagHandle *handle);

/** Writes a handle: index, then type. @return 1; 0 as soon as a write fails, or for a NULL */
ZT_API int32_t ztTat_writeHandle(void *file, const ztTagHandle *handle);

ZT_END_C

#endif
