/* What the argument names: leak reports, from the state of a process that tracked nothing, or plain allocations. */
#include "containers/ztarrays.h"
#include "core/ztlogctrl.h"
#include "core/ztmem.h"
#include "tests/hosts/check.h"

#include <stdlib.h>
#include <string.h>

/* The addresses in the reports differ from run to run: the caller replaces them. */
static void tell(const void *block) {
  printf("address %X\n", (unsigned)(uintptr_t)block);
}

static void oneOfTwo(void) {
  void *first = ztm_dbg_alloc(10, "a.c", 1, "First");
  void *second = ztm_dbg_alloc(20, "b.c", 22, "Second");
  ztm_dbg_free(first, "c.c", 3);
  tell(second);
  ztm_dumpblocks();
  puts("");
  ztm_dumpblocks(); /* which changes nothing */
  puts("");
  ztm_dbg_free(second, "c.c", 4);
}

static void newestFirst(void) {
  void *blocks[3];
  for (int i = 0; i < 3; ++i) blocks[i] = ztm_dbg_alloc(100 * (i + 1), "x.c", i, "Block");
  for (int i = 2; i >= 0; --i) tell(blocks[i]);
  ztm_dumpblocks();
  puts("");
  for (int i = 0; i < 3; ++i) ztm_dbg_free(blocks[i], "x.c", i);
}

static void untracked(void) {
  void *block = ztm_alloc(5);
  tell(block);
  ztm_dbg_free(block, "some%sfile.c", 77);
  ztm_dbg_free(NULL, "d.c", 4);
  ztm_dumpblocks();
  puts("");
}

static void nothing(void) {
  ztm_dumpblocks();
  puts("");
}

static void growingArray(void) {
  ztIntArray *array = ztIntArray_ctor(NULL, 1);
  for (int32_t i = 0; i < 1000; ++i) ztIntArray_of(array)->pushBack(array, &i);
  CHECK(ztIntArray_of(array)->getSize(array) == 1000);
  ztIntArray_of(array)->unRef(array);
}

int main(int argc, char **argv) {
  static const Scenario scenarios[] = {{"one-of-two", oneOfTwo},
                                       {"newest-first", newestFirst},
                                       {"untracked", untracked},
                                       {"nothing", nothing},
                                       {"growing-array", growingArray}};
  return argc == 2 ? RUN(scenarios, argv[1]) : 2;
}
