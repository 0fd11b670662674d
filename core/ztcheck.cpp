#include "core/ztcheck.hh"

#include <stdlib.h>
#include <string.h>

bool ztChecksThreads;
void (*ztCheckRelease)(void *object);

static bool listContains(const char *list, const char *word) {
  const size_t length = strlen(word);
  for (;;) {
    const size_t found = strcspn(list, ",");
    if (found == length && memcmp(list, word, length) == 0) return true;
    if (list[found] == '\0') return false;
    list += found + 1;
  }
}

void ztReadChecks() {
  const char *wanted = getenv("ZENTOVA_CHECK");
  ztChecksThreads = wanted != nullptr && listContains(wanted, "thread");
}
