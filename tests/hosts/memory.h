/* Memory functions of a host's own, which stand in front of the library's. */
#ifndef ZT_TESTS_HOSTS_MEMORY_H
#define ZT_TESTS_HOSTS_MEMORY_H

#include "core/ztmem.h"

#include <stdlib.h>

/* All blocks after so many are refused; -1 while none is. */
static int blocksLeft = -1;
static int liveBlocks;

void *ztm_alloc(int32_t size) {
  if (blocksLeft == 0) return NULL;
  if (blocksLeft > 0) --blocksLeft;
  ++liveBlocks;
  return malloc((size_t)size);
}

void *ztm_realloc(void *block, int32_t size) {
  if (blocksLeft == 0) return NULL;
  if (block == NULL) ++liveBlocks;
  return realloc(block, (size_t)size);
}

void ztm_free(void *block) {
  if (block != NULL) --liveBlocks;
  free(block);
}

#endif
