/**
 * @file ztiter.h
 * ztIterator: the interface of objects that walk a container.
 */
#ifndef ZT_CONTAINERS_ZTITER_H
#define ZT_CONTAINERS_ZTITER_H

#include "core/ztbasec.h"

/** ztIterator adds no fields. */
#define ztIterator_FIELDS ztBaseClass_FIELDS

/**
 * The methods of an iterator, in slot order; all are abstract in ztIterator. Each returns an item, which the
 * container keeps, or NULL at the end.
 *
 *  - `start`: begins a walk at the first item (direction 0) or at the last (direction 1).
 *  - `move`: one step forwards (direction 1) or backwards (direction 0); note the opposite numbers.
 *  - `first`, `last`: begin a walk at that end.
 *  - `next`, `prev`: one step forwards, one backwards.
 */
#define ztIterator_METHODS                                                                       \
  ztBaseClass_METHODS                                                                            \
  ztBorrowed *(*start)(void *iterator, const ztBorrowed *container, int32_t direction); /* 16 */ \
  ztBorrowed *(*move)(void *iterator, int32_t direction);                               /* 17 */ \
  ztBorrowed *(*first)(void *iterator, const ztBorrowed *container);                    /* 18 */ \
  ztBorrowed *(*last)(void *iterator, const ztBorrowed *container);                     /* 19 */ \
  ztBorrowed *(*next)(void *iterator);                                                  /* 20 */ \
  ztBorrowed *(*prev)(void *iterator);                                                  /* 21 */

/** The abstract iterator. */
ZT_DECLARE_CLASS(ztIterator)

#endif
