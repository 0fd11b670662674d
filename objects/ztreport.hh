#ifndef ZT_OBJECTS_ZTREPORT_HH
#define ZT_OBJECTS_ZTREPORT_HH

#include "objects/ztreport.h"

namespace ztcore {

// Prints how many objects of which class live, and where they were made, to standard error.
void printLiveObjects();

}  // namespace ztcore

#endif
