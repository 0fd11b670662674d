/**
 * @file ztarray.h
 * ztArray: elements side by side in one block of memory.
 *
 * The block is always as large as its contents: every push resizes it and every removal makes a new
 * one. A host that knows the number of elements beforehand calls `setSize` and fills the slots.
 *
 * The element policy (containers/ztcont.h) applies inside the block:
 *
 *  - with an element constructor the elements are objects that live in the block. They are ended with
 *    `destroy`, never with `unRef`, and have a count of 1. The element size must be the instance size
 *    of the elements' class; an object of a larger class does not fit and is refused.
 *  - by pointer: the block holds the caller's pointers. They are read at a stride of 8 bytes, whatever
 *    the element size; set it to 8.
 *  - by value: the block holds copies of the elements.
 *
 * Growth and removal move objects in the block byte by byte. An object whose own address is kept
 * somewhere, as a list keeps its own in its item manager, must not live there: store pointers to it.
 *
 * The methods of an element may call back into the array. An element that is being added is none of the
 * array's yet, one that is being removed is none any more. While `setAt`, `assign` and `read` have an element
 * cloned, assigned, read or destroyed in its slot the array is empty, and what is added then stands behind
 * the others afterwards. An exception or a `longjmp` out of such a call leaves the array empty; the elements
 * then end with it, or with the next such call.
 *
 * What an operation returns from inside the block is valid until the next operation that adds,
 * removes, resizes or reads. Sizes past 2^31 - 1 bytes and negative counts are refused.
 */
#ifndef ZT_CONTAINERS_ZTARRAY_H
#define ZT_CONTAINERS_ZTARRAY_H

#include "containers/ztscont.h"

/** Fields of ztArray; `itemConstructor` and `itemManager` are not used. */
#define ztArray_FIELDS          \
  ztSequenceContainer_FIELDS    \
  int32_t count; /* elements */ \
  void *data;    /* the block; NULL when empty; owned */

/**
 * The methods of an array, in slot order after those of ztSequenceContainer. "The element" that an
 * operation returns is the stored pointer of an array that is by pointer, else the address in the
 * block.
 *
 *  - `pushBack`: adds an element, which may be one of the array's own; the address of its slot. NULL,
 *    and nothing is added, when the element does not fit, cannot be cloned, or memory is exhausted.
 *  - `pushBackUnique`: calls @c match with each stored element and the given one. 0 as soon as a call
 *    gives not 0; else adds the element and gives 1. (0 too when it cannot be added.) The function
 *    tells a match, it is no compare function: those give 0 for equal elements.
 *  - `removeAt`: removes the element at an index.
 *  - `getAt`: the element at an index. By pointer, NULL for an index out of range; else the index is
 *    not checked: the result is where such an element would lie.
 *  - `setAt`: replaces the element at an index; the address of its slot. NULL, and nothing changes,
 *    for an index out of range or an element that does not fit. When the element cannot be cloned the
 *    result is NULL and the slot holds a new object.
 *  - `empty`: removes all elements.
 *  - `setSize`: empties the array, with all that its elements add at their end, and gives it @c count elements that are zero, or new objects; 1, or
 *    0 when it cannot, and nothing changes. When the array has that many elements already (and any)
 *    it keeps them as they are.
 *  - `resize`: keeps the first elements and adds or removes at the end; results as `setSize`. 0 too, and
 *    the array stays as it is, when the cloning or making of an element changes it.
 *  - `getFront`, `getBack`: the first or last element, through `getAt`; NULL when empty.
 *  - `getData`: the block.
 *  - `isEmpty`: 1 without elements, else 0.
 *  - `sort`: sorts with a function that is given the addresses of two slots (by pointer: of two stored
 *    pointers); equal elements in no certain order.
 *  - `search`: the key may be NULL where the function can compare that. Finds an element of an array that was sorted by the same function, which is given the
 *    key and the address of a slot; the address of the slot, or NULL.
 *  - `find`: the first element for which the compare function of the array, given the element and the
 *    key, gives 0; or NULL.
 *
 * `assign` takes over the elements of another array, no more than both have: without an element
 * constructor the bytes, when the element sizes agree; with one it assigns object to object. 0 when
 * the two do not agree.
 *
 * `write` stores the count and each element: the object's own `write`, or its bytes (by pointer: the
 * pointers' bytes). `read` gives 0 for a count that cannot be. Elements that the file lacks are zero,
 * objects as their own `read` leaves them, as long as they take no more than 64 KB and what has been read
 * of the file allow; else `read` gives 0, and the array is as it was or empty. A host's class that
 * overrides `setSize` or `empty` gets all elements by one `setSize`. Elements of no bytes leave nothing in
 * a binary file and an empty line each in a text file.
 */
#define ztArray_METHODS                                                                      \
  ztSequenceContainer_METHODS                                                                \
  void *(*pushBack)(void *array, const void *element);                              /* 27 */ \
  int32_t (*pushBackUnique)(void *array, const void *element, ztCompareFunc match); /* 28 */ \
  void (*removeAt)(void *array, int32_t index);                                     /* 29 */ \
  void *(*getAt)(const void *array, int32_t index);                                 /* 30 */ \
  void *(*setAt)(void *array, const void *element, int32_t index);                  /* 31 */ \
  void (*empty)(void *array);                                                       /* 32 */ \
  int32_t (*setSize)(void *array, int32_t count);                                   /* 33 */ \
  int32_t (*resize)(void *array, int32_t count);                                    /* 34 */ \
  void *(*getFront)(const void *array);                                             /* 35 */ \
  void *(*getBack)(const void *array);                                              /* 36 */ \
  void *(*getData)(const void *array);                                              /* 37 */ \
  int32_t (*isEmpty)(const void *array);                                            /* 38 */ \
  void (*sort)(void *array, ztCompareFunc compare);                                 /* 39 */ \
  void *(*search)(const void *array, const void *key, ztCompareFunc compare);       /* 40 */ \
  void *(*find)(const void *array, const void *key);                                /* 41 */

/** An array. */
ZT_DECLARE_CLASS(ztArray)

#endif
