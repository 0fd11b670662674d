// Growing blocks, for elements without constructors and destructors.
#ifndef ZT_CORE_ZTGROWING_HH
#define ZT_CORE_ZTGROWING_HH

#include "core/ztmem.h"

#include <stdint.h>
#include <string.h>

namespace ztcore {

// Returns a block with the contents of `old`, at least twice its capacity and space for `wanted` elements.
// `old` is `few`, which stays, or a heap block, which is released; NULL before the first element. NULL, with
// nothing changed, when memory is exhausted.
template <typename Element, typename Count>
Element *growBlock(Element *old, const Element *few, Count *capacity, Count wanted) {
  constexpr Count most = INT32_MAX / 2 / sizeof(Element);
  Count larger = *capacity;
  do {
    if (larger > most) return nullptr;
    larger = larger == 0 ? 16 : 2 * larger;
  } while (larger < wanted);
  const auto bytes = static_cast<int32_t>(static_cast<size_t>(larger) * sizeof(Element));
  auto *fresh = static_cast<Element *>(old == few ? ztm_alloc(bytes) : ztm_realloc(old, bytes));
  if (fresh == nullptr) return nullptr;
  if (old == few && few != nullptr) memcpy(fresh, few, static_cast<size_t>(*capacity) * sizeof(Element));
  *capacity = larger;
  return fresh;
}

template <typename Element>
class GrowingArray {
 public:
  GrowingArray() = default;
  ~GrowingArray() {
    ztm_free(elements);
  }
  GrowingArray(const GrowingArray &) = delete;
  GrowingArray &operator=(const GrowingArray &) = delete;

  // False when memory is exhausted; nothing changes then.
  bool push(const Element &element) {
    if (used == capacity && !grow()) return false;
    elements[used++] = element;
    return true;
  }
  void pop() {
    --used;
  }
  int32_t size() const {
    return used;
  }
  Element &operator[](int32_t index) {
    return elements[index];
  }
  const Element &last() const {
    return elements[used - 1];
  }
  Element &last() {
    return elements[used - 1];
  }

 private:
  bool grow() {
    Element *grown = growBlock<Element>(elements, nullptr, &capacity, used + 1);
    if (grown != nullptr) elements = grown;
    return grown != nullptr;
  }

  Element *elements = nullptr;
  int32_t used = 0;
  int32_t capacity = 0;
};

}  // namespace ztcore

#endif
