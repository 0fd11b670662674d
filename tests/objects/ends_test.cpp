// Objects that end while others do.
#include "tests/helpers/scale.hh"
#include "tests/objects/listeners.hh"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <vector>

namespace {

const char *const changed = "changed";

int32_t emit(void *object) {
  return ztObject_emit(object, changed, 0);
}

// A test's diary, and a check that every listener of the test has gone at its end.
class Ends : public testing::Test {
 protected:
  ~Ends() override {
    EXPECT_EQ(listenersLive, 0);
  }

  // Slots are called in the order of their receivers' addresses: so `early` learns of an end before `late`.
  Ends() : early(newListener()), late(newListener()) {
    if (late < early) std::swap(early, late);
  }

  static bool wasCalled(int slot) {
    return std::any_of(diary.begin(), diary.end(), [=](const Call &call) { return call.slot == slot; });
  }

  Listener *early;
  Listener *late;

 private:
  const Diary empty;
};

// A class whose `destroy` emits when the parent's has run.
int32_t lateEmissions;

void lastWordsDestroy(void *object) {
  ztObject_table()->destroy(object);
  const ztObjectMethods *methods = ztObject_of(object);
  lateEmissions += emit(object) + ztObject_emit(object, "destroyed", 0);
  EXPECT_EQ(methods->addSignal(ztOOP_classOf(object), object, changed, 1), nullptr);
  EXPECT_EQ(connectTo(object, changed, object, diarySlot<0>()), 0);
  EXPECT_EQ(methods->setProperty(object, "new", "ztInt", 0), 0);
  EXPECT_EQ(methods->getSender(object), nullptr);
}

}  // namespace

#define LastWords_FIELDS ztObject_FIELDS
#define LastWords_METHODS ztObject_METHODS
ZT_DECLARE_CLASS(LastWords)

static void lastWordsMethods(LastWordsMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, destroy, lastWordsDestroy);
}

ZT_DEFINE_CLASS(LastWords, ztObject, lastWordsMethods)

TEST_F(Ends, APeerThatEndsAfterItWasToldOfADyingEmitterIsNotCalledByIt) {
  Listener *emitter = newListener();
  connectTo(emitter, changed, early, diarySlot<0>());
  connectTo(emitter, "destroyed", late, diarySlot<1>());
  reaction = [&](const Call &call) {
    if (call.slot != 1) return;
    release(early);
    EXPECT_EQ(listenersLive, 2);
    emit(emitter);
  };
  release(emitter);
  EXPECT_TRUE(wasCalled(1));
  EXPECT_FALSE(wasCalled(0));
  release(late);
}

TEST_F(Ends, APeerThatWasToldOfADyingEmitterIsStillCalledByItWhileItLives) {
  Listener *emitter = newListener();
  connectTo(emitter, changed, early, diarySlot<0>());
  connectTo(early, changed, emitter, diarySlot<2>());
  connectTo(emitter, "destroyed", late, diarySlot<1>());
  reaction = [&](const Call &call) {
    if (call.slot != 1) return;
    EXPECT_EQ(emit(emitter), 1);
    EXPECT_EQ(emit(early), 0);
  };
  release(emitter);
  EXPECT_TRUE(wasCalled(0));
  EXPECT_FALSE(wasCalled(2));
  EXPECT_EQ(emit(early), 0);
  EXPECT_EQ(ztObject_emit(early, "destroyed", 0), 0);
  release(early);
  release(late);
}

TEST_F(Ends, APeerThatEndsInTheBlockedSilenceOfItsOwnSignalIsNotCalled) {
  for (uint32_t blocked : {0U, 1U}) {
    Listener *emitter = newListener();
    Listener *peer = newListener();
    // Whichever of the two comes first.
    void *first = std::min(peer, late);
    void *second = std::max(peer, late);
    ztObject_of(first)->addSignal(ListenerClass_Instance(), first, "destroyed", blocked ? 1 : 9);
    connectTo(emitter, changed, first, diarySlot<0>());
    connectTo(emitter, "destroyed", second, diarySlot<1>());
    ztObject_blockSignal(first, "destroyed", blocked);
    bool gone = false;
    reaction = [&](const Call &call) {
      if (call.slot != 1) return;
      if (!gone) release(first);
      gone = true;
      emit(emitter);
    };
    release(emitter);
    EXPECT_FALSE(wasCalled(0));
    release(second);
    late = newListener();
  }
  release(early);
  release(late);
}

TEST_F(Ends, ThreeThatEndInsideEachOtherCallNobodyWhoIsGone) {
  const int count = 4;
  std::vector<Listener *> chain = {early, late};
  while (static_cast<int>(chain.size()) < count) chain.push_back(newListener());
  std::sort(chain.begin(), chain.end());
  do {
    std::set<const void *> gone;
    std::vector<Listener *> order = chain;
    for (Listener *sender : order) {
      for (Listener *receiver : order) connectTo(sender, changed, receiver, diarySlot<0>());
      for (Listener *receiver : order) {
        if (receiver != sender) connectTo(sender, "destroyed", receiver, diarySlot<1>());
      }
    }
    size_t next = 1;
    reaction = [&](const Call &call) {
      EXPECT_EQ(gone.count(call.receiver), 0U);
      if (call.slot != 1) return;
      const size_t mine = next++;
      if (mine < order.size()) {
        release(order[mine]);
        gone.insert(order[mine]);
      }
      for (Listener *object : order) {
        if (gone.count(object) == 0) emit(object);
      }
    };
    release(order[0]);
    EXPECT_EQ(gone.size(), order.size() - 1);
    EXPECT_EQ(listenersLive, 0);
    diary.clear();
    reaction = nullptr;
    for (Listener *&object : chain) object = newListener();
  } while (std::next_permutation(chain.begin(), chain.end()) && diary.empty() && chain.front() != nullptr &&
           ++lateEmissions < 30);
  lateEmissions = 0;
  for (Listener *object : chain) release(object);
}

TEST_F(Ends, ADyingEmitterThatIsReleasedByAPeerItReleasesEndsOnce) {
  Listener *emitter = newListener();
  connectTo(emitter, "destroyed", late, diarySlot<0>());
  connectTo(early, "destroyed", emitter, diarySlot<1>());
  reaction = [&](const Call &call) {
    if (call.slot == 0) release(early);
    if (call.slot == 1) release(emitter);
  };
  release(emitter);
  EXPECT_EQ(listenersLive, 1);
  release(late);
}

TEST_F(Ends, AReceiverThatNobodyWatchesMayEndDuringTheAnnouncement) {
  Listener *emitter = newListener();
  ztClass *klass = ListenerClass_Instance();
  ztSignal *destroyed = ztObject_of(emitter)->addSignal(klass, emitter, "destroyed", 1);
  ztObject_of(emitter)->addSlot(klass, destroyed, early, "slot", diarySlot<0>());
  ztObject_of(emitter)->addSlot(klass, destroyed, late, "slot", diarySlot<0>());
  reaction = [&](const Call &) {
    release(early);
    release(late);
  };
  release(emitter);
  EXPECT_EQ(diary.size(), 1U);
}

TEST_F(Ends, ASignalTakenAwayDuringTheAnnouncementLeavesNoPeerBehind) {
  Listener *emitter = newListener();
  connectTo(early, changed, emitter, diarySlot<0>());
  connectTo(late, changed, emitter, diarySlot<0>());
  connectTo(emitter, "destroyed", early, diarySlot<1>());
  reaction = [&](const Call &) { ztSignalMap_of(emitter->signals)->empty(emitter->signals); };
  release(emitter);
  EXPECT_EQ(emit(early), 0);
  EXPECT_EQ(emit(late), 0);
  release(early);
  release(late);
}

TEST_F(Ends, APeerDisconnectedDuringTheAnnouncementIsLeftAllTheSame) {
  Listener *emitter = newListener();
  connectTo(late, changed, emitter, diarySlot<0>());
  connectTo(emitter, "destroyed", early, diarySlot<1>());
  reaction = [&](const Call &) {
    ztSlotFunction forget;
    forget.object1 = ztObject_of(late)->destroyed;
    EXPECT_EQ(ztObject_disconnect(emitter, "destroyed", late, forget), 1);
  };
  release(emitter);
  EXPECT_EQ(emit(late), 0);
  release(early);
  release(late);
}

TEST_F(Ends, AnObjectConnectedToItselfAndToOthersEnds) {
  Listener *emitter = newListener();
  connectTo(emitter, changed, emitter, diarySlot<0>());
  connectTo(emitter, "destroyed", emitter, diarySlot<1>());
  connectTo(emitter, "destroyed", early, diarySlot<2>());
  connectTo(emitter, changed, late, diarySlot<3>());
  reaction = [&](const Call &call) {
    if (call.slot == 0 || call.slot == 3) return;
    emit(emitter);
    release(emitter);
  };
  release(emitter);
  EXPECT_TRUE(wasCalled(1));
  EXPECT_TRUE(wasCalled(2));
  release(early);
  release(late);
}

TEST_F(Ends, AnEmbeddedObjectMayBeReleasedByTheSlotsOfItsEnd) {
  alignas(Listener) unsigned char memory[sizeof(Listener)];
  for (int round = 0; round < 3; ++round) {
    Listener_ctor(memory, 1);
    connectTo(memory, "destroyed", early, diarySlot<0>());
    connectTo(early, changed, memory, diarySlot<1>());
    reaction = [&](const Call &) { release(memory); };
    Listener_of(memory)->destroy(memory);
    EXPECT_EQ(emit(early), 0);
  }
  release(early);
  release(late);
}

TEST_F(Ends, WhatEmitsBehindItsParentsEndReachesNobody) {
  lateEmissions = 0;
  void *emitter = LastWords_ctor(nullptr, 1);
  connectTo(emitter, changed, early, diarySlot<0>());
  connectTo(emitter, "destroyed", late, diarySlot<1>());
  release(emitter);
  EXPECT_EQ(lateEmissions, 0);
  EXPECT_EQ(diary.size(), 1U);
  release(early);
  release(late);
}

TEST_F(Ends, SlotsOfRandomEndsAreCalledOnObjectsThatAreThere) {
  std::mt19937 random(7);
  const auto below = [&](int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random); };
  std::vector<void *> nodes = {early, late};
  std::set<const void *> there(nodes.begin(), nodes.end());
  const auto any = [&] { return nodes[static_cast<size_t>(below(static_cast<int>(nodes.size())))]; };
  const auto end = [&](void *node) {
    nodes.erase(std::find(nodes.begin(), nodes.end(), node));
    release(node);
    there.erase(node);
  };
  int depth = 0;
  int calls = 0;
  reaction = [&](const Call &call) {
    diary.clear();
    ++calls;
    EXPECT_EQ(there.count(call.receiver), 1U);
    if (depth > 6 || nodes.size() < 3) return;
    ++depth;
    if (below(3) == 0) end(any());
    if (below(2) == 0 && there.count(call.sender) != 0) {
      ztObject_emit(const_cast<void *>(call.sender), below(2) ? changed : "destroyed", 0);
    }
    if (below(2) == 0) emit(any());
    if (below(8) == 0) ztObject_disconnect(any(), "destroyed", any(), diarySlot<1>());
    if (below(16) == 0) ztObject_blockSignal(any(), "destroyed", 1);
    --depth;
  };
  for (int i = scale(20000); i > 0; --i) {
    while (nodes.size() < 8) {
      nodes.push_back(newListener());
      there.insert(nodes.back());
    }
    for (int n = 0; n < 4; ++n) connectTo(any(), changed, any(), diarySlot<0>());
    for (int n = 0; n < 3; ++n) connectTo(any(), "destroyed", any(), diarySlot<1>());
    if (below(2) == 0) end(any());
  }
  reaction = nullptr;
  while (!nodes.empty()) end(nodes.back());
  EXPECT_GT(calls, scale(20000));
}
