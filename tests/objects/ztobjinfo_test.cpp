#include "objects/ztobjinfo.h"

#include "objects/ztdeclared.h"
#include "tests/helpers/captured_log.hh"
#include "tests/helpers/host_class.hh"
#include "zentova.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#define Knob_FIELDS \
  ztObject_FIELDS   \
  int32_t level;
#define Knob_METHODS ztObject_METHODS
ZT_DECLARE_CLASS(Knob)

#define FineKnob_FIELDS Knob_FIELDS
#define FineKnob_METHODS Knob_METHODS
ZT_DECLARE_CLASS(FineKnob)

namespace {

int32_t knobLevel(const void *) {
  return 7;
}

int32_t declare(ztClass *klass, const char *name, bool isWritable) {
  ztGetter getter;
  getter.getInt = knobLevel;
  ztSetter setter;
  setter.setInt = isWritable ? [](void *, int32_t) {} : static_cast<void (*)(void *, int32_t)>(nullptr);
  return ztObject_table()->addProperty(klass, name, "ztInt", getter, setter, nullptr, nullptr);
}

int32_t knobProperties(ztClass *klass) {
  return ztOOP_declareSignal(klass, "turned(int32_t level, const char *unit)") &&
         ztOOP_declareSignal(klass, "reset") && declare(klass, "zero", true) &&
         declare(klass, "level", false);
}

int32_t fineKnobProperties(ztClass *klass) {
  return ztOOP_declareSignal(klass, "touched( unsigned long , double x, struct Point *, char **names )") &&
         declare(klass, "fine", true);
}

void knobMethods(KnobMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, initProperties, knobProperties);
}

void fineKnobMethods(FineKnobMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, initProperties, fineKnobProperties);
}

using Info = std::unique_ptr<ztObjectInfo, decltype(&ztObject_freeClassInfo)>;

Info describe(ztClass *klass) {
  return {ztObject_classInfo(klass), ztObject_freeClassInfo};
}

std::vector<std::string> argumentsOf(const ztSignalInfo &signal) {
  std::vector<std::string> arguments;
  for (int32_t i = 0; i < signal.argumentCount; ++i)
    arguments.push_back(std::string(signal.arguments[i].type) + "|" + signal.arguments[i].name);
  return arguments;
}

using Texts = std::vector<std::string>;

}  // namespace

ZT_DEFINE_CLASS(Knob, ztObject, knobMethods)
ZT_DEFINE_CLASS(FineKnob, Knob, fineKnobMethods)

TEST(ObjectInfo, ListsPropertiesInTheOrderOfTheirDeclaration) {
  ASSERT_EQ(ZT_REGISTER_CLASS(FineKnob), 1);
  const Info info = describe(FineKnobClass_Instance());
  ASSERT_NE(info, nullptr);
  EXPECT_EQ(info->klass, FineKnobClass_Instance());
  Texts names;
  for (int32_t i = 0; i < info->propertyCount; ++i) names.push_back(info->properties[i].name);
  EXPECT_EQ(names, (Texts{"refCount", "zero", "level", "fine"}));
  const ztPropertyInfo &level = info->properties[2];
  EXPECT_STREQ(level.type, "ztInt");
  EXPECT_EQ(level.typeClass, ztIntPropertyTypeClass_Instance());
  EXPECT_STREQ(level.declaredBy, "Knob");
  EXPECT_EQ(level.isReadable, 1);
  EXPECT_EQ(level.isWritable, 0);
  EXPECT_EQ(info->properties[1].isWritable, 1);
  EXPECT_STREQ(info->properties[3].declaredBy, "FineKnob");
}

TEST(ObjectInfo, ListsSignalsWithTheirArguments) {
  ASSERT_EQ(ZT_REGISTER_CLASS(FineKnob), 1);
  const Info info = describe(FineKnobClass_Instance());
  ASSERT_EQ(info->signalCount, 3);
  EXPECT_STREQ(info->signals[0].name, "turned");
  EXPECT_STREQ(info->signals[0].declaration, "turned(int32_t level, const char *unit)");
  EXPECT_EQ(info->signals[0].declaredBy, KnobClass_Instance());
  EXPECT_EQ(argumentsOf(info->signals[0]), (Texts{"int32_t|level", "const char *|unit"}));
  EXPECT_STREQ(info->signals[1].name, "reset");
  EXPECT_EQ(info->signals[1].argumentCount, 0);
  EXPECT_EQ(info->signals[2].declaredBy, FineKnobClass_Instance());
  EXPECT_EQ(argumentsOf(info->signals[2]),
            (Texts{"unsigned long|", "double|x", "struct Point *|", "char **|names"}));
}

TEST(ObjectInfo, ListsTheSignalsOfTheLibrary) {
  const Info info = describe(ztTagClass_Instance());
  ASSERT_EQ(info->signalCount, 2);
  EXPECT_STREQ(info->signals[0].declaration, "childAdded(ztRoot *child)");
  EXPECT_EQ(info->signals[0].declaredBy, ztRootClass_Instance());
}

TEST(ObjectInfo, RefusesWhatIsNoObjectClass) {
  CapturedLog log;
  EXPECT_EQ(ztObject_classInfo(ztStringClass_Instance()), nullptr);
  ztClass unused = {};
  EXPECT_EQ(ztObject_classInfo(&unused), nullptr);
  EXPECT_EQ(ztObject_classInfo(nullptr), nullptr);
  EXPECT_EQ(log.file(),
            "ztObject_classInfo - Error, the class 'ztString' is no ztObject class\n"
            "ztObject_classInfo - Error, the class is not in use: see ZT_REGISTER_CLASS\n"
            "ztObject_classInfo - Error, the class is not in use: see ZT_REGISTER_CLASS\n");
  ztObject_freeClassInfo(nullptr);
}
