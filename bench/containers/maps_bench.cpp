// Sorted trees and hash tables of random integers, beside those of another library that own a copy of
// each key, as ours do.
#include "containers/ztarrays.h"
#include "containers/ztavliter.h"
#include "containers/zthashtab.h"

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <algorithm>
#include <random>
#include <vector>

#ifdef ZT_BENCH_GLIB
#include <glib.h>
#endif

// Keys ---------------------------------------------------------------------------------------------

using Keys = std::vector<int32_t>;

static Keys randomKeys(int64_t count) {
  std::mt19937 random(1);
  Keys keys(static_cast<size_t>(count));
  for (int32_t &key : keys) key = static_cast<int32_t>(random());
  return keys;
}

// The same keys in another random order.
static Keys shuffled(Keys keys) {
  std::shuffle(keys.begin(), keys.end(), std::mt19937(2));
  return keys;
}

// A peer is a struct of how a container is made, filled, asked and released.

// Without this the pieces that a released container left, in random order, would scatter the next one
// over the memory, and so decide the race.
static void *makeInOrderlyHeap(void *(*make)()) {
  malloc_trim(0);
  return make();
}

template <typename Peer>
static void *filled(const Keys &keys) {
  void *container = makeInOrderlyHeap(Peer::make);
  for (const int32_t &key : keys) Peer::add(container, &key);
  return container;
}

template <typename Peer>
static void add(benchmark::State &state) {
  const Keys keys = randomKeys(state.range(0));
  for ([[maybe_unused]] auto turn : state) {
    state.PauseTiming();
    void *container = makeInOrderlyHeap(Peer::make);
    state.ResumeTiming();
    for (const int32_t &key : keys) Peer::add(container, &key);
    state.PauseTiming();
    Peer::release(container);
    state.ResumeTiming();
  }
}

template <typename Peer>
static void findAll(benchmark::State &state, void *container, const Keys &wanted) {
  int64_t found = 0;
  for (const int32_t &key : wanted) found += Peer::find(container, &key);
  if (found != state.range(0)) state.SkipWithError("a key is missing");
}

template <typename Peer>
static void find(benchmark::State &state) {
  const Keys keys = randomKeys(state.range(0));
  const Keys wanted = shuffled(keys);
  void *container = filled<Peer>(keys);
  for ([[maybe_unused]] auto turn : state) findAll<Peer>(state, container, wanted);
  Peer::release(container);
}

// How many of the keys in a tree are compared with one that is searched, apart from the time it takes.
template <typename Peer>
static void findAndCount(benchmark::State &state) {
  const Keys keys = randomKeys(state.range(0));
  const Keys wanted = shuffled(keys);
  void *container = filled<Peer>(keys);
  Peer::countComparisons(container);
  for ([[maybe_unused]] auto turn : state) findAll<Peer>(state, container, wanted);
  state.counters["comparisons"] =
      benchmark::Counter(static_cast<double>(Peer::comparisons), benchmark::Counter::kAvgIterations);
  Peer::release(container);
}

template <typename Peer>
static void addAndFind(benchmark::State &state) {
  const Keys keys = randomKeys(state.range(0));
  const Keys wanted = shuffled(keys);
  for ([[maybe_unused]] auto turn : state) {
    void *container = filled<Peer>(keys);
    findAll<Peer>(state, container, wanted);
    state.PauseTiming();
    Peer::release(container);
    state.ResumeTiming();
  }
}

template <typename Peer>
static void walk(benchmark::State &state) {
  void *container = filled<Peer>(randomKeys(state.range(0)));
  for ([[maybe_unused]] auto turn : state) benchmark::DoNotOptimize(Peer::sum(container));
  Peer::release(container);
}

template <typename Peer>
static void removeAll(benchmark::State &state) {
  const Keys keys = randomKeys(state.range(0));
  const Keys order = shuffled(keys);
  for ([[maybe_unused]] auto turn : state) {
    state.PauseTiming();
    void *container = filled<Peer>(keys);
    state.ResumeTiming();
    for (const int32_t &key : order) Peer::remove(container, &key);
    state.PauseTiming();
    Peer::release(container);
    state.ResumeTiming();
  }
}

// Peers --------------------------------------------------------------------------------------------

struct Tree {
  static inline int64_t comparisons;

  static int32_t compareAndCount(const void *first, const void *second) {
    ++comparisons;
    return ztIntArray_compare_func(first, second);
  }
  static void countComparisons(void *tree) {
    comparisons = 0;
    ztAvlTree_of(tree)->setCompareFunction(tree, compareAndCount);
  }
  static void *make() {
    void *tree = ztAvlTree_ctor(nullptr, 1);
    ztAvlTree_of(tree)->setElementSize(tree, sizeof(int32_t), 0);
    ztAvlTree_of(tree)->setCompareFunction(tree, ztIntArray_compare_func);
    return tree;
  }
  static void release(void *tree) {
    ztAvlTree_of(tree)->unRef(tree);
  }
  static void add(void *tree, const int32_t *key) {
    ztAvlTree_of(tree)->push(tree, key);
  }
  static bool find(void *tree, const int32_t *key) {
    return ztAvlTree_of(tree)->find(tree, key) != nullptr;
  }
  static void remove(void *tree, const int32_t *key) {
    ztAvlTree_of(tree)->pop(tree, key);
  }
  static int64_t sum(const void *tree) {
    ztAvlIterator iterator;
    ztAvlIterator_ctor(&iterator, 1);
    const auto *steps = ztAvlIterator_of(&iterator);
    int64_t total = 0;
    for (const void *item = steps->first(&iterator, tree); item != nullptr; item = steps->next(&iterator)) {
      total += *static_cast<const int32_t *>(static_cast<const ztAvlTreeItem *>(item)->data);
    }
    return total;
  }
};

// Two to the power that gives every pair a bucket and leaves most chains at one item.
constexpr int32_t bucketCount = 1 << 18;

struct Table {
  static void *make() {
    void *table = ztHashTable_ctor(nullptr, 1);
    const auto *methods = ztHashTable_of(table);
    methods->setKeySize(table, sizeof(int32_t), 0);
    methods->setValueSize(table, sizeof(void *), 1);
    methods->setCompareFunction(table, ztIntArray_compare_func);
    methods->setSize(table, bucketCount);
    return table;
  }
  static void release(void *table) {
    ztHashTable_of(table)->unRef(table);
  }
  static void add(void *table, const int32_t *key) {
    ztHashTable_of(table)->insert(table, key, table);
  }
  static bool find(void *table, const int32_t *key) {
    return ztHashTable_of(table)->find(table, key) != nullptr;
  }
};

static void atEverySize(benchmark::internal::Benchmark *registered) {
  for (int64_t count = 1000; count <= 100000; count *= 10) registered->Arg(count);
}

// Large trees take long enough to be measured once in each of a few repetitions.
static void million(benchmark::internal::Benchmark *registered) {
  registered->Arg(1000000)->Iterations(1)->Repetitions(3);
}

static void tenMillion(benchmark::internal::Benchmark *registered) {
  registered->Arg(10000000)->Iterations(1)->Repetitions(2);
}

static void once(benchmark::internal::Benchmark *registered) {
  for (int64_t count = 1000; count <= 10000000; count *= 10) registered->Arg(count);
  registered->Iterations(1)->Repetitions(1);
}

BENCHMARK(add<Tree>)->Name("tree: push/zentova")->Apply(atEverySize);
BENCHMARK(add<Tree>)->Name("tree: push/zentova")->Apply(million);
BENCHMARK(find<Tree>)->Name("tree: find/zentova")->Apply(atEverySize);
BENCHMARK(find<Tree>)->Name("tree: find/zentova")->Apply(million);
BENCHMARK(walk<Tree>)->Name("tree: walk/zentova")->Apply(atEverySize);
BENCHMARK(walk<Tree>)->Name("tree: walk/zentova")->Apply(million);
BENCHMARK(removeAll<Tree>)->Name("tree: pop/zentova")->Apply(atEverySize);
BENCHMARK(removeAll<Tree>)->Name("tree: pop/zentova")->Apply(million);
BENCHMARK(add<Tree>)->Name("tree: push/zentova")->Apply(tenMillion);
BENCHMARK(find<Tree>)->Name("tree: find/zentova")->Apply(tenMillion);
BENCHMARK(walk<Tree>)->Name("tree: walk/zentova")->Apply(tenMillion);
BENCHMARK(removeAll<Tree>)->Name("tree: pop/zentova")->Apply(tenMillion);
BENCHMARK(findAndCount<Tree>)->Name("tree: counted find/zentova")->Apply(once);
BENCHMARK(addAndFind<Table>)->Name("hash table: insert and find/zentova")->Arg(100000);
BENCHMARK(find<Table>)->Name("hash table: find/zentova")->Arg(100000);

#ifdef ZT_BENCH_GLIB
struct GlibTree {
  static int compare(const void *first, const void *second, void *) {
    const int32_t one = *static_cast<const int32_t *>(first);
    const int32_t other = *static_cast<const int32_t *>(second);
    return (one > other) - (one < other);
  }
  static int addToSum(void *key, void *, void *total) {
    *static_cast<int64_t *>(total) += *static_cast<const int32_t *>(key);
    return 0;
  }
  static GTree *of(void *tree) {
    return static_cast<GTree *>(tree);
  }
  static void *make() {
    return g_tree_new_full(compare, nullptr, g_free, nullptr);
  }
  static void release(void *tree) {
    g_tree_destroy(of(tree));
  }
  static void add(void *tree, const int32_t *key) {
    g_tree_insert(of(tree), g_memdup2(key, sizeof *key), tree);
  }
  static bool find(void *tree, const int32_t *key) {
    return g_tree_lookup(of(tree), key) != nullptr;
  }
  static void remove(void *tree, const int32_t *key) {
    g_tree_remove(of(tree), key);
  }
  static int64_t sum(const void *tree) {
    int64_t total = 0;
    g_tree_foreach(of(const_cast<void *>(tree)), addToSum, &total);
    return total;
  }
};

struct GlibTable {
  static GHashTable *of(void *table) {
    return static_cast<GHashTable *>(table);
  }
  static void *make() {
    return g_hash_table_new_full(g_int_hash, g_int_equal, g_free, nullptr);
  }
  static void release(void *table) {
    g_hash_table_destroy(of(table));
  }
  static void add(void *table, const int32_t *key) {
    g_hash_table_insert(of(table), g_memdup2(key, sizeof *key), table);
  }
  static bool find(void *table, const int32_t *key) {
    return g_hash_table_lookup(of(table), key) != nullptr;
  }
};

BENCHMARK(add<GlibTree>)->Name("tree: push/GLib GTree of copies")->Apply(atEverySize);
BENCHMARK(add<GlibTree>)->Name("tree: push/GLib GTree of copies")->Apply(million);
BENCHMARK(find<GlibTree>)->Name("tree: find/GLib GTree of copies")->Apply(atEverySize);
BENCHMARK(find<GlibTree>)->Name("tree: find/GLib GTree of copies")->Apply(million);
BENCHMARK(walk<GlibTree>)->Name("tree: walk/GLib GTree of copies")->Apply(atEverySize);
BENCHMARK(walk<GlibTree>)->Name("tree: walk/GLib GTree of copies")->Apply(million);
BENCHMARK(removeAll<GlibTree>)->Name("tree: pop/GLib GTree of copies")->Apply(atEverySize);
BENCHMARK(removeAll<GlibTree>)->Name("tree: pop/GLib GTree of copies")->Apply(million);
BENCHMARK(addAndFind<GlibTable>)->Name("hash table: insert and find/GLib GHashTable of copies")->Arg(100000);
BENCHMARK(find<GlibTable>)->Name("hash table: find/GLib GHashTable of copies")->Arg(100000);
#endif
