#include "zentova.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "tests/helpers/temp_folder.hh"

// A failure of a parent's method is one of the method that builds on it. The parent's method is reached
// through its class's table, where these tests, for a while, put one that fails.

namespace {

// Puts another method into a slot as long as it lives.
template <typename Slot>
class Replaced {
 public:
  Replaced(Slot &replacedSlot, Slot method) : slot(replacedSlot), kept(replacedSlot) {
    slot = method;
  }
  ~Replaced() {
    slot = kept;
  }
  Replaced(const Replaced &) = delete;
  Replaced &operator=(const Replaced &) = delete;

 private:
  Slot &slot;
  Slot kept;
};

ztBaseClassMethods *tableOf(const ztClass *klass) {
  return static_cast<ztBaseClassMethods *>(klass->methodTable);
}

// The registered classes that have a method of their own in the slot, by their names.
template <typename Slot>
std::set<std::string> classesWithTheirOwn(Slot ztBaseClassMethods::*slot) {
  std::set<std::string> names;
  for (const ztClassEntry *entry = ztOOP_classList(); entry != nullptr; entry = entry->next) {
    const ztClass *klass = ztOOP_classOf(entry->prototype);
    if (klass->parent == nullptr || tableOf(klass)->*slot == tableOf(klass->parent)->*slot) continue;
    names.insert(klass->name);
  }
  return names;
}

int32_t fails(void *) {
  return 0;
}

int32_t failsWithOther(void *, const void *) {
  return 0;
}

int32_t failsToRead(void *, void *) {
  return 0;
}

int32_t failsToWrite(const void *, void *) {
  return 0;
}

}  // namespace

TEST(ParentFailure, OfCreateIsThatOfEachClass) {
  for (const std::string &name : classesWithTheirOwn(&ztBaseClassMethods::create)) {
    const ztClass *klass = ztOOP_findClass(name.c_str());
    auto *object = static_cast<ztBaseClass *>(calloc(1, static_cast<size_t>(klass->instanceSize)));
    static_cast<const ztClassFunctions *>(klass->classTable)->ctor(object, 0);
    {
      const Replaced failing(tableOf(klass->parent)->create, fails);
      EXPECT_EQ(tableOf(klass)->create(object), 0) << name;
    }
    tableOf(klass)->destroy(object);
    free(object);
  }
}

TEST(ParentFailure, OfAssignIsThatOfEachClass) {
  for (const std::string &name : classesWithTheirOwn(&ztBaseClassMethods::assign)) {
    const ztClass *klass = ztOOP_findClass(name.c_str());
    void *object = ztNewFromName(name.c_str());
    void *other = ztNewFromName(name.c_str());
    {
      const Replaced failing(tableOf(klass->parent)->assign, failsWithOther);
      EXPECT_EQ(tableOf(klass)->assign(object, other), 0) << name;
    }
    tableOf(klass)->unRef(object);
    tableOf(klass)->unRef(other);
  }
}

TEST(ParentFailure, OfReadAndWriteLeavesTheFileWhereItIs) {
  const TempFolder folder;
  void *file = ztFile_ctor(nullptr, 1);
  ASSERT_EQ(ztFile_of(file)->open(file, folder.path("file").c_str(), "w+b"), 1);
  for (const std::string &name : classesWithTheirOwn(&ztBaseClassMethods::write)) {
    if (name == ztString_classname_) continue;  // all that it stores is its own
    const ztClass *klass = ztOOP_findClass(name.c_str());
    // Attributes without values store nothing.
    const bool isAttribute = klass == ztTagAttributeClass_Instance();
    void *object = ztNewFromName(isAttribute ? ztIntTag_classname_ : name.c_str());
    {
      const Replaced failingRead(tableOf(klass->parent)->read, failsToRead);
      const Replaced failingWrite(tableOf(klass->parent)->write, failsToWrite);
      EXPECT_EQ(tableOf(klass)->write(object, file), 0) << name;
      EXPECT_EQ(tableOf(klass)->read(object, file), 0) << name;
    }
    EXPECT_EQ(ztFile_of(file)->tell(file), 0) << name;
    tableOf(klass)->unRef(object);
  }
  ztFile_of(file)->unRef(file);
}
