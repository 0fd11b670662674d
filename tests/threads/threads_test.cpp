// Threads that use the library at the same time, each with objects of its own.
#include "tests/helpers/captured_log.hh"
#include "tests/helpers/lives.hh"
#include "tests/helpers/scale.hh"
#include "tests/helpers/temp_folder.hh"
#include "tests/threads/blocks.hh"
#include "tests/threads/meter.hh"
#include "tests/threads/together.hh"
#include "zentova.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

// Not fewer than two, so that something is there before each round but the first.
int rounds(int number) {
  return std::max(2, scale(number));
}

// All classes ---------------------------------------------------------------------------------------

using Descriptions = std::vector<std::string>;

// Every thread begins with another class.
Descriptions liveWithAll(size_t begin) {
  Descriptions descriptions(lives().size());
  for (size_t i = 0; i < lives().size(); ++i) {
    const size_t at = (begin + i) % lives().size();
    Trial trial;
    descriptions[at] = liveOnce(trial, lives()[at]);
  }
  return descriptions;
}

TEST(Threads, LiveWithObjectsOfAllClasses) {
  std::array<Descriptions, threadCount> descriptions;
  const auto liveInEach = [&](int number, Meeting &) {
    registerPropertyTypes();
    descriptions[static_cast<size_t>(number)] = liveWithAll(static_cast<size_t>(number) * 16);
  };
  together(liveInEach);
  const Descriptions alone = liveWithAll(0);
  for (const Descriptions &described : descriptions) EXPECT_EQ(described, alone);

  const int before = liveBlocks;
  for (int i = 0; i < rounds(5); ++i) together(liveInEach);
  EXPECT_EQ(liveBlocks, before);
}

// Classes -------------------------------------------------------------------------------------------

void useFreshCounter() {
  const Held counter(FreshCounter_ctor(nullptr, 1));
  EXPECT_EQ(FreshCounter_of(counter)->next(counter), 1);
  EXPECT_EQ(FreshCounterIsClassOf(nullptr, counter, "FreshMeter"), 1);
  int32_t level = -1;
  EXPECT_EQ(FreshCounter_of(counter)->setProperty(counter, "level", "ztInt", 7), 1);
  EXPECT_EQ(FreshCounter_of(counter)->getProperty(counter, "level", "ztInt", &level), 1);
  EXPECT_EQ(level, 7);
}

TEST(Threads, FillAndRegisterClassesThatTheyAreFirstToUse) {
  const int32_t before = ztOOP_classCount();
  together([](int, Meeting &meeting) {
    useFreshCounter();
    meeting.arrive_and_wait();
    releaseIfMade(FreshMeter_ctor(nullptr, 1));
    meeting.arrive_and_wait();
    releaseIfMade(FreshNode_ctor(nullptr, 1));
    const Held named(ztNewFromName("FreshNode"));
    EXPECT_STREQ(ztOOP_classNameOf(named), "FreshNode");
  });
  EXPECT_EQ(ztOOP_classCount(), before + 3);
}

int32_t addClass(const std::string &name) {
  void *prototype = Meter_ctor(nullptr, 0);
  const int32_t added = ztAddNewClass(prototype, name.c_str(), Meter_ctor, nullptr);
  if (!added) ztm_free(prototype);
  return added;
}

TEST(Threads, RegisterFindAndFreeClasses) {
  together([](int number, Meeting &) {
    for (int i = 0; i < rounds(100); ++i) {
      const std::string name = "Meter of " + std::to_string(number) + ", " + std::to_string(i);
      EXPECT_EQ(addClass(name), 1);
      EXPECT_EQ(ztOOP_isClassRegistered(name.c_str()), 1);
      EXPECT_NE(ztOOP_findClass("ztString"), nullptr);
      const Held object(ztNewFromName(name.c_str()));
      EXPECT_STREQ(ztOOP_classNameOf(object), "Meter");
      ztFreeClass(name.c_str());
      EXPECT_EQ(ztOOP_isClassRegistered(name.c_str()), 0);
    }
  });
}

TEST(Threads, RegisterANameOnce) {
  std::atomic<int> added{0};
  together([&](int, Meeting &) { added += addClass("Meter of all"); });
  EXPECT_EQ(added, 1);
  ztFreeClass("Meter of all");
}

TEST(Threads, MakeAPropertyTypeKnownOnce) {
  releaseIfMade(FreshType_ctor(nullptr, 1));
  std::atomic<int> made{0};
  together([&](int, Meeting &) {
    made += ztProperty_functions()->registerNewType(nullptr, "FreshType");
    EXPECT_NE(ztProperty_functions()->getPropertyTypeClass(nullptr, "FreshType"), nullptr);
  });
  EXPECT_EQ(made, 1);
}

// Properties, signals and slots ---------------------------------------------------------------------

void count(void *receiver, intptr_t step) {
  static_cast<Meter *>(receiver)->level += static_cast<int32_t>(step);
}

void passOn(void *receiver, intptr_t step) {
  EXPECT_NE(Meter_of(receiver)->getSender(receiver), nullptr);
  ztObject_emit(receiver, "passed", step);
}

void end(void *receiver, intptr_t) {
  releaseIfMade(receiver);
}

void connect(void *sender, const char *signal, void *receiver, void (*slot)(void *, intptr_t)) {
  ztSlotFunction function;
  function.call1 = slot;
  EXPECT_EQ(Meter_of(sender)->connect(ztOOP_classOf(sender), sender, signal, receiver, "slot", function, 1),
            1);
}

TEST(Threads, EmitWithinTheirOwnObjects) {
  together([](int number, Meeting &) {
    for (int i = 0; i < rounds(50); ++i) {
      const Held sender(Meter_ctor(nullptr, 1));
      const Held relay(Meter_ctor(nullptr, 1));
      const Held counter(Meter_ctor(nullptr, 1));
      connect(sender, "changed", relay, passOn);
      connect(sender, "changed", Meter_ctor(nullptr, 1), end);
      connect(sender, "changed", counter, count);
      connect(relay, "passed", counter, count);
      for (int k = 0; k < 3; ++k) EXPECT_EQ(ztObject_emit(sender, "changed", number + 1), 1);
      EXPECT_EQ(static_cast<const Meter *>(static_cast<void *>(counter))->level, 6 * (number + 1));
    }
  });
}

TEST(Threads, SetStaticAndDynamicProperties) {
  together([](int number, Meeting &) {
    for (int32_t i = 0; i < rounds(100); ++i) {
      const Held meter(Meter_ctor(nullptr, 1));
      const MeterMethods *methods = Meter_of(meter);
      const int32_t initial = 1000 * number + i;
      EXPECT_EQ(methods->setProperty(meter, "level", "ztInt", initial), 1);
      EXPECT_EQ(methods->setProperty(meter, "alarm", "ztInt", reinterpret_cast<ztWord>(&initial)), 1);
      int32_t level = -1;
      int32_t alarm = -1;
      EXPECT_EQ(methods->getProperty(meter, "level", "ztInt", &level), 1);
      EXPECT_EQ(methods->getProperty(meter, "alarm", "ztInt", &alarm), 1);
      EXPECT_EQ(level, initial);
      EXPECT_EQ(alarm, initial);
      const Held properties(ztPropertyPtrArray_ctor(nullptr, 1));
      EXPECT_EQ(methods->getProperties(meter, properties), 1);
    }
  });
}

// Trees ---------------------------------------------------------------------------------------------

void *makeNode(ztCtor constructor, const std::string &name, int32_t uid) {
  void *node = constructor(nullptr, 1);
  ztRoot_of(node)->setName(node, name.c_str());
  ztRoot_of(node)->setUid(node, uid);
  return node;
}

constexpr int childCount = 8;

// A tag with an attribute, nodes below it that it tells of, and a property.
void *makeTree(int number) {
  void *root = makeNode(ztTag_ctor, "tree " + std::to_string(number), 1);
  const double initial = number;
  EXPECT_EQ(ztTag_of(root)->insertNew(root, "series", ztFloatTag_ctor(nullptr, 1), nullptr, 0, 4, &initial),
            1);
  void *below = root;
  for (int i = 0; i < childCount; ++i) {
    void *child = makeNode(ztRoot_ctor, "child " + std::to_string(i), 2 + i);
    ztRoot_of(below)->addChild(below, child);
    if (i % 2 == 1) below = child;
  }
  const int32_t kept = number;
  EXPECT_EQ(ztTag_of(root)->setProperty(root, "number", "ztInt", reinterpret_cast<ztWord>(&kept)), 1);
  return root;
}

std::string describe(const void *node) {
  std::string all = std::string(ztRoot_of(node)->getName(node)) + "(";
  for (int32_t i = 0; i < ztRoot_of(node)->getChildCount(node); ++i) {
    all += describe(ztRoot_of(node)->getChildAt(node, i));
  }
  return all + ")";
}

std::string shapeOf(int number) {
  return "tree " + std::to_string(number) +
         "(child 0()child 1(child 2()child 3(child 4()child 5(child 6()child 7()))))";
}

// Uses and ends a tree that another thread made.
void useUp(void *root, int number) {
  EXPECT_EQ(describe(root), shapeOf(number));
  const Held counter(Meter_ctor(nullptr, 1));
  connect(root, "childAdded", counter, [](void *receiver, intptr_t) { count(receiver, 1); });
  ztRoot_of(root)->addChild(root, makeNode(ztRoot_ctor, "last", 99));
  EXPECT_EQ(static_cast<const Meter *>(static_cast<void *>(counter))->level, 1);
  int32_t kept = -1;
  EXPECT_EQ(ztTag_of(root)->getProperty(root, "number", "ztInt", &kept), 1);
  EXPECT_EQ(kept, number);
  void *series = ztTag_of(root)->getByName(root, "series", nullptr);
  double total = 0;
  ztTagAttribute_of(series)->getTotalValue(series, &total);
  EXPECT_EQ(total, 4.0 * number);
  releaseIfMade(root);
}

TEST(Threads, HandTreesOverToOthersWhichEndThem) {
  std::array<Handover, 2> ways;
  const int trees = rounds(50);
  together([&](int number, Meeting &) {
    Handover &way = ways[static_cast<size_t>(number / 2)];
    for (int i = 0; i < trees; ++i) {
      if (number % 2 == 0) {
        way.push(makeTree(i));
      } else {
        useUp(way.pop(), i);
      }
    }
  });
}

TEST(Threads, GiveNodesDifferentNames) {
  std::array<std::vector<void *>, threadCount> nodes;
  together([&](int number, Meeting &) {
    for (int i = 0; i < 100; ++i) {
      void *node = ztRoot_ctor(nullptr, 1);
      ztRoot_of(node)->generateUid(node);
      nodes[static_cast<size_t>(number)].push_back(node);
    }
  });
  std::set<std::string> names;
  for (const auto &made : nodes) {
    for (void *node : made) {
      names.insert(ztRoot_of(node)->getName(node));
      releaseIfMade(node);
    }
  }
  EXPECT_EQ(names.size(), static_cast<size_t>(threadCount) * 100);
}

// Gives the tree that comes back.
void *storeAndLoad(const void *root, ztCtor fileConstructor, const std::string &path) {
  const Held file(fileConstructor(nullptr, 1));
  EXPECT_EQ(ztFile_of(file)->open(file, path.c_str(), "w+"), 1);
  EXPECT_EQ(ztRoot_storeTree(root, file), 1 + childCount);
  EXPECT_EQ(ztFile_of(file)->flush(file), 0);
  EXPECT_EQ(ztFile_of(file)->goToBegin(file), 0);
  const Held roots(ztPtrArray_ctor(nullptr, 1));
  ztTreeReport report;
  EXPECT_EQ(ztRoot_loadTree(file, 1 + childCount, roots, &report), 1);
  EXPECT_EQ(report.nodes, 1 + childCount);
  return ztPtrArray_of(roots)->getSize(roots) == 1 ? ztPtrArray_of(roots)->getAt(roots, 0) : nullptr;
}

// A tag is read back with its attributes only where they are there before; these are plain nodes.
void *makePlainTree(int number) {
  void *root = makeNode(ztRoot_ctor, "tree " + std::to_string(number), 1);
  for (int i = 0; i < childCount; ++i) {
    ztRoot_of(root)->addChild(root, makeNode(ztRoot_ctor, "child " + std::to_string(i), 2 + i));
  }
  return root;
}

TEST(Threads, StoreAndLoadTreesInBothForms) {
  const TempFolder folder;
  together([&](int number, Meeting &) {
    for (int i = 0; i < rounds(20); ++i) {
      const Held tree(makePlainTree(number));
      for (const ztCtor fileConstructor : {ztFile_ctor, ztTextFile_ctor}) {
        const Held loaded(storeAndLoad(tree, fileConstructor, folder.path(std::to_string(number))));
        ASSERT_NE(loaded, nullptr);
        EXPECT_EQ(describe(loaded), describe(tree));
      }
    }
  });
}

// Texts ---------------------------------------------------------------------------------------------

// Every one of them in a buffer that its next call overwrites, in this thread alone.
void compareTexts(const std::string &name) {
  const std::string folder = "folder/of/" + name;
  char joined[512];
  char last[512];
  char parent[512];
  char made[512];
  const char *message = ztCu_fmtMsg("message of %s", name.c_str());
  const char *lower = ztCu_sToLower(name.c_str());
  const char *joinedHere = ztDm_makePath(folder.c_str(), name.c_str(), nullptr);
  const char *lastHere = ztDm_getDirName(folder.c_str(), nullptr);
  const char *parentHere = ztDm_extractPath(folder.c_str(), nullptr);
  const char *madeHere = ztCu_makePath(folder.c_str(), name.c_str(), nullptr);
  const void *string = ztString_functions()->newString(nullptr, name.c_str());
  std::this_thread::yield();
  EXPECT_EQ(message, "message of " + name);
  EXPECT_EQ(lower, name);
  EXPECT_STREQ(joinedHere, ztDm_makePath(folder.c_str(), name.c_str(), joined));
  EXPECT_STREQ(lastHere, ztDm_getDirName(folder.c_str(), last));
  EXPECT_STREQ(parentHere, ztDm_extractPath(folder.c_str(), parent));
  EXPECT_STREQ(madeHere, ztCu_makePath(folder.c_str(), name.c_str(), made));
  EXPECT_EQ(ztString_of(string)->get(string), name);
}

TEST(Threads, SeeTheirOwnTexts) {
  char current[512];
  ztDm_getCurrentDir(current);
  together([&](int number, Meeting &) {
    for (int i = 0; i < rounds(500); ++i) {
      compareTexts("thread " + std::to_string(number) + " round " + std::to_string(i));
      EXPECT_STREQ(ztDm_getCurrentDir(nullptr), current);
      EXPECT_EQ(ztCu_sToUpper("abc"), std::string("ABC"));
    }
  });
}

TEST(Threads, LeaveNothingBehindWhenTheyEnd) {
  const auto hold = [](int number, Meeting &) { compareTexts("thread " + std::to_string(number)); };
  together(hold);
  const int before = liveBlocks;
  for (int i = 0; i < rounds(20); ++i) together(hold);
  EXPECT_EQ(liveBlocks, before);
}

// The log, and tracked memory -----------------------------------------------------------------------

using Lines = std::map<std::string, int>;

Lines linesOf(const std::string &text) {
  Lines lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) ++lines[line];
  return lines;
}

std::string lineOf(int number, int i) {
  return "line " + std::to_string(i) + " of thread " + std::to_string(number) + " " +
         std::string(static_cast<size_t>(100 + i), static_cast<char>('a' + number));
}

TEST(Threads, LogWholeLines) {
  const int lines = 100;
  CapturedLog log;
  together([](int number, Meeting &) {
    for (int i = 0; i < lines; ++i) ztLc_log("%s\n", lineOf(number, i).c_str());
  });
  Lines expected;
  for (int number = 0; number < threadCount; ++number) {
    for (int i = 0; i < lines; ++i) ++expected[lineOf(number, i)];
  }
  EXPECT_EQ(linesOf(log.output()), expected);
  EXPECT_EQ(linesOf(log.file()), expected);
}

TEST(Threads, TrackTheirBlocks) {
  ztMemStatus before;
  ztm_getmemstatus(&before);
  together([](int number, Meeting &) {
    for (int i = 0; i < rounds(100); ++i) {
      void *block = ztm_dbg_alloc(16, __FILE__, __LINE__, "block");
      block = ztm_dbg_realloc(block, 1000 + number);
      const ztMemBlock *record = ztm_findblock(block);
      ASSERT_NE(record, nullptr);
      EXPECT_EQ(record->size, 1000 + number);
      ztMemStatus status;
      EXPECT_GE(ztm_getmemstatus(&status), 1);
      ztm_dbg_free(block, __FILE__, __LINE__);
    }
  });
  ztMemStatus after;
  ztm_getmemstatus(&after);
  EXPECT_EQ(after.blocks, before.blocks);
  EXPECT_EQ(after.bytes, before.bytes);
}

}  // namespace
