// The static properties of the classes of objects.
#ifndef ZT_OBJECTS_ZTSTATICS_HH
#define ZT_OBJECTS_ZTSTATICS_HH

#include "objects/ztobject.h"

// A class's static properties, made when they are first needed of a class that was freed or that the registry
// does not know. NULL when memory is exhausted.
ztPropertyMap *ztStaticMapOf(ztClass *klass);

// Declares a static property of a type of the library's, which becomes known to declarations by this.
int32_t ztDeclareProperty(ztClass *klass, const char *name, const char *typeName, ztGetter getter,
                          ztSetter setter, const char *typeClassName, ztCtor typeCtor);

// Releases the static properties of every class; each class's are made again when they are needed.
void ztReleaseStaticProperties();

// Releases those of a class whose code is about to be unloaded, of the classes that descend from it, and
// those that have a property of such a class's type.
void ztForgetStaticProperties(const ztClass *klass);

// Puts the methods of static properties into the table of ztObject.
void ztOverrideStaticProperties(ztObjectMethods *methods);

#endif
