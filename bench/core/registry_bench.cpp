// Finding classes by name, with few and with many classes registered.
#include "core/ztbasec.h"
#include "core/ztcore.h"
#include "core/ztmem.h"

#include <benchmark/benchmark.h>
#include <stdio.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {

constexpr int32_t mostClasses = 10000;

// Classes as a host has them: ztBaseClass under other names.
struct HostClass {
  ztClass klass;
  char name[32];
};

// Plain data, since the registry looks at the classes until the process ends.
HostClass hosts[mostClasses];

int32_t libraryClassCount() {
  int32_t count = 0;
  for (const ztClassEntry *entry = ztOOP_classList(); entry != nullptr; entry = entry->next) ++count;
  return count;
}

void addHostClass(HostClass &host, int32_t number) {
  void *prototype = ztBaseClass_ctor(nullptr, 0);
  snprintf(host.name, sizeof host.name, "ztHostClass%d", number);
  host.klass = *ztBaseClassClass_Instance();
  host.klass.parent = ztBaseClassClass_Instance();
  host.klass.name = host.name;
  static_cast<ztBaseClass *>(prototype)->klass = &host.klass;
  ztAddNewClass(prototype, host.name, ztBaseClass_ctor, nullptr);
}

// Registers or frees host classes until that many classes are registered.
void setClassCount(int32_t wanted) {
  static int32_t count = libraryClassCount();
  for (; count < wanted; ++count) addHostClass(hosts[count], count);
  while (count > wanted) ztFreeClass(hosts[--count].name);
}

// Some of the names, in an order that no cache foresees.
std::vector<const char *> shuffledNames(int64_t count) {
  std::vector<const char *> names;
  for (const ztClassEntry *entry = ztOOP_classList(); entry != nullptr; entry = entry->next) {
    names.push_back(entry->name);
  }
  std::shuffle(names.begin(), names.end(), std::mt19937(1));
  names.resize(static_cast<size_t>(count));
  return names;
}

template <typename Operation>
void forEachName(benchmark::State &state, Operation operation) {
  setClassCount(static_cast<int32_t>(state.range(0)));
  const std::vector<const char *> names = shuffledNames(state.range(1));
  size_t next = 0;
  for ([[maybe_unused]] auto turn : state) {
    operation(names[next]);
    if (++next == names.size()) next = 0;
  }
}

void isClassRegistered(benchmark::State &state) {
  forEachName(state, [](const char *name) { benchmark::DoNotOptimize(ztOOP_isClassRegistered(name)); });
}

void findClass(benchmark::State &state) {
  forEachName(state, [](const char *name) { benchmark::DoNotOptimize(ztOOP_findClass(name)); });
}

void newFromName(benchmark::State &state) {
  forEachName(state, [](const char *name) {
    void *object = ztNewFromName(name);
    ztBaseClass_of(object)->unRef(object);
  });
}

}  // namespace

// A program uses a few classes of those it registers, so the first three tell how the search grows; the
// last one uses all, and pays for memory that no cache holds.
#define ZT_BENCH_OVER_CLASS_COUNTS(operation, title) \
  BENCHMARK(operation)                               \
      ->Name(title "/zentova")                       \
      ->ArgNames({"registered", "used"})             \
      ->Args({62, 62})                               \
      ->Args({1000, 62})                             \
      ->Args({mostClasses, 62})                      \
      ->Args({mostClasses, mostClasses})

ZT_BENCH_OVER_CLASS_COUNTS(isClassRegistered, "is a class registered");
ZT_BENCH_OVER_CLASS_COUNTS(findClass, "find a class");
ZT_BENCH_OVER_CLASS_COUNTS(newFromName, "create by name and release");
