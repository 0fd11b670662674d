#include "objects/ztobject.h"

#include "core/ztcore.h"
#include "tests/helpers/faults.hh"
#include "tests/helpers/scale.hh"
#include "tests/helpers/temp_folder.hh"
#include "tests/objects/listeners.hh"

#include <gtest/gtest.h>

#include <inttypes.h>
#include <stdio.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

// Classes with static properties: Box derives from Shape, which no object is ever made of; Plain from
// Box, with no declarations of its own.
#define Shape_FIELDS \
  ztObject_FIELDS    \
  int32_t width;
#define Shape_METHODS ztObject_METHODS
ZT_DECLARE_CLASS(Shape)
#define Box_FIELDS Shape_FIELDS
#define Box_METHODS Shape_METHODS
ZT_DECLARE_CLASS(Box)
#define Plain_FIELDS Box_FIELDS
#define Plain_METHODS Box_METHODS
ZT_DECLARE_CLASS(Plain)

// Declares a "ztInt" property.
static int32_t declare(ztClass *klass, const char *name, ztGetter getter = noGetter,
                       ztSetter setter = noSetter, void *userWord = nullptr, const char *signal = nullptr) {
  return ztObject_table()->addProperty(klass, name, "ztInt", getter, setter, userWord, signal);
}

static int32_t shapeWidth(const void *shape) {
  return static_cast<const Shape *>(shape)->width;
}

static void shapeSetWidth(void *shape, int32_t width) {
  static_cast<Shape *>(shape)->width = width;
}

static int32_t shapeMarker;

static int32_t shapeInitProperties(ztClass *klass) {
  declare(klass, "width", getterOf(shapeWidth), setterOf(shapeSetWidth), &shapeMarker, "widthChanged");
  return declare(klass, "area", getterOf(shapeWidth));
}

static int32_t boxInitProperties(ztClass *klass) {
  declare(klass, "width");  // Inherited, so refused.
  return declare(klass, "depth");
}

ZT_DEFINE_CLASS(Shape, ztObject,
                [](auto *methods) { ZT_OVERRIDE_METHOD(methods, initProperties, shapeInitProperties); })
ZT_DEFINE_CLASS(Box, Shape,
                [](auto *methods) { ZT_OVERRIDE_METHOD(methods, initProperties, boxInitProperties); })
ZT_DEFINE_CLASS(Plain, Box, noMethods)

// Its slot of declarations is empty.
#define Silent_FIELDS ztObject_FIELDS
#define Silent_METHODS ztObject_METHODS
ZT_DECLARE_CLASS(Silent)
ZT_DEFINE_CLASS(Silent, ztObject, [](auto *methods) { methods->initProperties = nullptr; })

// Tests declare properties of it.
#define Late_FIELDS ztObject_FIELDS
#define Late_METHODS ztObject_METHODS
ZT_DECLARE_CLASS(Late)
ZT_DEFINE_CLASS(Late, ztObject, noMethods)

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

namespace {

// The properties that an array was filled with, as "owner.name:index".
using Names = std::vector<std::string>;
using PropertyList = Owned<ztPropertyPtrArray, ztPropertyPtrArrayMethods>;

const ztProperty *propertyAt(const PropertyList &list, int32_t index) {
  return static_cast<const ztProperty *>(list->getAt(list, index));
}

Names namesIn(const PropertyList &list) {
  Names names;
  for (int32_t i = 0; i < list->getSize(list); ++i) {
    const ztProperty *property = propertyAt(list, i);
    names.push_back(property->ownerClassName + std::string(".") + textOf(property->name) + ":" +
                    std::to_string(property->index));
  }
  return names;
}

const Names ofAnyObject{"ztObject.refCount:0"};

Names listed(const void *object, decltype(ztObjectMethods::getProperties) list) {
  const PropertyList properties(ztPropertyPtrArray_ctor);
  EXPECT_EQ(list(object, properties), 1);
  return namesIn(properties);
}

Names allProperties(const void *object) {
  return listed(object, ztObject_of(object)->getProperties);
}

Names dynamicProperties(const void *object) {
  return listed(object, ztObject_of(object)->getDynamicProperties);
}

const ztProperty *propertyNamed(const void *object, const char *name) {
  const PropertyList list(ztPropertyPtrArray_ctor);
  ztObject_of(object)->getProperties(object, list);
  int32_t at = list->getSize(list) - 1;
  while (at >= 0 && strcmp(textOf(propertyAt(list, at)->name), name) != 0) --at;
  return at < 0 ? nullptr : propertyAt(list, at);
}

template <typename Value>
Value valueOf(const void *object, const char *name) {
  Value value{};
  EXPECT_EQ(ztObject_of(object)->getProperty(const_cast<void *>(object), name, "any", &value), 1) << name;
  return value;
}

int32_t signalCount(const void *object) {
  const ztSignalMap *signals = static_cast<const ztObject *>(object)->signals;
  return ztSignalMap_of(signals)->getSize(signals);
}

int32_t slotCount(void *object, const char *name) {
  const ztSignal *signal = addSignal(object, name);
  return ztSlotMap_of(signal->slots)->getSize(signal->slots);
}

// Life --------------------------------------------------------------------------------------------

using ztObjectLife = ListenerTest;

TEST_F(ztObjectLife, ClassDestroyIsTheClasssAndHarmless) {
  static_cast<const ztClassFunctions *>(ztObjectClass_Instance()->classTable)->classDestroy(nullptr);
  EXPECT_EQ(intProperty(Object(), "refCount"), 1);
}

TEST_F(ztObjectLife, DestroyClearsTheReservedWordOfItsClass) {
  auto *methods = static_cast<ListenerMethods *>(ListenerClass_Instance()->methodTable);
  release(newListener());
  methods->reserved = &listenersLive;
  Listener *listener = newListener();
  EXPECT_EQ(methods->reserved, &listenersLive);
  release(listener);
  EXPECT_EQ(methods->reserved, nullptr);
  EXPECT_EQ(ztObject_table()->reserved, nullptr);
}

TEST_F(ztObjectLife, CloneCopiesDynamicPropertiesButNoConnections) {
  const Object object(Listener_ctor);
  const Object peer(Listener_ctor);
  newIntProperty(object, "level", 3);
  connectTo(object, "changed", peer, diarySlot<0>());
  object.fields().sender = peer;
  {
    const auto copy = object.copy();
    EXPECT_EQ(copy.fields().sender, nullptr);
    EXPECT_NE(copy.fields().signals, object.fields().signals);
    EXPECT_EQ(signalCount(copy), 0);
    setProperty(copy, "level", "ztInt", 4);
    EXPECT_EQ(intProperty(object, "level"), 3);
    EXPECT_EQ(intProperty(copy, "level"), 4);
  }
  EXPECT_TRUE(isConnected(object, "changed", peer, diarySlot<0>()));
}

TEST_F(ztObjectLife, CloneOfAnEndedObjectHasNoPropertiesOfItsOwn) {
  const Object object;
  newIntProperty(object, "level", 3);
  object->destroy(object);
  EXPECT_EQ(object.fields().signals, nullptr);
  const auto copy = object.copy();
  EXPECT_EQ(copy.fields().dynamicProperties, nullptr);
  EXPECT_EQ(allProperties(copy), ofAnyObject);
  EXPECT_EQ(setProperty(copy, "level", "ztInt", 0), 0);
  EXPECT_NE(addSignal(copy, "changed"), nullptr);
}

// And its parts.
TEST_F(ztObjectLife, NeedsAnObjectAndATarget) {
  for (const ztCtor constructor : {ztObject_ctor, ztSignal_ctor, ztSlot_ctor, ztProperty_ctor}) {
    const Owned object(constructor);
    EXPECT_EQ(object->create(nullptr), 0);
    EXPECT_EQ(object->clone(nullptr, object), nullptr);
    EXPECT_EQ(object->clone(object, nullptr), nullptr);
    object->destroy(nullptr);
  }
}

// Whichever part could not be made.
TEST_F(ztObjectLife, AHalfMadeObjectIsOneThatDoesLess) {
  exhaustMemoryIn([] {
    void *objects[] = {ztObject_ctor(nullptr, 1), ztObject_ctor(nullptr, 1)};
    auto &[sender, receiver] = objects;
    if (sender != nullptr && receiver != nullptr) {
      const int32_t level = 3;
      setProperty(sender, "level", "ztInt", wordOf(&level));
      ztObject_of(sender)->getProperty(sender, "level", "ztInt", nullptr);
      addSignal(sender, "other");
      const int32_t made = connectTo(sender, "changed", receiver, diarySlot<0>());
      EXPECT_EQ(isConnected(sender, "changed", receiver, diarySlot<0>()), made == 1);
      ztObject_of(sender)->destroyed(sender, sender);
      release(receiver);
      EXPECT_FALSE(isConnected(sender, "changed", receiver, diarySlot<0>()));
      EXPECT_EQ(ztObject_emit(sender, "changed", 1), 0);
      receiver = nullptr;
    }
    for (void *object : objects) {
      if (object != nullptr) release(object);
    }
  });
}

// Properties --------------------------------------------------------------------------------------

class ztObjectProperties : public testing::Test {
 protected:
  const Object object;
};

TEST_F(ztObjectProperties, OfANewObjectAreItsReferenceCount) {
  EXPECT_EQ(allProperties(object), ofAnyObject);
  EXPECT_EQ(intProperty(object, "refCount"), 1);
  object->ref(object);
  object->ref(object);
  EXPECT_EQ(intProperty(object, "refCount"), 3);
  object.fields().refCount = 1;
  // Setting it stores nothing.
  EXPECT_EQ(setProperty(object, "refCount", "ztInt", 50), 1);
  EXPECT_EQ(intProperty(object, "refCount"), 1);
  EXPECT_EQ(allProperties(object), ofAnyObject);
  const ztProperty *property = propertyNamed(object, "refCount");
  EXPECT_EQ(property->type, ztIntPropertyTypeClass_Instance());
  EXPECT_EQ(property->getter.getInt, ztObject_table()->getRefCount);
  EXPECT_EQ(property->setter.setInt, nullptr);
  EXPECT_EQ(property->userWord, nullptr);
  EXPECT_STREQ(textOf(property->signalName), "");
}

TEST_F(ztObjectProperties, AnUnknownNameMakesADynamicOneBehindTheStaticOnes) {
  newIntProperty(object, "zeta", 1);
  newIntProperty(object, "alpha", 2);
  EXPECT_EQ(allProperties(object), (Names{"ztObject.refCount:0", "ztObject.zeta:1", "ztObject.alpha:2"}));
  EXPECT_EQ(listed(object, object->getStaticProperties), ofAnyObject);
  EXPECT_EQ(dynamicProperties(object), (Names{"ztObject.zeta:1", "ztObject.alpha:2"}));
  const ztProperty *property = propertyNamed(object, "zeta");
  EXPECT_EQ(ztProperty_of(property)->isDynamic(property), 1);
  EXPECT_EQ(property->getter.getInt, nullptr);
  EXPECT_EQ(property->setter.setInt, nullptr);
  EXPECT_EQ(property->userWord, nullptr);
  EXPECT_STREQ(textOf(property->signalName), "");
  EXPECT_EQ(allProperties(Object()), ofAnyObject);
}

// The creating call takes the address of the value, later ones the value.
TEST_F(ztObjectProperties, TheValueWordIsReadInTwoWays) {
  const int32_t initial = 11;
  EXPECT_EQ(setProperty(object, "level", "ztInt", wordOf(&initial)), 1);
  EXPECT_EQ(intProperty(object, "level"), 11);
  EXPECT_EQ(setProperty(object, "level", "ztInt", 12), 1);
  EXPECT_EQ(intProperty(object, "level"), 12);
  // As an address it would be followed.
  EXPECT_EQ(setProperty(object, "level", "ztInt", wordOf(&initial)), 1);
  EXPECT_EQ(intProperty(object, "level"), static_cast<int32_t>(wordOf(&initial)));
}

TEST_F(ztObjectProperties, NoInitialValueGivesZeroAndTheEmptyText) {
  registerAllPropertyTypes();
  for (const char *type : {"ztInt", "ztChar", "ztCharPtr", "ztBool", "ztFloat", "ztVoidPtr"}) {
    EXPECT_EQ(setProperty(object, type, type, 0), 1);
    EXPECT_EQ(valueOf<int64_t>(object, type), 0) << type;
  }
  EXPECT_EQ(setProperty(object, "text", "ztString", 0), 1);
  EXPECT_STREQ(textOf(valueOf<void *>(object, "text")), "");
}

// Makes one that bears the name of its type.
template <typename Value>
void expectMade(void *object, const char *type, Value initial) {
  EXPECT_EQ(setProperty(object, type, type, wordOf(&initial)), 1) << type;
  EXPECT_EQ(valueOf<Value>(object, type), initial) << type;
}

TEST_F(ztObjectProperties, EveryKindWorksAsADynamicOne) {
  registerAllPropertyTypes();
  expectMade<signed char>(object, "ztChar", -4);
  expectMade<double>(object, "ztFloat", 0.25);
  expectMade<const char *>(object, "ztCharPtr", "text");
  expectMade<const void *>(object, "ztVoidPtr", &object);
  expectMade<int32_t>(object, "ztBool", 1);
  setProperty(object, "ztChar", "ztChar", 'q');
  EXPECT_EQ(valueOf<signed char>(object, "ztChar"), 'q');
  setProperty(object, "ztFloat", "ztFloat", ztWordOfDouble(-8.5));
  EXPECT_EQ(valueOf<double>(object, "ztFloat"), -8.5);
  {
    const String string("first");
    setProperty(object, "string", "ztString", wordOf(string));
    string->set(string, "second");
    EXPECT_STREQ(textOf(valueOf<void *>(object, "string")), "first");
    setProperty(object, "string", "ztString", wordOf(string));
  }
  EXPECT_STREQ(textOf(valueOf<void *>(object, "string")), "second");
  EXPECT_EQ(dynamicProperties(object),
            (Names{"ztObject.ztChar:1", "ztObject.ztFloat:2", "ztObject.ztCharPtr:3", "ztObject.ztVoidPtr:4",
                   "ztObject.ztBool:5", "ztObject.string:6"}));
}

// Whatever the kind, and whichever of its parts could not be made.
TEST_F(ztObjectProperties, AreMadeWholeOrNotAtAllWhenMemoryIsExhausted) {
  registerAllPropertyTypes();
  const String text("a text that is longer than a new string's buffer");
  const int64_t zero = 0;
  for (const char *type : {"ztInt", "ztChar", "ztCharPtr", "ztBool", "ztFloat", "ztVoidPtr", "ztString"}) {
    const bool isString = strcmp(type, "ztString") == 0;
    exhaustMemoryIn([&] {
      const int32_t made = setProperty(object, type, type, isString ? wordOf(text) : wordOf(&zero));
      void *out = nullptr;
      EXPECT_EQ(object->getProperty(object, type, type, &out), made);
      EXPECT_STREQ(made && isString ? textOf(out) : textOf(text), textOf(text));
      ztPropertyMap *map = object.fields().dynamicProperties;
      ztPropertyMap_of(map)->empty(map);
    });
  }
}

TEST_F(ztObjectProperties, TheTypeOfAKnownNameIsNotLookedAt) {
  newIntProperty(object, "level", 3);
  EXPECT_EQ(setProperty(object, "level", "ztNoSuchType", 4), 1);
  EXPECT_EQ(intProperty(object, "level"), 4);
  EXPECT_EQ(setProperty(object, "level", nullptr, 5), 1);
  int32_t out = 0;
  EXPECT_EQ(object->getProperty(object, "level", "ztNoSuchType", &out), 1);
  EXPECT_EQ(out, 5);
}

TEST_F(ztObjectProperties, AnUnknownTypeMakesNothing) {
  const std::string longName(2000, 't');
  for (const char *type : {"ztNoSuch", "", "ztVoid*", "ztChar*", "ztIntPropertyType", longName.c_str()}) {
    EXPECT_EQ(setProperty(object, "level", type, 0), 0) << type;
  }
  EXPECT_EQ(setProperty(object, "level", nullptr, 0), 0);
  EXPECT_EQ(allProperties(object), ofAnyObject);
}

TEST_F(ztObjectProperties, NamesMayBeLongAndEmpty) {
  const std::string longName(100000, 'n');
  newIntProperty(object, longName.c_str(), 1);
  newIntProperty(object, (longName + "n").c_str(), 2);
  newIntProperty(object, "", 3);
  EXPECT_EQ(intProperty(object, longName.c_str()), 1);
  EXPECT_EQ(intProperty(object, (longName + "n").c_str()), 2);
  EXPECT_EQ(intProperty(object, ""), 3);
}

TEST_F(ztObjectProperties, TakeNoObjectNoNameAndNoOutput) {
  const ztObjectMethods *methods = ztObject_table();
  const PropertyList list(ztPropertyPtrArray_ctor);
  int32_t out = 99;
  EXPECT_EQ(methods->getProperty(object, "level", "ztInt", &out), 0);
  EXPECT_EQ(methods->setProperty(nullptr, "level", "ztInt", 0), 0);
  EXPECT_EQ(methods->setProperty(object, nullptr, "ztInt", 0), 0);
  EXPECT_EQ(methods->getProperty(nullptr, "refCount", "ztInt", &out), 0);
  EXPECT_EQ(methods->getProperty(object, nullptr, "ztInt", &out), 0);
  EXPECT_EQ(out, 99);
  EXPECT_EQ(methods->getProperty(object, "refCount", nullptr, nullptr), 1);
  for (const auto get :
       {methods->getProperties, methods->getStaticProperties, methods->getDynamicProperties}) {
    EXPECT_EQ(get(nullptr, list), 0);
    EXPECT_EQ(get(object, nullptr), 0);
  }
  EXPECT_EQ(methods->getSender(nullptr), nullptr);
  methods->classInstanceCreate(nullptr);
  methods->classInstanceDestroy(nullptr);
  EXPECT_EQ(methods->initProperties(nullptr), 0);
  ztClass *klass = ztObjectClass_Instance();
  EXPECT_EQ(declare(nullptr, "name"), 0);
  EXPECT_EQ(declare(klass, nullptr), 0);
  EXPECT_EQ(methods->addProperty(klass, "name", nullptr, noGetter, noSetter, nullptr, nullptr), 0);
  EXPECT_EQ(allProperties(object), ofAnyObject);
}

TEST_F(ztObjectProperties, ListsReplaceWhatTheArrayHeld) {
  const PropertyList list(ztPropertyPtrArray_ctor);
  newIntProperty(object, "level", 1);
  EXPECT_EQ(object->getProperties(object, list), 1);
  EXPECT_EQ(object->getDynamicProperties(object, list), 1);
  EXPECT_EQ(namesIn(list), Names{"ztObject.level:1"});
  EXPECT_EQ(object->getDynamicProperties(Object(), list), 1);
  EXPECT_EQ(namesIn(list), Names{});
}

TEST_F(ztObjectProperties, ListsKeepTheOrderOfCreationOfManyOnes) {
  Names expected = ofAnyObject;
  for (int i = 1; i <= 200; ++i) {
    const std::string name = "p" + std::to_string(i * 7919 % 1000);
    newIntProperty(object, name.c_str(), i);
    expected.push_back("ztObject." + name + ":" + std::to_string(i));
  }
  EXPECT_EQ(allProperties(object), expected);
}

TEST_F(ztObjectProperties, SortFunctionComparesTheIndexesAsSignedNumbers) {
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

const Names ofBoxes{"ztObject.refCount:0", "Shape.width:1", "Shape.area:2", "Box.depth:3"};

class ztObjectStaticProperties : public testing::Test {
 protected:
  const Object box{Box_ctor};
  const Object plain{Plain_ctor};
  const Object late{Late_ctor};
};

TEST_F(ztObjectStaticProperties, ComeInTheOrderOfDeclarationAlsoOfAnAncestorThatWasNeverMade) {
  EXPECT_FALSE(ztOOP_isClassRegistered("Shape"));
  EXPECT_EQ(allProperties(box), ofBoxes);
  EXPECT_EQ(listed(box, box->getStaticProperties), ofBoxes);
  newIntProperty(box, "color", 1);
  EXPECT_EQ(dynamicProperties(box), Names{"Box.color:4"});
}

TEST_F(ztObjectStaticProperties, AreThoseOfItsAncestorsForAClassWithoutDeclarations) {
  EXPECT_EQ(allProperties(plain), ofBoxes);
  EXPECT_EQ(allProperties(Object(Silent_ctor)), ofAnyObject);
}

TEST_F(ztObjectStaticProperties, KeepWhatTheyWereDeclaredWith) {
  const ztProperty *width = propertyNamed(box, "width");
  EXPECT_EQ(width->userWord, &shapeMarker);
  EXPECT_STREQ(textOf(width->signalName), "widthChanged");
  EXPECT_EQ(width->valueSize, 0U);
  EXPECT_EQ(ztProperty_of(width)->isDynamic(width), 0);
}

TEST_F(ztObjectStaticProperties, AreReadAndWrittenThroughTheObject) {
  const Object other(Box_ctor);
  shapeSetWidth(other, 5);
  EXPECT_EQ(setProperty(box, "width", "ztInt", 31), 1);
  EXPECT_EQ(intProperty(box, "width"), 31);
  EXPECT_EQ(intProperty(box, "area"), 31);
  EXPECT_EQ(setProperty(box, "area", "ztInt", 50), 1);
  EXPECT_EQ(intProperty(box, "area"), 31);
  EXPECT_EQ(intProperty(other, "width"), 5);
  EXPECT_EQ(dynamicProperties(box), Names{});
}

TEST_F(ztObjectStaticProperties, AreDeclaredOnceUnderAName) {
  ztClass *klass = BoxClass_Instance();
  for (const char *name : {"depth", "width", "refCount"}) EXPECT_EQ(declare(klass, name), 0) << name;
  EXPECT_EQ(box->addProperty(klass, "unknown", "ztNoSuch", noGetter, noSetter, nullptr, nullptr), 0);
  EXPECT_EQ(allProperties(box), ofBoxes);
  EXPECT_EQ(box->initProperties(klass), 0);
}

TEST_F(ztObjectStaticProperties, MayBeDeclaredLaterAndShadowADynamicOne) {
  newIntProperty(late, "level", 4);
  EXPECT_EQ(declare(LateClass_Instance(), "level", getterOf(ztObject_table()->getRefCount)), 1);
  EXPECT_EQ(intProperty(late, "level"), 1);
}

TEST_F(ztObjectStaticProperties, AreInAMapOfTheClasssOwnThatIsMadeAgainAfterItWasFreed) {
  EXPECT_NE(Box_table()->staticProperties, nullptr);
  EXPECT_NE(Box_table()->staticProperties, Plain_table()->staticProperties);
  EXPECT_NE(Box_table()->staticProperties, ztObject_table()->staticProperties);
  EXPECT_EQ(ztBaseClass_of(Box_table()->staticProperties)->getRefCount(Box_table()->staticProperties), 1);
  ztFreeClass("Box");
  EXPECT_EQ(Box_table()->staticProperties, nullptr);
  setProperty(box, "width", "ztInt", 8);
  EXPECT_EQ(intProperty(box, "width"), 8);
  EXPECT_EQ(allProperties(box), ofBoxes);
  // Registered again, with the map in place.
  EXPECT_EQ(ztAddNewClass(Box_ctor(nullptr, 0), "Box", Box_ctor, nullptr), 1);
  EXPECT_EQ(allProperties(box), ofBoxes);
  const Object other(Box_ctor);
  EXPECT_EQ(other->getProperty(other, "depth", "ztInt", nullptr), 1);
}

// Also where there may be other threads, for whose sake a map is replaced and not changed.
TEST_F(ztObjectStaticProperties, MayBeDeclaredOnceMoreAfterMemoryWasExhausted) {
  const auto *methods = Late_of(late);
  ztClass *klass = LateClass_Instance();
  const auto declareAnew = [=, this] {
    methods->classInstanceDestroy(klass);
    methods->classInstanceCreate(klass);
    const int32_t made = declare(klass, "rank", noGetter, noSetter, nullptr, "signal");
    EXPECT_TRUE(!made || late->getProperty(late, "rank", "ztInt", nullptr));
    methods->classInstanceDestroy(klass);
  };
  exhaustMemoryIn(declareAnew);
  std::thread([] {}).join();
  exhaustMemoryIn(declareAnew);
  methods->classInstanceCreate(klass);
  const void *read = methods->staticProperties;
  EXPECT_EQ(declare(klass, "rank"), 1);
  EXPECT_NE(methods->staticProperties, read);
}

TEST_F(ztObjectStaticProperties, HaveTheNameOfTheirOwnerCut) {
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

const char *const changed = "prop->signalname";

class ztObjectChanges : public ListenerTest {
 protected:
  // Connects the listener with the one signal.
  void listen() const {
    connectTo(object, changed, listener, diarySlot<0>());
  }
  // A call of the listener's.
  Call told(intptr_t value) const {
    return {0, listener, object, value};
  }

  const Object object;
  const Object listener{Listener_ctor};
};

TEST_F(ztObjectChanges, AreAnnouncedToTheSlotsOfTheOneSignal) {
  listen();
  newIntProperty(object, "level", 1);
  EXPECT_TRUE(diary.empty());
  setProperty(object, "level", "ztInt", -5);
  EXPECT_EQ(diary, std::vector<Call>{told(-5)});
  EXPECT_EQ(listener->getSender(listener), nullptr);
  // Announced also where nothing was stored.
  setProperty(object, "refCount", "ztInt", 9);
  EXPECT_EQ(diary.back(), told(9));
}

TEST_F(ztObjectChanges, AreNotAnnouncedUnderTheDeclaredNameNorAnyOther) {
  const Object box(Box_ctor);
  for (const char *name : {"widthChanged", "width", "prop->signalName", "prop->signalname "}) {
    connectTo(box, name, listener, diarySlot<0>());
  }
  setProperty(box, "width", "ztInt", 4);
  EXPECT_TRUE(diary.empty());
  connectTo(box, changed, listener, diarySlot<1>());
  setProperty(box, "width", "ztInt", 5);
  EXPECT_EQ(diary, (std::vector<Call>{{1, listener, box, 5}}));
}

TEST_F(ztObjectChanges, HandTheValueOfEachKind) {
  registerAllPropertyTypes();
  listen();
  const char text[] = "text";
  const String string("string");
  const std::tuple<const char *, ztWord, intptr_t> rows[] = {
      {"ztInt", 0x1FFFFFFFE, -2},
      {"ztBool", 1, 1},
      {"ztChar", 0x180, -128},
      {"ztCharPtr", wordOf(text), wordOf(text)},
      {"ztVoidPtr", wordOf(text + 1), wordOf(text + 1)},
      {"ztString", wordOf(string), wordOf(string)},
  };
  for (const auto &[type, word, first] : rows) {
    setProperty(object, type, type, 0);
    diary.clear();
    setProperty(object, type, type, word);
    EXPECT_EQ(diary, std::vector<Call>{told(first)}) << type;
  }
}

TEST_F(ztObjectChanges, HandADoubleAsADouble) {
  static std::vector<double> numbers;
  registerAllPropertyTypes();
  ztSlotFunction function;
  function.number1 = [](void *, double first) { numbers.push_back(first); };
  connectTo(object, changed, listener, function);
  setProperty(object, "ratio", "ztFloat", 0);
  numbers.clear();
  setProperty(object, "ratio", "ztFloat", ztWordOfDouble(1.25));
  EXPECT_EQ(numbers, std::vector<double>{1.25});
}

TEST_F(ztObjectChanges, AreKeptBackWhileTheSignalIsBlocked) {
  listen();
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
}

TEST_F(ztObjectChanges, MayDestroyTheObjectInASetter) {
  const Object late(Late_ctor);
  declare(LateClass_Instance(), "destroying", noGetter,
          setterOf([](void *owner, int32_t) { release(owner); }));
  void *victim = Late_ctor(nullptr, 1);
  connectTo(victim, changed, listener, diarySlot<0>());
  EXPECT_EQ(setProperty(victim, "destroying", "ztInt", 1), 1);
  EXPECT_TRUE(diary.empty());
}

TEST_F(ztObjectChanges, NeedNoMemoryWhileFewOrNoneListenToThem) {
  newIntProperty(object, "level", 3);
  const auto change = [this] {
    EXPECT_EQ(setProperty(object, "level", "ztInt", 4), 1);
    EXPECT_EQ(intProperty(object, "level"), 4);
  };
  EXPECT_FALSE(allocates(change));
  addSignal(object, changed);
  EXPECT_FALSE(allocates(change));
  std::vector<Object> listeners(16);
  for (const Object &each : listeners) connectTo(object, changed, each, diarySlot<0>());
  diary.reserve(16);
  EXPECT_FALSE(allocates(change));
  EXPECT_EQ(diary.size(), 16U);
}

// Signals and slots -------------------------------------------------------------------------------

class ztObjectConnections : public ListenerTest {
 protected:
  // Of the sender's signal "changed".
  ztSlotMap *slots() const {
    return addSignal(sender, "changed")->slots;
  }

  const Object sender;
  const Object receiver;
  const Object other;
  ztClass *const klass = ztObjectClass_Instance();
};

ztSlotFunction destroyedOf(const void *object) {
  ztSlotFunction function;
  function.object1 = ztObject_of(object)->destroyed;
  return function;
}

// The slots that were called.
std::vector<int> calledSlots() {
  std::vector<int> called;
  for (const Call &call : diary) called.push_back(call.slot);
  return called;
}

TEST_F(ztObjectConnections, AddSignalGivesTheSignalThatIsThere) {
  ztSignal *signal = addSignal(sender, "changed", 2);
  ASSERT_NE(signal, nullptr);
  EXPECT_STREQ(textOf(signal->name), "changed");
  EXPECT_EQ(signal->argumentCount, 2U);
  EXPECT_EQ(signal->blocked, 0U);
  EXPECT_NE(signal->slots->allowDuplicate, 0U);
  EXPECT_EQ(slotCount(sender, "changed"), 0);
  EXPECT_EQ(addSignal(sender, "changed", 4), signal);
  EXPECT_EQ(signal->argumentCount, 2U);
  const ztSignal *another = addSignal(sender, "other", 0);
  EXPECT_NE(another, signal);
  EXPECT_NE(another->slots, signal->slots);
  EXPECT_EQ(addSignal(sender, nullptr, 0), nullptr);
  EXPECT_EQ(sender->addSignal(klass, nullptr, "changed", 0), nullptr);
}

TEST_F(ztObjectConnections, TheSamePairIsAddedOnceWhateverTheName) {
  const auto addSlot = [this](void *signal, void *to, const char *name, ztSlotFunction function) {
    return sender->addSlot(klass, signal, to, name, function);
  };
  ztSignal *signal = addSignal(sender, "changed");
  EXPECT_EQ(addSlot(signal, receiver, "one", diarySlot<0>()), 1);
  EXPECT_EQ(addSlot(signal, receiver, "two", diarySlot<0>()), 0);
  EXPECT_EQ(addSlot(signal, receiver, "one", diarySlot<1>()), 1);
  EXPECT_EQ(addSlot(signal, other, "one", diarySlot<0>()), 1);
  EXPECT_EQ(addSlot(signal, other, nullptr, diarySlot<2>()), 1);
  EXPECT_EQ(slotCount(sender, "changed"), 4);
  EXPECT_EQ(addSlot(nullptr, receiver, "one", diarySlot<2>()), 0);
  EXPECT_EQ(addSlot(signal, nullptr, "one", diarySlot<2>()), 0);
  EXPECT_EQ(addSlot(signal, receiver, "one", ztSlotFunction{nullptr}), 0);
  EXPECT_EQ(slotCount(sender, "changed"), 4);
}

// Equal keys lie on both sides of each other in the tree: one way down meets a few of them.
TEST_F(ztObjectConnections, DuplicatesAreFoundAmongManySlotsOfOneReceiver) {
  const std::vector<ztSlotFunction> functions = diarySlots<100>();
  const Object third;
  for (const int32_t made : {1, 0}) {
    for (void *to : {static_cast<void *>(receiver), static_cast<void *>(other), static_cast<void *>(third)}) {
      for (ztSlotFunction function : functions) {
        EXPECT_EQ(connectTo(sender, "changed", to, function), made);
        EXPECT_TRUE(isConnected(sender, "changed", to, function));
      }
    }
  }
}

TEST_F(ztObjectConnections, AreMadeOnceAndFoundByAllFourParts) {
  EXPECT_FALSE(isConnected(sender, "changed", receiver, diarySlot<0>()));
  EXPECT_EQ(connectTo(sender, "changed", receiver, diarySlot<0>()), 1);
  EXPECT_EQ(connectTo(sender, "changed", receiver, diarySlot<0>()), 0);
  EXPECT_TRUE(isConnected(sender, "changed", receiver, diarySlot<0>()));
  EXPECT_FALSE(isConnected(sender, "changed", receiver, diarySlot<1>()));
  EXPECT_FALSE(isConnected(sender, "changed", sender, diarySlot<0>()));
  EXPECT_FALSE(isConnected(sender, "other", receiver, diarySlot<0>()));
  EXPECT_FALSE(isConnected(receiver, "changed", receiver, diarySlot<0>()));
}

TEST_F(ztObjectConnections, HaveBothEndsWatchEachOtherOnce) {
  const Object listener(Listener_ctor);
  connectTo(sender, "changed", listener, diarySlot<0>());
  connectTo(sender, "changed", listener, diarySlot<1>());
  connectTo(listener, "changed", sender, diarySlot<0>());
  EXPECT_TRUE(isConnected(sender, "destroyed", listener, destroyedOf(listener)));
  EXPECT_TRUE(isConnected(listener, "destroyed", sender, destroyedOf(sender)));
  EXPECT_EQ(slotCount(sender, "destroyed"), 1);
  EXPECT_EQ(slotCount(listener, "destroyed"), 1);
}

TEST_F(ztObjectConnections, WithItselfHaveNoObjectWatchItself) {
  void *object = ztObject_ctor(nullptr, 1);
  EXPECT_EQ(connectTo(object, "changed", object, diarySlot<0>()), 1);
  EXPECT_EQ(signalCount(object), 1);
  EXPECT_EQ(ztObject_emit(object, "changed", 3), 1);
  EXPECT_EQ(diary, (std::vector<Call>{{0, object, object, 3}}));
  ztObject_of(object)->destroyed(object, object);
  EXPECT_TRUE(isConnected(object, "changed", object, diarySlot<0>()));
  EXPECT_EQ(connectTo(object, "destroyed", object, diarySlot<1>()), 1);
  release(object);
  EXPECT_EQ(diary.back(), (Call{1, object, object, wordOf(object)}));
}

TEST_F(ztObjectConnections, GoThroughTheClassInTheStatedOrder) {
  const Object connector(Connector_ctor);
  stepSender = connector;
  steps.clear();
  EXPECT_EQ(connectTo(connector, "changed", receiver, diarySlot<0>(), 3), 1);
  EXPECT_EQ(steps, (std::vector<std::string>{"signal destroyed/1 on receiver", "slot destroyed of sender",
                                             "signal destroyed/1 on sender", "slot destroyed of receiver",
                                             "signal changed/3 on sender", "slot slot of receiver"}));
  steps.clear();
  EXPECT_EQ(connectTo(connector, "changed", connector, diarySlot<0>(), 0), 1);
  EXPECT_EQ(steps, (std::vector<std::string>{"signal changed/0 on sender", "slot slot of sender"}));
}

TEST_F(ztObjectConnections, AreNotMadeOfAnythingMissing) {
  const ztSlotFunction function = diarySlot<0>();
  const ztSlotFunction none = {nullptr};
  EXPECT_EQ(sender->connect(nullptr, sender, "s", receiver, "slot", function, 1), 0);
  EXPECT_EQ(sender->connect(klass, nullptr, "s", receiver, "slot", function, 1), 0);
  EXPECT_EQ(sender->connect(klass, sender, nullptr, receiver, "slot", function, 1), 0);
  EXPECT_EQ(sender->connect(klass, sender, "s", nullptr, "slot", function, 1), 0);
  EXPECT_EQ(sender->connect(klass, sender, "s", receiver, "slot", none, 1), 0);
  EXPECT_EQ(signalCount(sender), 0);
  EXPECT_EQ(signalCount(receiver), 0);
  EXPECT_EQ(sender->connect(klass, sender, "s", receiver, nullptr, function, 1), 1);
  EXPECT_EQ(sender->connectionExist(klass, nullptr, "s", receiver, function), 0);
  EXPECT_EQ(sender->connectionExist(klass, sender, nullptr, receiver, function), 0);
  EXPECT_EQ(sender->connectionExist(klass, sender, "s", nullptr, function), 0);
  EXPECT_EQ(sender->connectionExist(klass, sender, "s", receiver, none), 0);
  EXPECT_EQ(sender->connectionExist(nullptr, sender, "s", receiver, function), 1);
  sender->destroyed(nullptr, sender);
  sender->destroyed(sender, nullptr);
  EXPECT_EQ(sender->connectionExist(klass, sender, "s", receiver, function), 1);
}

TEST_F(ztObjectConnections, KeepLongNames) {
  const std::string name(10000, 's');
  EXPECT_EQ(connectTo(sender, name.c_str(), receiver, diarySlot<0>()), 1);
  EXPECT_TRUE(isConnected(sender, name.c_str(), receiver, diarySlot<0>()));
  EXPECT_FALSE(isConnected(sender, name.substr(1).c_str(), receiver, diarySlot<0>()));
  EXPECT_EQ(ztObject_emit(sender, name.c_str(), 1), 1);
}

constexpr size_t hugeSize = size_t{1} << 31;

// A text of 2 GiB that takes little memory: the same piece of a file again and again, and a page of zeros. NULL
// where the system has no room for it.
char *newHugeText() {
  const std::string piece(size_t{1} << 20, 'x');
  const int file = memfd_create("piece", 0);
  bool isComplete = write(file, piece.data(), piece.size()) == static_cast<ssize_t>(piece.size());
  void *text = mmap(nullptr, hugeSize + 1, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  for (size_t at = 0; isComplete && text != MAP_FAILED && at < hugeSize; at += piece.size()) {
    void *place = static_cast<char *>(text) + at;
    isComplete = mmap(place, piece.size(), PROT_READ, MAP_PRIVATE | MAP_FIXED, file, 0) == place;
  }
  close(file);
  return isComplete && text != MAP_FAILED ? static_cast<char *>(text) : nullptr;
}

TEST_F(ztObjectConnections, AndPropertiesRefuseNamesThatNoStringHolds) {
  if (scale(2) < 2) GTEST_SKIP() << "it takes too long here";
  char *name = newHugeText();
  if (name == nullptr) GTEST_SKIP() << "there is no room for such a name";
  EXPECT_EQ(addSignal(sender, name), nullptr);
  const int32_t level = 1;
  EXPECT_EQ(setProperty(sender, name, "ztInt", wordOf(&level)), 0);
  EXPECT_EQ(signalCount(sender), 0);
  EXPECT_EQ(dynamicProperties(sender), Names{});
  munmap(name, hugeSize + 1);
}

TEST_F(ztObjectConnections, WithADestroyedObjectAreAllDropped) {
  const std::vector<ztSlotFunction> functions = diarySlots<20>();
  for (const char *signal : {"one", "two"}) {
    for (ztSlotFunction function : functions) {
      connectTo(sender, signal, receiver, function);
      connectTo(sender, signal, other, function);
    }
  }
  sender->destroyed(sender, receiver);
  for (const char *signal : {"one", "two"}) {
    EXPECT_EQ(slotCount(sender, signal), 20);
    for (ztSlotFunction function : functions) {
      EXPECT_FALSE(isConnected(sender, signal, receiver, function));
      EXPECT_TRUE(isConnected(sender, signal, other, function));
    }
  }
  EXPECT_FALSE(isConnected(sender, "destroyed", receiver, destroyedOf(receiver)));
}

// However a host has set up the signal that tells the peers, or where it did not.
TEST_F(ztObjectConnections, WithAReceiverThatGoesAreForgotten) {
  for (uint32_t argumentCount : {0U, 1U, 4U, 5U, 255U, 256U}) {
    for (uint32_t blocked : {0U, 1U}) {
      SCOPED_TRACE(testing::Message() << argumentCount << " arguments, blocked " << blocked);
      void *listener = newListener();
      if (argumentCount != 1) addSignal(listener, "destroyed", argumentCount);
      connectTo(sender, "changed", listener, diarySlot<0>());
      ztObject_blockSignal(listener, "destroyed", blocked);
      release(listener);
      EXPECT_FALSE(isConnected(sender, "changed", listener, diarySlot<0>()));
      EXPECT_EQ(slotCount(sender, "destroyed"), 0);
      EXPECT_EQ(ztObject_emit(sender, "changed", 1), 0);
    }
  }
  EXPECT_TRUE(diary.empty());
}

TEST_F(ztObjectConnections, WithASenderThatGoesAreForgotten) {
  Listener *listener = newListener();
  connectTo(listener, "changed", receiver, diarySlot<0>());
  release(listener);
  EXPECT_EQ(slotCount(receiver, "destroyed"), 0);
}

TEST_F(ztObjectConnections, AreTakenOneByOneAndTheOthersKeepTheirOrder) {
  const std::vector<ztSlotFunction> functions = diarySlots<12>();
  for (size_t removed = 0; removed < functions.size(); ++removed) {
    SCOPED_TRACE(removed);
    const Object fresh;
    diary.clear();
    for (ztSlotFunction function : functions) {
      connectTo(fresh, "changed", receiver, function);
      connectTo(fresh, "changed", other, function);
    }
    EXPECT_EQ(ztObject_disconnect(fresh, "changed", receiver, functions[removed]), 1);
    EXPECT_EQ(ztObject_disconnect(fresh, "changed", receiver, functions[removed]), 0);
    EXPECT_FALSE(isConnected(fresh, "changed", receiver, functions[removed]));
    ztObject_emit(fresh, "changed", 0);
    EXPECT_EQ(diary.size(), 23U);
    std::erase_if(diary, [this](const Call &call) { return call.receiver != receiver; });
    std::vector<int> expected = {11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0};
    std::erase(expected, static_cast<int>(removed));
    EXPECT_EQ(calledSlots(), expected);
    EXPECT_EQ(connectTo(fresh, "changed", receiver, functions[removed]), 1);
  }
}

TEST_F(ztObjectConnections, InAMapThatAHostGaveAnotherOrderAreNotLostByADisconnect) {
  const std::vector<ztSlotFunction> functions = diarySlots<5>();
  for (ztSlotFunction function : functions) connectTo(sender, "changed", receiver, function);
  const auto *methods = ztSlotMap_of(slots());
  const ztCompareFunc order = slots()->compareFunction;
  methods->setCompareFunction(slots(), [](const void *, const void *) { return 1; });
  for (ztSlotFunction function : functions) ztObject_disconnect(sender, "changed", receiver, function);
  methods->setCompareFunction(slots(), order);
  ztObject_emit(sender, "changed", 0);
  std::vector<int> called = calledSlots();
  std::sort(called.begin(), called.end());
  EXPECT_EQ(called, (std::vector<int>{0, 1, 2, 3, 4}));
}

TEST_F(ztObjectConnections, ThatAreNotMadeAreNotDisconnected) {
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

TEST_F(ztObjectConnections, WithABlockedEndCallNoSlotAndAreForgotten) {
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
TEST_F(ztObjectConnections, UnderAForeignKeyAreNoneOfTheKeys) {
  const Owned<ztSlot, ztSlotMethods> slot(ztSlot_ctor);
  slot.fields().receiver = other;
  slot.fields().function = diarySlot<0>();
  ASSERT_NE(ztSlotMap_of(slots())->pushBack(slots(), receiver, slot), nullptr);
  EXPECT_FALSE(isConnected(sender, "changed", receiver, diarySlot<0>()));
  EXPECT_FALSE(isConnected(sender, "changed", other, diarySlot<0>()));
  EXPECT_EQ(ztObject_disconnect(sender, "changed", receiver, diarySlot<0>()), 0);
}

// Signals that a host put into the map of an object itself have no map of slots.
void putSignalWithoutSlots(const Object &object, const char *name) {
  const String key(name);
  const Owned<ztSignal, ztSignalMethods> signal(ztSignal_ctor);
  ztString_of(signal.fields().name)->set(signal.fields().name, name);
  ztSignalMap *signals = object.fields().signals;
  EXPECT_NE(ztSignalMap_of(signals)->pushBack(signals, key, signal), nullptr);
}

TEST_F(ztObjectConnections, OfASignalThatHasNoMapOfSlotsOrAnEndedOneAreNone) {
  putSignalWithoutSlots(sender, "bare");
  connectTo(sender, "ended", receiver, diarySlot<0>());
  ztSlotMap *slots = addSignal(sender, "ended")->slots;
  ztSlotMap_of(slots)->destroy(slots);
  for (const char *signal : {"bare", "ended"}) {
    EXPECT_FALSE(isConnected(sender, signal, receiver, diarySlot<0>()));
    EXPECT_EQ(connectTo(sender, signal, receiver, diarySlot<0>()), 0);
    EXPECT_EQ(ztObject_disconnect(sender, signal, receiver, diarySlot<0>()), 0);
    EXPECT_EQ(ztObject_emit(sender, signal, 1), 0);
  }
  sender->destroyed(sender, receiver);
  EXPECT_TRUE(diary.empty());
}

TEST_F(ztObjectConnections, AreRefusedWhenAnEndCannotBeTold) {
  putSignalWithoutSlots(receiver, "destroyed");
  EXPECT_EQ(connectTo(sender, "changed", receiver, diarySlot<0>()), 0);
  EXPECT_EQ(connectTo(receiver, "changed", sender, diarySlot<0>()), 0);
  EXPECT_FALSE(isConnected(sender, "changed", receiver, diarySlot<0>()));
  EXPECT_FALSE(isConnected(receiver, "changed", sender, diarySlot<0>()));
}

// A host's map may say that it has more slots than memory could hold.
TEST_F(ztObjectConnections, ThatAMapHoldsAreCalledWhateverNumberItGives) {
  connectTo(sender, "changed", receiver, diarySlot<0>());
  auto *methods = static_cast<ztSlotMapMethods *>(slots()->klass->methodTable);
  const auto own = methods->getSize;
  methods->getSize = [](const void *) { return INT32_MAX; };
  EXPECT_EQ(ztObject_emit(sender, "changed", 1), 1);
  EXPECT_EQ(diary.size(), 1U);
  methods->getSize = own;
  EXPECT_EQ(ztObject_emit(sender, "changed", 1), 1);
  EXPECT_EQ(diary.size(), 2U);
}

// The connection dump -----------------------------------------------------------------------------

class ztObjectDump : public testing::Test {
 protected:
  // What `printConnections` writes, after the line of the class.
  static std::string dumpOf(const Object &object, const std::string &className) {
    const TempFolder folder;
    const std::string path = folder.path("connections");
    object->printConnections(ztOOP_classOf(object), object, path.c_str());
    const std::string dump = contentsOf(path);
    const std::string head = "# Connections for class '" + className + "'\n";
    EXPECT_EQ(dump.substr(0, head.size()), head);
    return dump.substr(std::min(head.size(), dump.size()));
  }
  static std::string lineOf(const char *slot, const void *receiver, const char *className) {
    char line[200];
    snprintf(line, sizeof line, "\tSlot '%s' - Receiver: 0x%" PRIx32 " (Class: %s)\n", slot,
             static_cast<uint32_t>(wordOf(receiver)), className);
    return line;
  }

  const Object object;
};

TEST_F(ztObjectDump, ListsSignalsAndSlotsInMapOrder) {
  const Object sender(Listener_ctor);
  const Object other(Late_ctor);
  const auto connectAs = [&](void *receiver, const char *slot, ztSlotFunction function) {
    sender->connect(ListenerClass_Instance(), sender, "changed", receiver, slot, function, 1);
  };
  addSignal(sender, "zebra");
  connectAs(object, "older", diarySlot<0>());
  connectAs(object, "newer", diarySlot<1>());
  connectAs(other, "take", diarySlot<0>());
  std::string slots[] = {lineOf("newer", object, "ztObject") + lineOf("older", object, "ztObject"),
                         lineOf("take", other, "Late")};
  std::string links[] = {lineOf("destroyed", object, "ztObject"), lineOf("destroyed", other, "Late")};
  if (wordOf(object) > wordOf(other)) {
    std::swap(slots[0], slots[1]);
    std::swap(links[0], links[1]);
  }
  EXPECT_EQ(dumpOf(sender, "Listener"), "- Slots for signal 'changed'\n" + slots[0] + slots[1] +
                                            "- Slots for signal 'destroyed'\n" + links[0] + links[1] +
                                            "- Slots for signal 'zebra'\n");
}

TEST_F(ztObjectDump, ListsASignalThatHasNoSlots) {
  putSignalWithoutSlots(object, "bare");
  EXPECT_EQ(dumpOf(object, "ztObject"), "- Slots for signal 'bare'\n");
}

TEST_F(ztObjectDump, OfAnEndedObjectListsNothing) {
  addSignal(object, "changed");
  object->destroy(object);
  EXPECT_EQ(dumpOf(object, "ztObject"), "");
}

TEST_F(ztObjectDump, CutsLinesThatAreTooLong) {
  const std::string name(1000, 's');
  addSignal(object, name.c_str());
  EXPECT_EQ(dumpOf(object, "ztObject"), ("- Slots for signal '" + name).substr(0, 511) + "\n");
}

TEST_F(ztObjectDump, NamesTheClassThatIsHandedReplacesTheFileAndNeedsOne) {
  const TempFolder folder;
  const Object listener(Listener_ctor);
  const auto print = listener->printConnections;
  ztClass *klass = ztObjectClass_Instance();
  writeContents(folder.path("out"), std::string(5000, 'x'));
  print(klass, listener, folder.path("out").c_str());
  EXPECT_EQ(contentsOf(folder.path("out")), "# Connections for class 'ztObject'\n");
  print(klass, listener, folder.path("no/such/folder").c_str());
  print(klass, listener, folder.path().c_str());
  print(klass, listener, nullptr);
  print(nullptr, listener, folder.path("none").c_str());
  print(klass, nullptr, folder.path("none").c_str());
  EXPECT_EQ(contentsOf(folder.path("none")), "");
}

}  // namespace
