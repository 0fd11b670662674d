#include "objects/ztsnapshot.hh"

#include "core/ztbasec.h"
#include "core/ztlock.hh"
#include "core/ztmem.hh"
#include "core/ztnamehash.hh"
#include "core/ztsearch.hh"

#include <stdlib.h>
#include <string.h>

using namespace ztcore;

constexpr uint32_t wordSize = sizeof(uint64_t);

namespace {

struct Numbered {
  uint64_t key;
  int32_t index;
};

}  // namespace

// Copies lie as their blocks do.
static size_t spaceFor(size_t size) {
  constexpr size_t alignment = 16;
  return (size + alignment - 1) / alignment * alignment;
}

// The class of an object at a position in a block; NULL where there is none.
static const TrackedClass *classAt(const SnapshotBlock &block, size_t offset) {
  if (block.size - offset < sizeof(ztBaseClass)) return nullptr;
  const TrackedClass *klass = trackedClassAt(wordAt(block.bytes + offset));
  const bool fits = klass != nullptr && static_cast<size_t>(klass->instanceSize) <= block.size - offset;
  return fits ? klass : nullptr;
}

// The copy ----------------------------------------------------------------------------------------

static int compareAddresses(const void *first, const void *second) {
  const uint64_t one = static_cast<const SnapshotBlock *>(first)->address;
  const uint64_t other = static_cast<const SnapshotBlock *>(second)->address;
  return (one > other) - (one < other);
}

static SnapshotBlock copyOf(const TrackedBlock &block, const char *bytes) {
  SnapshotBlock copy = {};
  copy.address = reinterpret_cast<uintptr_t>(block.address);
  copy.bytes = bytes;
  copy.size = block.size;
  copy.serial = block.serial;
  copy.site = block.site;
  copy.klass = classAt(copy, 0);
  copy.owner = Snapshot::none;
  copy.isHidden = block.isHidden;
  return copy;
}

bool Snapshot::copyBlocks() {
  const Locked locked(blocksLock);
  size_t count = 0;
  size_t bytes = 0;
  for (const TrackedBlock *block = newestBlock(); block != nullptr; block = block->older) {
    ++count;
    bytes += spaceFor(block->size);
  }
  blocks = static_cast<SnapshotBlock *>(memoryFunctions.allocate((count + 1) * sizeof(SnapshotBlock)));
  copy = static_cast<char *>(memoryFunctions.allocate(bytes + 1));
  if (blocks == nullptr || copy == nullptr || count > INT32_MAX / 2) return false;
  char *to = copy;
  // The two allocations may have ended records of blocks that the host freed.
  for (const TrackedBlock *block = newestBlock(); block != nullptr; block = block->older) {
    if (!readMemory(to, block->address, block->size)) continue;
    blocks[blockCount++] = copyOf(*block, to);
    to += spaceFor(block->size);
  }
  qsort(blocks, static_cast<size_t>(blockCount), sizeof(SnapshotBlock), compareAddresses);
  return true;
}

Snapshot::~Snapshot() {
  memoryFunctions.release(blocks);
  memoryFunctions.release(copy);
  memoryFunctions.release(into);
  memoryFunctions.release(ownedBytes);
  memoryFunctions.release(byAge);
}

// What leads where --------------------------------------------------------------------------------

int32_t Snapshot::blockAt(uint64_t address) const {
  const int32_t behind =
      firstNotBefore(0, blockCount, [=, this](int32_t index) { return blocks[index].address <= address; });
  if (behind == 0) return none;
  const SnapshotBlock &block = blocks[behind - 1];
  return address - block.address < block.size ? behind - 1 : none;
}

const void *Snapshot::bytesAt(uint64_t address, size_t size) const {
  const int32_t index = blockAt(address);
  if (index == none) return nullptr;
  const SnapshotBlock &block = blocks[index];
  const size_t offset = address - block.address;
  return block.size - offset < size ? nullptr : block.bytes + offset;
}

// By the same call of the program, or by a method that this call led to.
static bool isMadeWith(const SnapshotBlock &holder, const SnapshotBlock &part) {
  if (holder.site == part.site) return part.site != nullptr;
  return holder.site != nullptr && part.site != nullptr && part.site->isWithin(*holder.site);
}

// Most words are no addresses of blocks.
bool Snapshot::addEdges(int32_t from, uint64_t lowest, uint64_t highest) {
  const SnapshotBlock &block = blocks[from];
  for (uint64_t offset = 0; offset + wordSize <= block.size; offset += wordSize) {
    const uint64_t word = wordAt(block.bytes + offset);
    if (word < lowest || word > highest || word % wordSize != 0) continue;
    const int32_t to = blockAt(word);
    if (to == none || to == from) continue;
    if (!edges.push({word, offset, from, to})) return false;
    blocks[to].isReached = true;
    if (block.isHidden || isMadeWith(block, blocks[to])) blocks[to].isMadeWithIts = true;
  }
  return true;
}

bool Snapshot::findEdges() {
  if (blockCount == 0) return true;
  const SnapshotBlock &last = blocks[blockCount - 1];
  for (int32_t from = 0; from < blockCount; ++from) {
    blocks[from].firstEdge = edges.size();
    if (!addEdges(from, blocks[0].address, last.address + last.size)) return false;
  }
  return true;
}

// Holders -----------------------------------------------------------------------------------------

static int compareNumbered(const void *first, const void *second) {
  const auto *one = static_cast<const Numbered *>(first);
  const auto *other = static_cast<const Numbered *>(second);
  if (one->key != other->key) return one->key > other->key ? 1 : -1;
  return (one->index > other->index) - (one->index < other->index);
}

// The indices from 0 to below `count`, in the order of their keys. NULL when memory is exhausted.
template <typename KeyOf>
static int32_t *sortedBy(int32_t count, KeyOf keyOf) {
  const auto size = static_cast<size_t>(count) + 1;
  auto *sorted = static_cast<int32_t *>(memoryFunctions.allocate(size * sizeof(int32_t)));
  auto *numbered = static_cast<Numbered *>(memoryFunctions.allocate(size * sizeof(Numbered)));
  if (sorted != nullptr && numbered != nullptr) {
    for (int32_t i = 0; i < count; ++i) numbered[i] = {keyOf(i), i};
    qsort(numbered, static_cast<size_t>(count), sizeof(Numbered), compareNumbered);
    for (int32_t i = 0; i < count; ++i) sorted[i] = numbered[i].index;
  } else {
    memoryFunctions.release(sorted);
    sorted = nullptr;
  }
  memoryFunctions.release(numbered);
  return sorted;
}

bool Snapshot::sortEdges() {
  into = sortedBy(edges.size(), [this](int32_t edge) { return edges[edge].target; });
  return into != nullptr;
}

uint64_t Snapshot::endOf(int32_t object) {
  const int32_t block = objects[object].block;
  const bool isLast = object + 1 == objects.size() || objects[object + 1].block != block;
  return isLast ? blocks[block].address + blocks[block].size : objects[object + 1].address;
}

int32_t Snapshot::firstInto(uint64_t address) {
  return firstNotBefore(0, edges.size(),
                        [=, this](int32_t place) { return edges[into[place]].target < address; });
}

// An array is older than its block; what leads to the block's first object only is mostly younger.
int32_t Snapshot::findKeeper(int32_t block) {
  const uint64_t start = blocks[block].address;
  int32_t found = none;
  uint64_t age = blocks[block].serial;
  for (int32_t i = firstInto(start); i < edges.size() && edges[into[i]].target == start; ++i) {
    const SnapshotBlock &from = blocks[edges[into[i]].from];
    if (from.isHidden || from.serial >= age) continue;
    found = into[i];
    age = from.serial;
  }
  return found;
}

int32_t Snapshot::keeperOf(int32_t block) {
  if (keeper.block != block) keeper = {block, findKeeper(block)};
  return keeper.edge;
}

// Owners ------------------------------------------------------------------------------------------

// A part is memory that is no object, an item of a container, or another object of the library's that was made together
// with what leads to it.
bool Snapshot::isPart(const SnapshotBlock &block) const {
  if (!block.isReached) return false;
  if (block.klass == nullptr || block.klass->isItem) return true;
  return block.klass->isLibrarys && !block.klass->isObject && block.isMadeWithIts;
}

// Everything that is led to from a block and is a part, is its part.
bool Snapshot::spread(int32_t root) {
  blocks[root].owner = root;
  ownedBytes[root] += blocks[root].size;
  if (!queue.push(root)) return false;
  while (queue.size() != 0) {
    const int32_t from = queue.last();
    queue.pop();
    const int32_t end = from + 1 < blockCount ? blocks[from + 1].firstEdge : edges.size();
    for (int32_t i = blocks[from].firstEdge; i < end; ++i) {
      SnapshotBlock &to = blocks[edges[i].to];
      if (to.owner != none || to.isHidden || !isPart(to)) continue;
      to.owner = root;
      to.ownerOffset = from == root ? edges[i].offset : blocks[from].ownerOffset;
      ownedBytes[root] += to.size;
      if (!queue.push(edges[i].to)) return false;
    }
  }
  return true;
}

bool Snapshot::sortByAge() {
  byAge = sortedBy(blockCount, [this](int32_t block) { return blocks[block].serial; });
  return byAge != nullptr;
}

// An older object is asked first: an iterator is younger than what it walks. The library's own blocks come behind all
// that the program knows. At last, parts that lead to each other only.
bool Snapshot::findOwners() {
  const auto size = (static_cast<size_t>(blockCount) + 1) * sizeof(uint64_t);
  ownedBytes = static_cast<uint64_t *>(memoryFunctions.allocate(size));
  if (ownedBytes == nullptr) return false;
  memset(ownedBytes, 0, size);
  for (int32_t i = 0; i < blockCount; ++i) {
    const SnapshotBlock &block = blocks[byAge[i]];
    if (!block.isHidden && !isPart(block) && !spread(byAge[i])) return false;
  }
  for (int32_t i = 0; i < blockCount; ++i) {
    if (blocks[i].isHidden && !spread(i)) return false;
  }
  for (int32_t i = 0; i < blockCount; ++i) {
    if (blocks[byAge[i]].owner == none && !spread(byAge[i])) return false;
  }
  return true;
}

uint64_t Snapshot::bytesOf(int32_t block) const {
  return ownedBytes[block];
}

// Objects -----------------------------------------------------------------------------------------

// Arrays hold objects inside their block; those of the library's own classes are not told apart from its parts.
bool Snapshot::isListed(const TrackedClass &klass, int32_t block, int32_t place) const {
  if (blocks[block].owner != block) return klass.isObject || !klass.isLibrarys;
  return place == 0 || klass.isObject || !klass.isLibrarys;
}

bool Snapshot::addObjects(int32_t index) {
  SnapshotBlock &block = blocks[index];
  block.firstObject = objects.size();
  int32_t place = 0;
  for (size_t offset = 0; offset + sizeof(ztBaseClass) <= block.size; offset += wordSize) {
    const TrackedClass *klass = classAt(block, offset);
    if (klass == nullptr) continue;
    if (isListed(*klass, index, place) && !objects.push({block.address + offset, klass, index, place}))
      return false;
    block.objectCount = objects.size() - block.firstObject;
    ++place;
    // The next object begins behind this one.
    offset += (static_cast<size_t>(klass->instanceSize) - 1) / wordSize * wordSize;
  }
  return true;
}

bool Snapshot::findObjects() {
  const Locked locked(blocksLock);
  for (int32_t i = 0; i < blockCount; ++i) {
    const int32_t owner = blocks[byAge[i]].owner;
    if (!blocks[owner].isHidden && !addObjects(byAge[i])) return false;
  }
  return true;
}

const SnapshotObject *Snapshot::objectAround(int32_t block, uint64_t address) {
  const int32_t first = blocks[block].firstObject;
  const int32_t behind = firstNotBefore(first, first + blocks[block].objectCount, [=, this](int32_t index) {
    return objects[index].address <= address;
  });
  if (behind == first) return nullptr;
  const SnapshotObject &object = objects[behind - 1];
  return address - object.address < static_cast<uint64_t>(object.klass->instanceSize) ? &object : nullptr;
}

const SnapshotObject *Snapshot::objectAt(uint64_t address) {
  const int32_t block = blockAt(address);
  const SnapshotObject *object = block == none ? nullptr : objectAround(block, address);
  return object != nullptr && object->address == address ? object : nullptr;
}

bool Snapshot::take() {
  return copyBlocks() && sortByAge() && findEdges() && sortEdges() && findOwners() && findObjects();
}
