// Runs scenarios while calls fail that the library makes: those for memory, and those for files, folders
// and randomness, for which the test program puts functions of its own in front of the C library's.
#ifndef ZT_TESTS_INJECTION_HH
#define ZT_TESTS_INJECTION_HH

#include "tests/helpers/faults.hh"
#include "tests/helpers/trial.hh"

#include <functional>
#include <ostream>
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

// Describes what it came to.
using Scenario = std::function<std::string(Trial &)>;

// Runs the scenario without a fault, then with its first call of the kind failing, and so on until one
// run meets no failing call; once with that single call failing, and once with all that follow it, too.
// Each run has to come to the same, and to leave as many blocks and streams as it found. Returns how many
// runs a fault struck.
int strikeEach(const Kind &kind, const Scenario &scenario);

// A property's name with its index behind it.
std::string nameAndIndexOf(const void *property);

#endif
