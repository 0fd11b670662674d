/**
 * @file ztqueues.h
 * ztPtrQueue: a queue of pointers.
 */
#ifndef ZT_CONTAINERS_ZTQUEUES_H
#define ZT_CONTAINERS_ZTQUEUES_H

#include "containers/ztqueue.h"

/** ztPtrQueue adds no fields. */
#define ztPtrQueue_FIELDS ztQueue_FIELDS
/** ztPtrQueue adds no methods. */
#define ztPtrQueue_METHODS ztQueue_METHODS
/** A queue of the caller's pointers, which it never follows or frees. */
ZT_DECLARE_CLASS(ztPtrQueue)

ZT_BEGIN_C

/** Compares two pointers by address, given the addresses where they are stored; a NULL address sorts first. 0
 *  when equal, 1 when the first is greater, else -1. */
ZT_API int32_t ztPtrQueue_compare_func(const void *first, const void *second);
/** Compares two pointers by address, with the same results. */
ZT_API int32_t ztPtrQueue_compare_func_ptr(const void *first, const void *second);

ZT_END_C

#endif
