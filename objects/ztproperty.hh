// The process-wide map of property types, for the end of the library.
#ifndef ZT_OBJECTS_ZTPROPERTY_HH
#define ZT_OBJECTS_ZTPROPERTY_HH

// Releases the map; it is made again when a type is registered.
void ztReleasePropertyTypes();

#endif
