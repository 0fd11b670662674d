#include "containers/ztarray.hh"

#include "containers/ztcompare.hh"
#include "containers/ztown.hh"
#include "core/ztbasec.hh"
#include "core/ztlayout.hh"
#include "core/ztmem.h"
#include "core/ztmethod.hh"

#include <stdlib.h>
#include <string.h>

ZT_PIN_CLASS(ztArray, 80, 42);

using namespace ztcore;

// The block ---------------------------------------------------------------------------------------

int32_t ztcore::blockSize(const ztArray &array, int64_t count) {
  int64_t stride = array.elementSize;
  if (stride < 0 || count > INT32_MAX) return -1;
  if (holdsPointers(array) && stride < pointerStride) stride = pointerStride;
  const int64_t size = count * stride;
  if (size > INT32_MAX) return -1;
  return size == 0 ? 1 : static_cast<int32_t>(size);
}

void ztcore::clearBehind(const ztArray &array, void *block, int32_t places, int32_t size) {
  const size_t kept = static_cast<size_t>(places) * static_cast<size_t>(array.elementSize);
  memset(static_cast<char *>(block) + kept, 0, static_cast<size_t>(size) - kept);
}

void *ztcore::newBlock(const ztArray &array, int32_t count, int32_t clearFrom) {
  const int32_t size = blockSize(array, count);
  void *block = size < 0 ? nullptr : ztm_alloc(size);
  if (block != nullptr) clearBehind(array, block, clearFrom, size);
  return block;
}

void ztcore::releaseBlock(const ztArray &array, void *block) {
  if (!leavePart(&array, block)) ztm_free(block);
}

// Moves the elements to a new block of `size` bytes.
static bool moveBlock(ztArray &array, int32_t size) {
  void *block = ztm_alloc(size);
  if (block == nullptr) return false;
  const int32_t old = blockSize(array, array.count);
  memcpy(block, array.data, static_cast<size_t>(old < size ? old : size));
  releaseBlock(array, array.data);
  array.data = block;
  return true;
}

bool ztcore::resizeBlock(ztArray &array, int64_t count) {
  const int32_t size = blockSize(array, count);
  if (size < 0) return false;
  if (array.data != nullptr && isPartInUse(&array, array.data)) return moveBlock(array, size);
  // ztm_alloc for the first block: a host's tracking allocator must record it.
  void *block = array.data == nullptr ? ztm_alloc(size) : ztm_realloc(array.data, size);
  if (block == nullptr) return false;
  array.data = block;
  return true;
}

bool ztcore::ownBlock(ztArray &array) {
  return !isPartInUse(&array, array.data) || moveBlock(array, blockSize(array, array.count));
}

void ztcore::installBlock(ztArray &array, void *block, int32_t count) {
  releaseBlock(array, array.data);
  array.data = block;
  array.count = count;
}

int64_t ztcore::offsetInBlock(const ztArray &array, const void *address) {
  const auto offset = reinterpret_cast<uintptr_t>(address) - reinterpret_cast<uintptr_t>(array.data);
  const int64_t size = int64_t{array.count} * array.elementSize;
  return offset < static_cast<uintptr_t>(size) ? static_cast<int64_t>(offset) : -1;
}

// Adding and replacing ----------------------------------------------------------------------------

// Copies without a call for the sizes of numbers.
static void copyBytes(void *place, const void *source, size_t size) {
  switch (size) {
    case sizeof(int8_t):
      memmove(place, source, sizeof(int8_t));
      break;
    case sizeof(int32_t):
      memmove(place, source, sizeof(int32_t));
      break;
    case sizeof(int64_t):
      memmove(place, source, sizeof(int64_t));
      break;
    default:
      memmove(place, source, size);
  }
}

static void storeBytes(const ztArray &array, void *place, const void *element) {
  const auto size = static_cast<size_t>(array.elementSize);
  if (holdsPointers(array)) {
    copyBytes(place, &element, size < sizeof element ? size : sizeof element);
  } else {
    copyBytes(place, element, size);
  }
}

static void *pushBytes(ztArray &array, const void *element) {
  const int64_t own = offsetInBlock(array, element);
  if (element == nullptr || !resizeBlock(array, int64_t{array.count} + 1)) return nullptr;
  void *place = placeAt(array, array.count++);
  copyBytes(place, afterMove(array, element, own), static_cast<size_t>(array.elementSize));
  return place;
}

static void *pushPointer(ztArray &array, const void *pointer) {
  if (!resizeBlock(array, int64_t{array.count} + 1)) return nullptr;
  const int32_t last = array.count++;
  if (array.elementSize != pointerStride) {
    clearBehind(array, array.data, last, blockSize(array, array.count));
  }
  void *place = placeAt(array, last);
  storeBytes(array, place, pointer);
  return place;
}

static void *arrayPushBack(ztArray &array, const void *element) {
  if (holdsObjects(array)) {
    beginUses();
    return pushObject(array, element);
  }
  return holdsPointers(array) ? pushPointer(array, element) : pushBytes(array, element);
}

// Whether the match function accepts an element; elements that are added meanwhile are not tested.
static bool matchesAny(const ztArray &array, const void *element, ztCompareFunc match) {
  const ContainerUse use(&array);
  const ztArrayMethods *methods = ztArray_of(&array);
  const int32_t count = array.count;
  for (int32_t i = 0; i < count && i < array.count; ++i) {
    if (match(methods->getAt(&array, i), element) || use.ended()) return true;
  }
  return false;
}

static int32_t arrayPushBackUnique(ztArray &array, const void *element, ztCompareFunc match) {
  if (match == nullptr || matchesAny(array, element, match)) return 0;
  return ztArray_of(&array)->pushBack(&array, element) != nullptr;
}

static void *arraySetAt(ztArray &array, const void *element, int32_t index) {
  if (!hasIndex(array, index)) return nullptr;
  if (holdsObjects(array)) {
    beginUses();
    return setObject(array, element, index);
  }
  if (element == nullptr && !holdsPointers(array)) return nullptr;
  void *place = placeAt(array, index);
  storeBytes(array, place, element);
  return place;
}

// Removing ----------------------------------------------------------------------------------------

// A new block without one element.
static void *copyWithout(const ztArray &array, int32_t index) {
  const int32_t left = array.count - 1;
  void *block = newBlock(array, left, left);
  if (block == nullptr) return nullptr;
  const auto size = static_cast<size_t>(array.elementSize);
  const size_t before = static_cast<size_t>(index) * size;
  memcpy(block, array.data, before);
  memcpy(static_cast<char *>(block) + before, placeAt(array, int64_t{index} + 1),
         static_cast<size_t>(left - index) * size);
  return block;
}

static void arrayRemoveAt(ztArray &array, int32_t index) {
  if (!hasIndex(array, index)) return;
  const int32_t left = array.count - 1;
  void *rest = left == 0 ? nullptr : copyWithout(array, index);
  if (left != 0 && rest == nullptr) return;
  if (!holdsObjects(array)) return installBlock(array, rest, left);
  replaceObjects(array, rest, left, index, 1);
}

void ztcore::arrayEmpty(ztArray &array) {
  if (array.data == nullptr) return;
  if (!holdsObjects(array)) return installBlock(array, nullptr, 0);
  replaceObjects(array, nullptr, 0, 0, array.count);
}

// Sizes -------------------------------------------------------------------------------------------

static int32_t setSizeBytes(ztArray &array, int32_t count) {
  void *block = newBlock(array, count, 0);
  if (block == nullptr) return 0;
  ztArray_of(&array)->empty(&array);
  installBlock(array, block, count);
  return 1;
}

static int32_t arraySetSize(ztArray &array, int32_t count) {
  if (count < 0) return 0;
  if (count == array.count && count != 0) return 1;
  if (count == 0) {
    ztArray_of(&array)->empty(&array);
    return 1;
  }
  return holdsObjects(array) ? setSizeObjects(array, count) : setSizeBytes(array, count);
}

static int32_t resizeBytes(ztArray &array, int32_t count) {
  const int32_t kept = count < array.count ? count : array.count;
  void *block = newBlock(array, count, kept);
  if (block == nullptr) return 0;
  memcpy(block, array.data, static_cast<size_t>(kept) * static_cast<size_t>(array.elementSize));
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
  return holdsObjects(array) ? resizeObjects(array, count) : resizeBytes(array, count);
}

// Reading elements --------------------------------------------------------------------------------

static void *pointerAt(const ztArray &array, int32_t index) {
  void *pointer = nullptr;
  memcpy(&pointer, static_cast<const char *>(array.data) + size_t{pointerStride} * static_cast<size_t>(index),
         sizeof pointer);
  return pointer;
}

static void *elementAt(const ztArray &array, int32_t index) {
  return holdsPointers(array) ? pointerAt(array, index) : placeAt(array, index);
}

static void *arrayGetAt(const ztArray &array, int32_t index) {
  if (holdsPointers(array) && !hasIndex(array, index)) return nullptr;
  return elementAt(array, index);
}

static void *arrayGetFront(const ztArray &array) {
  return array.count == 0 ? nullptr : ztArray_of(&array)->getAt(&array, 0);
}

static void *arrayGetBack(const ztArray &array) {
  return array.count == 0 ? nullptr : ztArray_of(&array)->getAt(&array, array.count - 1);
}

static void *arrayGetData(const ztArray &array) {
  return array.data;
}

static int32_t arrayGetSize(const ztArray &array) {
  return array.count;
}

static int32_t arrayIsEmpty(const ztArray &array) {
  return array.count == 0;
}

// If the compare function changes the array, it changes another block, which stays unsorted.
static void arraySort(ztArray &array, ztCompareFunc compare) {
  if (array.data == nullptr || compare == nullptr || !ownBlock(array)) return;
  const BlockUse use(array);
  qsort(array.data, static_cast<size_t>(array.count), static_cast<size_t>(array.elementSize), compare);
}

namespace {

// Replaces a NULL key, which the standard library's search does not accept.
struct NullKey {
  ztCompareFunc compare;
};

}  // namespace

static int32_t compareNull(const void *key, const void *place) {
  return static_cast<const NullKey *>(key)->compare(nullptr, place);
}

static void *searchBlock(const void *key, const void *block, int32_t count, int32_t size,
                         ztCompareFunc compare) {
  const auto places = static_cast<size_t>(count);
  const auto width = static_cast<size_t>(size);
  if (key != nullptr) return bsearch(key, block, places, width, compare);
  const NullKey null = {compare};
  return bsearch(&null, block, places, width, compareNull);
}

static void *arraySearch(const ztArray &array, const void *key, ztCompareFunc compare) {
  if (compare == nullptr) return nullptr;
  if (key == nullptr && isOwnCompare(compare)) return nullptr;
  const int32_t count = ztArray_of(&array)->getSize(&array);
  const void *block = ztArray_of(&array)->getData(&array);
  if (block == nullptr || count <= 0) return nullptr;
  const BlockUse use(array);
  void *found = searchBlock(key, block, count, array.elementSize, compare);
  return use.isCurrent() ? found : nullptr;
}

static void *arrayFind(const ztArray &array, const void *key) {
  if (array.compareFunction == nullptr) return nullptr;
  const ztCompareFunc compare = array.compareFunction;
  const bool isForeign = !isOwnCompare(compare);
  const ContainerUse use(&array);
  const void *block = array.data;
  for (int32_t i = 0; i < array.count; ++i) {
    void *element = elementAt(array, i);
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

static void *copyBlock(const ztArray &array) {
  void *block = newBlock(array, array.count, array.count);
  if (block == nullptr) return nullptr;
  if (!holdsObjects(array)) {
    return memcpy(block, array.data, static_cast<size_t>(blockSize(array, array.count)));
  }
  if (copyAllObjects(array, block)) return block;
  ztm_free(block);
  return nullptr;
}

static void *arrayClone(const void *object, void *target) {
  auto *copy = static_cast<ztArray *>(ztSequenceContainer_table()->clone(object, target));
  if (copy == nullptr) return nullptr;
  const auto &array = *static_cast<const ztArray *>(object);
  const int32_t count = array.count;
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

static int32_t arrayAssign(ztArray &array, const void *other) {
  if (other == nullptr || !ztSequenceContainer_table()->assign(&array, other)) return 0;
  const auto &source = *static_cast<const ztArray *>(other);
  if (holdsObjects(array)) {
    beginUses();
    return holdsObjects(source) ? assignObjects(array, source) : 0;
  }
  if (array.elementSize != source.elementSize) return 0;
  const int32_t count = array.count < source.count ? array.count : source.count;
  if (count > 0) {
    memmove(array.data, source.data, static_cast<size_t>(count) * static_cast<size_t>(array.elementSize));
  }
  return 1;
}

static void arrayDestroy(ztArray &array) {
  ztArray_of(&array)->empty(&array);
  // Repeats for what destroyed elements added, and for what calls under way have out of the array.
  do {
    while (array.data != nullptr) arrayEmpty(array);
  } while (endObjects(&array));
  ztSequenceContainer_table()->destroy(&array);
}

bool ztcore::createsOwnArrays() {
  return ztArray_table()->create == arrayCreate && createsOwnSequences();
}

bool ztcore::hasOwnArraySettings(const ztClass *klass) {
  return hasOwnElementSetting(klass) && hasOwnManagerSetting(klass) && hasOwnCompareSetting(klass);
}

bool ztcore::clonesOwnArrays(const ztClass *klass) {
  return static_cast<const ztArrayMethods *>(klass->methodTable)->clone == arrayClone &&
         ztSequenceContainer_table()->clone == ztContainer_table()->clone && hasOwnManagerSetting(klass) &&
         clonesOwnContainers();
}

bool ztcore::destroysOwnArrays(const ztClass *klass) {
  const auto *methods = static_cast<const ztArrayMethods *>(klass->methodTable);
  return methods->destroy == method<arrayDestroy> && methods->empty == method<arrayEmpty> &&
         destroysOwnSequences();
}

bool ztcore::hasOwnSizes(const ztClass *klass) {
  const auto *methods = static_cast<const ztArrayMethods *>(klass->methodTable);
  return methods->getSize == method<arrayGetSize> && methods->getData == method<arrayGetData> &&
         methods->resize == method<arrayResize> && methods->setSize == method<arraySetSize> &&
         methods->empty == method<arrayEmpty>;
}

static void arrayMethods(ztArrayMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, arrayCreate);
  ZT_OVERRIDE_METHOD(methods, clone, arrayClone);
  ZT_OVERRIDE_METHOD(methods, assign, method<arrayAssign>);
  ZT_OVERRIDE_METHOD(methods, destroy, method<arrayDestroy>);
  ZT_OVERRIDE_METHOD(methods, read, method<arrayRead>);
  ZT_OVERRIDE_METHOD(methods, write, method<arrayWrite>);
  ZT_OVERRIDE_METHOD(methods, getSize, method<arrayGetSize>);
  ZT_OVERRIDE_METHOD(methods, pushBack, method<arrayPushBack>);
  ZT_OVERRIDE_METHOD(methods, pushBackUnique, method<arrayPushBackUnique>);
  ZT_OVERRIDE_METHOD(methods, removeAt, method<arrayRemoveAt>);
  ZT_OVERRIDE_METHOD(methods, getAt, method<arrayGetAt>);
  ZT_OVERRIDE_METHOD(methods, setAt, method<arraySetAt>);
  ZT_OVERRIDE_METHOD(methods, empty, method<arrayEmpty>);
  ZT_OVERRIDE_METHOD(methods, setSize, method<arraySetSize>);
  ZT_OVERRIDE_METHOD(methods, resize, method<arrayResize>);
  ZT_OVERRIDE_METHOD(methods, getFront, method<arrayGetFront>);
  ZT_OVERRIDE_METHOD(methods, getBack, method<arrayGetBack>);
  ZT_OVERRIDE_METHOD(methods, getData, method<arrayGetData>);
  ZT_OVERRIDE_METHOD(methods, isEmpty, method<arrayIsEmpty>);
  ZT_OVERRIDE_METHOD(methods, sort, method<arraySort>);
  ZT_OVERRIDE_METHOD(methods, search, method<arraySearch>);
  ZT_OVERRIDE_METHOD(methods, find, method<arrayFind>);
}

ZT_DEFINE_CLASS(ztArray, ztSequenceContainer, arrayMethods)
