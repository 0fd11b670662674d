// Elements, item managers and item classes that call back into the container whose call is under way.
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "containers/ztlists.h"
#include "containers/ztqueue.h"
#include "containers/ztstack.h"
#include "tests/containers/hooked.hh"
#include "tests/helpers/faults.hh"
#include "tests/helpers/storage.hh"

// The container under test, which a callback may release.
static void *subject;

static void release() {
  void *ended = std::exchange(subject, nullptr);
  if (ended != nullptr) ztBaseClass_of(ended)->unRef(ended);
}

using Call = std::function<void()>;

// Calls on the container under test.
template <typename Methods>
using Calls = std::map<std::string, void (*)(const Methods *methods, void *container)>;

template <typename Methods>
static void callOnSubject(void (*call)(const Methods *methods, void *container)) {
  if (subject != nullptr) call(static_cast<const Methods *>(ztOOP_classOf(subject)->methodTable), subject);
}

template <typename Methods>
static Calls<Methods> withRelease(Calls<Methods> calls) {
  calls["release"] = [](auto *, void *) { release(); };
  return calls;
}

// Runs a call on a new container with a callback at the event that follows so many others of its kind. The run
// has to leave the container whole, and nothing when it is released. Whether the event came.
static bool isCalledBack(const Call &make, const Call &call, const Call &callback, Event event, int others,
                         void (*expectWhole)(void *container)) {
  SCOPED_TRACE("event " + std::to_string(static_cast<int>(event)) + " after " + std::to_string(others));
  const int blocks = liveBlocks;
  const int live = hookedLive;
  bool isCalled = false;
  make();
  {
    const Hook hook(event, others, callback);
    call();
    isCalled = Hook::isCalled();
  }
  if (subject != nullptr) expectWhole(subject);
  release();
  EXPECT_EQ(hookedLive, live);
  EXPECT_EQ(liveBlocks, blocks);
  return isCalled;
}

// Runs each call with each callback at each event of its elements, at the first, the second and so on, until
// the call raises no more of them.
template <typename Methods>
static void callBackEverywhere(void *(*make)(const Numbers &), const Numbers &numbers,
                               const Calls<Methods> &calls, const Calls<Methods> &callbacks,
                               void (*expectWhole)(void *container)) {
  const bool mayCompareCallBack = std::is_same_v<Methods, ztArrayMethods>;
  int runs = 0;
  for (const auto &[call, function] : calls) {
    for (const auto &[callback, callbackFunction] : callbacks) {
      SCOPED_TRACE(call + ", and " + callback);
      for (const Event event : allEvents) {
        if (event == Event::compare && !mayCompareCallBack) continue;
        bool isCalled = true;
        for (int others = 0; isCalled && !testing::Test::HasFailure(); ++others, ++runs) {
          isCalled = isCalledBack(
              [&] { subject = make(numbers); }, [&, function = function] { callOnSubject(function); },
              [&, function = callbackFunction] { callOnSubject(function); }, event, others, expectWhole);
        }
      }
    }
  }
  EXPECT_GT(runs, 50);
}

template <Numbers (*contents)(const void *container)>
static void expectWhole(void *container) {
  contents(container);
}

// What a call returned stands in the container, if the container itself stands.
template <typename Item>
static void look(const Item *item) {
  EXPECT_TRUE(subject == nullptr || item == nullptr || isWhole(item->data));
}

// Makes a copy and releases it.
template <typename Methods>
static void copyAndRelease(const Methods *, void *container) {
  void *copy = newClone(container);
  if (copy != nullptr) ztBaseClass_of(copy)->unRef(copy);
}

template <typename Methods>
static void empty(const Methods *methods, void *container) {
  methods->empty(container);
}

// Arrays ------------------------------------------------------------------------------------------

// Reads three objects into an array.
static void readThrough(const ztArrayMethods *methods, void *array) {
  const Storage file;
  for (const int32_t number : {3, 21, 22, 23}) file->writeInt(file, number);
  file->goToBegin(file);
  methods->read(array, file);
}

static const Calls<ztArrayMethods> arrayCalls = {
    {"pushBack", [](auto *m, void *array) { m->pushBack(array, hooked(9)); }},
    {"pushBack of its own",
     [](auto *m, void *array) {
       if (m->getSize(array) > 0) m->pushBack(array, m->getFront(array));
     }},
    {"pushBackUnique",
     [](auto *m, void *array) {
       const auto matches = [](const void *first, const void *second) -> int32_t {
         return compareHooked(first, second) == 0;
       };
       m->pushBackUnique(array, hooked(8), matches);
     }},
    {"removeAt the first", [](auto *m, void *array) { m->removeAt(array, 0); }},
    {"removeAt another", [](auto *m, void *array) { m->removeAt(array, 1); }},
    {"setAt the first", [](auto *m, void *array) { m->setAt(array, hooked(7), 0); }},
    {"setAt the last", [](auto *m, void *array) { m->setAt(array, hooked(6), m->getSize(array) - 1); }},
    {"setAt of its own",
     [](auto *m, void *array) {
       if (m->getSize(array) > 0) m->setAt(array, m->getBack(array), 0);
     }},
    {"empty", empty},
    {"setSize", [](auto *m, void *array) { m->setSize(array, 2); }},
    {"resize to fewer", [](auto *m, void *array) { m->resize(array, 1); }},
    {"resize to more", [](auto *m, void *array) { m->resize(array, 5); }},
    {"sort", [](auto *m, void *array) { m->sort(array, compareHooked); }},
    {"search", [](auto *m, void *array) { m->search(array, hooked(2), compareHooked); }},
    {"find", [](auto *m, void *array) { m->find(array, hooked(2)); }},
    {"clone", copyAndRelease},
    {"assign", [](auto *m, void *array) { m->assign(array, Array(newArray(upTo(3)))); }},
    {"read", readThrough},
    {"assign to itself", [](auto *m, void *array) { m->assign(array, array); }},
};

static Calls<ztArrayMethods> arrayCallbacks() {
  Calls<ztArrayMethods> callbacks = withRelease(arrayCalls);
  callbacks["destroy"] = [](auto *m, void *array) { m->destroy(array); };
  return callbacks;
}

// It takes another element, too.
static void expectWholeArray(void *array) {
  inArray(array);
  const Quiet making;
  ztArray_of(array)->pushBack(array, hooked(3));
  EXPECT_EQ(inArray(array).back(), 3);
}

TEST(ztArrayCalledBack, StaysWholeUnderEveryCallback) {
  for (const Numbers &numbers : {Numbers({3, 1, 2}), Numbers({1})}) {
    callBackEverywhere(newArray, numbers, arrayCalls, arrayCallbacks(), expectWholeArray);
  }
}

// An array whose file is not known to hold what its count claims gets its slots in pieces.
TEST(ztArrayCalledBack, ThatIsReadInPiecesStaysWholeUnderEveryCallback) {
  constexpr int32_t count = 3500;
  const Storage file;
  file->writeInt(file, count);
  for (int32_t i = 1; i <= count; ++i) file->writeInt(file, i);
  const auto make = [] { subject = newArray({8, 9}); };
  const auto read = [&file] {
    file->goToBegin(file);
    ztArray_of(subject)->read(subject, file);
  };
  // How many slots the array has with each of the first pieces, which come when those before are used.
  Numbers sizes = {0};
  for (const size_t piece : {0U, 1U, 2U}) {
    const int live = hookedLive;
    EXPECT_TRUE(isCalledBack(
        make, read, [&] { sizes.push_back(hookedLive - live); }, Event::read, sizes.back(),
        expectWholeArray));
    ASSERT_LT(sizes[piece], sizes[piece + 1]);
  }
  ASSERT_LT(sizes[3], count);
  for (const auto &[name, function] : arrayCallbacks()) {
    SCOPED_TRACE(name);
    const Call callback = [call = function] { callOnSubject(call); };
    for (const Event event : {Event::read, Event::create}) {
      for (const int32_t others : {0, sizes[1] - 1, sizes[1], sizes[2], count - 1}) {
        EXPECT_TRUE(isCalledBack(make, read, callback, event, others, expectWholeArray));
      }
    }
  }
}

namespace {

class ztArrayOfHooked : public testing::Test {
 protected:
  // A hook that looks at the array, and one that puts an element in.
  Hook looking(Event event) {
    return Hook(event, [this] { seen = inArray(array); });
  }
  Hook pushing(Event event) {
    return Hook(event, [this] { push(); });
  }
  void push() {
    array->pushBack(array, hooked(9));
  }

  Array array{newArray({1, 2, 3})};
  const char *block = static_cast<const char *>(array->getData(array));
  Array other{newArray({4, 5, 6})};
  HookedObject four = hooked(4);
  Numbers seen = {-1};
  int live = hookedLive;
};

}  // namespace

TEST_F(ztArrayOfHooked, RemovedElementEndsWhenTheArrayIsWithoutIt) {
  const Hook hook = looking(Event::destroy);
  array->removeAt(array, 1);
  EXPECT_EQ(seen, Numbers({1, 3}));
}

TEST_F(ztArrayOfHooked, ReplacedElementEndsWhileTheArrayIsEmpty) {
  const Hook hook = looking(Event::destroy);
  array->setAt(array, four, 0);
  EXPECT_EQ(seen, Numbers());
  EXPECT_EQ(inArray(array), Numbers({4, 2, 3}));
}

TEST_F(ztArrayOfHooked, ElementIsAssignedWhileTheArrayIsEmpty) {
  const Hook hook = looking(Event::assign);
  EXPECT_EQ(array->assign(array, other), 1);
  EXPECT_EQ(seen, Numbers());
  EXPECT_EQ(inArray(array), Numbers({4, 5, 6}));
}

TEST_F(ztArrayOfHooked, ResizedElementsEndWhenTheArrayHasItsCopies) {
  const Hook hook = looking(Event::destroy);
  EXPECT_EQ(array->resize(array, 2), 1);
  EXPECT_EQ(seen, Numbers({1, 2}));
}

TEST_F(ztArrayOfHooked, PushedElementIsNoneOfTheArraysWhileItIsCloned) {
  const Hook hook = looking(Event::clone);
  array->pushBack(array, four);
  EXPECT_EQ(seen, Numbers({1, 2, 3}));
  EXPECT_EQ(inArray(array), Numbers({1, 2, 3, 4}));
}

// The bytes of the elements but one.
static std::string bytesBut(const char *block, int32_t index) {
  std::string bytes(block, 3 * sizeof(Hooked));
  return bytes.erase(static_cast<size_t>(index) * sizeof(Hooked), sizeof(Hooked));
}

TEST_F(ztArrayOfHooked, EachElementIsReplacedInItsOwnSlotAndTheOthersStayInTheirs) {
  for (const Event event : {Event::destroy, Event::clone}) {
    for (int32_t i = 0; i < 3; ++i) {
      SCOPED_TRACE(i);
      const char *slot = block + i * int32_t{sizeof(Hooked)};
      const std::string before = bytesBut(block, i);
      const void *seenAt = nullptr;
      std::string others;
      const Hook hook(event, [&] {
        seenAt = hookedSlot;
        others = bytesBut(block, i);
      });
      EXPECT_EQ(array->setAt(array, four, i), slot);
      EXPECT_EQ(seenAt, slot);
      EXPECT_EQ(others, before);
      EXPECT_EQ(bytesBut(block, i), before);
      EXPECT_EQ(array->getData(array), block);
    }
  }
  EXPECT_EQ(inArray(array), Numbers({4, 4, 4}));
}

TEST_F(ztArrayOfHooked, EachElementIsAssignedInItsOwnSlot) {
  for (int32_t i = 0; i < 3; ++i) {
    SCOPED_TRACE(i);
    const void *seenAt = nullptr;
    const Hook hook(Event::assign, i, [&] { seenAt = hookedSlot; });
    EXPECT_EQ(array->assign(array, other), 1);
    EXPECT_EQ(seenAt, block + i * int32_t{sizeof(Hooked)});
    EXPECT_EQ(array->getData(array), block);
  }
  EXPECT_EQ(inArray(array), Numbers({4, 5, 6}));
}

TEST_F(ztArrayOfHooked, WhatAnAssignedElementPutsInStaysBehindTheOthers) {
  const Hook hook = pushing(Event::assign);
  EXPECT_EQ(array->assign(array, other), 1);
  EXPECT_EQ(inArray(array), Numbers({4, 5, 6, 9}));
}

TEST_F(ztArrayOfHooked, WhatAnEndingElementPutsInStaysBehindTheOthers) {
  const struct {
    const char *name;
    Call call;
    Numbers left;
  } rows[] = {
      {"setAt", [this] { array->setAt(array, four, 0); }, {4, 2, 3, 9}},
      {"removeAt", [this] { array->removeAt(array, 0); }, {2, 3, 9, 9}},
      {"resize", [this] { array->resize(array, 2); }, {2, 3, 9}},
      {"empty", [this] { array->empty(array); }, {9}},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.name);
    const Hook hook = pushing(Event::destroy);
    row.call();
    EXPECT_EQ(inArray(array), row.left);
  }
}

TEST_F(ztArrayOfHooked, WhatAnEndingElementPutsInIsDiscardedBySetSize) {
  const Hook hook = pushing(Event::destroy);
  EXPECT_EQ(array->setSize(array, 2), 1);
  EXPECT_TRUE(Hook::isCalled());
  EXPECT_EQ(inArray(array), Numbers({0, 0}));
  EXPECT_EQ(hookedLive, live - 1);
}

TEST_F(ztArrayOfHooked, WhatWasPutInEndsWithoutMemoryToKeepIt) {
  {
    const Hook hook(Event::clone, [this] {
      push();
      allocationFaults.before = 1;  // after the copy's own memory
    });
    EXPECT_NE(array->setAt(array, four, 1), nullptr);
    EXPECT_EQ(allocationFaults.before, -1);
  }
  EXPECT_EQ(inArray(array), Numbers({1, 4, 3}));
  EXPECT_EQ(hookedLive, live);
}

TEST_F(ztArrayOfHooked, ElementsThatChangeTheArrayWhileTheyAreClonedMakeResizeFail) {
  const Hook hook(Event::clone, [this] { array->removeAt(array, 2); });
  EXPECT_EQ(array->resize(array, 5), 0);
  EXPECT_EQ(inArray(array), Numbers({1, 2}));
}

TEST_F(ztArrayOfHooked, OwnElementCannotGoWhileAnotherEnds) {
  const Hook hook(Event::destroy, [this] { array->removeAt(array, 1); });
  EXPECT_EQ(array->setAt(array, array->getAt(array, 1), 0), array->getAt(array, 0));
  EXPECT_EQ(inArray(array), Numbers({2, 2, 3}));
}

TEST_F(ztArrayOfHooked, ElementsForWhichTheArrayHasNoPlaceAnyMoreEnd) {
  array->resize(array, 1);
  const Hook hook(Event::destroy, [this] {
    array->setElementConstructor(array, nullptr);
    array->setElementSize(array, sizeof(int32_t), 0);
    const int32_t number = 5;
    array->pushBack(array, &number);
  });
  EXPECT_EQ(array->setAt(array, four, 0), nullptr);
  ASSERT_EQ(array->getSize(array), 1);
  EXPECT_EQ(*static_cast<int32_t *>(array->getAt(array, 0)), 5);
  EXPECT_EQ(hookedLive, live - 3);
}

TEST_F(ztArrayOfHooked, ElementSizeMayChangeWhileElementsEnd) {
  for (const bool isEmptied : {true, false}) {
    SCOPED_TRACE(isEmptied);
    array = Array(newArray({1, 2, 3}));
    const Hook hook(Event::destroy, [this] { array->setElementSize(array, 4000, 0); });
    if (isEmptied) {
      array->empty(array);
    } else {
      EXPECT_EQ(array->setSize(array, 4), 0);
    }
    EXPECT_TRUE(Hook::isCalled());
    EXPECT_EQ(array->getSize(array), 0);
  }
}

// Lists -------------------------------------------------------------------------------------------

// The element at the front is handed over, and ends here.
static void popFront(const ztListMethods *methods, void *list) {
  void *front = methods->getFront(list);
  methods->popFront(list);
  if (front != nullptr) Hooked_of(front)->unRef(front);
}

static const Calls<ztListMethods> listCalls = {
    {"pushBack", [](auto *m, void *list) { look(m->pushBack(list, hooked(9))); }},
    {"pushFront", [](auto *m, void *list) { look(m->pushFront(list, hooked(8))); }},
    {"insertPrev", [](auto *m, void *list) { look(m->insertPrev(list, m->getItemAt(list, 1), hooked(7))); }},
    {"insertNext", [](auto *m, void *list) { look(m->insertNext(list, m->getItemAt(list, 1), hooked(6))); }},
    {"popFront", popFront},
    {"popBack", [](auto *m, void *list) { look(m->popBack(list)); }},
    {"removeItem",
     [](auto *m, void *list) {
       if (m->getSize(list) > 2) look(m->removeItem(list, m->getItemAt(list, 1)));
     }},
    {"empty", empty},
    {"clone", copyAndRelease},
};

TEST(ztListCalledBack, StaysWholeUnderEveryCallback) {
  callBackEverywhere(newList, {1, 2, 3, 4}, listCalls, withRelease(listCalls), expectWhole<inList>);
}

namespace {

class ztListOfHooked : public testing::Test {
 protected:
  List list{newList({1, 2, 3})};
  ztListItem *second = list->getItemAt(list, 1);
  HookedObject four = hooked(4);
};

}  // namespace

TEST_F(ztListOfHooked, CountsBeforeItDeletes) {
  Numbers seen;
  const auto seeAt = [&](int others, const Call &call) {
    const Hook hook(Event::destroy, others, [&] { seen = inList(list); });
    call();
    return seen;
  };
  EXPECT_EQ(seeAt(0, [this] { list->removeItem(list, second); }), Numbers({1, 3}));
  EXPECT_EQ(seeAt(0, [this] { list->popBack(list); }), Numbers({1}));
  EXPECT_EQ(seeAt(0, [this] { list->popBack(list); }), Numbers());
  list = List(newList({1, 2, 3}));
  EXPECT_EQ(seeAt(1, [this] { list->empty(list); }), Numbers({3}));
}

TEST_F(ztListOfHooked, RemovedItemsNeighbourThatGoesTooIsNotReturned) {
  const Hook hook(Event::destroy, [this] { popFront(ztList_table(), list); });
  EXPECT_EQ(list->removeItem(list, second), nullptr);
  EXPECT_EQ(inList(list), Numbers({3}));
}

TEST_F(ztListOfHooked, NothingIsInsertedAtAnItemThatGoesMeanwhile) {
  const Hook hook(Event::clone, [this] { list->removeItem(list, second); });
  EXPECT_EQ(list->insertPrev(list, second, four), nullptr);
  EXPECT_EQ(inList(list), Numbers({1, 3}));
}

TEST_F(ztListOfHooked, InsertsWhereTheItemStandsByThen) {
  const Hook hook(Event::clone, [this] { popFront(ztList_table(), list); });
  EXPECT_NE(list->insertPrev(list, second, four), nullptr);
  EXPECT_EQ(inList(list), Numbers({4, 2, 3}));
}

// An item class that looks at the list at its end.
#define LookingItem_FIELDS ztListItem_FIELDS
#define LookingItem_METHODS ztListItem_METHODS
ZT_DECLARE_CLASS(LookingItem)

static const ztPtrList *lookedAt;
static uint32_t countSeen;

static void lookingItemMethods(LookingItemMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, destroy, [](void *) { countSeen = lookedAt->count; });
}

ZT_DEFINE_CLASS(LookingItem, ztListItem, lookingItemMethods)

TEST(ztListCalledBack, PopFrontCountsBeforeItReleasesTheItem) {
  const Owned<ztPtrList, ztPtrListMethods> list(ztPtrList_ctor);
  list->setItemConstructor(list, LookingItem_ctor);
  for (int i = 0; i < 3; ++i) list->pushBack(list, nullptr);
  lookedAt = &list.fields();
  list->popFront(list);
  EXPECT_EQ(countSeen, 2U);
}

#define PoppingItem_FIELDS ztListItem_FIELDS
#define PoppingItem_METHODS ztListItem_METHODS
ZT_DECLARE_CLASS(PoppingItem)

static Call beforeItem;

static int32_t poppingItemCreate(void *item) {
  if (beforeItem) beforeItem();
  return ztListItem_table()->create(item);
}

static void poppingItemMethods(PoppingItemMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, poppingItemCreate);
}

ZT_DEFINE_CLASS(PoppingItem, ztListItem, poppingItemMethods)

// What findAll gives to a list whose items take the element out of the tree before they copy it.
static int32_t countFoundWhilePopped(void (*prepare)(void *container), const void *element, const void *key) {
  const Owned<ztAvlTree, ztAvlTreeMethods> tree(ztAvlTree_ctor);
  prepare(tree);
  tree->setCompareFunction(tree, [](const void *first, const void *second) {
    return *static_cast<const int32_t *>(first) - *static_cast<const int32_t *>(second);
  });
  tree->setAllowDuplicate(tree, 1);
  EXPECT_NE(tree->push(tree, element), nullptr);
  const Owned<ztList, ztListMethods> list(ztList_ctor);
  prepare(list);
  list->setItemConstructor(list, PoppingItem_ctor);
  beforeItem = [&] { EXPECT_EQ(tree->pop(tree, key), 1); };
  const int32_t count = tree->findAll(tree, key, list);
  beforeItem = nullptr;
  return count;
}

TEST(ztAvlTreeCalledBack, FindAllCopiesNoBytesThatAreGone) {
  const int32_t seven = 7;
  const auto byValue = [](void *container) {
    ztSequenceContainer_of(container)->setElementSize(container, sizeof(int32_t), 0);
  };
  EXPECT_EQ(countFoundWhilePopped(byValue, &seven, &seven), 0);
}

TEST(ztAvlTreeCalledBack, FindAllTakesPointersWhoseElementsStay) {
  int32_t seven = 7;
  const auto byPointer = [](void *container) {
    ztSequenceContainer_of(container)->setElementSize(container, sizeof(int32_t), 1);
  };
  EXPECT_EQ(countFoundWhilePopped(byPointer, &seven, &seven), 1);
}

// Trees and maps ----------------------------------------------------------------------------------

static const Calls<ztAvlTreeMethods> treeCalls = {
    {"push in between", [](auto *m, void *tree) { look(m->push(tree, hooked(5))); }},
    {"push at the end", [](auto *m, void *tree) { look(m->push(tree, hooked(9))); }},
    {"push what is there", [](auto *m, void *tree) { look(m->push(tree, hooked(4))); }},
    {"pop a leaf", [](auto *m, void *tree) { m->pop(tree, hooked(1)); }},
    {"pop the root", [](auto *m, void *tree) { m->pop(tree, hooked(4)); }},
    {"empty", empty},
    {"clone", copyAndRelease},
    {"find all",
     [](auto *m, void *tree) {
       const Tree found(newTree({5, 4}));
       m->setAllowDuplicate(tree, 1);
       m->findAll(tree, hooked(4), found);
     }},
};

TEST(ztAvlTreeCalledBack, StaysWholeUnderEveryCallback) {
  callBackEverywhere(newTree, {4, 2, 6, 1, 3, 7}, treeCalls, withRelease(treeCalls), expectWhole<inTree>);
  callBackEverywhere(newTree, {}, treeCalls, withRelease(treeCalls), expectWhole<inTree>);
}

namespace {

class ztAvlTreeOfHooked : public testing::Test {
 protected:
  Tree tree{newTree({2, 1})};
  HookedObject two = hooked(2);
  HookedObject three = hooked(3);
};

}  // namespace

TEST_F(ztAvlTreeOfHooked, PushReturnsTheItemThatHoldsTheElementByThen) {
  // The probe's end takes the root out, whose item then holds the new element.
  const Hook hook(Event::destroy, [this] { tree->pop(tree, two); });
  const ztAvlTreeItem *item = tree->push(tree, three);
  ASSERT_NE(item, nullptr);
  EXPECT_EQ(static_cast<const Hooked *>(item->data)->value, 3);
  EXPECT_EQ(inTree(tree), Numbers({1, 3}));
}

TEST_F(ztAvlTreeOfHooked, PushReturnsNothingWhenTheElementWentAtOnce) {
  const Hook hook(Event::destroy, [this] { tree->pop(tree, three); });
  EXPECT_EQ(tree->push(tree, three), nullptr);
  EXPECT_EQ(inTree(tree), Numbers({1, 2}));
}

TEST_F(ztAvlTreeOfHooked, ElementThatCameInMeanwhileIsRefusedAsAnyOther) {
  // The second item is made after the element was looked for.
  const Hook hook(Event::clone, 1, [this] { tree->push(tree, three); });
  EXPECT_EQ(tree->push(tree, three), nullptr);
  EXPECT_EQ(inTree(tree), Numbers({1, 2, 3}));
}

TEST_F(ztAvlTreeOfHooked, ElementIsRefusedWhenTheCompareFunctionGoesBeforeItIsLookedFor) {
  const int live = hookedLive;
  {
    const Hook hook(Event::clone, [this] { tree->setCompareFunction(tree, nullptr); });
    EXPECT_EQ(tree->push(tree, three), nullptr);
  }
  EXPECT_EQ(hookedLive, live);
  tree->setCompareFunction(tree, compareHooked);
  EXPECT_EQ(inTree(tree), Numbers({1, 2}));
}

TEST_F(ztAvlTreeOfHooked, ElementIsRefusedWhenTheCompareFunctionGoesWithAChange) {
  const int live = hookedLive;
  {
    // The second item is made after the element was looked for.
    const Hook hook(Event::clone, 1, [this] {
      tree->pop(tree, two);
      tree->setCompareFunction(tree, nullptr);
    });
    EXPECT_EQ(tree->push(tree, three), nullptr);
  }
  EXPECT_EQ(hookedLive, live - 1);
  tree->setCompareFunction(tree, compareHooked);
  EXPECT_EQ(inTree(tree), Numbers({1}));
}

TEST_F(ztAvlTreeOfHooked, CompareFunctionMayGoWhileItIsCalled) {
  int others = 0;
  for (bool isCalled = true; isCalled; ++others) {
    SCOPED_TRACE(others);
    {
      const Hook hook(Event::compare, others, [this] { tree->setCompareFunction(tree, nullptr); });
      tree->push(tree, three);
      isCalled = Hook::isCalled();
    }
    tree->setCompareFunction(tree, compareHooked);
    tree->pop(tree, three);
    EXPECT_EQ(inTree(tree), Numbers({1, 2}));
  }
  // The search for an equal element and that for the place have both been interrupted.
  EXPECT_GE(others, 3);
}

TEST_F(ztAvlTreeOfHooked, FindAllEndsWhenTheCompareFunctionGoes) {
  tree->setAllowDuplicate(tree, 1);
  const Tree found(newTree({}));
  found->setAllowDuplicate(found, 1);
  const Hook hook(Event::compare, [this] { tree->setCompareFunction(tree, nullptr); });
  tree->findAll(tree, two, found);
  EXPECT_TRUE(Hook::isCalled());
}

TEST_F(ztAvlTreeOfHooked, CopyIsWholeOrNotMadeWhenAnElementComesMeanwhile) {
  bool isCalled = true;
  for (int others = 0; isCalled; ++others) {
    SCOPED_TRACE(others);
    const int blocks = liveBlocks;
    const int live = hookedLive;
    {
      const Tree source(newTree({4, 2, 6, 1, 3, 7}));
      const Hook hook(Event::clone, others, [&] { source->push(source, hooked(5)); });
      const Tree copy(newClone(source));
      isCalled = Hook::isCalled();
      inTree(source);
      EXPECT_TRUE(copy != nullptr || isCalled);
      if (copy != nullptr) inTree(copy);
    }
    EXPECT_EQ(hookedLive, live);
    EXPECT_EQ(liveBlocks, blocks);
  }
}

TEST_F(ztAvlTreeOfHooked, CopyIsNotMadeWhenAnElementGoesMeanwhile) {
  const Tree source(newTree({4, 2, 6, 1, 3, 7}));
  const HookedObject one = hooked(1);
  // The largest is copied first. While it is, the smallest goes.
  const Hook hook(Event::clone, [&] { source->pop(source, one); });
  EXPECT_EQ(newClone(source), nullptr);
  EXPECT_EQ(inTree(source), Numbers({2, 3, 4, 6, 7}));
}

static const Calls<ztMapMethods> mapCalls = {
    {"pushBack", [](auto *m, void *map) { m->pushBack(map, hooked(5), hooked(-5)); }},
    {"pushBack what is there", [](auto *m, void *map) { m->pushBack(map, hooked(4), hooked(-4)); }},
    {"pop a leaf", [](auto *m, void *map) { m->pop(map, hooked(1)); }},
    {"pop the root", [](auto *m, void *map) { m->pop(map, hooked(4)); }},
    {"empty", empty},
    {"clone", copyAndRelease},
    {"find all",
     [](auto *m, void *map) {
       const Map found(newMap({5, 4}));
       m->setAllowDuplicate(map, 1);
       m->findAll(map, hooked(4), found);
     }},
};

TEST(ztMapCalledBack, StaysWholeUnderEveryCallback) {
  callBackEverywhere(newMap, {4, 2, 6, 1, 3, 7}, mapCalls, withRelease(mapCalls), expectWhole<keysInMap>);
}

// Hash tables -------------------------------------------------------------------------------------

static const Calls<ztHashTableMethods> tableCalls = {
    {"insert", [](auto *, void *table) { putIntoTable(table, 5); }},
    {"insert another", [](auto *, void *table) { putIntoTable(table, 6); }},
    {"insert what is there", [](auto *, void *table) { putIntoTable(table, 1); }},
    {"empty", empty},
    {"setSize", [](auto *m, void *table) { m->setSize(table, 8); }},
    {"setSize to none", [](auto *m, void *table) { m->setSize(table, 0); }},
    {"setSize to the same", [](auto *m, void *table) { m->setSize(table, 2); }},
    {"clone", copyAndRelease},
};

TEST(ztHashTableCalledBack, StaysWholeUnderEveryCallback) {
  callBackEverywhere(newTable, {1, 2, 3, 4}, tableCalls, withRelease(tableCalls), expectWhole<inTable>);
}

TEST(ztHashTableCalledBack, SetSizeLeavesNoPairBehind) {
  const Table table(newTable({1, 2, 3}));
  const int before = hookedLive;
  for (const int32_t buckets : {8, 8, 0}) {
    putIntoTable(table, 1);
    const Hook hook(Event::destroy, [&] { putIntoTable(table, 5); });
    EXPECT_EQ(table->setSize(table, buckets), 1);
    EXPECT_TRUE(Hook::isCalled());
    EXPECT_EQ(inTable(table), Numbers());
  }
  EXPECT_EQ(hookedLive, before - 3);
}

TEST(ztHashTableCalledBack, PairThatGoesWhileItsKeyIsCopiedIsNotCopied) {
  const Table table(ztHashTable_ctor);
  // All keys are in one chain, since none of their bytes count.
  table->setKeyConstructor(table, Hooked_ctor);
  table->setValueConstructor(table, Hooked_ctor);
  table->setCompareFunction(table, compareHooked);
  ASSERT_EQ(table->setSize(table, 1), 1);
  const int before = hookedLive;
  for (int others = 0; others < 4; ++others) {
    for (const int32_t number : {1, 2}) table->insert(table, hooked(number), hooked(-number));
    const Hook hook(Event::clone, others, [&] { table->empty(table); });
    EXPECT_EQ(newClone(table), nullptr);
    EXPECT_EQ(hookedLive, before);
  }
}

// In memory of the program, which destroys it once more and frees the memory.
TEST(ztHashTableCalledBack, EndsWhereAValueDestroysIt) {
  const int before = hookedLive;
  void *table = ztHashTable_ctor(ztm_alloc(sizeof(ztHashTable)), 1);
  const ztHashTableMethods *methods = ztHashTable_of(table);
  methods->setSize(table, 4);
  methods->setKeySize(table, sizeof(int32_t), 0);
  methods->setValueConstructor(table, Hooked_ctor);
  methods->setCompareFunction(table, ztIntArray_compare_func);
  const int32_t key = 1;
  ASSERT_EQ(methods->insert(table, &key, hooked(1)), 1);
  const Hook hook(Event::destroy, [&] {
    methods->destroy(table);
    ztm_free(table);
  });
  methods->destroy(table);
  EXPECT_TRUE(Hook::isCalled());
  EXPECT_EQ(hookedLive, before);
}

// The end -----------------------------------------------------------------------------------------

TEST(Containers, ReleaseWhatIsPutInWhileTheyAreDestroyed) {
  const auto deque = [](const Numbers &numbers) {
    return newSequence(ztDeque_ctor, &ztDequeMethods::pushBack, numbers);
  };
  const auto queue = [](const Numbers &numbers) {
    return newSequence(ztQueue_ctor, &ztQueueMethods::push, numbers);
  };
  const auto stack = [](const Numbers &numbers) {
    return newSequence(ztStack_ctor, &ztStackMethods::push, numbers);
  };
  const struct {
    void *(*make)(const Numbers &numbers);
    void (*put)(void *container);
    // Sets up what was made anew in the place of the container that is destroyed.
    void (*configure)(void *container) = nullptr;
  } rows[] = {
      {newArray, [](void *array) { ztArray_of(array)->pushBack(array, hooked(4)); }},
      {newArray, [](void *array) { ztArray_of(array)->setSize(array, 4); }},
      {newList, [](void *list) { ztList_of(list)->pushBack(list, hooked(4)); }},
      {newTree, [](void *tree) { ztAvlTree_of(tree)->push(tree, hooked(4)); }},
      {newMap, [](void *map) { ztMap_of(map)->pushBack(map, hooked(4), hooked(-4)); }, configureHookedMap},
      {newTable, [](void *table) { putIntoTable(table, 4); }, configureHookedTable},
      {deque, [](void *held) { ztDeque_of(held)->pushBack(held, hooked(4)); }, configureHooked},
      {queue, [](void *held) { ztQueue_of(held)->push(held, hooked(4)); }, configureHooked},
      {stack, [](void *held) { ztStack_of(held)->push(held, hooked(4)); }, configureHooked},
  };
  for (const auto &row : rows) {
    for (const bool isMadeAnew : {false, true}) {
      if (isMadeAnew && row.configure == nullptr) continue;
      for (int others = 0; others < 3; ++others) {
        const int blocks = liveBlocks;
        const int live = hookedLive;
        void *container = row.make({1, 2, 3});
        SCOPED_TRACE(ztOOP_classNameOf(container) + std::string(isMadeAnew ? " anew " : " ") +
                     std::to_string(others));
        const Hook hook(Event::destroy, others, [&] {
          if (isMadeAnew) ztBaseClass_of(container)->create(container);
          if (isMadeAnew) row.configure(container);
          row.put(container);
        });
        ztBaseClass_of(container)->unRef(container);
        EXPECT_TRUE(Hook::isCalled());
        EXPECT_EQ(hookedLive, live);
        EXPECT_EQ(liveBlocks, blocks);
      }
    }
  }
}

TEST(Containers, TakeNoItemOfAnotherThatDestroysThemMeanwhile) {
  const List manager(newList({}));
  const HookedObject four = hooked(4);
  const int live = hookedLive;
  const int blocks = liveBlocks;
  {
    subject = newList({1, 2, 3});
    ztList_of(subject)->setItemManager(subject, manager);
    const Hook hook(Event::clone, release);
    EXPECT_EQ(ztList_of(subject)->pushBack(subject, four), nullptr);
  }
  {
    subject = newTree({1, 2, 3});
    manager->setItemConstructor(manager, ztAvlTreeItem_ctor);
    ztAvlTree_of(subject)->setItemManager(subject, manager);
    const Hook hook(Event::clone, release);
    EXPECT_EQ(ztAvlTree_of(subject)->push(subject, four), nullptr);
  }
  EXPECT_EQ(subject, nullptr);
  EXPECT_EQ(hookedLive, live);
  EXPECT_EQ(liveBlocks, blocks);
}

TEST(Containers, CopyElementsIntoFieldsThatAreZero) {
  const Array array(newArray({}));
  const List list(newList({}));
  const HookedObject source = hooked(7);
  clonesBegun = clonesBegunDirty = 0;
  for (int i = 0; i < 3; ++i) {
    // Memory that is used again is not zero by itself.
    ztm_free(ztm_alloc(sizeof(Hooked)));
    array->pushBack(array, source);
    array->setAt(array, source, 0);
    list->pushBack(list, source);
  }
  EXPECT_EQ(array->resize(array, 2), 1);
  EXPECT_EQ(clonesBegun, 3 + 3 + 3 + 2);
  EXPECT_EQ(clonesBegunDirty, 0);
}
