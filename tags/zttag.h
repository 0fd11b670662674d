/**
 * @file zttag.h
 * ztTag, a node with attributes: named series of numbers, found by handle or by name.
 */
#ifndef ZT_TAGS_ZTTAG_H
#define ZT_TAGS_ZTTAG_H

#include "containers/ztarrays.h"
#include "objects/ztroot.h"
#include "tags/zttagattr.h"

ZT_BEGIN_C

/** Called by `enumTags` for each attribute. @return not 0 to continue, 0 to stop */
typedef int32_t (*ztTagCallback)(void *tag, void *attribute, void *userData);

ZT_END_C

/** Fields of ztTag. The tag owns the attributes in the array. A host may remove an attribute from it, which the
 *  host then owns, but must not replace the array. */
#define ztTag_FIELDS \
  ztRoot_FIELDS      \
  ztPtrArray *attributes; /* in order of insertion, one reference each; owned; NULL until the first */

/**
 * The methods of a tag, in slot order after those of ztRoot. A handle that designates no attribute, by its
 * index or its type, gives 0 or NULL and changes nothing; so does a NULL handle.
 *
 *  - `insertNew`: takes over the caller's reference to an attribute and sets its name, its number of values,
 *    all values to the one at @c initial (NULL leaves them, new ones 0) and its user value; writes its handle
 *    to @c handle unless that is NULL. 1. 0 when the attribute is NULL or already in a tag, where it stays. 0,
 *    with the attribute released, when memory is exhausted, or when the tag has attributes and this one already
 *    has the given name (a new one has the empty name). Names may repeat; they are cut to 31 characters. A
 *    negative @c count keeps the number of values. An attribute is in a tag while it is in the tag's array. An
 *    attribute with an earlier owner, such as a copy, tells that owner of the initial value. 0 also when that
 *    owner then releases the tag or the attribute, or removes the attribute from the array.
 *  - `setValue`, `getValue`, `getAverageValue`, `getTotalValue`: the attribute's own.
 *  - `setNumValues`: changes the number of values, then sets all of them to the one at @c initial (NULL leaves
 *    them). 1 or 0. `getNumValues`: the number of values.
 *  - `getValues`: the attribute's own array of values, a ztIntArray or ztFloatArray; the attribute owns it.
 *  - `enumTags`: calls back for every attribute in order; 1, or 0 when the callback stopped it.
 *  - `getByName`: the first attribute of that name; stores its index at @c index unless that is NULL.
 *    `getByHandle`: the attribute. The tag owns both; NULL when there is none.
 *  - `emptySlot2`: NULL.
 *  - `allocWise`: 0. `deallocWise`: cuts the attribute of that name to one value; 1, or 0 when there is none.
 *  - `attrChanged`: called by an attribute whose value was set; does nothing, for subclasses.
 *  - `swapTags`: exchanges the values of two attributes of one type and number of values; 1 or 0. Names, user
 *    values and cached results stay.
 *
 * If the host destroys an attribute in a tag (by releasing a reference that it does not own, or the first of
 * two), its place stays empty: its handle designates nothing, all others stay valid.
 *
 * A tag in an array moves when the array grows or shrinks: get its attributes through the tag (by `getByHandle`
 * and similar methods) before you set their values, so that they know its address.
 *
 * `clone` copies the attributes. `assign` assigns attribute to attribute as far as both tags have them. `write`
 * stores the node's record and then each attribute, without their number: `read` needs a tag with attributes of
 * the same kinds in the same order.
 */
#define ztTag_METHODS                                                                                      \
  ztRoot_METHODS                                                                                           \
  int32_t (*insertNew)(void *tag, const ztBorrowedText *name, ztOwned *attribute, ztTagHandle *handle,     \
                       int32_t userValue, int32_t count, const ztBorrowed *initial); /* 48 */              \
  int32_t (*setValue)(void *tag, const ztTagHandle *handle, int32_t index,                                 \
                      const ztBorrowed *value); /* 49 */                                                   \
  int32_t (*setNumValues)(void *tag, const ztTagHandle *handle, int32_t count,                             \
                          const ztBorrowed *initial);                                             /* 50 */ \
  int32_t (*getNumValues)(const void *tag, const ztTagHandle *handle);                            /* 51 */ \
  ztBorrowed *(*getValue)(const void *tag, const ztTagHandle *handle, int32_t index, ztOut *out); /* 52 */ \
  ztArray *(*getValues)(const void *tag, const ztTagHandle *handle);                              /* 53 */ \
  ztBorrowed *(*getAverageValue)(void *tag, const ztTagHandle *handle, ztOut *out);               /* 54 */ \
  ztBorrowed *(*getTotalValue)(void *tag, const ztTagHandle *handle, ztOut *out);                 /* 55 */ \
  int32_t (*enumTags)(void *tag, ztTagCallback callback, ztBorrowed *userData);                   /* 56 */ \
  ztBorrowed *(*getByName)(const void *tag, const ztBorrowedText *name, int32_t *index);          /* 57 */ \
  ztBorrowed *(*getByHandle)(const void *tag, const ztTagHandle *handle);                         /* 58 */ \
  void *emptySlot2;                                                                               /* 59 */ \
  int32_t (*allocWise)(void *tag, const ztTagHandle *handle);                                     /* 60 */ \
  int32_t (*deallocWise)(void *tag, const ztBorrowedText *name);                                  /* 61 */ \
  void (*attrChanged)(void *tag, ztBorrowed *attribute);                                          /* 62 */ \
  int32_t (*swapTags)(void *tag, const ztTagHandle *first, const ztTagHandle *second);            /* 63 */

/** A node with attributes. */
ZT_DECLARE_CLASS(ztTag)

#endif
