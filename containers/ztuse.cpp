#include "containers/ztuse.hh"

#include "core/ztbasec.h"
#include "core/ztgrowing.hh"
#include "core/ztmem.hh"
#include "core/ztstack.hh"

#include <string.h>

using namespace ztcore;

static Use *endOf(UseTable *uses) {
  return uses->records + uses->count;
}

void ztcore::noteInUses(UseTable *uses, const void *container, bool added, bool removed) {
  for (Use *use = uses->records; use != endOf(uses); ++use) {
    if (use->container != container) continue;
    use->added = use->added || added;
    use->removed = use->removed || removed;
  }
}

bool ztcore::isUsed(const UseTable *uses, const void *container) {
  for (int32_t i = 0; i < uses->count; ++i) {
    if (uses->records[i].container == container) return true;
  }
  return false;
}

bool ztcore::isPartOf(const UseTable *uses, const void *container, const void *part) {
  for (int32_t i = 0; i < uses->count; ++i) {
    const Use &use = uses->records[i];
    if (use.container == container && use.part == part) return true;
  }
  return false;
}

Use *ztcore::findUse(UseTable *uses, uint64_t number) {
  for (int32_t i = uses->count - 1; i >= 0; --i) {
    if (uses->records[i].number == number) return &uses->records[i];
  }
  return nullptr;
}

bool ztcore::isSourceGone(const UseTable *uses, const void *element) {
  for (int32_t i = 0; i < uses->count; ++i) {
    const Use &use = uses->records[i];
    if (use.part != element || use.kind != PartKind::borrowed) continue;
    if (use.container == nullptr || use.removed) return true;
  }
  return false;
}

// Releases the records and parts of a thread that ends.
static void releaseUses(UseTable *uses);

bool ztcore::growUses(UseTable *uses) {
  if (uses->records == nullptr) {
    uses->release = releaseUses;
    uses->records = uses->first;
    uses->capacity = UseTable::firstCapacity;
    return true;
  }
  Use *grown = hidden(growBlock<Use>(uses->records, uses->first, &uses->capacity, uses->count + 1));
  if (grown == nullptr) return false;
  uses->records = grown;
  return true;
}

// Parts -------------------------------------------------------------------------------------------

bool ztcore::leavePartTo(UseTable *uses, const void *container, const void *part) {
  if (part == nullptr) return false;
  for (Use *use = uses->records; use != endOf(uses); ++use) {
    if (use->container != container || use->part != part) continue;
    use->kind = PartKind::block;
    return true;
  }
  return false;
}

// Gives a block to another call that needs it, or frees it.
static void releaseBlock(UseTable *uses, const Use &ended) {
  if (ended.kind != PartKind::block) return;
  for (Use *use = uses->records; use != endOf(uses); ++use) {
    if (use->part != ended.part) continue;
    use->kind = PartKind::block;
    return;
  }
  ztm_free(ended.part);
}

static void remove(UseTable *uses, Use *use) {
  const Use removed = *use;
  memmove(use, use + 1, static_cast<size_t>(endOf(uses) - use - 1) * sizeof *use);
  --uses->count;
  releaseBlock(uses, removed);
}

// Later records belong to abandoned calls or to another stack.
void ztcore::endUse(UseTable *uses, uint64_t number) {
  Use *use = findUse(uses, number);
  if (use != nullptr) remove(uses, use);
}

static Use *findPart(UseTable *uses, const void *container, PartKind kind, bool onlyIfGone) {
  for (Use *use = uses->records; use != endOf(uses); ++use) {
    if (use->container == container && use->kind == kind && (use->isGone || !onlyIfGone)) return use;
  }
  return nullptr;
}

void *ztcore::takeItemsFrom(UseTable *uses, const void *container, bool onlyIfGone) {
  Use *use = findPart(uses, container, PartKind::items, onlyIfGone);
  if (use == nullptr) return nullptr;
  void *items = use->part;
  use->part = nullptr;
  use->kind = PartKind::borrowed;
  if (use->isGone) remove(uses, use);
  return items;
}

static void destroyObjects(const Use &held) {
  char *slot = static_cast<char *>(held.part);
  for (int32_t i = 0; i < held.count; ++i, slot += held.stride) {
    if (i != held.open) ztBaseClass_of(slot)->destroy(slot);
  }
}

bool ztcore::endObjectsOf(UseTable *uses, const void *container, bool onlyIfGone) {
  const Use *found = findPart(uses, container, PartKind::objects, onlyIfGone);
  if (found == nullptr) return false;
  const uint64_t number = found->number;
  // The record keeps the block while its objects are destroyed.
  const ContainerUse own(container, found->part);
  Use *use = findUse(uses, number);
  const Use held = *use;
  use->kind = PartKind::block;
  if (held.isGone) remove(uses, use);
  destroyObjects(held);
  return true;
}

// A call that has a block continues to use it, and releases it.
void ztcore::forgetUses(UseTable *uses, const void *container) {
  for (int32_t i = uses->count - 1; i >= 0; --i) {
    Use *use = &uses->records[i];
    if (use->container != container) continue;
    use->container = nullptr;
    if (use->kind == PartKind::objects) use->kind = PartKind::block;
    const bool hasBlock = use->part != nullptr && use->kind != PartKind::items;
    if (!hasBlock || use->isGone) remove(uses, use);
  }
}

// Calls that were left ----------------------------------------------------------------------------

// The container releases objects and items later.
static void drop(UseTable *uses, Use *use) {
  if (use->kind == PartKind::objects || use->kind == PartKind::items) {
    use->isGone = true;
  } else {
    remove(uses, use);
  }
}

void ztcore::dropGoneUses(UseTable *uses, uintptr_t frame, const void *self) {
  const bool isOwn = isOnOwnStack(frame);
  for (int32_t i = uses->count - 1; i >= 0; --i) {
    Use *use = &uses->records[i];
    if (use->isGone) continue;
    const bool isComparable = isOwn && isOnOwnStack(use->frame);
    // Earlier records belong to frames further out.
    if (isComparable && use->frame > frame) return;
    const bool isSame = use->frame == frame && use->self == self;
    if (isSame || (isComparable && use->frame < frame)) drop(uses, use);
  }
}

static void releaseUses(UseTable *uses) {
  while (uses->count > 0) {
    const Use last = uses->records[--uses->count];
    releaseBlock(uses, last);
    if (last.kind != PartKind::objects) continue;
    destroyObjects(last);
    ztm_free(last.part);
  }
  if (uses->records != uses->first) ztm_free(uses->records);
  uses->records = nullptr;
  uses->capacity = 0;
}
