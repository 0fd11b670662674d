#include "core/ztthread.hh"

#include "core/ztlock.hh"
#include "core/ztmem.hh"
#include "core/ztrelease.hh"

#include <pthread.h>
#include <string.h>

using namespace ztcore;

// The block of the first thread, so that a program with one thread allocates none.
static ThreadBlock firstBlock;
static bool firstBlockTaken;

// Used by threads that could not allocate a block.
static ThreadBlock sharedBlock;

static ThreadBlock *blocks;
static pthread_key_t endOfThread;
static bool hasKey;

static void releaseContents(ThreadBlock *block) {
  releasePart(block->scratchString);
  if (block->uses.release != nullptr) block->uses.release(&block->uses);
}

// After its contents, whose release uses the calls of this thread.
static void releaseBlock(ThreadBlock *block) {
  if (block->calls != nullptr) block->releaseCalls(block->calls);
  if (block == &firstBlock) {
    firstBlockTaken = false;
  } else {
    ztm_free(block);
  }
}

static void unlink(const ThreadBlock *block) {
  ThreadBlock **at = &blocks;
  while (*at != nullptr && *at != block) at = &(*at)->next;
  if (*at != nullptr) *at = block->next;
}

// Runs when a thread ends.
static void endThread(void *block) {
  releaseContents(static_cast<ThreadBlock *>(block));
  const Locked locked(threadsLock);
  unlink(static_cast<ThreadBlock *>(block));
  releaseBlock(static_cast<ThreadBlock *>(block));
  thisThread.block = nullptr;
}

static ThreadBlock *takeBlock() {
  if (firstBlockTaken) return static_cast<ThreadBlock *>(hidden(ztm_alloc(sizeof(ThreadBlock))));
  firstBlockTaken = true;
  return &firstBlock;
}

ThreadBlock *ztcore::makeThreadBlock() {
  const Locked locked(threadsLock);
  ThreadBlock *block = takeBlock();
  if (block == nullptr) return &sharedBlock;
  memset(block, 0, sizeof *block);
  if (!hasKey) hasKey = pthread_key_create(&endOfThread, endThread) == 0;
  if (hasKey) pthread_setspecific(endOfThread, block);
  block->next = blocks;
  blocks = block;
  thisThread.block = block;
  return block;
}

void ztcore::releaseScratchString() {
  if (thisThread.block != nullptr) releasePart(thisThread.block->scratchString);
}

uint32_t ztcore::numberOfThread() {
  static uint32_t numbered;
  if (thisThread.number == 0) thisThread.number = __atomic_add_fetch(&numbered, 1, __ATOMIC_RELAXED);
  return thisThread.number;
}

void ztcore::releaseThreads() {
  const Locked locked(threadsLock);
  for (ThreadBlock *block = blocks; block != nullptr; block = block->next) releaseContents(block);
  releaseContents(&sharedBlock);
  while (ThreadBlock *block = blocks) {
    blocks = block->next;
    releaseBlock(block);
  }
  thisThread.block = nullptr;
  // Last, because a release may have made a block for this thread.
  if (hasKey) pthread_key_delete(endOfThread);
  hasKey = false;
}
