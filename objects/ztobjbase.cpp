#include "objects/ztobjbase.hh"

#include "core/ztcheck.hh"
#include "core/ztlogctrl.h"
#include "core/ztthread.hh"

using namespace ztcore;

constexpr uint32_t makerShift = 16;

// The thread is stored only when threads are checked.
uint32_t ztcore::firstFlags() {
  return checksThreads ? numberOfThread() << makerShift : 0;
}

void ztcore::checkThread(const void *object, const char *use) {
  if (object == nullptr) return;
  static bool logged;
  const uint32_t maker = static_cast<const ztObject *>(object)->flags >> makerShift;
  const uint32_t user = numberOfThread() & (UINT32_MAX >> makerShift);
  if (maker == 0 || maker == user || __atomic_exchange_n(&logged, true, __ATOMIC_RELAXED)) return;
  ztLc_log("ztObject -> Warning: %s in another thread than the one that made the object, of class: %s\n", use,
           ztOOP_classNameOf(object));
}

void *ztcore::emitterOf(void *object) {
  const ztClass *klass = object == nullptr ? nullptr : ztOOP_classOf(object);
  while (klass != nullptr && klass != ztObjectClass_Instance()) klass = klass->parent;
  return klass == nullptr ? nullptr : object;
}
