// What happens when memory is exhausted: failure is reported, nothing leaks, and what is there can be
// used and released.
#include "tests/helpers/faults.hh"
#include "tests/helpers/scale.hh"
#include "tests/helpers/temp_folder.hh"
#include "tests/objects/listeners.hh"

#include <gtest/gtest.h>

#include <pthread.h>

#include <string.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

const char *const changed = "changed";

int32_t slotCalls;

void countCall(void *, intptr_t) {
  ++slotCalls;
}

ztSlotFunction counter() {
  ztSlotFunction function;
  function.call1 = countCall;
  return function;
}

void releaseIfMade(void *object) {
  if (object != nullptr) release(object);
}

}  // namespace

TEST(Exhaustion, OfACreationLeavesAnObjectThatCanBeReleased) {
  exhaustMemoryIn([] {
    void *object = ztObject_ctor(nullptr, 1);
    if (object == nullptr) return;
    const int32_t level = 3;
    const ztObjectMethods *methods = ztObject_of(object);
    methods->setProperty(object, "level", "ztInt", reinterpret_cast<ztWord>(&level));
    methods->getProperty(object, "level", "ztInt", nullptr);
    methods->addSignal(ztObjectClass_Instance(), object, changed, 1);
    ztObject_emit(object, changed, 1);
    methods->destroyed(object, &slotCalls);
    release(object);
  });
}

// The name is a string of its own, of which a part may be lacking.
TEST(Exhaustion, OfAPartOfANameMakesTheCreationFail) {
  alignas(ztSlot) char memory[sizeof(ztSlot)];
  void *slot = ztSlot_ctor(memory, 0);
  exhaustMemoryIn([slot] {
    const ztSlotMethods *methods = ztSlot_of(slot);
    if (methods->create(slot)) {
      ztString *name = static_cast<ztSlot *>(slot)->name;
      EXPECT_NE(name->buffer, nullptr);
      EXPECT_EQ(ztArray_of(name->buffer)->getSize(name->buffer), 20);
    }
    methods->destroy(slot);
  });
}

TEST(Exhaustion, OfANewPropertyMakesItWholeOrNotAtAll) {
  registerAllPropertyTypes();
  void *text = newString("a text that is longer than a new string's buffer");
  Owned object(ztObject_ctor);
  const int64_t zero = 0;
  for (const char *type : {"ztInt", "ztChar", "ztCharPtr", "ztBool", "ztFloat", "ztVoidPtr", "ztString"}) {
    const bool isString = strcmp(type, "ztString") == 0;
    const void *initial = isString ? text : &zero;
    exhaustMemoryIn([=, &object] {
      const ztObjectMethods *methods = ztObject_of(object);
      const int32_t made = methods->setProperty(object, type, type, reinterpret_cast<ztWord>(initial));
      void *out = nullptr;
      EXPECT_EQ(methods->getProperty(object, type, type, &out), made);
      if (made && isString) {
        EXPECT_STREQ(textOf(out), textOf(text));
      }
      ztPropertyMap *map = static_cast<ztObject *>(static_cast<void *>(object))->dynamicProperties;
      ztPropertyMap_of(map)->empty(map);
    });
  }
  release(text);
}

TEST(Exhaustion, OfACloneLeavesTheSourceAndNoCopy) {
  Owned object(ztObject_ctor);
  const int32_t level = 3;
  for (const char *name : {"one", "two", "three"}) {
    ztObject_of(object)->setProperty(object, name, "ztInt", reinterpret_cast<ztWord>(&level));
  }
  exhaustMemoryIn([&object] {
    alignas(ztObject) char memory[sizeof(ztObject)];
    ztObject_ctor(memory, 0);
    void *copy = ztObject_of(object)->clone(object, memory);
    if (copy == nullptr) return;
    int32_t out = 0;
    EXPECT_EQ(ztObject_of(copy)->getProperty(copy, "three", "ztInt", &out), 1);
    EXPECT_EQ(out, 3);
    ztObject_of(copy)->destroy(copy);
  });
}

TEST(Exhaustion, OfAConnectionMakesItWithItsLinksOrNotAtAll) {
  exhaustMemoryIn([] {
    void *sender = Listener_ctor(nullptr, 1);
    void *receiver = Listener_ctor(nullptr, 1);
    if (sender != nullptr && receiver != nullptr) {
      const int32_t made = connectTo(sender, changed, receiver, counter());
      EXPECT_EQ(isConnected(sender, changed, receiver, counter()), made == 1);
      release(receiver);
      EXPECT_FALSE(isConnected(sender, changed, receiver, counter()));
      EXPECT_EQ(ztObject_emit(sender, changed, 1), 0);
      receiver = nullptr;
    }
    releaseIfMade(sender);
    releaseIfMade(receiver);
  });
  // Objects whose creation failed count as made, too.
  listenersLive = 0;
}

// In a thread that did not deliver anything before, since it keeps the room for slots.
TEST(Exhaustion, OfADeliveryCallsAllSlotsOrNone) {
  Owned sender(ztObject_ctor);
  std::vector<Listener *> listeners;
  listeners.reserve(300);
  for (int i = 0; i < 300; ++i) listeners.push_back(newListener());
  for (Listener *listener : listeners) connectTo(sender, changed, listener, counter());
  exhaustMemoryIn([&sender] {
    slotCalls = 0;
    pthread_t thread;
    const auto emit = [](void *emitter) -> void * {
      const int32_t delivered = ztObject_emit(emitter, changed, 1);
      EXPECT_EQ(slotCalls, delivered ? 300 : 0);
      return nullptr;
    };
    if (pthread_create(&thread, nullptr, emit, sender) == 0) pthread_join(thread, nullptr);
  });
  for (Listener *listener : listeners) release(listener);
}

// More peers than are told without memory.
TEST(Exhaustion, OfADestructionDisconnectsAllPeers) {
  std::vector<Listener *> listeners(static_cast<size_t>(std::max(5, scale(40))));
  exhaustMemoryIn([&listeners] {
    void *dying = Listener_ctor(nullptr, 1);
    if (dying == nullptr) return;
    for (Listener *&listener : listeners) {
      listener = static_cast<Listener *>(Listener_ctor(nullptr, 1));
      if (listener == nullptr) continue;
      connectTo(dying, changed, listener, counter());
      connectTo(listener, changed, dying, counter());
    }
    release(dying);
    slotCalls = 0;
    for (Listener *listener : listeners) {
      if (listener == nullptr) continue;
      EXPECT_EQ(ztObject_emit(listener, changed, 1), 0);
      release(listener);
    }
    EXPECT_EQ(slotCalls, 0);
  });
  listenersLive = 0;
}

TEST(Exhaustion, OfAListReportsIt) {
  Owned object(ztObject_ctor);
  const int32_t level = 3;
  ztObject_of(object)->setProperty(object, "level", "ztInt", reinterpret_cast<ztWord>(&level));
  exhaustMemoryIn([&object] {
    void *array = ztPropertyPtrArray_ctor(nullptr, 1);
    if (array == nullptr) return;
    const int32_t listed = ztObject_of(object)->getProperties(object, array);
    EXPECT_EQ(ztPropertyPtrArray_of(array)->getSize(array), listed ? 2 : 0);
    release(array);
  });
}

TEST(Exhaustion, OfStaticPropertiesDoesNoHarm) {
  release(newListener());  // which fills the class
  exhaustMemoryIn([] {
    ztClass *klass = ListenerClass_Instance();
    Listener_table()->classInstanceDestroy(klass);
    Listener_table()->classInstanceCreate(klass);
    Listener_table()->addProperty(klass, "level", "ztInt", noGetter, noSetter, nullptr, "signal");
    void *object = Listener_ctor(nullptr, 1);
    if (object != nullptr) {
      ztObject_of(object)->getProperty(object, "level", "ztInt", nullptr);
      release(object);
    }
    Listener_table()->classInstanceDestroy(klass);
  });
  listenersLive = 0;
  Listener_table()->classInstanceCreate(ListenerClass_Instance());
}

TEST(Exhaustion, OfADumpDoesNoHarm) {
  const TempFolder folder;
  const std::string path = folder.path("connections");
  Owned sender(ztObject_ctor);
  Owned receiver(ztObject_ctor);
  connectTo(sender, changed, receiver, counter());
  exhaustMemoryIn(
      [&] { ztObject_of(sender)->printConnections(ztObjectClass_Instance(), sender, path.c_str()); });
}

TEST(Exhaustion, DoesNotConcernChangesThatFewOrNoneListenTo) {
  Owned object(ztObject_ctor);
  const char *property = "prop->signalname";
  const int32_t level = 3;
  const ztObjectMethods *methods = ztObject_of(object);
  methods->setProperty(object, "level", "ztInt", reinterpret_cast<ztWord>(&level));
  const auto change = [&object] {
    int32_t out = 0;
    EXPECT_EQ(ztObject_of(object)->setProperty(object, "level", "ztInt", 4), 1);
    EXPECT_EQ(ztObject_of(object)->getProperty(object, "level", "ztInt", &out), 1);
    EXPECT_EQ(out, 4);
  };
  EXPECT_FALSE(allocates(change));
  methods->addSignal(ztObjectClass_Instance(), object, property, 1);
  EXPECT_FALSE(allocates(change));
  std::vector<Listener *> listeners(16);
  for (Listener *&listener : listeners) {
    listener = newListener();
    connectTo(object, property, listener, counter());
  }
  slotCalls = 0;
  EXPECT_FALSE(allocates(change));
  EXPECT_EQ(slotCalls, 16);
  for (Listener *listener : listeners) release(listener);
}
