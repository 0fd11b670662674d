// What properties and trees do over the life of a process, in host programs.
#include "tests/helpers/host_process.hh"
#include "tests/helpers/scale.hh"

#include <gtest/gtest.h>

TEST(PropertiesInAProcess, StaticOnesComeInOrderWhateverClassIsUsedFirst) {
  for (const char *order :
       casesOf({"LMT", "LTM", "MLT", "MTL", "TLM", "TML", "L", "M", "T", "LM", "ML", "LT", "TL", "MT", "TM"},
               4)) {
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

TEST(SafeHandsInAProcess, AnswerAndLogEachSlipOnce) {
  HostProcess host;
  EXPECT_EQ(host.run("safe_hands", {"all"}), 0) << host.output();
  EXPECT_EQ(host.output(), loading + banner +
                               "ztObject_setInt - Error, class 'Meter' has no property 'levl'\n"
                               "ztObject_setFloat - Error, property 'level' of class 'Meter' is a 'ztInt'\n"
                               "ztObject::connect - Warning, class 'Meter' declares no signal 'mesured'\n" +
                               ending);
}

TEST(SafeHandsInAProcess, KeepDeclarationsLikeStaticProperties) {
  HostProcess host;
  EXPECT_EQ(host.run("safe_hands", {"restart"}), 0) << host.output();
  const std::string output = host.output();
  for (const char *signal : {"before", "after", "again"}) {
    EXPECT_NE(output.find("declares no signal '" + std::string(signal) + "'\n"), std::string::npos) << signal;
  }
  EXPECT_EQ(output.find("'between'"), std::string::npos) << output;
}

TEST(SafeHandsInAProcess, DeclareTheFirstSignalWholeOrNot) {
  HostProcess host;
  EXPECT_EQ(host.run("safe_hands", {"exhausted"}), 0) << host.output();
}
