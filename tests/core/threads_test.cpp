// The engine while several threads use it.
#include "core/ztbasec.h"
#include "tests/helpers/captured_log.hh"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace {

std::atomic<int> initialised;
std::atomic<bool> isInitialising;
std::atomic<bool> wasInitialised;
std::atomic<bool> isRegistering;
std::atomic<bool> wasRegistered;

}  // namespace

// Each is first used in one test.
#define Reed_FIELDS  \
  ztBaseClass_FIELDS \
  int32_t length;
#define Reed_METHODS  \
  ztBaseClass_METHODS \
  int32_t (*bend)(void *reed);
ZT_DECLARE_CLASS(Reed)
#define Rush_FIELDS Reed_FIELDS
#define Rush_METHODS Reed_METHODS
ZT_DECLARE_CLASS(Rush)
#define Sedge_FIELDS \
  ztBaseClass_FIELDS \
  int32_t length;
#define Sedge_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Sedge)
#define Sward_FIELDS ztBaseClass_FIELDS
#define Sward_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Sward)

static int32_t reedBend(void *reed) {
  return static_cast<Reed *>(reed)->length;
}

static int32_t reedCreate(void *reed) {
  static_cast<Reed *>(reed)->length = 12;
  return ztBaseClass_table()->create(reed);
}

static void reedMethods(ReedMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, reedCreate);
  ZT_OVERRIDE_METHOD(methods, bend, reedBend);
}

static void reedInit(ztClass *) {
  ++initialised;
}

static void reedFunctions(ztClassFunctions *functions) {
  functions->classInit = reedInit;
}

static void rushMethods(RushMethods *) {}

ZT_DEFINE_CLASS_FULL(Reed, ztBaseClass, reedMethods, 1, ztClassFunctions, reedFunctions)
ZT_DEFINE_CLASS(Rush, Reed, rushMethods)

static void sedgeMethods(SedgeMethods *) {}

// Takes as long as another thread needs to come to the class.
static void sedgeInit(ztClass *) {
  isInitialising = true;
  usleep(100000);
  wasInitialised = true;
}

static void sedgeFunctions(ztClassFunctions *functions) {
  functions->classInit = sedgeInit;
}

ZT_DEFINE_CLASS_FULL(Sedge, ztBaseClass, sedgeMethods, 1, ztClassFunctions, sedgeFunctions)

static void swardRegistered(ztClass *) {
  isRegistering = true;
  usleep(100000);
  wasRegistered = true;
}

static void swardMethods(SwardMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, classInstanceCreate, swardRegistered);
}

ZT_DEFINE_CLASS(Sward, ztBaseClass, swardMethods)

namespace {

// Runs the work in four threads that begin together.
template <typename Work>
void inFourThreads(Work work) {
  std::atomic<int> ready{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&, i] {
      ++ready;
      while (ready < 4) std::this_thread::yield();
      work(i);
    });
  }
  for (std::thread &thread : threads) thread.join();
}

TEST(Threads, FillAndRegisterAClassOnce) {
  const int32_t before = ztOOP_classCount();
  std::atomic<int> wrong{0};
  inFourThreads([&](int number) {
    void *object = number % 2 == 0 ? Reed_ctor(nullptr, 1) : Rush_ctor(nullptr, 1);
    const bool isWhole = Reed_of(object)->bend(object) == 12 && ReedIsClassOf(nullptr, object, "Reed") &&
                         ReedIsClassOf(nullptr, object, "ztBaseClass") &&
                         ztOOP_isClassRegistered(ReedClassName(nullptr, object));
    wrong += !isWhole;
    Reed_of(object)->unRef(object);
  });
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(initialised, 1);
  EXPECT_EQ(ztOOP_classCount(), before + 2);
}

TEST(Threads, GetNoObjectOfAClassThatAnotherIsFilling) {
  std::thread filling([] {
    void *first = Sedge_ctor(nullptr, 1);
    Sedge_of(first)->unRef(first);
  });
  while (!isInitialising) std::this_thread::yield();
  void *object = Sedge_ctor(nullptr, 1);
  EXPECT_TRUE(wasInitialised);
  EXPECT_EQ(ztOOP_classOf(object)->parent, ztBaseClassClass_Instance());
  EXPECT_TRUE(ztOOP_isClassRegistered("Sedge"));
  filling.join();
  Sedge_of(object)->unRef(object);
}

TEST(Threads, GetNoObjectOfAClassThatAnotherIsRegistering) {
  std::thread registering([] {
    void *first = Sward_ctor(nullptr, 1);
    Sward_of(first)->unRef(first);
  });
  while (!isRegistering) std::this_thread::yield();
  void *object = Sward_ctor(nullptr, 1);
  EXPECT_TRUE(wasRegistered);
  registering.join();
  Sward_of(object)->unRef(object);
}

TEST(Threads, FindWhatIsRegisteredWhileOthersRegisterAndFree) {
  CapturedLog log;
  inFourThreads([](int number) {
    const std::string name = "thread " + std::to_string(number);
    for (int i = 0; i < 300; ++i) {
      void *prototype = ztBaseClass_ctor(nullptr, 0);
      ASSERT_EQ(ztAddNewClass(prototype, name.c_str(), ztBaseClass_ctor, nullptr), 1);
      ASSERT_EQ(ztOOP_findClass("ztFile")->initialised, 1U);
      void *object = ztNewFromName(name.c_str());
      ASSERT_NE(object, nullptr);
      ztBaseClass_of(object)->unRef(object);
      ztFreeClass(name.c_str());
      ASSERT_EQ(ztNewFromName(name.c_str()), nullptr);
    }
  });
}

}  // namespace
