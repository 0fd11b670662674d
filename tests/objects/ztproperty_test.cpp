#include "objects/ztproperty.h"

#include "containers/ztmapiter.h"
#include "tests/objects/listeners.hh"

#include <gtest/gtest.h>

#include <stddef.h>
#include <string.h>

namespace {

const ztPropertyFunctions *functions() {
  return ztProperty_functions();
}

ztProperty *newProperty(ztClass *type) {
  auto *property = static_cast<ztProperty *>(ztProperty_ctor(nullptr, 1));
  property->type = type;
  return property;
}

void setText(ztString *string, const char *text) {
  ztString_of(string)->set(string, text);
}

ztProperty *newIntProperty(int32_t value) {
  ztProperty *property = newProperty(ztIntPropertyTypeClass_Instance());
  ztIntPropertyType_table()->allocDynamicProperty(property->type, property, &value);
  return property;
}

int32_t intOf(const ztProperty *property) {
  int32_t value = 0;
  ztProperty_of(property)->getValue(property, nullptr, &value);
  return value;
}

// A copy of the property in memory full of garbage.
ztProperty *cloned(const ztProperty *property) {
  void *target = ztProperty_newop();
  memset(static_cast<char *>(target) + sizeof(ztBaseClass), 0xA5, sizeof(ztProperty) - sizeof(ztBaseClass));
  auto *copy = static_cast<ztProperty *>(ztProperty_of(property)->clone(property, target));
  if (copy != nullptr) copy->refCount = 1;
  return copy;
}

}  // namespace

// A property --------------------------------------------------------------------------------------

TEST(Property, FieldsStandInTheirOrder) {
  EXPECT_EQ(offsetof(ztProperty, refCount), 8U);
  EXPECT_EQ(offsetof(ztProperty, index), 12U);
  EXPECT_EQ(offsetof(ztProperty, name), 16U);
  EXPECT_EQ(offsetof(ztProperty, type), 24U);
  EXPECT_EQ(offsetof(ztProperty, getter), 32U);
  EXPECT_EQ(offsetof(ztProperty, setter), 40U);
  EXPECT_EQ(offsetof(ztProperty, userWord), 48U);
  EXPECT_EQ(offsetof(ztProperty, signalName), 56U);
  EXPECT_EQ(offsetof(ztProperty, ownerClassName), 64U);
  EXPECT_EQ(sizeof(ztProperty::ownerClassName), 104U);
  EXPECT_EQ(offsetof(ztProperty, valuePointer), 168U);
  EXPECT_EQ(offsetof(ztProperty, valueSize), 176U);
  EXPECT_EQ(sizeof(ztProperty), 184U);
}

TEST(Property, OperationsAndClassFunctionsStandInTheirSlots) {
  EXPECT_EQ(offsetof(ztPropertyMethods, setValue), 16 * sizeof(void *));
  EXPECT_EQ(offsetof(ztPropertyMethods, getValue), 17 * sizeof(void *));
  EXPECT_EQ(offsetof(ztPropertyMethods, getType), 18 * sizeof(void *));
  EXPECT_EQ(offsetof(ztPropertyMethods, isDynamic), 19 * sizeof(void *));
  EXPECT_EQ(sizeof(ztPropertyMethods), 20 * sizeof(void *));
  EXPECT_EQ(offsetof(ztPropertyFunctions, registerNewType), 10 * sizeof(void *));
  EXPECT_EQ(offsetof(ztPropertyFunctions, getPropertyTypeClass), 11 * sizeof(void *));
  EXPECT_NE(functions()->classInit, nullptr);
  EXPECT_NE(functions()->classDestroy, nullptr);
}

TEST(Property, CreateClearsEveryField) {
  alignas(ztProperty) unsigned char memory[sizeof(ztProperty)];
  memset(memory, 0xA5, sizeof memory);
  auto *property = static_cast<ztProperty *>(ztProperty_ctor(memory, 0));
  EXPECT_EQ(ztProperty_of(property)->create(property), 1);
  EXPECT_EQ(property->index, 0);
  EXPECT_STREQ(textOf(property->name), "");
  EXPECT_STREQ(textOf(property->signalName), "");
  EXPECT_NE(property->name, property->signalName);
  EXPECT_EQ(property->type, nullptr);
  EXPECT_EQ(property->getter.getInt, nullptr);
  EXPECT_EQ(property->setter.setInt, nullptr);
  EXPECT_EQ(property->userWord, nullptr);
  EXPECT_EQ(property->ownerClassName[0], '\0');
  EXPECT_EQ(property->valuePointer, nullptr);
  EXPECT_EQ(property->valueSize, 0U);
  ztProperty_of(property)->destroy(property);
}

TEST(Property, IsDynamicWhileItHasStorage) {
  ztProperty *property = newProperty(ztIntPropertyTypeClass_Instance());
  const ztPropertyMethods *methods = ztProperty_of(property);
  EXPECT_EQ(methods->isDynamic(property), 0);
  ztIntPropertyType_table()->allocDynamicProperty(property->type, property, nullptr);
  EXPECT_EQ(methods->isDynamic(property), 1);
  ztIntPropertyType_table()->freeDynamicProperty(property->type, property);
  EXPECT_EQ(methods->isDynamic(property), 0);

  property->valueSize = 4;
  EXPECT_EQ(methods->isDynamic(property), 0);
  int32_t value = 0;
  property->valuePointer = &value;
  property->valueSize = 0;
  EXPECT_EQ(methods->isDynamic(property), 0);
  release(property);
}

TEST(Property, SetsAndGetsThroughItsType) {
  ztProperty *property = newIntProperty(1);
  const ztPropertyMethods *methods = ztProperty_of(property);
  EXPECT_EQ(methods->setValue(property, nullptr, 0x700000009), 1);
  int32_t out = 0;
  EXPECT_EQ(methods->getValue(property, nullptr, &out), 1);
  EXPECT_EQ(out, 9);
  EXPECT_STREQ(methods->getType(property), "ztInt");
  release(property);
}

TEST(Property, WithoutStorageAndFunctionsReportsSuccessAllTheSame) {
  ztProperty *property = newProperty(ztIntPropertyTypeClass_Instance());
  int32_t out = 77;
  EXPECT_EQ(ztProperty_of(property)->setValue(property, nullptr, 5), 1);
  EXPECT_EQ(ztProperty_of(property)->getValue(property, nullptr, &out), 1);
  EXPECT_EQ(out, 77);
  release(property);
}

TEST(Property, WithoutTypeReportsSuccessAndChangesNothing) {
  ztProperty *property = newProperty(nullptr);
  int32_t out = 77;
  EXPECT_EQ(ztProperty_of(property)->setValue(property, nullptr, 5), 1);
  EXPECT_EQ(ztProperty_of(property)->getValue(property, nullptr, &out), 1);
  EXPECT_EQ(out, 77);
  EXPECT_EQ(ztProperty_of(property)->getType(property), nullptr);
  release(property);
}

TEST(Property, CloneOfAStaticOneHasStringsOfItsOwn) {
  ztProperty *property = newProperty(ztBoolPropertyTypeClass_Instance());
  int32_t word = 0;
  setText(property->name, "visible");
  setText(property->signalName, "visibleChanged");
  property->index = 4;
  property->userWord = &word;
  property->getter = getterOf(ztObject_table()->getRefCount);
  strcpy(property->ownerClassName, "Owner");
  ztProperty *copy = cloned(property);
  EXPECT_NE(copy->name, property->name);
  EXPECT_NE(copy->signalName, property->signalName);
  release(property);
  EXPECT_STREQ(textOf(copy->name), "visible");
  EXPECT_STREQ(textOf(copy->signalName), "visibleChanged");
  EXPECT_EQ(copy->name->refCount, 1);
  EXPECT_EQ(copy->index, 4);
  EXPECT_EQ(copy->userWord, &word);
  EXPECT_EQ(copy->getter.getInt, ztObject_table()->getRefCount);
  EXPECT_EQ(copy->type, ztBoolPropertyTypeClass_Instance());
  EXPECT_STREQ(copy->ownerClassName, "Owner");
  EXPECT_EQ(ztProperty_of(copy)->isDynamic(copy), 0);
  release(copy);
}

TEST(Property, CloneOfADynamicOneHasStorageOfItsOwn) {
  ztProperty *property = newIntProperty(41);
  ztProperty *copy = cloned(property);
  EXPECT_NE(copy->valuePointer, property->valuePointer);
  EXPECT_EQ(copy->valueSize, 4U);
  EXPECT_EQ(intOf(copy), 41);
  ztProperty_of(copy)->setValue(copy, nullptr, 42);
  EXPECT_EQ(intOf(property), 41);
  EXPECT_EQ(intOf(copy), 42);
  release(property);
  EXPECT_EQ(intOf(copy), 42);
  release(copy);
}

TEST(Property, CloneOfAStringPropertyHasAStringOfItsOwn) {
  ztProperty *property = newProperty(ztStringPropertyTypeClass_Instance());
  void *initial = newString("text");
  ztStringPropertyType_table()->allocDynamicProperty(property->type, property, initial);
  release(initial);
  ztProperty *copy = cloned(property);
  EXPECT_NE(copy->valuePointer, property->valuePointer);
  EXPECT_EQ(copy->valueSize, sizeof(ztString));
  release(property);
  EXPECT_STREQ(textOf(copy->valuePointer), "text");
  EXPECT_EQ(static_cast<ztString *>(copy->valuePointer)->refCount, 1);
  release(copy);
}

TEST(Property, CloneOfAFreedStringPropertyHasNoStorage) {
  ztProperty *property = newProperty(ztStringPropertyTypeClass_Instance());
  ztStringPropertyType_table()->allocDynamicProperty(property->type, property, nullptr);
  ztStringPropertyType_table()->freeDynamicProperty(property->type, property);
  ztProperty *copy = cloned(property);
  EXPECT_EQ(ztProperty_of(copy)->isDynamic(copy), 0);
  EXPECT_EQ(copy->valuePointer, nullptr);
  release(property);
  release(copy);
}

TEST(Property, CloneOfAnEndedOneHasNoStrings) {
  ztProperty *property = newIntProperty(1);
  ztProperty_of(property)->destroy(property);
  ztProperty *copy = cloned(property);
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(copy->name, nullptr);
  EXPECT_EQ(copy->signalName, nullptr);
  EXPECT_EQ(ztProperty_of(copy)->isDynamic(copy), 0);
  release(property);
  release(copy);
}

TEST(Property, MayBeDestroyedTwice) {
  ztProperty *property = newIntProperty(1);
  ztProperty_of(property)->destroy(property);
  EXPECT_EQ(property->name, nullptr);
  EXPECT_EQ(property->signalName, nullptr);
  EXPECT_EQ(property->valuePointer, nullptr);
  release(property);
}

TEST(Property, TakesNoObject) {
  const ztPropertyMethods *methods = ztProperty_table();
  int32_t out = 3;
  EXPECT_EQ(methods->create(nullptr), 0);
  EXPECT_EQ(methods->clone(nullptr, nullptr), nullptr);
  methods->destroy(nullptr);
  EXPECT_EQ(methods->setValue(nullptr, nullptr, 1), 0);
  EXPECT_EQ(methods->getValue(nullptr, nullptr, &out), 0);
  EXPECT_EQ(methods->getType(nullptr), nullptr);
  EXPECT_EQ(methods->isDynamic(nullptr), 0);
  EXPECT_EQ(out, 3);
  ztProperty *property = newIntProperty(5);
  EXPECT_EQ(methods->clone(property, nullptr), nullptr);
  EXPECT_EQ(methods->getValue(property, nullptr, nullptr), 1);
  release(property);
}

// Property types by name --------------------------------------------------------------------------

#define EarlyPropertyType_FIELDS ztPropertyType_FIELDS
#define EarlyPropertyType_METHODS ztPropertyType_METHODS
ZT_DECLARE_CLASS(EarlyPropertyType)
static void earlyPropertyTypeMethods(EarlyPropertyTypeMethods *) {}
ZT_DEFINE_CLASS(EarlyPropertyType, ztPropertyType, earlyPropertyTypeMethods)

#define LatePropertyType_FIELDS ztPropertyType_FIELDS
#define LatePropertyType_METHODS ztPropertyType_METHODS
ZT_DECLARE_CLASS(LatePropertyType)
static void latePropertyTypeMethods(LatePropertyTypeMethods *) {}
ZT_DEFINE_CLASS(LatePropertyType, ztPropertyType, latePropertyTypeMethods)

TEST(PropertyTypes, IntIsKnownByItself) {
  EXPECT_EQ(functions()->getPropertyTypeClass(nullptr, "ztIntPropertyType"),
            ztIntPropertyTypeClass_Instance());
}

TEST(PropertyTypes, OthersAreKnownOnceTheyAreRegistered) {
  release(LatePropertyType_ctor(nullptr, 1));
  EXPECT_EQ(functions()->getPropertyTypeClass(nullptr, "LatePropertyType"), nullptr);
  EXPECT_EQ(functions()->registerNewType(nullptr, "LatePropertyType"), 1);
  EXPECT_EQ(functions()->registerNewType(nullptr, "LatePropertyType"), 0);
  EXPECT_EQ(functions()->getPropertyTypeClass(nullptr, "LatePropertyType"), LatePropertyTypeClass_Instance());
  EXPECT_EQ(functions()->registerNewType(ztPropertyClass_Instance(), "ztIntPropertyType"), 0);
}

TEST(PropertyTypes, RegisteringAClassTooEarlyDoesNotBlockItsName) {
  EXPECT_EQ(functions()->registerNewType(nullptr, "EarlyPropertyType"), 1);
  EXPECT_EQ(functions()->getPropertyTypeClass(nullptr, "EarlyPropertyType"), nullptr);
  release(EarlyPropertyType_ctor(nullptr, 1));
  EXPECT_EQ(functions()->registerNewType(nullptr, "EarlyPropertyType"), 1);
  EXPECT_EQ(functions()->getPropertyTypeClass(nullptr, "EarlyPropertyType"),
            EarlyPropertyTypeClass_Instance());
}

// The result tells only that the name was not known before.
TEST(PropertyTypes, UnknownNamesAndOtherClassesAreNotPutIn) {
  for (const char *name : {"", "NoSuchPropertyType", "ztObject", "ztint"}) {
    EXPECT_EQ(functions()->registerNewType(nullptr, name), 1) << name;
    EXPECT_EQ(functions()->registerNewType(nullptr, name), 1) << name;
    EXPECT_EQ(functions()->getPropertyTypeClass(nullptr, name), nullptr) << name;
  }
  EXPECT_EQ(functions()->registerNewType(nullptr, nullptr), 0);
  EXPECT_EQ(functions()->getPropertyTypeClass(nullptr, nullptr), nullptr);
  const std::string longName(5000, 'n');
  EXPECT_EQ(functions()->registerNewType(nullptr, longName.c_str()), 1);
  EXPECT_EQ(functions()->getPropertyTypeClass(nullptr, longName.c_str()), nullptr);
}

// A type that leaves its slots to the abstract one serves no dynamic property, and does no harm.
TEST(PropertyTypes, ATypeWithoutStorageMakesNoDynamicProperty) {
  release(EarlyPropertyType_ctor(nullptr, 1));
  functions()->registerNewType(nullptr, "EarlyPropertyType");
  Listener *owner = newListener();
  const ztObjectMethods *methods = ztObject_of(owner);
  EXPECT_EQ(methods->setProperty(owner, "unstored", "Early", 1), 0);
  EXPECT_EQ(methods->getProperty(owner, "unstored", "Early", nullptr), 0);
  release(owner);

  ztProperty *property = newProperty(EarlyPropertyTypeClass_Instance());
  EXPECT_EQ(ztProperty_of(property)->getType(property), nullptr);
  EXPECT_EQ(ztProperty_of(property)->setValue(property, nullptr, 1), 1);
  EXPECT_EQ(ztProperty_of(property)->getValue(property, nullptr, nullptr), 1);
  release(property);
}

// Containers --------------------------------------------------------------------------------------

TEST(PropertyMap, KeepsStringsAndPropertiesByValue) {
  auto *map = static_cast<ztPropertyMap *>(ztPropertyMap_ctor(nullptr, 1));
  EXPECT_EQ(map->klass->parent, ztMapClass_Instance());
  EXPECT_EQ(map->keyConstructor, ztString_ctor);
  EXPECT_EQ(map->keySize, static_cast<int32_t>(sizeof(ztString)));
  EXPECT_EQ(map->keyByPointer, 0U);
  EXPECT_EQ(map->valueConstructor, ztProperty_ctor);
  EXPECT_EQ(map->valueSize, static_cast<int32_t>(sizeof(ztProperty)));
  EXPECT_EQ(map->valueByPointer, 0U);
  EXPECT_EQ(map->compareFunction, ztPropertyMap_compare_func);
  EXPECT_EQ(map->valueCompareFunction, ztPropertyMap_compare_func);
  EXPECT_EQ(map->allowDuplicate, 0U);

  void *key = newString("key");
  ztProperty *property = newIntProperty(3);
  const ztMapItem *item = ztPropertyMap_of(map)->pushBack(map, key, property);
  ASSERT_NE(item, nullptr);
  EXPECT_NE(item->data, key);
  EXPECT_NE(item->value, property);
  EXPECT_EQ(ztPropertyMap_of(map)->pushBack(map, key, property), nullptr);
  release(property);
  EXPECT_EQ(intOf(static_cast<ztProperty *>(ztPropertyMap_of(map)->findValue(map, key))), 3);
  EXPECT_EQ(ztPropertyMap_of(map)->pop(map, key), 1);
  EXPECT_EQ(ztPropertyMap_of(map)->find(map, key), nullptr);
  release(key);
  release(map);
}

TEST(PropertyTypeMap, KeepsDescriptorsByPointer) {
  auto *map = static_cast<ztPropertyTypeMap *>(ztPropertyTypeMap_ctor(nullptr, 1));
  EXPECT_EQ(map->klass->parent, ztMapClass_Instance());
  EXPECT_EQ(map->keyConstructor, ztString_ctor);
  EXPECT_EQ(map->keySize, static_cast<int32_t>(sizeof(ztString)));
  EXPECT_EQ(map->compareFunction, ztPropertyTypeMap_key_compare_func);
  EXPECT_EQ(map->valueSize, 8);
  EXPECT_NE(map->valueByPointer, 0U);
  EXPECT_EQ(map->valueConstructor, nullptr);
  EXPECT_EQ(map->valueCompareFunction, ztPropertyTypeMap_value_compare_func_ptr);
  void *key = newString("key");
  ztPropertyTypeMap_of(map)->pushBack(map, key, ztObjectClass_Instance());
  EXPECT_EQ(ztPropertyTypeMap_of(map)->findValue(map, key), ztObjectClass_Instance());
  release(key);
  release(map);
}

TEST(PropertyPtrArray, KeepsPointersWithoutOwningThem) {
  auto *array = static_cast<ztPropertyPtrArray *>(ztPropertyPtrArray_ctor(nullptr, 1));
  EXPECT_EQ(array->klass->parent, ztArrayClass_Instance());
  EXPECT_EQ(array->elementSize, 8);
  EXPECT_NE(array->byPointer, 0U);
  EXPECT_EQ(array->elementConstructor, nullptr);
  EXPECT_EQ(array->compareFunction, ztPropertyPtrArray_compare_func_ptr);
  ztProperty *property = newIntProperty(3);
  const ztPropertyPtrArrayMethods *methods = ztPropertyPtrArray_of(array);
  methods->pushBack(array, property);
  EXPECT_EQ(methods->getAt(array, 0), property);
  EXPECT_NE(methods->find(array, property), nullptr);
  release(array);
  EXPECT_EQ(intOf(property), 3);
  release(property);
}

TEST(PropertyCompare, StringsInBothForms) {
  void *one = newString("one");
  void *same = newString("one");
  void *two = newString("two");
  for (ztCompareFunc compare : {ztPropertyMap_compare_func, ztPropertyMap_compare_func_ptr,
                                ztPropertyTypeMap_key_compare_func, ztPropertyTypeMap_key_compare_func_ptr}) {
    EXPECT_EQ(compare(one, same), 0);
    EXPECT_EQ(compare(one, two), -1);
    EXPECT_EQ(compare(two, one), 1);
    EXPECT_EQ(compare(nullptr, one), -1);
    EXPECT_EQ(compare(one, nullptr), 1);
    EXPECT_EQ(compare(nullptr, nullptr), 0);
  }
  for (void *string : {one, same, two}) release(string);
}

TEST(PropertyCompare, StringsWithoutTextAreEmptyOnes) {
  void *text = newString("a");
  void *empty = newString("");
  void *none = newString(nullptr);
  void *ended = newString("b");
  ztString_of(ended)->destroy(ended);
  for (const void *without : {empty, none, ended}) {
    EXPECT_EQ(ztPropertyMap_compare_func(without, text), -1);
    EXPECT_EQ(ztPropertyMap_compare_func(text, without), 1);
    EXPECT_EQ(ztPropertyMap_compare_func(without, empty), 0);
  }
  for (void *string : {text, empty, none, ended}) release(string);
}

TEST(PropertyCompare, PointersInBothForms) {
  char bytes[2] = {};
  const void *low = &bytes[0];
  const void *high = &bytes[1];
  for (ztCompareFunc compare :
       {ztPropertyPtrArray_compare_func_ptr, ztPropertyTypeMap_value_compare_func_ptr}) {
    EXPECT_EQ(compare(low, low), 0);
    EXPECT_EQ(compare(low, high), -1);
    EXPECT_EQ(compare(high, low), 1);
    EXPECT_EQ(compare(nullptr, low), -1);
  }
  for (ztCompareFunc compare : {ztPropertyPtrArray_compare_func, ztPropertyTypeMap_value_compare_func}) {
    EXPECT_EQ(compare(&low, &low), 0);
    EXPECT_EQ(compare(&low, &high), -1);
    EXPECT_EQ(compare(&high, &low), 1);
    EXPECT_EQ(compare(nullptr, &low), -1);
  }
}
