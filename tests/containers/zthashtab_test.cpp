#include "containers/zthashtab.h"

#include "containers/ztarrays.h"
#include "core/ztmem.h"
#include "tests/containers/pairs.hh"
#include "tests/helpers/faults.hh"
#include "tests/helpers/scale.hh"

#include <gtest/gtest.h>
#include <limits.h>
#include <string.h>

#include <random>
#include <set>
#include <unordered_map>

namespace {

// The hash, written a second time: with multiplications, over bytes as numbers from -128 to 127.
constexpr uint32_t hashOf(std::string_view key) {
  if (key.empty()) return 0;
  uint32_t hash = 0;
  for (const char byte : key) {
    const int value = (byte & 0x7F) - (byte & 0x80);
    hash = (hash + static_cast<uint32_t>(value)) * 1025U;
    hash = hash ^ (hash / 64U);
  }
  hash = hash * 9U;
  hash = hash ^ (hash / 2048U);
  return hash * 32769U;
}

static_assert(hashOf("") == 0);
static_assert(hashOf("a") == 0xCA2E9442);
static_assert(hashOf("\xFF") == 0xAE65A494);
static_assert(hashOf("abc") == 0xED131F5B);

uint32_t bucketOf(std::string_view key, int32_t buckets) {
  const uint32_t hash = hashOf(key);
  return (hash ^ (hash / 1024U) ^ (hash / 1048576U)) & static_cast<uint32_t>(buckets - 1);
}

uint32_t bucketOfInt(int32_t key, int32_t buckets) {
  return bucketOf({reinterpret_cast<const char *>(&key), sizeof key}, buckets);
}

void release(void *object) {
  ztBaseClass_of(object)->unRef(object);
}

ztHashTable *newTable(ztCtor constructor = ztHashTable_ctor) {
  return static_cast<ztHashTable *>(constructor(nullptr, 1));
}

ztHashTable *newIntTable(int32_t buckets, ztCtor constructor = ztHashTable_ctor) {
  ztHashTable *table = newTable(constructor);
  configurePairs(table, {Policy::byValue, Policy::byValue});
  EXPECT_EQ(ztHashTable_of(table)->setSize(table, buckets), 1);
  return table;
}

int32_t insert(ztHashTable *table, int32_t key, int32_t value) {
  return ztHashTable_of(table)->insert(table, &key, &value);
}

ztHashTableItem *find(const ztHashTable *table, int32_t key) {
  return ztHashTable_of(table)->find(table, &key);
}

int32_t valueOf(const ztHashTableItem *item) {
  return *static_cast<const int32_t *>(item->value);
}

ztHashTableItem *headOf(const ztHashTable *table, uint32_t bucket) {
  return static_cast<ztHashTableItem **>(table->buckets->data)[bucket];
}

bool everyBucketIsEmpty(const ztHashTable *table) {
  for (int32_t i = 0; i < table->buckets->count; ++i) {
    if (headOf(table, static_cast<uint32_t>(i)) != nullptr) return false;
  }
  return true;
}

ztHashTable *copyOf(const ztHashTable *table) {
  return static_cast<ztHashTable *>(ztHashTable_of(table)->clone(table, ztHashTable_newop()));
}

// Integer keys that all lie in the same one of so many buckets.
std::vector<int32_t> collidingKeys(size_t count, int32_t buckets) {
  std::vector<int32_t> keys;
  for (int32_t key = 0; keys.size() < count; ++key) {
    if (bucketOfInt(key, buckets) == 3) keys.push_back(key);
  }
  return keys;
}

// One table for each pair of policies, of keys and of values.
class HashTableOf : public ::testing::TestWithParam<PairPolicy> {
 protected:
  HashTableOf()
      : keys(std::get<0>(GetParam())),
        values(std::get<1>(GetParam())),
        table(newTable()),
        methods(ztHashTable_of(table)) {
    configurePairs(table, GetParam());
    methods->setSize(table, 16);
  }
  ~HashTableOf() override {
    release(table);
    EXPECT_EQ(live.made(), 0) << "a key or value was lost";
  }

  int32_t insertPair(int32_t key, int32_t value) {
    return methods->insert(table, keys.make(key), values.make(value));
  }

  // The pairs, bucket by bucket, each as it stands in its chain.
  std::vector<std::pair<int32_t, int32_t>> pairsIn(const ztHashTable *other) const {
    std::vector<std::pair<int32_t, int32_t>> pairs;
    for (int32_t i = 0; i < other->buckets->count; ++i) {
      for (const auto *item = headOf(other, static_cast<uint32_t>(i)); item != nullptr; item = item->next) {
        pairs.emplace_back(keys.numberOf(item->data), values.numberOf(item->value));
      }
    }
    return pairs;
  }

  void expectOwned() {
    ASSERT_EQ(live.made(), objectsPerPair(GetParam()) * static_cast<int>(table->count));
  }

  Elements keys;
  Elements values;
  LiveCount live;
  ztHashTable *table;
  const ztHashTableMethods *methods;
};

INSTANTIATE_TEST_SUITE_P(Policies, HashTableOf, allPairPolicies(), pairPolicyName);

}  // namespace

// Buckets -----------------------------------------------------------------------------------------

TEST(HashTable, NewTableHasNoBuckets) {
  ztHashTable *table = newTable();
  ASSERT_NE(table->buckets, nullptr);
  EXPECT_STREQ(ztOOP_classNameOf(table->buckets), "ztPtrArray");
  EXPECT_EQ(table->buckets->count, 0);
  EXPECT_EQ(table->count, 0U);
  EXPECT_EQ(table->itemConstructor, ztHashTableItem_ctor);
  release(table);
}

TEST(HashTable, NewItemHasNoLink) {
  auto *item = static_cast<ztHashTableItem *>(ztHashTableItem_ctor(nullptr, 1));
  EXPECT_EQ(item->data, nullptr);
  EXPECT_EQ(item->next, nullptr);
  EXPECT_EQ(item->value, nullptr);
  release(item);
}

TEST(HashTable, ClassesAreKnownByName) {
  for (const char *name : {"ztHashTable", "ztHashTableItem"}) {
    void *object = ztNewFromName(name);
    ASSERT_NE(object, nullptr) << name;
    EXPECT_STREQ(ztOOP_classNameOf(object), name);
    release(object);
  }
}

TEST(HashTable, SizeStaysAbstract) {
  ztHashTable *table = newIntTable(8);
  int32_t (*getSize)(const void *) = ztHashTable_of(table)->getSize;
  void *(*handler)(const void *) = ztOOP_ztVirtualFuncHandler;
  EXPECT_EQ(memcmp(&getSize, &handler, sizeof handler), 0);
  release(table);
}

// Keys of all lengths and bytes stand where the second implementation of the hash says.
TEST(HashTable, KeysStandInTheBucketOfTheirHash) {
  std::mt19937 random(51);
  for (const int32_t buckets : {1, 2, 8, 1024, 65536, 6, 100}) {
    for (int32_t length = 0; length <= 40; ++length) {
      ztHashTable *table = newTable();
      const auto *methods = ztHashTable_of(table);
      methods->setKeySize(table, length, 1);
      methods->setValueSize(table, 8, 1);
      methods->setCompareFunction(table, ztPtrArray_compare_func_ptr);
      methods->setSize(table, buckets);
      std::string keys[4];
      for (std::string &key : keys) {
        key.resize(static_cast<size_t>(length));
        for (char &byte : key) byte = static_cast<char>(random());
        ASSERT_EQ(methods->insert(table, key.data(), nullptr), 1);
        ASSERT_EQ(headOf(table, bucketOf(key, buckets))->data, key.data()) << length << " of " << buckets;
        ASSERT_EQ(methods->find(table, key.data()), headOf(table, bucketOf(key, buckets)));
      }
      release(table);
    }
  }
}

TEST(HashTable, ListedHashesLeadToTheirBuckets) {
  struct Listed {
    const char *key;
    int32_t length;
    uint32_t hash;
  };
  const Listed cases[] = {{"", 0, 0}, {"a", 1, 0xCA2E9442}, {"\xFF", 1, 0xAE65A494}, {"abc", 3, 0xED131F5B}};
  constexpr uint32_t buckets = 1U << 20;
  for (const Listed &listed : cases) {
    ztHashTable *table = newTable();
    ztHashTable_of(table)->setKeySize(table, listed.length, 1);
    ztHashTable_of(table)->setValueSize(table, 8, 1);
    ztHashTable_of(table)->setSize(table, buckets);
    ztHashTable_of(table)->insert(table, listed.key, nullptr);
    const uint32_t folded = listed.hash ^ (listed.hash >> 10) ^ (listed.hash >> 20);
    const ztHashTableItem *item = headOf(table, folded & (buckets - 1));
    ASSERT_NE(item, nullptr) << listed.key;
    EXPECT_EQ(item->data, listed.key);
    release(table);
  }
}

TEST(HashTable, SetSizeToAnyCountGivesEmptyBuckets) {
  ztHashTable *table = newIntTable(8);
  for (const int32_t buckets : {16, 16, 4, 4, 5, 64, 1, 1, 0, 0, 8}) {
    for (int32_t key = 0; key < 40; ++key) insert(table, key, key);
    ASSERT_EQ(ztHashTable_of(table)->setSize(table, buckets), 1);
    ASSERT_EQ(table->count, 0U);
    ASSERT_EQ(table->buckets->count, buckets);
    ASSERT_TRUE(everyBucketIsEmpty(table));
    ASSERT_EQ(find(table, 1), nullptr);
  }
  release(table);
}

TEST(HashTable, SetSizeToTheSameCountAfterEmptyingClearsTheBuckets) {
  ztHashTable *table = newIntTable(8);
  for (int32_t key = 0; key < 40; ++key) insert(table, key, key);
  ztHashTable_of(table)->empty(table);
  EXPECT_EQ(ztHashTable_of(table)->setSize(table, 8), 1);
  EXPECT_TRUE(everyBucketIsEmpty(table));
  release(table);
}

TEST(HashTable, ImpossibleSizeChangesNothing) {
  ztHashTable *table = newIntTable(8);
  insert(table, 1, 10);
  for (const int32_t buckets : {-1, INT_MIN, INT_MAX, INT_MAX / 8 + 1}) {
    EXPECT_EQ(ztHashTable_of(table)->setSize(table, buckets), 0);
    EXPECT_EQ(table->buckets->count, 8);
    ASSERT_NE(find(table, 1), nullptr);
  }
  release(table);
}

TEST(HashTable, WithoutBucketsNothingIsKept) {
  ztHashTable *table = newTable();
  configurePairs(table, {Policy::byValue, Policy::byValue});
  EXPECT_EQ(insert(table, 1, 10), 0);
  EXPECT_EQ(find(table, 1), nullptr);
  ztHashTable_of(table)->empty(table);
  EXPECT_EQ(ztHashTable_of(table)->setSize(table, 4), 1);
  EXPECT_EQ(insert(table, 1, 10), 1);
  EXPECT_EQ(ztHashTable_of(table)->setSize(table, 0), 1);
  EXPECT_EQ(insert(table, 1, 10), 0);
  EXPECT_EQ(find(table, 1), nullptr);
  release(table);
}

// Pairs -------------------------------------------------------------------------------------------

TEST_P(HashTableOf, KeysAndValuesAreKeptAsThePoliciesSay) {
  const void *key = keys.make(1);
  const void *value = values.make(10);
  ASSERT_EQ(methods->insert(table, key, value), 1);
  const ztHashTableItem *item = methods->find(table, keys.make(1));
  ASSERT_NE(item, nullptr);
  EXPECT_STREQ(ztOOP_classNameOf(item), "ztHashTableItem");
  EXPECT_EQ(item->data == key, std::get<0>(GetParam()) == Policy::byPointer);
  EXPECT_EQ(item->value == value, std::get<1>(GetParam()) == Policy::byPointer);
  EXPECT_EQ(keys.numberOf(item->data), 1);
  EXPECT_EQ(values.numberOf(item->value), 10);
  EXPECT_EQ(item->next, nullptr);
  expectOwned();
}

TEST_P(HashTableOf, KeyThatIsThereIsRefused) {
  EXPECT_EQ(insertPair(1, 10), 1);
  EXPECT_EQ(insertPair(1, 11), 0);
  EXPECT_EQ(table->count, 1U);
  EXPECT_EQ(values.numberOf(methods->find(table, keys.make(1))->value), 10);
  expectOwned();
}

TEST_P(HashTableOf, OfEqualKeysTheLatestIsFound) {
  methods->setAllowDuplicate(table, 1);
  for (int32_t value = 0; value < 5; ++value) {
    EXPECT_EQ(insertPair(1, value), 1);
    EXPECT_EQ(values.numberOf(methods->find(table, keys.make(1))->value), value);
  }
  EXPECT_EQ(table->count, 5U);
  expectOwned();
}

TEST(HashTable, ChainsAreNewestFirst) {
  ztHashTable *table = newIntTable(8);
  const auto keys = collidingKeys(5, 8);
  for (const int32_t key : keys) EXPECT_EQ(insert(table, key, key * 2), 1);
  const ztHashTableItem *item = headOf(table, 3);
  for (auto key = keys.rbegin(); key != keys.rend(); ++key, item = item->next) {
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(*static_cast<const int32_t *>(item->data), *key);
    EXPECT_EQ(valueOf(item), *key * 2);
  }
  EXPECT_EQ(item, nullptr);
  for (const int32_t key : keys) {
    EXPECT_EQ(insert(table, key, 0), 0) << "a key deep in the chain counts as there";
    EXPECT_EQ(valueOf(find(table, key)), key * 2);
  }
  EXPECT_EQ(find(table, collidingKeys(6, 8).back()), nullptr);
  release(table);
}

TEST_P(HashTableOf, RandomOperationsAgreeWithAModel) {
  std::mt19937 random(61);
  for (const uint32_t allowDuplicate : {0U, 1U}) {
    methods->setAllowDuplicate(table, allowDuplicate);
    for (const int32_t buckets : {1, 16, 64}) {
      methods->setSize(table, buckets);
      std::unordered_map<int32_t, std::vector<int32_t>> model;
      size_t count = 0;
      for (int32_t i = 0; i < scale(2500); ++i) {
        const auto key = static_cast<int32_t>(random() % 60);
        const auto value = static_cast<int32_t>(random() % 1000);
        const auto choice = random() % 200;
        if (choice == 0) {
          methods->empty(table);
          model.clear();
          count = 0;
        } else if (choice == 1) {
          methods->setSize(table, buckets);
          model.clear();
          count = 0;
        } else {
          const bool accepted = allowDuplicate || model[key].empty();
          ASSERT_EQ(insertPair(key, value), accepted);
          if (accepted) {
            model[key].push_back(value);
            ++count;
          }
        }
        const auto other = static_cast<int32_t>(random() % 80);
        const ztHashTableItem *item = methods->find(table, keys.make(other));
        ASSERT_EQ(item != nullptr, !model[other].empty());
        if (item != nullptr) {
          ASSERT_EQ(values.numberOf(item->value), model[other].back());
        }
        ASSERT_EQ(table->count, count);
        expectOwned();
      }
      std::multiset<std::pair<int32_t, int32_t>> expected;
      for (const auto &[key, all] : model) {
        for (const int32_t value : all) expected.emplace(key, value);
      }
      if (count > 0) {
        const auto pairs = pairsIn(table);
        EXPECT_EQ(std::multiset(pairs.begin(), pairs.end()), expected);
      }
    }
  }
}

TEST(HashTable, ObjectsAsKeysDifferByTheirBytes) {
  // Hashed over the whole object, so also over the number that tells the two apart.
  ztHashTable *table = newTable();
  const auto *methods = ztHashTable_of(table);
  methods->setKeySize(table, sizeof(Counted), 0);
  methods->setKeyConstructor(table, Counted_ctor);
  methods->setCompareFunction(table, [](const void *, const void *) { return 0; });
  methods->setValueSize(table, 8, 1);
  methods->setSize(table, 1 << 16);
  Counted *one = newCounted(1);
  Counted *two = newCounted(2);
  EXPECT_EQ(methods->insert(table, one, nullptr), 1);
  EXPECT_EQ(methods->insert(table, two, nullptr), 1) << "they lie in different buckets, equal or not";
  release(one);
  release(two);
  release(table);
}

TEST(HashTable, ComparesTheStoredKeyWithTheGivenOne) {
  static const void *given;
  ztHashTable *table = newIntTable(1);
  insert(table, 1, 10);
  insert(table, 2, 20);
  ztHashTable_of(table)->setCompareFunction(table, [](const void *first, const void *second) {
    EXPECT_NE(first, given);
    EXPECT_EQ(second, given);
    return ztIntArray_compare_func(first, second);
  });
  const int32_t key = 1;
  given = &key;
  EXPECT_EQ(valueOf(ztHashTable_of(table)->find(table, &key)), 10);
  EXPECT_EQ(ztHashTable_of(table)->insert(table, &key, &key), 0);
  release(table);
}

// Emptying ----------------------------------------------------------------------------------------

TEST_P(HashTableOf, EmptiedTableIsUsedAgain) {
  for (int32_t turn = 0; turn < 3; ++turn) {
    for (int32_t key = 0; key < 40; ++key) EXPECT_EQ(insertPair(key, key + turn), 1);
    methods->empty(table);
    EXPECT_EQ(table->count, 0U);
    EXPECT_EQ(table->buckets->count, 16);
    expectOwned();
    for (int32_t key = 0; key < 40; ++key) EXPECT_EQ(methods->find(table, keys.make(key)), nullptr);
    methods->empty(table);
  }
  EXPECT_EQ(insertPair(7, 70), 1);
  EXPECT_EQ(pairsIn(table).size(), 1U) << "nothing of before is left in any bucket";
}

TEST_P(HashTableOf, EmptiedTableIsDestroyed) {
  for (int32_t key = 0; key < 40; ++key) insertPair(key, key);
  methods->empty(table);
}

TEST(HashTable, EmptyLeavesTheBucketsAsTheyAre) {
  ztHashTable *table = newIntTable(1);
  insert(table, 1, 10);
  const ztHashTableItem *head = headOf(table, 0);
  ztHashTable_of(table)->empty(table);
  EXPECT_EQ(headOf(table, 0), head);
  release(table);
}

TEST(HashTable, DestroyedTwiceIsHarmless) {
  ztHashTable table;
  ztHashTable_ctor(&table, 1);
  configurePairs(&table, {Policy::byValue, Policy::byValue});
  ztHashTable_of(&table)->setSize(&table, 4);
  insert(&table, 1, 10);
  ztHashTable_of(&table)->destroy(&table);
  EXPECT_EQ(table.buckets, nullptr);
  EXPECT_EQ(insert(&table, 1, 10), 0);
  EXPECT_EQ(find(&table, 1), nullptr);
  EXPECT_EQ(ztHashTable_of(&table)->setSize(&table, 4), 0);
  ztHashTable_of(&table)->empty(&table);
  ztHashTable *copy = copyOf(&table);
  EXPECT_EQ(copy->buckets, nullptr);
  release(copy);
  ztHashTable_of(&table)->destroy(&table);
}

// Host subclasses ---------------------------------------------------------------------------------

// A table that writes down what goes through its method table, and can call into itself while it
// deletes an item.
static std::string asked;
static bool reenters;

#define HostTable_FIELDS ztHashTable_FIELDS
#define HostTable_METHODS ztHashTable_METHODS
ZT_DECLARE_CLASS(HostTable)

static void *hostTableNewItem(void *object, const void *pair) {
  asked += 'n';
  return ztHashTable_table()->newItem(object, pair);
}

static void hostTableDeleteItem(void *object, void *item) {
  asked += 'd';
  if (reenters) {
    auto *table = static_cast<ztHashTable *>(object);
    const int32_t key = *static_cast<int32_t *>(static_cast<ztHashTableItem *>(item)->data);
    EXPECT_EQ(find(table, key), nullptr);
    EXPECT_EQ(insert(table, key + 1000, key), 1);
    EXPECT_NE(find(table, key + 1000), nullptr);
  }
  ztHashTable_table()->deleteItem(object, item);
}

static void hostTableEmpty(void *object) {
  asked += 'e';
  ztHashTable_table()->empty(object);
}

static void hostTableMethods(HostTableMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, newItem, hostTableNewItem);
  ZT_OVERRIDE_METHOD(methods, deleteItem, hostTableDeleteItem);
  ZT_OVERRIDE_METHOD(methods, empty, hostTableEmpty);
}

ZT_DEFINE_CLASS(HostTable, ztHashTable, hostTableMethods)

static std::string takeAsked() {
  std::string calls;
  calls.swap(asked);
  return calls;
}

TEST(HashTable, GoesThroughItsMethodTable) {
  takeAsked();
  ztHashTable *table = newIntTable(4, HostTable_ctor);
  EXPECT_EQ(takeAsked(), "e");
  insert(table, 1, 10);
  insert(table, 2, 20);
  EXPECT_EQ(takeAsked(), "nn");
  insert(table, 2, 21);
  find(table, 1);
  EXPECT_EQ(takeAsked(), "") << "nothing is made for a refused pair";
  ztHashTable_of(table)->setSize(table, 8);
  EXPECT_EQ(takeAsked(), "edd");
  insert(table, 1, 10);
  takeAsked();
  release(table);
  EXPECT_EQ(takeAsked(), "ed");
}

TEST(HashTable, ItemManagerMakesAndDeletesTheItems) {
  ztHashTable *manager = newIntTable(1, HostTable_ctor);
  ztHashTable *table = newIntTable(4);
  ztHashTable_of(table)->setItemManager(table, manager);
  takeAsked();
  insert(table, 1, 10);
  EXPECT_EQ(takeAsked(), "n");
  ztHashTable *copy = copyOf(table);
  EXPECT_EQ(copy->itemManager, copy);
  EXPECT_EQ(takeAsked(), "");
  release(copy);
  EXPECT_EQ(takeAsked(), "");
  release(table);
  EXPECT_EQ(takeAsked(), "d");
  release(manager);
}

TEST(HashTable, MayBeCalledWhileItIsEmptied) {
  ztHashTable *table = newIntTable(8, HostTable_ctor);
  for (int32_t key = 0; key < 50; ++key) insert(table, key, key);
  reenters = true;
  ztHashTable_of(table)->empty(table);
  reenters = false;
  EXPECT_EQ(table->count, 50U);
  for (int32_t key = 0; key < 50; ++key) EXPECT_NE(find(table, key + 1000), nullptr);
  release(table);
}

// Copies ------------------------------------------------------------------------------------------

TEST_P(HashTableOf, CopyIsIndependentAndInTheSameOrder) {
  methods->setAllowDuplicate(table, 1);
  for (int32_t i = 0; i < 60; ++i) insertPair(i % 25, i);
  methods->setAllowDuplicate(table, 0);  // what is there stays
  const auto pairs = pairsIn(table);
  ztHashTable *copy = copyOf(table);
  ASSERT_NE(copy, nullptr);
  EXPECT_NE(copy->buckets, table->buckets);
  EXPECT_EQ(copy->buckets->refCount, 1);
  EXPECT_EQ(copy->itemManager, copy);
  EXPECT_EQ(copy->count, 60U);
  EXPECT_EQ(pairsIn(copy), pairs);
  methods->empty(table);
  EXPECT_EQ(pairsIn(copy), pairs);
  EXPECT_EQ(ztHashTable_of(copy)->insert(copy, keys.make(100), values.make(1)), 1);
  EXPECT_EQ(methods->find(table, keys.make(100)), nullptr);
  release(copy);
}

TEST_P(HashTableOf, CopyOfAnEmptiedTableIsEmpty) {
  for (int32_t key = 0; key < 20; ++key) insertPair(key, key);
  methods->empty(table);
  ztHashTable *copy = copyOf(table);
  EXPECT_EQ(copy->count, 0U);
  EXPECT_EQ(copy->buckets->count, 16);
  EXPECT_TRUE(everyBucketIsEmpty(copy));
  EXPECT_EQ(ztHashTable_of(copy)->insert(copy, keys.make(1), values.make(1)), 1);
  EXPECT_EQ(table->count, 0U);
  release(copy);
}

TEST(HashTable, CopyThatFailsLosesNothing) {
  const LiveCount live;
  ztHashTable *table = newTable();
  configurePairs(table, {Policy::constructed, Policy::constructed});
  ztHashTable_of(table)->setSize(table, 4);
  Counted *element = newCounted(0);
  for (element->value = 0; element->value < 9; ++element->value) {
    ztHashTable_of(table)->insert(table, element, element);
  }
  element->value = 4;
  static_cast<Counted *>(ztHashTable_of(table)->find(table, element)->value)->value = refusesToClone;
  void *target = ztHashTable_newop();
  EXPECT_EQ(ztHashTable_of(table)->clone(table, target), nullptr);
  ztm_free(target);
  EXPECT_EQ(live.made(), 19);
  release(element);
  release(table);
  EXPECT_EQ(live.made(), 0);
}

TEST_P(HashTableOf, CopyItemCopiesKeyAndValue) {
  insertPair(3, 30);
  const ztHashTableItem *item = methods->find(table, keys.make(3));
  auto *copy = static_cast<ztHashTableItem *>(table->itemConstructor(nullptr, 1));
  EXPECT_EQ(methods->copyItem(table, copy, item), copy);
  EXPECT_EQ(keys.numberOf(copy->data), 3);
  EXPECT_EQ(values.numberOf(copy->value), 30);
  EXPECT_EQ(copy->data == item->data, std::get<0>(GetParam()) == Policy::byPointer);
  methods->deleteItem(table, copy);
  methods->deleteItem(table, nullptr);
}

// Without memory ----------------------------------------------------------------------------------

TEST(HashTable, CreatedWithoutMemoryForItsBucketsItDoesNothing) {
  ztHashTable table;
  ztHashTable_ctor(&table, 0);
  const Fault injected(0);
  EXPECT_EQ(ztHashTable_of(&table)->create(&table), 0);
  EXPECT_TRUE(injected.end());
  EXPECT_EQ(table.buckets, nullptr);
  EXPECT_EQ(ztHashTable_of(&table)->setSize(&table, 8), 0);
  ztHashTable_of(&table)->destroy(&table);
}

TEST(HashTable, SetSizeWithoutMemoryLeavesAnEmptyUsableTable) {
  ztHashTable *table = newIntTable(8);
  for (int32_t key = 0; key < 20; ++key) insert(table, key, key);
  const Fault injected(0);
  EXPECT_EQ(ztHashTable_of(table)->setSize(table, 64), 0);
  EXPECT_TRUE(injected.end());
  EXPECT_EQ(table->count, 0U);
  EXPECT_EQ(table->buckets->count, 8);
  EXPECT_TRUE(everyBucketIsEmpty(table));
  EXPECT_EQ(insert(table, 1, 10), 1);
  EXPECT_NE(find(table, 1), nullptr);
  release(table);
}

TEST_P(HashTableOf, InsertWithoutMemoryChangesNothing) {
  insertPair(1, 10);
  int fault = 0;
  for (;; ++fault) {
    const void *key = keys.make(2);
    const void *value = values.make(20);
    const Fault injected(fault);
    const int32_t inserted = methods->insert(table, key, value);
    if (!injected.end()) {
      EXPECT_EQ(inserted, 1);
      break;
    }
    EXPECT_EQ(inserted, 0);
    EXPECT_EQ(pairsIn(table).size(), 1U);
    expectOwned();
  }
  EXPECT_GE(fault, 1);
  EXPECT_EQ(table->count, 2U);
}

TEST_P(HashTableOf, CopyWithoutMemoryFailsAndOwnsNothing) {
  for (int32_t key = 0; key < 5; ++key) insertPair(key, key);
  expectCopyToNeedMemory(table, 6);
}

// Misuse ------------------------------------------------------------------------------------------

TEST_P(HashTableOf, NullIsNoKeyOfBytes) {
  insertPair(1, 10);
  EXPECT_EQ(methods->insert(table, nullptr, values.make(1)), 0);
  EXPECT_EQ(methods->find(table, nullptr), nullptr);
  EXPECT_EQ(table->count, 1U);
}

TEST(HashTable, NullIsAKeyWherePointersOfNoBytesAreKept) {
  ztHashTable *table = newTable();
  const auto *methods = ztHashTable_of(table);
  methods->setKeySize(table, 0, 1);
  methods->setValueSize(table, 8, 1);
  methods->setCompareFunction(table, ztPtrArray_compare_func_ptr);
  methods->setSize(table, 8);
  EXPECT_EQ(methods->insert(table, nullptr, nullptr), 1);
  EXPECT_EQ(methods->insert(table, table, nullptr), 1);
  EXPECT_EQ(methods->find(table, nullptr)->data, nullptr);
  EXPECT_EQ(methods->find(table, table), headOf(table, 0));
  release(table);
}

// Pointers of no stated size all share a bucket, so these stand in one chain.
TEST(HashTable, IntegersAreFoundBehindNullAndWithoutAlignment) {
  char bytes[3 * sizeof(int32_t)] = {};
  const int32_t values[] = {7, -7};
  memcpy(bytes + 1, &values[0], sizeof(int32_t));
  memcpy(bytes + 1 + sizeof(int32_t), &values[1], sizeof(int32_t));
  ztHashTable *table = newTable();
  const auto *methods = ztHashTable_of(table);
  methods->setKeySize(table, 0, 1);
  methods->setValueSize(table, 0, 1);
  methods->setCompareFunction(table, ztIntArray_compare_func);
  methods->setSize(table, 4);
  ASSERT_EQ(methods->insert(table, bytes + 1, nullptr), 1);
  ASSERT_EQ(methods->insert(table, bytes + 1 + sizeof(int32_t), nullptr), 1);
  ASSERT_EQ(methods->insert(table, nullptr, nullptr), 1);
  for (const int32_t &value : values) {
    EXPECT_EQ(methods->insert(table, &value, nullptr), 0);
    const ztHashTableItem *item = methods->find(table, &value);
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(memcmp(item->data, &value, sizeof value), 0);
  }
  const int32_t missing = 8;
  EXPECT_EQ(methods->find(table, &missing), nullptr);
  EXPECT_EQ(methods->find(table, nullptr)->data, nullptr);
  release(table);
}

TEST(HashTable, NullIsNoKeyOfNoBytesWhereKeysAreCopied) {
  for (const Policy policy : {Policy::byValue, Policy::constructed}) {
    ztHashTable *table = newTable();
    configurePairs(table, {policy, Policy::byPointer});
    const auto *methods = ztHashTable_of(table);
    methods->setKeySize(table, 0, 0);
    methods->setSize(table, 8);
    EXPECT_EQ(methods->insert(table, nullptr, table), 0) << policyName(policy);
    EXPECT_EQ(methods->find(table, nullptr), nullptr) << policyName(policy);
    EXPECT_EQ(table->count, 0U);
    release(table);
  }
}

TEST_P(HashTableOf, NullIsAValueOnlyWherePointersAreKept) {
  const bool isValue = std::get<1>(GetParam()) == Policy::byPointer;
  EXPECT_EQ(methods->insert(table, keys.make(1), nullptr), isValue);
  EXPECT_EQ(table->count, isValue ? 1U : 0U);
  EXPECT_EQ(methods->find(table, keys.make(1)) != nullptr, isValue);
}

TEST(HashTable, PairThatCannotBeCopiedIsNotAdded) {
  const LiveCount live;
  ztHashTable *table = newTable();
  configurePairs(table, {Policy::constructed, Policy::constructed});
  ztHashTable_of(table)->setSize(table, 4);
  Counted *good = newCounted(1);
  Counted *bad = newCounted(refusesToClone);
  EXPECT_EQ(ztHashTable_of(table)->insert(table, bad, good), 0);
  EXPECT_EQ(ztHashTable_of(table)->insert(table, good, bad), 0);
  EXPECT_EQ(table->count, 0U);
  EXPECT_EQ(ztHashTable_of(table)->find(table, good), nullptr);
  release(good);
  release(bad);
  release(table);
  EXPECT_EQ(live.made(), 0);
}

TEST(HashTable, WithoutACompareFunctionAnOccupiedBucketRefuses) {
  ztHashTable *table = newIntTable(1);
  ztHashTable_of(table)->setCompareFunction(table, nullptr);
  EXPECT_EQ(insert(table, 1, 10), 1);
  EXPECT_EQ(insert(table, 2, 20), 0);
  EXPECT_EQ(find(table, 1), nullptr);
  ztHashTable_of(table)->setAllowDuplicate(table, 1);
  EXPECT_EQ(insert(table, 2, 20), 1) << "nothing is compared where duplicates are allowed";
  EXPECT_EQ(table->count, 2U);
  release(table);
}

TEST(HashTable, NullTableGivesNothing) {
  const auto *methods = ztHashTable_table();
  const int32_t key = 1;
  EXPECT_EQ(methods->setSize(nullptr, 8), 0);
  EXPECT_EQ(methods->insert(nullptr, &key, &key), 0);
  EXPECT_EQ(methods->find(nullptr, &key), nullptr);
  methods->empty(nullptr);
}

// Comparing -----------------------------------------------------------------------------------------

static int comparisons;

static int32_t countingCompare(const void *first, const void *second) {
  ++comparisons;
  return ztIntArray_compare_func(first, second);
}

TEST(HashTable, AHostsCompareFunctionSeesTheWholeBucketAlsoWhereDuplicatesAreAllowed) {
  void *table = ztHashTable_ctor(nullptr, 1);
  const ztHashTableMethods *methods = ztHashTable_of(table);
  methods->setKeySize(table, sizeof(int32_t), 0);
  methods->setCompareFunction(table, countingCompare);
  methods->setAllowDuplicate(table, 1);
  methods->setSize(table, 1);
  comparisons = 0;
  const int32_t key = 5;
  for (int before = 0; before < 4; ++before) EXPECT_EQ(methods->insert(table, &key, &key), 1);
  EXPECT_EQ(comparisons, 0 + 1 + 2 + 3);
  methods->unRef(table);
}

TEST(HashTable, NothingOfTheLibrarysIsComparedWhereDuplicatesAreAllowed) {
  void *table = ztHashTable_ctor(nullptr, 1);
  const ztHashTableMethods *methods = ztHashTable_of(table);
  methods->setKeySize(table, 0, 1);
  methods->setCompareFunction(table, ztIntArray_compare_func);
  methods->setAllowDuplicate(table, 1);
  methods->setSize(table, 1);
  // Keys that cannot be followed.
  for (uintptr_t key = 1; key < 5; ++key) {
    EXPECT_EQ(methods->insert(table, reinterpret_cast<const void *>(key), nullptr), 1);
  }
  methods->unRef(table);
}

TEST(HashTable, TakesNoMorePairsThanItsCountShouldTell) {
  void *table = ztHashTable_ctor(nullptr, 1);
  const ztHashTableMethods *methods = ztHashTable_of(table);
  methods->setKeySize(table, sizeof(int32_t), 0);
  methods->setCompareFunction(table, ztIntArray_compare_func);
  methods->setSize(table, 1);
  const int32_t keys[] = {1, 2};
  EXPECT_EQ(methods->insert(table, &keys[0], &keys[0]), 1);
  static_cast<ztHashTable *>(table)->count = INT32_MAX;
  EXPECT_EQ(methods->insert(table, &keys[1], &keys[1]), 0);
  static_cast<ztHashTable *>(table)->count = 1;
  EXPECT_EQ(methods->insert(table, &keys[1], &keys[1]), 1);
  methods->unRef(table);
}
