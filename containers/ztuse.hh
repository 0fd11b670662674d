// Calls on a container that are under way while code of a host's runs: an element's `clone` or `destroy`, an
// item manager, a compare function. That code may change the container, or end it, and the call has to know
// when it goes on. A destroyed container forgets the calls on it, and so each learns that it is gone.
//
// The records do not lie on the stack, since an exception or a `longjmp` may leave a call without its end.
// They are dropped when another record is made in a frame that shows theirs to be gone: one no deeper on the
// thread's own stack, or the same one on any stack. A call whose record was dropped takes its container for
// destroyed.
//
// A call may need a part of its container that this has given up. A block is freed by the last call that has
// it as its part. Objects and items of a call that was left stay until the container ends, or until another
// call of the same kind.
#ifndef ZT_CONTAINERS_ZTUSE_HH
#define ZT_CONTAINERS_ZTUSE_HH

#include "core/ztthread.hh"

namespace ztcore {

// What looks at its own frame must not have one of its own.
#define ZT_IN_CALLERS_FRAME [[gnu::always_inline]]

ZT_IN_CALLERS_FRAME inline uintptr_t frameHere() {
  return reinterpret_cast<uintptr_t>(__builtin_frame_address(0));
}

// The records of this thread, if it has any calls under way.
inline UseTable *usesUnderWay() {
  ThreadBlock *block = thisThread.block;
  return block == nullptr || block->uses.count == 0 ? nullptr : &block->uses;
}

// The same for one container, out of line.
void noteInUses(UseTable *uses, const void *container, bool added, bool removed);
bool isPartOf(const UseTable *uses, const void *container, const void *part);
bool leavePartTo(UseTable *uses, const void *container, const void *part);
void *takeItemsFrom(UseTable *uses, const void *container, bool onlyIfGone);
bool endObjectsOf(UseTable *uses, const void *container, bool onlyIfGone);
void forgetUses(UseTable *uses, const void *container);
void endUse(UseTable *uses, uint64_t number);
Use *findUse(UseTable *uses, uint64_t number);
bool isSourceGone(const UseTable *uses, const void *element);
bool growUses(UseTable *uses);

// Drops the records whose frames a running one shows to be gone; `self` is what in it stands for its own
// record, or NULL.
void dropGoneUses(UseTable *uses, uintptr_t frame, const void *self);

// Tells the calls under way on a container that elements came or went.
inline void noteAdded(const void *container) {
  if (UseTable *uses = usesUnderWay()) noteInUses(uses, container, true, false);
}

inline void noteRemoved(const void *container) {
  if (UseTable *uses = usesUnderWay()) noteInUses(uses, container, false, true);
}

// Drops the records that a function shows to be gone that has made none yet itself.
ZT_IN_CALLERS_FRAME inline void beginUses() {
  if (UseTable *uses = usesUnderWay()) dropGoneUses(uses, frameHere() + 1, nullptr);
}

// Whether a call under way on a container still needs this part of it.
ZT_IN_CALLERS_FRAME inline bool isPartInUse(const void *container, const void *part) {
  UseTable *uses = usesUnderWay();
  if (uses == nullptr) return false;
  dropGoneUses(uses, frameHere(), nullptr);
  return isPartOf(uses, container, part);
}

// Leaves a block that a container has given up to the calls that still need it; false when none does.
inline bool leavePart(const void *container, const void *part) {
  UseTable *uses = usesUnderWay();
  return uses != nullptr && leavePartTo(uses, container, part);
}

// Takes items over from a call on a container; NULL when no call has any.
inline void *takeItems(const void *container) {
  UseTable *uses = usesUnderWay();
  return uses == nullptr ? nullptr : takeItemsFrom(uses, container, false);
}

// The same, only from a call that was left without its end, as far as that is known.
inline void *takeItemsLeft(const void *container) {
  UseTable *uses = usesUnderWay();
  return uses == nullptr ? nullptr : takeItemsFrom(uses, container, true);
}

// Destroys the whole objects of one block that a call has out of an array, or only of a call that was left;
// false when there is none.
inline bool endObjects(const void *container) {
  UseTable *uses = usesUnderWay();
  return uses != nullptr && endObjectsOf(uses, container, false);
}

inline bool endObjectsLeft(const void *container) {
  UseTable *uses = usesUnderWay();
  return uses != nullptr && endObjectsOf(uses, container, true);
}

// Whether what a call copies out of a container may be gone, since that one ended or lost elements meanwhile.
inline bool isSourceGone(const void *element) {
  UseTable *uses = usesUnderWay();
  return uses != nullptr && element != nullptr && isSourceGone(uses, element);
}

// Called when a container is destroyed.
inline void containerDestroyed(const void *container) {
  if (UseTable *uses = usesUnderWay()) forgetUses(uses, container);
}

// One call, for as long as the scope lasts. Without memory for its record it knows of nothing. What a call asks
// after everything that a host's code did is inlined into it.
class ContainerUse {
 public:
  ZT_IN_CALLERS_FRAME explicit ContainerUse(const void *container, void *part = nullptr)
      : number(0), index(0) {
    if (thisThread.block == nullptr) makeThreadBlock();
    if (thisThread.block == nullptr) return;
    UseTable *uses = &thisThread.block->uses;
    const uintptr_t frame = frameHere();
    if (uses->count > 0 && uses->records[uses->count - 1].frame <= frame) dropGoneUses(uses, frame, this);
    if (uses->count == uses->capacity && !growUses(uses)) return;
    number = ++uses->lastNumber;
    index = uses->count++;
    uses->records[index] = {container,          part,  number, frame, this, 0, 0, -1,
                            PartKind::borrowed, false, false,  false};
  }
  ~ContainerUse() {
    end();
  }
  ContainerUse(const ContainerUse &) = delete;
  ContainerUse &operator=(const ContainerUse &) = delete;

  void end() {
    if (number == 0 || thisThread.block == nullptr) return;
    UseTable *uses = &thisThread.block->uses;
    const Use *last = uses->count > 0 ? &uses->records[uses->count - 1] : nullptr;
    if (last != nullptr && last->number == number && last->kind != PartKind::block) {
      --uses->count;
    } else {
      endUse(uses, number);
    }
    number = 0;
  }

  // Whether the container was destroyed: it must not be touched any more.
  [[gnu::always_inline]] bool ended() const {
    if (number == 0) return false;
    const Use *use = record();
    return use == nullptr || use->container == nullptr;
  }
  bool removed() const {
    const Use *use = record();
    return use != nullptr && use->removed;
  }
  // Whether elements came or went since the call began, or since `startAfresh`.
  bool changed() const {
    const Use *use = record();
    return use != nullptr && (use->added || use->removed);
  }
  void startAfresh() {
    Use *use = record();
    if (use != nullptr) use->added = use->removed = false;
  }
  // What the call copies out of the container, and the container releases; or NULL.
  void setSource(const void *element) {
    Use *use = record();
    if (use != nullptr) use->part = const_cast<void *>(element);
  }
  // What items the container is to delete if it is destroyed, in place of the call.
  void setItems(void *items) {
    Use *use = record();
    if (use == nullptr) return;
    use->part = items;
    use->kind = items == nullptr ? PartKind::borrowed : PartKind::items;
  }
  // NULL where there was no memory for it, and once it was dropped. Valid until the next one is made.
  [[gnu::always_inline]] Use *record() const {
    if (number == 0 || thisThread.block == nullptr) return nullptr;
    UseTable *uses = &thisThread.block->uses;
    if (index < uses->count && uses->records[index].number == number) return &uses->records[index];
    return findUse(uses, number);
  }

 private:
  uint64_t number;  // 0 without a record
  int32_t index;    // where the record was made
};

}  // namespace ztcore

#endif
