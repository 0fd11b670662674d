#include "containers/ztavltree.h"

#include "containers/ztarrays.h"
#include "containers/ztmap.h"
#include "tests/containers/treecheck.hh"
#include "tests/helpers/scale.hh"

#include <sys/mman.h>
#include <unistd.h>

#include <gtest/gtest.h>
#include <math.h>

#include <algorithm>
#include <random>

namespace {

using IntArray = Owned<ztIntArray, ztIntArrayMethods>;

}  // namespace

TEST(ztAvlTree, AscendingPushesKeepTheHeightLogarithmic) {
  const IntTree tree;
  const int32_t count = scale(100000);
  for (int32_t number = 1; number <= count; ++number) ASSERT_NE(tree.push(number), nullptr);
  EXPECT_EQ(faultOf(tree), "");
  EXPECT_LE(heightOf(tree), 1.4405 * log2(count + 2));
  for (int32_t number = 1; number <= count; number += 2) ASSERT_EQ(tree.pop(number), 1);
  EXPECT_EQ(faultOf(tree), "");
  EXPECT_EQ(tree->getSize(tree), count / 2);
}

// Shapes ------------------------------------------------------------------------------------------

TEST(ztAvlTree, HasTheShapeThatPushesAndPopsGiveIt) {
  const struct {
    const char *name;
    Numbers pushed;
    Numbers popped;
    const char *shape;
  } cases[] = {
      {"single left", {1, 2, 3}, {}, "2=(1=,3=)"},
      {"single right", {3, 2, 1}, {}, "2=(1=,3=)"},
      {"double left, even", {1, 3, 2}, {}, "2=(1=,3=)"},
      {"double right, even", {3, 1, 2}, {}, "2=(1=,3=)"},
      {"double to the heavy side", {20, 10, 50, 40, 60, 45}, {}, "40=(20-(10=,),50=(45=,60=))"},
      {"double away", {20, 10, 50, 40, 60, 30}, {}, "40=(20=(10=,30=),50+(,60=))"},
      {"mirrored to the heavy side", {50, 60, 20, 30, 10, 25}, {}, "30=(20=(10=,25=),50+(,60=))"},
      {"mirrored away", {50, 60, 20, 30, 10, 40}, {}, "30=(20-(10=,),50=(40=,60=))"},
      {"uneven parent becomes even", {20, 10, 30, 25, 35}, {}, "20+(10=,30=(25=,35=))"},
      {"rotation below the root", {20, 10, 30, 40, 50}, {}, "20+(10=,40=(30=,50=))"},
      {"pop of a leaf", {2, 1, 3}, {1}, "2+(,3=)"},
      {"pop with a left child", {2, 1}, {2}, "1="},
      {"pop with a right child", {1, 2}, {1}, "2="},
      {"pop with two children", {2, 1, 3}, {2}, "3-(1=,)"},
      {"pop, deep successor", {20, 10, 40, 5, 30, 50, 35}, {20}, "30=(10-(5=,),40=(35=,50=))"},
      {"pop rotates once and stays", {20, 10, 40, 30, 50}, {10}, "40-(20+(,30=),50=)"},
      {"pop rotates once, mirrored", {40, 50, 20, 10, 30}, {50}, "20+(10=,40-(30=,))"},
      {"pop rotates once and is lower", {20, 10, 30, 40}, {10}, "30=(20=,40=)"},
      {"pop rotates twice", {20, 10, 40, 30}, {10}, "30=(20=,40=)"},
      {"pop rotates up to the root",
       {50, 20, 80, 10, 30, 70, 90, 5, 60, 75, 95, 78},
       {95},
       "50=(20-(10-(5=,),30=),75=(70-(60=,),80=(78=,90=)))"},
  };
  for (const auto &row : cases) {
    SCOPED_TRACE(row.name);
    const IntTree tree(row.pushed);
    for (const int32_t number : row.popped) EXPECT_EQ(tree.pop(number), 1);
    EXPECT_EQ(faultOf(tree), "");
    EXPECT_EQ(shapeOf(tree), row.shape);
  }
}

// Adding ------------------------------------------------------------------------------------------

namespace {

// A tree that keeps pointers to numbers, equal ones too.
Tree treeOfPointers(const Numbers &numbers) {
  Tree tree(ztAvlTree_ctor);
  tree->setElementSize(tree, sizeof(void *), 1);
  tree->setCompareFunction(tree, ztIntArray_compare_func);
  tree->setAllowDuplicate(tree, 1);
  for (const int32_t &number : numbers) tree->push(tree, &number);
  return tree;
}

std::vector<const void *> pointersIn(const Tree &tree) {
  std::vector<const void *> pointers;
  for (const ztAvlTreeItem *item : itemsIn(tree)) pointers.push_back(item->data);
  return pointers;
}

}  // namespace

TEST(ztAvlTree, NewElementComesAheadOfEqualOnes) {
  const Numbers equal(40, 7);
  std::vector<const void *> newestFirst;
  for (const int32_t &number : equal) newestFirst.insert(newestFirst.begin(), &number);
  EXPECT_EQ(pointersIn(treeOfPointers(equal)), newestFirst);
}

TEST(ztAvlTree, ComparesTheStoredElementWithTheKey) {
  static const void *compared;
  static const void *key;
  static int32_t calls;
  const IntTree tree(upTo(20));
  const IntArray output(ztIntArray_ctor);
  compared = tree;
  calls = 0;
  tree->setAllowDuplicate(tree, 1);
  tree->setCompareFunction(tree, [](const void *first, const void *second) {
    ++calls;
    const auto holds = [](const void *data) {
      const auto items = itemsIn(compared);
      return std::any_of(items.begin(), items.end(), [data](const auto *item) { return item->data == data; });
    };
    EXPECT_TRUE(holds(first));
    EXPECT_FALSE(holds(second));
    EXPECT_TRUE(key == nullptr || second == key);
    return ztIntArray_compare_func(first, second);
  });
  const int32_t number = 5;
  key = &number;
  EXPECT_NE(tree->find(tree, &number), nullptr);
  EXPECT_EQ(tree->findAll(tree, &number, output), 1);
  EXPECT_EQ(tree->pop(tree, &number), 1);
  EXPECT_GT(calls, 0);
  calls = 0;
  key = nullptr;  // pushes compare with an element of the probe's
  EXPECT_NE(tree.push(5), nullptr);
  EXPECT_GT(calls, 0);
}

// The item manager --------------------------------------------------------------------------------

// A host's item manager. It keeps elements as the sequence policy says, and writes down what it is asked for:
// 'n' for a new item, 'd' for a deletion, 'c' for a copy.
#define Recorder_FIELDS ztSequenceContainer_FIELDS
#define Recorder_METHODS ztSequenceContainer_METHODS
ZT_DECLARE_CLASS(Recorder)

static struct {
  ztAvlTreeItem *made;                  // last
  ztAvlTreeItem *deleted;               // last, by then released
  const ztAvlTreeItem *rightOfDeleted;  // its right link
  size_t refuseFrom;                    // from this call on no item is made
  void *watched;                        // is whole whenever an item is deleted
  bool popsNext;                        // of the watched tree, the next number goes along
} recorded;

static int32_t numberIn(const ztAvlTreeItem *item) {
  return *static_cast<const int32_t *>(item->data);
}

static void popNext(void *tree, int32_t number) {
  EXPECT_EQ(ztAvlTree_of(tree)->find(tree, &number), nullptr);
  ++number;
  ztAvlTree_of(tree)->pop(tree, &number);
  EXPECT_EQ(faultOf(tree), "");
}

static void *recorderNewItem(void *object, const void *element) {
  asked += 'n';
  if (asked.size() >= recorded.refuseFrom) return nullptr;
  recorded.made = static_cast<ztAvlTreeItem *>(ztSequenceContainer_table()->newItem(object, element));
  return recorded.made;
}

static void *recorderCopyItem(void *object, void *destination, const void *source) {
  asked += 'c';
  return ztSequenceContainer_table()->copyItem(object, destination, source);
}

static void recorderDeleteItem(void *object, void *item) {
  asked += 'd';
  recorded.deleted = static_cast<ztAvlTreeItem *>(item);
  recorded.rightOfDeleted = recorded.deleted->right;
  EXPECT_EQ(recorded.watched == nullptr ? "" : faultOf(recorded.watched), "");
  if (recorded.popsNext) popNext(recorded.watched, numberIn(recorded.deleted));
  ztSequenceContainer_table()->deleteItem(object, item);
}

static void recorderMethods(RecorderMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, newItem, recorderNewItem);
  ZT_OVERRIDE_METHOD(methods, copyItem, recorderCopyItem);
  ZT_OVERRIDE_METHOD(methods, deleteItem, recorderDeleteItem);
}

ZT_DEFINE_CLASS(Recorder, ztSequenceContainer, recorderMethods)

namespace {

class ztAvlTreeWithManager : public testing::Test {
 protected:
  ztAvlTreeWithManager() {
    recorded = {nullptr, nullptr, nullptr, SIZE_MAX, nullptr, false};
    asked.clear();
    recorder->setElementSize(recorder, sizeof(int32_t), 0);
    recorder->setItemConstructor(recorder, ztAvlTreeItem_ctor);
    tree->setItemManager(tree, recorder);
  }

  Owned<Recorder, RecorderMethods> recorder{Recorder_ctor};
  IntTree tree;
};

}  // namespace

TEST_F(ztAvlTreeWithManager, PushMakesAProbeAndAnItemBehindTheFirst) {
  const ztAvlTreeItem *item = tree.push(1);
  EXPECT_EQ(item, recorded.made);
  EXPECT_EQ(takeAsked(), "n");
  item = tree.push(2);
  EXPECT_EQ(item, recorded.made);
  EXPECT_NE(item, recorded.deleted);
  EXPECT_EQ(takeAsked(), "nnd");
  EXPECT_EQ(shapeOf(tree), "1+(,2=)");
  EXPECT_EQ(tree.push(1), nullptr);
  EXPECT_EQ(takeAsked(), "nd") << "a refused push makes the probe only";
  EXPECT_EQ(recorded.deleted, recorded.made);
}

// The element ends where readable memory does.
TEST_F(ztAvlTreeWithManager, PushReadsNoMoreThanTheElement) {
  const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  auto *pages = static_cast<char *>(
      mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
  ASSERT_EQ(mprotect(pages + page, page, PROT_NONE), 0);
  auto *element = reinterpret_cast<int32_t *>(pages + page) - 1;
  for (*element = 0; *element < 3; ++*element) EXPECT_NE(tree->push(tree, element), nullptr);
  EXPECT_EQ(tree.fields().count, 3U);
  munmap(pages, 2 * page);
}

TEST_F(ztAvlTreeWithManager, RemovalsDeleteEachItemOnce) {
  for (const int32_t number : upTo(5)) tree.push(number);
  takeAsked();
  EXPECT_EQ(tree.pop(9), 0);
  EXPECT_NE(tree.find(3), nullptr);
  EXPECT_EQ(takeAsked(), "");
  EXPECT_EQ(tree.pop(3), 1);
  EXPECT_EQ(takeAsked(), "d");
  tree->empty(tree);
  EXPECT_EQ(takeAsked(), "dddd");
  tree->empty(tree);
  EXPECT_EQ(tree.pop(3), 1);
  EXPECT_EQ(takeAsked(), "");
}

TEST_F(ztAvlTreeWithManager, IsWholeWheneverAnItemIsDeleted) {
  recorded.watched = tree;
  std::mt19937 random(5);
  for (int32_t i = 0; i < scale(4000); ++i) {
    const auto number = static_cast<int32_t>(random() % 60);
    if (random() % 2 == 0) {
      tree.push(number);
    } else {
      tree.pop(number);
    }
  }
  tree->empty(tree);
  EXPECT_EQ(tree.fields().count, 0U);
  recorded.watched = nullptr;
}

TEST_F(ztAvlTreeWithManager, MayBeCalledWhileAnItemIsDeleted) {
  recorded.watched = tree;
  for (const int32_t popped : {0, 5, 19}) {
    for (const int32_t number : upTo(20)) tree.push(number);
    recorded.popsNext = true;
    EXPECT_EQ(tree.pop(popped), 1);
    EXPECT_EQ(tree.fields().count, static_cast<uint32_t>(popped)) << "each took the next with it";
    tree->empty(tree);
    EXPECT_EQ(tree.fields().count, 0U);
    recorded.popsNext = false;
  }
  recorded.watched = nullptr;
}

TEST_F(ztAvlTreeWithManager, ProbeStandsAboveTheRootWhenItIsDeleted) {
  tree.push(0);
  for (int32_t number = 1; number < 40; ++number) {
    tree.push(number);
    ASSERT_EQ(recorded.rightOfDeleted, tree.fields().root);
    ASSERT_EQ(faultOf(tree), "");
  }
}

TEST_F(ztAvlTreeWithManager, StaysAsItIsWhenTheManagerMakesNoItem) {
  recorded.refuseFrom = 1;
  EXPECT_EQ(tree.push(1), nullptr);
  EXPECT_EQ(shapeOf(tree), "");
  EXPECT_EQ(tree.fields().count, 0U);
  recorded.refuseFrom = SIZE_MAX;
  for (int32_t number = 1; number <= 4; ++number) tree.push(number);
  const std::string shape = shapeOf(tree);
  for (const size_t refuseFrom : {1U, 2U}) {
    takeAsked();
    recorded.refuseFrom = refuseFrom;
    EXPECT_EQ(tree.push(5), nullptr);
    EXPECT_EQ(takeAsked(), refuseFrom == 1 ? "n" : "nnd");
    EXPECT_EQ(shapeOf(tree), shape);
    EXPECT_EQ(faultOf(tree), "");
  }
}

TEST_F(ztAvlTreeWithManager, CopyIsItsOwnManager) {
  for (const int32_t number : upTo(5)) tree.push(number);
  takeAsked();
  {
    const Tree copy = tree.copy();
    EXPECT_EQ(copy.fields().itemManager, copy);
    EXPECT_EQ(tree.fields().itemManager, recorder);
  }
  EXPECT_EQ(takeAsked(), "");
}

TEST_F(ztAvlTreeWithManager, NullManagerStandsForTheTree) {
  tree->setItemManager(tree, nullptr);
  for (const int32_t number : upTo(9)) tree.push(number);
  EXPECT_EQ(tree.pop(3), 1);
  EXPECT_EQ(tree.find(3), nullptr);
  EXPECT_EQ(faultOf(tree), "");
  EXPECT_EQ(takeAsked(), "");
}

TEST_F(ztAvlTreeWithManager, WithoutACompareFunctionOnlyOneElementGoesIn) {
  tree->setCompareFunction(tree, nullptr);
  EXPECT_EQ(tree.find(1), nullptr);
  EXPECT_EQ(tree.pop(1), 1) << "an empty tree reports success";
  EXPECT_NE(tree.push(1), nullptr);
  takeAsked();
  EXPECT_EQ(tree.push(2), nullptr);
  EXPECT_EQ(takeAsked(), "") << "nothing is made in vain";
  EXPECT_EQ(tree.find(1), nullptr);
  EXPECT_EQ(tree.pop(1), 0);
  tree->setAllowDuplicate(tree, 1);
  const int32_t key = 1;
  EXPECT_EQ(tree->findAll(tree, &key, IntArray(ztIntArray_ctor)), 0);
  EXPECT_EQ(tree.fields().count, 1U);
}

// Host subclasses ---------------------------------------------------------------------------------

// A tree that writes down its finds and empties, and whose find can pretend to find everything, or empty the
// tree first.
static enum { isHonest, pretendsAll, emptiesFirst } hostsFind;

#define HostTree_FIELDS ztAvlTree_FIELDS
#define HostTree_METHODS ztAvlTree_METHODS
ZT_DECLARE_CLASS(HostTree)

static ztAvlTreeItem *hostTreeFind(const void *object, const void *key) {
  asked += 'f';
  if (hostsFind == pretendsAll) return static_cast<const HostTree *>(object)->root;
  if (hostsFind == emptiesFirst) ztAvlTree_table()->empty(const_cast<void *>(object));
  return ztAvlTree_table()->find(object, key);
}

static void hostTreeEmpty(void *object) {
  asked += 'e';
  ztAvlTree_table()->empty(object);
}

static void hostTreeMethods(HostTreeMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, find, hostTreeFind);
  ZT_OVERRIDE_METHOD(methods, empty, hostTreeEmpty);
}

ZT_DEFINE_CLASS(HostTree, ztAvlTree, hostTreeMethods)

TEST(ztAvlTree, PushAsksTheFindOfTheClassAndDestroyItsEmpty) {
  hostsFind = isHonest;
  takeAsked();
  {
    const IntTree tree({1}, HostTree_ctor);
    EXPECT_EQ(takeAsked(), "");
    tree.push(2);
    EXPECT_EQ(takeAsked(), "f");
    hostsFind = pretendsAll;
    EXPECT_EQ(tree.push(3), nullptr);
    EXPECT_EQ(tree.fields().count, 2U);
    tree->setAllowDuplicate(tree, 1);
    EXPECT_NE(tree.push(3), nullptr);
    EXPECT_EQ(takeAsked(), "f");
  }
  EXPECT_EQ(takeAsked(), "e");
}

TEST(ztAvlTree, PushIntoATreeThatItsFindEmptied) {
  hostsFind = isHonest;
  const IntTree tree(upTo(5), HostTree_ctor);
  hostsFind = emptiesFirst;
  EXPECT_NE(tree.push(9), nullptr);
  EXPECT_EQ(shapeOf(tree), "9=");
  EXPECT_EQ(faultOf(tree), "");
}

// Items that carry more than an element, in two sizes.
#define WideItem_FIELDS \
  ztAvlTreeItem_FIELDS  \
  int64_t mark;
#define WideItem_METHODS ztAvlTreeItem_METHODS
ZT_DECLARE_CLASS(WideItem)

#define WiderItem_FIELDS WideItem_FIELDS int64_t more[8];
#define WiderItem_METHODS ztAvlTreeItem_METHODS
ZT_DECLARE_CLASS(WiderItem)

static void wideItemMethods(WideItemMethods *) {}

static void widerItemMethods(WiderItemMethods *) {}

ZT_DEFINE_CLASS(WideItem, ztAvlTreeItem, wideItemMethods)
ZT_DEFINE_CLASS(WiderItem, WideItem, widerItemMethods)

// Pushes a number, and marks its item with it wherever it can be marked.
static void pushMarked(const IntTree &tree, int32_t number, ztCtor itemConstructor) {
  tree->setItemConstructor(tree, itemConstructor);
  auto *item = reinterpret_cast<WiderItem *>(tree.push(number));
  item->mark = number;
  if (itemConstructor == WiderItem_ctor) std::fill_n(item->more, 8, number);
}

TEST(ztAvlTree, PopMovesAllThatAnItemCarries) {
  const IntTree tree;
  Numbers order = upTo(200);
  std::mt19937 random(8);
  std::shuffle(order.begin(), order.end(), random);
  for (const int32_t number : order) pushMarked(tree, number, WiderItem_ctor);
  std::shuffle(order.begin(), order.end(), random);
  for (const int32_t number : order) {
    ASSERT_EQ(tree.pop(number), 1);
    for (const ztAvlTreeItem *item : itemsIn(tree)) {
      const auto *marked = reinterpret_cast<const WiderItem *>(item);
      ASSERT_EQ(marked->mark, numberIn(item));
      for (const int64_t word : marked->more) ASSERT_EQ(word, numberIn(item));
    }
  }
}

TEST(ztAvlTree, PopExchangesAsMuchAsTheSmallerItemHas) {
  for (const ztCtor root : {WideItem_ctor, WiderItem_ctor}) {
    const IntTree tree;
    for (const int32_t number : {2, 1, 3}) {
      pushMarked(tree, number, (number == 2) == (root == WideItem_ctor) ? WideItem_ctor : WiderItem_ctor);
    }
    EXPECT_EQ(tree.pop(2), 1);
    // The root's item stays and holds what the smaller item of both could carry over.
    const auto *top = reinterpret_cast<const WiderItem *>(tree.fields().root);
    EXPECT_EQ(top->klass, root == WideItem_ctor ? WideItemClass_Instance() : WiderItemClass_Instance());
    EXPECT_EQ(numberIn(tree.fields().root), 3);
    EXPECT_EQ(top->mark, 3);
    for (int i = 0; root == WiderItem_ctor && i < 8; ++i) EXPECT_EQ(top->more[i], 2) << i;
  }
}

// Removing ----------------------------------------------------------------------------------------

TEST(ztAvlTree, ItemOfAPoppedElementWithTwoChildrenHoldsItsSuccessor) {
  const IntTree tree({4, 2, 6, 1, 3, 5, 7});
  const ztAvlTreeItem *item = tree.fields().root;
  const void *successor = tree.find(5)->data;
  EXPECT_EQ(tree.pop(4), 1);
  EXPECT_EQ(tree.fields().root, item);
  EXPECT_EQ(item->data, successor);
}

// Finding -----------------------------------------------------------------------------------------

TEST(ztAvlTree, FindGivesTheHighestOfEqualElements) {
  const IntTree tree;
  tree->setAllowDuplicate(tree, 1);
  for (int i = 0; i < 3; ++i) tree.push(7);
  EXPECT_EQ(tree.find(7), tree.fields().root);
}

TEST(ztAvlTree, FindAllAppendsToAnySequence) {
  const IntTree tree;
  tree->setAllowDuplicate(tree, 1);
  const IntArray array(ztIntArray_ctor);
  array->setSize(array, 3);
  const int32_t seven = 7;
  EXPECT_EQ(tree->findAll(tree, &seven, array), 3) << "the size of the output";
  for (const int32_t number : {7, 7, 7, 8}) tree.push(number);
  EXPECT_EQ(tree->findAll(tree, &seven, array), 5);
  for (const int32_t i : {3, 4}) EXPECT_EQ(*static_cast<int32_t *>(array->getAt(array, i)), 7);
}

TEST(ztAvlTree, FindAllTakesSequenceContainersOnly) {
  const IntTree tree({1});
  tree->setAllowDuplicate(tree, 1);
  const int32_t key = 1;
  const Owned<ztMap, ztMapMethods> map(ztMap_ctor);
  EXPECT_EQ(tree->findAll(tree, &key, map), 0);
  EXPECT_EQ(map->getSize(map), 0);
  EXPECT_EQ(tree->findAll(tree, &key, nullptr), 0);
}

// Copies ------------------------------------------------------------------------------------------

TEST(ztAvlTree, CopyKeepsTheOrderOfEqualElements) {
  std::mt19937 random(21);
  Numbers numbers(300);
  for (int32_t &number : numbers) number = static_cast<int32_t>(random() % 20);
  const Tree tree = treeOfPointers(numbers);
  EXPECT_EQ(pointersIn(tree.copy()), pointersIn(tree));
}

TEST(ztAvlTree, CopyOntoNothingFails) {
  const IntTree tree;
  EXPECT_EQ(tree->clone(tree, nullptr), nullptr);
}
