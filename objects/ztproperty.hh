// For declarations: new properties and the known property types.
#ifndef ZT_OBJECTS_ZTPROPERTY_HH
#define ZT_OBJECTS_ZTPROPERTY_HH

#include "objects/ztproperty.h"

namespace ztcore {

// Initialises a property in the caller's memory; the caller destroys it whatever the result.
bool beginProperty(ztProperty *property, const char *name, ztClass *type, int32_t index,
                   const char *ownerClassName);

// The class of a type by its name in declarations, for example "ztInt". NULL when it is unknown.
ztClass *propertyTypeOf(const char *typeName);

// Adds copies of a key and a static property to a map. Returns the added property; NULL if the map has the key, or when
// memory is exhausted.
ztProperty *insertProperty(ztPropertyMap *map, const ztString *key, const ztProperty *property);

// Incremented, under engineLock, when memory is exhausted during a declaration: the static properties that are
// being declared are declared again later.
extern uint32_t lostDeclarations;

// Releases the map of types; the next registration of a type makes a new one.
void releasePropertyTypes();

// Removes a class whose code is about to be unloaded from the map of types.
void forgetPropertyType(const ztClass *klass);

}  // namespace ztcore

#endif
