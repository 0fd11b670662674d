// What every program here does: it runs one operation so many times, and another program counts the
// instructions. Run twice, with N and with 2N rounds, the difference is that of N rounds, without what comes
// before and after them.
#ifndef ZT_BENCH_INSTRUCTIONS_OPERATIONS_HH
#define ZT_BENCH_INSTRUCTIONS_OPERATIONS_HH

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>

// An operation, under the name that it has in every program.
struct Operation {
  const char *name;
  void (*run)(int rounds);
  int inRound = 1;  // how often a round does it
};

constexpr int elementCount = 1000;

// The numbers from 0 on, each once, in an order without pattern.
inline const std::array<int, elementCount> shuffled = [] {
  std::array<int, elementCount> numbers{};
  unsigned random = 1;
  for (int i = 0; i < elementCount; ++i) {
    random = random * 1664525 + 1013904223;
    const unsigned place = (random >> 8) % static_cast<unsigned>(i + 1);
    numbers[static_cast<size_t>(i)] = numbers[place];
    numbers[place] = i;
  }
  return numbers;
}();

// Keeps the compiler from leaving out what makes a value.
template <typename Value>
inline void use(const Value &value) {
  asm volatile("" : : "g"(&value) : "memory");
}

// program                  prints the operations, and how often a round does each
// program OPERATION COUNT  runs that many rounds
inline int runOperations(std::span<const Operation> operations, int argc, char **argv) {
  if (argc != 3) {
    for (const Operation &operation : operations)
      printf("operation %d %s\n", operation.inRound, operation.name);
    return argc == 1 ? 0 : 2;
  }
  for (const Operation &operation : operations) {
    if (strcmp(operation.name, argv[1]) != 0) continue;
    operation.run(atoi(argv[2]));
    return 0;
  }
  return 2;
}

#endif
