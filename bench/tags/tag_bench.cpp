// Values of an attribute, reached through its tag's handle and through the attribute itself.
#include "tags/ztfloattag.h"
#include "tags/ztinttag.h"
#include "tags/zttag.h"

#include <benchmark/benchmark.h>
#include <stdlib.h>

namespace {

constexpr int32_t valueCount = 64;
constexpr int32_t attributeCount = 8;

// A tag with several attributes of one kind, the last of which is worked on.
template <typename Value>
class FilledTag {
 public:
  FilledTag() : tag(ztTag_ctor(nullptr, 1)) {
    constexpr ztCtor attributeClass = sizeof(Value) == sizeof(double) ? ztFloatTag_ctor : ztIntTag_ctor;
    for (int32_t i = 0; i < attributeCount; ++i) {
      if (!ztTag_of(tag)->insertNew(tag, "values", attributeClass(nullptr, 1), &handle, 0, valueCount,
                                    nullptr)) {
        abort();
      }
    }
    attribute = ztTag_of(tag)->getByHandle(tag, &handle);
  }
  ~FilledTag() {
    ztTag_of(tag)->unRef(tag);
  }
  FilledTag(const FilledTag &) = delete;
  FilledTag &operator=(const FilledTag &) = delete;

  void *tag;
  void *attribute;
  ztTagHandle handle;
};

int32_t nextIndex(int32_t index) {
  return (index + 1) % valueCount;
}

}  // namespace

template <typename Value>
static void setThroughHandle(benchmark::State &state) {
  const FilledTag<Value> filled;
  const Value value = 3;
  int32_t index = 0;
  for ([[maybe_unused]] auto turn : state) {
    ztTag_of(filled.tag)->setValue(filled.tag, &filled.handle, index, &value);
    index = nextIndex(index);
  }
}
BENCHMARK(setThroughHandle<int32_t>)->Name("set an int by handle/zentova");
BENCHMARK(setThroughHandle<double>)->Name("set a float by handle/zentova");

template <typename Value>
static void setInAttribute(benchmark::State &state) {
  const FilledTag<Value> filled;
  const Value value = 3;
  int32_t index = 0;
  for ([[maybe_unused]] auto turn : state) {
    ztTagAttribute_of(filled.attribute)->setValue(filled.attribute, index, &value);
    index = nextIndex(index);
  }
}
BENCHMARK(setInAttribute<int32_t>)->Name("set an int by handle/attribute itself");
BENCHMARK(setInAttribute<double>)->Name("set a float by handle/attribute itself");

template <typename Value>
static void getThroughHandle(benchmark::State &state) {
  const FilledTag<Value> filled;
  Value value = 0;
  int32_t index = 0;
  for ([[maybe_unused]] auto turn : state) {
    ztTag_of(filled.tag)->getValue(filled.tag, &filled.handle, index, &value);
    benchmark::DoNotOptimize(value);
    index = nextIndex(index);
  }
}
BENCHMARK(getThroughHandle<int32_t>)->Name("get an int by handle/zentova");
BENCHMARK(getThroughHandle<double>)->Name("get a float by handle/zentova");

template <typename Value>
static void getFromAttribute(benchmark::State &state) {
  const FilledTag<Value> filled;
  Value value = 0;
  int32_t index = 0;
  for ([[maybe_unused]] auto turn : state) {
    ztTagAttribute_of(filled.attribute)->getValue(filled.attribute, index, &value);
    benchmark::DoNotOptimize(value);
    index = nextIndex(index);
  }
}
BENCHMARK(getFromAttribute<int32_t>)->Name("get an int by handle/attribute itself");
BENCHMARK(getFromAttribute<double>)->Name("get a float by handle/attribute itself");
