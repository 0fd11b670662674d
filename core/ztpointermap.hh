// An index by pointers, or other words.
#ifndef ZT_CORE_ZTPOINTERMAP_HH
#define ZT_CORE_ZTPOINTERMAP_HH

#include <stdint.h>

namespace ztcore {

// A hash table from words to pointers. Where a key stands depends on a secret of the process, so that nobody
// can choose keys that all stand in one place. Plain data without destructor, so that it can be static:
// `clear` releases what it holds, and so does the removal of the last entry.
class PointerMap {
 public:
  // NULL when there is no such key.
  void *find(uint64_t key) const;
  // A key that is there keeps its value. False without memory.
  bool insert(uint64_t key, void *value);
  // The key is there.
  void remove(uint64_t key);
  void clear();

 private:
  struct Entry {
    uint64_t key;
    void *value;  // NULL while the place is free
  };

  uint32_t last() const;
  uint32_t homeOf(uint64_t key) const;
  uint32_t placeOf(uint64_t key) const;
  bool grow();

  Entry *entries = nullptr;
  uint32_t bits = 0;   // there are 2^bits places; none without entries
  uint32_t count = 0;  // at most half of the places are taken, where there is memory for so many
};

// The key of an identifier.
inline uint64_t uidKey(int32_t uid) {
  return static_cast<uint32_t>(uid);
}

}  // namespace ztcore

#endif
