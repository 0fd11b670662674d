#include "objects/ztobject.h"

#include "tests/helpers/faults.hh"
#include "tests/helpers/scale.hh"
#include "tests/objects/listeners.hh"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

namespace {

const char *const changed = "changed";

// Listeners by their places, and slots that were called.
using Called = std::vector<std::pair<int, int>>;

// An emitter, and listeners in the order of their addresses, which is that of delivery. What a test did not
// end goes with it.
class Delivery : public ListenerTest {
 protected:
  ~Delivery() override {
    reaction = nullptr;
    endListeners();
    end(emitter);
  }

  void makeListeners(size_t count) {
    endListeners();
    listeners.clear();
    while (listeners.size() < count) listeners.push_back(newListener());
    std::sort(listeners.begin(), listeners.end());
    addresses = listeners;
  }
  // Connects new listeners, each with its slots from 0 on.
  void listen(size_t count, size_t slots = 1) {
    makeListeners(count);
    for (Listener *listener : listeners) {
      for (size_t slot = 0; slot < slots; ++slot) connectTo(emitter, changed, listener, slotsFrom0[slot]);
    }
  }
  int32_t emit(intptr_t first = 0) const {
    return ztObject_emit(emitter, changed, first);
  }
  static void end(Listener *&listener) {
    Listener *ended = std::exchange(listener, nullptr);
    if (ended != nullptr) release(ended);
  }
  void endListeners() {
    for (Listener *&listener : listeners) end(listener);
  }
  // By the diary, which is cleared.
  Called called() const {
    Called result;
    for (const Call &call : std::exchange(diary, {})) {
      const auto place = std::find(addresses.begin(), addresses.end(), call.receiver);
      result.emplace_back(place - addresses.begin(), call.slot);
    }
    return result;
  }
  // The listeners' slots 0, up to a place.
  static Called firstSlotsOf(int count) {
    Called result;
    for (int i = 0; i < count; ++i) result.emplace_back(i, 0);
    return result;
  }

  const std::vector<ztSlotFunction> slotsFrom0 = diarySlots<3>();
  Listener *emitter = newListener();
  std::vector<Listener *> listeners;
  std::vector<Listener *> addresses;
};

// What is called ----------------------------------------------------------------------------------

TEST_F(Delivery, GoesByAddressAndNewestFirstForOneReceiver) {
  makeListeners(5);
  for (size_t i : {3U, 0U, 4U, 1U, 2U}) {
    for (ztSlotFunction slot : slotsFrom0) connectTo(emitter, changed, listeners[i], slot);
  }
  EXPECT_EQ(emit(77), 1);
  for (const Call &call : diary) {
    EXPECT_EQ(call.sender, emitter);
    EXPECT_EQ(call.first, 77);
  }
  for (const Listener *listener : listeners) EXPECT_EQ(ztObject_of(listener)->getSender(listener), nullptr);
  Called expected;
  for (int i = 0; i < 5; ++i) expected.insert(expected.end(), {{i, 2}, {i, 1}, {i, 0}});
  EXPECT_EQ(called(), expected);
}

TEST_F(Delivery, ReportsWhatWasNotDelivered) {
  EXPECT_EQ(ztObject_emit(nullptr, changed, 0), 0);
  EXPECT_EQ(ztObject_emit(emitter, nullptr, 1), 0);
  EXPECT_EQ(emit(), 0);
  addSignal(emitter, changed);
  EXPECT_EQ(emit(), 0);
  listen(1);
  ztObject_blockSignal(emitter, changed, 0x100);
  EXPECT_EQ(emit(), 0);
  EXPECT_EQ(ztObject_emitDouble(emitter, changed, 1), 0);
  EXPECT_TRUE(diary.empty());
  ztObject_blockSignal(emitter, changed, 0);
  EXPECT_EQ(emit(), 1);
}

std::vector<double> arguments;

// A slot of so many arguments, the first of which may be a double.
template <typename... Arguments>
void take(void *receiver, Arguments... given) {
  EXPECT_NE(ztObject_of(receiver)->getSender(receiver), nullptr);
  arguments = {static_cast<double>(given)...};
}

const ztSlotFunction takeWords[] = {{.call0 = take<>},
                                    {.call1 = take<intptr_t>},
                                    {.call2 = take<intptr_t, intptr_t>},
                                    {.call3 = take<intptr_t, intptr_t, intptr_t>},
                                    {.call4 = take<intptr_t, intptr_t, intptr_t, intptr_t>}};
const ztSlotFunction takeNumbers[] = {{.call0 = take<>},
                                      {.number1 = take<double>},
                                      {.number2 = take<double, intptr_t>},
                                      {.number3 = take<double, intptr_t, intptr_t>},
                                      {.number4 = take<double, intptr_t, intptr_t, intptr_t>}};

// Only the low byte of the count is looked at.
TEST_F(Delivery, HandsTheWordOrTheDoubleAndZerosForTheOtherArguments) {
  for (uint32_t above : {0U, 0x100U, 0xFFFFFF00U}) {
    for (uint32_t count = 0; count <= 4; ++count) {
      const Object fresh;
      const Object receiver;
      connectTo(fresh, changed, receiver, takeWords[count], count + above);
      connectTo(fresh, "number", receiver, takeNumbers[count], count + above);
      std::vector<double> expected(count, 0);
      arguments = {-1};
      if (count > 0) expected[0] = 31;
      EXPECT_EQ(ztObject_emit(fresh, changed, 31), 1);
      EXPECT_EQ(arguments, expected);
      arguments = {-1};
      if (count > 0) expected[0] = -0.5;
      EXPECT_EQ(ztObject_emitDouble(fresh, "number", -0.5), 1);
      EXPECT_EQ(arguments, expected);
    }
  }
}

TEST_F(Delivery, OfMoreThanFourArgumentsCallsNothingButSetsAndClearsTheSender) {
  for (uint32_t count : {5U, 6U, 255U}) {
    const Object fresh;
    const Object receiver;
    connectTo(fresh, changed, receiver, diarySlot<0>(), count);
    receiver.fields().sender = receiver;
    EXPECT_EQ(ztObject_emit(fresh, changed, 0), 1);
    EXPECT_EQ(ztObject_emitDouble(fresh, changed, 1), 1);
    EXPECT_TRUE(diary.empty());
    EXPECT_EQ(receiver.fields().sender, nullptr);
  }
}

TEST_F(Delivery, OfADestructionNamesTheDyingObject) {
  const Object receiver;
  const void *address = emitter;
  connectTo(emitter, "destroyed", receiver, diarySlot<0>());
  end(emitter);
  EXPECT_EQ(diary, (std::vector<Call>{{0, receiver, address, wordOf(address)}}));
}

TEST_F(Delivery, ReachesMoreSlotsThanFitOnTheStack) {
  for (int count : {15, 16, 17, 18, 300}) {
    listen(static_cast<size_t>(count));
    emit();
    EXPECT_EQ(called(), firstSlotsOf(count));
  }
}

// In a thread that did not deliver anything before, since it keeps the room for slots.
TEST_F(Delivery, CallsAllSlotsOrNoneWhenMemoryIsExhausted) {
  listen(300);
  diary.reserve(300);
  exhaustMemoryIn([this] {
    diary.clear();
    int32_t delivered = 0;
    std::thread([&] { delivered = emit(); }).join();
    EXPECT_EQ(diary.size(), delivered ? 300U : 0U);
  });
}

// Slots that change what is being delivered -------------------------------------------------------

TEST_F(Delivery, ASlotThatConnectsToTheSameSignalIsNotFollowedByTheNewOnes) {
  makeListeners(40);
  connectTo(emitter, changed, listeners[20], diarySlot<0>());
  reaction = [&](const Call &call) {
    if (call.slot != 0) return;
    for (Listener *listener : listeners) connectTo(emitter, changed, listener, diarySlot<1>());
  };
  emit();
  EXPECT_EQ(called(), (Called{{20, 0}}));
  emit();
  EXPECT_EQ(diary.size(), 41U);
}

TEST_F(Delivery, ASlotMayConnectTheReceiverToAnotherSignal) {
  listen(1);
  reaction = [&](const Call &call) {
    for (int i = 0; i < 50; ++i) {
      const std::string name = "other" + std::to_string(i);
      if (call.slot == 0) connectTo(emitter, name.c_str(), listeners[0], diarySlot<1>());
    }
  };
  emit();
  EXPECT_EQ(ztObject_emit(emitter, "other49", 1), 1);
  EXPECT_EQ(called(), (Called{{0, 0}, {0, 1}}));
}

TEST_F(Delivery, ASlotMayDisconnectItself) {
  listen(3);
  reaction = [&](const Call &call) {
    EXPECT_EQ(ztObject_disconnect(emitter, changed, const_cast<void *>(call.receiver), diarySlot<0>()), 1);
  };
  emit();
  EXPECT_EQ(called(), firstSlotsOf(3));
  EXPECT_EQ(emit(), 0);
}

TEST_F(Delivery, ASlotThatIsDisconnectedBeforeItsTurnIsNotCalled) {
  listen(4, 2);
  reaction = [&](const Call &call) {
    if (call.receiver != listeners[1]) return;
    ztObject_disconnect(emitter, changed, listeners[0], diarySlot<0>());
    ztObject_disconnect(emitter, changed, listeners[2], diarySlot<1>());
  };
  emit();
  EXPECT_EQ(called(), (Called{{0, 1}, {0, 0}, {1, 1}, {1, 0}, {2, 0}, {3, 1}, {3, 0}}));
}

TEST_F(Delivery, ASlotThatIsDisconnectedAndConnectedAgainIsCalledOnce) {
  listen(3);
  reaction = [&](const Call &call) {
    if (call.receiver != listeners[1]) return;
    for (Listener *listener : listeners) {
      ztObject_disconnect(emitter, changed, listener, diarySlot<0>());
      connectTo(emitter, changed, listener, diarySlot<0>());
    }
  };
  emit();
  EXPECT_EQ(called(), firstSlotsOf(3));
}

// As a host would that knows the signal's map.
TEST_F(Delivery, ASlotThatIsTakenOutOfTheMapIsNotCalled) {
  listen(3);
  ztSlotMap *slots = addSignal(emitter, changed)->slots;
  reaction = [&](const Call &) { ztSlotMap_of(slots)->pop(slots, listeners[1]); };
  emit();
  EXPECT_EQ(called(), (Called{{0, 0}, {2, 0}}));
  reaction = [&](const Call &) { ztSlotMap_of(slots)->empty(slots); };
  emit();
  EXPECT_EQ(called(), firstSlotsOf(1));
}

TEST_F(Delivery, EndsWhenItsSignalIsTakenAway) {
  listen(20);
  reaction = [&](const Call &) { ztSignalMap_of(emitter->signals)->empty(emitter->signals); };
  EXPECT_EQ(emit(), 1);
  EXPECT_EQ(called(), firstSlotsOf(1));
  EXPECT_EQ(listeners[0]->sender, nullptr);
}

TEST_F(Delivery, GoesOnWhenTheSignalIsBlockedMeanwhile) {
  listen(2);
  reaction = [&](const Call &) { ztObject_blockSignal(emitter, changed, 1); };
  emit();
  EXPECT_EQ(diary.size(), 2U);
  EXPECT_EQ(emit(), 0);
}

// Slots that destroy ------------------------------------------------------------------------------

TEST_F(Delivery, ASlotMayDestroyItsReceiver) {
  listen(3, 2);
  reaction = [&](const Call &call) { end(*std::find(listeners.begin(), listeners.end(), call.receiver)); };
  emit();
  EXPECT_EQ(called(), (Called{{0, 1}, {1, 1}, {2, 1}}));
  EXPECT_EQ(emit(), 0);
}

TEST_F(Delivery, ASlotMayDestroyTheEmitter) {
  listen(30);
  reaction = [&](const Call &) { end(emitter); };
  EXPECT_EQ(emit(), 1);
  EXPECT_EQ(called(), firstSlotsOf(1));
  for (const Listener *listener : listeners) EXPECT_EQ(listener->sender, nullptr);
}

TEST_F(Delivery, ASlotMayDestroyAPendingReceiver) {
  listen(3);
  reaction = [&](const Call &) { end(listeners[1]); };
  emit();
  EXPECT_EQ(called(), (Called{{0, 0}, {2, 0}}));
}

TEST_F(Delivery, ASlotMayDestroyReceiverEmitterAndAllPeersAtOnce) {
  listen(25);
  reaction = [&](const Call &) {
    endListeners();
    end(emitter);
  };
  EXPECT_EQ(emit(), 1);
  EXPECT_EQ(diary.size(), 1U);
}

TEST_F(Delivery, ASlotMayDestroyAThirdObject) {
  listen(1);
  Listener *third = newListener();
  connectTo(third, changed, listeners[0], diarySlot<1>());
  connectTo(listeners[0], changed, third, diarySlot<2>());
  reaction = [&](const Call &) { end(third); };
  emit();
  EXPECT_EQ(called(), firstSlotsOf(1));
  EXPECT_EQ(ztObject_emit(listeners[0], changed, 0), 0);
}

TEST_F(Delivery, AnObjectConnectedToItselfMayDestroyItself) {
  connectTo(emitter, changed, emitter, diarySlot<0>());
  connectTo(emitter, changed, emitter, diarySlot<1>());
  reaction = [&](const Call &) { end(emitter); };
  EXPECT_EQ(emit(), 1);
  ASSERT_EQ(diary.size(), 1U);
  EXPECT_EQ(diary[0].slot, 1);
}

TEST_F(Delivery, AReceiverThatNobodyWatchesIsSkippedOnceItIsGone) {
  makeListeners(20);
  ztSignal *signal = addSignal(emitter, changed);
  for (Listener *listener : listeners) {
    EXPECT_EQ(Listener_table()->addSlot(emitter->klass, signal, listener, "slot", diarySlot<0>()), 1);
  }
  reaction = [&](const Call &) { endListeners(); };
  EXPECT_EQ(emit(), 1);
  EXPECT_EQ(called(), firstSlotsOf(1));
}

TEST_F(Delivery, ANewReceiverAtTheAddressOfAnOldOneIsNotCalled) {
  const Object first(Listener_ctor);
  alignas(Listener) unsigned char memory[sizeof(Listener)];
  Listener_ctor(memory, 1);
  // Called before the other, whichever of the two addresses is lower.
  const void *early = std::min<void *>(memory, first);
  connectTo(emitter, changed, memory, diarySlot<0>());
  connectTo(emitter, changed, first, diarySlot<0>());
  connectTo(emitter, changed, memory, diarySlot<1>());
  reaction = [&](const Call &call) {
    if (call.receiver != early) return;
    reaction = nullptr;
    Listener_of(memory)->destroy(memory);
    Listener_ctor(memory, 1);
    connectTo(emitter, changed, memory, diarySlot<2>());
  };
  emit();
  for (const Call &call : diary) EXPECT_NE(call.slot, 2);
  diary.clear();
  emit();
  EXPECT_EQ(diary.size(), 2U);
  Listener_of(memory)->destroy(memory);
}

TEST_F(Delivery, OfADestructionMayReleaseTheDyingObjectAgain) {
  const Object receiver;
  connectTo(emitter, "destroyed", receiver, diarySlot<0>());
  reaction = [](const Call &call) {
    void *dying = reinterpret_cast<void *>(call.first);
    Listener_of(dying)->ref(dying);
    Listener_of(dying)->unRef(dying);
    release(dying);
    ztObject_table()->destroy(dying);
  };
  end(emitter);
  EXPECT_EQ(diary.size(), 1U);
}

TEST_F(Delivery, OfADestructionMayDestroyItsReceiverAndAllOtherPeers) {
  makeListeners(20);
  for (Listener *listener : listeners) {
    connectTo(emitter, "destroyed", listener, diarySlot<0>());
    connectTo(listener, changed, emitter, diarySlot<1>());
  }
  reaction = [&](const Call &) { endListeners(); };
  end(emitter);
  EXPECT_EQ(diary.size(), 1U);
}

// More peers than are told without memory.
TEST_F(Delivery, OfADestructionDisconnectsAllPeersWhenMemoryIsExhausted) {
  std::vector<void *> peers(static_cast<size_t>(std::max(5, scale(40))));
  exhaustMemoryIn([&peers] {
    void *dying = ztObject_ctor(nullptr, 1);
    if (dying == nullptr) return;
    for (void *&peer : peers) {
      peer = ztObject_ctor(nullptr, 1);
      if (peer == nullptr) continue;
      connectTo(dying, changed, peer, diarySlot<0>());
      connectTo(peer, changed, dying, diarySlot<0>());
    }
    release(dying);
    for (void *peer : peers) {
      if (peer == nullptr) continue;
      EXPECT_EQ(ztObject_emit(peer, changed, 1), 0);
      release(peer);
    }
    EXPECT_TRUE(diary.empty());
  });
}

TEST_F(Delivery, OfADestructionAcceptsNoNewConnections) {
  const Object receiver;
  const Object other;
  connectTo(emitter, "destroyed", receiver, diarySlot<0>());
  reaction = [&](const Call &call) {
    void *dying = const_cast<void *>(call.sender);
    EXPECT_EQ(connectTo(dying, changed, other, diarySlot<1>()), 0);
    EXPECT_EQ(connectTo(other, changed, dying, diarySlot<1>()), 0);
    EXPECT_EQ(connectTo(dying, changed, dying, diarySlot<1>()), 0);
    ztSignal *ofOther = addSignal(other, changed);
    EXPECT_EQ(other->addSlot(ztObjectClass_Instance(), ofOther, dying, "slot", diarySlot<1>()), 0);
  };
  end(emitter);
  EXPECT_EQ(diary.size(), 1U);
  EXPECT_EQ(ztObject_emit(other, changed, 0), 0);
}

TEST_F(Delivery, OfADestructionLeavesTheDyingObjectUsable) {
  const Object receiver;
  emitter->number = 5;
  newIntProperty(emitter, "level", 8);
  connectTo(emitter, "destroyed", receiver, diarySlot<0>());
  connectTo(emitter, changed, receiver, diarySlot<1>());
  reaction = [&](const Call &call) {
    if (call.slot != 0) return;
    auto *dying = static_cast<Listener *>(const_cast<void *>(call.sender));
    EXPECT_EQ(intProperty(dying, "level"), 8);
    EXPECT_EQ(dying->number, 5);
    // Its connections go with the same announcement, in their turn.
    ztObject_emit(dying, changed, 4);
  };
  end(emitter);
  EXPECT_EQ(diary.front().slot, 0);
  EXPECT_LE(diary.size(), 2U);
}

TEST_F(Delivery, TwoObjectsMayDestroyEachOtherAsTheyGo) {
  Listener *one = newListener();
  Listener *other = newListener();
  connectTo(one, "destroyed", other, diarySlot<0>());
  connectTo(other, "destroyed", one, diarySlot<0>());
  reaction = [&](const Call &call) { release(const_cast<void *>(call.receiver)); };
  release(one);
  EXPECT_LE(diary.size(), 2U);
}

// Nested delivery ---------------------------------------------------------------------------------

TEST_F(Delivery, ASlotMaySetTheSamePropertyAgain) {
  makeListeners(2);
  for (Listener *listener : listeners) connectTo(emitter, "prop->signalname", listener, diarySlot<0>());
  setProperty(emitter, "level", "ztInt", 0);
  reaction = [&](const Call &call) {
    if (call.first < 3) setProperty(emitter, "level", "ztInt", call.first + 1);
  };
  setProperty(emitter, "level", "ztInt", 1);
  // Each of the inner changes is delivered to both before the outer delivery goes on.
  std::vector<intptr_t> values;
  for (const Call &call : diary) values.push_back(call.first);
  EXPECT_EQ(values, (std::vector<intptr_t>{1, 2, 3, 3, 2, 3, 3, 1, 2, 3, 3, 2, 3, 3}));
  EXPECT_EQ(intProperty(emitter, "level"), 3);
}

TEST_F(Delivery, ANestedOneToTheSameReceiverClearsItsSender) {
  listen(1);
  const Object other;
  connectTo(other, changed, listeners[0], diarySlot<1>());
  reaction = [&](const Call &call) {
    if (call.slot != 0) return;
    EXPECT_EQ(call.sender, emitter);
    ztObject_emit(other, changed, 0);
    EXPECT_EQ(ztObject_of(listeners[0])->getSender(listeners[0]), nullptr);
  };
  emit();
  EXPECT_EQ(diary.back(), (Call{1, listeners[0], other, 0}));
}

TEST_F(Delivery, AnInnerOneMayDestroyTheEmitterOfTheOuterOne) {
  listen(20);
  const Object inner;
  for (Listener *listener : listeners) connectTo(inner, changed, listener, diarySlot<1>());
  reaction = [&](const Call &call) {
    if (call.slot == 0) ztObject_emit(inner, changed, 0);
    if (call.slot == 1 && call.receiver == listeners[3]) end(emitter);
  };
  emit();
  EXPECT_EQ(diary.size(), 21U);
  for (const Listener *listener : listeners) EXPECT_EQ(listener->sender, nullptr);
}

TEST_F(Delivery, MayNestDeeply) {
  listen(1);
  reaction = [&](const Call &call) {
    if (call.first < 1000) emit(call.first + 1);
  };
  emit(1);
  EXPECT_EQ(diary.size(), 1000U);
}

// Random graphs -----------------------------------------------------------------------------------

constexpr const char *signalNames[] = {"changed", "moved"};
constexpr int slotNumbers = 3;

// Objects that are connected, disconnected, emitting and destroyed at random, also by their own slots,
// beside a model of who is connected to whom. Before each call of a slot the model says what it must be.
class Graph {
 public:
  explicit Graph(uint32_t seed) : random(seed) {}
  ~Graph() {
    reaction = nullptr;
    while (!nodes.empty()) destroy(*nodes.begin());
  }
  Graph(const Graph &) = delete;
  Graph &operator=(const Graph &) = delete;

  void run(int steps) {
    reaction = [this](const Call &call) { onCall(call); };
    while (steps-- > 0) step();
  }

 private:
  struct Connection {
    void *sender;
    int signal;
    void *receiver;
    int slot;
    auto operator<=>(const Connection &) const = default;
  };

  // An emission under way: what was connected when it began and has not had its turn.
  struct Emission {
    void *emitter;
    int signal;
    std::vector<Connection> pending;
    size_t next = 0;
  };

  int below(int limit) {
    return std::uniform_int_distribution<int>(0, limit - 1)(random);
  }
  void *anyNode() {
    return *std::next(nodes.begin(), below(static_cast<int>(nodes.size())));
  }
  Connection anyPair() {
    return {anyNode(), below(2), anyNode(), below(slotNumbers)};
  }

  void step() {
    if (nodes.size() < 3) {
      nodes.insert(newListener());
      return;
    }
    const int dice = below(100);
    if (dice < 8) {
      if (nodes.size() < 30) nodes.insert(newListener());
    } else if (dice < 45) {
      connect(anyPair());
    } else if (dice < 60) {
      disconnect();
    } else if (dice < 93) {
      emit(anyNode(), below(2));
    } else if (dice < 96) {
      check(anyPair());
    } else {
      destroy(anyNode());
    }
  }

  void connect(const Connection &pair) {
    const int32_t made = connectTo(pair.sender, signalNames[pair.signal], pair.receiver, functionOf(pair));
    EXPECT_EQ(made, order.count(pair) == 0 ? 1 : 0);
    if (made) order[pair] = ++connections;
  }

  void disconnect() {
    Connection pair = anyPair();
    if (!order.empty() && below(4) != 0) {
      pair = std::next(order.begin(), below(static_cast<int>(order.size())))->first;
    }
    const int32_t taken =
        ztObject_disconnect(pair.sender, signalNames[pair.signal], pair.receiver, functionOf(pair));
    EXPECT_EQ(taken, static_cast<int32_t>(order.erase(pair)));
  }

  void check(const Connection &pair) {
    EXPECT_EQ(isConnected(pair.sender, signalNames[pair.signal], pair.receiver, functionOf(pair)),
              order.count(pair) == 1);
  }

  void destroy(void *node) {
    nodes.erase(node);
    std::erase_if(
        order, [=](const auto &entry) { return entry.first.sender == node || entry.first.receiver == node; });
    for (Emission *emission : emissions) {
      if (emission->emitter == node) emission->emitter = nullptr;
      // Another object may come to life at the same address.
      for (Connection &connection : emission->pending) {
        if (connection.receiver == node) connection.receiver = nullptr;
      }
    }
    release(node);
  }

  void emit(void *emitter, int signalNumber) {
    if (emissions.size() >= 6) return;
    Emission emission = {emitter, signalNumber, {}};
    for (const auto &[pair, when] : order) {
      if (pair.sender == emitter && pair.signal == signalNumber) emission.pending.push_back(pair);
    }
    std::sort(emission.pending.begin(), emission.pending.end(), [this](const auto &one, const auto &other) {
      if (one.receiver != other.receiver) return one.receiver < other.receiver;
      return order[one] > order[other];
    });
    const bool expected = !emission.pending.empty();
    emissions.push_back(&emission);
    EXPECT_EQ(ztObject_emit(emitter, signalNames[signalNumber], ++value), expected ? 1 : 0);
    // Whatever is left has lost its connection, its receiver or its emitter.
    EXPECT_EQ(nextPending(emission), nullptr);
    emissions.pop_back();
  }

  const Connection *nextPending(Emission &emission) {
    if (emission.emitter == nullptr) return nullptr;
    for (; emission.next < emission.pending.size(); ++emission.next) {
      const Connection &pair = emission.pending[emission.next];
      if (pair.receiver != nullptr && order.count(pair) == 1) return &pair;
    }
    return nullptr;
  }

  void onCall(const Call &call) {
    diary.clear();
    ASSERT_FALSE(emissions.empty());
    Emission &emission = *emissions.back();
    const Connection *expected = nextPending(emission);
    ASSERT_NE(expected, nullptr);
    EXPECT_EQ(call.receiver, expected->receiver);
    EXPECT_EQ(call.slot, expected->slot);
    EXPECT_EQ(call.sender, emission.emitter);
    ++emission.next;
    ++calls;
    const int actions = below(5) - 2;
    for (int i = 0; i < actions; ++i) step();
  }

  ztSlotFunction functionOf(const Connection &pair) const {
    return functions[static_cast<size_t>(pair.slot)];
  }

  const std::vector<ztSlotFunction> functions = diarySlots<slotNumbers>();
  std::mt19937 random;
  std::set<void *> nodes;
  std::map<Connection, int> order;  // when each connection was made
  std::vector<Emission *> emissions;
  int connections = 0;
  intptr_t value = 0;

 public:
  int calls = 0;
};

TEST_F(Delivery, SurvivesRandomGraphs) {
  int calls = 0;
  const int steps = scale(20000);
  for (uint32_t seed = 1; seed <= 12; ++seed) {
    Graph graph(seed);
    graph.run(steps);
    calls += graph.calls;
    if (HasFailure()) {
      ADD_FAILURE() << "with seed " << seed;
      break;
    }
  }
  // A short run hardly gets further than making objects and connecting them.
  EXPECT_GT(calls, steps < 5000 ? 0 : 5 * steps) << calls;
}

}  // namespace
