/**
 * @file ztlists.h
 * Lists of integers, strings and pointers.
 *
 * Each is a ztList whose `create` sets the element policy and the compare function. The compare functions
 * return 0 for equal elements, 1 when the first is greater, else -1. `C_compare_func` takes the addresses of
 * two elements, where a NULL address sorts first; an object is its own address. `C_compare_func_ptr` takes the
 * two elements in place of the pointers: an integer in the low 32 bits.
 */
#ifndef ZT_CONTAINERS_ZTLISTS_H
#define ZT_CONTAINERS_ZTLISTS_H

#include "containers/ztlist.h"

/** ztIntList adds no fields. */
#define ztIntList_FIELDS ztList_FIELDS
/** ztIntList adds no methods. */
#define ztIntList_METHODS ztList_METHODS
/** A list of int32_t. */
ZT_DECLARE_CLASS(ztIntList)

/** ztStringList adds no fields. */
#define ztStringList_FIELDS ztList_FIELDS
/** ztStringList adds no methods. */
#define ztStringList_METHODS ztList_METHODS
/** A list of ztString objects, copies of those that are passed to it; `find` compares texts. */
ZT_DECLARE_CLASS(ztStringList)

/** ztPtrList adds no fields. */
#define ztPtrList_FIELDS ztList_FIELDS
/** ztPtrList adds no methods. */
#define ztPtrList_METHODS ztList_METHODS
/** A list of the caller's pointers, which it never follows or frees. `find` compares addresses. */
ZT_DECLARE_CLASS(ztPtrList)

ZT_BEGIN_C

/** Compares two int32_t, given their addresses. */
ZT_API int32_t ztIntList_compare_func(const void *first, const void *second);
/** Compares two int32_t, given in place of the pointers. */
ZT_API int32_t ztIntList_compare_func_ptr(const void *first, const void *second);

/** Compares two ztString objects by their text: with `isEqual` of the first, then with its `isMajor`. */
ZT_API int32_t ztStringList_compare_func(const void *first, const void *second);
/** The same. */
ZT_API int32_t ztStringList_compare_func_ptr(const void *first, const void *second);

/** Compares two pointers by address, given the addresses where they are stored. */
ZT_API int32_t ztPtrList_compare_func(const void *first, const void *second);
/** Compares two pointers by address. */
ZT_API int32_t ztPtrList_compare_func_ptr(const void *first, const void *second);

ZT_END_C

#endif
