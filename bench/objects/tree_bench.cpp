// A million nodes: built, stored, loaded and put together again, released.
#include "bench/tempfile.hh"
#include "containers/ztarrays.h"
#include "io/ztfile.h"
#include "objects/ztlink.h"
#include "objects/ztroot.h"

#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <vector>

static constexpr int32_t nodeCount = 1000000;
static constexpr int32_t childrenOfEach = 10;

static void require(bool done) {
  if (!done) abort();
}

static void release(void *object) {
  ztBaseClass_of(object)->unRef(object);
}

// The identifiers are 1 to nodeCount, level by level.
static void *buildTree() {
  std::vector<void *> nodes;
  nodes.reserve(nodeCount);
  for (int32_t i = 0; i < nodeCount; ++i) {
    void *node = ztRoot_ctor(nullptr, 1);
    ztRoot_of(node)->setUid(node, i + 1);
    if (i > 0) {
      void *parent = nodes[static_cast<size_t>((i - 1) / childrenOfEach)];
      ztRoot_of(parent)->addChild(parent, node);
    }
    nodes.push_back(node);
  }
  return nodes[0];
}

static void *openFile(const char *mode) {
  void *file = ztFile_ctor(nullptr, 1);
  require(ztFile_of(file)->open(file, temporaryFile(), mode));
  return file;
}

static void storeTree(const void *tree) {
  void *file = openFile("wb");
  require(ztRoot_storeTree(tree, file) == nodeCount);
  release(file);
}

static void *loadTree() {
  void *file = openFile("rb");
  void *roots = ztPtrArray_ctor(nullptr, 1);
  require(ztRoot_loadTree(file, -1, roots, nullptr) && ztPtrArray_of(roots)->getSize(roots) == 1);
  void *tree = ztPtrArray_of(roots)->getAt(roots, 0);
  release(roots);
  release(file);
  return tree;
}

static void build(benchmark::State &state) {
  for ([[maybe_unused]] auto turn : state) {
    void *tree = buildTree();
    state.PauseTiming();
    release(tree);
    state.ResumeTiming();
  }
}
BENCHMARK(build)->Name("build a million nodes/zentova")->Unit(benchmark::kSecond);

static void store(benchmark::State &state) {
  void *tree = buildTree();
  for ([[maybe_unused]] auto turn : state) storeTree(tree);
  release(tree);
}
BENCHMARK(store)->Name("store a million nodes/zentova")->Unit(benchmark::kSecond);

static void load(benchmark::State &state) {
  void *stored = buildTree();
  storeTree(stored);
  release(stored);
  for ([[maybe_unused]] auto turn : state) {
    void *tree = loadTree();
    state.PauseTiming();
    release(tree);
    state.ResumeTiming();
  }
}
BENCHMARK(load)->Name("load and relink a million nodes/zentova")->Unit(benchmark::kSecond);

static void resolve(benchmark::State &state) {
  void *tree = buildTree();
  void *links = ztLinkArray_ctor(nullptr, 1);
  require(ztLinkArray_of(links)->setSize(links, nodeCount));
  for (int32_t i = 0; i < nodeCount; ++i) {
    static_cast<ztLink *>(ztLinkArray_of(links)->getAt(links, i))->targetId = nodeCount - i;
  }
  for ([[maybe_unused]] auto turn : state) require(ztLinkArray_resolve(links, tree) == nodeCount);
  release(links);
  release(tree);
}
BENCHMARK(resolve)->Name("resolve a million links/zentova")->Unit(benchmark::kSecond);

static void releaseTree(benchmark::State &state) {
  for ([[maybe_unused]] auto turn : state) {
    state.PauseTiming();
    void *tree = buildTree();
    state.ResumeTiming();
    release(tree);
  }
}
BENCHMARK(releaseTree)->Name("release a million nodes/zentova")->Unit(benchmark::kSecond);
