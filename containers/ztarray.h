/**
 * @file ztarray.h
 * ztArray: elements side by side in one block of memory.
 *
 * The block is always as large as its contents: every push resizes it and every removal makes a new one. If the
 * number of elements is known, call `setSize` and fill the places.
 *
 * The element policy (containers/ztcont.h) applies inside the block:
 *
 *  - with an element constructor the elements are objects in the block. They are destroyed with `destroy`,
 *    never with `unRef`, and have a count of 1. The element size must be the instance size of their class; an
 *    object of a larger class is refused.
 *  - by pointer: the block holds the caller's pointers. They are read at a stride of 8 bytes, whatever the
 *    element size; set it to 8.
 *  - by value: the block holds copies of the elements.
 *
 * Growth and removal move objects in the block bytewise. Do not store an object whose address is stored
 * elsewhere (a list, for example, is its own item manager): store pointers to such objects.
 *
 * The methods of an element may call the array. An element that is being added or removed is not in the array.
 * While `setAt`, `assign` and `read` clone, assign, read or destroy an element in its place, the array is
 * empty; elements that are added then come after the others. An exception or a `longjmp` out of such a call
 * leaves the array empty; the elements are destroyed with the array, or by the next such call.
 *
 * Pointers into the block are valid until the next operation that adds, removes, resizes or reads. Sizes past
 * 2^31 - 1 bytes and negative counts are refused.
 */
#ifndef ZT_CONTAINERS_ZTARRAY_H
#define ZT_CONTAINERS_ZTARRAY_H

#include "containers/ztscont.h"

/** Fields of ztArray; `itemConstructor` and `itemManager` are not used. */
#define ztArray_FIELDS                        \
  ztSequenceContainer_FIELDS                  \
  int32_t count; /* the number of elements */ \
  void *data;    /* the block; NULL when empty; owned */

/**
 * The methods of an array, in slot order after those of ztSequenceContainer. "The element" that an operation
 * returns is the stored pointer of an array by pointer, else the address in the block.
 *
 *  - `pushBack`: adds an element, which may be in the array; returns the address of its place. NULL, with
 *    nothing added, when the element does not fit, cannot be cloned, or memory is exhausted.
 *  - `pushBackUnique`: calls @c match with each stored element and the given one. 0 as soon as a call does not
 *    return 0; else adds the element and returns 1. (0 also when it cannot be added.) A compare function does
 *    not serve as @c match: it returns 0 for equal elements.
 *  - `removeAt`: removes the element at an index.
 *  - `getAt`: the element at an index. By pointer, NULL for an index out of range; else the index is not
 *    checked: the result is the address that such an element would have.
 *  - `setAt`: replaces the element at an index; returns the address of its place. NULL, with nothing changed,
 *    for an index out of range or an element that does not fit. When the element cannot be cloned, the result
 *    is NULL and the place holds a new object.
 *  - `empty`: removes all elements.
 *  - `setSize`: empties the array, also of what its elements add while they are destroyed, and adds @c count
 *    elements that are zero, or new objects. 1; 0, with nothing changed, on failure. An array that already has
 *    that many elements (and any) keeps them.
 *  - `resize`: keeps the first elements and adds or removes at the end; results as `setSize`. 0 also, with the
 *    array unchanged, when cloning or making an element changes it.
 *  - `getFront`, `getBack`: the first or last element, through `getAt`; NULL when empty.
 *  - `getData`: the block.
 *  - `isEmpty`: 1 without elements, else 0.
 *  - `sort`: sorts with a function that gets the addresses of two places (by pointer: of two stored pointers);
 *    the order of equal elements is undefined.
 *  - `search`: finds an element of an array that was sorted with the same function, which gets the key and the
 *    address of a place; the key may be NULL if the function accepts that. The address of the place, or NULL.
 *  - `find`: the first element that the array's compare function, called with it and the key, finds equal; or
 *    NULL.
 *
 * `assign` copies the elements of another array, as many as both have: without an element constructor the
 * bytes, if the element sizes are equal; with one it assigns object to object. 0 when the two differ.
 *
 * `write` stores the count and each element: the object's own `write`, or its bytes (by pointer: the pointers'
 * bytes). `read` returns 0 for an impossible count. Elements that the file lacks are zero, or objects as their
 * own `read` leaves them, up to 64 KB and what has been read of the file; beyond that `read` returns 0, and the
 * array is unchanged or empty. A host's class that overrides `setSize` or `empty` gets all elements by one
 * `setSize`. Elements of no bytes add nothing to a binary file and an empty line each to a text file.
 */
#define ztArray_METHODS                                                                            \
  ztSequenceContainer_METHODS                                                                      \
  ztBorrowed *(*pushBack)(void *array, const ztBorrowed *element);                        /* 27 */ \
  int32_t (*pushBackUnique)(void *array, const ztBorrowed *element, ztCompareFunc match); /* 28 */ \
  void (*removeAt)(void *array, int32_t index);                                           /* 29 */ \
  ztBorrowed *(*getAt)(const void *array, int32_t index);                                 /* 30 */ \
  ztBorrowed *(*setAt)(void *array, const ztBorrowed *element, int32_t index);            /* 31 */ \
  void (*empty)(void *array);                                                             /* 32 */ \
  int32_t (*setSize)(void *array, int32_t count);                                         /* 33 */ \
  int32_t (*resize)(void *array, int32_t count);                                          /* 34 */ \
  ztBorrowed *(*getFront)(const void *array);                                             /* 35 */ \
  ztBorrowed *(*getBack)(const void *array);                                              /* 36 */ \
  ztBorrowed *(*getData)(const void *array);                                              /* 37 */ \
  int32_t (*isEmpty)(const void *array);                                                  /* 38 */ \
  void (*sort)(void *array, ztCompareFunc compare);                                       /* 39 */ \
  ztBorrowed *(*search)(const void *array, const ztBorrowed *key, ztCompareFunc compare); /* 40 */ \
  ztBorrowed *(*find)(const void *array, const ztBorrowed *key);                          /* 41 */

/** An array. */
ZT_DECLARE_CLASS(ztArray)

#endif
