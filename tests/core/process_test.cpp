#include "core/ztcore.h"

#include "tests/helpers/host_process.hh"
#include "tests/helpers/scale.hh"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <sstream>
#include <thread>

namespace {

using Texts = std::vector<std::string>;

// A linked host ---------------------------------------------------------------------------------

class LinkedHost : public testing::Test {
 protected:
  // Runs a host, and compares what it prints behind the library's start.
  void printsIn(const std::string &program, const Texts &arguments, const std::string &printed) {
    ASSERT_EQ(host.run(program, arguments), 0) << host.output();
    EXPECT_EQ(host.output(), loading + banner + printed);
  }
  // The same for a host whose log ends when the engine stops first.
  void runs(const std::string &program, const Texts &arguments, const std::string &printed,
            const std::string &logged = cleaning + cleaned) {
    printsIn(program, arguments, printed);
    EXPECT_EQ(host.log(), banner + logged);
  }

  HostProcess host;
};

const std::string plainRun = "host starts\n" + notInstalled("Nobody") + "host ends\n" + ending;

const std::string refusedCalls =
    "ztOOP_checkedTable - Error, a method of 'Bell' was called for a 'ztString'\n"
    "ztOOP_checkedTable - Error, a method of 'Bell' was called for a '(null)'\n"
    "ztOOP_checkedTable - Error, a method of 'ztString' was called for a 'Bell'\n"
    "ztOOP_checkedTable - Error, a method of 'ztObject' was called for a 'Bell'\n"
    "ztOOP_cast - Error, the object is a 'Bell', not a 'ztString'\n";

TEST_F(LinkedHost, HasItsCallsChecked) {
  runs("checked", {}, refusedCalls + ending, refusedCalls + ending);
}

TEST_F(LinkedHost, LoadsUsesAndEnds) {
  writeContents(host.folder.path("zentova.log"), std::string(10000, 'x'));  // of an earlier run
  runs("plain", {}, plainRun, notInstalled("Nobody") + ending);
  const std::string stored = contentsOf(host.folder.path("station.bin"));
  ASSERT_EQ(stored.size(), 112U);
  EXPECT_EQ(stored.substr(0, 104), "Station" + std::string(93, '\0') + std::string("\1\0\0\0", 4));
}

TEST_F(LinkedHost, RunsWithoutALogFileWhereAFolderOrAPipeHasItsName) {
  const std::string log = host.folder.path("zentova.log");
  ASSERT_TRUE(std::filesystem::create_directory(log));
  printsIn("plain", {}, plainRun);
  EXPECT_TRUE(std::filesystem::remove(log)) << "it is empty";
  ASSERT_EQ(mkfifo(log.c_str(), 0600), 0);
  printsIn("plain", {}, plainRun);
}

TEST_F(LinkedHost, GetsTheMemoryFunctionsOfAPreloadedLibrary) {
  setenv("LD_PRELOAD", ZT_HOSTS_FOLDER "/libplugin_memory.so", 1);
  EXPECT_EQ(host.run("memory", {"growing-array"}), 0);
  unsetenv("LD_PRELOAD");
  EXPECT_NE(host.output().find("replaced: alloc realloc free\n"), std::string::npos) << host.output();
}

// What a program that is not position-independent calls the address of a function.

TEST_F(LinkedHost, FindsItsAddressesOfFunctionsInTheTablesOfClassesAndInTheRegistry) {
  EXPECT_EQ(host.run("fixed_addresses", {"tables"}), 0) << host.output();
}

TEST_F(LinkedHost, FindsItsAddressesOfFunctionsInObjects) {
  EXPECT_EQ(host.run("fixed_addresses", {"objects"}), 0) << host.output();
}

TEST_F(LinkedHost, FindsItsAddressesOfFunctionsInMethodTables) {
  EXPECT_EQ(host.run("fixed_addresses", {"methods"}), 0) << host.output();
}

TEST_F(LinkedHost, ComparesAnObjectsCompareFunctionWithItsAddressOfIt) {
  EXPECT_EQ(host.run("fixed_addresses", {"compare"}), 0) << host.output();
}

TEST_F(LinkedHost, MayStopTheEngineEarlyAndTwice) {
  runs("lifecycle", {"early"}, cleaning + cleaned + notInstalled("ztFile") + "still talking\n" + freeing);
}

TEST_F(LinkedHost, MayStartTheEngineAgain) {
  runs("lifecycle", {"again"}, cleaning + cleaned + banner + "host talks\n" + ending);
  EXPECT_EQ(contentsOf(host.folder.path("second.log")), banner + "host talks\n" + ending);
  EXPECT_FALSE(std::filesystem::exists(host.folder.path("third.log")));
}

TEST_F(LinkedHost, StartingARunningEngineDoesNothing) {
  runs("lifecycle", {"init-twice"}, ending, ending);
  EXPECT_FALSE(std::filesystem::exists(host.folder.path("other.log")));
}

TEST_F(LinkedHost, MayRegisterAClassWhileTheEngineIsStopped) {
  runs("lifecycle", {"stopped"}, cleaning + cleaned + freeing);
}

TEST_F(LinkedHost, MayEndTheLibraryInAHookWhileTheEngineIsStopped) {
  runs("lifecycle", {"end-in-hook"}, cleaning + cleaned + freeing + "still here\n" + freeing);
}

TEST_F(LinkedHost, GoesOnAfterTheLibrarysClassesWereFreed) {
  const std::string text = notInstalled("ztBaseClass") + "logged after\n" + ending;
  runs("lifecycle", {"free"}, text, text);
}

TEST_F(LinkedHost, EndsInSilenceAsAChildOfFork) {
  runs("forked", {"exit"}, ending, ending);
}

TEST_F(LinkedHost, LogsToItsParentsFileAsAChildOfFork) {
  ASSERT_EQ(host.run("forked", {"talk"}), 0) << host.output();
  EXPECT_EQ(host.log(), banner + "the child talks\nthe parent talks\n" + ending);
}

TEST_F(LinkedHost, LogsTheEndOfAnEngineThatAChildOfForkStarted) {
  ASSERT_EQ(host.run("forked", {"restart"}), 0) << host.output();
  EXPECT_EQ(contentsOf(host.folder.path("child.log")), banner + cleaning + cleaned);
  EXPECT_EQ(host.log(), banner + ending);
}

TEST_F(LinkedHost, LogsWholeTextsThoughItsWritesAreInterrupted) {
  ASSERT_EQ(host.run("interrupted"), 0) << host.output();
  EXPECT_EQ(host.log(), banner + cleaning + cleaned);
  EXPECT_EQ(contentsOf(host.folder.path("second.log")), banner + "a text of several writes\n" + ending);
}

// The hooks of classes that are registered again, the log's name in the message buffer, the first identifier of
// a process: the host checks them itself.
TEST_F(LinkedHost, KeepsWhatOnlyAProcessOfItsOwnCanSee) {
  for (const char *scenario : {"hooks-again", "log-name", "first-id"}) {
    EXPECT_EQ(host.run("lifecycle", {scenario}), 0) << scenario << ": " << host.output();
  }
}

// In the order in which they are registered and freed.
constexpr const char *libraryClasses =
    "ztHashTableItem ztAvlIterator ztObject ztCharPropertyType ztCharPtrPropertyType ztIntPropertyType "
    "ztBoolPropertyType ztFloatPropertyType ztVoidPtrPropertyType ztStringPropertyType ztIntTag ztMap "
    "ztString ztStringArray ztMapIterator ztPtrStack ztTagAttribute ztPtrArray ztCharArray ztIntArray "
    "ztFloatArray ztRoot ztRootPtrList ztSequenceContainer ztBaseClass ztPtrList ztIntList ztStringList "
    "ztBaseView ztSignal ztSignalMap ztContainerItem ztHashTable ztBaseModel ztProperty "
    "ztPropertyTypeMap ztPropertyMap ztPropertyPtrArray ztStdAllocator ztFloatTag ztDeque ztContainer "
    "ztMapItem ztAssociativeContainer ztListItem ztTextFile ztPropertyType ztList ztStack ztFile "
    "ztAvlTreeItem ztSlot ztSlotMap ztArray ztQueue ztLink ztLinkArray ztIterator ztPtrQueue ztTag "
    "ztAvlTree ztAllocator";

// The words of a text that name classes of the library.
Texts classNamesIn(const std::string &text) {
  std::istringstream words(text);
  Texts names;
  for (std::string word; words >> word;) {
    if (word.rfind("zt", 0) == 0 && word != "ztcore") names.push_back(word);
  }
  return names;
}

TEST_F(LinkedHost, FreesTheLibrarysClassesInTheirOrder) {
  ASSERT_EQ(host.run("lifecycle", {"free-order"}), 0) << host.output();
  // The list knows the property types by other names, and the string by one of these.
  Texts expected;
  for (const std::string &name : classNamesIn(libraryClasses)) {
    if (name == "ztStringPropertyType") expected.push_back("ztString");
    const bool isPropertyType = name.ends_with("PropertyType") && name != "ztPropertyType";
    if (!isPropertyType && name != "ztString") expected.push_back(name);
  }
  EXPECT_EQ(expected.size(), 55U);
  EXPECT_EQ(classNamesIn(host.output()), expected);
}

// A host that loads the library itself ----------------------------------------------------------

class DlopenHost : public testing::Test {
 protected:
  // Runs the host, and compares what it prints and logs.
  void runs(const char *scenario, const std::string &printed, const std::string &logged) {
    ASSERT_EQ(host.run("dlopen_by_number", {ZT_LIBRARY, scenario}), 0) << host.output();
    EXPECT_EQ(host.output(), printed);
    EXPECT_EQ(host.log(), banner + logged);
  }

  HostProcess host;
  const std::string closed = loading + banner + ending + "host closed the library\n";
};

TEST_F(DlopenHost, UsesTheLibraryByNumbersAndExits) {
  runs("exit", loading + banner + "host ends\n" + cleaning + cleaned + freeing, cleaning + cleaned);
  EXPECT_EQ(contentsOf(host.folder.path("numbers.bin")),
            "ztFile" + std::string(94, '\0') + std::string("\1\0\0\0", 4));
}

TEST_F(DlopenHost, UnloadsTheLibrary) {
  runs("close", closed + "host ends\n", ending);
}

TEST_F(DlopenHost, LoadsTheLibraryAgain) {
  runs("reload", closed + closed + "host ends\n", ending);
}

// Log texts --------------------------------------------------------------------------------------

TEST(LogTexts, ArePrintedAsFormatsOfZerosAndStoredUnchanged) {
  std::vector<std::pair<const char *, std::string>> texts = {
      {"end %", "end "},
      {"%%", "%"},
      {"100%d", "1000"},
      {"%d%d%d", "000"},
      {"%i|%u|%o|%x|%X", "0|0|0|0|0"},
      {"%5d|%-5d|%05d|%+d|% d|%.3d", "    0|0    |00000|+0| 0|000"},
      {"%hhd %hd %ld %lld %jd %zd %td %qd", "0 0 0 0 0 0 0 0"},
      {"%f|%.1e|%g|%Lf|%a", "0.000000|0.0e+00|0|0.000000|0x0p+0"},
      {"%s|%10s|%ls", "(null)|    (null)|(null)"},
      {"%p", "(nil)"},
      {"%c|", std::string("\0|", 2)},
      {"[%n]", "[]"},
      {"[%hn%lln%1$n]", "[]"},
      {"%1$s", "(null)"},
      {"%2$d %1$d", "0 0"},
      {"%1$-5d|%1$05d|%1$+.2f|", "0    |00000|+0.00|"},
      {"%2$*1$d|%3$.*1$f|", "0|0|"},
      {"%b|%#B|%4b|", "0|0|   0|"},
      {"%*d", "0"},
      {"%.*f", "0"},
      {"%*.*s|", "|"},
      {"%5000d", std::string(511, ' ') + "0"},
      {"%99999999999999999999d", std::string(511, ' ') + "0"},
      {"%-+ #0'I-+ #0'I5d", "+0   "},
      {"%--5d|%+++d|", "0    |+0|"},
  };
  for (const char *text : {"", "%", "%-", "%5", "%.", "%l"}) texts.emplace_back(text, "");
  for (const char *text : {"plain", "%y!", "%5y!", "\xff%\xff"}) texts.emplace_back(text, text);
  Texts arguments;
  std::string printed = loading + banner;
  std::string stored = banner;
  for (const auto &[text, zeros] : texts) {
    arguments.push_back(text);
    printed += zeros + "\n";
    stored += std::string(text) + "\n";
  }
  HostProcess host;
  ASSERT_EQ(host.run("log_texts", arguments), 0);
  EXPECT_EQ(host.output(), printed + ending);
  EXPECT_EQ(host.log(), stored + ending);
}

// Whether the file has lines of one letter throughout, or of the library's own, and no others.
bool hasWholeLinesOnly(const std::string &log) {
  const std::string own = "\n" + banner + ending;
  std::istringstream lines(log);
  for (std::string line; std::getline(lines, line);) {
    const bool isText = line.size() == 400 && line == std::string(400, line[0]);
    if (!isText && own.find("\n" + line + "\n") == std::string::npos) return false;
  }
  return true;
}

TEST_F(LinkedHost, HasLogTextsThatNoOtherProcessWithTheSameFileSplits) {
  HostProcess other;
  std::filesystem::create_symlink(host.folder.path("zentova.log"), other.folder.path("zentova.log"));
  const auto linesOf = [](char letter) { return Texts(500, std::string(400, letter) + "\n"); };
  std::thread second([&] { EXPECT_EQ(other.run("log_texts", linesOf('b')), 0); });
  EXPECT_EQ(host.run("log_texts", linesOf('a')), 0);
  second.join();
  EXPECT_TRUE(hasWholeLinesOnly(host.log()));
  EXPECT_NE(host.log().find(cleaned), std::string::npos);
  EXPECT_GE(host.log().size(), 500U * 401U);  // the one that opened the file last wrote all behind that
}

// Host classes -----------------------------------------------------------------------------------

TEST(ClassChain, IsCompleteWhicheverClassIsUsedFirst) {
  for (const char *order : casesOf({"LMT", "LTM", "MLT", "MTL", "TLM", "TML"}, 3)) {
    for (const char *way : {"ctor", "newop", "place"}) {
      HostProcess host;
      EXPECT_EQ(host.run("chain", {order, way}), 0) << order << " " << way;
      EXPECT_EQ(host.output(), loading + banner + ending);
    }
  }
}

// Faults -----------------------------------------------------------------------------------------

// Lets each allocation of a class's first use fail in turn; returns how many there were.
int firstUsesWithAFault(const std::string &kind) {
  for (int n = 0; n < 1000; ++n) {
    HostProcess host;
    const int status = host.run("faults", {kind, std::to_string(n)});
    if (status == 2) return n;
    EXPECT_EQ(status, 0) << "allocation " << n << "\n" << host.output();
    if (status != 0) break;
  }
  return -1;
}

TEST(Faults, AtTheFirstObjectOfAClassLeaveItToTheNextToRegisterIt) {
  EXPECT_EQ(firstUsesWithAFault("plain"), 3);  // the object, the prototype, the entry
  EXPECT_GT(firstUsesWithAFault("object"), 3);
}

TEST(Faults, WhileLoadingLeaveALibraryThatRegistersTheRestLater) {
  const int step = 100 / scale(100);
  int status = 0;
  for (int n = 0; status == 0 && n < 10000; n += step) {
    setenv("ZT_TEST_FAILING_ALLOCATION", std::to_string(n).c_str(), 1);
    HostProcess host;
    status = host.run("faults", {"load"});
    EXPECT_TRUE(status == 0 || status == 2) << "allocation " << n << "\n" << host.output();
  }
  unsetenv("ZT_TEST_FAILING_ALLOCATION");
  EXPECT_EQ(status, 2);
}

// Hooks ------------------------------------------------------------------------------------------

// What a host with hooks prints once its three classes are registered: Oak, Elm and Ash.
std::string hookRun(const char *scenario, const char *end) {
  HostProcess host;
  const int status = host.run("hooks", {scenario, end});
  const std::string output = host.output();
  EXPECT_EQ(status, 0) << output;
  const std::string start = loading + banner + "registered Oak\nregistered Elm\nregistered Ash\n";
  EXPECT_EQ(output.substr(0, start.size()), start);
  return output.substr(start.size());
}

// What the hooks of classes print, one class after the other, each perhaps with a further line.
std::string told(const std::string &hook, const std::string &classNames, const std::string &further) {
  std::istringstream names(classNames);
  std::string all;
  for (std::string name; names >> name;) all.append(hook).append(name).append("\n").append(further);
  return all;
}

std::string instances(const std::string &names, const std::string &further = "") {
  return told("instances go ", names, further);
}

std::string classes(const std::string &names, const std::string &further = "") {
  return told("class goes ", names, further);
}

// What follows the hooks of a class Ash that is freed: which classes are registered then, and the hooks that run
// at the end.
std::string afterAsh(const std::string &registered, const std::string &atTheEnd) {
  return registered + "\nend\n" + freeing + cleaning + atTheEnd + cleaned;
}

std::string inCleanUp(const std::string &hooks) {
  return cleaning + hooks + cleaned + "end\n" + freeing;
}

std::string atExit(const std::string &hooks) {
  return "end\n" + freeing + cleaning + hooks + cleaned;
}

const std::string ashGoes = instances("Ash") + classes("Ash");
const std::string othersGo = instances("Elm Oak") + classes("Elm Oak");
const std::string oneByOne = instances("Elm") + classes("Elm") + instances("Oak") + classes("Oak");
// Every entry's instance hook runs before the first class hook, each from the newest class on.
const std::string allGo = instances("Ash Elm Oak") + classes("Ash Elm Oak");
const std::string ashAlone = "Ash 0 Elm 1 Oak 1";
const std::string allThree = "Ash 0 Elm 0 Oak 0";

TEST(ClassHooks, RunOncePerClassWhateverTheyFreeOrAskFor) {
  for (const char *scenario : {"tell", "free-self-late", "clean-up", "leave-at-once"}) {
    EXPECT_EQ(hookRun(scenario, "free"), ashGoes + afterAsh(ashAlone, othersGo)) << scenario;
  }
  for (const char *scenario : {"tell", "free-self-late", "free-others-late", "free-library", "clean-up"}) {
    EXPECT_EQ(hookRun(scenario, "clean-up"), inCleanUp(allGo)) << scenario;
  }
  EXPECT_EQ(hookRun("tell", "exit"), atExit(allGo));
}

TEST(ClassHooks, FindTheLibrarysClassesAtTheCleanUpButNotAtTheEndOfTheProcess) {
  const std::string after = classes("Ash Elm Oak");
  EXPECT_EQ(hookRun("look-around", "clean-up"), inCleanUp(instances("Ash Elm Oak", "  library 1\n") + after));
  EXPECT_EQ(hookRun("look-around", "exit"), atExit(instances("Ash Elm Oak", "  library 0\n") + after));
}

TEST(ClassHooks, FindTheClassThatIsBeingFreed) {
  const std::string known = "  known 1\n";
  EXPECT_EQ(hookRun("look-up", "free"),
            instances("Ash", known) + classes("Ash", known) +
                afterAsh(ashAlone, instances("Elm Oak", known) + classes("Elm Oak", "  known 0\n") +
                                       notInstalled("Oak")));
}

TEST(ClassHooks, MayFreeTheirOwnClassFromTheInstanceHook) {
  EXPECT_EQ(hookRun("free-self", "free"), ashGoes + afterAsh(ashAlone, oneByOne));
  EXPECT_EQ(hookRun("free-self", "clean-up"), inCleanUp(ashGoes + oneByOne));
}

TEST(ClassHooks, MayFreeOtherClasses) {
  const std::string within = instances("Ash") + oneByOne + classes("Ash");
  EXPECT_EQ(hookRun("free-others", "free"), within + afterAsh(allThree, ""));
  EXPECT_EQ(hookRun("free-others", "clean-up"), inCleanUp(within));
  EXPECT_EQ(hookRun("free-others-late", "free"), ashGoes + oneByOne + afterAsh(allThree, ""));
}

TEST(ClassHooks, MayRegisterAClass) {
  const std::string fir = "registered Fir\n";
  EXPECT_EQ(hookRun("register", "free"),
            instances("Ash") + fir + classes("Ash") +
                afterAsh(ashAlone, instances("Fir Elm Oak") + classes("Fir Elm Oak")));
  EXPECT_EQ(hookRun("register", "clean-up"),
            inCleanUp(instances("Ash") + fir + instances("Fir Elm Oak") + classes("Fir Ash Elm Oak")));
  EXPECT_EQ(hookRun("register-late", "clean-up"), inCleanUp(instances("Ash Elm Oak") + classes("Ash") + fir +
                                                            instances("Fir") + classes("Fir Elm Oak")));
}

TEST(ClassHooks, MayStopTheEngineWhileTheirClassIsRegistered) {
  EXPECT_EQ(hookRun("clean-up-at-once", "free"), cleaning + allGo + cleaned + allThree + "\nend\n" + freeing);
}

// Leak reports -----------------------------------------------------------------------------------

// Replaces the addresses that the host told, which differ from run to run, by '@'.
std::string withoutAddresses(std::string text) {
  static const std::string told = "address ";
  for (size_t at = text.find(told); at != std::string::npos; at = text.find(told)) {
    const size_t end = text.find('\n', at);
    const std::string address = text.substr(at + told.size(), end - at - told.size());
    text.erase(at, end - at + 1);
    for (const char *frame : {"0x%,", " % :"}) {
      std::string wanted = frame;
      const size_t place = wanted.find('%');
      wanted.replace(place, 1, address);
      for (size_t i = text.find(wanted); i != std::string::npos; i = text.find(wanted)) {
        text.replace(i + place, address.size(), "@");
      }
    }
  }
  return text;
}

std::string memoryRun(const char *program, const Texts &arguments) {
  HostProcess host;
  EXPECT_EQ(host.run(program, arguments), 0) << host.output();
  const std::string output = withoutAddresses(host.output());
  const std::string start = loading + banner;
  EXPECT_EQ(output.substr(0, start.size()), start);
  return output.substr(start.size());
}

// A report that tells of unfreed blocks, or of none: the sums and the calls.
std::string report(const std::string &unfreed, const std::string &sums, const std::string &calls) {
  const std::string found =
      unfreed.empty() ? " - All memory blocks freed\n" : " * FOUND MEMORY LEAK!: *\n\n" + unfreed;
  return "\n# MEMORY LOG\n\n" + found + "\n - Total Memory Unfreed: " + sums +
         "\n\n - Alloc calls: " + calls + "\n\n# END MEMORY LOG\n";
}

std::string block(const std::string &place, const std::string &kind) {
  return " @ Unfreed block: " + place + ",\tAddress 0x@, " + kind + "\n";
}

TEST_F(LinkedHost, ReportsNoLeakWhenItTrackedNothing) {
  const std::string nothing = report("", "0 bytes, blocks: 0", "0, free calls: 0");
  runs("memory", {"nothing"}, nothing + ending, nothing.substr(0, nothing.size() - 1) + ending);
}

TEST(LeakReport, NamesTheUnfreedBlock) {
  const std::string told =
      report(block("b.c:\tLine 22", "size:20, type: Second"), "20 bytes, blocks: 1", "2, free calls: 1");
  EXPECT_EQ(memoryRun("memory", {"one-of-two"}), told + told + ending);
}

TEST(LeakReport, GoesFromTheNewestBlockToTheOldest) {
  EXPECT_EQ(memoryRun("memory", {"newest-first"}), report(block("x.c:\tLine 2", "size:300, type: Block") +
                                                              block("x.c:\tLine 1", "size:200, type: Block") +
                                                              block("x.c:\tLine 0", "size:100, type: Block"),
                                                          "600 bytes, blocks: 3", "3, free calls: 0") +
                                                       ending);
}

TEST(LeakReport, CountsTheReleaseOfAnUntrackedBlock) {
  EXPECT_EQ(memoryRun("memory", {"untracked"}),
            "WARNING: Trying to remove an invalid block: @ : some(null)file.c, 77\n" +
                report("", "0 bytes, blocks: 0", "0, free calls: 1") + ending);
}

TEST(LeakReport, NamesFileAndLineOfAHostBuiltWithTracking) {
  const std::string output = memoryRun("tracked_leak", {});
  // The compiler may have named the folder of the project, too.
  const std::string before = "Unfreed block: ";
  const size_t from = output.find(before) + before.size();
  const size_t folder = output.find("tests/hosts/") - from;
  EXPECT_EQ(std::string(output).erase(from, folder),
            report(block("tests/hosts/tracked_leak.c:\tLine 20", "size:16, type: Point"),
                   "16 bytes, blocks: 1", "3, free calls: 2") +
                ending);
}

}  // namespace
