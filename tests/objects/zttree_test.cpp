#include "objects/ztroot.h"

#include "containers/ztarrays.h"
#include "io/zttxtfile.h"
#include "tests/helpers/scale.hh"
#include "tests/objects/tree_nodes.hh"

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <numeric>
#include <random>

// A node that takes no parent.
#define Proud_FIELDS LiveNode_FIELDS
#define Proud_METHODS LiveNode_METHODS
ZT_DECLARE_CLASS(Proud)

static int32_t proudSetParent(void *, void *) {
  return 0;
}

static void proudMethods(ProudMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, setParent, proudSetParent);
}

ZT_DEFINE_CLASS(Proud, LiveNode, proudMethods)

// A node that says it took its parent and did not.
#define Feigning_FIELDS LiveNode_FIELDS
#define Feigning_METHODS LiveNode_METHODS
ZT_DECLARE_CLASS(Feigning)

static int32_t feigningSetParent(void *, void *) {
  return 1;
}

static void feigningMethods(FeigningMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, setParent, feigningSetParent);
}

ZT_DEFINE_CLASS(Feigning, LiveNode, feigningMethods)

// A file that knows where it stands and cannot go to its end, or not back from there.
#define OneWayFile_FIELDS ztFile_FIELDS
#define OneWayFile_METHODS ztFile_METHODS
ZT_DECLARE_CLASS(OneWayFile)

static bool reachesItsEnd;

static int32_t oneWayGoToEnd(void *file) {
  return reachesItsEnd ? ztFile_table()->goToEnd(file) : -1;
}

static int32_t oneWayGoToAbs(void *, int64_t) {
  return -1;
}

static void oneWayMethods(OneWayFileMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, goToEnd, oneWayGoToEnd);
  ZT_OVERRIDE_METHOD(methods, goToAbs, oneWayGoToAbs);
}

ZT_DEFINE_CLASS(OneWayFile, ztFile, oneWayMethods)

// An array that has no room for more, or does not make any.
#define FullArray_FIELDS ztPtrArray_FIELDS
#define FullArray_METHODS ztPtrArray_METHODS
ZT_DECLARE_CLASS(FullArray)

static int32_t sizeOfTheFull;

static int32_t fullGetSize(const void *) {
  return sizeOfTheFull;
}

static int32_t fullResize(void *, int32_t) {
  return 0;
}

static void fullMethods(FullArrayMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, getSize, fullGetSize);
  ZT_OVERRIDE_METHOD(methods, resize, fullResize);
}

ZT_DEFINE_CLASS(FullArray, ztPtrArray, fullMethods)

// A class by which a record says that it is no node.
#define Stranger_FIELDS ztObject_FIELDS
#define Stranger_METHODS ztObject_METHODS
ZT_DECLARE_CLASS(Stranger)

static void strangerMethods(StrangerMethods *) {}

ZT_DEFINE_CLASS(Stranger, ztObject, strangerMethods)

namespace {

// One record as it is stored: the identity of the class, and the node.
std::string record(int32_t uid, int32_t parentUid, ztCtor constructor = LiveNode_ctor) {
  ztRoot *node = newNode(uid, constructor);
  node->parentUid = parentUid;
  const NodeFile file;
  EXPECT_EQ(ztRoot_storeTree(node, file.get()), 1);
  release(node);
  return file.bytes();
}

std::string records(const std::vector<std::pair<int32_t, int32_t>> &nodes) {
  std::string text;
  for (const auto &[uid, parentUid] : nodes) text += record(uid, parentUid);
  return text;
}

// 1(2(3 4) 5(6))
ztRoot *newSample() {
  ztRoot *top = newNode(1);
  ztRoot *left = newChild(top, 2);
  newChild(left, 3);
  newChild(left, 4);
  newChild(newChild(top, 5), 6);
  return top;
}

const char sampleShape[] = "1(2(3 4) 5(6))";

std::string sampleBytes() {
  ztRoot *top = newSample();
  const NodeFile file;
  EXPECT_EQ(ztRoot_storeTree(top, file.get()), 6);
  release(top);
  return file.bytes();
}

const size_t recordSize = 100 + 4 + 4 + 80 + 4 + 4;  // LiveNode stores a value behind the node's own

}  // namespace

// Storing -----------------------------------------------------------------------------------------

TEST(StoringATree, WritesIdentityAndRecordOfEachParentsFirst) {
  Forest forest;
  ztRoot *top = newNode(1, ztRoot_ctor);
  ztRoot_of(top)->setName(top, "top");
  ztRoot *low = newChild(newChild(top, 2), 3);
  ztRoot_of(low)->setName(low, "low");
  newChild(top, 4);
  const NodeFile stored;
  EXPECT_EQ(ztRoot_storeTree(top, stored.get()), 4);

  const NodeFile expected;
  for (const ztRoot *node : {top, childrenOf(top)[0], low, childrenOf(top)[1]}) {
    ASSERT_EQ(ztBaseClass_functions()->classWrite(nullptr, node, expected.get()), 1);
    ASSERT_EQ(ztRoot_of(node)->write(node, expected.get()), 1);
  }
  EXPECT_EQ(stored.bytes(), expected.bytes());
  EXPECT_EQ(stored.bytes().size(), recordSize - 4 + 3 * recordSize);
  release(top);
}

TEST(StoringATree, WritesAPartOfATree) {
  Forest forest;
  ztRoot *top = newSample();
  const NodeFile file;
  EXPECT_EQ(ztRoot_storeTree(childrenOf(top)[0], file.get()), 3);
  file.rewind();
  const Loaded loaded(file.get());
  EXPECT_EQ(loaded.result, 1);
  EXPECT_EQ(loaded.shapes(), "2(3 4)");
  EXPECT_EQ(loaded.counts(), (std::vector<int32_t>{3, 1, 0, 0}));
  EXPECT_EQ(loaded.tops()[0]->parentUid, 1);
  release(top);
}

TEST(StoringATree, BearsThePresentUidOfTheNodeAbove) {
  Forest forest;
  ztRoot *top = newSample();
  ztRoot *left = childrenOf(top)[0];
  ztRoot_of(left)->setUid(left, 20);
  ztRoot_of(top)->setUid(top, 10);
  const NodeFile file;
  EXPECT_EQ(ztRoot_storeTree(top, file.get()), 6);
  EXPECT_EQ(left->parentUid, 1) << "a node that is stored stays as it is";
  file.rewind();
  EXPECT_EQ(Loaded(file.get()).shapes(), "10(20(3 4) 5(6))");
  release(top);
}

TEST(StoringATree, TakesCopiesToo) {
  Forest forest;
  ztRoot *top = newSample();
  ztRoot *copy = newCopy(top);
  release(top);
  const NodeFile file;
  EXPECT_EQ(ztRoot_storeTree(copy, file.get()), 6);
  EXPECT_EQ(childrenOf(copy)[0]->parentUid, -1);
  file.rewind();
  EXPECT_EQ(Loaded(file.get()).shapes(), sampleShape);
  release(copy);
}

TEST(StoringATree, LeavesOutWhatIsNoChild) {
  Forest forest;
  ztRoot *top = newSample();
  ztRoot *left = childrenOf(top)[0];
  // By other means than the tree's own.
  ztRootPtrList_of(left->children)->pushFront(left->children, nullptr);
  ztRootPtrList_of(left->children)->pushBack(left->children, top);
  const NodeFile file;
  EXPECT_EQ(ztRoot_storeTree(top, file.get()), 6);
  file.rewind();
  EXPECT_EQ(Loaded(file.get()).shapes(), sampleShape);
  ztRootPtrList_of(left->children)->popBack(left->children);
  release(top);
}

TEST(StoringATree, TakesANodeThatIsEnding) {
  Forest forest;
  ztRoot *node = newNode(7);
  newChild(node, 8);
  const NodeFile file;
  int32_t stored = 0;
  forest.on(node, "destroyed", [&](ztRoot *dying) { stored = ztRoot_storeTree(dying, file.get()); });
  release(node);
  EXPECT_EQ(stored, 1) << "its children went before it";
  EXPECT_EQ(file.bytes().size(), recordSize);
}

TEST(StoringATree, FailsWithoutNodeOrFile) {
  ztRoot *top = newNode(1);
  const NodeFile file;
  EXPECT_EQ(ztRoot_storeTree(nullptr, file.get()), 0);
  EXPECT_EQ(ztRoot_storeTree(top, nullptr), 0);
  void *closed = ztFile_ctor(nullptr, 1);
  EXPECT_EQ(ztRoot_storeTree(top, closed), 0);
  release(closed);
  release(top);
}

TEST(StoringATree, FailsWhereverTheFileIsFull) {
  Forest forest;
  ztRoot *top = newNode(1);
  newChild(top, 2);
  std::vector<char> room(2 * recordSize + 1);
  for (size_t size = 1; size <= room.size(); ++size) {
    auto *file = static_cast<ztFile *>(ztFile_ctor(nullptr, 1));
    file->stream = fmemopen(room.data(), size, "wb");
    setbuf(file->stream, nullptr);
    EXPECT_EQ(ztRoot_storeTree(top, file), size >= 2 * recordSize ? 2 : 0) << size;
    release(file);
  }
  release(top);
}

// Loading -----------------------------------------------------------------------------------------

TEST(LoadingATree, BringsEverythingBack) {
  Forest forest;
  ztRoot *top = newSample();
  ztRoot *left = childrenOf(top)[0];
  ztRoot_of(left)->setName(left, "left");
  reinterpret_cast<LiveNode *>(left)->value = 99;
  for (const ztCtor constructor : {ztFile_ctor, ztTextFile_ctor}) {
    const NodeFile file(constructor);
    EXPECT_EQ(ztRoot_storeTree(top, file.get()), 6);
    file.rewind();
    const Loaded loaded(file.get());
    EXPECT_EQ(loaded.result, 1);
    EXPECT_EQ(loaded.shapes(), sampleShape);
    EXPECT_EQ(loaded.counts(), (std::vector<int32_t>{6, 0, 0, 0}));
    const ztRoot *root = loaded.tops()[0];
    EXPECT_EQ(countOf(root), 1);
    EXPECT_EQ(root->parentUid, -1);
    const ztRoot *child = childrenOf(root)[0];
    EXPECT_EQ(child->klass, LiveNodeClass_Instance());
    EXPECT_EQ(countOf(child), 2);
    EXPECT_EQ(child->parent, root);
    EXPECT_EQ(child->parentUid, 1);
    EXPECT_STREQ(child->name, "left");
    EXPECT_EQ(reinterpret_cast<const LiveNode *>(child)->value, 99);
  }
  release(top);
}

TEST(LoadingATree, DoesNotDependOnTheOrderOfTheRecords) {
  const std::pair<int32_t, int32_t> nodes[] = {{1, -1}, {2, 1}, {3, 2}, {4, 2}, {5, 1}};
  std::vector<size_t> order(std::size(nodes));
  std::iota(order.begin(), order.end(), 0);
  do {
    Forest forest;
    std::vector<std::pair<int32_t, int32_t>> shuffled;
    for (const size_t i : order) shuffled.push_back(nodes[i]);
    const NodeFile file(ztFile_ctor, records(shuffled));
    const Loaded loaded(file.get());
    ASSERT_EQ(loaded.result, 1);
    // The children of one node are in the order of the records.
    const auto before = [&](int32_t uid, int32_t other) {
      const auto at = [&](int32_t wanted) {
        return std::find_if(shuffled.begin(), shuffled.end(),
                            [&](auto &node) { return node.first == wanted; });
      };
      return at(uid) < at(other);
    };
    const std::string left = before(3, 4) ? "2(3 4)" : "2(4 3)";
    ASSERT_EQ(loaded.shapes(), before(2, 5) ? "1(" + left + " 5)" : "1(5 " + left + ")");
  } while (std::next_permutation(order.begin(), order.end()));
}

TEST(LoadingATree, ReadsAsManyRecordsAsItIsTold) {
  Forest forest;
  const NodeFile file(ztFile_ctor, sampleBytes() + "more");
  for (int32_t count = 0; count <= 6; ++count) {
    file.rewind();
    const Loaded loaded(file.get(), count);
    EXPECT_EQ(loaded.result, 1);
    EXPECT_EQ(loaded.counts()[0], count);
    EXPECT_EQ(ztFile_of(file.get())->tell(file.get()), count * static_cast<int64_t>(recordSize));
  }
  file.rewind();
  const Loaded tooMany(file.get(), 7);
  EXPECT_EQ(tooMany.result, 0);
  EXPECT_EQ(tooMany.counts()[0], 6);
  file.rewind();
  EXPECT_EQ(Loaded(file.get(), INT32_MAX).result, 0);
  file.rewind();
  EXPECT_EQ(Loaded(file.get(), INT32_MIN).result, 0);
}

TEST(LoadingATree, BeginsWhereTheFileStands) {
  Forest forest;
  const NodeFile file(ztFile_ctor, "head" + sampleBytes());
  ztFile_of(file.get())->goToAbs(file.get(), 4);
  EXPECT_EQ(Loaded(file.get()).shapes(), sampleShape);
  // At the end there is nothing to read.
  const Loaded nothing(file.get());
  EXPECT_EQ(nothing.result, 1);
  EXPECT_EQ(nothing.shapes(), "");
}

TEST(LoadingATree, AppendsTheRootsInOrder) {
  Forest forest;
  const NodeFile file(ztFile_ctor, records({{5, -1}, {6, 5}, {7, 0}, {8, 99}, {9, 7}}));
  void *roots = ztPtrArray_ctor(nullptr, 1);
  static char other;
  ztPtrArray_of(roots)->pushBack(roots, &other);
  EXPECT_EQ(ztRoot_loadTree(file.get(), -1, roots, nullptr), 1);
  ASSERT_EQ(ztPtrArray_of(roots)->getSize(roots), 4);
  EXPECT_EQ(ztPtrArray_of(roots)->getAt(roots, 0), &other);
  const char *shapes[] = {"5(6)", "7(9)", "8"};
  for (int32_t i = 0; i < 3; ++i) {
    auto *root = static_cast<ztRoot *>(ztPtrArray_of(roots)->getAt(roots, i + 1));
    EXPECT_EQ(shapeOf(root), shapes[i]);
    release(root);
  }
  release(roots);
}

TEST(LoadingATree, CountsOrphans) {
  Forest forest;
  const NodeFile file(ztFile_ctor, records({{1, -1}, {2, 50}, {3, 0}, {4, 51}, {5, 4}}));
  const Loaded loaded(file.get());
  EXPECT_EQ(loaded.shapes(), "1 2 3 4(5)");
  EXPECT_EQ(loaded.counts(), (std::vector<int32_t>{5, 2, 0, 0}));
}

TEST(LoadingATree, TakesZeroAndMinusOneForNoParent) {
  Forest forest;
  const NodeFile file(ztFile_ctor,
                      records({{0, 5}, {-1, 5}, {2, 0}, {3, -1}, {5, INT32_MIN}, {INT32_MIN, 2}}));
  const Loaded loaded(file.get());
  EXPECT_EQ(loaded.shapes(), "2(-2147483648(5(0 -1))) 3");
  EXPECT_EQ(loaded.counts(), (std::vector<int32_t>{6, 0, 0, 0}));
}

TEST(LoadingATree, AttachesToTheFirstOfEqualUids) {
  Forest forest;
  const NodeFile file(ztFile_ctor, records({{3, 2}, {2, -1}, {2, -1}, {4, 2}, {3, 3}, {2, 2}}));
  const Loaded loaded(file.get());
  EXPECT_EQ(loaded.shapes(), "2(3(3) 4 2) 2");
  EXPECT_EQ(loaded.counts(), (std::vector<int32_t>{6, 0, 3, 0}));
}

TEST(LoadingATree, OpensRings) {
  Forest forest;
  // One below itself; a ring of three with a tail at either side; and a tree that is well.
  const NodeFile file(
      ztFile_ctor, records({{1, 1}, {20, 12}, {10, 12}, {11, 10}, {12, 11}, {21, 20}, {30, -1}, {31, 30}}));
  const Loaded loaded(file.get());
  EXPECT_EQ(loaded.result, 1);
  EXPECT_EQ(loaded.shapes(), "1 12(20(21) 10(11)) 30(31)");
  EXPECT_EQ(loaded.counts(), (std::vector<int32_t>{8, 0, 0, 2}));
}

TEST(LoadingATree, AnnouncesNothing) {
  Forest forest;
  const NodeFile file(ztFile_ctor, sampleBytes());
  auto *table = static_cast<LiveNodeMethods *>(LiveNodeClass_Instance()->methodTable);
  static char mark;
  table->reserved1 = &mark;  // cleared with each announcement
  EXPECT_EQ(Loaded(file.get()).result, 1);
  EXPECT_EQ(table->reserved1, &mark);
  table->reserved1 = nullptr;
}

TEST(LoadingATree, ReadsFromAPipe) {
  Forest forest;
  const std::string bytes = sampleBytes();
  for (const size_t length : {bytes.size(), bytes.size() - 1, bytes.size() - recordSize}) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(write(ends[1], bytes.data(), length), static_cast<ssize_t>(length));
    close(ends[1]);
    auto *file = static_cast<ztFile *>(ztFile_ctor(nullptr, 1));
    file->stream = fdopen(ends[0], "rb");
    const Loaded loaded(file);
    // Where the pipe ends within a class identity it cannot be told from a good end.
    const bool isGood = length % recordSize == 0;
    EXPECT_EQ(loaded.counts()[0], static_cast<int32_t>(length / recordSize));
    if (isGood) {
      EXPECT_EQ(loaded.result, 1);
    }
    release(file);
  }
}

TEST(LoadingATree, ReadsOnUntilAFileThatDoesNotTellItsEndHasNoMore) {
  Forest forest;
  reachesItsEnd = false;
  const NodeFile file(OneWayFile_ctor, sampleBytes());
  const Loaded loaded(file.get());
  EXPECT_EQ(loaded.result, 1);
  EXPECT_EQ(loaded.shapes(), sampleShape);

  std::string unknown = record(2, 1);
  unknown.replace(0, 8, "NotKnown");
  const NodeFile damaged(OneWayFile_ctor, record(1, -1) + unknown + record(3, 1));
  EXPECT_EQ(Loaded(damaged.get()).result, 0);
}

TEST(LoadingATree, FailsWhenTheFileDoesNotComeBackFromItsEnd) {
  Forest forest;
  reachesItsEnd = true;
  const NodeFile file(OneWayFile_ctor, sampleBytes());
  const Loaded loaded(file.get());
  EXPECT_EQ(loaded.result, 0);
  EXPECT_EQ(loaded.counts()[0], 0);
}

// Damage ------------------------------------------------------------------------------------------

TEST(LoadingDamage, AFileThatEndsTooEarlyGivesNothing) {
  const std::string bytes = sampleBytes();
  for (size_t length = 0; length < bytes.size(); ++length) {
    Forest forest;
    const NodeFile file(ztFile_ctor, bytes.substr(0, length));
    const bool isWhole = length % recordSize == 0;
    {
      const Loaded loaded(file.get());
      ASSERT_EQ(loaded.result, isWhole) << length;
      ASSERT_EQ(loaded.tops().empty(), !isWhole || length == 0);
      ASSERT_EQ(loaded.counts()[0], static_cast<int32_t>(length / recordSize));
    }
    file.rewind();
    const Loaded counted(file.get(), 6);
    ASSERT_EQ(counted.result, 0);
    ASSERT_TRUE(counted.tops().empty());
  }
}

// Loads a file with one byte changed; whatever comes of it, nothing is left.
static void expectHarmless(ztCtor constructor, const std::string &bytes, size_t step) {
  for (size_t at = 0; at < bytes.size(); at += step) {
    for (const char change : {'\x01', '\x80', '\xff'}) {
      Forest forest;
      std::string damaged = bytes;
      damaged[at] = static_cast<char>(damaged[at] ^ change);
      const NodeFile file(constructor, damaged);
      const Loaded loaded(file.get());
      ASSERT_EQ(loaded.result == 0, loaded.tops().empty());
      ASSERT_LE(loaded.counts()[0], 6);
    }
  }
}

TEST(LoadingDamage, AChangedByteIsHarmless) {
  expectHarmless(ztFile_ctor, sampleBytes(), scale(1) == 0 ? 17 : 1);
}

TEST(LoadingDamage, AChangedByteOfATextIsHarmless) {
  ztRoot *top = newSample();
  const NodeFile file(ztTextFile_ctor);
  EXPECT_EQ(ztRoot_storeTree(top, file.get()), 6);
  release(top);
  expectHarmless(ztTextFile_ctor, file.bytes(), scale(1) == 0 ? 17 : 1);
}

TEST(LoadingDamage, ATextThatEndsTooEarlyIsHarmless) {
  ztRoot *top = newSample();
  const NodeFile file(ztTextFile_ctor);
  EXPECT_EQ(ztRoot_storeTree(top, file.get()), 6);
  release(top);
  const std::string bytes = file.bytes();
  for (size_t length = 0; length < bytes.size(); length += 7) {
    Forest forest;
    const NodeFile cut(ztTextFile_ctor, bytes.substr(0, length));
    const Loaded loaded(cut.get());
    ASSERT_LE(loaded.counts()[0], 6);
  }
}

TEST(LoadingDamage, ARecordOfAnotherClassGivesNothing) {
  Forest forest;
  void *stranger = Stranger_ctor(nullptr, 1);
  const NodeFile strange;
  ASSERT_EQ(ztBaseClass_functions()->classWrite(nullptr, stranger, strange.get()), 1);
  release(stranger);
  std::string unknown = record(2, 1);
  unknown.replace(0, 8, "NotKnown");
  for (const std::string &bad : {strange.bytes() + std::string(92, '\0'), unknown}) {
    const NodeFile file(ztFile_ctor, record(1, -1) + bad + record(3, 1));
    const Loaded loaded(file.get());
    EXPECT_EQ(loaded.result, 0);
    EXPECT_TRUE(loaded.tops().empty());
    EXPECT_EQ(loaded.counts()[0], 1);
  }
}

TEST(LoadingDamage, ANodeThatRefusesItsParentGivesNothing) {
  Forest forest;
  for (ztCtor constructor : {Proud_ctor, Feigning_ctor}) {
    const NodeFile file(ztFile_ctor, record(1, -1) + record(2, 1) + record(3, 2, constructor) + record(4, 3));
    void *roots = ztPtrArray_ctor(nullptr, 1);
    static char other;
    ztPtrArray_of(roots)->pushBack(roots, &other);
    EXPECT_EQ(ztRoot_loadTree(file.get(), -1, roots, nullptr), 0);
    EXPECT_EQ(ztPtrArray_of(roots)->getSize(roots), 1);
    release(roots);
  }
}

TEST(LoadingATree, FailsWhereTheRootsHaveNoRoom) {
  Forest forest;
  void *roots = FullArray_ctor(nullptr, 1);
  for (const int32_t size : {0, INT32_MAX}) {
    sizeOfTheFull = size;
    const NodeFile file(ztFile_ctor, sampleBytes());
    ztTreeReport report;
    EXPECT_EQ(ztRoot_loadTree(file.get(), -1, roots, &report), 0);
    EXPECT_EQ(report.nodes, 6);
  }
  release(roots);
}

TEST(LoadingDamage, NullArgumentsGiveNothing) {
  const NodeFile file(ztFile_ctor, sampleBytes());
  void *roots = ztPtrArray_ctor(nullptr, 1);
  ztTreeReport report = {1, 2, 3, 4};
  EXPECT_EQ(ztRoot_loadTree(nullptr, -1, roots, &report), 0);
  EXPECT_EQ(report.nodes + report.orphans + report.doubles + report.loops, 0);
  EXPECT_EQ(ztRoot_loadTree(file.get(), -1, nullptr, nullptr), 0);
  void *closed = ztFile_ctor(nullptr, 1);
  EXPECT_EQ(ztRoot_loadTree(closed, 1, roots, &report), 0);
  EXPECT_EQ(ztRoot_loadTree(closed, 0, roots, &report), 1);
  release(closed);
  EXPECT_EQ(ztPtrArray_of(roots)->getSize(roots), 0);
  release(roots);
}

// Large and random trees --------------------------------------------------------------------------

TEST(LargeTrees, AChainIsLoadedInAnyOrder) {
  const int levels = scale(100000);
  for (const bool isReverse : {false, true}) {
    Forest forest;
    ztRoot *top = newNode(1);
    ztRoot *at = top;
    for (int32_t uid = 2; uid <= levels; ++uid) {
      ztRoot *below = newNode(uid);
      ASSERT_EQ(setParent(below, at), 1);
      at = below;
    }
    NodeFile file;
    if (isReverse) {
      for (; at != nullptr; at = at->parent) {
        ASSERT_EQ(ztBaseClass_functions()->classWrite(nullptr, at, file.get()), 1);
        ASSERT_EQ(ztRoot_of(at)->write(at, file.get()), 1);
      }
    } else {
      ASSERT_EQ(ztRoot_storeTree(top, file.get()), levels);
    }
    release(top);
    file.rewind();
    const Loaded loaded(file.get());
    EXPECT_EQ(loaded.counts(), (std::vector<int32_t>{levels, 0, 0, 0}));
    ASSERT_EQ(loaded.tops().size(), 1u);
    int depth = 0;
    for (const ztRoot *node = loaded.tops()[0]; node != nullptr; ++depth) {
      node = static_cast<const ztRoot *>(ztRoot_of(node)->getChildAt(node, 0));
    }
    EXPECT_EQ(depth, levels);
  }
}

TEST(RandomTrees, AreLoadedAsTheyWereStored) {
  std::mt19937 random(7);
  for (int turn = 0; turn < 20; ++turn) {
    Forest forest;
    std::vector<ztRoot *> nodes = {newNode(-5)};
    const int count = 1 + static_cast<int>(random() % static_cast<unsigned>(scale(2000) + 1));
    for (int32_t uid = 1; uid < count; ++uid) {
      ztRoot *parent = nodes[random() % nodes.size()];
      nodes.push_back(newNode(uid * 7919));
      ASSERT_EQ(setParent(nodes.back(), parent), 1);
    }
    for (const ztCtor constructor : {ztFile_ctor, ztTextFile_ctor}) {
      const NodeFile file(constructor);
      ASSERT_EQ(ztRoot_storeTree(nodes[0], file.get()), count);
      file.rewind();
      const Loaded loaded(file.get());
      EXPECT_EQ(loaded.shapes(), shapeOf(nodes[0]));
      EXPECT_EQ(loaded.counts(), (std::vector<int32_t>{count, 0, 0, 0}));
    }
    release(nodes[0]);
  }
}

// Parent identifiers by chance: orphans, doubles and rings, each counted by a model.
TEST(RandomTrees, BecomeTreesWhateverTheRecordsSay) {
  std::mt19937 random(11);
  for (int turn = 0; turn < scale(400); ++turn) {
    Forest forest;
    std::vector<std::pair<int32_t, int32_t>> nodes;
    const int count = static_cast<int>(random() % 12);
    for (int i = 0; i < count; ++i) {
      nodes.emplace_back(static_cast<int32_t>(random() % 12), static_cast<int32_t>(random() % 14) - 1);
    }
    const NodeFile file(ztFile_ctor, records(nodes));
    const Loaded loaded(file.get());
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
    const auto counts = loaded.counts();
    EXPECT_EQ(counts[0], count);
    EXPECT_EQ(counts[1], orphans);
    EXPECT_EQ(counts[2], doubles);
    EXPECT_EQ(static_cast<int>(loaded.tops().size()), count - edges + counts[3]);
    // Every node is in exactly one place, below the first that bears its parent's identifier.
    int reached = 0;
    int wrong = 0;
    const std::function<void(const ztRoot *)> visit = [&](const ztRoot *node) {
      ++reached;
      for (const ztRoot *child : childrenOf(node)) {
        wrong += child->parentUid != node->uid || child->parent != node;
        visit(child);
      }
    };
    for (const ztRoot *root : loaded.tops()) visit(root);
    EXPECT_EQ(reached, count);
    EXPECT_EQ(wrong, 0);
  }
}
