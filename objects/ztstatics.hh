#ifndef ZT_OBJECTS_ZTSTATICS_HH
#define ZT_OBJECTS_ZTSTATICS_HH

#include "objects/ztobject.h"

namespace ztcore {

// A class's static properties. Builds them on first use for a class that was freed or is not registered. NULL
// when memory is exhausted.
ztPropertyMap *staticMapOf(ztClass *klass);

// Declares a static property of a type of the library, and makes the type known.
int32_t declareProperty(ztClass *klass, const char *name, const char *typeName, ztGetter getter,
                        ztSetter setter, const char *typeClassName, ztCtor typeCtor);

// Releases the static properties of every class; the next use builds them again.
void releaseStaticProperties();

// Releases the static properties of a class whose code is about to be unloaded, of its descendants, and of
// classes that have a property of such a type.
void forgetStaticProperties(const ztClass *klass);

// Fills the slots of static properties in the method table of ztObject.
void overrideStaticProperties(ztObjectMethods *methods);

}  // namespace ztcore

#endif
