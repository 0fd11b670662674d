// Records of a thread's calls under way: deliveries of signals, watches, releases, destructions of objects.
//
// Functions of a host run inside those calls and may leave by an exception or a longjmp. The frame that made a
// record is then gone, and nobody removed the record. So the records are in a table of the thread, not on the
// stack. A frame holds only a mark, by which it finds its record or learns that the record was dropped.
//
// A record is dropped when its frame is known to be gone: when a frame that lies no deeper on the same stack
// makes another record. Nothing is certain about frames above the current one, which may have been left and
// overwritten, and about other stacks, such as those of coroutines. A doubtful record stays. It is harmless:
// its subject is cleared when it is destroyed, and none of its pointers is followed. Only a record that would
// keep an object from being released is checked by reading its frame.
//
// To keep frames comparable, a function that makes such a record is marked ZT_OWN_FRAME and makes only one.
#ifndef ZT_CORE_ZTCALLS_HH
#define ZT_CORE_ZTCALLS_HH

#include "core/ztplaces.hh"
#include "core/ztthread.hh"

#include <stdint.h>

namespace ztcore {

#define ZT_OWN_FRAME __attribute__((noinline, no_sanitize_address))

enum class CallKind : uint64_t {
  gone,         // dropped; its place is free
  watch,        // the subject is an object whose destruction matters
  delivery,     // the subject is a signal whose slots are being called
  release,      // the subject is an object that is being released
  destruction,  // the subject is a ztObject that is being destroyed
};

constexpr uint64_t callKinds = 7;  // the bits of a serial number that hold the kind

struct Call {
  const void *subject;  // NULL once it is destroyed
  uintptr_t frame;      // the address of the frame that made the record; the highest one once that is gone
  uint64_t serial;      // as in the mark of that frame; the low bits hold the kind
  uint32_t detail;      // delivery: the pending slot that was called last; watch: its position in the frame;
                        // destruction: not 0 while peers stay connected to the object
  uint32_t first;       // delivery: its first pending slot,
  uint32_t end;         // and the position behind its last one
};

inline CallKind kindOf(const Call &call) {
  return static_cast<CallKind>(call.serial & callKinds);
}

// A slot that a delivery calls or will call.
struct PendingSlot {
  void *receiver;  // NULL once it is destroyed
  void (*function)(void *receiver);
};

// The table of a thread. Its first entry is no call and lies below all others. `thisThread` has its end.
struct CallTable {
  Call *entries;
  uint32_t capacity;
  uint32_t pendingCount;
  PendingSlot *pending;  // of all deliveries
  uint32_t pendingCapacity;
  uint32_t removals;         // incremented whenever a slot is removed from any map
  PlaceIndex subjects;       // of the entries, once they are many; `thisThread` has how far it is up to date
  PlaceIndex receivers;      // of the pending slots, once they are many; deliveries
  uint64_t receiversSerial;  // that began after this serial number may have changed them
  Call fewEntries[32];
  PendingSlot fewPending[64];
};

constexpr uint64_t belowAllCalls = 16;  // the serial number of the first entry; has no kind
constexpr uint64_t noCall = 24;         // the serial number of a mark without a record

// The mark in a frame, which `isMarked` looks for.
struct CallMark {
  uint64_t serial;
};

inline uintptr_t frameOf(CallMark *mark) {
  return reinterpret_cast<uintptr_t>(mark);
}

// The mark of a release or a destruction, whose frame may be read. It is so large that the frames of small
// functions, which write at least their return address, cannot lie over it without changing it.
struct ReleaseMark {
  CallMark mark;
  uint64_t copies[3];
};

inline bool hasCalls() {
  return thisThread.nextCall[-1].serial != belowAllCalls;
}

// Runs visit(call) for each call of this thread, the latest first.
template <typename Visit>
inline void forEachCall(Visit visit) {
  for (Call *call = thisThread.nextCall - 1; call->serial != belowAllCalls; --call) visit(*call);
}

// So many calls are looked through. More of them go into the index.
constexpr int mostSearched = 32;

using VisitCall = void (*)(Call &call, void *context);

// Visits the calls on a subject that are in the index; `latest` is the latest call there.
[[gnu::cold, gnu::noinline]] void visitIndexed(const void *subject, const Call *latest, VisitCall visit,
                                               void *context);

// Runs visit(call, context) for each call on a subject, the latest first.
[[gnu::always_inline]] inline void forEachCallOn(const void *subject, VisitCall visit,
                                                 void *context = nullptr) {
  Call *call = thisThread.nextCall - 1;
  for (; call->serial > thisThread.indexedCalls; --call) {
    if (call->subject == subject) visit(*call, context);
  }
  if (call->serial != belowAllCalls) visitIndexed(subject, call, visit, context);
}

[[gnu::cold, gnu::noinline]] Call *indexedCallOn(const void *subject, CallKind kind, const Call *latest);

// A call of one kind on a subject; NULL when there is none.
inline Call *callOn(const void *subject, CallKind kind) {
  Call *call = thisThread.nextCall - 1;
  for (; call->serial > thisThread.indexedCalls; --call) {
    if (call->subject == subject && kindOf(*call) == kind) return call;
  }
  return call->serial == belowAllCalls ? nullptr : indexedCallOn(subject, kind, call);
}

// Drops the records of frames that are gone, and returns a place for a record. NULL when memory is exhausted.
[[gnu::noinline]] Call *addCall(CallKind kind, uintptr_t frame, uint32_t detail);

// Makes a record, valid until the next one is made. NULL, and no record, when memory is exhausted.
inline Call *beginCall(CallMark *mark, CallKind kind, const void *subject, uintptr_t frame,
                       uint32_t detail = 0) {
  Call *call = thisThread.nextCall;
  if (call != thisThread.lastCall && call[-1].frame > frame) {
    thisThread.nextCall = call + 1;
  } else {
    call = addCall(kind, frame, detail);
    if (call == nullptr) {
      mark->serial = noCall;
      return nullptr;
    }
  }
  thisThread.callSerial += callKinds + 1;
  const uint64_t serial = thisThread.callSerial | static_cast<uint64_t>(kind);
  mark->serial = serial;
  call->subject = subject;
  call->frame = frame;
  call->serial = serial;
  call->detail = detail;
  call->first = 0;
  call->end = 0;
  return call;
}

// The same for a release or a destruction. False when memory is exhausted.
inline bool beginRelease(ReleaseMark *mark, CallKind kind, const void *object) {
  const bool begun = beginCall(&mark->mark, kind, object, frameOf(&mark->mark)) != nullptr;
  for (uint64_t &copy : mark->copies) copy = mark->mark.serial;
  return begun;
}

[[gnu::noinline]] Call *findCall(const CallMark &mark);

// The record of a frame, valid until the next one is made; NULL when it was dropped.
inline Call *callOf(const CallMark &mark) {
  Call *last = thisThread.nextCall - 1;
  return last->serial == mark.serial ? last : findCall(mark);
}

[[gnu::noinline]] bool endCallAmongOthers(const CallMark &mark);

// Removes the record of a frame, and those of the frames that it called. False when there is none.
inline bool endCall(const CallMark &mark) {
  Call *last = thisThread.nextCall - 1;
  if (last->serial != mark.serial) return endCallAmongOthers(mark);
  thisThread.nextCall = last;
  return true;
}

bool looksUnderWay(const void *object, uintptr_t frameTop, CallKind least);

// False if no call is on an object. Does not look into the index.
inline bool mayBeSubject(const void *object) {
  const Call *call = thisThread.nextCall - 1;
  for (; call->serial > thisThread.indexedCalls; --call) {
    if (call->subject == object) return true;
  }
  return call->serial != belowAllCalls;
}

// The same, and true if too many calls were looked through: `isUnderWay` then puts them into the index.
inline bool mayBeUnderWay(const void *object) {
  const Call *call = thisThread.nextCall - 1;
  for (; call->serial > thisThread.indexedCalls; --call) {
    if (call->subject == object) return true;
  }
  return call->serial != belowAllCalls || thisThread.nextCall - call > mostSearched;
}

// Tells whether an object is being destroyed; with `release` as `least`, whether it is being released or
// destroyed. Drops its records whose frames are gone. Inlined, because it needs the frame of its caller.
__attribute__((always_inline)) inline bool isUnderWay(const void *object, CallKind least) {
  if (!mayBeUnderWay(object)) return false;
  return looksUnderWay(object, reinterpret_cast<uintptr_t>(__builtin_dwarf_cfa()), least);
}

[[gnu::cold, gnu::noinline]] void dropCallsOn(const void *object);

// Called for every new object. Records about its address concern an earlier object, whose memory a host freed.
template <typename... Object>
inline void objectMade(const Object *...object) {
  if (hasCalls()) (dropCallsOn(object), ...);
}

// Clears the `sender` of a receiver whose slot was left without returning. Set before the first delivery.
extern void (*leaveReceiver)(void *receiver);

constexpr uint32_t noPlace = UINT32_MAX;

// Positions for pending slots where there are too few behind those in use.
[[gnu::noinline]] uint32_t findPending(CallTable *calls, uint32_t count);

// Reserves positions for pending slots and returns the first one; `noPlace` when memory is exhausted.
inline uint32_t reservePending(CallTable *calls, uint32_t count) {
  if (calls->pendingCapacity - calls->pendingCount >= count) return calls->pendingCount;
  return findPending(calls, count);
}

// Frees the positions of pending slots that no delivery uses.
[[gnu::noinline]] void trimPending(CallTable *calls);

// Clears a receiver that is being destroyed in the pending slots.
[[gnu::noinline]] void forgetPending(CallTable *calls, const void *receiver);

}  // namespace ztcore

#endif
