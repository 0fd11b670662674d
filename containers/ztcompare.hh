#ifndef ZT_CONTAINERS_ZTCOMPARE_HH
#define ZT_CONTAINERS_ZTCOMPARE_HH

#include "containers/ztcont.h"

#include <stdint.h>
#include <string.h>

namespace ztcore {

// 0 when the values are equal, 1 when the first is greater, else -1, also for values without an order.
template <typename Value>
inline int32_t compareValues(Value first, Value second) {
  if (first == second) return 0;
  return first > second ? 1 : -1;
}

// Takes the addresses of two values, which need no alignment. NULL sorts first.
template <typename Value>
inline int32_t compareAt(const void *first, const void *second) {
  if (first == nullptr || second == nullptr) return compareValues(first != nullptr, second != nullptr);
  Value values[2];
  memcpy(&values[0], first, sizeof(Value));
  memcpy(&values[1], second, sizeof(Value));
  return compareValues(values[0], values[1]);
}

// Takes two values in the low bytes of the arguments. Pointers use compareWords<uintptr_t>.
template <typename Value>
inline int32_t compareWords(const void *first, const void *second) {
  static_assert(sizeof(Value) <= sizeof(void *));
  return compareAt<Value>(&first, &second);
}

// An integer at an address, which needs no alignment.
inline int32_t integerAt(const void *address) {
  int32_t value;
  memcpy(&value, address, sizeof value);
  return value;
}

// Whether a function is one of those that the library exports for arrays, lists, queues and stacks. They only
// compare two values, so calls of them can be left out unnoticed.
bool isOwnCompare(ztCompareFunc compare);

// The same for those that compare numbers and addresses only: a text may be in a buffer of a host's class.
bool isPlainCompare(ztCompareFunc compare);

}  // namespace ztcore

#endif
