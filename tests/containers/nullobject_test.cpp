// What the operations of all classes of containers, items, iterators and strings give for no object.
#include "containers/ztarrays.h"
#include "containers/ztavliter.h"
#include "containers/zthashtab.h"
#include "containers/ztlists.h"
#include "containers/ztmapiter.h"
#include "containers/ztqueues.h"
#include "containers/ztstacks.h"
#include "io/ztstring.h"

#include <gtest/gtest.h>

#include <string.h>

#include <type_traits>

namespace {

// Stands in for every pointer that is given; without an object no operation may look at it.
alignas(16) unsigned char bystander[1024];

template <typename Argument>
Argument given() {
  if constexpr (std::is_same_v<Argument, ztCompareFunc>) {
    return ztPtrArray_compare_func_ptr;
  } else if constexpr (std::is_same_v<Argument, ztCtor>) {
    return ztBaseClass_ctor;
  } else if constexpr (std::is_pointer_v<Argument>) {
    return reinterpret_cast<Argument>(bystander);
  } else {
    return 1;
  }
}

template <typename Operation>
bool isAbstract(Operation operation) {
  void *(*handler)(const void *) = ztOOP_ztVirtualFuncHandler;
  static_assert(sizeof operation == sizeof handler);
  return memcmp(&operation, &handler, sizeof operation) == 0;
}

// The slot of the operation that is being called.
int slot;

template <typename Result, typename Object, typename... Arguments>
void callWithout(Result (*operation)(Object *, Arguments...)) {
  if (!isAbstract(operation)) {
    if constexpr (std::is_void_v<Result>) {
      operation(nullptr, Arguments{}...);
      operation(nullptr, given<Arguments>()...);
    } else {
      EXPECT_EQ(operation(nullptr, Arguments{}...), Result{}) << "slot " << slot;
      EXPECT_EQ(operation(nullptr, given<Arguments>()...), Result{}) << "slot " << slot;
    }
  }
  ++slot;
}

template <typename... Operations>
void callAll(Operations... operations) {
  (callWithout(operations), ...);
}

// The slots of each family of classes, in order.
constexpr auto baseSlots = [](const auto *m) {
  callAll(m->Allocator, m->classInstanceCreate, m->classInstanceDestroy);
  ++slot;  // the empty one
  callAll(m->create, m->clone, m->assign, m->isEqual, m->isLess, m->isMajor, m->destroy, m->read, m->write,
          m->ref, m->unRef, m->getRefCount);
};
constexpr auto containerSlots = [](const auto *m) {
  baseSlots(m);
  callAll(m->newItem, m->copyItem, m->deleteItem, m->setItemConstructor, m->setItemManager,
          m->setCompareFunction, m->setAllowDuplicate, m->getSize);
};
constexpr auto sequenceSlots = [](const auto *m) {
  containerSlots(m);
  callAll(m->setElementSize, m->getElementSize, m->setElementConstructor);
};
constexpr auto associativeSlots = [](const auto *m) {
  containerSlots(m);
  callAll(m->setKeySize, m->setKeyConstructor, m->setValueSize, m->setValueConstructor,
          m->setValueCompareFunction);
};
constexpr auto arraySlots = [](const auto *m) {
  sequenceSlots(m);
  callAll(m->pushBack, m->pushBackUnique, m->removeAt, m->getAt, m->setAt, m->empty, m->setSize, m->resize,
          m->getFront, m->getBack, m->getData, m->isEmpty, m->sort, m->search, m->find);
};
constexpr auto listSlots = [](const auto *m) {
  sequenceSlots(m);
  callAll(m->pushBack, m->pushFront, m->insertPrev, m->insertNext, m->popFront, m->popBack, m->removeItem,
          m->find, m->getBack, m->getFront, m->empty, m->getAt, m->getItemAt);
};
constexpr auto dequeSlots = [](const auto *m) {
  sequenceSlots(m);
  callAll(m->pushBack, m->pushFront, m->popBack, m->popFront, m->getBack, m->getFront, m->isEmpty);
};
constexpr auto queueSlots = [](const auto *m) {
  sequenceSlots(m);
  callAll(m->push, m->pop, m->getBack, m->getFront, m->isEmpty);
};
constexpr auto stackSlots = [](const auto *m) {
  sequenceSlots(m);
  callAll(m->push, m->pop, m->getTop, m->isEmpty);
};
constexpr auto treeSlots = [](const auto *m) {
  sequenceSlots(m);
  callAll(m->push, m->pop, m->empty, m->find, m->findAll);
};
constexpr auto mapSlots = [](const auto *m) {
  associativeSlots(m);
  callAll(m->pushBack, m->pop, m->empty, m->find, m->findValue, m->findAll);
};
constexpr auto hashTableSlots = [](const auto *m) {
  associativeSlots(m);
  callAll(m->setSize, m->empty, m->insert, m->find);
};
constexpr auto iteratorSlots = [](const auto *m) {
  baseSlots(m);
  callAll(m->start, m->move, m->first, m->last, m->next, m->prev);
};
constexpr auto stringSlots = [](const auto *m) {
  baseSlots(m);
  callAll(m->set, m->cat, m->get, m->length, m->isEmpty);
};

// Calls every slot of a class's own table without an object, and the operations that take a second
// object without that.
template <typename Methods, typename Slots>
void expectNothing(ztCtor constructor, const Methods *table, Slots callSlots) {
  void *object = constructor(nullptr, 1);
  SCOPED_TRACE(ztOOP_classNameOf(object));
  memset(bystander, 0xA5, sizeof bystander);
  unsigned char untouched[sizeof bystander];
  memcpy(untouched, bystander, sizeof bystander);
  slot = 0;
  callSlots(table);
  EXPECT_EQ(slot, static_cast<int>(sizeof(Methods) / sizeof(void *))) << "every slot is called";
  EXPECT_EQ(memcmp(bystander, untouched, sizeof bystander), 0);
  EXPECT_EQ(table->clone(object, nullptr), nullptr);
  // Without contents to take over there is nothing that fails.
  const bool takesContents = ztOOP_isClassOf(object, "ztArray") || ztOOP_isClassOf(object, "ztString");
  EXPECT_EQ(table->assign(object, nullptr), takesContents ? 0 : 1);
  table->unRef(object);
}

}  // namespace

TEST(NullObject, GivesNothingToAnyOperation) {
  expectNothing(ztContainer_ctor, ztContainer_table(), containerSlots);
  expectNothing(ztSequenceContainer_ctor, ztSequenceContainer_table(), sequenceSlots);
  expectNothing(ztAssociativeContainer_ctor, ztAssociativeContainer_table(), associativeSlots);
  expectNothing(ztContainerItem_ctor, ztContainerItem_table(), baseSlots);
  expectNothing(ztListItem_ctor, ztListItem_table(), baseSlots);
  expectNothing(ztAvlTreeItem_ctor, ztAvlTreeItem_table(), baseSlots);
  expectNothing(ztMapItem_ctor, ztMapItem_table(), baseSlots);
  expectNothing(ztHashTableItem_ctor, ztHashTableItem_table(), baseSlots);
  expectNothing(ztArray_ctor, ztArray_table(), arraySlots);
  expectNothing(ztPtrArray_ctor, ztPtrArray_table(), arraySlots);
  expectNothing(ztIntArray_ctor, ztIntArray_table(), arraySlots);
  expectNothing(ztCharArray_ctor, ztCharArray_table(), arraySlots);
  expectNothing(ztFloatArray_ctor, ztFloatArray_table(), arraySlots);
  expectNothing(ztStringArray_ctor, ztStringArray_table(), arraySlots);
  expectNothing(ztList_ctor, ztList_table(), listSlots);
  expectNothing(ztIntList_ctor, ztIntList_table(), listSlots);
  expectNothing(ztStringList_ctor, ztStringList_table(), listSlots);
  expectNothing(ztPtrList_ctor, ztPtrList_table(), listSlots);
  expectNothing(ztDeque_ctor, ztDeque_table(), dequeSlots);
  expectNothing(ztQueue_ctor, ztQueue_table(), queueSlots);
  expectNothing(ztPtrQueue_ctor, ztPtrQueue_table(), queueSlots);
  expectNothing(ztStack_ctor, ztStack_table(), stackSlots);
  expectNothing(ztPtrStack_ctor, ztPtrStack_table(), stackSlots);
  expectNothing(ztAvlTree_ctor, ztAvlTree_table(), treeSlots);
  expectNothing(ztMap_ctor, ztMap_table(), mapSlots);
  expectNothing(ztHashTable_ctor, ztHashTable_table(), hashTableSlots);
  expectNothing(ztIterator_ctor, ztIterator_table(), iteratorSlots);
  expectNothing(ztAvlIterator_ctor, ztAvlIterator_table(), iteratorSlots);
  expectNothing(ztMapIterator_ctor, ztMapIterator_table(), iteratorSlots);
  expectNothing(ztString_ctor, ztString_table(), stringSlots);
}
