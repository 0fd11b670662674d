// The release of an object that a field owns.
#ifndef ZT_CORE_ZTRELEASE_HH
#define ZT_CORE_ZTRELEASE_HH

#include "core/ztbasec.h"

namespace ztcore {

// Clears the field, then releases the part: functions that run meanwhile may fill the empty field again.
template <typename Part>
inline void releasePart(Part *&field) {
  Part *part = field;
  field = nullptr;
  if (part != nullptr) ztBaseClass_of(part)->unRef(part);
}

}  // namespace ztcore

#endif
