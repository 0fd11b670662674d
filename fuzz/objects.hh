// What the targets do with objects of any class.
#ifndef ZT_FUZZ_OBJECTS_HH
#define ZT_FUZZ_OBJECTS_HH

#include "tests/helpers/owned.hh"

inline void unRef(void *object) {
  ztBaseClass_of(object)->unRef(object);
}

#endif
