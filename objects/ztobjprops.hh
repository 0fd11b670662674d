#ifndef ZT_OBJECTS_ZTOBJPROPS_HH
#define ZT_OBJECTS_ZTOBJPROPS_HH

#include "objects/ztobject.h"

namespace ztcore {

// Fills the slots that read, write and list properties in the method table of ztObject.
void overrideProperties(ztObjectMethods *methods);

}  // namespace ztcore

#endif
