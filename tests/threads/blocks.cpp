#include "tests/threads/blocks.hh"

#include "core/ztmem.h"

#include <stdlib.h>

std::atomic<int> liveBlocks;

// In no order with anything else: the count must not hide races by having threads wait for each other.
static void change(int blocks) {
  liveBlocks.fetch_add(blocks, std::memory_order_relaxed);
}

void *ztm_alloc(int32_t size) {
  if (size < 0) return nullptr;
  change(1);
  return malloc(static_cast<size_t>(size));
}

void *ztm_realloc(void *block, int32_t size) {
  if (size < 0) return nullptr;
  if (block == nullptr) change(1);
  return realloc(block, static_cast<size_t>(size));
}

void ztm_free(void *block) {
  if (block == nullptr) return;
  change(-1);
  free(block);
}
