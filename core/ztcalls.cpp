#include "core/ztcalls.hh"

#include "core/ztgrowing.hh"
#include "core/ztmem.hh"
#include "core/ztstack.hh"

#include <string.h>
#include <sys/single_threaded.h>

using namespace ztcore;

// The table of a thread ---------------------------------------------------------------------------

// Used while a thread has no table: the entry below all others, with no capacity for more.
static Call belowAll = {nullptr, UINTPTR_MAX, belowAllCalls, 0, 0, 0};

// Below those of all records, above that of the first entry.
constexpr uint64_t firstSerial = 64;

constinit thread_local ThreadState ztcore::thisThread
    __attribute__((tls_model("initial-exec"))) = {.nextCall = &belowAll + 1,
                                                  .lastCall = &belowAll + 1,
                                                  .callSerial = firstSerial,
                                                  .indexedCalls = firstSerial};

// The table of the first thread, so that a program with one thread allocates none.
static CallTable firstCalls;
static bool firstCallsTaken;

static CallTable *takeCalls() {
  if (!__atomic_exchange_n(&firstCallsTaken, true, __ATOMIC_ACQ_REL)) return &firstCalls;
  return static_cast<CallTable *>(hidden(ztm_alloc(sizeof(CallTable))));
}

static void useEntries(CallTable *calls, uint32_t count) {
  thisThread.nextCall = calls->entries + count;
  thisThread.lastCall = calls->entries + calls->capacity;
}

// Runs when no other thread uses the table.
static void releaseCalls(CallTable *calls) {
  if (thisThread.calls == calls) {
    thisThread.calls = nullptr;
    thisThread.nextCall = &belowAll + 1;
    thisThread.lastCall = &belowAll + 1;
    thisThread.indexedCalls = firstSerial;
  }
  calls->subjects.clear();
  calls->receivers.clear();
  if (calls->entries != calls->fewEntries) ztm_free(calls->entries);
  if (calls->pending != calls->fewPending) ztm_free(calls->pending);
  if (calls != &firstCalls) {
    ztm_free(calls);
  } else {
    __atomic_store_n(&firstCallsTaken, false, __ATOMIC_RELEASE);
  }
}

static CallTable *callsOfThread() {
  if (thisThread.calls != nullptr) return thisThread.calls;
  ThreadBlock *block = blockOfThread();
  // The block that threads share when memory is exhausted cannot hold a table.
  if (block != thisThread.block) return nullptr;
  CallTable *calls = takeCalls();
  if (calls == nullptr) return nullptr;
  memset(calls, 0, sizeof *calls);
  calls->entries = calls->fewEntries;
  calls->capacity = sizeof calls->fewEntries / sizeof(Call);
  calls->pending = calls->fewPending;
  calls->pendingCapacity = sizeof calls->fewPending / sizeof(PendingSlot);
  calls->receiversSerial = firstSerial;
  calls->entries[0] = belowAll;
  block->calls = calls;
  block->releaseCalls = releaseCalls;
  thisThread.calls = calls;
  useEntries(calls, 1);
  return calls;
}

void ztcore::trimPending(CallTable *calls) {
  uint32_t used = 0;
  forEachCall([&](const Call &call) {
    if (kindOf(call) == CallKind::delivery && call.end > used) used = call.end;
  });
  calls->pendingCount = used;
}

// Frames that are gone -----------------------------------------------------------------------------

// Tells whether a running frame has replaced an earlier one.
static bool hasCovered(uintptr_t frame, const Call &earlier) {
  if (earlier.frame > frame) return false;
  return earlier.frame == frame || (isOnOwnStack(frame) && isOnOwnStack(earlier.frame));
}

void (*ztcore::leaveReceiver)(void *receiver);

// Clears the `sender` of the receiver whose slot was called last. Does nothing with several threads: another
// one may have destroyed the receiver.
static void clearSender(const CallTable *calls, const Call &delivery) {
  if (!__libc_single_threaded || delivery.detail >= delivery.end) return;
  void *receiver = calls->pending[delivery.detail].receiver;
  if (receiver != nullptr) leaveReceiver(receiver);
}

// The serial number of a free place. It has no kind, and is above all others, as of a record that is not in the index.
constexpr uint64_t goneSerial = ~callKinds;

static bool isGone(const Call &call) {
  return call.serial == goneSerial;
}

static void clear(Call *call) {
  *call = {nullptr, UINTPTR_MAX, goneSerial, 0, 0, 0};
}

static void drop(const CallTable *calls, Call *call) {
  if (kindOf(*call) == CallKind::delivery) clearSender(calls, *call);
  clear(call);
}

static void trim(CallTable *calls) {
  while (isGone(thisThread.nextCall[-1])) --thisThread.nextCall;
  trimPending(calls);
}

// One function may hold several watches: they have the same frame.
static bool areTogether(const Call &one, CallKind kind, uint32_t detail) {
  return kindOf(one) == CallKind::watch && kind == CallKind::watch && one.detail != detail;
}

static void dropCovered(CallTable *calls, CallKind kind, uintptr_t frame, uint32_t detail) {
  forEachCall([=](Call &call) {
    if (isGone(call) || !hasCovered(frame, call)) return;
    if (call.frame != frame || !areTogether(call, kind, detail)) drop(calls, &call);
  });
  trim(calls);
}

static bool isRepeated(const Call &older) {
  bool repeated = false;
  forEachCall([&](const Call &newer) {
    if (newer.frame != older.frame || newer.serial <= older.serial) return;
    if (!areTogether(newer, kindOf(older), older.detail)) repeated = true;
  });
  return repeated;
}

// The order of frames on the stacks of coroutines does not tell which ones have returned. But of two records at
// the same place the older one is stale, so a loop leaves no more records than there are places.
static void dropRepeated(CallTable *calls) {
  forEachCall([=](Call &call) {
    if (!isGone(call) && !isOnOwnStack(call.frame) && isRepeated(call)) drop(calls, &call);
  });
  trim(calls);
}

// Whether no delivery has pending slots from this position on.
static bool isFreePlace(uint64_t first, uint32_t count) {
  bool isFree = true;
  forEachCall([&](const Call &call) {
    if (call.first < call.end && first < call.end && call.first < first + count) isFree = false;
  });
  return isFree;
}

// Only deliveries on several stacks leave gaps.
static bool hasGaps(const CallTable *calls) {
  uint32_t used = 0;
  forEachCall([&](const Call &call) { used += call.end - call.first; });
  return used != calls->pendingCount;
}

// The first gap between the deliveries that is large enough, or the position behind all of them.
static uint32_t findPlace(const CallTable *calls, uint32_t count) {
  if (!hasGaps(calls)) return calls->pendingCount;
  uint32_t found = isFreePlace(0, count) ? 0 : calls->pendingCount;
  forEachCall([&](const Call &call) {
    if (call.end > 0 && call.end < found && isFreePlace(call.end, count)) found = call.end;
  });
  return found;
}

uint32_t ztcore::findPending(CallTable *calls, uint32_t count) {
  if (count > INT32_MAX) return noPlace;
  // Stale deliveries of coroutines may stand in front of many free places.
  dropRepeated(calls);
  const uint32_t first = findPlace(calls, count);
  if (calls->pendingCapacity - first >= count) return first;
  PendingSlot *fresh =
      hidden(growBlock(calls->pending, calls->fewPending, &calls->pendingCapacity, first + count));
  if (fresh == nullptr) return noPlace;
  calls->pending = fresh;
  return first;
}

// The index of subjects ----------------------------------------------------------------------------

// Records that ended are still in the index, at places that later records may have. But what was in it when it was
// last brought up to date, and has not ended since, lies below all later records.

// Takes out the places behind the latest call that is in the index.
static void cutSubjects(CallTable *calls, const Call *latest) {
  calls->subjects.cut(static_cast<uint32_t>(latest + 1 - calls->entries));
}

// Without memory, the calls are looked through.
static void indexCalls(CallTable *calls, const Call *latest) {
  PlaceIndex &index = calls->subjects;
  const auto count = static_cast<uint32_t>(thisThread.nextCall - calls->entries);
  if (!index.reserve(count)) return;
  cutSubjects(calls, latest);
  while (index.size() < count) index.add(calls->entries[index.size()].subject);
  thisThread.indexedCalls = thisThread.callSerial | callKinds;
}

// Brings the index up to date when it lacks many calls, and leaves it when few are under way.
static void keepIndex() {
  CallTable *calls = thisThread.calls;
  const Call *latest = thisThread.nextCall - 1;
  while (latest->serial > thisThread.indexedCalls) --latest;
  if (thisThread.nextCall - latest > mostSearched) {
    indexCalls(calls, latest);
  } else if (thisThread.nextCall - calls->entries <= mostSearched / 2) {
    thisThread.indexedCalls = firstSerial;
  }
}

void ztcore::visitIndexed(const void *subject, const Call *latest, VisitCall visit, void *context) {
  CallTable *calls = thisThread.calls;
  cutSubjects(calls, latest);
  for (uint32_t place = calls->subjects.last(subject); place != PlaceIndex::none;) {
    Call &call = calls->entries[place];
    place = calls->subjects.before(place);
    if (call.subject == subject) visit(call, context);
  }
}

Call *ztcore::indexedCallOn(const void *subject, CallKind kind, const Call *latest) {
  CallTable *calls = thisThread.calls;
  cutSubjects(calls, latest);
  uint32_t place = calls->subjects.last(subject);
  for (; place != PlaceIndex::none; place = calls->subjects.before(place)) {
    Call &call = calls->entries[place];
    if (call.subject == subject && kindOf(call) == kind) return &call;
  }
  return nullptr;
}

// The index of receivers ---------------------------------------------------------------------------

// So many pending slots are looked through before they go into the index.
constexpr uint32_t mostPendingSearched = sizeof CallTable::fewPending / sizeof(PendingSlot);

// Takes out the places of pending slots that deliveries have used since the index was brought up to date.
static void cutReceivers(CallTable *calls) {
  uint32_t valid = calls->pendingCount;
  for (const Call *call = thisThread.nextCall - 1; call->serial > calls->receiversSerial; --call) {
    if (call->first < call->end && call->first < valid) valid = call->first;
  }
  calls->receivers.cut(valid);
  calls->receiversSerial = thisThread.callSerial | callKinds;
}

// Returns the number of pending slots that are in the index. Without memory, the others are looked through.
static uint32_t indexPending(CallTable *calls) {
  PlaceIndex &index = calls->receivers;
  const uint32_t count = calls->pendingCount;
  if (count <= mostPendingSearched) return 0;
  cutReceivers(calls);
  if (count - index.size() > mostPendingSearched && index.reserve(count)) {
    while (index.size() < count) index.add(calls->pending[index.size()].receiver);
  }
  return index.size();
}

static void forget(PendingSlot &slot, const void *receiver) {
  if (slot.receiver == receiver) slot.receiver = nullptr;
}

void ztcore::forgetPending(CallTable *calls, const void *receiver) {
  const uint32_t indexed = indexPending(calls);
  for (uint32_t i = indexed; i < calls->pendingCount; ++i) forget(calls->pending[i], receiver);
  if (indexed == 0) return;
  const PlaceIndex &index = calls->receivers;
  for (uint32_t i = index.last(receiver); i != PlaceIndex::none; i = index.before(i)) {
    forget(calls->pending[i], receiver);
  }
}

// The records --------------------------------------------------------------------------------------

// A record at a place between older ones would not be in the indices.
static void emptyIndices(CallTable *calls) {
  thisThread.indexedCalls = firstSerial;
  calls->receiversSerial = firstSerial;
}

static Call *freeEntry() {
  Call *found = nullptr;
  forEachCall([&](Call &call) {
    if (isGone(call)) found = &call;
  });
  return found;
}

static bool enlargeEntries(CallTable *calls) {
  const uint32_t count = calls->capacity;
  Call *fresh = hidden(growBlock(calls->entries, calls->fewEntries, &calls->capacity, count + 1));
  if (fresh == nullptr) return false;
  calls->entries = fresh;
  useEntries(calls, count);
  return true;
}

Call *ztcore::addCall(CallKind kind, uintptr_t frame, uint32_t detail) {
  CallTable *calls = callsOfThread();
  if (calls == nullptr) return nullptr;
  dropCovered(calls, kind, frame, detail);
  if (thisThread.nextCall == thisThread.lastCall) dropRepeated(calls);
  if (thisThread.nextCall == thisThread.lastCall) {
    Call *amongOthers = freeEntry();
    if (amongOthers != nullptr) {
      emptyIndices(calls);
      return amongOthers;
    }
    if (!enlargeEntries(calls)) return nullptr;
  }
  return thisThread.nextCall++;
}

Call *ztcore::findCall(const CallMark &mark) {
  Call *found = nullptr;
  forEachCall([&](Call &call) {
    if (call.serial == mark.serial) found = &call;
  });
  return found;
}

bool ztcore::endCallAmongOthers(const CallMark &mark) {
  Call *own = findCall(mark);
  if (own == nullptr) return false;
  CallTable *calls = thisThread.calls;
  const uintptr_t frame = own->frame;
  clear(own);
  forEachCall([=](Call &call) {
    // Keeps the records of other watches of the same function.
    if (call.frame < frame && hasCovered(frame, call)) drop(calls, &call);
  });
  trim(calls);
  return true;
}

// Releases that may have been left ----------------------------------------------------------------

// May read memory of a frame that has returned, which the sanitizer would report.
__attribute__((noinline, no_sanitize_address)) static bool isMarked(uintptr_t frame, uint64_t serial) {
  const auto *words = reinterpret_cast<const volatile uint64_t *>(frame);
  for (size_t i = 0; i < sizeof(ReleaseMark) / sizeof serial; ++i) {
    if (words[i] != serial) return false;
  }
  return true;
}

// A frame that still runs holds its mark. A frame that was left may hold it until other frames overwrite it:
// the object then stays, to be released later. Frames on other stacks are not read: their memory may be freed.
static bool mayRun(uintptr_t frameTop, const Call &call) {
  if (hasCovered(frameTop, call)) return false;
  return !isOnOwnStack(call.frame) || isMarked(call.frame, call.serial);
}

namespace {

struct Look {
  uintptr_t frameTop;
  CallKind least;
  bool isUnderWay;
};

}  // namespace

bool ztcore::looksUnderWay(const void *object, uintptr_t frameTop, CallKind least) {
  Look look = {frameTop, least, false};
  const auto visit = [](Call &call, void *context) {
    auto *own = static_cast<Look *>(context);
    if (kindOf(call) < own->least) return;
    if (mayRun(own->frameTop, call)) {
      own->isUnderWay = true;
    } else {
      drop(thisThread.calls, &call);
    }
  };
  forEachCallOn(object, visit, &look);
  keepIndex();
  return look.isUnderWay;
}

void ztcore::dropCallsOn(const void *object) {
  if (!mayBeUnderWay(object)) return;
  forEachCallOn(object, [](Call &call, void *) {
    if (kindOf(call) >= CallKind::release) drop(thisThread.calls, &call);
  });
  keepIndex();
}
