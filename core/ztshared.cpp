#include "core/ztshared.hh"

#include "containers/ztavltree.h"
#include "objects/ztobject.h"

using namespace ztcore;

bool ztcore::mayBePart(const ztClass *klass) {
  return klass == ztStringClass_Instance() || klass == ztCharArrayClass_Instance() ||
         klass == ztAvlTreeClass_Instance() || klass == ztSlotClass_Instance() ||
         klass == ztSignalClass_Instance() || klass == ztSlotMapClass_Instance() ||
         klass == ztSignalMapClass_Instance() || klass == ztPropertyMapClass_Instance();
}

void ztcore::freeObject(void *object) {
  if (mayBePart(ztOOP_classOf(object))) {
    freePart(object);
  } else {
    ztm_free(object);
  }
}
