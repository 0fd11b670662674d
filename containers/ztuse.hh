// Calls on a container that are under way while code of a host's runs: an element's `clone` or `destroy`, an
// item manager, a compare function. That code may change the container, or end it, and the call has to know
// when it goes on. A destroyed container forgets the calls on it, and so each learns that it is gone.
//
// The records do not lie on the stack, since an exception or a `longjmp` may leave a call without its end.
// What such a call leaves goes with its container.
#ifndef ZT_CONTAINERS_ZTUSE_HH
#define ZT_CONTAINERS_ZTUSE_HH

#include "core/ztthread.hh"

// The records of this thread, if it has any calls under way.
inline ztUseTable *ztUsesUnderWay() {
  ztThreadBlock *block = ztThisThread.block;
  return block == nullptr || block->uses.count == 0 ? nullptr : &block->uses;
}

// The same for one container, out of line.
void ztMarkUses(ztUseTable *uses, const void *container, bool added, bool removed);
bool ztIsPartOf(const ztUseTable *uses, const void *container, const void *part);
void *ztTakePartFrom(ztUseTable *uses, const void *container);
void ztForgetUses(ztUseTable *uses, const void *container);
void ztEndUseBelow(ztUseTable *uses, uint64_t number);
ztUse *ztFindUse(ztUseTable *uses, uint64_t number);
bool ztGrowUses(ztUseTable *uses);

// Tells the calls under way on a container that elements came or went.
inline void ztNoteAdded(const void *container) {
  if (ztUseTable *uses = ztUsesUnderWay()) ztMarkUses(uses, container, true, false);
}

inline void ztNoteRemoved(const void *container) {
  if (ztUseTable *uses = ztUsesUnderWay()) ztMarkUses(uses, container, false, true);
}

// Whether a call under way on a container still needs this part of it: it is to be left to that call.
inline bool ztIsPartInUse(const void *container, const void *part) {
  const ztUseTable *uses = ztUsesUnderWay();
  return uses != nullptr && ztIsPartOf(uses, container, part);
}

// Takes a part over from a call under way on a container; NULL when no call has one.
inline void *ztTakePart(const void *container) {
  ztUseTable *uses = ztUsesUnderWay();
  return uses == nullptr ? nullptr : ztTakePartFrom(uses, container);
}

// Called when a container is destroyed.
inline void ztEndUses(const void *container) {
  if (ztUseTable *uses = ztUsesUnderWay()) ztForgetUses(uses, container);
}

// One call, for as long as the scope lasts. Without memory for its record it knows of nothing.
class ContainerUse {
 public:
  explicit ContainerUse(const void *container, void *part = nullptr) : number(0), index(0) {
    if (ztThisThread.block == nullptr) ztMakeThreadBlock();
    if (ztThisThread.block == nullptr) return;
    ztUseTable *uses = &ztThisThread.block->uses;
    if (uses->count == uses->capacity && !ztGrowUses(uses)) return;
    number = ++uses->lastNumber;
    index = uses->count++;
    uses->records[index] = {container, part, number, false, false};
  }
  ~ContainerUse() {
    end();
  }
  ContainerUse(const ContainerUse &) = delete;
  ContainerUse &operator=(const ContainerUse &) = delete;

  void end() {
    if (number == 0 || ztThisThread.block == nullptr) return;
    ztUseTable *uses = &ztThisThread.block->uses;
    if (uses->count > 0 && uses->records[uses->count - 1].number == number) {
      --uses->count;
    } else {
      ztEndUseBelow(uses, number);
    }
    number = 0;
  }

  // Whether the container was destroyed: it must not be touched any more.
  bool ended() const {
    return number != 0 && record() == nullptr;
  }
  bool removed() const {
    const ztUse *use = record();
    return use != nullptr && use->removed;
  }
  // Whether elements came or went since the call began, or since `startAfresh`.
  bool changed() const {
    const ztUse *use = record();
    return use != nullptr && (use->added || use->removed);
  }
  void startAfresh() {
    ztUse *use = record();
    if (use != nullptr) use->added = use->removed = false;
  }
  // What the container is to release if it is destroyed, in place of the call.
  void setPart(void *part) {
    ztUse *use = record();
    if (use != nullptr) use->part = part;
  }

 private:
  ztUse *record() const {
    if (number == 0 || ztThisThread.block == nullptr) return nullptr;
    ztUseTable *uses = &ztThisThread.block->uses;
    if (index < uses->count && uses->records[index].number == number) return &uses->records[index];
    return ztFindUse(uses, number);
  }

  uint64_t number;  // 0 without a record
  int32_t index;    // where the record was made
};

#endif
