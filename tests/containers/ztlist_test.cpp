#include "containers/ztlist.h"

#include "containers/ztlists.h"
#include "core/ztmem.h"
#include "io/ztfile.h"
#include "tests/containers/elements.hh"
#include "tests/helpers/faults.hh"
#include "tests/helpers/scale.hh"

#include <gtest/gtest.h>

#include <limits.h>

#include <deque>
#include <random>

namespace {

template <typename List = ztList>
List *newList(ztCtor constructor = ztList_ctor) {
  return static_cast<List *>(constructor(nullptr, 1));
}

void release(void *object) {
  ztBaseClass_of(object)->unRef(object);
}

// The numbers of a list's elements, front to back; fails where the links disagree.
std::vector<int32_t> numbersOf(const ztList *list, const Elements &elements) {
  std::vector<int32_t> numbers;
  const ztListItem *before = nullptr;
  for (const ztListItem *item = list->head; item != nullptr; item = item->next) {
    EXPECT_EQ(item->prev, before);
    numbers.push_back(elements.numberOf(item->data));
    before = item;
  }
  EXPECT_EQ(list->tail, before);
  EXPECT_EQ(list->count, numbers.size());
  EXPECT_EQ(ztList_of(list)->getSize(list), static_cast<int32_t>(numbers.size()));
  return numbers;
}

using Numbers = std::vector<int32_t>;

// One list for each element policy.
class ListOf : public ::testing::TestWithParam<Policy> {
 protected:
  ListOf() : elements(GetParam()), list(newList()), methods(ztList_of(list)) {
    elements.configure(list);
  }
  ~ListOf() override {
    release(list);
    EXPECT_EQ(live.made(), 0) << "an element was lost";
  }

  void fill(int32_t count) {
    for (int32_t number = 0; number < count; ++number) methods->pushBack(list, elements.make(number));
  }

  Numbers numbers() const {
    return numbersOf(list, elements);
  }

  ztListItem *at(int32_t index) const {
    return methods->getItemAt(list, index);
  }

  // Takes off the head and releases the element that this hands over.
  ztListItem *popFront() {
    void *element = methods->getFront(list);
    ztListItem *head = methods->popFront(list);
    if (element != nullptr) elements.release(element);
    return head;
  }

  Elements elements;
  LiveCount live;  // from here on: the elements keep an object of their own
  ztList *list;
  const ztListMethods *methods;
};

INSTANTIATE_TEST_SUITE_P(Policies, ListOf, ::testing::ValuesIn(allPolicies),
                         [](const auto &test) { return policyName(test.param); });

}  // namespace

// Adding ------------------------------------------------------------------------------------------

TEST_P(ListOf, NewListIsEmpty) {
  EXPECT_EQ(list->head, nullptr);
  EXPECT_EQ(list->tail, nullptr);
  EXPECT_EQ(list->count, 0U);
  EXPECT_EQ(methods->getSize(list), 0);
  EXPECT_EQ(list->itemConstructor, ztListItem_ctor);
  EXPECT_EQ(list->itemManager, list);
}

TEST_P(ListOf, PushBackThenPushFrontOnAnEmptyList) {
  ztListItem *first = methods->pushBack(list, elements.make(1));
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(list->head, first);
  EXPECT_EQ(list->tail, first);
  EXPECT_EQ(list->count, 1U);
  ztListItem *second = methods->pushFront(list, elements.make(2));
  EXPECT_EQ(list->head, second);
  EXPECT_EQ(list->tail, first);
  EXPECT_EQ(methods->getSize(list), 2);
  EXPECT_EQ(numbers(), Numbers({2, 1}));
}

TEST_P(ListOf, PushFrontOnAnEmptyListSetsBothEnds) {
  ztListItem *item = methods->pushFront(list, elements.make(1));
  EXPECT_EQ(list->head, item);
  EXPECT_EQ(list->tail, item);
  EXPECT_EQ(item->prev, nullptr);
  EXPECT_EQ(item->next, nullptr);
}

TEST_P(ListOf, ElementsAreKeptAsThePolicySays) {
  fill(1);
  const void *element = elements.make(7);
  const bool copied = GetParam() != Policy::byPointer;
  for (const ztListItem *item : {methods->pushBack(list, element), methods->pushFront(list, elements.make(7)),
                                 methods->insertPrev(list, list->tail, elements.make(7)),
                                 methods->insertNext(list, list->head, elements.make(7))}) {
    EXPECT_EQ(elements.isCopy(item->data), copied);
    EXPECT_EQ(elements.numberOf(item->data), 7);
    EXPECT_EQ(item->data == element, !copied);
  }
}

TEST_P(ListOf, InsertPrevPutsBeforeTheItem) {
  fill(3);
  ztListItem *item = methods->insertPrev(list, at(1), elements.make(9));
  EXPECT_EQ(item, at(1));
  EXPECT_EQ(numbers(), Numbers({0, 9, 1, 2}));
  item = methods->insertPrev(list, list->tail, elements.make(8));
  EXPECT_EQ(item, at(3));
  EXPECT_EQ(numbers(), Numbers({0, 9, 1, 8, 2}));
}

TEST_P(ListOf, InsertNextPutsAfterTheItem) {
  fill(3);
  ztListItem *item = methods->insertNext(list, at(1), elements.make(9));
  EXPECT_EQ(item, at(2));
  EXPECT_EQ(numbers(), Numbers({0, 1, 9, 2}));
  item = methods->insertNext(list, list->head, elements.make(8));
  EXPECT_EQ(item, at(1));
  EXPECT_EQ(numbers(), Numbers({0, 8, 1, 9, 2}));
}

TEST_P(ListOf, InsertPrevOnTheHeadMakesTheNewHead) {
  fill(2);
  const ztListItem *item = methods->insertPrev(list, list->head, elements.make(9));
  EXPECT_EQ(item, list->head);
  EXPECT_EQ(numbers(), Numbers({9, 0, 1}));
}

TEST_P(ListOf, InsertNextOnTheTailMakesTheNewTail) {
  fill(2);
  const ztListItem *item = methods->insertNext(list, list->tail, elements.make(9));
  EXPECT_EQ(item, list->tail);
  EXPECT_EQ(numbers(), Numbers({0, 1, 9}));
}

TEST_P(ListOf, InsertingAtNoItemDoesNothing) {
  fill(2);
  EXPECT_EQ(methods->insertPrev(list, nullptr, elements.make(9)), nullptr);
  EXPECT_EQ(methods->insertNext(list, nullptr, elements.make(9)), nullptr);
  EXPECT_EQ(numbers(), Numbers({0, 1}));
}

TEST_P(ListOf, NoElementAddsNothingUnlessByPointer) {
  fill(3);
  const bool kept = GetParam() == Policy::byPointer;
  EXPECT_EQ(methods->pushBack(list, nullptr) != nullptr, kept);
  EXPECT_EQ(methods->pushFront(list, nullptr) != nullptr, kept);
  EXPECT_EQ(methods->insertPrev(list, at(1), nullptr) != nullptr, kept);
  EXPECT_EQ(methods->insertNext(list, at(1), nullptr) != nullptr, kept);
  EXPECT_EQ(methods->getSize(list), kept ? 7 : 3);
  if (!kept) {
    EXPECT_EQ(numbers(), Numbers({0, 1, 2}));
  }
}

// Removing ----------------------------------------------------------------------------------------

TEST_P(ListOf, PoppingAnEmptyListDoesNothing) {
  EXPECT_EQ(methods->popFront(list), nullptr);
  EXPECT_EQ(methods->popBack(list), nullptr);
  EXPECT_EQ(methods->getSize(list), 0);
  EXPECT_EQ(list->head, nullptr);
  EXPECT_EQ(list->tail, nullptr);
}

TEST_P(ListOf, PoppingAListThatLacksAnEndDoesNothing) {
  fill(2);
  ztListItem *head = list->head;
  ztListItem *tail = list->tail;
  list->tail = nullptr;
  EXPECT_EQ(methods->popFront(list), nullptr);
  EXPECT_EQ(list->head, head);
  list->tail = tail;
  list->head = nullptr;
  EXPECT_EQ(methods->popBack(list), nullptr);
  EXPECT_EQ(list->tail, tail);
  list->head = head;
  EXPECT_EQ(numbers(), Numbers({0, 1}));
}

TEST_P(ListOf, PopFrontReturnsTheNewHead) {
  fill(3);
  ztListItem *second = at(1);
  EXPECT_EQ(popFront(), second);
  EXPECT_EQ(second->prev, nullptr);
  EXPECT_EQ(numbers(), Numbers({1, 2}));
  EXPECT_EQ(popFront(), list->tail);
  EXPECT_EQ(popFront(), nullptr);
  EXPECT_EQ(numbers(), Numbers());
}

TEST_P(ListOf, PopFrontHandsTheElementOver) {
  fill(2);
  void *element = methods->getFront(list);
  const int32_t before = live.made();
  methods->popFront(list);
  EXPECT_EQ(live.made(), before);
  EXPECT_EQ(elements.numberOf(element), 0);
  elements.release(element);
}

TEST_P(ListOf, PopBackReturnsTheNewTail) {
  fill(3);
  ztListItem *second = at(1);
  EXPECT_EQ(methods->popBack(list), second);
  EXPECT_EQ(second->next, nullptr);
  EXPECT_EQ(numbers(), Numbers({0, 1}));
  EXPECT_EQ(methods->popBack(list), list->head);
  EXPECT_EQ(methods->popBack(list), nullptr);
  EXPECT_EQ(numbers(), Numbers());
}

TEST_P(ListOf, PopBackReleasesTheElement) {
  fill(2);
  const int32_t before = live.made();
  methods->popBack(list);
  EXPECT_EQ(before - live.made(), GetParam() == Policy::constructed ? 1 : 0);
}

TEST_P(ListOf, RemovingTheOnlyItemEmptiesTheList) {
  fill(1);
  void *element = methods->getFront(list);
  EXPECT_EQ(methods->removeItem(list, list->head), nullptr);
  elements.release(element);
  EXPECT_EQ(numbers(), Numbers());
}

TEST_P(ListOf, RemovingTheHeadHandsTheElementOverAndReturnsTheNewHead) {
  fill(3);
  ztListItem *second = at(1);
  void *element = methods->getFront(list);
  EXPECT_EQ(methods->removeItem(list, list->head), second);
  EXPECT_EQ(elements.numberOf(element), 0);
  elements.release(element);
  EXPECT_EQ(numbers(), Numbers({1, 2}));
}

TEST_P(ListOf, RemovingTheTailReturnsTheNewTail) {
  fill(3);
  ztListItem *second = at(1);
  EXPECT_EQ(methods->removeItem(list, list->tail), second);
  EXPECT_EQ(numbers(), Numbers({0, 1}));
}

TEST_P(ListOf, RemovingAnItemBetweenReturnsTheOneBefore) {
  fill(4);
  ztListItem *second = at(1);
  EXPECT_EQ(methods->removeItem(list, at(2)), second);
  EXPECT_EQ(numbers(), Numbers({0, 1, 3}));
  EXPECT_EQ(methods->removeItem(list, second), list->head);
  EXPECT_EQ(numbers(), Numbers({0, 3}));
}

TEST_P(ListOf, RemovingNoItemDoesNothing) {
  EXPECT_EQ(methods->removeItem(list, nullptr), nullptr);
  fill(2);
  EXPECT_EQ(methods->removeItem(list, nullptr), nullptr);
  EXPECT_EQ(numbers(), Numbers({0, 1}));
}

TEST_P(ListOf, RemovingAnItemThatStandsInNoListDoesNothing) {
  fill(3);
  auto *stray = static_cast<ztListItem *>(ztListItem_ctor(nullptr, 1));
  EXPECT_EQ(methods->removeItem(list, stray), nullptr);
  EXPECT_EQ(numbers(), Numbers({0, 1, 2}));
  release(stray);
}

TEST_P(ListOf, RemovingAnItemAtTheEndOfAnotherListDoesNothing) {
  fill(3);
  ztList *other = newList();
  elements.configure(other);
  for (const int32_t number : {4, 5}) methods->pushBack(other, elements.make(number));
  EXPECT_EQ(methods->removeItem(list, other->head), nullptr);
  EXPECT_EQ(methods->removeItem(list, other->tail), nullptr);
  EXPECT_EQ(numbers(), Numbers({0, 1, 2}));
  EXPECT_EQ(numbersOf(other, elements), Numbers({4, 5}));
  release(other);
}

TEST_P(ListOf, EmptyReleasesEverything) {
  fill(5);
  methods->empty(list);
  EXPECT_EQ(live.made(), 0);
  EXPECT_EQ(numbers(), Numbers());
  methods->empty(list);
  fill(2);
  EXPECT_EQ(numbers(), Numbers({0, 1}));
}

TEST_P(ListOf, SecondDestroyIsHarmless) {
  fill(3);
  methods->destroy(list);
  EXPECT_EQ(live.made(), 0);
  EXPECT_EQ(numbers(), Numbers());
  methods->destroy(list);
  fill(1);
  EXPECT_EQ(numbers(), Numbers({0}));
}

namespace {

// An element that, at its end, takes the last one out of its list.
ztList *guestsList;
int guestsEnded;

}  // namespace

#define Guest_FIELDS ztBaseClass_FIELDS
#define Guest_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Guest)

static void guestDestroy(void *object) {
  ++guestsEnded;
  if (guestsList != nullptr) ztList_of(guestsList)->popBack(guestsList);
  ztBaseClass_table()->destroy(object);
}

static void guestMethods(GuestMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, destroy, guestDestroy);
}

ZT_DEFINE_CLASS(Guest, ztBaseClass, guestMethods)

TEST(ListOfObjects, ElementMayTakeAnotherOutAtItsEndWhileTheListIsEmptied) {
  for (int count = 1; count <= 5; ++count) {
    ztList *list = newList();
    ztList_of(list)->setElementConstructor(list, Guest_ctor);
    void *guest = Guest_ctor(nullptr, 1);
    for (int i = 0; i < count; ++i) ztList_of(list)->pushBack(list, guest);
    guestsList = list;
    guestsEnded = 0;
    ztList_of(list)->empty(list);
    EXPECT_EQ(guestsEnded, count);
    EXPECT_EQ(list->head, nullptr);
    EXPECT_EQ(list->tail, nullptr);
    EXPECT_EQ(list->count, 0U);
    guestsList = nullptr;
    release(guest);
    release(list);
  }
}

// Looking -----------------------------------------------------------------------------------------

TEST_P(ListOf, FrontAndBackAreTheEndsElements) {
  EXPECT_EQ(methods->getFront(list), nullptr);
  EXPECT_EQ(methods->getBack(list), nullptr);
  fill(3);
  EXPECT_EQ(methods->getFront(list), list->head->data);
  EXPECT_EQ(methods->getBack(list), list->tail->data);
  EXPECT_EQ(elements.numberOf(methods->getFront(list)), 0);
  EXPECT_EQ(elements.numberOf(methods->getBack(list)), 2);
}

TEST_P(ListOf, IndexesCountFromTheHead) {
  fill(3);
  EXPECT_EQ(methods->getItemAt(list, 0), list->head);
  EXPECT_EQ(methods->getItemAt(list, 2), list->tail);
  for (int32_t i = 0; i < 3; ++i) {
    EXPECT_EQ(elements.numberOf(methods->getAt(list, i)), i);
    EXPECT_EQ(methods->getAt(list, i), methods->getItemAt(list, i)->data);
  }
}

TEST_P(ListOf, IndexOutOfRangeGivesNothing) {
  for (const int32_t index : {0, 1, -1, INT_MAX, INT_MIN}) {
    EXPECT_EQ(methods->getItemAt(list, index), nullptr);
    EXPECT_EQ(methods->getAt(list, index), nullptr);
  }
  fill(3);
  for (const int32_t index : {3, 4, -1, INT_MAX, INT_MIN}) {
    EXPECT_EQ(methods->getItemAt(list, index), nullptr);
    EXPECT_EQ(methods->getAt(list, index), nullptr);
  }
}

TEST_P(ListOf, FindGivesTheFirstMatch) {
  EXPECT_EQ(methods->find(list, elements.make(1)), nullptr);
  fill(3);
  fill(3);
  EXPECT_EQ(methods->find(list, elements.make(1)), at(1));
  EXPECT_EQ(methods->find(list, elements.make(2)), at(2));
  EXPECT_EQ(methods->find(list, elements.make(3)), nullptr);
}

TEST_P(ListOf, FindWithoutACompareFunctionGivesNothing) {
  fill(3);
  methods->setCompareFunction(list, nullptr);
  EXPECT_EQ(methods->find(list, elements.make(1)), nullptr);
}

namespace {

std::vector<std::pair<const void *, const void *>> compared;

int32_t differEach(const void *first, const void *second) {
  compared.emplace_back(first, second);
  return -1;
}

}  // namespace

TEST_P(ListOf, FindComparesEachElementWithTheKey) {
  fill(3);
  compared.clear();
  methods->setCompareFunction(list, differEach);
  const void *key = elements.make(5);
  EXPECT_EQ(methods->find(list, key), nullptr);
  ASSERT_EQ(compared.size(), 3U);
  for (int32_t i = 0; i < 3; ++i) {
    EXPECT_EQ(compared[static_cast<size_t>(i)].first, methods->getAt(list, i));
    EXPECT_EQ(compared[static_cast<size_t>(i)].second, key);
  }
}

// Copies ------------------------------------------------------------------------------------------

TEST_P(ListOf, CloneIsIndependent) {
  fill(3);
  auto *copy = static_cast<ztList *>(ztList_newop());
  ASSERT_EQ(methods->clone(list, copy), copy);
  EXPECT_EQ(copy->itemManager, copy);
  EXPECT_EQ(copy->itemConstructor, ztListItem_ctor);
  EXPECT_EQ(numbersOf(copy, elements), Numbers({0, 1, 2}));
  for (int32_t i = 0; i < 3; ++i) {
    EXPECT_NE(methods->getItemAt(copy, i), methods->getItemAt(list, i));
    EXPECT_EQ(methods->getAt(copy, i) == methods->getAt(list, i), GetParam() == Policy::byPointer);
  }
  methods->popBack(copy);
  methods->pushFront(copy, elements.make(9));
  EXPECT_EQ(numbers(), Numbers({0, 1, 2}));
  methods->empty(list);
  EXPECT_EQ(numbersOf(copy, elements), Numbers({9, 0, 1}));
  release(copy);
}

TEST_P(ListOf, CloneOfAnEmptyListIsEmpty) {
  auto *copy = static_cast<ztList *>(ztList_newop());
  EXPECT_EQ(methods->clone(list, copy), copy);
  EXPECT_EQ(numbersOf(copy, elements), Numbers());
  methods->pushBack(copy, elements.make(1));
  EXPECT_EQ(numbers(), Numbers());
  release(copy);
}

TEST_P(ListOf, CloneKeepsTheSourcesReferenceCount) {
  methods->ref(list);
  auto *copy = static_cast<ztList *>(ztList_newop());
  methods->clone(list, copy);
  EXPECT_EQ(methods->getRefCount(copy), 2);
  list->refCount = 1;
  copy->refCount = 1;
  release(copy);
}

TEST_P(ListOf, AssignCopiesNothing) {
  fill(2);
  ztList *other = newList();
  elements.configure(other);
  EXPECT_EQ(methods->assign(other, list), 1);
  EXPECT_EQ(numbersOf(other, elements), Numbers());
  methods->pushBack(other, elements.make(9));
  EXPECT_EQ(methods->assign(list, other), 1);
  EXPECT_EQ(numbers(), Numbers({0, 1}));
  EXPECT_EQ(numbersOf(other, elements), Numbers({9}));
  release(other);
}

TEST_P(ListOf, ListInMemoryOfTheHostsIsEndedByDestroy) {
  alignas(ztList) unsigned char memory[sizeof(ztList)];
  memset(memory, 0xA5, sizeof memory);
  void *local = ztList_ctor(memory, 1);
  elements.configure(local);
  ztList_of(local)->pushBack(local, elements.make(1));
  EXPECT_EQ(numbersOf(static_cast<ztList *>(local), elements), Numbers({1}));
  ztList_of(local)->destroy(local);
}

// Objects as elements -----------------------------------------------------------------------------

TEST(ListOfObjects, KeepsSubclassesThroughCopies) {
  const LiveCount live;
  ztList *list = newList();
  ztList_of(list)->setElementConstructor(list, Counted_ctor);
  for (const ztCtor constructor : {Counted_ctor, CountedTwin_ctor, CountedLarger_ctor}) {
    Counted *element = newCounted(4, constructor);
    ASSERT_NE(ztList_of(list)->pushBack(list, element), nullptr);
    release(element);
  }
  auto *copy = static_cast<ztList *>(ztList_newop());
  ztList_of(list)->clone(list, copy);
  release(list);
  const char *const names[] = {"Counted", "CountedTwin", "CountedLarger"};
  for (int32_t i = 0; i < 3; ++i) {
    const void *element = ztList_of(copy)->getAt(copy, i);
    EXPECT_STREQ(ztBaseClassClassName(nullptr, element), names[i]);
    EXPECT_EQ(static_cast<const Counted *>(element)->value, 4);
    EXPECT_EQ(static_cast<const Counted *>(element)->refCount, 1);
  }
  release(copy);
  EXPECT_EQ(live.made(), 0);
}

TEST(ListOfObjects, ElementThatCannotBeClonedAddsNothing) {
  ztList *list = newList();
  ztList_of(list)->setElementConstructor(list, ztFile_ctor);
  void *file = ztFile_ctor(nullptr, 1);
  EXPECT_EQ(ztList_of(list)->pushBack(list, file), nullptr);
  EXPECT_EQ(ztList_of(list)->pushFront(list, file), nullptr);
  EXPECT_EQ(list->head, nullptr);
  EXPECT_EQ(list->tail, nullptr);
  EXPECT_EQ(list->count, 0U);
  release(file);
  release(list);
}

TEST(ListOfObjects, CloneThatCannotCopyAnElementFailsAndOwnsNothing) {
  const LiveCount live;
  ztList *list = newList();
  ztList_of(list)->setElementConstructor(list, Counted_ctor);
  for (int32_t number = 0; number < 4; ++number) {
    Counted *element = newCounted(number);
    ztList_of(list)->pushBack(list, element);
    release(element);
  }
  static_cast<Counted *>(ztList_of(list)->getAt(list, 2))->value = refusesToClone;
  void *copy = ztList_newop();
  EXPECT_EQ(ztList_of(list)->clone(list, copy), nullptr);
  EXPECT_EQ(live.made(), 4);
  ztm_free(copy);
  EXPECT_EQ(ztList_of(list)->getSize(list), 4);
  release(list);
  EXPECT_EQ(live.made(), 0);
}

TEST(ListOfBytes, SizeThatCannotBeAllocatedAddsNothing) {
  ztList *list = newList();
  const int32_t value = 1;
  for (const int32_t size : {-1, INT_MIN}) {
    ztList_of(list)->setElementSize(list, size, 0);
    EXPECT_EQ(ztList_of(list)->pushBack(list, &value), nullptr);
    EXPECT_EQ(ztList_of(list)->pushFront(list, &value), nullptr);
    EXPECT_EQ(list->count, 0U);
  }
  release(list);
}

TEST(ListOfBytes, UnconfiguredListKeepsElementsOfNoBytes) {
  ztList *list = newList();
  const int32_t value = 1;
  EXPECT_NE(ztList_of(list)->pushBack(list, &value), nullptr);
  EXPECT_EQ(list->count, 1U);
  EXPECT_NE(list->head->data, &value);
  release(list);
}

// Without memory ----------------------------------------------------------------------------------

TEST_P(ListOf, AddingWithoutMemoryChangesNothing) {
  fill(3);
  ztListItem *second = at(1);
  const int32_t before = live.made();
  const int faults = GetParam() == Policy::byPointer ? 1 : 2;  // the item, and the copy
  for (int fault = 0; fault < faults; ++fault) {
    const void *element = elements.make(9);
    const Fault first(fault);
    EXPECT_EQ(methods->pushBack(list, element), nullptr);
    EXPECT_TRUE(first.end());
    const Fault other(fault);
    EXPECT_EQ(methods->pushFront(list, element), nullptr);
    EXPECT_TRUE(other.end());
    const Fault third(fault);
    EXPECT_EQ(methods->insertPrev(list, second, element), nullptr);
    EXPECT_TRUE(third.end());
    const Fault fourth(fault);
    EXPECT_EQ(methods->insertNext(list, second, element), nullptr);
    EXPECT_TRUE(fourth.end());
    EXPECT_EQ(numbers(), Numbers({0, 1, 2}));
    EXPECT_EQ(live.made(), before);
  }
}

TEST_P(ListOf, CloneWithoutMemoryFailsAndOwnsNothing) {
  fill(3);
  const int32_t before = live.made();
  int failures = 0;
  for (int fault = 0;; ++fault, ++failures) {
    void *target = ztList_newop();
    const Fault injected(fault);
    auto *copy = static_cast<ztList *>(methods->clone(list, target));
    if (!injected.end()) {
      ASSERT_EQ(copy, target);
      EXPECT_EQ(numbersOf(copy, elements), Numbers({0, 1, 2}));
      release(copy);
      break;
    }
    EXPECT_EQ(copy, nullptr) << fault;
    EXPECT_EQ(live.made(), before) << fault;
    ztm_free(target);
  }
  EXPECT_EQ(failures, GetParam() == Policy::byPointer ? 3 : 6);
  EXPECT_EQ(numbers(), Numbers({0, 1, 2}));
}

// The item manager --------------------------------------------------------------------------------

// A container that makes items for others. Its elements by value carry their number doubled.
#define Workshop_FIELDS      \
  ztSequenceContainer_FIELDS \
  int32_t made;              \
  int32_t deleted;           \
  int32_t refuseFrom;
#define Workshop_METHODS ztSequenceContainer_METHODS
ZT_DECLARE_CLASS(Workshop)

static int32_t workshopCreate(void *object) {
  if (!ztSequenceContainer_table()->create(object)) return 0;
  auto *workshop = static_cast<Workshop *>(object);
  workshop->made = 0;
  workshop->deleted = 0;
  workshop->refuseFrom = INT_MAX;
  Workshop_of(object)->setItemConstructor(object, ztListItem_ctor);
  Workshop_of(object)->setElementSize(object, sizeof(int32_t), 0);
  return 1;
}

static void *workshopNewItem(void *object, const void *element) {
  auto *workshop = static_cast<Workshop *>(object);
  if (workshop->made >= workshop->refuseFrom) return nullptr;
  void *item = ztSequenceContainer_table()->newItem(object, element);
  if (item == nullptr) return nullptr;
  ++workshop->made;
  *static_cast<int32_t *>(static_cast<ztListItem *>(item)->data) *= 2;
  return item;
}

static void workshopDeleteItem(void *object, void *item) {
  ++static_cast<Workshop *>(object)->deleted;
  ztSequenceContainer_table()->deleteItem(object, item);
}

static void workshopMethods(WorkshopMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, workshopCreate);
  ZT_OVERRIDE_METHOD(methods, newItem, workshopNewItem);
  ZT_OVERRIDE_METHOD(methods, deleteItem, workshopDeleteItem);
}

ZT_DEFINE_CLASS(Workshop, ztSequenceContainer, workshopMethods)

namespace {

class ManagedList : public ::testing::Test {
 protected:
  ManagedList() : workshop(static_cast<Workshop *>(Workshop_ctor(nullptr, 1))), list(newList()) {
    methods = ztList_of(list);
    // The list's own policy, which must not be asked, would keep pointers.
    methods->setElementSize(list, 8, 1);
    methods->setItemManager(list, workshop);
  }
  ~ManagedList() override {
    release(list);
    release(workshop);
  }

  ztListItem *push(int32_t number) {
    return methods->pushBack(list, &number);
  }

  Workshop *workshop;
  ztList *list;
  const ztListMethods *methods;
};

}  // namespace

TEST_F(ManagedList, EveryItemIsMadeByTheManager) {
  const int32_t number = 5;
  push(1);
  methods->pushFront(list, &number);
  methods->insertNext(list, list->head, &number);
  methods->insertPrev(list, list->tail, &number);
  methods->insertPrev(list, list->head, &number);
  methods->insertNext(list, list->tail, &number);
  EXPECT_EQ(workshop->made, 6);
  EXPECT_EQ(numbersOf(list, Elements(Policy::byValue)), Numbers({10, 10, 10, 10, 2, 10}));
}

TEST_F(ManagedList, EveryItemButAPoppedHeadIsDeletedByTheManager) {
  for (int32_t i = 0; i < 7; ++i) push(i);
  methods->popBack(list);
  EXPECT_EQ(workshop->deleted, 1);
  methods->removeItem(list, list->head->next);
  EXPECT_EQ(workshop->deleted, 2);
  methods->removeItem(list, list->tail);
  EXPECT_EQ(workshop->deleted, 3);
  void *element = methods->getFront(list);
  methods->popFront(list);
  ztm_free(element);
  element = methods->getFront(list);
  methods->removeItem(list, list->head);
  ztm_free(element);
  EXPECT_EQ(workshop->deleted, 3);
  methods->empty(list);
  EXPECT_EQ(workshop->deleted, 5);
}

TEST_F(ManagedList, DestroyDeletesThroughTheManager) {
  push(1);
  push(2);
  methods->destroy(list);
  EXPECT_EQ(workshop->deleted, 2);
}

TEST_F(ManagedList, RefusedItemLeavesTheListAsItWas) {
  push(1);
  push(2);
  push(3);
  workshop->refuseFrom = 3;
  const int32_t number = 9;
  EXPECT_EQ(methods->pushBack(list, &number), nullptr);
  EXPECT_EQ(methods->pushFront(list, &number), nullptr);
  for (int32_t i = 0; i < 3; ++i) {
    EXPECT_EQ(methods->insertPrev(list, methods->getItemAt(list, i), &number), nullptr);
    EXPECT_EQ(methods->insertNext(list, methods->getItemAt(list, i), &number), nullptr);
  }
  EXPECT_EQ(numbersOf(list, Elements(Policy::byValue)), Numbers({2, 4, 6}));
}

TEST_F(ManagedList, CopyMakesItsItemsItself) {
  push(1);
  push(2);
  auto *copy = static_cast<ztList *>(ztList_newop());
  methods->clone(list, copy);
  EXPECT_EQ(workshop->made, 2);
  EXPECT_EQ(copy->itemManager, copy);
  // By the list's own policy: the pointers that the source's items hold.
  EXPECT_EQ(methods->getFront(copy), methods->getFront(list));
  release(copy);
  EXPECT_EQ(workshop->deleted, 0);
}

TEST_F(ManagedList, NoManagerStandsForTheListItself) {
  methods->setItemManager(list, nullptr);
  int32_t number = 4;
  ASSERT_NE(methods->pushBack(list, &number), nullptr);
  EXPECT_EQ(methods->getBack(list), &number);
  methods->popBack(list);
  EXPECT_EQ(list->count, 0U);
  EXPECT_EQ(workshop->made, 0);
  EXPECT_EQ(workshop->deleted, 0);
}

// Subclasses --------------------------------------------------------------------------------------

// A list that notes which of its methods were called.
#define NotingList_FIELDS ztList_FIELDS
#define NotingList_METHODS ztList_METHODS
ZT_DECLARE_CLASS(NotingList)

static std::vector<std::string> notes;

static int32_t notingCreate(void *object) {
  if (!ztList_table()->create(object)) return 0;
  NotingList_of(object)->setElementSize(object, sizeof(int32_t), 0);
  return 1;
}

static void notingDestroy(void *object) {
  notes.push_back("destroy");
  ztList_table()->destroy(object);
}

static void *notingNewItem(void *object, const void *element) {
  notes.push_back("newItem");
  return ztList_table()->newItem(object, element);
}

static void notingDeleteItem(void *object, void *item) {
  notes.push_back("deleteItem");
  ztList_table()->deleteItem(object, item);
}

static void notingSetItemConstructor(void *object, ztCtor constructor) {
  notes.push_back("setItemConstructor");
  ztList_table()->setItemConstructor(object, constructor);
}

static ztListItem *notingPushBack(void *object, const void *element) {
  notes.push_back("pushBack");
  return ztList_table()->pushBack(object, element);
}

static ztListItem *notingPushFront(void *object, const void *element) {
  notes.push_back("pushFront");
  return ztList_table()->pushFront(object, element);
}

static ztListItem *notingPopFront(void *object) {
  notes.push_back("popFront");
  return ztList_table()->popFront(object);
}

static ztListItem *notingPopBack(void *object) {
  notes.push_back("popBack");
  return ztList_table()->popBack(object);
}

static void notingEmpty(void *object) {
  notes.push_back("empty");
  ztList_table()->empty(object);
}

// The items in reverse order.
static ztListItem *notingGetItemAt(const void *object, int32_t index) {
  notes.push_back("getItemAt");
  return ztList_table()->getItemAt(object, NotingList_of(object)->getSize(object) - 1 - index);
}

static void notingMethods(NotingListMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, notingCreate);
  ZT_OVERRIDE_METHOD(methods, destroy, notingDestroy);
  ZT_OVERRIDE_METHOD(methods, newItem, notingNewItem);
  ZT_OVERRIDE_METHOD(methods, deleteItem, notingDeleteItem);
  ZT_OVERRIDE_METHOD(methods, setItemConstructor, notingSetItemConstructor);
  ZT_OVERRIDE_METHOD(methods, pushBack, notingPushBack);
  ZT_OVERRIDE_METHOD(methods, pushFront, notingPushFront);
  ZT_OVERRIDE_METHOD(methods, popFront, notingPopFront);
  ZT_OVERRIDE_METHOD(methods, popBack, notingPopBack);
  ZT_OVERRIDE_METHOD(methods, empty, notingEmpty);
  ZT_OVERRIDE_METHOD(methods, getItemAt, notingGetItemAt);
}

ZT_DEFINE_CLASS(NotingList, ztList, notingMethods)

namespace {

using Notes = std::vector<std::string>;

class Routing : public ::testing::Test {
 protected:
  Routing() : list(newList(NotingList_ctor)), methods(ztList_of(list)) {
    for (int32_t i = 0; i < 3; ++i) methods->pushBack(list, &i);
    notes.clear();
  }
  ~Routing() override {
    release(list);
  }

  Notes taken() {
    Notes result;
    result.swap(notes);
    return result;
  }

  ztList *list;
  const ztListMethods *methods;
  const int32_t number = 9;
};

}  // namespace

TEST_F(Routing, CreateSetsTheItemConstructor) {
  ztList *other = newList(NotingList_ctor);
  EXPECT_EQ(taken(), Notes({"setItemConstructor"}));
  release(other);
}

TEST_F(Routing, AddingAsksForOneItem) {
  methods->pushBack(list, &number);
  EXPECT_EQ(taken(), Notes({"pushBack", "newItem"}));
  methods->pushFront(list, &number);
  EXPECT_EQ(taken(), Notes({"pushFront", "newItem"}));
  methods->insertPrev(list, list->tail, &number);
  EXPECT_EQ(taken(), Notes({"newItem"}));
  methods->insertNext(list, list->head, &number);
  EXPECT_EQ(taken(), Notes({"newItem"}));
}

TEST_F(Routing, InsertingAtTheEndsPushes) {
  methods->insertPrev(list, list->head, &number);
  EXPECT_EQ(taken(), Notes({"pushFront", "newItem"}));
  methods->insertNext(list, list->tail, &number);
  EXPECT_EQ(taken(), Notes({"pushBack", "newItem"}));
}

TEST_F(Routing, RemovingAtTheEndsPops) {
  void *element = methods->getFront(list);
  methods->removeItem(list, list->head);
  ztm_free(element);
  EXPECT_EQ(taken(), Notes({"popFront"}));
  methods->removeItem(list, list->tail);
  EXPECT_EQ(taken(), Notes({"popBack", "deleteItem"}));
}

TEST_F(Routing, RemovingTheOnlyItemPopsTheFront) {
  methods->popBack(list);
  methods->popBack(list);
  taken();
  void *element = methods->getFront(list);
  EXPECT_EQ(methods->removeItem(list, list->head), nullptr);
  ztm_free(element);
  EXPECT_EQ(taken(), Notes({"popFront"}));
}

TEST_F(Routing, RemovingBetweenDeletesTheItem) {
  methods->removeItem(list, list->head->next);
  EXPECT_EQ(taken(), Notes({"deleteItem"}));
}

TEST_F(Routing, GetAtAsksForTheItem) {
  EXPECT_EQ(*static_cast<int32_t *>(methods->getAt(list, 0)), 2);
  EXPECT_EQ(taken(), Notes({"getItemAt"}));
}

TEST_F(Routing, FrontBackAndFindReadTheItems) {
  EXPECT_EQ(*static_cast<int32_t *>(methods->getFront(list)), 0);
  EXPECT_EQ(*static_cast<int32_t *>(methods->getBack(list)), 2);
  methods->setCompareFunction(list, ztIntList_compare_func);
  const int32_t key = 1;
  EXPECT_EQ(methods->find(list, &key), list->head->next);
  EXPECT_EQ(taken(), Notes());
}

TEST_F(Routing, DestroyEmpties) {
  methods->destroy(list);
  EXPECT_EQ(taken(), Notes({"destroy", "empty", "deleteItem", "deleteItem", "deleteItem"}));
}

TEST_F(Routing, ClonePushesOntoTheCopy) {
  auto *copy = static_cast<ztList *>(NotingList_newop());
  taken();
  EXPECT_EQ(methods->clone(list, copy), copy);
  EXPECT_EQ(taken(), Notes({"pushBack", "newItem", "pushBack", "newItem", "pushBack", "newItem"}));
  EXPECT_EQ(numbersOf(copy, Elements(Policy::byValue)), Numbers({0, 1, 2}));
  release(copy);
}

// A list that refuses elements above a limit, which is lower in copies made of it.
#define LimitedList_FIELDS NotingList_FIELDS int32_t limit;
#define LimitedList_METHODS NotingList_METHODS
ZT_DECLARE_CLASS(LimitedList)

static int32_t limitedCreate(void *object) {
  if (!NotingList_table()->create(object)) return 0;
  static_cast<LimitedList *>(object)->limit = 10;
  return 1;
}

static void *limitedClone(const void *object, void *target) {
  void *copy = NotingList_table()->clone(object, target);
  if (copy != nullptr) static_cast<LimitedList *>(copy)->limit = 3;
  return copy;
}

static ztListItem *limitedPushBack(void *object, const void *element) {
  const int32_t limit = static_cast<LimitedList *>(object)->limit;
  if (*static_cast<const int32_t *>(element) > limit) return nullptr;
  return NotingList_table()->pushBack(object, element);
}

static void limitedMethods(LimitedListMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, limitedCreate);
  ZT_OVERRIDE_METHOD(methods, clone, limitedClone);
  ZT_OVERRIDE_METHOD(methods, pushBack, limitedPushBack);
}

ZT_DEFINE_CLASS(LimitedList, NotingList, limitedMethods)

TEST(ListSubclass, CloneRunsTheWholeChain) {
  auto *list = newList<LimitedList>(LimitedList_ctor);
  for (const int32_t number : {1, 11, 5}) LimitedList_of(list)->pushBack(list, &number);
  EXPECT_EQ(LimitedList_of(list)->getSize(list), 2);
  auto *copy = static_cast<LimitedList *>(LimitedList_newop());
  ASSERT_EQ(LimitedList_of(list)->clone(list, copy), copy);
  EXPECT_EQ(LimitedList_of(copy)->getSize(copy), 2);
  const int32_t number = 5;
  EXPECT_EQ(LimitedList_of(copy)->pushBack(copy, &number), nullptr);
  EXPECT_NE(LimitedList_of(list)->pushBack(list, &number), nullptr);
  release(copy);
  release(list);
}

TEST(ListSubclass, CloneFailsWhenTheCopyRefusesAnElement) {
  auto *list = newList<LimitedList>(LimitedList_ctor);
  for (const int32_t number : {1, 8, 2}) LimitedList_of(list)->pushBack(list, &number);
  list->limit = 5;
  auto *copy = static_cast<LimitedList *>(LimitedList_newop());
  EXPECT_EQ(LimitedList_of(list)->clone(list, copy), nullptr);
  ztm_free(copy);
  EXPECT_EQ(LimitedList_of(list)->getSize(list), 3);
  release(list);
}

// Items of a class of the host's, larger than the list's own.
#define StampedItem_FIELDS ztListItem_FIELDS int64_t stamp;
#define StampedItem_METHODS ztListItem_METHODS
ZT_DECLARE_CLASS(StampedItem)

static int32_t stampedItemCreate(void *object) {
  if (!ztListItem_table()->create(object)) return 0;
  static_cast<StampedItem *>(object)->stamp = 77;
  return 1;
}

static void stampedItemMethods(StampedItemMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, stampedItemCreate);
}

ZT_DEFINE_CLASS(StampedItem, ztListItem, stampedItemMethods)

TEST(ListSubclass, ItemsMayBeOfAHostsClass) {
  ztList *list = newList(ztIntList_ctor);
  ztList_of(list)->setItemConstructor(list, StampedItem_ctor);
  const int32_t number = 1;
  const ztListItem *item = ztList_of(list)->pushBack(list, &number);
  EXPECT_EQ(reinterpret_cast<const StampedItem *>(item)->stamp, 77);
  auto *copy = static_cast<ztList *>(ztIntList_newop());
  ztList_of(list)->clone(list, copy);
  EXPECT_EQ(reinterpret_cast<const StampedItem *>(copy->head)->stamp, 77);
  release(copy);
  release(list);
}

// ztListItem --------------------------------------------------------------------------------------

TEST(ListItem, NewItemHasNoLinksAndNoElement) {
  alignas(ztListItem) unsigned char memory[sizeof(ztListItem)];
  memset(memory, 0xA5, sizeof memory);
  const auto *item = static_cast<ztListItem *>(ztListItem_ctor(memory, 1));
  EXPECT_EQ(item->data, nullptr);
  EXPECT_EQ(item->prev, nullptr);
  EXPECT_EQ(item->next, nullptr);
  EXPECT_STREQ(item->klass->name, "ztListItem");
  EXPECT_STREQ(item->klass->parent->name, "ztContainerItem");
}

// Against a model ---------------------------------------------------------------------------------

namespace {

// Random operations on a list and on a deque of what it should hold.
class ListModel {
 public:
  ListModel(Policy policy, uint32_t seed)
      : elements(policy), random(seed), list(newList()), methods(ztList_of(list)) {
    elements.configure(list);
  }
  ~ListModel() {
    release(list);
  }
  ListModel(const ListModel &) = delete;
  ListModel &operator=(const ListModel &) = delete;

  void run(int operations) {
    for (int i = 0; i < operations && !::testing::Test::HasFailure(); ++i) {
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

  void step() {
    switch (below(model.size() > 60 ? 28 : 24)) {
      case 0:
      case 1:
      case 2:
      case 3:
        return pushBack();
      case 4:
      case 5:
      case 6:
        return pushFront();
      case 7:
      case 8:
        return insertPrev();
      case 9:
      case 10:
        return insertNext();
      case 11:
      case 12:
        return popFront();
      case 13:
      case 14:
        return popBack();
      case 15:
      case 16:
      case 17:
        return removeItem();
      case 18:
      case 19:
        return find();
      case 20:
      case 21:
        return getAt();
      case 22:
        return below(20) == 0 ? empty() : findMissing();
      case 23:
        return below(20) == 0 ? clone() : getOutside();
      default:
        return removeItem();
    }
  }

  Entry added(ztListItem *item, int32_t number) {
    EXPECT_NE(item, nullptr);
    EXPECT_EQ(item == nullptr ? -1 : elements.numberOf(item->data), number);
    return {number, item};
  }

  void pushBack() {
    const int32_t number = below(1000);
    model.push_back(added(methods->pushBack(list, elements.make(number)), number));
  }

  void pushFront() {
    const int32_t number = below(1000);
    model.push_front(added(methods->pushFront(list, elements.make(number)), number));
  }

  void insertPrev() {
    if (model.empty()) return;
    const int32_t at = below(model.size());
    const int32_t number = below(1000);
    ztListItem *item = methods->insertPrev(list, model[static_cast<size_t>(at)].item, elements.make(number));
    model.insert(model.begin() + at, added(item, number));
  }

  void insertNext() {
    if (model.empty()) return;
    const int32_t at = below(model.size());
    const int32_t number = below(1000);
    ztListItem *item = methods->insertNext(list, model[static_cast<size_t>(at)].item, elements.make(number));
    model.insert(model.begin() + at + 1, added(item, number));
  }

  void popFront() {
    void *element = methods->getFront(list);
    if (!model.empty()) model.pop_front();
    EXPECT_EQ(methods->popFront(list), headItem());
    if (element != nullptr) elements.release(element);
  }

  void popBack() {
    if (!model.empty()) model.pop_back();
    EXPECT_EQ(methods->popBack(list), tailItem());
  }

  void removeItem() {
    if (model.empty()) return;
    const int32_t at = below(model.size());
    ztListItem *item = model[static_cast<size_t>(at)].item;
    void *handedOver = at == 0 ? item->data : nullptr;
    model.erase(model.begin() + at);
    ztListItem *expected = at == 0 ? headItem() : model[static_cast<size_t>(at) - 1].item;
    EXPECT_EQ(methods->removeItem(list, item), expected);
    if (handedOver != nullptr) elements.release(handedOver);
  }

  void find() {
    if (model.empty()) return;
    const int32_t number = model[static_cast<size_t>(below(model.size()))].number;
    size_t first = 0;
    while (model[first].number != number) ++first;
    EXPECT_EQ(methods->find(list, elements.make(number)), model[first].item);
  }

  void findMissing() {
    const int32_t number = below(1000);
    for (const Entry &entry : model) {
      if (entry.number == number) return;
    }
    EXPECT_EQ(methods->find(list, elements.make(number)), nullptr);
  }

  void getAt() {
    if (model.empty()) return;
    const int32_t at = below(model.size());
    const Entry &entry = model[static_cast<size_t>(at)];
    EXPECT_EQ(methods->getItemAt(list, at), entry.item);
    EXPECT_EQ(elements.numberOf(methods->getAt(list, at)), entry.number);
  }

  void getOutside() {
    const int32_t beyond = static_cast<int32_t>(model.size()) + below(5);
    EXPECT_EQ(methods->getItemAt(list, beyond), nullptr);
    EXPECT_EQ(methods->getAt(list, -1 - below(5)), nullptr);
  }

  void empty() {
    methods->empty(list);
    model.clear();
  }

  // Goes on with a copy in place of the list.
  void clone() {
    auto *copy = static_cast<ztList *>(ztList_newop());
    ASSERT_EQ(methods->clone(list, copy), copy);
    checkAll();
    release(list);
    list = copy;
    const ztListItem *item = list->head;
    for (Entry &entry : model) {
      ASSERT_NE(item, nullptr);
      entry.item = const_cast<ztListItem *>(item);
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
    EXPECT_EQ(list->head, headItem());
    EXPECT_EQ(list->tail, tailItem());
    EXPECT_EQ(methods->getSize(list), static_cast<int32_t>(model.size()));
    if (model.empty()) return;
    EXPECT_EQ(elements.numberOf(methods->getFront(list)), model.front().number);
    EXPECT_EQ(elements.numberOf(methods->getBack(list)), model.back().number);
  }

  void checkAll() {
    Numbers expected;
    for (const Entry &entry : model) expected.push_back(entry.number);
    EXPECT_EQ(numbersOf(list, elements), expected);
  }

  Elements elements;
  std::mt19937 random;
  ztList *list;
  const ztListMethods *methods;
  std::deque<Entry> model;
};

}  // namespace

TEST_P(ListOf, BehavesAsADequeUnderRandomOperations) {
  for (const uint32_t seed : {1U, 20260U}) ListModel(GetParam(), seed).run(scale(40000));
}

TEST(ListOfBytes, TakesNoMoreElementsThanItsSizeCanTell) {
  void *list = ztList_ctor(nullptr, 1);
  const ztListMethods *methods = ztList_of(list);
  const int32_t number = 1;
  ztListItem *item = methods->pushBack(list, &number);
  methods->pushBack(list, &number);
  static_cast<ztList *>(list)->count = INT32_MAX;
  EXPECT_EQ(methods->pushBack(list, &number), nullptr);
  EXPECT_EQ(methods->pushFront(list, &number), nullptr);
  EXPECT_EQ(methods->insertNext(list, item, &number), nullptr);
  EXPECT_EQ(methods->getSize(list), INT32_MAX);
  static_cast<ztList *>(list)->count = 2;
  EXPECT_NE(methods->pushBack(list, &number), nullptr);
  methods->unRef(list);
}
