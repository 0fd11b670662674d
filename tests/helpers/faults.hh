// Scenarios whose allocations fail, one after the other.
#ifndef ZT_TESTS_FAULTS_HH
#define ZT_TESTS_FAULTS_HH

#include "tests/helpers/allocator.hh"

#include <gtest/gtest.h>

#include <functional>

// Runs the scenario with its first allocation refused, then with its second, and so on until one run
// meets no refusal; once with that single allocation refused and once with all that follow it too. Each
// run must leave as many blocks allocated as it found.
inline void exhaustMemoryIn(const std::function<void()> &scenario) {
  scenario();  // what is made once and kept
  for (const bool andAllFollowing : {false, true}) {
    for (int succeeding = 0; !testing::Test::HasFailure(); ++succeeding) {
      const int before = liveBlocks;
      const Fault fault(succeeding, andAllFollowing);
      scenario();
      EXPECT_EQ(liveBlocks, before) << "with allocation " << succeeding << " refused";
      if (fault.end()) continue;
      EXPECT_GT(succeeding, 0) << "the scenario allocates nothing";
      break;
    }
  }
}

// Whether the scenario asks for memory.
inline bool allocates(const std::function<void()> &scenario) {
  const Fault fault(0, true);
  scenario();
  return fault.end();
}

#endif
