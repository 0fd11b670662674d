/**
 * @file ztbasec.h
 * ztBaseClass, the root of all classes. How a class is declared and defined stands in ztclass.h.
 */
#ifndef ZT_CORE_ZTBASEC_H
#define ZT_CORE_ZTBASEC_H

#include "core/ztclass.h"

/** What every object begins with. The fields of a class follow those of its parent. */
#define ztBaseClass_FIELDS                       \
  ztClass *klass;   /* the object's own class */ \
  int32_t refCount; /* 1 when the object is made */

/**
 * The methods of every class, in slot order.
 *
 *  - `Allocator`: what a host put into class slot 3, or NULL; not owned.
 *  - `classInstanceCreate`, `classInstanceDestroy`: called with the class when it is registered and
 *    when the registry frees it.
 *  - `create`: sets the fields to their defaults, 1 or 0. An override calls its parent's first.
 *  - `clone`: copies the object onto @c target, memory of at least its instance size whose object, if
 *    any, is not released; returns the target. The target takes the source's class and reference
 *    count. NULL when it cannot: the target then owns nothing, so an override that fails after its
 *    parent's `clone` has the parent's `destroy` release what that made.
 *  - `assign`: takes over the contents of another object of the class, 1 or 0. ztBaseClass has no contents
 *    to take over: 1, also without another.
 *  - `isEqual`, `isLess`, `isMajor` (greater): 1 or 0; abstract where a class has no order.
 *  - `destroy`: releases what the object owns, never the object's own memory.
 *  - `read`, `write`: the object's data from and to a ztFile, 1 or 0.
 *  - `ref`: one reference more. `unRef`: one less; at 1 or less the object is destroyed and its memory
 *    released, so a new object referenced once more ends at the first `unRef`.
 *  - `getRefCount`: the reference count.
 */
#define ztBaseClass_METHODS                                                               \
  void *(*Allocator)(const void *object);                    /* 0 */                      \
  void (*classInstanceCreate)(ztClass * klass);              /* 1 */                      \
  void (*classInstanceDestroy)(ztClass * klass);             /* 2 */                      \
  void *emptySlot;                                           /* 3: NULL in every class */ \
  int32_t (*create)(void *object);                           /* 4 */                      \
  void *(*clone)(const void *object, void *target);          /* 5 */                      \
  int32_t (*assign)(void *object, const void *other);        /* 6 */                      \
  int32_t (*isEqual)(const void *object, const void *other); /* 7 */                      \
  int32_t (*isLess)(const void *object, const void *other);  /* 8 */                      \
  int32_t (*isMajor)(const void *object, const void *other); /* 9 */                      \
  void (*destroy)(void *object);                             /* 10 */                     \
  int32_t (*read)(void *object, void *file);                 /* 11 */                     \
  int32_t (*write)(const void *object, void *file);          /* 12 */                     \
  void (*ref)(void *object);                                 /* 13 */                     \
  void (*unRef)(void *object);                               /* 14 */                     \
  int32_t (*getRefCount)(const void *object);                /* 15 */

/**
 * The class functions of ztBaseClass, from class slot 10 on; no other class's table has them.
 *
 *  - `classRead(NULL, file)`: reads a class identity and makes an object of that class, the caller's
 *    to `unRef`; call its `read` next. NULL for a failed read, a name that is not registered (with a
 *    line in the log) and a version that differs.
 *  - `classWrite(NULL, object, file)`: writes the identity of the object's class, 100 bytes of name
 *    and the version; call its `write` next. 1, or 0 as soon as a write fails.
 */
#define ztBaseClass_FUNCTIONS                          \
  void *(*classRead)(const void *ignored, void *file); \
  int32_t (*classWrite)(const void *ignored, const void *object, void *file);

/** The root of all classes. */
ZT_DECLARE_CLASS(ztBaseClass)
ZT_DECLARE_CLASS_FUNCTIONS(ztBaseClass)

#endif
