// The engine's start, its registry, its log and the static properties of classes while calls fail.
#include "tests/faults/injection.hh"

#include "tests/helpers/scale.hh"
#include "tests/helpers/temp_folder.hh"
#include "zentova.h"

#include <gtest/gtest.h>

#include <string.h>

#include <algorithm>

// A class with static properties of its own, and one that inherits them.
#define Place_FIELDS ztObject_FIELDS
#define Place_METHODS ztObject_METHODS
ZT_DECLARE_CLASS(Place)
#define Station_FIELDS Place_FIELDS
#define Station_METHODS Place_METHODS
ZT_DECLARE_CLASS(Station)

static int32_t declareInt(ztClass *klass, const char *name) {
  const ztObjectMethods *methods = static_cast<const ztObjectMethods *>(klass->methodTable);
  return methods->addProperty(klass, name, "ztInt", ztGetter{nullptr}, ztSetter{nullptr}, nullptr, "signal");
}

static int32_t placeInitProperties(ztClass *klass) {
  declareInt(klass, "latitude");
  return declareInt(klass, "longitude");
}

static void placeMethods(PlaceMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, initProperties, placeInitProperties);
}

static int32_t stationInitProperties(ztClass *klass) {
  return declareInt(klass, "height");
}

static void stationMethods(StationMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, initProperties, stationInitProperties);
}

ZT_DEFINE_CLASS(Place, ztObject, placeMethods)
ZT_DEFINE_CLASS(Station, Place, stationMethods)

namespace {

// The names of an object's static properties, each with its index; empty when they cannot be listed.
std::string staticPropertiesOf(const void *object) {
  Held listed(ztPropertyPtrArray_ctor(nullptr, 1));
  if (listed == nullptr || !ztObject_of(object)->getStaticProperties(object, listed)) return "";
  std::string names;
  for (int32_t i = 0; i < ztPropertyPtrArray_of(listed)->getSize(listed); ++i) {
    names += nameAndIndexOf(ztPropertyPtrArray_of(listed)->getAt(listed, i)) + " ";
  }
  return names;
}

const char *const stationProperties = "refCount0 latitude1 longitude2 height3 ";

std::vector<std::string> registeredNames() {
  std::vector<std::string> names;
  for (const ztClassEntry *entry = ztOOP_classList(); entry != nullptr; entry = entry->next) {
    names.push_back(entry->name);
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace

// Static properties ---------------------------------------------------------------------------------

TEST(StaticPropertiesThatMemoryLacksFor, AreDeclaredAtTheNextUse) {
  Held object(Station_ctor(nullptr, 1));
  EXPECT_EQ(staticPropertiesOf(object), stationProperties);
  int struck = 0;
  for (const bool andAllFollowing : {false, true}) {
    for (int n = 0; !HasFailure(); ++n) {
      for (ztClass *klass : {StationClass_Instance(), PlaceClass_Instance(), ztObjectClass_Instance()}) {
        Station_table()->classInstanceDestroy(klass);
      }
      const Fault fault(n, andAllFollowing);
      Station_table()->classInstanceCreate(StationClass_Instance());
      if (!fault.end()) break;
      ++struck;
      EXPECT_EQ(staticPropertiesOf(object), stationProperties) << "with allocation " << n << " refused";
      Held parent(Place_ctor(nullptr, 1));
      EXPECT_EQ(staticPropertiesOf(parent), "refCount0 latitude1 longitude2 ");
    }
  }
  EXPECT_GT(struck, 100);
}

TEST(StaticPropertiesThatMemoryLacksFor, AreNeitherListedShortNorShadowed) {
  Held object(Station_ctor(nullptr, 1));
  Held listed(ztPropertyPtrArray_ctor(nullptr, 1));
  Station_table()->classInstanceDestroy(StationClass_Instance());
  const int32_t height = 7;
  const auto initial = reinterpret_cast<ztWord>(&height);
  {
    const Fault fault(0, true);
    EXPECT_EQ(ztObject_of(object)->getProperties(object, listed), 0);
    EXPECT_EQ(ztObject_of(object)->getStaticProperties(object, listed), 0);
    EXPECT_EQ(ztObject_of(object)->setProperty(object, "height", "ztInt", initial), 0);
    EXPECT_EQ(ztObject_of(object)->getProperty(object, "height", "ztInt", nullptr), 0);
  }
  EXPECT_EQ(staticPropertiesOf(object), stationProperties);
  EXPECT_EQ(ztObject_of(object)->getDynamicProperties(object, listed), 1);
  EXPECT_EQ(ztPropertyPtrArray_of(listed)->getSize(listed), 0);
}

TEST(StaticPropertiesThatMemoryLacksFor, AreLeftUntouchedByLaterOnes) {
  Held object(Station_ctor(nullptr, 1));
  const std::string before = staticPropertiesOf(object);
  {
    const Fault fault(0, true);
    EXPECT_EQ(declareInt(StationClass_Instance(), "depth"), 0);
  }
  EXPECT_EQ(staticPropertiesOf(object), before);
  EXPECT_EQ(declareInt(StationClass_Instance(), "depth"), 1);
  EXPECT_EQ(staticPropertiesOf(object), before + "depth4 ");
  Station_table()->classInstanceCreate(StationClass_Instance());
}

// The registry --------------------------------------------------------------------------------------

TEST(FaultsInTheRegistry, LeaveAClassToBeRegisteredAgain) {
  constexpr int hosts = 140;
  EXPECT_GT(strikeEach(memory,
                       [](Trial &trial) {
                         for (int i = 0; i < hosts; ++i) {
                           const std::string name = "Host" + std::to_string(i);
                           void *prototype = trial.need([] { return ztString_ctor(nullptr, 0); });
                           trial.need([&] {
                             return ztAddNewClass(prototype, name.c_str(), ztString_ctor, nullptr);
                           });
                         }
                         releaseIfMade(trial.makeByName("Host77"));
                         int found = 0;
                         for (int i = 0; i < hosts; ++i) {
                           const std::string name = "Host" + std::to_string(i);
                           found += ztOOP_isClassRegistered(name.c_str());
                           ztFreeClass(name.c_str());
                         }
                         return std::to_string(found);
                       }),
            scale(2 * hosts));
}

// Each run starts the engine anew; what was not registered for a fault's sake is registered afterwards.
TEST(FaultsAtTheStart, LeaveAnEngineThatWorks) {
  const std::vector<std::string> names = [] {
    std::vector<std::string> all = registeredNames();
    std::erase_if(all, [](const std::string &name) { return name.compare(0, 2, "zt") != 0; });
    return all;
  }();
  ASSERT_EQ(names.size(), 62U);
  const TempFolder folder;
  const std::string base = folder.path("engine");
  const auto start = [&](Trial &trial) {
    ztOOP_CleanUp();
    EXPECT_EQ(ztOOP_Init(base.c_str()), 1);
    ztcoreClassInit();
    Held early(ztRoot_ctor(nullptr, 1));
    trial.need([&] {
      ztcoreClassInit();
      return registeredNames() == names;
    });
    trial.need([&] { return ztLc_openLogFile((base + ".log").c_str()); });
    std::string all;
    // A class that lost its properties makes them again when they are asked for.
    for (const std::string &name : names) {
      if (!ztOOP_isClassOfClass(ztOOP_findClass(name.c_str()), "ztObject")) continue;
      Held object(trial.makeByName(name.c_str()));
      std::string properties;
      trial.need([&] { return !(properties = staticPropertiesOf(object)).empty(); });
      all += properties;
    }
    ztLc_closeLogFile();
    return all;
  };
  for (const Kind &kind : {memory, fileKinds()[0]}) EXPECT_GT(strikeEach(kind, start), 0) << kind;
}

// The log -------------------------------------------------------------------------------------------

TEST(FaultsOfTheLog, CostTheTextThatTheyStrikeOnly) {
  int struck = 0;
  for (const Kind &kind : fileKinds()) {
    struck += strikeEach(kind, [](Trial &trial) {
      ztLc_closeLogFile();
      const MemoryFile log;
      trial.need([&] { return ztLc_openLogFile(log.path()); });
      ztLc_log("early\n");
      ztLc_log("a text that is longer than the small buffer of a stream\n");
      trial.endFault();
      ztLc_log("late\n");
      ztLc_closeLogFile();
      const std::string bytes = log.bytes();
      return bytes.substr(bytes.size() < 5 ? 0 : bytes.size() - 5);
    });
  }
  // The file is opened once and written three times.
  EXPECT_GE(struck, 4);
}
