/**
 * @file ztbasec.h
 * ztBaseClass, the root of all classes. ztclass.h explains how to declare and define a class.
 */
#ifndef ZT_CORE_ZTBASEC_H
#define ZT_CORE_ZTBASEC_H

#include "core/ztclass.h"

/** The fields at the start of every object. The fields of a class follow those of its parent. */
#define ztBaseClass_FIELDS                       \
  ztClass *klass;   /* the object's own class */ \
  int32_t refCount; /* 1 for a new object */

/**
 * The methods of every class, in slot order.
 *
 *  - `Allocator`: what a host put into class slot 3, or NULL; not owned.
 *  - `classInstanceCreate`, `classInstanceDestroy`: called with the class when it is registered and freed.
 *  - `create`: sets the fields to their defaults, 1 or 0. An override calls its parent's first.
 *  - `clone`: copies the object onto @c target and returns the target, with the source's class and reference
 *    count. @c target has at least the instance size; an object in it is not released. NULL on failure; the
 *    target then owns nothing: an override that fails after its parent's `clone` calls the parent's `destroy`.
 *  - `assign`: copies the contents of another object of the class, 1 or 0. Always 1 here: no contents.
 *  - `isEqual`, `isLess`, `isMajor` (greater): 1 or 0; abstract in a class without an order, where the result
 *    says nothing: it is what an integer holds of the address of ztOOP_ztVirtualFuncHandler()'s text.
 *  - `destroy`: releases what the object owns, never the object's own memory.
 *  - `read`, `write`: the object's data from and to a ztFile, 1 or 0.
 *  - `ref`: adds a reference. `unRef`: removes one; at 1 or less the object is destroyed and its memory freed,
 *    so the first `unRef` also destroys a new object that was referenced once more. The two therefore cannot
 *    hold a borrowed object for a while, because that `unRef` ends it under its owner; ztObject_watch() tells of
 *    the end of a ztObject.
 *  - `getRefCount`: the reference count.
 */
#define ztBaseClass_METHODS                                                                     \
  ztBorrowed *(*Allocator)(const void *object);                    /* 0 */                      \
  void (*classInstanceCreate)(ztClass * klass);                    /* 1 */                      \
  void (*classInstanceDestroy)(ztClass * klass);                   /* 2 */                      \
  void *emptySlot;                                                 /* 3: NULL in every class */ \
  int32_t (*create)(void *object);                                 /* 4 */                      \
  ztBorrowed *(*clone)(const void *object, ztOut *target);         /* 5 */                      \
  int32_t (*assign)(void *object, const ztBorrowed *other);        /* 6 */                      \
  int32_t (*isEqual)(const void *object, const ztBorrowed *other); /* 7 */                      \
  int32_t (*isLess)(const void *object, const ztBorrowed *other);  /* 8 */                      \
  int32_t (*isMajor)(const void *object, const ztBorrowed *other); /* 9 */                      \
  void (*destroy)(void *object);                                   /* 10 */                     \
  int32_t (*read)(void *object, ztBorrowed *file);                 /* 11 */                     \
  int32_t (*write)(const void *object, ztBorrowed *file);          /* 12 */                     \
  void (*ref)(void *object);                                       /* 13 */                     \
  void (*unRef)(ztOwned * object);                                 /* 14 */                     \
  int32_t (*getRefCount)(const void *object);                      /* 15 */

/**
 * The class functions of ztBaseClass, from class slot 10 on; no other class's table has them.
 *
 *  - `classRead(NULL, file)`: reads a class identity and makes an object of that class; the caller releases it
 *    with `unRef`. Call its `read` next. NULL when the read fails, the name is not registered (with a line in
 *    the log) or the version differs.
 *  - `classWrite(NULL, object, file)`: writes the identity of the object's class: 100 bytes of name and the
 *    version. Call the object's `write` next. 1, or 0 as soon as a write fails.
 */
#define ztBaseClass_FUNCTIONS                                   \
  ztOwned *(*classRead)(const void *ignored, ztBorrowed *file); \
  int32_t (*classWrite)(const void *ignored, const ztBorrowed *object, ztBorrowed *file);

/** The root of all classes. */
ZT_DECLARE_CLASS(ztBaseClass)
ZT_DECLARE_CLASS_FUNCTIONS(ztBaseClass)

#endif
