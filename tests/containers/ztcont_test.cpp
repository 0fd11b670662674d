#include "containers/ztcont.h"

#include "containers/ztacont.h"
#include "containers/ztcitem.h"
#include "containers/ztlistitem.h"
#include "containers/ztscont.h"
#include "core/ztmem.h"
#include "io/ztfile.h"
#include "tests/containers/elements.hh"
#include "tests/helpers/faults.hh"

#include <gtest/gtest.h>

#include <limits.h>
#include <string.h>

namespace {

// An object of a class in memory full of garbage, as a host's own memory may be.
template <typename C>
class InGarbage {
 public:
  explicit InGarbage(ztCtor constructor) {
    memset(memory, 0xA5, sizeof memory);
    constructor(memory, 1);
  }
  ~InGarbage() {
    ztBaseClass_of(memory)->destroy(memory);
  }
  C *operator->() {
    return reinterpret_cast<C *>(memory);
  }
  void *get() {
    return memory;
  }

 private:
  alignas(C) unsigned char memory[sizeof(C)];
};

template <typename Slot>
bool isAbstract(Slot slot) {
  void *(*handler)(const void *) = ztOOP_ztVirtualFuncHandler;
  static_assert(sizeof slot == sizeof handler);
  return memcmp(&slot, &handler, sizeof slot) == 0;
}

std::string abstractMessage(const char *className) {
  return std::string("ztOOP -> Error: Trying to call a virtual function member for class: ") + className +
         "\n";
}

int32_t compareNothing(const void *, const void *) {
  return 0;
}

void *constructNothing(void *, int32_t) {
  return nullptr;
}

}  // namespace

// ztContainer -------------------------------------------------------------------------------------

TEST(Container, ClassesFormOneTree) {
  struct {
    ztCtor constructor;
    const char *name;
    const char *parent;
    int32_t size;
  } const classes[] = {
      {ztContainer_ctor, "ztContainer", "ztBaseClass", 48},
      {ztSequenceContainer_ctor, "ztSequenceContainer", "ztContainer", 64},
      {ztAssociativeContainer_ctor, "ztAssociativeContainer", "ztContainer", 88},
      {ztContainerItem_ctor, "ztContainerItem", "ztBaseClass", 24},
  };
  for (const auto &row : classes) {
    void *object = row.constructor(nullptr, 1);
    const ztClass *klass = ztOOP_classOf(object);
    EXPECT_STREQ(klass->name, row.name);
    EXPECT_STREQ(klass->parent->name, row.parent);
    EXPECT_EQ(klass->instanceSize, row.size) << row.name;
    EXPECT_EQ(klass->version, 1U) << row.name;
    EXPECT_EQ(ztOOP_isClassRegistered(row.name), 1) << row.name;
    ztBaseClass_of(object)->unRef(object);
  }
}

TEST(Container, NewContainerIsItsOwnManagerAndHasNothingSet) {
  InGarbage<ztContainer> container(ztContainer_ctor);
  EXPECT_EQ(container->itemManager, container.get());
  EXPECT_EQ(container->itemConstructor, nullptr);
  EXPECT_EQ(container->compareFunction, nullptr);
  EXPECT_EQ(container->allowDuplicate, 0U);
}

TEST(Container, FiveMethodsAreAbstract) {
  InGarbage<ztContainer> container(ztContainer_ctor);
  const ztContainerMethods *methods = ztContainer_of(container.get());
  EXPECT_TRUE(isAbstract(methods->newItem));
  EXPECT_TRUE(isAbstract(methods->copyItem));
  EXPECT_TRUE(isAbstract(methods->deleteItem));
  EXPECT_TRUE(isAbstract(methods->setItemConstructor));
  EXPECT_TRUE(isAbstract(methods->getSize));
  EXPECT_FALSE(isAbstract(methods->setItemManager));
  EXPECT_FALSE(isAbstract(methods->setCompareFunction));
  EXPECT_FALSE(isAbstract(methods->setAllowDuplicate));
}

TEST(Container, AbstractMethodsGiveTheHandlersMessage) {
  InGarbage<ztContainer> container(ztContainer_ctor);
  const ztContainerMethods *methods = ztContainer_of(container.get());
  const std::string message = abstractMessage("ztContainer");
  ::testing::internal::CaptureStdout();
  EXPECT_EQ(static_cast<const char *>(methods->newItem(container.get(), nullptr)), message);
  EXPECT_EQ(static_cast<const char *>(methods->copyItem(container.get(), nullptr, nullptr)), message);
  methods->setItemConstructor(container.get(), ztContainerItem_ctor);
  EXPECT_EQ(container->itemConstructor, nullptr);
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "") << "nothing is logged";
}

TEST(Container, SettersStore) {
  InGarbage<ztContainer> container(ztContainer_ctor);
  InGarbage<ztContainer> manager(ztContainer_ctor);
  const ztContainerMethods *methods = ztContainer_of(container.get());
  methods->setItemManager(container.get(), manager.get());
  methods->setCompareFunction(container.get(), compareNothing);
  methods->setAllowDuplicate(container.get(), 7);
  EXPECT_EQ(container->itemManager, manager.get());
  EXPECT_EQ(container->compareFunction, compareNothing);
  EXPECT_EQ(container->allowDuplicate, 7U);
  EXPECT_EQ(manager->refCount, 1);
}

TEST(Container, CopyIsItsOwnManagerAndKeepsTheSettings) {
  InGarbage<ztContainer> container(ztContainer_ctor);
  InGarbage<ztContainer> manager(ztContainer_ctor);
  const ztContainerMethods *methods = ztContainer_of(container.get());
  methods->setItemManager(container.get(), manager.get());
  methods->setCompareFunction(container.get(), compareNothing);
  methods->setAllowDuplicate(container.get(), 1);
  container->itemConstructor = ztContainerItem_ctor;

  InGarbage<ztContainer> copy(ztContainer_ctor);
  EXPECT_EQ(methods->clone(container.get(), copy.get()), copy.get());
  EXPECT_EQ(copy->itemManager, copy.get());
  EXPECT_EQ(copy->compareFunction, compareNothing);
  EXPECT_EQ(copy->allowDuplicate, 1U);
  EXPECT_EQ(copy->itemConstructor, ztContainerItem_ctor);
  EXPECT_EQ(container->itemManager, manager.get());
}

#define ManagerWatch_FIELDS ztSequenceContainer_FIELDS
#define ManagerWatch_METHODS ztSequenceContainer_METHODS
ZT_DECLARE_CLASS(ManagerWatch)

static int32_t managersSet;

static void managerWatchSetItemManager(void *object, void *manager) {
  ++managersSet;
  ztSequenceContainer_table()->setItemManager(object, manager);
}

static void managerWatchMethods(ManagerWatchMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, setItemManager, managerWatchSetItemManager);
}

ZT_DEFINE_CLASS(ManagerWatch, ztSequenceContainer, managerWatchMethods)

TEST(Container, CreateAndCloneSetTheManagerThroughTheMethodTable) {
  managersSet = 0;
  InGarbage<ManagerWatch> container(ManagerWatch_ctor);
  EXPECT_EQ(managersSet, 1);
  InGarbage<ManagerWatch> copy(ManagerWatch_ctor);
  ManagerWatch_of(container.get())->clone(container.get(), copy.get());
  EXPECT_EQ(managersSet, 3);
  EXPECT_EQ(copy->itemManager, copy.get());
}

// ztContainerItem ---------------------------------------------------------------------------------

TEST(ContainerItem, NewItemHoldsNothing) {
  InGarbage<ztContainerItem> item(ztContainerItem_ctor);
  EXPECT_EQ(item->data, nullptr);
}

TEST(ContainerItem, DestroyDoesNotTouchTheElement) {
  const LiveCount live;
  Counted *element = newCounted(1);
  void *item = ztContainerItem_ctor(nullptr, 1);
  static_cast<ztContainerItem *>(item)->data = element;
  ztContainerItem_of(item)->unRef(item);
  EXPECT_EQ(live.made(), 1);
  Counted_of(element)->unRef(element);
}

// ztSequenceContainer: settings -------------------------------------------------------------------

TEST(SequenceContainer, NewContainerKeepsElementsOfNoBytesByValue) {
  InGarbage<ztSequenceContainer> container(ztSequenceContainer_ctor);
  EXPECT_EQ(container->byPointer, 0U);
  EXPECT_EQ(container->elementSize, 0);
  EXPECT_EQ(container->elementConstructor, nullptr);
  EXPECT_EQ(container->itemManager, container.get());
  EXPECT_EQ(ztSequenceContainer_of(container.get())->getElementSize(container.get()), 0);
}

TEST(SequenceContainer, SettersStore) {
  InGarbage<ztSequenceContainer> container(ztSequenceContainer_ctor);
  const ztSequenceContainerMethods *methods = ztSequenceContainer_of(container.get());
  methods->setElementSize(container.get(), 12, 3);
  methods->setElementConstructor(container.get(), Counted_ctor);
  methods->setItemConstructor(container.get(), ztListItem_ctor);
  EXPECT_EQ(container->elementSize, 12);
  EXPECT_EQ(methods->getElementSize(container.get()), 12);
  EXPECT_EQ(container->byPointer, 3U);
  EXPECT_EQ(container->elementConstructor, Counted_ctor);
  EXPECT_EQ(container->itemConstructor, ztListItem_ctor);
}

TEST(SequenceContainer, SetElementSizeSetsTheFlagBackToo) {
  InGarbage<ztSequenceContainer> container(ztSequenceContainer_ctor);
  const ztSequenceContainerMethods *methods = ztSequenceContainer_of(container.get());
  methods->setElementSize(container.get(), 8, 1);
  methods->setElementSize(container.get(), INT_MIN, 0);
  EXPECT_EQ(container->byPointer, 0U);
  EXPECT_EQ(methods->getElementSize(container.get()), INT_MIN);
}

TEST(SequenceContainer, OnlyTheSizeStaysAbstract) {
  InGarbage<ztSequenceContainer> container(ztSequenceContainer_ctor);
  const ztSequenceContainerMethods *methods = ztSequenceContainer_of(container.get());
  EXPECT_TRUE(isAbstract(methods->getSize));
  EXPECT_FALSE(isAbstract(methods->newItem));
  EXPECT_FALSE(isAbstract(methods->copyItem));
  EXPECT_FALSE(isAbstract(methods->deleteItem));
  EXPECT_FALSE(isAbstract(methods->setItemConstructor));
}

TEST(SequenceContainer, CopyKeepsThePolicy) {
  InGarbage<ztSequenceContainer> container(ztSequenceContainer_ctor);
  const ztSequenceContainerMethods *methods = ztSequenceContainer_of(container.get());
  methods->setElementSize(container.get(), 24, 1);
  methods->setElementConstructor(container.get(), Counted_ctor);
  InGarbage<ztSequenceContainer> copy(ztSequenceContainer_ctor);
  methods->clone(container.get(), copy.get());
  EXPECT_EQ(copy->elementSize, 24);
  EXPECT_EQ(copy->byPointer, 1U);
  EXPECT_EQ(copy->elementConstructor, Counted_ctor);
  EXPECT_EQ(copy->itemManager, copy.get());
}

// ztSequenceContainer: items ----------------------------------------------------------------------

namespace {

// A bare sequence container that makes plain items.
class ItemPolicy : public ::testing::Test {
 protected:
  ItemPolicy() : container(ztSequenceContainer_ctor) {
    methods = ztSequenceContainer_of(container.get());
    methods->setItemConstructor(container.get(), ztContainerItem_ctor);
  }

  ztContainerItem *newItem(const void *element) {
    return static_cast<ztContainerItem *>(methods->newItem(container.get(), element));
  }

  void *copyItem(ztContainerItem *destination, const ztContainerItem *source) {
    return methods->copyItem(container.get(), destination, source);
  }

  void deleteItem(ztContainerItem *item) {
    methods->deleteItem(container.get(), item);
  }

  static ztContainerItem *emptyItem() {
    return static_cast<ztContainerItem *>(ztContainerItem_ctor(nullptr, 1));
  }

  InGarbage<ztSequenceContainer> container;
  const ztSequenceContainerMethods *methods;
};

class ItemPolicyByValue : public ItemPolicy {
 protected:
  ItemPolicyByValue() {
    methods->setElementSize(container.get(), 4, 0);
  }
};

class ItemPolicyByPointer : public ItemPolicy {
 protected:
  ItemPolicyByPointer() {
    methods->setElementSize(container.get(), 8, 1);
  }
};

class ItemPolicyConstructed : public ItemPolicy {
 protected:
  ItemPolicyConstructed() {
    methods->setElementConstructor(container.get(), Counted_ctor);
  }
};

struct CtorCall {
  void *storage;
  int32_t create;
  void *result;
};

std::vector<CtorCall> ctorCalls;

void *watchItemCtor(void *storage, int32_t create) {
  void *result = ztContainerItem_ctor(storage, create);
  ctorCalls.push_back({storage, create, result});
  return result;
}

void *watchCountedCtor(void *storage, int32_t create) {
  void *result = Counted_ctor(storage, create);
  ctorCalls.push_back({storage, create, result});
  return result;
}

}  // namespace

TEST_F(ItemPolicy, NoItemWithoutAnItemConstructor) {
  const int32_t value = 1;
  methods->setElementSize(container.get(), 4, 0);
  methods->setItemConstructor(container.get(), nullptr);
  EXPECT_EQ(newItem(&value), nullptr);
  methods->setItemConstructor(container.get(), constructNothing);
  EXPECT_EQ(newItem(&value), nullptr);
}

TEST_F(ItemPolicy, DeletingNoItemDoesNothing) {
  for (const Policy policy : allPolicies) {
    Elements(policy).configure(container.get());
    deleteItem(nullptr);
  }
}

TEST_F(ItemPolicy, CopyingFromOrToNoItemDoesNothing) {
  for (const Policy policy : allPolicies) {
    Elements(policy).configure(container.get());
    ztContainerItem *item = emptyItem();
    EXPECT_EQ(copyItem(nullptr, item), nullptr);
    EXPECT_EQ(copyItem(item, nullptr), nullptr);
    EXPECT_EQ(item->data, nullptr);
    deleteItem(item);
  }
}

TEST_F(ItemPolicy, MissingDataAreCopiedAsMissing) {
  for (const Policy policy : allPolicies) {
    Elements(policy).configure(container.get());
    int32_t garbage = 0;
    ztContainerItem *source = emptyItem();
    ztContainerItem *destination = emptyItem();
    destination->data = &garbage;
    EXPECT_EQ(copyItem(destination, source), destination) << policyName(policy);
    EXPECT_EQ(destination->data, nullptr) << policyName(policy);
    deleteItem(source);
    deleteItem(destination);
  }
}

TEST_F(ItemPolicy, DeletedItemThatIsStillReferencedHoldsNothing) {
  for (const Policy policy : allPolicies) {
    Elements elements(policy);
    elements.configure(container.get());
    const LiveCount live;
    ztContainerItem *item = newItem(elements.make(3));
    ztContainerItem_of(item)->ref(item);
    ztContainerItem_of(item)->ref(item);
    deleteItem(item);
    EXPECT_EQ(item->refCount, 2) << policyName(policy);
    EXPECT_EQ(item->data, nullptr) << policyName(policy);
    EXPECT_EQ(live.made(), 0) << policyName(policy);
    ztContainerItem_of(item)->unRef(item);
  }
}

TEST_F(ItemPolicy, ItemWithoutMemoryIsNotMade) {
  for (const Policy policy : allPolicies) {
    Elements elements(policy);
    elements.configure(container.get());
    const LiveCount live;
    const void *element = elements.make(3);
    int failures = 0;
    for (int fault = 0;; ++fault, ++failures) {
      const Fault injected(fault);
      ztContainerItem *item = newItem(element);
      if (!injected.end()) {
        ASSERT_NE(item, nullptr);
        deleteItem(item);
        break;
      }
      EXPECT_EQ(item, nullptr) << policyName(policy);
    }
    EXPECT_EQ(failures, policy == Policy::byPointer ? 1 : 2) << policyName(policy);
    EXPECT_EQ(live.made(), 0) << policyName(policy);
  }
}

TEST_F(ItemPolicy, CopyWithoutMemoryHoldsNothing) {
  for (const Policy policy : {Policy::byValue, Policy::constructed}) {
    Elements elements(policy);
    elements.configure(container.get());
    const LiveCount live;
    ztContainerItem *source = newItem(elements.make(3));
    ztContainerItem *copy = emptyItem();
    const Fault injected(0);
    EXPECT_EQ(copyItem(copy, source), copy) << policyName(policy);
    EXPECT_TRUE(injected.end());
    EXPECT_EQ(copy->data, nullptr) << policyName(policy);
    deleteItem(source);
    deleteItem(copy);
    EXPECT_EQ(live.made(), 0) << policyName(policy);
  }
}

TEST_F(ItemPolicyByValue, ItemHoldsACopyOfTheBytes) {
  int32_t value = 42;
  ztContainerItem *item = newItem(&value);
  value = 43;
  ASSERT_NE(item->data, &value);
  EXPECT_EQ(*static_cast<int32_t *>(item->data), 42);
  EXPECT_EQ(item->refCount, 1);
  deleteItem(item);
}

TEST_F(ItemPolicyByValue, AsManyBytesAreCopiedAsTheSizeSays) {
  methods->setElementSize(container.get(), 100, 0);
  unsigned char bytes[100];
  for (size_t i = 0; i < sizeof bytes; ++i) bytes[i] = static_cast<unsigned char>(i * 7);
  ztContainerItem *item = newItem(bytes);
  EXPECT_EQ(memcmp(item->data, bytes, sizeof bytes), 0);
  deleteItem(item);
}

TEST_F(ItemPolicyByValue, ElementOfNoBytesIsKept) {
  methods->setElementSize(container.get(), 0, 0);
  const int32_t value = 42;
  ztContainerItem *item = newItem(&value);
  ASSERT_NE(item, nullptr);
  EXPECT_NE(item->data, &value);
  deleteItem(item);
}

TEST_F(ItemPolicyByValue, NoElementMakesNoItem) {
  EXPECT_EQ(newItem(nullptr), nullptr);
}

TEST_F(ItemPolicyByValue, NegativeSizeMakesNoItem) {
  const int32_t value = 42;
  for (const int32_t size : {-1, INT_MIN}) {
    methods->setElementSize(container.get(), size, 0);
    EXPECT_EQ(newItem(&value), nullptr) << size;
  }
}

TEST_F(ItemPolicyByValue, CopiedItemHoldsBytesOfItsOwn) {
  const int32_t value = 42;
  ztContainerItem *source = newItem(&value);
  ztContainerItem *copy = emptyItem();
  EXPECT_EQ(copyItem(copy, source), copy);
  ASSERT_NE(copy->data, source->data);
  *static_cast<int32_t *>(source->data) = 43;
  EXPECT_EQ(*static_cast<int32_t *>(copy->data), 42);
  deleteItem(source);
  deleteItem(copy);
}

TEST_F(ItemPolicyByPointer, ItemHoldsTheVeryPointer) {
  int32_t value = 42;
  ztContainerItem *item = newItem(&value);
  EXPECT_EQ(item->data, &value);
  deleteItem(item);
  EXPECT_EQ(value, 42);
}

TEST_F(ItemPolicyByPointer, PointerIsNeverFollowed) {
  void *nowhere = reinterpret_cast<void *>(uintptr_t{8});
  for (const void *element : {static_cast<const void *>(nullptr), static_cast<const void *>(nowhere)}) {
    ztContainerItem *item = newItem(element);
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(item->data, element);
    deleteItem(item);
  }
}

TEST_F(ItemPolicyByPointer, AnyFlagAndAnySizeWillDo) {
  methods->setElementSize(container.get(), -3, 0x80000000U);
  int32_t value = 42;
  ztContainerItem *item = newItem(&value);
  EXPECT_EQ(item->data, &value);
  deleteItem(item);
}

TEST_F(ItemPolicyByPointer, CopiedItemSharesThePointer) {
  int32_t value = 42;
  ztContainerItem *source = newItem(&value);
  ztContainerItem *copy = emptyItem();
  EXPECT_EQ(copyItem(copy, source), copy);
  EXPECT_EQ(copy->data, &value);
  deleteItem(source);
  deleteItem(copy);
}

TEST_F(ItemPolicyConstructed, ItemHoldsAnObjectOfItsOwn) {
  const LiveCount live;
  Counted *element = newCounted(5);
  ztContainerItem *item = newItem(element);
  ASSERT_NE(item->data, element);
  element->value = 6;
  EXPECT_EQ(static_cast<Counted *>(item->data)->value, 5);
  EXPECT_EQ(live.made(), 2);
  deleteItem(item);
  EXPECT_EQ(live.made(), 1);
  Counted_of(element)->unRef(element);
}

TEST_F(ItemPolicyConstructed, OneObjectTwiceMakesTwoIndependentCopies) {
  Counted *element = newCounted(5);
  ztContainerItem *first = newItem(element);
  ztContainerItem *second = newItem(element);
  EXPECT_EQ(element->refCount, 1);
  ASSERT_NE(first->data, second->data);
  static_cast<Counted *>(first->data)->value = 7;
  EXPECT_EQ(static_cast<Counted *>(second->data)->value, 5);
  deleteItem(first);
  deleteItem(second);
  Counted_of(element)->unRef(element);
}

TEST_F(ItemPolicyConstructed, CopiesBeginWithOneReference) {
  Counted *element = newCounted(5);
  element->refCount = 9;
  ztContainerItem *item = newItem(element);
  EXPECT_EQ(static_cast<Counted *>(item->data)->refCount, 1);
  EXPECT_EQ(element->refCount, 9);

  static_cast<Counted *>(item->data)->refCount = 3;
  ztContainerItem *copy = emptyItem();
  copyItem(copy, item);
  EXPECT_EQ(static_cast<Counted *>(copy->data)->refCount, 1);
  static_cast<Counted *>(item->data)->refCount = 1;
  deleteItem(item);
  deleteItem(copy);
  element->refCount = 1;
  Counted_of(element)->unRef(element);
}

TEST_F(ItemPolicyConstructed, DeletionReleasesOneReference) {
  const LiveCount live;
  Counted *element = newCounted(5);
  ztContainerItem *item = newItem(element);
  auto *kept = static_cast<Counted *>(item->data);
  kept->refCount = 3;
  deleteItem(item);
  EXPECT_EQ(kept->refCount, 2);
  EXPECT_EQ(live.made(), 2);
  Counted_of(kept)->unRef(kept);
  Counted_of(element)->unRef(element);
  EXPECT_EQ(live.made(), 0);
}

TEST_F(ItemPolicyConstructed, ItemIsCreatedAndElementIsNot) {
  Counted *element = newCounted(5);
  ctorCalls.clear();
  methods->setItemConstructor(container.get(), watchItemCtor);
  methods->setElementConstructor(container.get(), watchCountedCtor);
  ztContainerItem *item = newItem(element);
  ASSERT_EQ(ctorCalls.size(), 2U);
  EXPECT_EQ(ctorCalls[0].storage, nullptr);
  EXPECT_EQ(ctorCalls[0].create, 1);
  EXPECT_EQ(ctorCalls[0].result, item);
  EXPECT_EQ(ctorCalls[1].storage, nullptr);
  EXPECT_EQ(ctorCalls[1].create, 0);
  EXPECT_EQ(ctorCalls[1].result, item->data);
  deleteItem(item);
  Counted_of(element)->unRef(element);
}

TEST_F(ItemPolicyConstructed, CopyIsMadeByTheElementsClassAndNotByTheConstructor) {
  Counted *element = newCounted(5);
  ztContainerItem *item = newItem(element);
  ctorCalls.clear();
  methods->setElementConstructor(container.get(), watchCountedCtor);
  ztContainerItem *copy = emptyItem();
  copyItem(copy, item);
  EXPECT_TRUE(ctorCalls.empty());
  EXPECT_NE(copy->data, item->data);
  EXPECT_EQ(static_cast<Counted *>(copy->data)->value, 5);
  deleteItem(copy);
  deleteItem(item);
  Counted_of(element)->unRef(element);
}

TEST_F(ItemPolicyConstructed, ConstructorComesBeforeThePointerFlagAndTheSize) {
  methods->setElementSize(container.get(), 2, 1);
  const LiveCount live;
  Counted *element = newCounted(5);
  ztContainerItem *item = newItem(element);
  EXPECT_NE(item->data, element);
  ztContainerItem *copy = emptyItem();
  copyItem(copy, item);
  EXPECT_NE(copy->data, item->data);
  EXPECT_EQ(static_cast<Counted *>(copy->data)->value, 5);
  EXPECT_EQ(live.made(), 3);
  deleteItem(item);
  deleteItem(copy);
  EXPECT_EQ(live.made(), 1);
  Counted_of(element)->unRef(element);
}

TEST_F(ItemPolicyConstructed, NoElementMakesNoItem) {
  EXPECT_EQ(newItem(nullptr), nullptr);
}

TEST_F(ItemPolicyConstructed, ConstructorWithoutMemoryMakesNoItem) {
  methods->setElementConstructor(container.get(), constructNothing);
  Counted *element = newCounted(5);
  EXPECT_EQ(newItem(element), nullptr);
  Counted_of(element)->unRef(element);
}

TEST_F(ItemPolicyConstructed, ElementThatRefusesToBeClonedMakesNoItem) {
  const LiveCount live;
  Counted *element = newCounted(refusesToClone);
  EXPECT_EQ(newItem(element), nullptr);
  EXPECT_EQ(live.made(), 1);
  Counted_of(element)->unRef(element);
}

TEST_F(ItemPolicyConstructed, FileMakesNoItem) {
  methods->setElementConstructor(container.get(), ztFile_ctor);
  void *file = ztFile_ctor(nullptr, 1);
  EXPECT_EQ(newItem(file), nullptr);
  ztFile_of(file)->unRef(file);
}

TEST_F(ItemPolicyConstructed, LargerElementWhoseClassRefusesMakesNoItem) {
  const LiveCount live;
  Counted *element = newCounted(refusesToClone, CountedLarger_ctor);
  EXPECT_EQ(newItem(element), nullptr);
  EXPECT_EQ(live.made(), 1);
  Counted_of(element)->unRef(element);
}

TEST_F(ItemPolicyConstructed, DataThatCannotBeClonedAreCopiedAsMissing) {
  Counted *element = newCounted(5);
  ztContainerItem *item = newItem(element);
  static_cast<Counted *>(item->data)->value = refusesToClone;
  ztContainerItem *copy = emptyItem();
  EXPECT_EQ(copyItem(copy, item), copy);
  EXPECT_EQ(copy->data, nullptr);
  deleteItem(copy);
  deleteItem(item);
  Counted_of(element)->unRef(element);
}

TEST_F(ItemPolicyConstructed, ElementsOfSubclassesKeepTheirClass) {
  const LiveCount live;
  for (const ztCtor subclass : {CountedTwin_ctor, CountedLarger_ctor}) {
    Counted *element = newCounted(5, subclass);
    ztContainerItem *item = newItem(element);
    EXPECT_EQ(ztOOP_classOf(item->data), ztOOP_classOf(element));
    EXPECT_EQ(static_cast<Counted *>(item->data)->value, 5);
    ztContainerItem *copy = emptyItem();
    copyItem(copy, item);
    EXPECT_EQ(ztOOP_classOf(copy->data), ztOOP_classOf(element));
    EXPECT_EQ(static_cast<Counted *>(copy->data)->value, 5);
    deleteItem(item);
    deleteItem(copy);
    Counted_of(element)->unRef(element);
  }
  EXPECT_EQ(live.made(), 0);
}

TEST_F(ItemPolicyConstructed, LargerElementIsCopiedWhole) {
  auto *element = reinterpret_cast<CountedLarger *>(newCounted(5, CountedLarger_ctor));
  for (int64_t i = 0; i < 4; ++i) element->more[i] = 100 + i;
  ztContainerItem *item = newItem(element);
  ztContainerItem *copy = emptyItem();
  copyItem(copy, item);
  EXPECT_EQ(memcmp(static_cast<CountedLarger *>(item->data)->more, element->more, sizeof element->more), 0);
  EXPECT_EQ(memcmp(static_cast<CountedLarger *>(copy->data)->more, element->more, sizeof element->more), 0);
  deleteItem(item);
  deleteItem(copy);
  CountedLarger_of(element)->unRef(element);
}

TEST_F(ItemPolicyConstructed, SmallerElementThanTheConstructorsIsCopied) {
  methods->setElementConstructor(container.get(), CountedLarger_ctor);
  Counted *element = newCounted(5);
  ztContainerItem *item = newItem(element);
  ASSERT_NE(item, nullptr);
  EXPECT_EQ(ztOOP_classOf(item->data), ztOOP_classOf(element));
  EXPECT_EQ(static_cast<Counted *>(item->data)->value, 5);
  deleteItem(item);
  Counted_of(element)->unRef(element);
}

// ztAssociativeContainer --------------------------------------------------------------------------

TEST(AssociativeContainer, NewContainerHasNothingSet) {
  InGarbage<ztAssociativeContainer> container(ztAssociativeContainer_ctor);
  EXPECT_EQ(container->keyByPointer, 0U);
  EXPECT_EQ(container->valueByPointer, 0U);
  EXPECT_EQ(container->keySize, 0);
  EXPECT_EQ(container->valueSize, 0);
  EXPECT_EQ(container->keyConstructor, nullptr);
  EXPECT_EQ(container->valueConstructor, nullptr);
  EXPECT_EQ(container->valueCompareFunction, nullptr);
  EXPECT_EQ(container->compareFunction, nullptr);
  EXPECT_EQ(container->itemConstructor, nullptr);
  EXPECT_EQ(container->itemManager, container.get());
}

TEST(AssociativeContainer, SettersStore) {
  InGarbage<ztAssociativeContainer> container(ztAssociativeContainer_ctor);
  const ztAssociativeContainerMethods *methods = ztAssociativeContainer_of(container.get());
  methods->setItemConstructor(container.get(), ztContainerItem_ctor);
  methods->setKeySize(container.get(), 4, 0);
  methods->setValueSize(container.get(), 8, 1);
  methods->setKeyConstructor(container.get(), Counted_ctor);
  methods->setValueConstructor(container.get(), CountedTwin_ctor);
  methods->setValueCompareFunction(container.get(), compareNothing);
  EXPECT_EQ(container->itemConstructor, ztContainerItem_ctor);
  EXPECT_EQ(container->keySize, 4);
  EXPECT_EQ(container->keyByPointer, 0U);
  EXPECT_EQ(container->valueSize, 8);
  EXPECT_EQ(container->valueByPointer, 1U);
  EXPECT_EQ(container->keyConstructor, Counted_ctor);
  EXPECT_EQ(container->valueConstructor, CountedTwin_ctor);
  EXPECT_EQ(container->valueCompareFunction, compareNothing);
  EXPECT_EQ(container->compareFunction, nullptr);

  methods->setKeySize(container.get(), 16, 1);
  methods->setValueSize(container.get(), 2, 0);
  EXPECT_EQ(container->keySize, 16);
  EXPECT_EQ(container->keyByPointer, 1U);
  EXPECT_EQ(container->valueSize, 2);
  EXPECT_EQ(container->valueByPointer, 0U);
}

TEST(AssociativeContainer, ItemsAndSizeStayAbstract) {
  InGarbage<ztAssociativeContainer> container(ztAssociativeContainer_ctor);
  const ztAssociativeContainerMethods *methods = ztAssociativeContainer_of(container.get());
  EXPECT_TRUE(isAbstract(methods->newItem));
  EXPECT_TRUE(isAbstract(methods->copyItem));
  EXPECT_TRUE(isAbstract(methods->deleteItem));
  EXPECT_TRUE(isAbstract(methods->getSize));
  EXPECT_FALSE(isAbstract(methods->setItemConstructor));
  EXPECT_EQ(static_cast<const char *>(methods->newItem(container.get(), nullptr)),
            abstractMessage("ztAssociativeContainer"));
}

TEST(AssociativeContainer, CopyKeepsThePolicyAndIsItsOwnManager) {
  InGarbage<ztAssociativeContainer> container(ztAssociativeContainer_ctor);
  const ztAssociativeContainerMethods *methods = ztAssociativeContainer_of(container.get());
  methods->setKeySize(container.get(), 4, 1);
  methods->setValueSize(container.get(), 8, 1);
  methods->setValueConstructor(container.get(), Counted_ctor);
  InGarbage<ztAssociativeContainer> copy(ztAssociativeContainer_ctor);
  EXPECT_EQ(methods->clone(container.get(), copy.get()), copy.get());
  EXPECT_EQ(copy->itemManager, copy.get());
  EXPECT_EQ(copy->keySize, 4);
  EXPECT_EQ(copy->valueSize, 8);
  EXPECT_EQ(copy->keyByPointer, 1U);
  EXPECT_EQ(copy->valueConstructor, Counted_ctor);
}
