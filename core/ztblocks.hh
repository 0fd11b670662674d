// The table of the library's live blocks, for programs that are asked what lives and who made it. Nothing is recorded
// unless the environment asks for it (core/zttrack.hh).
#ifndef ZT_CORE_ZTBLOCKS_HH
#define ZT_CORE_ZTBLOCKS_HH

#include "core/ztsite.hh"

namespace ztcore {

struct TrackedClass;

// A block may be read with blocksLock held, by `readMemory`.
struct TrackedBlock {
  TrackedBlock *older;
  TrackedBlock *newer;
  char *address;
  size_t size;
  uint64_t serial;    // in the order of allocation, from 1 on
  const Site *site;   // NULL when memory is exhausted
  const char *maker;  // a mark of the thread
  bool isHidden;      // the library's own: prototypes of classes, what it makes while it is loaded

  // For the listener.
  const TrackedClass *told;  // that of a line that was printed; NULL for none
  TrackedBlock *nextYoung;
  int32_t age;
};

// What is told about blocks, with blocksLock held.
struct BlockListener {
  void (*made)(TrackedBlock *block);
  void (*ended)(TrackedBlock *block);
  // The record is about to be released: after `ended`, or because memory is exhausted.
  void (*forgotten)(TrackedBlock *block);
};

extern bool tracksBlocks;

// Begins to record the blocks that are made from now on. Called once, while the library is loaded. The blocks of this
// call and of the loading are hidden until `showBlocks`.
void trackBlocks(const BlockListener &listener);
void showBlocks();
bool hidesBlocks();

// Blocks that this thread makes during a scope are not recorded: those of a report, which another one would report.
class Unrecorded {
 public:
  Unrecorded();
  ~Unrecorded();
  Unrecorded(const Unrecorded &) = delete;
  Unrecorded &operator=(const Unrecorded &) = delete;
};

// The newest block; NULL for none. With blocksLock held.
const TrackedBlock *newestBlock();

// The block that begins at an address; NULL for none. With blocksLock held.
TrackedBlock *blockAt(const void *address);

// The block around an address; NULL for none. Looks at all blocks, with blocksLock held.
const TrackedBlock *blockAround(const void *address);

// Copies memory of this process. False when it is not there: the host may free a block past the library.
bool readMemory(void *to, const void *from, size_t size);

// The number of blocks that could not be recorded.
uint32_t lostBlocks();

// Stops recording, and frees the records.
void releaseBlocks();

}  // namespace ztcore

#endif
