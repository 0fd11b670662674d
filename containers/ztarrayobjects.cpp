#include "containers/ztarray.hh"
#include "containers/ztdetached.hh"
#include "core/ztbasec.hh"
#include "core/ztmem.h"

#include <string.h>

using namespace ztcore;

// Objects in the block ----------------------------------------------------------------------------
//
// The methods of objects may call the array. It then has all objects that were constructed and not yet
// destroyed; an object that is being cloned, assigned, read or destroyed is not in the array.

static void *copyIntoPlace(void *place, const void *source) {
  memcpy(place, source, sizeof(ztBaseClass));  // gives the size of the new object
  return cloneOnto(source, place);
}

void ztcore::destroyObject(void *place) {
  ztBaseClass_of(place)->destroy(place);
}

void ztcore::destroyObjects(void *block, int32_t count, int32_t stride) {
  char *place = static_cast<char *>(block);
  for (int32_t i = 0; i < count; ++i, place += stride) destroyObject(place);
}

// Copies the first objects into a block. False, with an empty block, if a copy fails or the array changes.
static bool copyObjects(const BlockUse &use, const ztArray &array, void *block, int32_t count) {
  const int32_t stride = array.elementSize;
  const char *source = placeAt(array, 0);
  char *place = static_cast<char *>(block);
  for (int32_t i = 0; i < count; ++i, place += stride, source += stride) {
    const bool isCopied = copyIntoPlace(place, source) != nullptr;
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

// A header is enough to get the size: without `create` a constructor writes only that.
bool ztcore::constructorFits(ztCtor constructor, int32_t size) {
  if (size < static_cast<int32_t>(sizeof(ztBaseClass))) return false;
  ztBaseClass header;
  constructor(&header, 0);
  return header.klass->instanceSize <= size;
}

static void constructObjects(ztCtor constructor, void *block, int32_t from, int32_t count, int32_t stride) {
  char *place = static_cast<char *>(block) + static_cast<int64_t>(from) * stride;
  for (int32_t i = from; i < count; ++i, place += stride) constructor(place, 1);
}

// The array no longer has the objects when the first one is destroyed.
void ztcore::replaceObjects(ztArray &array, void *block, int32_t count, int32_t first, int32_t ended) {
  const BlockUse use(array);
  void *former = array.data;
  char *place = placeAt(array, first);
  array.data = block;
  array.count = count;
  const bool isLeft = leavePart(&array, former);
  destroyObjects(place, ended, array.elementSize);
  if (!isLeft) ztm_free(former);
}

// Adding and replacing ----------------------------------------------------------------------------

namespace {

// The place behind the array's last element, for an object that is not in the array yet. The block is large
// enough for it, and no call uses the block.
class OpenPlace {
 public:
  ZT_IN_CALLERS_FRAME explicit OpenPlace(ztArray &opened)
      : array(opened),
        constructor(opened.elementConstructor),
        stride(opened.elementSize),
        address(placeAt(opened, opened.count)),
        use(opened) {}

  char *place() const {
    return address;
  }
  // Gives up a place without an object. True if the array still has the block.
  bool leave() {
    const bool current = use.isCurrent();
    use.end();
    return current;
  }
  // Makes the object the array's last element, and returns its place. If the array is gone, holds other
  // elements now, or lacks memory, destroys the object and returns NULL.
  char *add() {
    if (use.isCurrent()) {
      use.end();
      ++array.count;
      return address;
    }
    const bool fits = !use.ended() && array.elementConstructor == constructor && array.elementSize == stride;
    if (!fits || !resizeBlock(array, int64_t{array.count} + 1)) {
      destroyObject(address);
      use.end();
      return nullptr;
    }
    char *last = placeAt(array, array.count++);
    memcpy(last, address, static_cast<size_t>(stride));
    use.end();
    return last;
  }

 private:
  ztArray &array;
  ztCtor constructor;
  int32_t stride;
  char *address;
  BlockUse use;
};

}  // namespace

// The larger block stays when memory is exhausted.
static void shrinkBlock(ztArray &array) {
  if (array.count == 0) {
    installBlock(array, nullptr, 0);
  } else {
    resizeBlock(array, array.count);
  }
}

// Places have one size, so an object of a larger class is refused.
static bool accepts(const ztArray &array, const void *element) {
  return element != nullptr && ztOOP_classOf(element)->instanceSize <= array.elementSize;
}

void *ztcore::pushObject(ztArray &array, const void *element) {
  if (!accepts(array, element)) return nullptr;
  const int64_t own = offsetInBlock(array, element);
  if (!resizeBlock(array, int64_t{array.count} + 1)) return nullptr;
  OpenPlace open(array);
  void *copy = copyIntoPlace(open.place(), afterMove(array, element, own));
  if (copy == nullptr) {
    if (open.leave()) shrinkBlock(array);
    return nullptr;
  }
  const bool isInPlace = copy == open.place();
  void *place = open.add();
  return isInPlace || place == nullptr ? place : copy;
}

// Prepares the removal of the array's block: destroys what abandoned calls have out of it. False when memory is
// exhausted or the array no longer has the index.
static bool prepareDetaching(ztArray &array, int32_t index) {
  const ContainerUse use(&array);
  while (!use.ended() && endObjectsLeft(&array)) continue;
  return !use.ended() && hasIndex(array, index) && ownBlock(array);
}

void *ztcore::setObject(ztArray &array, const void *element, int32_t index) {
  if (!accepts(array, element)) return nullptr;
  if (element == placeAt(array, index)) return placeAt(array, index);
  const int64_t own = offsetInBlock(array, element);
  if (!prepareDetaching(array, index)) return nullptr;
  element = afterMove(array, element, own);
  DetachedBlock detached(array);
  if (!detached.isOut()) return nullptr;
  char *place = detached.open(index);
  destroyObject(place);
  if (detached.ended()) return nullptr;
  void *copy = copyIntoPlace(place, element);
  bool isWhole = copy != nullptr;
  if (!isWhole && !detached.ended()) {
    detached.refill(index);
    isWhole = true;
  }
  if (isWhole) detached.close(index);
  if (!detached.putBack()) return nullptr;
  return copy == place ? placeAt(array, index) : copy;
}

// Sizes -------------------------------------------------------------------------------------------

// The array gets the new objects when all of them are made.
int32_t ztcore::setSizeObjects(ztArray &array, int32_t count) {
  if (!constructorFits(array.elementConstructor, array.elementSize)) return 0;
  void *block = newBlock(array, count, 0);
  if (block == nullptr) return 0;
  const ContainerUse use(&array);
  const ztCtor constructor = array.elementConstructor;
  const int32_t stride = array.elementSize;
  ztArray_of(&array)->empty(&array);
  constructObjects(constructor, block, 0, count, stride);
  // Discards what objects added while they were destroyed or made.
  while (!use.ended() && array.data != nullptr) arrayEmpty(array);
  if (!use.ended() && array.elementConstructor == constructor && array.elementSize == stride) {
    installBlock(array, block, count);
    return 1;
  }
  destroyObjects(block, count, stride);
  ztm_free(block);
  return 0;
}

// Fills a block with copies of the array's first objects, then new objects. False, with an empty block, when
// that fails or the array was changed meanwhile.
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

// Assigns one object of the source to the object in the same place of the array.
static void assignObject(DetachedBlock &target, const ztArray &source, int32_t index, bool isSame) {
  char *place = target.open(index);
  if (isSame) {
    assignCommon(place, place);
  } else {
    const BlockUse use(source);
    assignCommon(place, placeAt(source, index));
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
