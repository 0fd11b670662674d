#include "core/ztthread.hh"

#include "core/ztbasec.h"
#include "core/ztlock.hh"
#include "core/ztmem.h"

#include <pthread.h>
#include <string.h>

// The first thread's, so that a program of one thread needs no memory for it.
static ztThreadBlock firstBlock;
static bool firstBlockTaken;

// In place of a block for which there was no memory.
static ztThreadBlock sharedBlock;

static ztThreadBlock *blocks;  // those that threads have
static pthread_key_t endOfThread;
static bool hasKey;

static void releaseScratchString(ztThreadBlock *block) {
  void *string = block->scratchString;
  block->scratchString = nullptr;
  if (string != nullptr) ztBaseClass_of(string)->unRef(string);
}

static void releaseContents(ztThreadBlock *block) {
  releaseScratchString(block);
  if (block->uses.release != nullptr) block->uses.release(&block->uses);
}

// After its contents, which are released with the calls of the thread that does it.
static void releaseBlock(ztThreadBlock *block) {
  if (block->calls != nullptr) block->releaseCalls(block->calls);
  if (block == &firstBlock) {
    firstBlockTaken = false;
  } else {
    ztm_free(block);
  }
}

static void unlink(const ztThreadBlock *block) {
  ztThreadBlock **at = &blocks;
  while (*at != nullptr && *at != block) at = &(*at)->next;
  if (*at != nullptr) *at = block->next;
}

// Runs at the end of a thread.
static void endThread(void *block) {
  releaseContents(static_cast<ztThreadBlock *>(block));
  const ztLocked locked(ztThreadsLock);
  unlink(static_cast<ztThreadBlock *>(block));
  releaseBlock(static_cast<ztThreadBlock *>(block));
  ztThisThread.block = nullptr;
}

static ztThreadBlock *takeBlock() {
  if (firstBlockTaken) return static_cast<ztThreadBlock *>(ztm_alloc(sizeof(ztThreadBlock)));
  firstBlockTaken = true;
  return &firstBlock;
}

ztThreadBlock *ztMakeThreadBlock() {
  const ztLocked locked(ztThreadsLock);
  ztThreadBlock *block = takeBlock();
  if (block == nullptr) return &sharedBlock;
  memset(block, 0, sizeof *block);
  if (!hasKey) hasKey = pthread_key_create(&endOfThread, endThread) == 0;
  if (hasKey) pthread_setspecific(endOfThread, block);
  block->next = blocks;
  blocks = block;
  ztThisThread.block = block;
  return block;
}

void ztReleaseScratchString() {
  if (ztThisThread.block != nullptr) releaseScratchString(ztThisThread.block);
}

uint32_t ztNumberOfThread() {
  static uint32_t numbered;
  if (ztThisThread.number == 0) ztThisThread.number = __atomic_add_fetch(&numbered, 1, __ATOMIC_RELAXED);
  return ztThisThread.number;
}

void ztReleaseThreads() {
  const ztLocked locked(ztThreadsLock);
  for (ztThreadBlock *block = blocks; block != nullptr; block = block->next) releaseContents(block);
  releaseContents(&sharedBlock);
  while (ztThreadBlock *block = blocks) {
    blocks = block->next;
    releaseBlock(block);
  }
  ztThisThread.block = nullptr;
  // Last, since a release may have made a block for this thread.
  if (hasKey) pthread_key_delete(endOfThread);
  hasKey = false;
}
