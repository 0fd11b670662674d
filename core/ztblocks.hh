// The table of the library's live blocks, for programs that are asked what lives and who made it. Nothing is recorded
// unless the environment asks for it (core/zttrack.hh).
#ifndef ZT_CORE_ZTBLOCKS_HH
#define ZT_CORE_ZTBLOCKS_HH

#include "core/ztsite.hh"

namespace ztcore {

// A block may be read with blocksLock held.
struct TrackedBlock {
  TrackedBlock *older;
  TrackedBlock *newer;
  char *address;
  size_t size;
  uint64_t serial;    // in the order of allocation, from 1 on
  const Site *site;   // NULL when memory is exhausted
  const char *maker;  // a mark of the thread
  bool isTold;        // for the listener: a line was printed
  bool isHidden;      // the library's own: prototypes of classes, what it makes while it is loaded
};

// What is told about blocks, with blocksLock held.
struct BlockListener {
  void (*made)(TrackedBlock *block);
  void (*ended)(TrackedBlock *block);
};

extern bool tracksBlocks;

// Begins to record the blocks that are made from now on. Called once, while the library is loaded. The blocks of this
// call and of the loading are hidden until `showBlocks`.
void trackBlocks(const BlockListener &listener);
void showBlocks();
bool hidesBlocks();

// The newest block; NULL for none. With blocksLock held.
const TrackedBlock *newestBlock();

// The number of the block that begins at an address; 0 for none. With blocksLock held.
uint64_t serialOf(const void *address);

// The number of blocks that could not be recorded.
uint32_t lostBlocks();

// Stops recording, and frees the records.
void releaseBlocks();

}  // namespace ztcore

#endif
