#ifndef ZT_TESTS_BLOCKS_HH
#define ZT_TESTS_BLOCKS_HH

#include "tests/helpers/allocator.hh"

#endif
