// The process-wide map of property types, for the end of the library.
#ifndef ZT_OBJECTS_ZTPROPERTY_HH
#define ZT_OBJECTS_ZTPROPERTY_HH

#include "core/ztoop.h"

// Releases the map; it is made again when a type is registered.
void ztReleasePropertyTypes();

// Takes a class whose code is about to be unloaded out of the map.
void ztForgetPropertyType(const ztClass *klass);

#endif
