// What scenarios are written with that run with and without faults, in one thread or in several.
#ifndef ZT_TESTS_TRIAL_HH
#define ZT_TESTS_TRIAL_HH

#include "tests/helpers/memory_file.hh"
#include "tests/helpers/owned.hh"

#include <gtest/gtest.h>

#include <string>

// One run of a scenario, which a fault may strike.
class Trial {
 public:
  Trial() = default;
  virtual ~Trial() = default;
  Trial(const Trial &) = delete;
  Trial &operator=(const Trial &) = delete;

  // What an operation gives. When it reports failure, because a fault struck, the fault ends and the
  // operation is repeated, and has to succeed.
  template <typename Operation>
  auto need(Operation operation, int line = __builtin_LINE()) {
    auto result = operation();
    if (result) return result;
    EXPECT_GT(struck(), 0) << "failed without a fault at line " << line;
    endFault();
    result = operation();
    EXPECT_TRUE(result) << "fails for good at line " << line;
    if (!result) hopeless = true;
    return result;
  }

  // A new object whose `create` succeeded, the caller's to release.
  void *make(ztCtor constructor, int line = __builtin_LINE());
  // The same of the class registered under a name; NULL when it is not complete.
  void *makeByName(const char *name, int line = __builtin_LINE());

  // The calls that failed so far, and the early end of that.
  virtual int struck() const {
    return 0;
  }
  virtual void endFault() {}
  // Whether something failed for good: the scenario is to come to its end.
  bool isHopeless() const {
    return hopeless;
  }

 private:
  bool hopeless = false;
};

inline void releaseIfMade(void *object) {
  if (object != nullptr) ztBaseClass_of(object)->unRef(object);
}

using Held = Owned<>;

#endif
