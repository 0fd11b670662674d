#include "tests/containers/pairs.hh"

#include "containers/ztacont.h"
#include "containers/ztarrays.h"

std::vector<const ztHashTableItem *> itemsInTable(const void *container) {
  const auto *table = static_cast<const ztHashTable *>(container);
  std::vector<const ztHashTableItem *> items;
  for (int32_t i = 0; table->count > 0 && i < table->buckets->count; ++i) {
    const auto *item = static_cast<ztHashTableItem **>(table->buckets->data)[i];
    for (; item != nullptr; item = item->next) items.push_back(item);
  }
  EXPECT_EQ(items.size(), table->count);
  return items;
}

static int32_t sizeOf(Policy policy) {
  return policy == Policy::byValue ? int32_t{sizeof(int32_t)} : int32_t{sizeof(void *)};
}

void configurePairs(void *container, Policy keys, Policy values) {
  const auto *methods = ztAssociativeContainer_of(container);
  const bool objects = keys == Policy::constructed;
  methods->setKeySize(container, sizeOf(keys), keys == Policy::byPointer);
  methods->setKeyConstructor(container, objects ? Counted_ctor : nullptr);
  methods->setCompareFunction(container, objects ? compareCounted : ztIntArray_compare_func);
  methods->setValueSize(container, sizeOf(values), values == Policy::byPointer);
  methods->setValueConstructor(container, values == Policy::constructed ? Counted_ctor : nullptr);
}
