#include "core/ztstack.hh"

#include "core/ztthread.hh"

#include <pthread.h>
#include <stdint.h>
#include <stdio.h>

namespace {

struct Bounds {
  uintptr_t low = 0;
  uintptr_t high = 0;

  bool holds(uintptr_t address) const {
    return low <= address && address < high;
  }
};

}  // namespace

bool ztFindOwnStack(uintptr_t *low, uintptr_t *high) {
  *low = *high = 1;
  pthread_attr_t attributes;
  if (pthread_getattr_np(pthread_self(), &attributes) != 0) return false;
  void *start = nullptr;
  size_t size = 0;
  size_t guard = 0;
  pthread_attr_getstack(&attributes, &start, &size);
  pthread_attr_getguardsize(&attributes, &guard);
  pthread_attr_destroy(&attributes);
  *low = reinterpret_cast<uintptr_t>(start) + guard;
  *high = reinterpret_cast<uintptr_t>(start) + size;
  return true;
}

// A host may run on a stack that it made itself: it lies in a mapping of its own.
static bool findMapping(uintptr_t address, Bounds &found) {
  FILE *mappings = fopen("/proc/self/maps", "re");
  if (mappings == nullptr) return false;
  // NOLINTNEXTLINE(cert-err34-c): the system writes it
  while (fscanf(mappings, "%lx-%lx%*[^\n]", &found.low, &found.high) == 2 && !found.holds(address)) continue;
  fclose(mappings);
  return found.holds(address);
}

size_t ztStackLeft() {
  const auto here = reinterpret_cast<uintptr_t>(__builtin_frame_address(0));
  ztThread &thread = ztThisThread;
  Bounds stack = {thread.stackLow, thread.stackHigh};
  if (!stack.holds(here)) {
    if (!(ztFindOwnStack(&stack.low, &stack.high) && stack.holds(here)) && !findMapping(here, stack))
      return 0;
    thread.stackLow = stack.low;
    thread.stackHigh = stack.high;
  }
  // For what the slots and the overrides of hosts call themselves.
  constexpr uintptr_t mostReserved = uintptr_t{128} * 1024;
  const uintptr_t quarter = (stack.high - stack.low) / 4;
  const uintptr_t reserved = quarter < mostReserved ? quarter : mostReserved;
  const uintptr_t left = here - stack.low;
  return left > reserved ? left - reserved : 0;
}
