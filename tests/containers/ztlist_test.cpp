#include "containers/ztlist.h"

#include "containers/ztlists.h"
#include "core/ztmem.h"
#include "io/ztfile.h"
#include "tests/containers/elements.hh"
#include "tests/containers/noting.hh"
#include "tests/helpers/scale.hh"

#include <gtest/gtest.h>

#include <limits.h>

#include <algorithm>
#include <deque>
#include <random>

namespace {

using List = Owned<ztList, ztListMethods>;

// One list for each element policy.
class ztListByPolicy : public testing::TestWithParam<Policy> {
 protected:
  ztListByPolicy() {
    elements.configure(list);
  }

  void fill(int32_t count) {
    for (int32_t number = 0; number < count; ++number) list->pushBack(list, elements.make(number));
  }
  Numbers numbers() const {
    return numbersOf(links, elements);
  }
  ztListItem *at(int32_t index) const {
    return list->getItemAt(list, index);
  }
  // Takes off the head and releases the element that this hands over.
  ztListItem *popFront() {
    void *element = list->getFront(list);
    ztListItem *head = list->popFront(list);
    elements.release(element);
    return head;
  }

  Elements elements{GetParam()};
  NoneLost live;  // from here on: the elements keep an object of their own
  List list{ztList_ctor};
  ztList &links = list.fields();
};

INSTANTIATE_TEST_SUITE_P(Policies, ztListByPolicy, testing::ValuesIn(allPolicies),
                         testing::PrintToStringParamName());

}  // namespace

// Adding ------------------------------------------------------------------------------------------

TEST_P(ztListByPolicy, NewListIsEmptyAndHasNothingToGive) {
  EXPECT_EQ(numbers(), Numbers());
  EXPECT_EQ(list->getFront(list), nullptr);
  EXPECT_EQ(list->getBack(list), nullptr);
  EXPECT_EQ(list->find(list, elements.make(1)), nullptr);
  EXPECT_EQ(list->popFront(list), nullptr);
  EXPECT_EQ(list->popBack(list), nullptr);
  EXPECT_EQ(list->removeItem(list, nullptr), nullptr);
  EXPECT_EQ(numbers(), Numbers());
}

TEST_P(ztListByPolicy, PushesAtBothEnds) {
  const ztListItem *first = list->pushBack(list, elements.make(1));
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(links.head, first);
  EXPECT_EQ(numbers(), Numbers({1}));
  EXPECT_EQ(list->pushFront(list, elements.make(2)), links.head);
  EXPECT_EQ(links.tail, first);
  EXPECT_EQ(numbers(), Numbers({2, 1}));
  list->empty(list);
  EXPECT_EQ(list->pushFront(list, elements.make(3)), links.tail);
  EXPECT_EQ(numbers(), Numbers({3}));
}

TEST_P(ztListByPolicy, ElementsAreKeptAsThePolicySays) {
  fill(1);
  const void *element = elements.make(7);
  const bool copied = GetParam() != Policy::byPointer;
  for (const ztListItem *item : {list->pushBack(list, element), list->pushFront(list, elements.make(7)),
                                 list->insertPrev(list, links.tail, elements.make(7)),
                                 list->insertNext(list, links.head, elements.make(7))}) {
    EXPECT_EQ(elements.isCopy(item->data), copied);
    EXPECT_EQ(elements.numberOf(item->data), 7);
    EXPECT_EQ(item->data == element, !copied);
  }
}

TEST_P(ztListByPolicy, InsertPrevPutsBeforeTheItem) {
  fill(3);
  const ztListItem *item = list->insertPrev(list, at(1), elements.make(9));
  EXPECT_EQ(item, at(1));
  item = list->insertPrev(list, links.tail, elements.make(8));
  EXPECT_EQ(item, at(3));
  EXPECT_EQ(numbers(), Numbers({0, 9, 1, 8, 2}));
  item = list->insertPrev(list, links.head, elements.make(7));
  EXPECT_EQ(item, links.head);
  EXPECT_EQ(list->insertPrev(list, nullptr, elements.make(6)), nullptr);
  EXPECT_EQ(numbers(), Numbers({7, 0, 9, 1, 8, 2}));
}

TEST_P(ztListByPolicy, InsertNextPutsAfterTheItem) {
  fill(3);
  const ztListItem *item = list->insertNext(list, at(1), elements.make(9));
  EXPECT_EQ(item, at(2));
  item = list->insertNext(list, links.head, elements.make(8));
  EXPECT_EQ(item, at(1));
  EXPECT_EQ(numbers(), Numbers({0, 8, 1, 9, 2}));
  item = list->insertNext(list, links.tail, elements.make(7));
  EXPECT_EQ(item, links.tail);
  EXPECT_EQ(list->insertNext(list, nullptr, elements.make(6)), nullptr);
  EXPECT_EQ(numbers(), Numbers({0, 8, 1, 9, 2, 7}));
}

TEST_P(ztListByPolicy, NoElementAddsNothingUnlessByPointer) {
  fill(3);
  const bool kept = GetParam() == Policy::byPointer;
  EXPECT_EQ(list->pushBack(list, nullptr) != nullptr, kept);
  EXPECT_EQ(list->pushFront(list, nullptr) != nullptr, kept);
  EXPECT_EQ(list->insertPrev(list, at(1), nullptr) != nullptr, kept);
  EXPECT_EQ(list->insertNext(list, at(1), nullptr) != nullptr, kept);
  EXPECT_EQ(list->getSize(list), kept ? 7 : 3);
  if (!kept) {
    EXPECT_EQ(numbers(), Numbers({0, 1, 2}));
  }
}

// Removing ----------------------------------------------------------------------------------------

TEST_P(ztListByPolicy, PoppingAListThatLacksAnEndDoesNothing) {
  fill(2);
  const ztList before = links;
  links.tail = nullptr;
  EXPECT_EQ(list->popFront(list), nullptr);
  EXPECT_EQ(links.head, before.head);
  links.tail = before.tail;
  links.head = nullptr;
  EXPECT_EQ(list->popBack(list), nullptr);
  EXPECT_EQ(links.tail, before.tail);
  links.head = before.head;
  EXPECT_EQ(numbers(), Numbers({0, 1}));
}

TEST_P(ztListByPolicy, PopFrontHandsTheElementOverAndReturnsTheNewHead) {
  fill(3);
  const ztListItem *second = at(1);
  void *element = list->getFront(list);
  const int32_t before = live.made();
  EXPECT_EQ(list->popFront(list), second);
  EXPECT_EQ(live.made(), before);
  EXPECT_EQ(elements.numberOf(element), 0);
  elements.release(element);
  EXPECT_EQ(numbers(), Numbers({1, 2}));
  EXPECT_EQ(popFront(), links.tail);
  EXPECT_EQ(popFront(), nullptr);
  EXPECT_EQ(numbers(), Numbers());
}

TEST_P(ztListByPolicy, PopBackReleasesTheElementAndReturnsTheNewTail) {
  fill(3);
  const ztListItem *second = at(1);
  const int32_t before = live.made();
  EXPECT_EQ(list->popBack(list), second);
  EXPECT_EQ(before - live.made(), GetParam() == Policy::constructed ? 1 : 0);
  EXPECT_EQ(numbers(), Numbers({0, 1}));
  EXPECT_EQ(list->popBack(list), links.head);
  EXPECT_EQ(list->popBack(list), nullptr);
  EXPECT_EQ(numbers(), Numbers());
}

TEST_P(ztListByPolicy, RemovingTheHeadHandsTheElementOverAndReturnsTheNewHead) {
  fill(2);
  const ztListItem *second = at(1);
  for (const ztListItem *newHead : {second, static_cast<const ztListItem *>(nullptr)}) {
    void *element = list->getFront(list);
    EXPECT_EQ(list->removeItem(list, links.head), newHead);
    EXPECT_EQ(elements.numberOf(element), newHead == nullptr ? 1 : 0);
    elements.release(element);
    EXPECT_EQ(links.head, newHead);
  }
  EXPECT_EQ(numbers(), Numbers());
}

TEST_P(ztListByPolicy, RemovingAnotherItemReturnsTheOneBefore) {
  fill(5);
  ztListItem *second = at(1);
  EXPECT_EQ(list->removeItem(list, at(2)), second);
  EXPECT_EQ(numbers(), Numbers({0, 1, 3, 4}));
  EXPECT_EQ(list->removeItem(list, second), links.head);
  EXPECT_EQ(numbers(), Numbers({0, 3, 4}));
  const ztListItem *newTail = at(1);
  EXPECT_EQ(list->removeItem(list, links.tail), newTail);
  EXPECT_EQ(numbers(), Numbers({0, 3}));
}

TEST_P(ztListByPolicy, RemovingAnItemThatItDoesNotHaveDoesNothing) {
  fill(3);
  const Owned<ztListItem, ztListItemMethods> stray(ztListItem_ctor);
  const List other(ztList_ctor);
  elements.configure(other);
  for (const int32_t number : {4, 5}) other->pushBack(other, elements.make(number));
  for (ztListItem *item :
       {static_cast<ztListItem *>(nullptr), &stray.fields(), other.fields().head, other.fields().tail}) {
    EXPECT_EQ(list->removeItem(list, item), nullptr);
  }
  EXPECT_EQ(numbers(), Numbers({0, 1, 2}));
  EXPECT_EQ(numbersOf(other.fields(), elements), Numbers({4, 5}));
}

TEST_P(ztListByPolicy, EmptyAndDestroyReleaseEverythingAndMayBeCalledAgain) {
  for (const auto clear : {list->empty, list->destroy}) {
    fill(3);
    clear(list);
    EXPECT_EQ(live.made(), 0);
    EXPECT_EQ(numbers(), Numbers());
    clear(list);
    fill(1);
    EXPECT_EQ(numbers(), Numbers({0}));
    list->empty(list);
  }
}

// An element that, at its end, takes the last one out of its list.
#define Guest_FIELDS ztBaseClass_FIELDS
#define Guest_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Guest)

static ztList *guestsList;
static int guestsEnded;

static void guestMethods(GuestMethods *methods) {
  methods->destroy = [](void *object) {
    ++guestsEnded;
    if (guestsList != nullptr) ztList_of(guestsList)->popBack(guestsList);
    ztBaseClass_table()->destroy(object);
  };
}

ZT_DEFINE_CLASS(Guest, ztBaseClass, guestMethods)

TEST(ztList, ElementMayTakeAnotherOutAtItsEndWhileTheListIsEmptied) {
  const Owned<Guest, GuestMethods> guest(Guest_ctor);
  for (int count = 1; count <= 5; ++count) {
    const List list(ztList_ctor);
    list->setElementConstructor(list, Guest_ctor);
    for (int i = 0; i < count; ++i) list->pushBack(list, guest);
    guestsList = &list.fields();
    guestsEnded = 0;
    list->empty(list);
    guestsList = nullptr;
    EXPECT_EQ(guestsEnded, count);
    EXPECT_EQ(numbersOf(list.fields(), Elements(Policy::constructed)), Numbers());
  }
}

// Looking -----------------------------------------------------------------------------------------

TEST_P(ztListByPolicy, IndexesCountFromTheHead) {
  fill(3);
  EXPECT_EQ(list->getItemAt(list, 0), links.head);
  EXPECT_EQ(list->getItemAt(list, 2), links.tail);
  EXPECT_EQ(list->getFront(list), links.head->data);
  EXPECT_EQ(list->getBack(list), links.tail->data);
  for (int32_t i = 0; i < 3; ++i) {
    EXPECT_EQ(elements.numberOf(list->getAt(list, i)), i);
    EXPECT_EQ(list->getAt(list, i), list->getItemAt(list, i)->data);
  }
}

TEST_P(ztListByPolicy, IndexOutOfRangeGivesNothing) {
  for (const int32_t count : {0, 3}) {
    fill(count);
    for (const int32_t index : {count, count + 1, -1, INT_MAX, INT_MIN}) {
      EXPECT_EQ(list->getItemAt(list, index), nullptr);
      EXPECT_EQ(list->getAt(list, index), nullptr);
    }
  }
}

static std::vector<std::pair<const void *, const void *>> compared;

static int32_t differEach(const void *first, const void *second) {
  compared.emplace_back(first, second);
  return -1;
}

TEST_P(ztListByPolicy, FindGivesTheFirstMatch) {
  for (int i = 0; i < 2; ++i) fill(3);
  EXPECT_EQ(list->find(list, elements.make(1)), at(1));
  EXPECT_EQ(list->find(list, elements.make(2)), at(2));
  EXPECT_EQ(list->find(list, elements.make(3)), nullptr);
  list->setCompareFunction(list, nullptr);
  EXPECT_EQ(list->find(list, elements.make(1)), nullptr);
}

TEST_P(ztListByPolicy, FindComparesEachElementWithTheKey) {
  fill(3);
  compared.clear();
  list->setCompareFunction(list, differEach);
  const void *key = elements.make(5);
  EXPECT_EQ(list->find(list, key), nullptr);
  const std::vector<std::pair<const void *, const void *>> each = {
      {list->getAt(list, 0), key}, {list->getAt(list, 1), key}, {list->getAt(list, 2), key}};
  EXPECT_EQ(compared, each);
}

// Copies ------------------------------------------------------------------------------------------

TEST_P(ztListByPolicy, CloneIsIndependent) {
  fill(3);
  links.refCount = 2;
  const List copy = list.copy();
  ztList &copied = copy.fields();
  EXPECT_EQ(copied.refCount, 2);
  links.refCount = copied.refCount = 1;
  EXPECT_EQ(copied.itemManager, &copied);
  EXPECT_EQ(copied.itemConstructor, ztListItem_ctor);
  EXPECT_EQ(numbersOf(copied, elements), Numbers({0, 1, 2}));
  for (int32_t i = 0; i < 3; ++i) {
    EXPECT_NE(copy->getItemAt(copy, i), at(i));
    EXPECT_EQ(copy->getAt(copy, i) == list->getAt(list, i), GetParam() == Policy::byPointer);
  }
  copy->popBack(copy);
  copy->pushFront(copy, elements.make(9));
  EXPECT_EQ(numbers(), Numbers({0, 1, 2}));
  list->empty(list);
  EXPECT_EQ(numbersOf(copied, elements), Numbers({9, 0, 1}));
  const List copyOfNothing = list.copy();
  EXPECT_EQ(numbersOf(copyOfNothing.fields(), elements), Numbers());
  copyOfNothing->pushBack(copyOfNothing, elements.make(1));
  EXPECT_EQ(numbers(), Numbers());
}

TEST_P(ztListByPolicy, AssignCopiesNothing) {
  fill(2);
  const List other(ztList_ctor);
  elements.configure(other);
  EXPECT_EQ(list->assign(other, list), 1);
  EXPECT_EQ(numbersOf(other.fields(), elements), Numbers());
  other->pushBack(other, elements.make(9));
  EXPECT_EQ(list->assign(list, other), 1);
  EXPECT_EQ(numbers(), Numbers({0, 1}));
  EXPECT_EQ(numbersOf(other.fields(), elements), Numbers({9}));
}

// Objects and bytes as elements -------------------------------------------------------------------

TEST(ztList, KeepsSubclassesThroughCopies) {
  const NoneLost live;
  List list(ztList_ctor);
  list->setElementConstructor(list, Counted_ctor);
  for (const ztCtor constructor : {Counted_ctor, CountedTwin_ctor, CountedLarger_ctor}) {
    ASSERT_NE(list->pushBack(list, counted(4, constructor)), nullptr);
  }
  list = list.copy();
  const char *const names[] = {"Counted", "CountedTwin", "CountedLarger"};
  for (int32_t i = 0; i < 3; ++i) {
    const auto *element = static_cast<const Counted *>(list->getAt(list, i));
    EXPECT_STREQ(ztBaseClassClassName(nullptr, element), names[i]);
    EXPECT_EQ(element->value, 4);
    EXPECT_EQ(element->refCount, 1);
  }
}

TEST(ztList, ElementThatCannotBeClonedAddsNothing) {
  const List list(ztList_ctor);
  list->setElementConstructor(list, ztFile_ctor);
  const Owned<ztFile, ztFileMethods> file(ztFile_ctor);
  EXPECT_EQ(list->pushBack(list, file), nullptr);
  EXPECT_EQ(list->pushFront(list, file), nullptr);
  EXPECT_EQ(numbersOf(list.fields(), Elements(Policy::constructed)), Numbers());
}

TEST(ztList, CloneThatCannotCopyAnElementFailsAndOwnsNothing) {
  const NoneLost live;
  const List list(ztList_ctor);
  list->setElementConstructor(list, Counted_ctor);
  for (const int32_t number : {0, 1, 2, 3}) list->pushBack(list, counted(number));
  static_cast<Counted *>(list->getAt(list, 2))->value = refusesToClone;
  void *copy = ztList_newop();
  EXPECT_EQ(list->clone(list, copy), nullptr);
  EXPECT_EQ(live.made(), 4);
  ztm_free(copy);
  EXPECT_EQ(list->getSize(list), 4);
}

TEST(ztList, KeepsElementsOfNoBytesAndNoneOfASizeThatCannotBe) {
  const List list(ztList_ctor);
  const int32_t value = 1;
  EXPECT_NE(list->pushBack(list, &value), nullptr);
  EXPECT_NE(list->getFront(list), &value);
  for (const int32_t size : {-1, INT_MIN}) {
    list->setElementSize(list, size, 0);
    EXPECT_EQ(list->pushBack(list, &value), nullptr);
    EXPECT_EQ(list->pushFront(list, &value), nullptr);
    EXPECT_EQ(list->getSize(list), 1);
  }
}

TEST(ztList, TakesNoMoreElementsThanItsSizeCanTell) {
  const List list(ztList_ctor);
  const int32_t number = 1;
  ztListItem *item = list->pushBack(list, &number);
  list->pushBack(list, &number);
  list.fields().count = INT32_MAX;
  EXPECT_EQ(list->pushBack(list, &number), nullptr);
  EXPECT_EQ(list->pushFront(list, &number), nullptr);
  EXPECT_EQ(list->insertNext(list, item, &number), nullptr);
  EXPECT_EQ(list->getSize(list), INT32_MAX);
  list.fields().count = 2;
  EXPECT_NE(list->pushBack(list, &number), nullptr);
}

// The item manager --------------------------------------------------------------------------------

// A container that makes items for others until it refuses to. Its elements carry their number doubled.
#define Workshop_FIELDS ztSequenceContainer_FIELDS
#define Workshop_METHODS ztSequenceContainer_METHODS
ZT_DECLARE_CLASS(Workshop)

static bool workshopRefuses;

static void workshopMethods(WorkshopMethods *methods) {
  methods->newItem = [](void *object, const void *element) -> void * {
    if (workshopRefuses) return nullptr;
    void *item = ztSequenceContainer_table()->newItem(object, element);
    *static_cast<int32_t *>(static_cast<ztListItem *>(item)->data) *= 2;
    return item;
  };
  note<"newItem", &WorkshopMethods::newItem>(methods);
  note<"deleteItem", &WorkshopMethods::deleteItem>(methods);
}

ZT_DEFINE_CLASS(Workshop, ztSequenceContainer, workshopMethods)

namespace {

class ztListWithManager : public testing::Test {
 protected:
  ztListWithManager() {
    manager->setItemConstructor(manager, ztListItem_ctor);
    manager->setElementSize(manager, sizeof(int32_t), 0);
    // The list's own policy, which must not be asked, would keep pointers.
    list->setElementSize(list, 8, 1);
    list->setItemManager(list, manager);
    workshopRefuses = false;
    taken();
  }

  void push(const Numbers &numbers) {
    for (const int32_t number : numbers) list->pushBack(list, &number);
    taken();
  }
  Numbers numbers() const {
    return numbersOf(links, Elements(Policy::byValue));
  }

  const Owned<Workshop, WorkshopMethods> manager{Workshop_ctor};
  const List list{ztList_ctor};
  ztList &links = list.fields();
  const int32_t five = 5;
};

}  // namespace

TEST_F(ztListWithManager, EveryItemIsMadeByTheManager) {
  push({1});
  list->pushFront(list, &five);
  list->insertNext(list, links.head, &five);
  list->insertPrev(list, links.tail, &five);
  list->insertPrev(list, links.head, &five);
  list->insertNext(list, links.tail, &five);
  list->pushBack(list, &five);
  EXPECT_EQ(taken(), Notes(6, "newItem"));
  EXPECT_EQ(numbers(), Numbers({10, 10, 10, 10, 2, 10, 10}));
}

TEST_F(ztListWithManager, EveryItemButAPoppedHeadIsDeletedByTheManager) {
  push({0, 1, 2, 3, 4, 5, 6, 7});
  list->popBack(list);
  EXPECT_EQ(taken(), Notes({"deleteItem"}));
  list->removeItem(list, links.head->next);
  EXPECT_EQ(taken(), Notes({"deleteItem"}));
  list->removeItem(list, links.tail);
  EXPECT_EQ(taken(), Notes({"deleteItem"}));
  void *const heads[] = {list->getAt(list, 0), list->getAt(list, 1)};
  list->popFront(list);
  list->removeItem(list, links.head);
  for (void *element : heads) ztm_free(element);
  EXPECT_EQ(taken(), Notes());
  list->empty(list);
  EXPECT_EQ(taken(), Notes(3, "deleteItem"));
  push({1, 2});
  list->destroy(list);
  EXPECT_EQ(taken(), Notes(2, "deleteItem"));
}

TEST_F(ztListWithManager, RefusedItemLeavesTheListAsItWas) {
  push({1, 2, 3});
  workshopRefuses = true;
  EXPECT_EQ(list->pushBack(list, &five), nullptr);
  EXPECT_EQ(list->pushFront(list, &five), nullptr);
  for (int32_t i = 0; i < 3; ++i) {
    EXPECT_EQ(list->insertPrev(list, list->getItemAt(list, i), &five), nullptr);
    EXPECT_EQ(list->insertNext(list, list->getItemAt(list, i), &five), nullptr);
  }
  EXPECT_EQ(numbers(), Numbers({2, 4, 6}));
}

TEST_F(ztListWithManager, CopyMakesItsItemsItself) {
  push({1, 2});
  {
    const List copy = list.copy();
    EXPECT_EQ(copy.fields().itemManager, &copy.fields());
    // By the list's own policy: the pointers that the source's items hold.
    EXPECT_EQ(copy->getFront(copy), list->getFront(list));
  }
  EXPECT_EQ(taken(), Notes());
}

TEST_F(ztListWithManager, NoManagerStandsForTheListItself) {
  list->setItemManager(list, nullptr);
  ASSERT_NE(list->pushBack(list, &five), nullptr);
  EXPECT_EQ(list->getBack(list), &five);
  list->popBack(list);
  EXPECT_EQ(list->getSize(list), 0);
  EXPECT_EQ(taken(), Notes());
}

// Subclasses --------------------------------------------------------------------------------------

// A list that notes which of its methods were called. It has its items in reverse order.
#define NotingList_FIELDS ztList_FIELDS
#define NotingList_METHODS ztList_METHODS
ZT_DECLARE_CLASS(NotingList)

static void notingMethods(NotingListMethods *methods) {
  methods->getItemAt = [](const void *object, int32_t index) {
    return ztList_table()->getItemAt(object, ztList_table()->getSize(object) - 1 - index);
  };
  note<"getItemAt", &NotingListMethods::getItemAt>(methods);
  note<"destroy", &NotingListMethods::destroy>(methods);
  note<"newItem", &NotingListMethods::newItem>(methods);
  note<"deleteItem", &NotingListMethods::deleteItem>(methods);
  note<"setItemConstructor", &NotingListMethods::setItemConstructor>(methods);
  note<"pushBack", &NotingListMethods::pushBack>(methods);
  note<"pushFront", &NotingListMethods::pushFront>(methods);
  note<"popFront", &NotingListMethods::popFront>(methods);
  note<"popBack", &NotingListMethods::popBack>(methods);
  note<"empty", &NotingListMethods::empty>(methods);
}

ZT_DEFINE_CLASS(NotingList, ztList, notingMethods)

namespace {

class ztListSubclass : public testing::Test {
 protected:
  ztListSubclass() {
    list->setElementSize(list, sizeof(int32_t), 0);
    for (const int32_t number : {0, 1, 2}) list->pushBack(list, &number);
    taken();
  }

  // Removes the head and releases the element that this hands over.
  ztListItem *removeHead() {
    void *element = list->getFront(list);
    ztListItem *result = list->removeItem(list, links.head);
    ztm_free(element);
    return result;
  }

  const List list{NotingList_ctor};
  ztList &links = list.fields();
  const int32_t nine = 9;
};

}  // namespace

TEST_F(ztListSubclass, CreateSetsTheItemConstructorAndDestroyEmpties) {
  const List other(NotingList_ctor);
  EXPECT_EQ(taken(), Notes({"setItemConstructor"}));
  list->destroy(list);
  EXPECT_EQ(taken(), Notes({"destroy", "empty", "deleteItem", "deleteItem", "deleteItem"}));
}

TEST_F(ztListSubclass, AddingAsksForOneItemAndAtTheEndsPushes) {
  list->pushBack(list, &nine);
  EXPECT_EQ(taken(), Notes({"pushBack", "newItem"}));
  list->pushFront(list, &nine);
  EXPECT_EQ(taken(), Notes({"pushFront", "newItem"}));
  list->insertPrev(list, links.tail, &nine);
  EXPECT_EQ(taken(), Notes({"newItem"}));
  list->insertNext(list, links.head, &nine);
  EXPECT_EQ(taken(), Notes({"newItem"}));
  list->insertPrev(list, links.head, &nine);
  EXPECT_EQ(taken(), Notes({"pushFront", "newItem"}));
  list->insertNext(list, links.tail, &nine);
  EXPECT_EQ(taken(), Notes({"pushBack", "newItem"}));
}

TEST_F(ztListSubclass, RemovingAtTheEndsPopsAndBetweenDeletesTheItem) {
  list->removeItem(list, links.head->next);
  EXPECT_EQ(taken(), Notes({"deleteItem"}));
  list->removeItem(list, links.tail);
  EXPECT_EQ(taken(), Notes({"popBack", "deleteItem"}));
  EXPECT_EQ(removeHead(), nullptr);
  EXPECT_EQ(taken(), Notes({"popFront"})) << "the only item";
  for (int i = 0; i < 2; ++i) list->pushBack(list, &nine);
  taken();
  removeHead();
  EXPECT_EQ(taken(), Notes({"popFront"}));
}

TEST_F(ztListSubclass, GetAtAsksForTheItemAndOtherLooksCallNothing) {
  EXPECT_EQ(*static_cast<int32_t *>(list->getAt(list, 0)), 2);
  EXPECT_EQ(taken(), Notes({"getItemAt 0"}));
  EXPECT_EQ(*static_cast<int32_t *>(list->getFront(list)), 0);
  EXPECT_EQ(*static_cast<int32_t *>(list->getBack(list)), 2);
  list->setCompareFunction(list, ztIntList_compare_func);
  const int32_t key = 1;
  EXPECT_EQ(list->find(list, &key), links.head->next);
  EXPECT_EQ(taken(), Notes());
}

TEST_F(ztListSubclass, ClonePushesOntoTheCopy) {
  const List copy = list.copy();
  EXPECT_EQ(taken(), Notes({"pushBack", "newItem", "pushBack", "newItem", "pushBack", "newItem"}));
  EXPECT_EQ(numbersOf(copy.fields(), Elements(Policy::byValue)), Numbers({0, 1, 2}));
}

// A list that refuses elements above a limit, which is lower in copies made of it.
#define LimitedList_FIELDS NotingList_FIELDS int32_t limit;
#define LimitedList_METHODS NotingList_METHODS
ZT_DECLARE_CLASS(LimitedList)

static void limitedMethods(LimitedListMethods *methods) {
  methods->clone = [](const void *object, void *target) {
    void *copy = NotingList_table()->clone(object, target);
    if (copy != nullptr) static_cast<LimitedList *>(copy)->limit = 3;
    return copy;
  };
  methods->pushBack = [](void *object, const void *element) {
    const bool refused = *static_cast<const int32_t *>(element) > static_cast<LimitedList *>(object)->limit;
    return refused ? nullptr : NotingList_table()->pushBack(object, element);
  };
}

ZT_DEFINE_CLASS(LimitedList, NotingList, limitedMethods)

TEST(ztList, CloneRunsTheWholeChainAndFailsWhenTheCopyRefusesAnElement) {
  const Owned<LimitedList, LimitedListMethods> list(LimitedList_ctor);
  list->setElementSize(list, sizeof(int32_t), 0);
  list.fields().limit = 10;
  for (const int32_t number : {1, 11, 5}) list->pushBack(list, &number);
  EXPECT_EQ(list->getSize(list), 2);
  {
    const auto copy = list.copy();
    EXPECT_EQ(copy->getSize(copy), 2);
    const int32_t five = 5;
    EXPECT_EQ(copy->pushBack(copy, &five), nullptr);
    EXPECT_NE(list->pushBack(list, &five), nullptr);
  }
  list.fields().limit = 4;
  void *copy = LimitedList_newop();
  EXPECT_EQ(list->clone(list, copy), nullptr);
  ztm_free(copy);
  EXPECT_EQ(list->getSize(list), 3);
}

// Items of a class of the host's, larger than the list's own.
#define StampedItem_FIELDS ztListItem_FIELDS int64_t stamp;
#define StampedItem_METHODS ztListItem_METHODS
ZT_DECLARE_CLASS(StampedItem)

static void stampedItemMethods(StampedItemMethods *methods) {
  methods->create = [](void *object) {
    static_cast<StampedItem *>(object)->stamp = 77;
    return ztListItem_table()->create(object);
  };
}

ZT_DEFINE_CLASS(StampedItem, ztListItem, stampedItemMethods)

TEST(ztList, ItemsMayBeOfAHostsClass) {
  const List list(ztIntList_ctor);
  list->setItemConstructor(list, StampedItem_ctor);
  const int32_t number = 1;
  list->pushBack(list, &number);
  const List copy = list.copy();
  EXPECT_EQ(reinterpret_cast<const StampedItem *>(list.fields().head)->stamp, 77);
  EXPECT_EQ(reinterpret_cast<const StampedItem *>(copy.fields().head)->stamp, 77);
}

// Against a model ---------------------------------------------------------------------------------

namespace {

// Random operations on a list and on a deque of what it should hold.
class ListModel {
 public:
  ListModel(Policy policy, uint32_t seed) : elements(policy), random(seed) {
    elements.configure(list);
  }

  void run(int operations) {
    for (int i = 0; i < operations && !testing::Test::HasFailure(); ++i) {
      step();
      checkEnds();
      if (i % 64 == 0) checkAll();
    }
    checkAll();
  }

 private:
  struct Entry {
    int32_t number;
    ztListItem *item;
  };

  int32_t below(size_t limit) {
    return static_cast<int32_t>(random() % limit);
  }
  Entry &entryAt(int32_t index) {
    return model[static_cast<size_t>(index)];
  }

  void step() {
    const int32_t choice = below(model.size() > 60 ? 32 : 24);
    if (choice < 4) return pushBack();
    if (choice < 7) return pushFront();
    if (choice < 9) return find(below(1000));
    if (choice < 10) return below(20) == 0 ? empty() : getOutside();
    if (choice < 11 && below(20) == 0) return clone();
    if (model.empty()) return;
    const int32_t at = below(model.size());
    if (choice < 13) return insert(at, list->insertPrev, 0);
    if (choice < 15) return insert(at, list->insertNext, 1);
    if (choice < 17) return popFront();
    if (choice < 19) return popBack();
    if (choice < 21) return find(entryAt(at).number);
    return choice < 22 ? get(at) : removeItem(at);
  }

  Entry added(ztListItem *item, int32_t number) {
    EXPECT_NE(item, nullptr);
    EXPECT_EQ(item == nullptr ? -1 : elements.numberOf(item->data), number);
    return {number, item};
  }

  void pushBack() {
    const int32_t number = below(1000);
    model.push_back(added(list->pushBack(list, elements.make(number)), number));
  }

  void pushFront() {
    const int32_t number = below(1000);
    model.push_front(added(list->pushFront(list, elements.make(number)), number));
  }

  void insert(int32_t at, ztListItem *(*method)(void *, ztListItem *, const void *), int32_t behind) {
    const int32_t number = below(1000);
    ztListItem *item = method(list, entryAt(at).item, elements.make(number));
    model.insert(model.begin() + at + behind, added(item, number));
  }

  void popFront() {
    void *element = list->getFront(list);
    model.pop_front();
    EXPECT_EQ(list->popFront(list), headItem());
    elements.release(element);
  }

  void popBack() {
    model.pop_back();
    EXPECT_EQ(list->popBack(list), tailItem());
  }

  void removeItem(int32_t at) {
    ztListItem *item = entryAt(at).item;
    void *element = item->data;
    model.erase(model.begin() + at);
    EXPECT_EQ(list->removeItem(list, item), at == 0 ? headItem() : entryAt(at - 1).item);
    if (at == 0) elements.release(element);
  }

  void find(int32_t number) {
    const auto first =
        std::find_if(model.begin(), model.end(), [=](const Entry &entry) { return entry.number == number; });
    EXPECT_EQ(list->find(list, elements.make(number)), first == model.end() ? nullptr : first->item);
  }

  void get(int32_t at) {
    EXPECT_EQ(list->getItemAt(list, at), entryAt(at).item);
    EXPECT_EQ(elements.numberOf(list->getAt(list, at)), entryAt(at).number);
  }

  void getOutside() {
    EXPECT_EQ(list->getItemAt(list, static_cast<int32_t>(model.size()) + below(5)), nullptr);
    EXPECT_EQ(list->getAt(list, -1 - below(5)), nullptr);
  }

  void empty() {
    list->empty(list);
    model.clear();
  }

  // Goes on with a copy in place of the list.
  void clone() {
    List copy = list.copy();
    checkAll();
    list = std::move(copy);
    ztListItem *item = list.fields().head;
    for (Entry &entry : model) {
      ASSERT_NE(item, nullptr);
      entry.item = item;
      item = item->next;
    }
    checkAll();
  }

  ztListItem *headItem() const {
    return model.empty() ? nullptr : model.front().item;
  }
  ztListItem *tailItem() const {
    return model.empty() ? nullptr : model.back().item;
  }

  void checkEnds() {
    EXPECT_EQ(list.fields().head, headItem());
    EXPECT_EQ(list.fields().tail, tailItem());
    EXPECT_EQ(list->getSize(list), static_cast<int32_t>(model.size()));
    if (model.empty()) return;
    EXPECT_EQ(elements.numberOf(list->getFront(list)), model.front().number);
    EXPECT_EQ(elements.numberOf(list->getBack(list)), model.back().number);
  }

  void checkAll() {
    Numbers expected;
    for (const Entry &entry : model) expected.push_back(entry.number);
    EXPECT_EQ(numbersOf(list.fields(), elements), expected);
  }

  Elements elements;
  std::mt19937 random;
  List list{ztList_ctor};
  std::deque<Entry> model;
};

}  // namespace

TEST_P(ztListByPolicy, BehavesAsADequeUnderRandomOperations) {
  for (const uint32_t seed : {1U, 20260U}) ListModel(GetParam(), seed).run(scale(40000));
}
