// An object that is released at the end of its scope, with its methods at hand: `owned->method(owned)`. Without
// arguments it is an object of any class: `Owned object(ztRoot_ctor)`.
#ifndef ZT_TESTS_OWNED_HH
#define ZT_TESTS_OWNED_HH

#include "core/ztbasec.h"
#include "core/ztmem.h"

#include <utility>

// A clone in a new object of the same class; NULL, with nothing left behind, when there is none.
inline void *newClone(const void *object) {
  void *fresh = static_cast<const ztClassFunctions *>(ztOOP_classOf(object)->classTable)->newop();
  if (fresh == nullptr) return nullptr;
  void *clone = ztBaseClass_of(object)->clone(object, fresh);
  if (clone == nullptr) ztm_free(fresh);
  return clone;
}

// The same, the caller's alone, however many references the object has.
inline void *newCopy(const void *object) {
  void *copy = newClone(object);
  if (copy != nullptr) static_cast<ztBaseClass *>(copy)->refCount = 1;
  return copy;
}

template <typename Object = ztBaseClass, typename Methods = ztBaseClassMethods>
class Owned {
 public:
  Owned() = default;
  explicit Owned(ztCtor constructor) : Owned(constructor(nullptr, 1)) {}
  // What was made; NULL when that failed.
  explicit Owned(void *made) : object(static_cast<Object *>(made)) {}
  ~Owned() {
    if (object != nullptr) ztBaseClass_of(object)->unRef(object);
  }
  Owned(Owned &&other) : object(other.release()) {}
  Owned &operator=(Owned &&other) {
    std::swap(object, other.object);
    return *this;
  }

  operator void *() const {
    return object;
  }
  const Methods *operator->() const {
    return static_cast<const Methods *>(ztOOP_classOf(object)->methodTable);
  }
  Object &fields() const {
    return *object;
  }

  Owned copy() const {
    return Owned(newClone(object));
  }
  // Hands the object over.
  Object *release() {
    return std::exchange(object, nullptr);
  }

 private:
  Object *object = nullptr;
};

Owned(ztCtor)->Owned<>;
Owned(void *)->Owned<>;

#endif
