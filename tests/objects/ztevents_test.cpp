#include "objects/ztevents.h"

#include "tests/helpers/faults.hh"
#include "tests/helpers/replaced.hh"
#include "tests/objects/gauge.hh"

#include <gtest/gtest.h>

#include <tuple>

namespace {

class Events : public ListenerTest {
 protected:
  const Object sender{Gauge_ctor};
  const Object receiver{Listener_ctor};
};

struct Received {
  void *receiver;
  const void *sender;
  intptr_t words[4];
  double numbers[4];
  bool operator==(const Received &other) const = default;
};

std::vector<Received> received;

template <typename... Arguments>
void note(void *receiver, Arguments... arguments) {
  Received entry = {receiver, ztObject_of(receiver)->getSender(receiver), {}, {}};
  intptr_t *word = entry.words;
  double *number = entry.numbers;
  const auto add = [&](auto value) {
    if constexpr (std::is_same_v<decltype(value), double>) {
      *number++ = value;
    } else {
      *word++ = value;
    }
  };
  (add(arguments), ...);
  received.push_back(entry);
}

template <typename First, typename Second, typename Third, typename Fourth>
void emitMix(void *sender, void *receiver) {
  static const auto argumentOf = [](auto kind, int value) -> ztArgument {
    if constexpr (std::is_same_v<decltype(kind), double>) return ZT_FLOAT(value + 0.5);
    return ZT_INT(-value);
  };
  const ztArgument arguments[] = {argumentOf(First(), 1), argumentOf(Second(), 2), argumentOf(Third(), 3),
                                  argumentOf(Fourth(), 4)};
  const ztSlotFunction slot = ZT_SLOT((note<First, Second, Third, Fourth>));
  ASSERT_EQ(ztObject_connect(sender, "mixed", receiver, slot, 4), 1);
  for (uint32_t count = 0; count <= 4; ++count) {
    received.clear();
    EXPECT_EQ(ztObject_emitArgs(sender, "mixed", arguments, count), 1);
    Received expected = {receiver, sender, {}, {}};
    intptr_t *word = expected.words;
    double *number = expected.numbers;
    for (uint32_t i = 0; i < count; ++i) {
      if (arguments[i].kind == ZT_ARGUMENT_DOUBLE) {
        *number++ = arguments[i].value.number;
      } else {
        *word++ = arguments[i].value.word;
      }
    }
    // A missing argument leaves no gap, as those of one kind follow each other.
    EXPECT_EQ(received, std::vector{expected}) << count;
  }
  EXPECT_EQ(ztObject_disconnect(sender, "mixed", receiver, slot), 1);
}

template <typename First, typename Second, typename Third>
void emitMixes(void *sender, void *receiver) {
  emitMix<First, Second, Third, intptr_t>(sender, receiver);
  emitMix<First, Second, Third, double>(sender, receiver);
}

template <typename First, typename Second>
void emitMixes(void *sender, void *receiver) {
  emitMixes<First, Second, intptr_t>(sender, receiver);
  emitMixes<First, Second, double>(sender, receiver);
}

}  // namespace

TEST_F(Events, PassUpToFourWordsAndDoublesInAnyMix) {
  emitMixes<intptr_t, intptr_t>(sender, receiver);
  emitMixes<intptr_t, double>(sender, receiver);
  emitMixes<double, intptr_t>(sender, receiver);
  emitMixes<double, double>(sender, receiver);
}

TEST_F(Events, TakeArgumentsThatAreConstantWhenTheProgramIsBuilt) {
  static constinit int target;
  static constinit const ztArgument arguments[] = {ZT_INT('c'), ZT_FLOAT(2), ZT_POINTER(&target)};
  const auto slot = [](void *, int32_t character, double number, int *pointer) {
    EXPECT_EQ(character, 'c');
    EXPECT_EQ(number, 2);
    *pointer = 7;
  };
  ASSERT_EQ(ztObject_connect(sender, "measured", receiver, ZT_SLOT(+slot), 3), 1);
  EXPECT_EQ(ztObject_emitArgs(sender, "measured", arguments, 3), 1);
  EXPECT_EQ(target, 7);
}

TEST_F(Events, AreEmittedLikeThoseWithOneArgument) {
  ASSERT_EQ(ztObject_connect(sender, "changed", receiver, diarySlot<0>(), 1), 1);
  const ztArgument one[] = {ZT_INT(5)};
  EXPECT_EQ(ztObject_emitArgs(sender, "changed", one, 1), 1);
  EXPECT_EQ(ztObject_emitArgs(sender, "changed", nullptr, 0), 1);
  EXPECT_EQ(ztObject_emit(sender, "changed", 6), 1);
  const std::vector<Call> expected = {
      {0, receiver, sender, 5}, {0, receiver, sender, 0}, {0, receiver, sender, 6}};
  EXPECT_EQ(diary, expected);
  EXPECT_EQ(ztObject_of(receiver)->getSender(receiver), nullptr);
  EXPECT_EQ(ztObject_blockSignal(sender, "changed", 1), 1);
  EXPECT_EQ(ztObject_emitArgs(sender, "changed", one, 1), 0);
  EXPECT_EQ(ztObject_emitArgs(sender, "nothing", one, 1), 0);
  EXPECT_EQ(ztObject_disconnect(sender, "changed", receiver, diarySlot<0>()), 1);
  EXPECT_EQ(ztObject_blockSignal(sender, "changed", 0), 1);
  EXPECT_EQ(logOf([&] { EXPECT_EQ(ztObject_emitArgs(sender, "changed", one, 1), 0); }), "");
}

TEST_F(Events, WhoseSlotsDisconnectAndDestroyAreDeliveredAsAlways) {
  Listener *other = newListener();
  ASSERT_EQ(ztObject_connect(sender, "changed", receiver, diarySlot<0>(), 2), 1);
  ASSERT_EQ(ztObject_connect(sender, "changed", other, diarySlot<1>(), 2), 1);
  void *emitter = sender;
  reaction = [&](const Call &call) {
    if (call.receiver == other) {
      ztObject_disconnect(emitter, "changed", receiver, diarySlot<0>());
    } else {
      release(other);
    }
  };
  const ztArgument arguments[] = {ZT_INT(1), ZT_FLOAT(2)};
  EXPECT_EQ(ztObject_emitArgs(sender, "changed", arguments, 2), 1);
  EXPECT_EQ(diary.size(), 1U);
  if (diary[0].receiver == other) release(other);
}

TEST_F(Events, OfSignalsWithMoreThanFourArgumentsCallNothing) {
  ASSERT_NE(addSignal(sender, "wide", 5), nullptr);
  ASSERT_EQ(connectTo(sender, "wide", receiver, diarySlot<0>(), 5), 1);
  const ztArgument one[] = {ZT_INT(5)};
  EXPECT_EQ(ztObject_emitArgs(sender, "wide", one, 1), 1);
  EXPECT_TRUE(diary.empty());
}

TEST_F(Events, WithWrongArgumentsAreRefusedWithALine) {
  const ztArgument arguments[] = {ZT_INT(1), ZT_INT(2), ZT_INT(3), ZT_INT(4), ZT_INT(5)};
  const ztArgument unknown[] = {ZT_INT(1), {2, {.word = 1}}};
  const Owned<ztString, ztStringMethods> string(ztString_ctor);
  ASSERT_EQ(ztObject_connect(sender, "changed", receiver, diarySlot<0>(), 2), 1);
  const auto emit = [&](void *object, const char *name, const ztArgument *list, uint32_t count) {
    return [=] { return ztObject_emitArgs(object, name, list, count); };
  };
  EXPECT_TRUE(isRefused(emit(sender, "changed", arguments, 5), {"ztObject_emitArgs", "'changed'", "2", "5"}));
  EXPECT_TRUE(isRefused(emit(sender, "changed", arguments, 3), {"'changed'", "'Gauge'", "2", "3"}));
  EXPECT_TRUE(isRefused(emit(sender, "unknown", arguments, 5), {"'unknown'", "4", "5"}));
  EXPECT_TRUE(isRefused(emit(sender, "changed", unknown, 2), {"argument 1", "kind 2"}));
  EXPECT_TRUE(isRefused(emit(sender, "changed", nullptr, 1), {"list", "NULL"}));
  EXPECT_TRUE(isRefused(emit(sender, nullptr, arguments, 1), {"name", "NULL"}));
  EXPECT_TRUE(isRefused(emit(nullptr, "changed", arguments, 1), {"object", "NULL"}));
  EXPECT_TRUE(isRefused(emit(string, "changed", arguments, 1), {"'ztString'"}));
  EXPECT_TRUE(diary.empty());
}

TEST_F(Events, AreConnectedByTheSendersConnect) {
  EXPECT_EQ(ztObject_connect(sender, "changed", receiver, diarySlot<0>(), 1), 1);
  EXPECT_TRUE(isConnected(sender, "changed", receiver, diarySlot<0>()));
  EXPECT_EQ(ztObject_connect(sender, "changed", sender, diarySlot<0>(), 1), 1);
  static std::string slotName;
  auto *methods = static_cast<GaugeMethods *>(GaugeClass_Instance()->methodTable);
  const Replaced connect(methods->connect, [](ztClass *, void *, const char *, void *, const char *name,
                                              ztSlotFunction, uint32_t) {
    slotName = name;
    return 0;
  });
  EXPECT_TRUE(isRefused([&] { return ztObject_connect(sender, "other", receiver, diarySlot<0>(), 1); },
                        {"ztObject_connect", "'other'", "not connected"}));
  EXPECT_EQ(slotName, "other");
}

TEST_F(Events, ConnectedToADestroyedReceiverAreForgotten) {
  Listener *other = newListener();
  ASSERT_EQ(ztObject_connect(sender, "changed", other, diarySlot<0>(), 1), 1);
  release(other);
  EXPECT_EQ(ztObject_emit(sender, "changed", 1), 0);
}

TEST_F(Events, ThatCannotBeConnectedAreRefusedWithALine) {
  const Owned<ztString, ztStringMethods> string(ztString_ctor);
  const ztSlotFunction none = {nullptr};
  const auto connect = [](void *from, const char *name, void *to, ztSlotFunction function, uint32_t count) {
    return [=] { return ztObject_connect(from, name, to, function, count); };
  };
  const ztSlotFunction slot = diarySlot<0>();
  EXPECT_TRUE(isRefused(connect(nullptr, "one", receiver, slot, 1), {"ztObject_connect", "sender", "NULL"}));
  EXPECT_TRUE(isRefused(connect(sender, nullptr, receiver, slot, 1), {"name", "NULL"}));
  EXPECT_TRUE(isRefused(connect(sender, "one", nullptr, slot, 1), {"receiver", "NULL"}));
  EXPECT_TRUE(isRefused(connect(sender, "one", receiver, none, 1), {"function", "NULL"}));
  EXPECT_TRUE(isRefused(connect(string, "one", receiver, slot, 1), {"sender", "'ztString'"}));
  EXPECT_TRUE(isRefused(connect(sender, "one", string, slot, 1), {"receiver", "'ztString'"}));
  EXPECT_TRUE(isRefused(connect(sender, "one", receiver, slot, 5), {"'one'", "4", "5"}));
  ASSERT_EQ(ztObject_connect(sender, "one", receiver, slot, 1), 1);
  EXPECT_TRUE(isRefused(connect(sender, "one", receiver, slot, 1), {"'one'", "already"}));
  EXPECT_TRUE(isRefused(connect(sender, "one", receiver, diarySlot<1>(), 2), {"'one'", "1", "2"}));
  EXPECT_EQ(ztObject_connect(sender, "one", receiver, diarySlot<1>(), 0), 1);
}

TEST_F(Events, OfAnObjectThatIsBeingDestroyedAreNotConnected) {
  auto *ending = static_cast<ztObject *>(ztObject_ctor(nullptr, 1));
  ASSERT_EQ(ztObject_connect(ending, "destroyed", receiver, diarySlot<0>(), 1), 1);
  void *listener = receiver;
  reaction = [=](const Call &) {
    EXPECT_TRUE(isRefused([=] { return ztObject_connect(ending, "one", listener, diarySlot<1>(), 1); },
                          {"sender", "being destroyed"}));
    EXPECT_TRUE(isRefused([=] { return ztObject_connect(listener, "one", ending, diarySlot<1>(), 1); },
                          {"receiver", "being destroyed"}));
  };
  release(ending);
  EXPECT_EQ(diary.size(), 1U);
}

TEST_F(Events, AreConnectedWholeOrNotWhenMemoryIsExhausted) {
  exhaustMemoryIn([] {
    const Object from;
    const Object to;
    if (static_cast<void *>(from) == nullptr || static_cast<void *>(to) == nullptr) return;
    const int32_t done = ztObject_connect(from, "one", to, diarySlot<0>(), 1);
    EXPECT_EQ(isConnected(from, "one", to, diarySlot<0>()), done == 1);
    const ztArgument one[] = {ZT_INT(5)};
    const int32_t emitted = ztObject_emitArgs(from, "one", one, 1);
    EXPECT_TRUE(done || !emitted);
  });
}
