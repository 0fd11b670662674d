// Objects that end while others do.
#include "tests/helpers/scale.hh"
#include "tests/objects/tree_nodes.hh"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <vector>

namespace {

const char *const changed = "changed";

int32_t emit(const void *object) {
  return ztObject_emit(const_cast<void *>(object), changed, 0);
}

// Three listeners, of which those that a test did not end are released.
class Ends : public ListenerTest {
 protected:
  // Slots are called in the order of their receivers' addresses: so `early` learns of an end before `late`.
  Ends() : emitter(newListener()), early(newListener()), late(newListener()) {
    if (late < early) std::swap(early, late);
  }
  ~Ends() override {
    for (Listener *left : {emitter, early, late}) {
      if (left != nullptr) release(left);
    }
  }

  static void end(Listener *&listener) {
    release(std::exchange(listener, nullptr));
  }
  // Connects to the emitter.
  void connect(const char *signal, void *receiver, ztSlotFunction slot) const {
    connectTo(emitter, signal, receiver, slot);
  }
  static bool wasCalled(int slot) {
    return std::any_of(diary.begin(), diary.end(), [=](const Call &call) { return call.slot == slot; });
  }

  Listener *emitter;
  Listener *early;
  Listener *late;
};

// A `destroy` that emits when the parent's has run.
int32_t lateEmissions;

void lastWordsDestroy(void *object) {
  ztObject_table()->destroy(object);
  --listenersLive;
  const ztObjectMethods *methods = ztObject_of(object);
  lateEmissions += emit(object) + ztObject_emit(object, "destroyed", 0);
  EXPECT_EQ(methods->addSignal(ztOOP_classOf(object), object, changed, 1), nullptr);
  EXPECT_EQ(connectTo(object, changed, object, diarySlot<0>()), 0);
  EXPECT_EQ(methods->setProperty(object, "new", "ztInt", 0), 0);
  EXPECT_EQ(methods->getSender(object), nullptr);
}

}  // namespace

TEST_F(Ends, APeerThatEndsAfterItWasToldOfTheEmittersIsNotCalledByIt) {
  connect(changed, early, diarySlot<0>());
  connect("destroyed", late, diarySlot<1>());
  reaction = [&](const Call &call) {
    if (call.slot != 1) return;
    end(early);
    EXPECT_EQ(listenersLive, 2);
    emit(call.sender);
  };
  end(emitter);
  EXPECT_TRUE(wasCalled(1));
  EXPECT_FALSE(wasCalled(0));
}

TEST_F(Ends, APeerThatWasToldOfTheEmittersIsStillCalledByItWhileItLives) {
  connect(changed, early, diarySlot<0>());
  connectTo(early, changed, emitter, diarySlot<2>());
  connect("destroyed", late, diarySlot<1>());
  reaction = [&](const Call &call) {
    if (call.slot != 1) return;
    EXPECT_EQ(emit(call.sender), 1);
    EXPECT_EQ(emit(early), 0);
  };
  end(emitter);
  EXPECT_TRUE(wasCalled(0));
  EXPECT_FALSE(wasCalled(2));
  EXPECT_EQ(emit(early), 0);
  EXPECT_EQ(ztObject_emit(early, "destroyed", 0), 0);
}

TEST_F(Ends, APeerThatEndsInTheBlockedSilenceOfItsOwnSignalIsNotCalled) {
  for (const uint32_t blocked : {0U, 1U}) {
    ztObject_of(early)->addSignal(ListenerClass_Instance(), early, "destroyed", blocked ? 1 : 9);
    connect(changed, early, diarySlot<0>());
    connect("destroyed", late, diarySlot<1>());
    ztObject_blockSignal(early, "destroyed", blocked);
    reaction = [&](const Call &call) {
      if (call.slot != 1) return;
      if (early != nullptr) end(early);
      emit(call.sender);
    };
    end(emitter);
    EXPECT_FALSE(wasCalled(0));
    emitter = newListener();
    early = newListener();
    if (late < early) std::swap(early, late);
  }
}

TEST_F(Ends, FourThatEndInsideEachOtherCallNobodyWhoIsGone) {
  std::vector<size_t> order = {0, 1, 2, 3};
  do {
    Listener *objects[] = {newListener(), newListener(), newListener(), newListener()};
    std::sort(std::begin(objects), std::end(objects));
    for (Listener *sender : objects) {
      for (Listener *receiver : objects) connectTo(sender, changed, receiver, diarySlot<0>());
      for (Listener *receiver : objects) {
        if (receiver != sender) connectTo(sender, "destroyed", receiver, diarySlot<1>());
      }
    }
    std::set<const void *> gone;
    size_t next = 1;
    reaction = [&](const Call &call) {
      EXPECT_EQ(gone.count(call.receiver), 0U);
      if (call.slot != 1) return;
      const size_t mine = next++;
      if (mine < order.size()) {
        release(objects[order[mine]]);
        gone.insert(objects[order[mine]]);
      }
      for (Listener *object : objects) {
        if (gone.count(object) == 0) emit(object);
      }
    };
    release(objects[order[0]]);
    EXPECT_EQ(gone.size(), order.size() - 1);
    EXPECT_EQ(listenersLive, 3);
    reaction = nullptr;
  } while (std::next_permutation(order.begin(), order.end()));
}

TEST_F(Ends, AnEmitterThatIsReleasedByAPeerItReleasesEndsOnce) {
  connect("destroyed", late, diarySlot<0>());
  connectTo(early, "destroyed", emitter, diarySlot<1>());
  reaction = [&](const Call &call) {
    if (call.slot == 0) end(early);
    if (call.slot == 1) release(const_cast<void *>(call.receiver));
  };
  end(emitter);
  EXPECT_EQ(listenersLive, 1);
}

TEST_F(Ends, AReceiverThatNobodyWatchesMayEndDuringTheAnnouncement) {
  ztClass *klass = ListenerClass_Instance();
  ztSignal *destroyed = ztObject_of(emitter)->addSignal(klass, emitter, "destroyed", 1);
  for (Listener *receiver : {early, late}) {
    ztObject_of(emitter)->addSlot(klass, destroyed, receiver, "slot", diarySlot<0>());
  }
  reaction = [&](const Call &) {
    end(early);
    end(late);
  };
  end(emitter);
  EXPECT_EQ(diary.size(), 1U);
}

TEST_F(Ends, ASignalTakenAwayDuringTheAnnouncementLeavesNoPeerBehind) {
  connectTo(early, changed, emitter, diarySlot<0>());
  connectTo(late, changed, emitter, diarySlot<0>());
  connect("destroyed", early, diarySlot<1>());
  ztSignalMap *signals = static_cast<ztSignalMap *>(emitter->signals);
  reaction = [&](const Call &) { ztSignalMap_of(signals)->empty(signals); };
  end(emitter);
  EXPECT_EQ(emit(early), 0);
  EXPECT_EQ(emit(late), 0);
}

TEST_F(Ends, APeerDisconnectedDuringTheAnnouncementIsLeftAllTheSame) {
  connectTo(late, changed, emitter, diarySlot<0>());
  connect("destroyed", early, diarySlot<1>());
  reaction = [&](const Call &call) {
    ztSlotFunction forget;
    forget.object1 = ztObject_of(late)->destroyed;
    EXPECT_EQ(ztObject_disconnect(const_cast<void *>(call.sender), "destroyed", late, forget), 1);
  };
  end(emitter);
  EXPECT_EQ(emit(late), 0);
}

TEST_F(Ends, AnObjectConnectedToItselfAndToOthersEnds) {
  connect(changed, emitter, diarySlot<0>());
  connect("destroyed", emitter, diarySlot<1>());
  connect("destroyed", early, diarySlot<2>());
  connect(changed, late, diarySlot<3>());
  reaction = [&](const Call &call) {
    if (call.slot == 0 || call.slot == 3) return;
    emit(call.sender);
    release(const_cast<void *>(call.sender));
  };
  end(emitter);
  EXPECT_TRUE(wasCalled(1));
  EXPECT_TRUE(wasCalled(2));
}

TEST_F(Ends, AnEmbeddedObjectMayBeReleasedByTheSlotsOfItsEnd) {
  alignas(Listener) unsigned char memory[sizeof(Listener)];
  reaction = [&](const Call &) { release(memory); };
  for (int round = 0; round < 3; ++round) {
    Listener_ctor(memory, 1);
    connectTo(memory, "destroyed", early, diarySlot<0>());
    connectTo(early, changed, memory, diarySlot<1>());
    Listener_of(memory)->destroy(memory);
    EXPECT_EQ(emit(early), 0);
  }
}

TEST_F(Ends, WhatEmitsBehindItsParentsEndReachesNobody) {
  connect(changed, early, diarySlot<0>());
  connect("destroyed", late, diarySlot<1>());
  {
    auto *methods = static_cast<ListenerMethods *>(ListenerClass_Instance()->methodTable);
    const Replaced destroy(methods->destroy, lastWordsDestroy);
    end(emitter);
  }
  EXPECT_EQ(lateEmissions, 0);
  EXPECT_EQ(diary.size(), 1U);
}

TEST_F(Ends, SlotsOfRandomEndsAreCalledOnObjectsThatAreThere) {
  std::mt19937 random(7);
  const auto below = [&](int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random); };
  std::vector<void *> nodes;
  std::set<const void *> there;
  const auto any = [&] { return nodes[static_cast<size_t>(below(static_cast<int>(nodes.size())))]; };
  const auto endOne = [&](void *node) {
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
    if (below(3) == 0) endOne(any());
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
    if (below(2) == 0) endOne(any());
  }
  reaction = nullptr;
  while (!nodes.empty()) endOne(nodes.back());
  EXPECT_GT(calls, scale(20000));
}
