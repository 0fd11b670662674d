#include "containers/zthashtab.h"

#include "containers/ztacont.hh"
#include "containers/ztarrays.h"
#include "containers/ztcompare.hh"
#include "containers/ztitems.hh"
#include "core/ztbasec.hh"
#include "core/ztlayout.hh"
#include "core/ztmethod.hh"

#include <string.h>

using namespace ztcore;

ZT_PIN_CLASS(ztHashTable, 104, 33);

// Buckets -----------------------------------------------------------------------------------------

// Integers are the most common keys. Their hash and comparison are inlined below, because calls would take as
// long as the search itself.

// Bytes count as signed characters: those from 0x80 on subtract.
[[gnu::always_inline]] static inline uint32_t hashBytes(const void *key, int32_t length) {
  const auto *bytes = static_cast<const signed char *>(key);
  uint32_t hash = 0;
  for (int32_t i = 0; i < length; ++i) {
    hash += static_cast<uint32_t>(bytes[i]);
    hash += hash << 10;
    hash ^= hash >> 6;
  }
  hash += hash << 3;
  hash ^= hash >> 11;
  hash += hash << 15;
  return hash;
}

static inline uint32_t hashKey(const void *key, int32_t size) {
  if (size <= 0) return 0;
  return size == sizeof(int32_t) ? hashBytes(key, sizeof(int32_t)) : hashBytes(key, size);
}

static ztHashTableItem **bucketsOf(const ztHashTable &table) {
  return static_cast<ztHashTableItem **>(table.buckets->data);
}

// The head of a key's chain; NULL when there are no buckets or no bytes of the key.
[[gnu::always_inline]] static inline ztHashTableItem **bucketFor(const ztHashTable &table, const void *key) {
  if (table.buckets == nullptr || table.buckets->count <= 0) return nullptr;
  if (key == nullptr && (table.keySize > 0 || table.keyConstructor != nullptr || !table.keyByPointer)) {
    return nullptr;
  }
  const uint32_t hash = hashKey(key, table.keySize);
  const uint32_t folded = hash ^ (hash >> 10) ^ (hash >> 20);
  return bucketsOf(table) + (folded & static_cast<uint32_t>(table.buckets->count - 1));
}

static void clearBuckets(ztHashTable &table) {
  ztPtrArray *buckets = table.buckets;
  if (buckets->data != nullptr)
    memset(buckets->data, 0, static_cast<size_t>(buckets->count) * sizeof(void *));
}

// Removes all items from the table, as one chain. The buckets' contents are invalid afterwards.
static ztHashTableItem *detachItems(ztHashTable &table) {
  if (table.count == 0) return nullptr;
  table.count = 0;
  ztHashTableItem *first = nullptr;
  ztHashTableItem **end = &first;
  for (int32_t i = 0; i < table.buckets->count; ++i) {
    *end = bucketsOf(table)[i];
    while (*end != nullptr) end = &(*end)->next;
  }
  return first;
}

// Items -------------------------------------------------------------------------------------------

static void *hashTableNewItem(ztAssociativeContainer &table, const void *pair) {
  auto *item = static_cast<ztHashTableItem *>(newPairItem<ztHashTableItem>(table, pair));
  if (item != nullptr) item->next = nullptr;
  return item;
}

static ztHashTableItem *newItem(ztHashTable &table, const ContainerUse &use, const void *key,
                                const void *value) {
  if (table.count >= INT32_MAX) return nullptr;
  const ztKeyValue pair = {key, value};
  return static_cast<ztHashTableItem *>(makeItem(&table, use, &pair));
}

static bool isPlain(const ztHashTable &table) {
  return table.itemManager == &table &&
         hasPlainPairs<ztHashTableItem, hashTableNewItem>(table, ztHashTableItem_ctor) &&
         isPlainClass(ztHashTableItemClass_Instance(), hashTableItemCreate);
}

// Deletes a chain up to the first item that is not plain; the rest of it.
static ztHashTableItem *deletePlainItems(const ztHashTable &table, ztHashTableItem *item) {
  if (!isPlain(table)) return item;
  while (item != nullptr && endsPlain(item, ztHashTableItemClass_Instance())) {
    ztHashTableItem *next = item->next;
    releasePlainPair(table, item);
    ztm_free(item);
    item = next;
  }
  return item;
}

// Deletes a removed chain. If the table is destroyed meanwhile, that deletes the rest.
static void deleteChain(ztHashTable &table, ztHashTableItem *item) {
  item = deletePlainItems(table, item);
  if (item == nullptr) return;
  ContainerUse use(&table);
  while (item != nullptr && !use.ended()) {
    ztHashTableItem *next = item->next;
    use.setItems(next);
    void *manager = itemManagerOf(&table);
    ztContainer_of(manager)->deleteItem(manager, item);
    item = next;
  }
}

// Pairs -------------------------------------------------------------------------------------------

static void hashTableEmpty(ztHashTable &table) {
  // All are removed first, because a key or value that is destroyed may call the table.
  noteRemoved(&table);
  deleteChain(table, detachItems(table));
}

static int32_t hashTableSetSize(ztHashTable &table, int32_t count) {
  if (table.buckets == nullptr) return 0;
  if (count < 0 || count > INT32_MAX / static_cast<int32_t>(sizeof(void *))) return 0;
  const ContainerUse use(&table);
  ztHashTable_of(&table)->empty(&table);
  // Also removes what destroyed keys and values added.
  while (!use.ended() && table.count != 0) hashTableEmpty(table);
  if (use.ended() || table.buckets == nullptr) return 0;
  const int32_t result = ztPtrArray_of(table.buckets)->setSize(table.buckets, count);
  // An array that has the size already keeps its contents.
  clearBuckets(table);
  noteRemoved(&table);
  return result;
}

// The result of a search with ztIntArray_compare_func.
static ztHashTableItem *findInteger(ztHashTableItem *item, int32_t wanted) {
  while (item != nullptr && (item->data == nullptr || integerAt(item->data) != wanted)) item = item->next;
  return item;
}

static ztHashTableItem *findInChain(const ztHashTable &table, ztHashTableItem *item, const void *key) {
  const ztCompareFunc compare = table.compareFunction;
  if (compare == ztIntArray_compare_func && key != nullptr) return findInteger(item, integerAt(key));
  while (item != nullptr && compare(item->data, key) != 0) item = item->next;
  return item;
}

// The bucket for a pair with the key; NULL when the table cannot take it.
static ztHashTableItem **bucketToFill(ztHashTable &table, const void *key) {
  ztHashTableItem **bucket = bucketFor(table, key);
  if (bucket == nullptr) return nullptr;
  // Clears the invalid contents of an emptied table.
  if (table.count == 0) clearBuckets(table);
  if (*bucket == nullptr) return bucket;
  const ztCompareFunc compare = table.compareFunction;
  if (!table.allowDuplicate) {
    return compare == nullptr || findInChain(table, *bucket, key) != nullptr ? nullptr : bucket;
  }
  if (compare == nullptr || isOwnCompare(compare)) return bucket;
  // A host expects a call of its function for each pair of the bucket, although the result is not used.
  for (const ztHashTableItem *item = *bucket; item != nullptr; item = item->next) compare(item->data, key);
  return bucket;
}

static int32_t insertPlain(ztHashTable &table, ztHashTableItem **bucket, const void *key, const void *value) {
  if (table.count >= INT32_MAX) return 0;
  auto *item = makePlainPair<ztHashTableItem>(table, ztHashTableItem_ctor, key, value);
  if (item == nullptr) return 0;
  item->next = *bucket;
  *bucket = item;
  ++table.count;
  return 1;
}

static int32_t hashTableInsert(ztHashTable &table, const void *key, const void *value) {
  ztHashTableItem **bucket = bucketToFill(table, key);
  if (bucket == nullptr) return 0;
  if (isPlain(table)) return insertPlain(table, bucket, key, value);
  const ContainerUse use(&table);
  // Items that an abandoned call had to delete.
  while (void *rest = takeItemsLeft(&table)) deleteChain(table, static_cast<ztHashTableItem *>(rest));
  if (use.ended()) return 0;
  ztHashTableItem *item = newItem(table, use, key, value);
  if (item == nullptr) return 0;
  if (use.changed()) bucket = bucketToFill(table, key);
  if (bucket == nullptr) {
    void *manager = itemManagerOf(&table);
    ztContainer_of(manager)->deleteItem(manager, item);
    return 0;
  }
  item->next = *bucket;
  *bucket = item;
  ++table.count;
  noteAdded(&table);
  return 1;
}

// Out of line, so that the search for an integer keeps nothing over calls.
[[gnu::noinline]] static ztHashTableItem *findByCalls(const ztHashTable &table, const void *key) {
  if (table.count == 0 || table.compareFunction == nullptr) return nullptr;
  ztHashTableItem **bucket = bucketFor(table, key);
  return bucket == nullptr ? nullptr : findInChain(table, *bucket, key);
}

static ztHashTableItem *hashTableFind(const ztHashTable &table, const void *key) {
  const bool isInteger =
      table.compareFunction == ztIntArray_compare_func && key != nullptr && table.keySize == sizeof(int32_t);
  if (!isInteger || table.count == 0) return findByCalls(table, key);
  ztHashTableItem **bucket = bucketFor(table, key);
  return bucket == nullptr ? nullptr : findInteger(*bucket, integerAt(key));
}

// Life --------------------------------------------------------------------------------------------

static int32_t hashTableCreate(ztHashTable &table) {
  table.buckets = nullptr;
  table.count = 0;
  if (!ztAssociativeContainer_table()->create(&table)) return 0;
  ztHashTable_of(&table)->setItemConstructor(&table, ztHashTableItem_ctor);
  table.buckets = newObject<ztPtrArray>(ztPtrArray_ctor);
  return table.buckets != nullptr;
}

// Also releases pairs that elements add and buckets that they make while they are destroyed.
static void hashTableDestroy(ztHashTable &table) {
  ztPtrArray *buckets = table.buckets;
  // Items that calls under way had to delete.
  while (void *rest = takeItems(&table)) deleteChain(table, static_cast<ztHashTableItem *>(rest));
  ztAssociativeContainer_table()->destroy(&table);
  // Before the record below is made: with a record, items are deleted step by step.
  if (isPlain(table) && ztHashTable_of(&table)->empty == method<hashTableEmpty>) hashTableEmpty(table);
  const ContainerUse use(&table);
  ztHashTable_of(&table)->empty(&table);
  while (!use.ended()) {
    while (!use.ended() && table.count != 0) hashTableEmpty(table);
    if (use.ended()) return;
    if (table.buckets == buckets) table.buckets = nullptr;
    if (buckets != nullptr) ztPtrArray_of(buckets)->unRef(buckets);
    buckets = table.buckets;
    if (buckets == nullptr) return;
  }
}

// Copies a chain's items into the copy of a table, in the same order. False also when the source loses items.
static bool copyChain(ContainerUse *source, ztHashTable &copy, int32_t index, const ztHashTableItem *item) {
  ztHashTableItem **end = bucketsOf(copy) + index;
  const ContainerUse use(&copy);
  for (; item != nullptr; item = item->next) {
    source->setSource(ownOfPair(&copy, item->data, item->value));
    *end = newItem(copy, use, item->data, item->value);
    if (*end == nullptr) return false;
    end = &(*end)->next;
    ++copy.count;
    if (source->ended() || source->removed()) return false;
  }
  return true;
}

static bool copyBuckets(const ztHashTable &source, ztHashTable &copy) {
  copy.buckets = static_cast<ztPtrArray *>(copyObject(source.buckets));
  if (copy.buckets == nullptr) return false;
  clearBuckets(copy);
  if (source.count == 0) return true;
  ContainerUse use(&source);
  for (int32_t i = 0; i < source.buckets->count; ++i) {
    if (!copyChain(&use, copy, i, bucketsOf(source)[i])) return false;
  }
  return true;
}

static void *hashTableClone(const void *object, void *target) {
  auto *copy = static_cast<ztHashTable *>(ztAssociativeContainer_table()->clone(object, target));
  if (copy == nullptr) return nullptr;
  copy->buckets = nullptr;
  copy->count = 0;
  const auto *source = static_cast<const ztHashTable *>(object);
  if (source->buckets == nullptr || copyBuckets(*source, *copy)) return copy;
  ztHashTable_table()->destroy(copy);
  return nullptr;
}

static void hashTableMethods(ztHashTableMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, method<hashTableCreate>);
  ZT_OVERRIDE_METHOD(methods, clone, hashTableClone);
  ZT_OVERRIDE_METHOD(methods, destroy, method<hashTableDestroy>);
  ZT_OVERRIDE_METHOD(methods, newItem, method<hashTableNewItem>);
  ZT_OVERRIDE_METHOD(methods, copyItem, method<copyPairItem<ztHashTableItem>>);
  ZT_OVERRIDE_METHOD(methods, deleteItem, method<deletePairItem<ztHashTableItem>>);
  ZT_OVERRIDE_METHOD(methods, setSize, method<hashTableSetSize>);
  ZT_OVERRIDE_METHOD(methods, empty, method<hashTableEmpty>);
  ZT_OVERRIDE_METHOD(methods, insert, method<hashTableInsert>);
  ZT_OVERRIDE_METHOD(methods, find, method<hashTableFind>);
}

ZT_DEFINE_CLASS(ztHashTable, ztAssociativeContainer, hashTableMethods)
