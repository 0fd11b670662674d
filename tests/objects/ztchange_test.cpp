#include "containers/ztavltree.h"
#include "objects/ztevents.h"
#include "objects/ztroot.h"
#include "tests/helpers/faults.hh"
#include "tests/objects/gauge.hh"

#include <gtest/gtest.h>

namespace {

class Changes : public ListenerTest {
 protected:
  const Object gauge{Gauge_ctor};
  const Object panel{Listener_ctor};
};

// The slot and the value of each call.
using Told = std::vector<std::pair<int, intptr_t>>;

Told told() {
  Told all;
  for (const Call &call : diary) all.emplace_back(call.slot, call.first);
  diary.clear();
  return all;
}

std::vector<double> numbers;

ztSlotFunction numberSlot() {
  ztSlotFunction function;
  function.number1 = [](void *, double number) { numbers.push_back(number); };
  return function;
}

}  // namespace

TEST_F(Changes, OfOnePropertyAreToldAndOthersAreNot) {
  ASSERT_EQ(ztObject_addInt(gauge, "dynamic", 1), 1);
  ASSERT_EQ(ztObject_onChange(gauge, "level", panel, diarySlot<0>()), 1);
  ASSERT_EQ(ztObject_onChange(gauge, "dynamic", panel, diarySlot<1>()), 1);
  EXPECT_EQ(ztObject_setInt(gauge, "level", 5), 1);
  EXPECT_EQ(ztObject_setBool(gauge, "open", 1), 1);
  EXPECT_EQ(ztObject_setInt(gauge, "hidden", 6), 1);
  EXPECT_EQ(ztObject_setInt(gauge, "dynamic", 7), 1);
  EXPECT_EQ(told(), (Told{{0, 5}, {1, 7}}));
}

TEST_F(Changes, AreToldByEveryWayToSetAProperty) {
  ASSERT_EQ(ztObject_onChange(gauge, "level", panel, diarySlot<0>()), 1);
  ztProperty *property = ztObject_findProperty(gauge, "level");
  EXPECT_EQ(ztProperty_of(property)->setValue(property, gauge, 1), 1);
  EXPECT_EQ(setProperty(gauge, "level", "ztInt", 2), 1);
  EXPECT_EQ(ztObject_setInt(gauge, "level", 3), 1);
  const ztWord word = 4;
  const auto *type = static_cast<const ztPropertyTypeMethods *>(property->type->methodTable);
  EXPECT_EQ(type->setValue(property->type, property, gauge, &word), 4);
  EXPECT_EQ(told(), (Told{{0, 1}, {0, 2}, {0, 3}, {0, 4}}));
}

TEST_F(Changes, ArePassedInEveryKind) {
  numbers.clear();
  ASSERT_EQ(ztObject_addText(gauge, "text", ""), 1);
  ASSERT_EQ(ztObject_onChange(gauge, "real", panel, numberSlot()), 1);
  for (const char *name : {"open", "grade", "label", "owner", "note", "text"}) {
    ASSERT_EQ(ztObject_onChange(gauge, name, panel, diarySlot<0>()), 1) << name;
  }
  EXPECT_EQ(ztObject_setFloat(gauge, "real", 2.5), 1);
  EXPECT_EQ(numbers, std::vector{2.5});
  EXPECT_EQ(ztObject_setBool(gauge, "open", 1), 1);
  EXPECT_EQ(ztObject_setChar(gauge, "grade", -2), 1);
  EXPECT_EQ(ztObject_setPointer(gauge, "owner", &numbers), 1);
  EXPECT_EQ(told(), (Told{{0, 1}, {0, -2}, {0, wordOf(&numbers)}}));
  reaction = [](const Call &call) {
    EXPECT_STREQ(textOf(reinterpret_cast<const void *>(call.first)), "a text");
  };
  EXPECT_EQ(ztObject_setText(gauge, "note", "a text"), 1);
  EXPECT_EQ(ztObject_setText(gauge, "text", "a text"), 1);
  EXPECT_EQ(told().size(), 2U);
}

TEST_F(Changes, AreToldAfterTheSlotsOfAllProperties) {
  ASSERT_EQ(ztObject_onChange(gauge, "level", panel, diarySlot<0>()), 1);
  ASSERT_EQ(connectTo(gauge, "prop->signalname", panel, diarySlot<1>()), 1);
  EXPECT_EQ(ztObject_setInt(gauge, "level", 5), 1);
  EXPECT_EQ(ztObject_setBool(gauge, "open", 1), 1);
  EXPECT_EQ(told(), (Told{{1, 5}, {0, 5}, {1, 1}}));
  EXPECT_EQ(ztObject_blockSignal(gauge, "prop->signalname", 1), 1);
  EXPECT_EQ(ztObject_setInt(gauge, "level", 6), 1);
  EXPECT_EQ(told(), (Told{{0, 6}}));
  EXPECT_EQ(ztObject_blockSignal(gauge, "change->level", 1), 1);
  EXPECT_EQ(ztObject_setInt(gauge, "level", 7), 1);
  EXPECT_EQ(told(), Told());
}

TEST_F(Changes, AreToldOfThisObjectOnly) {
  const Object other(Gauge_ctor);
  ASSERT_EQ(ztObject_onChange(gauge, "level", panel, diarySlot<0>()), 1);
  ASSERT_EQ(connectTo(other, "prop->signalname", panel, diarySlot<1>()), 1);
  EXPECT_EQ(ztObject_setInt(other, "level", 5), 1);
  EXPECT_EQ(told(), (Told{{1, 5}}));
  const Object original;
  ASSERT_EQ(ztObject_addInt(original, "level", 0), 1);
  ASSERT_EQ(ztObject_onChange(original, "level", panel, diarySlot<0>()), 1);
  const auto copy = original.copy();
  EXPECT_EQ(ztObject_setInt(copy, "level", 6), 1);
  EXPECT_EQ(told(), Told());
}

TEST_F(Changes, AreNoLongerToldOnceTheyAreDisconnected) {
  ASSERT_EQ(ztObject_onChange(gauge, "level", panel, diarySlot<0>()), 1);
  EXPECT_EQ(ztObject_disconnect(gauge, "change->level", panel, diarySlot<0>()), 1);
  EXPECT_EQ(ztObject_setInt(gauge, "level", 5), 1);
  EXPECT_EQ(told(), Told());
  EXPECT_EQ(ztObject_onChange(gauge, "level", panel, diarySlot<0>()), 1);
}

TEST_F(Changes, EndWithEitherEnd) {
  Listener *shortLived = newListener();
  ASSERT_EQ(ztObject_onChange(gauge, "level", shortLived, diarySlot<0>()), 1);
  release(shortLived);
  EXPECT_EQ(ztObject_setInt(gauge, "level", 5), 1);
  EXPECT_EQ(told(), Told());
  void *object = Gauge_ctor(nullptr, 1);
  ASSERT_EQ(ztObject_onChange(object, "level", panel, diarySlot<0>()), 1);
  ASSERT_EQ(ztObject_onChange(object, "open", object, diarySlot<0>()), 1);
  release(object);
}

TEST_F(Changes, OfPropertiesWithOddNamesAreToldApart) {
  const std::string longName(5000, 'n');
  const char *const names[] = {"signalname", "", "change->level", "prop->signalname", longName.c_str()};
  for (const char *name : names) ASSERT_EQ(ztObject_addInt(gauge, name, 0), 1);
  ASSERT_EQ(ztObject_onChange(gauge, "level", panel, diarySlot<0>()), 1);
  const std::vector<ztSlotFunction> slots = diarySlots<6>();
  for (size_t i = 0; i < 5; ++i) ASSERT_EQ(ztObject_onChange(gauge, names[i], panel, slots[i + 1]), 1);
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(ztObject_setInt(gauge, names[i], i), 1);
    EXPECT_EQ(told(), (Told{{i + 1, i}})) << names[i];
  }
}

TEST_F(Changes, OfAPropertyThatASlotEndsAreNotTold) {
  ASSERT_EQ(ztObject_addInt(gauge, "dynamic", 1), 1);
  ASSERT_EQ(ztObject_onChange(gauge, "dynamic", panel, diarySlot<0>()), 1);
  ASSERT_EQ(connectTo(gauge, "prop->signalname", panel, diarySlot<1>()), 1);
  reaction = [](const Call &call) {
    auto *object = static_cast<ztObject *>(const_cast<void *>(call.sender));
    const String name("dynamic");
    ztPropertyMap_of(object->dynamicProperties)->pop(object->dynamicProperties, name);
  };
  EXPECT_EQ(ztObject_setInt(gauge, "dynamic", 5), 1);
  EXPECT_EQ(told(), (Told{{1, 5}}));
  reaction = nullptr;
  EXPECT_EQ(ztObject_addInt(gauge, "dynamic", 1), 1);
  EXPECT_EQ(ztObject_setInt(gauge, "dynamic", 6), 1);
  EXPECT_EQ(told(), (Told{{1, 6}, {0, 6}}));
}

// The new property is likely to have the address of the old one.
TEST_F(Changes, OfAPropertyThatASlotReplacesAreNotTold) {
  const auto dropAll = [](const void *object) {
    void *properties = static_cast<const ztObject *>(object)->dynamicProperties;
    ztPropertyMap_of(properties)->empty(properties);
  };
  void *object = gauge;
  ASSERT_EQ(ztObject_addText(object, "text", "first"), 1);
  ASSERT_EQ(ztObject_addInt(object, "number", 1), 1);
  for (const char *name : {"text", "number"})
    ASSERT_EQ(ztObject_onChange(object, name, panel, diarySlot<0>()), 1);
  ASSERT_EQ(connectTo(object, "prop->signalname", panel, diarySlot<1>()), 1);
  for (const bool becomesText : {true, false}) {
    reaction = [=](const Call &) {
      dropAll(object);
      becomesText ? ztObject_addText(object, "text", "next") : ztObject_addInt(object, "number", 2);
    };
    dropAll(object);
    ASSERT_EQ(ztObject_addInt(object, "other", 1), 1);
    EXPECT_EQ(ztObject_setInt(object, "other", 5), 1);
    EXPECT_EQ(told(), (Told{{1, 5}})) << becomesText;
  }
}

TEST_F(Changes, OfAnObjectThatASlotEndsAreNotTold) {
  void *object = Gauge_ctor(nullptr, 1);
  ASSERT_EQ(ztObject_onChange(object, "level", panel, diarySlot<0>()), 1);
  ASSERT_EQ(connectTo(object, "prop->signalname", panel, diarySlot<1>()), 1);
  reaction = [=](const Call &call) {
    if (call.slot == 1) release(object);
  };
  EXPECT_EQ(ztObject_setInt(object, "level", 5), 1);
  EXPECT_EQ(told(), (Told{{1, 5}}));
}

TEST_F(Changes, MayBeMadeBySlots) {
  ASSERT_EQ(ztObject_onChange(gauge, "level", panel, diarySlot<0>()), 1);
  void *object = gauge;
  reaction = [=](const Call &call) {
    if (call.first < 3) ztObject_setInt(object, "level", static_cast<int32_t>(call.first) + 1);
  };
  EXPECT_EQ(ztObject_setInt(gauge, "level", 1), 1);
  EXPECT_EQ(told(), (Told{{0, 1}, {0, 2}, {0, 3}}));
}

TEST_F(Changes, OfAnObjectWhoseSignalsASlotTakesAreNotTold) {
  ASSERT_EQ(ztObject_onChange(gauge, "level", gauge, diarySlot<0>()), 1);
  ASSERT_EQ(connectTo(gauge, "prop->signalname", gauge, diarySlot<1>()), 1);
  reaction = [](const Call &call) {
    auto *object = static_cast<ztObject *>(const_cast<void *>(call.sender));
    release(std::exchange(object->signals, nullptr));
  };
  EXPECT_EQ(ztObject_setInt(gauge, "level", 5), 1);
  EXPECT_EQ(told(), (Told{{1, 5}}));
}

TEST_F(Changes, OfNodesAreToldAsWell) {
  const Object node(ztRoot_ctor);
  ASSERT_EQ(ztObject_onChange(node, "uniqueID", panel, diarySlot<0>()), 1);
  EXPECT_EQ(ztObject_setInt(node, "uniqueID", 12), 1);
  EXPECT_EQ(ztObject_setText(node, "name", "north"), 1);
  EXPECT_EQ(told(), (Told{{0, 12}}));
}

TEST_F(Changes, ThatCannotBeConnectedAreRefusedWithALine) {
  const Owned<ztString, ztStringMethods> string(ztString_ctor);
  const ztSlotFunction slot = diarySlot<0>();
  const auto onChange = [](void *object, const char *name, void *receiver, ztSlotFunction function) {
    return [=] { return ztObject_onChange(object, name, receiver, function); };
  };
  EXPECT_TRUE(isRefused(onChange(gauge, "levl", panel, slot), {"ztObject_onChange", "'Gauge'", "'levl'"}));
  EXPECT_EQ(gauge.fields().signals->tree->root, nullptr);
  EXPECT_TRUE(isRefused(onChange(nullptr, "level", panel, slot), {"ztObject_onChange", "NULL"}));
  EXPECT_TRUE(isRefused(onChange(string, "level", panel, slot), {"'ztString'"}));
  EXPECT_TRUE(isRefused(onChange(gauge, nullptr, panel, slot), {"name", "NULL"}));
  EXPECT_TRUE(isRefused(onChange(gauge, "level", nullptr, slot), {"receiver", "NULL"}));
  EXPECT_TRUE(isRefused(onChange(gauge, "level", string, slot), {"receiver", "'ztString'"}));
  EXPECT_TRUE(isRefused(onChange(gauge, "level", panel, {nullptr}), {"function", "NULL"}));
  ASSERT_EQ(ztObject_onChange(gauge, "level", panel, slot), 1);
  EXPECT_TRUE(isRefused(onChange(gauge, "level", panel, slot), {"already"}));
}

TEST_F(Changes, AreConnectedWholeOrNotWhenMemoryIsExhausted) {
  exhaustMemoryIn([] {
    const Object object;
    const Object listener;
    if (static_cast<void *>(object) == nullptr || static_cast<void *>(listener) == nullptr) return;
    const int32_t done = ztObject_onChange(object, "refCount", listener, diarySlot<0>());
    EXPECT_EQ(isConnected(object, "change->refCount", listener, diarySlot<0>()), done == 1);
    setProperty(object, "refCount", "ztInt", 3);
  });
}
