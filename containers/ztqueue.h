/**
 * @file ztqueue.h
 * ztQueue: first in, first out. It keeps its elements in a ztDeque.
 */
#ifndef ZT_CONTAINERS_ZTQUEUE_H
#define ZT_CONTAINERS_ZTQUEUE_H

#include "containers/ztdeque.h"

/** Fields of ztQueue. */
#define ztQueue_FIELDS       \
  ztSequenceContainer_FIELDS \
  struct ztDeque *inner; /* keeps the elements; owned; NULL only when memory was exhausted */

/**
 * The methods of a queue, in slot order after those of ztSequenceContainer. The setters of the compare
 * function, of duplicates and of the element policy hold for the deque too; item constructor and item
 * manager are the queue's own and without effect on it.
 *
 *  - `push`: adds an element at the back. Returns the new list item, which stays the list's, or NULL.
 *  - `pop`: takes off the element at the front and HANDS IT OVER, as a list's `popFront` does: a
 *    caller whose queue keeps elements by value or as objects reads it with `getFront` first and
 *    releases it afterwards, with ztm_free() or `unRef`. Returns the list's new first item, or NULL.
 *  - `getBack`, `getFront`: the element at that end, the list's; NULL when the queue is empty.
 *  - `isEmpty`: 1 when there is no element, else 0.
 */
#define ztQueue_METHODS                                                  \
  ztSequenceContainer_METHODS                                            \
  struct ztListItem *(*push)(void *queue, const void *element); /* 27 */ \
  struct ztListItem *(*pop)(void *queue);                       /* 28 */ \
  void *(*getBack)(const void *queue);                          /* 29 */ \
  void *(*getFront)(const void *queue);                         /* 30 */ \
  int32_t (*isEmpty)(const void *queue);                        /* 31 */

/** A queue. */
ZT_DECLARE_CLASS(ztQueue)

#endif
