#include "containers/ztdeque.h"
#include "containers/ztqueue.h"
#include "containers/ztqueues.h"
#include "containers/ztstack.h"
#include "containers/ztstacks.h"

#include "core/ztmem.h"
#include "tests/containers/elements.hh"
#include "tests/containers/noting.hh"
#include "tests/helpers/faults.hh"
#include "tests/helpers/scale.hh"

#include <gtest/gtest.h>

#include <deque>
#include <random>
#include <utility>

namespace {

using Adaptor = Owned<ztSequenceContainer, ztSequenceContainerMethods>;
using Deque = Owned<ztDeque, ztDequeMethods>;
using Queue = Owned<ztQueue, ztQueueMethods>;
using Stack = Owned<ztStack, ztStackMethods>;

// How elements are added to an adaptor, looked at and taken out. The stack has no look at its front.
struct Verbs {
  ztListItem *(*add)(void *object, const void *element);
  ztListItem *(*take)(void *object);
  void *(*getFront)(const void *object);
  void *(*getBack)(const void *object);
  int32_t (*isEmpty)(const void *object);
};

// One way to use an adaptor. A deque is a queue or a stack, either way round.
struct Use {
  const char *name;
  ztCtor constructor;
  int containersBelow;
  bool addsAtBack;
  bool takesFromFront;
  Verbs (*verbs)();
};

std::ostream &operator<<(std::ostream &out, const Use &use) {
  return out << use.name;
}

template <auto table, auto add, auto take, auto getFront, auto getBack>
Verbs verbsOf() {
  const auto *methods = table();
  return {methods->*add, methods->*take, methods->*getFront, methods->*getBack, methods->isEmpty};
}

Verbs verbsOfStack() {
  const ztStackMethods *methods = ztStack_table();
  return {methods->push, methods->pop, nullptr, methods->getTop, methods->isEmpty};
}

using D = ztDequeMethods;
using Q = ztQueueMethods;
const Use uses[] = {
    {"ztDequeAsQueue", ztDeque_ctor, 1, true, true,
     verbsOf<ztDeque_table, &D::pushBack, &D::popFront, &D::getFront, &D::getBack>},
    {"ztDequeAsQueueBackwards", ztDeque_ctor, 1, false, false,
     verbsOf<ztDeque_table, &D::pushFront, &D::popBack, &D::getFront, &D::getBack>},
    {"ztDequeAsStack", ztDeque_ctor, 1, true, false,
     verbsOf<ztDeque_table, &D::pushBack, &D::popBack, &D::getFront, &D::getBack>},
    {"ztDequeAsStackBackwards", ztDeque_ctor, 1, false, true,
     verbsOf<ztDeque_table, &D::pushFront, &D::popFront, &D::getFront, &D::getBack>},
    {"ztQueue", ztQueue_ctor, 2, true, true,
     verbsOf<ztQueue_table, &Q::push, &Q::pop, &Q::getFront, &Q::getBack>},
    {"ztStack", ztStack_ctor, 2, true, false, verbsOfStack},
};

// All adaptors have the field in the same place.
ztDeque *&innerOf(const void *adaptor) {
  return static_cast<ztQueue *>(const_cast<void *>(adaptor))->inner;
}

int32_t compareNothing(const void *, const void *) {
  return 0;
}

class ztAdaptors : public testing::TestWithParam<std::tuple<Use, Policy>> {
 protected:
  ztAdaptors() {
    elements.configure(adaptor);
  }

  // The list at the bottom of an adaptor.
  ztList &listOf(const void *object) const {
    void *inner = innerOf(object);
    if (use.containersBelow > 1) inner = innerOf(inner);
    return *static_cast<ztList *>(inner);
  }
  Numbers numbers() const {
    return numbersOf(listOf(adaptor), elements);
  }
  const ztListItem *add(int32_t number) {
    return verbs.add(adaptor, elements.make(number));
  }
  // Releases the element that taking from the front hands over.
  const ztListItem *take() {
    void *element = use.takesFromFront ? verbs.getFront(adaptor) : nullptr;
    const ztListItem *item = verbs.take(adaptor);
    if (element != nullptr) elements.release(element);
    return item;
  }
  const Policy policy = std::get<Policy>(GetParam());
  const Use use = std::get<Use>(GetParam());
  Elements elements{policy};
  NoneLost live;  // from here on: the elements keep an object of their own
  Adaptor adaptor{use.constructor};
  ztSequenceContainer &fields = adaptor.fields();
  const Verbs verbs = use.verbs();
};

INSTANTIATE_TEST_SUITE_P(All, ztAdaptors,
                         testing::Combine(testing::ValuesIn(uses), testing::ValuesIn(allPolicies)),
                         [](const auto &test) {
                           return std::string(std::get<Use>(test.param).name) + "_" +
                                  policyName(std::get<Policy>(test.param));
                         });

}  // namespace

TEST_P(ztAdaptors, NewOneIsEmptyAndHasNothingToTake) {
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(verbs.isEmpty(adaptor), 1);
    EXPECT_EQ(numbers(), Numbers());
    EXPECT_EQ(adaptor->getSize(adaptor), 0);
    EXPECT_EQ(verbs.getBack(adaptor), nullptr);
    if (verbs.getFront != nullptr) {
      EXPECT_EQ(verbs.getFront(adaptor), nullptr);
    }
    EXPECT_EQ(verbs.take(adaptor), nullptr);
  }
}

TEST_P(ztAdaptors, ElementsComeOutInOrderAndResultsAreTheLists) {
  const ztList &list = listOf(adaptor);
  for (const int32_t number : {1, 2, 3, 0}) {
    const ztListItem *item = add(number);
    EXPECT_EQ(item, use.addsAtBack ? list.tail : list.head);
  }
  EXPECT_EQ(numbers(), use.addsAtBack ? Numbers({1, 2, 3, 0}) : Numbers({0, 3, 2, 1}));
  const Numbers out = use.addsAtBack == use.takesFromFront ? Numbers{1, 2, 3, 0} : Numbers{0, 3, 2, 1};
  for (int32_t i = 0; i < 4; ++i) {
    EXPECT_EQ(adaptor->getSize(adaptor), 4 - i);
    EXPECT_EQ(verbs.isEmpty(adaptor), 0);
    EXPECT_EQ(verbs.getBack(adaptor), list.tail->data);
    if (verbs.getFront != nullptr) {
      EXPECT_EQ(verbs.getFront(adaptor), list.head->data);
    }
    EXPECT_EQ(elements.numberOf((use.takesFromFront ? list.head : list.tail)->data),
              out[static_cast<size_t>(i)]);
    const ztListItem *item = take();
    EXPECT_EQ(item, use.takesFromFront ? list.head : list.tail);
  }
  EXPECT_EQ(verbs.isEmpty(adaptor), 1);
}

TEST_P(ztAdaptors, TakingFromTheFrontHandsTheElementOverAndFromTheBackReleasesIt) {
  add(1);
  void *element = listOf(adaptor).head->data;
  const int32_t before = live.made();
  verbs.take(adaptor);
  const bool isReleased = !use.takesFromFront && policy == Policy::constructed;
  EXPECT_EQ(before - live.made(), isReleased ? 1 : 0);
  if (!use.takesFromFront) return;
  EXPECT_EQ(elements.numberOf(element), 1);
  elements.release(element);
}

TEST_P(ztAdaptors, NoElementAddsNothingUnlessByPointer) {
  const bool kept = policy == Policy::byPointer;
  EXPECT_EQ(verbs.add(adaptor, nullptr) != nullptr, kept);
  EXPECT_EQ(adaptor->getSize(adaptor), kept ? 1 : 0);
}

TEST_P(ztAdaptors, SettersReachTheListAndStayInTheAdaptor) {
  adaptor->setElementSize(adaptor, 24, 1);
  adaptor->setElementConstructor(adaptor, CountedTwin_ctor);
  adaptor->setCompareFunction(adaptor, compareNothing);
  adaptor->setAllowDuplicate(adaptor, 3);
  EXPECT_EQ(adaptor->getElementSize(adaptor), 24);
  for (const void *one : {static_cast<const void *>(&fields), static_cast<const void *>(&listOf(adaptor))}) {
    const auto *set = static_cast<const ztSequenceContainer *>(one);
    EXPECT_EQ(set->elementSize, 24);
    EXPECT_EQ(set->byPointer, 1U);
    EXPECT_EQ(set->elementConstructor, CountedTwin_ctor);
    EXPECT_EQ(set->compareFunction, compareNothing);
    EXPECT_EQ(set->allowDuplicate, 3U);
  }
}

TEST_P(ztAdaptors, ItemManagerAndItemConstructorStayItsOwn) {
  const Adaptor manager(ztSequenceContainer_ctor);
  EXPECT_EQ(fields.itemManager, &fields);
  EXPECT_EQ(fields.itemConstructor, nullptr);
  adaptor->setItemManager(adaptor, manager);
  adaptor->setItemConstructor(adaptor, ztContainerItem_ctor);
  EXPECT_EQ(fields.itemManager, &manager.fields());
  EXPECT_EQ(fields.itemConstructor, ztContainerItem_ctor);
  EXPECT_EQ(innerOf(adaptor)->itemManager, innerOf(adaptor));
  EXPECT_EQ(listOf(adaptor).itemManager, &listOf(adaptor));
  EXPECT_EQ(listOf(adaptor).itemConstructor, ztListItem_ctor);
}

TEST_P(ztAdaptors, CopyHasAnInnerContainerOfItsOwn) {
  for (const int32_t number : {0, 1, 2}) add(number);
  innerOf(adaptor)->refCount = 4;
  Adaptor copy = adaptor.copy();
  innerOf(adaptor)->refCount = 1;
  ASSERT_NE(innerOf(copy), innerOf(adaptor));
  EXPECT_EQ(copy.fields().itemManager, &copy.fields());
  EXPECT_EQ(innerOf(copy)->refCount, 1);
  EXPECT_EQ(innerOf(copy)->klass, innerOf(adaptor)->klass);
  EXPECT_EQ(copy.fields().elementSize, fields.elementSize);
  EXPECT_EQ(listOf(copy).elementSize, fields.elementSize);
  EXPECT_EQ(numbersOf(listOf(copy), elements), numbers());
  EXPECT_EQ(listOf(copy).head->data == listOf(adaptor).head->data, policy == Policy::byPointer);
  EXPECT_EQ(copy->getSize(copy), 3);
  verbs.add(copy, elements.make(9));
  EXPECT_EQ(copy->getSize(copy), 4);
  EXPECT_EQ(adaptor->getSize(adaptor), 3);
  adaptor = std::move(copy);
  EXPECT_EQ(numbers(), use.addsAtBack ? Numbers({0, 1, 2, 9}) : Numbers({9, 2, 1, 0}));
}

TEST_P(ztAdaptors, CloneThatCannotCopyAnElementFailsAndOwnsNothing) {
  adaptor->setElementConstructor(adaptor, Counted_ctor);
  for (const int32_t number : {1, 2}) verbs.add(adaptor, counted(number));
  static_cast<Counted *>(listOf(adaptor).tail->data)->value = refusesToClone;
  void *copy = static_cast<const ztClassFunctions *>(fields.klass->classTable)->newop();
  EXPECT_EQ(adaptor->clone(adaptor, copy), nullptr);
  EXPECT_EQ(live.made(), 2);
  ztm_free(copy);
  EXPECT_EQ(adaptor->getSize(adaptor), 2);
}

TEST_P(ztAdaptors, DestroyReleasesOneReferenceOfTheInnerContainer) {
  const Deque inner(innerOf(adaptor));
  inner.fields().refCount = 3;
  for (int i = 0; i < 2; ++i) {
    adaptor->destroy(adaptor);
    EXPECT_EQ(inner.fields().refCount, 2);
    EXPECT_EQ(innerOf(adaptor), nullptr);
  }
  inner.fields().refCount = 1;
}

TEST_P(ztAdaptors, AssignCopiesNothing) {
  const Adaptor other(use.constructor);
  elements.configure(other);
  verbs.add(other, elements.make(1));
  EXPECT_EQ(adaptor->assign(adaptor, other), 1);
  EXPECT_EQ(adaptor->getSize(adaptor), 0);
  EXPECT_NE(innerOf(adaptor), innerOf(other));
}

TEST_P(ztAdaptors, WithoutAnInnerContainerSettingsStayAndNothingElseIsDone) {
  ztBaseClass_of(innerOf(adaptor))->unRef(innerOf(adaptor));
  innerOf(adaptor) = nullptr;
  EXPECT_EQ(add(1), nullptr);
  EXPECT_EQ(verbs.take(adaptor), nullptr);
  EXPECT_EQ(verbs.getBack(adaptor), nullptr);
  if (verbs.getFront != nullptr) {
    EXPECT_EQ(verbs.getFront(adaptor), nullptr);
  }
  EXPECT_EQ(verbs.isEmpty(adaptor), 1);
  EXPECT_EQ(adaptor->getSize(adaptor), 0);
  adaptor->setElementSize(adaptor, 4, 1);
  adaptor->setElementConstructor(adaptor, Counted_ctor);
  adaptor->setCompareFunction(adaptor, compareNothing);
  adaptor->setAllowDuplicate(adaptor, 1);
  EXPECT_EQ(fields.elementSize, 4);
  EXPECT_EQ(fields.elementConstructor, Counted_ctor);
  EXPECT_EQ(fields.compareFunction, compareNothing);
  EXPECT_EQ(fields.allowDuplicate, 1U);
  EXPECT_EQ(innerOf(adaptor.copy()), nullptr);
}

TEST_P(ztAdaptors, CreateWithoutMemoryFailsAndLeavesASafeObject) {
  for (int fault = 0; fault < use.containersBelow; ++fault) {
    const Adaptor object(static_cast<const ztClassFunctions *>(fields.klass->classTable)->newop());
    const Fault injected(fault);
    EXPECT_EQ(adaptor->create(object), 0);
    EXPECT_TRUE(injected.end());
    EXPECT_EQ(innerOf(object), nullptr);
    EXPECT_EQ(adaptor->getSize(object), 0);
  }
}

// Routing -----------------------------------------------------------------------------------------

// A list that notes its calls, and whose looks at itself say what is not so.
#define LyingList_FIELDS ztList_FIELDS
#define LyingList_METHODS ztList_METHODS
ZT_DECLARE_CLASS(LyingList)

static void lyingListMethods(LyingListMethods *methods) {
  methods->getSize = [](const void *) { return 77; };
  methods->getBack = methods->getFront = [](const void *) -> void * { return nullptr; };
  note<"getSize", &LyingListMethods::getSize>(methods);
  note<"getBack", &LyingListMethods::getBack>(methods);
  note<"getFront", &LyingListMethods::getFront>(methods);
  note<"pushBack", &LyingListMethods::pushBack>(methods);
  note<"pushFront", &LyingListMethods::pushFront>(methods);
  note<"popBack", &LyingListMethods::popBack>(methods);
  note<"popFront", &LyingListMethods::popFront>(methods);
  note<"setElementSize", &LyingListMethods::setElementSize>(methods);
  note<"setElementConstructor", &LyingListMethods::setElementConstructor>(methods);
  note<"setCompareFunction", &LyingListMethods::setCompareFunction>(methods);
  note<"setAllowDuplicate", &LyingListMethods::setAllowDuplicate>(methods);
  note<"setItemConstructor", &LyingListMethods::setItemConstructor>(methods);
  note<"setItemManager", &LyingListMethods::setItemManager>(methods);
}

ZT_DEFINE_CLASS(LyingList, ztList, lyingListMethods)

// A deque that says of itself what is not so.
#define LyingDeque_FIELDS ztDeque_FIELDS
#define LyingDeque_METHODS ztDeque_METHODS
ZT_DECLARE_CLASS(LyingDeque)

static void lyingDequeMethods(LyingDequeMethods *methods) {
  methods->getSize = [](const void *) { return 77; };
  methods->isEmpty = [](const void *) { return 5; };
  std::swap(methods->getBack, methods->getFront);
}

ZT_DEFINE_CLASS(LyingDeque, ztDeque, lyingDequeMethods)

namespace {

// Gives an adaptor another inner container, and sets it up for integers.
void setInner(void *adaptor, ztCtor constructor) {
  ztBaseClass_of(innerOf(adaptor))->unRef(innerOf(adaptor));
  innerOf(adaptor) = static_cast<ztDeque *>(constructor(nullptr, 1));
  ztSequenceContainer_of(adaptor)->setElementSize(adaptor, sizeof(int32_t), 0);
}

class ztDequeOverAHostsList : public testing::Test {
 protected:
  ztDequeOverAHostsList() {
    setInner(deque, LyingList_ctor);
    taken();
  }
  ~ztDequeOverAHostsList() override {
    atEachNote = nullptr;
  }

  const Deque deque{ztDeque_ctor};
  const int32_t number = 5;
};

}  // namespace

TEST_F(ztDequeOverAHostsList, LooksReadTheListsFieldsAndCallNothing) {
  const ztList &lying = *deque.fields().inner;
  deque->pushBack(deque, &number);
  taken();
  EXPECT_EQ(deque->getSize(deque), 1);
  EXPECT_EQ(deque->isEmpty(deque), 0);
  EXPECT_EQ(deque->getBack(deque), lying.tail->data);
  EXPECT_EQ(deque->getFront(deque), lying.head->data);
  EXPECT_EQ(taken(), Notes());
}

TEST_F(ztDequeOverAHostsList, PushesAndPopsCallTheList) {
  deque->pushBack(deque, &number);
  deque->pushFront(deque, &number);
  deque->pushBack(deque, &number);
  deque->popBack(deque);
  void *element = deque->getFront(deque);
  deque->popFront(deque);
  ztm_free(element);
  EXPECT_EQ(taken(), Notes({"pushBack", "pushFront", "pushBack", "popBack", "popFront"}));
}

TEST_F(ztDequeOverAHostsList, SettersStoreInTheDequeFirst) {
  const ztDeque &set = deque.fields();
  std::vector<std::vector<bool>> stored;
  atEachNote = [&] {
    stored.push_back({set.elementSize == 16 && set.byPointer == 1, set.elementConstructor == Counted_ctor,
                      set.compareFunction == compareNothing, set.allowDuplicate == 1});
  };
  deque->setElementSize(deque, 16, 1);
  deque->setElementConstructor(deque, Counted_ctor);
  deque->setCompareFunction(deque, compareNothing);
  deque->setAllowDuplicate(deque, 1);
  EXPECT_EQ(taken(),
            Notes({"setElementSize 16", "setElementConstructor", "setCompareFunction", "setAllowDuplicate"}));
  const std::vector<std::vector<bool>> oneByOne = {{true, false, false, false},
                                                   {true, true, false, false},
                                                   {true, true, true, false},
                                                   {true, true, true, true}};
  EXPECT_EQ(stored, oneByOne);
  deque->setItemManager(deque, nullptr);
  deque->setItemConstructor(deque, nullptr);
  EXPECT_EQ(taken(), Notes()) << "these are not handed on";
}

TEST_F(ztDequeOverAHostsList, CopyKeepsTheListsClass) {
  deque->pushBack(deque, &number);
  const Deque copy = deque.copy();
  EXPECT_STREQ(copy.fields().inner->klass->name, "LyingList");
  EXPECT_EQ(copy->getSize(copy), 1);
}

TEST(ztQueue, AsksTheDequeOfAHost) {
  const Queue queue(ztQueue_ctor);
  setInner(queue, LyingDeque_ctor);
  for (const int32_t number : {1, 2, 3}) queue->push(queue, &number);
  EXPECT_EQ(queue->getSize(queue), 77);
  EXPECT_EQ(queue->isEmpty(queue), 5);
  EXPECT_EQ(*static_cast<int32_t *>(queue->getFront(queue)), 3);
  EXPECT_EQ(*static_cast<int32_t *>(queue->getBack(queue)), 1);
}

TEST(ztStack, AsksTheDequeOfAHost) {
  const Stack stack(ztStack_ctor);
  setInner(stack, LyingDeque_ctor);
  for (const int32_t number : {1, 2, 3}) stack->push(stack, &number);
  EXPECT_EQ(stack->getSize(stack), 77);
  EXPECT_EQ(stack->isEmpty(stack), 5);
  EXPECT_EQ(*static_cast<int32_t *>(stack->getTop(stack)), 1);
}

// The typed adaptors ------------------------------------------------------------------------------

TEST(ztAdaptors, PtrQueueAndPtrStackKeepPointers) {
  struct {
    ztCtor constructor;
    ztCompareFunc compare;
  } const classes[] = {{ztPtrQueue_ctor, ztPtrQueue_compare_func_ptr},
                       {ztPtrStack_ctor, ztPtrStack_compare_func_ptr}};
  for (const auto &row : classes) {
    const Queue queue(row.constructor);
    const ztList &list = *queue.fields().inner->inner;
    EXPECT_EQ(list.elementSize, 8);
    EXPECT_EQ(list.byPointer, 1U);
    EXPECT_EQ(list.compareFunction, row.compare);
    // Adding and taking out have the same slots in both.
    const int32_t numbers[2] = {1, 2};
    for (const int32_t &number : numbers) queue->push(queue, &number);
    EXPECT_EQ(list.head->data, &numbers[0]);
    EXPECT_EQ(list.tail->data, &numbers[1]);
    queue->pop(queue);
    EXPECT_EQ(list.head->data, &numbers[row.constructor == ztPtrQueue_ctor ? 1 : 0]);
  }
}

// Against a model ---------------------------------------------------------------------------------

// Uses an adaptor in all ways in which it can be used: a deque in four.
TEST_P(ztAdaptors, BehaveAsADequeUnderRandomOperations) {
  std::vector<Use> ways;
  for (const Use &way : uses) {
    if (way.constructor == use.constructor) ways.push_back(way);
  }
  std::mt19937 random(7);
  std::deque<int32_t> model;
  for (int i = 0; i < scale(20000) && !HasFailure(); ++i) {
    const Use &way = ways[random() % ways.size()];
    if (random() % 2 == 0) {
      const auto number = static_cast<int32_t>(random() % 1000);
      model.insert(way.addsAtBack ? model.end() : model.begin(), number);
      EXPECT_NE(way.verbs().add(adaptor, elements.make(number)), nullptr);
    } else {
      void *front = way.takesFromFront && !model.empty() ? way.verbs().getFront(adaptor) : nullptr;
      if (!model.empty()) model.erase(way.takesFromFront ? model.begin() : model.end() - 1);
      EXPECT_EQ(way.verbs().take(adaptor) == nullptr, model.empty());
      if (front != nullptr) elements.release(front);
    }
    if (i % 1000 == 999) adaptor = adaptor.copy();
    ASSERT_EQ(adaptor->getSize(adaptor), static_cast<int32_t>(model.size()));
    ASSERT_EQ(verbs.isEmpty(adaptor), model.empty());
    if (model.empty()) continue;
    ASSERT_EQ(elements.numberOf(verbs.getBack(adaptor)), model.back());
    ASSERT_EQ(elements.numberOf(listOf(adaptor).head->data), model.front());
  }
  EXPECT_EQ(numbers(), Numbers(model.begin(), model.end()));
}
