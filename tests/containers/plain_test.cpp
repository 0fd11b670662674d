// Items of which a program sees nothing are made and deleted in one step; here it looks.
#include "containers/ztarrays.h"
#include "containers/ztavltree.h"
#include "containers/zthashtab.h"
#include "containers/ztlist.h"
#include "containers/ztmap.h"
#include "tests/helpers/owned.hh"
#include "tests/helpers/replaced.hh"

#include <gtest/gtest.h>

#include <ostream>

namespace {

// A class of containers, and how one is made of integers.
struct Kind {
  const char *name;
  ztClass *(*itemClass)();
  void *(*make)();
  void (*push)(void *container, const int32_t *number);
};

std::ostream &operator<<(std::ostream &out, const Kind &kind) {
  return out << kind.name;
}

template <typename Methods>
void *makePairs(ztCtor constructor) {
  void *pairs = constructor(nullptr, 1);
  const auto *methods = static_cast<const Methods *>(ztOOP_classOf(pairs)->methodTable);
  methods->setKeySize(pairs, sizeof(int32_t), 0);
  methods->setValueSize(pairs, sizeof(int32_t), 0);
  methods->setCompareFunction(pairs, ztIntArray_compare_func);
  return pairs;
}

void *makeTree(ztCtor constructor) {
  void *tree = constructor(nullptr, 1);
  ztAvlTree_of(tree)->setElementSize(tree, sizeof(int32_t), 0);
  ztAvlTree_of(tree)->setCompareFunction(tree, ztIntArray_compare_func);
  return tree;
}

const Kind kinds[] = {
    {"ztList", ztListItemClass_Instance,
     [] {
       void *list = ztList_ctor(nullptr, 1);
       ztList_of(list)->setElementSize(list, sizeof(int32_t), 0);
       return list;
     },
     [](void *list, const int32_t *number) { ztList_of(list)->pushBack(list, number); }},
    {"ztAvlTree", ztAvlTreeItemClass_Instance, [] { return makeTree(ztAvlTree_ctor); },
     [](void *tree, const int32_t *number) { ztAvlTree_of(tree)->push(tree, number); }},
    {"ztMap", ztMapItemClass_Instance, [] { return makePairs<ztMapMethods>(ztMap_ctor); },
     [](void *map, const int32_t *number) { ztMap_of(map)->pushBack(map, number, number); }},
    {"ztHashTable", ztHashTableItemClass_Instance,
     [] {
       void *table = makePairs<ztHashTableMethods>(ztHashTable_ctor);
       ztHashTable_of(table)->setSize(table, 4);
       return table;
     },
     [](void *table, const int32_t *number) { ztHashTable_of(table)->insert(table, number, number); }}};

class PlainItems : public testing::TestWithParam<Kind> {
 protected:
  void push(int32_t number) const {
    GetParam().push(container, &number);
  }
  ztBaseClassMethods &itemMethods() const {
    return *static_cast<ztBaseClassMethods *>(GetParam().itemClass()->methodTable);
  }

  Owned<> container{GetParam().make()};
};

INSTANTIATE_TEST_SUITE_P(All, PlainItems, testing::ValuesIn(kinds), testing::PrintToStringParamName());

int calls;
ztBaseClassMethods before;

TEST_P(PlainItems, AreCreatedByWhatIsInTheTableOfTheirClass) {
  push(1);
  before = itemMethods();
  calls = 0;
  const Replaced replaced(itemMethods().create, [](void *item) {
    ++calls;
    return before.create(item);
  });
  push(2);
  EXPECT_GE(calls, 1);
}

TEST_P(PlainItems, AreDestroyedByWhatIsInTheTableOfTheirClass) {
  push(1);
  push(2);
  before = itemMethods();
  calls = 0;
  const Replaced replaced(itemMethods().destroy, [](void *item) {
    ++calls;
    before.destroy(item);
  });
  container = Owned<>();
  EXPECT_EQ(calls, 2);
}

TEST_P(PlainItems, AreReleasedByWhatIsInTheTableOfTheirClass) {
  push(1);
  push(2);
  before = itemMethods();
  calls = 0;
  const Replaced replaced(itemMethods().unRef, [](void *item) {
    ++calls;
    before.unRef(item);
  });
  container = Owned<>();
  EXPECT_EQ(calls, 2);
}

TEST(PlainListItems, ThatAProgramRefersToOutliveTheirList) {
  Owned<ztList, ztListMethods> list(kinds[0].make());
  const int32_t number = 1;
  ztListItem *item = list->pushBack(list, &number);
  list->pushBack(list, &number);
  for (int i = 0; i < 2; ++i) ztListItem_of(item)->ref(item);
  list = {};
  EXPECT_EQ(item->data, nullptr);
  EXPECT_EQ(item->refCount, 2);
  ztListItem_of(item)->unRef(item);
}

}  // namespace

// A tree with a search of its own.
#define SearchedTree_FIELDS ztAvlTree_FIELDS
#define SearchedTree_METHODS ztAvlTree_METHODS
ZT_DECLARE_CLASS(SearchedTree)

static void searchedMethods(SearchedTreeMethods *methods) {
  methods->find = [](const void *tree, const void *key) {
    ++calls;
    return ztAvlTree_table()->find(tree, key);
  };
}

ZT_DEFINE_CLASS(SearchedTree, ztAvlTree, searchedMethods)

TEST(PlainTreeItems, AreSearchedByTheTreesOwnFindBeforeAPush) {
  const Owned<> tree(makeTree(SearchedTree_ctor));
  calls = 0;
  for (const int32_t number : {1, 2, 2}) kinds[1].push(tree, &number);
  EXPECT_EQ(calls, 2);
  EXPECT_EQ(ztAvlTree_of(tree)->getSize(tree), 2);
}

TEST(PlainTreeItems, CopyNoByteOfNullWhereElementsHaveNoSize) {
  const Owned<ztAvlTree, ztAvlTreeMethods> tree(ztAvlTree_ctor(nullptr, 1));
  const Owned<ztMap, ztMapMethods> map(ztMap_ctor(nullptr, 1));
  const ztAvlTreeItem *item = tree->push(tree, nullptr);
  const ztMapItem *pair = map->pushBack(map, nullptr, nullptr);
  ASSERT_NE(item, nullptr);
  ASSERT_NE(pair, nullptr);
  EXPECT_NE(item->data, nullptr);
  EXPECT_NE(pair->data, nullptr);
  EXPECT_EQ(tree->getSize(tree), 1);
  EXPECT_EQ(map->getSize(map), 1);
}
