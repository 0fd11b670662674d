// Pairs for the tests of the associative containers.
#ifndef ZT_TESTS_PAIRS_HH
#define ZT_TESTS_PAIRS_HH

#include "containers/zthashtab.h"
#include "tests/containers/verbs.hh"

// The items of a hash table, bucket by bucket, each as it stands in its chain; expects the count to agree.
std::vector<const ztHashTableItem *> itemsInTable(const void *table);

// Sets an associative container up. Keys that are objects are hashed by their class alone, which all of one
// class share.
void configurePairs(void *container, Policy keys, Policy values);

// The same for numbers by value.
inline void configureNumbers(void *container) {
  configurePairs(container, Policy::byValue, Policy::byValue);
}

#endif
