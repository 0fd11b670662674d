// Which classes the library has.
#ifndef ZT_CORE_ZTCORE_HH
#define ZT_CORE_ZTCORE_HH

#include "core/ztoop.h"

// Whether a class is one of the library's own.
bool ztcoreIsLibraryClass(const ztClass *klass);

#endif
