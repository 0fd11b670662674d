#include "tags/zttagowner.hh"

#include "core/ztlock.hh"
#include "core/ztmem.hh"
#include "core/ztpointermap.hh"

using namespace ztcore;

// An attribute in a tag, and a copy with its source's owner, each have a bond. Its number is the attribute's
// `binding`, which moves with the attribute when an array moves it. The bonds of a tag are in a list, so that
// all of them are found when the tag is destroyed.
//
// A tag may move too. Its key is its array of attributes, which does not move; the key of an owner set by a
// host is its address.
//
// The tables belong to the process and are locked for writing. A bond never moves, so the thread that uses its
// attribute reads it without the lock.

namespace {

struct Owner;

struct Bond {
  ztTagAttribute *held;  // the attribute in a tag; NULL for a copy
  Owner *owner;          // NULL once it is destroyed
  int32_t next;          // of the same owner, 0 at the end; the next free bond of a free one
  int32_t previous;      // of the same owner; 0 at the beginning
  int32_t former;        // the bond with the previous owner, which is told until this one is; or 0
};

struct Owner {
  void *tag;
  const void *key;
  int32_t firstBond;
  bool moved;  // its attributes may have its old address
};

}  // namespace

// Bonds -------------------------------------------------------------------------------------------

constexpr int32_t firstChunkSize = 16;
constexpr int32_t maxChunks = 22;  // the largest has a size of 2^30 bytes

static Bond *chunks[maxChunks];  // each twice as large as the one before
static int32_t chunkCount;
static int32_t bondCount;
static int32_t freeBond;  // 0 when all are in use

static int32_t chunkSize(int32_t chunk) {
  return firstChunkSize << chunk;
}

static Bond *bondAt(int32_t number) {
  const auto place = static_cast<uint32_t>(number - 1 + firstChunkSize);
  const int32_t chunk = 31 - __builtin_clz(place / firstChunkSize);
  return &chunks[chunk][place - static_cast<uint32_t>(chunkSize(chunk))];
}

static bool addChunk() {
  if (chunkCount == maxChunks) return false;
  const int32_t size = chunkSize(chunkCount);
  chunks[chunkCount] = static_cast<Bond *>(hidden(ztm_alloc(size * static_cast<int32_t>(sizeof(Bond)))));
  if (chunks[chunkCount] == nullptr) return false;
  const int32_t first = size - firstChunkSize + 1;
  for (int32_t i = 0; i < size; ++i) {
    chunks[chunkCount][i] = {nullptr, nullptr, i + 1 < size ? first + i + 1 : 0, 0, 0};
  }
  ++chunkCount;
  freeBond = first;
  return true;
}

static void releaseChunks() {
  while (chunkCount > 0) ztm_free(chunks[--chunkCount]);
  freeBond = 0;
}

// 0 when memory is exhausted.
static int32_t newBond(Owner *owner, ztTagAttribute *held, int32_t former) {
  if (freeBond == 0 && !addChunk()) return 0;
  const int32_t number = freeBond;
  Bond *bond = bondAt(number);
  freeBond = bond->next;
  ++bondCount;
  *bond = {held, owner, owner->firstBond, 0, former};
  if (bond->next != 0) bondAt(bond->next)->previous = number;
  owner->firstBond = number;
  return number;
}

// Owners ------------------------------------------------------------------------------------------

static PointerMap owners;   // by their keys
static int32_t ownerCount;  // also read without the lock

static uint64_t wordOf(const void *key) {
  return reinterpret_cast<uintptr_t>(key);
}

static Owner *findOwner(const void *key) {
  return static_cast<Owner *>(owners.find(wordOf(key)));
}

static void setOwnerCount(int32_t count) {
  __atomic_store_n(&ownerCount, count, __ATOMIC_RELAXED);
}

// NULL when memory is exhausted.
static Owner *newOwner(void *tag, const void *key) {
  auto *owner = static_cast<Owner *>(hidden(ztm_alloc(sizeof(Owner))));
  if (owner == nullptr) return nullptr;
  *owner = {tag, key, 0, false};
  if (!owners.insert(wordOf(key), owner)) {
    ztm_free(owner);
    return nullptr;
  }
  setOwnerCount(ownerCount + 1);
  return owner;
}

static void releaseOwner(Owner *owner) {
  owners.remove(wordOf(owner->key));
  ztm_free(owner);
  setOwnerCount(ownerCount - 1);
}

static void noteAddress(Owner *owner, void *tag) {
  if (owner->tag == tag) return;
  owner->tag = tag;
  owner->moved = true;
}

static Owner *ownerOf(void *tag, const void *key) {
  Owner *owner = findOwner(key);
  if (owner == nullptr) return newOwner(tag, key);
  noteAddress(owner, tag);
  return owner;
}

static void releaseChunksNotInUse() {
  if (bondCount == 0) releaseChunks();
}

// Bonds and their owners --------------------------------------------------------------------------

// 0 when memory is exhausted.
static int32_t bindTo(void *tag, const void *key, ztTagAttribute *held, int32_t former) {
  Owner *owner = ownerOf(tag, key);
  if (owner == nullptr) return 0;
  const int32_t number = newBond(owner, held, former);
  if (owner->firstBond == 0) releaseOwner(owner);
  return number;
}

// Releases the owner with its last bond.
static void leaveOwner(const Bond *bond) {
  Owner *owner = bond->owner;
  if (owner == nullptr) return;
  if (bond->next != 0) bondAt(bond->next)->previous = bond->previous;
  if (bond->previous != 0) {
    bondAt(bond->previous)->next = bond->next;
  } else {
    owner->firstBond = bond->next;
  }
  if (owner->firstBond == 0) releaseOwner(owner);
}

static void endBond(int32_t number) {
  if (number == 0) return;
  Bond *bond = bondAt(number);
  leaveOwner(bond);
  *bond = {nullptr, nullptr, freeBond, 0, 0};
  freeBond = number;
  --bondCount;
}

// NULL for an attribute without a bond, and for a bytewise copy of an attribute in a tag.
static Bond *bondOf(const ztTagAttribute *attribute) {
  if (attribute->binding <= 0) return nullptr;
  Bond *bond = bondAt(attribute->binding);
  return bond->held == nullptr || bond->held == attribute ? bond : nullptr;
}

// The bond with the owner that the attribute tells.
static const Bond *namingBond(const ztTagAttribute *attribute) {
  const Bond *bond = bondOf(attribute);
  return bond == nullptr || bond->former == 0 ? bond : bondAt(bond->former);
}

void *ztcore::livingOwner(const ztTagAttribute *attribute) {
  if (attribute->owner == nullptr) return nullptr;
  const Bond *bond = namingBond(attribute);
  if (bond == nullptr) return attribute->owner;
  if (bond->owner == nullptr) return nullptr;
  return bond->owner->moved ? bond->owner->tag : attribute->owner;
}

void ztcore::forgetDeadOwner(ztTagAttribute *attribute) {
  const Bond *bond = bondOf(attribute);
  if (bond != nullptr && bond->owner == nullptr) letGo(attribute);
}

bool ztcore::shareOwner(ztTagAttribute *copy, const ztTagAttribute *source) {
  copy->owner = livingOwner(source);
  copy->binding = 0;
  if (copy->owner == nullptr) return true;
  const Locked locked(tablesLock);
  const Bond *bond = namingBond(source);
  const bool isBound = bond != nullptr && bond->owner->tag == copy->owner;
  copy->binding = isBound ? newBond(bond->owner, nullptr, 0) : bindTo(copy->owner, copy->owner, nullptr, 0);
  releaseChunksNotInUse();
  return copy->binding != 0;
}

// Holding -----------------------------------------------------------------------------------------

// The array that should contain the attribute; NULL for an attribute in no tag.
static ztPtrArray *arrayOf(const ztTagAttribute *attribute) {
  const Bond *bond = bondOf(attribute);
  if (bond == nullptr || bond->held == nullptr || bond->owner == nullptr) return nullptr;
  return static_cast<ztPtrArray *>(const_cast<void *>(bond->owner->key));
}

// The attribute's next index in the array, or the array's count.
static int32_t placeIn(const ztPtrArray *array, const ztTagAttribute *attribute, int32_t from) {
  const int32_t count = ztPtrArray_of(array)->getSize(array);
  while (from < count && ztPtrArray_of(array)->getAt(array, from) != attribute) ++from;
  return from;
}

bool ztcore::isHeldAttribute(const ztTagAttribute *attribute) {
  const ztPtrArray *array = arrayOf(attribute);
  return array != nullptr && placeIn(array, attribute, 0) < ztPtrArray_of(array)->getSize(array);
}

void ztcore::leaveArray(const ztTagAttribute *attribute) {
  ztPtrArray *array = arrayOf(attribute);
  if (array == nullptr) return;
  for (int32_t i = placeIn(array, attribute, 0); i < ztPtrArray_of(array)->getSize(array);
       i = placeIn(array, attribute, i + 1)) {
    ztPtrArray_of(array)->setAt(array, nullptr, i);
  }
}

// Ends the attribute's bond, except for the bond with the owner that it tells.
static int32_t takeNamingBond(const ztTagAttribute *attribute) {
  Bond *bond = bondOf(attribute);
  if (bond == nullptr) return 0;
  const int32_t former = bond->former;
  if (former == 0) {
    bond->held = nullptr;
    return attribute->binding;
  }
  endBond(attribute->binding);
  return former;
}

bool ztcore::enlist(ztTagAttribute *attribute, const ztTag *tag) {
  const Locked locked(tablesLock);
  attribute->binding = takeNamingBond(attribute);
  const int32_t number = bindTo(const_cast<ztTag *>(tag), tag->attributes, attribute, attribute->binding);
  if (number != 0) attribute->binding = number;
  releaseChunksNotInUse();
  return number != 0;
}

void ztcore::withdraw(ztTagAttribute *attribute) {
  const Locked locked(tablesLock);
  const Bond *bond = bondOf(attribute);
  if (bond == nullptr) return;
  const int32_t former = bond->former;
  endBond(attribute->binding);
  attribute->binding = former;
  releaseChunksNotInUse();
}

static void dropBonds(ztTagAttribute *attribute) {
  const Bond *bond = bondOf(attribute);
  if (bond != nullptr) {
    endBond(bond->former);
    endBond(attribute->binding);
  }
  attribute->binding = 0;
}

void ztcore::letGo(ztTagAttribute *attribute) {
  attribute->owner = nullptr;
  if (attribute->binding == 0) return;
  const Locked locked(tablesLock);
  dropBonds(attribute);
  releaseChunksNotInUse();
}

static bool isBoundTo(const Bond *bond, const ztTag *tag) {
  return bond != nullptr && bond->held != nullptr && bond->owner != nullptr &&
         bond->owner->key == tag->attributes;
}

bool ztcore::holdAttribute(ztTagAttribute *attribute, const ztTag *tag) {
  void *owner = const_cast<ztTag *>(tag);
  attribute->owner = owner;
  Bond *bond = bondOf(attribute);
  const bool isBound = isBoundTo(bond, tag);
  if (isBound) noteAddress(bond->owner, owner);
  if (isBound && bond->former == 0) return true;
  const Locked locked(tablesLock);
  if (isBound) {
    endBond(bond->former);
    bond->former = 0;
  } else {
    dropBonds(attribute);
    attribute->binding = bindTo(owner, tag->attributes, attribute, 0);
  }
  releaseChunksNotInUse();
  return attribute->binding != 0;
}

// The end of an owner -----------------------------------------------------------------------------

static void ownerEnds(int32_t number) {
  Bond *bond = bondAt(number);
  leaveOwner(bond);
  bond->owner = nullptr;
  bond->next = 0;
  bond->previous = 0;
  ztTagAttribute *attribute = bond->held;
  if (attribute == nullptr) return;
  // It was removed from the array. While it is being inserted elsewhere it still tells another owner.
  attribute->binding = bond->former;
  if (bond->former == 0) attribute->owner = nullptr;
  endBond(number);
}

static void bondsEnd(const void *key) {
  for (const Owner *owner = findOwner(key); owner != nullptr; owner = findOwner(key)) {
    ownerEnds(owner->firstBond);
  }
}

void ztcore::ownerDestroyed(const ztTag *tag, const ztPtrArray *attributes) {
  if (__atomic_load_n(&ownerCount, __ATOMIC_RELAXED) == 0) return;
  const Locked locked(tablesLock);
  bondsEnd(tag);
  if (attributes != nullptr) bondsEnd(attributes);
  releaseChunksNotInUse();
}
