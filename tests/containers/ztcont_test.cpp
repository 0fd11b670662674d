#include "containers/ztcont.h"

#include "containers/ztacont.h"
#include "containers/ztcitem.h"
#include "containers/ztlistitem.h"
#include "containers/ztscont.h"
#include "io/ztfile.h"
#include "tests/containers/elements.hh"
#include "tests/containers/noting.hh"
#include "tests/helpers/abstract_slot.hh"
#include "tests/helpers/faults.hh"

#include <gtest/gtest.h>

#include <limits.h>
#include <string.h>

namespace {

int32_t compareNothing(const void *, const void *) {
  return 0;
}

void *constructNothing(void *, int32_t) {
  return nullptr;
}

}  // namespace

TEST(ztContainer, WhatSubclassesSupplyGivesTheHandlersTextAndLogsNothing) {
  testing::internal::CaptureStdout();
  for (const ztCtor constructor : {ztContainer_ctor, ztSequenceContainer_ctor, ztAssociativeContainer_ctor}) {
    const Owned<ztContainer, ztContainerMethods> container(constructor);
    EXPECT_EQ(textOfAbstract(container->getSize, container), virtualCall(ztOOP_classNameOf(container)));
  }
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(ztContainer, SettersStoreAndACopyKeepsAllButTheManager) {
  InGarbage<ztContainer> container(ztContainer_ctor);
  InGarbage<ztContainer> manager(ztContainer_ctor);
  const ztContainerMethods *methods = ztContainer_table();
  methods->setItemManager(container, manager);
  methods->setCompareFunction(container, compareNothing);
  methods->setAllowDuplicate(container, 7);
  container->itemConstructor = ztContainerItem_ctor;
  InGarbage<ztContainer> copy(ztContainer_ctor);
  EXPECT_EQ(methods->clone(container, copy), &*copy);
  EXPECT_EQ(container->itemManager, &*manager);
  EXPECT_EQ(manager->refCount, 1);
  EXPECT_EQ(copy->itemManager, &*copy);
  for (const ztContainer *set : {&*container, &*copy}) {
    EXPECT_EQ(set->compareFunction, compareNothing);
    EXPECT_EQ(set->allowDuplicate, 7U);
    EXPECT_EQ(set->itemConstructor, ztContainerItem_ctor);
  }
}

// A container that notes that its manager is set.
#define ManagerWatch_FIELDS ztSequenceContainer_FIELDS
#define ManagerWatch_METHODS ztSequenceContainer_METHODS
ZT_DECLARE_CLASS(ManagerWatch)

static void managerWatchMethods(ManagerWatchMethods *methods) {
  note<"setItemManager", &ManagerWatchMethods::setItemManager>(methods);
}

ZT_DEFINE_CLASS(ManagerWatch, ztSequenceContainer, managerWatchMethods)

TEST(ztContainer, CreateAndCloneSetTheManagerThroughTheMethodTable) {
  taken();
  InGarbage<ManagerWatch> container(ManagerWatch_ctor);
  InGarbage<ManagerWatch> copy(ManagerWatch_ctor);
  EXPECT_EQ(taken(), Notes({"setItemManager", "setItemManager"}));
  ManagerWatch_table()->clone(container, copy);
  EXPECT_EQ(taken(), Notes({"setItemManager"}));
  EXPECT_EQ(copy->itemManager, &*copy);
}

TEST(ztContainerItem, DestroyDoesNotTouchTheElement) {
  const LiveCount live;
  const CountedObject element = counted(1);
  InGarbage<ztContainerItem> item(ztContainerItem_ctor);
  item->data = element;
  ztContainerItem_table()->destroy(item);
  EXPECT_EQ(live.made(), 1);
}

TEST(ztSequenceContainer, SettersStoreAndACopyKeepsThePolicy) {
  InGarbage<ztSequenceContainer> container(ztSequenceContainer_ctor);
  const ztSequenceContainerMethods *methods = ztSequenceContainer_table();
  methods->setElementSize(container, 12, 3);
  methods->setElementConstructor(container, Counted_ctor);
  methods->setItemConstructor(container, ztListItem_ctor);
  InGarbage<ztSequenceContainer> copy(ztSequenceContainer_ctor);
  methods->clone(container, copy);
  EXPECT_EQ(copy->itemManager, &*copy);
  for (const ztSequenceContainer *set : {&*container, &*copy}) {
    EXPECT_EQ(set->elementSize, 12);
    EXPECT_EQ(methods->getElementSize(set), 12);
    EXPECT_EQ(set->byPointer, 3U);
    EXPECT_EQ(set->elementConstructor, Counted_ctor);
    EXPECT_EQ(set->itemConstructor, ztListItem_ctor);
  }
  methods->setElementSize(container, INT_MIN, 0);
  EXPECT_EQ(container->byPointer, 0U);
  EXPECT_EQ(methods->getElementSize(container), INT_MIN);
}

// Items of a ztSequenceContainer ------------------------------------------------------------------

namespace {

// A bare sequence container that makes plain items, which it deletes at the end.
class ztSequenceContainerItems : public testing::Test {
 protected:
  ztSequenceContainerItems() {
    methods->setItemConstructor(container, ztContainerItem_ctor);
  }
  ~ztSequenceContainerItems() override {
    for (ztContainerItem *item : items) methods->deleteItem(container, item);
  }

  ztContainerItem *newItem(const void *element) {
    auto *item = static_cast<ztContainerItem *>(methods->newItem(container, element));
    if (item != nullptr) items.push_back(item);
    return item;
  }
  ztContainerItem *emptyItem() {
    items.push_back(static_cast<ztContainerItem *>(ztContainerItem_ctor(nullptr, 1)));
    return items.back();
  }
  ztContainerItem *copyOf(const ztContainerItem *source) {
    ztContainerItem *copy = emptyItem();
    EXPECT_EQ(methods->copyItem(container, copy, source), copy);
    return copy;
  }
  void deleteItem(ztContainerItem *item) {
    methods->deleteItem(container, item);
    std::erase(items, item);
  }
  void keepCounted(ztCtor constructor = Counted_ctor) {
    methods->setElementConstructor(container, constructor);
  }
  static Counted &countedIn(const ztContainerItem *item) {
    return *static_cast<Counted *>(item->data);
  }

  NoneLost live;
  InGarbage<ztSequenceContainer> container{ztSequenceContainer_ctor};
  const ztSequenceContainerMethods *methods = ztSequenceContainer_table();
  std::vector<ztContainerItem *> items;
};

class ztSequenceContainerItemsByPolicy : public ztSequenceContainerItems,
                                         public testing::WithParamInterface<Policy> {
 protected:
  ztSequenceContainerItemsByPolicy() {
    elements.configure(container);
  }

  const Policy policy = GetParam();
  Elements elements{GetParam()};
};

INSTANTIATE_TEST_SUITE_P(Policies, ztSequenceContainerItemsByPolicy, testing::ValuesIn(allPolicies),
                         testing::PrintToStringParamName());

}  // namespace

TEST_P(ztSequenceContainerItemsByPolicy, HoldTheElementAsThePolicySays) {
  const void *element = elements.make(42);
  ztContainerItem *item = newItem(element);
  EXPECT_EQ(item->refCount, 1);
  EXPECT_EQ(item->data == element, policy == Policy::byPointer);
  EXPECT_EQ(elements.isCopy(item->data), policy != Policy::byPointer);
  const ztContainerItem *copy = copyOf(item);
  EXPECT_EQ(copy->data == item->data, policy == Policy::byPointer);
  EXPECT_EQ(elements.isCopy(copy->data), policy != Policy::byPointer);
  EXPECT_EQ(elements.numberOf(item->data), 42);
  deleteItem(item);
  EXPECT_EQ(elements.numberOf(copy->data), 42);
}

TEST_P(ztSequenceContainerItemsByPolicy, NoElementMakesNoItemUnlessByPointer) {
  const ztContainerItem *item = newItem(nullptr);
  ASSERT_EQ(item != nullptr, policy == Policy::byPointer);
  if (item != nullptr) {
    EXPECT_EQ(item->data, nullptr);
  }
}

TEST_P(ztSequenceContainerItemsByPolicy, NoItemIsNeitherCopiedNorDeleted) {
  ztContainerItem *item = emptyItem();
  EXPECT_EQ(methods->copyItem(container, nullptr, item), nullptr);
  EXPECT_EQ(methods->copyItem(container, item, nullptr), nullptr);
  EXPECT_EQ(item->data, nullptr);
  deleteItem(nullptr);
}

TEST_P(ztSequenceContainerItemsByPolicy, MissingDataAreCopiedAsMissing) {
  int32_t garbage = 0;
  ztContainerItem *destination = emptyItem();
  destination->data = &garbage;
  EXPECT_EQ(methods->copyItem(container, destination, emptyItem()), destination);
  EXPECT_EQ(destination->data, nullptr);
}

TEST_P(ztSequenceContainerItemsByPolicy, DeletedItemThatIsStillReferencedHoldsNothing) {
  const int32_t before = live.made();
  ztContainerItem *item = newItem(elements.make(3));
  item->refCount = 3;
  deleteItem(item);
  EXPECT_EQ(item->refCount, 2);
  EXPECT_EQ(item->data, nullptr);
  EXPECT_EQ(live.made(), before);
  ztContainerItem_of(item)->unRef(item);
}

TEST_P(ztSequenceContainerItemsByPolicy, CopyWithoutMemoryHoldsNothing) {
  const ztContainerItem *source = newItem(elements.make(3));
  ztContainerItem *copy = emptyItem();
  const Fault injected(0);
  EXPECT_EQ(methods->copyItem(container, copy, source), copy);
  EXPECT_EQ(injected.end(), policy != Policy::byPointer);
  EXPECT_EQ(copy->data == nullptr, policy != Policy::byPointer);
}

TEST_F(ztSequenceContainerItems, AreNotMadeWithoutAnItemConstructorThatMakesThem) {
  const int32_t value = 1;
  methods->setElementSize(container, 4, 0);
  for (const ztCtor constructor : {static_cast<ztCtor>(nullptr), &constructNothing}) {
    methods->setItemConstructor(container, constructor);
    EXPECT_EQ(newItem(&value), nullptr);
  }
}

TEST_F(ztSequenceContainerItems, HoldAsManyBytesAsTheSizeSays) {
  unsigned char bytes[100];
  for (size_t i = 0; i < sizeof bytes; ++i) bytes[i] = static_cast<unsigned char>(i * 7);
  methods->setElementSize(container, 100, 0);
  EXPECT_EQ(memcmp(newItem(bytes)->data, bytes, sizeof bytes), 0);
  methods->setElementSize(container, 0, 0);
  EXPECT_NE(newItem(bytes)->data, bytes);
  for (const int32_t size : {-1, INT_MIN}) {
    methods->setElementSize(container, size, 0);
    EXPECT_EQ(newItem(bytes), nullptr) << size;
  }
}

TEST_F(ztSequenceContainerItems, KeepPointersByAnyFlagOfAnySizeAndNeverFollowThem) {
  methods->setElementSize(container, -3, 0x80000000U);
  const void *nowhere = reinterpret_cast<const void *>(uintptr_t{8});
  EXPECT_EQ(newItem(nowhere)->data, nowhere);
}

// Objects in items --------------------------------------------------------------------------------

TEST_F(ztSequenceContainerItems, OneObjectTwiceMakesTwoIndependentCopiesOfOneReference) {
  keepCounted();
  const CountedObject element = counted(5);
  element.fields().refCount = 9;
  const ztContainerItem *first = newItem(element);
  const ztContainerItem *second = newItem(element);
  EXPECT_EQ(element.fields().refCount, 9);
  element.fields().refCount = 1;
  element.fields().value = 6;
  countedIn(first).value = 7;
  EXPECT_EQ(countedIn(second).value, 5);
  EXPECT_EQ(countedIn(second).refCount, 1);
  countedIn(first).refCount = 3;
  const ztContainerItem *copy = copyOf(first);
  EXPECT_EQ(countedIn(copy).refCount, 1);
  EXPECT_EQ(countedIn(copy).value, 7);
  countedIn(first).refCount = 1;
}

TEST_F(ztSequenceContainerItems, DeletionReleasesOneReference) {
  keepCounted();
  ztContainerItem *item = newItem(counted(5));
  const CountedObject kept(item->data);
  kept.fields().refCount = 3;
  deleteItem(item);
  EXPECT_EQ(kept.fields().refCount, 2);
  EXPECT_EQ(live.made(), 1);
  kept.fields().refCount = 1;
}

static Notes constructed;
static std::vector<void *> results;

template <ztCtor constructor>
static void *notingConstructor(void *storage, int32_t create) {
  constructed.push_back(std::string(storage == nullptr ? "new" : "in place") +
                        (create != 0 ? ", created" : ""));
  results.push_back(constructor(storage, create));
  return results.back();
}

TEST_F(ztSequenceContainerItems, ItemIsCreatedAndElementIsNotAndACopyIsMadeByItsOwnClass) {
  constructed.clear();
  results.clear();
  methods->setItemConstructor(container, notingConstructor<ztContainerItem_ctor>);
  keepCounted(notingConstructor<Counted_ctor>);
  ztContainerItem *item = newItem(counted(5));
  EXPECT_EQ(constructed, Notes({"new, created", "new"}));
  EXPECT_EQ(results, std::vector<void *>({item, item->data}));
  EXPECT_EQ(countedIn(copyOf(item)).value, 5);
  EXPECT_EQ(constructed.size(), 2U);
}

TEST_F(ztSequenceContainerItems, ConstructorComesBeforeThePointerFlagAndTheSize) {
  methods->setElementSize(container, 2, 1);
  keepCounted();
  const CountedObject element = counted(5);
  const ztContainerItem *item = newItem(element);
  const ztContainerItem *copy = copyOf(item);
  EXPECT_NE(item->data, &element.fields());
  EXPECT_NE(copy->data, item->data);
  EXPECT_EQ(countedIn(copy).value, 5);
  EXPECT_EQ(live.made(), 3);
}

TEST_F(ztSequenceContainerItems, AreNotMadeOfWhatCannotBeCloned) {
  keepCounted();
  EXPECT_EQ(newItem(counted(refusesToClone)), nullptr);
  EXPECT_EQ(newItem(counted(refusesToClone, CountedLarger_ctor)), nullptr);
  keepCounted(constructNothing);
  EXPECT_EQ(newItem(counted(5)), nullptr);
  keepCounted(ztFile_ctor);
  EXPECT_EQ(newItem(Owned<ztFile, ztFileMethods>(ztFile_ctor)), nullptr);
  EXPECT_EQ(live.made(), 0);
}

TEST_F(ztSequenceContainerItems, DataThatCannotBeClonedAreCopiedAsMissing) {
  keepCounted();
  const ztContainerItem *item = newItem(counted(5));
  countedIn(item).value = refusesToClone;
  EXPECT_EQ(copyOf(item)->data, nullptr);
}

TEST_F(ztSequenceContainerItems, ElementsKeepTheirClassWhateverTheConstructors) {
  for (const ztCtor constructor : {Counted_ctor, CountedTwin_ctor, CountedLarger_ctor}) {
    for (const ztCtor ofElement : {Counted_ctor, CountedTwin_ctor, CountedLarger_ctor}) {
      keepCounted(constructor);
      const CountedObject element = counted(5, ofElement);
      const ztContainerItem *item = newItem(element);
      for (const ztContainerItem *one : {item, static_cast<const ztContainerItem *>(copyOf(item))}) {
        EXPECT_EQ(countedIn(one).klass, element.fields().klass);
        EXPECT_EQ(countedIn(one).value, 5);
      }
    }
  }
}

TEST_F(ztSequenceContainerItems, LargerElementIsCopiedWhole) {
  keepCounted();
  const Owned<CountedLarger, CountedLargerMethods> element(CountedLarger_ctor);
  CountedLarger &larger = element.fields();
  for (int64_t i = 0; i < 4; ++i) larger.more[i] = 100 + i;
  const ztContainerItem *item = newItem(element);
  for (const ztContainerItem *one : {item, static_cast<const ztContainerItem *>(copyOf(item))}) {
    EXPECT_EQ(memcmp(static_cast<CountedLarger *>(one->data)->more, larger.more, sizeof larger.more), 0);
  }
}

// ztAssociativeContainer --------------------------------------------------------------------------

TEST(ztAssociativeContainer, SettersStoreAndACopyKeepsThePolicy) {
  InGarbage<ztAssociativeContainer> container(ztAssociativeContainer_ctor);
  const ztAssociativeContainerMethods *methods = ztAssociativeContainer_table();
  methods->setItemConstructor(container, ztContainerItem_ctor);
  methods->setKeySize(container, 4, 0);
  methods->setValueSize(container, 8, 1);
  methods->setKeyConstructor(container, Counted_ctor);
  methods->setValueConstructor(container, CountedTwin_ctor);
  methods->setValueCompareFunction(container, compareNothing);
  InGarbage<ztAssociativeContainer> copy(ztAssociativeContainer_ctor);
  EXPECT_EQ(methods->clone(container, copy), &*copy);
  EXPECT_EQ(copy->itemManager, &*copy);
  for (const ztAssociativeContainer *set : {&*container, &*copy}) {
    EXPECT_EQ(set->itemConstructor, ztContainerItem_ctor);
    EXPECT_EQ(set->keySize, 4);
    EXPECT_EQ(set->keyByPointer, 0U);
    EXPECT_EQ(set->valueSize, 8);
    EXPECT_EQ(set->valueByPointer, 1U);
    EXPECT_EQ(set->keyConstructor, Counted_ctor);
    EXPECT_EQ(set->valueConstructor, CountedTwin_ctor);
    EXPECT_EQ(set->valueCompareFunction, compareNothing);
    EXPECT_EQ(set->compareFunction, nullptr);
  }
  methods->setKeySize(container, 16, 1);
  methods->setValueSize(container, 2, 0);
  EXPECT_EQ(container->keySize, 16);
  EXPECT_EQ(container->keyByPointer, 1U);
  EXPECT_EQ(container->valueSize, 2);
  EXPECT_EQ(container->valueByPointer, 0U);
}
