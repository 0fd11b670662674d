#include "containers/ztarray.h"

#include "core/ztbasec.hh"
#include "core/ztlayout.hh"
#include "core/ztmem.h"
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
  if (stride < 0) return -1;
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

// Resizes the block, which keeps its elements; false when it cannot.
static bool resizeBlock(ztArray *array, int64_t count) {
  const int32_t size = blockSize(array, count);
  if (size < 0) return false;
  // A host's tracking allocator knows a block only from its allocation.
  void *block = array->data == nullptr ? ztm_alloc(size) : ztm_realloc(array->data, size);
  if (block == nullptr) return false;
  array->data = block;
  return true;
}

static void installBlock(ztArray *array, void *block, int32_t count) {
  ztm_free(array->data);
  array->data = block;
  array->count = count;
}

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

static void *copyIntoSlot(void *slot, const void *source) {
  memcpy(slot, source, sizeof(ztBaseClass));  // tells how large the object will be
  return ztCloneOnto(source, slot);
}

static void destroyObject(void *slot) {
  ztBaseClass_of(slot)->destroy(slot);
}

static void destroyObjects(const ztArray *array, void *block, int32_t count) {
  char *slot = static_cast<char *>(block);
  for (int32_t i = 0; i < count; ++i, slot += array->elementSize) destroyObject(slot);
}

// Copies the array's first objects into a block; false, with nothing left there, when one cannot be.
static bool copyObjects(const ztArray *array, void *block, int32_t count) {
  char *slot = static_cast<char *>(block);
  for (int32_t i = 0; i < count; ++i, slot += array->elementSize) {
    if (copyIntoSlot(slot, slotAt(array, i)) != nullptr) continue;
    destroyObjects(array, block, i);
    return false;
  }
  return true;
}

// A header alone suffices to learn the size: without `create` a constructor writes no more.
static bool constructorFits(const ztArray *array) {
  if (array->elementSize < static_cast<int32_t>(sizeof(ztBaseClass))) return false;
  ztBaseClass header;
  array->elementConstructor(&header, 0);
  return header.klass->instanceSize <= array->elementSize;
}

static void constructObjects(const ztArray *array, void *block, int32_t from, int32_t count) {
  char *slot = static_cast<char *>(block) + static_cast<int64_t>(from) * array->elementSize;
  for (int32_t i = from; i < count; ++i, slot += array->elementSize) array->elementConstructor(slot, 1);
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
static void dropLastSlot(ztArray *array) {
  --array->count;
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
  void *slot = slotAt(array, array->count++);
  void *copy = copyIntoSlot(slot, afterMove(array, element, own));
  if (copy == nullptr) dropLastSlot(array);
  return copy;
}

static void *arrayPushBack(void *object, const void *element) {
  auto *array = static_cast<ztArray *>(object);
  if (array == nullptr) return nullptr;
  if (holdsObjects(array)) return pushObject(array, element);
  return holdsPointers(array) ? pushPointer(array, element) : pushBytes(array, element);
}

static int32_t arrayPushBackUnique(void *object, const void *element, ztCompareFunc match) {
  auto *array = static_cast<ztArray *>(object);
  if (array == nullptr || match == nullptr) return 0;
  const ztArrayMethods *methods = ztArray_of(array);
  const int32_t count = array->count;
  for (int32_t i = 0; i < count; ++i) {
    if (match(methods->getAt(array, i), element)) return 0;
  }
  return methods->pushBack(array, element) != nullptr;
}

// A slot never stays without an object, since all of them are destroyed in the end.
static void refillSlot(const ztArray *array, void *slot) {
  if (constructorFits(array)) {
    array->elementConstructor(slot, 1);
  } else {
    ztBaseClass_ctor(slot, 1);
  }
}

static void *arraySetAt(void *object, const void *element, int32_t index) {
  auto *array = static_cast<ztArray *>(object);
  if (array == nullptr || !hasIndex(array, index) || !accepts(array, element)) return nullptr;
  void *slot = slotAt(array, index);
  if (!holdsObjects(array)) {
    storeBytes(array, slot, element);
    return slot;
  }
  if (element == slot) return slot;
  destroyObject(slot);
  void *copy = copyIntoSlot(slot, element);
  if (copy == nullptr) refillSlot(array, slot);
  return copy;
}

// Removing ----------------------------------------------------------------------------------------

static void arrayRemoveAt(void *object, int32_t index) {
  auto *array = static_cast<ztArray *>(object);
  if (array == nullptr || !hasIndex(array, index)) return;
  const int32_t left = array->count - 1;
  void *block = nullptr;
  if (left > 0) {
    block = newBlock(array, left, left);
    if (block == nullptr) return;
  }
  if (holdsObjects(array)) destroyObject(slotAt(array, index));
  if (left > 0) {
    const auto size = static_cast<size_t>(array->elementSize);
    const size_t before = static_cast<size_t>(index) * size;
    memcpy(block, array->data, before);
    memcpy(static_cast<char *>(block) + before, slotAt(array, int64_t{index} + 1),
           static_cast<size_t>(left - index) * size);
  }
  installBlock(array, block, left);
}

static void arrayEmpty(void *object) {
  auto *array = static_cast<ztArray *>(object);
  if (array == nullptr || array->data == nullptr) return;
  void *block = array->data;
  const int32_t count = array->count;
  array->data = nullptr;
  array->count = 0;
  if (holdsObjects(array)) destroyObjects(array, block, count);
  ztm_free(block);
}

// Sizes -------------------------------------------------------------------------------------------

static int32_t arraySetSize(void *object, int32_t count) {
  auto *array = static_cast<ztArray *>(object);
  if (array == nullptr || count < 0) return 0;
  if (count == array->count && count != 0) return 1;
  if (count == 0) {
    ztArray_of(array)->empty(array);
    return 1;
  }
  if (holdsObjects(array) && !constructorFits(array)) return 0;
  void *block = newBlock(array, count, 0);
  if (block == nullptr) return 0;
  ztArray_of(array)->empty(array);
  installBlock(array, block, count);
  if (holdsObjects(array)) constructObjects(array, block, 0, count);
  return 1;
}

static int32_t resizeObjects(ztArray *array, int32_t count) {
  const int32_t old = array->count;
  const int32_t kept = count < old ? count : old;
  if (count > kept && !constructorFits(array)) return 0;
  void *block = newBlock(array, count, kept);
  if (block == nullptr) return 0;
  if (!copyObjects(array, block, kept)) {
    ztm_free(block);
    return 0;
  }
  constructObjects(array, block, kept, count);
  destroyObjects(array, array->data, old);
  installBlock(array, block, count);
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

static int32_t arrayResize(void *object, int32_t count) {
  auto *array = static_cast<ztArray *>(object);
  if (array == nullptr || count < 0) return 0;
  if (count == 0) {
    ztArray_of(array)->empty(array);
    return 1;
  }
  if (array->count == 0) return ztArray_of(array)->setSize(array, count);
  if (count == array->count) return 1;
  return holdsObjects(array) ? resizeObjects(array, count) : resizeBytes(array, count);
}

// Reading elements --------------------------------------------------------------------------------

static void *arrayGetAt(const void *object, int32_t index) {
  const auto *array = static_cast<const ztArray *>(object);
  if (array == nullptr || (holdsPointers(array) && !hasIndex(array, index))) return nullptr;
  return elementAt(array, index);
}

static void *arrayGetFront(const void *object) {
  const auto *array = static_cast<const ztArray *>(object);
  return array == nullptr || array->count == 0 ? nullptr : ztArray_of(array)->getAt(array, 0);
}

static void *arrayGetBack(const void *object) {
  const auto *array = static_cast<const ztArray *>(object);
  return array == nullptr || array->count == 0 ? nullptr : ztArray_of(array)->getAt(array, array->count - 1);
}

static void *arrayGetData(const void *object) {
  return object == nullptr ? nullptr : static_cast<const ztArray *>(object)->data;
}

static int32_t arrayGetSize(const void *object) {
  return object == nullptr ? 0 : static_cast<const ztArray *>(object)->count;
}

static int32_t arrayIsEmpty(const void *object) {
  return object != nullptr && static_cast<const ztArray *>(object)->count == 0;
}

static void arraySort(void *object, ztCompareFunc compare) {
  const auto *array = static_cast<const ztArray *>(object);
  if (array == nullptr || array->data == nullptr || compare == nullptr) return;
  qsort(array->data, static_cast<size_t>(array->count), static_cast<size_t>(array->elementSize), compare);
}

static void *arraySearch(const void *object, const void *key, ztCompareFunc compare) {
  const auto *array = static_cast<const ztArray *>(object);
  if (array == nullptr || key == nullptr || compare == nullptr) return nullptr;
  const int32_t count = ztArray_of(array)->getSize(array);
  const void *block = ztArray_of(array)->getData(array);
  if (block == nullptr || count <= 0) return nullptr;
  return bsearch(key, block, static_cast<size_t>(count), static_cast<size_t>(array->elementSize), compare);
}

static void *arrayFind(const void *object, const void *key) {
  const auto *array = static_cast<const ztArray *>(object);
  if (array == nullptr || array->compareFunction == nullptr) return nullptr;
  for (int32_t i = 0; i < array->count; ++i) {
    void *element = elementAt(array, i);
    if (array->compareFunction(element, key) == 0) return element;
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
  if (copyObjects(array, block, array->count)) return block;
  ztm_free(block);
  return nullptr;
}

static void *arrayClone(const void *object, void *target) {
  auto *copy = static_cast<ztArray *>(ztSequenceContainer_table()->clone(object, target));
  if (copy == nullptr) return nullptr;
  const auto *array = static_cast<const ztArray *>(object);
  copy->data = nullptr;
  if (array->count == 0) return copy;
  copy->data = copyBlock(array);
  if (copy->data != nullptr) return copy;
  copy->count = 0;
  ztSequenceContainer_table()->destroy(copy);
  return nullptr;
}

static int32_t arrayAssign(void *object, const void *other) {
  if (object == nullptr || other == nullptr || !ztSequenceContainer_table()->assign(object, other)) return 0;
  auto *array = static_cast<ztArray *>(object);
  const auto *source = static_cast<const ztArray *>(other);
  const int32_t count = array->count < source->count ? array->count : source->count;
  if (holdsObjects(array)) {
    if (!holdsObjects(source)) return 0;
    for (int32_t i = 0; i < count; ++i) ztAssignCommon(slotAt(array, i), slotAt(source, i));
    return 1;
  }
  if (array->elementSize != source->elementSize) return 0;
  if (count > 0) {
    memmove(array->data, source->data, static_cast<size_t>(count) * static_cast<size_t>(array->elementSize));
  }
  return 1;
}

static void arrayDestroy(void *object) {
  if (object == nullptr) return;
  ztArray_of(object)->empty(object);
  ztSequenceContainer_table()->destroy(object);
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

  int32_t slotsAtFirst();
  int32_t slotsToAdd();
  bool setSize(int32_t slots);
  bool addSlots(int32_t added);
  void readObject(int32_t index);
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
  if (!ztArray_of(array)->setSize(array, slots)) return false;
  // An array that has the count already keeps its contents.
  if (before != nullptr && before == array->data && !holdsObjects(array)) {
    clearBehind(array, array->data, 0, blockSize(array, array->count));
  }
  made = array->count;
  if (makesOwnSlots()) count = made;
  return true;
}

bool ArrayReader::addSlots(int32_t added) {
  if (added <= 0 || !resizeBlock(array, int64_t{made} + added)) return false;
  if (holdsObjects(array)) {
    constructObjects(array, array->data, made, made + added);
  } else {
    clearBehind(array, array->data, made, blockSize(array, int64_t{made} + added));
  }
  made += added;
  array->count = made;
  return true;
}

// What has arrived for an element is no claim any more.
void ArrayReader::bring(int64_t bytes) {
  if (!claims.isCounted()) claims.addArrived(bytes);
  if (claimed > 0) claims.give(claimed);
}

void ArrayReader::readObject(int32_t index) {
  void *slot = slotAt(array, index);
  claims.arrivedSince();
  const bool done = ztBaseClass_of(slot)->read(slot, file) > 0;
  more = claims.isCounted() ? claims.arrivedSince() > 0 : done;
  if (more) bring(array->elementSize);
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
  if (first < 0 || !setSize(first)) return 0;
  bool isMet = true;
  for (int32_t i = 0; i < count && isMet; ++i) {
    if (i == made) isMet = addSlots(slotsToAdd());
    if (!isMet || array->count != made) break;  // what was read may have changed the array
    if (holdsObjects(array)) {
      readObject(i);
    } else if (!readBytes(i)) {
      isMet = fillUp(i);
      break;
    }
  }
  if (isMet) return 1;
  ztArray_of(array)->empty(array);
  claims.giveAll();
  return 0;
}

static int32_t arrayRead(void *object, void *file) {
  if (object == nullptr || file == nullptr || !ztSequenceContainer_table()->read(object, file)) return 0;
  return ArrayReader(static_cast<ztArray *>(object), file).read();
}

static int32_t arrayWrite(const void *object, void *file) {
  if (object == nullptr || file == nullptr || !ztSequenceContainer_table()->write(object, file)) return 0;
  const auto *array = static_cast<const ztArray *>(object);
  const ztFileMethods *methods = ztFile_of(file);
  if (methods->writeInt(file, array->count) <= 0) return 0;
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
  ZT_OVERRIDE_METHOD(methods, assign, arrayAssign);
  ZT_OVERRIDE_METHOD(methods, destroy, arrayDestroy);
  ZT_OVERRIDE_METHOD(methods, read, arrayRead);
  ZT_OVERRIDE_METHOD(methods, write, arrayWrite);
  ZT_OVERRIDE_METHOD(methods, getSize, arrayGetSize);
  ZT_OVERRIDE_METHOD(methods, pushBack, arrayPushBack);
  ZT_OVERRIDE_METHOD(methods, pushBackUnique, arrayPushBackUnique);
  ZT_OVERRIDE_METHOD(methods, removeAt, arrayRemoveAt);
  ZT_OVERRIDE_METHOD(methods, getAt, arrayGetAt);
  ZT_OVERRIDE_METHOD(methods, setAt, arraySetAt);
  ZT_OVERRIDE_METHOD(methods, empty, arrayEmpty);
  ZT_OVERRIDE_METHOD(methods, setSize, arraySetSize);
  ZT_OVERRIDE_METHOD(methods, resize, arrayResize);
  ZT_OVERRIDE_METHOD(methods, getFront, arrayGetFront);
  ZT_OVERRIDE_METHOD(methods, getBack, arrayGetBack);
  ZT_OVERRIDE_METHOD(methods, getData, arrayGetData);
  ZT_OVERRIDE_METHOD(methods, isEmpty, arrayIsEmpty);
  ZT_OVERRIDE_METHOD(methods, sort, arraySort);
  ZT_OVERRIDE_METHOD(methods, search, arraySearch);
  ZT_OVERRIDE_METHOD(methods, find, arrayFind);
}

ZT_DEFINE_CLASS(ztArray, ztSequenceContainer, arrayMethods)
