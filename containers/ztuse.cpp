#include "containers/ztuse.hh"

#include "core/ztbasec.h"
#include "core/ztgrowing.hh"
#include "core/ztmem.h"
#include "core/ztstack.hh"

#include <string.h>

static ztUse *endOf(ztUseTable *uses) {
  return uses->records + uses->count;
}

void ztMarkUses(ztUseTable *uses, const void *container, bool added, bool removed) {
  for (ztUse *use = uses->records; use != endOf(uses); ++use) {
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

ztUse *ztFindUse(ztUseTable *uses, uint64_t number) {
  for (int32_t i = uses->count - 1; i >= 0; --i) {
    if (uses->records[i].number == number) return &uses->records[i];
  }
  return nullptr;
}

bool ztIsSourceGone(const ztUseTable *uses, const void *element) {
  for (int32_t i = 0; i < uses->count; ++i) {
    const ztUse &use = uses->records[i];
    if (use.part != element || use.kind != ztPartKind::borrowed) continue;
    if (use.container == nullptr || use.removed) return true;
  }
  return false;
}

// Releases the records of a thread that ends, with their parts.
static void releaseUses(ztUseTable *uses);

bool ztGrowUses(ztUseTable *uses) {
  if (uses->records == nullptr) {
    uses->release = releaseUses;
    uses->records = uses->first;
    uses->capacity = ztUseTable::firstCapacity;
    return true;
  }
  ztUse *grown = ztGrow<ztUse>(uses->records, uses->first, &uses->capacity, uses->count + 1);
  if (grown == nullptr) return false;
  uses->records = grown;
  return true;
}

// Parts -------------------------------------------------------------------------------------------

bool ztLeavePartTo(ztUseTable *uses, const void *container, const void *part) {
  if (part == nullptr) return false;
  for (ztUse *use = uses->records; use != endOf(uses); ++use) {
    if (use->container != container || use->part != part) continue;
    use->kind = ztPartKind::block;
    return true;
  }
  return false;
}

// Hands a block on to another call that needs it, or frees it.
static void releaseBlock(ztUseTable *uses, const ztUse &ended) {
  if (ended.kind != ztPartKind::block) return;
  for (ztUse *use = uses->records; use != endOf(uses); ++use) {
    if (use->part != ended.part) continue;
    use->kind = ztPartKind::block;
    return;
  }
  ztm_free(ended.part);
}

static void remove(ztUseTable *uses, ztUse *use) {
  const ztUse removed = *use;
  memmove(use, use + 1, static_cast<size_t>(endOf(uses) - use - 1) * sizeof *use);
  --uses->count;
  releaseBlock(uses, removed);
}

// Records above it are of calls that were left without their end, or of another stack.
void ztEndUse(ztUseTable *uses, uint64_t number) {
  ztUse *use = ztFindUse(uses, number);
  if (use != nullptr) remove(uses, use);
}

static ztUse *findPart(ztUseTable *uses, const void *container, ztPartKind kind, bool onlyIfGone) {
  for (ztUse *use = uses->records; use != endOf(uses); ++use) {
    if (use->container == container && use->kind == kind && (use->isGone || !onlyIfGone)) return use;
  }
  return nullptr;
}

void *ztTakeItemsFrom(ztUseTable *uses, const void *container, bool onlyIfGone) {
  ztUse *use = findPart(uses, container, ztPartKind::items, onlyIfGone);
  if (use == nullptr) return nullptr;
  void *items = use->part;
  use->part = nullptr;
  use->kind = ztPartKind::borrowed;
  if (use->isGone) remove(uses, use);
  return items;
}

static void destroyObjects(const ztUse &held) {
  char *slot = static_cast<char *>(held.part);
  for (int32_t i = 0; i < held.count; ++i, slot += held.stride) {
    if (i != held.open) ztBaseClass_of(slot)->destroy(slot);
  }
}

bool ztEndObjectsOf(ztUseTable *uses, const void *container, bool onlyIfGone) {
  const ztUse *found = findPart(uses, container, ztPartKind::objects, onlyIfGone);
  if (found == nullptr) return false;
  const uint64_t number = found->number;
  // The block is needed as long as its objects end.
  const ContainerUse own(container, found->part);
  ztUse *use = ztFindUse(uses, number);
  const ztUse held = *use;
  use->kind = ztPartKind::block;
  if (held.isGone) remove(uses, use);
  destroyObjects(held);
  return true;
}

// A call that has a block goes on in it, and releases it.
void ztForgetUses(ztUseTable *uses, const void *container) {
  for (int32_t i = uses->count - 1; i >= 0; --i) {
    ztUse *use = &uses->records[i];
    if (use->container != container) continue;
    use->container = nullptr;
    if (use->kind == ztPartKind::objects) use->kind = ztPartKind::block;
    const bool hasBlock = use->part != nullptr && use->kind != ztPartKind::items;
    if (!hasBlock || use->isGone) remove(uses, use);
  }
}

// Calls that were left ----------------------------------------------------------------------------

// Objects and items are left to the container.
static void drop(ztUseTable *uses, ztUse *use) {
  if (use->kind == ztPartKind::objects || use->kind == ztPartKind::items) {
    use->isGone = true;
  } else {
    remove(uses, use);
  }
}

void ztDropGoneUses(ztUseTable *uses, uintptr_t frame, const void *self) {
  const bool isOwn = ztIsOnOwnStack(frame);
  for (int32_t i = uses->count - 1; i >= 0; --i) {
    ztUse *use = &uses->records[i];
    if (use->isGone) continue;
    const bool isComparable = isOwn && ztIsOnOwnStack(use->frame);
    // Those below it were made in frames that are further out still.
    if (isComparable && use->frame > frame) return;
    const bool isSame = use->frame == frame && use->self == self;
    if (isSame || (isComparable && use->frame < frame)) drop(uses, use);
  }
}

static void releaseUses(ztUseTable *uses) {
  while (uses->count > 0) {
    const ztUse last = uses->records[--uses->count];
    releaseBlock(uses, last);
    if (last.kind != ztPartKind::objects) continue;
    destroyObjects(last);
    ztm_free(last.part);
  }
  if (uses->records != uses->first) ztm_free(uses->records);
  uses->records = nullptr;
  uses->capacity = 0;
}
