// What the classes that tests define have in common.
#ifndef ZT_TESTS_HOST_CLASS_HH
#define ZT_TESTS_HOST_CLASS_HH

#include "tests/helpers/owned.hh"

// An object of any class.
using Object = Owned<ztBaseClass, ztBaseClassMethods>;

// Fills nothing, for a class that has its parent's methods.
template <typename Methods>
void noMethods(Methods *) {}

// Makes an object and releases it.
inline void use(ztCtor constructor) {
  const Object made(constructor);
}

#endif
