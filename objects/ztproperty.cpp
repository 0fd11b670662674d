#include "objects/ztproperty.h"

#include "containers/ztcompare.hh"
#include "containers/ztown.hh"
#include "containers/ztpointers.hh"
#include "core/ztbasec.hh"
#include "core/ztkept.hh"
#include "core/ztlayout.hh"
#include "core/ztlock.hh"
#include "core/ztmem.hh"
#include "core/ztmethod.hh"
#include "core/ztoop.hh"
#include "core/ztparts.hh"
#include "core/zttext.hh"
#include "objects/ztmaps.hh"
#include "objects/ztproperty.hh"
#include "objects/ztstrmap.hh"
#include "support/ztcutils.h"

using namespace ztcore;

ZT_PIN_CLASS(ztProperty, 184, 20);
ZT_PIN_FUNCTION(ztProperty, registerNewType, 10);
ZT_PIN_FUNCTION(ztProperty, getPropertyTypeClass, 11);

// ztProperty --------------------------------------------------------------------------------------

static const ztPropertyTypeMethods *operationsOf(const ztProperty &property) {
  return static_cast<const ztPropertyTypeMethods *>(property.type->methodTable);
}

static int32_t propertyIsDynamic(const ztProperty &property) {
  return property.valuePointer != nullptr && property.valueSize != 0;
}

using PropertyParts = Parts<&ztBaseClass_table, Part<&ztProperty::name, ztString_ctor>,
                            Part<&ztProperty::signalName, ztString_ctor>>;

static int32_t propertyCreate(ztProperty &property) {
  property.type = nullptr;
  property.getter.getInt = nullptr;
  property.setter.setInt = nullptr;
  property.userWord = nullptr;
  property.index = 0;
  copyText(property.ownerClassName, "");
  property.valuePointer = nullptr;
  property.valueSize = 0;
  return PropertyParts::create(property);
}

static void propertyDestroy(ztProperty &property) {
  if (property.type != nullptr && propertyIsDynamic(property)) {
    operationsOf(property)->freeDynamicProperty(property.type, &property);
  }
  property.valuePointer = nullptr;
  PropertyParts::destroy(property);
}

static void *propertyClone(const ztProperty &property, void *target) {
  ztProperty *copy = PropertyParts::clone(property, target);
  if (copy == nullptr) return nullptr;
  copy->valuePointer = nullptr;
  copy->valueSize = 0;
  if (property.type == nullptr || !propertyIsDynamic(property)) return copy;
  // The storage of a plain kind begins with its value; that of the string kind is the string. Both serve as the
  // initial value of a new property.
  const ztPropertyTypeMethods *operations = operationsOf(*copy);
  const bool hasValue = operations->allocDynamicProperty(copy->type, copy, property.valuePointer) != nullptr;
  return hasValue ? copy : PropertyParts::undo(*copy);
}

// Not through `method`: the word would become a variable whose address is taken, which adds a stack guard.
static int32_t propertySetValue(void *object, void *owner, ztWord value) {
  if (object == nullptr) return 0;
  const auto &property = *static_cast<const ztProperty *>(object);
  if (property.type != nullptr) operationsOf(property)->setValue(property.type, object, owner, &value);
  return 1;
}

static int32_t propertyGetValue(const ztProperty &property, void *owner, void *out) {
  if (property.type != nullptr) operationsOf(property)->getValue(property.type, &property, owner, out);
  return 1;
}

static const char *propertyGetType(const ztProperty &property) {
  if (property.type == nullptr) return nullptr;
  const ztPropertyTypeMethods *operations = operationsOf(property);
  return operations->getType == nullptr ? nullptr : operations->getType(property.type);
}

bool ztcore::beginProperty(ztProperty *property, const char *name, ztClass *type, int32_t index,
                           const char *ownerClassName) {
  ztProperty_ctor(property, 1);
  property->type = type;
  property->index = index;
  copyText(property->ownerClassName, ownerClassName);
  return property->name != nullptr && property->signalName != nullptr &&
         ztString_of(property->name)->set(property->name, name) != nullptr;
}

// The property types that declarations know --------------------------------------------------------

uint32_t ztcore::lostDeclarations;

// Guarded by engineLock.
static ztPropertyTypeMap *propertyTypes;

static ztPropertyTypeMap *typeMap() {
  if (propertyTypes == nullptr) {
    propertyTypes = hidden(newObject<ztPropertyTypeMap>(ztPropertyTypeMap_ctor));
  }
  return propertyTypes;
}

void ztcore::releasePropertyTypes() {
  const Locked locked(engineLock, Locked::hostsCode);
  releasePart(propertyTypes);
}

static ztClass *propertyGetPropertyTypeClass(const void *, const char *typeClassName) {
  const Locked locked(engineLock, Locked::hostsCode);
  return static_cast<ztClass *>(findByName(propertyTypes, ztPropertyTypeMap_key_compare_func, typeClassName));
}

ztClass *ztcore::propertyTypeOf(const char *typeName) {
  if (typeName == nullptr) return nullptr;
  return ztProperty_functions()->getPropertyTypeClass(nullptr, ztCu_fmtMsg("%sPropertyType", typeName));
}

void ztcore::forgetPropertyType(const ztClass *klass) {
  const Locked locked(engineLock, Locked::hostsCode);
  // A type is stored under the name of its class.
  if (findByName(propertyTypes, ztPropertyTypeMap_key_compare_func, klass->name) != klass) return;
  const BorrowedText key(klass->name);
  ztPropertyTypeMap_of(propertyTypes)->pop(propertyTypes, key.get());
}

static int32_t propertyRegisterNewType(const void *, const char *typeClassName) {
  if (typeClassName == nullptr) return 0;
  const Locked locked(engineLock, Locked::hostsCode);
  if (propertyGetPropertyTypeClass(nullptr, typeClassName) != nullptr) return 0;
  ztClass *type = ztOOP_findClass(typeClassName);
  // Not stored, so that a class that is registered later can be stored under this name.
  if (type == nullptr || !ztOOP_isClassOfClass(type, "ztPropertyType")) return 1;
  if (insertByName(typeMap(), typeClassName, type) != nullptr) return 1;
  ++lostDeclarations;
  return 0;
}

static void propertyClassInit(ztClass *) {
  const Locked locked(engineLock, Locked::hostsCode);
  ensureRegistered("ztPropertyType", ztPropertyType_ctor);
  ensureRegistered("ztPropertyTypeMap", ztPropertyTypeMap_ctor);
  typeMap();
}

static void propertyClassDestroy(void *) {
  releasePropertyTypes();
}

static void propertyFunctions(ztPropertyFunctions *functions) {
  keepRegistered(Kept::types, releasePropertyTypes, forgetPropertyType);
  functions->classInit = propertyClassInit;
  functions->classDestroy = propertyClassDestroy;
  functions->registerNewType = propertyRegisterNewType;
  functions->getPropertyTypeClass = propertyGetPropertyTypeClass;
}

static void propertyMethods(ztPropertyMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, method<propertyCreate>);
  ZT_OVERRIDE_METHOD(methods, clone, method<propertyClone>);
  ZT_OVERRIDE_METHOD(methods, destroy, method<propertyDestroy>);
  ZT_OVERRIDE_METHOD(methods, setValue, propertySetValue);
  ZT_OVERRIDE_METHOD(methods, getValue, method<propertyGetValue>);
  ZT_OVERRIDE_METHOD(methods, getType, method<propertyGetType>);
  ZT_OVERRIDE_METHOD(methods, isDynamic, method<propertyIsDynamic>);
}

ZT_DEFINE_CLASS_FULL(ztProperty, ztBaseClass, propertyMethods, 1, ztPropertyFunctions, propertyFunctions)

// The containers of properties --------------------------------------------------------------------

static int32_t propertyMapCreate(void *object) {
  if (!ztMap_table()->create(object)) return 0;
  keyByString(object, ztPropertyMap_compare_func);
  const ztPropertyMapMethods *methods = ztPropertyMap_of(object);
  methods->setValueConstructor(object, ztProperty_ctor);
  methods->setValueSize(object, sizeof(ztProperty), 0);
  methods->setValueCompareFunction(object, ztPropertyMap_compare_func);
  return 1;
}

bool ztcore::createsPropertyMapsPlainly() {
  return createsPlainly(ztPropertyMapClass_Instance(), propertyMapCreate);
}

bool ztcore::releasesPropertiesPlainly(const ztPropertyMap *properties) {
  return releasesPlainly(asMap(properties), ztPropertyMapClass_Instance()) &&
         properties->tree->root == nullptr;
}

namespace {

// The strings and the item of a property in a map. The property itself has no space for the distance from a block.
struct NamesBlock : SharedBlock {
  ztMapItem item;
  StringWithChars key;
  StringWithChars name;
  StringWithChars signalName;
};

}  // namespace

static_assert(sizeof(NamesBlock) <= furthestPart);

// Whether copying a property and releasing the copy calls only functions of the library.
static bool copiesPlainly(const ztProperty *property) {
  const ztPropertyMethods *methods = ztProperty_table();
  return property != nullptr && ztOOP_classOf(property) == ztPropertyClass_Instance() &&
         property->valueSize == 0 && ztProperty_functions()->newop == ztProperty_newop &&
         methods->clone == method<propertyClone> && methods->unRef == method<baseUnRef> &&
         methods->destroy == method<propertyDestroy> && isPlainText(property->name) &&
         isPlainText(property->signalName);
}

static bool addsPlainly(const ztPropertyMap *map, const ztString *key, const ztProperty *property) {
  return insertsPlainly(asMap(map), ztPropertyMapClass_Instance()) && !map->tree->allowDuplicate &&
         map->keyConstructor == ztString_ctor && map->valueConstructor == ztProperty_ctor &&
         map->tree->compareFunction == ztPropertyMap_compare_func && isPlainText(key) &&
         copiesPlainly(property) && copiesTextsPlainly();
}

static NamesBlock *copyNames(const ztString *key, const ztProperty &property) {
  auto *block = static_cast<NamesBlock *>(ztm_alloc(sizeof(NamesBlock)));
  if (block == nullptr) return nullptr;
  block->living = 0;
  if (block->key.copy(block, key)) {
    if (block->name.copy(block, property.name)) {
      if (block->signalName.copy(block, property.signalName)) return block;
      block->name.freeText();
    }
    block->key.freeText();
  }
  ztm_free(block);
  return nullptr;
}

// A declaration is made once for each class.
[[gnu::cold]] static ztProperty *addPlainly(ztPropertyMap *map, const ztString *key,
                                            const ztProperty &property) {
  auto *copy = static_cast<ztProperty *>(ztProperty_ctor(nullptr, 0));
  NamesBlock *block = copy == nullptr ? nullptr : copyNames(key, property);
  if (block != nullptr) {
    *copy = property;
    copy->refCount = 1;
    copy->name = &block->name.string;
    copy->signalName = &block->signalName.string;
    copy->valuePointer = nullptr;
    insertPlainly(asMap(map), block, &block->item, &block->key.string, copy);
    return copy;
  }
  ztm_free(copy);
  return nullptr;
}

ztProperty *ztcore::insertProperty(ztPropertyMap *map, const ztString *key, const ztProperty *property) {
  if (!addsPlainly(map, key, property)) {
    const auto *item = static_cast<const ztMapItem *>(ztPropertyMap_of(map)->pushBack(map, key, property));
    return item == nullptr ? nullptr : static_cast<ztProperty *>(item->value);
  }
  if (findByName(map, ztPropertyMap_compare_func, textOf(key)) != nullptr) return nullptr;
  return addPlainly(map, key, *property);
}

void ztcore::freeProperties(ztPropertyMap *properties, FreedObjects *freed) {
  freeMap(asMap(properties), freed);
}

static void propertyMapMethods(ztPropertyMapMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, propertyMapCreate);
}

ZT_DEFINE_CLASS(ztPropertyMap, ztMap, propertyMapMethods)

static int32_t propertyPtrArrayCreate(void *object) {
  if (!ztArray_table()->create(object)) return 0;
  keepPointers(object, ztPropertyPtrArray_compare_func, ztPropertyPtrArray_compare_func_ptr);
  return 1;
}

static void propertyPtrArrayMethods(ztPropertyPtrArrayMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, propertyPtrArrayCreate);
}

ZT_DEFINE_CLASS(ztPropertyPtrArray, ztArray, propertyPtrArrayMethods)

static int32_t propertyTypeMapCreate(void *object) {
  if (!ztMap_table()->create(object)) return 0;
  keyByString(object, ztPropertyTypeMap_key_compare_func);
  const ztPropertyTypeMapMethods *methods = ztPropertyTypeMap_of(object);
  methods->setValueSize(object, sizeof(void *), 1);
  methods->setValueCompareFunction(object, ztPropertyTypeMap_value_compare_func_ptr);
  return 1;
}

static void propertyTypeMapMethods(ztPropertyTypeMapMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, propertyTypeMapCreate);
}

ZT_DEFINE_CLASS(ztPropertyTypeMap, ztMap, propertyTypeMapMethods)

int32_t ztPropertyMap_compare_func(const void *first, const void *second) {
  return compareStrings(first, second);
}

int32_t ztPropertyMap_compare_func_ptr(const void *first, const void *second) {
  return compareStrings(first, second);
}

int32_t ztPropertyPtrArray_compare_func(const void *first, const void *second) {
  return compareAt<uintptr_t>(first, second);
}

int32_t ztPropertyPtrArray_compare_func_ptr(const void *first, const void *second) {
  return compareWords<uintptr_t>(first, second);
}

int32_t ztPropertyTypeMap_key_compare_func(const void *first, const void *second) {
  return compareStrings(first, second);
}

int32_t ztPropertyTypeMap_key_compare_func_ptr(const void *first, const void *second) {
  return compareStrings(first, second);
}

int32_t ztPropertyTypeMap_value_compare_func(const void *first, const void *second) {
  return compareAt<uintptr_t>(first, second);
}

int32_t ztPropertyTypeMap_value_compare_func_ptr(const void *first, const void *second) {
  return compareWords<uintptr_t>(first, second);
}
