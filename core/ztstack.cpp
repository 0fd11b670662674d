#include "core/ztstack.hh"

#include <pthread.h>
#include <stdio.h>

using namespace ztcore;

void ztcore::findOwnStack() {
  StackBounds &own = thisThread.ownStack;
  own = {1, 1};
  pthread_attr_t attributes;
  if (pthread_getattr_np(pthread_self(), &attributes) != 0) return;
  void *start = nullptr;
  size_t size = 0;
  size_t guard = 0;
  pthread_attr_getstack(&attributes, &start, &size);
  pthread_attr_getguardsize(&attributes, &guard);
  pthread_attr_destroy(&attributes);
  own.low = reinterpret_cast<uintptr_t>(start) + guard;
  own.high = reinterpret_cast<uintptr_t>(start) + size;
}

// A host may run on a stack of its own, which lies in its own mapping.
static bool findMapping(uintptr_t address, StackBounds &found) {
  FILE *mappings = fopen("/proc/self/maps", "re");
  if (mappings == nullptr) return false;
  // NOLINTNEXTLINE(cert-err34-c): the system writes it
  while (fscanf(mappings, "%lx-%lx%*[^\n]", &found.low, &found.high) == 2 && !found.holds(address)) continue;
  fclose(mappings);
  return found.holds(address);
}

size_t ztcore::stackLeft() {
  const auto here = reinterpret_cast<uintptr_t>(__builtin_frame_address(0));
  StackBounds &stack = thisThread.stack;
  if (!stack.holds(here)) {
    StackBounds found;
    if (isOnOwnStack(here)) {
      found = thisThread.ownStack;
    } else if (!findMapping(here, found)) {
      return 0;
    }
    stack = found;
  }
  // For the calls of slots and overrides of hosts.
  constexpr uintptr_t mostReserved = uintptr_t{128} * 1024;
  const uintptr_t quarter = (stack.high - stack.low) / 4;
  const uintptr_t reserved = quarter < mostReserved ? quarter : mostReserved;
  const uintptr_t left = here - stack.low;
  return left > reserved ? left - reserved : 0;
}
