// Loading and unloading the library: both hooks, with the registration of every class.
#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

namespace {

// Sends standard output away while it lives: the hooks write their log there.
class SilentOutput {
 public:
  SilentOutput() : kept(dup(STDOUT_FILENO)) {
    const int nowhere = open("/dev/null", O_WRONLY);
    turnTo(nowhere);
  }
  ~SilentOutput() {
    turnTo(kept);
  }
  SilentOutput(const SilentOutput &) = delete;
  SilentOutput &operator=(const SilentOutput &) = delete;

 private:
  static void turnTo(int target) {
    fflush(stdout);
    dup2(target, STDOUT_FILENO);
    close(target);
  }

  int kept;
};

}  // namespace

static void loadAndUnload(benchmark::State &state) {
  const SilentOutput silent;
  for ([[maybe_unused]] auto turn : state) {
    void *library = dlopen(ZT_LIBRARY, RTLD_NOW);
    if (library == nullptr) return state.SkipWithError(dlerror());
    dlclose(library);
    if (dlopen(ZT_LIBRARY, RTLD_NOW | RTLD_NOLOAD) != nullptr) {
      return state.SkipWithError("the library stays loaded");
    }
  }
}
BENCHMARK(loadAndUnload)->Name("load and unload/zentova")->Unit(benchmark::kMicrosecond);
