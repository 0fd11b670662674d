#include "core/ztplaces.hh"

#include "core/ztmem.h"

#include <string.h>

using namespace ztcore;

void PlaceIndex::addHash(uint32_t hash) {
  uint32_t &last = lasts[rowOf(hash)];
  places[count] = {hash, last};
  last = count++;
}

void PlaceIndex::cut(uint32_t end) {
  // Backwards: the last place of all is also the last one with its hash.
  while (count > end) {
    const Place &place = places[--count];
    lasts[rowOf(place.hash)] = place.before;
  }
}

bool PlaceIndex::reserve(uint32_t wanted) {
  constexpr uint32_t fewest = 7;
  constexpr uint32_t most = 26;
  if (places != nullptr && wanted >> bits == 0) return true;
  PlaceIndex larger = {};
  larger.bits = places == nullptr ? fewest : bits + 1;
  while (wanted >> larger.bits != 0) ++larger.bits;
  if (larger.bits > most) return false;
  const size_t capacity = size_t{1} << larger.bits;
  const size_t bytes = capacity * (sizeof(Place) + sizeof(uint32_t));
  larger.places = static_cast<Place *>(ztm_alloc(static_cast<int32_t>(bytes)));
  if (larger.places == nullptr) return false;
  larger.lasts = reinterpret_cast<uint32_t *>(larger.places + capacity);
  memset(larger.lasts, 0xff, capacity * sizeof(uint32_t));
  for (uint32_t i = 0; places != nullptr && i < count; ++i) larger.addHash(places[i].hash);
  ztm_free(places);
  *this = larger;
  return true;
}

void PlaceIndex::clear() {
  ztm_free(places);
  *this = {};
}
