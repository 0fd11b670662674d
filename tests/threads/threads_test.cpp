// Threads that use the library at the same time, each with objects of its own.
#include "tests/helpers/captured_log.hh"
#include "tests/helpers/host_class.hh"
#include "tests/helpers/lives.hh"
#include "tests/helpers/scale.hh"
#include "tests/helpers/temp_folder.hh"
#include "tests/threads/blocks.hh"
#include "zentova.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <barrier>
#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

// An object with a static property, "level".
#define Meter_FIELDS \
  ztObject_FIELDS    \
  int32_t level;
#define Meter_METHODS ztObject_METHODS
ZT_DECLARE_CLASS(Meter)
// As Meter, and its child; used by one test only, which is the first to use them. The same goes for those below.
#define FreshMeter_FIELDS Meter_FIELDS
#define FreshMeter_METHODS Meter_METHODS
ZT_DECLARE_CLASS(FreshMeter)
#define FreshCounter_FIELDS FreshMeter_FIELDS int32_t count;
#define FreshCounter_METHODS FreshMeter_METHODS int32_t (*next)(void *counter);
ZT_DECLARE_CLASS(FreshCounter)
#define FreshNode_FIELDS ztRoot_FIELDS
#define FreshNode_METHODS ztRoot_METHODS
ZT_DECLARE_CLASS(FreshNode)
#define FreshType_FIELDS ztIntPropertyType_FIELDS
#define FreshType_METHODS ztIntPropertyType_METHODS
ZT_DECLARE_CLASS(FreshType)

static int32_t meterProperties(ztClass *klass) {
  ztGetter getter;
  getter.getInt = [](const void *meter) { return static_cast<const Meter *>(meter)->level; };
  ztSetter setter;
  setter.setInt = [](void *meter, int32_t level) { static_cast<Meter *>(meter)->level = level; };
  return ztObject_table()->addProperty(klass, "level", "ztInt", getter, setter, nullptr, "levelChanged");
}

static int32_t meterCreate(void *meter) {
  static_cast<Meter *>(meter)->level = 0;
  return ztObject_table()->create(meter);
}

template <typename Methods>
static void meterMethods(Methods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, meterCreate);
  ZT_OVERRIDE_METHOD(methods, initProperties, meterProperties);
}

static std::atomic<int> filledMeters;

static void freshMeterFunctions(ztClassFunctions *functions) {
  functions->classInit = [](ztClass *) { ++filledMeters; };
}

static int32_t freshCounterCreate(void *counter) {
  static_cast<FreshCounter *>(counter)->count = 0;
  return FreshMeter_table()->create(counter);
}

static int32_t freshCounterNext(void *counter) {
  return ++static_cast<FreshCounter *>(counter)->count;
}

static void freshCounterMethods(FreshCounterMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, freshCounterCreate);
  ZT_OVERRIDE_METHOD(methods, next, freshCounterNext);
}

ZT_DEFINE_CLASS(Meter, ztObject, meterMethods)
ZT_DEFINE_CLASS_FULL(FreshMeter, ztObject, meterMethods, 1, ztClassFunctions, freshMeterFunctions)
ZT_DEFINE_CLASS(FreshCounter, FreshMeter, freshCounterMethods)
ZT_DEFINE_CLASS(FreshNode, ztRoot, noMethods)
ZT_DEFINE_CLASS(FreshType, ztIntPropertyType, noMethods)

namespace {

constexpr int threadCount = 4;

// Where each of the threads waits for the others.
using Meeting = std::barrier<>;

// Runs the work in four threads that begin at once: `work(number, meeting)`.
template <typename Work>
void together(const Work &work) {
  Meeting meeting(threadCount);
  std::vector<std::thread> threads;
  for (int number = 0; number < threadCount; ++number) {
    threads.emplace_back([&, number] {
      meeting.arrive_and_wait();
      work(number, meeting);
    });
  }
  for (std::thread &thread : threads) thread.join();
}

// Objects on their way from one thread to another.
class Handover {
 public:
  void push(void *object) {
    const std::lock_guard locked(mutex);
    waiting.push_back(object);
    arrived.notify_one();
  }
  void *pop() {
    std::unique_lock locked(mutex);
    arrived.wait(locked, [this] { return !waiting.empty(); });
    void *object = waiting.front();
    waiting.pop_front();
    return object;
  }

 private:
  std::mutex mutex;
  std::condition_variable arrived;
  std::deque<void *> waiting;
};

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
  const Owned<FreshCounter, FreshCounterMethods> counter(FreshCounter_ctor);
  EXPECT_EQ(counter->next(counter), 1);
  EXPECT_EQ(FreshCounterIsClassOf(nullptr, counter, "FreshMeter"), 1);
  EXPECT_EQ(FreshCounterIsClassOf(nullptr, counter, "ztBaseClass"), 1);
  int32_t level = -1;
  EXPECT_EQ(counter->setProperty(counter, "level", "ztInt", 7), 1);
  EXPECT_EQ(counter->getProperty(counter, "level", "ztInt", &level), 1);
  EXPECT_EQ(level, 7);
}

TEST(Threads, FillAndRegisterClassesThatTheyAreFirstToUse) {
  const int32_t before = ztOOP_classCount();
  together([](int number, Meeting &meeting) {
    if (number % 2 == 0) {
      useFreshCounter();
    } else {
      use(FreshMeter_ctor);
    }
    EXPECT_TRUE(ztOOP_isClassRegistered(number % 2 == 0 ? "FreshCounter" : "FreshMeter"));
    meeting.arrive_and_wait();
    useFreshCounter();
    use(FreshNode_ctor);
    EXPECT_STREQ(ztOOP_classNameOf(Object(ztNewFromName("FreshNode"))), "FreshNode");
  });
  EXPECT_EQ(ztOOP_classCount(), before + 3);
  EXPECT_EQ(filledMeters, 1);
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
      EXPECT_STREQ(ztOOP_classNameOf(Object(ztNewFromName(name.c_str()))), "Meter");
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
  use(FreshType_ctor);
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

using OwnedMeter = Owned<Meter, MeterMethods>;

TEST(Threads, EmitWithinTheirOwnObjects) {
  together([](int number, Meeting &) {
    for (int i = 0; i < rounds(50); ++i) {
      const OwnedMeter sender(Meter_ctor), relay(Meter_ctor), counter(Meter_ctor);
      connect(sender, "changed", relay, passOn);
      connect(sender, "changed", Meter_ctor(nullptr, 1), end);
      connect(sender, "changed", counter, count);
      connect(relay, "passed", counter, count);
      for (int k = 0; k < 3; ++k) EXPECT_EQ(ztObject_emit(sender, "changed", number + 1), 1);
      EXPECT_EQ(counter.fields().level, 6 * (number + 1));
    }
  });
}

TEST(Threads, SetStaticAndDynamicProperties) {
  together([](int number, Meeting &) {
    for (int32_t i = 0; i < rounds(100); ++i) {
      const OwnedMeter meter(Meter_ctor);
      const int32_t initial = 1000 * number + i;
      EXPECT_EQ(meter->setProperty(meter, "level", "ztInt", initial), 1);
      EXPECT_EQ(meter->setProperty(meter, "alarm", "ztInt", reinterpret_cast<ztWord>(&initial)), 1);
      for (const char *name : {"level", "alarm"}) {
        int32_t value = -1;
        EXPECT_EQ(meter->getProperty(meter, name, "ztInt", &value), 1);
        EXPECT_EQ(value, initial) << name;
      }
      EXPECT_EQ(meter->getProperties(meter, Object(ztPropertyPtrArray_ctor)), 1);
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

void *makeNodes(ztCtor constructor, int number) {
  void *root = makeNode(constructor, "tree " + std::to_string(number), 1);
  void *below = root;
  for (int i = 0; i < childCount; ++i) {
    void *child = makeNode(ztRoot_ctor, "child " + std::to_string(i), 2 + i);
    ztRoot_of(below)->addChild(below, child);
    if (i % 2 == 1) below = child;
  }
  return root;
}

// A tag with an attribute, nodes below it that it tells of, and a property.
void *makeTree(int number) {
  void *root = makeNodes(ztTag_ctor, number);
  const double initial = number;
  EXPECT_EQ(ztTag_of(root)->insertNew(root, "series", ztFloatTag_ctor(nullptr, 1), nullptr, 0, 4, &initial),
            1);
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
  const OwnedMeter counter(Meter_ctor);
  const Owned<ztTag, ztTagMethods> tag(root);
  connect(root, "childAdded", counter, [](void *receiver, intptr_t) { count(receiver, 1); });
  tag->addChild(root, makeNode(ztRoot_ctor, "last", 99));
  EXPECT_EQ(counter.fields().level, 1);
  int32_t kept = -1;
  EXPECT_EQ(tag->getProperty(root, "number", "ztInt", &kept), 1);
  EXPECT_EQ(kept, number);
  void *series = tag->getByName(root, "series", nullptr);
  double total = 0;
  ztTagAttribute_of(series)->getTotalValue(series, &total);
  EXPECT_EQ(total, 4.0 * number);
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
  std::array<std::vector<std::string>, threadCount> names;
  together([&](int number, Meeting &) {
    for (int i = 0; i < 100; ++i) {
      const Owned<ztRoot, ztRootMethods> node(ztRoot_ctor);
      node->generateUid(node);
      names[static_cast<size_t>(number)].push_back(node->getName(node));
    }
  });
  std::set<std::string> all;
  for (const auto &made : names) all.insert(made.begin(), made.end());
  EXPECT_EQ(all.size(), static_cast<size_t>(threadCount) * 100);
}

// Gives the tree that comes back.
void *storeAndLoad(const void *root, ztCtor fileConstructor, const std::string &path) {
  const Owned<ztFile, ztFileMethods> file(fileConstructor);
  EXPECT_EQ(file->open(file, path.c_str(), "w+"), 1);
  EXPECT_EQ(ztRoot_storeTree(root, file), 1 + childCount);
  EXPECT_EQ(file->flush(file), 0);
  EXPECT_EQ(file->goToBegin(file), 0);
  const Owned<ztPtrArray, ztPtrArrayMethods> roots(ztPtrArray_ctor);
  ztTreeReport report;
  EXPECT_EQ(ztRoot_loadTree(file, 1 + childCount, roots, &report), 1);
  EXPECT_EQ(report.nodes, 1 + childCount);
  return roots->getSize(roots) == 1 ? roots->getAt(roots, 0) : nullptr;
}

TEST(Threads, StoreAndLoadTreesInBothForms) {
  const TempFolder folder;
  together([&](int number, Meeting &) {
    for (int i = 0; i < rounds(20); ++i) {
      // A tag is read back with its attributes only where they are there before; these are plain nodes.
      const Object tree(makeNodes(ztRoot_ctor, number));
      for (const ztCtor fileConstructor : {ztFile_ctor, ztTextFile_ctor}) {
        const Object loaded(storeAndLoad(tree, fileConstructor, folder.path(std::to_string(number))));
        ASSERT_NE(loaded, nullptr);
        EXPECT_EQ(describe(loaded), describe(tree));
      }
    }
  });
}

int32_t readEarlierNode(void *node, void *file, uint32_t) {
  return ztRoot_table()->read(node, file);
}

// The record of a node, with the identity of an earlier version of its class.
void storeEarlierNode(void *file) {
  const Object node(ztRoot_ctor);
  char name[100] = "ztRoot";
  EXPECT_EQ(ztFile_of(file)->writeBuf(file, sizeof name, name), 100);
  EXPECT_EQ(ztFile_of(file)->writeInt(file, 0), 1);
  EXPECT_EQ(node->write(node, file), 1);
}

TEST(Threads, ReadEarlierRecordsWhileReadersAreNamedAndRemoved) {
  const TempFolder folder;
  static std::array<ztClass, threadCount> classes;
  ASSERT_EQ(ztOOP_setReader(ztRootClass_Instance(), 0, readEarlierNode), 1);
  together([&](int number, Meeting &) {
    ztClass *own = &classes[static_cast<size_t>(number)];
    own->name = "Own";
    own->version = 100;
    const Owned<ztFile, ztFileMethods> file(ztFile_ctor);
    EXPECT_EQ(file->open(file, folder.path(std::to_string(number)).c_str(), "w+b"), 1);
    storeEarlierNode(file);
    for (int i = 0; i < rounds(100); ++i) {
      const auto version = static_cast<uint32_t>(i % 50);
      const ztReader reader = i / 50 % 2 == 0 ? readEarlierNode : nullptr;
      EXPECT_EQ(ztOOP_setReader(own, version, reader), 1);
      EXPECT_EQ(ztOOP_readerOf(own, version), reader);
      EXPECT_EQ(file->goToBegin(file), 0);
      EXPECT_NE(Object(ztOOP_readObject(file)), nullptr);
    }
    for (uint32_t version = 0; version < 50; ++version) ztOOP_setReader(own, version, nullptr);
  });
  ztOOP_setReader(ztRootClass_Instance(), 0, nullptr);
}

// Texts ---------------------------------------------------------------------------------------------

// Every one of them in a buffer that its next call overwrites, in this thread alone.
void compareTexts(const std::string &name, const char *current) {
  using Texts = std::vector<std::string>;
  const std::string folder = "folder/of/" + name;
  const std::vector<const char *> texts = {ztCu_fmtMsg("message of %s", name.c_str()),
                                           ztCu_sToLower(name.c_str()),
                                           ztDm_makePath(folder.c_str(), name.c_str(), nullptr),
                                           ztCu_makePath(folder.c_str(), name.c_str(), nullptr),
                                           ztDm_getDirName(folder.c_str(), nullptr),
                                           ztDm_extractPath(folder.c_str(), nullptr),
                                           ztDm_getCurrentDir(nullptr)};
  const void *string = ztString_functions()->newString(nullptr, name.c_str());
  std::this_thread::yield();
  EXPECT_EQ(Texts(texts.begin(), texts.end()), (Texts{"message of " + name, name, folder + "/" + name,
                                                      folder + "/" + name, name, "folder/of", current}));
  EXPECT_EQ(ztString_of(string)->get(string), name);
  EXPECT_STREQ(ztCu_sToUpper("abc"), "ABC");
}

TEST(Threads, SeeTheirOwnTextsAndLeaveNothingBehindWhenTheyEnd) {
  char current[512];
  ztDm_getCurrentDir(current);
  const auto compare = [&current](int number, int count) {
    for (int i = 0; i < count; ++i) {
      compareTexts("thread " + std::to_string(number) + " round " + std::to_string(i), current);
    }
  };
  together([&](int number, Meeting &) { compare(number, rounds(500)); });
  const int before = liveBlocks;
  for (int i = 0; i < rounds(20); ++i) together([&](int number, Meeting &) { compare(number, 1); });
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
