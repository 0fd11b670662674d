#include "objects/ztobjprops.hh"

#include "containers/ztwalk.hh"
#include "core/ztcheck.hh"
#include "core/ztmethod.hh"
#include "objects/ztobjbase.hh"
#include "objects/ztproperty.hh"
#include "objects/ztstatics.hh"
#include "objects/ztstrmap.hh"

using namespace ztcore;

static int32_t createProperty(ztObject &object, const char *name, const char *typeName, const void *initial) {
  ztClass *type = propertyTypeOf(typeName);
  const ztPropertyMap *inherited = staticMapOf(object.klass);
  if (type == nullptr || inherited == nullptr || object.dynamicProperties == nullptr) return 0;
  const int32_t index = sizeOfMap(inherited) + sizeOfMap(object.dynamicProperties);
  const auto *operations = static_cast<const ztPropertyTypeMethods *>(type->methodTable);
  // A host's type may have no storage.
  if (operations->allocDynamicProperty == nullptr) return 0;
  ztProperty property;
  const bool added = beginProperty(&property, name, type, index, object.klass->name) &&
                     operations->allocDynamicProperty(type, &property, initial) != nullptr &&
                     insertByName(object.dynamicProperties, name, &property) != nullptr;
  ztProperty_of(&property)->destroy(&property);
  return added;
}

static ztProperty *findProperty(const ztObject &object, const char *name) {
  void *found = findByName(staticMapOf(object.klass), ztPropertyMap_compare_func, name);
  if (found == nullptr) found = findByName(object.dynamicProperties, ztPropertyMap_compare_func, name);
  return static_cast<ztProperty *>(found);
}

static int32_t objectSetProperty(ztObject &object, const char *name, const char *typeName, ztWord value) {
  if (name == nullptr) return 0;
  if (checksThreads) checkThread(&object, "the setting of a property");
  ztProperty *property = findProperty(object, name);
  if (property != nullptr) return ztProperty_of(property)->setValue(property, &object, value);
  return createProperty(object, name, typeName, reinterpret_cast<const void *>(value));
}

static int32_t objectGetProperty(ztObject &object, const char *name, const char *, void *out) {
  if (name == nullptr) return 0;
  const ztProperty *property = findProperty(object, name);
  return property == nullptr ? 0 : ztProperty_of(property)->getValue(property, &object, out);
}

// Stores the addresses of the map's properties from index `at` on; returns the next index.
static int32_t listProperties(void *array, const ztPropertyMap *map, int32_t at) {
  for (const ztMapItem *item : itemsOf(map)) {
    ztPropertyPtrArray_of(array)->setAt(array, item->value, at++);
  }
  return at;
}

static int32_t listAllProperties(void *array, const ztPropertyMap *first, const ztPropertyMap *second) {
  if (array == nullptr) return 0;
  const ztPropertyPtrArrayMethods *methods = ztPropertyPtrArray_of(array);
  if (!methods->setSize(array, sizeOfMap(first) + sizeOfMap(second))) return 0;
  listProperties(array, second, listProperties(array, first, 0));
  methods->sort(array, ztObject_propertiesSortFunc);
  return 1;
}

static int32_t objectGetProperties(const ztObject &object, void *array) {
  const ztPropertyMap *map = staticMapOf(object.klass);
  return map == nullptr ? 0 : listAllProperties(array, map, object.dynamicProperties);
}

static int32_t objectGetStaticProperties(const ztObject &object, void *array) {
  const ztPropertyMap *map = staticMapOf(object.klass);
  return map == nullptr ? 0 : listAllProperties(array, map, nullptr);
}

static int32_t objectGetDynamicProperties(const ztObject &object, void *array) {
  return listAllProperties(array, nullptr, object.dynamicProperties);
}

int32_t ztObject_propertiesSortFunc(const void *first, const void *second) {
  if (first == nullptr || second == nullptr) return 0;
  const int32_t one = (*static_cast<const ztProperty *const *>(first))->index;
  const int32_t other = (*static_cast<const ztProperty *const *>(second))->index;
  return (one > other) - (one < other);
}

void ztcore::overrideProperties(ztObjectMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, setProperty, method<objectSetProperty>);
  ZT_OVERRIDE_METHOD(methods, getProperty, method<objectGetProperty>);
  ZT_OVERRIDE_METHOD(methods, getProperties, method<objectGetProperties>);
  ZT_OVERRIDE_METHOD(methods, getStaticProperties, method<objectGetStaticProperties>);
  ZT_OVERRIDE_METHOD(methods, getDynamicProperties, method<objectGetDynamicProperties>);
}
