#include "objects/ztdeclared.h"

#include "objects/ztbasemodel.h"
#include "objects/ztevents.h"
#include "objects/ztroot.h"
#include "tests/helpers/faults.hh"
#include "tests/objects/gauge.hh"

#include <gtest/gtest.h>

// Meter declares signals; Counter is below it and declares one more; Dial is below Counter and has no declarations of
// its own, so it runs Counter's again. Leaf is a node that declares one.
#define Meter_FIELDS ztObject_FIELDS
#define Meter_METHODS ztObject_METHODS
ZT_DECLARE_CLASS(Meter)
#define Counter_FIELDS Meter_FIELDS
#define Counter_METHODS Meter_METHODS
ZT_DECLARE_CLASS(Counter)
#define Dial_FIELDS Counter_FIELDS
#define Dial_METHODS Counter_METHODS
ZT_DECLARE_CLASS(Dial)
#define Leaf_FIELDS ztRoot_FIELDS
#define Leaf_METHODS ztRoot_METHODS
ZT_DECLARE_CLASS(Leaf)

static int32_t meterInitProperties(ztClass *klass) {
  EXPECT_EQ(ztOOP_declareSignal(klass, "levelChanged(int32_t level)"), 1);
  return ztOOP_declareSignal(klass, "drained");
}

static int32_t counterInitProperties(ztClass *klass) {
  return ztOOP_declareSignal(klass, "counted(int32_t number, double weight)");
}

static int32_t leafInitProperties(ztClass *klass) {
  return ztOOP_declareSignal(klass, "grown(void)");
}

ZT_DEFINE_CLASS(Meter, ztObject,
                [](auto *methods) { ZT_OVERRIDE_METHOD(methods, initProperties, meterInitProperties); })
ZT_DEFINE_CLASS(Counter, Meter,
                [](auto *methods) { ZT_OVERRIDE_METHOD(methods, initProperties, counterInitProperties); })
ZT_DEFINE_CLASS(Dial, Counter, noMethods)
// No object of it is ever made.
#define Unused_FIELDS ztObject_FIELDS
#define Unused_METHODS ztObject_METHODS
ZT_DECLARE_CLASS(Unused)
ZT_DEFINE_CLASS(Unused, ztObject, noMethods)

ZT_DEFINE_CLASS(Leaf, ztRoot,
                [](auto *methods) { ZT_OVERRIDE_METHOD(methods, initProperties, leafInitProperties); })

namespace {

using DeclaredSignals = ListenerTest;

// What is logged when somebody connects to the signal, which has to work.
std::string warningFor(void *sender, const char *signal) {
  const Object receiver(Listener_ctor);
  return logOf([&] { EXPECT_EQ(connectTo(sender, signal, receiver, diarySlot<0>()), 1) << signal; });
}

std::string warningOf(const std::string &klass, const std::string &signal) {
  return "ztObject::connect - Warning, class '" + klass + "' declares no signal '" + signal + "'\n";
}

// A class of its own for each text.
bool declares(const char *text) {
  return logOf([=] { EXPECT_EQ(ztOOP_declareSignal(MeterClass_Instance(), text), 1) << text; }).empty();
}

testing::AssertionResult isMalformed(const char *text, const char *why) {
  return isRefused([=] { return ztOOP_declareSignal(MeterClass_Instance(), text); },
                   {"ztOOP_declareSignal", "'Meter'", why});
}

}  // namespace

TEST_F(DeclaredSignals, AreInheritedAndOthersLogOneLineWhenTheyAreConnected) {
  const Object meter(Meter_ctor);
  const Object counter(Counter_ctor);
  const Object dial(Dial_ctor);
  for (const Object *object : {&meter, &counter, &dial}) {
    EXPECT_EQ(warningFor(*object, "levelChanged"), "");
    EXPECT_EQ(warningFor(*object, "drained"), "");
    const char *name = ztOOP_classNameOf(*object);
    EXPECT_EQ(warningFor(*object, "levelChangd"), warningOf(name, "levelChangd"));
    EXPECT_EQ(warningFor(*object, "levelChange"), warningOf(name, "levelChange"));
    EXPECT_EQ(warningFor(*object, "levelChanged(int32_t level)"),
              warningOf(name, "levelChanged(int32_t level)"));
    EXPECT_EQ(warningFor(*object, ""), warningOf(name, ""));
  }
  EXPECT_EQ(warningFor(meter, "counted"), warningOf("Meter", "counted"));
  EXPECT_EQ(warningFor(counter, "counted"), "");
  EXPECT_EQ(warningFor(dial, "counted"), "");
}

TEST_F(DeclaredSignals, AreNotAskedOfChangesAndEndsNorOfClassesWithoutDeclarations) {
  const Object meter(Meter_ctor);
  EXPECT_EQ(warningFor(meter, "destroyed"), "");
  EXPECT_EQ(warningFor(meter, "prop->signalname"), "");
  const Object object;
  EXPECT_EQ(warningFor(object, "anything"), "");
  const Object gauge(Gauge_ctor);
  EXPECT_EQ(warningFor(gauge, "anything"), "");
  const Object node(ztRoot_ctor);
  EXPECT_EQ(warningFor(node, "anything"), "") << "only the library declares signals of nodes";
}

TEST_F(DeclaredSignals, OfTheLibraryAreDeclaredForClassesOfHosts) {
  const Object leaf(Leaf_ctor);
  EXPECT_EQ(warningFor(leaf, "grown"), "");
  EXPECT_EQ(warningFor(leaf, "childAdded"), "");
  EXPECT_EQ(warningFor(leaf, "childDeleted"), "");
  EXPECT_EQ(warningFor(leaf, "childMoved"), warningOf("Leaf", "childMoved"));
  EXPECT_EQ(ztOOP_declareSignal(LeafClass_Instance(), "childAdded(ztRoot *child)"), 1);
  EXPECT_TRUE(isRefused([] { return ztOOP_declareSignal(LeafClass_Instance(), "childAdded"); },
                        {"'Leaf'", "differs"}));
}

TEST_F(DeclaredSignals, OfALibraryClassAreNotAHosts) {
  EXPECT_EQ(ztOOP_declareSignal(ztBaseModelClass_Instance(), "renamed"), 1);
  const Object model(ztBaseModel_ctor);
  EXPECT_EQ(warningFor(model, "anything"), "");
}

TEST_F(DeclaredSignals, WarnThroughTheCheckedConnectAsWell) {
  const Object counter(Counter_ctor);
  const Object receiver(Listener_ctor);
  EXPECT_EQ(logOf([&] { EXPECT_EQ(ztObject_connect(counter, "countd", receiver, diarySlot<0>(), 1), 1); }),
            warningOf("Counter", "countd"));
  EXPECT_EQ(ztObject_emit(counter, "countd", 3), 1);
  EXPECT_EQ(diary.size(), 1U);
}

TEST_F(DeclaredSignals, MayBeDeclaredTwice) {
  const Object counter(Counter_ctor);
  EXPECT_FALSE(allocates([] {
    EXPECT_EQ(ztOOP_declareSignal(CounterClass_Instance(), " drained "), 1);
    EXPECT_EQ(ztOOP_declareSignal(MeterClass_Instance(), "levelChanged(int32_t level)"), 1);
  }));
  EXPECT_TRUE(isRefused([] { return ztOOP_declareSignal(CounterClass_Instance(), "drained(double rest)"); },
                        {"'drained(double rest)'", "'Counter'", "differs"}));
}

TEST_F(DeclaredSignals, HaveANameAndUpToFourArguments) {
  const Object meter(Meter_ctor);
  for (const char *text : {"one", " two ", "three()", "four( )", "five(void)", "six ( void ) ",
                           "seven(int32_t)", "eight(const char *text)", "nine(int a, int b, int c, int d)",
                           "ten(void (*done)(int, int), double[2])", "prop->eleven", "twelve and more"}) {
    EXPECT_TRUE(declares(text)) << text;
  }
  for (const char *name : {"one", "two", "three", "four", "five", "six", "seven", "eight", "nine", "ten",
                           "prop->eleven", "twelve and more"}) {
    EXPECT_EQ(warningFor(meter, name), "") << name;
  }
  EXPECT_TRUE(declares(("longest" + std::string(248, 'x')).c_str()));
}

TEST_F(DeclaredSignals, ThatAreMalformedAreRefusedWithALine) {
  const Object meter(Meter_ctor);
  EXPECT_TRUE(isMalformed("", "no name"));
  EXPECT_TRUE(isMalformed("  ", "no name"));
  EXPECT_TRUE(isMalformed("(int32_t level)", "no name"));
  EXPECT_TRUE(isMalformed(" (int32_t level)", "no name"));
  EXPECT_TRUE(isMalformed("bad(", "no closing bracket"));
  EXPECT_TRUE(isMalformed("bad(int32_t level", "no closing bracket"));
  EXPECT_TRUE(isMalformed("bad(void (*f)(int)", "no closing bracket"));
  EXPECT_TRUE(isMalformed("bad)", "no opening bracket"));
  EXPECT_TRUE(isMalformed("bad, int", "no opening bracket"));
  EXPECT_TRUE(isMalformed("bad(int) const", "text behind"));
  EXPECT_TRUE(isMalformed("bad(int)(int)", "text behind"));
  EXPECT_TRUE(isMalformed("bad(int))", "text behind"));
  EXPECT_TRUE(isMalformed("bad(int,)", "empty argument"));
  EXPECT_TRUE(isMalformed("bad(,int)", "empty argument"));
  EXPECT_TRUE(isMalformed("bad(int, , int)", "empty argument"));
  EXPECT_TRUE(isMalformed("bad(int, int, int, int, int)", "more than four"));
  EXPECT_TRUE(isMalformed(std::string(256, 'x').c_str(), "255"));
  EXPECT_TRUE(isMalformed(std::string(100000, '%').c_str(), "255"));
  EXPECT_EQ(warningFor(meter, "bad"), warningOf("Meter", "bad"));
  EXPECT_TRUE(isRefused([] { return ztOOP_declareSignal(nullptr, "one"); }, {"class", "NULL"}));
  EXPECT_TRUE(
      isRefused([] { return ztOOP_declareSignal(MeterClass_Instance(), nullptr); }, {"declaration", "NULL"}));
  EXPECT_TRUE(isRefused([] { return ztOOP_declareSignal(ztStringClass_Instance(), "one"); }, {"'ztString'"}));
  EXPECT_TRUE(isRefused([] { return ztOOP_declareSignal(UnusedClass_Instance(), "one"); }, {"(null)"}));
}

TEST_F(DeclaredSignals, OfAFreedClassAreThereWhenItIsUsedAgain) {
  const Object counter(Counter_ctor);
  ztFreeClass("Counter");
  ztFreeClass("Meter");
  EXPECT_EQ(warningFor(counter, "counted"), "");
  EXPECT_EQ(warningFor(counter, "levelChanged"), "");
  EXPECT_EQ(warningFor(counter, "unknown"), warningOf("Counter", "unknown"));
}

TEST_F(DeclaredSignals, ThatCannotBeLookedUpAreNotMissed) {
  const Object counter(Counter_ctor);
  const Object receiver(Listener_ctor);
  Counter_table()->classInstanceDestroy(CounterClass_Instance());
  const auto connectWithoutMemory = [&] {
    const Fault fault(0, true);
    EXPECT_EQ(connectTo(counter, "unknown", receiver, diarySlot<0>()), 0);
  };
  EXPECT_EQ(logOf(connectWithoutMemory), "");
  EXPECT_EQ(warningFor(counter, "unknown"), warningOf("Counter", "unknown"));
}

TEST_F(DeclaredSignals, AreDeclaredWholeOrNotWhenMemoryIsExhausted) {
  const Object meter(Meter_ctor);
  const Object receiver(Listener_ctor);
  for (int round = 0; round < 40; ++round) {
    const std::string name = "late" + std::to_string(round);
    int32_t done = 0;
    for (int succeeding = 0; !done; ++succeeding) {
      const int before = liveBlocks;
      const Fault fault(succeeding, true);
      done = ztOOP_declareSignal(round % 2 ? DialClass_Instance() : MeterClass_Instance(), name.c_str());
      EXPECT_EQ(done, !fault.end());
      EXPECT_TRUE(done || liveBlocks == before);
      ASSERT_LT(succeeding, 10);
    }
    const Object dial(Dial_ctor);
    EXPECT_EQ(warningFor(dial, name.c_str()), "");
  }
}

TEST_F(DeclaredSignals, AreCheckedForAnObjectThatIsConnectedWhileMemoryIsExhausted) {
  const Object receiver(Listener_ctor);
  exhaustMemoryIn([&] {
    const Object counter(Counter_ctor);
    if (static_cast<void *>(counter) == nullptr) return;
    connectTo(counter, "counted", receiver, diarySlot<0>());
    connectTo(counter, "unknown", receiver, diarySlot<0>());
  });
}
