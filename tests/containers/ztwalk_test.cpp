#include "containers/ztwalk.hh"

#include "containers/ztarrays.h"

#include <gtest/gtest.h>

#include <numeric>
#include <vector>

namespace {

// A map of numbers by value, whose values are their keys times ten.
class MapItemsOf : public ::testing::Test {
 protected:
  MapItemsOf() : map(static_cast<ztMap *>(ztMap_ctor(nullptr, 1))), methods(ztMap_of(map)) {
    methods->setCompareFunction(map, ztIntArray_compare_func);
    methods->setKeySize(map, sizeof(int32_t), 0);
    methods->setValueSize(map, sizeof(int32_t), 0);
  }
  ~MapItemsOf() override {
    methods->unRef(map);
  }

  void fill(const std::vector<int32_t> &keys) {
    for (const int32_t key : keys) {
      const int32_t value = 10 * key;
      ASSERT_NE(methods->pushBack(map, &key, &value), nullptr);
    }
  }

  static int32_t keyOf(const ztMapItem *item) {
    return *static_cast<const int32_t *>(item->data);
  }

  static std::vector<int32_t> keysOf(const void *walked) {
    std::vector<int32_t> keys;
    for (const ztMapItem *item : ztcore::itemsOf(walked)) keys.push_back(keyOf(item));
    return keys;
  }

  ztMap *map;
  const ztMapMethods *methods;
};

TEST_F(MapItemsOf, ComeInTheOrderOfTheirKeys) {
  std::vector<int32_t> keys(100);
  std::iota(keys.begin(), keys.end(), 0);
  fill({keys.rbegin(), keys.rend()});
  EXPECT_EQ(keysOf(map), keys);
}

TEST_F(MapItemsOf, AreTheMapsOwn) {
  fill({2, 1, 3});
  for (ztMapItem *item : ztcore::itemsOf(map)) {
    const int32_t key = keyOf(item);
    EXPECT_EQ(item, methods->find(map, &key));
    *static_cast<int32_t *>(item->value) += 1;
  }
  const int32_t two = 2;
  EXPECT_EQ(*static_cast<const int32_t *>(methods->findValue(map, &two)), 21);
}

TEST_F(MapItemsOf, AreNoneInAnEmptyMap) {
  EXPECT_EQ(keysOf(map), std::vector<int32_t>());
}

TEST_F(MapItemsOf, AreNoneInNull) {
  EXPECT_EQ(keysOf(nullptr), std::vector<int32_t>());
}

TEST_F(MapItemsOf, AreNoneInAMapWithoutATree) {
  ztAvlTree *tree = map->tree;
  map->tree = nullptr;
  EXPECT_EQ(keysOf(map), std::vector<int32_t>());
  map->tree = tree;
}

TEST_F(MapItemsOf, MayBeLeftBeforeTheLast) {
  fill({1, 2, 3, 4});
  int32_t sum = 0;
  for (const ztMapItem *item : ztcore::itemsOf(map)) {
    if (keyOf(item) == 3) break;
    sum += keyOf(item);
  }
  EXPECT_EQ(sum, 3);
}

TEST_F(MapItemsOf, MayBeWalkedWhileTheyAreWalked) {
  fill({1, 2, 3});
  int32_t pairs = 0;
  for (const ztMapItem *first : ztcore::itemsOf(map)) {
    for (const ztMapItem *second : ztcore::itemsOf(map)) pairs += keyOf(first) < keyOf(second);
  }
  EXPECT_EQ(pairs, 3);
}

}  // namespace
