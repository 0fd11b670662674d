// A picture of the library's live memory: which objects there are, what each is part of, and what leads to it. It is
// made of a copy, so that other threads go on, and calls no method: an object may be in any state. What leads where is
// found by looking at every word: one that happens to look like an address counts as one.
#ifndef ZT_OBJECTS_ZTSNAPSHOT_HH
#define ZT_OBJECTS_ZTSNAPSHOT_HH

#include "core/ztgrowing.hh"
#include "core/zttrack.hh"

#include <stddef.h>
#include <stdint.h>

namespace ztcore {

// A live block. Objects that share a block, or lie in that of an array, live and end with it.
struct SnapshotBlock {
  uint64_t address;
  const char *bytes;  // the copy
  size_t size;
  uint64_t serial;
  const Site *site;           // NULL when unknown
  const TrackedClass *klass;  // of the object at its beginning; NULL for other memory
  int32_t owner;              // the block that this one is part of; itself; or `none`
  uint64_t ownerOffset;       // of the word in the owner that leads here
  int32_t firstEdge;
  int32_t firstObject;
  int32_t objectCount;
  bool isHidden;
  bool isReached;      // some block leads here
  bool isMadeWithIts;  // one of those was made by the same call
};

// An object that the program knows: parts of the library's own making are left out.
struct SnapshotObject {
  uint64_t address;
  const TrackedClass *klass;
  int32_t block;
  int32_t place;  // among the objects of its block, from 0 on
};

// A word that leads from one block to another.
struct SnapshotEdge {
  uint64_t target;  // the word
  uint64_t offset;  // of the word in its block
  int32_t from;
  int32_t to;
};

class Snapshot {
 public:
  static constexpr int32_t none = -1;

  Snapshot() = default;
  ~Snapshot();
  Snapshot(const Snapshot &) = delete;
  Snapshot &operator=(const Snapshot &) = delete;

  // False when memory is exhausted. The caller's blocks are unrecorded.
  bool take();

  int32_t objectCount() const {
    return objects.size();
  }
  const SnapshotObject &object(int32_t index) {
    return objects[index];
  }
  const SnapshotBlock &block(int32_t index) const {
    return blocks[index];
  }
  // The object that begins at an address; NULL for none.
  const SnapshotObject *objectAt(uint64_t address);
  // The object of a block around an address; NULL for none.
  const SnapshotObject *objectAround(int32_t block, uint64_t address);

  // What is at an address of a live block; NULL for any other address.
  const void *bytesAt(uint64_t address, size_t size) const;
  template <typename Value>
  const Value *at(const void *address) const {
    return static_cast<const Value *>(bytesAt(reinterpret_cast<uintptr_t>(address), sizeof(Value)));
  }

  // The bytes of an object's block, with those of its parts.
  uint64_t bytesOf(int32_t block) const;

  // Runs visit(owner, offset) for what leads to an object: the block that holds it, itself or by its parts, and the
  // position of the word. All objects of a block are held by what holds the block for them.
  template <typename Visit>
  void forEachHolder(int32_t index, Visit visit) {
    const SnapshotObject &object = objects[index];
    const SnapshotBlock &block = blocks[object.block];
    if (block.owner != object.block) visit(block.owner, block.ownerOffset);
    if (object.place != 0 && keeperOf(object.block) != none) visitHolder(keeperOf(object.block), visit);
    const uint64_t end = endOf(index);
    for (int32_t i = firstInto(object.place == 0 ? block.address : object.address);
         i < edges.size() && edges[into[i]].target < end; ++i) {
      visitHolder(into[i], visit);
    }
  }

 private:
  bool copyBlocks();
  bool findEdges();
  bool addEdges(int32_t from, uint64_t lowest, uint64_t highest);
  bool sortEdges();
  bool isPart(const SnapshotBlock &block) const;
  bool sortByAge();
  bool spread(int32_t root);
  bool findOwners();
  bool findObjects();
  bool addObjects(int32_t block);
  bool isListed(const TrackedClass &klass, int32_t block, int32_t place) const;
  template <typename Visit>
  void visitHolder(int32_t index, Visit visit) {
    const SnapshotEdge &edge = edges[index];
    const SnapshotBlock &from = blocks[edge.from];
    if (from.owner == none || from.owner == blocks[edge.to].owner) return;
    visit(from.owner, from.owner == edge.from ? edge.offset : from.ownerOffset);
  }
  // Where the next object of the block begins, or the block ends.
  uint64_t endOf(int32_t object);
  // The first place in `into` of an edge to an address or one behind it.
  int32_t firstInto(uint64_t address);
  // The edge from what holds a block for all its objects; `none` when nothing does.
  int32_t keeperOf(int32_t block);
  int32_t findKeeper(int32_t block);
  // The block of an address; `none` for an address outside all blocks.
  int32_t blockAt(uint64_t address) const;

  char *copy = nullptr;
  SnapshotBlock *blocks = nullptr;
  int32_t blockCount = 0;
  GrowingArray<SnapshotEdge> edges;  // in the order of the blocks that they are from
  int32_t *into = nullptr;           // the edges in the order of their targets
  struct {
    int32_t block;
    int32_t edge;
  } keeper = {none, none};  // that was asked for last
  uint64_t *ownedBytes = nullptr;
  int32_t *byAge = nullptr;  // the blocks, the oldest first
  GrowingArray<SnapshotObject> objects;
  GrowingArray<int32_t> queue;
};

}  // namespace ztcore

#endif
