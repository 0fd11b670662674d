#include "support/ztstdalloc.h"

#include "core/ztmem.h"
#include "tests/helpers/abstract_slot.hh"
#include "tests/helpers/faults.hh"

#include <gtest/gtest.h>

#include <string.h>

namespace {

class StdAllocator : public testing::Test {
 protected:
  ~StdAllocator() override {
    methods->unRef(allocator);
  }

  void *allocator = ztStdAllocator_ctor(nullptr, 1);
  const ztStdAllocatorMethods *methods = ztStdAllocator_of(allocator);
};

TEST_F(StdAllocator, HandsOutAndTakesBack) {
  void *block = methods->allocate(allocator, 100);
  ASSERT_NE(block, nullptr);
  memset(block, 7, 100);
  methods->deallocate(allocator, block);
  methods->deallocate(allocator, nullptr);
}

TEST_F(StdAllocator, ResizesWhateverTheOldSizeSays) {
  for (const uint64_t oldSize : {uint64_t{0}, uint64_t{10}, uint64_t{1000}, UINT64_MAX}) {
    auto *block = static_cast<char *>(methods->allocate(allocator, 10));
    memcpy(block, "123456789", 10);
    block = static_cast<char *>(methods->reallocate(allocator, block, oldSize, 40));
    ASSERT_NE(block, nullptr);
    EXPECT_STREQ(block, "123456789");
    memset(block, 1, 40);
    methods->deallocate(allocator, block);
  }
  void *fresh = methods->reallocate(allocator, nullptr, 0, 16);
  EXPECT_NE(fresh, nullptr);
  methods->deallocate(allocator, fresh);
}

#ifndef __SANITIZE_ADDRESS__
TEST_F(StdAllocator, GivesNullWhenMemoryIsExhausted) {
  EXPECT_EQ(methods->allocate(allocator, INT64_MAX - 100), nullptr);
  void *block = methods->allocate(allocator, 10);
  EXPECT_EQ(methods->reallocate(allocator, block, 10, INT64_MAX - 100), nullptr);
  methods->deallocate(allocator, block);
}
#endif

TEST_F(StdAllocator, LeavesTheReservedSlotAbstract) {
  EXPECT_EQ(textOfAbstract(methods->reserved, allocator), virtualCall("ztStdAllocator"));
}

TEST_F(StdAllocator, OverridesNothingOfTheBaseClass) {
  const auto *base = reinterpret_cast<void *const *>(ztBaseClass_table());
  const auto *own = reinterpret_cast<void *const *>(ztStdAllocator_table());
  EXPECT_EQ(ztStdAllocator_table()->Allocator, ztStdAllocatorAllocator);
  for (int slot = 1; slot < 16; ++slot) EXPECT_EQ(own[slot], base[slot]) << slot;
  EXPECT_EQ(sizeof(ztStdAllocatorMethods), 20 * sizeof(void *));
  EXPECT_EQ(ztStdAllocatorClass_Instance()->parent, ztAllocatorClass_Instance());
  EXPECT_EQ(ztStdAllocatorIsClassOf(nullptr, allocator, "ztAllocator"), 1);
}

TEST_F(StdAllocator, IsNotTracked) {
  ztMemStatus status;
  void *block = methods->allocate(allocator, 10);
  EXPECT_EQ(ztm_getmemstatus(&status), 0);
  EXPECT_EQ(ztm_findblock(block), nullptr);
  methods->deallocate(allocator, block);
}

TEST_F(StdAllocator, DoesNotGoThroughTheMemoryManager) {
  const int before = liveBlocks;
  const bool asked = allocates([this] {
    void *block = methods->allocate(allocator, 10);
    block = methods->reallocate(allocator, block, 10, 100);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(malloc_usable_size(block) >= 100, true);
    methods->deallocate(allocator, block);
  });
  EXPECT_FALSE(asked);
  EXPECT_EQ(liveBlocks, before);
}

TEST_F(StdAllocator, HandsOutBlocksPastTwoGigabytes) {
  constexpr uint64_t size = (uint64_t{1} << 31) + 4096;
  auto *block = static_cast<char *>(methods->allocate(allocator, size));
  ASSERT_NE(block, nullptr);
  block[size - 1] = 'x';
  EXPECT_GE(malloc_usable_size(block), size);
  block = static_cast<char *>(methods->reallocate(allocator, block, 0, size + 4096));
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(block[size - 1], 'x');
  EXPECT_GE(malloc_usable_size(block), size + 4096);
  methods->deallocate(allocator, block);
}

}  // namespace
