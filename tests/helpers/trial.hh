// What scenarios are written with that run with and without faults, in one thread or in several.
#ifndef ZT_TESTS_TRIAL_HH
#define ZT_TESTS_TRIAL_HH

#include "core/ztoop.h"

#include <gtest/gtest.h>

#include <source_location>
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
  auto need(Operation operation, std::source_location where = std::source_location::current()) {
    auto result = operation();
    if (result) return result;
    EXPECT_GT(struck(), 0) << "failed without a fault at line " << where.line();
    endFault();
    result = operation();
    EXPECT_TRUE(result) << "fails for good at line " << where.line();
    if (!result) hopeless = true;
    return result;
  }

  // A new object whose `create` succeeded, the caller's to release.
  void *make(ztCtor constructor, std::source_location where = std::source_location::current());
  // The same of the class registered under a name; NULL when it is not complete.
  void *makeByName(const char *name, std::source_location where = std::source_location::current());

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

// A file in memory, so that nothing waits for a disk.
class MemoryFile {
 public:
  MemoryFile();
  ~MemoryFile();
  MemoryFile(const MemoryFile &) = delete;
  MemoryFile &operator=(const MemoryFile &) = delete;

  // Its name, under which it can be opened anew.
  const char *path() const {
    return name.c_str();
  }
  // All that it holds.
  std::string bytes() const;

 private:
  int descriptor;
  std::string name;
};

void releaseIfMade(void *object);

// An object that is released at the end of its scope.
class Held {
 public:
  explicit Held(void *made) : object(made) {}
  ~Held() {
    releaseIfMade(object);
  }
  Held(const Held &) = delete;
  Held &operator=(const Held &) = delete;

  operator void *() const {
    return object;
  }
  // Hands the object over.
  void *release() {
    void *released = object;
    object = nullptr;
    return released;
  }

 private:
  void *object;
};

#endif
