// Classes of the engine that are C++ classes.
#include "tests/helpers/captured_log.hh"
#include "tests/helpers/faults.hh"
#include "zentova.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

// A host's class in C, which C++ classes are derived from.
#define CppPump_FIELDS \
  ztObject_FIELDS      \
  int32_t strokes;
#define CppPump_METHODS \
  ztObject_METHODS      \
  int32_t (*pump)(void *pump, int32_t strokes); /* 32 */
ZT_DECLARE_CLASS(CppPump)

static int32_t pumpCreate(void *object) {
  if (!ztObject_table()->create(object)) return 0;
  static_cast<CppPump *>(object)->strokes = 0;
  return 1;
}

static int32_t pumpPump(void *object, int32_t strokes) {
  return static_cast<CppPump *>(object)->strokes += strokes;
}

static void pumpMethods(CppPumpMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, pumpCreate);
  ZT_OVERRIDE_METHOD(methods, pump, pumpPump);
}

ZT_DEFINE_CLASS(CppPump, ztObject, pumpMethods)

namespace {

std::string happened;

void note(const char *what, const void *object) {
  happened += std::string(what) + " as " + ztOOP_classNameOf(object) + "\n";
}

struct First : zt::Class<First, ztObject> {
  static constexpr auto className = "CppFirst";
  std::string text = "a text that is too long for a short string";
  First() {
    note("First", this);
  }
  First(const First &) = default;
  First &operator=(const First &) = default;
  ~First() {
    note("~First", this);
  }
  struct Methods : zt::Class<First, ztObject>::Methods {
    int32_t (*length)(const void *object);
  };
  int32_t length() const {
    return static_cast<int32_t>(text.size());
  }
  static void define(zt::Def<First> &c) {
    c.method<&First::length>(&Methods::length);
  }
};

struct Second : zt::Class<Second, First> {
  static constexpr auto className = "CppSecond";
  char tail = 't';  // within the padding of the parent, perhaps
  std::unique_ptr<int> number = std::make_unique<int>(7);
  Second() {
    note("Second", this);
  }
  ~Second() {
    note("~Second", this);
  }
};

struct Third : zt::Class<Third, Second> {
  static constexpr auto className = "CppThird";
  std::vector<std::string> texts = {"one", "two"};
  Third() {
    note("Third", this);
  }
  ~Third() {
    note("~Third", this);
  }
  int32_t length() const {
    return super(&First::Methods::length) + static_cast<int32_t>(texts.size());
  }
  static void define(zt::Def<Third> &c) {
    c.method<&Third::length>(&First::Methods::length);
  }
};

struct Copied : zt::Class<Copied, ztObject> {
  static constexpr auto className = "CppCopied";
  std::string text = "original";
};

struct CopiedMore : zt::Class<CopiedMore, Copied> {
  static constexpr auto className = "CppCopiedMore";
  std::string more = "a second text that is too long for a short string";
  int64_t numbers[32] = {};
};

struct Kept : zt::Class<Kept, ztRoot> {
  static constexpr auto className = "CppKept";
  static constexpr uint32_t classVersion = 3;
  int32_t figure = 0;
  int32_t write(void *file) const {
    return super(&Methods::write, file) && ztFile_of(file)->writeInt(file, figure);
  }
  int32_t read(void *file) {
    return super(&Methods::read, file) && ztFile_of(file)->readInt(file, &figure);
  }
  static void define(zt::Def<Kept> &c) {
    c.method<&Kept::write>(&Methods::write);
    c.method<&Kept::read>(&Methods::read);
  }
};

int refusals = 0;

struct Refusing : zt::Class<Refusing, ztObject> {
  static constexpr auto className = "CppRefusing";
  std::string member = "a member that is too long for a short string";
  Refusing() {
    ++refusals;
    throw std::runtime_error("no");
  }
};

struct WithArguments : zt::Class<WithArguments, ztBaseClass> {
  static constexpr auto className = "CppWithArguments";
  std::unique_ptr<int> taken;
  explicit WithArguments(std::unique_ptr<int> number) : taken(std::move(number)) {}
};

struct Strong : zt::Class<Strong, CppPump> {
  static constexpr auto className = "CppStrong";
  std::string name = "strong";
  int32_t pump(int32_t count) {
    return super(&Methods::pump, 10 * count);
  }
  static void define(zt::Def<Strong> &c) {
    c.method<&Strong::pump>(&Methods::pump);
  }
};

struct Sorted : zt::Class<Sorted, ztMap> {
  static constexpr auto className = "CppSorted";
  std::string name = "a name that is too long for a short string";
};

struct Thrower : zt::Class<Thrower, ztObject> {
  static constexpr auto className = "CppThrower";
  std::string text;
  Thrower() = default;
  Thrower(const Thrower &other) : zt::Class<Thrower, ztObject>(other) {
    throw std::runtime_error("no copy");
  }
  Thrower &operator=(const Thrower &) = default;
};

struct Other : zt::Class<Other, ztObject> {
  static constexpr auto className = "CppFirst";
};

struct Used : zt::Class<Used, ztObject> {
  static constexpr auto className = "CppUsed";
  int32_t level = 0;
  static void define(zt::Def<Used> &c) {
    c.property<&Used::level>("level");
  }
};

std::string nameOf(const void *object) {
  return ztOOP_classNameOf(object);
}

}  // namespace

TEST(CppClass, BeginsAndEndsLevelByLevel) {
  happened.clear();
  {
    auto third = zt::make<Third>();
    EXPECT_EQ(nameOf(third.get()), "CppThird");
    EXPECT_EQ(third->tail, 't');
    EXPECT_EQ(*third->number, 7);
  }
  EXPECT_EQ(happened,
            "First as CppFirst\nSecond as CppSecond\nThird as CppThird\n"
            "~Third as CppThird\n~Second as CppSecond\n~First as CppFirst\n");
}

TEST(CppClass, IsMadeByItsNameFromC) {
  ASSERT_TRUE(zt::registerClass<Third>());
  zt::Own<Third> third(zt::cast<Third>(ztNewFromName("CppThird")));
  ASSERT_TRUE(third);
  EXPECT_EQ(third->texts.size(), 2U);
  EXPECT_EQ(ztOOP_isClassOf(third.get(), "CppFirst"), 1);
  EXPECT_EQ(ztOOP_isClassOf(third.get(), "ztObject"), 1);
}

TEST(CppClass, HasSlotsOfItsOwnAndCallsTheParents) {
  auto first = zt::make<First>();
  auto third = zt::make<Third>();
  EXPECT_EQ(zt::methods(first)->length(first.get()), 42);
  EXPECT_EQ(zt::methods(third)->length(third.get()), 44);
  EXPECT_EQ(zt::methods(third)->length(nullptr), 0);
}

TEST(CppClass, IsDerivedFromAHostsClassInC) {
  auto strong = zt::make<Strong>();
  EXPECT_EQ(CppPump_of(strong.get())->pump(strong.get(), 3), 30);
  EXPECT_EQ(strong->strokes, 30);
  EXPECT_EQ(ztOOP_isClassOf(strong.get(), "CppPump"), 1);
}

TEST(CppClass, IsAVariable) {
  happened.clear();
  {
    Third third;
    EXPECT_EQ(nameOf(&third), "CppThird");
    EXPECT_EQ(third.refCount, 1);
    EXPECT_EQ(zt::methods(third)->length(&third), 44);
    EXPECT_TRUE(zt::Property<int32_t>("none").get(third).access == zt::Access::noProperty);
  }
  EXPECT_EQ(happened.substr(happened.rfind('~')), "~First as CppFirst\n");
}

TEST(CppClass, IsClonedByItsCopyConstructor) {
  auto source = zt::make<CopiedMore>();
  source->text = "changed";
  source->numbers[31] = 5;
  ztObject_addInt(source.get(), "extra", 9);
  void *target = ztm_alloc(ztOOP_classOf(source.get())->instanceSize);
  auto *copy = zt::cast<CopiedMore>(zt::methods(source)->clone(source.get(), target));
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(nameOf(copy), "CppCopiedMore");
  EXPECT_EQ(copy->text, "changed");
  EXPECT_EQ(copy->more, source->more);
  EXPECT_NE(copy->more.data(), source->more.data());
  EXPECT_EQ(copy->numbers[31], 5);
  EXPECT_EQ(*zt::Property<int32_t>("extra").get(copy), 9);
  const zt::Own<CopiedMore> owner(copy);
}

TEST(CppClass, IsAnElementOfAContainerOfObjects) {
  Copied element;
  element.text = "a text that is too long for a short string";
  auto list = zt::make<ztList>();
  zt::methods(list)->setElementConstructor(list.get(), zt::detail::Traits<Copied>::ctor);
  ASSERT_NE(zt::methods(list)->pushBack(list.get(), &element), nullptr);
  const auto *kept = static_cast<const Copied *>(zt::methods(list)->getFront(list.get()));
  EXPECT_EQ(kept->text, element.text);
  EXPECT_NE(kept, &element);
}

TEST(CppClass, IsAssignedByItsCopyAssignment) {
  auto source = zt::make<CopiedMore>();
  auto target = zt::make<CopiedMore>();
  source->text = "changed";
  EXPECT_EQ(zt::methods(target)->assign(target.get(), source.get()), 1);
  EXPECT_EQ(target->text, "changed");
  auto parent = zt::make<Copied>();
  EXPECT_EQ(zt::methods(parent)->assign(parent.get(), source.get()), 1);
  EXPECT_EQ(parent->text, "changed");
  EXPECT_EQ(nameOf(parent.get()), "CppCopied");
  const CapturedLog log;
  EXPECT_EQ(zt::methods(target)->assign(target.get(), parent.get()), 0);
}

TEST(CppClass, CopiesVariables) {
  Copied first;
  first.text = "first";
  ztBaseClass_of(&first)->ref(&first);
  Copied second(first);
  EXPECT_EQ(second.text, "first");
  EXPECT_EQ(second.refCount, 1);
  second.text = "second";
  first = second;
  EXPECT_EQ(first.text, "second");
  EXPECT_EQ(first.refCount, 2);
}

TEST(CppClass, ACopyOfASubclassStaysWithinItsObject) {
  struct Guarded {
    explicit Guarded(const CopiedMore &more) : copy(more) {}
    Copied copy;
    int64_t behind[40] = {};
  };
  CopiedMore more;
  more.text = "more";
  for (int64_t &number : more.numbers) number = -1;
  const Guarded guarded(more);
  EXPECT_EQ(guarded.copy.text, "more");
  EXPECT_EQ(nameOf(&guarded.copy), "CppCopied");
  for (const int64_t number : guarded.behind) EXPECT_EQ(number, 0);
}

TEST(CppClass, ThatCannotBeCopiedGivesNull) {
  auto second = zt::make<Second>();
  alignas(16) char memory[sizeof(Second)];
  EXPECT_EQ(zt::methods(second)->clone(second.get(), memory), nullptr);
  EXPECT_EQ(zt::methods(second)->assign(second.get(), second.get()), 0);
}

TEST(CppClass, ACopyThatThrowsGivesNull) {
  auto thrower = zt::make<Thrower>();
  alignas(16) char memory[sizeof(Thrower)];
  EXPECT_EQ(zt::methods(thrower)->clone(thrower.get(), memory), nullptr);
  EXPECT_THROW(static_cast<void>(zt::make<Thrower>(*thrower)), std::runtime_error);
}

TEST(CppClass, WhatItsConstructorThrowsReachesTheCallerOfMake) {
  refusals = 0;
  EXPECT_THROW(static_cast<void>(zt::make<Refusing>()), std::runtime_error);
  EXPECT_EQ(refusals, 1);
}

TEST(CppClass, WhoseConstructorThrowsIsTheClassAboveWhereCMakesIt) {
  ASSERT_TRUE(zt::registerClass<Refusing>());
  CapturedLog log;
  void *object = ztNewFromName("CppRefusing");
  EXPECT_EQ(nameOf(object), "ztObject");
  EXPECT_EQ(log.file(), "zt::Class - Error, no 'CppRefusing' could be made\n");
  ztBaseClass_of(object)->unRef(object);
}

TEST(CppClass, PassesArgumentsToItsConstructor) {
  auto object = zt::make<WithArguments>(std::make_unique<int>(5));
  EXPECT_EQ(*object->taken, 5);
  ASSERT_TRUE(zt::registerClass<WithArguments>());
  CapturedLog log;
  void *other = ztNewFromName("CppWithArguments");
  EXPECT_EQ(nameOf(other), "ztBaseClass");
  ztBaseClass_of(other)->unRef(other);
}

TEST(CppClass, IsStoredAndLoadedInTrees) {
  const TempFolder folder;
  auto root = zt::make<Kept>();
  root->figure = 1;
  auto child = zt::make<Kept>();
  child->figure = 2;
  zt::addChild(root, std::move(child));
  ASSERT_EQ(ztRoot_saveTree(root.get(), folder.path("tree").c_str(), 0), 2);
  zt::Array<Kept *> roots;
  ASSERT_EQ(ztRoot_openTree(folder.path("tree").c_str(), roots.get(), nullptr), 1);
  const zt::Own<Kept> loaded(roots[0]);
  EXPECT_EQ(loaded->figure, 1);
  ASSERT_EQ(zt::children(loaded).size(), 1U);
  EXPECT_EQ((*zt::children<Kept>(loaded).begin())->figure, 2);
  EXPECT_EQ(ztOOP_versionOf(loaded.get()), 3U);
}

TEST(CppClass, CopiesTreesOfItsNodes) {
  Kept root;
  zt::Own<Kept> child = zt::make<Kept>();
  child->figure = 2;
  zt::addChild(zt::Ptr<Kept>(&root), std::move(child));
  const Kept copy(root);
  ASSERT_EQ(zt::children(copy).size(), 1U);
  EXPECT_EQ((*zt::children<Kept>(copy).begin())->figure, 2);
  EXPECT_NE(*zt::children(copy).begin(), *zt::children(root).begin());
}

TEST(CppClass, BelowAContainerIsAVariableAndCopied) {
  Sorted variable;
  auto made = zt::make<Sorted>(variable);
  EXPECT_EQ(made->name, variable.name);
  void *target = ztm_alloc(sizeof(Sorted));
  ASSERT_NE(zt::methods(variable)->clone(&variable, target), nullptr);
  ztBaseClass_of(target)->unRef(target);
}

TEST(CppClass, WithTheNameOfAnotherIsNotRegistered) {
  ASSERT_TRUE(zt::registerClass<First>());
  const CapturedLog log;
  EXPECT_FALSE(zt::registerClass<Other>());
}

TEST(CppClass, ThrowsWhereMemoryIsExhausted) {
  int thrown = 0;
  exhaustMemoryIn([&] {
    try {
      auto object = zt::make<CopiedMore>();
      const CopiedMore variable;
      auto copy = zt::make<CopiedMore>(*object);
      EXPECT_EQ(copy->text, "original");
      const Copied part(*copy);
      auto node = zt::make<Kept>();
      zt::addChild(node, zt::make<Kept>());
      const Kept tree(*node);
      EXPECT_EQ(zt::children(tree).size(), zt::children(node).size());
    } catch (const std::bad_alloc &) {
      ++thrown;
    }
  });
  EXPECT_GT(thrown, 5);
}

TEST(CppClass, EndsOnceWhenASlotReleasesItAgain) {
  happened.clear();
  auto first = zt::make<First>();
  void *object = first.get();
  auto seen = zt::connect(first, "destroyed", [object] { ztBaseClass_of(object)->unRef(object); });
  first.reset();
  EXPECT_EQ(happened, "First as CppFirst\n~First as CppFirst\n");
}

TEST(CppClass, IsDescribedAsFarAsItsAncestorsAre) {
  ASSERT_TRUE(zt::registerClass<Third>());
  ztClassInfo *info = ztOOP_classInfo(ztOOP_findClass("CppThird"));
  ASSERT_NE(info, nullptr);
  EXPECT_EQ(info->isDescribed, 0);
  EXPECT_EQ(info->methodCount, 32);
  EXPECT_STREQ(info->methods[4].name, "create");
  EXPECT_EQ(info->methods[4].definedBy, ztOOP_findClass("CppThird"));
  EXPECT_EQ(info->instanceSize, static_cast<int32_t>(sizeof(Third)));
  ztOOP_freeClassInfo(info);
}

TEST(CppClass, IsFirstUsedBySeveralThreads) {
  std::vector<std::thread> threads;
  int32_t read[4] = {};
  for (int32_t &place : read) {
    threads.emplace_back([&place] {
      auto used = zt::make<Used>();
      const Used variable(*used);
      zt::Property<int32_t>("level").set(used, 5);
      place = *zt::Property<int32_t>("level").get(used);
    });
  }
  for (std::thread &thread : threads) thread.join();
  for (const int32_t place : read) EXPECT_EQ(place, 5);
}
