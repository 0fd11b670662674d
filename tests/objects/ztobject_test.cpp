#include "objects/ztobject.h"

#include "core/ztcore.h"
#include "tests/helpers/scale.hh"
#include "tests/helpers/temp_folder.hh"
#include "tests/objects/listeners.hh"

#include <gtest/gtest.h>

#include <inttypes.h>
#include <stddef.h>
#include <stdio.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

// Classes with static properties: Box derives from Shape, which no object is ever made of; Plain from
// Box, with no declarations of its own.

#define Shape_FIELDS \
  ztObject_FIELDS    \
  int32_t width;     \
  double weight;     \
  char initial;
#define Shape_METHODS ztObject_METHODS
ZT_DECLARE_CLASS(Shape)
#define Box_FIELDS Shape_FIELDS int32_t depth;
#define Box_METHODS Shape_METHODS
ZT_DECLARE_CLASS(Box)
#define Plain_FIELDS Box_FIELDS
#define Plain_METHODS Box_METHODS
ZT_DECLARE_CLASS(Plain)

static int32_t shapeWidth(const void *shape) {
  return static_cast<const Shape *>(shape)->width;
}

static void shapeSetWidth(void *shape, int32_t width) {
  static_cast<Shape *>(shape)->width = width;
}

static int32_t shapeMarker;

static int32_t shapeInitProperties(ztClass *klass) {
  const auto *methods = static_cast<const ShapeMethods *>(klass->methodTable);
  methods->addProperty(klass, "width", "ztInt", getterOf(shapeWidth), setterOf(shapeSetWidth), &shapeMarker,
                       "widthChanged");
  return methods->addProperty(klass, "area", "ztInt", getterOf(shapeWidth), noSetter, nullptr, nullptr);
}

static void shapeMethods(ShapeMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, initProperties, shapeInitProperties);
}

ZT_DEFINE_CLASS(Shape, ztObject, shapeMethods)

static int32_t boxInitProperties(ztClass *klass) {
  const auto *methods = static_cast<const BoxMethods *>(klass->methodTable);
  // Inherited, so refused.
  methods->addProperty(klass, "width", "ztInt", noGetter, noSetter, nullptr, nullptr);
  return methods->addProperty(klass, "depth", "ztInt", noGetter, noSetter, nullptr, nullptr);
}

static void boxMethods(BoxMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, initProperties, boxInitProperties);
}

ZT_DEFINE_CLASS(Box, Shape, boxMethods)

static void plainMethods(PlainMethods *) {}

ZT_DEFINE_CLASS(Plain, Box, plainMethods)

namespace {

template <typename Value>
ztWord wordOf(Value *pointer) {
  return reinterpret_cast<ztWord>(pointer);
}

int32_t setProperty(void *object, const char *name, const char *type, ztWord value) {
  return ztObject_of(object)->setProperty(object, name, type, value);
}

int32_t intProperty(void *object, const char *name) {
  int32_t value = 0;
  EXPECT_EQ(ztObject_of(object)->getProperty(object, name, "ztInt", &value), 1) << name;
  return value;
}

void newIntProperty(void *object, const char *name, int32_t value) {
  EXPECT_EQ(setProperty(object, name, "ztInt", wordOf(&value)), 1) << name;
}

// The properties that an array was filled with, as "name:index".
using Names = std::vector<std::string>;

Names namesIn(const void *array) {
  Names names;
  const ztPropertyPtrArrayMethods *methods = ztPropertyPtrArray_of(array);
  for (int32_t i = 0; i < methods->getSize(array); ++i) {
    const auto *property = static_cast<const ztProperty *>(methods->getAt(array, i));
    names.push_back(textOf(property->name) + (":" + std::to_string(property->index)));
  }
  return names;
}

template <typename List>
Names listed(const void *object, List list) {
  void *array = ztPropertyPtrArray_ctor(nullptr, 1);
  EXPECT_EQ(list(object, array), 1);
  Names names = namesIn(array);
  release(array);
  return names;
}

Names allProperties(const void *object) {
  return listed(object, ztObject_of(object)->getProperties);
}

Names staticProperties(const void *object) {
  return listed(object, ztObject_of(object)->getStaticProperties);
}

Names dynamicProperties(const void *object) {
  return listed(object, ztObject_of(object)->getDynamicProperties);
}

const ztProperty *propertyNamed(const void *object, const char *name) {
  void *array = ztPropertyPtrArray_ctor(nullptr, 1);
  ztObject_of(object)->getProperties(object, array);
  const ztPropertyPtrArrayMethods *methods = ztPropertyPtrArray_of(array);
  const ztProperty *found = nullptr;
  for (int32_t i = 0; i < methods->getSize(array); ++i) {
    const auto *property = static_cast<const ztProperty *>(methods->getAt(array, i));
    if (strcmp(textOf(property->name), name) == 0) found = property;
  }
  release(array);
  return found;
}

}  // namespace

// Layout and life ---------------------------------------------------------------------------------

TEST(Object, SixteenWordsFollowTheBaseSlots) {
  EXPECT_EQ(offsetof(ztObjectMethods, staticProperties), 16 * sizeof(void *));
  EXPECT_EQ(offsetof(ztObjectMethods, printConnections), 17 * sizeof(void *));
  EXPECT_EQ(offsetof(ztObjectMethods, addSignal), 18 * sizeof(void *));
  EXPECT_EQ(offsetof(ztObjectMethods, addSlot), 19 * sizeof(void *));
  EXPECT_EQ(offsetof(ztObjectMethods, connect), 20 * sizeof(void *));
  EXPECT_EQ(offsetof(ztObjectMethods, connectionExist), 21 * sizeof(void *));
  EXPECT_EQ(offsetof(ztObjectMethods, destroyed), 22 * sizeof(void *));
  EXPECT_EQ(offsetof(ztObjectMethods, reserved), 23 * sizeof(void *));
  EXPECT_EQ(offsetof(ztObjectMethods, addProperty), 24 * sizeof(void *));
  EXPECT_EQ(offsetof(ztObjectMethods, initProperties), 25 * sizeof(void *));
  EXPECT_EQ(offsetof(ztObjectMethods, setProperty), 26 * sizeof(void *));
  EXPECT_EQ(offsetof(ztObjectMethods, getProperty), 27 * sizeof(void *));
  EXPECT_EQ(offsetof(ztObjectMethods, getProperties), 28 * sizeof(void *));
  EXPECT_EQ(offsetof(ztObjectMethods, getStaticProperties), 29 * sizeof(void *));
  EXPECT_EQ(offsetof(ztObjectMethods, getDynamicProperties), 30 * sizeof(void *));
  EXPECT_EQ(offsetof(ztObjectMethods, getSender), 31 * sizeof(void *));
  EXPECT_EQ(sizeof(ztObjectMethods), 32 * sizeof(void *));
  EXPECT_EQ(offsetof(ztObject, signals), 16U);
  EXPECT_EQ(offsetof(ztObject, dynamicProperties), 24U);
  EXPECT_EQ(offsetof(ztObject, sender), 32U);
}

TEST(Object, ClassHasHooks) {
  const auto *functions = static_cast<const ztClassFunctions *>(ztObjectClass_Instance()->classTable);
  EXPECT_NE(functions->classInit, nullptr);
  ASSERT_NE(functions->classDestroy, nullptr);
  functions->classDestroy(nullptr);
  EXPECT_EQ(ztObjectClass_Instance()->parent, ztBaseClassClass_Instance());
  EXPECT_TRUE(ztOOP_isClassRegistered("ztProperty"));
  EXPECT_TRUE(ztOOP_isClassRegistered("ztPropertyMap"));
}

TEST(Object, CreateMakesEmptyMapsInAnyMemory) {
  alignas(ztObject) unsigned char memory[sizeof(ztObject)];
  memset(memory, 0xA5, sizeof memory);
  auto *object = static_cast<ztObject *>(ztObject_ctor(memory, 1));
  EXPECT_EQ(object->sender, nullptr);
  EXPECT_EQ(ztSignalMap_of(object->signals)->getSize(object->signals), 0);
  EXPECT_EQ(ztPropertyMap_of(object->dynamicProperties)->getSize(object->dynamicProperties), 0);
  ztObject_of(object)->destroy(object);
  EXPECT_EQ(object->signals, nullptr);
  EXPECT_EQ(object->dynamicProperties, nullptr);
  ztObject_of(object)->destroy(object);
}

TEST(Object, DestroyClearsTheReservedWordOfItsClass) {
  auto *methods = static_cast<ListenerMethods *>(ListenerClass_Instance()->methodTable);
  release(newListener());
  methods->reserved = &listenersLive;
  Listener *listener = newListener();
  EXPECT_EQ(methods->reserved, &listenersLive);
  release(listener);
  EXPECT_EQ(methods->reserved, nullptr);
  EXPECT_EQ(ztObject_table()->reserved, nullptr);
}

TEST(Object, CloneCopiesDynamicPropertiesButNoConnections) {
  Listener *object = newListener();
  Listener *peer = newListener();
  newIntProperty(object, "level", 3);
  connectTo(object, "changed", peer, diarySlot<0>());
  object->sender = peer;

  void *target = Listener_newop();
  auto *copy = static_cast<Listener *>(ztObject_of(object)->clone(object, target));
  ASSERT_EQ(copy, target);
  copy->refCount = 1;
  EXPECT_EQ(copy->sender, nullptr);
  EXPECT_NE(copy->signals, object->signals);
  EXPECT_EQ(ztSignalMap_of(copy->signals)->getSize(copy->signals), 0);
  setProperty(copy, "level", "ztInt", 4);
  EXPECT_EQ(intProperty(object, "level"), 3);
  EXPECT_EQ(intProperty(copy, "level"), 4);
  object->sender = nullptr;
  release(copy);
  EXPECT_TRUE(isConnected(object, "changed", peer, diarySlot<0>()));
  release(peer);
  release(object);
  EXPECT_EQ(listenersLive, 0);
}

TEST(Object, CloneOfAnEndedObjectHasNoPropertiesOfItsOwn) {
  alignas(ztObject) char memory[sizeof(ztObject)];
  void *object = ztObject_ctor(memory, 1);
  newIntProperty(object, "level", 3);
  ztObject_of(object)->destroy(object);
  auto *copy = static_cast<ztObject *>(ztObject_of(object)->clone(object, ztObject_newop()));
  ASSERT_NE(copy, nullptr);
  copy->refCount = 1;
  EXPECT_EQ(copy->dynamicProperties, nullptr);
  EXPECT_EQ(allProperties(copy), Names{"refCount:0"});
  EXPECT_EQ(setProperty(copy, "level", "ztInt", 0), 0);
  EXPECT_NE(ztObject_of(copy)->addSignal(ztObjectClass_Instance(), copy, "changed", 1), nullptr);
  release(copy);
}

// Properties --------------------------------------------------------------------------------------

TEST(ObjectProperties, ANewObjectListsItsReferenceCount) {
  Owned object(ztObject_ctor);
  EXPECT_EQ(allProperties(object), Names{"refCount:0"});
  EXPECT_EQ(intProperty(object, "refCount"), 1);
  ztObject_of(object)->ref(object);
  ztObject_of(object)->ref(object);
  EXPECT_EQ(intProperty(object, "refCount"), 3);
  ztObject_of(object)->unRef(object);
  const ztProperty *property = propertyNamed(object, "refCount");
  EXPECT_EQ(property->type, ztIntPropertyTypeClass_Instance());
  EXPECT_EQ(property->getter.getInt, ztObject_table()->getRefCount);
  EXPECT_EQ(property->setter.setInt, nullptr);
  EXPECT_EQ(property->userWord, nullptr);
  EXPECT_STREQ(textOf(property->signalName), "");
  EXPECT_STREQ(property->ownerClassName, "ztObject");
  static_cast<ztObject *>(static_cast<void *>(object))->refCount = 1;
}

TEST(ObjectProperties, SettingTheReferenceCountStoresNothing) {
  Owned object(ztObject_ctor);
  EXPECT_EQ(setProperty(object, "refCount", "ztInt", 50), 1);
  EXPECT_EQ(intProperty(object, "refCount"), 1);
  EXPECT_EQ(dynamicProperties(object), Names{});
}

TEST(ObjectProperties, AnUnknownNameMakesADynamicPropertyBehindTheStaticOnes) {
  Owned object(ztObject_ctor);
  newIntProperty(object, "zeta", 1);
  newIntProperty(object, "alpha", 2);
  EXPECT_EQ(allProperties(object), (Names{"refCount:0", "zeta:1", "alpha:2"}));
  EXPECT_EQ(staticProperties(object), Names{"refCount:0"});
  EXPECT_EQ(dynamicProperties(object), (Names{"zeta:1", "alpha:2"}));
  const ztProperty *property = propertyNamed(object, "zeta");
  EXPECT_EQ(ztProperty_of(property)->isDynamic(property), 1);
  EXPECT_STREQ(property->ownerClassName, "ztObject");
  EXPECT_EQ(property->getter.getInt, nullptr);
  EXPECT_EQ(property->setter.setInt, nullptr);
  EXPECT_EQ(property->userWord, nullptr);
  EXPECT_STREQ(textOf(property->signalName), "");

  Owned other(ztObject_ctor);
  EXPECT_EQ(allProperties(other), Names{"refCount:0"});
}

// The creating call takes the address of the value, later ones the value.
TEST(ObjectProperties, TheValueWordIsReadInTwoWays) {
  Owned object(ztObject_ctor);
  const int32_t initial = 11;
  EXPECT_EQ(setProperty(object, "level", "ztInt", wordOf(&initial)), 1);
  EXPECT_EQ(intProperty(object, "level"), 11);
  EXPECT_EQ(setProperty(object, "level", "ztInt", 12), 1);
  EXPECT_EQ(intProperty(object, "level"), 12);
  // As an address it would be followed.
  EXPECT_EQ(setProperty(object, "level", "ztInt", wordOf(&initial)), 1);
  EXPECT_EQ(intProperty(object, "level"), static_cast<int32_t>(wordOf(&initial)));
}

TEST(ObjectProperties, NoInitialValueGivesZeroAndTheEmptyText) {
  registerAllPropertyTypes();
  Owned object(ztObject_ctor);
  for (const char *type : {"ztInt", "ztChar", "ztCharPtr", "ztBool", "ztFloat", "ztVoidPtr"}) {
    EXPECT_EQ(setProperty(object, type, type, 0), 1);
    int64_t value = 0;
    EXPECT_EQ(ztObject_of(object)->getProperty(object, type, type, &value), 1);
    EXPECT_EQ(value, 0) << type;
  }
  EXPECT_EQ(setProperty(object, "text", "ztString", 0), 1);
  void *string = nullptr;
  EXPECT_EQ(ztObject_of(object)->getProperty(object, "text", "ztString", &string), 1);
  EXPECT_STREQ(textOf(string), "");
}

TEST(ObjectProperties, EveryKindWorksAsADynamicProperty) {
  registerAllPropertyTypes();
  Owned object(ztObject_ctor);
  const ztObjectMethods *methods = ztObject_of(object);

  const signed char letter = -4;
  signed char letterOut[2] = {0, 99};
  setProperty(object, "letter", "ztChar", wordOf(&letter));
  methods->getProperty(object, "letter", "ztChar", letterOut);
  EXPECT_EQ(letterOut[0], -4);
  EXPECT_EQ(letterOut[1], 99);
  setProperty(object, "letter", "ztChar", 'q');
  methods->getProperty(object, "letter", "ztChar", letterOut);
  EXPECT_EQ(letterOut[0], 'q');

  const double ratio = 0.25;
  double ratioOut = 0;
  setProperty(object, "ratio", "ztFloat", wordOf(&ratio));
  methods->getProperty(object, "ratio", "ztFloat", &ratioOut);
  EXPECT_EQ(ratioOut, 0.25);
  setProperty(object, "ratio", "ztFloat", ztWordOfDouble(-8.5));
  methods->getProperty(object, "ratio", "ztFloat", &ratioOut);
  EXPECT_EQ(ratioOut, -8.5);

  const char *text = "text";
  const char *textOut = nullptr;
  setProperty(object, "text", "ztCharPtr", wordOf(&text));
  methods->getProperty(object, "text", "ztCharPtr", &textOut);
  EXPECT_EQ(textOut, text);

  void *pointer = &ratioOut;
  void *pointerOut = nullptr;
  setProperty(object, "pointer", "ztVoidPtr", wordOf(&pointer));
  methods->getProperty(object, "pointer", "ztVoidPtr", &pointerOut);
  EXPECT_EQ(pointerOut, pointer);

  const int32_t yes = 1;
  int32_t yesOut = 0;
  setProperty(object, "flag", "ztBool", wordOf(&yes));
  methods->getProperty(object, "flag", "ztBool", &yesOut);
  EXPECT_EQ(yesOut, 1);

  void *string = newString("first");
  setProperty(object, "string", "ztString", wordOf(static_cast<ztString *>(string)));
  ztString_of(string)->set(string, "second");
  void *stored = nullptr;
  methods->getProperty(object, "string", "ztString", &stored);
  EXPECT_STREQ(textOf(stored), "first");
  setProperty(object, "string", "ztString", wordOf(static_cast<ztString *>(string)));
  EXPECT_STREQ(textOf(stored), "second");
  release(string);
  EXPECT_STREQ(textOf(stored), "second");

  EXPECT_EQ(dynamicProperties(object),
            (Names{"letter:1", "ratio:2", "text:3", "pointer:4", "flag:5", "string:6"}));
}

TEST(ObjectProperties, TheTypeOfAKnownNameIsNotLookedAt) {
  Owned object(ztObject_ctor);
  newIntProperty(object, "level", 3);
  EXPECT_EQ(setProperty(object, "level", "ztNoSuchType", 4), 1);
  EXPECT_EQ(intProperty(object, "level"), 4);
  EXPECT_EQ(setProperty(object, "level", nullptr, 5), 1);
  int32_t out = 0;
  EXPECT_EQ(ztObject_of(object)->getProperty(object, "level", "ztNoSuchType", &out), 1);
  EXPECT_EQ(out, 5);
}

TEST(ObjectProperties, AnUnknownTypeMakesNothing) {
  Owned object(ztObject_ctor);
  const std::string longName(2000, 't');
  for (const char *type : {"ztNoSuch", "", "ztVoid*", "ztChar*", "ztIntPropertyType", longName.c_str()}) {
    EXPECT_EQ(setProperty(object, "level", type, 0), 0) << type;
  }
  EXPECT_EQ(setProperty(object, "level", nullptr, 0), 0);
  EXPECT_EQ(allProperties(object), Names{"refCount:0"});
}

TEST(ObjectProperties, AnUnknownNameLeavesTheOutput) {
  Owned object(ztObject_ctor);
  int32_t out = 99;
  EXPECT_EQ(ztObject_of(object)->getProperty(object, "level", "ztInt", &out), 0);
  EXPECT_EQ(out, 99);
}

TEST(ObjectProperties, NamesMayBeLongAndEmpty) {
  Owned object(ztObject_ctor);
  const std::string longName(100000, 'n');
  newIntProperty(object, longName.c_str(), 1);
  newIntProperty(object, (longName + "n").c_str(), 2);
  newIntProperty(object, "", 3);
  EXPECT_EQ(intProperty(object, longName.c_str()), 1);
  EXPECT_EQ(intProperty(object, (longName + "n").c_str()), 2);
  EXPECT_EQ(intProperty(object, ""), 3);
}

TEST(ObjectProperties, TakeNoObjectNoNameAndNoOutput) {
  const ztObjectMethods *methods = ztObject_table();
  Owned object(ztObject_ctor);
  Owned array(ztPropertyPtrArray_ctor);
  int32_t out = 99;
  EXPECT_EQ(methods->setProperty(nullptr, "level", "ztInt", 0), 0);
  EXPECT_EQ(methods->setProperty(object, nullptr, "ztInt", 0), 0);
  EXPECT_EQ(methods->getProperty(nullptr, "refCount", "ztInt", &out), 0);
  EXPECT_EQ(methods->getProperty(object, nullptr, "ztInt", &out), 0);
  EXPECT_EQ(out, 99);
  EXPECT_EQ(methods->getProperty(object, "refCount", nullptr, nullptr), 1);
  EXPECT_EQ(methods->getProperties(nullptr, array), 0);
  EXPECT_EQ(methods->getStaticProperties(nullptr, array), 0);
  EXPECT_EQ(methods->getDynamicProperties(nullptr, array), 0);
  EXPECT_EQ(methods->getProperties(object, nullptr), 0);
  EXPECT_EQ(methods->getStaticProperties(object, nullptr), 0);
  EXPECT_EQ(methods->getDynamicProperties(object, nullptr), 0);
  EXPECT_EQ(methods->getSender(nullptr), nullptr);
  EXPECT_EQ(methods->create(nullptr), 0);
  EXPECT_EQ(methods->clone(nullptr, object), nullptr);
  EXPECT_EQ(methods->clone(object, nullptr), nullptr);
  methods->destroy(nullptr);
  methods->classInstanceCreate(nullptr);
  methods->classInstanceDestroy(nullptr);
  EXPECT_EQ(methods->initProperties(nullptr), 0);
  ztClass *klass = ztObjectClass_Instance();
  EXPECT_EQ(methods->addProperty(nullptr, "name", "ztInt", noGetter, noSetter, nullptr, nullptr), 0);
  EXPECT_EQ(methods->addProperty(klass, nullptr, "ztInt", noGetter, noSetter, nullptr, nullptr), 0);
  EXPECT_EQ(methods->addProperty(klass, "name", nullptr, noGetter, noSetter, nullptr, nullptr), 0);
  EXPECT_EQ(allProperties(object), Names{"refCount:0"});
}

TEST(ObjectProperties, ListsReplaceWhatTheArrayHeld) {
  Owned object(ztObject_ctor);
  Owned array(ztPropertyPtrArray_ctor);
  newIntProperty(object, "level", 1);
  const ztObjectMethods *methods = ztObject_of(object);
  EXPECT_EQ(methods->getProperties(object, array), 1);
  EXPECT_EQ(methods->getDynamicProperties(object, array), 1);
  EXPECT_EQ(namesIn(array), Names{"level:1"});
  Owned other(ztObject_ctor);
  EXPECT_EQ(methods->getDynamicProperties(other, array), 1);
  EXPECT_EQ(namesIn(array), Names{});
}

TEST(ObjectProperties, ListsKeepTheOrderOfCreationOfManyProperties) {
  Owned object(ztObject_ctor);
  Names expected{"refCount:0"};
  for (int i = 1; i <= 200; ++i) {
    const std::string name = "p" + std::to_string(i * 7919 % 1000);
    newIntProperty(object, name.c_str(), i);
    expected.push_back(name + ":" + std::to_string(i));
  }
  EXPECT_EQ(allProperties(object), expected);
}

TEST(ObjectProperties, SortFunctionComparesTheIndexesAsSignedNumbers) {
  ztProperty low;
  ztProperty high;
  low.index = -3;
  high.index = 2;
  const ztProperty *one = &low;
  const ztProperty *other = &high;
  EXPECT_EQ(ztObject_propertiesSortFunc(&one, &other), -1);
  EXPECT_EQ(ztObject_propertiesSortFunc(&other, &one), 1);
  EXPECT_EQ(ztObject_propertiesSortFunc(&one, &one), 0);
  EXPECT_EQ(ztObject_propertiesSortFunc(nullptr, &one), 0);
  EXPECT_EQ(ztObject_propertiesSortFunc(&one, nullptr), 0);
}

// Static properties -------------------------------------------------------------------------------

TEST(StaticProperties, ComeInTheOrderOfDeclarationAlsoOfAnAncestorThatWasNeverMade) {
  Owned box(Box_ctor);
  EXPECT_FALSE(ztOOP_isClassRegistered("Shape"));
  const Names expected{"refCount:0", "width:1", "area:2", "depth:3"};
  EXPECT_EQ(allProperties(box), expected);
  EXPECT_EQ(staticProperties(box), expected);
  newIntProperty(box, "color", 1);
  EXPECT_EQ(dynamicProperties(box), Names{"color:4"});
  EXPECT_STREQ(propertyNamed(box, "width")->ownerClassName, "Shape");
  EXPECT_STREQ(propertyNamed(box, "depth")->ownerClassName, "Box");
  EXPECT_STREQ(propertyNamed(box, "refCount")->ownerClassName, "ztObject");
  EXPECT_STREQ(propertyNamed(box, "color")->ownerClassName, "Box");
}

TEST(StaticProperties, AClassWithoutDeclarationsHasThoseOfItsAncestors) {
  Owned plain(Plain_ctor);
  EXPECT_EQ(allProperties(plain), (Names{"refCount:0", "width:1", "area:2", "depth:3"}));
  EXPECT_STREQ(propertyNamed(plain, "depth")->ownerClassName, "Box");
}

#define Silent_FIELDS ztObject_FIELDS
#define Silent_METHODS ztObject_METHODS
ZT_DECLARE_CLASS(Silent)

static void silentMethods(SilentMethods *methods) {
  methods->initProperties = nullptr;
}

ZT_DEFINE_CLASS(Silent, ztObject, silentMethods)

TEST(StaticProperties, AClassThatEmptiesTheSlotOfDeclarationsHasThoseOfItsAncestors) {
  Owned silent(Silent_ctor);
  EXPECT_EQ(allProperties(silent), Names{"refCount:0"});
}

TEST(StaticProperties, AreReadAndWrittenThroughTheObject) {
  Owned box(Box_ctor);
  Owned other(Box_ctor);
  static_cast<Box *>(static_cast<void *>(other))->width = 5;
  EXPECT_EQ(setProperty(box, "width", "ztInt", 31), 1);
  EXPECT_EQ(intProperty(box, "width"), 31);
  EXPECT_EQ(intProperty(box, "area"), 31);
  EXPECT_EQ(setProperty(box, "area", "ztInt", 50), 1);
  EXPECT_EQ(intProperty(box, "area"), 31);
  EXPECT_EQ(intProperty(other, "width"), 5);
  EXPECT_EQ(dynamicProperties(box), Names{});
}

TEST(StaticProperties, KeepUserWordAndSignalName) {
  Owned box(Box_ctor);
  const ztProperty *width = propertyNamed(box, "width");
  EXPECT_EQ(width->userWord, &shapeMarker);
  EXPECT_STREQ(textOf(width->signalName), "widthChanged");
  EXPECT_EQ(width->valueSize, 0U);
  EXPECT_EQ(ztProperty_of(width)->isDynamic(width), 0);
}

TEST(StaticProperties, ANameIsDeclaredOnce) {
  Owned box(Box_ctor);
  ztClass *klass = BoxClass_Instance();
  const BoxMethods *methods = Box_of(box);
  for (const char *name : {"depth", "width", "refCount"}) {
    EXPECT_EQ(methods->addProperty(klass, name, "ztInt", noGetter, noSetter, nullptr, nullptr), 0) << name;
  }
  EXPECT_EQ(methods->addProperty(klass, "unknown", "ztNoSuch", noGetter, noSetter, nullptr, nullptr), 0);
  EXPECT_EQ(allProperties(box), (Names{"refCount:0", "width:1", "area:2", "depth:3"}));
  EXPECT_EQ(methods->initProperties(klass), 0);
}

#define Late_FIELDS ztObject_FIELDS
#define Late_METHODS ztObject_METHODS
ZT_DECLARE_CLASS(Late)
static void lateMethods(LateMethods *) {}
ZT_DEFINE_CLASS(Late, ztObject, lateMethods)

TEST(StaticProperties, MayBeDeclaredLaterAndShadowADynamicOne) {
  Owned late(Late_ctor);
  newIntProperty(late, "level", 4);
  EXPECT_EQ(Late_of(late)->addProperty(LateClass_Instance(), "level", "ztInt",
                                       getterOf(ztObject_table()->getRefCount), noSetter, nullptr, nullptr),
            1);
  EXPECT_EQ(intProperty(late, "level"), 1);
}

static ztWord classReads(const char *name) {
  Owned object(Box_ctor);
  return ztObject_of(object)->getProperty(object, name, "ztInt", nullptr);
}

TEST(StaticProperties, AreMadeAgainAfterTheClassWasFreed) {
  Owned box(Box_ctor);
  ztFreeClass("Box");
  EXPECT_EQ(Box_table()->staticProperties, nullptr);
  setProperty(box, "width", "ztInt", 8);
  EXPECT_EQ(intProperty(box, "width"), 8);
  EXPECT_EQ(allProperties(box), (Names{"refCount:0", "width:1", "area:2", "depth:3"}));
  // Registered again, with the map in place.
  void *prototype = Box_ctor(nullptr, 0);
  EXPECT_EQ(ztAddNewClass(prototype, "Box", Box_ctor, nullptr), 1);
  EXPECT_EQ(allProperties(box), (Names{"refCount:0", "width:1", "area:2", "depth:3"}));
  EXPECT_EQ(classReads("depth"), 1);
}

TEST(StaticProperties, AClassMapIsNotSharedWithItsAncestors) {
  Owned box(Box_ctor);
  Owned plain(Plain_ctor);
  EXPECT_NE(Box_table()->staticProperties, nullptr);
  EXPECT_NE(Box_table()->staticProperties, Plain_table()->staticProperties);
  EXPECT_NE(Box_table()->staticProperties, ztObject_table()->staticProperties);
  EXPECT_EQ(ztBaseClass_of(Box_table()->staticProperties)->getRefCount(Box_table()->staticProperties), 1);
}

TEST(StaticProperties, TheNameOfTheOwnerIsCut) {
  Owned late(Late_ctor);
  ztClass *klass = LateClass_Instance();
  const char *name = klass->name;
  for (size_t length : {102U, 103U, 104U, 3000U}) {
    const std::string longName(length, 'c');
    klass->name = longName.c_str();
    const std::string property = "p" + std::to_string(length);
    newIntProperty(late, property.c_str(), 6);
    EXPECT_EQ(propertyNamed(late, property.c_str())->ownerClassName, longName.substr(0, 103));
    EXPECT_EQ(intProperty(late, property.c_str()), 6);
  }
  klass->name = name;
}

// Change notification -----------------------------------------------------------------------------

static const char *const changed = "prop->signalname";

TEST(PropertyChange, IsAnnouncedToTheSlotsOfTheOneSignal) {
  const Diary empty;
  Owned object(ztObject_ctor);
  Listener *listener = newListener();
  connectTo(object, changed, listener, diarySlot<0>());
  newIntProperty(object, "level", 1);
  EXPECT_TRUE(diary.empty());
  setProperty(object, "level", "ztInt", -5);
  EXPECT_EQ(diary, (std::vector<Call>{{0, listener, object, -5}}));
  EXPECT_EQ(ztObject_of(listener)->getSender(listener), nullptr);
  // Announced also where nothing was stored.
  setProperty(object, "refCount", "ztInt", 9);
  EXPECT_EQ(diary.back(), (Call{0, listener, object, 9}));
  release(listener);
}

TEST(PropertyChange, IsNotAnnouncedUnderTheDeclaredNameNorAnyOther) {
  const Diary empty;
  Owned box(Box_ctor);
  Listener *listener = newListener();
  for (const char *name : {"widthChanged", "width", "prop->signalName", "prop->signalname "}) {
    connectTo(box, name, listener, diarySlot<0>());
  }
  setProperty(box, "width", "ztInt", 4);
  EXPECT_TRUE(diary.empty());
  connectTo(box, changed, listener, diarySlot<1>());
  setProperty(box, "width", "ztInt", 5);
  EXPECT_EQ(diary, (std::vector<Call>{{1, listener, box, 5}}));
  release(listener);
}

TEST(PropertyChange, HandsTheValueOfEachKind) {
  const Diary empty;
  registerAllPropertyTypes();
  Owned object(ztObject_ctor);
  Listener *listener = newListener();
  connectTo(object, changed, listener, diarySlot<0>());
  char text[] = "text";
  void *string = newString("string");
  const struct {
    const char *type;
    ztWord word;
    intptr_t first;
  } rows[] = {
      {"ztInt", 0x1FFFFFFFE, -2},
      {"ztBool", 1, 1},
      {"ztChar", 0x180, -128},
      {"ztCharPtr", wordOf(text), wordOf(text)},
      {"ztVoidPtr", wordOf(text + 1), wordOf(text + 1)},
      {"ztString", wordOf(static_cast<char *>(string)), wordOf(static_cast<char *>(string))},
  };
  for (const auto &row : rows) {
    setProperty(object, row.type, row.type, 0);
    diary.clear();
    setProperty(object, row.type, row.type, row.word);
    EXPECT_EQ(diary, (std::vector<Call>{{0, listener, object, row.first}})) << row.type;
  }
  release(string);
  release(listener);
}

static std::vector<double> numbers;

static void takeNumber(void *, double first) {
  numbers.push_back(first);
}

TEST(PropertyChange, HandsADoubleAsADouble) {
  registerAllPropertyTypes();
  Owned object(ztObject_ctor);
  Listener *listener = newListener();
  ztSlotFunction function;
  function.number1 = takeNumber;
  connectTo(object, changed, listener, function);
  setProperty(object, "ratio", "ztFloat", 0);
  numbers.clear();
  setProperty(object, "ratio", "ztFloat", ztWordOfDouble(1.25));
  EXPECT_EQ(numbers, std::vector<double>{1.25});
  release(listener);
}

TEST(PropertyChange, IsKeptBackWhileTheSignalIsBlocked) {
  const Diary empty;
  Owned object(ztObject_ctor);
  Listener *listener = newListener();
  connectTo(object, changed, listener, diarySlot<0>());
  EXPECT_EQ(ztObject_blockSignal(object, changed, 1), 1);
  newIntProperty(object, "level", 1);
  setProperty(object, "level", "ztInt", 2);
  EXPECT_TRUE(diary.empty());
  EXPECT_EQ(ztObject_blockSignal(object, changed, 0), 1);
  setProperty(object, "level", "ztInt", 3);
  EXPECT_EQ(diary.size(), 1U);
  EXPECT_EQ(ztObject_blockSignal(object, "noSuchSignal", 1), 0);
  EXPECT_EQ(ztObject_blockSignal(nullptr, changed, 1), 0);
  EXPECT_EQ(ztObject_blockSignal(object, nullptr, 1), 0);
  release(listener);
}

static void endObject(void *object, int32_t) {
  release(object);
}

TEST(PropertyChange, ASetterMayDestroyTheObject) {
  const Diary empty;
  static const ztSetter destroying = setterOf(endObject);
  Owned late(Late_ctor);
  Late_of(late)->addProperty(LateClass_Instance(), "destroying", "ztInt", noGetter, destroying, nullptr,
                             nullptr);
  Listener *listener = newListener();
  void *victim = Late_ctor(nullptr, 1);
  connectTo(victim, changed, listener, diarySlot<0>());
  EXPECT_EQ(setProperty(victim, "destroying", "ztInt", 1), 1);
  EXPECT_TRUE(diary.empty());
  release(listener);
}

// Signals and slots -------------------------------------------------------------------------------

TEST(Connection, AddSignalGivesTheSignalThatIsThere) {
  Owned object(ztObject_ctor);
  ztClass *klass = ztObjectClass_Instance();
  const ztObjectMethods *methods = ztObject_of(object);
  ztSignal *signal = methods->addSignal(klass, object, "changed", 2);
  ASSERT_NE(signal, nullptr);
  EXPECT_STREQ(textOf(signal->name), "changed");
  EXPECT_EQ(signal->argumentCount, 2U);
  EXPECT_EQ(signal->blocked, 0U);
  EXPECT_NE(signal->slots->allowDuplicate, 0U);
  EXPECT_EQ(ztSlotMap_of(signal->slots)->getSize(signal->slots), 0);
  EXPECT_EQ(methods->addSignal(klass, object, "changed", 4), signal);
  EXPECT_EQ(signal->argumentCount, 2U);
  ztSignal *other = methods->addSignal(klass, object, "other", 0);
  EXPECT_NE(other, signal);
  EXPECT_NE(other->slots, signal->slots);
  EXPECT_EQ(methods->addSignal(klass, object, nullptr, 0), nullptr);
  EXPECT_EQ(methods->addSignal(klass, nullptr, "changed", 0), nullptr);
}

TEST(Connection, TheSamePairIsAddedOnceWhateverTheName) {
  Owned object(ztObject_ctor);
  Owned receiver(ztObject_ctor);
  Owned other(ztObject_ctor);
  ztClass *klass = ztObjectClass_Instance();
  const ztObjectMethods *methods = ztObject_of(object);
  ztSignal *signal = methods->addSignal(klass, object, "changed", 1);
  EXPECT_EQ(methods->addSlot(klass, signal, receiver, "one", diarySlot<0>()), 1);
  EXPECT_EQ(methods->addSlot(klass, signal, receiver, "two", diarySlot<0>()), 0);
  EXPECT_EQ(methods->addSlot(klass, signal, receiver, "one", diarySlot<1>()), 1);
  EXPECT_EQ(methods->addSlot(klass, signal, other, "one", diarySlot<0>()), 1);
  EXPECT_EQ(methods->addSlot(klass, signal, other, nullptr, diarySlot<2>()), 1);
  EXPECT_EQ(ztSlotMap_of(signal->slots)->getSize(signal->slots), 4);
  EXPECT_EQ(methods->addSlot(klass, nullptr, receiver, "one", diarySlot<2>()), 0);
  EXPECT_EQ(methods->addSlot(klass, signal, nullptr, "one", diarySlot<2>()), 0);
  EXPECT_EQ(methods->addSlot(klass, signal, receiver, "one", ztSlotFunction{nullptr}), 0);
  EXPECT_EQ(ztSlotMap_of(signal->slots)->getSize(signal->slots), 4);
}

// Equal keys lie on both sides of each other in the tree: one way down meets a few of them.
TEST(Connection, DuplicatesAreFoundAmongManySlotsOfOneReceiver) {
  const std::vector<ztSlotFunction> functions = diarySlots<100>();
  Owned object(ztObject_ctor);
  const Owned<> receivers[3] = {Owned(ztObject_ctor), Owned(ztObject_ctor), Owned(ztObject_ctor)};
  for (const Owned<> &receiver : receivers) {
    for (ztSlotFunction function : functions) EXPECT_EQ(connectTo(object, "changed", receiver, function), 1);
  }
  for (const Owned<> &receiver : receivers) {
    for (ztSlotFunction function : functions) {
      EXPECT_EQ(connectTo(object, "changed", receiver, function), 0);
      EXPECT_TRUE(isConnected(object, "changed", receiver, function));
    }
  }
}

TEST(Connection, ConnectingTwiceGivesOneThenZero) {
  Owned sender(ztObject_ctor);
  Owned receiver(ztObject_ctor);
  EXPECT_FALSE(isConnected(sender, "changed", receiver, diarySlot<0>()));
  EXPECT_EQ(connectTo(sender, "changed", receiver, diarySlot<0>()), 1);
  EXPECT_EQ(connectTo(sender, "changed", receiver, diarySlot<0>()), 0);
  EXPECT_TRUE(isConnected(sender, "changed", receiver, diarySlot<0>()));
  EXPECT_FALSE(isConnected(sender, "changed", receiver, diarySlot<1>()));
  EXPECT_FALSE(isConnected(sender, "changed", sender, diarySlot<0>()));
  EXPECT_FALSE(isConnected(sender, "other", receiver, diarySlot<0>()));
  EXPECT_FALSE(isConnected(receiver, "changed", receiver, diarySlot<0>()));
}

static ztSlotFunction destroyedOf(const void *object) {
  ztSlotFunction function;
  function.object1 = ztObject_of(object)->destroyed;
  return function;
}

static int32_t slotCount(void *object, const char *name) {
  const ztSignal *signal = ztObject_of(object)->addSignal(ztOOP_classOf(object), object, name, 1);
  return ztSlotMap_of(signal->slots)->getSize(signal->slots);
}

TEST(Connection, BothEndsWatchEachOtherOnce) {
  Owned sender(ztObject_ctor);
  Owned receiver(Listener_ctor);
  connectTo(sender, "changed", receiver, diarySlot<0>());
  connectTo(sender, "changed", receiver, diarySlot<1>());
  connectTo(receiver, "changed", sender, diarySlot<0>());
  EXPECT_TRUE(isConnected(sender, "destroyed", receiver, destroyedOf(receiver)));
  EXPECT_TRUE(isConnected(receiver, "destroyed", sender, destroyedOf(sender)));
  EXPECT_EQ(slotCount(sender, "destroyed"), 1);
  EXPECT_EQ(slotCount(receiver, "destroyed"), 1);
}

TEST(Connection, AnObjectConnectedToItselfDoesNotWatchItself) {
  const Diary empty;
  void *object = ztObject_ctor(nullptr, 1);
  EXPECT_EQ(connectTo(object, "changed", object, diarySlot<0>()), 1);
  EXPECT_EQ(ztSignalMap_of(static_cast<ztObject *>(object)->signals)
                ->getSize(static_cast<ztObject *>(object)->signals),
            1);
  EXPECT_EQ(ztObject_emit(object, "changed", 3), 1);
  EXPECT_EQ(diary, (std::vector<Call>{{0, object, object, 3}}));
  ztObject_of(object)->destroyed(object, object);
  EXPECT_TRUE(isConnected(object, "changed", object, diarySlot<0>()));
  EXPECT_EQ(connectTo(object, "destroyed", object, diarySlot<1>()), 1);
  release(object);
  EXPECT_EQ(diary.back(), (Call{1, object, object, reinterpret_cast<intptr_t>(object)}));
}

// Connector: notes how `connect` reaches its steps.
#define Connector_FIELDS ztObject_FIELDS
#define Connector_METHODS ztObject_METHODS
ZT_DECLARE_CLASS(Connector)

static std::vector<std::string> steps;
static const void *stepSender;

static std::string nameOf(const void *object) {
  return object == stepSender ? "sender" : "receiver";
}

static ztSignal *connectorAddSignal(ztClass *klass, void *object, const char *name, uint32_t argumentCount) {
  steps.push_back("signal " + std::string(name) + "/" + std::to_string(argumentCount) + " on " +
                  nameOf(object));
  return ztObject_table()->addSignal(klass, object, name, argumentCount);
}

static int32_t connectorAddSlot(ztClass *klass, void *signal, void *receiver, const char *name,
                                ztSlotFunction function) {
  steps.push_back("slot " + std::string(name) + " of " + nameOf(receiver));
  return ztObject_table()->addSlot(klass, signal, receiver, name, function);
}

static void connectorMethods(ConnectorMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, addSignal, connectorAddSignal);
  ZT_OVERRIDE_METHOD(methods, addSlot, connectorAddSlot);
}

ZT_DEFINE_CLASS(Connector, ztObject, connectorMethods)

TEST(Connection, GoesThroughTheClassInTheStatedOrder) {
  Owned sender(Connector_ctor);
  Owned receiver(ztObject_ctor);
  stepSender = sender;
  steps.clear();
  EXPECT_EQ(connectTo(sender, "changed", receiver, diarySlot<0>(), 3), 1);
  EXPECT_EQ(steps, (std::vector<std::string>{"signal destroyed/1 on receiver", "slot destroyed of sender",
                                             "signal destroyed/1 on sender", "slot destroyed of receiver",
                                             "signal changed/3 on sender", "slot slot of receiver"}));
  steps.clear();
  EXPECT_EQ(connectTo(sender, "changed", sender, diarySlot<0>(), 0), 1);
  EXPECT_EQ(steps, (std::vector<std::string>{"signal changed/0 on sender", "slot slot of sender"}));
}

TEST(Connection, TakesNothingMissing) {
  Owned sender(ztObject_ctor);
  Owned receiver(ztObject_ctor);
  ztClass *klass = ztObjectClass_Instance();
  const ztObjectMethods *methods = ztObject_table();
  const ztSlotFunction function = diarySlot<0>();
  EXPECT_EQ(methods->connect(nullptr, sender, "s", receiver, "slot", function, 1), 0);
  EXPECT_EQ(methods->connect(klass, nullptr, "s", receiver, "slot", function, 1), 0);
  EXPECT_EQ(methods->connect(klass, sender, nullptr, receiver, "slot", function, 1), 0);
  EXPECT_EQ(methods->connect(klass, sender, "s", nullptr, "slot", function, 1), 0);
  EXPECT_EQ(methods->connect(klass, sender, "s", receiver, "slot", ztSlotFunction{nullptr}, 1), 0);
  for (void *object : {static_cast<void *>(sender), static_cast<void *>(receiver)}) {
    const ztSignalMap *signals = static_cast<ztObject *>(object)->signals;
    EXPECT_EQ(ztSignalMap_of(signals)->getSize(signals), 0);
  }
  EXPECT_EQ(methods->connect(klass, sender, "s", receiver, nullptr, function, 1), 1);
  EXPECT_EQ(methods->connectionExist(klass, nullptr, "s", receiver, function), 0);
  EXPECT_EQ(methods->connectionExist(klass, sender, nullptr, receiver, function), 0);
  EXPECT_EQ(methods->connectionExist(klass, sender, "s", nullptr, function), 0);
  EXPECT_EQ(methods->connectionExist(klass, sender, "s", receiver, ztSlotFunction{nullptr}), 0);
  EXPECT_EQ(methods->connectionExist(nullptr, sender, "s", receiver, function), 1);
  methods->destroyed(nullptr, sender);
  methods->destroyed(sender, nullptr);
  EXPECT_EQ(methods->connectionExist(klass, sender, "s", receiver, function), 1);
}

TEST(Connection, LongNamesAreKept) {
  const Diary empty;
  Owned sender(ztObject_ctor);
  Owned receiver(ztObject_ctor);
  const std::string name(10000, 's');
  EXPECT_EQ(connectTo(sender, name.c_str(), receiver, diarySlot<0>()), 1);
  EXPECT_TRUE(isConnected(sender, name.c_str(), receiver, diarySlot<0>()));
  EXPECT_FALSE(isConnected(sender, name.substr(1).c_str(), receiver, diarySlot<0>()));
  EXPECT_EQ(ztObject_emit(sender, name.c_str(), 1), 1);
}

namespace {

// A text of 2 GiB that takes little memory: the same piece of a file again and again.
class HugeText {
 public:
  HugeText() {
    FILE *file = tmpfile();
    const std::string piece(pieceSize, 'x');
    const bool isThere = file != nullptr && fwrite(piece.data(), 1, pieceSize, file) == pieceSize;
    // One page more, which stays zero.
    address = mmap(nullptr, size + 1, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    isComplete = isThere && fflush(file) == 0 && address != MAP_FAILED;
    for (size_t at = 0; isComplete && at < size; at += pieceSize) {
      char *place = static_cast<char *>(address) + at;
      isComplete = mmap(place, pieceSize, PROT_READ, MAP_PRIVATE | MAP_FIXED, fileno(file), 0) == place;
    }
    if (file != nullptr) fclose(file);
  }
  ~HugeText() {
    if (address != MAP_FAILED) munmap(address, size + 1);
  }
  HugeText(const HugeText &) = delete;
  HugeText &operator=(const HugeText &) = delete;

  // NULL where the system has no room for it.
  const char *get() const {
    return isComplete ? static_cast<const char *>(address) : nullptr;
  }

 private:
  static constexpr size_t pieceSize = size_t{1} << 20;
  static constexpr size_t size = size_t{1} << 31;

  void *address;
  bool isComplete;
};

}  // namespace

TEST(Connection, NamesThatNoStringHoldsAreRefused) {
  if (scale(2) < 2) GTEST_SKIP() << "it takes too long here";
  const HugeText name;
  if (name.get() == nullptr) GTEST_SKIP() << "there is no room for such a name";
  Owned object(ztObject_ctor);
  EXPECT_EQ(ztObject_of(object)->addSignal(ztObjectClass_Instance(), object, name.get(), 1), nullptr);
  const int32_t level = 1;
  EXPECT_EQ(setProperty(object, name.get(), "ztInt", wordOf(&level)), 0);
  const ztSignalMap *signals = static_cast<ztObject *>(static_cast<void *>(object))->signals;
  EXPECT_EQ(ztSignalMap_of(signals)->getSize(signals), 0);
  EXPECT_EQ(dynamicProperties(object), Names{});
}

TEST(Connection, DestroyedDropsEverySlotAimedAtTheDyingObject) {
  Owned object(ztObject_ctor);
  Owned peer(ztObject_ctor);
  Owned other(ztObject_ctor);
  const std::vector<ztSlotFunction> functions = diarySlots<20>();
  for (const char *signal : {"one", "two"}) {
    for (ztSlotFunction function : functions) {
      connectTo(object, signal, peer, function);
      connectTo(object, signal, other, function);
    }
  }
  ztObject_of(object)->destroyed(object, peer);
  for (const char *signal : {"one", "two"}) {
    EXPECT_EQ(slotCount(object, signal), 20);
    for (ztSlotFunction function : functions) {
      EXPECT_FALSE(isConnected(object, signal, peer, function));
      EXPECT_TRUE(isConnected(object, signal, other, function));
    }
  }
  EXPECT_FALSE(isConnected(object, "destroyed", peer, destroyedOf(peer)));
}

TEST(Connection, AReceiverThatGoesIsForgotten) {
  const Diary empty;
  Owned sender(ztObject_ctor);
  Listener *receiver = newListener();
  connectTo(sender, "changed", receiver, diarySlot<0>());
  const void *address = receiver;
  release(receiver);
  EXPECT_FALSE(isConnected(sender, "changed", address, diarySlot<0>()));
  EXPECT_EQ(ztObject_emit(sender, "changed", 1), 0);
  EXPECT_EQ(slotCount(sender, "destroyed"), 0);
  EXPECT_TRUE(diary.empty());
}

TEST(Connection, ASenderThatGoesIsForgotten) {
  Listener *sender = newListener();
  Owned receiver(ztObject_ctor);
  connectTo(sender, "changed", receiver, diarySlot<0>());
  release(sender);
  EXPECT_EQ(slotCount(receiver, "destroyed"), 0);
}

// However a host has set up the signal that tells the peers.
TEST(Connection, APeerThatGoesIsForgottenAlsoWhenItsSignalTellsNobody) {
  const Diary empty;
  for (uint32_t argumentCount : {0U, 1U, 4U, 5U, 255U, 256U}) {
    for (uint32_t blocked : {0U, 1U}) {
      Owned sender(ztObject_ctor);
      Listener *receiver = newListener();
      ztObject_of(receiver)->addSignal(ListenerClass_Instance(), receiver, "destroyed", argumentCount);
      connectTo(sender, "changed", receiver, diarySlot<0>());
      ztObject_blockSignal(receiver, "destroyed", blocked);
      const void *address = receiver;
      release(receiver);
      EXPECT_FALSE(isConnected(sender, "changed", address, diarySlot<0>())) << argumentCount << blocked;
      EXPECT_EQ(slotCount(sender, "destroyed"), 0);
    }
  }
}

TEST(Connection, DisconnectTakesOneAndKeepsTheOrderOfTheOthers) {
  const std::vector<ztSlotFunction> functions = diarySlots<12>();
  for (size_t removed = 0; removed < functions.size(); ++removed) {
    const Diary empty;
    Owned sender(ztObject_ctor);
    Owned receiver(ztObject_ctor);
    Owned other(ztObject_ctor);
    for (ztSlotFunction function : functions) {
      connectTo(sender, "changed", receiver, function);
      connectTo(sender, "changed", other, function);
    }
    EXPECT_EQ(ztObject_disconnect(sender, "changed", receiver, functions[removed]), 1);
    EXPECT_EQ(ztObject_disconnect(sender, "changed", receiver, functions[removed]), 0);
    EXPECT_FALSE(isConnected(sender, "changed", receiver, functions[removed]));
    ztObject_emit(sender, "changed", 0);
    std::vector<int> expected;
    std::vector<int> called;
    for (int slot = 11; slot >= 0; --slot) {
      if (static_cast<size_t>(slot) != removed) expected.push_back(slot);
    }
    for (const Call &call : diary) {
      if (call.receiver == receiver) called.push_back(call.slot);
    }
    EXPECT_EQ(called, expected) << removed;
    EXPECT_EQ(diary.size(), 23U);
    EXPECT_EQ(connectTo(sender, "changed", receiver, functions[removed]), 1);
  }
}

TEST(Connection, DisconnectInAMapThatAHostGaveAnotherOrderLosesNoSlot) {
  const Diary empty;
  Owned sender(ztObject_ctor);
  Owned receiver(ztObject_ctor);
  const std::vector<ztSlotFunction> functions = diarySlots<5>();
  for (ztSlotFunction function : functions) connectTo(sender, "changed", receiver, function);
  ztClass *klass = ztOOP_classOf(sender);
  ztSlotMap *slots = ztObject_of(sender)->addSignal(klass, sender, "changed", 1)->slots;
  const auto *methods = ztSlotMap_of(slots);
  const ztCompareFunc order = slots->compareFunction;
  methods->setCompareFunction(slots, [](const void *, const void *) { return 1; });
  for (ztSlotFunction function : functions) ztObject_disconnect(sender, "changed", receiver, function);
  methods->setCompareFunction(slots, order);
  ztObject_emit(sender, "changed", 0);
  std::vector<int> called;
  for (const Call &call : diary) called.push_back(call.slot);
  std::sort(called.begin(), called.end());
  EXPECT_EQ(called, (std::vector<int>{0, 1, 2, 3, 4}));
}

TEST(Connection, DisconnectOfWhatIsNotConnectedDoesNothing) {
  Owned sender(ztObject_ctor);
  Owned receiver(ztObject_ctor);
  const ztSlotFunction function = diarySlot<0>();
  connectTo(sender, "changed", receiver, function);
  EXPECT_EQ(ztObject_disconnect(nullptr, "changed", receiver, function), 0);
  EXPECT_EQ(ztObject_disconnect(sender, nullptr, receiver, function), 0);
  EXPECT_EQ(ztObject_disconnect(sender, "other", receiver, function), 0);
  EXPECT_EQ(ztObject_disconnect(sender, "changed", nullptr, function), 0);
  EXPECT_EQ(ztObject_disconnect(sender, "changed", sender, function), 0);
  EXPECT_EQ(ztObject_disconnect(sender, "changed", receiver, diarySlot<1>()), 0);
  EXPECT_EQ(ztObject_disconnect(sender, "changed", receiver, ztSlotFunction{nullptr}), 0);
  EXPECT_TRUE(isConnected(sender, "changed", receiver, function));
}

TEST(Connection, ABlockedEndCallsNoSlotAndIsForgotten) {
  const Diary empty;
  Owned sender(ztObject_ctor);
  Listener *dying = newListener();
  connectTo(dying, "changed", sender, diarySlot<0>());
  connectTo(dying, "destroyed", sender, diarySlot<1>());
  ztObject_blockSignal(dying, "destroyed", 1);
  EXPECT_EQ(slotCount(sender, "destroyed"), 1);
  release(dying);
  EXPECT_TRUE(diary.empty());
  EXPECT_EQ(slotCount(sender, "destroyed"), 0);
}

// A host may put slots into the map of a signal itself, under a key that is another than the receiver.
TEST(Connection, ASlotUnderAForeignKeyIsNoneOfTheKeys) {
  Owned sender(ztObject_ctor);
  Owned receiver(ztObject_ctor);
  Owned other(ztObject_ctor);
  ztSignal *signal = ztObject_of(sender)->addSignal(ztObjectClass_Instance(), sender, "changed", 1);
  auto *slot = static_cast<ztSlot *>(ztSlot_ctor(nullptr, 1));
  slot->receiver = other;
  slot->function = diarySlot<0>();
  ASSERT_NE(ztSlotMap_of(signal->slots)->pushBack(signal->slots, receiver, slot), nullptr);
  release(slot);
  EXPECT_FALSE(isConnected(sender, "changed", receiver, diarySlot<0>()));
  EXPECT_FALSE(isConnected(sender, "changed", other, diarySlot<0>()));
  EXPECT_EQ(ztObject_disconnect(sender, "changed", receiver, diarySlot<0>()), 0);
}

// Signals that a host put into the map of an object itself have no map of slots.

static void putSignalWithoutSlots(void *object, const char *name) {
  void *key = newString(name);
  void *signal = ztSignal_ctor(nullptr, 1);
  ztString_of(static_cast<ztSignal *>(signal)->name)->set(static_cast<ztSignal *>(signal)->name, name);
  ztSignalMap *signals = static_cast<ztObject *>(object)->signals;
  EXPECT_NE(ztSignalMap_of(signals)->pushBack(signals, key, signal), nullptr);
  release(signal);
  release(key);
}

TEST(Connection, ASignalWithoutSlotsTakesNone) {
  const Diary empty;
  Owned sender(ztObject_ctor);
  Owned receiver(ztObject_ctor);
  putSignalWithoutSlots(sender, "changed");
  EXPECT_EQ(connectTo(sender, "changed", receiver, diarySlot<0>()), 0);
  EXPECT_FALSE(isConnected(sender, "changed", receiver, diarySlot<0>()));
  EXPECT_EQ(ztObject_disconnect(sender, "changed", receiver, diarySlot<0>()), 0);
  EXPECT_EQ(ztObject_emit(sender, "changed", 1), 0);
  ztObject_of(sender)->destroyed(sender, receiver);
  EXPECT_TRUE(diary.empty());
}

TEST(Connection, ASignalWhoseSlotsWereEndedHasNone) {
  const Diary empty;
  Owned sender(ztObject_ctor);
  Owned receiver(ztObject_ctor);
  connectTo(sender, "changed", receiver, diarySlot<0>());
  ztSignal *signal = ztObject_of(sender)->addSignal(ztObjectClass_Instance(), sender, "changed", 1);
  ztSlotMap_of(signal->slots)->destroy(signal->slots);
  EXPECT_FALSE(isConnected(sender, "changed", receiver, diarySlot<0>()));
  EXPECT_EQ(connectTo(sender, "changed", receiver, diarySlot<0>()), 0);
  EXPECT_EQ(ztObject_emit(sender, "changed", 1), 0);
  EXPECT_TRUE(diary.empty());
}

// A map of a host's that says it has more slots than memory could hold.
#define BoundlessMap_FIELDS ztSlotMap_FIELDS
#define BoundlessMap_METHODS ztSlotMap_METHODS
ZT_DECLARE_CLASS(BoundlessMap)

static int32_t boundlessGetSize(const void *) {
  return INT32_MAX;
}

static void boundlessMethods(BoundlessMapMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, getSize, boundlessGetSize);
}

ZT_DEFINE_CLASS(BoundlessMap, ztSlotMap, boundlessMethods)

TEST(Connection, TheSlotsThatAMapHoldsAreCalledWhateverNumberItGives) {
  const Diary empty;
  Owned sender(ztObject_ctor);
  Owned receiver(ztObject_ctor);
  connectTo(sender, "changed", receiver, diarySlot<0>());
  ztSignal *signal = ztObject_of(sender)->addSignal(ztObjectClass_Instance(), sender, "changed", 1);
  ztClass *own = signal->slots->klass;
  release(BoundlessMap_ctor(nullptr, 1));
  signal->slots->klass = BoundlessMapClass_Instance();
  EXPECT_EQ(ztObject_emit(sender, "changed", 1), 1);
  EXPECT_EQ(diary.size(), 1U);
  signal->slots->klass = own;
  EXPECT_EQ(ztObject_emit(sender, "changed", 1), 1);
  EXPECT_EQ(diary.size(), 2U);
}

TEST(Connection, AnEndThatCannotBeToldRefusesTheConnection) {
  Owned sender(ztObject_ctor);
  Owned receiver(ztObject_ctor);
  putSignalWithoutSlots(receiver, "destroyed");
  EXPECT_EQ(connectTo(sender, "changed", receiver, diarySlot<0>()), 0);
  EXPECT_EQ(connectTo(receiver, "changed", sender, diarySlot<0>()), 0);
  EXPECT_FALSE(isConnected(sender, "changed", receiver, diarySlot<0>()));
  EXPECT_FALSE(isConnected(receiver, "changed", sender, diarySlot<0>()));
}

// The connection dump -----------------------------------------------------------------------------

static std::string lineOf(const char *slot, const void *receiver, const char *className) {
  char line[200];
  snprintf(line, sizeof line, "\tSlot '%s' - Receiver: 0x%" PRIx32 " (Class: %s)\n", slot,
           static_cast<uint32_t>(reinterpret_cast<uintptr_t>(receiver)), className);
  return line;
}

static std::string dumpOf(void *object) {
  const TempFolder folder;
  const std::string path = folder.path("connections");
  ztObject_of(object)->printConnections(ztOOP_classOf(object), object, path.c_str());
  return contentsOf(path);
}

TEST(ConnectionDump, ListsSignalsAndSlotsInMapOrder) {
  Owned sender(Listener_ctor);
  Owned one(ztObject_ctor);
  Owned other(Late_ctor);
  const auto connectAs = [&](const char *signal, void *receiver, const char *slot, ztSlotFunction function) {
    ztObject_of(sender)->connect(ListenerClass_Instance(), sender, signal, receiver, slot, function, 1);
  };
  ztObject_of(sender)->addSignal(ListenerClass_Instance(), sender, "zebra", 1);
  connectAs("changed", one, "older", diarySlot<0>());
  connectAs("changed", one, "newer", diarySlot<1>());
  connectAs("changed", other, "take", diarySlot<0>());
  const bool oneFirst = static_cast<void *>(one) < static_cast<void *>(other);
  const std::string ofOne = lineOf("newer", one, "ztObject") + lineOf("older", one, "ztObject");
  const std::string ofOther = lineOf("take", other, "Late");
  const std::string linkOne = lineOf("destroyed", one, "ztObject");
  const std::string linkOther = lineOf("destroyed", other, "Late");
  EXPECT_EQ(dumpOf(sender),
            "# Connections for class 'Listener'\n"
            "- Slots for signal 'changed'\n" +
                (oneFirst ? ofOne + ofOther : ofOther + ofOne) + "- Slots for signal 'destroyed'\n" +
                (oneFirst ? linkOne + linkOther : linkOther + linkOne) + "- Slots for signal 'zebra'\n");
}

TEST(ConnectionDump, NamesTheClassThatIsHanded) {
  const TempFolder folder;
  Owned object(Listener_ctor);
  ztObject_of(object)->printConnections(ztObjectClass_Instance(), object, folder.path("out").c_str());
  EXPECT_EQ(contentsOf(folder.path("out")), "# Connections for class 'ztObject'\n");
}

TEST(ConnectionDump, ListsASignalThatHasNoSlots) {
  Owned object(ztObject_ctor);
  putSignalWithoutSlots(object, "bare");
  EXPECT_EQ(dumpOf(object), "# Connections for class 'ztObject'\n- Slots for signal 'bare'\n");
}

TEST(ConnectionDump, OfAnEndedObjectListsNothing) {
  alignas(ztObject) char memory[sizeof(ztObject)];
  void *object = ztObject_ctor(memory, 1);
  ztObject_of(object)->addSignal(ztObjectClass_Instance(), object, "changed", 1);
  ztObject_of(object)->destroy(object);
  EXPECT_EQ(dumpOf(object), "# Connections for class 'ztObject'\n");
}

TEST(ConnectionDump, CutsLinesThatAreTooLong) {
  Owned object(ztObject_ctor);
  const std::string name(1000, 's');
  ztObject_of(object)->addSignal(ztObjectClass_Instance(), object, name.c_str(), 1);
  const std::string line = ("- Slots for signal '" + name).substr(0, 511);
  EXPECT_EQ(dumpOf(object), "# Connections for class 'ztObject'\n" + line + "\n");
}

TEST(ConnectionDump, ReplacesTheFileAndNeedsOne) {
  const TempFolder folder;
  Owned object(ztObject_ctor);
  ztClass *klass = ztObjectClass_Instance();
  const ztObjectMethods *methods = ztObject_of(object);
  writeContents(folder.path("out"), std::string(5000, 'x'));
  methods->printConnections(klass, object, folder.path("out").c_str());
  EXPECT_EQ(contentsOf(folder.path("out")), "# Connections for class 'ztObject'\n");
  methods->printConnections(klass, object, folder.path("no/such/folder").c_str());
  methods->printConnections(klass, object, folder.path().c_str());
  methods->printConnections(klass, object, nullptr);
  methods->printConnections(nullptr, object, folder.path("none").c_str());
  methods->printConnections(klass, nullptr, folder.path("none").c_str());
  EXPECT_EQ(contentsOf(folder.path("none")), "");
}
