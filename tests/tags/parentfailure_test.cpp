#include "zentova.h"

#include "tests/helpers/owned.hh"
#include "tests/helpers/replaced.hh"
#include "tests/helpers/storage.hh"

#include <gtest/gtest.h>

#include <string.h>

#include <functional>

// A failure of a parent's method is one of the method that builds on it. The parent's method is reached
// through its class's table, where these tests, for a while, put one that fails.

namespace {

ztBaseClassMethods *tableOf(const ztClass *klass) {
  return static_cast<ztBaseClassMethods *>(klass->methodTable);
}

// Does it for each class of the library that has a method of its own in the slot.
template <typename Slot>
void forEachWithItsOwn(Slot ztBaseClassMethods::*slot,
                       const std::function<void(const ztClass *klass)> &check) {
  for (const ztClassEntry *entry = ztOOP_classList(); entry != nullptr; entry = entry->next) {
    const ztClass *klass = ztOOP_classOf(entry->prototype);
    if (strncmp(klass->name, "zt", 2) != 0 || klass->parent == nullptr) continue;
    if (tableOf(klass)->*slot == tableOf(klass->parent)->*slot) continue;
    SCOPED_TRACE(klass->name);
    check(klass);
  }
}

}  // namespace

TEST(ParentFailure, OfCreateIsThatOfEachClass) {
  forEachWithItsOwn(&ztBaseClassMethods::create, [](const ztClass *klass) {
    auto *object = static_cast<ztBaseClass *>(calloc(1, static_cast<size_t>(klass->instanceSize)));
    static_cast<const ztClassFunctions *>(klass->classTable)->ctor(object, 0);
    {
      const Replaced failing(tableOf(klass->parent)->create, [](void *) { return 0; });
      EXPECT_EQ(tableOf(klass)->create(object), 0);
    }
    tableOf(klass)->destroy(object);
    free(object);
  });
}

TEST(ParentFailure, OfAssignIsThatOfEachClass) {
  forEachWithItsOwn(&ztBaseClassMethods::assign, [](const ztClass *klass) {
    const Owned object(ztNewFromName(klass->name));
    const Owned other(ztNewFromName(klass->name));
    const Replaced failing(tableOf(klass->parent)->assign, [](void *, const void *) { return 0; });
    EXPECT_EQ(tableOf(klass)->assign(object, other), 0);
  });
}

TEST(ParentFailure, OfReadAndWriteLeavesTheFileWhereItIs) {
  const Storage file;
  forEachWithItsOwn(&ztBaseClassMethods::write, [&file](const ztClass *klass) {
    if (klass == ztStringClass_Instance()) return;  // all that it stores is its own
    // Attributes without values store nothing.
    const bool isAttribute = klass == ztTagAttributeClass_Instance();
    const Owned object(ztNewFromName(isAttribute ? ztIntTag_classname_ : klass->name));
    const Replaced failingRead(tableOf(klass->parent)->read, [](void *, void *) { return 0; });
    const Replaced failingWrite(tableOf(klass->parent)->write, [](const void *, void *) { return 0; });
    EXPECT_EQ(tableOf(klass)->write(object, file), 0);
    EXPECT_EQ(tableOf(klass)->read(object, file), 0);
    EXPECT_EQ(file->tell(file), 0);
  });
}
