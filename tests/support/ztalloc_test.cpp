#include "support/ztalloc.h"

#include <gtest/gtest.h>

#include <string.h>

#include <string>

namespace {

// Calls a slot as the handler that an abstract slot holds.
template <typename Slot>
std::string textOf(Slot slot, const void *object) {
  void *(*handler)(const void *) = nullptr;
  static_assert(sizeof handler == sizeof slot);
  memcpy(&handler, &slot, sizeof handler);
  return static_cast<const char *>(handler(object));
}

TEST(Allocator, IsAbstract) {
  void *allocator = ztAllocator_ctor(nullptr, 1);
  const ztAllocatorMethods *methods = ztAllocator_of(allocator);
  const std::string text =
      "ztOOP -> Error: Trying to call a virtual function member for class: ztAllocator\n";
  EXPECT_EQ(textOf(methods->allocate, allocator), text);
  EXPECT_EQ(textOf(methods->reallocate, allocator), text);
  EXPECT_EQ(textOf(methods->deallocate, allocator), text);
  EXPECT_EQ(textOf(methods->reserved, allocator), text);
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
