#include "containers/ztdeque.h"
#include "containers/ztqueue.h"
#include "containers/ztqueues.h"
#include "containers/ztstack.h"
#include "containers/ztstacks.h"

#include "containers/ztlists.h"
#include "core/ztmem.h"
#include "io/ztstring.h"
#include "tests/containers/elements.hh"
#include "tests/helpers/faults.hh"
#include "tests/helpers/scale.hh"

#include <gtest/gtest.h>

#include <deque>
#include <random>

namespace {

void release(void *object) {
  ztBaseClass_of(object)->unRef(object);
}

template <typename C>
C *make(ztCtor constructor) {
  return static_cast<C *>(constructor(nullptr, 1));
}

ztDeque *newDeque() {
  return make<ztDeque>(ztDeque_ctor);
}

ztQueue *newQueue() {
  return make<ztQueue>(ztQueue_ctor);
}

ztStack *newStack() {
  return make<ztStack>(ztStack_ctor);
}

// The list at the bottom of an adaptor.
ztList *listOf(const ztDeque *deque) {
  return deque->inner;
}

template <typename Adaptor>
ztList *listOf(const Adaptor *adaptor) {
  return adaptor->inner->inner;
}

int32_t compareNothing(const void *, const void *) {
  return 0;
}

template <typename Adaptor>
struct Use;
template <>
struct Use<ztDeque> {
  static constexpr ztCtor ctor = ztDeque_ctor;
  static constexpr const char *name = "ztDeque";
  static constexpr const char *innerName = "ztList";
  static constexpr int depth = 1;  // containers below it
  static void *newop() {
    return ztDeque_newop();
  }
  static void push(void *object, const void *element) {
    ztDeque_of(object)->pushBack(object, element);
  }
  static int32_t isEmpty(const void *object) {
    return ztDeque_of(object)->isEmpty(object);
  }
};
template <>
struct Use<ztQueue> {
  static constexpr ztCtor ctor = ztQueue_ctor;
  static constexpr const char *name = "ztQueue";
  static constexpr const char *innerName = "ztDeque";
  static constexpr int depth = 2;
  static void *newop() {
    return ztQueue_newop();
  }
  static void push(void *object, const void *element) {
    ztQueue_of(object)->push(object, element);
  }
  static int32_t isEmpty(const void *object) {
    return ztQueue_of(object)->isEmpty(object);
  }
};
template <>
struct Use<ztStack> {
  static constexpr ztCtor ctor = ztStack_ctor;
  static constexpr const char *name = "ztStack";
  static constexpr const char *innerName = "ztDeque";
  static constexpr int depth = 2;
  static void *newop() {
    return ztStack_newop();
  }
  static void push(void *object, const void *element) {
    ztStack_of(object)->push(object, element);
  }
  static int32_t isEmpty(const void *object) {
    return ztStack_of(object)->isEmpty(object);
  }
};

// What holds for all three alike.
template <typename Adaptor>
class EachAdaptor : public ::testing::Test {
 protected:
  EachAdaptor() : adaptor(make<Adaptor>(Use<Adaptor>::ctor)), methods(ztSequenceContainer_of(adaptor)) {}
  ~EachAdaptor() override {
    release(adaptor);
  }

  Adaptor *adaptor;
  const ztSequenceContainerMethods *methods;
};

using Adaptors = ::testing::Types<ztDeque, ztQueue, ztStack>;
TYPED_TEST_SUITE(EachAdaptor, Adaptors);

}  // namespace

TYPED_TEST(EachAdaptor, OwnsOneInnerContainer) {
  using Of = Use<TypeParam>;
  const ztClass *klass = ztOOP_classOf(this->adaptor);
  EXPECT_STREQ(klass->name, Of::name);
  EXPECT_STREQ(klass->parent->name, "ztSequenceContainer");
  EXPECT_EQ(klass->version, 1U);
  ASSERT_NE(this->adaptor->inner, nullptr);
  EXPECT_STREQ(this->adaptor->inner->klass->name, Of::innerName);
  EXPECT_EQ(this->adaptor->inner->refCount, 1);
  EXPECT_EQ(listOf(this->adaptor)->itemConstructor, ztListItem_ctor);
}

TYPED_TEST(EachAdaptor, NewOneIsEmpty) {
  EXPECT_EQ(Use<TypeParam>::isEmpty(this->adaptor), 1);
  EXPECT_EQ(this->methods->getSize(this->adaptor), 0);
}

TYPED_TEST(EachAdaptor, SettersReachTheListAndStayInTheAdaptor) {
  this->methods->setElementSize(this->adaptor, 24, 1);
  this->methods->setElementConstructor(this->adaptor, Counted_ctor);
  this->methods->setCompareFunction(this->adaptor, compareNothing);
  this->methods->setAllowDuplicate(this->adaptor, 3);
  const ztList *list = listOf(this->adaptor);
  EXPECT_EQ(this->adaptor->elementSize, 24);
  EXPECT_EQ(this->adaptor->byPointer, 1U);
  EXPECT_EQ(this->adaptor->elementConstructor, Counted_ctor);
  EXPECT_EQ(this->adaptor->compareFunction, compareNothing);
  EXPECT_EQ(this->adaptor->allowDuplicate, 3U);
  EXPECT_EQ(list->elementSize, 24);
  EXPECT_EQ(list->byPointer, 1U);
  EXPECT_EQ(list->elementConstructor, Counted_ctor);
  EXPECT_EQ(list->compareFunction, compareNothing);
  EXPECT_EQ(list->allowDuplicate, 3U);
  EXPECT_EQ(this->methods->getElementSize(this->adaptor), 24);
}

TYPED_TEST(EachAdaptor, ItemManagerAndItemConstructorStayItsOwn) {
  auto *manager = make<ztSequenceContainer>(ztSequenceContainer_ctor);
  EXPECT_EQ(this->adaptor->itemManager, this->adaptor);
  EXPECT_EQ(this->adaptor->itemConstructor, nullptr);
  this->methods->setItemManager(this->adaptor, manager);
  this->methods->setItemConstructor(this->adaptor, ztContainerItem_ctor);
  EXPECT_EQ(this->adaptor->itemManager, manager);
  EXPECT_EQ(this->adaptor->itemConstructor, ztContainerItem_ctor);
  EXPECT_EQ(this->adaptor->inner->itemManager, this->adaptor->inner);
  EXPECT_EQ(listOf(this->adaptor)->itemManager, listOf(this->adaptor));
  EXPECT_EQ(listOf(this->adaptor)->itemConstructor, ztListItem_ctor);
  release(manager);
}

TYPED_TEST(EachAdaptor, CopyHasAnInnerContainerOfItsOwn) {
  using Of = Use<TypeParam>;
  for (const Policy policy : allPolicies) {
    Elements elements(policy);
    const LiveCount live;
    auto *source = make<TypeParam>(Of::ctor);
    elements.configure(source);
    for (int32_t number = 0; number < 3; ++number) Of::push(source, elements.make(number));
    source->inner->refCount = 4;

    auto *copy = static_cast<TypeParam *>(Of::newop());
    ASSERT_EQ(this->methods->clone(source, copy), copy);
    EXPECT_EQ(copy->itemManager, copy);
    ASSERT_NE(copy->inner, source->inner);
    EXPECT_EQ(copy->inner->refCount, 1);
    EXPECT_EQ(copy->inner->klass, source->inner->klass);
    EXPECT_EQ(copy->elementSize, source->elementSize);
    EXPECT_EQ(listOf(copy)->elementSize, source->elementSize);
    EXPECT_EQ(this->methods->getSize(copy), 3);
    for (int32_t i = 0; i < 3; ++i) {
      const void *copied = ztList_of(listOf(copy))->getAt(listOf(copy), i);
      EXPECT_EQ(elements.numberOf(copied), i);
      EXPECT_EQ(copied == ztList_of(listOf(source))->getAt(listOf(source), i), policy == Policy::byPointer);
    }
    Of::push(copy, elements.make(9));
    EXPECT_EQ(this->methods->getSize(copy), 4);
    EXPECT_EQ(this->methods->getSize(source), 3);
    source->inner->refCount = 1;
    release(source);
    EXPECT_EQ(elements.numberOf(ztList_of(listOf(copy))->getBack(listOf(copy))), 9);
    release(copy);
    EXPECT_EQ(live.made(), 0) << policyName(policy);
  }
}

TYPED_TEST(EachAdaptor, CloneThatCannotCopyAnElementFailsAndOwnsNothing) {
  using Of = Use<TypeParam>;
  const LiveCount live;
  this->methods->setElementConstructor(this->adaptor, Counted_ctor);
  Counted *element = newCounted(1);
  Of::push(this->adaptor, element);
  Of::push(this->adaptor, element);
  release(element);
  static_cast<Counted *>(ztList_of(listOf(this->adaptor))->getBack(listOf(this->adaptor)))->value =
      refusesToClone;
  void *copy = Of::newop();
  EXPECT_EQ(this->methods->clone(this->adaptor, copy), nullptr);
  EXPECT_EQ(live.made(), 2);
  ztm_free(copy);
  EXPECT_EQ(this->methods->getSize(this->adaptor), 2);
}

TYPED_TEST(EachAdaptor, DestroyReleasesOneReferenceOfTheInnerContainer) {
  auto *inner = this->adaptor->inner;
  inner->refCount = 3;
  this->methods->destroy(this->adaptor);
  EXPECT_EQ(inner->refCount, 2);
  EXPECT_EQ(this->adaptor->inner, nullptr);
  this->methods->destroy(this->adaptor);
  EXPECT_EQ(inner->refCount, 2);
  release(inner);
}

TYPED_TEST(EachAdaptor, AssignCopiesNothing) {
  using Of = Use<TypeParam>;
  auto *other = make<TypeParam>(Of::ctor);
  const int32_t number = 1;
  Of::push(other, &number);
  EXPECT_EQ(this->methods->assign(this->adaptor, other), 1);
  EXPECT_EQ(this->methods->getSize(this->adaptor), 0);
  EXPECT_NE(this->adaptor->inner, other->inner);
  release(other);
}

TYPED_TEST(EachAdaptor, IsSafeWithoutAnInnerContainer) {
  using Of = Use<TypeParam>;
  release(this->adaptor->inner);
  this->adaptor->inner = nullptr;
  const int32_t number = 1;
  Of::push(this->adaptor, &number);
  EXPECT_EQ(this->methods->getSize(this->adaptor), 0);
  EXPECT_EQ(Of::isEmpty(this->adaptor), 1);
  this->methods->setElementSize(this->adaptor, 4, 1);
  this->methods->setElementConstructor(this->adaptor, Counted_ctor);
  this->methods->setCompareFunction(this->adaptor, compareNothing);
  this->methods->setAllowDuplicate(this->adaptor, 1);
  EXPECT_EQ(this->adaptor->elementSize, 4);
  EXPECT_EQ(this->adaptor->elementConstructor, Counted_ctor);
  EXPECT_EQ(this->adaptor->compareFunction, compareNothing);
  EXPECT_EQ(this->adaptor->allowDuplicate, 1U);

  auto *copy = static_cast<TypeParam *>(Of::newop());
  EXPECT_EQ(this->methods->clone(this->adaptor, copy), copy);
  EXPECT_EQ(copy->inner, nullptr);
  release(copy);
}

TYPED_TEST(EachAdaptor, CreateWithoutMemoryFailsAndLeavesASafeObject) {
  using Of = Use<TypeParam>;
  int failures = 0;
  for (int fault = 0;; ++fault, ++failures) {
    auto *object = static_cast<TypeParam *>(Of::newop());
    const Fault injected(fault);
    const int32_t created = this->methods->create(object);
    if (!injected.end()) {
      EXPECT_EQ(created, 1);
      release(object);
      break;
    }
    EXPECT_EQ(created, 0) << fault;
    EXPECT_EQ(object->inner, nullptr) << fault;
    EXPECT_EQ(this->methods->getSize(object), 0) << fault;
    release(object);
  }
  EXPECT_EQ(failures, Of::depth);
}

TYPED_TEST(EachAdaptor, CloneWithoutMemoryFailsAndOwnsNothing) {
  using Of = Use<TypeParam>;
  const LiveCount live;
  this->methods->setElementConstructor(this->adaptor, Counted_ctor);
  Counted *element = newCounted(1);
  Of::push(this->adaptor, element);
  release(element);
  int failures = 0;
  for (int fault = 0;; ++fault, ++failures) {
    void *target = Of::newop();
    const Fault injected(fault);
    void *copy = this->methods->clone(this->adaptor, target);
    if (!injected.end()) {
      ASSERT_EQ(copy, target);
      EXPECT_EQ(live.made(), 2);
      release(copy);
      break;
    }
    EXPECT_EQ(copy, nullptr) << fault;
    EXPECT_EQ(live.made(), 1) << fault;
    ztm_free(target);
  }
  EXPECT_EQ(failures, Of::depth + 2) << "an item and its element besides the containers";
}

TEST(Adaptors, OperationsWithoutAnInnerContainerGiveNothing) {
  const int32_t number = 1;
  ztDeque *deque = newDeque();
  ztQueue *queue = newQueue();
  ztStack *stack = newStack();
  release(deque->inner);
  deque->inner = nullptr;
  release(queue->inner);
  queue->inner = nullptr;
  release(stack->inner);
  stack->inner = nullptr;
  EXPECT_EQ(ztDeque_of(deque)->pushBack(deque, &number), nullptr);
  EXPECT_EQ(ztDeque_of(deque)->pushFront(deque, &number), nullptr);
  EXPECT_EQ(ztDeque_of(deque)->popBack(deque), nullptr);
  EXPECT_EQ(ztDeque_of(deque)->popFront(deque), nullptr);
  EXPECT_EQ(ztDeque_of(deque)->getBack(deque), nullptr);
  EXPECT_EQ(ztDeque_of(deque)->getFront(deque), nullptr);
  EXPECT_EQ(ztQueue_of(queue)->push(queue, &number), nullptr);
  EXPECT_EQ(ztQueue_of(queue)->pop(queue), nullptr);
  EXPECT_EQ(ztQueue_of(queue)->getBack(queue), nullptr);
  EXPECT_EQ(ztQueue_of(queue)->getFront(queue), nullptr);
  EXPECT_EQ(ztStack_of(stack)->push(stack, &number), nullptr);
  EXPECT_EQ(ztStack_of(stack)->pop(stack), nullptr);
  EXPECT_EQ(ztStack_of(stack)->getTop(stack), nullptr);
  EXPECT_EQ(ztDeque_of(deque)->isEmpty(deque), 1);
  EXPECT_EQ(ztQueue_of(queue)->isEmpty(queue), 1);
  EXPECT_EQ(ztStack_of(stack)->isEmpty(stack), 1);
  release(deque);
  release(queue);
  release(stack);
}

// With each policy --------------------------------------------------------------------------------

namespace {

class AdaptorOf : public ::testing::TestWithParam<Policy> {
 protected:
  AdaptorOf() : elements(GetParam()), deque(newDeque()), queue(newQueue()), stack(newStack()) {
    elements.configure(deque);
    elements.configure(queue);
    elements.configure(stack);
  }
  ~AdaptorOf() override {
    release(deque);
    release(queue);
    release(stack);
    EXPECT_EQ(live.made(), 0) << "an element was lost";
  }

  ztListItem *push(int32_t number) {
    return ztQueue_of(queue)->push(queue, elements.make(number));
  }

  ztListItem *put(int32_t number) {
    return ztStack_of(stack)->push(stack, elements.make(number));
  }

  // Releases the element that taking from the front hands over.
  ztListItem *popFront() {
    void *element = ztDeque_of(deque)->getFront(deque);
    ztListItem *item = ztDeque_of(deque)->popFront(deque);
    if (element != nullptr) elements.release(element);
    return item;
  }

  ztListItem *pop() {
    void *element = ztQueue_of(queue)->getFront(queue);
    ztListItem *item = ztQueue_of(queue)->pop(queue);
    if (element != nullptr) elements.release(element);
    return item;
  }

  Elements elements;
  LiveCount live;  // from here on: the elements keep an object of their own
  ztDeque *deque;
  ztQueue *queue;
  ztStack *stack;
};

INSTANTIATE_TEST_SUITE_P(Policies, AdaptorOf, ::testing::ValuesIn(allPolicies),
                         [](const auto &test) { return policyName(test.param); });

}  // namespace

TEST_P(AdaptorOf, QueueIsFirstInFirstOut) {
  for (const int32_t number : {1, 2, 3}) push(number);
  EXPECT_EQ(elements.numberOf(ztQueue_of(queue)->getFront(queue)), 1);
  EXPECT_EQ(elements.numberOf(ztQueue_of(queue)->getBack(queue)), 3);
  EXPECT_EQ(ztQueue_of(queue)->getSize(queue), 3);
  EXPECT_EQ(ztQueue_of(queue)->isEmpty(queue), 0);
  pop();
  EXPECT_EQ(elements.numberOf(ztQueue_of(queue)->getFront(queue)), 2);
  pop();
  EXPECT_EQ(elements.numberOf(ztQueue_of(queue)->getFront(queue)), 3);
  pop();
  EXPECT_EQ(ztQueue_of(queue)->isEmpty(queue), 1);
  EXPECT_EQ(ztQueue_of(queue)->getFront(queue), nullptr);
  EXPECT_EQ(ztQueue_of(queue)->getBack(queue), nullptr);
}

TEST_P(AdaptorOf, StackIsLastInFirstOut) {
  for (const int32_t number : {1, 2, 3}) put(number);
  EXPECT_EQ(elements.numberOf(ztStack_of(stack)->getTop(stack)), 3);
  EXPECT_EQ(ztStack_of(stack)->getSize(stack), 3);
  EXPECT_EQ(ztStack_of(stack)->isEmpty(stack), 0);
  ztStack_of(stack)->pop(stack);
  EXPECT_EQ(elements.numberOf(ztStack_of(stack)->getTop(stack)), 2);
  ztStack_of(stack)->pop(stack);
  ztStack_of(stack)->pop(stack);
  EXPECT_EQ(ztStack_of(stack)->isEmpty(stack), 1);
  EXPECT_EQ(ztStack_of(stack)->getTop(stack), nullptr);
}

TEST_P(AdaptorOf, DequeWorksAtBothEnds) {
  const ztDequeMethods *methods = ztDeque_of(deque);
  methods->pushBack(deque, elements.make(2));
  methods->pushFront(deque, elements.make(1));
  methods->pushBack(deque, elements.make(3));
  EXPECT_EQ(elements.numberOf(methods->getFront(deque)), 1);
  EXPECT_EQ(elements.numberOf(methods->getBack(deque)), 3);
  EXPECT_EQ(methods->getSize(deque), 3);
  methods->popBack(deque);
  EXPECT_EQ(elements.numberOf(methods->getBack(deque)), 2);
  popFront();
  EXPECT_EQ(elements.numberOf(methods->getFront(deque)), 2);
  EXPECT_EQ(methods->isEmpty(deque), 0);
  methods->popBack(deque);
  EXPECT_EQ(methods->isEmpty(deque), 1);
  EXPECT_EQ(methods->getFront(deque), nullptr);
  EXPECT_EQ(methods->getBack(deque), nullptr);
}

TEST_P(AdaptorOf, ResultsAreTheLists) {
  const ztList *list = listOf(deque);
  const ztListItem *item = ztDeque_of(deque)->pushBack(deque, elements.make(1));
  EXPECT_EQ(item, list->tail);
  item = ztDeque_of(deque)->pushFront(deque, elements.make(2));
  EXPECT_EQ(item, list->head);
  ztDeque_of(deque)->pushBack(deque, elements.make(3));
  ztDeque_of(deque)->pushBack(deque, elements.make(4));
  EXPECT_EQ(ztDeque_of(deque)->getFront(deque), list->head->data);
  EXPECT_EQ(ztDeque_of(deque)->getBack(deque), list->tail->data);
  item = ztDeque_of(deque)->popBack(deque);
  EXPECT_EQ(item, list->tail);
  item = popFront();
  EXPECT_EQ(item, list->head);

  item = push(1);
  EXPECT_EQ(item, listOf(queue)->tail);
  item = push(2);
  EXPECT_EQ(item, listOf(queue)->tail);
  item = pop();
  EXPECT_EQ(item, listOf(queue)->head);
  EXPECT_EQ(pop(), nullptr);

  item = put(1);
  EXPECT_EQ(item, listOf(stack)->tail);
  item = put(2);
  EXPECT_EQ(item, listOf(stack)->tail);
  item = ztStack_of(stack)->pop(stack);
  EXPECT_EQ(item, listOf(stack)->tail);
  EXPECT_EQ(ztStack_of(stack)->pop(stack), nullptr);
}

TEST_P(AdaptorOf, PoppingWhenEmptyDoesNothing) {
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(ztDeque_of(deque)->popBack(deque), nullptr);
    EXPECT_EQ(ztDeque_of(deque)->popFront(deque), nullptr);
    EXPECT_EQ(ztQueue_of(queue)->pop(queue), nullptr);
    EXPECT_EQ(ztStack_of(stack)->pop(stack), nullptr);
    EXPECT_EQ(ztDeque_of(deque)->getSize(deque), 0);
    EXPECT_EQ(ztQueue_of(queue)->getSize(queue), 0);
    EXPECT_EQ(ztStack_of(stack)->getSize(stack), 0);
  }
}

TEST_P(AdaptorOf, NoElementAddsNothingUnlessByPointer) {
  const bool kept = GetParam() == Policy::byPointer;
  EXPECT_EQ(ztDeque_of(deque)->pushBack(deque, nullptr) != nullptr, kept);
  EXPECT_EQ(ztDeque_of(deque)->pushFront(deque, nullptr) != nullptr, kept);
  EXPECT_EQ(ztQueue_of(queue)->push(queue, nullptr) != nullptr, kept);
  EXPECT_EQ(ztStack_of(stack)->push(stack, nullptr) != nullptr, kept);
  EXPECT_EQ(ztDeque_of(deque)->getSize(deque), kept ? 2 : 0);
  EXPECT_EQ(ztQueue_of(queue)->getSize(queue), kept ? 1 : 0);
  EXPECT_EQ(ztStack_of(stack)->getSize(stack), kept ? 1 : 0);
}

TEST_P(AdaptorOf, TakingFromTheFrontHandsTheElementOver) {
  push(1);
  ztDeque_of(deque)->pushBack(deque, elements.make(2));
  const int32_t before = live.made();
  void *fromQueue = ztQueue_of(queue)->getFront(queue);
  void *fromDeque = ztDeque_of(deque)->getFront(deque);
  ztQueue_of(queue)->pop(queue);
  ztDeque_of(deque)->popFront(deque);
  EXPECT_EQ(live.made(), before);
  EXPECT_EQ(elements.numberOf(fromQueue), 1);
  EXPECT_EQ(elements.numberOf(fromDeque), 2);
  elements.release(fromQueue);
  elements.release(fromDeque);
}

TEST_P(AdaptorOf, TakingFromTheBackReleasesTheElement) {
  put(1);
  ztDeque_of(deque)->pushBack(deque, elements.make(2));
  const int32_t before = live.made();
  ztStack_of(stack)->pop(stack);
  ztDeque_of(deque)->popBack(deque);
  EXPECT_EQ(before - live.made(), GetParam() == Policy::constructed ? 2 : 0);
}

// Routing -----------------------------------------------------------------------------------------

namespace {

std::vector<std::string> calls;
const ztSequenceContainer *outer;    // the adaptor over the noting container
std::vector<int32_t> outerSettings;  // whether it held the setting when the noting container was called

}  // namespace

// A list that notes its calls, and whose looks at the ends say what is not so.
#define LyingList_FIELDS ztList_FIELDS
#define LyingList_METHODS ztList_METHODS
ZT_DECLARE_CLASS(LyingList)

static int32_t lyingListGetSize(const void *) {
  calls.push_back("getSize");
  return 77;
}

static void *lyingListGetBack(const void *) {
  calls.push_back("getBack");
  return nullptr;
}

static void *lyingListGetFront(const void *) {
  calls.push_back("getFront");
  return nullptr;
}

static ztListItem *lyingListPushBack(void *object, const void *element) {
  calls.push_back("pushBack");
  return ztList_table()->pushBack(object, element);
}

static ztListItem *lyingListPushFront(void *object, const void *element) {
  calls.push_back("pushFront");
  return ztList_table()->pushFront(object, element);
}

static ztListItem *lyingListPopBack(void *object) {
  calls.push_back("popBack");
  return ztList_table()->popBack(object);
}

static ztListItem *lyingListPopFront(void *object) {
  calls.push_back("popFront");
  return ztList_table()->popFront(object);
}

static void lyingListSetElementSize(void *object, int32_t size, uint32_t byPointer) {
  calls.push_back("setElementSize");
  outerSettings.push_back(outer->elementSize == size && outer->byPointer == byPointer);
  ztList_table()->setElementSize(object, size, byPointer);
}

static void lyingListSetElementConstructor(void *object, ztCtor constructor) {
  calls.push_back("setElementConstructor");
  outerSettings.push_back(outer->elementConstructor == constructor);
  ztList_table()->setElementConstructor(object, constructor);
}

static void lyingListSetCompareFunction(void *object, ztCompareFunc compare) {
  calls.push_back("setCompareFunction");
  outerSettings.push_back(outer->compareFunction == compare);
  ztList_table()->setCompareFunction(object, compare);
}

static void lyingListSetAllowDuplicate(void *object, uint32_t allow) {
  calls.push_back("setAllowDuplicate");
  outerSettings.push_back(outer->allowDuplicate == allow);
  ztList_table()->setAllowDuplicate(object, allow);
}

static void lyingListSetItemConstructor(void *object, ztCtor constructor) {
  calls.push_back("setItemConstructor");
  ztList_table()->setItemConstructor(object, constructor);
}

static void lyingListSetItemManager(void *object, void *manager) {
  calls.push_back("setItemManager");
  ztList_table()->setItemManager(object, manager);
}

static void lyingListMethods(LyingListMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, getSize, lyingListGetSize);
  ZT_OVERRIDE_METHOD(methods, getBack, lyingListGetBack);
  ZT_OVERRIDE_METHOD(methods, getFront, lyingListGetFront);
  ZT_OVERRIDE_METHOD(methods, pushBack, lyingListPushBack);
  ZT_OVERRIDE_METHOD(methods, pushFront, lyingListPushFront);
  ZT_OVERRIDE_METHOD(methods, popBack, lyingListPopBack);
  ZT_OVERRIDE_METHOD(methods, popFront, lyingListPopFront);
  ZT_OVERRIDE_METHOD(methods, setElementSize, lyingListSetElementSize);
  ZT_OVERRIDE_METHOD(methods, setElementConstructor, lyingListSetElementConstructor);
  ZT_OVERRIDE_METHOD(methods, setCompareFunction, lyingListSetCompareFunction);
  ZT_OVERRIDE_METHOD(methods, setAllowDuplicate, lyingListSetAllowDuplicate);
  ZT_OVERRIDE_METHOD(methods, setItemConstructor, lyingListSetItemConstructor);
  ZT_OVERRIDE_METHOD(methods, setItemManager, lyingListSetItemManager);
}

ZT_DEFINE_CLASS(LyingList, ztList, lyingListMethods)

// A deque that says of itself what is not so.
#define LyingDeque_FIELDS ztDeque_FIELDS
#define LyingDeque_METHODS ztDeque_METHODS
ZT_DECLARE_CLASS(LyingDeque)

static int32_t lyingDequeGetSize(const void *) {
  return 77;
}

static int32_t lyingDequeIsEmpty(const void *) {
  return 5;
}

static void *lyingDequeGetBack(const void *object) {
  return ztDeque_table()->getFront(object);
}

static void *lyingDequeGetFront(const void *object) {
  return ztDeque_table()->getBack(object);
}

static void lyingDequeMethods(LyingDequeMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, getSize, lyingDequeGetSize);
  ZT_OVERRIDE_METHOD(methods, isEmpty, lyingDequeIsEmpty);
  ZT_OVERRIDE_METHOD(methods, getBack, lyingDequeGetBack);
  ZT_OVERRIDE_METHOD(methods, getFront, lyingDequeGetFront);
}

ZT_DEFINE_CLASS(LyingDeque, ztDeque, lyingDequeMethods)

namespace {

using Calls = std::vector<std::string>;

// A deque whose list is a host's.
class DequeOverAHostsList : public ::testing::Test {
 protected:
  DequeOverAHostsList() : deque(newDeque()), methods(ztDeque_of(deque)) {
    outer = reinterpret_cast<const ztSequenceContainer *>(deque);
    release(deque->inner);
    deque->inner = make<ztList>(LyingList_ctor);
    methods->setElementSize(deque, sizeof(int32_t), 0);
    calls.clear();
    outerSettings.clear();
  }
  ~DequeOverAHostsList() override {
    release(deque);
  }

  ztDeque *deque;
  const ztDequeMethods *methods;
  const int32_t number = 5;
};

}  // namespace

TEST_F(DequeOverAHostsList, LooksReadTheListsFieldsAndCallNothing) {
  methods->pushBack(deque, &number);
  calls.clear();
  EXPECT_EQ(methods->getSize(deque), 1);
  EXPECT_EQ(methods->isEmpty(deque), 0);
  EXPECT_EQ(methods->getBack(deque), deque->inner->tail->data);
  EXPECT_EQ(methods->getFront(deque), deque->inner->head->data);
  EXPECT_EQ(calls, Calls());
}

TEST_F(DequeOverAHostsList, PushesAndPopsCallTheList) {
  methods->pushBack(deque, &number);
  methods->pushFront(deque, &number);
  methods->pushBack(deque, &number);
  methods->popBack(deque);
  void *element = methods->getFront(deque);
  methods->popFront(deque);
  ztm_free(element);
  EXPECT_EQ(calls, Calls({"pushBack", "pushFront", "pushBack", "popBack", "popFront"}));
}

TEST_F(DequeOverAHostsList, SettersStoreInTheDequeFirst) {
  methods->setElementSize(deque, 16, 1);
  methods->setElementConstructor(deque, Counted_ctor);
  methods->setCompareFunction(deque, compareNothing);
  methods->setAllowDuplicate(deque, 1);
  EXPECT_EQ(calls,
            Calls({"setElementSize", "setElementConstructor", "setCompareFunction", "setAllowDuplicate"}));
  EXPECT_EQ(outerSettings, std::vector<int32_t>({1, 1, 1, 1}));
}

TEST_F(DequeOverAHostsList, ItemSettersAreNotHandedOn) {
  methods->setItemManager(deque, nullptr);
  methods->setItemConstructor(deque, nullptr);
  EXPECT_EQ(calls, Calls());
}

TEST_F(DequeOverAHostsList, CopyKeepsTheListsClass) {
  methods->pushBack(deque, &number);
  auto *copy = static_cast<ztDeque *>(ztDeque_newop());
  methods->clone(deque, copy);
  EXPECT_STREQ(copy->inner->klass->name, "LyingList");
  EXPECT_EQ(methods->getSize(copy), 1);
  release(copy);
}

TEST(QueueOverAHostsDeque, AsksTheDeque) {
  ztQueue *queue = newQueue();
  release(queue->inner);
  queue->inner = make<ztDeque>(LyingDeque_ctor);
  ztQueue_of(queue)->setElementSize(queue, sizeof(int32_t), 0);
  for (const int32_t number : {1, 2, 3}) ztQueue_of(queue)->push(queue, &number);
  EXPECT_EQ(ztQueue_of(queue)->getSize(queue), 77);
  EXPECT_EQ(ztQueue_of(queue)->isEmpty(queue), 5);
  EXPECT_EQ(*static_cast<int32_t *>(ztQueue_of(queue)->getFront(queue)), 3);
  EXPECT_EQ(*static_cast<int32_t *>(ztQueue_of(queue)->getBack(queue)), 1);
  release(queue);
}

TEST(StackOverAHostsDeque, AsksTheDeque) {
  ztStack *stack = newStack();
  release(stack->inner);
  stack->inner = make<ztDeque>(LyingDeque_ctor);
  ztStack_of(stack)->setElementSize(stack, sizeof(int32_t), 0);
  for (const int32_t number : {1, 2, 3}) ztStack_of(stack)->push(stack, &number);
  EXPECT_EQ(ztStack_of(stack)->getSize(stack), 77);
  EXPECT_EQ(ztStack_of(stack)->isEmpty(stack), 5);
  EXPECT_EQ(*static_cast<int32_t *>(ztStack_of(stack)->getTop(stack)), 1);
  release(stack);
}

// The typed adaptors ------------------------------------------------------------------------------

TEST(PtrQueue, KeepsPointers) {
  auto *queue = make<ztPtrQueue>(ztPtrQueue_ctor);
  EXPECT_STREQ(queue->klass->parent->name, "ztQueue");
  EXPECT_EQ(queue->elementSize, 8);
  EXPECT_EQ(queue->byPointer, 1U);
  EXPECT_EQ(queue->compareFunction, ztPtrQueue_compare_func_ptr);
  EXPECT_EQ(listOf(queue)->elementSize, 8);
  EXPECT_EQ(listOf(queue)->byPointer, 1U);
  EXPECT_EQ(listOf(queue)->compareFunction, ztPtrQueue_compare_func_ptr);
  const int32_t numbers[2] = {1, 2};
  ztPtrQueue_of(queue)->push(queue, &numbers[0]);
  ztPtrQueue_of(queue)->push(queue, &numbers[1]);
  EXPECT_EQ(ztPtrQueue_of(queue)->getFront(queue), &numbers[0]);
  EXPECT_EQ(ztPtrQueue_of(queue)->getBack(queue), &numbers[1]);
  ztPtrQueue_of(queue)->pop(queue);
  EXPECT_EQ(ztPtrQueue_of(queue)->getFront(queue), &numbers[1]);
  release(queue);
}

TEST(PtrStack, KeepsPointers) {
  auto *stack = make<ztPtrStack>(ztPtrStack_ctor);
  EXPECT_STREQ(stack->klass->parent->name, "ztStack");
  EXPECT_EQ(stack->elementSize, 8);
  EXPECT_EQ(stack->byPointer, 1U);
  EXPECT_EQ(stack->compareFunction, ztPtrStack_compare_func_ptr);
  EXPECT_EQ(listOf(stack)->elementSize, 8);
  EXPECT_EQ(listOf(stack)->byPointer, 1U);
  EXPECT_EQ(listOf(stack)->compareFunction, ztPtrStack_compare_func_ptr);
  const int32_t numbers[2] = {1, 2};
  ztPtrStack_of(stack)->push(stack, &numbers[0]);
  ztPtrStack_of(stack)->push(stack, &numbers[1]);
  EXPECT_EQ(ztPtrStack_of(stack)->getTop(stack), &numbers[1]);
  ztPtrStack_of(stack)->pop(stack);
  EXPECT_EQ(ztPtrStack_of(stack)->getTop(stack), &numbers[0]);
  release(stack);
}

TEST(PtrAdaptors, CompareFunctionsOrderUnsignedAddresses) {
  const uintptr_t values[] = {0, 1, 0x7fffffffffffffff, 0x8000000000000000, UINTPTR_MAX};
  for (size_t i = 0; i < 5; ++i) {
    for (size_t j = 0; j < 5; ++j) {
      void *const first = reinterpret_cast<void *>(values[i]);
      void *const second = reinterpret_cast<void *>(values[j]);
      const int32_t expected = i == j ? 0 : i > j ? 1 : -1;
      EXPECT_EQ(ztPtrQueue_compare_func(&first, &second), expected);
      EXPECT_EQ(ztPtrQueue_compare_func_ptr(first, second), expected);
      EXPECT_EQ(ztPtrStack_compare_func(&first, &second), expected);
      EXPECT_EQ(ztPtrStack_compare_func_ptr(first, second), expected);
    }
  }
}

TEST(Adaptors, AreMadeByName) {
  for (const char *name : {"ztDeque", "ztQueue", "ztStack", "ztPtrQueue", "ztPtrStack"}) {
    void *adaptor = ztNewFromName(name);
    ASSERT_NE(adaptor, nullptr) << name;
    EXPECT_STREQ(ztBaseClassClassName(nullptr, adaptor), name);
    EXPECT_EQ(ztSequenceContainer_of(adaptor)->getSize(adaptor), 0);
    release(adaptor);
  }
}

TEST(Adaptors, QueueOfStringsHandsThemOver) {
  ztQueue *queue = newQueue();
  ztQueue_of(queue)->setElementConstructor(queue, ztString_ctor);
  for (const char *text : {"first", "second"}) {
    ztQueue_of(queue)->push(queue, ztString_functions()->newString(nullptr, text));
  }
  void *string = ztQueue_of(queue)->getFront(queue);
  ztQueue_of(queue)->pop(queue);
  EXPECT_STREQ(ztString_of(string)->get(string), "first");
  release(string);
  release(queue);
}

// Against a model ---------------------------------------------------------------------------------

TEST_P(AdaptorOf, DequeBehavesAsADequeUnderRandomOperations) {
  const ztDequeMethods *methods = ztDeque_of(deque);
  std::mt19937 random(7);
  std::deque<int32_t> model;
  for (int i = 0; i < scale(40000) && !HasFailure(); ++i) {
    const auto number = static_cast<int32_t>(random() % 1000);
    const uint32_t choice = random() % 8;
    if (choice < 2) {
      model.push_back(number);
      EXPECT_NE(methods->pushBack(deque, elements.make(number)), nullptr);
    } else if (choice < 4) {
      model.push_front(number);
      EXPECT_NE(methods->pushFront(deque, elements.make(number)), nullptr);
    } else if (choice < 6) {
      if (!model.empty()) model.pop_back();
      EXPECT_EQ(methods->popBack(deque) == nullptr, model.empty());
    } else {
      if (!model.empty()) model.pop_front();
      EXPECT_EQ(popFront() == nullptr, model.empty());
    }
    if (i % 1000 == 999) {
      auto *copy = static_cast<ztDeque *>(ztDeque_newop());
      methods->clone(deque, copy);
      release(deque);
      deque = copy;
    }
    ASSERT_EQ(methods->getSize(deque), static_cast<int32_t>(model.size()));
    ASSERT_EQ(methods->isEmpty(deque), model.empty());
    if (model.empty()) continue;
    ASSERT_EQ(elements.numberOf(methods->getFront(deque)), model.front());
    ASSERT_EQ(elements.numberOf(methods->getBack(deque)), model.back());
  }
  while (methods->popBack(deque) != nullptr) {
    model.pop_back();
    ASSERT_EQ(elements.numberOf(methods->getBack(deque)), model.back());
  }
}

TEST_P(AdaptorOf, QueueBehavesAsAQueueUnderRandomOperations) {
  std::mt19937 random(8);
  std::deque<int32_t> model;
  for (int i = 0; i < scale(40000) && !HasFailure(); ++i) {
    const auto number = static_cast<int32_t>(random() % 1000);
    if (random() % 2 == 0) {
      model.push_back(number);
      EXPECT_NE(push(number), nullptr);
    } else {
      if (!model.empty()) model.pop_front();
      EXPECT_EQ(pop() == nullptr, model.empty());
    }
    ASSERT_EQ(ztQueue_of(queue)->getSize(queue), static_cast<int32_t>(model.size()));
    ASSERT_EQ(ztQueue_of(queue)->isEmpty(queue), model.empty());
    if (model.empty()) continue;
    ASSERT_EQ(elements.numberOf(ztQueue_of(queue)->getFront(queue)), model.front());
    ASSERT_EQ(elements.numberOf(ztQueue_of(queue)->getBack(queue)), model.back());
  }
}

TEST_P(AdaptorOf, StackBehavesAsAStackUnderRandomOperations) {
  std::mt19937 random(9);
  std::vector<int32_t> model;
  for (int i = 0; i < scale(40000) && !HasFailure(); ++i) {
    const auto number = static_cast<int32_t>(random() % 1000);
    if (random() % 2 == 0) {
      model.push_back(number);
      EXPECT_NE(put(number), nullptr);
    } else {
      if (!model.empty()) model.pop_back();
      EXPECT_EQ(ztStack_of(stack)->pop(stack) == nullptr, model.empty());
    }
    ASSERT_EQ(ztStack_of(stack)->getSize(stack), static_cast<int32_t>(model.size()));
    ASSERT_EQ(ztStack_of(stack)->isEmpty(stack), model.empty());
    if (model.empty()) continue;
    ASSERT_EQ(elements.numberOf(ztStack_of(stack)->getTop(stack)), model.back());
  }
}
