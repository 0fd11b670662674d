// Elements for the tests of the containers: object classes that count themselves, and the three
// element policies in a form that lets one test run with each.
#ifndef ZT_TESTS_ELEMENTS_HH
#define ZT_TESTS_ELEMENTS_HH

#include "containers/ztscont.h"
#include "tests/helpers/counted.hh"

#include <string>
#include <vector>

// Counted: an object with a value. Its class counts the live objects.
#define Counted_FIELDS \
  ztBaseClass_FIELDS   \
  int32_t value;
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

// A new object of Counted or a subclass.
Counted *newCounted(int32_t value, ztCtor constructor = Counted_ctor);

// Compares two Counted objects by their values.
int32_t compareCounted(const void *first, const void *second);

enum class Policy { byValue, byPointer, constructed };

inline constexpr Policy allPolicies[] = {Policy::byValue, Policy::byPointer, Policy::constructed};

std::string policyName(Policy policy);

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

#endif
