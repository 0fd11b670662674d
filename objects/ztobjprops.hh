// The properties of an object, static and dynamic.
#ifndef ZT_OBJECTS_ZTOBJPROPS_HH
#define ZT_OBJECTS_ZTOBJPROPS_HH

#include "objects/ztobject.h"

namespace ztcore {

// Puts the methods that read, write and list properties into the table of ztObject.
void overrideProperties(ztObjectMethods *methods);

}  // namespace ztcore

#endif
