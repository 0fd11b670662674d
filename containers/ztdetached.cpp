#include "containers/ztdetached.hh"

#include "core/ztmem.h"

#include <string.h>

using namespace ztcore;

// Enlarges the block behind the objects; false when memory is exhausted.
bool DetachedBlock::grow(int32_t added) {
  Use *record = use.record();
  const int32_t size = blockSize(array, int64_t{record->count} + added);
  void *grown = size < 0 ? nullptr : ztm_realloc(block, size);
  if (grown == nullptr) return false;
  block = static_cast<char *>(grown);
  record->part = grown;
  return true;
}

// Constructs new objects behind the others; false when memory is exhausted or the array is gone.
bool DetachedBlock::add(int32_t added) {
  if (!grow(added)) return false;
  for (int32_t i = 0; i < added && !use.ended(); ++i) {
    const int32_t index = use.record()->count++;
    constructor(open(index), 1);
    close(index);
  }
  return !use.ended();
}

// Moves elements that the array got meanwhile behind the objects; false when memory is exhausted.
bool DetachedBlock::append() {
  if (!grow(array.count)) return false;
  Use *record = use.record();
  memcpy(placeOf(record->count), array.data, static_cast<size_t>(array.count) * static_cast<size_t>(stride));
  record->count += array.count;
  return true;
}

// Returns the block to the array, with the elements that it got meanwhile behind the objects. If that fails,
// the new elements are destroyed; if the array has other elements now, the objects are. False in this case.
bool DetachedBlock::putBack() {
  const bool fits = !use.ended() && use.record()->kind == PartKind::objects &&
                    array.elementConstructor == constructor && array.elementSize == stride;
  if (!fits) {
    while (!use.ended() && endObjects(&array)) continue;
    use.end();
    return false;
  }
  void *meanwhile = array.data;
  const int32_t added = array.count;
  const bool isAppended = meanwhile == nullptr || append();
  const Use held = *use.record();
  use.record()->kind = PartKind::borrowed;
  array.data = held.part;
  array.count = held.count;
  if (isAppended) {
    releaseBlock(array, meanwhile);
    return true;
  }
  destroyObjects(meanwhile, added, stride);
  releaseBlock(array, meanwhile);
  return !use.ended();
}
