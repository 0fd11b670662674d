#include "core/ztcheck.hh"

#include "core/zttextpart.hh"

#include <stdlib.h>

using namespace ztcore;

bool ztcore::checksThreads;
bool ztcore::watchesEmissions;
void (*ztcore::releaseCheck)(void *object);

void ztcore::readChecks() {
  const char *wanted = getenv("ZENTOVA_CHECK");
  if (wanted == nullptr) return;
  forEachWord(wanted,
              [](const TextPart &word) { checksThreads = checksThreads || word.is(wholeOf("thread")); });
  watchesEmissions = checksThreads;
}
