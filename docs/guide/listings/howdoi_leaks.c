// begin leaks
#define ZT_TRACK_MEMORY /* or -DZT_TRACK_MEMORY; before the library's header */
#include <zentova.h>

#include <assert.h>

int main(void) {
  char *text = ztm_alloc(100);
  ztMemStatus status;
  ztm_getmemstatus(&status);
  assert(status.blocks == 1 && status.bytes == 100); /* and status.first has file and line */
  ztm_free(text);
  ztm_dumpblocks(); /* writes each block that is left to the log */
  return 0;
}
// end leaks
