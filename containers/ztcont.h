/**
 * @file ztcont.h
 * ztContainer, the base of all containers.
 *
 * A container keeps its elements as its element policy says. The three cases are tested in this order:
 *
 *  - an element constructor is set: elements are objects. The container copies each into an object of
 *    its own with `clone`, and releases that with `unRef`. An element of a larger subclass is copied
 *    by its own class.
 *  - by pointer: the container keeps the caller's pointer and never follows or frees it.
 *  - by value: the container allocates as many bytes as the element size says and copies them.
 *
 * Set the policy after `create` and before the first element; elements that are stored already are not
 * converted. Containers whose elements stand in items of their own make, copy and delete every item
 * through their item manager, which is the container itself unless a host sets another.
 *
 * The methods of elements, items and item managers may call any method of the container whose call is under
 * way, or end it: it is whole whenever they run. What they put into a container that is being destroyed is
 * destroyed, too. A compare function must not change a list, tree, map or hash table that it is called for.
 * An exception or a longjmp() may leave any of these functions: the container is whole then, but what its
 * call had begun is lost, an element or a block of memory.
 */
#ifndef ZT_CONTAINERS_ZTCONT_H
#define ZT_CONTAINERS_ZTCONT_H

#include "core/ztbasec.h"

ZT_BEGIN_C

/** Compares two elements: 0 when they are equal, below 0 when the first sorts first, above 0 when the
 *  second does. The functions `C_compare_func` of the library take the addresses of two elements and
 *  give 0, 1 or -1; `C_compare_func_ptr` takes the elements themselves. */
typedef int32_t (*ztCompareFunc)(const void *first, const void *second);

ZT_END_C

/** Fields of ztContainer. */
#define ztContainer_FIELDS                                                            \
  ztBaseClass_FIELDS                                                                  \
  ztCtor itemConstructor;        /* makes the items; NULL where there are none */     \
  void *itemManager;             /* makes, copies and deletes the items; not owned */ \
  ztCompareFunc compareFunction; /* NULL until set */                                 \
  uint32_t allowDuplicate;       /* not 0: a sorted container keeps equal elements */

/**
 * The methods of a container, in slot order.
 *
 *  - `newItem`: a new item with @c element stored in it as the policy says; the caller's to hand to
 *    `deleteItem`. NULL when memory is exhausted, the element is NULL though the policy has to copy
 *    it, or it cannot be cloned.
 *  - `copyItem`: stores a copy of the source item's element in the destination item, and returns the
 *    destination. NULL data are copied as NULL; so are data that cannot be copied.
 *  - `deleteItem`: releases the item's element as the policy says, then the item. NULL does nothing.
 *  - `setItemConstructor`: the class of the items; called by each container's own `create`.
 *  - `setItemManager`: the container whose `newItem`, `copyItem` and `deleteItem` are used, NULL
 *    for the container itself; no reference is taken. A copy made by `clone` is its own manager.
 *  - `setCompareFunction`, `setAllowDuplicate`: see the fields.
 *  - `getSize`: the number of elements.
 *
 * The first four and `getSize` are abstract here.
 */
#define ztContainer_METHODS                                                           \
  ztBaseClass_METHODS                                                                 \
  void *(*newItem)(void *container, const void *element);                    /* 16 */ \
  void *(*copyItem)(void *container, void *destination, const void *source); /* 17 */ \
  void (*deleteItem)(void *container, void *item);                           /* 18 */ \
  void (*setItemConstructor)(void *container, ztCtor constructor);           /* 19 */ \
  void (*setItemManager)(void *container, void *manager);                    /* 20 */ \
  void (*setCompareFunction)(void *container, ztCompareFunc compare);        /* 21 */ \
  void (*setAllowDuplicate)(void *container, uint32_t allow);                /* 22 */ \
  int32_t (*getSize)(const void *container);                                 /* 23 */

/** The abstract container. */
ZT_DECLARE_CLASS(ztContainer)

#endif
