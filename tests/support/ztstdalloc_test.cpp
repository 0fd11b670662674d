#include "support/ztstdalloc.h"

#include "core/ztmem.h"
#include "tests/helpers/faults.hh"
#include "tests/helpers/owned.hh"

#include <gtest/gtest.h>

#include <string.h>

namespace {

using OwnedAllocator = Owned<ztStdAllocator, ztStdAllocatorMethods>;

TEST(ztStdAllocator, HandsOutAndTakesBack) {
  const OwnedAllocator allocator(ztStdAllocator_ctor);
  void *block = allocator->allocate(allocator, 100);
  ASSERT_NE(block, nullptr);
  memset(block, 7, 100);
  allocator->deallocate(allocator, block);
  allocator->deallocate(allocator, nullptr);
}

TEST(ztStdAllocator, ResizesWhateverTheOldSizeSays) {
  const OwnedAllocator allocator(ztStdAllocator_ctor);
  for (const uint64_t oldSize : {uint64_t{0}, uint64_t{10}, uint64_t{1000}, UINT64_MAX}) {
    auto *block = static_cast<char *>(allocator->allocate(allocator, 10));
    memcpy(block, "123456789", 10);
    block = static_cast<char *>(allocator->reallocate(allocator, block, oldSize, 40));
    ASSERT_NE(block, nullptr);
    EXPECT_STREQ(block, "123456789");
    memset(block, 1, 40);
    allocator->deallocate(allocator, block);
  }
  void *fresh = allocator->reallocate(allocator, nullptr, 0, 16);
  EXPECT_NE(fresh, nullptr);
  allocator->deallocate(allocator, fresh);
}

#ifndef __SANITIZE_ADDRESS__
TEST(ztStdAllocator, GivesNullWhenMemoryIsExhausted) {
  const OwnedAllocator allocator(ztStdAllocator_ctor);
  EXPECT_EQ(allocator->allocate(allocator, INT64_MAX - 100), nullptr);
  void *block = allocator->allocate(allocator, 10);
  EXPECT_EQ(allocator->reallocate(allocator, block, 10, INT64_MAX - 100), nullptr);
  allocator->deallocate(allocator, block);
}
#endif

TEST(ztStdAllocator, IsNeitherTrackedNorGoesThroughTheMemoryManager) {
  const OwnedAllocator allocator(ztStdAllocator_ctor);
  const int before = liveBlocks;
  EXPECT_FALSE(allocates([&allocator] {
    void *block = allocator->allocate(allocator, 10);
    ztMemStatus status;
    EXPECT_EQ(ztm_getmemstatus(&status), 0);
    EXPECT_EQ(ztm_findblock(block), nullptr);
    block = allocator->reallocate(allocator, block, 10, 100);
    ASSERT_NE(block, nullptr);
    EXPECT_GE(malloc_usable_size(block), 100U);
    allocator->deallocate(allocator, block);
  }));
  EXPECT_EQ(liveBlocks, before);
}

TEST(ztStdAllocator, HandsOutBlocksPastTwoGigabytes) {
  constexpr uint64_t size = (uint64_t{1} << 31) + 4096;
  const OwnedAllocator allocator(ztStdAllocator_ctor);
  auto *block = static_cast<char *>(allocator->allocate(allocator, size));
  ASSERT_NE(block, nullptr);
  block[size - 1] = 'x';
  EXPECT_GE(malloc_usable_size(block), size);
  block = static_cast<char *>(allocator->reallocate(allocator, block, 0, size + 4096));
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(block[size - 1], 'x');
  EXPECT_GE(malloc_usable_size(block), size + 4096);
  allocator->deallocate(allocator, block);
}

}  // namespace
