#include "core/ztcore.h"

#include "tests/helpers/host_process.hh"
#include "tests/helpers/scale.hh"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <set>
#include <sstream>
#include <thread>

namespace {

const std::string ending = freeing + cleaning + cleaned;

std::string notInstalled(const std::string &name) {
  return "ztOOP::ztNewFromName - Error, class '" + name + "' not installed\n";
}

// A linked host ---------------------------------------------------------------------------------

TEST(LinkedHost, LoadsUsesAndEnds) {
  HostProcess host;
  ASSERT_EQ(host.run("plain"), 0) << host.output();
  EXPECT_EQ(host.output(),
            loading + banner + "host starts\n" + notInstalled("Nobody") + "host ends\n" + ending);
  EXPECT_EQ(host.log(), banner + notInstalled("Nobody") + ending);
  const std::string stored = contentsOf(host.folder.path("station.bin"));
  ASSERT_EQ(stored.size(), 112U);
  EXPECT_EQ(stored.substr(0, 104), "Station" + std::string(93, '\0') + std::string("\1\0\0\0", 4));
}

TEST(LinkedHost, EmptiesTheLogOfAnEarlierRun) {
  HostProcess host;
  writeContents(host.folder.path("zentova.log"), std::string(10000, 'x'));
  ASSERT_EQ(host.run("log_texts"), 0);
  EXPECT_EQ(host.log(), banner + ending);
}

TEST(LinkedHost, RunsWithoutALogFileWhenNoneCanBeOpened) {
  HostProcess host;
  ASSERT_TRUE(std::filesystem::create_directory(host.folder.path("zentova.log")));
  ASSERT_EQ(host.run("plain"), 0) << host.output();
  EXPECT_EQ(host.output(),
            loading + banner + "host starts\n" + notInstalled("Nobody") + "host ends\n" + ending);
  EXPECT_TRUE(std::filesystem::is_empty(host.folder.path("zentova.log")));
}

TEST(LinkedHost, MayStopTheEngineEarlyAndTwice) {
  HostProcess host;
  ASSERT_EQ(host.run("lifecycle", {"early"}), 0) << host.output();
  EXPECT_EQ(host.output(),
            loading + banner + cleaning + cleaned + notInstalled("ztFile") + "still talking\n" + freeing);
  EXPECT_EQ(host.log(), banner + cleaning + cleaned);
}

TEST(LinkedHost, MayStartTheEngineAgain) {
  HostProcess host;
  ASSERT_EQ(host.run("lifecycle", {"again"}), 0) << host.output();
  EXPECT_EQ(host.output(), loading + banner + cleaning + cleaned + banner + "host talks\n" + ending);
  EXPECT_EQ(host.log(), banner + cleaning + cleaned);
  EXPECT_EQ(contentsOf(host.folder.path("second.log")), banner + "host talks\n" + ending);
  EXPECT_FALSE(std::filesystem::exists(host.folder.path("third.log")));
}

TEST(LinkedHost, StartingARunningEngineDoesNothing) {
  HostProcess host;
  ASSERT_EQ(host.run("lifecycle", {"init-twice"}), 0) << host.output();
  EXPECT_EQ(host.output(), loading + banner + ending);
  EXPECT_EQ(host.log(), banner + ending);
  EXPECT_FALSE(std::filesystem::exists(host.folder.path("other.log")));
}

TEST(LinkedHost, MayRegisterAClassWhileTheEngineIsStopped) {
  HostProcess host;
  ASSERT_EQ(host.run("lifecycle", {"stopped"}), 0) << host.output();
  EXPECT_EQ(host.output(), loading + banner + cleaning + cleaned + freeing);
}

TEST(LinkedHost, MayEndTheLibraryInAHookWhileTheEngineIsStopped) {
  HostProcess host;
  ASSERT_EQ(host.run("lifecycle", {"end-in-hook"}), 0) << host.output();
  EXPECT_EQ(host.output(), loading + banner + cleaning + cleaned + freeing + "still here\n" + freeing);
}

TEST(LinkedHost, GoesOnAfterTheLibrarysClassesWereFreed) {
  HostProcess host;
  ASSERT_EQ(host.run("lifecycle", {"free"}), 0) << host.output();
  EXPECT_EQ(host.output(), loading + banner + notInstalled("ztBaseClass") + "logged after\n" + ending);
  EXPECT_EQ(host.log(), banner + notInstalled("ztBaseClass") + "logged after\n" + ending);
}

TEST(LinkedHost, EndsInSilenceAsAChildOfFork) {
  HostProcess host;
  ASSERT_EQ(host.run("forked", {"exit"}), 0) << host.output();
  EXPECT_EQ(host.output(), loading + banner + ending);
  EXPECT_EQ(host.log(), banner + ending);
}

TEST(LinkedHost, LogsToItsParentsFileAsAChildOfFork) {
  HostProcess host;
  ASSERT_EQ(host.run("forked", {"talk"}), 0) << host.output();
  EXPECT_EQ(host.log(), banner + "the child talks\nthe parent talks\n" + ending);
}

TEST(LinkedHost, LogsTheEndOfAnEngineThatAChildOfForkStarted) {
  HostProcess host;
  ASSERT_EQ(host.run("forked", {"restart"}), 0) << host.output();
  EXPECT_EQ(contentsOf(host.folder.path("child.log")), banner + cleaning + cleaned);
  EXPECT_EQ(host.log(), banner + ending);
}

TEST(LinkedHost, LogsWholeTextsThoughItsWritesAreInterrupted) {
  HostProcess host;
  ASSERT_EQ(host.run("interrupted"), 0) << host.output();
  EXPECT_EQ(host.log(), banner + cleaning + cleaned);
  EXPECT_EQ(contentsOf(host.folder.path("second.log")), banner + "a text of several writes\n" + ending);
}

TEST(LinkedHost, StartsBesideAPipeOfTheLogsName) {
  HostProcess host;
  ASSERT_EQ(mkfifo(host.folder.path("zentova.log").c_str(), 0600), 0);
  ASSERT_EQ(host.run("log_texts", {"text"}), 0);
  EXPECT_EQ(host.output(), loading + banner + "text\n" + ending);
}

// In the order of registration.
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

// Those that the hooks of ztObject and ztProperty register, or make objects of, ahead of their turn.
const std::set<std::string> earlyClasses = {"ztPropertyType", "ztPropertyTypeMap", "ztProperty",
                                            "ztPropertyMap",  "ztAvlTree",         "ztString",
                                            "ztCharArray",    "ztMapItem",         "ztIntPropertyType"};

// The words of a text that name classes of the library.
std::vector<std::string> classNamesIn(const std::string &text) {
  std::istringstream words(text);
  std::vector<std::string> names;
  for (std::string word; words >> word;) {
    if (word.rfind("zt", 0) == 0 && word != "ztcore") names.push_back(word);
  }
  return names;
}

TEST(LinkedHost, FindsTheLibrarysClassesInTheirOrder) {
  HostProcess host;
  ASSERT_EQ(host.run("lifecycle", {"list"}), 0) << host.output();
  std::vector<std::string> found = classNamesIn(host.output());
  std::vector<std::string> wanted = classNamesIn(libraryClasses);
  EXPECT_EQ(wanted.size(), 62U);
  EXPECT_EQ(std::multiset<std::string>(found.begin(), found.end()),
            std::multiset<std::string>(wanted.begin(), wanted.end()));
  const auto isEarly = [](const std::string &name) { return earlyClasses.count(name) != 0; };
  std::erase_if(found, isEarly);
  std::erase_if(wanted, isEarly);
  EXPECT_EQ(found, wanted);
}

TEST(LinkedHost, FreesTheLibrarysClassesInTheirOrder) {
  HostProcess host;
  ASSERT_EQ(host.run("lifecycle", {"free-order"}), 0) << host.output();
  // The list knows the property types by other names, and the string by one of these.
  std::vector<std::string> expected;
  for (const std::string &name : classNamesIn(libraryClasses)) {
    const bool isPropertyType = name.size() > 14 && name.substr(name.size() - 12) == "PropertyType";
    if (name == "ztStringPropertyType") expected.push_back("ztString");
    if (!isPropertyType && name != "ztString") expected.push_back(name);
  }
  EXPECT_EQ(expected.size(), 55U);
  EXPECT_EQ(classNamesIn(host.output()), expected);
}

TEST(LinkedHost, KeepsTheHooksOfClassesThatAreRegisteredAgain) {
  HostProcess host;
  EXPECT_EQ(host.run("lifecycle", {"hooks-again"}), 0) << host.output();
}

TEST(LinkedHost, NamesTheLogThroughTheMessageBuffer) {
  HostProcess host;
  EXPECT_EQ(host.run("lifecycle", {"log-name"}), 0) << host.output();
}

TEST(LinkedHost, CountsTheFirstIdentifierOfAProcessAsOne) {
  HostProcess host;
  EXPECT_EQ(host.run("lifecycle", {"first-id"}), 0) << host.output();
}

// A host that loads the library itself ----------------------------------------------------------

const std::string numbers = "ztFile" + std::string(94, '\0') + std::string("\1\0\0\0", 4);

TEST(DlopenHost, UsesTheLibraryByNumbersAndExits) {
  HostProcess host;
  ASSERT_EQ(host.run("dlopen_by_number", {ZT_LIBRARY, "exit"}), 0) << host.output();
  EXPECT_EQ(host.output(), loading + banner + "host ends\n" + cleaning + cleaned + freeing);
  EXPECT_EQ(host.log(), banner + cleaning + cleaned);
  EXPECT_EQ(contentsOf(host.folder.path("numbers.bin")), numbers);
}

TEST(DlopenHost, UnloadsTheLibrary) {
  HostProcess host;
  ASSERT_EQ(host.run("dlopen_by_number", {ZT_LIBRARY, "close"}), 0) << host.output();
  EXPECT_EQ(host.output(), loading + banner + ending + "host closed the library\nhost ends\n");
  EXPECT_EQ(host.log(), banner + ending);
}

TEST(DlopenHost, LoadsTheLibraryAgain) {
  HostProcess host;
  ASSERT_EQ(host.run("dlopen_by_number", {ZT_LIBRARY, "reload"}), 0) << host.output();
  const std::string once = loading + banner + ending + "host closed the library\n";
  EXPECT_EQ(host.output(), once + once + "host ends\n");
  EXPECT_EQ(host.log(), banner + ending);
}

// Log texts --------------------------------------------------------------------------------------

struct LogText {
  const char *text;
  std::string printed;
};

TEST(LogText, IsPrintedAsAFormatOfZerosAndStoredUnchanged) {
  const LogText texts[] = {
      {"plain", "plain"},
      {"", ""},
      {"%", ""},
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
      {"%-", ""},
      {"%5", ""},
      {"%.", ""},
      {"%l", ""},
      {"%y!", "%y!"},
      {"%5y!", "%5y!"},
      {"%5000d", std::string(511, ' ') + "0"},
      {"%99999999999999999999d", std::string(511, ' ') + "0"},
      {"%-+ #0'I-+ #0'I5d", "+0   "},
      {"%--5d|%+++d|", "0    |+0|"},
      {"\xff%\xff", "\xff%\xff"},
  };
  std::vector<std::string> arguments;
  std::string printed = loading + banner;
  std::string stored = banner;
  for (const LogText &text : texts) {
    arguments.push_back(text.text);
    printed += text.printed + "\n";
    stored += std::string(text.text) + "\n";
  }
  HostProcess host;
  ASSERT_EQ(host.run("log_texts", arguments), 0);
  EXPECT_EQ(host.output(), printed + ending);
  EXPECT_EQ(host.log(), stored + ending);
}

TEST(LogText, IsCutAt511Bytes) {
  HostProcess host;
  const std::string longest(511, 'a');
  ASSERT_EQ(host.run("log_texts", {longest, longest + "b", std::string(100000, 'c')}), 0);
  const std::string cut = longest + "\n" + longest + "\n" + std::string(511, 'c') + "\n";
  EXPECT_EQ(host.output(), loading + banner + cut + ending);
  EXPECT_EQ(host.log(), banner + cut + ending);
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

TEST(LogText, IsNotSplitByAnotherProcessThatHasTheSameFile) {
  HostProcess host;
  HostProcess other;
  std::filesystem::create_symlink(host.folder.path("zentova.log"), other.folder.path("zentova.log"));
  std::thread second([&] {
    EXPECT_EQ(other.run("log_texts", std::vector<std::string>(500, std::string(400, 'b') + "\n")), 0);
  });
  EXPECT_EQ(host.run("log_texts", std::vector<std::string>(500, std::string(400, 'a') + "\n")), 0);
  second.join();
  EXPECT_TRUE(hasWholeLinesOnly(host.log()));
  EXPECT_NE(host.log().find(cleaned), std::string::npos);
  EXPECT_GE(host.log().size(), 500U * 401U);  // the one that opened the file last wrote all behind that
}

// Host classes -----------------------------------------------------------------------------------

class ClassChain : public testing::TestWithParam<std::tuple<std::string, std::string>> {};

TEST_P(ClassChain, IsCompleteWhicheverClassIsUsedFirst) {
  HostProcess host;
  const auto &[order, way] = GetParam();
  EXPECT_EQ(host.run("chain", {order, way}), 0);
  EXPECT_EQ(host.output(), loading + banner + ending);
}

INSTANTIATE_TEST_SUITE_P(Order, ClassChain,
                         testing::Combine(testing::Values("LMT", "LTM", "MLT", "MTL", "TLM", "TML"),
                                          testing::Values("ctor", "newop", "place")),
                         [](const auto &chain) {
                           return std::string(std::get<0>(chain.param)) + "_" + std::get<1>(chain.param);
                         });

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
  const char *const variable = "ZT_TEST_FAILING_ALLOCATION";
  const int step = 100 / scale(100);
  int status = 0;
  for (int n = 0; status == 0 && n < 10000; n += step) {
    setenv(variable, std::to_string(n).c_str(), 1);
    HostProcess host;
    status = host.run("faults", {"load"});
    EXPECT_TRUE(status == 0 || status == 2) << "allocation " << n << "\n" << host.output();
  }
  unsetenv(variable);
  EXPECT_EQ(status, 2);
}

// Hooks ------------------------------------------------------------------------------------------

const std::string registered = "registered Oak\nregistered Elm\nregistered Ash\n";

// What a host with hooks prints between the library's start and its end.
std::string hookRun(const char *scenario, const char *end) {
  HostProcess host;
  const int status = host.run("hooks", {scenario, end});
  std::string output = host.output();
  EXPECT_EQ(status, 0) << output;
  const std::string start = loading + banner;
  EXPECT_EQ(output.substr(0, start.size()), start);
  return output.substr(start.size());
}

// Every entry's instance hook runs before the first class hook, each from the newest class on.
const std::string everythingGoes =
    "instances go Ash\ninstances go Elm\ninstances go Oak\n"
    "class goes Ash\nclass goes Elm\nclass goes Oak\n";

TEST(ClassHooks, RunOncePerClassWhenItIsFreed) {
  EXPECT_EQ(hookRun("tell", "free"), registered +
                                         "instances go Ash\nclass goes Ash\n"
                                         "Ash 0 Elm 1 Oak 1\nend\n" +
                                         freeing + cleaning +
                                         "instances go Elm\ninstances go Oak\n"
                                         "class goes Elm\nclass goes Oak\n" +
                                         cleaned);
}

TEST(ClassHooks, RunInTwoPassesAtTheCleanUp) {
  EXPECT_EQ(hookRun("tell", "clean-up"),
            registered + cleaning + everythingGoes + cleaned + "end\n" + freeing);
}

TEST(ClassHooks, RunInTwoPassesAtTheEndOfTheProcess) {
  EXPECT_EQ(hookRun("tell", "exit"), registered + "end\n" + freeing + cleaning + everythingGoes + cleaned);
}

TEST(ClassHooks, FindTheLibrarysClassesAtTheCleanUpButNotAtTheEndOfTheProcess) {
  const auto hooksThatSee = [](const std::string &library) {
    std::string text;
    for (const char *name : {"Ash", "Elm", "Oak"}) {
      text += std::string("instances go ") + name + "\n  library " + library + "\n";
    }
    return text + "class goes Ash\nclass goes Elm\nclass goes Oak\n";
  };
  EXPECT_EQ(hookRun("look-around", "clean-up"),
            registered + cleaning + hooksThatSee("1") + cleaned + "end\n" + freeing);
  EXPECT_EQ(hookRun("look-around", "exit"),
            registered + "end\n" + freeing + cleaning + hooksThatSee("0") + cleaned);
}

TEST(ClassHooks, FindTheClassThatIsBeingFreed) {
  EXPECT_EQ(hookRun("look-up", "free"), registered +
                                            "instances go Ash\n  known 1\nclass goes Ash\n  known 1\n"
                                            "Ash 0 Elm 1 Oak 1\nend\n" +
                                            freeing + cleaning +
                                            "instances go Elm\n  known 1\ninstances go Oak\n  known 1\n"
                                            "class goes Elm\n  known 0\nclass goes Oak\n  known 0\n" +
                                            notInstalled("Oak") + cleaned);
}

TEST(ClassHooks, MayFreeTheirOwnClassFromTheInstanceHook) {
  EXPECT_EQ(hookRun("free-self", "free"), registered +
                                              "instances go Ash\nclass goes Ash\n"
                                              "Ash 0 Elm 1 Oak 1\nend\n" +
                                              freeing + cleaning +
                                              "instances go Elm\nclass goes Elm\n"
                                              "instances go Oak\nclass goes Oak\n" +
                                              cleaned);
  EXPECT_EQ(hookRun("free-self", "clean-up"),
            registered + cleaning +
                "instances go Ash\nclass goes Ash\ninstances go Elm\nclass goes Elm\n"
                "instances go Oak\nclass goes Oak\n" +
                cleaned + "end\n" + freeing);
}

TEST(ClassHooks, MayFreeTheirOwnClassFromTheClassHook) {
  EXPECT_EQ(hookRun("free-self-late", "free"), hookRun("tell", "free"));
  EXPECT_EQ(hookRun("free-self-late", "clean-up"), hookRun("tell", "clean-up"));
}

TEST(ClassHooks, MayFreeOtherClassesFromTheInstanceHook) {
  const std::string others =
      "instances go Ash\ninstances go Elm\nclass goes Elm\ninstances go Oak\nclass goes Oak\nclass goes "
      "Ash\n";
  EXPECT_EQ(hookRun("free-others", "free"), registered + others + "Ash 0 Elm 0 Oak 0\nend\n" + ending);
  EXPECT_EQ(hookRun("free-others", "clean-up"), registered + cleaning + others + cleaned + "end\n" + freeing);
}

TEST(ClassHooks, MayFreeOtherClassesFromTheClassHook) {
  EXPECT_EQ(hookRun("free-others-late", "free"),
            registered +
                "instances go Ash\nclass goes Ash\ninstances go Elm\nclass goes Elm\n"
                "instances go Oak\nclass goes Oak\nAsh 0 Elm 0 Oak 0\nend\n" +
                ending);
  EXPECT_EQ(hookRun("free-others-late", "clean-up"), hookRun("tell", "clean-up"));
}

TEST(ClassHooks, MayFreeClassesOfTheLibrary) {
  EXPECT_EQ(hookRun("free-library", "clean-up"), hookRun("tell", "clean-up"));
}

TEST(ClassHooks, MayRegisterAClassFromTheInstanceHook) {
  EXPECT_EQ(hookRun("register", "free"),
            registered + "instances go Ash\nregistered Fir\nclass goes Ash\nAsh 0 Elm 1 Oak 1\nend\n" +
                freeing + cleaning +
                "instances go Fir\ninstances go Elm\ninstances go Oak\n"
                "class goes Fir\nclass goes Elm\nclass goes Oak\n" +
                cleaned);
  EXPECT_EQ(hookRun("register", "clean-up"),
            registered + cleaning +
                "instances go Ash\nregistered Fir\ninstances go Fir\ninstances go Elm\ninstances go Oak\n"
                "class goes Fir\nclass goes Ash\nclass goes Elm\nclass goes Oak\n" +
                cleaned + "end\n" + freeing);
}

TEST(ClassHooks, MayRegisterAClassFromTheClassHook) {
  EXPECT_EQ(hookRun("register-late", "clean-up"),
            registered + cleaning +
                "instances go Ash\ninstances go Elm\ninstances go Oak\n"
                "class goes Ash\nregistered Fir\ninstances go Fir\nclass goes Fir\n"
                "class goes Elm\nclass goes Oak\n" +
                cleaned + "end\n" + freeing);
}

TEST(ClassHooks, AskForTheCleanUpInVain) {
  EXPECT_EQ(hookRun("clean-up", "free"), hookRun("tell", "free"));
  EXPECT_EQ(hookRun("clean-up", "clean-up"), hookRun("tell", "clean-up"));
}

TEST(ClassHooks, MayFreeTheClassThatWasJustRegistered) {
  const std::string gone = registered + "instances go Ash\nclass goes Ash\n";
  EXPECT_EQ(hookRun("leave-at-once", "free"), gone + "Ash 0 Elm 1 Oak 1\nend\n" + freeing + cleaning +
                                                  "instances go Elm\ninstances go Oak\n"
                                                  "class goes Elm\nclass goes Oak\n" +
                                                  cleaned);
}

TEST(ClassHooks, MayStopTheEngineWhileAClassIsRegistered) {
  EXPECT_EQ(hookRun("clean-up-at-once", "free"),
            registered + cleaning + everythingGoes + cleaned + "Ash 0 Elm 0 Oak 0\nend\n" + freeing);
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

std::string memoryRun(const char *scenario) {
  HostProcess host;
  EXPECT_EQ(host.run("memory", {scenario}), 0);
  return withoutAddresses(host.output());
}

TEST(LeakReport, OfAProcessThatTrackedNothing) {
  HostProcess host;
  ASSERT_EQ(host.run("memory", {"nothing"}), 0);
  const std::string report =
      "\n# MEMORY LOG\n\n - All memory blocks freed\n\n"
      " - Total Memory Unfreed: 0 bytes, blocks: 0\n\n"
      " - Alloc calls: 0, free calls: 0\n\n# END MEMORY LOG";
  EXPECT_EQ(host.output(), loading + banner + report + "\n" + ending);
  EXPECT_EQ(host.log(), banner + report + ending);
}

TEST(LeakReport, NamesTheUnfreedBlock) {
  const std::string report =
      "\n# MEMORY LOG\n\n * FOUND MEMORY LEAK!: *\n\n"
      " @ Unfreed block: b.c:\tLine 22,\tAddress 0x@, size:20, type: Second\n"
      "\n - Total Memory Unfreed: 20 bytes, blocks: 1\n\n"
      " - Alloc calls: 2, free calls: 1\n\n# END MEMORY LOG\n";
  EXPECT_EQ(memoryRun("one-of-two"), loading + banner + report + report + ending);
}

TEST(LeakReport, GoesFromTheNewestBlockToTheOldest) {
  EXPECT_EQ(memoryRun("newest-first"),
            loading + banner +
                "\n# MEMORY LOG\n\n * FOUND MEMORY LEAK!: *\n\n"
                " @ Unfreed block: x.c:\tLine 2,\tAddress 0x@, size:300, type: Block\n"
                " @ Unfreed block: x.c:\tLine 1,\tAddress 0x@, size:200, type: Block\n"
                " @ Unfreed block: x.c:\tLine 0,\tAddress 0x@, size:100, type: Block\n"
                "\n - Total Memory Unfreed: 600 bytes, blocks: 3\n\n"
                " - Alloc calls: 3, free calls: 0\n\n# END MEMORY LOG\n" +
                ending);
}

TEST(LeakReport, CountsTheReleaseOfAnUntrackedBlock) {
  EXPECT_EQ(memoryRun("untracked"),
            loading + banner +
                "WARNING: Trying to remove an invalid block: @ : some(null)file.c, 77\n"
                "\n# MEMORY LOG\n\n - All memory blocks freed\n\n"
                " - Total Memory Unfreed: 0 bytes, blocks: 0\n\n"
                " - Alloc calls: 0, free calls: 1\n\n# END MEMORY LOG\n" +
                ending);
}

TEST(LeakReport, NamesFileAndLineOfAHostBuiltWithTracking) {
  HostProcess host;
  ASSERT_EQ(host.run("tracked_leak"), 0) << host.output();
  const std::string output = withoutAddresses(host.output());
  const std::string start =
      loading + banner + "\n# MEMORY LOG\n\n * FOUND MEMORY LEAK!: *\n\n @ Unfreed block: ";
  ASSERT_EQ(output.substr(0, start.size()), start);
  const std::string named =
      "tests/hosts/tracked_leak.c:\tLine 20,\tAddress 0x@, size:16, type: Point\n"
      "\n - Total Memory Unfreed: 16 bytes, blocks: 1\n\n"
      " - Alloc calls: 3, free calls: 2\n\n# END MEMORY LOG\n" +
      ending;
  ASSERT_GE(output.size(), named.size());
  EXPECT_EQ(output.substr(output.size() - named.size()), named);
}

}  // namespace
