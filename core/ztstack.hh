// The stack of the calling thread: whose frames can be compared, and how much is left for calls that go as
// deep as a tree of a host's.
#ifndef ZT_CORE_ZTSTACK_HH
#define ZT_CORE_ZTSTACK_HH

#include "core/ztthread.hh"

#include <stddef.h>

namespace ztcore {

// The bytes of the caller's stack that a call may use and still leave enough for what is not counted; 0
// when there are none left, and where the bounds of the stack are not known.
size_t stackLeft();

// Asks for the bounds of the stack that the system gave this thread; empty ones where it does not tell. That
// takes long for the first thread.
void findOwnStack();

// Whether an address lies on that stack.
inline bool isOnOwnStack(uintptr_t address) {
  if (thisThread.ownStack.high == 0) findOwnStack();
  return thisThread.ownStack.holds(address);
}

}  // namespace ztcore

#endif
