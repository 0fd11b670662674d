#include "support/ztalloc.h"

#include "core/ztmem.h"
#include "support/ztstdalloc.h"
#include "tests/helpers/abstract_slot.hh"
#include "tests/helpers/faults.hh"
#include "tests/helpers/owned.hh"

#include <gtest/gtest.h>

#include <string.h>

namespace {

using OwnedAllocator = Owned<ztAllocator, ztAllocatorMethods>;

TEST(ztAllocator, IsAbstract) {
  const OwnedAllocator allocator(ztAllocator_ctor);
  const std::string text = virtualCall("ztAllocator");
  EXPECT_EQ(textOfAbstract(allocator->allocate, allocator), text);
  EXPECT_EQ(textOfAbstract(allocator->reallocate, allocator), text);
  EXPECT_EQ(textOfAbstract(allocator->deallocate, allocator), text);
  EXPECT_EQ(textOfAbstract(allocator->reserved, allocator), text);
  EXPECT_EQ(static_cast<const char *>(allocator->allocate(allocator, 8)), text);
  const OwnedAllocator standard(ztStdAllocator_ctor);
  EXPECT_EQ(textOfAbstract(standard->reserved, standard), virtualCall("ztStdAllocator"));
}

TEST(ztAllocator, OverridesNothingOfTheBaseClassNorDoesItsChild) {
  const OwnedAllocator made(ztStdAllocator_ctor);
  const auto *base = reinterpret_cast<void *const *>(ztBaseClass_table());
  const auto *own = reinterpret_cast<void *const *>(ztAllocator_table());
  const auto *child = reinterpret_cast<void *const *>(ztStdAllocator_table());
  for (int slot = 1; slot < 16; ++slot) EXPECT_EQ(own[slot], base[slot]) << slot;
  for (int slot = 1; slot < 16; ++slot) EXPECT_EQ(child[slot], base[slot]) << slot;
  for (int slot = 16; slot < 20; ++slot) EXPECT_EQ(own[slot], base[7]) << slot;
  EXPECT_EQ(ztAllocator_table()->Allocator, ztAllocatorAllocator);
  EXPECT_EQ(ztStdAllocator_table()->Allocator, ztStdAllocatorAllocator);
  EXPECT_EQ(sizeof(ztAllocatorMethods), 20 * sizeof(void *));
  EXPECT_EQ(sizeof(ztStdAllocatorMethods), 20 * sizeof(void *));
  EXPECT_EQ(ztAllocatorClass_Instance()->instanceSize, 16);
  EXPECT_EQ(ztAllocatorClass_Instance()->parent, ztBaseClassClass_Instance());
  EXPECT_EQ(ztStdAllocatorClass_Instance()->parent, ztAllocatorClass_Instance());
}

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
