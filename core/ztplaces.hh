#ifndef ZT_CORE_ZTPLACES_HH
#define ZT_CORE_ZTPLACES_HH

#include <stdint.h>

namespace ztcore {

// The places of keys in an array that is filled and emptied at its end: a hash table of the places from 0 on, in
// which each leads to the place before it that has the same hash. Other keys may have it too, so the array decides.
// Plain data: zero bytes are an empty index. `clear` releases its memory.
class PlaceIndex {
 public:
  static constexpr uint32_t none = UINT32_MAX;

  // The number of places in the index.
  uint32_t size() const {
    return count;
  }
  // Allocates for this number of places. False, with nothing changed, when memory is exhausted.
  bool reserve(uint32_t places);
  // Adds the next place, for which memory was allocated.
  void add(const void *key) {
    addHash(hashOf(key));
  }
  // Takes out the places from this one on.
  void cut(uint32_t end);
  // The last place with the hash of a key, and the one before a place; or `none`.
  uint32_t last(const void *key) const {
    return count == 0 ? none : lasts[rowOf(hashOf(key))];
  }
  uint32_t before(uint32_t place) const {
    return places[place].before;
  }
  void clear();

 private:
  struct Place {
    uint32_t hash;
    uint32_t before;
  };

  // The high bits of a product depend on all bits of the factors. The middle step is for keys at equal distances.
  static uint32_t hashOf(const void *key) {
    constexpr uint64_t factor = 0x9E3779B97F4A7C15;
    uint64_t mixed = reinterpret_cast<uintptr_t>(key) * factor;
    mixed = (mixed ^ mixed >> 32) * factor;
    return static_cast<uint32_t>(mixed >> 32);
  }
  uint32_t rowOf(uint32_t hash) const {
    return hash >> (32 - bits);
  }
  void addHash(uint32_t hash);

  Place *places;    // there is memory for 2^bits
  uint32_t *lasts;  // behind the places; as many
  uint32_t bits;
  uint32_t count;
};

}  // namespace ztcore

#endif
