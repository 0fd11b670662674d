// Making, calling and releasing objects.
#include "bench/core/countedpeer.hh"
#include "core/ztbasec.h"

#include <benchmark/benchmark.h>
#include <stdlib.h>

static void createAndRelease(benchmark::State &state) {
  for ([[maybe_unused]] auto turn : state) {
    void *object = ztBaseClass_ctor(nullptr, 1);
    benchmark::DoNotOptimize(object);
    ztBaseClass_of(object)->unRef(object);
  }
}
BENCHMARK(createAndRelease)->Name("create and release/zentova");

static void allocateAndFree(benchmark::State &state) {
  for ([[maybe_unused]] auto turn : state) {
    void *block = malloc(sizeof(ztBaseClass));
    benchmark::DoNotOptimize(block);
    free(block);
  }
}
BENCHMARK(allocateAndFree)->Name("create and release/malloc and free");

static void createAndReleasePeer(benchmark::State &state) {
  for ([[maybe_unused]] auto turn : state) {
    auto *object = new CountedPeer;
    benchmark::DoNotOptimize(object);
    object->create();
    object->unRef();
  }
}
BENCHMARK(createAndReleasePeer)->Name("create and release/C++ object");

static void createInPlace(benchmark::State &state) {
  ztBaseClass memory;
  for ([[maybe_unused]] auto turn : state) {
    void *object = ztBaseClass_ctor(&memory, 1);
    benchmark::DoNotOptimize(object);
  }
}
BENCHMARK(createInPlace)->Name("create in place/zentova");

static void virtualCall(benchmark::State &state) {
  void *object = ztBaseClass_ctor(nullptr, 1);
  for ([[maybe_unused]] auto turn : state) {
    benchmark::DoNotOptimize(object);
    benchmark::DoNotOptimize(ztBaseClass_of(object)->getRefCount(object));
  }
  ztBaseClass_of(object)->unRef(object);
}
BENCHMARK(virtualCall)->Name("virtual call/zentova");

static void virtualCallOfPeer(benchmark::State &state) {
  auto *object = new CountedPeer;
  for ([[maybe_unused]] auto turn : state) {
    benchmark::DoNotOptimize(object);
    benchmark::DoNotOptimize(object->getRefCount());
  }
  object->unRef();
}
BENCHMARK(virtualCallOfPeer)->Name("virtual call/C++ object");
