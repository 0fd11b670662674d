#include "containers/ztuse.hh"

#include "core/ztmem.h"

#include <string.h>

void ztMarkUses(ztUseTable *uses, const void *container, bool added, bool removed) {
  for (int32_t i = 0; i < uses->count; ++i) {
    ztUse *use = &uses->records[i];
    if (use->container != container) continue;
    use->added = use->added || added;
    use->removed = use->removed || removed;
  }
}

bool ztIsPartOf(const ztUseTable *uses, const void *container, const void *part) {
  for (int32_t i = 0; i < uses->count; ++i) {
    const ztUse &use = uses->records[i];
    if (use.container == container && use.part == part) return true;
  }
  return false;
}

void *ztTakePartFrom(ztUseTable *uses, const void *container) {
  for (int32_t i = 0; i < uses->count; ++i) {
    ztUse *use = &uses->records[i];
    if (use->container != container || use->part == nullptr) continue;
    void *part = use->part;
    use->part = nullptr;
    return part;
  }
  return nullptr;
}

void ztForgetUses(ztUseTable *uses, const void *container) {
  int32_t kept = 0;
  for (int32_t i = 0; i < uses->count; ++i) {
    if (uses->records[i].container != container) uses->records[kept++] = uses->records[i];
  }
  uses->count = kept;
}

ztUse *ztFindUse(ztUseTable *uses, uint64_t number) {
  for (int32_t i = uses->count - 1; i >= 0; --i) {
    if (uses->records[i].number == number) return &uses->records[i];
  }
  return nullptr;
}

// Records above it are of calls that were left without their end, or of another stack.
void ztEndUseBelow(ztUseTable *uses, uint64_t number) {
  ztUse *use = ztFindUse(uses, number);
  if (use == nullptr) return;
  const auto above = static_cast<size_t>(uses->records + uses->count - use) - 1;
  memmove(use, use + 1, above * sizeof *use);
  --uses->count;
}

bool ztGrowUses(ztUseTable *uses) {
  if (uses->records == nullptr) {
    uses->records = uses->first;
    uses->capacity = ztUseTable::firstCapacity;
    return true;
  }
  if (uses->capacity > INT32_MAX / 2 / static_cast<int32_t>(sizeof(ztUse))) return false;
  const bool wasFirst = uses->records == uses->first;
  const auto size = static_cast<int32_t>(sizeof(ztUse)) * 2 * uses->capacity;
  auto *grown = static_cast<ztUse *>(wasFirst ? ztm_alloc(size) : ztm_realloc(uses->records, size));
  if (grown == nullptr) return false;
  if (wasFirst) memcpy(grown, uses->first, sizeof uses->first);
  uses->records = grown;
  uses->capacity *= 2;
  return true;
}
