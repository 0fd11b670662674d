// Exceptions and jumps that leave a container's call: the container is whole afterwards, and what the call had
// begun may be lost.
#include <gtest/gtest.h>
#include <setjmp.h>
#include <ucontext.h>

#include <algorithm>
#include <ostream>
#include <set>
#include <thread>

#include "containers/ztqueue.h"
#include "tests/containers/hooked.hh"
#include "tests/helpers/faults.hh"
#include "tests/helpers/scale.hh"

namespace {

using Call = std::function<void()>;

struct Thrown {};

enum class Way { exception, jump };

std::ostream &operator<<(std::ostream &out, Way way) {
  return out << (way == Way::exception ? "Exception" : "Jump");
}

}  // namespace

static jmp_buf jumpTarget;

// An item manager that leaves its calls, too: when an item is deleted, which is gone by then.
#define LeavingManager_FIELDS ztSequenceContainer_FIELDS
#define LeavingManager_METHODS ztSequenceContainer_METHODS
ZT_DECLARE_CLASS(LeavingManager)

static Call beforeDeletion;

static void leavingManagerMethods(LeavingManagerMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, deleteItem, [](void *object, void *item) {
    ztSequenceContainer_table()->deleteItem(object, item);
    if (beforeDeletion != nullptr) beforeDeletion();
  });
  ZT_OVERRIDE_METHOD(methods, getSize, [](const void *) -> int32_t { return 0; });
}

ZT_DEFINE_CLASS(LeavingManager, ztSequenceContainer, leavingManagerMethods)

// Calls deep enough that a later call of the test's own shows the frames to be gone.
__attribute__((noinline)) static void callDeeply(const Call &call) {
  char room[8192];
  asm volatile("" : : "r"(room) : "memory");
  call();
  asm volatile("" : : "r"(room) : "memory");
}

namespace {

// Releases in the end what calls that were left have lost, and nothing else is lost.
class Leaving : public testing::TestWithParam<Way> {
 protected:
  Leaving() {
    // A class keeps what its first object has made.
    hooked(0);
    const Owned<LeavingManager, LeavingManagerMethods> first(LeavingManager_ctor);
    notedBlocks = &blocks;
  }
  ~Leaving() override {
    {
      // Another call has the library drop what it knows to be left.
      const Array another(newArray({}));
      another->find(another, nullptr);
    }
    notedBlocks = nullptr;
    EXPECT_LE(blocks.size(), mayBeLost);
    for (void *lost : blocks) ztm_free(lost);
  }

  // Whether the call is left.
  static bool isLeft(const Call &call) {
    if (GetParam() == Way::exception) {
      try {
        callDeeply(call);
      } catch (const Thrown &) {
        return true;
      }
      return false;
    }
    // NOLINTNEXTLINE: what the jump passes over has no destructors that matter here
    if (setjmp(jumpTarget) != 0) return true;
    callDeeply(call);
    return false;
  }
  static void leaveNow() {
    if (GetParam() == Way::exception) throw Thrown();
    longjmp(jumpTarget, 1);
  }
  // Leaves the call at the event that follows so many others of its kind. Whether it was left.
  static bool leave(Event event, int others, const Call &call) {
    const Hook hook(event, others, leaveNow);
    return isLeft(call);
  }
  static bool leave(Event event, const Call &call) {
    return leave(event, 0, call);
  }
  static bool leaveAtDeletion(const Call &call) {
    beforeDeletion = leaveNow;
    const bool left = isLeft(call);
    beforeDeletion = nullptr;
    return left;
  }
  // Leaves a call so often that what each leaves behind would show.
  static void leaveOften(Event event, const Call &call);

  size_t mayBeLost = 10;  // two blocks a call, and what elements own
  int live = hookedLive;

 private:
  std::set<void *> blocks;
};

INSTANTIATE_TEST_SUITE_P(By, Leaving, testing::Values(Way::exception, Way::jump),
                         testing::PrintToStringParamName());

}  // namespace

// Arrays ------------------------------------------------------------------------------------------

TEST_P(Leaving, ArraysStayWhole) {
  mayBeLost = 6 * 3;
  Array array(newArray({}));
  const HookedObject four = hooked(4);
  const struct {
    const char *name;
    Event event;
    int others;
    Call call;
    Numbers left;
    Numbers afterAnother;  // such call, which is not left
  } rows[] = {
      {"pushBack", Event::clone, 0, [&] { array->pushBack(array, four); }, {1, 2, 3}, {1, 2, 3, 4}},
      {"removeAt", Event::destroy, 0, [&] { array->removeAt(array, 1); }, {1, 3}, {1}},
      {"resize", Event::clone, 1, [&] { array->resize(array, 4); }, {1, 2, 3}, {1, 2, 3, 0}},
      {"resize", Event::create, 1, [&] { array->resize(array, 5); }, {1, 2, 3}, {1, 2, 3, 0, 0}},
      {"setSize", Event::create, 2, [&] { array->setSize(array, 4); }, {}, {0, 0, 0, 0}},
      {"empty", Event::destroy, 0, [&] { array->empty(array); }, {}, {}},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.name);
    array = Array(newArray({1, 2, 3}));
    EXPECT_TRUE(leave(row.event, row.others, row.call));
    EXPECT_EQ(inArray(array), row.left);
    EXPECT_EQ(array->getData(array) == nullptr, row.left.empty());
    row.call();
    EXPECT_EQ(inArray(array), row.afterAnother);
  }
}

TEST_P(Leaving, SetAtFromCloneLeavesTheOtherElementsToTheArraysEnd) {
  const Array array(newArray({1, 2, 3}));
  const HookedObject four = hooked(4);
  EXPECT_TRUE(leave(Event::clone, [&] { array->setAt(array, four, 0); }));
  EXPECT_EQ(inArray(array), Numbers());
  EXPECT_EQ(hookedLive, live + 3);
  array->destroy(array);
  EXPECT_EQ(hookedLive, live + 1);
}

TEST_P(Leaving, SetAtLeavesTheOtherElementsToTheEndOfItsThread) {
  mayBeLost = 0;
  std::vector<Array> arrays(40);  // more than a thread has records for at first
  for (Array &array : arrays) array = Array(newArray({1, 2, 3}));
  const HookedObject four = hooked(4);
  std::thread([&] {
    for (const Array &array : arrays) {
      EXPECT_TRUE(leave(Event::clone, [&] { array->setAt(array, four, 0); }));
    }
    EXPECT_EQ(hookedLive, live + 1 + 40 * 2);
  }).join();
  EXPECT_EQ(hookedLive, live + 1);
  for (const Array &array : arrays) {
    EXPECT_EQ(inArray(array), Numbers());
    array->pushBack(array, four);
    EXPECT_EQ(inArray(array), Numbers({4}));
  }
}

TEST_P(Leaving, SetAtFromDestroyLeavesTheOtherElementsToTheNextSuchCall) {
  const Array array(newArray({1, 2, 3}));
  const HookedObject four = hooked(4);
  EXPECT_TRUE(leave(Event::destroy, [&] { array->setAt(array, four, 1); }));
  EXPECT_EQ(inArray(array), Numbers());
  array->pushBack(array, four);
  EXPECT_NE(array->setAt(array, four, 0), nullptr);
  EXPECT_EQ(inArray(array), Numbers({4}));
  EXPECT_LE(hookedLive, live + 5);
}

TEST_P(Leaving, AssignFromAnElementLeavesTheOtherElementsToTheArraysEnd) {
  const Array array(newArray({1, 2, 3}));
  const Array other(newArray({4, 5, 6}));
  EXPECT_TRUE(leave(Event::assign, 1, [&] { array->assign(array, other); }));
  EXPECT_EQ(inArray(array), Numbers());
  EXPECT_EQ(inArray(other), Numbers({4, 5, 6}));
  const int before = hookedLive;
  array->destroy(array);
  EXPECT_EQ(hookedLive, before - 2);
}

TEST_P(Leaving, CloneOfAnArrayLeavesACopyThatOwnsNothing) {
  const Array array(newArray({1, 2}));
  const Array copy(ztArray_newop());
  EXPECT_TRUE(leave(Event::clone, 1, [&] { array->clone(array, copy); }));
  EXPECT_EQ(inArray(array), Numbers({1, 2}));
  copy->destroy(copy);
  EXPECT_EQ(inArray(array), Numbers({1, 2}));
}

TEST_P(Leaving, SortSearchAndFindFromTheCompareFunctionKeepEveryElement) {
  const Array array(newArray({3, 1, 2, 5, 4}));
  for (int others = 0; others < 5; ++others) {
    EXPECT_TRUE(leave(Event::compare, others, [&] { array->sort(array, compareHooked); }));
    Numbers numbers = inArray(array);
    std::sort(numbers.begin(), numbers.end());
    EXPECT_EQ(numbers, Numbers({1, 2, 3, 4, 5}));
  }
  array->sort(array, compareHooked);
  EXPECT_EQ(inArray(array), Numbers({1, 2, 3, 4, 5}));
  const HookedObject one = hooked(1);
  EXPECT_TRUE(leave(Event::compare, [&] { array->search(array, one, compareHooked); }));
  EXPECT_TRUE(leave(Event::compare, [&] { array->find(array, one); }));
  EXPECT_EQ(array->find(array, one), array->getAt(array, 0));
}

TEST_P(Leaving, ArraysLoseNothingWhenFindIsLeftOften) {
  mayBeLost = 0;
  for (int round = 0; round < 100; ++round) {
    const Array array(newArray({1, 2}));
    const HookedObject three = hooked(3);
    for (int call = 0; call < 3; ++call) {
      EXPECT_TRUE(leave(Event::compare, [&] { array->find(array, three); }));
    }
    array->pushBack(array, three);
    EXPECT_EQ(inArray(array), Numbers({1, 2, 3}));
  }
}

// Lists, trees and tables -------------------------------------------------------------------------

namespace {

class LeavingItems : public Leaving {
 protected:
  LeavingItems() {
    manager->setElementConstructor(manager, Hooked_ctor);
  }

  Owned<LeavingManager, LeavingManagerMethods> manager{LeavingManager_ctor};
  List list{newList({1, 2, 3, 4, 5})};
  Tree tree{newTree({1, 2, 3, 4, 5})};
  HookedObject two = hooked(2);
  HookedObject six = hooked(6);
};

INSTANTIATE_TEST_SUITE_P(By, LeavingItems, testing::Values(Way::exception, Way::jump),
                         testing::PrintToStringParamName());

// Keeps objects under numbers.
Map mapOfNumbers(const Numbers &numbers) {
  Map map(ztMap_ctor);
  map->setKeySize(map, sizeof(int32_t), 0);
  map->setValueConstructor(map, Hooked_ctor);
  map->setCompareFunction(map, ztIntArray_compare_func);
  for (const int32_t number : numbers) map->pushBack(map, &number, hooked(number));
  return map;
}

}  // namespace

TEST_P(LeavingItems, ListsTakeNoElementWhoseCopyingLeavesTheCall) {
  ztListItem *second = list->getItemAt(list, 1);
  EXPECT_TRUE(leave(Event::clone, [&] { list->pushBack(list, six); }));
  EXPECT_TRUE(leave(Event::clone, [&] { list->pushFront(list, six); }));
  EXPECT_TRUE(leave(Event::clone, [&] { list->insertPrev(list, second, six); }));
  EXPECT_TRUE(leave(Event::clone, [&] { list->insertNext(list, second, six); }));
  EXPECT_TRUE(leave(Event::compare, [&] { list->find(list, six); }));
  EXPECT_EQ(inList(list), Numbers({1, 2, 3, 4, 5}));
}

TEST_P(LeavingItems, ListsAreWithoutTheItemWhoseDeletionLeavesTheCall) {
  list->setItemManager(list, manager);
  EXPECT_TRUE(leaveAtDeletion([&] { list->popBack(list); }));
  EXPECT_EQ(inList(list), Numbers({1, 2, 3, 4}));
  EXPECT_TRUE(leaveAtDeletion([&] { list->removeItem(list, list->getItemAt(list, 1)); }));
  EXPECT_EQ(inList(list), Numbers({1, 3, 4}));
  EXPECT_TRUE(leaveAtDeletion([&] { list->empty(list); }));
  EXPECT_EQ(inList(list), Numbers({3, 4}));
}

TEST_P(LeavingItems, TreesTakeNoElementWhoseCopyingOrComparingLeavesTheCall) {
  for (const auto &[event, most] : {std::pair(Event::clone, 2), std::pair(Event::compare, 4)}) {
    for (int others = 0; others < most; ++others) {
      EXPECT_TRUE(leave(event, others, [&] { tree->push(tree, six); }));
      EXPECT_EQ(inTree(tree), Numbers({1, 2, 3, 4, 5}));
    }
  }
  EXPECT_TRUE(leave(Event::compare, 1, [&] { tree->pop(tree, six); }));
  EXPECT_TRUE(leave(Event::compare, 1, [&] { tree->find(tree, six); }));
  EXPECT_EQ(inTree(tree), Numbers({1, 2, 3, 4, 5}));
  EXPECT_NE(tree->push(tree, six), nullptr);
  EXPECT_EQ(inTree(tree), Numbers({1, 2, 3, 4, 5, 6}));
}

TEST_P(LeavingItems, TreesAreWithoutTheItemWhoseDeletionLeavesTheCall) {
  manager->setItemConstructor(manager, ztAvlTreeItem_ctor);
  tree->setItemManager(tree, manager);
  EXPECT_TRUE(leaveAtDeletion([&] { tree->pop(tree, two); }));
  EXPECT_EQ(inTree(tree), Numbers({1, 3, 4, 5}));
  // The probe's deletion comes last.
  EXPECT_TRUE(leaveAtDeletion([&] { tree->push(tree, six); }));
  EXPECT_EQ(inTree(tree), Numbers({1, 3, 4, 5, 6}));
}

TEST_P(LeavingItems, WhatATreeHadStillToDeleteGoesWithIt) {
  const int before = hookedLive;
  {
    const Tree other(newTree({1, 2, 3, 4, 5}));
    other->setItemManager(other, manager);
    EXPECT_TRUE(leaveAtDeletion([&] { other->empty(other); }));
    EXPECT_EQ(other->getSize(other), 0);
    EXPECT_EQ(hookedLive, before + 4);
    other->setItemManager(other, nullptr);
    other->push(other, six);
    EXPECT_EQ(other->getSize(other), 1);
  }
  EXPECT_EQ(hookedLive, before);
}

TEST_P(LeavingItems, ListsAreWithoutTheItemWhoseElementsEndLeavesTheCall) {
  EXPECT_TRUE(leave(Event::destroy, [&] { list->popBack(list); }));
  EXPECT_EQ(inList(list), Numbers({1, 2, 3, 4}));
  EXPECT_TRUE(leave(Event::destroy, [&] { list->removeItem(list, list->getItemAt(list, 1)); }));
  EXPECT_EQ(inList(list), Numbers({1, 3, 4}));
  EXPECT_TRUE(leave(Event::destroy, 1, [&] { list->empty(list); }));
  EXPECT_EQ(inList(list), Numbers({4}));
  list->pushBack(list, six);
  EXPECT_EQ(inList(list), Numbers({4, 6}));
  list->empty(list);
  EXPECT_EQ(inList(list), Numbers());
}

TEST_P(LeavingItems, TreesAreWithoutTheItemWhoseElementsEndLeavesTheCall) {
  const int before = hookedLive;
  EXPECT_TRUE(leave(Event::destroy, [&] { tree->pop(tree, two); }));
  EXPECT_EQ(inTree(tree), Numbers({1, 3, 4, 5}));
  EXPECT_NE(tree->push(tree, two), nullptr);
  EXPECT_EQ(inTree(tree), Numbers({1, 2, 3, 4, 5}));
  EXPECT_TRUE(leave(Event::destroy, 1, [&] { tree->empty(tree); }));
  EXPECT_EQ(inTree(tree), Numbers());
  tree->push(tree, two);
  EXPECT_EQ(inTree(tree), Numbers({2}));
  tree->empty(tree);
  // Of those that were in the tree only the two whose ends were left are there.
  EXPECT_EQ(hookedLive, before - 5 + 2);
}

TEST_P(LeavingItems, QueuesAreWithoutTheItemWhoseElementsEndLeavesTheCall) {
  const Owned<ztQueue, ztQueueMethods> queue(newSequence(ztQueue_ctor, &ztQueueMethods::push, {1, 2, 3}));
  const int before = hookedLive;
  const Call popFirst = [&] {
    void *first = queue->getFront(queue);
    queue->pop(queue);
    Hooked_of(first)->unRef(first);
  };
  for (const int32_t left : {2, 1}) {
    EXPECT_TRUE(leave(Event::destroy, popFirst));
    EXPECT_EQ(queue->getSize(queue), left);
    EXPECT_TRUE(isWhole(queue->getFront(queue)));
  }
  EXPECT_NE(queue->push(queue, two), nullptr);
  EXPECT_EQ(queue->getSize(queue), 2);
  EXPECT_EQ(hookedLive, before + 1);
}

TEST_P(LeavingItems, MapsAreWithoutTheItemWhoseElementsEndLeavesTheCall) {
  const int before = hookedLive;
  {
    const Map map = mapOfNumbers({1, 2, 3, 4});
    const int32_t second = 2;
    EXPECT_TRUE(leave(Event::destroy, [&] { map->pop(map, &second); }));
    EXPECT_EQ(map->getSize(map), 3);
    EXPECT_EQ(map->find(map, &second), nullptr);
    EXPECT_NE(map->pushBack(map, &second, two), nullptr);
    EXPECT_TRUE(isWhole(map->findValue(map, &second)));
    EXPECT_TRUE(leave(Event::destroy, [&] { map->empty(map); }));
    EXPECT_EQ(map->getSize(map), 0);
    EXPECT_NE(map->pushBack(map, &second, two), nullptr);
    EXPECT_TRUE(isWhole(map->findValue(map, &second)));
  }
  EXPECT_EQ(hookedLive, before + 2);
}

TEST_P(LeavingItems, HashTablesAreEmptyWhenAValuesEndLeavesTheCall) {
  const int before = hookedLive;
  {
    const Table table(newTable({}));
    const Call setSize = [&] { table->setSize(table, 4); };
    for (const Call &call : {Call([&] { table->empty(table); }), setSize, setSize}) {
      for (const int32_t number : {1, 2, 3}) EXPECT_EQ(putIntoTable(table, number), 1);
      EXPECT_TRUE(leave(Event::destroy, 1, call));
      EXPECT_EQ(inTable(table), Numbers());
      for (const int32_t number : {1, 2, 3}) EXPECT_EQ(table->find(table, &number), nullptr);
    }
    EXPECT_EQ(putIntoTable(table, 3), 1);
    EXPECT_EQ(inTable(table), Numbers({3}));
  }
  EXPECT_EQ(hookedLive, before + 3);
}

TEST_P(Leaving, HashTablesTakeNoPairWhoseCopyingLeavesTheCall) {
  {
    const Table table(newTable({1, 2, 3}));
    const HookedObject four = hooked(4);
    const int32_t number = 4;
    EXPECT_TRUE(leave(Event::clone, [&] { table->insert(table, &number, four); }));
    EXPECT_EQ(inTable(table), Numbers({1, 2, 3}));
    EXPECT_EQ(table->find(table, &number), nullptr);
    EXPECT_EQ(table->insert(table, &number, four), 1);
    EXPECT_NE(table->find(table, &number), nullptr);
  }
  EXPECT_EQ(hookedLive, live);
}

TEST_P(Leaving, MapsTakeNoPairWhoseCopyingLeavesTheCall) {
  {
    const Map map = mapOfNumbers({1, 2, 3});
    const HookedObject four = hooked(4);
    const int32_t number = 4;
    for (int others = 0; others < 2; ++others) {
      EXPECT_TRUE(leave(Event::clone, others, [&] { map->pushBack(map, &number, four); }));
      EXPECT_EQ(map->getSize(map), 3);
      EXPECT_EQ(map->find(map, &number), nullptr);
    }
    EXPECT_NE(map->pushBack(map, &number, four), nullptr);
    EXPECT_EQ(map->getSize(map), 4);
  }
  EXPECT_EQ(hookedLive, live);
}

// Many of them --------------------------------------------------------------------------------------

void Leaving::leaveOften(Event event, const Call &call) {
  const int rounds = scale(100000);
  int blocksBefore = 0;
  int64_t bytesBefore = 0;
  int left = 0;
  for (int round = 0; round < rounds; ++round) {
    left += leave(event, call);
    if (round != 10) continue;
    blocksBefore = liveBlocks;
    bytesBefore = liveBytes;
  }
  EXPECT_EQ(left, rounds);
  EXPECT_EQ(liveBlocks, blocksBefore);
  EXPECT_EQ(liveBytes, bytesBefore);
}

TEST_P(Leaving, ArraysGrowNothingWhenCallsAreLeftOften) {
  const Array array(newArray({1, 2, 3}));
  const HookedObject two = hooked(2);
  leaveOften(Event::compare, [&] { array->find(array, two); });
  leaveOften(Event::compare, [&] { array->sort(array, compareHooked); });
  leaveOften(Event::clone, [&] { array->pushBack(array, two); });
  EXPECT_EQ(inArray(array), Numbers({1, 2, 3}));
  const void *block = array->getData(array);
  EXPECT_EQ(array->setAt(array, two, 0), block);
  EXPECT_EQ(inArray(array), Numbers({2, 2, 3}));
}

TEST_P(Leaving, ArraysSortedAndChangedInTurnGrowNothing) {
  const Owned<ztIntArray, ztIntArrayMethods> array(ztIntArray_ctor);
  for (const int32_t number : {3, 1, 2}) array->pushBack(array, &number);
  leaveOften(Event::compare, [&] {
    array->removeAt(array, 0);
    const int32_t number = 5;
    array->pushBack(array, &number);
    array->sort(array, compareHookedNumbers);
  });
  EXPECT_EQ(array->getSize(array), 3);
}

TEST_P(Leaving, HashTablesGrowNothingWhenInsertOrFindIsLeftOften) {
  const Table table(newTable({}));
  table->setSize(table, 1);
  table->setCompareFunction(table, compareHookedNumbers);
  for (const int32_t number : {1, 2, 3}) ASSERT_EQ(putIntoTable(table, number), 1);
  const HookedObject value = hooked(4);
  const int32_t four = 4;
  for (const uint32_t allow : {0U, 1U}) {
    table->setAllowDuplicate(table, allow);
    leaveOften(Event::compare, [&] { table->insert(table, &four, value); });
    leaveOften(Event::compare, [&] { table->find(table, &four); });
  }
  EXPECT_EQ(inTable(table), Numbers({1, 2, 3}));
  EXPECT_EQ(table.fields().buckets->count, 1);
  EXPECT_EQ(table->insert(table, &four, value), 1);
  EXPECT_EQ(inTable(table), Numbers({1, 2, 3, 4}));
  for (const int32_t number : {1, 2, 3, 4}) EXPECT_NE(table->find(table, &number), nullptr);
}

TEST_P(LeavingItems, TreesGrowNothingWhenPushIsLeftOften) {
  leaveOften(Event::compare, [&] { tree->push(tree, six); });
  EXPECT_EQ(inTree(tree), Numbers({1, 2, 3, 4, 5}));
  EXPECT_NE(tree->push(tree, six), nullptr);
  EXPECT_EQ(inTree(tree), Numbers({1, 2, 3, 4, 5, 6}));
}

// A call on a stack of its own ------------------------------------------------------------------------

namespace {

// Runs a call that waits at an event, on a stack of its own.
class Coroutines : public testing::Test {
 protected:
  // Begins the call; comes back when it waits.
  void begin(Event event, Call given) {
    waitsAt = event;
    call = std::move(given);
    ASSERT_EQ(getcontext(&inside), 0);
    inside.uc_stack.ss_sp = stack.data();
    inside.uc_stack.ss_size = stack.size();
    inside.uc_link = &outside;
    makecontext(&inside, run, 0);
    goOn();
  }
  // Lets it go on to its end.
  static void goOn() {
    swapcontext(&outside, &inside);
  }

 private:
  static void run() {
    const Hook hook(waitsAt, [] { swapcontext(&inside, &outside); });
    call();
  }

  static inline ucontext_t outside;
  static inline ucontext_t inside;
  static inline Event waitsAt;
  static inline Call call;
  std::vector<char> stack = std::vector<char>(256 * 1024);
};

}  // namespace

TEST_F(Coroutines, ACallThatWaitsInItsCompareFunctionGoesOnAfterOthers) {
  const Array array(newArray({1, 2, 3}));
  const HookedObject three = hooked(3);
  const void *found = nullptr;
  begin(Event::compare, [&] { found = array->find(array, three); });
  EXPECT_EQ(found, nullptr);
  EXPECT_EQ(array->find(array, three), array->getAt(array, 2));
  EXPECT_NE(array->setAt(array, three, 0), nullptr);
  array->sort(array, compareHooked);
  goOn();
  EXPECT_EQ(found, array->getAt(array, 1));
  EXPECT_EQ(inArray(array), Numbers({2, 3, 3}));
}

TEST_F(Coroutines, ACallThatWaitsLearnsThatItsArrayIsGone) {
  const HookedObject four = hooked(4);
  const int live = hookedLive;
  void *array = newArray({1, 2});
  bool isReplaced = true;
  begin(Event::clone, [&] { isReplaced = ztArray_of(array)->setAt(array, four, 0) != nullptr; });
  ztArray_of(array)->unRef(array);
  EXPECT_EQ(hookedLive, live);
  goOn();
  EXPECT_FALSE(isReplaced);
  EXPECT_EQ(hookedLive, live);
}
