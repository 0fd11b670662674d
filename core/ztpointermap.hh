#ifndef ZT_CORE_ZTPOINTERMAP_HH
#define ZT_CORE_ZTPOINTERMAP_HH

#include <stdint.h>

namespace ztcore {

// A hash table from words to pointers. A secret of the process decides the positions, so that nobody can choose
// keys that collide. Plain data without destructor, so that it can be static: `clear` and the removal of the
// last entry release its memory.
class PointerMap {
 public:
  // NULL for an unknown key.
  void *find(uint64_t key) const;
  // A known key keeps its value. False when memory is exhausted.
  bool insert(uint64_t key, void *value);
  // For both, the key must be in the map.
  void replace(uint64_t key, void *value);
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
  uint32_t count = 0;  // at most half of the places, unless memory is exhausted
};

// The key of an identifier.
inline uint64_t uidKey(int32_t uid) {
  return static_cast<uint32_t>(uid);
}

}  // namespace ztcore

#endif
