#include "core/ztoop.h"

#include "core/ztbasec.h"
#include "core/ztmem.h"
#include "io/ztfile.h"
#include "support/ztalloc.h"
#include "support/ztcutils.h"
#include "support/ztstdalloc.h"
#include "tests/helpers/captured_log.hh"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

static_assert(offsetof(ztClassEntry, name) == 0);
static_assert(offsetof(ztClassEntry, ctor) == 104);
static_assert(offsetof(ztClassEntry, classDestroy) == 112);
static_assert(offsetof(ztClassEntry, prototype) == 120);
static_assert(offsetof(ztClassEntry, next) == 128);

namespace {

// Registers the root class once more, under another name.
int32_t addClass(const std::string &name, ztClassDestroyHook classDestroy = nullptr) {
  void *prototype = ztBaseClass_ctor(nullptr, 0);
  const int32_t result = ztAddNewClass(prototype, name.c_str(), ztBaseClass_ctor, classDestroy);
  if (!result) ztm_free(prototype);
  return result;
}

std::vector<std::string> registeredNames() {
  std::vector<std::string> names;
  for (const ztClassEntry *entry = ztOOP_classList(); entry != nullptr; entry = entry->next) {
    names.push_back(entry->name);
  }
  return names;
}

void release(void *object) {
  if (object != nullptr) ztBaseClass_of(object)->unRef(object);
}

TEST(Registry, PutsTheNewestClassFirst) {
  const std::vector<std::string> before = registeredNames();
  ASSERT_EQ(addClass("first"), 1);
  ASSERT_EQ(addClass("second"), 1);
  ASSERT_EQ(addClass("third"), 1);
  std::vector<std::string> expected = before;
  expected.insert(expected.begin(), {"third", "second", "first"});
  EXPECT_EQ(registeredNames(), expected);

  ztFreeClass("second");  // in the middle
  expected.erase(expected.begin() + 1);
  EXPECT_EQ(registeredNames(), expected);
  ztFreeClass("third");  // the head
  expected.erase(expected.begin());
  EXPECT_EQ(registeredNames(), expected);
  ztFreeClass("first");
  EXPECT_EQ(registeredNames(), before);
}

TEST(Registry, FreesTheOldestClass) {
  const std::string oldest = registeredNames().back();
  const ztClass *klass = ztOOP_findClass(oldest.c_str());
  std::vector<std::string> expected = registeredNames();
  expected.pop_back();
  ztFreeClass(oldest.c_str());
  EXPECT_EQ(registeredNames(), expected);
  EXPECT_EQ(ztOOP_findClass(oldest.c_str()), nullptr);
  // Back under its name for the tests that follow.
  const auto *functions = static_cast<const ztClassFunctions *>(klass->classTable);
  EXPECT_EQ(ztAddNewClass(functions->newop(), oldest.c_str(), functions->ctor, functions->classDestroy), 1);
}

TEST(Registry, CountsRegistrationsOnly) {
  const int32_t before = ztOOP_classCount();
  addClass("counted");
  EXPECT_EQ(ztOOP_classCount(), before + 1);
  addClass("counted");
  EXPECT_EQ(ztOOP_classCount(), before + 1);
  ztFreeClass("counted");
  EXPECT_EQ(ztOOP_classCount(), before + 1);
  addClass("counted");
  EXPECT_EQ(ztOOP_classCount(), before + 2);
  ztFreeClass("counted");
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
  ztFreeClass("twin");
}

TEST(Registry, CopiesTheName) {
  char name[] = "copied";
  addClass(name);
  name[0] = 'C';
  EXPECT_TRUE(ztOOP_isClassRegistered("copied"));
  EXPECT_FALSE(ztOOP_isClassRegistered("Copied"));
  ztFreeClass("copied");
}

TEST(Registry, ComparesNamesExactly) {
  addClass("Exact");
  for (const char *name : {"exact", "Exac", "Exact ", "ExactX", ""}) {
    EXPECT_FALSE(ztOOP_isClassRegistered(name)) << name;
  }
  EXPECT_TRUE(ztOOP_isClassRegistered("Exact"));
  ztFreeClass("Exac");
  EXPECT_TRUE(ztOOP_isClassRegistered("Exact"));
  ztFreeClass("Exact");
}

TEST(Registry, TakesTheEmptyName) {
  ASSERT_EQ(addClass(""), 1);
  EXPECT_TRUE(ztOOP_isClassRegistered(""));
  EXPECT_EQ(addClass(""), 0);
  ztFreeClass("");
  EXPECT_FALSE(ztOOP_isClassRegistered(""));
}

TEST(Registry, CutsANameThatIsTooLong) {
  const std::string longest(103, 'm');
  {
    CapturedLog log;
    ASSERT_EQ(addClass(longest), 1);
    EXPECT_EQ(log.output(), "");
  }
  CapturedLog log;
  EXPECT_EQ(ztOOP_classList()->name, longest);
  EXPECT_EQ(addClass(longest + "m"), 0);  // cut, it is the same name
  ztFreeClass(longest.c_str());

  ASSERT_EQ(addClass(longest + std::string(5000, 'n')), 1);
  EXPECT_EQ(ztOOP_classList()->name, longest);
  EXPECT_EQ(log.file(), "ztOOP::ztAddNewClass - Warning, class name cut to '" + longest + "'\n");
  EXPECT_TRUE(ztOOP_isClassRegistered(longest.c_str()));
  EXPECT_EQ(addClass(longest + "o"), 0);
  ztFreeClass(longest.c_str());
  EXPECT_FALSE(ztOOP_isClassRegistered(longest.c_str()));
}

TEST(Registry, ComparesANameThatIsTooLongAsAWhole) {
  const std::string kept(103, 'w');
  const std::string asked = kept + "1234567";
  CapturedLog log;
  ASSERT_EQ(addClass(kept), 1);
  EXPECT_FALSE(ztOOP_isClassRegistered(asked.c_str()));
  EXPECT_EQ(ztNewFromName(asked.c_str()), nullptr);
  ztFreeClass(asked.c_str());
  EXPECT_TRUE(ztOOP_isClassRegistered(kept.c_str()));
  ztFreeClass(kept.c_str());

  ASSERT_EQ(addClass(asked), 1);  // what is kept of it is what it is known by
  EXPECT_FALSE(ztOOP_isClassRegistered(asked.c_str()));
  EXPECT_TRUE(ztOOP_isClassRegistered(kept.c_str()));
  ztFreeClass(kept.c_str());
  EXPECT_FALSE(ztOOP_isClassRegistered(kept.c_str()));
}

TEST(Registry, TakesNull) {
  const std::vector<std::string> before = registeredNames();
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
  CapturedLog log;
  EXPECT_EQ(ztNewFromName(nullptr), nullptr);
  EXPECT_EQ(log.file(), "ztOOP::ztNewFromName - Error, class '(null)' not installed\n");
}

TEST(Registry, TellsNamesOfOneHashApart) {
  ASSERT_EQ(addClass("liquid"), 1);
  EXPECT_FALSE(ztOOP_isClassRegistered("costarring"));
  ASSERT_EQ(addClass("costarring"), 1);
  ztFreeClass("liquid");
  EXPECT_FALSE(ztOOP_isClassRegistered("liquid"));
  EXPECT_TRUE(ztOOP_isClassRegistered("costarring"));
  ztFreeClass("costarring");
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
  EXPECT_TRUE(ztOOP_isClassRegistered("bare"));
  EXPECT_EQ(ztOOP_findClass("bare"), nullptr) << "which looks for the names that classes bear";
  release(ztNewFromName("bare"));
  ztFreeClass("bare");
  EXPECT_FALSE(ztOOP_isClassRegistered("bare"));
}

TEST(Registry, FreeingAnUnknownClassDoesNothing) {
  const std::vector<std::string> before = registeredNames();
  ztFreeClass("Unknown");
  EXPECT_EQ(registeredNames(), before);
}

TEST(Registry, ObjectsOutliveTheirClassesEntry) {
  addClass("mortal");
  void *object = ztNewFromName("mortal");
  ztFreeClass("mortal");
  ASSERT_NE(object, nullptr);
  EXPECT_EQ(ztBaseClass_of(object)->getRefCount(object), 1);
  release(object);
}

TEST(NewFromName, MakesACreatedObject) {
  auto *file = static_cast<ztFile *>(ztNewFromName("ztFile"));
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(file->klass, ztFileClass_Instance());
  EXPECT_EQ(file->refCount, 1);
  EXPECT_EQ(file->stream, nullptr);
  EXPECT_STREQ(file->fileName, "");
  release(file);
}

TEST(NewFromName, LogsAnUnknownName) {
  CapturedLog log;
  EXPECT_EQ(ztNewFromName("Nobody"), nullptr);
  EXPECT_EQ(log.output(), "ztOOP::ztNewFromName - Error, class 'Nobody' not installed\n");
  EXPECT_EQ(log.file(), "ztOOP::ztNewFromName - Error, class 'Nobody' not installed\n");
}

TEST(NewFromName, LooksAtTheEntrysNameAndFindClassAtTheClasssOwn) {
  void *prototype = ztFile_ctor(nullptr, 0);
  ASSERT_EQ(ztAddNewClass(prototype, "Document", ztFile_ctor, nullptr), 1);
  EXPECT_TRUE(ztOOP_isClassRegistered("Document"));
  EXPECT_EQ(ztOOP_findClass("Document"), nullptr);
  void *object = ztNewFromName("Document");
  ASSERT_NE(object, nullptr);
  EXPECT_EQ(ztFileIsClass(nullptr, object, "ztFile"), 1);
  release(object);

  ztFreeClass("ztFile");
  EXPECT_FALSE(ztOOP_isClassRegistered("ztFile"));
  EXPECT_EQ(ztOOP_findClass("ztFile"), ztFileClass_Instance());
  ztFreeClass("Document");
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
  ztFreeClass("younger");
  EXPECT_EQ(ztOOP_findClass("ztStdAllocator"), ztStdAllocatorClass_Instance());
}

TEST(FindClass, KnowsTheLibrarysClasses) {
  EXPECT_EQ(ztOOP_findClass("ztBaseClass"), ztBaseClassClass_Instance());
  EXPECT_EQ(ztOOP_findClass("ztAllocator"), ztAllocatorClass_Instance());
  EXPECT_EQ(ztOOP_findClass("ztStdAllocator"), ztStdAllocatorClass_Instance());
  EXPECT_EQ(ztOOP_findClass("ztFile"), ztFileClass_Instance());
}

TEST(Registry, StaysTrueWithTenThousandClasses) {
  const std::vector<std::string> before = registeredNames();
  const int32_t count = ztOOP_classCount();
  constexpr int classes = 10000;
  std::vector<std::string> names;
  for (int i = 0; i < classes; ++i) {
    names.push_back("class " + std::to_string(i));
    ASSERT_EQ(addClass(names.back()), 1);
  }
  EXPECT_EQ(ztOOP_classCount(), count + classes);
  for (int i = 0; i < classes; ++i) {
    ASSERT_TRUE(ztOOP_isClassRegistered(names[static_cast<size_t>(i)].c_str()));
    ASSERT_EQ(addClass(names[static_cast<size_t>(i)]), 0);
  }
  EXPECT_FALSE(ztOOP_isClassRegistered("class 10000"));
  std::vector<std::string> expected(names.rbegin(), names.rend());
  expected.insert(expected.end(), before.begin(), before.end());
  EXPECT_EQ(registeredNames(), expected);
  EXPECT_EQ(ztOOP_findClass("ztBaseClass"), ztBaseClassClass_Instance());

  std::shuffle(names.begin(), names.end(), std::mt19937(2024));
  for (int i = 0; i < classes; ++i) {
    const char *name = names[static_cast<size_t>(i)].c_str();
    ztFreeClass(name);
    ASSERT_FALSE(ztOOP_isClassRegistered(name));
    ASSERT_EQ(ztOOP_isClassRegistered(names.back().c_str()) != 0, i + 1 < classes);
  }
  EXPECT_EQ(registeredNames(), before);
  EXPECT_EQ(ztOOP_findClass("ztBaseClass"), ztBaseClassClass_Instance());
}

// Adds and frees at random, with a plain list beside it.
TEST(Registry, AgreesWithAListOverARandomHistory) {
  const std::vector<std::string> library = registeredNames();
  std::vector<std::string> model = library;
  std::mt19937 random(7);
  for (int step = 0; step < 3000; ++step) {
    const std::string name = "r" + std::to_string(random() % 400);
    const auto found = std::find(model.begin(), model.end(), name);
    ASSERT_EQ(ztOOP_isClassRegistered(name.c_str()) != 0, found != model.end());
    if (random() % 5 < 3) {
      ASSERT_EQ(addClass(name), found == model.end());
      if (found == model.end()) model.insert(model.begin(), name);
    } else {
      ztFreeClass(name.c_str());
      if (found != model.end()) model.erase(found);
    }
    if (step % 100 != 0) continue;
    ASSERT_EQ(registeredNames(), model);
  }
  EXPECT_EQ(registeredNames(), model);
  for (const std::string &name : model) {
    if (name[0] == 'r') ztFreeClass(name.c_str());
  }
  EXPECT_EQ(registeredNames(), library);
}

const void *destroyedPrototype;
bool entryStoodAtDestroy;

void prototypeDestroyed(void *prototype) {
  destroyedPrototype = prototype;
  entryStoodAtDestroy = ztOOP_isClassRegistered("hooked") != 0;
}

TEST(Registry, HandsThePrototypeToTheClassHook) {
  ASSERT_EQ(addClass("hooked", prototypeDestroyed), 1);
  EXPECT_EQ(ztOOP_classList()->classDestroy, prototypeDestroyed);
  const void *prototype = ztOOP_classList()->prototype;
  destroyedPrototype = nullptr;
  ztFreeClass("hooked");
  EXPECT_EQ(destroyedPrototype, prototype);
  EXPECT_TRUE(entryStoodAtDestroy);
}

TEST(Init, DoesNothingWhileTheEngineRuns) {
  const std::vector<std::string> before = registeredNames();
  CapturedLog log;
  EXPECT_EQ(ztOOP_Init("another"), 1);
  EXPECT_EQ(log.output(), "");
  EXPECT_EQ(registeredNames(), before);
}

TEST(Assert, LogsAFailedCondition) {
  CapturedLog log;
  zt_assert(0, "it does not hold");
  zt_assert(0, nullptr);
  EXPECT_EQ(log.output(), "zt_assert: it does not hold\nzt_assert: (null)\n");
  EXPECT_EQ(log.file(), "zt_assert: it does not hold\nzt_assert: (null)\n");
}

TEST(Assert, IsSilentOtherwise) {
  CapturedLog log;
  zt_assert(1, "it holds");
  zt_assert(-1, "it holds");
  EXPECT_EQ(log.output(), "");
}

}  // namespace
