// Loading and unloading the library.
#include "bench/instructions/operations.hh"

#include <dlfcn.h>

namespace {

constexpr int loadRounds = 8;

void stop(const char *reason) {
  fprintf(stderr, "%s\n", reason);
  exit(1);
}

void loadAndUnload(const char *name) {
  void *library = dlopen(name, RTLD_NOW);
  if (library == nullptr) stop(dlerror());
  dlclose(library);
}

void expectUnloaded(const char *name) {
  if (dlopen(name, RTLD_NOW | RTLD_NOLOAD) != nullptr) stop("a library stays loaded");
}

// The more often the library is loaded, the less often is the empty one, so that a further round takes what ours
// takes above it.
void loadAboveEmpty(int rounds) {
  for (int i = 0; i < rounds; ++i) loadAndUnload(ZT_LIBRARY);
  expectUnloaded(ZT_LIBRARY);
  for (int i = rounds; i < 2 * loadRounds; ++i) loadAndUnload(ZT_EMPTY_LIBRARY);
  expectUnloaded(ZT_EMPTY_LIBRARY);
}

const Operation operations[] = {
    {"load and unload, above an empty library", loadAboveEmpty, 1, loadRounds},
};

}  // namespace

int main(int argc, char **argv) {
  return runOperations(operations, argc, argv);
}
