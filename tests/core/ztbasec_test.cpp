#include "core/ztbasec.h"

#include <gtest/gtest.h>

TEST(BaseClass, NewObjectHasCountOne) {
  void *object = ztBaseClass_ctor(nullptr, 1);
  EXPECT_EQ(ztBaseClass_of(object)->getRefCount(object), 1);
  ztBaseClass_of(object)->unRef(object);
}
