#include "objects/ztslot.h"

#include "tests/objects/listeners.hh"

#include <gtest/gtest.h>

#include <stddef.h>
#include <string.h>

namespace {

ztSlot *newSlot(const char *name, void *receiver, ztSlotFunction function) {
  auto *slot = static_cast<ztSlot *>(ztSlot_ctor(nullptr, 1));
  ztString_of(slot->name)->set(slot->name, name);
  slot->receiver = receiver;
  slot->function = function;
  return slot;
}

void *addressOf(const ztSlotFunction &function) {
  void *address = nullptr;
  memcpy(&address, &function, sizeof address);
  return address;
}

}  // namespace

TEST(Slot, FieldsStandInTheirOrder) {
  EXPECT_EQ(offsetof(ztSlot, name), 16U);
  EXPECT_EQ(offsetof(ztSlot, receiver), 24U);
  EXPECT_EQ(offsetof(ztSlot, function), 32U);
  EXPECT_EQ(sizeof(ztSlot), 40U);
  EXPECT_EQ(sizeof(ztSlotMethods), sizeof(ztBaseClassMethods));
  EXPECT_EQ(sizeof(ztSlotFunction), sizeof(void *));
}

TEST(Slot, CreateClearsEveryField) {
  alignas(ztSlot) unsigned char memory[sizeof(ztSlot)];
  memset(memory, 0xA5, sizeof memory);
  auto *slot = static_cast<ztSlot *>(ztSlot_ctor(memory, 1));
  EXPECT_STREQ(textOf(slot->name), "");
  EXPECT_EQ(slot->receiver, nullptr);
  EXPECT_EQ(slot->function.call0, nullptr);
  ztSlot_of(slot)->destroy(slot);
  EXPECT_EQ(slot->name, nullptr);
  ztSlot_of(slot)->destroy(slot);
}

TEST(Slot, CloneHasANameOfItsOwn) {
  Listener *receiver = newListener();
  ztSlot *slot = newSlot("name", receiver, diarySlot<0>());
  auto *copy = static_cast<ztSlot *>(ztSlot_of(slot)->clone(slot, ztSlot_newop()));
  copy->refCount = 1;
  EXPECT_NE(copy->name, slot->name);
  release(slot);
  EXPECT_STREQ(textOf(copy->name), "name");
  EXPECT_EQ(copy->receiver, receiver);
  EXPECT_EQ(addressOf(copy->function), addressOf(diarySlot<0>()));
  release(copy);
  release(receiver);
}

TEST(Slot, CloneOfAnEndedOneHasNoName) {
  ztSlot *slot = newSlot("ended", nullptr, diarySlot<0>());
  ztSlot_of(slot)->destroy(slot);
  auto *copy = static_cast<ztSlot *>(ztSlot_of(slot)->clone(slot, ztSlot_newop()));
  ASSERT_NE(copy, nullptr);
  copy->refCount = 1;
  EXPECT_EQ(copy->name, nullptr);
  EXPECT_EQ(addressOf(copy->function), addressOf(diarySlot<0>()));
  release(slot);
  release(copy);
}

TEST(Slot, AssignCopiesNothing) {
  ztSlot *slot = newSlot("one", nullptr, diarySlot<0>());
  ztSlot *other = newSlot("other", slot, diarySlot<1>());
  EXPECT_EQ(ztSlot_of(slot)->assign(slot, other), 1);
  EXPECT_STREQ(textOf(slot->name), "one");
  EXPECT_EQ(slot->receiver, nullptr);
  EXPECT_EQ(addressOf(slot->function), addressOf(diarySlot<0>()));
  release(slot);
  release(other);
}

TEST(Slot, TakesNoObject) {
  const ztSlotMethods *methods = ztSlot_table();
  EXPECT_EQ(methods->create(nullptr), 0);
  EXPECT_EQ(methods->clone(nullptr, nullptr), nullptr);
  methods->destroy(nullptr);
  ztSlot *slot = newSlot("name", nullptr, diarySlot<0>());
  EXPECT_EQ(methods->clone(slot, nullptr), nullptr);
  release(slot);
}

TEST(SlotMap, KeepsReceiversByPointerAndSlotsByValue) {
  auto *map = static_cast<ztSlotMap *>(ztSlotMap_ctor(nullptr, 1));
  EXPECT_EQ(map->klass->parent, ztMapClass_Instance());
  EXPECT_EQ(map->keySize, 8);
  EXPECT_NE(map->keyByPointer, 0U);
  EXPECT_EQ(map->keyConstructor, nullptr);
  EXPECT_EQ(map->compareFunction, ztSlotMap_key_compare_func_ptr);
  EXPECT_EQ(map->valueConstructor, ztSlot_ctor);
  EXPECT_EQ(map->valueSize, static_cast<int32_t>(sizeof(ztSlot)));
  EXPECT_EQ(map->valueByPointer, 0U);
  EXPECT_EQ(map->valueCompareFunction, ztSlotMap_value_compare_func);

  Listener *receiver = newListener();
  ztSlot *slot = newSlot("name", receiver, diarySlot<0>());
  const ztMapItem *item = ztSlotMap_of(map)->pushBack(map, receiver, slot);
  ASSERT_NE(item, nullptr);
  EXPECT_EQ(item->data, receiver);
  EXPECT_NE(item->value, slot);
  release(slot);
  EXPECT_STREQ(textOf(static_cast<ztSlot *>(item->value)->name), "name");
  release(map);
  EXPECT_EQ(receiver->refCount, 1);
  release(receiver);
}

TEST(SlotMap, ComparesReceiversInBothForms) {
  char bytes[2] = {};
  const void *low = &bytes[0];
  const void *high = &bytes[1];
  EXPECT_EQ(ztSlotMap_key_compare_func(&low, &low), 0);
  EXPECT_EQ(ztSlotMap_key_compare_func(&low, &high), -1);
  EXPECT_EQ(ztSlotMap_key_compare_func(&high, &low), 1);
  EXPECT_EQ(ztSlotMap_key_compare_func(nullptr, &low), -1);
  EXPECT_EQ(ztSlotMap_key_compare_func_ptr(low, low), 0);
  EXPECT_EQ(ztSlotMap_key_compare_func_ptr(low, high), -1);
  EXPECT_EQ(ztSlotMap_key_compare_func_ptr(high, low), 1);
  EXPECT_EQ(ztSlotMap_key_compare_func_ptr(nullptr, low), -1);
  // Addresses, not signed numbers.
  EXPECT_EQ(ztSlotMap_key_compare_func_ptr(reinterpret_cast<void *>(UINTPTR_MAX), low), 1);
}

TEST(SlotMap, ComparesSlotsByReceiverThenByFunction) {
  char bytes[2] = {};
  ztSlot *one = newSlot("one", &bytes[0], diarySlot<0>());
  ztSlot *sameByAnotherName = newSlot("other", &bytes[0], diarySlot<0>());
  ztSlot *laterReceiver = newSlot("one", &bytes[1], diarySlot<0>());
  ztSlot *otherFunction = newSlot("one", &bytes[0], diarySlot<1>());
  const int32_t byFunction = reinterpret_cast<uintptr_t>(addressOf(diarySlot<0>())) >
                                     reinterpret_cast<uintptr_t>(addressOf(diarySlot<1>()))
                                 ? 1
                                 : -1;
  for (ztCompareFunc compare : {ztSlotMap_value_compare_func, ztSlotMap_value_compare_func_ptr}) {
    EXPECT_EQ(compare(one, sameByAnotherName), 0);
    EXPECT_EQ(compare(one, laterReceiver), -1);
    EXPECT_EQ(compare(laterReceiver, one), 1);
    EXPECT_EQ(compare(one, otherFunction), byFunction);
    EXPECT_EQ(compare(otherFunction, one), -byFunction);
    EXPECT_EQ(compare(nullptr, one), -1);
    EXPECT_EQ(compare(one, nullptr), 1);
  }
  for (ztSlot *slot : {one, sameByAnotherName, laterReceiver, otherFunction}) release(slot);
}
