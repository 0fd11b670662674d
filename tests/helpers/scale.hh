// How much the random tests do.
#ifndef ZT_TESTS_SCALE_HH
#define ZT_TESTS_SCALE_HH

#include <stdlib.h>

// The number of operations, less where the environment asks for it: a run under Valgrind sets
// ZT_TEST_OPERATIONS_DIVISOR.
inline int scale(int operations) {
  const char *text = getenv("ZT_TEST_OPERATIONS_DIVISOR");
  const int divisor = text == nullptr ? 1 : atoi(text);
  return divisor > 1 ? operations / divisor : operations;
}

#endif
