/* A host whose allocations are tracked by a build switch alone. When it asks for the report, it has lost
   one block. */
#include "zentova.h"

#include "tests/hosts/check.h"

typedef struct {
  double x, y;
} Point;

int main(void) {
  void *text = ztm_alloc(100);
  text = ztm_realloc(text, 200);
  ztMemStatus status;
  CHECK(ztm_getmemstatus(&status) == 1 && status.bytes == 200);
  ztm_free(text);
  CHECK(ztm_getmemstatus(&status) == 0 && status.bytes == 0 && status.first == NULL);

  Point *kept = ZTM_NEW(Point);
  Point *leaked = ZTM_NEW(Point);
  ztm_free(kept);

  /* The library's own objects stay out of the report. */
  void *file = ztNewFromName("ztFile");
  ztm_dumpblocks();
  puts("");
  ztBaseClass_of(file)->unRef(file);
  printf("address %X\n", (unsigned)(uintptr_t)leaked);
  ztm_free(leaked);
  return failedChecks != 0;
}
