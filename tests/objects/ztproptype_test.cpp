#include "objects/ztproptype.h"

#include "core/ztmem.h"
#include "io/ztstring.h"
#include "objects/ztobject.h"
#include "objects/ztproperty.h"
#include "tests/helpers/abstract_slot.hh"
#include "tests/objects/listeners.hh"

#include <gtest/gtest.h>

#include <limits.h>
#include <stddef.h>
#include <string.h>

namespace {

struct Kind {
  const char *className;
  ztCtor constructor;
  const char *declaredName;
  const char *typeName;
  uint32_t size;
};

const Kind kinds[] = {
    {"ztIntPropertyType", ztIntPropertyType_ctor, "ztInt", "ztInt", 4},
    {"ztCharPropertyType", ztCharPropertyType_ctor, "ztChar", "ztChar", 1},
    {"ztCharPtrPropertyType", ztCharPtrPropertyType_ctor, "ztCharPtr", "ztChar*", 8},
    {"ztBoolPropertyType", ztBoolPropertyType_ctor, "ztBool", "ztBool", 4},
    {"ztFloatPropertyType", ztFloatPropertyType_ctor, "ztFloat", "ztFloat", 8},
    {"ztVoidPtrPropertyType", ztVoidPtrPropertyType_ctor, "ztVoidPtr", "ztVoid*", 8},
    {"ztStringPropertyType", ztStringPropertyType_ctor, "ztString", "ztString", sizeof(ztString)},
};

// A property by itself, of one kind, whose operations are called through the type's descriptor.
class Property {
 public:
  explicit Property(ztClass *klass) : property(static_cast<ztProperty *>(ztProperty_ctor(nullptr, 1))) {
    property->type = klass;
  }
  ~Property() {
    release(property);
  }
  Property(const Property &) = delete;
  Property &operator=(const Property &) = delete;

  ztProperty *operator->() {
    return property;
  }
  void *alloc(const void *initial) {
    return operations()->allocDynamicProperty(property->type, property, initial);
  }
  void free() {
    operations()->freeDynamicProperty(property->type, property);
  }
  ztWord get(void *owner, void *out) {
    return operations()->getValue(property->type, property, owner, out);
  }
  ztWord set(void *owner, ztWord word) {
    return operations()->setValue(property->type, property, owner, &word);
  }
  void *get() {
    return property;
  }

 private:
  const ztPropertyTypeMethods *operations() const {
    return static_cast<const ztPropertyTypeMethods *>(property->type->methodTable);
  }

  ztProperty *property;
};

class String {
 public:
  explicit String(const char *text) : string(newString(text)) {}
  ~String() {
    release(string);
  }
  String(const String &) = delete;
  String &operator=(const String &) = delete;

  void *get() {
    return string;
  }
  ztWord word() {
    return reinterpret_cast<ztWord>(string);
  }

 private:
  void *string;
};

// What the getters and setters below saw and give.
const void *seenOwner;
const void *seenProperty;
int32_t seenInt;
double seenFloat;
const void *seenPointer;
intptr_t given;
double givenFloat;

}  // namespace

// Classes -----------------------------------------------------------------------------------------

TEST(PropertyType, SevenKindsDeriveFromTheAbstractOne) {
  EXPECT_STREQ(ztPropertyTypeClass_Instance()->parent->name, "ztBaseClass");
  for (const Kind &kind : kinds) {
    void *type = kind.constructor(nullptr, 1);
    const ztClass *klass = ztOOP_classOf(type);
    EXPECT_STREQ(klass->name, kind.className);
    EXPECT_EQ(klass->parent, ztPropertyTypeClass_Instance());
    EXPECT_EQ(klass->instanceSize, static_cast<int32_t>(sizeof(ztBaseClass)));
    EXPECT_EQ(klass->version, 1U);
    EXPECT_EQ(ztOOP_findClass(kind.className), klass);
    release(type);
  }
}

TEST(PropertyType, OperationsFollowTheBaseSlotsInTheirOrder) {
  EXPECT_EQ(offsetof(ztPropertyTypeMethods, getValue), 16 * sizeof(void *));
  EXPECT_EQ(offsetof(ztPropertyTypeMethods, setValue), 17 * sizeof(void *));
  EXPECT_EQ(offsetof(ztPropertyTypeMethods, allocDynamicProperty), 18 * sizeof(void *));
  EXPECT_EQ(offsetof(ztPropertyTypeMethods, freeDynamicProperty), 19 * sizeof(void *));
  EXPECT_EQ(offsetof(ztPropertyTypeMethods, getType), 20 * sizeof(void *));
  EXPECT_EQ(sizeof(ztPropertyTypeMethods), 21 * sizeof(void *));
}

TEST(PropertyType, GettingAndSettingAreAbstractAndTheRestIsEmpty) {
  const ztPropertyTypeMethods *methods = ztPropertyType_table();
  EXPECT_EQ(methods->allocDynamicProperty, nullptr);
  EXPECT_EQ(methods->freeDynamicProperty, nullptr);
  EXPECT_EQ(methods->getType, nullptr);
  // A descriptor begins with its parent, which stands where an object has its class.
  EXPECT_EQ(textOfAbstract(methods->getValue, ztPropertyTypeClass_Instance()), virtualCall("ztBaseClass"));
  EXPECT_EQ(textOfAbstract(methods->setValue, ztIntPropertyTypeClass_Instance()),
            virtualCall("ztPropertyType"));
}

TEST(PropertyType, EveryKindOverridesAllFiveOperations) {
  const ztPropertyTypeMethods *abstract = ztPropertyType_table();
  for (const Kind &kind : kinds) {
    const auto *methods =
        static_cast<const ztPropertyTypeMethods *>(ztOOP_findClass(kind.className)->methodTable);
    EXPECT_NE(methods->getValue, abstract->getValue) << kind.className;
    EXPECT_NE(methods->setValue, abstract->setValue) << kind.className;
    EXPECT_NE(methods->allocDynamicProperty, nullptr) << kind.className;
    EXPECT_NE(methods->freeDynamicProperty, nullptr) << kind.className;
    ASSERT_NE(methods->getType, nullptr) << kind.className;
    EXPECT_STREQ(methods->getType(ztOOP_findClass(kind.className)), kind.typeName);
  }
}

// Storage -----------------------------------------------------------------------------------------

TEST(PropertyType, StorageHasTheSizeOfTheKindAndIsZeroWithoutAnInitialValue) {
  for (const Kind &kind : kinds) {
    Property property(ztOOP_findClass(kind.className));
    void *storage = property.alloc(nullptr);
    ASSERT_NE(storage, nullptr) << kind.className;
    EXPECT_EQ(property->valuePointer, storage);
    EXPECT_EQ(property->valueSize, kind.size) << kind.className;
    if (kind.constructor == ztStringPropertyType_ctor) {
      EXPECT_STREQ(textOf(storage), "");
    } else {
      const char zeros[8] = {};
      EXPECT_EQ(memcmp(storage, zeros, kind.size), 0) << kind.className;
    }
  }
}

TEST(PropertyType, StorageOfAPlainKindHoldsACopyOfTheInitialValue) {
  const unsigned char bytes[] = {0xF1, 0xE2, 0xD3, 0xC4, 0xB5, 0xA6, 0x97, 0x88};
  for (const Kind &kind : kinds) {
    if (kind.constructor == ztStringPropertyType_ctor) continue;
    Property property(ztOOP_findClass(kind.className));
    // As large as the kind and no larger, so that Valgrind sees a read beyond it.
    void *initial = malloc(kind.size);
    memcpy(initial, bytes, kind.size);
    const void *storage = property.alloc(initial);
    EXPECT_NE(storage, initial);
    EXPECT_EQ(memcmp(storage, bytes, kind.size), 0) << kind.className;
    free(initial);
  }
}

TEST(PropertyType, FreeingClearsStorageAndSize) {
  for (const Kind &kind : kinds) {
    if (kind.constructor == ztStringPropertyType_ctor) continue;
    Property property(ztOOP_findClass(kind.className));
    property.alloc(nullptr);
    property.free();
    EXPECT_EQ(property->valuePointer, nullptr) << kind.className;
    EXPECT_EQ(property->valueSize, 0U) << kind.className;
    property.free();
    EXPECT_EQ(property->valueSize, 0U) << kind.className;
  }
}

TEST(PropertyType, FreeingAStringLeavesItsPointerAndClearsTheSize) {
  Property property(ztStringPropertyTypeClass_Instance());
  const void *storage = property.alloc(nullptr);
  property.free();
  EXPECT_EQ(property->valuePointer, storage);
  EXPECT_EQ(property->valueSize, 0U);
  // Neither this, nor reading and writing, nor the property's end touch the string that went.
  property.free();
  String other("other");
  EXPECT_EQ(property.get(nullptr, nullptr), 0);
  property.set(nullptr, other.word());
}

TEST(PropertyType, StringStorageIsACopyOfTheInitialString) {
  Property property(ztStringPropertyTypeClass_Instance());
  String initial("a text");
  const void *storage = property.alloc(initial.get());
  EXPECT_NE(storage, initial.get());
  EXPECT_STREQ(textOf(storage), "a text");
  ztString_of(initial.get())->set(initial.get(), "changed");
  EXPECT_STREQ(textOf(storage), "a text");
}

// Values in storage -------------------------------------------------------------------------------

TEST(PropertyType, IntKeepsTheLowThirtyTwoBits) {
  for (ztClass *klass : {ztIntPropertyTypeClass_Instance(), ztBoolPropertyTypeClass_Instance()}) {
    Property property(klass);
    property.alloc(nullptr);
    const struct {
      ztWord word;
      int32_t value;
    } rows[] = {{0, 0},
                {1, 1},
                {-1, -1},
                {INT_MAX, INT_MAX},
                {INT_MIN, INT_MIN},
                {0x1234567800000007, 7},
                {0x00000000FFFFFFFE, -2}};
    for (const auto &row : rows) {
      EXPECT_EQ(property.set(nullptr, row.word), row.value);
      int32_t out[2] = {0, 99};
      EXPECT_EQ(property.get(nullptr, out), row.value);
      EXPECT_EQ(out[0], row.value);
      EXPECT_EQ(out[1], 99);
    }
  }
}

TEST(PropertyType, CharKeepsTheLowByteSignExtended) {
  Property property(ztCharPropertyTypeClass_Instance());
  property.alloc(nullptr);
  const struct {
    ztWord word;
    int value;
  } rows[] = {{'A', 'A'}, {-1, -1}, {0x80, -128}, {0x7F, 127}, {0x1FF, -1}, {0x100, 0}};
  for (const auto &row : rows) {
    EXPECT_EQ(property.set(nullptr, row.word), row.value);
    signed char out[2] = {0, 99};
    EXPECT_EQ(property.get(nullptr, out), row.value);
    EXPECT_EQ(out[0], row.value);
    EXPECT_EQ(out[1], 99);
  }
}

TEST(PropertyType, PointerKindsKeepTheWholeWordAndCopyNothing) {
  char text[] = "text";
  for (ztClass *klass : {ztCharPtrPropertyTypeClass_Instance(), ztVoidPtrPropertyTypeClass_Instance()}) {
    Property property(klass);
    property.alloc(nullptr);
    const auto word = reinterpret_cast<ztWord>(text);
    EXPECT_EQ(property.set(nullptr, word), word);
    void *out = nullptr;
    EXPECT_EQ(property.get(nullptr, &out), word);
    EXPECT_EQ(out, text);
    EXPECT_EQ(property.set(nullptr, 0), 0);
    EXPECT_EQ(property.get(nullptr, &out), 0);
    EXPECT_EQ(out, nullptr);
  }
}

TEST(PropertyType, FloatTakesAndGivesTheBitPatternOfADouble) {
  Property property(ztFloatPropertyTypeClass_Instance());
  property.alloc(nullptr);
  for (double value : {0.0, -0.0, 0.1, -1e300, 5e-324}) {
    EXPECT_EQ(property.set(nullptr, ztWordOfDouble(value)), ztWordOfDouble(value));
    double out = 1;
    EXPECT_EQ(property.get(nullptr, &out), ztWordOfDouble(value));
    EXPECT_EQ(ztWordOfDouble(out), ztWordOfDouble(value));
  }
}

TEST(PropertyType, StringIsAssignedToAndGivenAsTheStoredStringItself) {
  Property property(ztStringPropertyTypeClass_Instance());
  void *storage = property.alloc(nullptr);
  String source("first");
  EXPECT_EQ(property.set(nullptr, source.word()), source.word());
  EXPECT_EQ(property->valuePointer, storage);
  EXPECT_STREQ(textOf(storage), "first");
  void *out = nullptr;
  EXPECT_EQ(property.get(nullptr, &out), reinterpret_cast<ztWord>(storage));
  EXPECT_EQ(out, storage);
  // No string, no change.
  property.set(nullptr, 0);
  EXPECT_STREQ(textOf(storage), "first");
  // Its own string.
  property.set(nullptr, reinterpret_cast<ztWord>(storage));
  EXPECT_STREQ(textOf(storage), "first");
}

TEST(PropertyType, StringWithASizeAndNoStorageStaysWithout) {
  Property property(ztStringPropertyTypeClass_Instance());
  property->valueSize = sizeof(ztString);
  String source("text");
  EXPECT_EQ(property.set(nullptr, source.word()), source.word());
  EXPECT_EQ(property->valuePointer, nullptr);
  void *out = &source;
  EXPECT_EQ(property.get(nullptr, &out), 0);
  EXPECT_EQ(out, nullptr);
}

TEST(PropertyType, WithoutGetterAndStorageTheOutputStays) {
  for (const Kind &kind : kinds) {
    Property property(ztOOP_findClass(kind.className));
    char out[8];
    memset(out, 0x5A, sizeof out);
    EXPECT_EQ(property.get(nullptr, out), 0) << kind.className;
    for (char byte : out) EXPECT_EQ(byte, 0x5A) << kind.className;
  }
}

TEST(PropertyType, WithoutSetterAndStorageNothingIsStored) {
  for (const Kind &kind : kinds) {
    Property property(ztOOP_findClass(kind.className));
    String value("value");
    property.set(nullptr, value.word());
    EXPECT_EQ(property->valuePointer, nullptr);
    EXPECT_EQ(property->valueSize, 0U);
  }
}

TEST(PropertyType, TheValueIsGivenWithoutAnOutputToo) {
  for (const Kind &kind : kinds) {
    Property property(ztOOP_findClass(kind.className));
    property.alloc(nullptr);
    const ztWord value = property.get(nullptr, nullptr);
    if (kind.constructor == ztStringPropertyType_ctor) {
      EXPECT_EQ(value, reinterpret_cast<ztWord>(property->valuePointer));
    } else {
      EXPECT_EQ(value, 0);
    }
  }
}

// Getters and setters -----------------------------------------------------------------------------

static int32_t giveInt(const void *owner) {
  seenOwner = owner;
  return static_cast<int32_t>(given);
}

static int32_t giveIntOf(const void *owner, const void *property) {
  seenProperty = property;
  return giveInt(owner);
}

static void takeInt(void *owner, int32_t value) {
  seenOwner = owner;
  seenInt = value;
}

static signed char giveChar(const void *) {
  return static_cast<signed char>(given);
}

static signed char giveCharOf(const void *owner, const void *property) {
  seenProperty = property;
  return giveChar(owner);
}

static double giveFloat(const void *) {
  return givenFloat;
}

static double giveFloatOf(const void *owner, const void *property) {
  seenProperty = property;
  return giveFloat(owner);
}

static void takeFloat(void *, double value) {
  seenFloat = value;
}

static void *givePointer(const void *) {
  return reinterpret_cast<void *>(given);
}

static void *givePointerOf(const void *owner, const void *property) {
  seenProperty = property;
  return givePointer(owner);
}

static const char *giveText(const void *) {
  return reinterpret_cast<const char *>(given);
}

static void takePointer(void *, void *value) {
  seenPointer = value;
}

static char *takeText(void *, const char *text) {
  seenPointer = text;
  return nullptr;
}

static void takeString(void *, void *const *string) {
  seenPointer = string;
  EXPECT_STREQ(textOf(*string), "a string");
}

TEST(PropertyType, IntAndBoolGoThroughGetterAndSetter) {
  for (ztClass *klass : {ztIntPropertyTypeClass_Instance(), ztBoolPropertyTypeClass_Instance()}) {
    Property property(klass);
    Listener *owner = newListener();
    property->getter.getInt = giveInt;
    property->setter.setInt = takeInt;
    given = -7;
    int32_t out[2] = {0, 99};
    EXPECT_EQ(property.get(owner, out), -7);
    EXPECT_EQ(out[0], -7);
    EXPECT_EQ(out[1], 99);
    EXPECT_EQ(seenOwner, owner);

    property->getter.getIntOf = giveIntOf;
    property.get(owner, out);
    EXPECT_EQ(seenProperty, property.get());

    seenOwner = nullptr;
    EXPECT_EQ(property.set(owner, 0x1FFFFFFFB), -5);
    EXPECT_EQ(seenInt, -5);
    EXPECT_EQ(seenOwner, owner);
    EXPECT_EQ(property->valuePointer, nullptr);
    release(owner);
  }
}

TEST(PropertyType, CharSetterTakesTheSignExtendedCharacter) {
  Property property(ztCharPropertyTypeClass_Instance());
  property->getter.getChar = giveChar;
  property->setter.setInt = takeInt;
  given = -3;
  signed char out[2] = {0, 99};
  EXPECT_EQ(property.get(nullptr, out), -3);
  EXPECT_EQ(out[0], -3);
  EXPECT_EQ(out[1], 99);
  property->getter.getCharOf = giveCharOf;
  property.get(nullptr, out);
  EXPECT_EQ(seenProperty, property.get());
  EXPECT_EQ(property.set(nullptr, 0x1280), -128);
  EXPECT_EQ(seenInt, -128);
}

TEST(PropertyType, FloatGetterAndSetterUseDoubles) {
  Property property(ztFloatPropertyTypeClass_Instance());
  property->getter.getFloat = giveFloat;
  property->setter.setFloat = takeFloat;
  givenFloat = 2.5;
  double out = 0;
  EXPECT_EQ(property.get(nullptr, &out), ztWordOfDouble(2.5));
  EXPECT_EQ(out, 2.5);
  property->getter.getFloatOf = giveFloatOf;
  property.get(nullptr, &out);
  EXPECT_EQ(seenProperty, property.get());
  property.set(nullptr, ztWordOfDouble(-0.75));
  EXPECT_EQ(seenFloat, -0.75);
}

TEST(PropertyType, PointerKindsGoThroughGetterAndSetter) {
  char text[] = "text";
  given = reinterpret_cast<intptr_t>(text);
  void *out = nullptr;

  Property pointer(ztVoidPtrPropertyTypeClass_Instance());
  pointer->getter.getPointer = givePointer;
  pointer->setter.setPointer = takePointer;
  EXPECT_EQ(pointer.get(nullptr, &out), given);
  EXPECT_EQ(out, text);
  pointer->getter.getPointerOf = givePointerOf;
  pointer.get(nullptr, &out);
  EXPECT_EQ(seenProperty, pointer.get());
  pointer.set(nullptr, reinterpret_cast<ztWord>(&out));
  EXPECT_EQ(seenPointer, &out);

  Property chars(ztCharPtrPropertyTypeClass_Instance());
  chars->getter.getText = giveText;
  chars->setter.setText = takeText;
  EXPECT_EQ(chars.get(nullptr, &out), given);
  EXPECT_EQ(out, text);
  chars.set(nullptr, reinterpret_cast<ztWord>(text + 1));
  EXPECT_EQ(seenPointer, text + 1);
}

TEST(PropertyType, StringSetterTakesTheAddressOfTheWord) {
  Property property(ztStringPropertyTypeClass_Instance());
  String string("a string");
  property->setter.setString = takeString;
  seenPointer = nullptr;
  EXPECT_EQ(property.set(nullptr, string.word()), string.word());
  EXPECT_NE(seenPointer, nullptr);
  EXPECT_NE(seenPointer, string.get());

  property->getter.getPointerOf = givePointerOf;
  given = string.word();
  void *out = nullptr;
  EXPECT_EQ(property.get(nullptr, &out), string.word());
  EXPECT_EQ(out, string.get());
  EXPECT_EQ(seenProperty, property.get());
}

static void exchangeWord(void *, void *const *string) {
  seenPointer = string;
  *const_cast<void **>(string) = nullptr;
}

TEST(PropertyType, StringSetterReceivesTheVeryWordAndMayChangeIt) {
  Property property(ztStringPropertyTypeClass_Instance());
  String string("a string");
  property->setter.setString = exchangeWord;
  Listener *owner = newListener();
  connectTo(owner, "prop->signalname", owner, diarySlot<0>());
  const ztWord word = string.word();
  const auto *methods = static_cast<const ztPropertyTypeMethods *>(property->type->methodTable);
  EXPECT_EQ(methods->setValue(property->type, property.get(), owner, &word), string.word());
  EXPECT_EQ(seenPointer, &word);
  EXPECT_EQ(*static_cast<const volatile ztWord *>(&word), 0);
  // Slots are told what was set.
  ASSERT_EQ(diary.size(), 1U);
  EXPECT_EQ(diary[0].first, string.word());
  diary.clear();
  release(owner);
}

TEST(PropertyType, ASetterKeepsTheStorageUntouched) {
  Property property(ztIntPropertyTypeClass_Instance());
  const int32_t initial = 3;
  property.alloc(&initial);
  property->setter.setInt = takeInt;
  property.set(nullptr, 8);
  EXPECT_EQ(seenInt, 8);
  EXPECT_EQ(property.get(nullptr, nullptr), 3);
}

static void endOwner(void *owner, int32_t) {
  release(owner);
}

TEST(PropertyType, ASetterMayEndAnOwnerWithSignals) {
  Property property(ztIntPropertyTypeClass_Instance());
  property->setter.setInt = endOwner;
  EXPECT_EQ(property.set(newListener(), 4), 4);
  EXPECT_EQ(listenersLive, 0);
}

TEST(PropertyType, ASetterMayEndAnOwnerThatIsNoZtObject) {
  Property property(ztIntPropertyTypeClass_Instance());
  property->setter.setInt = endOwner;
  EXPECT_EQ(property.set(ztString_ctor(nullptr, 1), 4), 4);
}

TEST(PropertyType, AnOwnerThatIsNoZtObjectIsNotNotified) {
  Property property(ztIntPropertyTypeClass_Instance());
  property.alloc(nullptr);
  String owner("owner");
  EXPECT_EQ(property.set(owner.get(), 4), 4);
  EXPECT_EQ(property.get(owner.get(), nullptr), 4);
}

TEST(PropertyType, NoPropertyAndNoWordGiveNothing) {
  for (const Kind &kind : kinds) {
    ztClass *klass = ztOOP_findClass(kind.className);
    const auto *methods = static_cast<const ztPropertyTypeMethods *>(klass->methodTable);
    const ztWord word = 1;
    int64_t out = 99;
    EXPECT_EQ(methods->getValue(klass, nullptr, nullptr, &out), 0);
    EXPECT_EQ(out, 99);
    EXPECT_EQ(methods->setValue(klass, nullptr, nullptr, &word), 0);
    EXPECT_EQ(methods->allocDynamicProperty(klass, nullptr, &word), nullptr);
    methods->freeDynamicProperty(klass, nullptr);
    Property property(klass);
    property.alloc(nullptr);
    EXPECT_EQ(methods->setValue(klass, property.get(), nullptr, nullptr), 0);
    EXPECT_STREQ(methods->getType(nullptr), kind.typeName);
  }
}
