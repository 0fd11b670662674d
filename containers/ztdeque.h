/**
 * @file ztdeque.h
 * ztDeque: a double-ended queue, which holds its elements in a ztList.
 */
#ifndef ZT_CONTAINERS_ZTDEQUE_H
#define ZT_CONTAINERS_ZTDEQUE_H

#include "containers/ztlist.h"

/** Fields of ztDeque. */
#define ztDeque_FIELDS       \
  ztSequenceContainer_FIELDS \
  struct ztList *inner; /* holds the elements; owned; NULL only when memory was exhausted */

/**
 * The methods of a deque, in slot order after those of ztSequenceContainer. The setters of compare function,
 * duplicates and element policy also set the list's; item constructor and manager do not affect it.
 *
 *  - `pushBack`, `pushFront`: the new list item at that end, which the list owns, or NULL.
 *  - `popBack`: removes and releases the last element as the policy says. Returns the list's new tail, or NULL.
 *  - `popFront`: removes the first element and HANDS IT OVER, as a list does: if the deque stores elements by
 *    value or as objects, read the element with `getFront` before and release it after, with ztm_free() or
 *    `unRef`. Returns the list's new first item, or NULL.
 *  - `getBack`, `getFront`: the element at that end, which the list owns; NULL when the deque is empty.
 *  - `isEmpty`: 1 when there is no element, else 0.
 */
#define ztDeque_METHODS                                                             \
  ztSequenceContainer_METHODS                                                       \
  struct ztListItem *(*pushBack)(void *deque, const ztBorrowed *element);  /* 27 */ \
  struct ztListItem *(*pushFront)(void *deque, const ztBorrowed *element); /* 28 */ \
  struct ztListItem *(*popBack)(void *deque);                              /* 29 */ \
  struct ztListItem *(*popFront)(void *deque);                             /* 30 */ \
  ztBorrowed *(*getBack)(const void *deque);                               /* 31 */ \
  ztBorrowed *(*getFront)(const void *deque);                              /* 32 */ \
  int32_t (*isEmpty)(const void *deque);                                   /* 33 */

/** A double-ended queue. */
ZT_DECLARE_CLASS(ztDeque)

#endif
