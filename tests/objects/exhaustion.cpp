#include "tests/objects/exhaustion.hh"

#include "core/ztmem.h"

#include <gtest/gtest.h>

#include <stdlib.h>
#include <string.h>

#ifndef __SANITIZE_ADDRESS__

#include <malloc.h>

extern "C" {
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *block, size_t size);
void __libc_free(void *block);
}

static bool counting;
static int allocationsLeft;  // until one is refused
static bool refusesAllFollowing;
static bool hasRefused;
static int liveBlocks;

static bool refusesNext() {
  if (!counting) return false;
  if (allocationsLeft > 0) {
    --allocationsLeft;
    return false;
  }
  if (hasRefused && !refusesAllFollowing) return false;
  hasRefused = true;
  return true;
}

extern "C" void *malloc(size_t size) noexcept {
  if (refusesNext()) return nullptr;
  ++liveBlocks;
  return __libc_malloc(size);
}

// Compilers make it of an allocation that is cleared.
extern "C" void *calloc(size_t count, size_t size) noexcept {
  if (refusesNext()) return nullptr;
  ++liveBlocks;
  return __libc_calloc(count, size);
}

extern "C" void *realloc(void *block, size_t size) noexcept {
  if (refusesNext()) return nullptr;
  if (block == nullptr) ++liveBlocks;
  return __libc_realloc(block, size);
}

// What is freed is overwritten, so that a later use shows.
extern "C" void free(void *block) noexcept {
  if (block == nullptr) return;
  if (counting) memset(block, 0xDB, malloc_usable_size(block));
  --liveBlocks;
  __libc_free(block);
}

bool canExhaustMemory() {
  return allocates([] { ztm_free(ztm_alloc(1)); });
}

static void runRefusing(const std::function<void()> &scenario, int allocations, bool andAllFollowing) {
  allocationsLeft = allocations;
  refusesAllFollowing = andAllFollowing;
  hasRefused = false;
  counting = true;
  scenario();
  counting = false;
}

static void exhaustOnce(const std::function<void()> &scenario, int allocations, bool andAllFollowing) {
  const int before = liveBlocks;
  runRefusing(scenario, allocations, andAllFollowing);
  EXPECT_EQ(liveBlocks, before) << "with allocation " << allocations << " refused";
}

void exhaustMemoryIn(const std::function<void()> &scenario) {
  scenario();  // what is made once and kept
  for (const bool andAllFollowing : {false, true}) {
    int allocations = 0;
    do {
      exhaustOnce(scenario, allocations++, andAllFollowing);
    } while (hasRefused && !testing::Test::HasFailure());
    EXPECT_GT(allocations, 1) << "the scenario allocates nothing";
  }
}

bool allocates(const std::function<void()> &scenario) {
  runRefusing(scenario, 0, true);
  return hasRefused;
}

#else

bool canExhaustMemory() {
  return false;
}

void exhaustMemoryIn(const std::function<void()> &) {}

bool allocates(const std::function<void()> &) {
  return false;
}

#endif
