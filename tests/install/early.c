/* A host that uses the engine before main, until exit, and with a memory function of its own. */
#include <zentova.h>

#include <stdio.h>
#include <stdlib.h>

static int allocations;

void *ztm_alloc(int32_t size) {
  ++allocations;
  return size > 0 ? malloc((size_t)size) : NULL;
}

static void useEngine(const char *when) {
  ztString *text = ztString_cast(ztNewFromName("ztString"));
  printf("%s %d\n", when, text != NULL);
  if (text != NULL) ztString_of(text)->unRef(text);
}

static void useAtExit(void) {
  useEngine("exit");
}

__attribute__((constructor)) static void useBeforeMain(void) {
  useEngine("early");
}

int main(void) {
  if (atexit(useAtExit) != 0) return 1;
  useEngine("main");
  printf("replaced %d\n", allocations > 0);
  return 0;
}
