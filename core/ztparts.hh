// The parts of an object: other objects that it owns, each in a field.
#ifndef ZT_CORE_ZTPARTS_HH
#define ZT_CORE_ZTPARTS_HH

#include "core/ztbasec.h"

// Takes a part out of its field, and releases it. In this order: what the part's end calls finds the field
// empty, and may fill it again.
template <typename Part>
inline void ztReleasePart(Part *&field) {
  Part *part = field;
  field = nullptr;
  if (part != nullptr) ztBaseClass_of(part)->unRef(part);
}

#endif
