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

#define ZT_OWN_FRAME __attribute__((noinline, no_sanitize_address))

enum class ztCallKind : uint32_t {
  gone,      // dropped; its place is free
  watch,     // the subject is an object whose destruction matters
  delivery,  // the subject is a signal whose slots are being called
  release,   // the subject is an object that is being released
  ending,    // the subject is a ztObject that is being destroyed
};

struct ztCall {
  const void *subject;  // NULL once it is destroyed
  uintptr_t frame;      // where the frame that made the record lies; above all others once it is gone
  uint32_t serial;      // as in the mark of that frame; 0 once it is gone
  ztCallKind kind;
  uint32_t detail;  // delivery: the pending slot that was called last; watch: where in its frame it lies;
                    // ending: not 0 where peers stay tied to the object until its end
  uint32_t end;     // delivery: behind its pending slots
};

// A slot that a delivery has yet to call, or calls.
struct ztPendingSlot {
  void *receiver;  // NULL once it is destroyed
  void (*function)(void *receiver);
};

struct ztCalls {
  ztCall *entries;
  uint32_t count;
  uint32_t capacity;
  ztPendingSlot *pending;  // those of all deliveries
  uint32_t pendingCount;
  uint32_t pendingCapacity;
  uint32_t serial;      // the latest that was given
  uint32_t removals;    // raised whenever a slot was taken out of any map
  uintptr_t stackLow;   // the bounds of the thread's own stack, once they were asked for; both equal where
  uintptr_t stackHigh;  // they are not known
  ztCall fewEntries[32];
  ztPendingSlot fewPending[64];
};

// What the frame holds. The serial number comes first, where a look into the frame finds it.
struct ztCallMark {
  uint32_t serial;
  uint32_t index;
};

inline uintptr_t ztFrameOf(const ztCallMark *mark) {
  return reinterpret_cast<uintptr_t>(mark);
}

// The index of a free entry, after the records of frames that are gone were dropped; noRoom without memory.
constexpr uint32_t ztNoRoom = UINT32_MAX;
uint32_t ztMakeRoomForCall(ztCallKind kind, uintptr_t frame, uint32_t detail);

// Makes a record. The table that it is in; NULL without memory, there is then no record.
inline ztCalls *ztBeginCall(ztCallMark *mark, ztCallKind kind, const void *subject, uintptr_t frame,
                            uint32_t detail = 0) {
  ztCalls *calls = ztThisThread.calls;
  uint32_t index;
  if (calls != nullptr && calls->count < calls->capacity &&
      (calls->count == 0 || calls->entries[calls->count - 1].frame > frame)) {
    index = calls->count++;
  } else {
    index = ztMakeRoomForCall(kind, frame, detail);
    if (index == ztNoRoom) return nullptr;
    calls = ztThisThread.calls;
  }
  if (++calls->serial == 0) calls->serial = 1;
  *mark = {calls->serial, index};
  calls->entries[index] = {subject, frame, calls->serial, kind, detail, 0};
  return calls;
}

// The record of a frame; NULL when it was dropped. Valid until the next record is made.
inline ztCall *ztCallOf(const ztCalls *calls, const ztCallMark &mark) {
  if (mark.index >= calls->count) return nullptr;
  ztCall *call = &calls->entries[mark.index];
  return call->serial == mark.serial ? call : nullptr;
}

bool ztEndCallAmongOthers(ztCalls *calls, const ztCallMark &mark);

// Takes the record of a frame back, and those of the frames that it called. False when it was dropped.
inline bool ztEndCall(ztCalls *calls, const ztCallMark &mark) {
  if (mark.index + 1 != calls->count || calls->entries[mark.index].serial != mark.serial) {
    return ztEndCallAmongOthers(calls, mark);
  }
  --calls->count;
  return true;
}

bool ztLooksUnderWay(ztCalls *calls, const void *object, uintptr_t frame, ztCallKind least);

// Tells whether an object's end is under way, or with `release` as the least of the two its release or end.
// Records of it whose frames are found gone are dropped.
inline bool ztIsUnderWay(const void *object, uintptr_t frame, ztCallKind least) {
  ztCalls *calls = ztThisThread.calls;
  if (calls == nullptr) return false;
  for (uint32_t i = calls->count; i-- > 0;) {
    if (calls->entries[i].subject == object) return ztLooksUnderWay(calls, object, frame, least);
  }
  return false;
}

void ztDropCallsOn(ztCalls *calls, const void *object);

// Told of every object that is made: what is under way there was about another one, whose memory was freed
// by a host.
inline void ztObjectMade(const void *object) {
  ztCalls *calls = ztThisThread.calls;
  if (calls == nullptr || calls->count == 0) return;
  ztDropCallsOn(calls, object);
}

// Makes room for so many pending slots behind those that there are. False without memory.
bool ztReservePending(ztCalls *calls, uint32_t count);

// Gives the places of the pending slots back that no delivery has any more.
void ztTrimPending(ztCalls *calls);

// Releases a thread's table.
void ztReleaseCalls(ztCalls *calls);

#endif
