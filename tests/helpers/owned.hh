// An object that is released at the end of its scope, with its methods at hand: `owned->method(owned)`.
#ifndef ZT_TESTS_OWNED_HH
#define ZT_TESTS_OWNED_HH

#include "core/ztbasec.h"

template <typename Object, typename Methods>
class Owned {
 public:
  explicit Owned(ztCtor constructor) : Owned(constructor(nullptr, 1)) {}
  explicit Owned(void *made) : object(static_cast<Object *>(made)) {}
  ~Owned() {
    if (object != nullptr) ztBaseClass_of(object)->unRef(object);
  }
  Owned(Owned &&other) : object(other.object) {
    other.object = nullptr;
  }
  Owned &operator=(Owned &&other) {
    Object *mine = object;
    object = other.object;
    other.object = mine;
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

  // A clone in a new object of the same class.
  Owned copy() const {
    const ztClass *klass = ztOOP_classOf(object);
    void *fresh = static_cast<const ztClassFunctions *>(klass->classTable)->newop();
    return Owned(ztBaseClass_of(object)->clone(object, fresh));
  }

 private:
  Object *object;
};

#endif
