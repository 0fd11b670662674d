// Filling, sorting and searching arrays.
#include "containers/ztarrays.h"

#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <random>
#include <vector>

static constexpr int32_t pushCount = 1000000;
static constexpr size_t sortCount = 100000;

static void pushInts(benchmark::State &state) {
  for ([[maybe_unused]] auto turn : state) {
    void *array = ztIntArray_ctor(nullptr, 1);
    for (int32_t value = 0; value < pushCount; ++value) ztArray_of(array)->pushBack(array, &value);
    benchmark::DoNotOptimize(ztArray_of(array)->getData(array));
    ztArray_of(array)->unRef(array);
  }
}
BENCHMARK(pushInts)->Name("push a million ints/zentova")->Unit(benchmark::kMillisecond);

static void reallocEach(benchmark::State &state) {
  for ([[maybe_unused]] auto turn : state) {
    int32_t *block = nullptr;
    for (int32_t value = 0; value < pushCount; ++value) {
      auto *larger = static_cast<int32_t *>(realloc(block, (static_cast<size_t>(value) + 1) * sizeof value));
      if (larger == nullptr) abort();
      block = larger;
      block[value] = value;
    }
    benchmark::DoNotOptimize(block);
    free(block);
  }
}
BENCHMARK(reallocEach)->Name("push a million ints/one realloc each")->Unit(benchmark::kMillisecond);

static void setAndFill(benchmark::State &state) {
  for ([[maybe_unused]] auto turn : state) {
    void *array = ztIntArray_ctor(nullptr, 1);
    ztArray_of(array)->setSize(array, pushCount);
    auto *data = static_cast<int32_t *>(ztArray_of(array)->getData(array));
    for (int32_t value = 0; value < pushCount; ++value) data[value] = value;
    benchmark::DoNotOptimize(data);
    ztArray_of(array)->unRef(array);
  }
}
BENCHMARK(setAndFill)->Name("set the size and fill a million ints/zentova")->Unit(benchmark::kMillisecond);

static void resizeAndFill(benchmark::State &state) {
  for ([[maybe_unused]] auto turn : state) {
    std::vector<int32_t> values(pushCount);
    for (int32_t value = 0; value < pushCount; ++value) values[static_cast<size_t>(value)] = value;
    benchmark::DoNotOptimize(values.data());
  }
}
BENCHMARK(resizeAndFill)
    ->Name("set the size and fill a million ints/std::vector")
    ->Unit(benchmark::kMillisecond);

static std::vector<int32_t> shuffled() {
  std::mt19937 random(1);
  std::vector<int32_t> values(sortCount);
  for (int32_t &value : values) value = static_cast<int32_t>(random());
  return values;
}

static void *arrayOf(const std::vector<int32_t> &values) {
  void *array = ztIntArray_ctor(nullptr, 1);
  for (const int32_t value : values) ztArray_of(array)->pushBack(array, &value);
  return array;
}

static void sortArray(benchmark::State &state) {
  void *unsorted = arrayOf(shuffled());
  void *array = arrayOf(shuffled());
  for ([[maybe_unused]] auto turn : state) {
    ztArray_of(array)->assign(array, unsorted);
    ztArray_of(array)->sort(array, ztIntArray_compare_func);
  }
  ztArray_of(array)->unRef(array);
  ztArray_of(unsorted)->unRef(unsorted);
}
BENCHMARK(sortArray)->Name("sort 100000 ints/zentova")->Unit(benchmark::kMillisecond);

static void sortPlainly(benchmark::State &state) {
  const std::vector<int32_t> unsorted = shuffled();
  std::vector<int32_t> values = unsorted;
  for ([[maybe_unused]] auto turn : state) {
    values = unsorted;
    qsort(values.data(), values.size(), sizeof values[0], ztIntArray_compare_func);
  }
}
BENCHMARK(sortPlainly)->Name("sort 100000 ints/qsort")->Unit(benchmark::kMillisecond);

static void searchArray(benchmark::State &state) {
  const std::vector<int32_t> keys = shuffled();
  void *array = arrayOf(keys);
  ztArray_of(array)->sort(array, ztIntArray_compare_func);
  size_t i = 0;
  for ([[maybe_unused]] auto turn : state) {
    benchmark::DoNotOptimize(ztArray_of(array)->search(array, &keys[i], ztIntArray_compare_func));
    i = i + 1 == keys.size() ? 0 : i + 1;
  }
  ztArray_of(array)->unRef(array);
}
BENCHMARK(searchArray)->Name("search among 100000 ints/zentova");

static void searchPlainly(benchmark::State &state) {
  const std::vector<int32_t> keys = shuffled();
  std::vector<int32_t> values = keys;
  qsort(values.data(), values.size(), sizeof values[0], ztIntArray_compare_func);
  size_t i = 0;
  for ([[maybe_unused]] auto turn : state) {
    benchmark::DoNotOptimize(
        bsearch(&keys[i], values.data(), values.size(), sizeof values[0], ztIntArray_compare_func));
    i = i + 1 == keys.size() ? 0 : i + 1;
  }
}
BENCHMARK(searchPlainly)->Name("search among 100000 ints/bsearch");
