// The calls that a thread has under way and that something which happens meanwhile is to reach: deliveries of
// signals, watches, releases and ends of objects.
//
// Functions of a host's run inside those calls, and may leave by an exception or a longjmp: the frame that
// made a record is then gone without having taken it back. So the records lie in a table of the thread's, not
// on the stack; a frame holds no more than a mark, by which it finds its record, or that it was dropped.
//
// A record is dropped as soon as its frame is known to be gone: when another record is made from a frame that
// lies no deeper on the same stack. Beyond that there are only guesses: about frames above the current one,
// which may have been left and covered, and about other stacks, such as those of coroutines. A record of
// doubtful state stays, since it is harmless: it is told of the end of its subject as the others are, and
// nothing of it is followed. One that would keep an object from being released is looked into.
//
// So that frames can be compared, a function that makes such a record is marked ZT_OWN_FRAME and makes no
// other one.
#ifndef ZT_CORE_ZTCALLS_HH
#define ZT_CORE_ZTCALLS_HH

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
  uintptr_t frame;      // where the frame that made the record lies; above all others once it is gone
  uint64_t serial;      // as in the mark of that frame, with the kind in its last bits
  uint32_t detail;      // delivery: the pending slot that was called last; watch: where in its frame it lies;
                        // destruction: not 0 where peers stay tied to the object until its end
  uint32_t first;       // delivery: where its pending slots begin,
  uint32_t end;         // and the place behind them
};

inline CallKind kindOf(const Call &call) {
  return static_cast<CallKind>(call.serial & callKinds);
}

// A slot that a delivery has yet to call, or calls.
struct PendingSlot {
  void *receiver;  // NULL once it is destroyed
  void (*function)(void *receiver);
};

// The table. Its first entry is of no call, and stands below all others; the thread knows where it ends.
struct CallTable {
  Call *entries;
  uint32_t capacity;
  uint32_t pendingCount;
  PendingSlot *pending;  // those of all deliveries
  uint32_t pendingCapacity;
  uint32_t removals;  // raised whenever a slot was taken out of any map
  Call fewEntries[32];
  PendingSlot fewPending[64];
};

constexpr uint64_t belowAllCalls = 16;  // the serial number of the first entry; of no kind
constexpr uint64_t noCall = 24;         // that of a mark without a record

// What the frame holds: where a look into the frame finds it.
struct CallMark {
  uint64_t serial;
};

inline uintptr_t frameOf(CallMark *mark) {
  return reinterpret_cast<uintptr_t>(mark);
}

// That of a release or an end, whose frame may be looked into: so large that no frames of small functions,
// which write at least where they return to, come to lie there and leave it as it was.
struct ReleaseMark {
  CallMark mark;
  uint64_t copies[3];
};

// The calls of this thread; runs visit(call) for each of them, the latest first.
template <typename Visit>
inline void forEachCall(Visit visit) {
  for (Call *call = thisThread.nextCall - 1; call->serial != belowAllCalls; --call) visit(*call);
}

// Where a record goes, after those of frames that are gone were dropped. NULL without memory.
Call *addCall(CallKind kind, uintptr_t frame, uint32_t detail);

// Makes a record. NULL without memory: there is then none. Valid until the next one is made.
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

// The same for a release or an end. False without memory.
inline bool beginRelease(ReleaseMark *mark, CallKind kind, const void *object) {
  const bool begun = beginCall(&mark->mark, kind, object, frameOf(&mark->mark)) != nullptr;
  for (uint64_t &copy : mark->copies) copy = mark->mark.serial;
  return begun;
}

Call *findCall(const CallMark &mark);

// The record of a frame; NULL when it was dropped. Valid until the next one is made.
inline Call *callOf(const CallMark &mark) {
  Call *last = thisThread.nextCall - 1;
  return last->serial == mark.serial ? last : findCall(mark);
}

bool endCallAmongOthers(const CallMark &mark);

// Takes the record of a frame back, and those of the frames that it called. False when there is none.
inline bool endCall(const CallMark &mark) {
  Call *last = thisThread.nextCall - 1;
  if (last->serial != mark.serial) return endCallAmongOthers(mark);
  thisThread.nextCall = last;
  return true;
}

bool looksUnderWay(const void *object, uintptr_t frameTop, CallKind least);

inline bool isSubject(const void *object) {
  const Call *call = thisThread.nextCall;
  do {
    --call;
    if (call->subject == object) return true;
  } while (call->serial != belowAllCalls);
  return false;
}

// Tells whether an object's end is under way, or with `release` as the least of the two its release or end.
// Records of it whose frames are found gone are dropped. Inlined, since it asks for the frame of its caller.
__attribute__((always_inline)) inline bool isUnderWay(const void *object, CallKind least) {
  if (!isSubject(object)) return false;
  return looksUnderWay(object, reinterpret_cast<uintptr_t>(__builtin_dwarf_cfa()), least);
}

void dropCallsOn(const void *object);

// Told of every object that is constructed: what is under way there was about another one, whose memory was
// freed by a host.
inline void objectMade(const void *object) {
  if (thisThread.nextCall[-1].serial != belowAllCalls) dropCallsOn(object);
}

// Has the receiver of a slot that a delivery was called in, and left, forget who called. Set ahead of the first
// delivery.
extern void (*leaveReceiver)(void *receiver);

// Where so many pending slots go; the block grows where it is too small.
constexpr uint32_t noPlace = UINT32_MAX;  // without memory
uint32_t reservePending(CallTable *calls, uint32_t count);

// Gives the places of the pending slots back that no delivery has any more.
void trimPending(CallTable *calls);

}  // namespace ztcore

#endif
