#include "containers/ztavliter.h"

#include "containers/ztmapiter.h"
#include "tests/containers/treecheck.hh"
#include "tests/helpers/abstract_slot.hh"
#include "tests/helpers/scale.hh"

#include <gtest/gtest.h>
#include <string.h>

#include <random>

namespace {

using Items = std::vector<ztAvlTreeItem *>;

// A tree of numbers in random order, and an iterator in this test's own memory.
class ztAvlIteratorTest : public testing::Test {
 protected:
  ztAvlIteratorTest() {
    tree->setAllowDuplicate(tree, 1);
    memset(static_cast<void *>(&walk), 0xA5, sizeof walk);
    ztAvlIterator_ctor(&walk, 1);
  }
  ~ztAvlIteratorTest() override {
    steps->destroy(&walk);
  }

  void fill(int32_t count) {
    for (int32_t i = 0; i < count; ++i) tree.push(static_cast<int32_t>(random() % 100000));
  }
  void expectToWalkBothWays() {
    const Items items = itemsIn(tree);
    Items forwards;
    for (void *item = steps->first(&walk, tree); item != nullptr; item = steps->next(&walk)) {
      EXPECT_EQ(walk.current, item);
      forwards.push_back(static_cast<ztAvlTreeItem *>(item));
    }
    EXPECT_EQ(walk.current, nullptr);
    EXPECT_EQ(forwards, items);
    Items backwards;
    for (void *item = steps->last(&walk, tree); item != nullptr; item = steps->prev(&walk)) {
      backwards.push_back(static_cast<ztAvlTreeItem *>(item));
    }
    EXPECT_EQ(backwards, Items(items.rbegin(), items.rend()));
  }

  std::mt19937 random{77};
  IntTree tree;
  ztAvlIterator walk;
  const ztAvlIteratorMethods *steps = ztAvlIterator_table();
};

}  // namespace

TEST(ztIterator, StepsAreAbstract) {
  const Owned<ztIterator, ztIteratorMethods> walk(ztIterator_ctor);
  for (const void *result : {walk->start(walk, nullptr, 0), walk->move(walk, 1), walk->first(walk, nullptr),
                             walk->last(walk, nullptr), walk->next(walk), walk->prev(walk)}) {
    EXPECT_EQ(static_cast<const char *>(result), virtualCall("ztIterator"));
  }
}

TEST_F(ztAvlIteratorTest, StepsBeforeAStartGiveNothing) {
  EXPECT_EQ(walk.tree, nullptr);
  EXPECT_EQ(walk.current, nullptr);
  EXPECT_EQ(walk.depth, 0U);
  EXPECT_EQ(steps->next(&walk), nullptr);
  EXPECT_EQ(steps->prev(&walk), nullptr);
  EXPECT_EQ(steps->move(&walk, 0), nullptr);
  EXPECT_EQ(steps->move(&walk, 1), nullptr);
}

TEST_F(ztAvlIteratorTest, NothingToWalk) {
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

TEST_F(ztAvlIteratorTest, WalksTreesOfEverySizeBothWays) {
  for (int32_t count = 0; count < 140 && !HasFailure(); ++count) {
    ASSERT_EQ(itemsIn(tree).size(), static_cast<size_t>(count));
    expectToWalkBothWays();
    fill(1);
  }
  fill(scale(20000));
  expectToWalkBothWays();
}

TEST_F(ztAvlIteratorTest, StartAndMoveCountDirectionsTheOppositeWay) {
  fill(50);
  const Items items = itemsIn(tree);
  EXPECT_EQ(steps->start(&walk, tree, 0), items.front());
  EXPECT_EQ(steps->move(&walk, 1), items[1]);
  EXPECT_EQ(steps->move(&walk, 1), items[2]);
  EXPECT_EQ(steps->move(&walk, 0), items[1]);
  EXPECT_EQ(steps->start(&walk, tree, 1), items.back());
  EXPECT_EQ(steps->move(&walk, 0), items[48]);
  EXPECT_EQ(steps->move(&walk, 1), items.back());
}

TEST_F(ztAvlIteratorTest, TurnsAnywhere) {
  for (const int32_t count : {1, 2, 3, 7, 30, 200}) {
    tree->empty(tree);
    fill(count);
    const Items items = itemsIn(tree);
    size_t position = 0;
    bool ended = true;
    for (int32_t i = 0; i < scale(20000); ++i) {
      const bool forward = random() % 2 == 0;
      if (ended) {
        position = forward ? 0 : items.size() - 1;
        ASSERT_EQ(forward ? steps->first(&walk, tree) : steps->last(&walk, tree), items[position]);
        ended = false;
        continue;
      }
      void *item = forward ? steps->next(&walk) : steps->prev(&walk);
      ended = forward ? position + 1 == items.size() : position == 0;
      position += forward ? 1 : size_t(-1);
      ASSERT_EQ(item, ended ? nullptr : items[position]);
      if (!ended) continue;
      ASSERT_EQ(steps->next(&walk), nullptr) << "an ended walk stays ended";
      ASSERT_EQ(steps->prev(&walk), nullptr);
    }
  }
}

TEST_F(ztAvlIteratorTest, CopyGoesOnFromWhereItsSourceIs) {
  fill(40);
  const Items items = itemsIn(tree);
  steps->first(&walk, tree);
  for (int i = 0; i < 10; ++i) steps->next(&walk);
  const Owned<ztAvlIterator, ztAvlIteratorMethods> copy(newClone(&walk));
  EXPECT_EQ(steps->next(&walk), items[11]);
  EXPECT_EQ(copy->prev(copy), items[9]);
  EXPECT_EQ(steps->next(&walk), items[12]);
}

TEST_F(ztAvlIteratorTest, PathHoldsTheItemsAboveTheCurrentOne) {
  for (const int32_t count : {1, 300}) {
    fill(count);
    for (void *item = steps->first(&walk, tree); item != nullptr; item = steps->next(&walk)) {
      const ztAvlTreeItem *above = tree.fields().root;
      for (uint32_t i = 0; i < walk.depth; ++i) {
        ASSERT_EQ(walk.path[i], above);
        const ztAvlTreeItem *below = i + 1 < walk.depth ? walk.path[i + 1] : walk.current;
        ASSERT_TRUE(above->left == below || above->right == below);
        above = below;
      }
      ASSERT_EQ(above, item);
    }
  }
}

// Routing -----------------------------------------------------------------------------------------

// A host's iterators, which write down the starts and moves that they are asked for.
template <typename Methods>
static void writeDownStartsAndMoves(Methods *methods) {
  ZT_OVERRIDE_METHOD(methods, start, [](void *, const void *container, int32_t direction) {
    asked += direction ? " start 1" : " start 0";
    return const_cast<void *>(container);
  });
  ZT_OVERRIDE_METHOD(methods, move, [](void *object, int32_t direction) {
    asked += direction ? " move 1" : " move 0";
    return object;
  });
}

#define HostIterator_FIELDS ztAvlIterator_FIELDS
#define HostIterator_METHODS ztAvlIterator_METHODS
ZT_DECLARE_CLASS(HostIterator)
ZT_DEFINE_CLASS(HostIterator, ztAvlIterator, writeDownStartsAndMoves)

#define HostMapIterator_FIELDS ztMapIterator_FIELDS
#define HostMapIterator_METHODS ztMapIterator_METHODS
ZT_DECLARE_CLASS(HostMapIterator)
ZT_DEFINE_CLASS(HostMapIterator, ztMapIterator, writeDownStartsAndMoves)

static void expectRouting(ztCtor constructor, const void *container, const void *tree) {
  const Owned<ztIterator, ztIteratorMethods> walk(constructor);
  takeAsked();
  EXPECT_EQ(walk->first(walk, container), tree);
  EXPECT_EQ(walk->last(walk, container), tree);
  EXPECT_EQ(walk->next(walk), walk);
  EXPECT_EQ(walk->prev(walk), walk);
  EXPECT_EQ(takeAsked(), " start 0 start 1 move 1 move 0");
}

TEST_F(ztAvlIteratorTest, EndsAndStepsGoThroughStartAndMove) {
  expectRouting(HostIterator_ctor, tree, tree);
}

TEST(ztMapIterator, EndsAndStepsGoThroughStartAndMove) {
  const Owned<ztMap, ztMapMethods> map(ztMap_ctor);
  expectRouting(HostMapIterator_ctor, map, map.fields().tree);
}
