#include "containers/ztarray.h"

#include "containers/ztcompare.hh"
#include "containers/ztuse.hh"
#include "core/ztbasec.hh"
#include "core/ztlayout.hh"
#include "core/ztmem.h"
#include "core/ztmethod.hh"
#include "io/ztclaims.hh"
#include "io/ztfile.h"
#include "io/ztstream.hh"

#include <stdlib.h>
#include <string.h>

ZT_PIN_CLASS(ztArray, 80, 42);
ZT_PIN_FIELD(ztArray, count, 64);
ZT_PIN_FIELD(ztArray, data, 72);
ZT_PIN_SLOT(ztArray, pushBack, 27);
ZT_PIN_SLOT(ztArray, setAt, 31);
ZT_PIN_SLOT(ztArray, getData, 37);
ZT_PIN_SLOT(ztArray, find, 41);

// The block ---------------------------------------------------------------------------------------
//
// Slot i lies at data + i * elementSize. Pointers, however, are read at data + i * pointerStride, so
// that with an element size other than that the block is larger than its slots, and what lies outside
// them is zero.

constexpr int32_t pointerStride = sizeof(void *);

static bool holdsObjects(const ztArray *array) {
  return array->elementConstructor != nullptr;
}

static bool holdsPointers(const ztArray *array) {
  return array->elementConstructor == nullptr && array->byPointer != 0;
}

static bool hasIndex(const ztArray *array, int32_t index) {
  return index >= 0 && index < array->count;
}

// Any index gives an address, also one outside the block, and so does no block.
static char *slotAt(const ztArray *array, int64_t index) {
  const int64_t offset = index * array->elementSize;
  return reinterpret_cast<char *>(reinterpret_cast<intptr_t>(array->data) + offset);
}

static void *pointerAt(const ztArray *array, int32_t index) {
  void *pointer = nullptr;
  memcpy(&pointer,
         static_cast<const char *>(array->data) + size_t{pointerStride} * static_cast<size_t>(index),
         sizeof pointer);
  return pointer;
}

static void *elementAt(const ztArray *array, int32_t index) {
  return holdsPointers(array) ? pointerAt(array, index) : slotAt(array, index);
}

// Bytes of a block for so many elements, at least 1; -1 when there can be no such block.
static int32_t blockSize(const ztArray *array, int64_t count) {
  int64_t stride = array->elementSize;
  if (stride < 0 || count > INT32_MAX) return -1;
  if (holdsPointers(array) && stride < pointerStride) stride = pointerStride;
  const int64_t size = count * stride;
  if (size > INT32_MAX) return -1;
  return size == 0 ? 1 : static_cast<int32_t>(size);
}

// Zeroes a block, or what it holds behind its first slots.
static void clearBehind(const ztArray *array, void *block, int32_t slots, int32_t size) {
  const size_t kept = static_cast<size_t>(slots) * static_cast<size_t>(array->elementSize);
  memset(static_cast<char *>(block) + kept, 0, static_cast<size_t>(size) - kept);
}

// A block for so many elements, zero from the given slot on.
static void *newBlock(const ztArray *array, int32_t count, int32_t clearFrom) {
  const int32_t size = blockSize(array, count);
  void *block = size < 0 ? nullptr : ztm_alloc(size);
  if (block != nullptr) clearBehind(array, block, clearFrom, size);
  return block;
}

// Frees a block that the array has given up, unless a call that is under way goes on reading it: that call
// frees it then.
static void releaseBlock(const ztArray *array, void *block) {
  if (!ztLeavePart(array, block)) ztm_free(block);
}

// Moves the elements to a new block of that size.
static bool moveBlock(ztArray *array, int32_t size) {
  void *block = ztm_alloc(size);
  if (block == nullptr) return false;
  const int32_t old = blockSize(array, array->count);
  memcpy(block, array->data, static_cast<size_t>(old < size ? old : size));
  releaseBlock(array, array->data);
  array->data = block;
  return true;
}

// Resizes the block, which keeps its elements; false when it cannot.
static bool resizeBlock(ztArray *array, int64_t count) {
  const int32_t size = blockSize(array, count);
  if (size < 0) return false;
  if (array->data != nullptr && ztIsPartInUse(array, array->data)) return moveBlock(array, size);
  // A host's tracking allocator knows a block only from its allocation.
  void *block = array->data == nullptr ? ztm_alloc(size) : ztm_realloc(array->data, size);
  if (block == nullptr) return false;
  array->data = block;
  return true;
}

static void installBlock(ztArray *array, void *block, int32_t count) {
  releaseBlock(array, array->data);
  array->data = block;
  array->count = count;
}

namespace {

// A call that goes on reading the array's block after code of a host's. What that code changes is then done
// in a new block, and the old one stays until the call ends.
class BlockUse {
 public:
  ZT_IN_CALLERS_FRAME explicit BlockUse(const ztArray *used)
      : array(used), block(used->data), use(used, block) {}

  bool ended() const {
    return use.ended();
  }
  // Whether the array still has the block: nothing was added or removed.
  bool isCurrent() const {
    return !use.ended() && array->data == block;
  }
  // Gives the block back. It is freed where the array has another one now.
  void end() {
    use.end();
  }

 private:
  const ztArray *array;
  void *block;
  ContainerUse use;
};

}  // namespace

// Where in the block an address lies, or -1.
static int64_t offsetInBlock(const ztArray *array, const void *address) {
  const auto offset = reinterpret_cast<uintptr_t>(address) - reinterpret_cast<uintptr_t>(array->data);
  const int64_t size = int64_t{array->count} * array->elementSize;
  return offset < static_cast<uintptr_t>(size) ? static_cast<int64_t>(offset) : -1;
}

// The sizes of numbers without a call.
static void copyBytes(void *slot, const void *source, size_t size) {
  switch (size) {
    case sizeof(int8_t):
      memmove(slot, source, sizeof(int8_t));
      break;
    case sizeof(int32_t):
      memmove(slot, source, sizeof(int32_t));
      break;
    case sizeof(int64_t):
      memmove(slot, source, sizeof(int64_t));
      break;
    default:
      memmove(slot, source, size);
  }
}

// Objects in the block ----------------------------------------------------------------------------
//
// Their calls come back into the array at times. It is then one that has all that was constructed and not
// yet destroyed; an object that is being cloned, assigned, read or destroyed is none of its elements.

static void *copyIntoSlot(void *slot, const void *source) {
  memcpy(slot, source, sizeof(ztBaseClass));  // tells how large the object will be
  return ztCloneOnto(source, slot);
}

static void destroyObject(void *slot) {
  ztBaseClass_of(slot)->destroy(slot);
}

// The array itself may end while its former objects do.
static void destroyObjects(void *block, int32_t count, int32_t stride) {
  char *slot = static_cast<char *>(block);
  for (int32_t i = 0; i < count; ++i, slot += stride) destroyObject(slot);
}

// Copies the array's first objects into a block; false, with nothing left there, when one cannot be, or when
// the array was changed meanwhile.
static bool copyObjects(const BlockUse &use, const ztArray *array, void *block, int32_t count) {
  const int32_t stride = array->elementSize;
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

// A header alone suffices to learn the size: without `create` a constructor writes no more.
static bool constructorFits(ztCtor constructor, int32_t size) {
  if (size < static_cast<int32_t>(sizeof(ztBaseClass))) return false;
  ztBaseClass header;
  constructor(&header, 0);
  return header.klass->instanceSize <= size;
}

static bool constructorFits(const ztArray *array) {
  return constructorFits(array->elementConstructor, array->elementSize);
}

static void constructObjects(ztCtor constructor, void *block, int32_t from, int32_t count, int32_t stride) {
  char *slot = static_cast<char *>(block) + static_cast<int64_t>(from) * stride;
  for (int32_t i = from; i < count; ++i, slot += stride) constructor(slot, 1);
}

namespace {

// The slot behind the array's last element, for an object that is none of its elements yet.
// The block has room for it, and is in no other use.
class OpenSlot {
 public:
  ZT_IN_CALLERS_FRAME explicit OpenSlot(ztArray *opened)
      : array(opened),
        constructor(opened->elementConstructor),
        stride(opened->elementSize),
        place(slotAt(opened, opened->count)),
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
      ++array->count;
      return place;
    }
    const bool fits =
        !use.ended() && array->elementConstructor == constructor && array->elementSize == stride;
    if (!fits || !resizeBlock(array, int64_t{array->count} + 1)) {
      destroyObject(place);
      use.end();
      return nullptr;
    }
    char *last = slotAt(array, array->count++);
    memcpy(last, place, static_cast<size_t>(stride));
    use.end();
    return last;
  }

 private:
  ztArray *array;
  ztCtor constructor;
  int32_t stride;
  char *place;
  BlockUse use;
};

// The block of an array, out of it while a host's code works on one of the objects in it: they keep their
// addresses, whatever that code does to the array. An array that is destroyed meanwhile destroys the objects,
// except for the one that is worked on.
class DetachedBlock {
 public:
  // The block must be in no other use.
  ZT_IN_CALLERS_FRAME explicit DetachedBlock(ztArray *owner)
      : array(owner),
        constructor(owner->elementConstructor),
        stride(owner->elementSize),
        block(static_cast<char *>(owner->data)),
        use(owner) {
    ztUse *record = use.record();
    if (record == nullptr) return;
    record->part = block;
    record->kind = ztPartKind::objects;
    record->count = array->count;
    record->stride = stride;
    array->data = nullptr;
    array->count = 0;
  }

  // False without memory; nothing has changed then.
  bool isOut() const {
    return use.record() != nullptr;
  }
  // Whether the array was destroyed.
  bool ended() const {
    return use.ended();
  }
  char *slotOf(int32_t index) const {
    return block + int64_t{index} * stride;
  }
  // Takes the object in a slot for one that is worked on.
  char *open(int32_t index) {
    use.record()->open = index;
    return slotOf(index);
  }
  // The object is whole. Where the others were destroyed meanwhile it is, too.
  void close(int32_t index) {
    ztUse *record = use.record();
    if (record == nullptr) return;
    record->open = -1;
    if (record->kind != ztPartKind::objects) destroyObject(slotOf(index));
  }
  // Constructs an object in place of one that could not be cloned, so that no element goes.
  void refill(int32_t index) const {
    if (constructorFits(constructor, stride)) {
      constructor(slotOf(index), 1);
    } else {
      ztBaseClass_ctor(slotOf(index), 1);
    }
  }
  bool add(int32_t added);
  bool putBack();

 private:
  bool grow(int32_t added);
  bool append();

  ztArray *array;
  ztCtor constructor;
  int32_t stride;
  char *block;
  ContainerUse use;
};

}  // namespace

// Makes room behind the objects; false without memory.
bool DetachedBlock::grow(int32_t added) {
  ztUse *record = use.record();
  const int32_t size = blockSize(array, int64_t{record->count} + added);
  void *grown = size < 0 ? nullptr : ztm_realloc(block, size);
  if (grown == nullptr) return false;
  block = static_cast<char *>(grown);
  record->part = grown;
  return true;
}

// Constructs new objects behind the others; false without memory, or when the array is gone.
bool DetachedBlock::add(int32_t added) {
  if (!grow(added)) return false;
  for (int32_t i = 0; i < added && !use.ended(); ++i) {
    const int32_t index = use.record()->count++;
    constructor(open(index), 1);
    close(index);
  }
  return !use.ended();
}

// Moves what came into the array meanwhile behind the objects; false without memory.
bool DetachedBlock::append() {
  if (!grow(array->count)) return false;
  ztUse *record = use.record();
  memcpy(slotOf(record->count), array->data, static_cast<size_t>(array->count) * static_cast<size_t>(stride));
  record->count += array->count;
  return true;
}

// Gives the array its block again, with what came in meanwhile behind it. Where that cannot be, what came in
// is destroyed; where the array keeps other elements by now, the objects are. False when they are gone.
bool DetachedBlock::putBack() {
  const bool fits = !use.ended() && use.record()->kind == ztPartKind::objects &&
                    array->elementConstructor == constructor && array->elementSize == stride;
  if (!fits) {
    while (!use.ended() && ztEndObjects(array)) continue;
    use.end();
    return false;
  }
  void *meanwhile = array->data;
  const int32_t added = array->count;
  const bool isAppended = meanwhile == nullptr || append();
  const ztUse held = *use.record();
  use.record()->kind = ztPartKind::borrowed;
  array->data = held.part;
  array->count = held.count;
  if (isAppended) {
    releaseBlock(array, meanwhile);
    return true;
  }
  destroyObjects(meanwhile, added, stride);
  releaseBlock(array, meanwhile);
  return !use.ended();
}

// Sees to it that the block is in no other use. False, with nothing changed, when there is no memory.
static bool ownBlock(ztArray *array) {
  return !ztIsPartInUse(array, array->data) || moveBlock(array, blockSize(array, array->count));
}

// Adding and replacing ----------------------------------------------------------------------------

// Slots have one size, so an object of a larger class is refused.
static bool accepts(const ztArray *array, const void *element) {
  if (holdsPointers(array)) return true;
  if (element == nullptr) return false;
  return !holdsObjects(array) || ztOOP_classOf(element)->instanceSize <= array->elementSize;
}

static void storeBytes(const ztArray *array, void *slot, const void *element) {
  const auto size = static_cast<size_t>(array->elementSize);
  if (holdsPointers(array)) {
    copyBytes(slot, &element, size < sizeof element ? size : sizeof element);
  } else {
    copyBytes(slot, element, size);
  }
}

// An element of the array's own moves with the block, so it is found again by where it lay.
static const void *afterMove(const ztArray *array, const void *element, int64_t offsetBefore) {
  return offsetBefore < 0 ? element : static_cast<const char *>(array->data) + offsetBefore;
}

static void *pushBytes(ztArray *array, const void *element) {
  const int64_t own = offsetInBlock(array, element);
  if (element == nullptr || !resizeBlock(array, int64_t{array->count} + 1)) return nullptr;
  void *slot = slotAt(array, array->count++);
  copyBytes(slot, afterMove(array, element, own), static_cast<size_t>(array->elementSize));
  return slot;
}

static void *pushPointer(ztArray *array, const void *pointer) {
  if (!resizeBlock(array, int64_t{array->count} + 1)) return nullptr;
  const int32_t last = array->count++;
  if (array->elementSize != pointerStride) {
    clearBehind(array, array->data, last, blockSize(array, array->count));
  }
  void *slot = slotAt(array, last);
  storeBytes(array, slot, pointer);
  return slot;
}

// Without memory for a smaller block the larger one stays.
static void dropRoom(ztArray *array) {
  if (array->count == 0) {
    installBlock(array, nullptr, 0);
  } else {
    resizeBlock(array, array->count);
  }
}

static void *pushObject(ztArray *array, const void *element) {
  if (!accepts(array, element)) return nullptr;
  const int64_t own = offsetInBlock(array, element);
  if (!resizeBlock(array, int64_t{array->count} + 1)) return nullptr;
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

static void *arrayPushBack(ztArray &array, const void *element) {
  if (holdsObjects(&array)) {
    ztBeginUses();
    return pushObject(&array, element);
  }
  return holdsPointers(&array) ? pushPointer(&array, element) : pushBytes(&array, element);
}

// Whether the match function tells a match among the elements that there are when it begins.
static bool matchesAny(const ztArray *array, const void *element, ztCompareFunc match) {
  const ContainerUse use(array);
  const ztArrayMethods *methods = ztArray_of(array);
  const int32_t count = array->count;
  for (int32_t i = 0; i < count && i < array->count; ++i) {
    if (match(methods->getAt(array, i), element) || use.ended()) return true;
  }
  return false;
}

static int32_t arrayPushBackUnique(ztArray &array, const void *element, ztCompareFunc match) {
  if (match == nullptr || matchesAny(&array, element, match)) return 0;
  return ztArray_of(&array)->pushBack(&array, element) != nullptr;
}

// Sees to it that the array's block can be taken out: what an earlier call that was left has out of it ends
// first. False when there is no memory, or the array has no such index any more.
static bool prepareDetaching(ztArray *array, int32_t index) {
  const ContainerUse use(array);
  while (!use.ended() && ztEndObjectsLeft(array)) continue;
  return !use.ended() && hasIndex(array, index) && ownBlock(array);
}

static void *setObject(ztArray *array, const void *element, int32_t index) {
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

static void *arraySetAt(ztArray &array, const void *element, int32_t index) {
  if (!hasIndex(&array, index) || !accepts(&array, element)) return nullptr;
  if (holdsObjects(&array)) {
    ztBeginUses();
    return setObject(&array, element, index);
  }
  void *slot = slotAt(&array, index);
  storeBytes(&array, slot, element);
  return slot;
}

// Removing ----------------------------------------------------------------------------------------

// A block with all elements but one.
static void *copyWithout(const ztArray *array, int32_t index) {
  const int32_t left = array->count - 1;
  void *block = newBlock(array, left, left);
  if (block == nullptr) return nullptr;
  const auto size = static_cast<size_t>(array->elementSize);
  const size_t before = static_cast<size_t>(index) * size;
  memcpy(block, array->data, before);
  memcpy(static_cast<char *>(block) + before, slotAt(array, int64_t{index} + 1),
         static_cast<size_t>(left - index) * size);
  return block;
}

static void arrayRemoveAt(ztArray &array, int32_t index) {
  if (!hasIndex(&array, index)) return;
  const int32_t left = array.count - 1;
  void *rest = left == 0 ? nullptr : copyWithout(&array, index);
  if (left != 0 && rest == nullptr) return;
  if (!holdsObjects(&array)) return installBlock(&array, rest, left);
  const BlockUse use(&array);
  void *block = array.data;
  void *slot = slotAt(&array, index);
  array.data = rest;
  array.count = left;
  const bool isLeft = ztLeavePart(&array, block);
  // The &array is whole again without the &array before that ends.
  destroyObject(slot);
  if (!isLeft) ztm_free(block);
}

static void arrayEmpty(ztArray &array) {
  if (array.data == nullptr) return;
  if (!holdsObjects(&array)) return installBlock(&array, nullptr, 0);
  const BlockUse use(&array);
  void *block = array.data;
  const int32_t count = array.count;
  array.data = nullptr;
  array.count = 0;
  const bool isLeft = ztLeavePart(&array, block);
  destroyObjects(block, count, array.elementSize);
  if (!isLeft) ztm_free(block);
}

// Sizes -------------------------------------------------------------------------------------------

static int32_t setSizeBytes(ztArray *array, int32_t count) {
  void *block = newBlock(array, count, 0);
  if (block == nullptr) return 0;
  ztArray_of(array)->empty(array);
  installBlock(array, block, count);
  return 1;
}

// The new objects become the array's once all of them stand.
static int32_t setSizeObjects(ztArray *array, int32_t count) {
  if (!constructorFits(array)) return 0;
  void *block = newBlock(array, count, 0);
  if (block == nullptr) return 0;
  const ContainerUse use(array);
  const ztCtor constructor = array->elementConstructor;
  const int32_t stride = array->elementSize;
  ztArray_of(array)->empty(array);
  constructObjects(constructor, block, 0, count, stride);
  // What the objects put in at their end or their beginning is discarded, too.
  while (!use.ended() && array->data != nullptr) arrayEmpty(array);
  if (!use.ended() && array->elementConstructor == constructor && array->elementSize == stride) {
    installBlock(array, block, count);
    return 1;
  }
  destroyObjects(block, count, stride);
  ztm_free(block);
  return 0;
}

static int32_t arraySetSize(ztArray &array, int32_t count) {
  if (count < 0) return 0;
  if (count == array.count && count != 0) return 1;
  if (count == 0) {
    ztArray_of(&array)->empty(&array);
    return 1;
  }
  return holdsObjects(&array) ? setSizeObjects(&array, count) : setSizeBytes(&array, count);
}

// Fills a block with copies of the array's first objects and new ones behind them; false, with nothing left
// there, when that fails or the array was changed meanwhile.
static bool copyAndConstruct(const ztArray *array, void *block, int32_t kept, int32_t count) {
  const ztCtor constructor = array->elementConstructor;
  const int32_t stride = array->elementSize;
  const BlockUse use(array);
  if (!copyObjects(use, array, block, kept)) return false;
  constructObjects(constructor, block, kept, count, stride);
  if (use.isCurrent()) return true;
  destroyObjects(block, count, stride);
  return false;
}

static int32_t resizeObjects(ztArray *array, int32_t count) {
  const int32_t old = array->count;
  const int32_t kept = count < old ? count : old;
  if (count > kept && !constructorFits(array)) return 0;
  void *block = newBlock(array, count, kept);
  if (block == nullptr) return 0;
  if (!copyAndConstruct(array, block, kept, count)) {
    ztm_free(block);
    return 0;
  }
  const BlockUse use(array);
  void *former = array->data;
  array->data = block;
  array->count = count;
  const bool isLeft = ztLeavePart(array, former);
  destroyObjects(former, old, array->elementSize);
  if (!isLeft) ztm_free(former);
  return 1;
}

static int32_t resizeBytes(ztArray *array, int32_t count) {
  const int32_t kept = count < array->count ? count : array->count;
  void *block = newBlock(array, count, kept);
  if (block == nullptr) return 0;
  memcpy(block, array->data, static_cast<size_t>(kept) * static_cast<size_t>(array->elementSize));
  installBlock(array, block, count);
  return 1;
}

static int32_t arrayResize(ztArray &array, int32_t count) {
  if (count < 0) return 0;
  if (count == 0) {
    ztArray_of(&array)->empty(&array);
    return 1;
  }
  if (array.count == 0) return ztArray_of(&array)->setSize(&array, count);
  if (count == array.count) return 1;
  return holdsObjects(&array) ? resizeObjects(&array, count) : resizeBytes(&array, count);
}

// Reading elements --------------------------------------------------------------------------------

static void *arrayGetAt(const ztArray &array, int32_t index) {
  if ((holdsPointers(&array) && !hasIndex(&array, index))) return nullptr;
  return elementAt(&array, index);
}

static void *arrayGetFront(const void *object) {
  const auto *array = static_cast<const ztArray *>(object);
  return array == nullptr || array->count == 0 ? nullptr : ztArray_of(array)->getAt(array, 0);
}

static void *arrayGetBack(const void *object) {
  const auto *array = static_cast<const ztArray *>(object);
  return array == nullptr || array->count == 0 ? nullptr : ztArray_of(array)->getAt(array, array->count - 1);
}

static void *arrayGetData(const ztArray &array) {
  return array.data;
}

static int32_t arrayGetSize(const ztArray &array) {
  return array.count;
}

static int32_t arrayIsEmpty(const void *object) {
  return object != nullptr && static_cast<const ztArray *>(object)->count == 0;
}

// What the compare function changes in the array is done in another block, which is not sorted then.
static void arraySort(ztArray &array, ztCompareFunc compare) {
  if (array.data == nullptr || compare == nullptr || !ownBlock(&array)) return;
  const BlockUse use(&array);
  qsort(array.data, static_cast<size_t>(array.count), static_cast<size_t>(array.elementSize), compare);
}

namespace {

// Stands for the key NULL, which the standard library's search does not take.
struct NullKey {
  ztCompareFunc compare;
};

}  // namespace

static int32_t compareNull(const void *key, const void *slot) {
  return static_cast<const NullKey *>(key)->compare(nullptr, slot);
}

static void *searchBlock(const void *key, const void *block, int32_t count, int32_t size,
                         ztCompareFunc compare) {
  const auto slots = static_cast<size_t>(count);
  const auto width = static_cast<size_t>(size);
  if (key != nullptr) return bsearch(key, block, slots, width, compare);
  const NullKey null = {compare};
  return bsearch(&null, block, slots, width, compareNull);
}

static void *arraySearch(const ztArray &array, const void *key, ztCompareFunc compare) {
  if (compare == nullptr) return nullptr;
  if (key == nullptr && ztIsOwnCompare(compare)) return nullptr;
  const int32_t count = ztArray_of(&array)->getSize(&array);
  const void *block = ztArray_of(&array)->getData(&array);
  if (block == nullptr || count <= 0) return nullptr;
  const BlockUse use(&array);
  void *found = searchBlock(key, block, count, array.elementSize, compare);
  return use.isCurrent() ? found : nullptr;
}

static void *arrayFind(const ztArray &array, const void *key) {
  if (array.compareFunction == nullptr) return nullptr;
  const ztCompareFunc compare = array.compareFunction;
  const bool isForeign = !ztIsOwnCompare(compare);
  const ContainerUse use(&array);
  const void *block = array.data;
  for (int32_t i = 0; i < array.count; ++i) {
    void *element = elementAt(&array, i);
    const bool isEqual = compare(element, key) == 0;
    if (isForeign && (use.ended() || array.data != block)) return nullptr;
    if (isEqual) return element;
  }
  return nullptr;
}

// The array as an object --------------------------------------------------------------------------

static int32_t arrayCreate(void *object) {
  if (!ztSequenceContainer_table()->create(object)) return 0;
  auto *array = static_cast<ztArray *>(object);
  array->count = 0;
  array->data = nullptr;
  return 1;
}

static void *copyBlock(const ztArray *array) {
  void *block = newBlock(array, array->count, array->count);
  if (block == nullptr) return nullptr;
  if (!holdsObjects(array)) {
    return memcpy(block, array->data, static_cast<size_t>(blockSize(array, array->count)));
  }
  const BlockUse use(array);
  if (copyObjects(use, array, block, array->count)) return block;
  ztm_free(block);
  return nullptr;
}

static void *arrayClone(const void *object, void *target) {
  auto *copy = static_cast<ztArray *>(ztSequenceContainer_table()->clone(object, target));
  if (copy == nullptr) return nullptr;
  const auto *array = static_cast<const ztArray *>(object);
  const int32_t count = array->count;
  copy->data = nullptr;
  copy->count = 0;
  if (count == 0) return copy;
  copy->data = copyBlock(array);
  if (copy->data != nullptr) {
    copy->count = count;
    return copy;
  }
  ztSequenceContainer_table()->destroy(copy);
  return nullptr;
}

// Assigns one object of the source to the one in the array's slot.
static void assignObject(DetachedBlock *target, const ztArray *source, int32_t index, bool isSame) {
  char *slot = target->open(index);
  if (isSame) {
    ztAssignCommon(slot, slot);
  } else {
    const BlockUse use(source);
    ztAssignCommon(slot, slotAt(source, index));
  }
  target->close(index);
}

static int32_t assignObjects(ztArray *array, const ztArray *source) {
  if (array->count == 0 || source->count == 0) return 1;
  const ContainerUse other(source);
  if (!prepareDetaching(array, 0) || other.ended()) return 0;
  const bool isSame = source == array;
  const int32_t count = array->count;
  DetachedBlock target(array);
  if (!target.isOut()) return 0;
  for (int32_t i = 0; i < count && !target.ended() && !other.ended(); ++i) {
    if (!isSame && i >= source->count) break;
    assignObject(&target, source, i, isSame);
  }
  return target.putBack() && !other.ended();
}

static int32_t arrayAssign(ztArray &array, const void *other) {
  if (other == nullptr || !ztSequenceContainer_table()->assign(&array, other)) return 0;
  auto *array = &array;
  const auto *source = static_cast<const ztArray *>(other);
  const int32_t count = array->count < source->count ? array->count : source->count;
  if (holdsObjects(array)) {
    ztBeginUses();
    return holdsObjects(source) ? assignObjects(array, source) : 0;
  }
  if (array->elementSize != source->elementSize) return 0;
  if (count > 0) {
    memmove(array->data, source->data, static_cast<size_t>(count) * static_cast<size_t>(array->elementSize));
  }
  return 1;
}

static void arrayDestroy(ztArray &array) {
  ztArray_of(&array)->empty(&array);
  // What the elements put in at their end, and what calls that are under way have out of the array.
  do {
    while (array.data != nullptr) arrayEmpty(&array);
  } while (ztEndObjects(&array));
  ztSequenceContainer_table()->destroy(&array);
}

// Reading -----------------------------------------------------------------------------------------
//
// Where the file is not known to hold what the count claims, slots are made as elements arrive. An array whose
// class makes its slots itself makes them all at once.

namespace {

class ArrayReader {
 public:
  ArrayReader(ztArray *target, void *source) : array(target), file(source), claims(source) {}

  int32_t read();

 private:
  // Of an object beside its slot, roughly.
  static constexpr int64_t ownParts = 128;
  // Met without looking at the file.
  static constexpr int64_t smallClaim = 4096;
  // Elements without a size are asked for no more often by a file that does not tell its end.
  static constexpr int32_t mostWithoutSize = 65536;

  bool makesOwnSlots() const {
    const ztArrayMethods *methods = ztArray_of(array);
    const ztArrayMethods *library = ztArray_table();
    return methods->setSize != library->setSize || methods->empty != library->empty;
  }
  int64_t sizeOf(int32_t slots) const {
    return slots == 0 ? 0 : blockSize(array, slots);
  }
  // An element takes as many bytes as it has, and an object's record a byte at least.
  bool isExcessive() {
    return claims.isExcessive(count, holdsObjects(array) ? 1 : array->elementSize, sizeOf(1));
  }

  // What was read may have changed the array. What came in meanwhile stands behind the slots, and no slots
  // are made behind that.
  bool hasSlot(int32_t index) const {
    return index < made && (array->count == made || (array->count > made && made == count));
  }

  int32_t slotsAtFirst();
  int32_t slotsToAdd();
  bool setSize(int32_t slots);
  bool addObjects(int32_t added);
  bool addSlots(int32_t added);
  bool readObject(int32_t index);
  bool readBytes(int32_t index);
  bool fillUp(int32_t arrived);
  void bring(int64_t bytes);

  ztArray *array;
  void *file;
  ztClaims claims;
  int32_t count = 0;
  int32_t made = 0;     // slots
  bool isFree = false;  // the slots are no claim of this count
  int64_t claimed = 0;  // for each slot; 0 while none is on the file's account
  bool more = true;     // the last element brought something
};

}  // namespace

// How many slots to begin with, or -1 for a count that is not met.
int32_t ArrayReader::slotsAtFirst() {
  const int64_t size = sizeOf(count);
  isFree = size < 0 || count == array->count || makesOwnSlots();
  if (!isFree && size <= smallClaim && !holdsObjects(array)) return count;
  if (size > smallClaim && isExcessive()) return -1;
  if (isFree) return count;
  claimed = sizeOf(1);
  if (claims.isHeld(size)) {
    claims.hold(size);
    return count;
  }
  if (claims.take(size)) return count;
  if (claims.ownStream() != nullptr && !ztHasByte(claims.ownStream())) return -1;
  // Objects without a record are there all the same.
  if (holdsObjects(array)) claimed += ownParts;
  const int32_t slots = slotsToAdd();
  return slots == 0 ? -1 : slots;
}

// As many slots as may be claimed, or one for an element that has begun to arrive.
int32_t ArrayReader::slotsToAdd() {
  // A block without objects is there until the larger one has its bytes.
  const int64_t room = claims.left() - (holdsObjects(array) ? 0 : sizeOf(made));
  const int64_t slots = room / claimed;
  const int32_t missing = count - made;
  if (slots > 0) {
    const int32_t added = slots < missing ? static_cast<int32_t>(slots) : missing;
    claims.hold(added * claimed);
    return added;
  }
  FILE *stream = claims.ownStream();
  // Elements that bring nothing would never come to the byte that is there.
  const bool hasBegun = more && (stream == nullptr || ztHasByte(stream));
  if (hasBegun) claims.hold(claimed);
  return hasBegun;
}

bool ArrayReader::setSize(int32_t slots) {
  const void *before = array->data;
  const ContainerUse use(array);
  if (!ztArray_of(array)->setSize(array, slots) || use.ended()) return false;
  // An array that has the count already keeps its contents.
  if (before != nullptr && before == array->data && !holdsObjects(array)) {
    clearBehind(array, array->data, 0, blockSize(array, array->count));
  }
  made = array->count;
  if (makesOwnSlots()) count = made;
  return true;
}

bool ArrayReader::addSlots(int32_t added) {
  if (added <= 0) return false;
  if (holdsObjects(array)) {
    if (!addObjects(added)) return false;
    made += added;
    return true;
  }
  if (!resizeBlock(array, int64_t{made} + added)) return false;
  clearBehind(array, array->data, made, blockSize(array, int64_t{made} + added));
  made += added;
  array->count = made;
  return true;
}

bool ArrayReader::addObjects(int32_t added) {
  if (!ownBlock(array)) return false;
  DetachedBlock detached(array);
  if (!detached.isOut()) return false;
  const bool isAdded = detached.add(added);
  return detached.putBack() && isAdded;
}

// What has arrived for an element is no claim any more.
void ArrayReader::bring(int64_t bytes) {
  if (!claims.isCounted()) claims.addArrived(bytes);
  if (claimed > 0) claims.give(claimed);
}

// False without memory, or when the array does not keep such objects any more.
bool ArrayReader::readObject(int32_t index) {
  if (!ownBlock(array)) return false;
  DetachedBlock detached(array);
  if (!detached.isOut()) return false;
  void *slot = detached.open(index);
  claims.arrivedSince();
  const bool done = ztBaseClass_of(slot)->read(slot, file) > 0;
  more = claims.isCounted() ? claims.arrivedSince() > 0 : done;
  detached.close(index);
  if (!detached.putBack()) return false;
  if (more) bring(array->elementSize);
  return true;
}

// False when the file has ended.
bool ArrayReader::readBytes(int32_t index) {
  const int32_t size = array->elementSize;
  const ztFileMethods *methods = ztFile_of(file);
  claims.arrivedSince();
  const int32_t got = methods->readBuf(file, size, slotAt(array, index));
  const int64_t arrived = claims.isCounted() ? claims.arrivedSince() : got;
  more = arrived > 0;
  if (size == 0) return claims.isCounted() ? more : index < mostWithoutSize && !methods->eof(file);
  if (arrived >= size) bring(size);
  return arrived >= size || ((more || claims.ownStream() == nullptr) && !methods->eof(file));
}

// What a file that has ended lacks is zero, as far as that may be claimed.
bool ArrayReader::fillUp(int32_t arrived) {
  if (isFree) return true;
  const int64_t lacking = sizeOf(count) - sizeOf(claimed > 0 ? made : arrived);
  return claims.take(lacking) && (made == count || addSlots(count - made));
}

int32_t ArrayReader::read() {
  if (!claims.readCount(&count)) return 0;
  const int32_t first = slotsAtFirst();
  const ContainerUse use(array);
  if (first < 0 || !setSize(first) || use.ended()) return 0;
  bool isMet = true;
  for (int32_t i = 0; i < count && isMet; ++i) {
    if (i == made) isMet = addSlots(slotsToAdd());
    if (!isMet || !hasSlot(i)) break;
    if (holdsObjects(array)) {
      isMet = readObject(i);
    } else if (!readBytes(i)) {
      isMet = fillUp(i);
      break;
    }
  }
  if (isMet) return 1;
  if (use.ended()) return 0;
  ztArray_of(array)->empty(array);
  claims.giveAll();
  return 0;
}

static int32_t arrayRead(ztArray &array, void *file) {
  if (file == nullptr || !ztSequenceContainer_table()->read(&array, file)) return 0;
  return ArrayReader(&array, file).read();
}

static int32_t arrayWrite(const ztArray &array, void *file) {
  if (file == nullptr || !ztSequenceContainer_table()->write(&array, file)) return 0;
  const auto *array = &array;
  const ztFileMethods *methods = ztFile_of(file);
  if (methods->writeInt(file, array->count) <= 0) return 0;
  // Elements of no bytes leave nothing in a binary file, however many there are.
  const bool leavesBytes = holdsObjects(array) || array->elementSize != 0;
  if (!leavesBytes && methods->writeBuf == ztFile_table()->writeBuf) return 1;
  for (int32_t i = 0; i < array->count; ++i) {
    const void *slot = slotAt(array, i);
    if (holdsObjects(array)) {
      ztBaseClass_of(slot)->write(slot, file);
    } else {
      methods->writeBuf(file, array->elementSize, slot);
    }
  }
  return 1;
}

static void arrayMethods(ztArrayMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, arrayCreate);
  ZT_OVERRIDE_METHOD(methods, clone, arrayClone);
  ZT_OVERRIDE_METHOD(methods, assign, ztMethod<arrayAssign>);
  ZT_OVERRIDE_METHOD(methods, destroy, ztMethod<arrayDestroy>);
  ZT_OVERRIDE_METHOD(methods, read, ztMethod<arrayRead>);
  ZT_OVERRIDE_METHOD(methods, write, ztMethod<arrayWrite>);
  ZT_OVERRIDE_METHOD(methods, getSize, ztMethod<arrayGetSize>);
  ZT_OVERRIDE_METHOD(methods, pushBack, ztMethod<arrayPushBack>);
  ZT_OVERRIDE_METHOD(methods, pushBackUnique, ztMethod<arrayPushBackUnique>);
  ZT_OVERRIDE_METHOD(methods, removeAt, ztMethod<arrayRemoveAt>);
  ZT_OVERRIDE_METHOD(methods, getAt, ztMethod<arrayGetAt>);
  ZT_OVERRIDE_METHOD(methods, setAt, ztMethod<arraySetAt>);
  ZT_OVERRIDE_METHOD(methods, empty, ztMethod<arrayEmpty>);
  ZT_OVERRIDE_METHOD(methods, setSize, ztMethod<arraySetSize>);
  ZT_OVERRIDE_METHOD(methods, resize, ztMethod<arrayResize>);
  ZT_OVERRIDE_METHOD(methods, getFront, arrayGetFront);
  ZT_OVERRIDE_METHOD(methods, getBack, arrayGetBack);
  ZT_OVERRIDE_METHOD(methods, getData, ztMethod<arrayGetData>);
  ZT_OVERRIDE_METHOD(methods, isEmpty, arrayIsEmpty);
  ZT_OVERRIDE_METHOD(methods, sort, ztMethod<arraySort>);
  ZT_OVERRIDE_METHOD(methods, search, ztMethod<arraySearch>);
  ZT_OVERRIDE_METHOD(methods, find, ztMethod<arrayFind>);
}

ZT_DEFINE_CLASS(ztArray, ztSequenceContainer, arrayMethods)
