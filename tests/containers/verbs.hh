// What the tests of several containers say.
#ifndef ZT_TESTS_VERBS_HH
#define ZT_TESTS_VERBS_HH

#include "tests/containers/elements.hh"

#include <numeric>
#include <utility>

using Pairs = std::vector<std::pair<int32_t, int32_t>>;

// The numbers from 0, so many.
inline Numbers upTo(int32_t count) {
  Numbers numbers(static_cast<size_t>(count));
  std::iota(numbers.begin(), numbers.end(), 0);
  return numbers;
}

// What the methods of a host's class were called for, a letter each.
inline std::string asked;

inline std::string takeAsked() {
  return std::exchange(asked, {});
}

#endif
