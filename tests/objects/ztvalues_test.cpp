#include "objects/ztvalues.h"

#include "tests/helpers/faults.hh"
#include "tests/helpers/replaced.hh"
#include "tests/objects/gauge.hh"

#include <gtest/gtest.h>

#include <string.h>

namespace {

class Values : public testing::Test {
 protected:
  const Object gauge{Gauge_ctor};
};

// Sets, reads back, and gives what a plain getProperty has.
template <typename Set, typename Get, typename Value>
void setAndGet(void *object, const char *name, Set set, Get get, Value value) {
  Value read{};
  Value plain{};
  EXPECT_EQ(set(object, name, value), 1) << name;
  EXPECT_EQ(get(object, name, &read), 1) << name;
  EXPECT_EQ(ztObject_of(object)->getProperty(object, name, "", &plain), 1) << name;
  EXPECT_EQ(read, value) << name;
  EXPECT_EQ(plain, value) << name;
}

const char *textOfProperty(void *object, const char *name) {
  const char *text = "unread";
  EXPECT_EQ(ztObject_getText(object, name, &text), 1) << name;
  return text;
}

}  // namespace

TEST_F(Values, OfStaticPropertiesAreSetAndReadInEveryKind) {
  int target;
  setAndGet(gauge, "level", ztObject_setInt, ztObject_getInt, INT32_MIN);
  setAndGet(gauge, "open", ztObject_setBool, ztObject_getBool, 1);
  setAndGet(gauge, "grade", ztObject_setChar, ztObject_getChar, static_cast<signed char>(-128));
  setAndGet(gauge, "real", ztObject_setFloat, ztObject_getFloat, -0.25);
  setAndGet(gauge, "owner", ztObject_setPointer, ztObject_getPointer, static_cast<void *>(&target));
  setAndGet(gauge, "owner", ztObject_setPointer, ztObject_getPointer, static_cast<void *>(nullptr));
  static const char label[] = "a label";
  EXPECT_EQ(ztObject_setText(gauge, "label", label), 1);
  EXPECT_EQ(textOfProperty(gauge, "label"), label);
  EXPECT_EQ(ztObject_setText(gauge, "note", "a note"), 1);
  EXPECT_STREQ(textOfProperty(gauge, "note"), "a note");
}

TEST_F(Values, OfDynamicPropertiesAreMadeSetAndReadInEveryKind) {
  int32_t number = 0;
  signed char character = 0;
  double real = 0;
  void *pointer = nullptr;
  EXPECT_EQ(ztObject_addInt(gauge, "int", -7), 1);
  EXPECT_EQ(ztObject_getInt(gauge, "int", &number), 1);
  EXPECT_EQ(number, -7);
  EXPECT_EQ(ztObject_addBool(gauge, "bool", 1), 1);
  EXPECT_EQ(ztObject_getBool(gauge, "bool", &number), 1);
  EXPECT_EQ(number, 1);
  EXPECT_EQ(ztObject_addChar(gauge, "char", 'c'), 1);
  EXPECT_EQ(ztObject_getChar(gauge, "char", &character), 1);
  EXPECT_EQ(character, 'c');
  EXPECT_EQ(ztObject_addFloat(gauge, "float", 2.5), 1);
  EXPECT_EQ(ztObject_getFloat(gauge, "float", &real), 1);
  EXPECT_EQ(real, 2.5);
  EXPECT_EQ(ztObject_addPointer(gauge, "pointer", &real), 1);
  EXPECT_EQ(ztObject_getPointer(gauge, "pointer", &pointer), 1);
  EXPECT_EQ(pointer, &real);
  setAndGet(gauge, "int", ztObject_setInt, ztObject_getInt, INT32_MAX);
  setAndGet(gauge, "bool", ztObject_setBool, ztObject_getBool, 0);
  setAndGet(gauge, "char", ztObject_setChar, ztObject_getChar, static_cast<signed char>(127));
  setAndGet(gauge, "float", ztObject_setFloat, ztObject_getFloat, 1e300);
  setAndGet(gauge, "pointer", ztObject_setPointer, ztObject_getPointer, static_cast<void *>(&number));
}

TEST_F(Values, OfTextAreCopiedAndOfCharacterPointersAreNot) {
  char text[] = "first";
  EXPECT_EQ(ztObject_addText(gauge, "copied", text), 1);
  EXPECT_EQ(ztObject_addCharPtr(gauge, "pointed", text), 1);
  EXPECT_EQ(textOfProperty(gauge, "pointed"), text);
  text[0] = 'F';
  EXPECT_STREQ(textOfProperty(gauge, "copied"), "first");
  EXPECT_EQ(ztObject_setText(gauge, "copied", text), 1);
  EXPECT_STREQ(textOfProperty(gauge, "copied"), "First");
  EXPECT_NE(textOfProperty(gauge, "copied"), text);
  // Its own text, and a part of it.
  EXPECT_EQ(ztObject_setText(gauge, "copied", textOfProperty(gauge, "copied") + 1), 1);
  EXPECT_STREQ(textOfProperty(gauge, "copied"), "irst");
  EXPECT_EQ(ztObject_addCharPtr(gauge, "none", nullptr), 1);
  EXPECT_EQ(textOfProperty(gauge, "none"), nullptr);
}

TEST_F(Values, WithoutTextAreReadAsNull) {
  void *note =
      gauge.fields().klass == nullptr ? nullptr : static_cast<Gauge *>(static_cast<void *>(gauge))->note;
  ztString_of(note)->set(note, nullptr);
  EXPECT_EQ(textOfProperty(gauge, "note"), nullptr);
  static_cast<Gauge *>(static_cast<void *>(gauge))->note = nullptr;
  EXPECT_EQ(textOfProperty(gauge, "note"), nullptr);
  static_cast<Gauge *>(static_cast<void *>(gauge))->note = static_cast<ztString *>(note);
}

TEST_F(Values, AreSetThroughTheTypeSoThatSlotsAreNotified) {
  const Diary empty;
  const Object listener;
  ASSERT_EQ(connectTo(gauge, "prop->signalname", listener, diarySlot<0>()), 1);
  EXPECT_EQ(ztObject_setInt(gauge, "level", 5), 1);
  EXPECT_EQ(ztObject_addInt(gauge, "dynamic", 1), 1);  // no change
  EXPECT_EQ(ztObject_setInt(gauge, "dynamic", 6), 1);
  ASSERT_EQ(diary.size(), 2U);
  EXPECT_EQ(diary[0].first, 5);
  EXPECT_EQ(diary[1].first, 6);
}

TEST_F(Values, OfMisspeltNamesAreRefusedWithALine) {
  int32_t number = 1;
  EXPECT_TRUE(isRefused([&] { return ztObject_setInt(gauge, "levl", 3); },
                        {"ztObject_setInt", "'Gauge'", "'levl'", "no property"}));
  EXPECT_TRUE(isRefused([&] { return ztObject_getInt(gauge, "levl", &number); },
                        {"ztObject_getInt", "'Gauge'", "'levl'", "no property"}));
  EXPECT_EQ(number, 1);
  EXPECT_TRUE(isRefused([&] { return ztObject_setText(gauge, "", "text"); }, {"ztObject_setText", "''"}));
  // Nothing was made.
  EXPECT_EQ(ztObject_findProperty(gauge, "levl"), nullptr);
  const std::string longest(2000, '%');
  EXPECT_TRUE(isRefused([&] { return ztObject_setInt(gauge, longest.c_str(), 3); }, {"ztObject_setInt"}));
}

TEST_F(Values, OfAnotherKindAreRefusedWithALine) {
  static const struct {
    const char *property;
    const char *type;
  } kinds[] = {{"level", "ztInt"},   {"open", "ztBool"},   {"grade", "ztChar"}, {"real", "ztFloat"},
               {"label", "ztChar*"}, {"owner", "ztVoid*"}, {"note", "ztString"}};
  int32_t number = 11;
  signed char character = 12;
  double real = 13;
  void *pointer = &real;
  const char *text = "text";
  for (int kind = 0; kind < 7; ++kind) {
    const char *name = kinds[kind].property;
    // `own`, `other`: the kinds that the function takes.
    const auto check = [&](int own, int other, const std::function<int32_t()> &call) {
      if (kind == own || kind == other) return;
      EXPECT_TRUE(isRefused(
          call, {"'Gauge'", "'" + std::string(name) + "'", "'" + std::string(kinds[kind].type) + "'"}));
    };
    check(0, 0, [&] { return ztObject_setInt(gauge, name, 1); });
    check(1, 1, [&] { return ztObject_setBool(gauge, name, 1); });
    check(2, 2, [&] { return ztObject_setChar(gauge, name, 1); });
    check(3, 3, [&] { return ztObject_setFloat(gauge, name, 1); });
    check(5, 5, [&] { return ztObject_setPointer(gauge, name, &real); });
    check(4, 6, [&] { return ztObject_setText(gauge, name, "other"); });
    check(0, 0, [&] { return ztObject_getInt(gauge, name, &number); });
    check(1, 1, [&] { return ztObject_getBool(gauge, name, &number); });
    check(2, 2, [&] { return ztObject_getChar(gauge, name, &character); });
    check(3, 3, [&] { return ztObject_getFloat(gauge, name, &real); });
    check(5, 5, [&] { return ztObject_getPointer(gauge, name, &pointer); });
    check(4, 6, [&] { return ztObject_getText(gauge, name, &text); });
  }
  EXPECT_EQ(number, 11);
  EXPECT_EQ(character, 12);
  EXPECT_EQ(real, 13);
  EXPECT_EQ(pointer, &real);
  EXPECT_STREQ(text, "text");
  EXPECT_EQ(intProperty(gauge, "level"), 0);
  EXPECT_STREQ(textOfProperty(gauge, "note"), "");
}

TEST_F(Values, ThatCannotBeWrittenOrReadAreRefusedWithALine) {
  EXPECT_EQ(ztObject_setInt(gauge, "level", 4), 1);
  EXPECT_TRUE(isRefused([&] { return ztObject_setInt(gauge, "fixed", 3); }, {"'fixed'", "written"}));
  EXPECT_TRUE(isRefused([&] { return ztObject_setInt(gauge, "refCount", 9); }, {"'refCount'", "written"}));
  int32_t number = 1;
  EXPECT_TRUE(isRefused([&] { return ztObject_getInt(gauge, "hidden", &number); }, {"'hidden'", "read"}));
  EXPECT_EQ(number, 1);
  EXPECT_EQ(ztObject_getInt(gauge, "fixed", &number), 1);
  EXPECT_EQ(number, 4);
  EXPECT_EQ(ztObject_setInt(gauge, "hidden", 8), 1);
  EXPECT_EQ(intProperty(gauge, "level"), 8);
}

TEST_F(Values, OfNoObjectAndNullArgumentsAreRefusedWithALine) {
  const Owned<ztString, ztStringMethods> string(ztString_ctor);
  int32_t number = 1;
  const char *text = nullptr;
  for (void *object : {static_cast<void *>(nullptr), static_cast<void *>(string)}) {
    const std::string what = object == nullptr ? "NULL" : "'ztString'";
    EXPECT_TRUE(isRefused([&] { return ztObject_setInt(object, "level", 1); }, {"ztObject_setInt", what}));
    EXPECT_TRUE(isRefused([&] { return ztObject_setText(object, "note", "x"); }, {"ztObject_setText", what}));
    EXPECT_TRUE(isRefused([&] { return ztObject_getInt(object, "level", &number); }, {what}));
    EXPECT_TRUE(isRefused([&] { return ztObject_getText(object, "note", &text); }, {what}));
    EXPECT_TRUE(isRefused([&] { return ztObject_addInt(object, "new", 1); }, {"ztObject_addInt", what}));
    EXPECT_TRUE(isRefused([&] { return ztObject_addText(object, "new", "x"); }, {"ztObject_addText", what}));
    EXPECT_EQ(logOf([&] { EXPECT_EQ(ztObject_findProperty(object, "level"), nullptr); }), "");
  }
  EXPECT_EQ(logOf([&] { EXPECT_EQ(ztObject_findProperty(gauge, nullptr), nullptr); }), "");
  EXPECT_TRUE(isRefused([&] { return ztObject_setInt(gauge, nullptr, 1); }, {"name", "NULL"}));
  EXPECT_TRUE(isRefused([&] { return ztObject_getInt(gauge, "level", nullptr); }, {"place", "NULL"}));
  EXPECT_TRUE(isRefused([&] { return ztObject_getText(gauge, "note", nullptr); }, {"place", "NULL"}));
  EXPECT_TRUE(isRefused([&] { return ztObject_setText(gauge, "note", nullptr); }, {"text", "NULL"}));
  EXPECT_TRUE(isRefused([&] { return ztObject_addText(gauge, "new", nullptr); }, {"text", "NULL"}));
  EXPECT_TRUE(isRefused([&] { return ztObject_addInt(gauge, nullptr, 1); }, {"name", "NULL"}));
}

TEST_F(Values, AreNotAddedTwiceNorBesideAStaticOne) {
  EXPECT_TRUE(isRefused([&] { return ztObject_addInt(gauge, "level", 1); }, {"'level'", "exists"}));
  EXPECT_EQ(ztObject_addFloat(gauge, "twin", 1), 1);
  EXPECT_TRUE(isRefused([&] { return ztObject_addInt(gauge, "twin", 1); }, {"'twin'", "exists"}));
  EXPECT_TRUE(isRefused([&] { return ztObject_addText(gauge, "twin", ""); }, {"'twin'", "exists"}));
  double real = 0;
  EXPECT_EQ(ztObject_getFloat(gauge, "twin", &real), 1);
  EXPECT_EQ(real, 1);
}

TEST_F(Values, AreFoundAmongStaticInheritedAndDynamicOnes) {
  EXPECT_EQ(ztObject_addInt(gauge, "dynamic", 1), 1);
  for (const char *name : {"refCount", "level", "dynamic"}) {
    ztProperty *property = ztObject_findProperty(gauge, name);
    ASSERT_NE(property, nullptr) << name;
    EXPECT_STREQ(textOf(property->name), name);
    EXPECT_EQ(ztProperty_of(property)->isDynamic(property), strcmp(name, "dynamic") == 0);
  }
  const Object other(Gauge_ctor);
  EXPECT_EQ(ztObject_findProperty(other, "level"), ztObject_findProperty(gauge, "level"));
  EXPECT_EQ(ztObject_findProperty(other, "dynamic"), nullptr);
}

TEST_F(Values, OfADerivedTypeHaveTheKindOfTheLibrarys) {
  static const char derived[] = "a class of a host";
  ztProperty *property = ztObject_findProperty(gauge, "level");
  // Stands in for a host's descriptor, which has its parent and its parent's operations.
  ztClass own = *property->type;
  own.parent = property->type;
  own.name = derived;
  const Replaced type(property->type, &own);
  EXPECT_EQ(ztObject_setInt(gauge, "level", 21), 1);
  int32_t number = 0;
  EXPECT_EQ(ztObject_getInt(gauge, "level", &number), 1);
  EXPECT_EQ(number, 21);
}

TEST_F(Values, OfAPropertyWithoutTypeAreRefusedWithALine) {
  ztProperty *property = ztObject_findProperty(gauge, "level");
  const Replaced type(property->type, nullptr);
  EXPECT_TRUE(isRefused([&] { return ztObject_setInt(gauge, "level", 1); }, {"'level'", "(null)"}));
}

TEST_F(Values, WhoseStorageWasFreedAreRefusedWithALine) {
  ASSERT_EQ(ztObject_addText(gauge, "text", "x"), 1);
  ztProperty *property = ztObject_findProperty(gauge, "text");
  static_cast<const ztPropertyTypeMethods *>(property->type->methodTable)
      ->freeDynamicProperty(property->type, property);
  const char *text = nullptr;
  EXPECT_TRUE(isRefused([&] { return ztObject_setText(gauge, "text", "y"); }, {"'text'", "written"}));
  EXPECT_TRUE(isRefused([&] { return ztObject_getText(gauge, "text", &text); }, {"'text'", "read"}));
  EXPECT_EQ(text, nullptr);
}

TEST_F(Values, MaySeeTheirObjectDestroyedByItsSetter) {
  auto *shortLived = static_cast<Gauge *>(Gauge_ctor(nullptr, 1));
  shortLived->onSet = [](void *object) { release(object); };
  EXPECT_EQ(ztObject_setInt(shortLived, "level", 1), 1);
}

TEST_F(Values, AreSetAndReadByTheMethodsOfTheObject) {
  static int32_t sets;
  auto *methods = static_cast<GaugeMethods *>(GaugeClass_Instance()->methodTable);
  {
    const Replaced set(methods->setProperty, [](void *, const char *, const char *, ztWord) {
      ++sets;
      return 0;
    });
    const Replaced get(methods->getProperty, [](void *, const char *, const char *, void *) { return 0; });
    int32_t number = 3;
    EXPECT_TRUE(isRefused([&] { return ztObject_setInt(gauge, "level", 1); }, {"'level'", "not set"}));
    EXPECT_TRUE(isRefused([&] { return ztObject_getInt(gauge, "level", &number); }, {"'level'", "not read"}));
    EXPECT_TRUE(isRefused([&] { return ztObject_addInt(gauge, "new", 1); }, {"'new'", "made"}));
    EXPECT_EQ(number, 3);
    const char *text = nullptr;
    EXPECT_TRUE(isRefused([&] { return ztObject_setText(gauge, "note", "x"); }, {"'note'", "not set"}));
    EXPECT_TRUE(isRefused([&] { return ztObject_getText(gauge, "note", &text); }, {"'note'", "not read"}));
    EXPECT_EQ(text, nullptr);
  }
  EXPECT_EQ(sets, 3);
}

TEST(PropertyTypes, AreAllRegisteredAtOnceAndMadeKnownByNewProperties) {
  static const char *const types[] = {"ztIntPropertyType",   "ztCharPropertyType",  "ztCharPtrPropertyType",
                                      "ztBoolPropertyType",  "ztFloatPropertyType", "ztVoidPtrPropertyType",
                                      "ztStringPropertyType"};
  const ztPropertyFunctions *functions = ztProperty_functions();
  functions->classDestroy(nullptr);  // releases the map of types
  const Object object;
  EXPECT_EQ(functions->getPropertyTypeClass(nullptr, "ztFloatPropertyType"), nullptr);
  EXPECT_EQ(ztObject_addFloat(object, "float", 1), 1);
  EXPECT_NE(functions->getPropertyTypeClass(nullptr, "ztFloatPropertyType"), nullptr);
  EXPECT_EQ(functions->getPropertyTypeClass(nullptr, "ztBoolPropertyType"), nullptr);
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(ztProperty_registerTypes(), 1);
    for (const char *type : types) EXPECT_NE(functions->getPropertyTypeClass(nullptr, type), nullptr) << type;
  }
}

TEST_F(Values, AreWholeOrAsBeforeWhenMemoryIsExhausted) {
  const std::string text(100, 't');
  std::string held = "before";
  EXPECT_EQ(ztObject_addText(gauge, "dynamic", held.c_str()), 1);
  exhaustMemoryIn([&] {
    for (const std::string &next : {text, std::string("before")}) {
      if (ztObject_setText(gauge, "dynamic", next.c_str())) held = next;
      EXPECT_EQ(textOfProperty(gauge, "dynamic"), held);
    }
  });
}

TEST(NewValues, AreMadeWholeOrNotWhenMemoryIsExhausted) {
  exhaustMemoryIn([] {
    void *object = ztObject_ctor(nullptr, 1);
    if (object == nullptr) return;
    using Add = int32_t (*)(void *);
    static const Add adds[] = {[](void *owner) { return ztObject_addInt(owner, "value", 1); },
                               [](void *owner) { return ztObject_addText(owner, "value", "text"); },
                               [](void *owner) { return ztObject_addCharPtr(owner, "value", "text"); },
                               [](void *owner) { return ztObject_addFloat(owner, "value", 1); }};
    for (Add add : adds) {
      const Object other;
      if (static_cast<void *>(other) == nullptr) continue;
      const bool done = add(other) != 0;
      EXPECT_EQ(ztObject_findProperty(other, "value") != nullptr, done);
    }
    release(object);
  });
}

TEST(PropertyTypes, AreRegisteredWhenThereIsMemoryAgain) {
  ztProperty_functions()->classDestroy(nullptr);
  for (int succeeding = 0;; ++succeeding) {
    const Fault fault(succeeding, true);
    const int32_t done = ztProperty_registerTypes();
    EXPECT_EQ(done, !fault.end());
    if (done) break;
  }
}
