// An array that grows, for elements without constructors and destructors of their own.
#ifndef ZT_OBJECTS_ZTGROWING_HH
#define ZT_OBJECTS_ZTGROWING_HH

#include "core/ztmem.h"

template <typename Element>
class GrowingArray {
 public:
  GrowingArray() = default;
  ~GrowingArray() {
    ztm_free(elements);
  }
  GrowingArray(const GrowingArray &) = delete;
  GrowingArray &operator=(const GrowingArray &) = delete;

  // False, with the array as it was, without memory.
  bool push(const Element &element) {
    if (used == room && !grow()) return false;
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
    constexpr int32_t size = sizeof(Element);
    const int32_t wanted = room == 0 ? 16 : 2 * room;
    if (wanted > INT32_MAX / 2 / size) return false;
    void *moved = ztm_realloc(elements, wanted * size);
    if (moved == nullptr) return false;
    elements = static_cast<Element *>(moved);
    room = wanted;
    return true;
  }

  Element *elements = nullptr;
  int32_t used = 0;
  int32_t room = 0;
};

#endif
