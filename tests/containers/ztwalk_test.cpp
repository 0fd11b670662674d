#include "containers/ztwalk.hh"

#include "tests/containers/pairs.hh"

#include <gtest/gtest.h>

namespace {

// A map of numbers by value, whose values are their keys times ten.
class MapItemsTest : public testing::Test {
 protected:
  MapItemsTest() {
    configureNumbers(map);
  }
  void fill(const Numbers &keys) {
    for (const int32_t key : keys) {
      const int32_t value = 10 * key;
      ASSERT_NE(map->pushBack(map, &key, &value), nullptr);
    }
  }
  static int32_t keyOf(const ztMapItem *item) {
    return *static_cast<const int32_t *>(item->data);
  }
  static Numbers keysOf(const void *walked) {
    Numbers keys;
    for (const ztMapItem *item : ztcore::itemsOf(walked)) keys.push_back(keyOf(item));
    return keys;
  }

  Owned<ztMap, ztMapMethods> map{ztMap_ctor};
};

}  // namespace

TEST_F(MapItemsTest, ComeInTheOrderOfTheirKeys) {
  const Numbers keys = upTo(100);
  fill({keys.rbegin(), keys.rend()});
  EXPECT_EQ(keysOf(map), keys);
}

TEST_F(MapItemsTest, AreTheMapsOwn) {
  fill({2, 1, 3});
  for (ztMapItem *item : ztcore::itemsOf(map)) {
    const int32_t key = keyOf(item);
    EXPECT_EQ(item, map->find(map, &key));
    *static_cast<int32_t *>(item->value) += 1;
  }
  const int32_t two = 2;
  EXPECT_EQ(*static_cast<const int32_t *>(map->findValue(map, &two)), 21);
}

TEST_F(MapItemsTest, AreNoneInAnEmptyMapOneWithoutATreeAndNull) {
  EXPECT_EQ(keysOf(map), Numbers());
  EXPECT_EQ(keysOf(nullptr), Numbers());
  map->destroy(map);
  ASSERT_EQ(map.fields().tree, nullptr);
  EXPECT_EQ(keysOf(map), Numbers());
}

TEST_F(MapItemsTest, MayBeLeftBeforeTheLast) {
  fill({1, 2, 3, 4});
  int32_t sum = 0;
  for (const ztMapItem *item : ztcore::itemsOf(map)) {
    if (keyOf(item) == 3) break;
    sum += keyOf(item);
  }
  EXPECT_EQ(sum, 3);
}

TEST_F(MapItemsTest, MayBeWalkedWhileTheyAreWalked) {
  fill({1, 2, 3});
  int32_t pairs = 0;
  for (const ztMapItem *first : ztcore::itemsOf(map)) {
    for (const ztMapItem *second : ztcore::itemsOf(map)) pairs += keyOf(first) < keyOf(second);
  }
  EXPECT_EQ(pairs, 3);
}
