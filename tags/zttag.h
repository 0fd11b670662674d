/**
 * @file zttag.h
 * ztTag, a node that carries attributes: named series of numbers, reached by handle or by name.
 */
#ifndef ZT_TAGS_ZTTAG_H
#define ZT_TAGS_ZTTAG_H

#include "containers/ztarrays.h"
#include "objects/ztroot.h"
#include "tags/zttagattr.h"

ZT_BEGIN_C

/** What `enumTags` calls for each attribute. @return not 0 to go on, 0 to stop */
typedef int32_t (*ztTagCallback)(void *tag, void *attribute, void *userData);

ZT_END_C

/** Fields of ztTag. What the array lists is the tag's: a host may take an attribute out of it, which is then
 *  the host's, but not put another array in its place. */
#define ztTag_FIELDS \
  ztRoot_FIELDS      \
  ztPtrArray *attributes; /* in the order of insertion, one reference each; owned; NULL until the first */

/**
 * The methods of a tag, in slot order after those of ztRoot. A handle that designates no attribute, by
 * its index or by its type, gives 0 or NULL and changes nothing; so does a NULL handle.
 *
 *  - `insertNew`: takes over the caller's reference to an attribute, names it, gives it @c count values
 *    that all equal the one at @c initial (NULL leaves them, new ones 0) and the user value, and writes its handle to
 *    @c handle unless that is NULL. 1; 0 when the attribute is NULL, or in a tag already (whose it then
 *    stays), or, in a tag that has attributes, bears the very name that it is to get (as a new one does
 *    for the empty name), or when memory is exhausted; in these last two cases it is released. Names
 *    may repeat; they are cut to 31 characters. A negative @c count leaves the attribute the number of values that it has.
 *    An attribute is in a tag as long as it is in the tag's array. An attribute that named an owner before,
 *    as a copy does, tells that owner of the initial value. 0 also when that owner then releases the tag or
 *    the attribute, or takes the attribute out of the array.
 *  - `setValue`, `getValue`, `getAverageValue`, `getTotalValue`: the attribute's own.
 *  - `setNumValues`: changes the number of values, then sets all of them to the one at @c initial
 *    (NULL leaves them). 1 or 0. `getNumValues`: the number of values.
 *  - `getValues`: the attribute's array of values itself, a ztIntArray or ztFloatArray; not the
 *    caller's.
 *  - `enumTags`: calls back for every attribute in order; 1, or 0 when the callback stopped it.
 *  - `getByName`: the first attribute of that name; its index is stored at @c index unless that is
 *    NULL. `getByHandle`: the attribute. Both stay the tag's; NULL when there is none.
 *  - `emptySlot2`: NULL.
 *  - `allocWise`: 0. `deallocWise`: cuts the attribute of that name to one value; 1, or 0 when there is
 *    none.
 *  - `attrChanged`: called by an attribute whose value was set; does nothing, for subclasses.
 *  - `swapTags`: exchanges the values of two attributes of one type and number of values; 1 or 0.
 *    Names, user values and cached results stay.
 *
 * An attribute that the host destroys all the same (by giving back a reference that was not its own, or
 * the first of two) leaves its place empty: its handle designates nothing, all others stay valid.
 *
 * A tag that lies in an array is moved as the array grows or shrinks: reach its attributes through the tag
 * (by `getByHandle` and the like) before setting values of theirs, so that they know where it is.
 *
 * `clone` copies the attributes. `assign` assigns attribute to attribute as far as both tags have them.
 * `write` stores the node's record and then each attribute, without their number: `read` needs a tag
 * that holds attributes of the same kinds in the same order.
 */
#define ztTag_METHODS                                                                                        \
  ztRoot_METHODS                                                                                             \
  int32_t (*insertNew)(void *tag, const char *name, void *attribute, ztTagHandle *handle, int32_t userValue, \
                       int32_t count, const void *initial);                                    /* 48 */      \
  int32_t (*setValue)(void *tag, const ztTagHandle *handle, int32_t index, const void *value); /* 49 */      \
  int32_t (*setNumValues)(void *tag, const ztTagHandle *handle, int32_t count,                               \
                          const void *initial);                                            /* 50 */          \
  int32_t (*getNumValues)(const void *tag, const ztTagHandle *handle);                     /* 51 */          \
  void *(*getValue)(const void *tag, const ztTagHandle *handle, int32_t index, void *out); /* 52 */          \
  ztArray *(*getValues)(const void *tag, const ztTagHandle *handle);                       /* 53 */          \
  void *(*getAverageValue)(void *tag, const ztTagHandle *handle, void *out);               /* 54 */          \
  void *(*getTotalValue)(void *tag, const ztTagHandle *handle, void *out);                 /* 55 */          \
  int32_t (*enumTags)(void *tag, ztTagCallback callback, void *userData);                  /* 56 */          \
  void *(*getByName)(const void *tag, const char *name, int32_t *index);                   /* 57 */          \
  void *(*getByHandle)(const void *tag, const ztTagHandle *handle);                        /* 58 */          \
  void *emptySlot2;                                                                        /* 59 */          \
  int32_t (*allocWise)(void *tag, const ztTagHandle *handle);                              /* 60 */          \
  int32_t (*deallocWise)(void *tag, const char *name);                                     /* 61 */          \
  void (*attrChanged)(void *tag, void *attribute);                                         /* 62 */          \
  int32_t (*swapTags)(void *tag, const ztTagHandle *first, const ztTagHandle *second);     /* 63 */

/** A node with attributes. */
ZT_DECLARE_CLASS(ztTag)

#endif
