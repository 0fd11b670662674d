#include "objects/ztproptype.h"

#include "tests/helpers/abstract_slot.hh"
#include "tests/objects/listeners.hh"

#include <gtest/gtest.h>

#include <limits.h>
#include <stdlib.h>
#include <string.h>

#include <ostream>

namespace {

// What holds of every kind -------------------------------------------------------------------------

struct Kind {
  const char *className;
  const char *typeName;
  uint32_t size;
};

std::ostream &operator<<(std::ostream &out, const Kind &kind) {
  return out << kind.className;
}

const Kind kinds[] = {
    {"ztIntPropertyType", "ztInt", 4},
    {"ztCharPropertyType", "ztChar", 1},
    {"ztCharPtrPropertyType", "ztChar*", 8},
    {"ztBoolPropertyType", "ztBool", 4},
    {"ztFloatPropertyType", "ztFloat", 8},
    {"ztVoidPtrPropertyType", "ztVoid*", 8},
    {"ztStringPropertyType", "ztString", sizeof(ztString)},
};

class EveryPropertyType : public testing::TestWithParam<Kind> {
 protected:
  ztClass *const klass = ztOOP_findClass(GetParam().className);
  const bool isString = klass == ztStringPropertyTypeClass_Instance();
  const Property property{klass};
  const ztProperty &fields = property.fields();
};

INSTANTIATE_TEST_SUITE_P(, EveryPropertyType, testing::ValuesIn(kinds), testing::PrintToStringParamName());

TEST_P(EveryPropertyType, StorageHasTheSizeOfTheKindAndIsZeroWithoutAnInitialValue) {
  const char zeros[8] = {};
  void *storage = property.alloc(nullptr);
  ASSERT_NE(storage, nullptr);
  EXPECT_EQ(fields.valuePointer, storage);
  EXPECT_EQ(fields.valueSize, GetParam().size);
  EXPECT_EQ(
      isString ? strlen(textOf(storage)) : static_cast<size_t>(memcmp(storage, zeros, fields.valueSize)), 0U);
  // The value is given without an output, too.
  EXPECT_EQ(property.get(nullptr, nullptr), isString ? wordOf(storage) : 0);
}

TEST_P(EveryPropertyType, StorageHoldsACopyOfTheInitialValue) {
  const String text("a text");
  const unsigned char bytes[] = {0xF1, 0xE2, 0xD3, 0xC4, 0xB5, 0xA6, 0x97, 0x88};
  // As large as the kind and no larger, so that Valgrind sees a read beyond it.
  void *plain = isString ? nullptr : malloc(GetParam().size);
  if (!isString) memcpy(plain, bytes, GetParam().size);
  const void *initial = isString ? text : plain;
  const void *storage = property.alloc(initial);
  text->set(text, "changed");
  EXPECT_NE(storage, initial);
  EXPECT_TRUE(isString ? strcmp(textOf(storage), "a text") == 0
                       : memcmp(storage, bytes, GetParam().size) == 0);
  free(plain);
}

// The pointer of a string stays. Neither another end, nor reading and writing, nor the property's end touch
// the string that went.
TEST_P(EveryPropertyType, FreeingClearsStorageAndSize) {
  const void *storage = property.alloc(nullptr);
  for (int times = 0; times < 2; ++times) {
    property.free();
    EXPECT_EQ(fields.valuePointer, isString ? storage : nullptr);
    EXPECT_EQ(fields.valueSize, 0U);
  }
  EXPECT_EQ(property.get(nullptr, nullptr), 0);
  property.set(nullptr, wordOf(String("other")));
}

TEST_P(EveryPropertyType, WithoutFunctionsAndStorageReadsAndStoresNothing) {
  char out[8];
  memset(out, 0x5A, sizeof out);
  EXPECT_EQ(property.get(nullptr, out), 0);
  for (char byte : out) EXPECT_EQ(byte, 0x5A);
  property.set(nullptr, wordOf(String("value")));
  EXPECT_EQ(fields.valuePointer, nullptr);
  EXPECT_EQ(fields.valueSize, 0U);
}

TEST_P(EveryPropertyType, TakesNoPropertyAndNoWord) {
  const auto *methods = static_cast<const ztPropertyTypeMethods *>(klass->methodTable);
  const ztWord word = 1;
  int64_t out = 99;
  EXPECT_EQ(methods->getValue(klass, nullptr, nullptr, &out), 0);
  EXPECT_EQ(out, 99);
  EXPECT_EQ(methods->setValue(klass, nullptr, nullptr, &word), 0);
  EXPECT_EQ(methods->allocDynamicProperty(klass, nullptr, &word), nullptr);
  methods->freeDynamicProperty(klass, nullptr);
  property.alloc(nullptr);
  EXPECT_EQ(methods->setValue(klass, property, nullptr, nullptr), 0);
  EXPECT_STREQ(methods->getType(klass), GetParam().typeName);
  EXPECT_STREQ(methods->getType(nullptr), GetParam().typeName);
}

// A descriptor begins with its parent, which stands where an object has its class.
TEST(ztPropertyType, TellsWhoseAbstractMethodIsCalled) {
  const ztPropertyTypeMethods *methods = ztPropertyType_table();
  EXPECT_EQ(textOfAbstract(methods->getValue, ztPropertyTypeClass_Instance()), virtualCall("ztBaseClass"));
  EXPECT_EQ(textOfAbstract(methods->setValue, ztIntPropertyTypeClass_Instance()),
            virtualCall("ztPropertyType"));
}

// Values in storage -------------------------------------------------------------------------------

// What the property gives is the word and, as the output, the value. Nothing is written behind that.
template <typename Value>
void expectGiven(const Property &property, ztWord word, Value value, void *owner = nullptr) {
  Value out[2];
  memset(out, 0x5A, sizeof out);
  const Value behind = out[1];
  EXPECT_EQ(property.get(owner, out), word);
  EXPECT_EQ(out[0], value);
  EXPECT_EQ(out[1], behind);
}

// Each word that is set is kept as the value beside it.
template <typename Value>
void expectKept(ztClass *klass, const std::vector<std::pair<ztWord, Value>> &rows) {
  const Property property(klass);
  property.alloc(nullptr);
  for (const auto &[word, value] : rows) {
    EXPECT_EQ(property.set(nullptr, word), value);
    expectGiven(property, value, value);
  }
}

TEST(ztIntPropertyType, AndBoolKeepTheLowThirtyTwoBits) {
  for (ztClass *klass : {ztIntPropertyTypeClass_Instance(), ztBoolPropertyTypeClass_Instance()}) {
    expectKept<int32_t>(klass, {{0, 0},
                                {1, 1},
                                {-1, -1},
                                {INT_MAX, INT_MAX},
                                {INT_MIN, INT_MIN},
                                {0x1234567800000007, 7},
                                {0x00000000FFFFFFFE, -2}});
  }
}

TEST(ztCharPropertyType, KeepsTheLowByteSignExtended) {
  expectKept<signed char>(ztCharPropertyTypeClass_Instance(),
                          {{'A', 'A'}, {-1, -1}, {0x80, -128}, {0x7F, 127}, {0x1FF, -1}, {0x100, 0}});
}

TEST(ztVoidPtrPropertyType, AndCharPtrKeepTheWholeWordAndCopyNothing) {
  for (ztClass *klass : {ztCharPtrPropertyTypeClass_Instance(), ztVoidPtrPropertyTypeClass_Instance()}) {
    const Property property(klass);
    property.alloc(nullptr);
    for (const ztWord word : {wordOf(&property), ztWord{0}}) {
      EXPECT_EQ(property.set(nullptr, word), word);
      expectGiven(property, word, word);
    }
  }
}

TEST(ztFloatPropertyType, TakesAndGivesTheBitPatternOfADouble) {
  const Property property(ztFloatPropertyTypeClass_Instance());
  property.alloc(nullptr);
  for (double value : {0.0, -0.0, 0.1, -1e300, 5e-324}) {
    EXPECT_EQ(property.set(nullptr, ztWordOfDouble(value)), ztWordOfDouble(value));
    expectGiven(property, ztWordOfDouble(value), ztWordOfDouble(value));
  }
}

TEST(ztStringPropertyType, IsAssignedToAndGivesTheStoredStringItself) {
  const Property property(ztStringPropertyTypeClass_Instance());
  void *storage = property.alloc(nullptr);
  const String source("first");
  // No string, and its own, make no change.
  for (const ztWord word : {wordOf(source), ztWord{0}, wordOf(storage)}) {
    EXPECT_EQ(property.set(nullptr, word), word);
    EXPECT_EQ(property.fields().valuePointer, storage);
    EXPECT_STREQ(textOf(storage), "first");
  }
  expectGiven(property, wordOf(storage), storage);
}

TEST(ztStringPropertyType, WithASizeAndNoStorageStaysWithout) {
  const Property property(ztStringPropertyTypeClass_Instance());
  property.fields().valueSize = sizeof(ztString);
  const String source("text");
  EXPECT_EQ(property.set(nullptr, wordOf(source)), wordOf(source));
  EXPECT_EQ(property.fields().valuePointer, nullptr);
  expectGiven<void *>(property, 0, nullptr);
}

// Getters and setters -----------------------------------------------------------------------------

// What the getters and setters below saw and give.
const void *seenOwner;
const void *seenProperty;
int32_t seenInt;
double seenFloat;
const void *seenPointer;
char text[] = "text";

int32_t giveInt(const void *owner) {
  seenOwner = owner;
  return -7;
}

// For every kind of getter that takes the property.
template <typename Value>
Value giveOf(const void *, const void *property) {
  seenProperty = property;
  return Value();
}

void takeInt(void *owner, int32_t value) {
  seenOwner = owner;
  seenInt = value;
}

void endOwner(void *owner, int32_t) {
  release(owner);
}

void takeString(void *, void *const *string) {
  seenPointer = string;
  EXPECT_STREQ(textOf(*string), "a string");
}

void exchangeWord(void *, void *const *string) {
  seenPointer = string;
  *const_cast<void **>(string) = nullptr;
}

TEST(ztIntPropertyType, AndBoolGoThroughGetterAndSetter) {
  for (ztClass *klass : {ztIntPropertyTypeClass_Instance(), ztBoolPropertyTypeClass_Instance()}) {
    const Property property(klass);
    const Object owner;
    property.fields().getter.getInt = giveInt;
    property.fields().setter.setInt = takeInt;
    expectGiven(property, -7, -7, owner);
    EXPECT_EQ(seenOwner, owner);
    seenOwner = nullptr;
    EXPECT_EQ(property.set(owner, 0x1FFFFFFFB), -5);
    EXPECT_EQ(seenInt, -5);
    EXPECT_EQ(seenOwner, owner);
    EXPECT_EQ(property.fields().valuePointer, nullptr);
    property.fields().getter.getIntOf = giveOf<int32_t>;
    property.get(owner, nullptr);
    EXPECT_EQ(seenProperty, property);
  }
}

TEST(ztCharPropertyType, HandsItsSetterTheSignExtendedCharacter) {
  const Property property(ztCharPropertyTypeClass_Instance());
  property.fields().getter.getChar = [](const void *) { return static_cast<signed char>(-3); };
  property.fields().setter.setInt = takeInt;
  expectGiven<signed char>(property, -3, -3);
  EXPECT_EQ(property.set(nullptr, 0x1280), -128);
  EXPECT_EQ(seenInt, -128);
  property.fields().getter.getCharOf = giveOf<signed char>;
  property.get(nullptr, nullptr);
  EXPECT_EQ(seenProperty, property);
}

TEST(ztFloatPropertyType, HasGetterAndSetterUseDoubles) {
  const Property property(ztFloatPropertyTypeClass_Instance());
  property.fields().getter.getFloat = [](const void *) { return 2.5; };
  property.fields().setter.setFloat = [](void *, double value) { seenFloat = value; };
  expectGiven(property, ztWordOfDouble(2.5), 2.5);
  property.set(nullptr, ztWordOfDouble(-0.75));
  EXPECT_EQ(seenFloat, -0.75);
  property.fields().getter.getFloatOf = giveOf<double>;
  property.get(nullptr, nullptr);
  EXPECT_EQ(seenProperty, property);
}

TEST(ztVoidPtrPropertyType, GoesThroughGetterAndSetter) {
  const Property property(ztVoidPtrPropertyTypeClass_Instance());
  property.fields().getter.getPointer = [](const void *) { return static_cast<void *>(text); };
  property.fields().setter.setPointer = [](void *, void *value) { seenPointer = value; };
  expectGiven<void *>(property, wordOf(text), text);
  property.set(nullptr, wordOf(&property));
  EXPECT_EQ(seenPointer, &property);
  property.fields().getter.getPointerOf = giveOf<void *>;
  property.get(nullptr, nullptr);
  EXPECT_EQ(seenProperty, property);
}

TEST(ztCharPtrPropertyType, GoesThroughGetterAndSetter) {
  const Property property(ztCharPtrPropertyTypeClass_Instance());
  property.fields().getter.getText = [](const void *) { return static_cast<const char *>(text); };
  property.fields().setter.setText = [](void *, const char *taken) -> char * {
    seenPointer = taken;
    return nullptr;
  };
  expectGiven<const char *>(property, wordOf(text), text);
  property.set(nullptr, wordOf(text + 1));
  EXPECT_EQ(seenPointer, text + 1);
}

TEST(ztStringPropertyType, HandsItsSetterTheAddressOfTheWord) {
  static const void *given;
  const Property property(ztStringPropertyTypeClass_Instance());
  const String string("a string");
  property.fields().setter.setString = takeString;
  seenPointer = nullptr;
  EXPECT_EQ(property.set(nullptr, wordOf(string)), wordOf(string));
  EXPECT_NE(seenPointer, nullptr);
  EXPECT_NE(seenPointer, string);

  given = string;
  property.fields().getter.getPointer = [](const void *) { return const_cast<void *>(given); };
  expectGiven(property, wordOf(string), static_cast<void *>(string));
  property.fields().getter.getPointerOf = giveOf<void *>;
  property.get(nullptr, nullptr);
  EXPECT_EQ(seenProperty, property);
}

TEST(ztStringPropertyType, HasItsSetterReceiveTheVeryWordAndPerhapsChangeIt) {
  const Diary empty;
  const Property property(ztStringPropertyTypeClass_Instance());
  const String string("a string");
  const Object owner;
  property.fields().setter.setString = exchangeWord;
  connectTo(owner, "prop->signalname", owner, diarySlot<0>());
  const ztWord word = wordOf(string);
  EXPECT_EQ(property.operations()->setValue(property.fields().type, property, owner, &word), wordOf(string));
  EXPECT_EQ(seenPointer, &word);
  EXPECT_EQ(*static_cast<const volatile ztWord *>(&word), 0);
  // Slots are told what was set.
  EXPECT_EQ(diary, (std::vector<Call>{{0, owner, owner, wordOf(string)}}));
}

TEST(ztIntPropertyType, LeavesTheStorageUntouchedWhereThereIsASetter) {
  const Property property(ztIntPropertyTypeClass_Instance());
  const int32_t initial = 3;
  property.alloc(&initial);
  property.fields().setter.setInt = takeInt;
  property.set(nullptr, 8);
  EXPECT_EQ(seenInt, 8);
  EXPECT_EQ(property.get(nullptr, nullptr), 3);
}

TEST(ztIntPropertyType, MayHaveASetterThatEndsTheOwnerWithSignalsOrWithout) {
  const Property property(ztIntPropertyTypeClass_Instance());
  property.fields().setter.setInt = endOwner;
  EXPECT_EQ(property.set(newListener(), 4), 4);
  EXPECT_EQ(listenersLive, 0);
  EXPECT_EQ(property.set(newString("no ztObject"), 4), 4);
}

TEST(ztIntPropertyType, DoesNotNotifyAnOwnerThatIsNoZtObject) {
  const Property property(ztIntPropertyTypeClass_Instance());
  property.alloc(nullptr);
  const String owner("owner");
  EXPECT_EQ(property.set(owner, 4), 4);
  EXPECT_EQ(property.get(owner, nullptr), 4);
}

}  // namespace
