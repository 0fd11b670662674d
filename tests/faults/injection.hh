// Runs scenarios while calls fail that the library makes: those for memory, and those for files, folders
// and randomness, for which the test program puts functions of its own in front of the C library's.
#ifndef ZT_TESTS_INJECTION_HH
#define ZT_TESTS_INJECTION_HH

#include "tests/support/faults.h"

#include <functional>
#include <ostream>
#include <source_location>
#include <string>
#include <vector>

// The calls of files. Streams that are opened while one of them is to fail hand every read, write, seek
// and close to these counts; a stream flushes by writing. A folder that is opened, a name that is read
// from it and random bytes count as `opens`, `reads` and `randoms`.
extern Faults opens;
extern Faults reads;
extern Faults writes;
extern Faults seeks;
extern Faults closes;
extern Faults randoms;

// Streams and folders that are open.
extern int openStreams;
extern int openFolders;

// What fails, and how.
struct Kind {
  const char *name;
  Faults *faults;
  int error;             // what the failing calls leave in errno
  int bufferSize;        // of streams; 0 for the C library's own choice
  bool partial = false;  // a failing read or write still moves half of its bytes
};

std::ostream &operator<<(std::ostream &out, const Kind &kind);
std::string nameOf(const testing::TestParamInfo<Kind> &test);

extern const Kind memory;
std::vector<Kind> fileKinds();
std::vector<Kind> allKinds();

// One run of a scenario, which a fault may strike.
class Trial {
 public:
  explicit Trial(const Fault &injected) : fault(injected) {}
  Trial(const Trial &) = delete;
  Trial &operator=(const Trial &) = delete;

  // What an operation gives. When it reports failure, because a fault struck, the fault ends and the
  // operation is repeated, and has to succeed.
  template <typename Operation>
  auto need(Operation operation, std::source_location where = std::source_location::current()) {
    auto result = operation();
    if (result) return result;
    EXPECT_GT(fault.struck(), 0) << "failed without a fault at line " << where.line();
    fault.end();
    result = operation();
    EXPECT_TRUE(result) << "fails for good at line " << where.line();
    if (!result) hopeless = true;
    return result;
  }

  // A new object whose `create` succeeded, the caller's to release.
  void *make(ztCtor constructor, std::source_location where = std::source_location::current());
  // The same of the class registered under a name; NULL when it is not complete.
  void *makeByName(const char *name, std::source_location where = std::source_location::current());

  int struck() const {
    return fault.struck();
  }
  void endFault() const {
    fault.end();
  }
  // Whether something failed for good: the scenario is to come to its end.
  bool isHopeless() const {
    return hopeless;
  }

 private:
  const Fault &fault;
  bool hopeless = false;
};

// Describes what it came to.
using Scenario = std::function<std::string(Trial &)>;

// Runs the scenario without a fault, then with its first call of the kind failing, and so on until one
// run meets no failing call; once with that single call failing, and once with all that follow it, too.
// Each run has to come to the same, and to leave as many blocks and streams as it found. Returns how many
// runs a fault struck.
int strikeEach(const Kind &kind, const Scenario &scenario);

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
