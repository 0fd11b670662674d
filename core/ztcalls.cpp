#include "core/ztcalls.hh"

#include "core/ztgrowing.hh"
#include "core/ztmem.h"
#include "core/ztstack.hh"

#include <string.h>
#include <sys/single_threaded.h>

// The table of a thread ---------------------------------------------------------------------------

// In place of the table of a thread that has none: the entry below all others, and no room.
static ztCall belowAll = {nullptr, UINTPTR_MAX, ztBelowAllCalls, 0, 0, 0};

constexpr uint64_t firstSerial = 64;

constinit thread_local ztThread ztThisThread __attribute__((tls_model("initial-exec"))) = {
    .nextCall = &belowAll + 1, .lastCall = &belowAll + 1, .callSerial = firstSerial};

// The first thread's, so that a program of one thread needs no memory for it.
static ztCalls firstCalls;
static bool firstCallsTaken;

static ztCalls *takeCalls() {
  if (!__atomic_exchange_n(&firstCallsTaken, true, __ATOMIC_ACQ_REL)) return &firstCalls;
  return static_cast<ztCalls *>(ztm_alloc(sizeof(ztCalls)));
}

static void useEntries(ztCalls *calls, uint32_t count) {
  ztThisThread.nextCall = calls->entries + count;
  ztThisThread.lastCall = calls->entries + calls->capacity;
}

// Runs when nobody uses the table any more but, perhaps, this thread.
static void releaseCalls(ztCalls *calls) {
  if (ztThisThread.calls == calls) {
    ztThisThread.calls = nullptr;
    ztThisThread.nextCall = &belowAll + 1;
    ztThisThread.lastCall = &belowAll + 1;
  }
  if (calls->entries != calls->fewEntries) ztm_free(calls->entries);
  if (calls->pending != calls->fewPending) ztm_free(calls->pending);
  if (calls != &firstCalls) {
    ztm_free(calls);
  } else {
    __atomic_store_n(&firstCallsTaken, false, __ATOMIC_RELEASE);
  }
}

static ztCalls *callsOfThread() {
  if (ztThisThread.calls != nullptr) return ztThisThread.calls;
  ztThreadBlock *block = ztBlockOfThread();
  // One that threads share, for want of memory, cannot hold it.
  if (block != ztThisThread.block) return nullptr;
  ztCalls *calls = takeCalls();
  if (calls == nullptr) return nullptr;
  memset(calls, 0, sizeof *calls);
  calls->entries = calls->fewEntries;
  calls->capacity = sizeof calls->fewEntries / sizeof(ztCall);
  calls->pending = calls->fewPending;
  calls->pendingCapacity = sizeof calls->fewPending / sizeof(ztPendingSlot);
  calls->entries[0] = belowAll;
  block->calls = calls;
  block->releaseCalls = releaseCalls;
  ztThisThread.calls = calls;
  useEntries(calls, 1);
  return calls;
}

void ztTrimPending(ztCalls *calls) {
  uint32_t used = 0;
  ztForEachCall([&](const ztCall &call) {
    if (ztKindOf(call) == ztCallKind::delivery && call.end > used) used = call.end;
  });
  calls->pendingCount = used;
}

// Frames that are gone -----------------------------------------------------------------------------

// Tells whether a frame that is running now has taken the place of an earlier one.
static bool hasCovered(uintptr_t frame, const ztCall &earlier) {
  if (earlier.frame > frame) return false;
  return earlier.frame == frame || (ztIsOnOwnStack(frame) && ztIsOnOwnStack(earlier.frame));
}

void (*ztLeaveReceiver)(void *receiver);

// What the slot that was called last left in its receiver. Where there are several threads the receiver may
// have gone in another one, unnoticed here.
static void clearSender(const ztCalls *calls, const ztCall &delivery) {
  if (!__libc_single_threaded || delivery.detail >= delivery.end) return;
  void *receiver = calls->pending[delivery.detail].receiver;
  if (receiver != nullptr) ztLeaveReceiver(receiver);
}

static void clear(ztCall *call) {
  *call = {nullptr, UINTPTR_MAX, 0, 0, 0, 0};
}

static void drop(const ztCalls *calls, ztCall *call) {
  if (ztKindOf(*call) == ztCallKind::delivery) clearSender(calls, *call);
  clear(call);
}

static void trim(ztCalls *calls) {
  while (ztThisThread.nextCall[-1].serial == 0) --ztThisThread.nextCall;
  ztTrimPending(calls);
}

// A function may hold several watches at once: they have the same frame.
static bool areTogether(const ztCall &one, ztCallKind kind, uint32_t detail) {
  return ztKindOf(one) == ztCallKind::watch && kind == ztCallKind::watch && one.detail != detail;
}

static void dropCovered(ztCalls *calls, ztCallKind kind, uintptr_t frame, uint32_t detail) {
  ztForEachCall([=](ztCall &call) {
    if (call.serial == 0 || !hasCovered(frame, call)) return;
    if (call.frame != frame || !areTogether(call, kind, detail)) drop(calls, &call);
  });
  trim(calls);
}

static bool isRepeated(const ztCall &older) {
  bool repeated = false;
  ztForEachCall([&](const ztCall &newer) {
    if (newer.frame != older.frame || newer.serial <= older.serial) return;
    if (!areTogether(newer, ztKindOf(older), older.detail)) repeated = true;
  });
  return repeated;
}

// On the stacks of coroutines frames that are gone are not told from others by their order. But of two in
// the same place the older one is gone, so that a loop leaves no more records than there are places.
static void dropRepeated(ztCalls *calls) {
  ztForEachCall([=](ztCall &call) {
    if (call.serial != 0 && !ztIsOnOwnStack(call.frame) && isRepeated(call)) drop(calls, &call);
  });
  trim(calls);
}

// Whether no delivery has pending slots from this place on.
static bool isFreePlace(uint64_t first, uint32_t count) {
  bool isFree = true;
  ztForEachCall([&](const ztCall &call) {
    if (call.first < call.end && first < call.end && call.first < first + count) isFree = false;
  });
  return isFree;
}

// The first place between those of deliveries that is large enough; the one behind all of them at the most.
static uint32_t findPlace(const ztCalls *calls, uint32_t count) {
  uint32_t found = isFreePlace(0, count) ? 0 : calls->pendingCount;
  ztForEachCall([&](const ztCall &call) {
    if (call.end > 0 && call.end < found && isFreePlace(call.end, count)) found = call.end;
  });
  return found;
}

uint32_t ztReservePending(ztCalls *calls, uint32_t count) {
  if (calls->pendingCapacity - calls->pendingCount >= count) return calls->pendingCount;
  if (count > INT32_MAX) return ztNoPlace;
  // Deliveries that were left on the stacks of coroutines may stand in front of much room.
  dropRepeated(calls);
  const uint32_t first = findPlace(calls, count);
  if (calls->pendingCapacity - first >= count) return first;
  ztPendingSlot *fresh = ztGrow(calls->pending, calls->fewPending, &calls->pendingCapacity, first + count);
  if (fresh == nullptr) return ztNoPlace;
  calls->pending = fresh;
  return first;
}

static ztCall *freeEntry() {
  ztCall *found = nullptr;
  ztForEachCall([&](ztCall &call) {
    if (call.serial == 0) found = &call;
  });
  return found;
}

static bool enlargeEntries(ztCalls *calls) {
  const uint32_t count = calls->capacity;
  ztCall *fresh = ztGrow(calls->entries, calls->fewEntries, &calls->capacity, count + 1);
  if (fresh == nullptr) return false;
  calls->entries = fresh;
  useEntries(calls, count);
  return true;
}

ztCall *ztMakeRoomForCall(ztCallKind kind, uintptr_t frame, uint32_t detail) {
  ztCalls *calls = callsOfThread();
  if (calls == nullptr) return nullptr;
  dropCovered(calls, kind, frame, detail);
  if (ztThisThread.nextCall == ztThisThread.lastCall) dropRepeated(calls);
  if (ztThisThread.nextCall == ztThisThread.lastCall) {
    ztCall *amongOthers = freeEntry();
    if (amongOthers != nullptr) return amongOthers;
    if (!enlargeEntries(calls)) return nullptr;
  }
  return ztThisThread.nextCall++;
}

ztCall *ztFindCall(const ztCallMark &mark) {
  ztCall *found = nullptr;
  ztForEachCall([&](ztCall &call) {
    if (call.serial == mark.serial) found = &call;
  });
  return found;
}

bool ztEndCallAmongOthers(const ztCallMark &mark) {
  ztCall *own = ztFindCall(mark);
  if (own == nullptr) return false;
  ztCalls *calls = ztThisThread.calls;
  const uintptr_t frame = own->frame;
  clear(own);
  ztForEachCall([=](ztCall &call) {
    // Another watch of the same function's lasts.
    if (call.frame < frame && hasCovered(frame, call)) drop(calls, &call);
  });
  trim(calls);
  return true;
}

// Releases that may have been left ----------------------------------------------------------------

static bool isEnd(const ztCall &call, const void *object, ztCallKind least) {
  return call.subject == object && ztKindOf(call) >= least;
}

// Reads what may be memory of a frame that has ended, which nobody else would.
__attribute__((noinline, no_sanitize_address)) static bool isMarked(uintptr_t frame, uint64_t serial) {
  const auto *words = reinterpret_cast<const volatile uint64_t *>(frame);
  for (size_t i = 0; i < sizeof(ztEndMark) / sizeof serial; ++i) {
    if (words[i] != serial) return false;
  }
  return true;
}

// A frame that still runs still holds its mark. One that was left may do so for a while, until other frames
// have written over it: the object then stays as it is, to be released another time. The frames of other
// stacks cannot be looked into, since their memory may be gone.
static bool mayRun(uintptr_t frameTop, const ztCall &call) {
  if (hasCovered(frameTop, call)) return false;
  return !ztIsOnOwnStack(call.frame) || isMarked(call.frame, call.serial);
}

bool ztLooksUnderWay(const void *object, uintptr_t frameTop, ztCallKind least) {
  ztCalls *calls = ztThisThread.calls;
  bool underWay = false;
  ztForEachCall([&](ztCall &call) {
    if (!isEnd(call, object, least)) return;
    if (mayRun(frameTop, call)) {
      underWay = true;
    } else {
      drop(calls, &call);
    }
  });
  return underWay;
}

void ztDropCallsOn(const void *object) {
  if (!ztIsSubject(object)) return;
  ztForEachCall([=](ztCall &call) {
    if (isEnd(call, object, ztCallKind::release)) drop(ztThisThread.calls, &call);
  });
}
