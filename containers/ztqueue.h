/**
 * @file ztqueue.h
 * ztQueue: first in, first out. It holds its elements in a ztDeque.
 */
#ifndef ZT_CONTAINERS_ZTQUEUE_H
#define ZT_CONTAINERS_ZTQUEUE_H

#include "containers/ztdeque.h"

/** Fields of ztQueue. */
#define ztQueue_FIELDS       \
  ztSequenceContainer_FIELDS \
  struct ztDeque *inner; /* holds the elements; owned; NULL only when memory was exhausted */

/**
 * The methods of a queue, in slot order after those of ztSequenceContainer. The setters of compare function,
 * duplicates and element policy also set the deque's; item constructor and manager do not affect it.
 *
 *  - `push`: adds an element at the back. Returns the new list item, which the list owns, or NULL.
 *  - `pop`: removes the element at the front and HANDS IT OVER, as a list's `popFront` does: if the queue
 *    stores elements by value or as objects, read the element with `getFront` before and release it after, with
 *    ztm_free() or `unRef`. Returns the list's new first item, or NULL.
 *  - `getBack`, `getFront`: the element at that end, which the list owns; NULL when the queue is empty.
 *  - `isEmpty`: 1 when there is no element, else 0.
 */
#define ztQueue_METHODS                                                        \
  ztSequenceContainer_METHODS                                                  \
  struct ztListItem *(*push)(void *queue, const ztBorrowed *element); /* 27 */ \
  struct ztListItem *(*pop)(void *queue);                             /* 28 */ \
  ztBorrowed *(*getBack)(const void *queue);                          /* 29 */ \
  ztBorrowed *(*getFront)(const void *queue);                         /* 30 */ \
  int32_t (*isEmpty)(const void *queue);                              /* 31 */

/** A queue. */
ZT_DECLARE_CLASS(ztQueue)

#endif
