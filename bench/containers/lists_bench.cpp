// A list of integers: pushing, walking and releasing them, beside lists of other libraries.
#include "containers/ztlists.h"

#include <benchmark/benchmark.h>

#include <list>
#include <memory>

#ifdef ZT_BENCH_GLIB
#include <glib.h>
#endif

constexpr int64_t elements = 100000;

static void pushWalkRelease(benchmark::State &state) {
  const auto count = static_cast<int32_t>(state.range(0));
  for ([[maybe_unused]] auto turn : state) {
    void *list = ztIntList_ctor(nullptr, 1);
    for (int32_t number = 0; number < count; ++number) ztIntList_of(list)->pushBack(list, &number);
    int64_t sum = 0;
    const ztListItem *item = ztIntList_of(list)->getItemAt(list, 0);
    for (; item != nullptr; item = item->next) sum += *static_cast<const int32_t *>(item->data);
    benchmark::DoNotOptimize(sum);
    ztIntList_of(list)->unRef(list);
  }
}
BENCHMARK(pushWalkRelease)->Name("list: push, walk, release/zentova")->Arg(elements);

#ifdef ZT_BENCH_GLIB
// A queue of the peer's that owns a copy of each number, as the list does.
static void pushWalkReleaseGlib(benchmark::State &state) {
  const auto count = static_cast<int32_t>(state.range(0));
  for ([[maybe_unused]] auto turn : state) {
    GQueue *queue = g_queue_new();
    for (int32_t number = 0; number < count; ++number) {
      g_queue_push_tail(queue, g_memdup2(&number, sizeof number));
    }
    int64_t sum = 0;
    for (const GList *item = queue->head; item != nullptr; item = item->next) {
      sum += *static_cast<const int32_t *>(item->data);
    }
    benchmark::DoNotOptimize(sum);
    g_queue_free_full(queue, g_free);
  }
}
BENCHMARK(pushWalkReleaseGlib)->Name("list: push, walk, release/GLib GQueue of copies")->Arg(elements);
#endif

static void pushWalkReleaseStd(benchmark::State &state) {
  const auto count = static_cast<int32_t>(state.range(0));
  for ([[maybe_unused]] auto turn : state) {
    std::list<std::unique_ptr<int32_t>> list;
    for (int32_t number = 0; number < count; ++number) list.push_back(std::make_unique<int32_t>(number));
    int64_t sum = 0;
    for (const auto &number : list) sum += *number;
    benchmark::DoNotOptimize(sum);
  }
}
BENCHMARK(pushWalkReleaseStd)->Name("list: push, walk, release/std::list of copies")->Arg(elements);
