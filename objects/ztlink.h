/**
 * @file ztlink.h
 * ztLink, a reference to another object that can be stored: a file holds the target's identifier, and
 * ztLink_resolve() sets the target again after loading.
 */
#ifndef ZT_OBJECTS_ZTLINK_H
#define ZT_OBJECTS_ZTLINK_H

#include "containers/ztarray.h"

/** Fields of ztLink. */
#define ztLink_FIELDS                                                  \
  ztBaseClass_FIELDS                                                   \
  void *target;     /* the object; NULL while unresolved; not owned */ \
  int32_t targetId; /* its stored identifier; -1 for an unset link */

/** ztLink adds no methods. A copy keeps the identifier and is unresolved; `read` does not change the target.
 *  The comparisons stay abstract, because links have no order. */
#define ztLink_METHODS ztBaseClass_METHODS

/** A link. */
ZT_DECLARE_CLASS(ztLink)

#define ztLinkArray_FIELDS ztArray_FIELDS
#define ztLinkArray_METHODS ztArray_METHODS
/** An array that holds ztLink objects in its block. */
ZT_DECLARE_CLASS(ztLinkArray)

ZT_BEGIN_C

/** Sets a link's target to the first node of a tree with the stored identifier. Parents come before children.
 *  @param link  a ztLink
 *  @param root  a ztRoot; it is searched too
 *  @return 1; 0, with the target set to NULL, when there is no such node and always for the identifier -1 */
ZT_API int32_t ztLink_resolve(void *link, void *root);

/** Links to a node: sets the target and its identifier at once.
 *  @param link  a ztLink
 *  @param node  a ztRoot, not owned; its `getUid` gives the identifier. NULL unsets the link: no target, and -1
 *  @return 1; 0, with the link unchanged and a line in the log, when @p link is NULL or no ztLink, or @p node is no
 *          ztRoot. A node whose identifier is -1 cannot be found again: 0 as well */
ZT_API int32_t ztLink_set(void *link, void *node);

/** Resolves every link of a ztLinkArray with one walk over the tree.
 *  @return the number of links that have a target now; 0, with the links unchanged, when memory is exhausted */
ZT_API int32_t ztLinkArray_resolve(void *links, void *root);

/** Compares two ztLink objects by their `isEqual` and `isMajor`, which have no meaning unless a subclass
 *  overrides them: pass a function of your own to `sort` and `search`.
 *  @return 0, 1 or -1 */
ZT_API int32_t ztLinkArray_compare_func(const void *first, const void *second);
/** The same for the elements themselves. */
ZT_API int32_t ztLinkArray_compare_func_ptr(const void *first, const void *second);

ZT_END_C

#endif
