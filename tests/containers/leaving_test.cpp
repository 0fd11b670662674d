// Exceptions and jumps that leave a container's call: the container is whole afterwards, and what the call had
// begun may be lost.
#include <gtest/gtest.h>
#include <setjmp.h>
#include <ucontext.h>

#include <algorithm>
#include <set>
#include <vector>

#include "containers/ztarrays.h"
#include "containers/ztavliter.h"
#include "containers/zthashtab.h"
#include "containers/ztlists.h"
#include "containers/ztmap.h"
#include "containers/ztqueue.h"
#include "tests/containers/hooked.hh"
#include "tests/helpers/faults.hh"
#include "tests/helpers/owned.hh"
#include "tests/helpers/scale.hh"

using Numbers = std::vector<int32_t>;
using Object = Owned<Hooked, HookedMethods>;
using Array = Owned<ztArray, ztArrayMethods>;

static Object object(int32_t value) {
  return Object(newHooked(value));
}

namespace {

struct Thrown {};

}  // namespace

static jmp_buf jumpTarget;

enum class Way { exception, jump };

// Calls deep enough that a later call of the test's own shows the frames to be gone.
__attribute__((noinline)) static void callDeeply(const std::function<void()> &call) {
  char room[8192];
  asm volatile("" : : "r"(room) : "memory");
  call();
  asm volatile("" : : "r"(room) : "memory");
}

// Leaves the call at the event that follows so many others of its kind. Whether it was left.
static bool leave(Way way, Event event, const std::function<void()> &call, int others = 0) {
  if (way == Way::exception) {
    const Hook hook(
        event, [] { throw Thrown(); }, others);
    try {
      callDeeply(call);
    } catch (const Thrown &) {
      return true;
    }
    return false;
  }
  const Hook hook(
      event, [] { longjmp(jumpTarget, 1); }, others);
  // NOLINTNEXTLINE: what the jump passes over has no destructors that matter here
  if (setjmp(jumpTarget) != 0) return true;
  callDeeply(call);
  return false;
}

// An item manager that leaves its calls, too.
#define LeavingManager_FIELDS ztSequenceContainer_FIELDS
#define LeavingManager_METHODS ztSequenceContainer_METHODS
ZT_DECLARE_CLASS(LeavingManager)

static std::function<void()> beforeDeletion;

static void leavingDeleteItem(void *object, void *item) {
  ztSequenceContainer_table()->deleteItem(object, item);
  if (beforeDeletion != nullptr) beforeDeletion();
}

static int32_t leavingGetSize(const void *) {
  return 0;
}

static void leavingManagerMethods(LeavingManagerMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, deleteItem, leavingDeleteItem);
  ZT_OVERRIDE_METHOD(methods, getSize, leavingGetSize);
}

ZT_DEFINE_CLASS(LeavingManager, ztSequenceContainer, leavingManagerMethods)

// Releases in the end what calls that were left have lost, and nothing else is lost.
class Leaving : public testing::TestWithParam<Way> {
 protected:
  size_t mayBeLost = 10;  // two blocks a call, and what an element owns

  Leaving() {
    // A class keeps what its first object has made.
    for (void *first : {static_cast<void *>(newHooked(0)), LeavingManager_ctor(nullptr, 1)}) {
      ztBaseClass_of(first)->unRef(first);
    }
    notedBlocks = &blocks;
  }
  ~Leaving() override {
    // Another call has the library drop what it knows to be left.
    void *another = ztArray_ctor(nullptr, 1);
    ztArray_of(another)->setCompareFunction(another, compareHooked);
    ztArray_of(another)->find(another, nullptr);
    ztArray_of(another)->unRef(another);
    notedBlocks = nullptr;
    EXPECT_LE(blocks.size(), mayBeLost);
    for (void *lost : blocks) ztm_free(lost);
  }

 private:
  std::set<void *> blocks;
};

INSTANTIATE_TEST_SUITE_P(By, Leaving, testing::Values(Way::exception, Way::jump), [](const auto &test) {
  return test.param == Way::exception ? "Exception" : "Jump";
});

static Array newArray(const Numbers &numbers) {
  const Quiet making;
  Array array(ztArray_ctor);
  array->setElementConstructor(array, Hooked_ctor);
  array->setElementSize(array, sizeof(Hooked), 0);
  array->setCompareFunction(array, compareHooked);
  for (const int32_t number : numbers) array->pushBack(array, object(number));
  return array;
}

static Numbers numbersOf(const Array &array) {
  Numbers numbers;
  for (int32_t i = 0; i < array->getSize(array); ++i) {
    EXPECT_TRUE(isWhole(array->getAt(array, i)));
    numbers.push_back(static_cast<const Hooked *>(array->getAt(array, i))->value);
  }
  return numbers;
}

TEST_P(Leaving, PushBackFromCloneLeavesTheElementsThatTheArrayHad) {
  const Array array = newArray({1, 2});
  const Object three = object(3);
  EXPECT_TRUE(leave(GetParam(), Event::clone, [&] { array->pushBack(array, three); }));
  EXPECT_EQ(numbersOf(array), Numbers({1, 2}));
  EXPECT_NE(array->pushBack(array, three), nullptr);
  EXPECT_EQ(numbersOf(array), Numbers({1, 2, 3}));
}

TEST_P(Leaving, SetAtFromCloneLeavesTheOtherElementsToTheArraysEnd) {
  const Array array = newArray({1, 2, 3});
  const Object four = object(4);
  const int live = hookedLive;
  EXPECT_TRUE(leave(GetParam(), Event::clone, [&] { array->setAt(array, four, 0); }));
  EXPECT_EQ(numbersOf(array), Numbers());
  EXPECT_EQ(hookedLive, live - 1);
  array->destroy(array);
  EXPECT_EQ(hookedLive, live - 3);
}

TEST_P(Leaving, SetAtFromDestroyLeavesTheOtherElementsToTheNextSuchCall) {
  const Array array = newArray({1, 2, 3});
  const Object four = object(4);
  const int live = hookedLive;
  EXPECT_TRUE(leave(GetParam(), Event::destroy, [&] { array->setAt(array, four, 1); }));
  EXPECT_EQ(numbersOf(array), Numbers());
  array->pushBack(array, four);
  EXPECT_NE(array->setAt(array, four, 0), nullptr);
  EXPECT_EQ(numbersOf(array), Numbers({4}));
  EXPECT_LE(hookedLive, live + 1);
}

TEST_P(Leaving, AssignFromAnElementLeavesTheOtherElementsToTheArraysEnd) {
  const Array array = newArray({1, 2, 3});
  const Array other = newArray({4, 5, 6});
  EXPECT_TRUE(leave(
      GetParam(), Event::assign, [&] { array->assign(array, other); }, 1));
  EXPECT_EQ(numbersOf(array), Numbers());
  EXPECT_EQ(numbersOf(other), Numbers({4, 5, 6}));
  const int live = hookedLive;
  array->destroy(array);
  EXPECT_EQ(hookedLive, live - 2);
}

TEST_P(Leaving, RemoveAtFromDestroyHasRemovedTheElement) {
  const Array array = newArray({1, 2, 3});
  EXPECT_TRUE(leave(GetParam(), Event::destroy, [&] { array->removeAt(array, 1); }));
  EXPECT_EQ(numbersOf(array), Numbers({1, 3}));
}

TEST_P(Leaving, ResizeFromCloneOrCreateKeepsTheArray) {
  for (const Event event : {Event::clone, Event::create}) {
    const Array array = newArray({1, 2});
    EXPECT_TRUE(leave(
        GetParam(), event, [&] { array->resize(array, 4); }, 1));
    EXPECT_EQ(numbersOf(array), Numbers({1, 2}));
  }
}

TEST_P(Leaving, SetSizeFromCreateLeavesAnEmptyArray) {
  const Array array = newArray({1, 2});
  EXPECT_TRUE(leave(
      GetParam(), Event::create, [&] { array->setSize(array, 3); }, 2));
  EXPECT_EQ(numbersOf(array), Numbers());
  EXPECT_EQ(array->setSize(array, 3), 1);
  EXPECT_EQ(numbersOf(array), Numbers({0, 0, 0}));
}

TEST_P(Leaving, EmptyFromDestroyLeavesAnEmptyArray) {
  const Array array = newArray({1, 2});
  EXPECT_TRUE(leave(GetParam(), Event::destroy, [&] { array->empty(array); }));
  EXPECT_EQ(numbersOf(array), Numbers());
  EXPECT_EQ(array->getData(array), nullptr);
}

TEST_P(Leaving, CloneOfAnArrayLeavesACopyThatOwnsNothing) {
  const Array array = newArray({1, 2});
  void *fresh = ztArray_newop();
  EXPECT_TRUE(leave(
      GetParam(), Event::clone, [&] { array->clone(array, fresh); }, 1));
  EXPECT_EQ(numbersOf(array), Numbers({1, 2}));
  ztArray_of(fresh)->unRef(fresh);
  EXPECT_EQ(numbersOf(array), Numbers({1, 2}));
}

TEST_P(Leaving, SortSearchAndFindFromTheCompareFunctionKeepEveryElement) {
  const Array array = newArray({3, 1, 2, 5, 4});
  for (int others = 0; others < 5; ++others) {
    EXPECT_TRUE(leave(
        GetParam(), Event::compare, [&] { array->sort(array, compareHooked); }, others));
    Numbers numbers = numbersOf(array);
    std::sort(numbers.begin(), numbers.end());
    EXPECT_EQ(numbers, Numbers({1, 2, 3, 4, 5}));
  }
  array->sort(array, compareHooked);
  EXPECT_EQ(numbersOf(array), Numbers({1, 2, 3, 4, 5}));
  const Object one = object(1);
  EXPECT_TRUE(leave(GetParam(), Event::compare, [&] { array->search(array, one, compareHooked); }));
  EXPECT_TRUE(leave(GetParam(), Event::compare, [&] { array->find(array, one); }));
  EXPECT_EQ(array->find(array, one), array->getAt(array, 0));
}

TEST_P(Leaving, ArraysLoseNothingWhenFindIsLeftOften) {
  mayBeLost = 0;
  for (int round = 0; round < 100; ++round) {
    Array array = newArray({1, 2});
    const Object three = object(3);
    for (int call = 0; call < 3; ++call) {
      EXPECT_TRUE(leave(GetParam(), Event::compare, [&] { array->find(array, three); }));
    }
    array->pushBack(array, three);
    EXPECT_EQ(numbersOf(array), Numbers({1, 2, 3}));
  }
}

// Lists, trees and tables -------------------------------------------------------------------------

// Leaves the call when an item is deleted, which is gone by then.
static bool leaveAtDeletion(Way way, const std::function<void()> &call) {
  if (way == Way::exception) {
    beforeDeletion = [] { throw Thrown(); };
    bool isLeft = false;
    try {
      call();
    } catch (const Thrown &) {
      isLeft = true;
    }
    beforeDeletion = nullptr;
    return isLeft;
  }
  beforeDeletion = [] { longjmp(jumpTarget, 1); };
  // NOLINTNEXTLINE: what the jump passes over has no destructors that matter here
  if (setjmp(jumpTarget) != 0) {
    beforeDeletion = nullptr;
    return true;
  }
  call();
  beforeDeletion = nullptr;
  return false;
}

class LeavingItems : public Leaving {
 protected:
  Owned<LeavingManager, LeavingManagerMethods> manager{LeavingManager_ctor};
  Owned<ztList, ztListMethods> list{ztList_ctor};
  Owned<ztAvlTree, ztAvlTreeMethods> tree{ztAvlTree_ctor};

  LeavingItems() {
    manager->setElementConstructor(manager, Hooked_ctor);
    list->setElementConstructor(list, Hooked_ctor);
    list->setCompareFunction(list, compareHooked);
    tree->setElementConstructor(tree, Hooked_ctor);
    tree->setCompareFunction(tree, compareHooked);
    for (const int32_t number : {1, 2, 3, 4, 5}) {
      list->pushBack(list, object(number));
      tree->push(tree, object(number));
    }
  }

  Numbers listed() const {
    Numbers numbers;
    const ztListItem *before = nullptr;
    for (const ztListItem *item = list.fields().head; item != nullptr; item = item->next) {
      EXPECT_EQ(item->prev, before);
      EXPECT_TRUE(isWhole(item->data));
      numbers.push_back(static_cast<const Hooked *>(item->data)->value);
      before = item;
    }
    EXPECT_EQ(list.fields().tail, before);
    EXPECT_EQ(list.fields().count, numbers.size());
    return numbers;
  }
  Numbers inTree() const {
    Numbers numbers;
    ztAvlIterator walk;
    ztAvlIterator_ctor(&walk, 1);
    const ztAvlIteratorMethods *steps = ztAvlIterator_of(&walk);
    for (void *item = steps->first(&walk, tree); item != nullptr; item = steps->next(&walk)) {
      EXPECT_TRUE(isWhole(static_cast<ztAvlTreeItem *>(item)->data));
      numbers.push_back(static_cast<const Hooked *>(static_cast<ztAvlTreeItem *>(item)->data)->value);
    }
    EXPECT_EQ(tree.fields().count, numbers.size());
    return numbers;
  }
};

INSTANTIATE_TEST_SUITE_P(By, LeavingItems, testing::Values(Way::exception, Way::jump), [](const auto &test) {
  return test.param == Way::exception ? "Exception" : "Jump";
});

TEST_P(LeavingItems, ListsTakeNoElementWhoseCopyingLeavesTheCall) {
  const Object six = object(6);
  ztListItem *second = list->getItemAt(list, 1);
  EXPECT_TRUE(leave(GetParam(), Event::clone, [&] { list->pushBack(list, six); }));
  EXPECT_TRUE(leave(GetParam(), Event::clone, [&] { list->pushFront(list, six); }));
  EXPECT_TRUE(leave(GetParam(), Event::clone, [&] { list->insertPrev(list, second, six); }));
  EXPECT_TRUE(leave(GetParam(), Event::clone, [&] { list->insertNext(list, second, six); }));
  EXPECT_TRUE(leave(GetParam(), Event::compare, [&] { list->find(list, six); }));
  EXPECT_EQ(listed(), Numbers({1, 2, 3, 4, 5}));
}

TEST_P(LeavingItems, ListsAreWithoutTheItemWhoseDeletionLeavesTheCall) {
  list->setItemManager(list, manager);
  EXPECT_TRUE(leaveAtDeletion(GetParam(), [&] { list->popBack(list); }));
  EXPECT_EQ(listed(), Numbers({1, 2, 3, 4}));
  EXPECT_TRUE(leaveAtDeletion(GetParam(), [&] { list->removeItem(list, list->getItemAt(list, 1)); }));
  EXPECT_EQ(listed(), Numbers({1, 3, 4}));
  EXPECT_TRUE(leaveAtDeletion(GetParam(), [&] { list->empty(list); }));
  EXPECT_EQ(listed(), Numbers({3, 4}));
}

TEST_P(LeavingItems, TreesTakeNoElementWhoseCopyingOrComparingLeavesTheCall) {
  const Object six = object(6);
  for (int others = 0; others < 2; ++others) {
    EXPECT_TRUE(leave(
        GetParam(), Event::clone, [&] { tree->push(tree, six); }, others));
    EXPECT_EQ(inTree(), Numbers({1, 2, 3, 4, 5}));
  }
  for (int others = 0; others < 4; ++others) {
    EXPECT_TRUE(leave(
        GetParam(), Event::compare, [&] { tree->push(tree, six); }, others));
    EXPECT_EQ(inTree(), Numbers({1, 2, 3, 4, 5}));
  }
  EXPECT_TRUE(leave(
      GetParam(), Event::compare, [&] { tree->pop(tree, six); }, 1));
  EXPECT_TRUE(leave(
      GetParam(), Event::compare, [&] { tree->find(tree, six); }, 1));
  EXPECT_EQ(inTree(), Numbers({1, 2, 3, 4, 5}));
  EXPECT_NE(tree->push(tree, six), nullptr);
  EXPECT_EQ(inTree(), Numbers({1, 2, 3, 4, 5, 6}));
}

TEST_P(LeavingItems, TreesAreWithoutTheItemWhoseDeletionLeavesTheCall) {
  manager->setItemConstructor(manager, ztAvlTreeItem_ctor);
  tree->setItemManager(tree, manager);
  EXPECT_TRUE(leaveAtDeletion(GetParam(), [&] { tree->pop(tree, object(2)); }));
  EXPECT_EQ(inTree(), Numbers({1, 3, 4, 5}));
  // The probe's deletion comes last.
  EXPECT_TRUE(leaveAtDeletion(GetParam(), [&] { tree->push(tree, object(6)); }));
  EXPECT_EQ(inTree(), Numbers({1, 3, 4, 5, 6}));
}

TEST_P(LeavingItems, WhatATreeHadStillToDeleteGoesWithIt) {
  const int live = hookedLive;
  {
    Owned<ztAvlTree, ztAvlTreeMethods> other(ztAvlTree_ctor);
    other->setElementConstructor(other, Hooked_ctor);
    other->setCompareFunction(other, compareHooked);
    for (const int32_t number : {1, 2, 3, 4, 5}) other->push(other, object(number));
    other->setItemManager(other, manager);
    EXPECT_TRUE(leaveAtDeletion(GetParam(), [&] { other->empty(other); }));
    EXPECT_EQ(other->getSize(other), 0);
    EXPECT_EQ(hookedLive, live + 4);
    other->setItemManager(other, nullptr);
    other->push(other, object(6));
    EXPECT_EQ(other->getSize(other), 1);
  }
  EXPECT_EQ(hookedLive, live);
}

TEST_P(LeavingItems, ListsAreWithoutTheItemWhoseElementsEndLeavesTheCall) {
  EXPECT_TRUE(leave(GetParam(), Event::destroy, [&] { list->popBack(list); }));
  EXPECT_EQ(listed(), Numbers({1, 2, 3, 4}));
  EXPECT_TRUE(leave(GetParam(), Event::destroy, [&] { list->removeItem(list, list->getItemAt(list, 1)); }));
  EXPECT_EQ(listed(), Numbers({1, 3, 4}));
  EXPECT_TRUE(leave(
      GetParam(), Event::destroy, [&] { list->empty(list); }, 1));
  EXPECT_EQ(listed(), Numbers({4}));
  list->pushBack(list, object(5));
  EXPECT_EQ(listed(), Numbers({4, 5}));
  list->empty(list);
  EXPECT_EQ(listed(), Numbers());
}

TEST_P(LeavingItems, TreesAreWithoutTheItemWhoseElementsEndLeavesTheCall) {
  const Object two = object(2);
  const int live = hookedLive;
  EXPECT_TRUE(leave(GetParam(), Event::destroy, [&] { tree->pop(tree, two); }));
  EXPECT_EQ(inTree(), Numbers({1, 3, 4, 5}));
  EXPECT_NE(tree->push(tree, two), nullptr);
  EXPECT_EQ(inTree(), Numbers({1, 2, 3, 4, 5}));
  EXPECT_TRUE(leave(
      GetParam(), Event::destroy, [&] { tree->empty(tree); }, 1));
  EXPECT_EQ(inTree(), Numbers());
  tree->push(tree, two);
  EXPECT_EQ(inTree(), Numbers({2}));
  tree->empty(tree);
  // Of those that were in the tree only the two whose ends were left are there.
  EXPECT_EQ(hookedLive, live - 5 + 2);
}

TEST_P(LeavingItems, QueuesAndMapsAreWithoutTheItemWhoseElementsEndLeavesTheCall) {
  const Object two = object(2);
  {
    const Owned<ztQueue, ztQueueMethods> queue(ztQueue_ctor);
    queue->setElementConstructor(queue, Hooked_ctor);
    for (const int32_t number : {1, 2, 3}) queue->push(queue, object(number));
    const int live = hookedLive;
    EXPECT_TRUE(leave(GetParam(), Event::destroy, [&] {
      void *first = queue->getFront(queue);
      queue->pop(queue);
      Hooked_of(first)->unRef(first);
    }));
    EXPECT_EQ(queue->getSize(queue), 2);
    EXPECT_TRUE(isWhole(queue->getFront(queue)));
    EXPECT_NE(queue->push(queue, two), nullptr);
    EXPECT_EQ(queue->getSize(queue), 3);
    EXPECT_EQ(hookedLive, live + 1);
  }
  const int live = hookedLive;
  {
    const Owned<ztMap, ztMapMethods> map(ztMap_ctor);
    map->setKeySize(map, sizeof(int32_t), 0);
    map->setValueConstructor(map, Hooked_ctor);
    map->setCompareFunction(map, ztIntArray_compare_func);
    for (const int32_t number : {1, 2, 3, 4}) map->pushBack(map, &number, object(number));
    const int32_t second = 2;
    EXPECT_TRUE(leave(GetParam(), Event::destroy, [&] { map->pop(map, &second); }));
    EXPECT_EQ(map->getSize(map), 3);
    EXPECT_EQ(map->find(map, &second), nullptr);
    EXPECT_NE(map->pushBack(map, &second, two), nullptr);
    EXPECT_TRUE(isWhole(map->findValue(map, &second)));
    EXPECT_TRUE(leave(GetParam(), Event::destroy, [&] { map->empty(map); }));
    EXPECT_EQ(map->getSize(map), 0);
    EXPECT_NE(map->pushBack(map, &second, two), nullptr);
    EXPECT_TRUE(isWhole(map->findValue(map, &second)));
  }
  EXPECT_EQ(hookedLive, live + 2);
}

// A hash table of two buckets that keeps Hooked values under integers.
class HookedTable : public Owned<ztHashTable, ztHashTableMethods> {
 public:
  HookedTable() : Owned(ztHashTable_ctor) {
    const HookedTable &table = *this;
    table->setKeySize(table, sizeof(int32_t), 0);
    table->setValueConstructor(table, Hooked_ctor);
    table->setCompareFunction(table, ztIntArray_compare_func);
    table->setSize(table, 2);
  }
};

TEST_P(LeavingItems, HashTablesAreEmptyWhenAValuesEndLeavesTheCall) {
  const int live = hookedLive;
  {
    const HookedTable table;
    const std::function<void()> calls[] = {[&] { table->empty(table); }, [&] { table->setSize(table, 4); },
                                           [&] { table->setSize(table, 4); }};
    for (const auto &call : calls) {
      for (const int32_t number : {1, 2, 3}) EXPECT_EQ(table->insert(table, &number, object(number)), 1);
      EXPECT_TRUE(leave(GetParam(), Event::destroy, call, 1));
      EXPECT_EQ(table.fields().count, 0U);
      for (const int32_t number : {1, 2, 3}) EXPECT_EQ(table->find(table, &number), nullptr);
    }
    const int32_t number = 3;
    EXPECT_EQ(table->insert(table, &number, object(3)), 1);
    EXPECT_TRUE(isWhole(table->find(table, &number)->value));
  }
  EXPECT_EQ(hookedLive, live + 3);
}

TEST_P(Leaving, HashTablesStayWhole) {
  const int live = hookedLive;
  {
    const HookedTable table;
    for (const int32_t number : {1, 2, 3}) table->insert(table, &number, object(number));
    const Object four = object(4);
    const int32_t number = 4;
    EXPECT_TRUE(leave(GetParam(), Event::clone, [&] { table->insert(table, &number, four); }));
    EXPECT_EQ(table.fields().count, 3U);
    EXPECT_EQ(table->find(table, &number), nullptr);
    EXPECT_EQ(table->insert(table, &number, four), 1);
    EXPECT_NE(table->find(table, &number), nullptr);
  }
  EXPECT_EQ(hookedLive, live);
}

TEST_P(Leaving, MapsStayWhole) {
  const int live = hookedLive;
  {
    const Owned<ztMap, ztMapMethods> map(ztMap_ctor);
    map->setKeySize(map, sizeof(int32_t), 0);
    map->setValueConstructor(map, Hooked_ctor);
    map->setCompareFunction(map, ztIntArray_compare_func);
    for (const int32_t number : {1, 2, 3}) map->pushBack(map, &number, object(number));
    const Object four = object(4);
    const int32_t number = 4;
    for (int others = 0; others < 2; ++others) {
      EXPECT_TRUE(leave(
          GetParam(), Event::clone, [&] { map->pushBack(map, &number, four); }, others));
      EXPECT_EQ(map->getSize(map), 3);
      EXPECT_EQ(map->find(map, &number), nullptr);
    }
    EXPECT_NE(map->pushBack(map, &number, four), nullptr);
    EXPECT_EQ(map->getSize(map), 4);
  }
  EXPECT_EQ(hookedLive, live);
}

// Many of them --------------------------------------------------------------------------------------

// Leaves a call so often that what each leaves behind would show.
static void leaveOften(Way way, Event event, const std::function<void()> &call) {
  const int rounds = scale(100000);
  int blocks = 0;
  int64_t bytes = 0;
  int left = 0;
  for (int round = 0; round < rounds; ++round) {
    left += leave(way, event, call);
    if (round != 10) continue;
    blocks = liveBlocks;
    bytes = liveBytes;
  }
  EXPECT_EQ(left, rounds);
  EXPECT_EQ(liveBlocks, blocks);
  EXPECT_EQ(liveBytes, bytes);
}

TEST_P(Leaving, ArraysGrowNothingWhenCallsAreLeftOften) {
  const Array array = newArray({1, 2, 3});
  const Object two = object(2);
  leaveOften(GetParam(), Event::compare, [&] { array->find(array, two); });
  leaveOften(GetParam(), Event::compare, [&] { array->sort(array, compareHooked); });
  leaveOften(GetParam(), Event::clone, [&] { array->pushBack(array, two); });
  EXPECT_EQ(numbersOf(array), Numbers({1, 2, 3}));
  const void *block = array->getData(array);
  EXPECT_EQ(array->setAt(array, two, 0), block);
  EXPECT_EQ(numbersOf(array), Numbers({2, 2, 3}));
}

TEST_P(Leaving, ArraysSortedAndChangedInTurnGrowNothing) {
  const Owned<ztIntArray, ztIntArrayMethods> array(ztIntArray_ctor);
  for (const int32_t number : {3, 1, 2}) array->pushBack(array, &number);
  static Hooked *one;
  const Object owner = object(1);
  one = &owner.fields();
  leaveOften(GetParam(), Event::compare, [&] {
    array->removeAt(array, 0);
    const int32_t number = 5;
    array->pushBack(array, &number);
    array->sort(array, [](const void *, const void *) -> int32_t { return compareHooked(one, one); });
  });
  EXPECT_EQ(array->getSize(array), 3);
}

TEST_P(Leaving, HashTablesGrowNothingWhenInsertOrFindIsLeftOften) {
  const Owned<ztHashTable, ztHashTableMethods> table(ztHashTable_ctor);
  table->setKeySize(table, sizeof(int32_t), 0);
  table->setValueConstructor(table, Hooked_ctor);
  table->setSize(table, 1);
  static Hooked *one;
  const Object value = object(1);
  one = &value.fields();
  const auto compare = [](const void *first, const void *second) -> int32_t {
    compareHooked(one, one);
    return ztIntArray_compare_func(first, second);
  };
  table->setCompareFunction(table, compare);
  for (const int32_t number : {1, 2, 3}) ASSERT_EQ(table->insert(table, &number, value), 1);
  const int32_t four = 4;
  for (const uint32_t allow : {0U, 1U}) {
    table->setAllowDuplicate(table, allow);
    leaveOften(GetParam(), Event::compare, [&] { table->insert(table, &four, value); });
    leaveOften(GetParam(), Event::compare, [&] { table->find(table, &four); });
  }
  EXPECT_EQ(table.fields().count, 3U);
  EXPECT_EQ(table.fields().buckets->count, 1);
  EXPECT_EQ(table->insert(table, &four, value), 1);
  for (const int32_t number : {1, 2, 3, 4}) {
    ASSERT_NE(table->find(table, &number), nullptr);
    EXPECT_TRUE(isWhole(table->find(table, &number)->value));
  }
}

TEST_P(LeavingItems, TreesGrowNothingWhenPushIsLeftOften) {
  const Object six = object(6);
  leaveOften(GetParam(), Event::compare, [&] { tree->push(tree, six); });
  EXPECT_EQ(inTree(), Numbers({1, 2, 3, 4, 5}));
  EXPECT_NE(tree->push(tree, six), nullptr);
  EXPECT_EQ(inTree(), Numbers({1, 2, 3, 4, 5, 6}));
}

// A call on a stack of its own ------------------------------------------------------------------------

static ucontext_t outside;
static ucontext_t inside;
static std::function<void()> insideCall;

static void runInside() {
  insideCall();
}

TEST(Coroutines, ACallThatWaitsInItsCompareFunctionGoesOnAfterOthers) {
  const Array array = newArray({1, 2, 3});
  const Object three = object(3);
  std::vector<char> stack(256 * 1024);
  const void *found = nullptr;
  insideCall = [&] {
    const Hook hook(Event::compare, [] { swapcontext(&inside, &outside); });
    found = array->find(array, three);
  };
  ASSERT_EQ(getcontext(&inside), 0);
  inside.uc_stack.ss_sp = stack.data();
  inside.uc_stack.ss_size = stack.size();
  inside.uc_link = &outside;
  makecontext(&inside, runInside, 0);
  swapcontext(&outside, &inside);
  EXPECT_EQ(found, nullptr);
  EXPECT_EQ(array->find(array, three), array->getAt(array, 2));
  EXPECT_NE(array->setAt(array, three, 0), nullptr);
  array->sort(array, compareHooked);
  swapcontext(&outside, &inside);
  EXPECT_EQ(found, array->getAt(array, 1));
  EXPECT_EQ(numbersOf(array), Numbers({2, 3, 3}));
  insideCall = nullptr;
}

TEST(Coroutines, ACallThatWaitsLearnsThatItsArrayIsGone) {
  void *array = ztArray_ctor(nullptr, 1);
  const ztArrayMethods *methods = ztArray_of(array);
  methods->setElementConstructor(array, Hooked_ctor);
  methods->setElementSize(array, sizeof(Hooked), 0);
  methods->pushBack(array, object(1));
  methods->pushBack(array, object(2));
  const int live = hookedLive;
  const Object four = object(4);
  std::vector<char> stack(256 * 1024);
  bool isReplaced = true;
  insideCall = [&] {
    const Hook hook(Event::clone, [] { swapcontext(&inside, &outside); });
    isReplaced = methods->setAt(array, four, 0) != nullptr;
  };
  ASSERT_EQ(getcontext(&inside), 0);
  inside.uc_stack.ss_sp = stack.data();
  inside.uc_stack.ss_size = stack.size();
  inside.uc_link = &outside;
  makecontext(&inside, runInside, 0);
  swapcontext(&outside, &inside);
  methods->unRef(array);
  EXPECT_EQ(hookedLive, live + 1 - 2);
  swapcontext(&outside, &inside);
  EXPECT_FALSE(isReplaced);
  EXPECT_EQ(hookedLive, live + 1 - 2);
  insideCall = nullptr;
}
