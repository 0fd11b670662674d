// What declarations need: a property in the making, and the property types that are known.
#ifndef ZT_OBJECTS_ZTPROPERTY_HH
#define ZT_OBJECTS_ZTPROPERTY_HH

#include "objects/ztproperty.h"

namespace ztcore {

// Begins a property in the caller's memory; it is to be destroyed whatever the result.
bool beginProperty(ztProperty *property, const char *name, ztClass *type, int32_t index,
                   const char *ownerClassName);

// The class of a type by the name that declarations have for it, "ztInt" say. NULL for one that is not known.
ztClass *propertyTypeOf(const char *typeName);

// Raised, under the engine's lock, when a declaration is lost for want of memory: the static properties that
// are being declared are declared anew later.
extern uint32_t lostDeclarations;

// Releases the map of types; it is made again when a type is registered.
void releasePropertyTypes();

// Takes a class whose code is about to be unloaded out of that map.
void forgetPropertyType(const ztClass *klass);

}  // namespace ztcore

#endif
