// Objects with properties, signals and slots. What they are compared with stands in files of its own.
#include "bench/objects/sizes.hh"
#include "containers/ztavltree.h"
#include "objects/ztobject.h"

#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <vector>

// Gauge: an object with one static property, "level".
#define Gauge_FIELDS \
  ztObject_FIELDS    \
  int32_t level;
#define Gauge_METHODS ztObject_METHODS
ZT_DECLARE_CLASS(Gauge)

namespace {

int32_t gaugeLevel(const void *gauge) {
  return static_cast<const Gauge *>(gauge)->level;
}

void gaugeSetLevel(void *gauge, int32_t level) {
  static_cast<Gauge *>(gauge)->level = level;
}

int32_t gaugeCreate(void *gauge) {
  static_cast<Gauge *>(gauge)->level = 0;
  return ztObject_table()->create(gauge);
}

int32_t gaugeInitProperties(ztClass *klass) {
  ztGetter getter;
  getter.getInt = gaugeLevel;
  ztSetter setter;
  setter.setInt = gaugeSetLevel;
  const auto *methods = static_cast<const GaugeMethods *>(klass->methodTable);
  return methods->addProperty(klass, "level", "ztInt", getter, setter, nullptr, nullptr);
}

void gaugeMethods(GaugeMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, gaugeCreate);
  ZT_OVERRIDE_METHOD(methods, initProperties, gaugeInitProperties);
}

}  // namespace

ZT_DEFINE_CLASS(Gauge, ztObject, gaugeMethods)

namespace {

void release(void *object) {
  ztBaseClass_of(object)->unRef(object);
}

void take(void *receiver, intptr_t first) {
  static_cast<Gauge *>(receiver)->level = static_cast<int32_t>(first);
}

void connect(void *sender, const char *signal, void *receiver) {
  ztSlotFunction function;
  function.call1 = take;
  ztObject_of(sender)->connect(ztOOP_classOf(sender), sender, signal, receiver, "take", function, 1);
}

void createAndRelease(benchmark::State &state) {
  for ([[maybe_unused]] auto turn : state) release(ztObject_ctor(nullptr, 1));
}

// The object, and what it owns from the beginning: two maps with a tree each.
void allocateAndFree(benchmark::State &state) {
  const size_t sizes[] = {sizeof(ztObject), sizeof(ztSignalMap), sizeof(ztAvlTree), sizeof(ztPropertyMap),
                          sizeof(ztAvlTree)};
  void *blocks[sizeof sizes / sizeof sizes[0]];
  for ([[maybe_unused]] auto turn : state) {
    void **block = blocks;
    for (size_t size : sizes) benchmark::DoNotOptimize(*block++ = malloc(size));
    while (block != blocks) free(*--block);
  }
}

void *newGauge(const char *property) {
  void *gauge = Gauge_ctor(nullptr, 1);
  Gauge_of(gauge)->setProperty(gauge, property, "ztInt", 0);
  return gauge;
}

void setProperty(benchmark::State &state, const char *property) {
  void *gauge = newGauge(property);
  int32_t value = 0;
  for ([[maybe_unused]] auto turn : state) Gauge_of(gauge)->setProperty(gauge, property, "ztInt", ++value);
  release(gauge);
}

void getProperty(benchmark::State &state, const char *property) {
  void *gauge = newGauge(property);
  int32_t value = 0;
  for ([[maybe_unused]] auto turn : state) {
    Gauge_of(gauge)->getProperty(gauge, property, "ztInt", &value);
    benchmark::DoNotOptimize(value);
  }
  release(gauge);
}

std::vector<void *> newReceivers(void *sender, const char *signal, int64_t count) {
  std::vector<void *> receivers(static_cast<size_t>(count));
  for (void *&receiver : receivers) {
    receiver = Gauge_ctor(nullptr, 1);
    connect(sender, signal, receiver);
  }
  return receivers;
}

void deliverChange(benchmark::State &state) {
  void *sender = newGauge("level");
  const std::vector<void *> receivers = newReceivers(sender, "prop->signalname", state.range(0));
  int32_t value = 0;
  for ([[maybe_unused]] auto turn : state) Gauge_of(sender)->setProperty(sender, "level", "ztInt", ++value);
  for (void *receiver : receivers) release(receiver);
  release(sender);
}

void emitSignal(benchmark::State &state) {
  void *sender = newGauge("level");
  const std::vector<void *> receivers = newReceivers(sender, "levelChanged", state.range(0));
  int32_t value = 0;
  for ([[maybe_unused]] auto turn : state) ztObject_emit(sender, "levelChanged", ++value);
  for (void *receiver : receivers) release(receiver);
  release(sender);
}

// The receiver's own making and end are part of it, for all alike.
void connectAndDestroy(benchmark::State &state) {
  void *sender = newGauge("level");
  for ([[maybe_unused]] auto turn : state) {
    void *receiver = ztObject_ctor(nullptr, 1);
    connect(sender, "levelChanged", receiver);
    release(receiver);
  }
  release(sender);
}

}  // namespace

BENCHMARK(createAndRelease)->Name("create and release an object/zentova");
BENCHMARK(allocateAndFree)->Name("create and release an object/its mallocs and frees");
BENCHMARK_CAPTURE(setProperty, dynamicOne, "extra")->Name("set a dynamic property/zentova");
BENCHMARK_CAPTURE(getProperty, dynamicOne, "extra")->Name("get a dynamic property/zentova");
BENCHMARK_CAPTURE(setProperty, staticOne, "level")->Name("set a static property/zentova");
BENCHMARK_CAPTURE(getProperty, staticOne, "level")->Name("get a static property/zentova");
ZT_BENCH_OVER_SLOT_COUNTS(deliverChange, "deliver a property change/zentova");
ZT_BENCH_OVER_SLOT_COUNTS(emitSignal, "emit a signal/zentova");
BENCHMARK(connectAndDestroy)->Name("connect and destroy the receiver/zentova");
