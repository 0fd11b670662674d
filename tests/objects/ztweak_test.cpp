#include "objects/ztweak.h"

#include "objects/ztroot.h"
#include "tests/helpers/allocator.hh"
#include "tests/helpers/faults.hh"
#include "tests/helpers/scale.hh"
#include "tests/objects/gauge.hh"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <thread>

namespace {

class Weak : public ListenerTest {
 protected:
  Weak() : blocksBefore(blocksOfAFirstObject()) {}
  ~Weak() override {
    EXPECT_EQ(liveBlocks, blocksBefore) << "watches are left";
  }

 private:
  // What the class keeps is there then.
  static int blocksOfAFirstObject() {
    release(newListener());
    return liveBlocks;
  }

  const int blocksBefore;
};

int other;
void *const elsewhere = &other;

}  // namespace

TEST_F(Weak, PointersBecomeNullWhenTheirObjectEnds) {
  void *object = newListener();
  void *pointers[3] = {};
  for (void *&pointer : pointers) {
    EXPECT_EQ(ztObject_watch(object, &pointer), 1);
    EXPECT_EQ(pointer, object);
  }
  ztBaseClass_of(object)->ref(object);
  ztBaseClass_of(object)->ref(object);
  release(object);
  EXPECT_EQ(pointers[0], object) << "it still lives";
  release(object);
  for (void *pointer : pointers) EXPECT_EQ(pointer, nullptr);
}

TEST_F(Weak, PointersOfPlainObjectsAndNodesBecomeNull) {
  for (ztCtor constructor : {ztObject_ctor, ztRoot_ctor}) {
    void *pointer = nullptr;
    void *object = constructor(nullptr, 1);
    ASSERT_EQ(ztObject_watch(object, &pointer), 1);
    release(object);
    EXPECT_EQ(pointer, nullptr);
  }
}

TEST_F(Weak, PointersOfAChildBecomeNullWithItsParent) {
  void *parent = ztRoot_ctor(nullptr, 1);
  void *child = ztRoot_ctor(nullptr, 1);
  void *pointer = nullptr;
  ztRoot_of(parent)->addChild(parent, child);
  ASSERT_EQ(ztObject_watch(child, &pointer), 1);
  release(parent);
  EXPECT_EQ(pointer, nullptr);
}

TEST_F(Weak, PointersAreNullBeforeSlotsOfDestroyedRunAndTakeNoEndingObject) {
  const Object receiver(Listener_ctor);
  void *object = newListener();
  void *pointer = nullptr;
  void *late = elsewhere;
  ASSERT_EQ(ztObject_watch(object, &pointer), 1);
  ASSERT_EQ(connectTo(object, "destroyed", receiver, diarySlot<0>()), 1);
  reaction = [&](const Call &call) {
    EXPECT_EQ(pointer, nullptr);
    EXPECT_EQ(call.first, wordOf(object));
    EXPECT_TRUE(
        isRefused([&] { return ztObject_watch(object, &late); }, {"ztObject_watch", "being destroyed"}));
    EXPECT_EQ(ztObject_unwatch(object, &pointer), 0);
  };
  release(object);
  EXPECT_EQ(diary.size(), 1U);
  EXPECT_EQ(late, elsewhere);
}

TEST_F(Weak, WatchesOfOnePointerTwiceAreOne) {
  void *object = newListener();
  void *pointer = nullptr;
  ASSERT_EQ(ztObject_watch(object, &pointer), 1);
  EXPECT_FALSE(allocates([&] { EXPECT_EQ(ztObject_watch(object, &pointer), 1); }));
  EXPECT_EQ(ztObject_unwatch(object, &pointer), 1);
  EXPECT_EQ(ztObject_unwatch(object, &pointer), 0);
  EXPECT_EQ(pointer, object);
  release(object);
  EXPECT_EQ(pointer, object) << "it watched no more";
}

TEST_F(Weak, PointersThatMoveToAnotherObjectLeaveTheFirst) {
  void *first = newListener();
  void *second = newListener();
  void *before = nullptr;
  void *pointer = nullptr;
  void *after = nullptr;
  for (void **its : {&before, &pointer, &after}) ASSERT_EQ(ztObject_watch(first, its), 1);
  ASSERT_EQ(ztObject_watch(second, &pointer), 1);
  EXPECT_EQ(pointer, second);
  EXPECT_EQ(ztObject_unwatch(first, &pointer), 0);
  release(first);
  EXPECT_EQ(before, nullptr);
  EXPECT_EQ(after, nullptr);
  EXPECT_EQ(pointer, second);
  release(second);
  EXPECT_EQ(pointer, nullptr);
}

TEST_F(Weak, PointersThatWereChangedStayAsTheyAre) {
  void *object = newListener();
  void *pointer = nullptr;
  ASSERT_EQ(ztObject_watch(object, &pointer), 1);
  pointer = elsewhere;
  release(object);
  EXPECT_EQ(pointer, elsewhere);
}

TEST_F(Weak, CopiesAreNotWatched) {
  void *pointer = nullptr;
  void *object = newListener();
  ASSERT_EQ(ztObject_watch(object, &pointer), 1);
  void *copy = newCopy(object);
  release(copy);
  EXPECT_EQ(pointer, object);
  release(object);
  EXPECT_EQ(pointer, nullptr);
}

TEST_F(Weak, ObjectsInPlaceAreWatchedEachTimeTheyAreMade) {
  Listener place;
  void *pointer = nullptr;
  for (int round = 0; round < 2; ++round) {
    Listener_ctor(&place, 1);
    ASSERT_EQ(ztObject_watch(&place, &pointer), 1);
    Listener_of(&place)->destroy(&place);
    EXPECT_EQ(pointer, nullptr);
    pointer = elsewhere;
    Listener_of(&place)->destroy(&place);
    ++listenersLive;
    EXPECT_EQ(pointer, elsewhere) << "a second destruction";
  }
}

TEST_F(Weak, WatchesOfAnObjectWhoseMemoryEndedWithoutItsEndAreForgotten) {
  ztObject place;
  void *gone = nullptr;
  void *pointer = nullptr;
  ztObject_ctor(&place, 1);
  ASSERT_EQ(ztObject_watch(&place, &gone), 1);
  ztSignalMap *signals = place.signals;
  ztPropertyMap *properties = place.dynamicProperties;
  ztObject_ctor(&place, 1);
  gone = elsewhere;
  ASSERT_EQ(ztObject_watch(&place, &pointer), 1);
  ztObject_of(&place)->destroy(&place);
  EXPECT_EQ(pointer, nullptr);
  EXPECT_EQ(gone, elsewhere);
  release(signals);
  release(properties);
}

TEST_F(Weak, SlipsAreRefusedWithALine) {
  const Owned<ztString, ztStringMethods> string(ztString_ctor);
  const Object object;
  void *pointer = elsewhere;
  EXPECT_TRUE(
      isRefused([&] { return ztObject_watch(nullptr, &pointer); }, {"ztObject_watch", "object", "NULL"}));
  EXPECT_TRUE(isRefused([&] { return ztObject_watch(object, nullptr); }, {"pointer", "NULL"}));
  EXPECT_TRUE(isRefused([&] { return ztObject_watch(string, &pointer); }, {"'ztString'"}));
  EXPECT_EQ(pointer, elsewhere);
  EXPECT_EQ(logOf([&] {
              EXPECT_EQ(ztObject_unwatch(nullptr, &pointer), 0);
              EXPECT_EQ(ztObject_unwatch(object, nullptr), 0);
              EXPECT_EQ(ztObject_unwatch(object, &pointer), 0);
            }),
            "");
}

TEST_F(Weak, WatchesAreWholeOrNotWhenMemoryIsExhausted) {
  const Object first;
  const Object second;
  exhaustMemoryIn([&] {
    void *pointers[40] = {};
    for (void *&pointer : pointers) {
      const int32_t done = ztObject_watch(first, &pointer);
      EXPECT_EQ(pointer, done ? static_cast<void *>(first) : nullptr);
      if (ztObject_watch(second, &pointer)) {
        EXPECT_EQ(pointer, second);
        EXPECT_EQ(ztObject_unwatch(second, &pointer), 1);
      } else {
        EXPECT_EQ(pointer, done ? static_cast<void *>(first) : nullptr);
        EXPECT_EQ(ztObject_unwatch(first, &pointer), done);
      }
    }
  });
}

TEST_F(Weak, PointersThatCannotMoveStay) {
  std::vector<Object> objects;
  for (int number = 0; number < 40; ++number) objects.emplace_back(Listener_ctor);
  void *pointers[40] = {};
  for (void *&pointer : pointers) ASSERT_EQ(ztObject_watch(objects[0], &pointer), 1);
  int moved = 0;
  {
    // Some have a place in the tables, which cannot grow.
    const Fault fault(0, true);
    for (int number = 1; number < 40; ++number) {
      const int32_t done = ztObject_watch(objects[static_cast<size_t>(number)], &pointers[number]);
      EXPECT_EQ(pointers[number], objects[done ? static_cast<size_t>(number) : 0]) << number;
      moved += done;
    }
  }
  EXPECT_GT(moved, 0);
  EXPECT_LT(moved, 39);
  objects.clear();
  for (void *pointer : pointers) EXPECT_EQ(pointer, nullptr);
}

TEST_F(Weak, WatchesInAnyOrderHoldWhatAModelHolds) {
  std::mt19937 random(7);
  const auto below = [&](size_t limit) { return random() % limit; };
  void *objects[8] = {};
  void *pointers[40] = {};
  void *watched[40] = {};
  for (void *&object : objects) object = newListener();
  for (int step = 0; step < scale(20000); ++step) {
    void *&object = objects[below(8)];
    const size_t index = below(40);
    switch (below(4)) {
      case 0: {
        void *ended = object;
        release(ended);
        std::replace(std::begin(watched), std::end(watched), ended, static_cast<void *>(nullptr));
        object = newListener();
        break;
      }
      case 1:
        EXPECT_EQ(ztObject_unwatch(object, &pointers[index]), watched[index] == object);
        if (watched[index] == object) watched[index] = pointers[index] = nullptr;
        break;
      default:
        EXPECT_EQ(ztObject_watch(object, &pointers[index]), 1);
        watched[index] = object;
    }
    ASSERT_TRUE(std::equal(std::begin(pointers), std::end(pointers), watched)) << step;
  }
  for (void *object : objects) release(object);
  for (void *pointer : pointers) EXPECT_EQ(pointer, nullptr);
}

TEST_F(Weak, ThreadsWatchTheirOwnObjects) {
  std::vector<std::thread> threads;
  for (int number = 0; number < 4; ++number) {
    threads.emplace_back([] {
      for (int round = 0; round < 500; ++round) {
        void *pointers[3] = {};
        void *object = ztObject_ctor(nullptr, 1);
        for (void *&pointer : pointers) EXPECT_EQ(ztObject_watch(object, &pointer), 1);
        EXPECT_EQ(ztObject_unwatch(object, &pointers[1]), 1);
        release(object);
        EXPECT_EQ(pointers[0], nullptr);
        EXPECT_EQ(pointers[1], object);
        EXPECT_EQ(pointers[2], nullptr);
      }
    });
  }
  for (std::thread &thread : threads) thread.join();
}
