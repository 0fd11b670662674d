// What is left of the classes of a shared library when it is unloaded.
#include "tests/helpers/host_process.hh"
#include "tests/helpers/scale.hh"

#include <gtest/gtest.h>
#include <stdlib.h>

namespace {

const std::string ending = freeing + cleaning + cleaned;
const std::string pumpGoes = "instances go Pump\nclass goes Pump\n";

std::string notInstalled(const std::string &name) {
  return "ztOOP::ztNewFromName - Error, class '" + name + "' not installed\n";
}

// What a linked host that loads plugins prints behind the library's start.
std::string pluginRun(const char *scenario, int rounds = 0) {
  HostProcess host;
  const int status = host.run("loaded_plugins", {scenario, ZT_HOSTS_FOLDER, std::to_string(rounds)});
  const std::string output = host.output();
  EXPECT_EQ(status, 0) << output;
  const std::string start = loading + banner;
  EXPECT_EQ(output.substr(0, start.size()), start);
  return output.substr(std::min(start.size(), output.size()));
}

TEST(Plugin, TakesItsClassesWithItWhenItIsClosed) {
  EXPECT_EQ(pluginRun("used"), pumpGoes + notInstalled("Pump") + notInstalled("Valve") +
                                   notInstalled("FlowPropertyType") + ending);
}

TEST(Plugin, MayBeClosedUnused) {
  EXPECT_EQ(pluginRun("unused"), ending);
}

TEST(Plugin, LeavesTheClassesOfOthersWhenItIsClosed) {
  EXPECT_EQ(pluginRun("one-of-two"),
            "instances go Turbine\n" + notInstalled("Turbine") + notInstalled("Mixer") + pumpGoes + ending);
}

TEST(Plugin, LeavesTheClassThatAnotherOneRegisteredUnderTheSameName) {
  EXPECT_EQ(pluginRun("one-name"), notInstalled("Pump") + ending);
}

TEST(Plugin, StaysAsLongAsAClassOfAnotherOneDerivesFromItsOwn) {
  EXPECT_EQ(pluginRun("parent-first"),
            "instances go Turbine\n" + notInstalled("Turbine") + notInstalled("Pump") + ending);
}

TEST(Plugin, ClosedUnderAnObjectLeavesTheRegistryWhole) {
  EXPECT_EQ(pluginRun("object-alive"), pumpGoes + notInstalled("Pump") + ending);
}

TEST(Plugin, TakesItsPropertyTypesOutOfThePropertiesOfOthers) {
  EXPECT_EQ(pluginRun("type"),
            pumpGoes + freeing + cleaning + "instances go Meter\nclass goes Meter\n" + cleaned);
}

TEST(Plugin, LeftOpenGoesAtTheEndAheadOfTheProgramsOwnClasses) {
  EXPECT_EQ(pluginRun("open"),
            "end\n" + pumpGoes + freeing + cleaning + "instances go Meter\nclass goes Meter\n" + cleaned);
}

TEST(Plugin, MayBeClosedByAnExitHandler) {
  EXPECT_EQ(pluginRun("at-exit"), "closing\n" + pumpGoes + notInstalled("Pump") + ending);
}

TEST(Plugin, MayBeClosedAfterTheCleanUp) {
  EXPECT_EQ(pluginRun("after-clean-up"),
            cleaning + pumpGoes + cleaned + banner + pumpGoes + notInstalled("Pump") + ending);
}

TEST(Plugin, LeavesNothingInAThousandRounds) {
  EXPECT_NE(pluginRun("rounds", scale(1000)), "");
}

// A host that is not linked to the library -------------------------------------------------------

std::string unlinkedRun(const char *scenario, int rounds = 0) {
  HostProcess host;
  const std::string plugin = ZT_HOSTS_FOLDER "/libplugin_pump.so";
  const int status = host.run("dlopen_plugins", {scenario, ZT_LIBRARY, plugin, std::to_string(rounds)});
  EXPECT_EQ(status, 0) << (rounds == 0 ? host.output() : "");
  return host.output();
}

TEST(Plugin, GoesAheadOfTheLibraryThatWasClosedFirst) {
  EXPECT_EQ(unlinkedRun("library-first"), loading + banner + pumpGoes + ending + "closed\n");
}

TEST(Plugin, LeavesTheLibraryThatTheHostLoaded) {
  EXPECT_EQ(unlinkedRun("plugin-first"),
            loading + banner + pumpGoes + "plugin closed\n" + ending + "closed\n");
}

TEST(Plugin, LeftOpenGoesWithTheCleanUpOfALibraryThatItBrought) {
  EXPECT_EQ(unlinkedRun("open"), loading + banner + "end\n" + cleaning + pumpGoes + cleaned + freeing);
}

#ifndef __SANITIZE_ADDRESS__
// Lets the allocator of the programs that are started keep no freed blocks aside, which it counts as
// allocated.
class WithoutCache {
 public:
  WithoutCache() {
    setenv("GLIBC_TUNABLES", "glibc.malloc.tcache_count=0", 1);
  }
  ~WithoutCache() {
    unsetenv("GLIBC_TUNABLES");
  }
};

TEST(Plugin, ThatBringsTheLibraryLeavesNothingInAThousandRounds) {
  const WithoutCache withoutCache;
  unlinkedRun("plugin-rounds", scale(1000));
}

TEST(DlopenHost, LeavesNothingInAThousandRoundsOfTheLibrary) {
  const WithoutCache withoutCache;
  unlinkedRun("library-rounds", scale(1000));
}
#else
TEST(Plugin, ThatBringsTheLibraryMayBeLoadedAHundredTimes) {
  EXPECT_NE(unlinkedRun("plugin-rounds", 100), "");
}
#endif

}  // namespace
