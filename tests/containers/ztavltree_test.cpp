#include "containers/ztavltree.h"

#include "containers/ztarrays.h"
#include "containers/ztavliter.h"
#include "containers/ztmap.h"
#include "core/ztmem.h"
#include "tests/containers/pairs.hh"
#include "tests/containers/treecheck.hh"
#include "tests/helpers/faults.hh"
#include "tests/helpers/scale.hh"

#include <gtest/gtest.h>
#include <math.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <set>

namespace {

using Numbers = std::vector<int32_t>;

ztAvlTree *newTree(ztCtor constructor = ztAvlTree_ctor) {
  return static_cast<ztAvlTree *>(constructor(nullptr, 1));
}

void release(void *object) {
  ztBaseClass_of(object)->unRef(object);
}

ztAvlTree *newIntTree(ztCtor constructor = ztAvlTree_ctor) {
  ztAvlTree *tree = newTree(constructor);
  ztAvlTree_of(tree)->setElementSize(tree, sizeof(int32_t), 0);
  ztAvlTree_of(tree)->setCompareFunction(tree, ztIntArray_compare_func);
  return tree;
}

ztAvlTreeItem *push(ztAvlTree *tree, int32_t number) {
  return ztAvlTree_of(tree)->push(tree, &number);
}

int32_t pop(ztAvlTree *tree, int32_t number) {
  return ztAvlTree_of(tree)->pop(tree, &number);
}

ztAvlTreeItem *find(const ztAvlTree *tree, int32_t number) {
  return ztAvlTree_of(tree)->find(tree, &number);
}

ztAvlTree *copyOf(const ztAvlTree *tree) {
  return static_cast<ztAvlTree *>(ztAvlTree_of(tree)->clone(tree, ztAvlTree_newop()));
}

Numbers upTo(int32_t count) {
  Numbers numbers(static_cast<size_t>(count));
  std::iota(numbers.begin(), numbers.end(), 0);
  return numbers;
}

// One tree for each element policy.
class TreeOf : public ::testing::TestWithParam<Policy> {
 protected:
  TreeOf() : elements(GetParam()), tree(newTree()), methods(ztAvlTree_of(tree)) {
    elements.configure(tree);
  }
  ~TreeOf() override {
    release(tree);
    EXPECT_EQ(live.made(), 0) << "an element was lost";
  }

  Numbers numbersIn(const ztAvlTree *other) const {
    Numbers numbers;
    for (const ztAvlTreeItem *item : itemsOf(other)) numbers.push_back(elements.numberOf(item->data));
    return numbers;
  }

  void fill(const Numbers &numbers) {
    for (const int32_t number : numbers) methods->push(tree, elements.make(number));
  }

  // After one operation: the tree is sound, holds just these numbers and owns nothing else.
  void expectNumbers(const Numbers &sorted) {
    ASSERT_EQ(faultOf(tree), "");
    ASSERT_EQ(numbersIn(tree), sorted);
    if (GetParam() == Policy::constructed) {
      ASSERT_EQ(live.made(), static_cast<int32_t>(sorted.size()));
    }
  }

  void pushAllChecked(const Numbers &order);
  void popAllChecked(const Numbers &order);
  void runRandom(uint32_t seed, int32_t range, int32_t operations);

  Elements elements;
  LiveCount live;  // from here on: the elements keep an object of their own
  ztAvlTree *tree;
  const ztAvlTreeMethods *methods;
};

INSTANTIATE_TEST_SUITE_P(Policies, TreeOf, ::testing::ValuesIn(allPolicies),
                         [](const auto &test) { return policyName(test.param); });

void TreeOf::pushAllChecked(const Numbers &order) {
  std::multiset<int32_t> model;
  for (const int32_t number : order) {
    const bool accepted = tree->allowDuplicate || model.count(number) == 0;
    const ztAvlTreeItem *item = methods->push(tree, elements.make(number));
    ASSERT_EQ(item != nullptr, accepted);
    if (accepted) model.insert(number);
    if (accepted) {
      ASSERT_EQ(elements.numberOf(item->data), number);
    }
    expectNumbers(Numbers(model.begin(), model.end()));
    if (HasFatalFailure()) return;
  }
}

void TreeOf::popAllChecked(const Numbers &order) {
  const Numbers there = numbersIn(tree);
  std::multiset<int32_t> model(there.begin(), there.end());
  for (const int32_t number : order) {
    const auto found = model.find(number);
    const int32_t expected = found != model.end() || model.empty();
    if (found != model.end()) model.erase(found);
    ASSERT_EQ(methods->pop(tree, elements.make(number)), expected);
    expectNumbers(Numbers(model.begin(), model.end()));
    if (HasFatalFailure()) return;
  }
}

void TreeOf::runRandom(uint32_t seed, int32_t range, int32_t operations) {
  std::mt19937 random(seed);
  std::multiset<int32_t> model;
  for (int32_t i = 0; i < operations; ++i) {
    // Grows and shrinks in turn, so that all sizes occur.
    const uint32_t pushes = i / 500 % 2 == 0 ? 7 : 3;
    const auto number = static_cast<int32_t>(random() % static_cast<uint32_t>(range));
    const auto found = model.find(number);
    if (random() % 10 < pushes) {
      const bool accepted = tree->allowDuplicate || found == model.end();
      ASSERT_EQ(methods->push(tree, elements.make(number)) != nullptr, accepted);
      if (accepted) model.insert(number);
    } else {
      const int32_t expected = found != model.end() || model.empty();
      if (found != model.end()) model.erase(found);
      ASSERT_EQ(methods->pop(tree, elements.make(number)), expected);
    }
    const ztAvlTreeItem *item = methods->find(tree, elements.make(number));
    ASSERT_EQ(item != nullptr, model.count(number) > 0);
    if (item != nullptr) {
      ASSERT_EQ(elements.numberOf(item->data), number);
    }
    expectNumbers(Numbers(model.begin(), model.end()));
    if (HasFatalFailure()) return;
  }
}

}  // namespace

// Long sequences ----------------------------------------------------------------------------------

TEST_P(TreeOf, RandomOperationsWithoutDuplicates) {
  runRandom(11, 200, scale(8000));
}

TEST_P(TreeOf, RandomOperationsWithDuplicates) {
  methods->setAllowDuplicate(tree, 1);
  runRandom(12, 30, scale(8000));
}

TEST_P(TreeOf, RandomOperationsOnFewElements) {
  methods->setAllowDuplicate(tree, 1);
  runRandom(13, 4, scale(4000));
}

TEST_P(TreeOf, AdversarialOrders) {
  const Numbers ascending = upTo(scale(300));
  const Numbers descending(ascending.rbegin(), ascending.rend());
  Numbers organPipe;  // from both ends to the middle
  for (size_t i = 0; i < ascending.size() / 2; ++i) {
    organPipe.push_back(ascending[i]);
    organPipe.push_back(descending[i]);
  }
  const Numbers equal(ascending.size(), 7);
  for (const uint32_t allowDuplicate : {0U, 1U}) {
    methods->setAllowDuplicate(tree, allowDuplicate);
    for (const Numbers &in : {ascending, descending, organPipe, equal}) {
      for (const Numbers &out : {ascending, descending, organPipe, equal}) {
        pushAllChecked(in);
        popAllChecked(out);
        methods->empty(tree);
        expectNumbers({});
        if (HasFatalFailure()) return;
      }
    }
  }
}

TEST(AvlTree, AscendingPushesKeepTheHeightLogarithmic) {
  ztAvlTree *tree = newIntTree();
  const int32_t count = scale(100000);
  for (int32_t number = 1; number <= count; ++number) ASSERT_NE(push(tree, number), nullptr);
  EXPECT_EQ(faultOf(tree), "");
  EXPECT_LE(heightOf(tree), 1.4405 * log2(count + 2));
  for (int32_t number = 1; number <= count; number += 2) ASSERT_EQ(pop(tree, number), 1);
  EXPECT_EQ(faultOf(tree), "");
  EXPECT_EQ(ztAvlTree_of(tree)->getSize(tree), count / 2);
  release(tree);
}

// Shapes ------------------------------------------------------------------------------------------

namespace {

struct ShapeCase {
  const char *name;
  Numbers pushed;
  Numbers popped;
  const char *shape;
};

// What a failure is reported for.
void PrintTo(const ShapeCase &shapeCase, std::ostream *out) {
  *out << shapeCase.shape;
}

class AvlTreeShape : public ::testing::TestWithParam<ShapeCase> {};

const ShapeCase shapeCases[] = {
    {"SingleLeft", {1, 2, 3}, {}, "2=(1=,3=)"},
    {"SingleRight", {3, 2, 1}, {}, "2=(1=,3=)"},
    {"DoubleLeftEven", {1, 3, 2}, {}, "2=(1=,3=)"},
    {"DoubleRightEven", {3, 1, 2}, {}, "2=(1=,3=)"},
    {"DoubleMiddleLeansToTheHeavySide", {20, 10, 50, 40, 60, 45}, {}, "40=(20-(10=,),50=(45=,60=))"},
    {"DoubleMiddleLeansAway", {20, 10, 50, 40, 60, 30}, {}, "40=(20=(10=,30=),50+(,60=))"},
    {"DoubleMirrorLeansToTheHeavySide", {50, 60, 20, 30, 10, 25}, {}, "30=(20=(10=,25=),50+(,60=))"},
    {"DoubleMirrorLeansAway", {50, 60, 20, 30, 10, 40}, {}, "30=(20-(10=,),50=(40=,60=))"},
    {"UnevenParentBecomesEven", {20, 10, 30, 25, 35}, {}, "20+(10=,30=(25=,35=))"},
    {"RotationBelowTheRoot", {20, 10, 30, 40, 50}, {}, "20+(10=,40=(30=,50=))"},
    {"PopOfALeaf", {2, 1, 3}, {1}, "2+(,3=)"},
    {"PopWithALeftChild", {2, 1}, {2}, "1="},
    {"PopWithARightChild", {1, 2}, {1}, "2="},
    {"PopWithTwoChildrenDirectSuccessor", {2, 1, 3}, {2}, "3-(1=,)"},
    {"PopWithTwoChildrenDeepSuccessor", {20, 10, 40, 5, 30, 50, 35}, {20}, "30=(10-(5=,),40=(35=,50=))"},
    {"PopRotatesOnceAndStays", {20, 10, 40, 30, 50}, {10}, "40-(20+(,30=),50=)"},
    {"PopRotatesOnceMirrored", {40, 50, 20, 10, 30}, {50}, "20+(10=,40-(30=,))"},
    {"PopRotatesOnceAndIsLower", {20, 10, 30, 40}, {10}, "30=(20=,40=)"},
    {"PopRotatesTwice", {20, 10, 40, 30}, {10}, "30=(20=,40=)"},
    {"PopRotatesUpToTheRoot",
     {50, 20, 80, 10, 30, 70, 90, 5, 60, 75, 95, 78},
     {95},
     "50=(20-(10-(5=,),30=),75=(70-(60=,),80=(78=,90=)))"},
};

INSTANTIATE_TEST_SUITE_P(Cases, AvlTreeShape, ::testing::ValuesIn(shapeCases),
                         [](const auto &test) { return test.param.name; });

}  // namespace

TEST_P(AvlTreeShape, IsAsExpected) {
  ztAvlTree *tree = newIntTree();
  for (const int32_t number : GetParam().pushed) push(tree, number);
  for (const int32_t number : GetParam().popped) EXPECT_EQ(pop(tree, number), 1);
  EXPECT_EQ(faultOf(tree), "");
  EXPECT_EQ(shapeOf(tree), GetParam().shape);
  release(tree);
}

// Adding ------------------------------------------------------------------------------------------

TEST(AvlTree, NewTreeIsEmpty) {
  ztAvlTree *tree = newTree();
  EXPECT_EQ(tree->root, nullptr);
  EXPECT_EQ(tree->count, 0U);
  EXPECT_EQ(tree->compareFunction, nullptr);
  EXPECT_EQ(tree->itemConstructor, ztAvlTreeItem_ctor);
  EXPECT_EQ(tree->itemManager, tree);
  EXPECT_EQ(ztAvlTree_of(tree)->getSize(tree), 0);
  release(tree);
}

TEST(AvlTree, NewItemHasNoLinks) {
  auto *item = static_cast<ztAvlTreeItem *>(ztAvlTreeItem_ctor(nullptr, 1));
  EXPECT_EQ(item->data, nullptr);
  EXPECT_EQ(item->balance, 0);
  EXPECT_EQ(item->left, nullptr);
  EXPECT_EQ(item->right, nullptr);
  release(item);
}

TEST(AvlTree, ClassesAreKnownByName) {
  for (const char *name : {"ztAvlTree", "ztAvlTreeItem"}) {
    void *object = ztNewFromName(name);
    ASSERT_NE(object, nullptr) << name;
    EXPECT_STREQ(ztOOP_classNameOf(object), name);
    release(object);
  }
}

TEST_P(TreeOf, ElementsAreKeptAsThePolicySays) {
  for (int i = 0; i < 2; ++i) {
    const void *element = elements.make(i);
    const ztAvlTreeItem *item = methods->push(tree, element);
    EXPECT_EQ(elements.isCopy(item->data), GetParam() != Policy::byPointer);
    EXPECT_EQ(item->data == element, GetParam() == Policy::byPointer);
  }
}

TEST_P(TreeOf, EqualElementIsRefusedWithoutDuplicates) {
  fill({5, 3, 8});
  EXPECT_EQ(methods->push(tree, elements.make(3)), nullptr);
  expectNumbers({3, 5, 8});
  methods->setAllowDuplicate(tree, 1);
  EXPECT_NE(methods->push(tree, elements.make(3)), nullptr);
  expectNumbers({3, 3, 5, 8});
}

TEST(AvlTree, NewElementComesAheadOfEqualOnes) {
  ztAvlTree *tree = newTree();
  const auto *methods = ztAvlTree_of(tree);
  methods->setElementSize(tree, sizeof(void *), 1);
  methods->setCompareFunction(tree, ztIntArray_compare_func);
  methods->setAllowDuplicate(tree, 1);
  std::vector<int32_t> equal(40, 7);
  for (const int32_t &number : equal) methods->push(tree, &number);
  const auto items = itemsOf(tree);
  ASSERT_EQ(items.size(), equal.size());
  for (size_t i = 0; i < items.size(); ++i) EXPECT_EQ(items[i]->data, &equal[equal.size() - 1 - i]);
  release(tree);
}

TEST(AvlTree, ComparesTheStoredElementWithTheKey) {
  static ztAvlTree *tree;
  static const void *key;
  static int32_t calls;
  tree = newIntTree();
  for (int32_t number = 0; number < 20; ++number) push(tree, number);
  ztAvlTree_of(tree)->setAllowDuplicate(tree, 1);
  ztAvlTree_of(tree)->setCompareFunction(tree, [](const void *first, const void *second) {
    ++calls;
    const auto items = itemsOf(tree);
    const auto holds = [&items](const void *data) {
      return std::any_of(items.begin(), items.end(), [data](const auto *item) { return item->data == data; });
    };
    EXPECT_TRUE(holds(first));
    EXPECT_FALSE(holds(second));
    if (key != nullptr) {
      EXPECT_EQ(second, key);
    }
    return ztIntArray_compare_func(first, second);
  });
  const int32_t number = 5;
  key = &number;
  calls = 0;
  EXPECT_NE(ztAvlTree_of(tree)->find(tree, &number), nullptr);
  void *output = ztIntArray_ctor(nullptr, 1);
  EXPECT_EQ(ztAvlTree_of(tree)->findAll(tree, &number, output), 1);
  release(output);
  EXPECT_EQ(ztAvlTree_of(tree)->pop(tree, &number), 1);
  EXPECT_GT(calls, 0);
  calls = 0;
  key = nullptr;  // pushes compare with an element of the probe's
  EXPECT_NE(push(tree, 5), nullptr);
  EXPECT_GT(calls, 0);
  release(tree);
}

// The item manager --------------------------------------------------------------------------------

namespace {

class RecordedTree : public ::testing::Test {
 protected:
  RecordedTree() : tree(newIntTree()), recorder(static_cast<Recorder *>(Recorder_ctor(nullptr, 1))) {
    Recorder_of(recorder)->setElementSize(recorder, sizeof(int32_t), 0);
    ztAvlTree_of(tree)->setItemManager(tree, recorder);
  }
  ~RecordedTree() override {
    release(tree);
    release(recorder);
  }

  ztAvlTree *tree;
  Recorder *recorder;
};

}  // namespace

TEST_F(RecordedTree, FirstPushMakesOneItem) {
  const ztAvlTreeItem *item = push(tree, 1);
  EXPECT_EQ(item, recorder->lastMade);
  EXPECT_EQ(callsOf(recorder), "n");
}

TEST_F(RecordedTree, LaterPushMakesTwoItemsAndDeletesTheProbe) {
  push(tree, 1);
  callsOf(recorder);
  const ztAvlTreeItem *item = push(tree, 2);
  EXPECT_EQ(item, recorder->lastMade);
  EXPECT_NE(item, recorder->lastDeleted);
  EXPECT_EQ(callsOf(recorder), "nnd");
  EXPECT_EQ(shapeOf(tree), "1+(,2=)");
}

TEST_F(RecordedTree, RefusedPushMakesAndDeletesOneItem) {
  push(tree, 1);
  callsOf(recorder);
  EXPECT_EQ(push(tree, 1), nullptr);
  EXPECT_EQ(callsOf(recorder), "nd");
  EXPECT_EQ(recorder->lastDeleted, recorder->lastMade);
}

TEST_F(RecordedTree, RemovalsDeleteEachItemOnce) {
  for (int32_t number = 0; number < 5; ++number) push(tree, number);
  callsOf(recorder);
  EXPECT_EQ(pop(tree, 9), 0);
  EXPECT_NE(find(tree, 3), nullptr);
  EXPECT_EQ(callsOf(recorder), "");
  EXPECT_EQ(pop(tree, 3), 1);
  EXPECT_EQ(callsOf(recorder), "d");
  ztAvlTree_of(tree)->empty(tree);
  EXPECT_EQ(callsOf(recorder), "dddd");
  ztAvlTree_of(tree)->empty(tree);
  EXPECT_EQ(pop(tree, 3), 1);
  EXPECT_EQ(callsOf(recorder), "");
}

TEST_F(RecordedTree, IsWholeWheneverAnItemIsDeleted) {
  recorder->watched = tree;
  std::mt19937 random(5);
  for (int32_t i = 0; i < scale(4000); ++i) {
    const auto number = static_cast<int32_t>(random() % 60);
    if (random() % 2 == 0) {
      push(tree, number);
    } else {
      pop(tree, number);
    }
  }
  ztAvlTree_of(tree)->empty(tree);
  EXPECT_EQ(tree->count, 0U);
}

TEST_F(RecordedTree, ProbeStandsAboveTheRootWhenItIsDeleted) {
  push(tree, 0);
  for (int32_t number = 1; number < 40; ++number) {
    push(tree, number);
    ASSERT_EQ(recorder->rightOfDeleted, tree->root);
    ASSERT_EQ(faultOf(tree), "");
  }
}

TEST_F(RecordedTree, StaysAsItIsWhenTheManagerMakesNoItem) {
  recorder->refuseFrom = 1;
  EXPECT_EQ(push(tree, 1), nullptr);
  EXPECT_EQ(tree->root, nullptr);
  EXPECT_EQ(tree->count, 0U);
  recorder->refuseFrom = INT32_MAX;
  for (int32_t number = 1; number <= 4; ++number) push(tree, number);
  const std::string shape = shapeOf(tree);
  for (const int32_t refuseFrom : {1, 2}) {
    callsOf(recorder);
    recorder->refuseFrom = refuseFrom;
    EXPECT_EQ(push(tree, 5), nullptr);
    EXPECT_EQ(callsOf(recorder), refuseFrom == 1 ? "n" : "nnd");
    EXPECT_EQ(shapeOf(tree), shape);
    EXPECT_EQ(faultOf(tree), "");
  }
}

TEST_F(RecordedTree, CopyIsItsOwnManager) {
  for (int32_t number = 0; number < 5; ++number) push(tree, number);
  callsOf(recorder);
  ztAvlTree *copy = copyOf(tree);
  EXPECT_EQ(copy->itemManager, copy);
  EXPECT_EQ(callsOf(recorder), "");
  EXPECT_EQ(tree->itemManager, recorder);
  release(copy);
  EXPECT_EQ(callsOf(recorder), "");
}

TEST_F(RecordedTree, NullManagerStandsForTheTree) {
  ztAvlTree_of(tree)->setItemManager(tree, nullptr);
  for (int32_t number = 0; number < 9; ++number) push(tree, number);
  EXPECT_EQ(pop(tree, 3), 1);
  EXPECT_EQ(find(tree, 3), nullptr);
  EXPECT_EQ(faultOf(tree), "");
  EXPECT_EQ(callsOf(recorder), "");
}

// Host subclasses ---------------------------------------------------------------------------------

namespace {

// A tree that counts what goes through its table, and whose find can pretend to find everything, or
// empty the tree first.
enum { pretendsAll = 1, emptiesFirst };
#define HostTree_FIELDS ztAvlTree_FIELDS int32_t finds, empties, pretends;
#define HostTree_METHODS ztAvlTree_METHODS

}  // namespace

ZT_DECLARE_CLASS(HostTree)

static int32_t hostTreeCreate(void *object) {
  auto *tree = static_cast<HostTree *>(object);
  tree->finds = tree->empties = tree->pretends = 0;
  return ztAvlTree_table()->create(object);
}

static ztAvlTreeItem *hostTreeFind(const void *object, const void *key) {
  auto *tree = static_cast<HostTree *>(const_cast<void *>(object));
  ++tree->finds;
  if (tree->pretends == pretendsAll) return tree->root;
  if (tree->pretends == emptiesFirst) ztAvlTree_table()->empty(tree);
  return ztAvlTree_table()->find(object, key);
}

static int32_t emptiesOfHostTrees;

static void hostTreeEmpty(void *object) {
  ++emptiesOfHostTrees;
  ztAvlTree_table()->empty(object);
}

static void hostTreeMethods(HostTreeMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, hostTreeCreate);
  ZT_OVERRIDE_METHOD(methods, find, hostTreeFind);
  ZT_OVERRIDE_METHOD(methods, empty, hostTreeEmpty);
}

ZT_DEFINE_CLASS(HostTree, ztAvlTree, hostTreeMethods)

TEST(AvlTree, PushAsksTheFindOfTheClass) {
  ztAvlTree *tree = newIntTree(HostTree_ctor);
  auto *host = reinterpret_cast<HostTree *>(tree);
  push(tree, 1);
  EXPECT_EQ(host->finds, 0);
  push(tree, 2);
  EXPECT_EQ(host->finds, 1);
  host->pretends = pretendsAll;
  EXPECT_EQ(push(tree, 3), nullptr);
  EXPECT_EQ(tree->count, 2U);
  ztAvlTree_of(tree)->setAllowDuplicate(tree, 1);
  EXPECT_NE(push(tree, 3), nullptr);
  EXPECT_EQ(host->finds, 2);
  release(tree);
}

TEST(AvlTree, PushIntoATreeThatItsFindEmptied) {
  ztAvlTree *tree = newIntTree(HostTree_ctor);
  for (int32_t number = 0; number < 5; ++number) push(tree, number);
  reinterpret_cast<HostTree *>(tree)->pretends = emptiesFirst;
  EXPECT_NE(push(tree, 9), nullptr);
  EXPECT_EQ(shapeOf(tree), "9=");
  EXPECT_EQ(faultOf(tree), "");
  release(tree);
}

TEST(AvlTree, DestroyCallsTheEmptyOfTheClass) {
  ztAvlTree *tree = newIntTree(HostTree_ctor);
  push(tree, 1);
  emptiesOfHostTrees = 0;
  release(tree);
  EXPECT_EQ(emptiesOfHostTrees, 1);
}

// An item with more in it than an element, in a tree that gives each its mark.
#define MarkedItem_FIELDS \
  ztAvlTreeItem_FIELDS    \
  int32_t mark;           \
  char text[21];
#define MarkedItem_METHODS ztAvlTreeItem_METHODS
ZT_DECLARE_CLASS(MarkedItem)

static void markedItemMethods(MarkedItemMethods *) {}

ZT_DEFINE_CLASS(MarkedItem, ztAvlTreeItem, markedItemMethods)

#define MarkingTree_FIELDS ztAvlTree_FIELDS
#define MarkingTree_METHODS ztAvlTree_METHODS
ZT_DECLARE_CLASS(MarkingTree)

static void *markingTreeNewItem(void *object, const void *element) {
  auto *item = static_cast<MarkedItem *>(ztAvlTree_table()->newItem(object, element));
  item->mark = 3 * *static_cast<const int32_t *>(element);
  snprintf(item->text, sizeof item->text, "number %d", *static_cast<const int32_t *>(element));
  return item;
}

static void markingTreeMethods(MarkingTreeMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, newItem, markingTreeNewItem);
}

ZT_DEFINE_CLASS(MarkingTree, ztAvlTree, markingTreeMethods)

TEST(AvlTree, PopMovesAllThatAnItemCarries) {
  ztAvlTree *tree = newIntTree(MarkingTree_ctor);
  ztAvlTree_of(tree)->setItemConstructor(tree, MarkedItem_ctor);
  Numbers order = upTo(200);
  std::mt19937 random(8);
  std::shuffle(order.begin(), order.end(), random);
  for (const int32_t number : order) push(tree, number);
  std::shuffle(order.begin(), order.end(), random);
  for (const int32_t number : order) {
    ASSERT_EQ(pop(tree, number), 1);
    for (const ztAvlTreeItem *item : itemsOf(tree)) {
      const auto *marked = reinterpret_cast<const MarkedItem *>(item);
      const int32_t there = *static_cast<const int32_t *>(item->data);
      ASSERT_EQ(marked->mark, 3 * there);
      ASSERT_EQ(marked->text, "number " + std::to_string(there));
    }
  }
  release(tree);
}

// Removing ----------------------------------------------------------------------------------------

TEST_P(TreeOf, PopTellsWhetherItRemoved) {
  EXPECT_EQ(methods->pop(tree, elements.make(1)), 1) << "an empty tree reports success";
  fill({1, 2, 3});
  EXPECT_EQ(methods->pop(tree, elements.make(9)), 0);
  EXPECT_EQ(methods->pop(tree, elements.make(2)), 1);
  EXPECT_EQ(methods->pop(tree, elements.make(2)), 0);
  expectNumbers({1, 3});
}

TEST_P(TreeOf, ItemOfAPoppedElementWithTwoChildrenHoldsItsSuccessor) {
  fill({4, 2, 6, 1, 3, 5, 7});
  const ztAvlTreeItem *item = tree->root;
  const void *successor = methods->find(tree, elements.make(5))->data;
  EXPECT_EQ(methods->pop(tree, elements.make(4)), 1);
  EXPECT_EQ(tree->root, item);
  EXPECT_EQ(item->data, successor);
  expectNumbers({1, 2, 3, 5, 6, 7});
}

TEST_P(TreeOf, PopTakesAStoredElementAsItsKey) {
  fill(upTo(50));
  while (tree->count > 0) ASSERT_EQ(methods->pop(tree, tree->root->data), 1);
  expectNumbers({});
}

TEST_P(TreeOf, EmptiedTreeIsUsedAgain) {
  for (int turn = 0; turn < 3; ++turn) {
    fill(upTo(30));
    methods->empty(tree);
    expectNumbers({});
    methods->empty(tree);
  }
  fill({2, 1});
  expectNumbers({1, 2});
}

TEST(AvlTree, DestroyedTwiceIsHarmless) {
  ztAvlTree tree;
  ztAvlTree_ctor(&tree, 1);
  ztAvlTree_of(&tree)->setElementSize(&tree, sizeof(int32_t), 0);
  ztAvlTree_of(&tree)->setCompareFunction(&tree, ztIntArray_compare_func);
  for (int32_t number = 0; number < 9; ++number) push(&tree, number);
  ztAvlTree_of(&tree)->destroy(&tree);
  EXPECT_EQ(tree.root, nullptr);
  ztAvlTree_of(&tree)->destroy(&tree);
}

// An element that, at its end, takes itself and the next number out of a tree of pointers.
static ztAvlTree *registry;

#define Member_FIELDS \
  ztBaseClass_FIELDS  \
  int32_t value;
#define Member_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Member)

static void memberDestroy(void *object) {
  const auto *member = static_cast<const Member *>(object);
  Member other;
  Member_ctor(&other, 0);
  other.value = member->value + 1;
  if (registry != nullptr) {
    EXPECT_EQ(ztAvlTree_of(registry)->find(registry, object), nullptr);
    ztAvlTree_of(registry)->pop(registry, &other);
    EXPECT_EQ(faultOf(registry), "");
  }
  ztBaseClass_table()->destroy(object);
}

static void memberMethods(MemberMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, destroy, memberDestroy);
}

ZT_DEFINE_CLASS(Member, ztBaseClass, memberMethods)

static int32_t compareMembers(const void *first, const void *second) {
  return ztIntArray_compare_func(&static_cast<const Member *>(first)->value,
                                 &static_cast<const Member *>(second)->value);
}

TEST(AvlTree, ElementMayCallIntoTheTreeAtItsEnd) {
  for (const int32_t popped : {0, 5, 19}) {
    ztAvlTree *tree = newTree();
    ztAvlTree_of(tree)->setElementConstructor(tree, Member_ctor);
    ztAvlTree_of(tree)->setCompareFunction(tree, compareMembers);
    registry = nullptr;
    Member member;
    Member_ctor(&member, 1);
    for (member.value = 0; member.value < 20; ++member.value) ztAvlTree_of(tree)->push(tree, &member);
    registry = tree;
    member.value = popped;
    EXPECT_EQ(ztAvlTree_of(tree)->pop(tree, &member), 1);
    EXPECT_EQ(tree->count, static_cast<uint32_t>(popped)) << "each took the next with it";
    ztAvlTree_of(tree)->empty(tree);
    EXPECT_EQ(tree->count, 0U);
    registry = nullptr;
    release(tree);
  }
}

// Finding -----------------------------------------------------------------------------------------

TEST_P(TreeOf, FindGivesTheItemOfTheElement) {
  fill({5, 3, 8, 1});
  const ztAvlTreeItem *item = methods->find(tree, elements.make(3));
  ASSERT_NE(item, nullptr);
  EXPECT_EQ(elements.numberOf(item->data), 3);
  EXPECT_EQ(methods->find(tree, elements.make(4)), nullptr);
}

TEST(AvlTree, FindGivesTheHighestOfEqualElements) {
  ztAvlTree *tree = newIntTree();
  ztAvlTree_of(tree)->setAllowDuplicate(tree, 1);
  for (int i = 0; i < 3; ++i) push(tree, 7);
  EXPECT_EQ(find(tree, 7), tree->root);
  release(tree);
}

TEST_P(TreeOf, FindAllGivesNothingWithoutDuplicates) {
  fill({1, 2, 3});
  ztAvlTree *output = newTree();
  elements.configure(output);
  ztAvlTree_of(output)->push(output, elements.make(9));
  EXPECT_EQ(methods->findAll(tree, elements.make(2), output), 0);
  EXPECT_EQ(numbersIn(output), Numbers({9}));
  release(output);
}

TEST_P(TreeOf, FindAllCollectsTheEqualElementsOfOneWayDown) {
  methods->setAllowDuplicate(tree, 1);
  fill({7, 7, 7});
  // The first of them has come to hang on the right of the second, and is passed by.
  auto *output = static_cast<ztArray *>(ztArray_ctor(nullptr, 1));
  elements.configure(output);
  if (GetParam() == Policy::constructed) {
    ztArray_of(output)->setElementSize(output, int32_t{sizeof(Counted)}, 0);
  }
  EXPECT_EQ(methods->findAll(tree, elements.make(7), output), 2);
  for (int32_t i = 0; i < 2; ++i) {
    EXPECT_EQ(elements.numberOf(ztArray_of(output)->getAt(output, i)), 7);
  }
  EXPECT_EQ(methods->findAll(tree, elements.make(7), output), 4) << "the size of the output, not of the find";
  EXPECT_EQ(methods->findAll(tree, elements.make(8), output), 4);
  release(output);
}

TEST_P(TreeOf, FindAllIntoAnotherTreePushes) {
  methods->setAllowDuplicate(tree, 1);
  fill({5, 5, 3, 3, 8});
  ztAvlTree *output = newTree();
  elements.configure(output);
  ztAvlTree_of(output)->setAllowDuplicate(output, 1);
  const int32_t count = methods->findAll(tree, elements.make(3), output);
  EXPECT_EQ(count, static_cast<int32_t>(output->count));
  EXPECT_GE(count, 1);
  for (const int32_t number : numbersIn(output)) EXPECT_EQ(number, 3);
  release(output);
}

TEST_P(TreeOf, FindAllIntoTheTreeItself) {
  methods->setAllowDuplicate(tree, 1);
  fill({5, 7, 7, 7, 9});
  ztAvlTree *output = newTree();
  elements.configure(output);
  ztAvlTree_of(output)->setAllowDuplicate(output, 1);
  const int32_t found = methods->findAll(tree, elements.make(7), output);
  release(output);
  EXPECT_EQ(methods->findAll(tree, elements.make(7), tree), 5 + found);
  Numbers expected(static_cast<size_t>(5 + found), 7);
  expected.front() = 5;
  expected.back() = 9;
  expectNumbers(expected);
}

TEST(AvlTree, FindAllTakesSequenceContainersOnly) {
  ztAvlTree *tree = newIntTree();
  ztAvlTree_of(tree)->setAllowDuplicate(tree, 1);
  push(tree, 1);
  const int32_t key = 1;
  void *map = ztMap_ctor(nullptr, 1);
  EXPECT_EQ(ztAvlTree_of(tree)->findAll(tree, &key, map), 0);
  EXPECT_EQ(ztMap_of(map)->getSize(map), 0);
  EXPECT_EQ(ztAvlTree_of(tree)->findAll(tree, &key, nullptr), 0);
  release(map);
  release(tree);
}

TEST(AvlTree, FindAllInAnEmptyTreeGivesTheOutputsSize) {
  ztAvlTree *tree = newIntTree();
  ztAvlTree_of(tree)->setAllowDuplicate(tree, 1);
  auto *output = static_cast<ztIntArray *>(ztIntArray_ctor(nullptr, 1));
  ztIntArray_of(output)->setSize(output, 3);
  const int32_t key = 1;
  EXPECT_EQ(ztAvlTree_of(tree)->findAll(tree, &key, output), 3);
  release(output);
  release(tree);
}

// Copies ------------------------------------------------------------------------------------------

TEST_P(TreeOf, CopyIsIndependent) {
  fill({5, 3, 8, 1, 4});
  ztAvlTree *copy = copyOf(tree);
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(faultOf(copy), "");
  EXPECT_EQ(numbersIn(copy), Numbers({1, 3, 4, 5, 8}));
  EXPECT_EQ(copy->itemManager, copy);
  for (const ztAvlTreeItem *item : itemsOf(copy)) {
    const ztAvlTreeItem *original = methods->find(tree, item->data);
    EXPECT_NE(item, original);
    EXPECT_EQ(item->data == original->data, GetParam() == Policy::byPointer);
  }
  ztAvlTree_of(copy)->pop(copy, elements.make(3));
  ztAvlTree_of(copy)->push(copy, elements.make(9));
  EXPECT_EQ(numbersIn(tree), Numbers({1, 3, 4, 5, 8}));
  methods->empty(tree);
  EXPECT_EQ(numbersIn(copy), Numbers({1, 4, 5, 8, 9}));
  release(copy);
}

TEST_P(TreeOf, CopyOfAnEmptyTreeIsEmpty) {
  ztAvlTree *copy = copyOf(tree);
  EXPECT_EQ(copy->root, nullptr);
  EXPECT_EQ(copy->count, 0U);
  release(copy);
}

TEST_P(TreeOf, CopyKeepsEqualElementsThatAreNoLongerAllowed) {
  methods->setAllowDuplicate(tree, 1);
  fill({2, 1, 2, 3, 2});
  methods->setAllowDuplicate(tree, 0);
  ztAvlTree *copy = copyOf(tree);
  EXPECT_EQ(numbersIn(copy), Numbers({1, 2, 2, 2, 3}));
  EXPECT_EQ(copy->allowDuplicate, 0U);
  EXPECT_EQ(ztAvlTree_of(copy)->push(copy, elements.make(1)), nullptr);
  release(copy);
}

TEST(AvlTree, CopyKeepsTheOrderOfEqualElements) {
  ztAvlTree *tree = newTree();
  const auto *methods = ztAvlTree_of(tree);
  methods->setElementSize(tree, sizeof(void *), 1);
  methods->setCompareFunction(tree, ztIntArray_compare_func);
  methods->setAllowDuplicate(tree, 1);
  std::mt19937 random(21);
  std::vector<int32_t> numbers(300);
  for (int32_t &number : numbers) number = static_cast<int32_t>(random() % 20);
  for (const int32_t &number : numbers) methods->push(tree, &number);
  ztAvlTree *copy = copyOf(tree);
  const auto items = itemsOf(tree);
  const auto copies = itemsOf(copy);
  ASSERT_EQ(copies.size(), items.size());
  for (size_t i = 0; i < items.size(); ++i) EXPECT_EQ(copies[i]->data, items[i]->data);
  release(copy);
  release(tree);
}

TEST(AvlTree, CopyThatFailsLosesNothing) {
  const LiveCount live;
  ztAvlTree *tree = newTree();
  ztAvlTree_of(tree)->setElementConstructor(tree, Counted_ctor);
  ztAvlTree_of(tree)->setCompareFunction(tree, compareCounted);
  Counted *element = newCounted(0);
  for (int32_t number = 0; number < 9; ++number) {
    element->value = number;
    ztAvlTree_of(tree)->push(tree, element);
  }
  element->value = 4;
  static_cast<Counted *>(ztAvlTree_of(tree)->find(tree, element)->data)->value = refusesToClone;
  void *target = ztAvlTree_newop();
  EXPECT_EQ(ztAvlTree_of(tree)->clone(tree, target), nullptr);
  ztm_free(target);
  EXPECT_EQ(live.made(), 10);
  release(element);
  release(tree);
  EXPECT_EQ(live.made(), 0);
}

TEST(AvlTree, CopyKeepsTheClassesOfElements) {
  ztAvlTree *tree = newTree();
  ztAvlTree_of(tree)->setElementConstructor(tree, Counted_ctor);
  ztAvlTree_of(tree)->setCompareFunction(tree, compareCounted);
  const ztCtor constructors[] = {Counted_ctor, CountedTwin_ctor, CountedLarger_ctor};
  for (int32_t number = 0; number < 3; ++number) {
    Counted *element = newCounted(number, constructors[number]);
    ztAvlTree_of(tree)->push(tree, element);
    EXPECT_EQ(element->refCount, 1);
    release(element);
  }
  ztAvlTree *copy = copyOf(tree);
  const auto items = itemsOf(copy);
  ASSERT_EQ(items.size(), 3U);
  EXPECT_STREQ(ztOOP_classNameOf(items[0]->data), "Counted");
  EXPECT_STREQ(ztOOP_classNameOf(items[1]->data), "CountedTwin");
  EXPECT_STREQ(ztOOP_classNameOf(items[2]->data), "CountedLarger");
  release(copy);
  release(tree);
}

TEST(AvlTree, CopyOntoNothingFails) {
  ztAvlTree *tree = newIntTree();
  EXPECT_EQ(ztAvlTree_of(tree)->clone(tree, nullptr), nullptr);
  release(tree);
}

// Without memory ----------------------------------------------------------------------------------

TEST_P(TreeOf, PushWithoutMemoryChangesNothing) {
  for (const int32_t present : {0, 3}) {
    methods->empty(tree);
    fill(upTo(present));
    int failures = 0;
    for (;; ++failures) {
      const void *element = elements.make(present);
      const Fault injected(failures);
      const ztAvlTreeItem *item = methods->push(tree, element);
      if (!injected.end()) {
        EXPECT_NE(item, nullptr);
        break;
      }
      EXPECT_EQ(item, nullptr);
      expectNumbers(upTo(present));
    }
    const int perItem = GetParam() == Policy::byPointer ? 1 : 2;
    EXPECT_EQ(failures, present == 0 ? perItem : 2 * perItem);
    expectNumbers(upTo(present + 1));
  }
}

TEST_P(TreeOf, CopyWithoutMemoryFailsAndOwnsNothing) {
  fill(upTo(6));
  expectCopyToNeedMemory(tree, 6);
  expectNumbers(upTo(6));
}

TEST_P(TreeOf, LookingRemovingAndWalkingNeedNoMemory) {
  fill(upTo(100));
  const Fault injected(0);
  ztAvlIterator walk;
  ztAvlIterator_ctor(&walk, 1);
  int32_t count = 0;
  for (void *item = ztAvlIterator_of(&walk)->first(&walk, tree); item != nullptr;
       item = ztAvlIterator_of(&walk)->next(&walk)) {
    ++count;
  }
  EXPECT_EQ(count, 100);
  for (int32_t number = 0; number < 100; ++number) {
    EXPECT_NE(methods->find(tree, elements.make(number)), nullptr);
    EXPECT_EQ(methods->pop(tree, elements.make(number)), 1);
  }
  EXPECT_FALSE(injected.end());
}

// Misuse ------------------------------------------------------------------------------------------

TEST(AvlTree, WithoutACompareFunctionOnlyOneElementGoesIn) {
  ztAvlTree *tree = newIntTree();
  ztAvlTree_of(tree)->setCompareFunction(tree, nullptr);
  Recorder *recorder = static_cast<Recorder *>(Recorder_ctor(nullptr, 1));
  Recorder_of(recorder)->setElementSize(recorder, sizeof(int32_t), 0);
  ztAvlTree_of(tree)->setItemManager(tree, recorder);
  EXPECT_EQ(find(tree, 1), nullptr);
  EXPECT_EQ(pop(tree, 1), 1) << "an empty tree reports success";
  EXPECT_NE(push(tree, 1), nullptr);
  callsOf(recorder);
  EXPECT_EQ(push(tree, 2), nullptr);
  EXPECT_EQ(callsOf(recorder), "") << "nothing is made in vain";
  EXPECT_EQ(find(tree, 1), nullptr);
  EXPECT_EQ(pop(tree, 1), 0);
  ztAvlTree_of(tree)->setAllowDuplicate(tree, 1);
  const int32_t key = 1;
  void *output = ztIntArray_ctor(nullptr, 1);
  EXPECT_EQ(ztAvlTree_of(tree)->findAll(tree, &key, output), 0);
  release(output);
  EXPECT_EQ(tree->count, 1U);
  release(tree);
  release(recorder);
}

TEST_P(TreeOf, NullIsAnElementOnlyWherePointersAreKept) {
  if (GetParam() == Policy::byPointer) {
    fill({1, 2});
    const ztAvlTreeItem *item = methods->push(tree, nullptr);
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(methods->find(tree, nullptr), item);
    EXPECT_EQ(methods->pop(tree, nullptr), 1);
    EXPECT_EQ(methods->pop(tree, nullptr), 0);
    return;
  }
  EXPECT_EQ(methods->push(tree, nullptr), nullptr);
  fill({1, 2});
  EXPECT_EQ(methods->push(tree, nullptr), nullptr);
  EXPECT_EQ(methods->find(tree, nullptr), nullptr);
  EXPECT_EQ(methods->pop(tree, nullptr), 0);
  methods->setAllowDuplicate(tree, 1);
  ztAvlTree *output = newTree();
  elements.configure(output);
  EXPECT_EQ(methods->findAll(tree, nullptr, output), 0);
  release(output);
  expectNumbers({1, 2});
}

TEST(AvlTree, NullTreeGivesNothing) {
  const auto *methods = ztAvlTree_table();
  const int32_t number = 1;
  EXPECT_EQ(methods->push(nullptr, &number), nullptr);
  EXPECT_EQ(methods->pop(nullptr, &number), 0);
  EXPECT_EQ(methods->find(nullptr, &number), nullptr);
  EXPECT_EQ(methods->findAll(nullptr, &number, nullptr), 0);
  EXPECT_EQ(methods->getSize(nullptr), 0);
  methods->empty(nullptr);
}

TEST(AvlTree, ElementThatRefusesToBeCopiedIsNotAdded) {
  const LiveCount live;
  ztAvlTree *tree = newTree();
  ztAvlTree_of(tree)->setElementConstructor(tree, Counted_ctor);
  ztAvlTree_of(tree)->setCompareFunction(tree, compareCounted);
  Counted *element = newCounted(refusesToClone);
  EXPECT_EQ(ztAvlTree_of(tree)->push(tree, element), nullptr);
  element->value = 3;
  EXPECT_NE(ztAvlTree_of(tree)->push(tree, element), nullptr);
  element->value = refusesToClone;
  EXPECT_EQ(ztAvlTree_of(tree)->push(tree, element), nullptr);
  EXPECT_EQ(tree->count, 1U);
  release(element);
  release(tree);
  EXPECT_EQ(live.made(), 0);
}

// A manager's items of two sizes -------------------------------------------------------------------

// WideItem: an item that carries a word of its own, and words that no smaller item has.
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

TEST(AvlTree, PopExchangesAsMuchAsTheSmallerItemHas) {
  for (const ztCtor root : {WideItem_ctor, WiderItem_ctor}) {
    const ztCtor rest = root == WideItem_ctor ? WiderItem_ctor : WideItem_ctor;
    void *tree = ztAvlTree_ctor(nullptr, 1);
    const ztAvlTreeMethods *methods = ztAvlTree_of(tree);
    methods->setElementSize(tree, sizeof(int32_t), 0);
    methods->setCompareFunction(tree, ztIntArray_compare_func);
    for (const int32_t number : {2, 1, 3}) {
      methods->setItemConstructor(tree, number == 2 ? root : rest);
      auto *item = reinterpret_cast<WideItem *>(methods->push(tree, &number));
      item->mark = 100 + number;
      const bool isWider = item->klass == WiderItemClass_Instance();
      for (int i = 0; isWider && i < 8; ++i) reinterpret_cast<WiderItem *>(item)->more[i] = number;
    }
    const int32_t two = 2;
    EXPECT_EQ(methods->pop(tree, &two), 1);
    // The root's item stays and holds what the smaller item of both could carry over.
    const auto *top = reinterpret_cast<const WideItem *>(static_cast<const ztAvlTree *>(tree)->root);
    EXPECT_EQ(top->klass->instanceSize,
              root == WideItem_ctor ? int32_t{sizeof(WideItem)} : int32_t{sizeof(WiderItem)});
    EXPECT_EQ(*static_cast<const int32_t *>(top->data), 3);
    EXPECT_EQ(top->mark, 103);
    for (int i = 0; root == WiderItem_ctor && i < 8; ++i) {
      EXPECT_EQ(reinterpret_cast<const WiderItem *>(top)->more[i], 2) << i;
    }
    methods->unRef(tree);
  }
}

TEST(AvlTree, TakesNoMoreElementsThanItsSizeCanTell) {
  void *tree = ztAvlTree_ctor(nullptr, 1);
  const ztAvlTreeMethods *methods = ztAvlTree_of(tree);
  methods->setElementSize(tree, sizeof(int32_t), 0);
  methods->setCompareFunction(tree, ztIntArray_compare_func);
  const int32_t numbers[] = {1, 2};
  methods->push(tree, &numbers[0]);
  static_cast<ztAvlTree *>(tree)->count = INT32_MAX;
  EXPECT_EQ(methods->push(tree, &numbers[1]), nullptr);
  EXPECT_EQ(methods->getSize(tree), INT32_MAX);
  static_cast<ztAvlTree *>(tree)->count = 1;
  EXPECT_NE(methods->push(tree, &numbers[1]), nullptr);
  methods->unRef(tree);
}
