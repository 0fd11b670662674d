/**
 * @file ztarrays.h
 * Arrays of pointers, integers, characters and floating-point numbers.
 *
 * Each is a ztArray whose `create` sets the element policy and the compare function. The compare functions
 * return 0 for equal values, 1 when the first is greater, else -1. `C_compare_func` takes the addresses of two
 * elements, for `sort` and `search`; a NULL address sorts first. `C_compare_func_ptr` takes the two values in
 * place of the pointers: an integer in the low 32 bits, a character in the low 8, a double as its bit pattern.
 */
#ifndef ZT_CONTAINERS_ZTARRAYS_H
#define ZT_CONTAINERS_ZTARRAYS_H

#include "containers/ztarray.h"

/** ztPtrArray adds no fields. */
#define ztPtrArray_FIELDS ztArray_FIELDS
/** ztPtrArray adds no methods. */
#define ztPtrArray_METHODS ztArray_METHODS
/** An array of the caller's pointers, which it never follows or frees. `find` compares addresses. */
ZT_DECLARE_CLASS(ztPtrArray)

/** ztIntArray adds no fields. */
#define ztIntArray_FIELDS ztArray_FIELDS
/** ztIntArray adds no methods. */
#define ztIntArray_METHODS ztArray_METHODS
/** An array of int32_t. */
ZT_DECLARE_CLASS(ztIntArray)

/** ztCharArray adds no fields. */
#define ztCharArray_FIELDS ztArray_FIELDS
/** ztCharArray adds no methods. */
#define ztCharArray_METHODS ztArray_METHODS
/** An array of signed characters. */
ZT_DECLARE_CLASS(ztCharArray)

/** ztFloatArray adds no fields. */
#define ztFloatArray_FIELDS ztArray_FIELDS
/** ztFloatArray adds no methods. */
#define ztFloatArray_METHODS ztArray_METHODS
/** An array of double. */
ZT_DECLARE_CLASS(ztFloatArray)

ZT_BEGIN_C

/** Compares two pointers by address, given the addresses where they are stored. */
ZT_API int32_t ztPtrArray_compare_func(const void *first, const void *second);
/** Compares two pointers by address. */
ZT_API int32_t ztPtrArray_compare_func_ptr(const void *first, const void *second);

/** Compares two int32_t, given their addresses. */
ZT_API int32_t ztIntArray_compare_func(const void *first, const void *second);
/** Compares two int32_t, given in place of the pointers. */
ZT_API int32_t ztIntArray_compare_func_ptr(const void *first, const void *second);

/** Compares two signed characters, given their addresses. */
ZT_API int32_t ztCharArray_compare_func(const void *first, const void *second);
/** Compares two signed characters, given in place of the pointers. */
ZT_API int32_t ztCharArray_compare_func_ptr(const void *first, const void *second);

/** Compares two doubles, given their addresses; -1 when either is not a number. */
ZT_API int32_t ztFloatArray_compare_func(const void *first, const void *second);
/** Compares two doubles, given in place of the pointers; -1 when either is not a number. */
ZT_API int32_t ztFloatArray_compare_func_ptr(const void *first, const void *second);

ZT_END_C

#endif
