// Pairs for the tests of the associative containers, and copies that run out of memory.
#ifndef ZT_TESTS_PAIRS_HH
#define ZT_TESTS_PAIRS_HH

#include "tests/containers/elements.hh"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

// How keys are kept, and how values are.
using PairPolicy = std::tuple<Policy, Policy>;

inline auto allPairPolicies() {
  return ::testing::Combine(::testing::ValuesIn(allPolicies), ::testing::ValuesIn(allPolicies));
}

std::string pairPolicyName(const ::testing::TestParamInfo<PairPolicy> &test);

// Sets an associative container up. Keys that are objects are hashed by their class alone, which all of
// one class share.
void configurePairs(void *container, const PairPolicy &policy);

// How many objects the container makes for a pair.
int32_t objectsPerPair(const PairPolicy &policy);

// Copies a container again and again, while one allocation after the other fails: each copy that fails
// owns nothing. At least so many allocations have to fail before one succeeds.
void expectCopyToNeedMemory(const void *container, int32_t allocations);

#endif
