// The block of an array and the objects in it.
#ifndef ZT_CONTAINERS_ZTARRAY_HH
#define ZT_CONTAINERS_ZTARRAY_HH

#include "containers/ztarray.h"
#include "containers/ztuse.hh"

namespace ztcore {

// Place i is at data + i * elementSize. But pointers are read at data + i * pointerStride, so the block is
// larger if the element size is different, and the bytes outside the places are zero.
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

// Accepts any index, also outside the block or without a block.
inline char *placeAt(const ztArray &array, int64_t index) {
  const int64_t offset = index * array.elementSize;
  return reinterpret_cast<char *>(reinterpret_cast<intptr_t>(array.data) + offset);
}

// The block, ztarray.cpp --------------------------------------------------------------------------

// The size of a block for `count` elements, at least 1; -1 when it is impossible.
int32_t blockSize(const ztArray &array, int64_t count);

// Zeroes a block behind its first places.
void clearBehind(const ztArray &array, void *block, int32_t places, int32_t size);

// A block for `count` elements, zero from the given place on.
void *newBlock(const ztArray &array, int32_t count, int32_t clearFrom);

// Frees a block that the array no longer has, or leaves that to a call under way that still reads it.
void releaseBlock(const ztArray &array, void *block);

// Replaces the array's block and releases the old one.
void installBlock(ztArray &array, void *block, int32_t count);

// Resizes the block and keeps its elements; false on failure.
bool resizeBlock(ztArray &array, int64_t count);

// Moves the elements to a new block if a call uses the old one. False, with nothing changed, on failure.
bool ownBlock(ztArray &array);

// The offset of an address in the block, or -1.
int64_t offsetInBlock(const ztArray &array, const void *address);

// An element in the array moves with the block; its offset tells the new address.
inline const void *afterMove(const ztArray &array, const void *element, int64_t offsetBefore) {
  return offsetBefore < 0 ? element : static_cast<const char *>(array.data) + offsetBefore;
}

void arrayEmpty(ztArray &array);

// A call that reads the array's block after a host's code has run. If that code changes the array, it changes a
// new block, and the old one stays until the call ends.
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
  // Ends the use. Frees the block if the array has another one now.
  void end() {
    use.end();
  }

 private:
  const ztArray &array;
  void *block;
  ContainerUse use;
};

// Objects in the block, ztarrayobjects.cpp --------------------------------------------------------

// Whether an object of the constructor fits into a place of that size.
bool constructorFits(ztCtor constructor, int32_t size);

void destroyObject(void *place);

// Destroying the objects may destroy their former array.
void destroyObjects(void *block, int32_t count, int32_t stride);

// Fills a block with copies of all objects. False, with an empty block, if a copy fails or the array changes.
bool copyAllObjects(const ztArray &array, void *block);

// Replaces the array's block, then destroys `ended` of its former objects, from `first` on.
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
