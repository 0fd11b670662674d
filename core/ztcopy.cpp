#include "core/ztcopy.hh"

#include "core/ztbasec.h"
#include "core/ztcore.hh"
#include "core/ztmem.h"
#include "core/ztoop.hh"

#include <string.h>

using namespace ztcore;

void *ztcore::makeObject(ztCtor constructor) {
  void *object = constructor(nullptr, 0);
  if (object == nullptr || ztBaseClass_of(object)->create(object)) return object;
  ztBaseClass_of(object)->unRef(object);
  return nullptr;
}

void *ztcore::cloneOnto(const void *source, void *target) {
  // Zeroes the target, so that a `clone` which reads it before filling it finds no garbage.
  auto *bytes = static_cast<char *>(target);
  const size_t size = static_cast<size_t>(ztOOP_classOf(target)->instanceSize);
  memset(bytes + sizeof(ztBaseClass), 0, size - sizeof(ztBaseClass));
  void *copy = ztBaseClass_of(source)->clone(source, target);
  if (copy != nullptr) static_cast<ztBaseClass *>(copy)->refCount = 1;
  return copy;
}

void *ztcore::copyObject(const void *source) {
  if (source == nullptr) return nullptr;
  void *fresh = static_cast<const ztClassFunctions *>(ztOOP_classOf(source)->classTable)->newop();
  if (fresh == nullptr) return nullptr;
  void *copy = cloneOnto(source, fresh);
  if (copy == nullptr) ztm_free(fresh);
  return copy;
}

static auto assignOf(const ztClass *klass) {
  return static_cast<const ztBaseClassMethods *>(klass->methodTable)->assign;
}

// Whether the `assign` of a class is a host's.
static bool hasHostsAssign(const ztClass *klass) {
  const ztClass *ofLibrary = klass;
  while (ofLibrary != nullptr && !isLibraryClass(ofLibrary)) ofLibrary = ofLibrary->parent;
  return ofLibrary == nullptr || assignOf(klass) != assignOf(ofLibrary);
}

int32_t ztcore::assignCommon(void *target, const void *source) {
  const ztClass *klass = ztOOP_classOf(target);
  const ztClass *common = klass;
  while (common != nullptr && !isWithin(ztOOP_classOf(source), common)) common = common->parent;
  if (common != klass && hasHostsAssign(klass)) common = klass;
  return common == nullptr ? 0 : assignOf(common)(target, source);
}
