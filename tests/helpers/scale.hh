// How much the random tests do.
#ifndef ZT_TESTS_SCALE_HH
#define ZT_TESTS_SCALE_HH

#include <stdlib.h>

#include <initializer_list>
#include <vector>

// The number of operations, less where the environment asks for it: a run under Valgrind sets
// ZT_TEST_OPERATIONS_DIVISOR.
inline int scale(int operations) {
  const char *text = getenv("ZT_TEST_OPERATIONS_DIVISOR");
  const int divisor = text == nullptr ? 1 : atoi(text);
  return divisor > 1 ? operations / divisor : operations;
}

// The cases of a list, each of which is tried in a process of its own: all of them, or one of so many where less is
// to be done.
template <typename Case>
std::vector<Case> casesOf(std::initializer_list<Case> all, size_t oneOf) {
  std::vector<Case> chosen;
  const size_t step = scale(100) < 100 ? oneOf : 1;
  for (size_t i = 0; i < all.size(); i += step) chosen.push_back(all.begin()[i]);
  return chosen;
}

#endif
