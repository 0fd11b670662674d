// Pins the sizes of classes and the offsets of the engine's own structs. The layout test checks every field and
// every slot; the headers show the number of each slot.
#ifndef ZT_CORE_ZTLAYOUT_HH
#define ZT_CORE_ZTLAYOUT_HH

#include <stddef.h>

namespace ztcore {

#define ZT_PIN_FIELD(Struct, field, offset) static_assert(offsetof(Struct, field) == (offset))

#define ZT_PIN_FUNCTION(C, slot, number) \
  static_assert(offsetof(C##Functions, slot) == (number) * sizeof(void *))

#define ZT_PIN_CLASS(C, instanceSize, slotCount) \
  static_assert(sizeof(C) == (instanceSize));    \
  static_assert(sizeof(C##Methods) == (slotCount) * sizeof(void *))

}  // namespace ztcore

#endif
