// Elements for the tests of the containers: object classes that count themselves, and the three element
// policies in a form that lets one test run with each.
#ifndef ZT_TESTS_ELEMENTS_HH
#define ZT_TESTS_ELEMENTS_HH

#include "containers/ztlist.h"
#include "containers/ztscont.h"
#include "tests/helpers/counted.hh"
#include "tests/helpers/owned.hh"

#include <gtest/gtest.h>

#include <string.h>

#include <ostream>
#include <string>
#include <vector>

using Numbers = std::vector<int32_t>;

// Counted: an object with a value, and memory of its own. Its class counts the live objects.
#define Counted_FIELDS \
  ztBaseClass_FIELDS   \
  int32_t value;       \
  int32_t *owned;
#define Counted_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Counted)

// CountedTwin: a subclass of the same size.
#define CountedTwin_FIELDS Counted_FIELDS
#define CountedTwin_METHODS Counted_METHODS
ZT_DECLARE_CLASS(CountedTwin)

// CountedLarger: a larger subclass.
#define CountedLarger_FIELDS Counted_FIELDS int64_t more[4];
#define CountedLarger_METHODS Counted_METHODS
ZT_DECLARE_CLASS(CountedLarger)

// A Counted of this value refuses to be cloned.
inline constexpr int32_t refusesToClone = -1;

// Counted objects, of subclasses too, that were created or cloned and not yet destroyed.
inline int32_t &countedLive = liveOf<Counted>;

// A new object of Counted or a subclass; the second is released at the end of its scope.
Counted *newCounted(int32_t value, ztCtor constructor = Counted_ctor);
using CountedObject = Owned<Counted, CountedMethods>;
CountedObject counted(int32_t value, ztCtor constructor = Counted_ctor);

// Compares two Counted objects by their values.
int32_t compareCounted(const void *first, const void *second);

enum class Policy { byValue, byPointer, constructed };

inline constexpr Policy allPolicies[] = {Policy::byValue, Policy::byPointer, Policy::constructed};

std::string policyName(Policy policy);
std::ostream &operator<<(std::ostream &out, Policy policy);

// Elements of one policy, each standing for a number from 0 to 999.
class Elements {
 public:
  explicit Elements(Policy kept);
  ~Elements();
  Elements(const Elements &) = delete;
  Elements &operator=(const Elements &) = delete;

  // Sets a container of single elements up for the policy.
  void configure(void *container) const;

  // The number's element in the caller's form. Good until the next call, but by pointer for ever.
  const void *make(int32_t number);

  // The number that a stored element stands for.
  int32_t numberOf(const void *stored) const;

  // Whether a stored element is one that the container copied.
  bool isCopy(const void *stored) const;

  // Releases an element that a container handed over.
  void release(void *handed) const;

 private:
  Policy policy;
  std::vector<int32_t> numbers;
  Counted *object;
};

// The numbers that the elements of a list stand for, front to back; expects its links and its size to agree.
Numbers numbersOf(const ztList &list, const Elements &elements);

// An object in memory full of garbage, as a host's own memory may be. It is destroyed at the end.
template <typename C>
class InGarbage {
 public:
  explicit InGarbage(ztCtor constructor) {
    memset(memory, 0xA5, sizeof memory);
    constructor(memory, 1);
  }
  ~InGarbage() {
    ztBaseClass_of(memory)->destroy(memory);
  }
  C *operator->() {
    return reinterpret_cast<C *>(memory);
  }
  C &operator*() {
    return *reinterpret_cast<C *>(memory);
  }
  operator void *() {
    return memory;
  }

 private:
  alignas(C) unsigned char memory[sizeof(C)];
};

// How many Counted objects came to life since this was made.
class LiveCount {
 public:
  LiveCount() : before(countedLive) {}
  int32_t made() const {
    return countedLive - before;
  }

 private:
  int32_t before;
};

// Expects of a scope that as many Counted objects are left as it found.
class NoneLost : public LiveCount {
 public:
  ~NoneLost() {
    EXPECT_EQ(made(), 0) << "an element was lost, or released twice";
  }
};

#endif
