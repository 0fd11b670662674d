// Hashes of names, and of what consists of words.
#ifndef ZT_CORE_ZTNAMEHASH_HH
#define ZT_CORE_ZTNAMEHASH_HH

#include <stddef.h>
#include <stdint.h>
#include <string.h>

namespace ztcore {

inline uint64_t mixed(uint64_t hash, uint64_t bytes) {
  return (hash ^ bytes) * 0x9E3779B97F4A7C15U;
}

inline uint64_t wordAt(const char *text) {
  uint64_t word;
  memcpy(&word, text, sizeof word);
  return word;
}

// Eight bytes at a time, because each class is looked up several times while the library is loaded.
inline uint32_t hashOf(const char *name, size_t length) {
  uint64_t hash = mixed(length, 0);
  if (length < sizeof(uint64_t)) {
    for (size_t i = 0; i < length; ++i) hash = mixed(hash, static_cast<uint8_t>(name[i]));
  } else {
    const size_t last = length - sizeof(uint64_t);
    for (size_t i = 0; i < last; i += sizeof(uint64_t)) hash = mixed(hash, wordAt(name + i));
    hash = mixed(hash, wordAt(name + last));
  }
  return static_cast<uint32_t>(hash >> 32);
}

inline uint32_t hashOf(const char *name) {
  return hashOf(name, strlen(name));
}

}  // namespace ztcore

#endif
