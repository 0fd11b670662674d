#include "containers/ztarray.hh"
#include "containers/ztdetached.hh"
#include "core/ztbasec.hh"
#include "core/ztmem.h"

#include <string.h>

using namespace ztcore;

// Objects in the block ----------------------------------------------------------------------------
//
// Their calls come back into the array at times. It is then one that has all that was constructed and not
// yet destroyed; an object that is being cloned, assigned, read or destroyed is none of its elements.

static void *copyIntoSlot(void *slot, const void *source) {
  memcpy(slot, source, sizeof(ztBaseClass));  // tells how large the object will be
  return cloneOnto(source, slot);
}

void ztcore::destroyObject(void *slot) {
  ztBaseClass_of(slot)->destroy(slot);
}

void ztcore::destroyObjects(void *block, int32_t count, int32_t stride) {
  char *slot = static_cast<char *>(block);
  for (int32_t i = 0; i < count; ++i, slot += stride) destroyObject(slot);
}

// Copies the array's first objects into a block; false, with nothing left there, when one cannot be, or when
// the array was changed meanwhile.
static bool copyObjects(const BlockUse &use, const ztArray &array, void *block, int32_t count) {
  const int32_t stride = array.elementSize;
  const char *source = slotAt(array, 0);
  char *slot = static_cast<char *>(block);
  for (int32_t i = 0; i < count; ++i, slot += stride, source += stride) {
    const bool isCopied = copyIntoSlot(slot, source) != nullptr;
    if (isCopied && use.isCurrent()) continue;
    destroyObjects(block, isCopied ? i + 1 : i, stride);
    return false;
  }
  return true;
}

bool ztcore::copyAllObjects(const ztArray &array, void *block) {
  const BlockUse use(array);
  return copyObjects(use, array, block, array.count);
}

// A header alone suffices to learn the size: without `create` a constructor writes no more.
bool ztcore::constructorFits(ztCtor constructor, int32_t size) {
  if (size < static_cast<int32_t>(sizeof(ztBaseClass))) return false;
  ztBaseClass header;
  constructor(&header, 0);
  return header.klass->instanceSize <= size;
}

static void constructObjects(ztCtor constructor, void *block, int32_t from, int32_t count, int32_t stride) {
  char *slot = static_cast<char *>(block) + static_cast<int64_t>(from) * stride;
  for (int32_t i = from; i < count; ++i, slot += stride) constructor(slot, 1);
}

// The array is whole without the objects before the first one ends.
void ztcore::replaceObjects(ztArray &array, void *block, int32_t count, int32_t first, int32_t ended) {
  const BlockUse use(array);
  void *former = array.data;
  char *slot = slotAt(array, first);
  array.data = block;
  array.count = count;
  const bool isLeft = leavePart(&array, former);
  destroyObjects(slot, ended, array.elementSize);
  if (!isLeft) ztm_free(former);
}

// Adding and replacing ----------------------------------------------------------------------------

namespace {

// The slot behind the array's last element, for an object that is none of its elements yet.
// The block has room for it, and is in no other use.
class OpenSlot {
 public:
  ZT_IN_CALLERS_FRAME explicit OpenSlot(ztArray &opened)
      : array(opened),
        constructor(opened.elementConstructor),
        stride(opened.elementSize),
        place(slotAt(opened, opened.count)),
        use(opened) {}

  char *slot() const {
    return place;
  }
  // Gives up a slot that holds no object. True where the array still has the room for it.
  bool leave() {
    const bool current = use.isCurrent();
    use.end();
    return current;
  }
  // Makes the object the last element, whatever the array has become. Where it cannot be one, since the array
  // is gone, keeps other elements now, or lacks memory, it is destroyed. Returns its slot, or NULL.
  char *add() {
    if (use.isCurrent()) {
      use.end();
      ++array.count;
      return place;
    }
    const bool fits = !use.ended() && array.elementConstructor == constructor && array.elementSize == stride;
    if (!fits || !resizeBlock(array, int64_t{array.count} + 1)) {
      destroyObject(place);
      use.end();
      return nullptr;
    }
    char *last = slotAt(array, array.count++);
    memcpy(last, place, static_cast<size_t>(stride));
    use.end();
    return last;
  }

 private:
  ztArray &array;
  ztCtor constructor;
  int32_t stride;
  char *place;
  BlockUse use;
};

}  // namespace

// Without memory for a smaller block the larger one stays.
static void dropRoom(ztArray &array) {
  if (array.count == 0) {
    installBlock(array, nullptr, 0);
  } else {
    resizeBlock(array, array.count);
  }
}

// Slots have one size, so an object of a larger class is refused.
static bool accepts(const ztArray &array, const void *element) {
  return element != nullptr && ztOOP_classOf(element)->instanceSize <= array.elementSize;
}

void *ztcore::pushObject(ztArray &array, const void *element) {
  if (!accepts(array, element)) return nullptr;
  const int64_t own = offsetInBlock(array, element);
  if (!resizeBlock(array, int64_t{array.count} + 1)) return nullptr;
  OpenSlot open(array);
  void *copy = copyIntoSlot(open.slot(), afterMove(array, element, own));
  if (copy == nullptr) {
    if (open.leave()) dropRoom(array);
    return nullptr;
  }
  const bool isInSlot = copy == open.slot();
  void *slot = open.add();
  return isInSlot || slot == nullptr ? slot : copy;
}

// Sees to it that the array's block can be taken out: what an earlier call that was left has out of it ends
// first. False when there is no memory, or the array has no such index any more.
static bool prepareDetaching(ztArray &array, int32_t index) {
  const ContainerUse use(&array);
  while (!use.ended() && endObjectsLeft(&array)) continue;
  return !use.ended() && hasIndex(array, index) && ownBlock(array);
}

void *ztcore::setObject(ztArray &array, const void *element, int32_t index) {
  if (!accepts(array, element)) return nullptr;
  if (element == slotAt(array, index)) return slotAt(array, index);
  const int64_t own = offsetInBlock(array, element);
  if (!prepareDetaching(array, index)) return nullptr;
  element = afterMove(array, element, own);
  DetachedBlock detached(array);
  if (!detached.isOut()) return nullptr;
  char *slot = detached.open(index);
  destroyObject(slot);
  if (detached.ended()) return nullptr;
  void *copy = copyIntoSlot(slot, element);
  bool isWhole = copy != nullptr;
  if (!isWhole && !detached.ended()) {
    detached.refill(index);
    isWhole = true;
  }
  if (isWhole) detached.close(index);
  if (!detached.putBack()) return nullptr;
  return copy == slot ? slotAt(array, index) : copy;
}

// Sizes -------------------------------------------------------------------------------------------

// The new objects become the array's once all of them stand.
int32_t ztcore::setSizeObjects(ztArray &array, int32_t count) {
  if (!constructorFits(array.elementConstructor, array.elementSize)) return 0;
  void *block = newBlock(array, count, 0);
  if (block == nullptr) return 0;
  const ContainerUse use(&array);
  const ztCtor constructor = array.elementConstructor;
  const int32_t stride = array.elementSize;
  ztArray_of(&array)->empty(&array);
  constructObjects(constructor, block, 0, count, stride);
  // What the objects put in at their end or their beginning is discarded, too.
  while (!use.ended() && array.data != nullptr) arrayEmpty(array);
  if (!use.ended() && array.elementConstructor == constructor && array.elementSize == stride) {
    installBlock(array, block, count);
    return 1;
  }
  destroyObjects(block, count, stride);
  ztm_free(block);
  return 0;
}

// Fills a block with copies of the array's first objects and new ones behind them; false, with nothing left
// there, when that fails or the array was changed meanwhile.
static bool copyAndConstruct(const ztArray &array, void *block, int32_t kept, int32_t count) {
  const ztCtor constructor = array.elementConstructor;
  const int32_t stride = array.elementSize;
  const BlockUse use(array);
  if (!copyObjects(use, array, block, kept)) return false;
  constructObjects(constructor, block, kept, count, stride);
  if (use.isCurrent()) return true;
  destroyObjects(block, count, stride);
  return false;
}

int32_t ztcore::resizeObjects(ztArray &array, int32_t count) {
  const int32_t old = array.count;
  const int32_t kept = count < old ? count : old;
  if (count > kept && !constructorFits(array.elementConstructor, array.elementSize)) return 0;
  void *block = newBlock(array, count, kept);
  if (block == nullptr) return 0;
  if (!copyAndConstruct(array, block, kept, count)) {
    ztm_free(block);
    return 0;
  }
  replaceObjects(array, block, count, 0, old);
  return 1;
}

// Assigning ---------------------------------------------------------------------------------------

// Assigns one object of the source to the one in the array's slot.
static void assignObject(DetachedBlock &target, const ztArray &source, int32_t index, bool isSame) {
  char *slot = target.open(index);
  if (isSame) {
    assignCommon(slot, slot);
  } else {
    const BlockUse use(source);
    assignCommon(slot, slotAt(source, index));
  }
  target.close(index);
}

int32_t ztcore::assignObjects(ztArray &array, const ztArray &source) {
  if (array.count == 0 || source.count == 0) return 1;
  const ContainerUse other(&source);
  if (!prepareDetaching(array, 0) || other.ended()) return 0;
  const bool isSame = &source == &array;
  const int32_t count = array.count;
  DetachedBlock target(array);
  if (!target.isOut()) return 0;
  for (int32_t i = 0; i < count && !target.ended() && !other.ended(); ++i) {
    if (!isSame && i >= source.count) break;
    assignObject(target, source, i, isSame);
  }
  return target.putBack() && !other.ended();
}
