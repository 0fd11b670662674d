#include "containers/ztmap.h"

#include "containers/ztarrays.h"
#include "containers/ztmapiter.h"
#include "core/ztmem.h"
#include "tests/containers/pairs.hh"
#include "tests/containers/treecheck.hh"
#include "tests/helpers/faults.hh"
#include "tests/helpers/scale.hh"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>

namespace {

using Pairs = std::vector<std::pair<int32_t, int32_t>>;

ztMap *newMap(ztCtor constructor = ztMap_ctor) {
  return static_cast<ztMap *>(constructor(nullptr, 1));
}

void release(void *object) {
  ztBaseClass_of(object)->unRef(object);
}

ztMap *newIntMap(ztCtor constructor = ztMap_ctor) {
  ztMap *map = newMap(constructor);
  configurePairs(map, {Policy::byValue, Policy::byValue});
  return map;
}

ztMapItem *pushBack(ztMap *map, int32_t key, int32_t value) {
  return ztMap_of(map)->pushBack(map, &key, &value);
}

ztMapItem *find(const ztMap *map, int32_t key) {
  return ztMap_of(map)->find(map, &key);
}

int32_t pop(ztMap *map, int32_t key) {
  return ztMap_of(map)->pop(map, &key);
}

// The pairs of a map of int32_t by value, in order.
Pairs pairsOf(const ztMap *map) {
  Pairs pairs;
  for (const ztAvlTreeItem *item : itemsOf(map->tree)) {
    const auto *mapItem = reinterpret_cast<const ztMapItem *>(item);
    pairs.emplace_back(*static_cast<int32_t *>(item->data), *static_cast<int32_t *>(mapItem->value));
  }
  return pairs;
}

ztMap *copyOf(const ztMap *map) {
  return static_cast<ztMap *>(ztMap_of(map)->clone(map, ztMap_newop()));
}

// One map for each pair of policies, of keys and of values.
class MapOf : public ::testing::TestWithParam<PairPolicy> {
 protected:
  MapOf()
      : keys(std::get<0>(GetParam())),
        values(std::get<1>(GetParam())),
        map(newMap()),
        methods(ztMap_of(map)) {
    configure(map);
  }
  ~MapOf() override {
    release(map);
    EXPECT_EQ(live.made(), 0) << "a key or value was lost";
  }

  void configure(void *other) const {
    configurePairs(other, GetParam());
  }

  ztMapItem *push(int32_t key, int32_t value) {
    return methods->pushBack(map, keys.make(key), values.make(value));
  }

  Pairs pairsIn(const ztMap *other) const {
    Pairs pairs;
    for (const ztAvlTreeItem *item : itemsOf(other->tree)) {
      const auto *mapItem = reinterpret_cast<const ztMapItem *>(item);
      pairs.emplace_back(keys.numberOf(item->data), values.numberOf(mapItem->value));
    }
    return pairs;
  }

  void expectPairs(const Pairs &pairs) {
    ASSERT_EQ(faultOf(map->tree), "");
    ASSERT_EQ(pairsIn(map), pairs);
    ASSERT_EQ(methods->getSize(map), static_cast<int32_t>(pairs.size()));
    ASSERT_EQ(live.made(), objectsPerPair(GetParam()) * static_cast<int>(pairs.size()));
  }

  void runRandom(uint32_t seed, int32_t range, int32_t operations);

  Elements keys;
  Elements values;
  LiveCount live;
  ztMap *map;
  const ztMapMethods *methods;
};

INSTANTIATE_TEST_SUITE_P(
    Policies, MapOf, ::testing::Combine(::testing::ValuesIn(allPolicies), ::testing::ValuesIn(allPolicies)),
    [](const auto &test) {
      return policyName(std::get<0>(test.param)) + "_" + policyName(std::get<1>(test.param));
    });

bool keyIsLess(const std::pair<int32_t, int32_t> &pair, int32_t key) {
  return pair.first < key;
}

void MapOf::runRandom(uint32_t seed, int32_t range, int32_t operations) {
  std::mt19937 random(seed);
  Pairs model;
  for (int32_t i = 0; i < operations; ++i) {
    const uint32_t pushes = i / 400 % 2 == 0 ? 7 : 3;
    const auto key = static_cast<int32_t>(random() % static_cast<uint32_t>(range));
    const auto value = static_cast<int32_t>(random() % 1000);
    const auto place = std::lower_bound(model.begin(), model.end(), key, keyIsLess);
    const bool there = place != model.end() && place->first == key;
    if (random() % 10 < pushes) {
      const bool accepted = map->allowDuplicate || !there;
      ASSERT_EQ(push(key, value) != nullptr, accepted);
      if (accepted) model.insert(place, {key, value});  // ahead of equal keys
    } else {
      // Of equal keys, the pair that `find` meets is the one that goes.
      const auto *item = reinterpret_cast<ztAvlTreeItem *>(methods->find(map, keys.make(key)));
      ASSERT_EQ(item != nullptr, there);
      const bool wasEmpty = model.empty();
      if (there) model.erase(model.begin() + static_cast<ptrdiff_t>(positionOf(map->tree, item)));
      ASSERT_EQ(methods->pop(map, keys.make(key)), there || wasEmpty);
    }
    expectPairs(model);
    if (HasFatalFailure()) return;
  }
}

}  // namespace

// Long sequences ----------------------------------------------------------------------------------

TEST_P(MapOf, RandomOperationsWithoutDuplicates) {
  runRandom(31, 150, scale(6000));
}

TEST_P(MapOf, RandomOperationsWithDuplicates) {
  methods->setAllowDuplicate(map, 1);
  runRandom(32, 20, scale(6000));
}

TEST(Map, LargeMapAgreesWithAModel) {
  ztMap *map = newIntMap();
  std::map<int32_t, int32_t> model;
  std::mt19937 random(33);
  const int32_t operations = scale(200000);
  for (int32_t i = 0; i < operations; ++i) {
    const auto key = static_cast<int32_t>(random() % 20000);
    if (random() % 3 != 0) {
      ASSERT_EQ(pushBack(map, key, i) != nullptr, model.emplace(key, i).second);
    } else {
      const bool wasEmpty = model.empty();
      ASSERT_EQ(pop(map, key), model.erase(key) == 1 || wasEmpty);
    }
    const void *value = ztMap_of(map)->findValue(map, &key);
    const auto found = model.find(key);
    ASSERT_EQ(value != nullptr, found != model.end());
    if (value != nullptr) {
      ASSERT_EQ(*static_cast<const int32_t *>(value), found->second);
    }
  }
  EXPECT_EQ(faultOf(map->tree), "");
  EXPECT_EQ(pairsOf(map), Pairs(model.begin(), model.end()));
  release(map);
}

// Pairs -------------------------------------------------------------------------------------------

TEST(Map, NewMapIsEmpty) {
  ztMap *map = newMap();
  ASSERT_NE(map->tree, nullptr);
  EXPECT_EQ(map->tree->itemManager, map);
  EXPECT_EQ(map->itemConstructor, ztMapItem_ctor);
  EXPECT_EQ(map->compareFunction, nullptr);
  EXPECT_EQ(map->tree->compareFunction, nullptr);
  EXPECT_EQ(map->itemManager, map);
  EXPECT_EQ(ztMap_of(map)->getSize(map), 0);
  release(map);
}

TEST(Map, NewItemHasNoValue) {
  auto *item = static_cast<ztMapItem *>(ztMapItem_ctor(nullptr, 1));
  EXPECT_EQ(item->data, nullptr);
  EXPECT_EQ(item->value, nullptr);
  EXPECT_EQ(item->left, nullptr);
  EXPECT_EQ(item->right, nullptr);
  release(item);
}

TEST(Map, ClassesAreKnownByName) {
  for (const char *name : {"ztMap", "ztMapItem"}) {
    void *object = ztNewFromName(name);
    ASSERT_NE(object, nullptr) << name;
    EXPECT_STREQ(ztOOP_classNameOf(object), name);
    release(object);
  }
}

TEST_P(MapOf, KeysAndValuesAreKeptAsThePoliciesSay) {
  for (int32_t i = 0; i < 2; ++i) {
    const void *key = keys.make(i);
    const void *value = values.make(i + 10);
    const ztMapItem *item = methods->pushBack(map, key, value);
    EXPECT_STREQ(ztOOP_classNameOf(item), "ztMapItem");
    EXPECT_EQ(item->data == key, std::get<0>(GetParam()) == Policy::byPointer);
    EXPECT_EQ(item->value == value, std::get<1>(GetParam()) == Policy::byPointer);
    EXPECT_EQ(keys.numberOf(item->data), i);
    EXPECT_EQ(values.numberOf(item->value), i + 10);
  }
}

TEST_P(MapOf, RefusedKeyLeavesTheValueAsItIs) {
  push(5, 50);
  push(3, 30);
  EXPECT_EQ(push(5, 51), nullptr);
  expectPairs({{3, 30}, {5, 50}});
}

TEST_P(MapOf, FindsByKey) {
  push(5, 50);
  push(3, 30);
  const ztMapItem *item = methods->find(map, keys.make(3));
  ASSERT_NE(item, nullptr);
  EXPECT_EQ(values.numberOf(item->value), 30);
  EXPECT_EQ(methods->findValue(map, keys.make(3)), item->value);
  EXPECT_EQ(methods->find(map, keys.make(4)), nullptr);
  EXPECT_EQ(methods->findValue(map, keys.make(4)), nullptr);
}

TEST_P(MapOf, IteratorGoesThroughThePairsInTheOrderOfKeys) {
  for (const int32_t key : {6, 2, 9, 4, 1, 8}) push(key, key * 10);
  ztMapIterator walk;
  ztMapIterator_ctor(&walk, 1);
  const auto *steps = ztMapIterator_of(&walk);
  Pairs pairs;
  for (auto *item = static_cast<ztMapItem *>(steps->first(&walk, map)); item != nullptr;
       item = static_cast<ztMapItem *>(steps->next(&walk))) {
    pairs.emplace_back(keys.numberOf(item->data), values.numberOf(item->value));
  }
  EXPECT_EQ(pairs, Pairs({{1, 10}, {2, 20}, {4, 40}, {6, 60}, {8, 80}, {9, 90}}));
  for (auto *item = static_cast<ztMapItem *>(steps->last(&walk, map)); item != nullptr;
       item = static_cast<ztMapItem *>(steps->prev(&walk))) {
    ASSERT_FALSE(pairs.empty());
    EXPECT_EQ(pairs.back(), std::make_pair(keys.numberOf(item->data), values.numberOf(item->value)));
    pairs.pop_back();
  }
  EXPECT_TRUE(pairs.empty());
  EXPECT_EQ(steps->first(&walk, nullptr), nullptr);
  EXPECT_EQ(steps->last(&walk, nullptr), nullptr);
  steps->destroy(&walk);
}

TEST_P(MapOf, PopTakesTheValueWithItsKey) {
  for (const int32_t key : {4, 2, 6, 1, 3, 5, 7}) push(key, key * 10);
  EXPECT_EQ(methods->pop(map, keys.make(4)), 1);  // the root, with two children
  expectPairs({{1, 10}, {2, 20}, {3, 30}, {5, 50}, {6, 60}, {7, 70}});
  EXPECT_EQ(methods->pop(map, keys.make(4)), 0);
  EXPECT_EQ(methods->pop(map, keys.make(6)), 1);
  expectPairs({{1, 10}, {2, 20}, {3, 30}, {5, 50}, {7, 70}});
}

TEST_P(MapOf, PopOfAnEmptyMapReportsSuccess) {
  EXPECT_EQ(methods->pop(map, keys.make(1)), 1);
}

TEST_P(MapOf, EmptiedMapIsUsedAgain) {
  for (int turn = 0; turn < 2; ++turn) {
    for (int32_t key = 0; key < 20; ++key) push(key, key);
    methods->empty(map);
    expectPairs({});
    methods->empty(map);
  }
  push(1, 2);
  expectPairs({{1, 2}});
}

TEST_P(MapOf, EveryPairOfAKeyIsRemovedByFindAndPop) {
  methods->setAllowDuplicate(map, 1);
  for (int32_t i = 0; i < 30; ++i) push(i % 3, i);
  while (methods->find(map, keys.make(1)) != nullptr) ASSERT_EQ(methods->pop(map, keys.make(1)), 1);
  EXPECT_EQ(methods->getSize(map), 20);
  for (const auto &[key, value] : pairsIn(map)) EXPECT_NE(key, 1);
}

TEST(Map, KeyAndValueObjectsStayTheCallers) {
  const LiveCount live;
  ztMap *map = newMap();
  configurePairs(map, {Policy::constructed, Policy::constructed});
  Counted *key = newCounted(1, CountedTwin_ctor);
  Counted *value = newCounted(2, CountedLarger_ctor);
  const ztMapItem *item = ztMap_of(map)->pushBack(map, key, value);
  EXPECT_EQ(key->refCount, 1);
  EXPECT_EQ(value->refCount, 1);
  release(key);
  release(value);
  EXPECT_STREQ(ztOOP_classNameOf(item->data), "CountedTwin");
  EXPECT_STREQ(ztOOP_classNameOf(item->value), "CountedLarger");
  EXPECT_EQ(static_cast<Counted *>(item->data)->value, 1);
  EXPECT_EQ(static_cast<Counted *>(item->data)->refCount, 1);
  EXPECT_EQ(static_cast<Counted *>(item->value)->value, 2);
  release(map);
  EXPECT_EQ(live.made(), 0);
}

TEST(Map, WithoutAValuePolicyItIsASet) {
  ztMap *map = newMap();
  ztMap_of(map)->setKeySize(map, sizeof(int32_t), 0);
  ztMap_of(map)->setCompareFunction(map, ztIntArray_compare_func);
  for (int32_t key : {3, 1, 2, 3}) ztMap_of(map)->pushBack(map, &key, nullptr);
  EXPECT_EQ(ztMap_of(map)->getSize(map), 3);
  EXPECT_NE(find(map, 2), nullptr);
  release(map);
}

// Settings and routing ----------------------------------------------------------------------------

TEST(Map, CompareFunctionAndDuplicatesHoldForTheTreeToo) {
  ztMap *map = newMap();
  ztMap_of(map)->setCompareFunction(map, ztIntArray_compare_func);
  EXPECT_EQ(map->compareFunction, ztIntArray_compare_func);
  EXPECT_EQ(map->tree->compareFunction, ztIntArray_compare_func);
  ztMap_of(map)->setAllowDuplicate(map, 1);
  EXPECT_EQ(map->allowDuplicate, 1U);
  EXPECT_EQ(map->tree->allowDuplicate, 1U);
  release(map);
}

TEST(Map, ItemManagerIsNotHandedOnToTheTree) {
  ztMap *map = newIntMap();
  ztMap *other = newIntMap();
  ztMap_of(map)->setItemManager(map, other);
  EXPECT_EQ(map->itemManager, other);
  EXPECT_EQ(map->tree->itemManager, map);
  for (int32_t key = 0; key < 5; ++key) pushBack(map, key, key);
  EXPECT_EQ(ztMap_of(map)->getSize(map), 5);
  release(map);
  release(other);
}

// A host's map, which writes down what its tree asks of it, and what findAll asks of it as an output.
static std::string asked;

#define HostMap_FIELDS ztMap_FIELDS
#define HostMap_METHODS ztMap_METHODS
ZT_DECLARE_CLASS(HostMap)

static void *hostMapNewItem(void *object, const void *pair) {
  asked += 'n';
  return ztMap_table()->newItem(object, pair);
}

static void hostMapDeleteItem(void *object, void *item) {
  asked += 'd';
  ztMap_table()->deleteItem(object, item);
}

static void hostMapSetItemConstructor(void *object, ztCtor constructor) {
  asked += static_cast<const ztMap *>(object)->tree == nullptr ? 'i' : 'I';
  ztMap_table()->setItemConstructor(object, constructor);
}

static void hostMapSetAllowDuplicate(void *object, uint32_t allow) {
  asked += 'a';
  ztMap_table()->setAllowDuplicate(object, allow);
}

static ztMapItem *hostMapPushBack(void *object, const void *key, const void *value) {
  asked += 'p';
  return ztMap_table()->pushBack(object, key, value);
}

static int32_t hostMapGetSize(const void *object) {
  asked += 's';
  return ztMap_table()->getSize(object);
}

static void hostMapMethods(HostMapMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, newItem, hostMapNewItem);
  ZT_OVERRIDE_METHOD(methods, deleteItem, hostMapDeleteItem);
  ZT_OVERRIDE_METHOD(methods, setItemConstructor, hostMapSetItemConstructor);
  ZT_OVERRIDE_METHOD(methods, setAllowDuplicate, hostMapSetAllowDuplicate);
  ZT_OVERRIDE_METHOD(methods, pushBack, hostMapPushBack);
  ZT_OVERRIDE_METHOD(methods, getSize, hostMapGetSize);
}

ZT_DEFINE_CLASS(HostMap, ztMap, hostMapMethods)

static std::string takeAsked() {
  std::string calls;
  calls.swap(asked);
  return calls;
}

TEST(Map, ItsTreeStandsWhenItsItemConstructorIsSet) {
  takeAsked();
  void *map = HostMap_ctor(nullptr, 1);
  EXPECT_EQ(takeAsked(), "I");
  release(map);
}

TEST(Map, TreeMakesAndDeletesItsItemsThroughTheMap) {
  ztMap *map = newIntMap(HostMap_ctor);
  takeAsked();
  pushBack(map, 1, 10);
  EXPECT_EQ(takeAsked(), "pn");
  pushBack(map, 2, 20);
  EXPECT_EQ(takeAsked(), "pnnd");
  pushBack(map, 2, 21);
  EXPECT_EQ(takeAsked(), "pnd");
  pop(map, 1);
  EXPECT_EQ(takeAsked(), "d");
  release(map);
  EXPECT_EQ(takeAsked(), "d");
}

TEST(Map, CopyMakesItsItemsThroughTheCopiedMap) {
  ztMap *map = newIntMap(HostMap_ctor);
  for (int32_t key = 0; key < 3; ++key) pushBack(map, key, key + 1);
  takeAsked();
  auto *copy = static_cast<ztMap *>(ztMap_of(map)->clone(map, HostMap_newop()));
  EXPECT_EQ(takeAsked(), "nnndnnd");
  EXPECT_EQ(copy->tree->itemManager, copy);
  EXPECT_EQ(map->tree->itemManager, map);
  EXPECT_EQ(pairsOf(copy), pairsOf(map));
  release(copy);
  release(map);
}

TEST(Map, FindAllAsksTheOutputsOwnMethods) {
  ztMap *map = newIntMap();
  ztMap_of(map)->setAllowDuplicate(map, 1);
  for (int32_t i = 0; i < 3; ++i) pushBack(map, 7, i);
  ztMap *output = newIntMap(HostMap_ctor);
  takeAsked();
  const int32_t key = 7;
  EXPECT_EQ(ztMap_of(map)->findAll(map, &key, output), 2);
  EXPECT_EQ(takeAsked(), "apnpnnds");
  EXPECT_EQ(output->tree->allowDuplicate, 1U);
  release(output);
  release(map);
}

// Finding all -------------------------------------------------------------------------------------

TEST(Map, FindAllGivesNothingWithoutDuplicates) {
  ztMap *map = newIntMap();
  pushBack(map, 1, 10);
  ztMap *output = newIntMap();
  pushBack(output, 5, 50);
  const int32_t key = 1;
  EXPECT_EQ(ztMap_of(map)->findAll(map, &key, output), 0);
  EXPECT_EQ(output->allowDuplicate, 0U);
  EXPECT_EQ(ztMap_of(output)->getSize(output), 1);
  release(output);
  release(map);
}

TEST_P(MapOf, FindAllFillsAMapThatThenAllowsDuplicates) {
  methods->setAllowDuplicate(map, 1);
  // Of three equal keys, the first has come to hang on the right of the second, and is passed by.
  for (int32_t i = 0; i < 3; ++i) push(7, i);
  ztMap *output = newMap();
  configure(output);
  EXPECT_EQ(methods->findAll(map, keys.make(7), output), 2);
  EXPECT_EQ(output->allowDuplicate, 1U);
  EXPECT_EQ(pairsIn(output), Pairs({{7, 2}, {7, 1}}));
  EXPECT_EQ(methods->findAll(map, keys.make(8), output), 2) << "the size of the output";
  release(output);
}

TEST_P(MapOf, FindAllInAnEmptyMapAddsNothing) {
  methods->setAllowDuplicate(map, 1);
  ztMap *output = newMap();
  configure(output);
  EXPECT_EQ(methods->findAll(map, keys.make(7), output), 0);
  EXPECT_EQ(output->allowDuplicate, 1U);
  release(output);
}

TEST_P(MapOf, FindAllIntoTheMapItself) {
  methods->setAllowDuplicate(map, 1);
  for (int32_t i = 0; i < 3; ++i) push(7, i);
  EXPECT_EQ(methods->findAll(map, keys.make(7), map), 5);
  EXPECT_EQ(faultOf(map->tree), "");
}

TEST(Map, FindAllTakesMapsOnly) {
  ztMap *map = newIntMap();
  ztMap_of(map)->setAllowDuplicate(map, 1);
  pushBack(map, 1, 10);
  const int32_t key = 1;
  auto *array = static_cast<ztIntArray *>(ztIntArray_ctor(nullptr, 1));
  EXPECT_EQ(ztMap_of(map)->findAll(map, &key, array), 0);
  EXPECT_EQ(ztMap_of(map)->findAll(map, &key, nullptr), 0);
  EXPECT_EQ(ztIntArray_of(array)->getSize(array), 0);
  release(array);
  release(map);
}

// Copies ------------------------------------------------------------------------------------------

TEST_P(MapOf, CopyIsIndependentAndInTheSameOrder) {
  methods->setAllowDuplicate(map, 1);
  std::mt19937 random(41);
  for (int32_t i = 0; i < 60; ++i) push(static_cast<int32_t>(random() % 9), i);
  methods->setAllowDuplicate(map, 0);  // what is there stays
  const Pairs pairs = pairsIn(map);
  ztMap *copy = copyOf(map);
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(faultOf(map->tree), faultOf(copy->tree));
  EXPECT_NE(copy->tree, map->tree);
  EXPECT_EQ(copy->itemManager, copy);
  EXPECT_EQ(copy->tree->itemManager, copy);
  EXPECT_EQ(copy->tree->allowDuplicate, 0U);
  EXPECT_EQ(copy->tree->refCount, 1);
  EXPECT_EQ(pairsIn(copy), pairs);
  while (copy->tree->count > 10) ztMap_of(copy)->pop(copy, copy->tree->root->data);
  EXPECT_EQ(pairsIn(map), pairs);
  const Pairs left = pairsIn(copy);
  methods->empty(map);
  EXPECT_EQ(pairsIn(copy), left);
  release(copy);
}

TEST_P(MapOf, CopyOfAnEmptyMapIsEmpty) {
  ztMap *copy = copyOf(map);
  EXPECT_EQ(ztMap_of(copy)->getSize(copy), 0);
  EXPECT_NE(ztMap_of(copy)->pushBack(copy, keys.make(1), values.make(2)), nullptr);
  EXPECT_EQ(methods->getSize(map), 0);
  release(copy);
}

TEST(Map, CopyThatFailsLosesNothing) {
  for (const bool inKey : {true, false}) {
    const LiveCount live;
    ztMap *map = newMap();
    configurePairs(map, {Policy::constructed, Policy::constructed});
    Counted *element = newCounted(0);
    for (element->value = 0; element->value < 9; ++element->value) {
      ztMap_of(map)->pushBack(map, element, element);
    }
    element->value = 4;
    const ztMapItem *item = ztMap_of(map)->find(map, element);
    static_cast<Counted *>(inKey ? item->data : item->value)->value = refusesToClone;
    void *target = ztMap_newop();
    EXPECT_EQ(ztMap_of(map)->clone(map, target), nullptr);
    ztm_free(target);
    EXPECT_EQ(live.made(), 19);
    release(element);
    release(map);
    EXPECT_EQ(live.made(), 0);
  }
}

TEST(Map, CopyOfItsTreeAloneIsEmpty) {
  ztMap *map = newIntMap();
  for (int32_t key = 0; key < 9; ++key) pushBack(map, key, key);
  auto *copy = static_cast<ztAvlTree *>(ztAvlTree_of(map->tree)->clone(map->tree, ztAvlTree_newop()));
  EXPECT_EQ(copy->root, nullptr);
  EXPECT_EQ(copy->count, 0U);
  EXPECT_EQ(ztMap_of(map)->getSize(map), 9);
  release(copy);
  release(map);
}

TEST_P(MapOf, CopyItemCopiesKeyAndValue) {
  const ztMapItem *item = push(3, 30);
  auto *copy = static_cast<ztMapItem *>(map->itemConstructor(nullptr, 1));
  EXPECT_EQ(methods->copyItem(map, copy, item), copy);
  EXPECT_EQ(keys.numberOf(copy->data), 3);
  EXPECT_EQ(values.numberOf(copy->value), 30);
  EXPECT_EQ(copy->data == item->data, std::get<0>(GetParam()) == Policy::byPointer);
  EXPECT_EQ(copy->value == item->value, std::get<1>(GetParam()) == Policy::byPointer);
  methods->deleteItem(map, copy);

  ztMapItem *empty = static_cast<ztMapItem *>(map->itemConstructor(nullptr, 1));
  auto *emptyCopy = static_cast<ztMapItem *>(map->itemConstructor(nullptr, 1));
  EXPECT_EQ(methods->copyItem(map, emptyCopy, empty), emptyCopy);
  EXPECT_EQ(emptyCopy->data, nullptr);
  EXPECT_EQ(emptyCopy->value, nullptr);
  EXPECT_EQ(methods->copyItem(map, nullptr, empty), nullptr);
  EXPECT_EQ(methods->copyItem(map, empty, nullptr), nullptr);
  EXPECT_EQ(methods->copyItem(nullptr, emptyCopy, empty), nullptr);
  methods->deleteItem(map, empty);
  methods->deleteItem(map, emptyCopy);
  methods->deleteItem(map, nullptr);
}

TEST_P(MapOf, NoPairMakesNoItem) {
  EXPECT_EQ(methods->newItem(map, nullptr), nullptr);
  const ztKeyValue pair = {keys.make(1), values.make(1)};
  methods->setItemConstructor(map, nullptr);
  EXPECT_EQ(methods->newItem(map, &pair), nullptr);
  EXPECT_EQ(methods->pushBack(map, keys.make(1), values.make(1)), nullptr);
  EXPECT_EQ(methods->getSize(map), 0);
}

// Without memory ----------------------------------------------------------------------------------

TEST(Map, CreatedWithoutMemoryForItsTreeItDoesNothing) {
  ztMap map;
  ztMap_ctor(&map, 0);
  const Fault injected(0);
  EXPECT_EQ(ztMap_of(&map)->create(&map), 0);
  EXPECT_TRUE(injected.end());
  EXPECT_EQ(map.tree, nullptr);
  EXPECT_EQ(pushBack(&map, 1, 10), nullptr);
  ztMap_of(&map)->destroy(&map);
}

TEST_P(MapOf, PushBackWithoutMemoryChangesNothing) {
  push(1, 10);
  int fault = 0;
  for (;; ++fault) {
    const void *key = keys.make(2);
    const void *value = values.make(20);
    const Fault injected(fault);
    const ztMapItem *item = methods->pushBack(map, key, value);
    if (!injected.end()) {
      EXPECT_NE(item, nullptr);
      break;
    }
    EXPECT_EQ(item, nullptr);
    expectPairs({{1, 10}});
  }
  EXPECT_GE(fault, 2);
  expectPairs({{1, 10}, {2, 20}});
}

TEST_P(MapOf, CopyWithoutMemoryFailsAndOwnsNothing) {
  for (int32_t key = 0; key < 5; ++key) push(key, key);
  expectCopyToNeedMemory(map, 6);
}

// Misuse ------------------------------------------------------------------------------------------

TEST(Map, PairThatCannotBeCopiedIsNotAdded) {
  const LiveCount live;
  ztMap *map = newMap();
  configurePairs(map, {Policy::constructed, Policy::constructed});
  Counted *good = newCounted(1);
  Counted *bad = newCounted(refusesToClone);
  for (int turn = 0; turn < 2; ++turn) {
    EXPECT_EQ(ztMap_of(map)->pushBack(map, bad, good), nullptr);
    EXPECT_EQ(ztMap_of(map)->pushBack(map, good, bad), nullptr);
    EXPECT_EQ(ztMap_of(map)->getSize(map), turn);
    good->value = 5;
    ztMap_of(map)->pushBack(map, good, good);
  }
  release(good);
  release(bad);
  release(map);
  EXPECT_EQ(live.made(), 0);
}

TEST_P(MapOf, NullIsAKeyOnlyWherePointersAreKept) {
  if (std::get<0>(GetParam()) == Policy::byPointer) {
    push(1, 10);
    const ztMapItem *item = methods->pushBack(map, nullptr, values.make(1));
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(methods->find(map, nullptr), item);
    EXPECT_EQ(methods->findValue(map, nullptr), item->value);
    EXPECT_EQ(methods->pop(map, nullptr), 1);
    expectPairs({{1, 10}});
    return;
  }
  EXPECT_EQ(methods->pushBack(map, nullptr, values.make(1)), nullptr);
  push(1, 10);
  push(2, 20);
  EXPECT_EQ(methods->pushBack(map, nullptr, values.make(1)), nullptr);
  EXPECT_EQ(methods->find(map, nullptr), nullptr);
  EXPECT_EQ(methods->findValue(map, nullptr), nullptr);
  EXPECT_EQ(methods->pop(map, nullptr), 0);
  methods->setAllowDuplicate(map, 1);
  ztMap *output = newMap();
  configure(output);
  EXPECT_EQ(methods->findAll(map, nullptr, output), 0);
  release(output);
  expectPairs({{1, 10}, {2, 20}});
}

static int32_t compareIntsThatAreThere(const void *first, const void *second) {
  EXPECT_NE(first, nullptr);
  EXPECT_NE(second, nullptr);
  return ztIntArray_compare_func(first, second);
}

TEST(Map, NullIsNotComparedWithKeysOfBytes) {
  ztMap *map = newIntMap();
  const auto *methods = ztMap_of(map);
  methods->setCompareFunction(map, compareIntsThatAreThere);
  pushBack(map, 1, 10);
  EXPECT_EQ(methods->find(map, nullptr), nullptr);
  EXPECT_EQ(methods->pop(map, nullptr), 0);
  const int32_t value = 20;
  EXPECT_EQ(methods->pushBack(map, nullptr, &value), nullptr);
  EXPECT_NE(find(map, 1), nullptr);
  release(map);
}

TEST_P(MapOf, NullIsAValueOnlyWherePointersAreKept) {
  if (std::get<1>(GetParam()) == Policy::byPointer) {
    const ztMapItem *item = methods->pushBack(map, keys.make(1), nullptr);
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(item->value, nullptr);
    return;
  }
  EXPECT_EQ(methods->pushBack(map, keys.make(1), nullptr), nullptr);
  push(1, 10);
  EXPECT_EQ(methods->pushBack(map, keys.make(2), nullptr), nullptr);
  expectPairs({{1, 10}});
}

TEST(Map, WithoutACompareFunctionOnlyOnePairGoesIn) {
  ztMap *map = newIntMap();
  ztMap_of(map)->setCompareFunction(map, nullptr);
  EXPECT_NE(pushBack(map, 1, 10), nullptr);
  EXPECT_EQ(pushBack(map, 2, 20), nullptr);
  EXPECT_EQ(find(map, 1), nullptr);
  EXPECT_EQ(pop(map, 1), 0);
  ztMap_of(map)->setAllowDuplicate(map, 1);
  ztMap *output = newIntMap();
  const int32_t key = 1;
  EXPECT_EQ(ztMap_of(map)->findAll(map, &key, output), 0);
  EXPECT_EQ(ztMap_of(map)->getSize(map), 1);
  release(output);
  release(map);
}

TEST(Map, MapThatLostItsTreeDoesNothing) {
  ztMap *map = newIntMap();
  pushBack(map, 1, 10);
  ztMap_of(map)->destroy(map);
  EXPECT_EQ(map->tree, nullptr);
  const int32_t key = 1;
  const auto *methods = ztMap_of(map);
  EXPECT_EQ(methods->pushBack(map, &key, &key), nullptr);
  EXPECT_EQ(methods->pop(map, &key), 0);
  EXPECT_EQ(methods->find(map, &key), nullptr);
  EXPECT_EQ(methods->findValue(map, &key), nullptr);
  EXPECT_EQ(methods->getSize(map), 0);
  methods->empty(map);
  methods->setCompareFunction(map, ztIntArray_compare_func);
  methods->setAllowDuplicate(map, 1);
  EXPECT_EQ(methods->findAll(map, &key, map), 0);
  ztMapIterator walk;
  ztMapIterator_ctor(&walk, 1);
  EXPECT_EQ(ztMapIterator_of(&walk)->first(&walk, map), nullptr);
  ztMap *copy = copyOf(map);
  EXPECT_EQ(copy->tree, nullptr);
  release(copy);
  release(map);  // destroys a second time
}

TEST(Map, NullMapGivesNothing) {
  const auto *methods = ztMap_table();
  const int32_t key = 1;
  EXPECT_EQ(methods->pushBack(nullptr, &key, &key), nullptr);
  EXPECT_EQ(methods->pop(nullptr, &key), 0);
  EXPECT_EQ(methods->find(nullptr, &key), nullptr);
  EXPECT_EQ(methods->findValue(nullptr, &key), nullptr);
  EXPECT_EQ(methods->findAll(nullptr, &key, nullptr), 0);
  EXPECT_EQ(methods->getSize(nullptr), 0);
  methods->empty(nullptr);
}
