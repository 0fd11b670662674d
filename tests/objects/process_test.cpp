// What properties and trees do over the life of a process, in host programs.
#include "tests/helpers/host_process.hh"

#include <gtest/gtest.h>

TEST(PropertiesInAProcess, StaticOnesComeInOrderWhateverClassIsUsedFirst) {
  for (const char *order :
       {"L", "M", "T", "LM", "ML", "LT", "TL", "MT", "TM", "LMT", "LTM", "MLT", "MTL", "TLM", "TML"}) {
    HostProcess host;
    EXPECT_EQ(host.run("static_properties", {order}), 0) << order << host.output();
  }
}

TEST(PropertiesInAProcess, SurviveFreedClassesAndANewStart) {
  for (const char *end : {"stopped", "cleaned", "running", "type only"}) {
    HostProcess host;
    EXPECT_EQ(host.run("properties_restart", {end}), 0) << end << host.output();
  }
}

TEST(TreesInAProcess, AreCopiedAndLoadedOnASystemWithoutRandomBytes) {
  HostProcess host;
  EXPECT_EQ(host.run("without_randomness"), 0) << host.output();
}
