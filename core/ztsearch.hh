// Searches in what is ordered.
#ifndef ZT_CORE_ZTSEARCH_HH
#define ZT_CORE_ZTSEARCH_HH

#include <stdint.h>

namespace ztcore {

// The first index from `from` on for which isBefore(index) is false; `to` when there is none. Those for which it is true
// come first.
template <typename IsBefore>
int32_t firstNotBefore(int32_t from, int32_t to, IsBefore isBefore) {
  while (from < to) {
    const int32_t middle = from + (to - from) / 2;
    if (isBefore(middle)) {
      from = middle + 1;
    } else {
      to = middle;
    }
  }
  return from;
}

}  // namespace ztcore

#endif
