// What is left of the classes of a shared library when it is unloaded.
#include "tests/helpers/host_process.hh"
#include "tests/helpers/scale.hh"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <ostream>

namespace {

const std::string pumpGoes = "instances go Pump\nclass goes Pump\n";
const std::string meterGoes = "instances go Meter\nclass goes Meter\n";

// What a linked host that loads plugins prints.
std::string linkedRun(const std::string &scenario, int rounds = 0) {
  HostProcess host;
  EXPECT_EQ(host.run("loaded_plugins", {scenario, ZT_HOSTS_FOLDER, std::to_string(rounds)}), 0)
      << host.output();
  return host.output();
}

// The same of a host that is not linked to the library.
std::string unlinkedRun(const std::string &scenario, int rounds = 0) {
  HostProcess host;
  const std::string plugin = ZT_HOSTS_FOLDER "/libplugin_pump.so";
  EXPECT_EQ(host.run("dlopen_plugins", {scenario, ZT_LIBRARY, plugin, std::to_string(rounds)}), 0)
      << (rounds == 0 ? host.output() : "");
  return host.output();
}

struct PluginRun {
  const char *behaviour;
  std::string (*run)(const std::string &scenario, int rounds);
  const char *scenario;
  std::string printed;  // behind the library's start
};

std::ostream &operator<<(std::ostream &out, const PluginRun &row) {
  return out << row.scenario;
}

class Plugin : public testing::TestWithParam<PluginRun> {};

TEST_P(Plugin, Goes) {
  EXPECT_EQ(GetParam().run(GetParam().scenario, 0), loading + banner + GetParam().printed);
}

INSTANTIATE_TEST_SUITE_P(
    , Plugin,
    testing::Values(
        PluginRun{"WithItsClassesWhenItIsClosed", linkedRun, "used",
                  pumpGoes + notInstalled("Pump") + notInstalled("Valve") + notInstalled("FlowPropertyType") +
                      ending},
        PluginRun{"Unused", linkedRun, "unused", ending},
        PluginRun{
            "WithoutTheClassesOfOthers", linkedRun, "one-of-two",
            "instances go Turbine\n" + notInstalled("Turbine") + notInstalled("Mixer") + pumpGoes + ending},
        PluginRun{"WithoutTheClassThatAnotherOneRegisteredUnderTheSameName", linkedRun, "one-name",
                  notInstalled("Pump") + ending},
        PluginRun{"NoSoonerThanTheOneWhoseClassDerivesFromItsOwn", linkedRun, "parent-first",
                  "instances go Turbine\n" + notInstalled("Turbine") + notInstalled("Pump") + ending},
        PluginRun{"UnderAnObjectAndLeavesTheRegistryWhole", linkedRun, "object-alive",
                  pumpGoes + notInstalled("Pump") + ending},
        PluginRun{"WithItsPropertyTypesInThePropertiesOfOthers", linkedRun, "type",
                  pumpGoes + freeing + cleaning + meterGoes + cleaned},
        PluginRun{"AheadOfTheProgramsOwnClassesWhenLeftOpen", linkedRun, "open",
                  "end\n" + pumpGoes + freeing + cleaning + meterGoes + cleaned},
        PluginRun{"ByAnExitHandler", linkedRun, "at-exit",
                  "closing\n" + pumpGoes + notInstalled("Pump") + ending},
        PluginRun{"AfterTheCleanUp", linkedRun, "after-clean-up",
                  cleaning + pumpGoes + cleaned + banner + pumpGoes + notInstalled("Pump") + ending},
        PluginRun{"AheadOfTheLibraryThatWasClosedFirst", unlinkedRun, "library-first",
                  pumpGoes + ending + "closed\n"},
        PluginRun{"BeforeTheLibraryThatTheHostLoaded", unlinkedRun, "plugin-first",
                  pumpGoes + "plugin closed\n" + ending + "closed\n"},
        PluginRun{"WithTheCleanUpOfALibraryThatItBrought", unlinkedRun, "open",
                  "end\n" + cleaning + pumpGoes + cleaned + freeing}),
    [](const auto &row) { return std::string(row.param.behaviour); });

TEST(PluginRounds, LeaveNothing) {
  EXPECT_NE(linkedRun("rounds", scale(1000)), "");
}

#ifndef __SANITIZE_ADDRESS__
// The allocator of the programs that are started must keep no freed blocks aside, which it counts as allocated.
TEST(PluginRounds, LeaveNothingOfTheLibraryEither) {
  setenv("GLIBC_TUNABLES", "glibc.malloc.tcache_count=0", 1);
  unlinkedRun("plugin-rounds", scale(400));
  unlinkedRun("library-rounds", scale(400));
  unsetenv("GLIBC_TUNABLES");
}
#else
TEST(PluginRounds, MayBringTheLibraryAHundredTimes) {
  EXPECT_NE(unlinkedRun("plugin-rounds", 100), "");
}
#endif

}  // namespace
