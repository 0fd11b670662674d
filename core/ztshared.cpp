#include "core/ztshared.hh"

#include "containers/ztavltree.h"
#include "objects/ztobject.h"

#include <stddef.h>

using namespace ztcore;

// Nothing else lies in the bytes of the distance.
static_assert(offsetof(ztContainerItem, data) == sizeof(PartHeader));
static_assert(offsetof(ztContainer, itemConstructor) == sizeof(PartHeader));
static_assert(offsetof(ztString, buffer) == sizeof(PartHeader));
static_assert(offsetof(ztSignal, name) == sizeof(PartHeader));
static_assert(offsetof(ztSlot, name) == sizeof(PartHeader));

bool ztcore::mayBePart(const ztClass *klass) {
  return klass == ztStringClass_Instance() || klass == ztCharArrayClass_Instance() ||
         klass == ztAvlTreeClass_Instance() || klass == ztMapItemClass_Instance() ||
         klass == ztSlotClass_Instance() || klass == ztSignalClass_Instance() ||
         klass == ztSlotMapClass_Instance() || klass == ztSignalMapClass_Instance() ||
         klass == ztPropertyMapClass_Instance();
}

void ztcore::freeObject(void *object) {
  if (mayBePart(ztOOP_classOf(object))) {
    freePart(object);
  } else {
    ztm_free(object);
  }
}

// The distance of other objects is not read: their class may have another field there, or nobody may have written the
// bytes. Parts of other classes own something.
void ztcore::freeSimple(void *object) {
  if (ztOOP_classOf(object) == ztMapItemClass_Instance()) {
    freePart(object);
  } else {
    ztm_free(object);
  }
}
