// What the operations of all classes of containers, items, iterators and strings give for no object.
#include "containers/ztarrays.h"
#include "containers/ztavliter.h"
#include "containers/zthashtab.h"
#include "containers/ztlists.h"
#include "containers/ztmapiter.h"
#include "containers/ztqueues.h"
#include "containers/ztstacks.h"
#include "io/ztstring.h"

#include "tests/helpers/null_object.hh"

namespace {

// The slots of each family of classes, in order.
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
  expectNothing(ztArray_ctor, ztArray_table(), arraySlots, AssignOfNull::fails);
  expectNothing(ztPtrArray_ctor, ztPtrArray_table(), arraySlots, AssignOfNull::fails);
  expectNothing(ztIntArray_ctor, ztIntArray_table(), arraySlots, AssignOfNull::fails);
  expectNothing(ztCharArray_ctor, ztCharArray_table(), arraySlots, AssignOfNull::fails);
  expectNothing(ztFloatArray_ctor, ztFloatArray_table(), arraySlots, AssignOfNull::fails);
  expectNothing(ztStringArray_ctor, ztStringArray_table(), arraySlots, AssignOfNull::fails);
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
  expectNothing(ztString_ctor, ztString_table(), stringSlots, AssignOfNull::fails);
}
