#include "core/ztcheck.hh"

#include <stdlib.h>
#include <string.h>

using namespace ztcore;

bool ztcore::checksThreads;
bool ztcore::watchesEmissions;
void (*ztcore::releaseCheck)(void *object);

static bool listContains(const char *list, const char *word) {
  const size_t length = strlen(word);
  for (;;) {
    const size_t found = strcspn(list, ",");
    if (found == length && memcmp(list, word, length) == 0) return true;
    if (list[found] == '\0') return false;
    list += found + 1;
  }
}

void ztcore::readChecks() {
  const char *wanted = getenv("ZENTOVA_CHECK");
  checksThreads = wanted != nullptr && listContains(wanted, "thread");
  watchesEmissions = checksThreads;
}
