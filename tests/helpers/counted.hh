// Counts the live objects of a class of a test.
#ifndef ZT_TESTS_COUNTED_HH
#define ZT_TESTS_COUNTED_HH

#include "core/ztbasec.h"

// The objects of the class and of its subclasses that were created or cloned, and not yet destroyed.
template <typename Class>
inline int32_t liveOf = 0;

// The part of a class, derived from the one whose method table the function gives, that counts them.
// An object whose `create` fails is destroyed like any other, so it counts, too.
template <typename Class, auto parentTable>
struct Counting {
  static int32_t create(void *object) {
    ++liveOf<Class>;
    return parentTable()->create(object);
  }
  static void *clone(const void *object, void *target) {
    void *copy = parentTable()->clone(object, target);
    if (copy != nullptr) ++liveOf<Class>;
    return copy;
  }
  // One that is interrupted is called again.
  static void destroy(void *object) {
    parentTable()->destroy(object);
    --liveOf<Class>;
  }

  template <typename Methods>
  static void overrideIn(Methods *methods) {
    ZT_OVERRIDE_METHOD(methods, create, create);
    ZT_OVERRIDE_METHOD(methods, clone, clone);
    ZT_OVERRIDE_METHOD(methods, destroy, destroy);
  }
};

#endif
