#include "containers/ztavliter.h"

#include "containers/ztarrays.h"
#include "containers/ztmapiter.h"
#include "core/ztmem.h"
#include "tests/containers/treecheck.hh"
#include "tests/helpers/scale.hh"

#include <gtest/gtest.h>
#include <string.h>

#include <algorithm>
#include <numeric>
#include <random>

namespace {

using Items = std::vector<ztAvlTreeItem *>;

void release(void *object) {
  ztBaseClass_of(object)->unRef(object);
}

// A tree of numbers in random order, and an iterator in this test's own memory.
class AvlIterator : public ::testing::Test {
 protected:
  AvlIterator() : tree(static_cast<ztAvlTree *>(ztAvlTree_ctor(nullptr, 1))) {
    ztAvlTree_of(tree)->setElementSize(tree, sizeof(int32_t), 0);
    ztAvlTree_of(tree)->setCompareFunction(tree, ztIntArray_compare_func);
    ztAvlTree_of(tree)->setAllowDuplicate(tree, 1);
    memset(static_cast<void *>(&walk), 0xA5, sizeof walk);
    ztAvlIterator_ctor(&walk, 1);
    steps = ztAvlIterator_of(&walk);
  }
  ~AvlIterator() override {
    steps->destroy(&walk);
    release(tree);
  }

  void fill(int32_t count) {
    for (int32_t i = 0; i < count; ++i) {
      const auto number = static_cast<int32_t>(random() % 100000);
      ztAvlTree_of(tree)->push(tree, &number);
    }
  }

  Items forwards() {
    Items items;
    for (void *item = steps->first(&walk, tree); item != nullptr; item = steps->next(&walk)) {
      EXPECT_EQ(walk.current, item);
      items.push_back(static_cast<ztAvlTreeItem *>(item));
    }
    return items;
  }

  Items backwards() {
    Items items;
    for (void *item = steps->last(&walk, tree); item != nullptr; item = steps->prev(&walk)) {
      items.push_back(static_cast<ztAvlTreeItem *>(item));
    }
    return items;
  }

  std::mt19937 random{77};
  ztAvlTree *tree;
  ztAvlIterator walk;
  const ztAvlIteratorMethods *steps;
};

}  // namespace

TEST(Iterator, StepsAreAbstract) {
  void *iterator = ztIterator_ctor(nullptr, 1);
  const auto *steps = ztIterator_of(iterator);
  const std::string expected =
      "ztOOP -> Error: Trying to call a virtual function member for class: ztIterator\n";
  for (const void *result :
       {steps->start(iterator, nullptr, 0), steps->move(iterator, 1), steps->first(iterator, nullptr),
        steps->last(iterator, nullptr), steps->next(iterator), steps->prev(iterator)}) {
    EXPECT_EQ(static_cast<const char *>(result), expected);
  }
  release(iterator);
}

TEST(Iterator, ClassesAreKnownByName) {
  for (const char *name : {"ztIterator", "ztAvlIterator", "ztMapIterator"}) {
    void *iterator = ztNewFromName(name);
    ASSERT_NE(iterator, nullptr) << name;
    EXPECT_STREQ(ztOOP_classNameOf(iterator), name);
    EXPECT_EQ(ztOOP_isClassOf(iterator, "ztIterator"), 1);
    release(iterator);
  }
}

TEST_F(AvlIterator, NewIteratorIsNowhere) {
  EXPECT_EQ(walk.tree, nullptr);
  EXPECT_EQ(walk.current, nullptr);
  EXPECT_EQ(walk.depth, 0U);
}

TEST_F(AvlIterator, StepsBeforeAStartGiveNothing) {
  EXPECT_EQ(steps->next(&walk), nullptr);
  EXPECT_EQ(steps->prev(&walk), nullptr);
  EXPECT_EQ(steps->move(&walk, 0), nullptr);
  EXPECT_EQ(steps->move(&walk, 1), nullptr);
}

TEST_F(AvlIterator, NothingToWalk) {
  EXPECT_EQ(steps->first(&walk, tree), nullptr);
  EXPECT_EQ(steps->last(&walk, tree), nullptr);
  EXPECT_EQ(steps->next(&walk), nullptr);
  fill(3);
  EXPECT_NE(steps->first(&walk, tree), nullptr);
  EXPECT_EQ(steps->first(&walk, nullptr), nullptr);
  EXPECT_EQ(walk.current, nullptr);
  EXPECT_EQ(steps->next(&walk), nullptr);
  EXPECT_EQ(steps->start(&walk, nullptr, 1), nullptr);
}

TEST_F(AvlIterator, WalksTreesOfEverySizeBothWays) {
  for (int32_t count = 0; count < 140; ++count) {
    const Items items = itemsOf(tree);
    ASSERT_EQ(items.size(), static_cast<size_t>(count));
    ASSERT_EQ(forwards(), items);
    ASSERT_EQ(walk.current, nullptr);
    ASSERT_EQ(backwards(), Items(items.rbegin(), items.rend()));
    fill(1);
  }
}

TEST_F(AvlIterator, WalksALargeTree) {
  fill(scale(20000));
  const Items items = itemsOf(tree);
  EXPECT_EQ(forwards(), items);
  EXPECT_EQ(backwards(), Items(items.rbegin(), items.rend()));
}

TEST_F(AvlIterator, OrderIsThatOfTheElements) {
  for (int32_t number = 1; number <= 1000; ++number) ztAvlTree_of(tree)->push(tree, &number);
  int32_t expected = 0;
  for (const ztAvlTreeItem *item : forwards()) EXPECT_EQ(*static_cast<int32_t *>(item->data), ++expected);
  for (const ztAvlTreeItem *item : backwards()) EXPECT_EQ(*static_cast<int32_t *>(item->data), expected--);
}

TEST_F(AvlIterator, StartAndMoveCountDirectionsTheOppositeWay) {
  fill(50);
  const Items items = itemsOf(tree);
  EXPECT_EQ(steps->start(&walk, tree, 0), items.front());
  EXPECT_EQ(steps->move(&walk, 1), items[1]);
  EXPECT_EQ(steps->move(&walk, 1), items[2]);
  EXPECT_EQ(steps->move(&walk, 0), items[1]);
  EXPECT_EQ(steps->start(&walk, tree, 1), items.back());
  EXPECT_EQ(steps->move(&walk, 0), items[48]);
  EXPECT_EQ(steps->move(&walk, 1), items.back());
}

TEST_F(AvlIterator, TurnsAnywhere) {
  for (const int32_t count : {1, 2, 3, 7, 30, 200}) {
    ztAvlTree_of(tree)->empty(tree);
    fill(count);
    const Items items = itemsOf(tree);
    size_t position = 0;
    bool ended = true;
    for (int32_t i = 0; i < scale(20000); ++i) {
      if (ended) {
        const bool atFront = random() % 2 == 0;
        position = atFront ? 0 : items.size() - 1;
        ASSERT_EQ(atFront ? steps->first(&walk, tree) : steps->last(&walk, tree), items[position]);
        ended = false;
        continue;
      }
      const bool forward = random() % 2 == 0;
      void *item = forward ? steps->next(&walk) : steps->prev(&walk);
      ended = forward ? position + 1 == items.size() : position == 0;
      if (ended) {
        ASSERT_EQ(item, nullptr);
        ASSERT_EQ(steps->next(&walk), nullptr) << "an ended walk stays ended";
        ASSERT_EQ(steps->prev(&walk), nullptr);
      } else {
        position += forward ? 1 : size_t(-1);
        ASSERT_EQ(item, items[position]);
      }
    }
  }
}

TEST_F(AvlIterator, CopyGoesOnFromWhereItsSourceIs) {
  fill(40);
  const Items items = itemsOf(tree);
  steps->first(&walk, tree);
  for (int i = 0; i < 10; ++i) steps->next(&walk);
  auto *copy = static_cast<ztAvlIterator *>(steps->clone(&walk, ztAvlIterator_newop()));
  EXPECT_EQ(steps->next(&walk), items[11]);
  EXPECT_EQ(ztAvlIterator_of(copy)->prev(copy), items[9]);
  EXPECT_EQ(steps->next(&walk), items[12]);
  release(copy);
}

TEST_F(AvlIterator, ReachesTheRootOnlyOnce) {
  fill(1);
  EXPECT_EQ(steps->first(&walk, tree), tree->root);
  EXPECT_EQ(walk.depth, 0U);
  EXPECT_EQ(steps->next(&walk), nullptr);
  EXPECT_EQ(steps->last(&walk, tree), tree->root);
  EXPECT_EQ(steps->prev(&walk), nullptr);
}

TEST_F(AvlIterator, PathHoldsTheItemsAboveTheCurrentOne) {
  fill(300);
  for (void *item = steps->first(&walk, tree); item != nullptr; item = steps->next(&walk)) {
    const ztAvlTreeItem *above = tree->root;
    for (uint32_t i = 0; i < walk.depth; ++i) {
      ASSERT_EQ(walk.path[i], above);
      const ztAvlTreeItem *below = i + 1 < walk.depth ? walk.path[i + 1] : walk.current;
      ASSERT_TRUE(above->left == below || above->right == below);
      above = below;
    }
    ASSERT_EQ(above, item);
  }
}

TEST(AvlIteratorTable, NullIteratorGivesNothing) {
  const auto *steps = ztAvlIterator_table();
  EXPECT_EQ(steps->start(nullptr, nullptr, 0), nullptr);
  EXPECT_EQ(steps->move(nullptr, 1), nullptr);
  EXPECT_EQ(steps->first(nullptr, nullptr), nullptr);
  EXPECT_EQ(steps->last(nullptr, nullptr), nullptr);
  EXPECT_EQ(steps->next(nullptr), nullptr);
  EXPECT_EQ(steps->prev(nullptr), nullptr);
}

// Routing -----------------------------------------------------------------------------------------

// A host's iterators, which write down the starts and moves that they are asked for.
static std::string asked;

static void *recordStart(void *, const void *container, int32_t direction) {
  asked += direction ? " start 1" : " start 0";
  return const_cast<void *>(container);
}

static void *recordMove(void *object, int32_t direction) {
  asked += direction ? " move 1" : " move 0";
  return object;
}

#define HostIterator_FIELDS ztAvlIterator_FIELDS
#define HostIterator_METHODS ztAvlIterator_METHODS
ZT_DECLARE_CLASS(HostIterator)

static void hostIteratorMethods(HostIteratorMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, start, recordStart);
  ZT_OVERRIDE_METHOD(methods, move, recordMove);
}

ZT_DEFINE_CLASS(HostIterator, ztAvlIterator, hostIteratorMethods)

#define HostMapIterator_FIELDS ztMapIterator_FIELDS
#define HostMapIterator_METHODS ztMapIterator_METHODS
ZT_DECLARE_CLASS(HostMapIterator)

static void hostMapIteratorMethods(HostMapIteratorMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, start, recordStart);
  ZT_OVERRIDE_METHOD(methods, move, recordMove);
}

ZT_DEFINE_CLASS(HostMapIterator, ztMapIterator, hostMapIteratorMethods)

static void expectRouting(void *iterator, const void *container, const void *tree) {
  const auto *steps = ztIterator_of(iterator);
  asked.clear();
  EXPECT_EQ(steps->first(iterator, container), tree);
  EXPECT_EQ(steps->last(iterator, container), tree);
  EXPECT_EQ(steps->next(iterator), iterator);
  EXPECT_EQ(steps->prev(iterator), iterator);
  EXPECT_EQ(asked, " start 0 start 1 move 1 move 0");
  release(iterator);
}

TEST_F(AvlIterator, EndsAndStepsGoThroughStartAndMove) {
  expectRouting(HostIterator_ctor(nullptr, 1), tree, tree);
}

TEST(MapIterator, EndsAndStepsGoThroughStartAndMove) {
  auto *map = static_cast<ztMap *>(ztMap_ctor(nullptr, 1));
  expectRouting(HostMapIterator_ctor(nullptr, 1), map, map->tree);
  release(map);
}
