#include "core/ztoop.h"

#include "core/ztbasec.h"
#include "core/ztmem.h"
#include "io/ztfile.h"
#include "support/ztalloc.h"
#include "support/ztcutils.h"
#include "support/ztstdalloc.h"
#include "tests/helpers/captured_log.hh"
#include "tests/helpers/host_class.hh"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace {

// Registers the root class once more, under another name.
int32_t addClass(const std::string &name, ztClassDestroyHook classDestroy = nullptr) {
  void *prototype = ztBaseClass_ctor(nullptr, 0);
  const int32_t result = ztAddNewClass(prototype, name.c_str(), ztBaseClass_ctor, classDestroy);
  if (!result) ztm_free(prototype);
  return result;
}

using Names = std::vector<std::string>;

Names registeredNames() {
  Names names;
  for (const ztClassEntry *entry = ztOOP_classList(); entry != nullptr; entry = entry->next) {
    names.push_back(entry->name);
  }
  return names;
}

bool isRegistered(const std::string &name) {
  return ztOOP_isClassRegistered(name.c_str()) != 0;
}

void freeClass(const std::string &name) {
  ztFreeClass(name.c_str());
}

// There are 62 classes of the library.
TEST(Registry, TakesMoreClassesThanTheLibraryHasAndAgainWhatWasFreed) {
  const Names before = registeredNames();
  for (int turn = 0; turn < 2; ++turn) {
    Names expected = before;
    for (int i = 0; i < 130; ++i) {
      const std::string name = "class " + std::to_string(i);
      ASSERT_EQ(addClass(name), 1);
      expected.insert(expected.begin(), name);
    }
    EXPECT_EQ(registeredNames(), expected);
    for (int i = 0; i < 130; ++i) freeClass("class " + std::to_string(i));
    EXPECT_EQ(registeredNames(), before);
  }
}

TEST(Registry, PutsTheNewestClassFirst) {
  const Names before = registeredNames();
  ASSERT_EQ(addClass("first"), 1);
  ASSERT_EQ(addClass("second"), 1);
  ASSERT_EQ(addClass("third"), 1);
  Names expected = before;
  expected.insert(expected.begin(), {"third", "second", "first"});
  EXPECT_EQ(registeredNames(), expected);

  freeClass("second");  // in the middle
  expected.erase(expected.begin() + 1);
  EXPECT_EQ(registeredNames(), expected);
  freeClass("third");  // the head
  expected.erase(expected.begin());
  EXPECT_EQ(registeredNames(), expected);
  freeClass("first");
  EXPECT_EQ(registeredNames(), before);
}

TEST(Registry, FreesTheOldestClassAndNoUnknownOne) {
  Names expected = registeredNames();
  freeClass("Unknown");
  EXPECT_EQ(registeredNames(), expected);
  const std::string oldest = expected.back();
  const ztClass *klass = ztOOP_findClass(oldest.c_str());
  expected.pop_back();
  freeClass(oldest);
  EXPECT_EQ(registeredNames(), expected);
  EXPECT_EQ(ztOOP_findClass(oldest.c_str()), nullptr);
  // Back under its name for the tests that follow.
  const auto *functions = static_cast<const ztClassFunctions *>(klass->classTable);
  EXPECT_EQ(ztAddNewClass(functions->newop(), oldest.c_str(), functions->ctor, functions->classDestroy), 1);
}

TEST(Registry, CountsRegistrationsOnly) {
  const int32_t before = ztOOP_classCount();
  addClass("counted");
  addClass("counted");
  EXPECT_EQ(ztOOP_classCount(), before + 1);
  freeClass("counted");
  EXPECT_EQ(ztOOP_classCount(), before + 1);
  addClass("counted");
  EXPECT_EQ(ztOOP_classCount(), before + 2);
  freeClass("counted");
}

TEST(Registry, KeepsTheFirstOfTwoClassesOfOneName) {
  ASSERT_EQ(addClass("twin"), 1);
  const ztClassEntry *first = ztOOP_classList();
  const void *prototype = first->prototype;
  void *other = ztFile_ctor(nullptr, 0);
  EXPECT_EQ(ztAddNewClass(other, "twin", ztFile_ctor, nullptr), 0);
  ztm_free(other);
  EXPECT_EQ(ztOOP_classList(), first);
  EXPECT_EQ(first->prototype, prototype);
  EXPECT_EQ(first->ctor, ztBaseClass_ctor);
  freeClass("twin");
}

TEST(Registry, CopiesNamesAndComparesThemExactly) {
  std::string name = "Exact";
  addClass(name);
  name[0] = 'e';
  for (const char *other : {"exact", "Exac", "Exact ", "ExactX", ""}) {
    EXPECT_FALSE(isRegistered(other)) << other;
  }
  freeClass("Exac");
  EXPECT_TRUE(isRegistered("Exact"));
  freeClass("Exact");
}

TEST(Registry, TakesTheEmptyName) {
  ASSERT_EQ(addClass(""), 1);
  EXPECT_TRUE(isRegistered(""));
  EXPECT_EQ(addClass(""), 0);
  freeClass("");
  EXPECT_FALSE(isRegistered(""));
}

TEST(Registry, CutsANameThatIsTooLong) {
  const std::string longest(103, 'm');
  CapturedLog log;
  ASSERT_EQ(addClass(longest), 1);  // without a warning
  EXPECT_EQ(ztOOP_classList()->name, longest);
  EXPECT_EQ(addClass(longest + "m"), 0);  // cut, it is the same name
  freeClass(longest);

  ASSERT_EQ(addClass(longest + std::string(5000, 'n')), 1);
  EXPECT_EQ(ztOOP_classList()->name, longest);
  EXPECT_EQ(log.file(), "ztOOP::ztAddNewClass - Warning, class name cut to '" + longest + "'\n");
  EXPECT_TRUE(isRegistered(longest));
  EXPECT_EQ(addClass(longest + "o"), 0);
  freeClass(longest);
  EXPECT_FALSE(isRegistered(longest));
}

TEST(Registry, ComparesANameThatIsTooLongAsAWhole) {
  const std::string kept(103, 'w');
  const std::string asked = kept + "1234567";
  CapturedLog log;
  ASSERT_EQ(addClass(kept), 1);
  EXPECT_FALSE(isRegistered(asked));
  EXPECT_EQ(ztNewFromName(asked.c_str()), nullptr);
  freeClass(asked);
  EXPECT_TRUE(isRegistered(kept));
  freeClass(kept);

  ASSERT_EQ(addClass(asked), 1);  // what is kept of it is what it is known by
  EXPECT_FALSE(isRegistered(asked));
  EXPECT_TRUE(isRegistered(kept));
  freeClass(kept);
  EXPECT_FALSE(isRegistered(kept));
}

TEST(Registry, TakesNull) {
  const Names before = registeredNames();
  const int32_t count = ztOOP_classCount();
  void *prototype = ztBaseClass_ctor(nullptr, 0);
  EXPECT_EQ(ztAddNewClass(nullptr, "x", ztBaseClass_ctor, nullptr), 0);
  EXPECT_EQ(ztAddNewClass(prototype, nullptr, ztBaseClass_ctor, nullptr), 0);
  EXPECT_EQ(ztAddNewClass(prototype, "x", nullptr, nullptr), 0);
  ztm_free(prototype);
  EXPECT_FALSE(ztOOP_isClassRegistered(nullptr));
  EXPECT_EQ(ztOOP_findClass(nullptr), nullptr);
  ztFreeClass(nullptr);
  EXPECT_EQ(registeredNames(), before);
  EXPECT_EQ(ztOOP_classCount(), count);
}

TEST(Registry, TellsNamesOfOneHashApart) {
  ASSERT_EQ(addClass("liquid"), 1);
  EXPECT_FALSE(isRegistered("costarring"));
  ASSERT_EQ(addClass("costarring"), 1);
  freeClass("liquid");
  EXPECT_FALSE(isRegistered("liquid"));
  EXPECT_TRUE(isRegistered("costarring"));
  freeClass("costarring");
}

// A class that a host put together by hand: without a name, and with nothing in its slots.
TEST(Registry, TakesAClassWithoutNameAndHooks) {
  ztBaseClassMethods methods = {};
  ztClass bare = *ztBaseClassClass_Instance();
  bare.name = nullptr;
  bare.methodTable = &methods;
  auto *prototype = static_cast<ztBaseClass *>(ztBaseClass_ctor(nullptr, 0));
  prototype->klass = &bare;
  ASSERT_EQ(ztAddNewClass(prototype, "bare", ztBaseClass_ctor, nullptr), 1);
  EXPECT_TRUE(isRegistered("bare"));
  EXPECT_EQ(ztOOP_findClass("bare"), nullptr) << "which looks for the names that classes bear";
  Object(ztNewFromName("bare"));
  freeClass("bare");
  EXPECT_FALSE(isRegistered("bare"));
}

TEST(Registry, ObjectsOutliveTheirClassesEntry) {
  addClass("mortal");
  const Object object(ztNewFromName("mortal"));
  freeClass("mortal");
  ASSERT_NE(object, nullptr);
  EXPECT_EQ(object->getRefCount(object), 1);
}

TEST(NewFromName, LogsAnUnknownName) {
  CapturedLog log;
  EXPECT_EQ(ztNewFromName("Nobody"), nullptr);
  EXPECT_EQ(ztNewFromName(nullptr), nullptr);
  const std::string lines =
      "ztOOP::ztNewFromName - Error, class 'Nobody' not installed\n"
      "ztOOP::ztNewFromName - Error, class '(null)' not installed\n";
  EXPECT_EQ(log.output(), lines);
  EXPECT_EQ(log.file(), lines);
}

TEST(NewFromName, LooksAtTheEntrysNameAndFindClassAtTheClasssOwn) {
  ASSERT_EQ(ztAddNewClass(ztFile_ctor(nullptr, 0), "Document", ztFile_ctor, nullptr), 1);
  EXPECT_TRUE(isRegistered("Document"));
  EXPECT_EQ(ztOOP_findClass("Document"), nullptr);
  EXPECT_STREQ(ztOOP_classNameOf(Object(ztNewFromName("Document"))), "ztFile");

  freeClass("ztFile");
  EXPECT_FALSE(isRegistered("ztFile"));
  EXPECT_EQ(ztOOP_findClass("ztFile"), ztFileClass_Instance());
  freeClass("Document");
  EXPECT_EQ(ztOOP_findClass("ztFile"), nullptr);
  ASSERT_EQ(ztAddNewClass(ztFile_newop(), "ztFile", ztFile_ctor, nullptr), 1);
  EXPECT_EQ(ztOOP_findClass("ztFile"), ztFileClass_Instance());
}

// Two descriptors that bear one name: only a host's own hand can make them.
TEST(FindClass, GivesTheNewestClassOfAName) {
  ztClass twin = *ztStdAllocatorClass_Instance();
  void *prototype = ztStdAllocator_ctor(nullptr, 0);
  static_cast<ztStdAllocator *>(prototype)->klass = &twin;
  ASSERT_EQ(ztAddNewClass(prototype, "younger", ztStdAllocator_ctor, nullptr), 1);
  EXPECT_EQ(ztOOP_findClass("ztStdAllocator"), &twin);
  freeClass("younger");
  EXPECT_EQ(ztOOP_findClass("ztStdAllocator"), ztStdAllocatorClass_Instance());
}

TEST(Registry, StaysTrueWithTenThousandClasses) {
  const Names before = registeredNames();
  const int32_t count = ztOOP_classCount();
  Names names;
  for (int i = 0; i < 10000; ++i) {
    names.push_back("class " + std::to_string(i));
    ASSERT_EQ(addClass(names.back()), 1);
  }
  EXPECT_EQ(ztOOP_classCount(), count + 10000);
  for (const std::string &name : names) {
    ASSERT_TRUE(isRegistered(name));
    ASSERT_EQ(addClass(name), 0);
  }
  EXPECT_FALSE(isRegistered("class 10000"));
  Names expected(names.rbegin(), names.rend());
  expected.insert(expected.end(), before.begin(), before.end());
  EXPECT_EQ(registeredNames(), expected);
  EXPECT_EQ(ztOOP_findClass("ztBaseClass"), ztBaseClassClass_Instance());

  std::shuffle(names.begin(), names.end(), std::mt19937(2024));
  for (const std::string &name : names) {
    freeClass(name);
    ASSERT_FALSE(isRegistered(name));
    ASSERT_EQ(isRegistered(names.back()), name != names.back());
  }
  EXPECT_EQ(registeredNames(), before);
  EXPECT_EQ(ztOOP_findClass("ztBaseClass"), ztBaseClassClass_Instance());
}

// Adds and frees at random, with a plain list beside it.
TEST(Registry, AgreesWithAListOverARandomHistory) {
  const Names library = registeredNames();
  Names model = library;
  std::mt19937 random(7);
  for (int step = 0; step < 3000; ++step) {
    const std::string name = "r" + std::to_string(random() % 400);
    const auto found = std::find(model.begin(), model.end(), name);
    ASSERT_EQ(isRegistered(name), found != model.end());
    if (random() % 5 < 3) {
      ASSERT_EQ(addClass(name), found == model.end());
      if (found == model.end()) model.insert(model.begin(), name);
    } else {
      freeClass(name);
      if (found != model.end()) model.erase(found);
    }
    if (step % 100 != 0) continue;
    ASSERT_EQ(registeredNames(), model);
  }
  EXPECT_EQ(registeredNames(), model);
  for (const std::string &name : model) {
    if (name[0] == 'r') freeClass(name);
  }
  EXPECT_EQ(registeredNames(), library);
}

const void *destroyedPrototype;
bool entryStoodAtDestroy;

void prototypeDestroyed(void *prototype) {
  destroyedPrototype = prototype;
  entryStoodAtDestroy = isRegistered("hooked");
}

TEST(Registry, HandsThePrototypeToTheClassHook) {
  ASSERT_EQ(addClass("hooked", prototypeDestroyed), 1);
  EXPECT_EQ(ztOOP_classList()->classDestroy, prototypeDestroyed);
  const void *prototype = ztOOP_classList()->prototype;
  destroyedPrototype = nullptr;
  freeClass("hooked");
  EXPECT_EQ(destroyedPrototype, prototype);
  EXPECT_TRUE(entryStoodAtDestroy);
}

TEST(Init, DoesNothingWhileTheEngineRuns) {
  const Names before = registeredNames();
  CapturedLog log;
  EXPECT_EQ(ztOOP_Init("another"), 1);
  EXPECT_EQ(log.output(), "");
  EXPECT_EQ(registeredNames(), before);
}

TEST(Assert, LogsAFailedConditionOnly) {
  CapturedLog log;
  zt_assert(1, "it holds");
  zt_assert(-1, "it holds");
  zt_assert(0, "it does not hold");
  zt_assert(0, nullptr);
  EXPECT_EQ(log.output(), "zt_assert: it does not hold\nzt_assert: (null)\n");
  EXPECT_EQ(log.file(), "zt_assert: it does not hold\nzt_assert: (null)\n");
}

}  // namespace
