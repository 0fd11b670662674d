#include "objects/ztsignal.h"

#include "tests/objects/listeners.hh"

#include <gtest/gtest.h>

#include <stddef.h>
#include <string.h>

namespace {

ztSignal *newSignal(const char *name) {
  auto *signal = static_cast<ztSignal *>(ztSignal_ctor(nullptr, 1));
  ztString_of(signal->name)->set(signal->name, name);
  return signal;
}

}  // namespace

TEST(Signal, FieldsStandInTheirOrder) {
  EXPECT_EQ(offsetof(ztSignal, name), 16U);
  EXPECT_EQ(offsetof(ztSignal, slots), 24U);
  EXPECT_EQ(offsetof(ztSignal, argumentCount), 32U);
  EXPECT_EQ(offsetof(ztSignal, blocked), 36U);
  EXPECT_EQ(sizeof(ztSignal), 40U);
  EXPECT_EQ(sizeof(ztSignalMethods), sizeof(ztBaseClassMethods));
}

TEST(Signal, CreateClearsEveryField) {
  alignas(ztSignal) unsigned char memory[sizeof(ztSignal)];
  memset(memory, 0xA5, sizeof memory);
  auto *signal = static_cast<ztSignal *>(ztSignal_ctor(memory, 1));
  EXPECT_STREQ(textOf(signal->name), "");
  EXPECT_EQ(signal->slots, nullptr);
  EXPECT_EQ(signal->argumentCount, 0U);
  EXPECT_EQ(signal->blocked, 0U);
  ztSignal_of(signal)->destroy(signal);
  EXPECT_EQ(signal->name, nullptr);
  EXPECT_EQ(signal->slots, nullptr);
  ztSignal_of(signal)->destroy(signal);
}

TEST(Signal, CloneHasANameAndSlotsOfItsOwn) {
  Listener *owner = newListener();
  Listener *receiver = newListener();
  ztClass *klass = ListenerClass_Instance();
  ztSignal *signal = ztObject_of(owner)->addSignal(klass, owner, "changed", 3);
  ztObject_of(owner)->addSlot(klass, signal, receiver, "slot", diarySlot<0>());
  signal->blocked = 7;

  auto *copy = static_cast<ztSignal *>(ztSignal_of(signal)->clone(signal, ztSignal_newop()));
  copy->refCount = 1;
  EXPECT_STREQ(textOf(copy->name), "changed");
  EXPECT_NE(copy->name, signal->name);
  ASSERT_NE(copy->slots, signal->slots);
  EXPECT_EQ(ztSlotMap_of(copy->slots)->getSize(copy->slots), 1);
  EXPECT_EQ(copy->slots->refCount, 1);
  EXPECT_EQ(copy->argumentCount, 3U);
  EXPECT_EQ(copy->blocked, 7U);
  release(owner);
  EXPECT_NE(ztSlotMap_of(copy->slots)->find(copy->slots, receiver), nullptr);
  release(copy);
  release(receiver);
}

TEST(Signal, CloneWithoutSlotsHasNone) {
  ztSignal *signal = newSignal("fresh");
  auto *copy = static_cast<ztSignal *>(ztSignal_of(signal)->clone(signal, ztSignal_newop()));
  copy->refCount = 1;
  EXPECT_EQ(copy->slots, nullptr);
  EXPECT_STREQ(textOf(copy->name), "fresh");
  release(signal);
  release(copy);
}

TEST(Signal, CloneOfAnEndedOneHasNoName) {
  ztSignal *signal = newSignal("ended");
  ztSignal_of(signal)->destroy(signal);
  auto *copy = static_cast<ztSignal *>(ztSignal_of(signal)->clone(signal, ztSignal_newop()));
  ASSERT_NE(copy, nullptr);
  copy->refCount = 1;
  EXPECT_EQ(copy->name, nullptr);
  EXPECT_EQ(copy->slots, nullptr);
  release(signal);
  release(copy);
}

TEST(Signal, AssignCopiesNothing) {
  ztSignal *signal = newSignal("one");
  ztSignal *other = newSignal("other");
  other->argumentCount = 2;
  EXPECT_EQ(ztSignal_of(signal)->assign(signal, other), 1);
  EXPECT_STREQ(textOf(signal->name), "one");
  EXPECT_EQ(signal->argumentCount, 0U);
  release(signal);
  release(other);
}

TEST(Signal, TakesNoObject) {
  const ztSignalMethods *methods = ztSignal_table();
  EXPECT_EQ(methods->create(nullptr), 0);
  EXPECT_EQ(methods->clone(nullptr, nullptr), nullptr);
  methods->destroy(nullptr);
  ztSignal *signal = newSignal("one");
  EXPECT_EQ(methods->clone(signal, nullptr), nullptr);
  release(signal);
}

TEST(SignalMap, KeepsStringsAndSignalsByValue) {
  auto *map = static_cast<ztSignalMap *>(ztSignalMap_ctor(nullptr, 1));
  EXPECT_EQ(map->klass->parent, ztMapClass_Instance());
  EXPECT_EQ(map->keyConstructor, ztString_ctor);
  EXPECT_EQ(map->keySize, static_cast<int32_t>(sizeof(ztString)));
  EXPECT_EQ(map->keyByPointer, 0U);
  EXPECT_EQ(map->compareFunction, ztSignalMap_compare_func);
  EXPECT_EQ(map->valueConstructor, ztSignal_ctor);
  EXPECT_EQ(map->valueSize, static_cast<int32_t>(sizeof(ztSignal)));
  EXPECT_EQ(map->valueByPointer, 0U);
  EXPECT_EQ(map->valueCompareFunction, ztSignalMap_compare_func);
  EXPECT_EQ(map->allowDuplicate, 0U);
  release(map);
}

TEST(SignalMap, ComparesStringsInBothForms) {
  ztSignal *one = newSignal("one");
  ztSignal *two = newSignal("two");
  for (ztCompareFunc compare : {ztSignalMap_compare_func, ztSignalMap_compare_func_ptr}) {
    EXPECT_EQ(compare(one->name, one->name), 0);
    EXPECT_EQ(compare(one->name, two->name), -1);
    EXPECT_EQ(compare(two->name, one->name), 1);
    EXPECT_EQ(compare(nullptr, one->name), -1);
  }
  release(one);
  release(two);
}
