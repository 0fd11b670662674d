/**
 * @file ztlist.h
 * ztList: a doubly linked list.
 *
 * Every element is in an item, a ztListItem, which the item manager makes and deletes; ztcont.h explains the
 * element policy. An element in the caller's form is the pointer itself for a list by pointer, otherwise an
 * address to copy from; an element of the list is the item's `data`. To walk a list, begin with
 * `getItemAt(list, 0)` and follow `next`:
 *
 * @code
 * for (ztListItem *item = ztList_of(list)->getItemAt(list, 0); item != NULL; item = item->next) ...
 * @endcode
 *
 * The list has removed and no longer counts an item before the item and its element are released. An item that
 * is passed to a method must be in that list: an item of another list corrupts both.
 */
#ifndef ZT_CONTAINERS_ZTLIST_H
#define ZT_CONTAINERS_ZTLIST_H

#include "containers/ztlistitem.h"
#include "containers/ztscont.h"

/** Fields of ztList. Head and tail are both NULL or both set; the head has no `prev` and the tail no `next`. */
#define ztList_FIELDS                                                   \
  ztSequenceContainer_FIELDS                                            \
  struct ztListItem *head; /* the first item; NULL when empty; owned */ \
  struct ztListItem *tail; /* the last item; NULL when empty */         \
  uint32_t count;          /* the number of items */

/**
 * The methods of a list, in slot order after those of ztSequenceContainer. The list keeps its items.
 *
 *  - `pushBack`, `pushFront`: the new item at that end. NULL, and no change, when the item manager makes none.
 *  - `insertPrev`, `insertNext`: the new item before or after @c item; at the list's ends through `pushFront`
 *    and `pushBack`. NULL as there, for a NULL item, and when @c item was removed while the new one was made.
 *  - `popFront`: removes the head and HANDS ITS ELEMENT OVER: only the item is released, never the element. If
 *    the list stores elements by value or as objects, read the element with `getFront` before and release it
 *    after, with ztm_free() or `unRef`. Returns the new head, or NULL.
 *  - `popBack`: removes the tail; the item manager deletes it, with its element. Returns the new tail, or NULL.
 *  - `removeItem`: removes the head with `popFront` (the caller then owns its element), the tail with
 *    `popBack`, and returns what these return. The item manager deletes any other item, with its element;
 *    returns the item before it, or NULL when that was removed too. NULL for a NULL item.
 *  - `find`: the first item for whose element the compare function, called with the element and @c key, returns
 *    0; NULL when there is none, or no compare function.
 *  - `getBack`, `getFront`: the element at that end, which the list owns; NULL when the list is empty.
 *  - `empty`: the item manager deletes every item, with its element.
 *  - `getAt`, `getItemAt`: the element, the item at an index, counted from 0 at the head; NULL when the index
 *    is out of range. Takes as many steps as the index.
 *
 * `clone` pushes every element onto the copy with the copy's `pushBack`. `assign` copies no elements.
 */
#define ztList_METHODS                                                                                       \
  ztSequenceContainer_METHODS                                                                                \
  struct ztListItem *(*pushBack)(void *list, const ztBorrowed *element);                            /* 27 */ \
  struct ztListItem *(*pushFront)(void *list, const ztBorrowed *element);                           /* 28 */ \
  struct ztListItem *(*insertPrev)(void *list, struct ztListItem *item, const ztBorrowed *element); /* 29 */ \
  struct ztListItem *(*insertNext)(void *list, struct ztListItem *item, const ztBorrowed *element); /* 30 */ \
  struct ztListItem *(*popFront)(void *list);                                                       /* 31 */ \
  struct ztListItem *(*popBack)(void *list);                                                        /* 32 */ \
  struct ztListItem *(*removeItem)(void *list, struct ztListItem *item);                            /* 33 */ \
  struct ztListItem *(*find)(const void *list, const ztBorrowed *key);                              /* 34 */ \
  ztBorrowed *(*getBack)(const void *list);                                                         /* 35 */ \
  ztBorrowed *(*getFront)(const void *list);                                                        /* 36 */ \
  void (*empty)(void *list);                                                                        /* 37 */ \
  ztBorrowed *(*getAt)(const void *list, int32_t index);                                            /* 38 */ \
  struct ztListItem *(*getItemAt)(const void *list, int32_t index);                                 /* 39 */

/** A doubly linked list. */
ZT_DECLARE_CLASS(ztList)

#endif
