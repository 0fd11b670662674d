#include "core/ztcore.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

TEST(LibraryClasses, AreRegisteredInTheirOrder) {
  // Classes that the hooks of no other class make, so that the list alone decides.
  const std::vector<std::string> expected = {"ztBaseClass", "ztStdAllocator", "ztFile", "ztAllocator"};
  std::vector<std::string> found;
  for (const ztClassEntry *entry = ztOOP_classList(); entry != nullptr; entry = entry->next) {
    if (std::find(expected.begin(), expected.end(), entry->name) != expected.end()) {
      found.insert(found.begin(), entry->name);
    }
  }
  EXPECT_EQ(found, expected);
}

TEST(LibraryClasses, AreNotRegisteredTwice) {
  const int32_t count = ztOOP_classCount();
  const ztClassEntry *newest = ztOOP_classList();
  ztcoreClassInit();
  EXPECT_EQ(ztOOP_classCount(), count);
  EXPECT_EQ(ztOOP_classList(), newest);
}

TEST(LibraryClasses, AreRegisteredAgainWhenOneWasFreed) {
  ztFreeClass("ztAllocator");
  EXPECT_FALSE(ztOOP_isClassRegistered("ztAllocator"));
  ztcoreClassInit();
  EXPECT_TRUE(ztOOP_isClassRegistered("ztAllocator"));
  EXPECT_STREQ(ztOOP_classList()->name, "ztAllocator");
}

}  // namespace
