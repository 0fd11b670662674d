// A class that one thread fills or registers while another wants an object of it.
#include "tests/helpers/host_class.hh"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <thread>

// Each is first used in one test.
#define Sedge_FIELDS ztBaseClass_FIELDS
#define Sedge_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Sedge)
#define Sward_FIELDS ztBaseClass_FIELDS
#define Sward_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Sward)

// What one thread does for a class.
struct Work {
  std::atomic<bool> begun;
  std::atomic<bool> done;

  // Takes as long as another thread needs to come to the class.
  void run() {
    begun = true;
    usleep(100000);
    done = true;
  }
};

static Work filling;
static Work registering;

static void sedgeFunctions(ztClassFunctions *functions) {
  functions->classInit = [](ztClass *) { filling.run(); };
}

static void swardMethods(SwardMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, classInstanceCreate, [](ztClass *) { registering.run(); });
}

ZT_DEFINE_CLASS_FULL(Sedge, ztBaseClass, noMethods, 1, ztClassFunctions, sedgeFunctions)
ZT_DEFINE_CLASS(Sward, ztBaseClass, swardMethods)

namespace {

// An object that is made while another thread makes the first of its class.
Object madeDuring(const Work &work, ztCtor constructor) {
  std::thread first(use, constructor);
  while (!work.begun) std::this_thread::yield();
  Object object(constructor);
  EXPECT_TRUE(work.done);
  first.join();
  return object;
}

TEST(ClassThreads, GetNoObjectOfAClassThatAnotherIsFilling) {
  const Object object = madeDuring(filling, Sedge_ctor);
  EXPECT_EQ(ztOOP_classOf(object)->parent, ztBaseClassClass_Instance());
  EXPECT_TRUE(ztOOP_isClassRegistered("Sedge"));
}

TEST(ClassThreads, GetNoObjectOfAClassThatAnotherIsRegistering) {
  madeDuring(registering, Sward_ctor);
}

}  // namespace
