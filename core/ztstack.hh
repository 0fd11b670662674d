// How much stack is left, for calls that go as deep as a tree of a host's.
#ifndef ZT_CORE_ZTSTACK_HH
#define ZT_CORE_ZTSTACK_HH

#include <stddef.h>
#include <stdint.h>

// The bytes of the caller's stack that a call may use and still leave enough for what is not counted; 0
// when there are none left, and where the bounds of the stack are not known.
size_t ztStackLeft();

// Finds the bounds of the stack that the system gave this thread; false, with both equal, where it does not
// tell. That takes long for the first thread.
bool ztFindOwnStack(uintptr_t *low, uintptr_t *high);

#endif
