// What ZENTOVA_TRACK tells: hosts are run with it.
#include "objects/ztreport.h"

#include "tests/helpers/host_process.hh"

#include <gtest/gtest.h>

#include <stdlib.h>
#include <string.h>

#include <regex>

namespace {

class Report : public testing::Test {
 protected:
  Report() {
    host.keepsErrors = true;
  }
  ~Report() override {
    unsetenv("ZENTOVA_TRACK");
  }

  void run(const std::string &wanted, const std::string &scenario, const std::string &program = "reported") {
    setenv("ZENTOVA_TRACK", wanted.c_str(), 1);
    EXPECT_EQ(host.run(program, {scenario}), 0) << host.output() << host.errors();
  }

  // Without what depends on the compiler: distances in functions, and sizes.
  static std::string plain(const std::string &text) {
    const std::string named = std::regex_replace(text, std::regex("\\+0x[0-9a-f]+"), "");
    const std::string sized = std::regex_replace(named, std::regex("[0-9]+ bytes"), "N bytes");
    return std::regex_replace(sized, std::regex("( +[0-9]+) +[0-9]+  "), "$1  ");
  }
  // The same without the numbers of objects.
  static std::string unnumbered(const std::string &text) {
    return std::regex_replace(plain(text), std::regex("#[0-9]+"), "#");
  }
  // Without its first line, which names the process.
  std::string report(const std::string &name = "report.txt") const {
    const std::string text = contentsOf(host.folder.path(name));
    EXPECT_EQ(text.substr(0, 28), "Zentova report 1 of process ");
    return plain(text.substr(text.find('\n') + 1));
  }

  // What is printed where nothing is left at the end.
  void expectPrinted(const std::string &lines) {
    EXPECT_EQ(unnumbered(host.errors()), lines + "zentova: objects left at the end: 0\n");
  }

  HostProcess host;
};

const std::string heading = "   count      bytes  class                    made by\n";

TEST_F(Report, TellsWhatLivesAndWhoMadeItAndWhatHoldsIt) {
  run("1", "plant");
  const std::string made =
      ", made by reportPlant (host_reported) < runScenario (host_reported) < main (host_reported)\n";
  const std::string madeGauge =
      ", made by makeGauge (host_reported) < reportPlant (host_reported) < runScenario (host_reported)\n";
  const std::string text = report();
  const std::string objects = text.substr(text.find("\nObjects\n"));
  EXPECT_EQ(unnumbered(objects),
            "\nObjects\n"
            "# ztRoot \"plant \\\"A\\\"\\x0a\"\n"
            "    count 1, N bytes" +
                made +
                "    held by # Gauge \"first\" in parent\n"
                "    held by # Gauge \"second\" in parent\n"
                "# Gauge \"first\"\n"
                "    count 2, N bytes" +
                madeGauge +
                "    held by # ztRoot \"plant \\\"A\\\"\\x0a\" in children\n"
                "    held by # ztObject in signals\n"
                "    held by # ztPtrArray in data\n"
                "    signal \"levelChanged\" calls onLevel of # ztObject\n"
                "# Gauge \"second\"\n"
                "    count 2, N bytes" +
                madeGauge +
                "    held by # ztRoot \"plant \\\"A\\\"\\x0a\" in children\n"
                "# ztObject\n"
                "    count 1, N bytes" +
                made +
                "    held by # Gauge \"first\" in signals\n"
                "# ztPtrArray\n"
                "    count 1, N bytes" +
                made +
                "# ztMap\n"
                "    count 1, N bytes" +
                made +
                "# ztString\n"
                "    count 1, N bytes" +
                made + "    held by a block of N bytes" + made);
}

TEST_F(Report, CountsByClassAndCall) {
  run("1", "plant");
  const std::string text = report();
  EXPECT_EQ(
      text.substr(0, text.find("ztMap ")),
      "Live objects: 7\n" + heading +
          "       2  Gauge                    makeGauge (host_reported) < reportPlant (host_reported) < "
          "runScenario (host_reported)\n"
          "       1  ");
  EXPECT_EQ(report("later.txt").substr(0, 16), "Live objects: 1\n");
}

TEST_F(Report, PrintsWhatIsLeftAtTheEnd) {
  run("1", "plant");
  EXPECT_EQ(plain(host.errors()),
            "zentova: objects left at the end: 1\n" + heading +
                "       1  ztObject                 leaveObject (host_reported) < reportPlant "
                "(host_reported) < runScenario (host_reported)\n");
}

TEST_F(Report, NamesFunctionsOfProgramsAtFixedAddresses) {
  run("1", "plant", "fixed_reported");
  EXPECT_NE(host.errors().find(" leaveObject+0x"), std::string::npos) << host.errors();
}

TEST_F(Report, NamesFunctionsOfCppAsInTheSource) {
  run("1", "", "reported_names");
  EXPECT_NE(report().find("made by plant::makeGauge(int) (host_reported_names) < main (host_reported_names)"),
            std::string::npos)
      << report();
}

TEST_F(Report, GivesPlacesInProgramsWithoutNames) {
  run("1", "plant", "stripped_reported");
  EXPECT_NE(host.errors().find(" host_stripped_reported+0x"), std::string::npos) << host.errors();
  EXPECT_NE(report().find("\n    signal \"levelChanged\" calls host_stripped_reported of #"),
            std::string::npos);
}

TEST_F(Report, IsOffUnlessItIsAskedFor) {
  for (const std::string off : {"", "0"}) {
    run(off, "refusals");
    EXPECT_EQ(host.errors(), "");
    EXPECT_NE(host.log().find(
                  "ztOOP_report - Error, the file name is NULL\n"
                  "ztOOP_report - Error, objects are not tracked: start the program with ZENTOVA_TRACK=1\n"),
              std::string::npos)
        << host.log();
  }
}

TEST_F(Report, RefusesFilesThatCannotBeWritten) {
  run("1", "refusals");
  EXPECT_NE(host.log().find("ztOOP_report - Error, the file name is NULL\n"
                            "ztOOP_report - Error, the file 'missing/report.txt' is not written\n"),
            std::string::npos)
      << host.log();
  EXPECT_EQ(host.errors(), "zentova: objects left at the end: 0\n");
}

TEST_F(Report, NamesUnknownWords) {
  run("1,all,lives", "refusals");
  EXPECT_EQ(host.errors(),
            "zentova: ZENTOVA_TRACK knows no \"all\", but 1, lives, emissions\nzentova: objects left at the "
            "end: 0\n");
}

TEST_F(Report, TracesLivesWithoutTheParts) {
  run("lives", "lives");
  expectPrinted(
      "zentova: made # Gauge, by makeGauge (host_reported)\n"
      "zentova: made # ztString, by traceLives (host_reported)\n"
      "zentova: made # ztString, by traceLives (host_reported)\n"
      "zentova: made # ztObject, by traceLives (host_reported)\n"
      // What the library keeps of a first signal.
      "zentova: made # ztSlotMap, by traceLives (host_reported)\n"
      "zentova: ended # ztSlotMap\n"
      "zentova: ended # ztString\n"
      "zentova: ended # ztString\n"
      "zentova: ended # Gauge\n"
      "zentova: ended # ztObject\n");
}

TEST_F(Report, TracesEmissionsWithTheirSlots) {
  run("emissions", "lives");
  expectPrinted("zentova: # Gauge emits levelChanged to 1 slot\n");
}

TEST_F(Report, TracesAnObjectOnceBeforeAnEmission) {
  run("lives,emissions", "emitAtOnce", "traced");
  const std::string tick = "zentova: # ztObject emits tick to 1 slot\n";
  const std::string text = unnumbered(host.errors());
  EXPECT_EQ(text.substr(text.find(tick) + tick.size()),
            "zentova: made # ztBaseClass, by makePlain (host_traced)\n" + tick +
                "zentova: ended # ztBaseClass\n"
                "zentova: ended # ztObject\n"
                "zentova: ended # ztObject\n"
                "zentova: objects left at the end: 0\n");
}

TEST_F(Report, TracesObjectsThatAnotherThreadEnds) {
  run("lives", "endElsewhere", "traced");
  expectPrinted(
      "zentova: made # ztBaseClass, by makePlain (host_traced)\n"
      "zentova: ended # ztBaseClass\n");
}

TEST_F(Report, TracesTheLastObject) {
  run("lives", "leaveLast", "traced");
  EXPECT_EQ(unnumbered(host.errors())
                .find("zentova: made # ztBaseClass, by makePlain (host_traced)\n"
                      "zentova: objects left at the end: 1\n"),
            0U)
      << host.errors();
}

TEST_F(Report, TracesPastBlocksThatTheHostFreed) {
  run("lives", "past", "traced");
  expectPrinted(
      "zentova: made # ztBaseClass, by makePlain (host_traced)\n"
      "zentova: ended # ztBaseClass\n");
}

// A plugin's constructors run with the dynamic linker's lock held, and allocate.
TEST_F(Report, NamesCallsWhileAnotherThreadLoadsPlugins) {
  run("lives", "loading", "traced");
  const std::string text = unnumbered(host.errors());
  EXPECT_NE(text.find("made # Early, by makeObject (libplugin_early.so)\n"), std::string::npos);
  EXPECT_NE(text.find("made # ztBaseClass, by makePlain (host_traced)\n"), std::string::npos);
}

TEST_F(Report, TellsWhereOtherEmittersAre) {
  run("emissions", "other", "traced");
  expectPrinted(
      "zentova: ztObject in the block # emits tick to 1 slot\n"
      "zentova: ztObject in other memory emits tick to 1 slot\n");
}

TEST_F(Report, WritesIntoNoFileOfTheProgram) {
  // Valgrind needs standard error itself.
  const char *preloaded = getenv("LD_PRELOAD");
  if (preloaded != nullptr && strstr(preloaded, "vgpreload") != nullptr) GTEST_SKIP();
  run("lives", "closed", "traced");
  EXPECT_EQ(contentsOf(host.folder.path("data.txt")), "");
  EXPECT_EQ(host.log().find("zentova: "), std::string::npos) << host.log();
}

TEST_F(Report, TakesBlocksThatAreFreedPastTheLibrary) {
  run("1", "past");
  EXPECT_EQ(report().find("Live objects: "), 0U);
  EXPECT_NE(host.errors().find("zentova: objects left at the end: "), std::string::npos);
}

TEST_F(Report, IsWholeWhateverItsLength) {
  run("1", "many");
  const std::string text = report();
  int32_t count = 0;
  for (size_t at = text.find("\n#"); at != std::string::npos; at = text.find("\n#", at + 1)) {
    const std::string line = text.substr(at + 1, text.find('\n', at + 1) - at - 1);
    EXPECT_TRUE(std::regex_match(line, std::regex("#[0-9]+ ztRoot \"ztRoot_[0-9]+\""))) << line;
    ++count;
  }
  EXPECT_EQ(count, 301);
  EXPECT_NE(text.find("\n    and 292 more\n"), std::string::npos);
}

TEST_F(Report, NamesManyPlaces) {
  run("1", "places");
  const std::string text = report();
  const std::string objects = text.substr(text.find("\nObjects\n"));
  for (const char *series : {"inA", "inB", "inC", "inD"}) {
    for (int i = 0; i < 6; ++i) {
      const std::string call = series + std::to_string(i) + " (host_reported) < reportPlaces";
      EXPECT_NE(text.find("       1  ztObject                 " + call), std::string::npos) << call;
      EXPECT_NE(objects.find("\n    count 1, N bytes, made by " + call), std::string::npos) << call;
    }
  }
}

TEST_F(Report, LeavesTheOldFileWhereTheDiskIsFull) {
  run("1", "full");
  EXPECT_EQ(report(), "Live objects: 0\n\nObjects\n");
}

TEST_F(Report, ListsTheObjectsInsideArrays) {
  run("1", "values");
  const std::string text = report();
  EXPECT_EQ(text.substr(0, 17), "Live objects: 21\n");
  EXPECT_NE(text.find(".19 ztObject\n    count 1, made by newArrayOf (host_reported) < holdByValue "),
            std::string::npos)
      << text;
}

TEST_F(Report, TellsWhatHoldsEachObjectOfABlock) {
  run("1", "nodes");
  const std::string text = report();
  const std::string called = "holdNodesByValue (host_reported) < runScenario (host_reported)";
  const std::string made = "newArrayOf (host_reported) < " + called + "\n";
  const std::string objects = unnumbered(
      std::regex_replace(text.substr(text.find("\nObjects\n")), std::regex("ztRoot_[0-9]+"), "child"));
  const std::string node = " ztRoot \"element\"\n    count 1, ";
  const std::string array = "    held by # ztArray in data\n";
  const auto child = [](const std::string &place) {
    return "    held by #" + place + " ztRoot \"element\" in children\n";
  };
  const auto parent = [](const char *name) {
    return std::string("    held by # ztRoot \"") + name + "\" in parent\n";
  };
  EXPECT_NE(objects.find("#" + node + "N bytes, made by " + made + array + parent("child") + "#.1" + node +
                         "made by " + made + array + "    held by # ztPtrArray in data\n" + parent("child") +
                         "#.2" + node + "made by " + made + array + "    held by # ztPtrArray in data\n" +
                         "    held by # ztPtrList in head\n" + parent("child") + "#"),
            std::string::npos)
      << objects;
  for (const std::string place : {"", ".1", ".2"}) {
    EXPECT_NE(objects.find(called + " < main (host_reported)\n" + child(place)), std::string::npos)
        << objects;
  }
}

TEST_F(Report, IsTakenWhileOtherThreadsGoOn) {
  run("1", "threads");
  EXPECT_EQ(host.errors(), "zentova: objects left at the end: 0\n");
  // Nothing of the other report is told.
  for (const char *name : {"report.txt", "other.txt"}) {
    EXPECT_EQ(report(name).find("held by a block"), std::string::npos) << report(name);
  }
}

TEST_F(Report, IsPrintedByTheProcessThatWasStarted) {
  run("1", "child");
  EXPECT_EQ(unnumbered(host.errors()).find("zentova: objects left at the end: 1\n"), 0U) << host.errors();
  EXPECT_EQ(host.errors().find("objects left", 20), std::string::npos);
}

// Sanitizers have memory functions of their own.
#ifndef __SANITIZE_ADDRESS__
TEST_F(Report, EndsWhereMemoryDoes) {
  run("1", "", "reported_short");
  EXPECT_EQ(host.errors().find("zentova: objects left at the end: 0\n"), 0U) << host.errors();
}
#endif

TEST_F(Report, NamesClassesWhoseCodeIsGone) {
  run("1", "plugin");
  EXPECT_NE(unnumbered(report()).find("\n# Gauge\n"), std::string::npos);
  EXPECT_NE(plain(host.errors()).find("       1  Gauge    "), std::string::npos) << host.errors();
}

}  // namespace
