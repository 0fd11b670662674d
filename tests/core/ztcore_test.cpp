#include "core/ztcore.h"

#include <gtest/gtest.h>

namespace {

TEST(LibraryClasses, AreRegisteredAgainOnlyWhenOneWasFreed) {
  const int32_t count = ztOOP_classCount();
  const ztClassEntry *newest = ztOOP_classList();
  ztcoreClassInit();
  EXPECT_EQ(ztOOP_classCount(), count);
  EXPECT_EQ(ztOOP_classList(), newest);
  ztFreeClass("ztAllocator");
  EXPECT_FALSE(ztOOP_isClassRegistered("ztAllocator"));
  ztcoreClassInit();
  EXPECT_TRUE(ztOOP_isClassRegistered("ztAllocator"));
  EXPECT_STREQ(ztOOP_classList()->name, "ztAllocator");
}

}  // namespace
