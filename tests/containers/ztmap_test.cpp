#include "containers/ztmap.h"

#include "containers/ztarrays.h"
#include "containers/ztmapiter.h"
#include "tests/containers/pairs.hh"
#include "tests/containers/treecheck.hh"
#include "tests/helpers/faults.hh"
#include "tests/helpers/scale.hh"

#include <gtest/gtest.h>

#include <map>
#include <random>

namespace {

using Map = Owned<ztMap, ztMapMethods>;

// Keeps numbers, keys and values, by value.
class IntMap : public Map {
 public:
  explicit IntMap(const Pairs &pairs = {}, ztCtor constructor = ztMap_ctor) : Map(constructor) {
    configureNumbers(*this);
    for (const auto &[key, value] : pairs) push(key, value);
  }
  ztMapItem *push(int32_t key, int32_t value) const {
    return (*this)->pushBack(*this, &key, &value);
  }
  int32_t pop(int32_t key) const {
    return (*this)->pop(*this, &key);
  }
  ztMapItem *find(int32_t key) const {
    return (*this)->find(*this, &key);
  }
  const int32_t *findValue(int32_t key) const {
    return static_cast<const int32_t *>((*this)->findValue(*this, &key));
  }
};

std::pair<int32_t, int32_t> pairIn(const void *item) {
  const auto *mapItem = static_cast<const ztMapItem *>(item);
  return {*static_cast<const int32_t *>(mapItem->data), *static_cast<const int32_t *>(mapItem->value)};
}

Pairs pairsIn(const Map &map) {
  Pairs pairs;
  for (const void *item : itemsIn(map.fields().tree)) pairs.push_back(pairIn(item));
  return pairs;
}

}  // namespace

TEST(ztMap, LargeMapAgreesWithAModel) {
  const IntMap map;
  std::map<int32_t, int32_t> model;
  std::mt19937 random(33);
  const int32_t operations = scale(200000);
  for (int32_t i = 0; i < operations; ++i) {
    const auto key = static_cast<int32_t>(random() % 20000);
    if (random() % 3 != 0) {
      ASSERT_EQ(map.push(key, i) != nullptr, model.emplace(key, i).second);
    } else {
      const bool wasEmpty = model.empty();
      ASSERT_EQ(map.pop(key), model.erase(key) == 1 || wasEmpty);
    }
    const int32_t *value = map.findValue(key);
    const auto found = model.find(key);
    ASSERT_EQ(value != nullptr, found != model.end());
    ASSERT_TRUE(value == nullptr || *value == found->second);
  }
  EXPECT_EQ(faultOf(map.fields().tree), "");
  EXPECT_EQ(pairsIn(map), Pairs(model.begin(), model.end()));
}

TEST(ztMap, FindValueGivesTheValueOfTheKey) {
  const IntMap map({{5, 50}, {3, 30}});
  EXPECT_EQ(map.findValue(3), map.find(3)->value);
  EXPECT_EQ(*map.findValue(3), 30);
  EXPECT_EQ(map.findValue(4), nullptr);
  EXPECT_EQ(map->findValue(map, nullptr), nullptr);
}

TEST(ztMap, FindValueOfNullWherePointersAreKept) {
  const Map map(ztMap_ctor);
  configurePairs(map, Policy::byPointer, Policy::byPointer);
  const ztMapItem *item = map->pushBack(map, nullptr, map);
  ASSERT_NE(item, nullptr);
  EXPECT_EQ(map->findValue(map, nullptr), map);
}

TEST(ztMapIterator, GoesThroughThePairsInTheOrderOfKeysBothWays) {
  const Pairs pairs = {{1, 10}, {2, 20}, {4, 40}, {6, 60}, {8, 80}, {9, 90}};
  const IntMap map({pairs[3], pairs[1], pairs[5], pairs[2], pairs[0], pairs[4]});
  ztMapIterator walk;
  ztMapIterator_ctor(&walk, 1);
  const auto *steps = ztMapIterator_of(&walk);
  Pairs forwards;
  for (void *item = steps->first(&walk, map); item != nullptr; item = steps->next(&walk)) {
    forwards.push_back(pairIn(item));
  }
  EXPECT_EQ(forwards, pairs);
  Pairs backwards;
  for (void *item = steps->last(&walk, map); item != nullptr; item = steps->prev(&walk)) {
    backwards.push_back(pairIn(item));
  }
  EXPECT_EQ(backwards, Pairs(pairs.rbegin(), pairs.rend()));
  EXPECT_EQ(steps->first(&walk, nullptr), nullptr);
  EXPECT_EQ(steps->last(&walk, nullptr), nullptr);
  steps->destroy(&walk);
}

TEST(ztMap, WithoutAValuePolicyItIsASet) {
  const Map map(ztMap_ctor);
  map->setKeySize(map, sizeof(int32_t), 0);
  map->setCompareFunction(map, ztIntArray_compare_func);
  for (const int32_t key : {3, 1, 2, 3}) map->pushBack(map, &key, nullptr);
  EXPECT_EQ(map->getSize(map), 3);
  const int32_t two = 2;
  EXPECT_NE(map->find(map, &two), nullptr);
}

// Settings and routing ----------------------------------------------------------------------------

TEST(ztMap, CompareFunctionAndDuplicatesHoldForTheTreeToo) {
  const Map map(ztMap_ctor);
  map->setCompareFunction(map, ztIntArray_compare_func);
  EXPECT_EQ(map.fields().compareFunction, ztIntArray_compare_func);
  EXPECT_EQ(map.fields().tree->compareFunction, ztIntArray_compare_func);
  map->setAllowDuplicate(map, 1);
  EXPECT_EQ(map.fields().allowDuplicate, 1U);
  EXPECT_EQ(map.fields().tree->allowDuplicate, 1U);
}

TEST(ztMap, ItemManagerIsNotHandedOnToTheTree) {
  const IntMap map;
  const IntMap other;
  EXPECT_EQ(map.fields().tree->itemManager, map);
  map->setItemManager(map, other);
  EXPECT_EQ(map.fields().itemManager, other);
  EXPECT_EQ(map.fields().tree->itemManager, map);
  for (const int32_t key : upTo(5)) map.push(key, key);
  EXPECT_EQ(map->getSize(map), 5);
}

// A host's map, which writes down what its tree asks of it, and what findAll asks of it as an output.
#define HostMap_FIELDS ztMap_FIELDS
#define HostMap_METHODS ztMap_METHODS
ZT_DECLARE_CLASS(HostMap)

static void hostMapMethods(HostMapMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, newItem, [](void *map, const void *pair) {
    asked += 'n';
    return ztMap_table()->newItem(map, pair);
  });
  ZT_OVERRIDE_METHOD(methods, deleteItem, [](void *map, void *item) {
    asked += 'd';
    ztMap_table()->deleteItem(map, item);
  });
  ZT_OVERRIDE_METHOD(methods, setItemConstructor, [](void *map, ztCtor constructor) {
    asked += static_cast<const ztMap *>(map)->tree == nullptr ? 'i' : 'I';
    ztMap_table()->setItemConstructor(map, constructor);
  });
  ZT_OVERRIDE_METHOD(methods, setAllowDuplicate, [](void *map, uint32_t allow) {
    asked += 'a';
    ztMap_table()->setAllowDuplicate(map, allow);
  });
  ZT_OVERRIDE_METHOD(methods, pushBack, [](void *map, const void *key, const void *value) {
    asked += 'p';
    return ztMap_table()->pushBack(map, key, value);
  });
  ZT_OVERRIDE_METHOD(methods, getSize, [](const void *map) {
    asked += 's';
    return ztMap_table()->getSize(map);
  });
}

ZT_DEFINE_CLASS(HostMap, ztMap, hostMapMethods)

TEST(ztMap, TreeStandsWhenTheItemConstructorIsSetAndMakesItsItemsThroughTheMap) {
  takeAsked();
  {
    const IntMap map({}, HostMap_ctor);
    EXPECT_EQ(takeAsked(), "I");
    map.push(1, 10);
    EXPECT_EQ(takeAsked(), "pn");
    map.push(2, 20);
    EXPECT_EQ(takeAsked(), "pnnd");
    map.push(2, 21);
    EXPECT_EQ(takeAsked(), "pnd");
    map.pop(1);
    EXPECT_EQ(takeAsked(), "d");
  }
  EXPECT_EQ(takeAsked(), "d");
}

TEST(ztMap, CopyHasATreeOfItsOwnWhoseItemsItMakesItself) {
  const IntMap map({{0, 1}, {1, 2}, {2, 3}}, HostMap_ctor);
  takeAsked();
  const Map copy = map.copy();
  EXPECT_EQ(takeAsked(), "nnndnnd");
  EXPECT_NE(copy.fields().tree, map.fields().tree);
  EXPECT_EQ(copy.fields().tree->itemManager, copy);
  EXPECT_EQ(copy.fields().tree->refCount, 1);
  EXPECT_EQ(copy.fields().tree->allowDuplicate, 0U);
  EXPECT_EQ(map.fields().tree->itemManager, map);
  EXPECT_EQ(pairsIn(copy), pairsIn(map));
}

TEST(ztMap, CopyOfItsTreeAloneIsEmpty) {
  const IntMap map({{1, 10}, {2, 20}});
  const Tree copy(newClone(map.fields().tree));
  EXPECT_EQ(copy.fields().root, nullptr);
  EXPECT_EQ(copy.fields().count, 0U);
  EXPECT_EQ(map->getSize(map), 2);
}

// Finding all -------------------------------------------------------------------------------------

TEST(ztMap, FindAllAsksTheOutputsOwnMethods) {
  const IntMap map;
  map->setAllowDuplicate(map, 1);
  for (const int32_t i : upTo(3)) map.push(7, i);
  const IntMap output({}, HostMap_ctor);
  takeAsked();
  const int32_t key = 7;
  EXPECT_EQ(map->findAll(map, &key, output), 2);
  EXPECT_EQ(takeAsked(), "apnpnnds");
  EXPECT_EQ(output.fields().tree->allowDuplicate, 1U);
}

TEST(ztMap, FindAllInAnEmptyMapAllowsTheOutputDuplicatesAllTheSame) {
  const IntMap map;
  const IntMap output;
  map->setAllowDuplicate(map, 1);
  const int32_t key = 7;
  EXPECT_EQ(map->findAll(map, &key, output), 0);
  EXPECT_EQ(output.fields().allowDuplicate, 1U);
}

TEST(ztMap, FindAllTakesMapsOnly) {
  const IntMap map({{1, 10}});
  map->setAllowDuplicate(map, 1);
  const int32_t key = 1;
  const Owned<ztIntArray, ztIntArrayMethods> array(ztIntArray_ctor);
  EXPECT_EQ(map->findAll(map, &key, array), 0);
  EXPECT_EQ(map->findAll(map, &key, nullptr), 0);
  EXPECT_EQ(array->getSize(array), 0);
}

// Misuse ------------------------------------------------------------------------------------------

TEST(ztMap, CreatedWithoutMemoryForItsTreeItDoesNothing) {
  ztMap map;
  ztMap_ctor(&map, 0);
  const Fault injected(0);
  EXPECT_EQ(ztMap_of(&map)->create(&map), 0);
  EXPECT_TRUE(injected.end());
  EXPECT_EQ(map.tree, nullptr);
  const int32_t key = 1;
  EXPECT_EQ(ztMap_of(&map)->pushBack(&map, &key, &key), nullptr);
  ztMap_of(&map)->destroy(&map);
}

TEST(ztMap, NullIsNotComparedWithKeysOfBytes) {
  const IntMap map;
  map->setCompareFunction(map, [](const void *first, const void *second) {
    EXPECT_NE(first, nullptr);
    EXPECT_NE(second, nullptr);
    return ztIntArray_compare_func(first, second);
  });
  map.push(1, 10);
  EXPECT_EQ(map->find(map, nullptr), nullptr);
  EXPECT_EQ(map->pop(map, nullptr), 0);
  const int32_t value = 20;
  EXPECT_EQ(map->pushBack(map, nullptr, &value), nullptr);
  EXPECT_NE(map.find(1), nullptr);
}

TEST(ztMap, WithoutACompareFunctionOnlyOnePairGoesIn) {
  const IntMap map;
  map->setCompareFunction(map, nullptr);
  EXPECT_NE(map.push(1, 10), nullptr);
  EXPECT_EQ(map.push(2, 20), nullptr);
  EXPECT_EQ(map.find(1), nullptr);
  EXPECT_EQ(map.pop(1), 0);
  map->setAllowDuplicate(map, 1);
  const int32_t key = 1;
  EXPECT_EQ(map->findAll(map, &key, IntMap()), 0);
  EXPECT_EQ(map->getSize(map), 1);
}

TEST(ztMap, MapThatLostItsTreeDoesNothing) {
  const IntMap map({{1, 10}});  // is destroyed once more when it is released
  map->destroy(map);
  EXPECT_EQ(map.fields().tree, nullptr);
  EXPECT_EQ(map.push(1, 1), nullptr);
  EXPECT_EQ(map.pop(1), 0);
  EXPECT_EQ(map.find(1), nullptr);
  EXPECT_EQ(map.findValue(1), nullptr);
  EXPECT_EQ(map->getSize(map), 0);
  map->empty(map);
  map->setCompareFunction(map, ztIntArray_compare_func);
  map->setAllowDuplicate(map, 1);
  const int32_t key = 1;
  EXPECT_EQ(map->findAll(map, &key, map), 0);
  const Owned<ztMapIterator, ztMapIteratorMethods> walk(ztMapIterator_ctor);
  EXPECT_EQ(walk->first(walk, map), nullptr);
  EXPECT_EQ(map.copy().fields().tree, nullptr);
}
