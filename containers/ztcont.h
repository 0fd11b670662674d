/**
 * @file ztcont.h
 * ztContainer, the base of all containers.
 *
 * The element policy decides how a container stores its elements. The three cases are tested in this order:
 *
 *  - an element constructor is set: elements are objects. The container copies each with `clone` into an object
 *    of its own, and releases that with `unRef`. An element of a larger subclass is copied by its own class.
 *  - by pointer: the container stores the caller's pointer and never follows or frees it.
 *  - by value: the container allocates as many bytes as the element size says and copies them.
 *
 * Set the policy after `create` and before the first element; stored elements are not converted. A container
 * with items makes, copies and deletes every item through its item manager, which is the container itself
 * unless a host sets another.
 *
 * The methods of elements, items and item managers may call any method of the container, or destroy it: it is
 * consistent whenever they run. What they put into a container that is being destroyed is destroyed too. A
 * compare function must not change the list, tree, map or hash table that calls it. An exception or a longjmp()
 * may leave any of these functions: the container stays consistent, but an element or a block may leak.
 */
#ifndef ZT_CONTAINERS_ZTCONT_H
#define ZT_CONTAINERS_ZTCONT_H

#include "core/ztbasec.h"

ZT_BEGIN_C

/** Compares two elements: 0 when they are equal, below 0 when the first sorts first, else above 0. The
 *  library's functions `C_compare_func` take the addresses of two elements and return 0, 1 or -1;
 *  `C_compare_func_ptr` takes the elements themselves. */
typedef int32_t (*ztCompareFunc)(const void *first, const void *second);

ZT_END_C

/** Fields of ztContainer. */
#define ztContainer_FIELDS                                                                 \
  ztBaseClass_FIELDS                                                                       \
  ztCtor itemConstructor;        /* makes the items; NULL for a container without items */ \
  void *itemManager;             /* makes, copies and deletes the items; not owned */      \
  ztCompareFunc compareFunction; /* NULL until set */                                      \
  uint32_t allowDuplicate;       /* not 0: a sorted container keeps equal elements */

/**
 * The methods of a container, in slot order.
 *
 *  - `newItem`: a new item with @c element stored as the policy says; the caller passes it to `deleteItem`.
 *    NULL when memory is exhausted, or for an element that is NULL although the policy copies, or cannot be
 *    cloned.
 *  - `copyItem`: stores a copy of the source item's element in the destination item, and returns the
 *    destination. Stores NULL for NULL data and for data that cannot be copied.
 *  - `deleteItem`: releases the item's element as the policy says, then the item. NULL does nothing.
 *  - `setItemConstructor`: the class of the items; called by each container's own `create`.
 *  - `setItemManager`: the container whose `newItem`, `copyItem` and `deleteItem` are used, NULL for the
 *    container itself; adds no reference. A copy made by `clone` is its own manager.
 *  - `setCompareFunction`, `setAllowDuplicate`: see the fields.
 *  - `getSize`: the number of elements.
 *
 * The first four and `getSize` are abstract here.
 */
#define ztContainer_METHODS                                                                             \
  ztBaseClass_METHODS                                                                                   \
  ztOwned *(*newItem)(void *container, const ztBorrowed *element);                             /* 16 */ \
  ztBorrowed *(*copyItem)(void *container, ztBorrowed *destination, const ztBorrowed *source); /* 17 */ \
  void (*deleteItem)(void *container, ztOwned *item);                                          /* 18 */ \
  void (*setItemConstructor)(void *container, ztCtor constructor);                             /* 19 */ \
  void (*setItemManager)(void *container, ztBorrowed *manager);                                /* 20 */ \
  void (*setCompareFunction)(void *container, ztCompareFunc compare);                          /* 21 */ \
  void (*setAllowDuplicate)(void *container, uint32_t allow);                                  /* 22 */ \
  int32_t (*getSize)(const void *container);                                                   /* 23 */

/** The abstract container. */
ZT_DECLARE_CLASS(ztContainer)

#endif
