#ifndef ZT_CORE_ZTCORE_HH
#define ZT_CORE_ZTCORE_HH

#include "core/ztoop.h"

namespace ztcore {

// Whether a class is one of the library's own.
bool isLibraryClass(const ztClass *klass);

}  // namespace ztcore

#endif
