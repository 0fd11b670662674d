// The static properties of the classes of objects.
#ifndef ZT_OBJECTS_ZTSTATICS_HH
#define ZT_OBJECTS_ZTSTATICS_HH

#include "objects/ztobject.h"

namespace ztcore {

// A class's static properties, made when they are first needed of a class that was freed or that the registry
// does not know. NULL when memory is exhausted.
ztPropertyMap *staticMapOf(ztClass *klass);

// Declares a static property of a type of the library's, which becomes known to declarations by this.
int32_t declareProperty(ztClass *klass, const char *name, const char *typeName, ztGetter getter,
                        ztSetter setter, const char *typeClassName, ztCtor typeCtor);

// Releases the static properties of every class; each class's are made again when they are needed.
void releaseStaticProperties();

// Releases those of a class whose code is about to be unloaded, of the classes that descend from it, and
// those that have a property of such a class's type.
void forgetStaticProperties(const ztClass *klass);

// Puts the methods of static properties into the table of ztObject.
void overrideStaticProperties(ztObjectMethods *methods);

}  // namespace ztcore

#endif
