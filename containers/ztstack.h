/**
 * @file ztstack.h
 * ztStack: last in, first out. It holds its elements in a ztDeque.
 */
#ifndef ZT_CONTAINERS_ZTSTACK_H
#define ZT_CONTAINERS_ZTSTACK_H

#include "containers/ztdeque.h"

/** Fields of ztStack. */
#define ztStack_FIELDS       \
  ztSequenceContainer_FIELDS \
  struct ztDeque *inner; /* holds the elements; owned; NULL only when memory was exhausted */

/**
 * The methods of a stack, in slot order after those of ztSequenceContainer. The setters of compare function,
 * duplicates and element policy also set the deque's; item constructor and manager do not affect it.
 *
 *  - `push`: adds an element on top. Returns the new list item, which the list owns, or NULL.
 *  - `pop`: removes the top element and releases it as the policy says. Returns the list's new tail, or NULL.
 *  - `getTop`: the top element, which the list owns; NULL when the stack is empty.
 *  - `isEmpty`: 1 when there is no element, else 0.
 */
#define ztStack_METHODS                                                        \
  ztSequenceContainer_METHODS                                                  \
  struct ztListItem *(*push)(void *stack, const ztBorrowed *element); /* 27 */ \
  struct ztListItem *(*pop)(void *stack);                             /* 28 */ \
  ztBorrowed *(*getTop)(const void *stack);                           /* 29 */ \
  int32_t (*isEmpty)(const void *stack);                              /* 30 */

/** A stack. */
ZT_DECLARE_CLASS(ztStack)

#endif
