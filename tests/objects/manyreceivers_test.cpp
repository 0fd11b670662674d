// Emissions to more receivers than are looked through one by one, whose slots end, disconnect and connect receivers,
// beside a model.
#include "objects/ztobject.h"

#include "tests/helpers/faults.hh"
#include "tests/objects/listeners.hh"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <random>
#include <set>
#include <utility>
#include <vector>

namespace {

class Crowd {
 public:
  Crowd(uint32_t seed, size_t count) : random(seed) {
    while (all.size() < count) connect(all.emplace_back(newListener()));
    reaction = [this](const Call &call) { onCall(call); };
  }
  ~Crowd() {
    reaction = nullptr;
    for (void *one : all) release(one);
    release(emitter);
  }
  Crowd(const Crowd &) = delete;
  Crowd &operator=(const Crowd &) = delete;

  void emit() {
    std::vector<void *> pending(connected.begin(), connected.end());
    emissions.push_back(&pending);
    size_t next = 0;
    nextOfEmission.push_back(&next);
    ztObject_emit(emitter, "changed", 0);
    EXPECT_EQ(expected(), nullptr) << "was not called";
    nextOfEmission.pop_back();
    emissions.pop_back();
  }

  int calls = 0;

 private:
  size_t below(size_t limit) {
    return std::uniform_int_distribution<size_t>(0, limit - 1)(random);
  }
  void connect(void *one) {
    EXPECT_EQ(connectTo(emitter, "changed", one, diarySlot<0>()), 1);
    connected.insert(one);
  }
  void disconnect(void *one) {
    EXPECT_EQ(ztObject_disconnect(emitter, "changed", one, diarySlot<0>()),
              static_cast<int32_t>(connected.erase(one)));
  }
  void end(size_t index) {
    void *one = all[index];
    all.erase(all.begin() + static_cast<ptrdiff_t>(index));
    connected.erase(one);
    // A new receiver may get its address.
    for (std::vector<void *> *pending : emissions) std::replace(pending->begin(), pending->end(), one, none);
    release(one);
  }

  // The receiver whose turn it is in the innermost emission; NULL when there is none.
  void *expected() {
    const std::vector<void *> &pending = *emissions.back();
    size_t &next = *nextOfEmission.back();
    while (next < pending.size() && connected.count(pending[next]) == 0) ++next;
    return next < pending.size() ? pending[next] : nullptr;
  }

  void onCall(const Call &call) {
    diary.clear();
    ++calls;
    ASSERT_EQ(call.receiver, expected());
    ++*nextOfEmission.back();
    if (below(10) < 3 && !all.empty()) act();
    if (emissions.size() < 3 && below(100) == 0) emit();
  }

  void act() {
    const size_t index = below(all.size());
    void *one = all[index];
    switch (below(6)) {
      case 0:
        return disconnect(one);
      case 1:
        disconnect(one);
        return connect(one);
      case 2:
        end(index);
        return connect(all.emplace_back(newListener()));
      case 3:
        return release(newListener());
      default:
        return end(index);
    }
  }

  void *const none = nullptr;
  std::mt19937 random;
  void *emitter = newListener();
  std::vector<void *> all;
  std::set<void *> connected;  // in the order of delivery
  std::vector<std::vector<void *> *> emissions;
  std::vector<size_t *> nextOfEmission;
};

class ManyReceivers : public ListenerTest, public testing::WithParamInterface<size_t> {
 protected:
  ~ManyReceivers() override {
    reaction = nullptr;
  }
};

TEST_P(ManyReceivers, AreCalledAsTheModelSays) {
  int calls = 0;
  for (uint32_t seed = 1; seed <= 8 && !HasFailure(); ++seed) {
    SCOPED_TRACE(seed);
    Crowd crowd(seed, GetParam());
    for (int i = 0; i < 6; ++i) crowd.emit();
    calls += crowd.calls;
  }
  EXPECT_GT(calls, 8 * 6);
}

TEST_P(ManyReceivers, MayEndThemselves) {
  Object sender;
  for (size_t i = 0; i < GetParam(); ++i) connectTo(sender, "changed", newListener(), diarySlot<0>());
  reaction = [](const Call &call) { release(const_cast<void *>(call.receiver)); };
  ztObject_emit(sender, "changed", 0);
  EXPECT_EQ(diary.size(), GetParam());
  EXPECT_EQ(listenersLive, 0);
  EXPECT_EQ(ztObject_emit(sender, "changed", 0), 0);
}

// Without memory nothing can be looked up, and each slot ends the last receiver.
TEST_P(ManyReceivers, MayEndTheLastOnesWithoutMemory) {
  Object sender;
  std::vector<Listener *> receivers(GetParam());
  for (Listener *&one : receivers) one = newListener();
  std::sort(receivers.begin(), receivers.end());
  for (Listener *one : receivers) connectTo(sender, "changed", one, diarySlot<0>());
  diary.reserve(receivers.size());
  size_t called = 0;
  std::optional<Fault> fault;
  reaction = [&](const Call &call) {
    EXPECT_EQ(call.receiver, receivers[called++]);
    if (!fault) fault.emplace(0, true);
    release(receivers.back());
    receivers.pop_back();
  };
  ztObject_emit(sender, "changed", 0);
  fault.reset();
  EXPECT_EQ(called, (GetParam() + 1) / 2);
  for (Listener *one : receivers) release(one);
}

// Few and many, and one to each side of the number from which on they are looked up.
INSTANTIATE_TEST_SUITE_P(All, ManyReceivers, testing::Values(3, 63, 64, 65, 66, 128, 129, 130, 300));

// Nested emissions --------------------------------------------------------------------------------

class NestedEmissions : public ListenerTest, public testing::WithParamInterface<int> {
 protected:
  ~NestedEmissions() override {
    reaction = nullptr;
  }
  void connect(void *sender, size_t count) {
    while (receivers.size() < count) receivers.push_back(newListener());
    std::sort(receivers.begin(), receivers.end());
    for (Listener *one : receivers) connectTo(sender, "changed", one, diarySlot<0>());
  }
  void endReceivers() {
    for (Listener *one : receivers) release(one);
  }

  std::vector<Listener *> receivers;
};

TEST_P(NestedEmissions, AllEndWithTheirEmitter) {
  void *emitter = newListener();
  connect(emitter, 3);
  int depth = 0;
  reaction = [&](const Call &) {
    if (++depth < GetParam()) {
      ztObject_emit(emitter, "changed", 0);
    } else if (emitter != nullptr) {
      release(std::exchange(emitter, nullptr));
    }
  };
  ztObject_emit(emitter, "changed", 0);
  EXPECT_EQ(diary.size(), static_cast<size_t>(GetParam()));
  for (const Call &call : diary) EXPECT_EQ(call.receiver, receivers[0]);
  endReceivers();
}

TEST_P(NestedEmissions, SkipAReceiverThatTheInnermostEnds) {
  Listener *emitter = newListener();
  connect(emitter, 3);
  int depth = 0;
  reaction = [&](const Call &call) {
    if (call.receiver != receivers[0]) return;
    if (++depth < GetParam()) {
      ztObject_emit(emitter, "changed", 0);
    } else {
      release(std::exchange(receivers[1], nullptr));
    }
  };
  ztObject_emit(emitter, "changed", 0);
  EXPECT_EQ(diary.size(), 2 * static_cast<size_t>(GetParam()));
  int last = 0;
  for (const Call &call : diary) last += call.receiver == receivers[2] ? 1 : 0;
  EXPECT_EQ(last, GetParam());
  receivers.erase(receivers.begin() + 1);
  endReceivers();
  release(emitter);
}

// A property that its setter's notification sets again watches its object at each level.
TEST_P(NestedEmissions, OfAPropertyAllNoticeTheEndOfTheirObject) {
  Listener *object = newListener();
  ztWord initial = 0;
  Listener_of(object)->setProperty(object, "level", "ztInt", reinterpret_cast<ztWord>(&initial));
  Listener_of(object)->addSignal(ztOOP_classOf(object), object, "prop->signalname", 1);
  Listener *receiver = newListener();
  connectTo(object, "prop->signalname", receiver, diarySlot<0>());
  int depth = 0;
  reaction = [&](const Call &) {
    if (++depth < GetParam()) {
      Listener_of(object)->setProperty(object, "level", "ztInt", depth);
    } else {
      release(std::exchange(object, nullptr));
    }
  };
  Listener_of(object)->setProperty(object, "level", "ztInt", 0);
  EXPECT_EQ(diary.size(), static_cast<size_t>(GetParam()));
  EXPECT_EQ(object, nullptr);
  release(receiver);
}

INSTANTIATE_TEST_SUITE_P(All, NestedEmissions, testing::Values(1, 10, 16, 31, 32, 33, 64, 200));

}  // namespace
