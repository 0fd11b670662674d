/* Checks for host programs: a failed one prints itself, and the host's exit status tells. */
#ifndef ZT_TESTS_HOSTS_CHECK_H
#define ZT_TESTS_HOSTS_CHECK_H

#include <stdio.h>
#include <string.h>

static int failedChecks;

static inline void check(int holds, const char *condition, int line) {
  if (holds) return;
  printf("line %d: not so: %s\n", line, condition);
  ++failedChecks;
}

#define CHECK(condition) check((condition) ? 1 : 0, #condition, __LINE__)

typedef struct Scenario {
  const char *name;
  void (*run)(void);
} Scenario;

/* Runs the one of the name; the host's exit status. */
static inline int runScenario(const Scenario *scenarios, size_t count, const char *name) {
  for (size_t i = 0; i < count; ++i) {
    if (strcmp(scenarios[i].name, name) != 0) continue;
    scenarios[i].run();
    return failedChecks != 0;
  }
  return 2;
}

#define RUN(scenarios, name) runScenario(scenarios, sizeof scenarios / sizeof *scenarios, name)

#endif
