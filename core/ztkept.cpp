#include "core/ztkept.hh"

#include "core/ztthread.hh"

static struct {
  void (*release)();
  void (*forget)(const ztClass *klass);
} keepers[2];  // as many as there are kinds

void ztKeep(ztKept kept, void (*release)(), void (*forget)(const ztClass *klass)) {
  keepers[static_cast<int>(kept)] = {release, forget};
}

void ztReleaseKept() {
  for (const auto &keeper : keepers) {
    if (keeper.release != nullptr) keeper.release();
  }
  ztReleaseScratchString();
}

void ztForgetClass(const ztClass *klass) {
  for (const auto &keeper : keepers) {
    if (keeper.forget != nullptr) keeper.forget(klass);
  }
}
