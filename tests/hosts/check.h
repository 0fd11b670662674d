/* Checks for host programs: a failed one prints itself, and the host's exit status tells. */
#ifndef ZT_TESTS_HOSTS_CHECK_H
#define ZT_TESTS_HOSTS_CHECK_H

#include <stdio.h>

static int failedChecks;

static inline void check(int holds, const char *condition, int line) {
  if (holds) return;
  printf("line %d: not so: %s\n", line, condition);
  ++failedChecks;
}

#define CHECK(condition) check((condition) ? 1 : 0, #condition, __LINE__)

#endif
