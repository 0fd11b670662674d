/**
 * @file ztscont.h
 * ztSequenceContainer: the base of containers of single elements.
 */
#ifndef ZT_CONTAINERS_ZTSCONT_H
#define ZT_CONTAINERS_ZTSCONT_H

#include "containers/ztcont.h"

/** Fields of ztSequenceContainer: the element policy. */
#define ztSequenceContainer_FIELDS                                           \
  ztContainer_FIELDS                                                         \
  uint32_t byPointer;        /* not 0: elements are the caller's pointers */ \
  int32_t elementSize;       /* bytes of an element stored by value */       \
  ztCtor elementConstructor; /* not NULL: elements are objects of its class */

/**
 * The methods of a sequence container, in slot order after those of ztContainer.
 *
 *  - `setElementSize`: the size of an element, which may be 0, and whether elements are stored by pointer.
 *  - `getElementSize`: the size of an element.
 *  - `setElementConstructor`: the `C_ctor` of the elements' class; NULL for elements that are no objects.
 *
 * `getSize` stays abstract.
 */
#define ztSequenceContainer_METHODS                                                   \
  ztContainer_METHODS                                                                 \
  void (*setElementSize)(void *container, int32_t size, uint32_t byPointer); /* 24 */ \
  int32_t (*getElementSize)(const void *container);                          /* 25 */ \
  void (*setElementConstructor)(void *container, ztCtor constructor);        /* 26 */

/** The abstract sequence container. */
ZT_DECLARE_CLASS(ztSequenceContainer)

#endif
