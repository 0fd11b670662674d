#include "containers/zthashtab.h"

#include "containers/ztarrays.h"
#include "tests/containers/pairs.hh"
#include "tests/helpers/faults.hh"

#include <gtest/gtest.h>
#include <limits.h>
#include <string.h>

#include <random>

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

using Table = Owned<ztHashTable, ztHashTableMethods>;

ztHashTableItem *headOf(const Table &table, uint32_t bucket) {
  return static_cast<ztHashTableItem **>(table.fields().buckets->data)[bucket];
}

bool everyBucketIsEmpty(const Table &table) {
  for (int32_t i = 0; i < table.fields().buckets->count; ++i) {
    if (headOf(table, static_cast<uint32_t>(i)) != nullptr) return false;
  }
  return true;
}

// Keeps numbers, keys and values, by value.
class IntTable : public Table {
 public:
  explicit IntTable(int32_t buckets, const Numbers &numbers = {}, ztCtor constructor = ztHashTable_ctor)
      : Table(constructor) {
    configureNumbers(*this);
    EXPECT_EQ((*this)->setSize(*this, buckets), 1);
    for (const int32_t number : numbers) insert(number, 10 * number);
  }
  int32_t insert(int32_t key, int32_t value) const {
    return (*this)->insert(*this, &key, &value);
  }
  ztHashTableItem *find(int32_t key) const {
    return (*this)->find(*this, &key);
  }
};

// Keeps pointers to keys of so many bytes, and pointers as values.
Table tableOfPointers(int32_t keySize, int32_t buckets, ztCompareFunc compare) {
  Table table(ztHashTable_ctor);
  table->setKeySize(table, keySize, 1);
  table->setValueSize(table, 8, 1);
  table->setCompareFunction(table, compare);
  EXPECT_EQ(table->setSize(table, buckets), 1);
  return table;
}

int32_t valueIn(const ztHashTableItem *item) {
  return *static_cast<const int32_t *>(item->value);
}

// Integer keys that all lie in the same one of so many buckets.
Numbers collidingKeys(size_t count, int32_t buckets) {
  Numbers keys;
  for (int32_t key = 0; keys.size() < count; ++key) {
    if (bucketOfInt(key, buckets) == 3) keys.push_back(key);
  }
  return keys;
}

}  // namespace

// Buckets -----------------------------------------------------------------------------------------

// Keys of all lengths and bytes stand where the second implementation of the hash says.
TEST(ztHashTable, KeysStandInTheBucketOfTheirHash) {
  std::mt19937 random(51);
  for (const int32_t buckets : {1, 2, 8, 1024, 65536, 6, 100}) {
    for (int32_t length = 0; length <= 40; ++length) {
      const Table table = tableOfPointers(length, buckets, ztPtrArray_compare_func_ptr);
      std::string keys[4];
      for (std::string &key : keys) {
        key.resize(static_cast<size_t>(length));
        for (char &byte : key) byte = static_cast<char>(random());
        ASSERT_EQ(table->insert(table, key.data(), nullptr), 1);
        ASSERT_EQ(headOf(table, bucketOf(key, buckets))->data, key.data()) << length << " of " << buckets;
        ASSERT_EQ(table->find(table, key.data()), headOf(table, bucketOf(key, buckets)));
      }
    }
  }
}

TEST(ztHashTable, ListedHashesLeadToTheirBuckets) {
  const struct {
    const char *key;
    int32_t length;
    uint32_t hash;
  } rows[] = {{"", 0, 0}, {"a", 1, 0xCA2E9442}, {"\xFF", 1, 0xAE65A494}, {"abc", 3, 0xED131F5B}};
  constexpr uint32_t buckets = 1U << 20;
  for (const auto &row : rows) {
    const Table table = tableOfPointers(row.length, buckets, nullptr);
    table->insert(table, row.key, nullptr);
    const uint32_t folded = row.hash ^ (row.hash >> 10) ^ (row.hash >> 20);
    const ztHashTableItem *item = headOf(table, folded & (buckets - 1));
    ASSERT_NE(item, nullptr) << row.key;
    EXPECT_EQ(item->data, row.key);
  }
}

TEST(ztHashTable, SetSizeToAnyCountGivesEmptyBuckets) {
  const IntTable table(8);
  for (const int32_t buckets : {16, 16, 4, 4, 5, 64, 1, 1, 0, 0, 8, 8}) {
    for (const int32_t key : upTo(40)) table.insert(key, key);
    ASSERT_EQ(table->setSize(table, buckets), 1);
    ASSERT_EQ(table.fields().count, 0U);
    ASSERT_EQ(table.fields().buckets->count, buckets);
    ASSERT_TRUE(everyBucketIsEmpty(table));
    ASSERT_EQ(table.find(1), nullptr);
  }
  for (const int32_t key : upTo(40)) table.insert(key, key);
  table->empty(table);
  EXPECT_FALSE(everyBucketIsEmpty(table)) << "what `empty` leaves in the buckets means nothing";
  EXPECT_EQ(table->setSize(table, 8), 1);
  EXPECT_TRUE(everyBucketIsEmpty(table));
}

TEST(ztHashTable, ImpossibleSizeChangesNothing) {
  const IntTable table(8, {1});
  for (const int32_t buckets : {-1, INT_MIN, INT_MAX, INT_MAX / 8 + 1}) {
    EXPECT_EQ(table->setSize(table, buckets), 0);
    EXPECT_EQ(table.fields().buckets->count, 8);
    ASSERT_NE(table.find(1), nullptr);
  }
}

TEST(ztHashTable, WithoutBucketsNothingIsKept) {
  const Table fresh(ztHashTable_ctor);
  EXPECT_EQ(fresh.fields().buckets->count, 0);
  configureNumbers(fresh);
  const int32_t key = 1;
  EXPECT_EQ(fresh->insert(fresh, &key, &key), 0);
  EXPECT_EQ(fresh->find(fresh, &key), nullptr);
  fresh->empty(fresh);
  const IntTable table(4, {1});
  EXPECT_EQ(table->setSize(table, 0), 1);
  EXPECT_EQ(table.insert(1, 10), 0);
  EXPECT_EQ(table.find(1), nullptr);
}

// Pairs -------------------------------------------------------------------------------------------

TEST(ztHashTable, ChainsAreNewestFirst) {
  const IntTable table(8);
  const Numbers keys = collidingKeys(5, 8);
  for (const int32_t key : keys) EXPECT_EQ(table.insert(key, key * 2), 1);
  const ztHashTableItem *item = headOf(table, 3);
  for (auto key = keys.rbegin(); key != keys.rend(); ++key, item = item->next) {
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(*static_cast<const int32_t *>(item->data), *key);
    EXPECT_EQ(valueIn(item), *key * 2);
  }
  EXPECT_EQ(item, nullptr);
  for (const int32_t key : keys) {
    EXPECT_EQ(table.insert(key, 0), 0) << "a key deep in the chain counts as there";
    EXPECT_EQ(valueIn(table.find(key)), key * 2);
  }
  EXPECT_EQ(table.find(collidingKeys(6, 8).back()), nullptr);
}

TEST(ztHashTable, ObjectsAsKeysDifferByTheirBytes) {
  // Hashed over the whole object, so also over the number that tells the two apart.
  const Table table(ztHashTable_ctor);
  configurePairs(table, Policy::constructed, Policy::byPointer);
  table->setKeySize(table, sizeof(Counted), 0);
  table->setCompareFunction(table, [](const void *, const void *) { return 0; });
  table->setSize(table, 1 << 16);
  EXPECT_EQ(table->insert(table, counted(1), nullptr), 1);
  EXPECT_EQ(table->insert(table, counted(2), nullptr), 1) << "in different buckets, equal or not";
}

TEST(ztHashTable, ComparesTheStoredKeyWithTheGivenOne) {
  static const void *given;
  const IntTable table(1, {1, 2});
  table->setCompareFunction(table, [](const void *first, const void *second) {
    EXPECT_NE(first, given);
    EXPECT_EQ(second, given);
    return ztIntArray_compare_func(first, second);
  });
  const int32_t key = 1;
  given = &key;
  EXPECT_EQ(valueIn(table->find(table, &key)), 10);
  EXPECT_EQ(table->insert(table, &key, &key), 0);
}

TEST(ztHashTable, AHostsCompareFunctionSeesTheWholeBucketAlsoWhereDuplicatesAreAllowed) {
  static int comparisons;
  comparisons = 0;
  const IntTable table(1);
  table->setAllowDuplicate(table, 1);
  table->setCompareFunction(table, [](const void *first, const void *second) {
    ++comparisons;
    return ztIntArray_compare_func(first, second);
  });
  for (int before = 0; before < 4; ++before) EXPECT_EQ(table.insert(5, 5), 1);
  EXPECT_EQ(comparisons, 0 + 1 + 2 + 3);
}

TEST(ztHashTable, NothingOfTheLibrarysIsComparedWhereDuplicatesAreAllowed) {
  const Table table = tableOfPointers(0, 1, ztIntArray_compare_func);
  table->setAllowDuplicate(table, 1);
  // Keys that cannot be followed.
  for (uintptr_t key = 1; key < 5; ++key) {
    EXPECT_EQ(table->insert(table, reinterpret_cast<const void *>(key), nullptr), 1);
  }
}

TEST(ztHashTable, WithoutACompareFunctionAnOccupiedBucketRefuses) {
  const IntTable table(1);
  table->setCompareFunction(table, nullptr);
  EXPECT_EQ(table.insert(1, 10), 1);
  EXPECT_EQ(table.insert(2, 20), 0);
  EXPECT_EQ(table.find(1), nullptr);
  table->setAllowDuplicate(table, 1);
  EXPECT_EQ(table.insert(2, 20), 1) << "nothing is compared where duplicates are allowed";
  EXPECT_EQ(table.fields().count, 2U);
}

TEST(ztHashTable, EmptyLeavesTheBucketsAsTheyAre) {
  const IntTable table(1, {1});
  const ztHashTableItem *head = headOf(table, 0);
  table->empty(table);
  EXPECT_EQ(headOf(table, 0), head);
  EXPECT_EQ(table.fields().buckets->count, 1);
}

TEST(ztHashTable, DestroyedTableDoesNothing) {
  const IntTable table(4, {1});  // is destroyed once more when it is released
  table->destroy(table);
  EXPECT_EQ(table.fields().buckets, nullptr);
  EXPECT_EQ(table.insert(1, 10), 0);
  EXPECT_EQ(table.find(1), nullptr);
  EXPECT_EQ(table->setSize(table, 4), 0);
  table->empty(table);
  EXPECT_EQ(table.copy().fields().buckets, nullptr);
}

// Host subclasses ---------------------------------------------------------------------------------

// A table that writes down what goes through its method table, and can call into itself while it deletes an
// item.
#define HostTable_FIELDS ztHashTable_FIELDS
#define HostTable_METHODS ztHashTable_METHODS
ZT_DECLARE_CLASS(HostTable)

static bool reenters;

static void reenter(void *table, int32_t key) {
  const ztHashTableMethods *methods = ztHashTable_of(table);
  EXPECT_EQ(methods->find(table, &key), nullptr);
  key += 1000;
  EXPECT_EQ(methods->insert(table, &key, &key), 1);
  EXPECT_NE(methods->find(table, &key), nullptr);
}

static void hostTableMethods(HostTableMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, newItem, [](void *table, const void *pair) {
    asked += 'n';
    return ztHashTable_table()->newItem(table, pair);
  });
  ZT_OVERRIDE_METHOD(methods, deleteItem, [](void *table, void *item) {
    asked += 'd';
    if (reenters) reenter(table, *static_cast<int32_t *>(static_cast<ztHashTableItem *>(item)->data));
    ztHashTable_table()->deleteItem(table, item);
  });
  ZT_OVERRIDE_METHOD(methods, empty, [](void *table) {
    asked += 'e';
    ztHashTable_table()->empty(table);
  });
}

ZT_DEFINE_CLASS(HostTable, ztHashTable, hostTableMethods)

TEST(ztHashTable, GoesThroughItsMethodTable) {
  takeAsked();
  {
    const IntTable table(4, {}, HostTable_ctor);
    EXPECT_EQ(takeAsked(), "e");
    table.insert(1, 10);
    table.insert(2, 20);
    EXPECT_EQ(takeAsked(), "nn");
    table.insert(2, 21);
    table.find(1);
    EXPECT_EQ(takeAsked(), "") << "nothing is made for a refused pair";
    table->setSize(table, 8);
    EXPECT_EQ(takeAsked(), "edd");
    table.insert(1, 10);
    takeAsked();
  }
  EXPECT_EQ(takeAsked(), "ed");
}

TEST(ztHashTable, ItemManagerMakesAndDeletesTheItems) {
  const IntTable manager(1, {}, HostTable_ctor);
  takeAsked();
  {
    const IntTable table(4);
    table->setItemManager(table, manager);
    table.insert(1, 10);
    EXPECT_EQ(takeAsked(), "n");
    EXPECT_EQ(table.copy().fields().count, 1U);
    EXPECT_EQ(takeAsked(), "") << "a copy is its own manager";
  }
  EXPECT_EQ(takeAsked(), "d");
}

TEST(ztHashTable, MayBeCalledWhileItIsEmptied) {
  const IntTable table(8, upTo(50), HostTable_ctor);
  reenters = true;
  table->empty(table);
  reenters = false;
  EXPECT_EQ(table.fields().count, 50U);
  for (const int32_t key : upTo(50)) EXPECT_NE(table.find(key + 1000), nullptr);
}

// Copies and memory -------------------------------------------------------------------------------

TEST(ztHashTable, CopyHasBucketsOfItsOwn) {
  const IntTable table(16, upTo(20));
  const Table copy = table.copy();
  EXPECT_NE(copy.fields().buckets, table.fields().buckets);
  EXPECT_EQ(copy.fields().buckets->refCount, 1);
  EXPECT_EQ(copy.fields().buckets->count, 16);
  table->empty(table);
  EXPECT_TRUE(everyBucketIsEmpty(table.copy()));
}

TEST(ztHashTable, CreatedWithoutMemoryForItsBucketsItDoesNothing) {
  ztHashTable table;
  ztHashTable_ctor(&table, 0);
  const Fault injected(0);
  EXPECT_EQ(ztHashTable_of(&table)->create(&table), 0);
  EXPECT_TRUE(injected.end());
  EXPECT_EQ(table.buckets, nullptr);
  EXPECT_EQ(ztHashTable_of(&table)->setSize(&table, 8), 0);
  ztHashTable_of(&table)->destroy(&table);
}

TEST(ztHashTable, SetSizeWithoutMemoryLeavesAnEmptyUsableTable) {
  const IntTable table(8, upTo(20));
  const Fault injected(0);
  EXPECT_EQ(table->setSize(table, 64), 0);
  EXPECT_TRUE(injected.end());
  EXPECT_EQ(table.fields().count, 0U);
  EXPECT_EQ(table.fields().buckets->count, 8);
  EXPECT_TRUE(everyBucketIsEmpty(table));
  EXPECT_EQ(table.insert(1, 10), 1);
  EXPECT_NE(table.find(1), nullptr);
}

// Keys of no bytes --------------------------------------------------------------------------------

TEST(ztHashTable, NullIsAKeyWherePointersOfNoBytesAreKept) {
  const Table table = tableOfPointers(0, 8, ztPtrArray_compare_func_ptr);
  EXPECT_EQ(table->insert(table, nullptr, nullptr), 1);
  EXPECT_EQ(table->insert(table, table, nullptr), 1);
  EXPECT_EQ(table->find(table, nullptr)->data, nullptr);
  EXPECT_EQ(table->find(table, table), headOf(table, 0));
}

// Pointers of no stated size all share a bucket, so these stand in one chain.
TEST(ztHashTable, IntegersAreFoundBehindNullAndWithoutAlignment) {
  char bytes[1 + 2 * sizeof(int32_t)] = {};
  const int32_t numbers[] = {7, -7};
  memcpy(bytes + 1, numbers, sizeof numbers);
  const Table table = tableOfPointers(0, 4, ztIntArray_compare_func);
  for (const void *key : {bytes + 1, bytes + 1 + sizeof(int32_t), static_cast<char *>(nullptr)}) {
    ASSERT_EQ(table->insert(table, key, nullptr), 1);
  }
  for (const int32_t &number : numbers) {
    EXPECT_EQ(table->insert(table, &number, nullptr), 0);
    const ztHashTableItem *item = table->find(table, &number);
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(memcmp(item->data, &number, sizeof number), 0);
  }
  const int32_t missing = 8;
  EXPECT_EQ(table->find(table, &missing), nullptr);
  EXPECT_EQ(table->find(table, nullptr)->data, nullptr);
}

TEST(ztHashTable, NullIsNoKeyOfNoBytesWhereKeysAreCopied) {
  for (const Policy policy : {Policy::byValue, Policy::constructed}) {
    SCOPED_TRACE(policyName(policy));
    const Table table(ztHashTable_ctor);
    configurePairs(table, policy, Policy::byPointer);
    table->setKeySize(table, 0, 0);
    table->setSize(table, 8);
    EXPECT_EQ(table->insert(table, nullptr, table), 0);
    EXPECT_EQ(table->find(table, nullptr), nullptr);
    EXPECT_EQ(table.fields().count, 0U);
  }
}
