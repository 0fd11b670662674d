#include "core/ztkept.hh"

#include "core/ztthread.hh"

using namespace ztcore;

static struct {
  void (*release)();
  void (*forget)(const ztClass *klass);
} keepers[4];  // one for each kind

void ztcore::keepRegistered(Kept kept, void (*release)(), void (*forget)(const ztClass *klass)) {
  keepers[static_cast<int>(kept)] = {release, forget};
}

void ztcore::releaseKept() {
  for (const auto &keeper : keepers) {
    if (keeper.release != nullptr) keeper.release();
  }
  releaseScratchString();
}

void ztcore::forgetClass(const ztClass *klass) {
  for (const auto &keeper : keepers) {
    if (keeper.forget != nullptr) keeper.forget(klass);
  }
}
