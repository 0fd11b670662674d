/**
 * @file ztsignal.h
 * ztSignal, to which slots are connected, and the map of an object's signals.
 */
#ifndef ZT_OBJECTS_ZTSIGNAL_H
#define ZT_OBJECTS_ZTSIGNAL_H

#include "objects/ztslot.h"

/** Fields of ztSignal. */
#define ztSignal_FIELDS                                                                          \
  ztBaseClass_FIELDS                                                                             \
  struct ztString *name;  /* owned */                                                            \
  ztSlotMap *slots;       /* by receiver, newest first for one receiver; owned; NULL at first */ \
  uint32_t argumentCount; /* 0 to 4 arguments besides the receiver; only the low byte counts */  \
  uint32_t blocked;       /* not 0: no slot is called */

/** ztSignal adds no methods; `assign` is the base's, which copies nothing. */
#define ztSignal_METHODS ztBaseClass_METHODS

/** A signal. */
ZT_DECLARE_CLASS(ztSignal)

#define ztSignalMap_FIELDS ztMap_FIELDS
#define ztSignalMap_METHODS ztMap_METHODS
/** A map from names (ztString) to signals (ztSignal); keeps copies of both. */
ZT_DECLARE_CLASS(ztSignalMap)

ZT_BEGIN_C

/** Compares two keys of a ztSignalMap, ztString objects. @return 0, 1 or -1 */
ZT_API int32_t ztSignalMap_compare_func(const void *first, const void *second);
/** The same for the elements themselves. */
ZT_API int32_t ztSignalMap_compare_func_ptr(const void *first, const void *second);

ZT_END_C

#endif
