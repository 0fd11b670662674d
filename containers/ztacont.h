/**
 * @file ztacont.h
 * ztAssociativeContainer: the base of containers of key/value pairs. Keys and values each have a policy.
 */
#ifndef ZT_CONTAINERS_ZTACONT_H
#define ZT_CONTAINERS_ZTACONT_H

#include "containers/ztcont.h"

ZT_BEGIN_C

/** The element that the `newItem` of an associative container takes. */
typedef struct ztKeyValue {
  const void *key;   /**< in the caller's form, see the key policy */
  const void *value; /**< in the caller's form, see the value policy */
} ztKeyValue;

ZT_END_C

/** Fields of ztAssociativeContainer: the policies. The compare function of ztContainer compares keys. */
#define ztAssociativeContainer_FIELDS                                                 \
  ztContainer_FIELDS                                                                  \
  uint32_t keyByPointer;              /* not 0: keys are the caller's pointers */     \
  uint32_t valueByPointer;            /* not 0: values are the caller's pointers */   \
  int32_t keySize;                    /* bytes of a key stored by value */            \
  int32_t valueSize;                  /* bytes of a value stored by value */          \
  ztCtor keyConstructor;              /* not NULL: keys are objects of its class */   \
  ztCtor valueConstructor;            /* not NULL: values are objects of its class */ \
  ztCompareFunc valueCompareFunction; /* compares two values; NULL until set */

/**
 * The methods of an associative container, in slot order after those of ztContainer.
 *
 *  - `setKeySize`, `setValueSize`: the size of a key or value and whether it is stored by pointer.
 *  - `setKeyConstructor`, `setValueConstructor`: the `C_ctor` of the class of keys or values.
 *  - `setValueCompareFunction`: compares two values.
 *
 * `newItem`, `copyItem`, `deleteItem` and `getSize` stay abstract.
 */
#define ztAssociativeContainer_METHODS                                              \
  ztContainer_METHODS                                                               \
  void (*setKeySize)(void *container, int32_t size, uint32_t byPointer);   /* 24 */ \
  void (*setKeyConstructor)(void *container, ztCtor constructor);          /* 25 */ \
  void (*setValueSize)(void *container, int32_t size, uint32_t byPointer); /* 26 */ \
  void (*setValueConstructor)(void *container, ztCtor constructor);        /* 27 */ \
  void (*setValueCompareFunction)(void *container, ztCompareFunc compare); /* 28 */

/** The abstract associative container. */
ZT_DECLARE_CLASS(ztAssociativeContainer)

#endif
