// Trees in files that hold other things too: stored, and loaded from whatever there is.
#include "io/zttxtfile.h"
#include "tests/helpers/scale.hh"
#include "tests/objects/tree_nodes.hh"

#include <unistd.h>

#include <algorithm>
#include <numeric>
#include <random>

// An array of which tests replace methods.
#define OddArray_FIELDS ztPtrArray_FIELDS
#define OddArray_METHODS ztPtrArray_METHODS
ZT_DECLARE_CLASS(OddArray)
ZT_DEFINE_CLASS(OddArray, ztPtrArray, noMethods)

namespace {

using StoredTree = ForestTest;
using LoadedTree = ForestTest;

// Identifier and parent's identifier of each record.
using Records = std::vector<std::pair<int32_t, int32_t>>;

// One record as it is stored: the identity of the class, and the node.
std::string record(int32_t uid, int32_t parentUid, ztCtor constructor = LiveNode_ctor) {
  const Tree node(newNode(uid, constructor));
  node.fields().parentUid = parentUid;
  const Storage file;
  EXPECT_EQ(ztRoot_storeTree(node, file), 1);
  return file.bytes();
}

std::string bytesOf(const Records &nodes) {
  std::string text;
  for (const auto &[uid, parentUid] : nodes) text += record(uid, parentUid);
  return text;
}

const char sample[] = "1(2(3 4) 5(6))";

std::string sampleBytes(ztCtor constructor = ztFile_ctor) {
  const Tree top(sample);
  const Storage file(constructor);
  EXPECT_EQ(ztRoot_storeTree(top, file), 6);
  return file.bytes();
}

// Expects a load of these records to give these trees, and as many orphans, doubles and loops.
void expectLoaded(const Records &nodes, const std::string &shapes, const Numbers &oddities) {
  const Loaded loaded(Storage(ztFile_ctor, bytesOf(nodes)));
  EXPECT_EQ(loaded.result, 1);
  EXPECT_EQ(loaded.shapes(), shapes);
  Numbers counts = {static_cast<int32_t>(nodes.size())};
  counts.insert(counts.end(), oddities.begin(), oddities.end());
  EXPECT_EQ(loaded.counts(), counts);
}

const size_t recordSize = 100 + 4 + 4 + 80 + 4 + 4;  // LiveNode stores a value behind the node's own

}  // namespace

TEST_F(StoredTree, IsIdentityAndRecordOfEachNodeParentsFirst) {
  const Tree top("1", ztRoot_ctor);
  top->setName(top, "top");
  ztRoot *low = newChild(newChild(top, 2), 3);
  ztRoot_of(low)->setName(low, "low");
  newChild(top, 4);
  const Storage stored;
  EXPECT_EQ(ztRoot_storeTree(top, stored), 4);
  const Storage expected;
  for (const int32_t uid : {1, 2, 3, 4}) {
    ASSERT_EQ(ztBaseClass_functions()->classWrite(nullptr, top[uid], expected), 1);
    ASSERT_EQ(ztRoot_of(top[uid])->write(top[uid], expected), 1);
  }
  EXPECT_EQ(stored.bytes(), expected.bytes());
  EXPECT_EQ(stored.bytes().size(), recordSize - 4 + 3 * recordSize);
}

TEST_F(StoredTree, MayBeAPartOfATree) {
  const Tree top(sample);
  const Storage file;
  EXPECT_EQ(ztRoot_storeTree(top[2], file), 3);
  const Loaded loaded(file);
  EXPECT_EQ(loaded.shapes(), "2(3 4)");
  EXPECT_EQ(loaded.counts(), (Numbers{3, 1, 0, 0}));
  EXPECT_EQ(loaded.tops()[0]->parentUid, 1);
}

TEST_F(StoredTree, BearsThePresentUidOfTheNodeAbove) {
  const Tree top(sample);
  ztRoot *left = top[2];
  ztRoot_of(left)->setUid(left, 20);
  top->setUid(top, 10);
  const Storage file;
  EXPECT_EQ(ztRoot_storeTree(top, file), 6);
  EXPECT_EQ(left->parentUid, 1) << "a node that is stored stays as it is";
  EXPECT_EQ(Loaded(file).shapes(), "10(20(3 4) 5(6))");
}

TEST_F(StoredTree, MayBeACopy) {
  Tree top(sample);
  const Tree copy(newCopy(top));
  top.end();
  const Storage file;
  EXPECT_EQ(ztRoot_storeTree(copy, file), 6);
  EXPECT_EQ(firstChildOf(copy)->parentUid, -1);
  EXPECT_EQ(Loaded(file).shapes(), sample);
}

TEST_F(StoredTree, LeavesOutWhatIsNoChild) {
  const Tree top(sample);
  // By other means than the tree's own.
  ztRootPtrList *list = top[2]->children;
  ztRootPtrList_of(list)->pushFront(list, nullptr);
  ztRootPtrList_of(list)->pushBack(list, top);
  const Storage file;
  EXPECT_EQ(ztRoot_storeTree(top, file), 6);
  EXPECT_EQ(Loaded(file).shapes(), sample);
  ztRootPtrList_of(list)->popBack(list);
}

TEST_F(StoredTree, MayBeANodeThatIsBeingDestroyed) {
  Tree node("7(8)");
  const Storage file;
  int32_t stored = 0;
  on(node, "destroyed", [&](const ztRoot *dying) { stored = ztRoot_storeTree(dying, file); });
  node.end();
  EXPECT_EQ(stored, 1) << "its children went before it";
  EXPECT_EQ(file.bytes().size(), recordSize);
}

TEST_F(StoredTree, NeedsANodeAndAFile) {
  const Tree top("1");
  EXPECT_EQ(ztRoot_storeTree(nullptr, Storage()), 0);
  EXPECT_EQ(ztRoot_storeTree(top, nullptr), 0);
  const File closed(ztFile_ctor);
  EXPECT_EQ(ztRoot_storeTree(top, closed), 0);
}

TEST_F(StoredTree, FailsWhereverTheFileIsFull) {
  const Tree top("1(2)");
  std::vector<char> memory(2 * recordSize + 1);
  for (size_t size = 1; size <= memory.size(); ++size) {
    const File file(ztFile_ctor);
    file.fields().stream = fmemopen(memory.data(), size, "wb");
    setbuf(file.fields().stream, nullptr);
    EXPECT_EQ(ztRoot_storeTree(top, file), size >= 2 * recordSize ? 2 : 0) << size;
  }
}

TEST_F(LoadedTree, IsAsItWasStored) {
  const Tree top(sample);
  ztRoot *left = top[2];
  ztRoot_of(left)->setName(left, "left");
  reinterpret_cast<LiveNode *>(left)->value = 99;
  for (const ztCtor constructor : {ztFile_ctor, ztTextFile_ctor}) {
    const Storage file(constructor);
    EXPECT_EQ(ztRoot_storeTree(top, file), 6);
    const Loaded loaded(file);
    EXPECT_EQ(loaded.result, 1);
    EXPECT_EQ(loaded.shapes(), sample);
    EXPECT_EQ(loaded.counts(), (Numbers{6, 0, 0, 0}));
    const ztRoot *root = loaded.tops()[0];
    EXPECT_EQ(countOf(root), 1);
    EXPECT_EQ(root->parentUid, -1);
    const ztRoot *child = firstChildOf(root);
    EXPECT_EQ(child->klass, LiveNodeClass_Instance());
    EXPECT_EQ(countOf(child), 2);
    EXPECT_EQ(child->parent, root);
    EXPECT_EQ(child->parentUid, 1);
    EXPECT_STREQ(child->name, "left");
    EXPECT_EQ(reinterpret_cast<const LiveNode *>(child)->value, 99);
  }
}

TEST_F(LoadedTree, DoesNotDependOnTheOrderOfTheRecords) {
  const Records nodes = {{1, -1}, {2, 1}, {3, 2}, {4, 2}, {5, 1}};
  std::vector<size_t> order(nodes.size());
  std::iota(order.begin(), order.end(), 0);
  do {
    Records shuffled;
    for (const size_t i : order) shuffled.push_back(nodes[i]);
    // The children of one node are in the order of the records.
    const auto before = [&](size_t node, size_t other) {
      return std::find(order.begin(), order.end(), node) < std::find(order.begin(), order.end(), other);
    };
    const std::string left = before(2, 3) ? "2(3 4)" : "2(4 3)";
    expectLoaded(shuffled, before(1, 4) ? "1(" + left + " 5)" : "1(5 " + left + ")", {0, 0, 0});
    if (HasFailure()) return;
  } while (std::next_permutation(order.begin(), order.end()));
}

TEST_F(LoadedTree, IsOfAsManyRecordsAsItIsTold) {
  const Storage file(ztFile_ctor, sampleBytes() + "more");
  for (int32_t count = 0; count <= 6; ++count) {
    const Loaded loaded(file, count);
    EXPECT_EQ(loaded.result, 1);
    EXPECT_EQ(loaded.counts()[0], count);
    EXPECT_EQ(file->tell(file), count * static_cast<int64_t>(recordSize));
  }
  const Loaded tooMany(file, 7);
  EXPECT_EQ(tooMany.result, 0);
  EXPECT_EQ(tooMany.counts()[0], 6);
  EXPECT_EQ(Loaded(file, INT32_MAX).result, 0);
  EXPECT_EQ(Loaded(file, INT32_MIN).result, 0);
}

TEST_F(LoadedTree, BeginsWhereTheFileStands) {
  const Storage file(ztFile_ctor, "head" + sampleBytes());
  void *standing = file;
  file->goToAbs(file, 4);
  EXPECT_EQ(Loaded(standing).shapes(), sample);
  // At the end there is nothing to read.
  const Loaded nothing(standing);
  EXPECT_EQ(nothing.result, 1);
  EXPECT_EQ(nothing.shapes(), "");
}

TEST_F(LoadedTree, IsAppendedToTheRootsInOrder) {
  const Storage file(ztFile_ctor, bytesOf(Records{{5, -1}, {6, 5}, {7, 0}, {8, 99}, {9, 7}}));
  const Pointers roots(ztPtrArray_ctor);
  static char other;
  roots->pushBack(roots, &other);
  EXPECT_EQ(ztRoot_loadTree(file, -1, roots, nullptr), 1);
  ASSERT_EQ(roots->getSize(roots), 4);
  EXPECT_EQ(roots->getAt(roots, 0), &other);
  const char *shapes[] = {"5(6)", "7(9)", "8"};
  for (int32_t i = 0; i < 3; ++i) EXPECT_EQ(shapeOf(Tree(roots->getAt(roots, i + 1))), shapes[i]);
}

TEST_F(LoadedTree, CountsOrphansAndDoublesAndOpensLoops) {
  expectLoaded({{1, -1}, {2, 50}, {3, 0}, {4, 51}, {5, 4}}, "1 2 3 4(5)", {2, 0, 0});
  // Zero and -1 are no parent's.
  expectLoaded({{0, 5}, {-1, 5}, {2, 0}, {3, -1}, {5, INT32_MIN}, {INT32_MIN, 2}},
               "2(-2147483648(5(0 -1))) 3", {0, 0, 0});
  // The first of equal identifiers is the parent.
  expectLoaded({{3, 2}, {2, -1}, {2, -1}, {4, 2}, {3, 3}, {2, 2}}, "2(3(3) 4 2) 2", {0, 3, 0});
  // One below itself; a ring of three with a tail at either side; and a tree that is well.
  expectLoaded({{1, 1}, {20, 12}, {10, 12}, {11, 10}, {12, 11}, {21, 20}, {30, -1}, {31, 30}},
               "1 12(20(21) 10(11)) 30(31)", {0, 0, 2});
}

TEST_F(LoadedTree, IsNotAnnounced) {
  const Storage file(ztFile_ctor, sampleBytes());
  auto *table = static_cast<LiveNodeMethods *>(LiveNodeClass_Instance()->methodTable);
  static char mark;
  table->reserved1 = &mark;  // cleared with each announcement
  EXPECT_EQ(Loaded(file).result, 1);
  EXPECT_EQ(table->reserved1, &mark);
  table->reserved1 = nullptr;
}

TEST_F(LoadedTree, MayComeFromAPipe) {
  const std::string bytes = sampleBytes();
  for (const size_t length : {bytes.size(), bytes.size() - 1, bytes.size() - recordSize}) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(write(ends[1], bytes.data(), length), static_cast<ssize_t>(length));
    close(ends[1]);
    const File file(ztFile_ctor);
    file.fields().stream = fdopen(ends[0], "rb");
    const Loaded loaded(file);
    EXPECT_EQ(loaded.counts()[0], static_cast<int32_t>(length / recordSize));
    // Where the pipe ends within a class identity it cannot be told from a good end.
    if (length % recordSize == 0) {
      EXPECT_EQ(loaded.result, 1);
    }
  }
}

TEST_F(LoadedTree, IsReadOnUntilAFileThatDoesNotTellItsEndHasNoMore) {
  const Replaced goToEnd(oddFile().goToEnd, [](void *) { return -1; });
  const Replaced goToAbs(oddFile().goToAbs, [](void *, int64_t) { return -1; });
  EXPECT_EQ(Loaded(Storage(OddFile_ctor, sampleBytes())).shapes(), sample);
  std::string unknown = record(2, 1);
  unknown.replace(0, 8, "NotKnown");
  EXPECT_EQ(Loaded(Storage(OddFile_ctor, record(1, -1) + unknown + record(3, 1))).result, 0);
}

TEST_F(LoadedTree, IsNoneWhenTheFileDoesNotComeBackFromItsEnd) {
  const Replaced goToAbs(oddFile().goToAbs, [](void *, int64_t) { return -1; });
  const Loaded loaded(Storage(OddFile_ctor, sampleBytes()));
  EXPECT_EQ(loaded.result, 0);
  EXPECT_EQ(loaded.counts()[0], 0);
}

TEST_F(LoadedTree, IsNoneOfAFileThatEndsTooEarly) {
  const std::string bytes = sampleBytes();
  for (size_t length = 0; length < bytes.size(); ++length) {
    const Storage file(ztFile_ctor, bytes.substr(0, length));
    const bool isWhole = length % recordSize == 0;
    {
      const Loaded loaded(file);
      ASSERT_EQ(loaded.result, isWhole) << length;
      ASSERT_EQ(loaded.tops().empty(), !isWhole || length == 0);
      ASSERT_EQ(loaded.counts()[0], static_cast<int32_t>(length / recordSize));
    }
    const Loaded counted(file, 6);
    ASSERT_EQ(counted.result, 0);
    ASSERT_TRUE(counted.tops().empty());
    ASSERT_EQ(nodesLive, 0);
  }
}

TEST_F(LoadedTree, OfDamagedBytesIsWholeOrNone) {
  const auto expectHarmless = [](ztCtor constructor, const std::string &bytes) {
    const Loaded loaded(Storage(constructor, bytes));
    ASSERT_EQ(loaded.result == 0, loaded.tops().empty());
    ASSERT_LE(loaded.counts()[0], 6);
  };
  const size_t step = scale(1) == 0 ? 17 : 1;
  for (const ztCtor constructor : {ztFile_ctor, ztTextFile_ctor}) {
    const std::string bytes = sampleBytes(constructor);
    for (size_t at = 0; at < bytes.size(); at += step) {
      for (const char change : {'\x01', '\x80', '\xff'}) {
        std::string damaged = bytes;
        damaged[at] = static_cast<char>(damaged[at] ^ change);
        expectHarmless(constructor, damaged);
        ASSERT_EQ(nodesLive, 0) << at;
      }
    }
  }
}

TEST_F(LoadedTree, OfATextThatEndsTooEarlyLeavesNothing) {
  const std::string bytes = sampleBytes(ztTextFile_ctor);
  for (size_t length = 0; length < bytes.size(); length += 7) {
    ASSERT_LE(Loaded(Storage(ztTextFile_ctor, bytes.substr(0, length))).counts()[0], 6);
    ASSERT_EQ(nodesLive, 0) << length;
  }
}

TEST_F(LoadedTree, IsNoneWithARecordOfAnotherClass) {
  const Storage strange;
  void *stranger = ztObject_ctor(nullptr, 1);
  ASSERT_EQ(ztBaseClass_functions()->classWrite(nullptr, stranger, strange), 1);
  release(stranger);
  std::string unknown = record(2, 1);
  unknown.replace(0, 8, "NotKnown");
  for (const std::string &bad : {strange.bytes() + std::string(92, '\0'), unknown}) {
    const Loaded loaded(Storage(ztFile_ctor, record(1, -1) + bad + record(3, 1)));
    EXPECT_EQ(loaded.result, 0);
    EXPECT_TRUE(loaded.tops().empty());
    EXPECT_EQ(loaded.counts()[0], 1);
  }
}

TEST_F(LoadedTree, IsNoneWithANodeThatRefusesItsParent) {
  const Pointers roots(ztPtrArray_ctor);
  static char other;
  roots->pushBack(roots, &other);
  const Storage file(ztFile_ctor, record(1, -1) + record(2, 1) + record(3, 2, OddNode_ctor) + record(4, 3));
  int32_t (*const refusals[])(void *, void *) = {[](void *, void *) { return 0; },
                                                 [](void *, void *) { return 1; }};  // which feigns
  for (const auto &refusal : refusals) {
    const Replaced setParent(oddNode().setParent, refusal);
    file->goToBegin(file);
    EXPECT_EQ(ztRoot_loadTree(file, -1, roots, nullptr), 0);
    EXPECT_EQ(roots->getSize(roots), 1);
  }
}

TEST_F(LoadedTree, IsNoneWhereTheRootsHaveNoPlace) {
  const Pointers roots(OddArray_ctor);
  auto *methods = static_cast<OddArrayMethods *>(ztOOP_classOf(roots)->methodTable);
  const Replaced resize(methods->resize, [](void *, int32_t) { return 0; });
  int32_t (*const sizes[])(const void *) = {ztPtrArray_table()->getSize,
                                            [](const void *) { return INT32_MAX; }};
  for (const auto &size : sizes) {
    const Replaced getSize(methods->getSize, size);
    ztTreeReport report;
    EXPECT_EQ(ztRoot_loadTree(Storage(ztFile_ctor, sampleBytes()), -1, roots, &report), 0);
    EXPECT_EQ(report.nodes, 6);
  }
}

TEST_F(LoadedTree, NeedsAnOpenFileAndRoots) {
  const Pointers roots(ztPtrArray_ctor);
  ztTreeReport report = {1, 2, 3, 4};
  EXPECT_EQ(ztRoot_loadTree(nullptr, -1, roots, &report), 0);
  EXPECT_EQ(report.nodes + report.orphans + report.doubles + report.loops, 0);
  EXPECT_EQ(ztRoot_loadTree(Storage(ztFile_ctor, sampleBytes()), -1, nullptr, nullptr), 0);
  const File closed(ztFile_ctor);
  EXPECT_EQ(ztRoot_loadTree(closed, 1, roots, &report), 0);
  EXPECT_EQ(ztRoot_loadTree(closed, 0, roots, &report), 1);
  EXPECT_EQ(roots->getSize(roots), 0);
}

// Large and random trees --------------------------------------------------------------------------

TEST_F(LoadedTree, MayBeALongChainInAnyOrder) {
  const int levels = scale(100000);
  for (const bool isReverse : {false, true}) {
    Tree top(newChain(levels, LiveNode_ctor));
    const Storage file;
    if (isReverse) {
      for (const ztRoot *at = lowestOf(top); at != nullptr; at = at->parent) {
        ASSERT_EQ(ztBaseClass_functions()->classWrite(nullptr, at, file), 1);
        ASSERT_EQ(ztRoot_of(at)->write(at, file), 1);
      }
    } else {
      ASSERT_EQ(ztRoot_storeTree(top, file), levels);
    }
    top.end();
    const Loaded loaded(file);
    EXPECT_EQ(loaded.counts(), (Numbers{levels, 0, 0, 0}));
    ASSERT_EQ(loaded.tops().size(), 1U);
    EXPECT_EQ(depthOf(loaded.tops()[0]), levels);
  }
}

// The nodes from this one on; each has to be in order with its children.
static int32_t checkedNodes(const ztRoot *node) {
  int32_t count = 1;
  for (const ztRoot *child : childrenOf(node)) {
    EXPECT_EQ(child->parentUid, node->uid);
    EXPECT_EQ(child->parent, node);
    count += checkedNodes(child);
  }
  return count;
}

// Parent identifiers by chance: orphans, doubles and rings, each counted by a model.
TEST_F(LoadedTree, IsATreeWhateverTheRecordsSay) {
  std::mt19937 random(11);
  for (int turn = 0; turn < scale(400); ++turn) {
    Records nodes;
    const int count = static_cast<int>(random() % 12);
    for (int i = 0; i < count; ++i) {
      nodes.emplace_back(static_cast<int32_t>(random() % 12), static_cast<int32_t>(random() % 14) - 1);
    }
    const Loaded loaded(Storage(ztFile_ctor, bytesOf(nodes)));
    ASSERT_EQ(loaded.result, 1);
    int orphans = 0;
    int doubles = 0;
    int edges = 0;
    const auto firstWith = [&](int32_t uid) {
      return std::find_if(nodes.begin(), nodes.end(), [&](auto &node) { return node.first == uid; });
    };
    for (auto node = nodes.begin(); node != nodes.end(); ++node) {
      if (firstWith(node->first) != node) ++doubles;
      if (node->second <= 0) continue;
      (firstWith(node->second) == nodes.end() ? orphans : edges)++;
    }
    const Numbers counts = loaded.counts();
    EXPECT_EQ(counts, (Numbers{count, orphans, doubles, counts[3]}));
    EXPECT_EQ(static_cast<int>(loaded.tops().size()), count - edges + counts[3]);
    // Every node is in exactly one place, below the first that bears its parent's identifier.
    int32_t reached = 0;
    for (const ztRoot *root : loaded.tops()) reached += checkedNodes(root);
    EXPECT_EQ(reached, count);
  }
}
