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

// An operation of ours is named "operation", that of a peer "operation/peer".
struct Operation {
  const char *name;
  void (*run)(int rounds);
  int inRound = 1;   // how often a round does it
  int rounds = 300;  // how many rounds are enough to count
};

constexpr int elementCount = 1000;
constexpr int fewRounds = 4;

// An operation that each round does with every element.
constexpr Operation withEach(const char *name, void (*run)(int rounds)) {
  return {name, run, elementCount, fewRounds};
}

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

// What strings are set to.
constexpr char piece[] = "a text of some length";

// Keeps the compiler from leaving out what makes a value, and from knowing it afterwards.
template <typename Value>
inline void use(const Value &value) {
  asm volatile("" : : "g"(&value) : "memory");
}

// Runs it on a stack that begins where a page does. Some functions of the C library take a few instructions more
// near the end of a page, and the length of the environment would decide on that.
inline void runOnOwnPage(const Operation &operation, int rounds) {
  alignas(4096) const char page = 0;
  use(page);
  operation.run(rounds);
}

// program                  prints the operations: how often a round does each, and how many rounds are enough
// program OPERATION COUNT  runs that many rounds
inline int runOperations(std::span<const Operation> operations, int argc, char **argv) {
  if (argc != 3) {
    for (const Operation &operation : operations)
      printf("operation %d %d %s\n", operation.inRound, operation.rounds, operation.name);
    return argc == 1 ? 0 : 2;
  }
  for (const Operation &operation : operations) {
    if (strcmp(operation.name, argv[1]) != 0) continue;
    runOnOwnPage(operation, atoi(argv[2]));
    return 0;
  }
  return 2;
}

#endif
