// Elements, item managers and item classes that call back into the container whose call is under way.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "containers/ztarrays.h"
#include "containers/ztavliter.h"
#include "containers/zthashtab.h"
#include "containers/ztlists.h"
#include "containers/ztmapiter.h"
#include "containers/ztqueue.h"
#include "containers/ztstack.h"
#include "tests/containers/hooked.hh"
#include "tests/helpers/faults.hh"
#include "tests/helpers/owned.hh"
#include "tests/helpers/storage.hh"

using Numbers = std::vector<int32_t>;
using Action = std::function<void()>;
using Actions = std::map<std::string, Action>;
using Object = Owned<Hooked, HookedMethods>;

static Object object(int32_t value) {
  return Object(newHooked(value));
}

// A container under test, which a callback may release.
struct Subject {
  void *container = nullptr;

  void release() {
    void *ended = container;
    container = nullptr;
    if (ended != nullptr) ztBaseClass_of(ended)->unRef(ended);
  }
};

// Runs each call with each callback at each event of its elements, at the first, the second and so on, until
// the call raises no more of them. Each run has to leave the container whole, and nothing when it is released.
static void callBackEverywhere(const std::function<void *()> &make,
                               const std::function<Actions(Subject *)> &calls,
                               const std::function<Actions(Subject *)> &callbacks,
                               const std::function<void(void *)> &expectWhole,
                               bool mayCompareCallBack = false) {
  Subject subject;
  subject.container = make();
  subject.release();
  int runs = 0;
  for (const auto &[call, unused] : calls(&subject)) {
    for (const auto &[callback, alsoUnused] : callbacks(&subject)) {
      for (const Event event : allEvents) {
        if (event == Event::compare && !mayCompareCallBack) continue;
        bool isCalled = true;
        for (int others = 0; isCalled && !testing::Test::HasFailure(); ++others) {
          SCOPED_TRACE(call + ", and " + callback + " at event " + std::to_string(static_cast<int>(event)) +
                       " after " + std::to_string(others));
          const int blocks = liveBlocks;
          const int live = hookedLive;
          subject.container = make();
          {
            const Hook hook(event, callbacks(&subject)[callback], others);
            calls(&subject)[call]();
            isCalled = Hook::isCalled();
          }
          if (subject.container != nullptr) expectWhole(subject.container);
          subject.release();
          EXPECT_EQ(hookedLive, live);
          EXPECT_EQ(liveBlocks, blocks);
          ++runs;
        }
      }
    }
  }
  EXPECT_GT(runs, 50);
}

// Arrays ------------------------------------------------------------------------------------------

static void *newArray(const Numbers &numbers) {
  const Quiet making;
  void *array = ztArray_ctor(nullptr, 1);
  const ztArrayMethods *methods = ztArray_of(array);
  methods->setElementConstructor(array, Hooked_ctor);
  methods->setElementSize(array, sizeof(Hooked), 0);
  methods->setCompareFunction(array, compareHooked);
  for (const int32_t number : numbers) methods->pushBack(array, object(number));
  return array;
}

static Numbers numbersOf(const void *array) {
  Numbers numbers;
  for (int32_t i = 0; i < ztArray_of(array)->getSize(array); ++i) {
    const void *element = ztArray_of(array)->getAt(array, i);
    EXPECT_TRUE(isWhole(element)) << i;
    numbers.push_back(static_cast<const Hooked *>(element)->value);
  }
  return numbers;
}

// Reads three objects into an array.
static void readThrough(const Storage &file, void *array) {
  {
    const Quiet making;
    file->writeInt(file, 3);
    for (const int32_t number : {21, 22, 23}) file->writeInt(file, number);
  }
  file->goToBegin(file);
  ztArray_of(array)->read(array, file);
}

static Actions arrayActions(Subject *subject) {
  const auto call = [subject](auto function) {
    return [subject, function] {
      void *array = subject->container;
      if (array != nullptr) function(ztArray_of(array), array);
    };
  };
  return {
      {"pushBack", call([](auto *methods, void *array) { methods->pushBack(array, object(9)); })},
      {"pushBack of its own", call([](auto *methods, void *array) {
         if (methods->getSize(array) > 0) methods->pushBack(array, methods->getFront(array));
       })},
      {"pushBackUnique", call([](auto *methods, void *array) {
         const auto matches = [](const void *first, const void *second) -> int32_t {
           return compareHooked(first, second) == 0;
         };
         methods->pushBackUnique(array, object(8), matches);
       })},
      {"removeAt the first", call([](auto *methods, void *array) { methods->removeAt(array, 0); })},
      {"removeAt another", call([](auto *methods, void *array) { methods->removeAt(array, 1); })},
      {"setAt the first", call([](auto *methods, void *array) { methods->setAt(array, object(7), 0); })},
      {"setAt the last", call([](auto *methods, void *array) {
         methods->setAt(array, object(6), methods->getSize(array) - 1);
       })},
      {"setAt of its own", call([](auto *methods, void *array) {
         if (methods->getSize(array) > 0) methods->setAt(array, methods->getBack(array), 0);
       })},
      {"empty", call([](auto *methods, void *array) { methods->empty(array); })},
      {"setSize", call([](auto *methods, void *array) { methods->setSize(array, 2); })},
      {"resize to fewer", call([](auto *methods, void *array) { methods->resize(array, 1); })},
      {"resize to more", call([](auto *methods, void *array) { methods->resize(array, 5); })},
      {"sort", call([](auto *methods, void *array) { methods->sort(array, compareHooked); })},
      {"search", call([](auto *methods, void *array) { methods->search(array, object(2), compareHooked); })},
      {"find", call([](auto *methods, void *array) { methods->find(array, object(2)); })},
      {"clone", call([](auto *, void *array) {
         void *fresh = ztArray_newop();
         void *copy = ztArray_of(array)->clone(array, fresh);
         if (copy == nullptr) ztm_free(fresh);
         if (copy != nullptr) ztArray_of(copy)->unRef(copy);
       })},
      {"assign", call([](auto *methods, void *array) {
         const Owned<ztArray, ztArrayMethods> other(newArray({4, 5, 6}));
         methods->assign(array, other);
       })},
      {"read", call([](auto *, void *array) {
         const Storage file;
         readThrough(file, array);
       })},
      {"assign to itself", call([](auto *methods, void *array) { methods->assign(array, array); })},
  };
}

static Actions arrayCallbacks(Subject *subject) {
  Actions actions = arrayActions(subject);
  actions["release"] = [subject] { subject->release(); };
  actions["destroy"] = [subject] {
    if (subject->container != nullptr) ztArray_of(subject->container)->destroy(subject->container);
  };
  return actions;
}

TEST(ArrayCallbacks, EveryCallStaysWholeUnderEveryCallback) {
  callBackEverywhere(
      [] {
        return newArray({3, 1, 2});
      },
      arrayActions, arrayCallbacks, [](void *array) { numbersOf(array); }, true);
}

TEST(ArrayCallbacks, ASingleElementMayDoTheSame) {
  callBackEverywhere([] { return newArray({1}); }, arrayActions, arrayCallbacks,
                     [](void *array) { numbersOf(array); }, true);
}

// An array whose file is not known to hold what its count claims gets its slots in pieces.
TEST(ArrayCallbacks, AnArrayThatIsReadInPiecesStaysWholeUnderEveryCallback) {
  constexpr int32_t count = 3500;
  const Storage file;
  {
    const Quiet making;
    file->writeInt(file, count);
    for (int32_t i = 1; i <= count; ++i) file->writeInt(file, i);
  }
  // How many slots the array has with each of the first pieces, which come when those before are used.
  std::vector<int32_t> sizes;
  for (const int piece : {0, 1, 2}) {
    const Owned<ztArray, ztArrayMethods> array(newArray({}));
    const int live = hookedLive;
    const Hook hook(
        Event::read, [&] { sizes.push_back(hookedLive - live); }, piece == 0 ? 0 : sizes.back());
    file->goToBegin(file);
    array->read(array, file);
  }
  ASSERT_EQ(sizes.size(), 3U);
  ASSERT_LT(sizes[0], sizes[1]);
  ASSERT_LT(sizes[1], sizes[2]);
  ASSERT_LT(sizes[2], count);
  Subject subject;
  for (const auto &[callback, unused] : arrayCallbacks(&subject)) {
    for (const Event event : {Event::read, Event::create}) {
      for (const int32_t others : {0, sizes[0] - 1, sizes[0], sizes[1], count - 1}) {
        SCOPED_TRACE(callback + " at event " + std::to_string(static_cast<int>(event)) + " after " +
                     std::to_string(others));
        const int blocks = liveBlocks;
        const int live = hookedLive;
        subject.container = newArray({8, 9});
        file->goToBegin(file);
        {
          const Hook hook(event, arrayCallbacks(&subject)[callback], others);
          ztArray_of(subject.container)->read(subject.container, file);
          EXPECT_TRUE(Hook::isCalled());
        }
        if (subject.container != nullptr) {
          numbersOf(subject.container);
          const Quiet making;
          ztArray_of(subject.container)->pushBack(subject.container, object(3));
          EXPECT_EQ(numbersOf(subject.container).back(), 3);
        }
        subject.release();
        EXPECT_EQ(hookedLive, live);
        EXPECT_EQ(liveBlocks, blocks);
      }
    }
  }
}

class ArrayOfHooked : public testing::Test {
 protected:
  Owned<ztArray, ztArrayMethods> array = Owned<ztArray, ztArrayMethods>(newArray({1, 2, 3}));
  Numbers seen;
  int live = hookedLive;

  void push() {
    array->pushBack(array, object(9));
  }
  void look() {
    seen = numbersOf(array);
  }
};

TEST_F(ArrayOfHooked, RemovedElementEndsWhenTheArrayIsWithoutIt) {
  const Hook hook(Event::destroy, [this] { look(); });
  array->removeAt(array, 1);
  EXPECT_EQ(seen, Numbers({1, 3}));
}

TEST_F(ArrayOfHooked, ReplacedElementEndsWhileTheArrayIsEmpty) {
  seen = {-1};
  const Hook hook(Event::destroy, [this] { look(); });
  array->setAt(array, object(4), 0);
  EXPECT_EQ(seen, Numbers());
  EXPECT_EQ(numbersOf(array), Numbers({4, 2, 3}));
}

TEST_F(ArrayOfHooked, ElementIsAssignedWhileTheArrayIsEmpty) {
  const Owned<ztArray, ztArrayMethods> other(newArray({4, 5, 6}));
  seen = {-1};
  const Hook hook(Event::assign, [this] { look(); });
  EXPECT_EQ(array->assign(array, other), 1);
  EXPECT_EQ(seen, Numbers());
  EXPECT_EQ(numbersOf(array), Numbers({4, 5, 6}));
}

// What an event was seen at: where the element lay then, and the bytes of the others.
struct Seen {
  const void *element = nullptr;
  std::string others;
};

static std::string bytesBut(const char *block, int32_t count, int32_t index) {
  std::string bytes(block, static_cast<size_t>(count) * sizeof(Hooked));
  return bytes.erase(static_cast<size_t>(index) * sizeof(Hooked), sizeof(Hooked));
}

TEST_F(ArrayOfHooked, EachElementIsReplacedInItsOwnSlotAndTheOthersStayInTheirs) {
  const auto *block = static_cast<const char *>(array->getData(array));
  for (const Event event : {Event::destroy, Event::clone}) {
    for (int32_t i = 0; i < 3; ++i) {
      SCOPED_TRACE(i);
      const Object four = object(4);
      const std::string before = bytesBut(block, 3, i);
      Seen at;
      const Hook hook(event, [&] { at = {hookedSlot, bytesBut(block, 3, i)}; });
      EXPECT_EQ(array->setAt(array, four, i), block + i * int32_t{sizeof(Hooked)});
      EXPECT_EQ(at.element, block + i * int32_t{sizeof(Hooked)});
      EXPECT_EQ(at.others, before);
      EXPECT_EQ(bytesBut(block, 3, i), before);
      EXPECT_EQ(array->getData(array), block);
    }
  }
  EXPECT_EQ(numbersOf(array), Numbers({4, 4, 4}));
}

TEST_F(ArrayOfHooked, EachElementIsAssignedInItsOwnSlot) {
  const auto *block = static_cast<const char *>(array->getData(array));
  const Owned<ztArray, ztArrayMethods> other(newArray({4, 5, 6}));
  for (int32_t i = 0; i < 3; ++i) {
    SCOPED_TRACE(i);
    const void *at = nullptr;
    const Hook hook(
        Event::assign, [&] { at = hookedSlot; }, i);
    EXPECT_EQ(array->assign(array, other), 1);
    EXPECT_EQ(at, block + i * int32_t{sizeof(Hooked)});
    EXPECT_EQ(array->getData(array), block);
  }
  EXPECT_EQ(numbersOf(array), Numbers({4, 5, 6}));
}

TEST_F(ArrayOfHooked, WhatAnAssignedElementPutsInStaysBehindTheOthers) {
  const Owned<ztArray, ztArrayMethods> other(newArray({4, 5, 6}));
  const Hook hook(Event::assign, [this] { push(); });
  EXPECT_EQ(array->assign(array, other), 1);
  EXPECT_EQ(numbersOf(array), Numbers({4, 5, 6, 9}));
}

TEST_F(ArrayOfHooked, WhatWasPutInEndsWithoutMemoryToKeepIt) {
  const int before = hookedLive;
  const Object four = object(4);
  {
    const Hook hook(Event::clone, [this] {
      push();
      allocationFaults.before = 1;  // after the copy's own memory
    });
    EXPECT_NE(array->setAt(array, four, 1), nullptr);
    EXPECT_EQ(allocationFaults.before, -1);
  }
  EXPECT_EQ(numbersOf(array), Numbers({1, 4, 3}));
  EXPECT_EQ(hookedLive, before + 1);
}

TEST_F(ArrayOfHooked, ResizedElementsEndWhenTheArrayHasItsCopies) {
  const Hook hook(Event::destroy, [this] { look(); });
  EXPECT_EQ(array->resize(array, 2), 1);
  EXPECT_EQ(seen, Numbers({1, 2}));
}

TEST_F(ArrayOfHooked, PushedElementIsNoneOfTheArraysWhileItIsCloned) {
  const Object four = object(4);
  const Hook hook(Event::clone, [this] { look(); });
  array->pushBack(array, four);
  EXPECT_EQ(seen, Numbers({1, 2, 3}));
  EXPECT_EQ(numbersOf(array), Numbers({1, 2, 3, 4}));
}

TEST_F(ArrayOfHooked, WhatAnEndingElementPutsInStaysBehindTheOthers) {
  {
    const Hook hook(Event::destroy, [this] { push(); });
    array->setAt(array, object(4), 0);
  }
  EXPECT_EQ(numbersOf(array), Numbers({4, 2, 3, 9}));
  {
    const Hook hook(Event::destroy, [this] { push(); });
    array->removeAt(array, 0);
  }
  EXPECT_EQ(numbersOf(array), Numbers({2, 3, 9, 9}));
  {
    const Hook hook(Event::destroy, [this] { push(); });
    array->resize(array, 2);
  }
  EXPECT_EQ(numbersOf(array), Numbers({2, 3, 9}));
  {
    const Hook hook(Event::destroy, [this] { push(); });
    array->empty(array);
  }
  EXPECT_EQ(numbersOf(array), Numbers({9}));
}

TEST_F(ArrayOfHooked, WhatAnEndingElementPutsInIsDiscardedBySetSize) {
  const Hook hook(Event::destroy, [this] { push(); });
  EXPECT_EQ(array->setSize(array, 2), 1);
  EXPECT_TRUE(Hook::isCalled());
  EXPECT_EQ(numbersOf(array), Numbers({0, 0}));
  EXPECT_EQ(hookedLive, live - 1);
}

TEST_F(ArrayOfHooked, ElementsThatChangeTheArrayWhileTheyAreClonedMakeResizeFail) {
  const Hook hook(Event::clone, [this] { array->removeAt(array, 2); });
  EXPECT_EQ(array->resize(array, 5), 0);
  EXPECT_EQ(numbersOf(array), Numbers({1, 2}));
}

TEST_F(ArrayOfHooked, OwnElementCannotGoWhileAnotherEnds) {
  const Hook hook(Event::destroy, [this] { array->removeAt(array, 1); });
  EXPECT_EQ(array->setAt(array, array->getAt(array, 1), 0), array->getAt(array, 0));
  EXPECT_EQ(numbersOf(array), Numbers({2, 2, 3}));
}

TEST_F(ArrayOfHooked, ElementsForWhichTheArrayHasNoPlaceAnyMoreEnd) {
  const Owned<ztArray, ztArrayMethods> one(newArray({1}));
  const int before = hookedLive;
  const Hook hook(Event::destroy, [&one] {
    one->setElementConstructor(one, nullptr);
    one->setElementSize(one, sizeof(int32_t), 0);
    const int32_t number = 5;
    one->pushBack(one, &number);
  });
  EXPECT_EQ(one->setAt(one, object(4), 0), nullptr);
  ASSERT_EQ(one->getSize(one), 1);
  EXPECT_EQ(*static_cast<int32_t *>(one->getAt(one, 0)), 5);
  EXPECT_EQ(hookedLive, before - 1);
}

TEST_F(ArrayOfHooked, ElementSizeMayChangeWhileElementsEnd) {
  for (const auto &[name, call] : Actions{
           {"empty", [this] { array->empty(array); }},
           {"setSize", [this] { EXPECT_EQ(array->setSize(array, 4), 0); }},
       }) {
    SCOPED_TRACE(name);
    array = Owned<ztArray, ztArrayMethods>(newArray({1, 2, 3}));
    const Hook hook(Event::destroy, [this] { array->setElementSize(array, 4000, 0); });
    call();
    EXPECT_TRUE(Hook::isCalled());
    EXPECT_EQ(array->getSize(array), 0);
  }
}

// Lists -------------------------------------------------------------------------------------------

static void *newList(const Numbers &numbers) {
  const Quiet making;
  void *list = ztList_ctor(nullptr, 1);
  const ztListMethods *methods = ztList_of(list);
  methods->setElementConstructor(list, Hooked_ctor);
  methods->setCompareFunction(list, compareHooked);
  for (const int32_t number : numbers) methods->pushBack(list, object(number));
  return list;
}

static Numbers itemsOf(const void *container) {
  const auto *list = static_cast<const ztList *>(container);
  Numbers numbers;
  const ztListItem *before = nullptr;
  for (const ztListItem *item = list->head; item != nullptr; item = item->next) {
    EXPECT_EQ(item->prev, before);
    EXPECT_TRUE(isWhole(item->data));
    numbers.push_back(static_cast<const Hooked *>(item->data)->value);
    before = item;
  }
  EXPECT_EQ(list->tail, before);
  EXPECT_EQ(list->count, numbers.size());
  return numbers;
}

// The element at the front is handed over, and ends here.
static void popFront(const ztListMethods *methods, void *list) {
  void *front = methods->getFront(list);
  methods->popFront(list);
  if (front != nullptr) Hooked_of(front)->unRef(front);
}

static Actions listActions(Subject *subject) {
  const auto call = [subject](auto function) {
    return [subject, function] {
      void *list = subject->container;
      if (list != nullptr) function(ztList_of(list), list);
    };
  };
  // What is returned stands in the list, if the list itself stands.
  const auto look = [subject](const ztListItem *item) {
    if (subject->container == nullptr || item == nullptr) return;
    EXPECT_TRUE(isWhole(item->data));
  };
  return {
      {"pushBack", call([=](auto *methods, void *list) { look(methods->pushBack(list, object(9))); })},
      {"pushFront", call([=](auto *methods, void *list) { look(methods->pushFront(list, object(8))); })},
      {"insertPrev", call([=](auto *methods, void *list) {
         look(methods->insertPrev(list, methods->getItemAt(list, 1), object(7)));
       })},
      {"insertNext", call([=](auto *methods, void *list) {
         look(methods->insertNext(list, methods->getItemAt(list, 1), object(6)));
       })},
      {"popFront", call([](auto *methods, void *list) { popFront(methods, list); })},
      {"popBack", call([=](auto *methods, void *list) { look(methods->popBack(list)); })},
      {"removeItem", call([=](auto *methods, void *list) {
         if (methods->getSize(list) > 2) look(methods->removeItem(list, methods->getItemAt(list, 1)));
       })},
      {"empty", call([](auto *methods, void *list) { methods->empty(list); })},
      {"clone", call([](auto *, void *list) {
         void *fresh = ztList_newop();
         void *copy = ztList_of(list)->clone(list, fresh);
         if (copy == nullptr) ztm_free(fresh);
         if (copy != nullptr) ztList_of(copy)->unRef(copy);
       })},
  };
}

static Actions listCallbacks(Subject *subject) {
  Actions actions = listActions(subject);
  actions["release"] = [subject] { subject->release(); };
  return actions;
}

TEST(ListCallbacks, EveryCallStaysWholeUnderEveryCallback) {
  callBackEverywhere(
      [] {
        return newList({1, 2, 3, 4});
      },
      listActions, listCallbacks, [](void *list) { itemsOf(list); });
}

class ListOfHooked : public testing::Test {
 protected:
  Owned<ztList, ztListMethods> list = Owned<ztList, ztListMethods>(newList({1, 2, 3}));
};

TEST_F(ListOfHooked, CountsBeforeItDeletes) {
  Numbers seen;
  for (const int32_t expected : {2, 1}) {
    const Hook hook(Event::destroy, [&] { seen = itemsOf(list); });
    list->popBack(list);
    EXPECT_EQ(static_cast<int32_t>(seen.size()), expected);
  }
  const Owned<ztList, ztListMethods> other(newList({1, 2, 3}));
  const Hook hook(Event::destroy, [&] { seen = itemsOf(other); });
  other->removeItem(other, other->getItemAt(other, 1));
  EXPECT_EQ(seen, Numbers({1, 3}));
}

TEST_F(ListOfHooked, CountsDownWhileItIsEmptied) {
  int32_t seen = -1;
  const Hook hook(
      Event::destroy, [&] { seen = list->getSize(list); }, 1);
  list->empty(list);
  EXPECT_EQ(seen, 1);
}

TEST_F(ListOfHooked, RemovedItemsNeighbourThatGoesTooIsNotReturned) {
  const Hook hook(Event::destroy, [this] { popFront(ztList_table(), list); });
  EXPECT_EQ(list->removeItem(list, list->getItemAt(list, 1)), nullptr);
  EXPECT_EQ(itemsOf(list), Numbers({3}));
}

TEST_F(ListOfHooked, NothingIsInsertedAtAnItemThatGoesMeanwhile) {
  const Object four = object(4);
  ztListItem *second = list->getItemAt(list, 1);
  const Hook hook(Event::clone, [&] { list->removeItem(list, second); });
  EXPECT_EQ(list->insertPrev(list, second, four), nullptr);
  EXPECT_EQ(itemsOf(list), Numbers({1, 3}));
}

TEST_F(ListOfHooked, InsertsWhereTheItemStandsByThen) {
  const Object four = object(4);
  ztListItem *second = list->getItemAt(list, 1);
  const Hook hook(Event::clone, [&] { popFront(ztList_table(), list); });
  EXPECT_NE(list->insertPrev(list, second, four), nullptr);
  EXPECT_EQ(itemsOf(list), Numbers({4, 2, 3}));
}

// An item class that looks at the list at its end.
#define LookingItem_FIELDS ztListItem_FIELDS
#define LookingItem_METHODS ztListItem_METHODS
ZT_DECLARE_CLASS(LookingItem)

static const ztList *lookedAt;
static uint32_t countSeen;

static void lookingItemDestroy(void *) {
  countSeen = lookedAt->count;
}

static void lookingItemMethods(LookingItemMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, destroy, lookingItemDestroy);
}

ZT_DEFINE_CLASS(LookingItem, ztListItem, lookingItemMethods)

TEST(ListCallbacks, PopFrontCountsBeforeItReleasesTheItem) {
  const Owned<ztPtrList, ztPtrListMethods> list(ztPtrList_ctor);
  list->setItemConstructor(list, LookingItem_ctor);
  for (int i = 0; i < 3; ++i) list->pushBack(list, nullptr);
  lookedAt = reinterpret_cast<const ztList *>(&list.fields());
  list->popFront(list);
  EXPECT_EQ(countSeen, 2U);
}

// Makes a copy of a container and releases it.
static void copyOf(const void *container) {
  void *fresh = static_cast<const ztClassFunctions *>(ztOOP_classOf(container)->classTable)->newop();
  void *copy = ztBaseClass_of(container)->clone(container, fresh);
  if (copy == nullptr) ztm_free(fresh);
  if (copy != nullptr) ztBaseClass_of(copy)->unRef(copy);
}

// Trees and maps ----------------------------------------------------------------------------------

static void *newTree(const Numbers &numbers) {
  const Quiet making;
  void *tree = ztAvlTree_ctor(nullptr, 1);
  const ztAvlTreeMethods *methods = ztAvlTree_of(tree);
  methods->setElementConstructor(tree, Hooked_ctor);
  methods->setCompareFunction(tree, compareHooked);
  for (const int32_t number : numbers) methods->push(tree, object(number));
  return tree;
}

// The height, or -1 where the balances are not those of the subtrees.
static int heightOf(const ztAvlTreeItem *item) {
  if (item == nullptr) return 0;
  const int left = heightOf(item->left);
  const int right = heightOf(item->right);
  if (left < 0 || right < 0 || right - left != item->balance || item->balance > 1 || item->balance < -1)
    return -1;
  return 1 + std::max(left, right);
}

static Numbers elementsOf(const void *container) {
  const auto *tree = static_cast<const ztAvlTree *>(container);
  EXPECT_GE(heightOf(tree->root), 0);
  Numbers numbers;
  ztAvlIterator walk;
  ztAvlIterator_ctor(&walk, 1);
  const ztAvlIteratorMethods *steps = ztAvlIterator_of(&walk);
  for (void *item = steps->first(&walk, tree); item != nullptr; item = steps->next(&walk)) {
    const void *data = static_cast<ztAvlTreeItem *>(item)->data;
    EXPECT_TRUE(isWhole(data));
    numbers.push_back(static_cast<const Hooked *>(data)->value);
  }
  EXPECT_EQ(tree->count, numbers.size());
  EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));
  return numbers;
}

static Actions treeActions(Subject *subject) {
  const auto call = [subject](auto function) {
    return [subject, function] {
      void *tree = subject->container;
      if (tree != nullptr) function(ztAvlTree_of(tree), tree);
    };
  };
  const auto look = [subject](const ztAvlTreeItem *item) {
    if (subject->container == nullptr || item == nullptr) return;
    EXPECT_TRUE(isWhole(item->data));
  };
  return {
      {"push in between", call([=](auto *methods, void *tree) { look(methods->push(tree, object(5))); })},
      {"push at the end", call([=](auto *methods, void *tree) { look(methods->push(tree, object(9))); })},
      {"push what is there", call([=](auto *methods, void *tree) { look(methods->push(tree, object(4))); })},
      {"pop a leaf", call([](auto *methods, void *tree) { methods->pop(tree, object(1)); })},
      {"pop the root", call([](auto *methods, void *tree) { methods->pop(tree, object(4)); })},
      {"empty", call([](auto *methods, void *tree) { methods->empty(tree); })},
      {"clone", call([](auto *, void *tree) { copyOf(tree); })},
      {"find all", call([](auto *methods, void *tree) {
         const Owned<ztAvlTree, ztAvlTreeMethods> found(newTree({5, 4}));
         methods->setAllowDuplicate(tree, 1);
         methods->findAll(tree, object(4), found);
       })},
  };
}

static Actions treeCallbacks(Subject *subject) {
  Actions actions = treeActions(subject);
  actions["release"] = [subject] { subject->release(); };
  return actions;
}

TEST(TreeCallbacks, EveryCallStaysWholeUnderEveryCallback) {
  callBackEverywhere(
      [] {
        return newTree({4, 2, 6, 1, 3, 7});
      },
      treeActions, treeCallbacks, [](void *tree) { elementsOf(tree); });
}

TEST(TreeCallbacks, TheFirstElementMayDoTheSame) {
  callBackEverywhere([] { return newTree({}); }, treeActions, treeCallbacks,
                     [](void *tree) { elementsOf(tree); });
}

TEST(TreeCallbacks, PushReturnsTheItemThatHoldsTheElementByThen) {
  const Owned<ztAvlTree, ztAvlTreeMethods> tree(newTree({2, 1}));
  const Object three = object(3);
  const Object two = object(2);
  // The probe's end takes the root out, whose item then holds the new element.
  const Hook hook(Event::destroy, [&] { tree->pop(tree, two); });
  const ztAvlTreeItem *item = tree->push(tree, three);
  ASSERT_NE(item, nullptr);
  EXPECT_EQ(static_cast<const Hooked *>(item->data)->value, 3);
  EXPECT_EQ(elementsOf(tree), Numbers({1, 3}));
}

TEST(TreeCallbacks, PushReturnsNothingWhenTheElementWentAtOnce) {
  const Owned<ztAvlTree, ztAvlTreeMethods> tree(newTree({2, 1}));
  const Object three = object(3);
  const Hook hook(Event::destroy, [&] { tree->pop(tree, three); });
  EXPECT_EQ(tree->push(tree, three), nullptr);
  EXPECT_EQ(elementsOf(tree), Numbers({1, 2}));
}

TEST(TreeCallbacks, ElementThatCameInMeanwhileIsRefusedAsAnyOther) {
  const Owned<ztAvlTree, ztAvlTreeMethods> tree(newTree({2, 1}));
  const Object three = object(3);
  // The second item is made after the element was looked for.
  const Hook hook(
      Event::clone, [&] { tree->push(tree, three); }, 1);
  EXPECT_EQ(tree->push(tree, three), nullptr);
  EXPECT_EQ(elementsOf(tree), Numbers({1, 2, 3}));
}

// Copies a container while the cloning of its elements does something to it: there is a whole copy, or none.
static void copyWhile(const std::function<void *()> &make, const std::function<void(void *)> &change,
                      const std::function<void(void *)> &expectWhole) {
  bool isCalled = true;
  for (int others = 0; isCalled; ++others) {
    SCOPED_TRACE(others);
    const int blocks = liveBlocks;
    const int live = hookedLive;
    void *container = make();
    void *fresh = static_cast<const ztClassFunctions *>(ztOOP_classOf(container)->classTable)->newop();
    void *copy = nullptr;
    {
      const Hook hook(
          Event::clone, [&] { change(container); }, others);
      copy = ztBaseClass_of(container)->clone(container, fresh);
      isCalled = Hook::isCalled();
    }
    expectWhole(container);
    if (copy != nullptr) {
      expectWhole(copy);
      ztBaseClass_of(copy)->unRef(copy);
    } else {
      EXPECT_TRUE(isCalled);
      ztm_free(fresh);
    }
    ztBaseClass_of(container)->unRef(container);
    EXPECT_EQ(hookedLive, live);
    EXPECT_EQ(liveBlocks, blocks);
  }
}

TEST(TreeCallbacks, CopiesAreWholeOrNotMadeWhenTheTreeChanges) {
  const auto make = [] { return newTree({4, 2, 6, 1, 3, 7}); };
  copyWhile(
      make, [](void *source) { ztAvlTree_of(source)->push(source, object(5)); }, elementsOf);
  // The largest is copied first. While it is, the smallest goes.
  const Owned<ztAvlTree, ztAvlTreeMethods> tree(make());
  const Object one = object(1);
  void *fresh = ztAvlTree_newop();
  const Hook hook(Event::clone, [&] { tree->pop(tree, one); });
  EXPECT_EQ(tree->clone(tree, fresh), nullptr);
  ztm_free(fresh);
  EXPECT_EQ(elementsOf(tree), Numbers({2, 3, 4, 6, 7}));
}

static void configureMap(void *map) {
  const ztMapMethods *methods = ztMap_of(map);
  methods->setKeyConstructor(map, Hooked_ctor);
  methods->setValueConstructor(map, Hooked_ctor);
  methods->setCompareFunction(map, compareHooked);
}

static void *newMap(const Numbers &numbers) {
  const Quiet making;
  void *map = ztMap_ctor(nullptr, 1);
  configureMap(map);
  for (const int32_t number : numbers) ztMap_of(map)->pushBack(map, object(number), object(-number));
  return map;
}

static void expectWholeMap(void *map) {
  const Numbers keys = elementsOf(static_cast<ztMap *>(map)->tree);
  for (const int32_t key : keys) {
    const void *value = ztMap_of(map)->findValue(map, object(key));
    ASSERT_TRUE(isWhole(value));
    EXPECT_EQ(static_cast<const Hooked *>(value)->value, -key);
  }
}

static Actions mapActions(Subject *subject) {
  const auto call = [subject](auto function) {
    return [subject, function] {
      void *map = subject->container;
      if (map != nullptr) function(ztMap_of(map), map);
    };
  };
  return {
      {"pushBack", call([](auto *methods, void *map) { methods->pushBack(map, object(5), object(-5)); })},
      {"pushBack what is there",
       call([](auto *methods, void *map) { methods->pushBack(map, object(4), object(-4)); })},
      {"pop a leaf", call([](auto *methods, void *map) { methods->pop(map, object(1)); })},
      {"pop the root", call([](auto *methods, void *map) { methods->pop(map, object(4)); })},
      {"empty", call([](auto *methods, void *map) { methods->empty(map); })},
      {"clone", call([](auto *, void *map) { copyOf(map); })},
      {"find all", call([](auto *methods, void *map) {
         const Owned<ztMap, ztMapMethods> found(newMap({5, 4}));
         methods->setAllowDuplicate(map, 1);
         methods->findAll(map, object(4), found);
       })},
  };
}

static Actions mapCallbacks(Subject *subject) {
  Actions actions = mapActions(subject);
  actions["release"] = [subject] { subject->release(); };
  return actions;
}

TEST(MapCallbacks, EveryCallStaysWholeUnderEveryCallback) {
  callBackEverywhere([] { return newMap({4, 2, 6, 1, 3, 7}); }, mapActions, mapCallbacks, expectWholeMap);
}

// Hash tables -------------------------------------------------------------------------------------

// Keys are numbers, since objects as keys are hashed by their bytes.
static void *newTable(const Numbers &numbers) {
  const Quiet making;
  void *table = ztHashTable_ctor(nullptr, 1);
  const ztHashTableMethods *methods = ztHashTable_of(table);
  methods->setKeySize(table, sizeof(int32_t), 0);
  methods->setCompareFunction(table, ztIntArray_compare_func);
  methods->setValueConstructor(table, Hooked_ctor);
  methods->setSize(table, 2);
  for (const int32_t number : numbers) methods->insert(table, &number, object(number));
  return table;
}

static Numbers pairsOf(const void *container) {
  const auto *table = static_cast<const ztHashTable *>(container);
  Numbers numbers;
  for (int32_t i = 0; table->count != 0 && i < table->buckets->count; ++i) {
    const void *bucket = ztPtrArray_of(table->buckets)->getAt(table->buckets, i);
    for (const auto *item = static_cast<const ztHashTableItem *>(bucket); item != nullptr;
         item = item->next) {
      EXPECT_TRUE(isWhole(item->value));
      EXPECT_EQ(*static_cast<const int32_t *>(item->data), static_cast<const Hooked *>(item->value)->value);
      numbers.push_back(static_cast<const Hooked *>(item->value)->value);
    }
  }
  EXPECT_EQ(table->count, numbers.size());
  std::sort(numbers.begin(), numbers.end());
  return numbers;
}

static void insertNumber(void *table, int32_t number) {
  ztHashTable_of(table)->insert(table, &number, object(number));
}

static Actions tableActions(Subject *subject) {
  const auto call = [subject](auto function) {
    return [subject, function] {
      void *table = subject->container;
      if (table != nullptr) function(ztHashTable_of(table), table);
    };
  };
  return {
      {"insert", call([](auto *, void *table) { insertNumber(table, 5); })},
      {"insert another", call([](auto *, void *table) { insertNumber(table, 6); })},
      {"insert what is there", call([](auto *, void *table) { insertNumber(table, 1); })},
      {"empty", call([](auto *methods, void *table) { methods->empty(table); })},
      {"setSize", call([](auto *methods, void *table) { methods->setSize(table, 8); })},
      {"setSize to none", call([](auto *methods, void *table) { methods->setSize(table, 0); })},
      {"setSize to the same", call([](auto *methods, void *table) { methods->setSize(table, 2); })},
      {"clone", call([](auto *, void *table) { copyOf(table); })},
  };
}

static Actions tableCallbacks(Subject *subject) {
  Actions actions = tableActions(subject);
  actions["release"] = [subject] { subject->release(); };
  return actions;
}

TEST(HashTableCallbacks, EveryCallStaysWholeUnderEveryCallback) {
  callBackEverywhere(
      [] {
        return newTable({1, 2, 3, 4});
      },
      tableActions, tableCallbacks, [](void *table) { pairsOf(table); });
}

TEST(HashTableCallbacks, SetSizeLeavesNoPairBehind) {
  const Owned<ztHashTable, ztHashTableMethods> table(newTable({1, 2, 3}));
  const int before = hookedLive;
  for (const int32_t buckets : {8, 8, 0}) {
    insertNumber(table, 1);
    const Hook hook(Event::destroy, [&] { insertNumber(table, 5); });
    EXPECT_EQ(table->setSize(table, buckets), 1);
    EXPECT_TRUE(Hook::isCalled());
    EXPECT_EQ(pairsOf(table), Numbers());
  }
  EXPECT_EQ(hookedLive, before - 3);
}

TEST(HashTableCallbacks, PairThatGoesWhileItsKeyIsCopiedIsNotCopied) {
  const Owned<ztHashTable, ztHashTableMethods> table(ztHashTable_ctor);
  // All keys are in one chain, since none of their bytes count.
  table->setKeyConstructor(table, Hooked_ctor);
  table->setValueConstructor(table, Hooked_ctor);
  table->setCompareFunction(table, compareHooked);
  ASSERT_EQ(table->setSize(table, 1), 1);
  const int before = hookedLive;
  for (int others = 0; others < 4; ++others) {
    for (const int32_t number : {1, 2}) table->insert(table, object(number), object(-number));
    void *fresh = ztHashTable_newop();
    const Hook hook(
        Event::clone, [&] { table->empty(table); }, others);
    EXPECT_EQ(table->clone(table, fresh), nullptr);
    ztm_free(fresh);
    EXPECT_EQ(hookedLive, before);
  }
}

// The end -----------------------------------------------------------------------------------------

// Releases containers while the end of one of their elements does something to them.
template <typename Put>
static void expectNothingLeft(const std::function<void *()> &make, const Put &put, int elements = 3) {
  const int blocks = liveBlocks;
  const int live = hookedLive;
  for (int others = 0; others < elements; ++others) {
    SCOPED_TRACE(others);
    void *container = make();
    const Hook hook(
        Event::destroy, [&] { put(container); }, others);
    ztBaseClass_of(container)->unRef(container);
    EXPECT_TRUE(Hook::isCalled());
    EXPECT_EQ(hookedLive, live);
    EXPECT_EQ(liveBlocks, blocks);
  }
}

static void create(void *container) {
  ztBaseClass_of(container)->create(container);
}

TEST(PushedWhileDestroyed, IntoAnArrayEnds) {
  expectNothingLeft(
      [] {
        return newArray({1, 2, 3});
      },
      [](void *array) { ztArray_of(array)->pushBack(array, object(4)); });
  expectNothingLeft(
      [] {
        return newArray({1, 2, 3});
      },
      [](void *array) { ztArray_of(array)->setSize(array, 4); });
}

TEST(PushedWhileDestroyed, IntoAListEnds) {
  expectNothingLeft(
      [] {
        return newList({1, 2, 3});
      },
      [](void *list) { ztList_of(list)->pushBack(list, object(4)); });
}

TEST(PushedWhileDestroyed, IntoATreeEnds) {
  expectNothingLeft(
      [] {
        return newTree({1, 2, 3});
      },
      [](void *tree) { ztAvlTree_of(tree)->push(tree, object(4)); });
}

TEST(PushedWhileDestroyed, IntoAMapEnds) {
  const auto push = [](void *map) { ztMap_of(map)->pushBack(map, object(4), object(-4)); };
  expectNothingLeft([] { return newMap({1, 2, 3}); }, push);
  // Also into a tree that was made anew.
  expectNothingLeft(
      [] {
        return newMap({1, 2, 3});
      },
      [push](void *map) {
        create(map);
        configureMap(map);
        push(map);
      });
}

TEST(PushedWhileDestroyed, IntoAHashTableEnds) {
  expectNothingLeft([] { return newTable({1, 2, 3}); }, [](void *table) { insertNumber(table, 4); });
  // Also into buckets that were made anew.
  expectNothingLeft(
      [] {
        return newTable({1, 2, 3});
      },
      [](void *table) {
        create(table);
        ztHashTable_of(table)->setKeySize(table, sizeof(int32_t), 0);
        ztHashTable_of(table)->setValueConstructor(table, Hooked_ctor);
        ztHashTable_of(table)->setSize(table, 2);
        insertNumber(table, 4);
      });
}

template <typename Methods>
static void *newAdaptor(ztCtor constructor, ztListItem *(*Methods::*push)(void *, const void *)) {
  void *adaptor = constructor(nullptr, 1);
  const auto *methods = static_cast<const Methods *>(ztOOP_classOf(adaptor)->methodTable);
  methods->setElementConstructor(adaptor, Hooked_ctor);
  for (const int32_t number : {1, 2, 3}) (methods->*push)(adaptor, object(number));
  return adaptor;
}

TEST(PushedWhileDestroyed, IntoAnAdaptorEnds) {
  const auto deque = [] { return newAdaptor(ztDeque_ctor, &ztDequeMethods::pushBack); };
  const auto queue = [] { return newAdaptor(ztQueue_ctor, &ztQueueMethods::push); };
  const auto stack = [] { return newAdaptor(ztStack_ctor, &ztStackMethods::push); };
  const auto intoDeque = [](void *adaptor) { ztDeque_of(adaptor)->pushBack(adaptor, object(4)); };
  const auto intoQueue = [](void *adaptor) { ztQueue_of(adaptor)->push(adaptor, object(4)); };
  const auto intoStack = [](void *adaptor) { ztStack_of(adaptor)->push(adaptor, object(4)); };
  expectNothingLeft(deque, intoDeque);
  expectNothingLeft(queue, intoQueue);
  expectNothingLeft(stack, intoStack);
  // Also into an inner container that was made anew.
  const auto anew = [](auto push) {
    return [push](void *adaptor) {
      create(adaptor);
      ztSequenceContainer_of(adaptor)->setElementConstructor(adaptor, Hooked_ctor);
      push(adaptor);
    };
  };
  expectNothingLeft(deque, anew(intoDeque));
  expectNothingLeft(queue, anew(intoQueue));
  expectNothingLeft(stack, anew(intoStack));
}

// What a copy begins with ---------------------------------------------------------------------------

// LooksAtTarget: an object whose `clone` looks at the target before it fills it.
#define LooksAtTarget_FIELDS \
  ztBaseClass_FIELDS         \
  int64_t words[6];
#define LooksAtTarget_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(LooksAtTarget)

static int targetsSeen;
static bool areTargetsClear;

static void *looksAtTargetClone(const void *source, void *target) {
  ++targetsSeen;
  for (const int64_t word : static_cast<const LooksAtTarget *>(target)->words) {
    areTargetsClear = areTargetsClear && word == 0;
  }
  return ztBaseClass_table()->clone(source, target);
}

static void looksAtTargetMethods(LooksAtTargetMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, clone, looksAtTargetClone);
}

ZT_DEFINE_CLASS(LooksAtTarget, ztBaseClass, looksAtTargetMethods)

TEST(Copies, BeginWithFieldsThatAreZero) {
  const Owned<LooksAtTarget, LooksAtTargetMethods> source(LooksAtTarget_ctor);
  for (int64_t &word : source.fields().words) word = -1;
  const Owned<ztArray, ztArrayMethods> array(ztArray_ctor);
  array->setElementConstructor(array, LooksAtTarget_ctor);
  array->setElementSize(array, sizeof(LooksAtTarget), 0);
  const Owned<ztList, ztListMethods> list(ztList_ctor);
  list->setElementConstructor(list, LooksAtTarget_ctor);
  areTargetsClear = true;
  targetsSeen = 0;
  for (int i = 0; i < 3; ++i) {
    // Memory that is used again is not zero by itself.
    void *used = ztm_alloc(sizeof(LooksAtTarget));
    memset(used, -1, sizeof(LooksAtTarget));
    ztm_free(used);
    array->pushBack(array, source);
    array->setAt(array, source, 0);
    list->pushBack(list, source);
  }
  EXPECT_EQ(array->resize(array, 2), 1);
  EXPECT_EQ(targetsSeen, 3 + 3 + 3 + 2);
  EXPECT_TRUE(areTargetsClear);
}
