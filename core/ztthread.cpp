#include "core/ztthread.hh"

#include "core/ztbasec.h"
#include "core/ztlock.hh"
#include "core/ztmem.h"

#include <pthread.h>
#include <string.h>

constinit thread_local ztThread ztThisThread __attribute__((tls_model("initial-exec")));

// The first thread's, so that a program of one thread needs no memory for it.
static ztThreadBlock firstBlock;
static bool firstBlockTaken;

// In place of a block for which there was no memory.
static ztThreadBlock sharedBlock;

static ztThreadBlock *blocks;  // those that threads have
static pthread_key_t endOfThread;
static bool hasKey;

static void releaseContents(ztThreadBlock *block) {
  void *string = block->scratchString;
  block->scratchString = nullptr;
  if (string != nullptr) ztBaseClass_of(string)->unRef(string);
  if (block->uses.records != block->uses.first) ztm_free(block->uses.records);
  block->uses.records = nullptr;
  block->uses.count = block->uses.capacity = 0;
}

static void releaseBlock(ztThreadBlock *block) {
  releaseContents(block);
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

void ztReleaseThreads() {
  const ztLocked locked(ztThreadsLock);
  if (hasKey) pthread_key_delete(endOfThread);
  hasKey = false;
  while (ztThreadBlock *block = blocks) {
    blocks = block->next;
    releaseBlock(block);
  }
  releaseContents(&sharedBlock);
  ztThisThread.block = nullptr;
}
