// Memory that is exhausted when a test says so.
#ifndef ZT_TESTS_EXHAUSTION_HH
#define ZT_TESTS_EXHAUSTION_HH

#include <functional>

// Whether allocations can be refused here: not where Valgrind or a sanitizer serves them.
bool canExhaustMemory();

// Runs the scenario with its first allocation refused, then with its second, and so on until one run
// meets no refusal; once with that single allocation refused and once with all that follow it too. Each
// run must leave as many blocks allocated as it found.
void exhaustMemoryIn(const std::function<void()> &scenario);

// Whether the scenario asks for memory.
bool allocates(const std::function<void()> &scenario);

#endif
