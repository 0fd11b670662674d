// Finds the entries of the registry by name.
#ifndef ZT_CORE_ZTCLASSINDEX_HH
#define ZT_CORE_ZTCLASSINDEX_HH

#include "core/ztmem.h"
#include "core/ztnamehash.hh"
#include "core/ztoop.h"

#include <string.h>

namespace ztcore {

struct IndexedEntry;

struct Link {
  IndexedEntry *next;
  uint32_t hash;
};

// A registry entry with its links in the indexes and the state of its release.
struct IndexedEntry {
  ztClassEntry entry;   // first: an entry of the public list is also one of these
  IndexedEntry *newer;  // the entry registered after this one
  Link byName;          // the name it was registered with
  Link byClass;         // the name of its class
  bool instanceDestroyed;
  bool beingDestroyed;
};

// Finds entries by a name. Only `classlist` has the order of entries; each chain keeps it: newest first.
template <Link IndexedEntry::*link>
class NameIndex {
 public:
  void add(IndexedEntry *entry) {
    if (count >= bucketCount()) grow();
    IndexedEntry **head = bucketOf((entry->*link).hash);
    (entry->*link).next = *head;
    *head = entry;
    ++count;
  }

  void remove(const IndexedEntry *entry) {
    IndexedEntry **at = bucketOf((entry->*link).hash);
    while (*at != entry) at = &((*at)->*link).next;
    *at = (entry->*link).next;
    if (--count == 0) shrink();
  }

  template <typename Matches>
  IndexedEntry *find(uint32_t hash, Matches matches) {
    for (IndexedEntry *entry = *bucketOf(hash); entry != nullptr; entry = (entry->*link).next) {
      if ((entry->*link).hash == hash && matches(entry->entry)) return entry;
    }
    return nullptr;
  }

 private:
  static constexpr uint32_t initialBuckets = 128;

  uint32_t bucketCount() const {
    return large == nullptr ? initialBuckets : largeCount;
  }

  IndexedEntry **bucketOf(uint32_t hash) {
    IndexedEntry **buckets = large == nullptr ? initial : large;
    return &buckets[hash & (bucketCount() - 1)];
  }

  // When memory is exhausted, the chains grow longer.
  void grow() {
    const uint32_t newCount = 2 * bucketCount();
    auto **fresh = static_cast<IndexedEntry **>(ztm_alloc(static_cast<int32_t>(newCount * sizeof(void *))));
    if (fresh == nullptr) return;
    memset(fresh, 0, newCount * sizeof(void *));
    for (uint32_t i = 0; i < bucketCount(); ++i) {
      // Each bucket splits in two; appending keeps the order within each.
      IndexedEntry **tails[2] = {&fresh[i], &fresh[i + bucketCount()]};
      for (IndexedEntry *entry = *bucketOf(i); entry != nullptr; entry = (entry->*link).next) {
        IndexedEntry **&tail = tails[((entry->*link).hash & bucketCount()) != 0];
        *tail = entry;
        tail = &(entry->*link).next;
      }
      *tails[0] = nullptr;
      *tails[1] = nullptr;
    }
    shrink();
    large = fresh;
    largeCount = newCount;
  }

  void shrink() {
    ztm_free(large);
    large = nullptr;
    memset(initial, 0, sizeof initial);
  }

  // Enough for the library's own classes: the start allocates no memory here.
  IndexedEntry *initial[initialBuckets];
  IndexedEntry **large;  // the buckets, a power of two, in place of `initial`; owned
  uint32_t largeCount;
  uint32_t count;
};

// A name that is cut to what an entry holds of it.
struct CutName {
  explicit CutName(const char *name)
      : text(name), length(strnlen(name, sizeof(ztClassEntry::name) - 1)), hash(hashOf(name, length)) {}

  bool isCut() const {
    return text[length] != '\0';
  }

  bool isOf(const ztClassEntry &entry) const {
    return memcmp(entry.name, text, length) == 0 && entry.name[length] == '\0';
  }

  const char *text;
  size_t length;
  uint32_t hash;
};

}  // namespace ztcore

#endif
