// Threads that use different objects at the same time.
#include "objects/ztroot.h"
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

using PropertyList = Owned<ztPropertyPtrArray, ztPropertyPtrArrayMethods>;

}  // namespace

// Classes that no test uses before.
#define Wheel_FIELDS ztObject_FIELDS
#define Wheel_METHODS ztObject_METHODS
ZT_DECLARE_CLASS(Wheel)

static int32_t addNumber(ztClass *klass, const char *name) {
  return ztObject_table()->addProperty(klass, name, "ztInt", getterOf(getNumber), noSetter, nullptr, nullptr);
}

static int32_t wheelInitProperties(ztClass *klass) {
  for (const char *name : {"spokes", "hub", "rim"}) addNumber(klass, name);
  return 1;
}

static void wheelMethods(WheelMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, initProperties, wheelInitProperties);
}

ZT_DEFINE_CLASS(Wheel, ztObject, wheelMethods)

#define BigWheel_FIELDS Wheel_FIELDS
#define BigWheel_METHODS Wheel_METHODS
ZT_DECLARE_CLASS(BigWheel)
ZT_DEFINE_CLASS(BigWheel, Wheel, noMethods)

TEST(Threads, MayUseAClassForTheFirstTimeTogether) {
  inThreads([](int i) {
    for (int round = 0; round < scale(200) + 1; ++round) {
      const Object wheel(i % 2 == 0 ? Wheel_ctor : BigWheel_ctor);
      const PropertyList list(ztPropertyPtrArray_ctor);
      EXPECT_EQ(wheel->getStaticProperties(wheel, list), 1);
      EXPECT_EQ(list->getSize(list), 4);
      EXPECT_EQ(intProperty(wheel, "hub"), 7);
    }
  });
}

TEST(Threads, MayConnectEmitAndEndDifferentObjects) {
  inThreads([](int) {
    taken = 0;
    const int rounds = scale(2000) + 1;
    for (int round = 0; round < rounds; ++round) {
      const Object sender;
      {
        const std::vector<Object> receivers(5);
        for (const Object &receiver : receivers) connectTo(sender, "changed", receiver, taking());
        newIntProperty(sender, "level", round);
        connectTo(sender, "prop->signalname", receivers[0], taking());
        setProperty(sender, "level", "ztInt", 5);
        EXPECT_EQ(ztObject_emit(sender, "changed", 1), 1);
      }
      EXPECT_EQ(ztObject_emit(sender, "changed", 1), 0);
    }
    EXPECT_EQ(taken, 6 * rounds);
  });
}

TEST(Threads, MayDeleteChildrenOfDifferentNodesThatHaveMany) {
  inThreads([](int) {
    for (int i = 0; i < scale(200); ++i) {
      void *parent = ztRoot_ctor(nullptr, 1);
      std::vector<void *> children(40);
      for (size_t uid = 0; uid < children.size(); ++uid) {
        children[uid] = ztRoot_ctor(nullptr, 1);
        ztRoot_of(children[uid])->setUid(children[uid], static_cast<int32_t>(uid));
        ztRoot_of(parent)->addChild(parent, children[uid]);
      }
      while (children.size() > 20) {
        ztRoot_of(parent)->deleteChild(parent, children.back());
        EXPECT_EQ(ztRoot_of(children.back())->getParent(children.back()), nullptr);
        release(children.back());
        children.pop_back();
      }
      EXPECT_EQ(ztRoot_of(parent)->getChildCount(parent), 20);
      release(parent);
    }
  });
}

TEST(Threads, MayReadStaticPropertiesWhileOthersAreAdded) {
  const Object first(Wheel_ctor);
  std::atomic<bool> done = false;
  inThreads([&](int i) {
    if (i == 0) {
      for (int n = 0; n < 50; ++n) {
        const std::string name = "added" + std::to_string(n);
        EXPECT_EQ(addNumber(WheelClass_Instance(), name.c_str()), 1);
        ztProperty_functions()->registerNewType(nullptr, n % 2 == 0 ? "ztBoolPropertyType" : "unknown");
      }
      done = true;
      return;
    }
    do {
      const Object wheel(Wheel_ctor);
      EXPECT_EQ(intProperty(wheel, "rim"), 7);
      const PropertyList list(ztPropertyPtrArray_ctor);
      EXPECT_EQ(wheel->getStaticProperties(wheel, list), 1);
      for (int32_t at = 0; at < list->getSize(list); ++at) {
        EXPECT_EQ(static_cast<const ztProperty *>(list->getAt(list, at))->index, at);
      }
      newIntProperty(wheel, "own", 1);
    } while (!done);
  });
  const PropertyList list(ztPropertyPtrArray_ctor);
  first->getStaticProperties(first, list);
  EXPECT_EQ(list->getSize(list), 54);
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
    const Object other;
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
  for (const char *use : {"connect", "emit", "set", "release", "all", "own"}) {
    EXPECT_EQ(warningsWith("thread", use), strcmp(use, "own") == 0 ? 0 : 1) << use;
    EXPECT_EQ(warningsWith("other", use), 0) << use;
  }
}

TEST(Threads, AreCheckedWhereOneOfTheWordsBetweenCommasAsksForIt) {
  for (const char *checks : casesOf({"thread", "thread,", ",thread", "other,thread", "thread,other",
                                     "a,thread,b", "thread,thread", ",,thread,,", "threads,thread"},
                                    4)) {
    EXPECT_EQ(warningsWith(checks, "emit"), 1) << checks;
  }
  for (const char *checks : casesOf({"", ",", "other", "other,words", "threads", "thre", "thread other",
                                     " thread", "thread;other", "Thread", "thread=1", "athread,threadb"},
                                    4)) {
    EXPECT_EQ(warningsWith(checks, "emit"), 0) << checks;
  }
  EXPECT_EQ(warningsWith(nullptr, "emit"), 0);
}
