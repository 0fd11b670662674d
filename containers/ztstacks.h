/**
 * @file ztstacks.h
 * ztPtrStack: a stack of pointers.
 */
#ifndef ZT_CONTAINERS_ZTSTACKS_H
#define ZT_CONTAINERS_ZTSTACKS_H

#include "containers/ztstack.h"

/** ztPtrStack adds no fields. */
#define ztPtrStack_FIELDS ztStack_FIELDS
/** ztPtrStack adds no methods. */
#define ztPtrStack_METHODS ztStack_METHODS
/** A stack of the caller's pointers, which it never follows or frees. */
ZT_DECLARE_CLASS(ztPtrStack)

ZT_BEGIN_C

/** Compares two pointers by address, given the addresses where they are stored; a NULL address sorts first. 0
 *  when equal, 1 when the first is greater, else -1. */
ZT_API int32_t ztPtrStack_compare_func(const void *first, const void *second);
/** Compares two pointers by address, with the same results. */
ZT_API int32_t ztPtrStack_compare_func_ptr(const void *first, const void *second);

ZT_END_C

#endif
