#include "objects/ztproperty.h"

#include "tests/objects/listeners.hh"

#include <gtest/gtest.h>

#include <string.h>

#define EarlyPropertyType_FIELDS ztPropertyType_FIELDS
#define EarlyPropertyType_METHODS ztPropertyType_METHODS
ZT_DECLARE_CLASS(EarlyPropertyType)
ZT_DEFINE_CLASS(EarlyPropertyType, ztPropertyType, noMethods)
#define LatePropertyType_FIELDS ztPropertyType_FIELDS
#define LatePropertyType_METHODS ztPropertyType_METHODS
ZT_DECLARE_CLASS(LatePropertyType)
ZT_DEFINE_CLASS(LatePropertyType, ztPropertyType, noMethods)

// A buffer of strings that keeps its text where no field says.
#define FixedBuffer_FIELDS             \
  ztCharArray_FIELDS const char *text; \
  int32_t size;
#define FixedBuffer_METHODS ztCharArray_METHODS
ZT_DECLARE_CLASS(FixedBuffer)

static void fixedBufferMethods(FixedBufferMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, getSize, [](const void *buffer) -> int32_t {
    return static_cast<const FixedBuffer *>(buffer)->size;
  });
  ZT_OVERRIDE_METHOD(methods, getData, [](const void *buffer) -> void * {
    return const_cast<char *>(static_cast<const FixedBuffer *>(buffer)->text);
  });
}
ZT_DEFINE_CLASS(FixedBuffer, ztCharArray, fixedBufferMethods)

namespace {

const ztPropertyFunctions *functions() {
  return ztProperty_functions();
}

void setText(ztString *string, const char *text) {
  ztString_of(string)->set(string, text);
}

// A property --------------------------------------------------------------------------------------

class ztPropertyTest : public testing::Test {
 protected:
  static int32_t intOf(const void *property) {
    int32_t value = 77;
    EXPECT_EQ(ztProperty_of(property)->getValue(property, nullptr, &value), 1);
    return value;
  }

  // With no storage.
  const Property plain{ztIntPropertyTypeClass_Instance()};
  const Property string{ztStringPropertyTypeClass_Instance()};
  ztProperty &fields = plain.fields();
};

TEST_F(ztPropertyTest, IsDynamicWhileItHasStorage) {
  EXPECT_EQ(plain->isDynamic(plain), 0);
  plain.alloc(nullptr);
  EXPECT_EQ(plain->isDynamic(plain), 1);
  plain.free();
  EXPECT_EQ(plain->isDynamic(plain), 0);

  fields.valueSize = 4;
  EXPECT_EQ(plain->isDynamic(plain), 0);
  int32_t value = 0;
  fields.valuePointer = &value;
  fields.valueSize = 0;
  EXPECT_EQ(plain->isDynamic(plain), 0);
}

TEST_F(ztPropertyTest, SetsAndGetsThroughItsType) {
  plain.alloc(nullptr);
  EXPECT_EQ(plain->setValue(plain, nullptr, 0x700000009), 1);
  EXPECT_EQ(intOf(plain), 9);
  EXPECT_EQ(plain->getValue(plain, nullptr, nullptr), 1);
  EXPECT_STREQ(plain->getType(plain), "ztInt");
}

TEST_F(ztPropertyTest, WithoutStorageAndFunctionsOrTypeReportsSuccessAllTheSame) {
  for (ztClass *type : {ztIntPropertyTypeClass_Instance(), static_cast<ztClass *>(nullptr)}) {
    fields.type = type;
    EXPECT_EQ(plain->setValue(plain, nullptr, 5), 1);
    EXPECT_EQ(intOf(plain), 77);
  }
  EXPECT_EQ(plain->getType(plain), nullptr);
}

TEST_F(ztPropertyTest, CloneOfAStaticOneHasStringsOfItsOwn) {
  Property property(ztBoolPropertyTypeClass_Instance());
  setText(property.fields().name, "visible");
  setText(property.fields().signalName, "visibleChanged");
  property.fields().index = 4;
  property.fields().userWord = &property;
  property.fields().getter = getterOf(ztObject_table()->getRefCount);
  strcpy(property.fields().ownerClassName, "Owner");
  const Owned copied = property.copy();
  release(property.release());
  const auto *copy = static_cast<const ztProperty *>(static_cast<const void *>(copied));
  EXPECT_STREQ(textOf(copy->name), "visible");
  EXPECT_STREQ(textOf(copy->signalName), "visibleChanged");
  EXPECT_EQ(copy->name->refCount, 1);
  EXPECT_EQ(copy->index, 4);
  EXPECT_EQ(copy->userWord, &property);
  EXPECT_EQ(copy->getter.getInt, ztObject_table()->getRefCount);
  EXPECT_EQ(copy->type, ztBoolPropertyTypeClass_Instance());
  EXPECT_STREQ(copy->ownerClassName, "Owner");
  EXPECT_EQ(ztProperty_of(copy)->isDynamic(copy), 0);
}

TEST_F(ztPropertyTest, CloneOfADynamicOneHasStorageOfItsOwn) {
  const int32_t initial = 41;
  plain.alloc(&initial);
  const auto copy = plain.copy();
  EXPECT_EQ(copy.fields().valueSize, 4U);
  EXPECT_EQ(intOf(copy), 41);
  copy->setValue(copy, nullptr, 42);
  EXPECT_EQ(intOf(plain), 41);
  plain.free();
  EXPECT_EQ(intOf(copy), 42);
}

TEST_F(ztPropertyTest, CloneOfAStringPropertyHasAStringOfItsOwn) {
  string.alloc(String("text"));
  const auto copy = string.copy();
  EXPECT_NE(copy.fields().valuePointer, string.fields().valuePointer);
  EXPECT_EQ(copy.fields().valueSize, sizeof(ztString));
  string.free();
  EXPECT_STREQ(textOf(copy.fields().valuePointer), "text");
  EXPECT_EQ(static_cast<ztString *>(copy.fields().valuePointer)->refCount, 1);
  const auto ofFreed = string.copy();
  EXPECT_EQ(ofFreed->isDynamic(ofFreed), 0);
  EXPECT_EQ(ofFreed.fields().valuePointer, nullptr);
}

TEST_F(ztPropertyTest, CloneOfAnEndedOneHasNoStringsAndNoStorage) {
  plain.alloc(nullptr);
  plain->destroy(plain);
  const auto copy = plain.copy();
  for (const ztProperty *ended : {&fields, &copy.fields()}) {
    EXPECT_EQ(ended->name, nullptr);
    EXPECT_EQ(ended->signalName, nullptr);
    EXPECT_EQ(ended->valuePointer, nullptr);
    EXPECT_EQ(copy->isDynamic(ended), 0);
  }
}

TEST_F(ztPropertyTest, TakesNoObject) {
  int32_t out = 3;
  EXPECT_EQ(plain->setValue(nullptr, nullptr, 1), 0);
  EXPECT_EQ(plain->getValue(nullptr, nullptr, &out), 0);
  EXPECT_EQ(plain->getType(nullptr), nullptr);
  EXPECT_EQ(plain->isDynamic(nullptr), 0);
  EXPECT_EQ(out, 3);
}

// Property types by name --------------------------------------------------------------------------

ztClass *known(const char *name) {
  return functions()->getPropertyTypeClass(nullptr, name);
}

TEST(PropertyTypes, AreKnownOnceTheyAreRegisteredAndIntByItself) {
  EXPECT_EQ(known("ztIntPropertyType"), ztIntPropertyTypeClass_Instance());
  EXPECT_EQ(functions()->registerNewType(ztPropertyClass_Instance(), "ztIntPropertyType"), 0);
  release(LatePropertyType_ctor(nullptr, 1));
  EXPECT_EQ(known("LatePropertyType"), nullptr);
  EXPECT_EQ(functions()->registerNewType(nullptr, "LatePropertyType"), 1);
  EXPECT_EQ(functions()->registerNewType(nullptr, "LatePropertyType"), 0);
  EXPECT_EQ(known("LatePropertyType"), LatePropertyTypeClass_Instance());
}

TEST(PropertyTypes, WhoseClassIsRegisteredTooEarlyDoNotBlockTheirName) {
  EXPECT_EQ(functions()->registerNewType(nullptr, "EarlyPropertyType"), 1);
  EXPECT_EQ(known("EarlyPropertyType"), nullptr);
  release(EarlyPropertyType_ctor(nullptr, 1));
  EXPECT_EQ(functions()->registerNewType(nullptr, "EarlyPropertyType"), 1);
  EXPECT_EQ(known("EarlyPropertyType"), EarlyPropertyTypeClass_Instance());
}

// The result tells only that the name was not known before.
TEST(PropertyTypes, AreNoUnknownNamesAndNoOtherClasses) {
  const std::string longName(5000, 'n');
  for (const char *name : {"", "NoSuchPropertyType", "ztObject", "ztint", longName.c_str()}) {
    EXPECT_EQ(functions()->registerNewType(nullptr, name), 1) << name;
    EXPECT_EQ(functions()->registerNewType(nullptr, name), 1) << name;
    EXPECT_EQ(known(name), nullptr) << name;
  }
  EXPECT_EQ(functions()->registerNewType(nullptr, nullptr), 0);
  EXPECT_EQ(known(nullptr), nullptr);
}

// A type that leaves its slots to the abstract one serves no dynamic property, and does no harm.
TEST(PropertyTypes, WithoutStorageMakeNoDynamicProperty) {
  release(EarlyPropertyType_ctor(nullptr, 1));
  functions()->registerNewType(nullptr, "EarlyPropertyType");
  const Object owner;
  EXPECT_EQ(setProperty(owner, "unstored", "Early", 1), 0);
  EXPECT_EQ(owner->getProperty(owner, "unstored", "Early", nullptr), 0);

  const Property property(EarlyPropertyTypeClass_Instance());
  EXPECT_EQ(property->getType(property), nullptr);
  EXPECT_EQ(property->setValue(property, nullptr, 1), 1);
  EXPECT_EQ(property->getValue(property, nullptr, nullptr), 1);
}

// Containers --------------------------------------------------------------------------------------

TEST(ztPropertyMap, KeepsStringsAndPropertiesByValueAndEachNameOnce) {
  const Owned<ztPropertyMap, ztPropertyMapMethods> map(ztPropertyMap_ctor);
  const String key("key");
  int32_t value = 3;
  {
    const Property property(ztIntPropertyTypeClass_Instance());
    property.alloc(&value);
    const ztMapItem *item = map->pushBack(map, key, property);
    ASSERT_NE(item, nullptr);
    EXPECT_NE(item->data, key);
    EXPECT_NE(item->value, property);
    EXPECT_EQ(map->pushBack(map, key, property), nullptr);
  }
  const void *kept = map->findValue(map, key);
  ztProperty_of(kept)->getValue(kept, nullptr, &value);
  EXPECT_EQ(value, 3);
  EXPECT_EQ(map->pop(map, key), 1);
  EXPECT_EQ(map->find(map, key), nullptr);
}

TEST(ztPropertyTypeMap, KeepsDescriptorsByPointer) {
  const Owned<ztPropertyTypeMap, ztPropertyTypeMapMethods> map(ztPropertyTypeMap_ctor);
  const String key("key");
  map->pushBack(map, key, ztObjectClass_Instance());
  EXPECT_EQ(map->findValue(map, key), ztObjectClass_Instance());
}

TEST(ztPropertyPtrArray, KeepsPointersWithoutOwningThem) {
  const Property property(ztIntPropertyTypeClass_Instance());
  {
    const Owned<ztPropertyPtrArray, ztPropertyPtrArrayMethods> array(ztPropertyPtrArray_ctor);
    array->pushBack(array, property);
    EXPECT_EQ(array->getAt(array, 0), property);
    EXPECT_NE(array->find(array, property), nullptr);
  }
  EXPECT_EQ(property->getRefCount(property), 1);
}

// Those of the maps of signals and slots, too.
TEST(CompareFunctions, OfStringsTakeThemInBothForms) {
  const String one("one");
  const String same("one");
  const String two("two");
  for (ztCompareFunc compare :
       {ztPropertyMap_compare_func, ztPropertyMap_compare_func_ptr, ztPropertyTypeMap_key_compare_func,
        ztPropertyTypeMap_key_compare_func_ptr, ztSignalMap_compare_func, ztSignalMap_compare_func_ptr}) {
    EXPECT_EQ(compare(one, same), 0);
    EXPECT_EQ(compare(one, two), -1);
    EXPECT_EQ(compare(two, one), 1);
    EXPECT_EQ(compare(nullptr, one), -1);
    EXPECT_EQ(compare(one, nullptr), 1);
    EXPECT_EQ(compare(nullptr, nullptr), 0);
  }
}

TEST(CompareFunctions, OfStringsTakeThoseWithoutTextAsEmptyOnes) {
  const String text("a");
  const String empty("");
  const String none(nullptr);
  const String ended("b");
  ended->destroy(ended);
  for (const String *without : {&empty, &none, &ended}) {
    EXPECT_EQ(ztPropertyMap_compare_func(*without, text), -1);
    EXPECT_EQ(ztPropertyMap_compare_func(text, *without), 1);
    EXPECT_EQ(ztPropertyMap_compare_func(*without, empty), 0);
  }
}

TEST(CompareFunctions, OfStringsAskABufferOfAHostsClassForItsText) {
  const String text("b");
  const String hosts(nullptr);
  ztCharArray_of(hosts.fields().buffer)->unRef(hosts.fields().buffer);
  auto *buffer = static_cast<FixedBuffer *>(FixedBuffer_ctor(nullptr, 1));
  hosts.fields().buffer = reinterpret_cast<ztCharArray *>(buffer);
  const struct {
    const char *text;
    int32_t size;
    int32_t order;
  } rows[] = {{"a", 2, -1}, {"b", 2, 0}, {"c", 2, 1}, {"", 1, -1}, {"c", 0, -1}, {nullptr, 2, -1}};
  for (const auto &row : rows) {
    buffer->text = row.text;
    buffer->size = row.size;
    EXPECT_EQ(ztPropertyMap_compare_func(hosts, text), row.order);
    EXPECT_EQ(ztPropertyMap_compare_func(text, hosts), -row.order);
  }
}

TEST(CompareFunctions, OfPointersTakeThemOrTheirAddressesAndAreUnsigned) {
  char bytes[2] = {};
  const void *low = &bytes[0];
  const void *high = &bytes[1];
  const void *highest = reinterpret_cast<void *>(UINTPTR_MAX);
  for (ztCompareFunc compare : {ztPropertyPtrArray_compare_func_ptr, ztPropertyTypeMap_value_compare_func_ptr,
                                ztSlotMap_key_compare_func_ptr}) {
    EXPECT_EQ(compare(low, low), 0);
    EXPECT_EQ(compare(low, high), -1);
    EXPECT_EQ(compare(high, low), 1);
    EXPECT_EQ(compare(nullptr, low), -1);
    EXPECT_EQ(compare(highest, low), 1);
  }
  for (ztCompareFunc compare :
       {ztPropertyPtrArray_compare_func, ztPropertyTypeMap_value_compare_func, ztSlotMap_key_compare_func}) {
    EXPECT_EQ(compare(&low, &low), 0);
    EXPECT_EQ(compare(&low, &high), -1);
    EXPECT_EQ(compare(&high, &low), 1);
    EXPECT_EQ(compare(nullptr, &low), -1);
  }
}

}  // namespace
