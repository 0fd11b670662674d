// The inside of an array: its block of elements, and the objects in it.
#ifndef ZT_CONTAINERS_ZTARRAY_HH
#define ZT_CONTAINERS_ZTARRAY_HH

#include "containers/ztarray.h"
#include "containers/ztuse.hh"

namespace ztcore {

// Slot i lies at data + i * elementSize. Pointers, however, are read at data + i * pointerStride, so that
// with an element size other than that the block is larger than its places, and what lies outside them is
// zero.
constexpr int32_t pointerStride = sizeof(void *);

inline bool holdsObjects(const ztArray &array) {
  return array.elementConstructor != nullptr;
}

inline bool holdsPointers(const ztArray &array) {
  return array.elementConstructor == nullptr && array.byPointer != 0;
}

inline bool hasIndex(const ztArray &array, int32_t index) {
  return index >= 0 && index < array.count;
}

// Any index gives an address, also one outside the block, and so does no block.
inline char *placeAt(const ztArray &array, int64_t index) {
  const int64_t offset = index * array.elementSize;
  return reinterpret_cast<char *>(reinterpret_cast<intptr_t>(array.data) + offset);
}

// The block, ztarray.cpp --------------------------------------------------------------------------

// Bytes of a block for so many elements, at least 1; -1 when there can be no such block.
int32_t blockSize(const ztArray &array, int64_t count);

// Zeroes a block, or what it holds behind its first places.
void clearBehind(const ztArray &array, void *block, int32_t places, int32_t size);

// A block for so many elements, zero from the given place on.
void *newBlock(const ztArray &array, int32_t count, int32_t clearFrom);

// Frees a block that the array has given up, unless a call that is under way goes on reading it: that call
// frees it then.
void releaseBlock(const ztArray &array, void *block);

// Gives the array another block in place of its own, which it releases.
void installBlock(ztArray &array, void *block, int32_t count);

// Resizes the block, which keeps its elements; false when it cannot.
bool resizeBlock(ztArray &array, int64_t count);

// Sees to it that the block is in no other use. False, with nothing changed, when there is no memory.
bool ownBlock(ztArray &array);

// Where in the block an address lies, or -1.
int64_t offsetInBlock(const ztArray &array, const void *address);

// An element of the array's own moves with the block, so it is found again by where it lay.
inline const void *afterMove(const ztArray &array, const void *element, int64_t offsetBefore) {
  return offsetBefore < 0 ? element : static_cast<const char *>(array.data) + offsetBefore;
}

// Removes all elements.
void arrayEmpty(ztArray &array);

// A call that goes on reading the array's block after code of a host's. What that code changes is then done
// in a new block, and the old one stays until the call ends.
class BlockUse {
 public:
  ZT_IN_CALLERS_FRAME explicit BlockUse(const ztArray &used)
      : array(used), block(used.data), use(&used, block) {}

  bool ended() const {
    return use.ended();
  }
  // Whether the array still has the block: nothing was added or removed.
  bool isCurrent() const {
    return !use.ended() && array.data == block;
  }
  // Gives the block back. It is freed where the array has another one now.
  void end() {
    use.end();
  }

 private:
  const ztArray &array;
  void *block;
  ContainerUse use;
};

// Objects in the block, ztarrayobjects.cpp --------------------------------------------------------

// Whether a place of that size holds what the constructor makes.
bool constructorFits(ztCtor constructor, int32_t size);

void destroyObject(void *place);

// The array itself may end while its former objects do.
void destroyObjects(void *block, int32_t count, int32_t stride);

// Fills a block with copies of all objects; false, with nothing left there, when one cannot be copied, or when
// the array was changed meanwhile.
bool copyAllObjects(const ztArray &array, void *block);

// Gives the array another block, and then destroys so many of its former objects, from one on.
void replaceObjects(ztArray &array, void *block, int32_t count, int32_t first, int32_t ended);

// The methods of an array of objects.
void *pushObject(ztArray &array, const void *element);
void *setObject(ztArray &array, const void *element, int32_t index);
int32_t setSizeObjects(ztArray &array, int32_t count);
int32_t resizeObjects(ztArray &array, int32_t count);
int32_t assignObjects(ztArray &array, const ztArray &source);

// Files, ztarrayfile.cpp --------------------------------------------------------------------------

int32_t arrayRead(ztArray &array, void *file);
int32_t arrayWrite(const ztArray &array, void *file);

}  // namespace ztcore

#endif
