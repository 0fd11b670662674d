// Threads that use different objects at the same time.
#include "objects/ztbasemodel.h"
#include "objects/ztobject.h"
#include "tests/helpers/host_process.hh"
#include "tests/helpers/scale.hh"
#include "tests/objects/listeners.hh"

#include <gtest/gtest.h>

#include <string.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int threadCount = 4;

void inThreads(const std::function<void(int)> &work) {
  std::vector<std::thread> threads;
  std::atomic<int> waiting = threadCount;
  for (int i = 0; i < threadCount; ++i) {
    threads.emplace_back([&, i] {
      --waiting;
      while (waiting > 0) std::this_thread::yield();
      work(i);
    });
  }
  for (std::thread &thread : threads) thread.join();
}

thread_local int taken;

ztSlotFunction taking() {
  ztSlotFunction function;
  function.call1 = [](void *, intptr_t) { ++taken; };
  return function;
}

struct Left {};

ztSlotFunction leaving() {
  ztSlotFunction function;
  function.call1 = [](void *, intptr_t) { throw Left(); };
  return function;
}

int32_t getNumber(const void *) {
  return 7;
}

// Classes that no test uses before.
#define Wheel_FIELDS ztObject_FIELDS
#define Wheel_METHODS ztObject_METHODS

}  // namespace

ZT_DECLARE_CLASS(Wheel)

static int32_t wheelInitProperties(ztClass *klass) {
  int32_t last = 0;
  for (const char *name : {"spokes", "hub", "rim"}) {
    last =
        ztObject_table()->addProperty(klass, name, "ztInt", getterOf(getNumber), noSetter, nullptr, nullptr);
  }
  return last;
}

static void wheelMethods(WheelMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, initProperties, wheelInitProperties);
}

ZT_DEFINE_CLASS(Wheel, ztObject, wheelMethods)

#define BigWheel_FIELDS Wheel_FIELDS
#define BigWheel_METHODS Wheel_METHODS
ZT_DECLARE_CLASS(BigWheel)

static void bigWheelMethods(BigWheelMethods *) {}

ZT_DEFINE_CLASS(BigWheel, Wheel, bigWheelMethods)

TEST(Threads, MayUseAClassForTheFirstTimeTogether) {
  inThreads([](int i) {
    for (int round = 0; round < scale(200) + 1; ++round) {
      Owned wheel(i % 2 == 0 ? Wheel_ctor : BigWheel_ctor);
      Owned list(ztPropertyPtrArray_ctor);
      EXPECT_EQ(ztObject_of(wheel)->getStaticProperties(wheel, list), 1);
      EXPECT_EQ(ztArray_of(list)->getSize(list), 4);
      int32_t out = 0;
      EXPECT_EQ(ztObject_of(wheel)->getProperty(wheel, "hub", "ztInt", &out), 1);
      EXPECT_EQ(out, 7);
    }
  });
}

TEST(Threads, MayConnectEmitAndEndDifferentObjects) {
  inThreads([](int) {
    taken = 0;
    const int rounds = scale(2000) + 1;
    for (int round = 0; round < rounds; ++round) {
      Owned sender(ztObject_ctor);
      std::vector<void *> receivers;
      for (int i = 0; i < 5; ++i) receivers.push_back(ztBaseModel_ctor(nullptr, 1));
      for (void *receiver : receivers) connectTo(sender, "changed", receiver, taking());
      const int32_t level = round;
      ztObject_of(sender)->setProperty(sender, "level", "ztInt", reinterpret_cast<ztWord>(&level));
      connectTo(sender, "prop->signalname", receivers[0], taking());
      ztObject_of(sender)->setProperty(sender, "level", "ztInt", 5);
      EXPECT_EQ(ztObject_emit(sender, "changed", 1), 1);
      for (void *receiver : receivers) release(receiver);
      EXPECT_EQ(ztObject_emit(sender, "changed", 1), 0);
    }
    EXPECT_EQ(taken, 6 * rounds);
  });
}

TEST(Threads, MayReadStaticPropertiesWhileOthersAreAdded) {
  Owned first(Wheel_ctor);
  std::atomic<bool> done = false;
  inThreads([&](int i) {
    if (i == 0) {
      for (int n = 0; n < 50; ++n) {
        const std::string name = "added" + std::to_string(n);
        EXPECT_EQ(ztObject_table()->addProperty(WheelClass_Instance(), name.c_str(), "ztInt",
                                                getterOf(getNumber), noSetter, nullptr, nullptr),
                  1);
        ztProperty_functions()->registerNewType(nullptr, n % 2 == 0 ? "ztBoolPropertyType" : "unknown");
      }
      done = true;
      return;
    }
    do {
      Owned wheel(Wheel_ctor);
      int32_t out = 0;
      EXPECT_EQ(ztObject_of(wheel)->getProperty(wheel, "rim", "ztInt", &out), 1);
      EXPECT_EQ(out, 7);
      Owned list(ztPropertyPtrArray_ctor);
      EXPECT_EQ(ztObject_of(wheel)->getStaticProperties(wheel, list), 1);
      const int32_t count = ztArray_of(list)->getSize(list);
      for (int32_t at = 0; at < count; ++at) {
        EXPECT_EQ(static_cast<const ztProperty *>(ztArray_of(list)->getAt(list, at))->index, at);
      }
      const int32_t own = 1;
      ztObject_of(wheel)->setProperty(wheel, "own", "ztInt", reinterpret_cast<ztWord>(&own));
    } while (!done);
  });
  Owned list(ztPropertyPtrArray_ctor);
  ztObject_of(first)->getStaticProperties(first, list);
  EXPECT_EQ(ztArray_of(list)->getSize(list), 54);
}

// What one thread left interrupted is nothing to another, and nothing to it any more.
TEST(Threads, HandObjectsOverAfterAnInterruptedEmission) {
  for (int round = 0; round < 20; ++round) {
    void *sender = ztObject_ctor(nullptr, 1);
    void *receiver = ztObject_ctor(nullptr, 1);
    connectTo(sender, "changed", receiver, leaving());
    EXPECT_THROW(ztObject_emit(sender, "changed", 1), Left);
    std::thread([=] {
      release(receiver);
      release(sender);
    }).join();
    Owned other(ztObject_ctor);
    connectTo(other, "changed", other, taking());
    EXPECT_EQ(ztObject_emit(other, "changed", 1), 1);
  }
}

// How often a host that uses an object in another thread is warned; NULL for no such word in the environment.
static int warningsWith(const char *checks, const char *use) {
  if (checks != nullptr) setenv("ZENTOVA_CHECK", checks, 1);
  HostProcess host;
  EXPECT_EQ(host.run("checked_threads", {use}), 0) << use << host.output();
  unsetenv("ZENTOVA_CHECK");
  const std::string warning = "ztObject -> Warning: ";
  const std::string output = host.output();
  int found = 0;
  for (size_t at = output.find(warning); at != std::string::npos; at = output.find(warning, at + 1)) ++found;
  return found;
}

TEST(Threads, LogTheUseOfAnotherThreadsObjectOnceWhereThatIsChecked) {
  const std::vector<std::pair<const char *, int>> uses = {{"connect", 1}, {"emit", 1}, {"set", 1},
                                                          {"release", 1}, {"all", 1},  {"own", 0}};
  for (const auto &[use, times] : uses) {
    for (const char *checks : {"thread", "other"}) {
      EXPECT_EQ(warningsWith(checks, use), strcmp(checks, "thread") == 0 ? times : 0) << use;
    }
  }
}

TEST(Threads, AreCheckedWhereOneOfTheWordsBetweenCommasAsksForIt) {
  for (const char *checks : {"thread", "thread,", ",thread", "other,thread", "thread,other", "a,thread,b",
                             "thread,thread", ",,thread,,", "threads,thread"}) {
    EXPECT_EQ(warningsWith(checks, "emit"), 1) << checks;
  }
  for (const char *checks : {"", ",", "other", "other,words", "threads", "thre", "thread other", " thread",
                             "thread;other", "Thread", "thread=1", "athread,threadb"}) {
    EXPECT_EQ(warningsWith(checks, "emit"), 0) << checks;
  }
  EXPECT_EQ(warningsWith(nullptr, "emit"), 0);
}
