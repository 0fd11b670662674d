#include "objects/ztslot.h"

#include "tests/helpers/faults.hh"
#include "tests/objects/listeners.hh"

#include <gtest/gtest.h>

#include <string.h>

namespace {

class Slot : public Owned<ztSlot, ztSlotMethods> {
 public:
  Slot(const char *name, void *receiver, ztSlotFunction function) : Owned(ztSlot_ctor) {
    ztString_of(fields().name)->set(fields().name, name);
    fields().receiver = receiver;
    fields().function = function;
  }
};

uintptr_t addressOf(const ztSlotFunction &function) {
  uintptr_t address = 0;
  memcpy(&address, &function, sizeof address);
  return address;
}

TEST(ztSlot, CloneHasANameOfItsOwn) {
  Slot slot("name", &slot, diarySlot<0>());
  const auto copy = slot.copy();
  release(slot.release());
  EXPECT_STREQ(textOf(copy.fields().name), "name");
  EXPECT_EQ(copy.fields().receiver, &slot);
  EXPECT_EQ(addressOf(copy.fields().function), addressOf(diarySlot<0>()));
}

TEST(ztSlot, CloneOfAnEndedOneHasNoName) {
  const Slot slot("ended", nullptr, diarySlot<0>());
  slot->destroy(slot);
  const auto copy = slot.copy();
  EXPECT_EQ(copy.fields().name, nullptr);
  EXPECT_EQ(addressOf(copy.fields().function), addressOf(diarySlot<0>()));
}

TEST(ztSlot, AssignCopiesNothing) {
  const Slot slot("one", nullptr, diarySlot<0>());
  EXPECT_EQ(slot->assign(slot, Slot("other", slot, diarySlot<1>())), 1);
  EXPECT_STREQ(textOf(slot.fields().name), "one");
  EXPECT_EQ(slot.fields().receiver, nullptr);
  EXPECT_EQ(addressOf(slot.fields().function), addressOf(diarySlot<0>()));
}

// The name is a string of its own, of which a part may be lacking.
TEST(ztSlot, IsNotMadeWhenAPartOfItsNameIsNot) {
  alignas(ztSlot) char memory[sizeof(ztSlot)];
  auto *slot = static_cast<ztSlot *>(ztSlot_ctor(memory, 0));
  exhaustMemoryIn([slot] {
    if (ztSlot_table()->create(slot)) {
      EXPECT_NE(slot->name->buffer, nullptr);
      EXPECT_EQ(ztArray_of(slot->name->buffer)->getSize(slot->name->buffer), 20);
    }
    ztSlot_table()->destroy(slot);
  });
}

TEST(ztSlotMap, KeepsReceiversByPointerAndSlotsByValue) {
  const Object receiver;
  {
    const Owned<ztSlotMap, ztSlotMapMethods> map(ztSlotMap_ctor);
    Slot slot("name", receiver, diarySlot<0>());
    const ztMapItem *item = map->pushBack(map, receiver, slot);
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(item->data, receiver);
    EXPECT_NE(item->value, slot);
    release(slot.release());
    EXPECT_STREQ(textOf(static_cast<ztSlot *>(item->value)->name), "name");
  }
  EXPECT_EQ(receiver->getRefCount(receiver), 1);
}

TEST(ztSlotMap, ComparesSlotsByReceiverThenByFunction) {
  char bytes[2] = {};
  const Slot one("one", &bytes[0], diarySlot<0>());
  const Slot sameByAnotherName("other", &bytes[0], diarySlot<0>());
  const Slot laterReceiver("one", &bytes[1], diarySlot<0>());
  const Slot otherFunction("one", &bytes[0], diarySlot<1>());
  const int32_t byFunction = addressOf(diarySlot<0>()) > addressOf(diarySlot<1>()) ? 1 : -1;
  for (ztCompareFunc compare : {ztSlotMap_value_compare_func, ztSlotMap_value_compare_func_ptr}) {
    EXPECT_EQ(compare(one, sameByAnotherName), 0);
    EXPECT_EQ(compare(one, laterReceiver), -1);
    EXPECT_EQ(compare(laterReceiver, one), 1);
    EXPECT_EQ(compare(one, otherFunction), byFunction);
    EXPECT_EQ(compare(otherFunction, one), -byFunction);
    EXPECT_EQ(compare(nullptr, one), -1);
    EXPECT_EQ(compare(one, nullptr), 1);
  }
}

}  // namespace
