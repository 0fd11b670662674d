/**
 * @file ztlink.h
 * ztLink, a reference to another object that can be stored: a file holds the target's identifier, and
 * the reference is made again after loading, with ztLink_resolve().
 */
#ifndef ZT_OBJECTS_ZTLINK_H
#define ZT_OBJECTS_ZTLINK_H

#include "containers/ztarray.h"

/** Fields of ztLink. */
#define ztLink_FIELDS                                                  \
  ztBaseClass_FIELDS                                                   \
  void *target;     /* the object; NULL while unresolved; not owned */ \
  int32_t targetId; /* its identifier as stored; -1 while the link is unset */

/** ztLink adds no methods. A copy keeps the identifier and is unresolved; `read` leaves the target as it
 *  is. The comparisons stay abstract: links have no order of their own. */
#define ztLink_METHODS ztBaseClass_METHODS

/** A link. */
ZT_DECLARE_CLASS(ztLink)

#define ztLinkArray_FIELDS ztArray_FIELDS
#define ztLinkArray_METHODS ztArray_METHODS
/** An array whose elements are ztLink objects in its block. */
ZT_DECLARE_CLASS(ztLinkArray)

ZT_BEGIN_C

/**
 * Points a link at the first node of a tree that bears the identifier of its target, in the order in
 * which each node stands before its children.
 * @param link  a ztLink
 * @param root  a ztRoot; it is searched too
 * @return 1; 0 when there is none, and always for the identifier -1: the target is NULL then
 */
ZT_API int32_t ztLink_resolve(void *link, void *root);

/**
 * Does the same for every link of a ztLinkArray, with one walk over the tree.
 * @return the number of links that have a target now; 0 also when memory is exhausted, with the links as
 *         they were
 */
ZT_API int32_t ztLinkArray_resolve(void *links, void *root);

/** Compares two ztLink objects by their `isEqual` and `isMajor`, which say nothing unless a subclass
 *  supplies them: to sort or search links, hand a function of your own to `sort` and `search`.
 *  @return 0, 1 or -1 */
ZT_API int32_t ztLinkArray_compare_func(const void *first, const void *second);
/** The same; the form that takes the elements themselves. */
ZT_API int32_t ztLinkArray_compare_func_ptr(const void *first, const void *second);

ZT_END_C

#endif
