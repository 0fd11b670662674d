/* Preloaded, it stands in for the memory functions of the library, and says at the end how often it was called. */
#include "core/ztmem.h"

#include <stdio.h>
#include <stdlib.h>

static int allocated;
static int resized;
static int freed;

void *ztm_alloc(int32_t size) {
  ++allocated;
  return malloc((size_t)size);
}

void *ztm_realloc(void *block, int32_t size) {
  ++resized;
  return realloc(block, (size_t)size);
}

void ztm_free(void *block) {
  freed += block != NULL;
  free(block);
}

__attribute__((destructor)) static void tell(void) {
  printf("replaced:%s%s%s\n", allocated > 0 ? " alloc" : "", resized > 0 ? " realloc" : "",
         freed > 0 ? " free" : "");
}
