/**
 * @file ztslot.h
 * ztSlot, one receiver and function connected to a signal, and the map of a signal's slots.
 */
#ifndef ZT_OBJECTS_ZTSLOT_H
#define ZT_OBJECTS_ZTSLOT_H

#include "containers/ztmap.h"
#include "io/ztstring.h"

ZT_BEGIN_C

/** The function of a slot: `(ztSlotFunction){.call1 = function}`. Use the member for the signal's argument
 *  count and the kind of its first argument; the further arguments are always 0. */
typedef union ztSlotFunction {
  void (*call0)(void *receiver);                                                  /**< no argument */
  void (*call1)(void *receiver, intptr_t first);                                  /**< one argument */
  void (*call2)(void *receiver, intptr_t first, intptr_t second);                 /**< two arguments */
  void (*call3)(void *receiver, intptr_t first, intptr_t second, intptr_t third); /**< three */
  void (*call4)(void *receiver, intptr_t first, intptr_t second, intptr_t third,
                intptr_t fourth);                                                 /**< four arguments */
  void (*object1)(void *receiver, void *object);                                  /**< one, an object */
  void (*number1)(void *receiver, double first);                                  /**< one, a double */
  void (*number2)(void *receiver, double first, intptr_t second);                 /**< two, a double first */
  void (*number3)(void *receiver, double first, intptr_t second, intptr_t third); /**< three */
  void (*number4)(void *receiver, double first, intptr_t second, intptr_t third,
                  intptr_t fourth); /**< four, a double first */
} ztSlotFunction;

ZT_END_C

/** Fields of ztSlot. */
#define ztSlot_FIELDS                                  \
  ztBaseClass_FIELDS                                   \
  ztString *name;          /* owned */                 \
  void *receiver;          /* a ztObject; not owned */ \
  ztSlotFunction function; /* called with the receiver */

/** ztSlot adds no methods; `assign` is the base's, which copies nothing. */
#define ztSlot_METHODS ztBaseClass_METHODS

/** A slot. */
ZT_DECLARE_CLASS(ztSlot)

#define ztSlotMap_FIELDS ztMap_FIELDS
#define ztSlotMap_METHODS ztMap_METHODS
/** A map from receivers, by pointer, to copies of slots (ztSlot). */
ZT_DECLARE_CLASS(ztSlotMap)

ZT_BEGIN_C

/** Compares the receivers stored at two addresses. @return 0, 1 or -1 */
ZT_API int32_t ztSlotMap_key_compare_func(const void *first, const void *second);
/** Compares two receivers by their addresses. @return 0, 1 or -1 */
ZT_API int32_t ztSlotMap_key_compare_func_ptr(const void *first, const void *second);

/** Compares two ztSlot objects by their receivers, then by their functions. @return 0, 1 or -1 */
ZT_API int32_t ztSlotMap_value_compare_func(const void *first, const void *second);
/** The same for the elements themselves. */
ZT_API int32_t ztSlotMap_value_compare_func_ptr(const void *first, const void *second);

ZT_END_C

#endif
