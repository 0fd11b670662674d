#include "support/ztalloc.h"

#include "tests/helpers/abstract_slot.hh"

#include <gtest/gtest.h>

namespace {

TEST(Allocator, IsAbstract) {
  void *allocator = ztAllocator_ctor(nullptr, 1);
  const ztAllocatorMethods *methods = ztAllocator_of(allocator);
  const std::string text = virtualCall("ztAllocator");
  EXPECT_EQ(textOfAbstract(methods->allocate, allocator), text);
  EXPECT_EQ(textOfAbstract(methods->reallocate, allocator), text);
  EXPECT_EQ(textOfAbstract(methods->deallocate, allocator), text);
  EXPECT_EQ(textOfAbstract(methods->reserved, allocator), text);
  EXPECT_EQ(static_cast<const char *>(methods->allocate(allocator, 8)), text);
  methods->unRef(allocator);
}

TEST(Allocator, OverridesNothingOfTheBaseClass) {
  void *allocator = ztAllocator_ctor(nullptr, 1);
  const auto *base = reinterpret_cast<void *const *>(ztBaseClass_table());
  const auto *own = reinterpret_cast<void *const *>(ztAllocator_table());
  EXPECT_EQ(ztAllocator_table()->Allocator, ztAllocatorAllocator);
  for (int slot = 1; slot < 16; ++slot) EXPECT_EQ(own[slot], base[slot]) << slot;
  for (int slot = 16; slot < 20; ++slot) EXPECT_EQ(own[slot], base[7]) << slot;
  EXPECT_EQ(sizeof(ztAllocatorMethods), 20 * sizeof(void *));
  EXPECT_EQ(ztAllocatorClass_Instance()->instanceSize, 16);
  EXPECT_EQ(ztAllocatorClass_Instance()->parent, ztBaseClassClass_Instance());
  ztAllocator_of(allocator)->unRef(allocator);
}

}  // namespace
