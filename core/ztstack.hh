// The stack of the calling thread: which frames can be compared, and how many bytes are left for recursion.
#ifndef ZT_CORE_ZTSTACK_HH
#define ZT_CORE_ZTSTACK_HH

#include "core/ztthread.hh"

#include <stddef.h>

namespace ztcore {

// The bytes of the caller's stack that a call may use, without a reserve for calls that are not counted. 0 when
// none are left or the bounds of the stack are not known.
size_t stackLeft();

// Finds the bounds of this thread's stack from the system; empty ones on failure. Slow in the first thread.
void findOwnStack();

// Whether an address lies on that stack.
inline bool isOnOwnStack(uintptr_t address) {
  if (thisThread.ownStack.high == 0) findOwnStack();
  return thisThread.ownStack.holds(address);
}

}  // namespace ztcore

#endif
