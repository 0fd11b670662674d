// Records of the calls under way on a container while a host's code runs: an element's `clone` or `destroy`, an
// item manager, a compare function. That code may change or destroy the container, and the call must know it. A
// container that is destroyed clears itself from the records.
//
// The records are not on the stack, because an exception or a `longjmp` may leave a call. The record of such an
// abandoned call is dropped when another record is made in a frame that shows the call's frame to be gone: a
// frame no deeper on the thread's own stack, or the same frame on any stack. It takes the container for
// destroyed.
//
// A call may need a part that its container no longer has. The last call that needs a block frees it. Objects
// and items of an abandoned call stay until the container is destroyed, or until another call of the same kind.
#ifndef ZT_CONTAINERS_ZTUSE_HH
#define ZT_CONTAINERS_ZTUSE_HH

#include "core/ztthread.hh"

namespace ztcore {

// A function that reads its own frame is inlined into its caller.
#define ZT_IN_CALLERS_FRAME [[gnu::always_inline]]

ZT_IN_CALLERS_FRAME inline uintptr_t frameHere() {
  return reinterpret_cast<uintptr_t>(__builtin_frame_address(0));
}

// The records of this thread; NULL when no calls are under way.
inline UseTable *usesUnderWay() {
  ThreadBlock *block = thisThread.block;
  return block == nullptr || block->uses.count == 0 ? nullptr : &block->uses;
}

// The out-of-line parts of the functions below.
void noteInUses(UseTable *uses, const void *container, bool added, bool removed);
bool isUsed(const UseTable *uses, const void *container);
bool isPartOf(const UseTable *uses, const void *container, const void *part);
bool leavePartTo(UseTable *uses, const void *container, const void *part);
void *takeItemsFrom(UseTable *uses, const void *container, bool onlyIfGone);
bool endObjectsOf(UseTable *uses, const void *container, bool onlyIfGone);
void forgetUses(UseTable *uses, const void *container);
void endUse(UseTable *uses, uint64_t number);
Use *findUse(UseTable *uses, uint64_t number);
bool isSourceGone(const UseTable *uses, const void *element);
bool growUses(UseTable *uses);

// Drops the records whose frames a running one shows to be gone. `self` identifies the record of the running
// frame; NULL when it has none.
void dropGoneUses(UseTable *uses, uintptr_t frame, const void *self);

// Whether a call on a container is under way, or was abandoned.
inline bool isInUse(const void *container) {
  const UseTable *uses = usesUnderWay();
  return uses != nullptr && isUsed(uses, container);
}

// Notes in the records of a container that elements were added or removed.
inline void noteAdded(const void *container) {
  if (UseTable *uses = usesUnderWay()) noteInUses(uses, container, true, false);
}

inline void noteRemoved(const void *container) {
  if (UseTable *uses = usesUnderWay()) noteInUses(uses, container, false, true);
}

// Drops the records that a function without a record of its own shows to be gone.
ZT_IN_CALLERS_FRAME inline void beginUses() {
  if (UseTable *uses = usesUnderWay()) dropGoneUses(uses, frameHere() + 1, nullptr);
}

// Whether a call under way still needs this part of a container.
ZT_IN_CALLERS_FRAME inline bool isPartInUse(const void *container, const void *part) {
  UseTable *uses = usesUnderWay();
  if (uses == nullptr) return false;
  dropGoneUses(uses, frameHere(), nullptr);
  return isPartOf(uses, container, part);
}

// Leaves a block to the calls that still need it; false when none does.
inline bool leavePart(const void *container, const void *part) {
  UseTable *uses = usesUnderWay();
  return uses != nullptr && leavePartTo(uses, container, part);
}

// Takes over the items of a call on a container; NULL when no call has any.
inline void *takeItems(const void *container) {
  UseTable *uses = usesUnderWay();
  return uses == nullptr ? nullptr : takeItemsFrom(uses, container, false);
}

// The same, only from an abandoned call, as far as that is known.
inline void *takeItemsLeft(const void *container) {
  UseTable *uses = usesUnderWay();
  return uses == nullptr ? nullptr : takeItemsFrom(uses, container, true);
}

// Destroys the complete objects of one block that a call has out of an array; `endObjectsLeft` only those of an
// abandoned call. False when there is none.
inline bool endObjects(const void *container) {
  UseTable *uses = usesUnderWay();
  return uses != nullptr && endObjectsOf(uses, container, false);
}

inline bool endObjectsLeft(const void *container) {
  UseTable *uses = usesUnderWay();
  return uses != nullptr && endObjectsOf(uses, container, true);
}

// Whether an element that a call copies may be gone, because its container was destroyed or lost elements.
inline bool isSourceGone(const void *element) {
  UseTable *uses = usesUnderWay();
  return uses != nullptr && element != nullptr && isSourceGone(uses, element);
}

// Called when a container is destroyed.
inline void containerDestroyed(const void *container) {
  if (UseTable *uses = usesUnderWay()) forgetUses(uses, container);
}

// The record of one call, for the scope of the variable. When memory is exhausted there is no record, and it
// notices nothing. Functions called after every call of a host's code are inlined.
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

  // Whether the container was destroyed: it must not be used any more.
  [[gnu::always_inline]] bool ended() const {
    if (number == 0) return false;
    const Use *use = record();
    return use == nullptr || use->container == nullptr;
  }
  bool removed() const {
    const Use *use = record();
    return use != nullptr && use->removed;
  }
  // Whether elements were added or removed since the call began, or since `startAfresh`.
  bool changed() const {
    const Use *use = record();
    return use != nullptr && (use->added || use->removed);
  }
  void startAfresh() {
    Use *use = record();
    if (use != nullptr) use->added = use->removed = false;
  }
  // The element that the call copies and the container releases; or NULL.
  void setSource(const void *element) {
    Use *use = record();
    if (use != nullptr) use->part = const_cast<void *>(element);
  }
  // The items that a container that is destroyed deletes in place of the call.
  void setItems(void *items) {
    Use *use = record();
    if (use == nullptr) return;
    use->part = items;
    use->kind = items == nullptr ? PartKind::borrowed : PartKind::items;
  }
  // NULL when memory was exhausted, and after it was dropped. Valid until the next record is made.
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
