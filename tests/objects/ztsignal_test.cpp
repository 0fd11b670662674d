#include "objects/ztsignal.h"

#include "tests/objects/listeners.hh"

#include <gtest/gtest.h>

namespace {

class Signal : public Owned<ztSignal, ztSignalMethods> {
 public:
  explicit Signal(const char *name) : Owned(ztSignal_ctor) {
    ztString_of(fields().name)->set(fields().name, name);
  }
};

TEST(ztSignal, CloneHasANameAndSlotsOfItsOwn) {
  void *owner = ztObject_ctor(nullptr, 1);
  const Object receiver;
  ztSignal *signal = addSignal(owner, "changed", 3);
  ztObject_table()->addSlot(ztObjectClass_Instance(), signal, receiver, "slot", diarySlot<0>());
  signal->blocked = 7;
  const Owned<ztSignal, ztSignalMethods> copied(newCopy(signal));
  const ztSignal &copy = copied.fields();
  EXPECT_NE(copy.slots, signal->slots);
  release(owner);
  EXPECT_STREQ(textOf(copy.name), "changed");
  EXPECT_EQ(ztSlotMap_of(copy.slots)->getSize(copy.slots), 1);
  EXPECT_NE(ztSlotMap_of(copy.slots)->find(copy.slots, receiver), nullptr);
  EXPECT_EQ(copy.slots->refCount, 1);
  EXPECT_EQ(copy.argumentCount, 3U);
  EXPECT_EQ(copy.blocked, 7U);
}

TEST(ztSignal, CloneHasNeitherSlotsNorANameThatItsSourceHasNot) {
  const Signal signal("fresh");
  const auto copy = signal.copy();
  EXPECT_EQ(copy.fields().slots, nullptr);
  EXPECT_STREQ(textOf(copy.fields().name), "fresh");
  signal->destroy(signal);
  const auto ofEnded = signal.copy();
  EXPECT_EQ(ofEnded.fields().name, nullptr);
  EXPECT_EQ(ofEnded.fields().slots, nullptr);
}

TEST(ztSignal, AssignCopiesNothing) {
  const Signal signal("one");
  const Signal other("other");
  other.fields().argumentCount = 2;
  EXPECT_EQ(signal->assign(signal, other), 1);
  EXPECT_STREQ(textOf(signal.fields().name), "one");
  EXPECT_EQ(signal.fields().argumentCount, 0U);
}

}  // namespace
