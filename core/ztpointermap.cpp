#include "core/ztpointermap.hh"

#include "core/ztmem.hh"

#include <string.h>
#include <sys/random.h>
#include <time.h>
#include <unistd.h>

using namespace ztcore;

uint32_t PointerMap::last() const {
  return (uint32_t{1} << bits) - 1;
}

// Without randomness from the system, uses the time and addresses.
static uint64_t makeSecret() {
  uint64_t secret = 0;
  if (getrandom(&secret, sizeof secret, GRND_NONBLOCK) != sizeof secret) {
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    secret = static_cast<uint64_t>(now.tv_sec * 1000000000 + now.tv_nsec) ^
             reinterpret_cast<uintptr_t>(&secret) << 16 ^ static_cast<uint64_t>(getpid()) << 40;
  }
  return secret | 1;
}

// One for the process, because all its tables are read with it. The first thread that needs it makes it.
static uint64_t secretOfProcess() {
  static uint64_t secret;
  uint64_t known = __atomic_load_n(&secret, __ATOMIC_RELAXED);
  if (known != 0) return known;
  const uint64_t made = makeSecret();
  const bool isFirst =
      __atomic_compare_exchange_n(&secret, &known, made, false, __ATOMIC_RELAXED, __ATOMIC_RELAXED);
  return isFirst ? made : known;
}

// The high bits of a product depend on all bits of the factors. The middle step is for keys at equal distances.
uint32_t PointerMap::homeOf(uint64_t key) const {
  const uint64_t secret = secretOfProcess();
  uint64_t mixed = (key ^ secret) * 0x9E3779B97F4A7C15U;
  mixed = (mixed ^ mixed >> 32) * secret;
  return static_cast<uint32_t>(mixed >> (64 - bits));
}

// The position of the key, or the free place for it.
uint32_t PointerMap::placeOf(uint64_t key) const {
  uint32_t place = homeOf(key);
  while (entries[place].value != nullptr && entries[place].key != key) place = (place + 1) & last();
  return place;
}

void *PointerMap::find(uint64_t key) const {
  return entries == nullptr ? nullptr : entries[placeOf(key)].value;
}

bool PointerMap::grow() {
  constexpr uint32_t fewest = 4;
  constexpr uint32_t most = 26;
  PointerMap larger;
  larger.bits = entries == nullptr ? fewest : bits + 1;
  if (larger.bits > most) return false;
  const size_t bytes = sizeof(Entry) << larger.bits;
  larger.entries = static_cast<Entry *>(hidden(ztm_alloc(static_cast<int32_t>(bytes))));
  if (larger.entries == nullptr) return false;
  memset(larger.entries, 0, bytes);
  for (uint32_t place = 0; entries != nullptr && place <= last(); ++place) {
    const Entry &entry = entries[place];
    if (entry.value != nullptr) larger.entries[larger.placeOf(entry.key)] = entry;
  }
  larger.count = count;
  ztm_free(entries);
  *this = larger;
  return true;
}

bool PointerMap::insert(uint64_t key, void *value) {
  // When memory is exhausted, the table fills up to one free place, at which a search ends.
  const bool isCrowded = entries == nullptr || count > last() / 2;
  if (isCrowded && !grow() && (entries == nullptr || count == last())) return false;
  Entry &entry = entries[placeOf(key)];
  if (entry.value != nullptr) return true;
  entry = {key, value};
  ++count;
  return true;
}

void PointerMap::replace(uint64_t key, void *value) {
  entries[placeOf(key)].value = value;
}

void PointerMap::remove(uint64_t key) {
  // Moves later entries up that the freed place separates from their homes.
  uint32_t freed = placeOf(key);
  for (uint32_t place = (freed + 1) & last(); entries[place].value != nullptr; place = (place + 1) & last()) {
    const uint32_t fromHome = (place - homeOf(entries[place].key)) & last();
    const uint32_t fromFreed = (place - freed) & last();
    if (fromHome < fromFreed) continue;
    entries[freed] = entries[place];
    freed = place;
  }
  entries[freed].value = nullptr;
  if (--count == 0) clear();
}

void PointerMap::clear() {
  ztm_free(entries);
  *this = PointerMap();
}
