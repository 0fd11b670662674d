#include "support/ztcutils.h"

#include "tests/helpers/scale.hh"
#include "tests/helpers/temp_folder.hh"

#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <limits>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace std::string_literals;

// A buffer of exactly the size that callers owe, so that a byte too many is seen.
struct OutBuffer {
  char text[512];
  char guard[8];

  OutBuffer() {
    memset(this, '#', sizeof *this);
  }

  bool isIntact() const {
    return std::string(guard, sizeof guard) == "########";
  }
};

// Runs a piece of work until it happens to stay within one second, which it is told.
void withinOneSecond(const std::function<void(time_t)> &work, const std::function<void()> &check) {
  time_t before = 0;
  do {
    before = time(nullptr);
    work(before);
  } while (time(nullptr) != before);
  check();
}

// The part of an id that the time does not explain.
uint32_t counterOf(int32_t id, time_t now) {
  srand(static_cast<unsigned>(now));
  return static_cast<uint32_t>(id) - static_cast<uint32_t>(rand()) - static_cast<uint32_t>(now);
}

std::string cutFileExt(std::string path) {
  EXPECT_EQ(ztCu_cutFileExt(path.data()), path.data());
  return path.c_str();
}

std::string fixRelativePath(std::string path) {
  EXPECT_EQ(ztCu_fixRelativePath(path.data()), path.data());
  return path.c_str();
}

std::string extractFileName(const char *path) {
  OutBuffer out;
  EXPECT_EQ(ztCu_extractFileName(path, out.text), out.text);
  return out.text;
}

std::string extractPath(const char *path) {
  OutBuffer out;
  EXPECT_EQ(ztCu_extractPath(path, out.text), out.text);
  return out.text;
}

// Sets an environment variable for one test.
class Environment {
 public:
  Environment(const char *variable, const char *value) : name(variable) {
    setenv(name, value, 1);
  }
  ~Environment() {
    unsetenv(name);
  }

 private:
  const char *name;
};

}  // namespace

// Numbers and ids ---------------------------------------------------------------------------------

TEST(Utilities, IsnanIsAlwaysZero) {
  EXPECT_EQ(ztCu_isnan(1.0), 0);
  EXPECT_EQ(ztCu_isnan(std::nan("")), 0);
}

TEST(Utilities, RoundsHalfAwayFromZero) {
  EXPECT_EQ(ztCu_round(2.5), 3);
  EXPECT_EQ(ztCu_round(-2.5), -3);
  EXPECT_EQ(ztCu_round(-2.4), -2);
  EXPECT_EQ(ztCu_round(2.4), 2);
  EXPECT_EQ(ztCu_round(0.0), 0);
  EXPECT_EQ(ztCu_round(-0.0), 0);
  EXPECT_EQ(ztCu_round(0.5), 1);
  EXPECT_EQ(ztCu_round(-0.5), -1);
  EXPECT_EQ(ztCu_round(std::nextafter(0.5, 0.0)), 0);
  EXPECT_EQ(ztCu_round(std::nextafter(-0.5, 0.0)), 0);
}

TEST(Utilities, RoundsUpToTheLimitsOfTheResult) {
  EXPECT_EQ(ztCu_round(2147483646.5), INT32_MAX);
  EXPECT_EQ(ztCu_round(2147483647.4), INT32_MAX);
  EXPECT_EQ(ztCu_round(-2147483647.4), -INT32_MAX);
  EXPECT_EQ(ztCu_round(-2147483648.0), INT32_MIN);
}

TEST(Utilities, RoundStaysAtTheLimitsForNumbersBeyondThem) {
  EXPECT_EQ(ztCu_round(2147483647.5), INT32_MAX);
  EXPECT_EQ(ztCu_round(1e300), INT32_MAX);
  EXPECT_EQ(ztCu_round(HUGE_VAL), INT32_MAX);
  EXPECT_EQ(ztCu_round(-2147483648.5), INT32_MIN);
  EXPECT_EQ(ztCu_round(-HUGE_VAL), INT32_MIN);
  EXPECT_EQ(ztCu_round(std::nan("")), 0);
}

TEST(Utilities, IdsOfOneSecondDifferByOne) {
  int32_t first = 0, second = 0, third = 0;
  withinOneSecond(
      [&](time_t) {
        first = ztCu_genUniqueId();
        second = ztCu_genUniqueId();
        third = ztCu_genUniqueId();
      },
      [&] {
        EXPECT_EQ(static_cast<uint32_t>(second) - static_cast<uint32_t>(first), 1u);
        EXPECT_EQ(static_cast<uint32_t>(third) - static_cast<uint32_t>(second), 1u);
      });
}

TEST(Utilities, AnIdIsTheSumOfARandomNumberTheTimeAndTheCallCount) {
  uint32_t first = 0, second = 0;
  withinOneSecond(
      [&](time_t now) {
        first = counterOf(ztCu_genUniqueId(), now);
        second = counterOf(ztCu_genUniqueId(), now);
      },
      [&] {
        EXPECT_GE(first, 1u);
        EXPECT_LT(first, 1000u);
        EXPECT_EQ(second, first + 1);
      });
}

TEST(Utilities, AnIdSeedsTheRandomGeneratorWithTheTime) {
  int next = 0, expected = 0;
  withinOneSecond(
      [&](time_t now) {
        srand(1);
        ztCu_genUniqueId();
        next = rand();
        srand(static_cast<unsigned>(now));
        rand();
        expected = rand();
      },
      [&] { EXPECT_EQ(next, expected); });
}

TEST(Utilities, IdsOfOneSecondDifferAmongThreads) {
  const int count = scale(20000);
  std::vector<uint32_t> ids;
  withinOneSecond(
      [&](time_t) {
        std::vector<uint32_t> others;
        std::thread other([&] {
          for (int i = 0; i < count; ++i) others.push_back(static_cast<uint32_t>(ztCu_genUniqueId()));
        });
        ids.clear();
        for (int i = 0; i < count; ++i) ids.push_back(static_cast<uint32_t>(ztCu_genUniqueId()));
        other.join();
        ids.insert(ids.end(), others.begin(), others.end());
      },
      [&] {
        std::sort(ids.begin(), ids.end());
        EXPECT_EQ(ids.back() - ids.front() + 1, static_cast<uint32_t>(2 * count));
        EXPECT_EQ(std::adjacent_find(ids.begin(), ids.end()), ids.end());
      });
}

// Text --------------------------------------------------------------------------------------------

TEST(Utilities, EveryThreadHasItsOwnBuffers) {
  const char *message = ztCu_fmtMsg("ours");
  const char *mapped = ztCu_sToUpper("ours");
  const char *path = ztCu_makePath("our", "path", nullptr);
  std::thread([] {
    EXPECT_STREQ(ztCu_fmtMsg("theirs"), "theirs");
    EXPECT_STREQ(ztCu_sToUpper("theirs"), "THEIRS");
    EXPECT_STREQ(ztCu_makePath("their", "path", nullptr), "their/path");
  }).join();
  EXPECT_STREQ(message, "ours");
  EXPECT_STREQ(mapped, "OURS");
  EXPECT_STREQ(path, "our/path");
}

TEST(Utilities, FormatsAMessage) {
  EXPECT_STREQ(ztCu_fmtMsg("%s %d", "a", 5), "a 5");
  EXPECT_STREQ(ztCu_fmtMsg("<%s>", ztCu_fmtMsg("%d", 7)), "<7>");
  EXPECT_EQ(strlen(ztCu_fmtMsg("%s", std::string(600, 'a').c_str())), 511u);
}

TEST(Utilities, MapsTheCaseOfACopy) {
  const char text[] = "aBc-9 Z";
  EXPECT_STREQ(ztCu_sToLower(text), "abc-9 z");
  EXPECT_STREQ(ztCu_sToUpper(text), "ABC-9 Z");
  EXPECT_STREQ(text, "aBc-9 Z");
}

TEST(Utilities, CaseFunctionsShareOneBuffer) {
  const char *lower = ztCu_sToLower("aB");
  EXPECT_STREQ(lower, "ab");
  EXPECT_EQ(ztCu_sToUpper("cD"), lower);
  EXPECT_STREQ(lower, "CD");
  EXPECT_STREQ(ztCu_sToLower(lower), "cd");
  EXPECT_STREQ(ztCu_sToUpper(lower + 1), "D");
}

TEST(Utilities, MessagesAndCaseFunctionsHaveBuffersOfTheirOwn) {
  const char *message = ztCu_fmtMsg("Ab");
  EXPECT_STREQ(ztCu_sToUpper(message), "AB");
  EXPECT_STREQ(message, "Ab");
}

TEST(Utilities, CaseFunctionsTakeEveryByte) {
  std::string all;
  for (int byte = 1; byte < 256; ++byte) all += static_cast<char>(byte);
  std::string lower = all, upper = all;
  for (char &c : lower) c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
  for (char &c : upper) c = static_cast<char>(toupper(static_cast<unsigned char>(c)));
  EXPECT_EQ(ztCu_sToLower(all.c_str()), lower);
  EXPECT_EQ(ztCu_sToUpper(all.c_str()), upper);
}

// A locale of one byte a character, in which letters beyond ASCII have a case. Made for the test, since few
// systems have one.
class LatinLocale {
 public:
  LatinLocale() {
    const std::string command = "localedef --no-archive -i de_DE -f ISO-8859-1 '" +
                                folder.path("de_DE.ISO-8859-1") + "' >'" + folder.path("said") + "' 2>&1";
    isMade = system(command.c_str()) == 0;
    setenv("LOCPATH", folder.path().c_str(), 1);
    isSet = isMade && setlocale(LC_CTYPE, "de_DE.ISO-8859-1") != nullptr;
    unsetenv("LOCPATH");
  }
  ~LatinLocale() {
    setlocale(LC_CTYPE, "C");
  }
  LatinLocale(const LatinLocale &) = delete;
  LatinLocale &operator=(const LatinLocale &) = delete;

  bool isMade;
  bool isSet;

 private:
  TempFolder folder;
};

TEST(Utilities, CaseFunctionsMapByTheLocale) {
  const LatinLocale locale;
  if (!locale.isMade) GTEST_SKIP() << "no definitions of locales here";
  ASSERT_TRUE(locale.isSet);
  EXPECT_STREQ(ztCu_sToLower("\xc4"
                             "rger"),
               "\xe4"
               "rger");
  EXPECT_STREQ(ztCu_sToUpper("\xe4"
                             "rger"),
               "\xc4"
               "RGER");
}

TEST(Utilities, CaseFunctionsCutLongTexts) {
  const std::string text(600, 'a');
  EXPECT_EQ(ztCu_sToUpper(text.substr(0, 511).c_str()), std::string(511, 'A'));
  EXPECT_EQ(ztCu_sToUpper(text.substr(0, 512).c_str()), std::string(511, 'A'));
  EXPECT_EQ(ztCu_sToUpper(text.c_str()), std::string(511, 'A'));
  EXPECT_STREQ(ztCu_sToLower(nullptr), "");
}

// Paths -------------------------------------------------------------------------------------------

TEST(Utilities, FixDosPathChangesNothing) {
  char path[] = "a\\b:c";
  EXPECT_EQ(ztCu_fixDosPath(path), path);
  EXPECT_STREQ(path, "a\\b:c");
  EXPECT_EQ(ztCu_fixDosPath(nullptr), nullptr);
}

TEST(Utilities, CutsTheExtension) {
  EXPECT_EQ(cutFileExt("a.txt"), "a");
  EXPECT_EQ(cutFileExt("a.b.c"), "a.b");
  EXPECT_EQ(cutFileExt("a."), "a");
  EXPECT_EQ(cutFileExt("name"), "name");
  EXPECT_EQ(cutFileExt(".profile"), ".profile");
  EXPECT_EQ(cutFileExt("..x"), ".");
  EXPECT_EQ(cutFileExt("a.b/c"), "a");
  EXPECT_EQ(cutFileExt("."), ".");
  EXPECT_EQ(cutFileExt(""), "");
  EXPECT_EQ(ztCu_cutFileExt(nullptr), nullptr);
}

TEST(Utilities, FixesADoubledSeparatorBehindALeadingDot) {
  EXPECT_EQ(fixRelativePath(".//a"), "./a");
  EXPECT_EQ(fixRelativePath(".\\:a//b"), "./a//b");
  EXPECT_EQ(fixRelativePath(".::"), "./");
  EXPECT_EQ(fixRelativePath(".///a"), ".//a");
}

TEST(Utilities, LeavesOtherRelativePaths) {
  for (const char *path : {"./a", ".", "./", "..", "../a", "//a", "a//b", "", "..//a", ".a//"}) {
    EXPECT_EQ(fixRelativePath(path), path);
  }
  EXPECT_EQ(ztCu_fixRelativePath(nullptr), nullptr);
}

TEST(Utilities, FixesALongRelativePathWhole) {
  const std::string name(5000, 'a');
  EXPECT_EQ(fixRelativePath(".//" + name), "./" + name);
}

TEST(Utilities, ExtractsTheFileName) {
  EXPECT_EQ(extractFileName("dir/file.txt"), "file.txt");
  EXPECT_EQ(extractFileName("a/b\\c:d"), "d");
  EXPECT_EQ(extractFileName("a:b"), "b");
  EXPECT_EQ(extractFileName("file.txt"), "file.txt");
  EXPECT_EQ(extractFileName("dir/"), "");
  EXPECT_EQ(extractFileName("/a"), "/a");
  EXPECT_EQ(extractFileName("//a"), "a");
  EXPECT_EQ(extractFileName("/"), "/");
  EXPECT_EQ(extractFileName(""), "");
  EXPECT_EQ(extractFileName(nullptr), "");
  EXPECT_EQ(ztCu_extractFileName("a", nullptr), nullptr);
}

TEST(Utilities, ExtractsThePath) {
  EXPECT_EQ(extractPath("dir/file.txt"), "dir");
  EXPECT_EQ(extractPath("file.txt"), "file.txt");
  EXPECT_EQ(extractPath("a/b\\c"), "a/b");
  EXPECT_EQ(extractPath("c:a"), "c");
  EXPECT_EQ(extractPath("dir/"), "dir");
  EXPECT_EQ(extractPath("/a"), "/a");
  EXPECT_EQ(extractPath("//a"), "/");
  EXPECT_EQ(extractPath(""), "");
  EXPECT_EQ(extractPath(nullptr), "");
  EXPECT_EQ(ztCu_extractPath("a", nullptr), nullptr);
}

TEST(Utilities, ExtractsInPlace) {
  char path[512] = "dir/sub/file";
  EXPECT_EQ(ztCu_extractPath(path, path), path);
  EXPECT_STREQ(path, "dir/sub");
  EXPECT_EQ(ztCu_extractFileName(path, path), path);
  EXPECT_STREQ(path, "sub");
}

TEST(Utilities, CutsLongPathsToTheCallersBuffer) {
  const std::string directory(600, 'd'), name(600, 'n'), path = directory + "/" + name;
  OutBuffer out;
  ztCu_extractPath(path.c_str(), out.text);
  EXPECT_EQ(out.text, std::string(511, 'd'));
  ztCu_extractFileName(path.c_str(), out.text);
  EXPECT_EQ(out.text, std::string(511, 'n'));
  EXPECT_EQ(ztCu_makePath(directory.c_str(), "x", out.text), out.text);
  EXPECT_EQ(out.text, std::string(511, 'd'));
  EXPECT_EQ(ztCu_makePath("d", name.c_str(), nullptr), "d/" + std::string(509, 'n'));
  EXPECT_TRUE(out.isIntact());
}

TEST(Utilities, WritesNoMoreThanTheResult) {
  char out[] = ".....";
  ztCu_extractFileName("a/b", out);
  EXPECT_EQ(std::string(out, 5), "b\0..."s);
}

TEST(Utilities, MakesAPath) {
  EXPECT_STREQ(ztCu_makePath("dir", "name", nullptr), "dir/name");
  EXPECT_STREQ(ztCu_makePath("", "name", nullptr), "name");
  EXPECT_STREQ(ztCu_makePath("dir", "", nullptr), "dir/");
  EXPECT_STREQ(ztCu_makePath("dir/", "name", nullptr), "dir//name");
  EXPECT_STREQ(ztCu_makePath(nullptr, "name", nullptr), "name");
  EXPECT_STREQ(ztCu_makePath("dir", nullptr, nullptr), "dir/");
}

TEST(Utilities, MakesAPathInTheCallersBufferToo) {
  OutBuffer out;
  const char *own = ztCu_makePath("a", "b", nullptr);
  EXPECT_EQ(ztCu_makePath("c", "d", out.text), out.text);
  EXPECT_STREQ(out.text, "c/d");
  EXPECT_STREQ(own, "c/d");
}

TEST(Utilities, MakesAPathOfAnEarlierOne) {
  EXPECT_STREQ(ztCu_makePath(ztCu_makePath("a", "b", nullptr), "c", nullptr), "a/b/c");
  EXPECT_STREQ(ztCu_makePath("x", ztCu_makePath("a", "b", nullptr), nullptr), "x/a/b");
  char path[512] = "a";
  EXPECT_STREQ(ztCu_makePath(path, path, path), "a/a");
}

// The environment ---------------------------------------------------------------------------------

TEST(Utilities, ExpandsTheVariableThatAPathBeginsWith) {
  const Environment variable("ZT_TEST_FOLDER", "/some/folder");
  OutBuffer out;
  EXPECT_EQ(ztCu_expandEnvString(out.text, "$(ZT_TEST_FOLDER)/x"), 1);
  EXPECT_STREQ(out.text, "/some/folder/x");
  EXPECT_EQ(ztCu_expandEnvString(out.text, "pre/$(ZT_TEST_FOLDER)/x"), 1);
  EXPECT_STREQ(out.text, "/some/folder/x");
  EXPECT_EQ(ztCu_expandEnvString(out.text, "$(ZT_TEST_FOLDER)"), 1);
  EXPECT_STREQ(out.text, "/some/folder");
}

TEST(Utilities, ExpandsTheFirstVariableOnly) {
  const Environment variable("ZT_TEST_FOLDER", "$(ZT_TEST_FOLDER)");
  OutBuffer out;
  EXPECT_EQ(ztCu_expandEnvString(out.text, ")$(ZT_TEST_FOLDER)/$(ZT_TEST_FOLDER))"), 1);
  EXPECT_STREQ(out.text, "$(ZT_TEST_FOLDER)/$(ZT_TEST_FOLDER))");
}

TEST(Utilities, CopiesATextWithoutVariable) {
  OutBuffer out;
  EXPECT_EQ(ztCu_expandEnvString(out.text, "a$b(c)"), 1);
  EXPECT_STREQ(out.text, "a$b(c)");
  EXPECT_EQ(ztCu_expandEnvString(out.text, ""), 1);
  EXPECT_STREQ(out.text, "");
}

TEST(Utilities, AnUnclosedVariableLeavesTheCallersBuffer) {
  OutBuffer out;
  strcpy(out.text, "kept");
  EXPECT_EQ(ztCu_expandEnvString(out.text, "$(HOME"), 1);
  EXPECT_STREQ(out.text, "kept");
  EXPECT_EQ(ztCu_expandEnvString(out.text, ")$("), 1);
  EXPECT_STREQ(out.text, "kept");
}

TEST(Utilities, AnUnsetVariableIsReportedAndTheTextCopied) {
  unsetenv("ZT_TEST_UNSET");
  OutBuffer out;
  EXPECT_EQ(ztCu_expandEnvString(out.text, "a/$(ZT_TEST_UNSET)/x"), -1);
  EXPECT_STREQ(out.text, "a/$(ZT_TEST_UNSET)/x");
  EXPECT_EQ(ztCu_expandEnvString(out.text, "$()"), -1);
  EXPECT_STREQ(out.text, "$()");
}

TEST(Utilities, AnEmptyVariableExpandsToNothing) {
  const Environment variable("ZT_TEST_FOLDER", "");
  OutBuffer out;
  EXPECT_EQ(ztCu_expandEnvString(out.text, "$(ZT_TEST_FOLDER)/x"), 1);
  EXPECT_STREQ(out.text, "/x");
}

TEST(Utilities, ExpandsInPlace) {
  const Environment variable("ZT_TEST_FOLDER", "a value longer than the name");
  char text[512] = "p$(ZT_TEST_FOLDER)/rest";
  EXPECT_EQ(ztCu_expandEnvString(text, text), 1);
  EXPECT_STREQ(text, "a value longer than the name/rest");
  EXPECT_EQ(ztCu_expandEnvString(text, text), 1);
  EXPECT_STREQ(text, "a value longer than the name/rest");
}

TEST(Utilities, CutsExpandedTextsToTheCallersBuffer) {
  const std::string value(400, 'v'), rest(600, 'r');
  const Environment variable("ZT_TEST_FOLDER", value.c_str());
  OutBuffer out;
  EXPECT_EQ(ztCu_expandEnvString(out.text, ("$(ZT_TEST_FOLDER)" + rest).c_str()), 1);
  EXPECT_EQ(out.text, value + std::string(111, 'r'));
  EXPECT_EQ(ztCu_expandEnvString(out.text, rest.c_str()), 1);
  EXPECT_EQ(out.text, std::string(511, 'r'));
  EXPECT_EQ(ztCu_expandEnvString(out.text, ("$(ZT_TEST_UNSET)" + rest).c_str()), -1);
  EXPECT_EQ(out.text, "$(ZT_TEST_UNSET)" + std::string(495, 'r'));
  EXPECT_TRUE(out.isIntact());
}

TEST(Utilities, CutsTheNameOfAVariable) {
  const std::string name(103, 'N');
  const Environment variable(name.c_str(), "found");
  OutBuffer out;
  EXPECT_EQ(ztCu_expandEnvString(out.text, ("$(" + name + ")/x").c_str()), 1);
  EXPECT_STREQ(out.text, "found/x");
  EXPECT_EQ(ztCu_expandEnvString(out.text, ("$(" + name + std::string(900, 'N') + ")/y").c_str()), 1);
  EXPECT_STREQ(out.text, "found/y");
}

TEST(Utilities, ExpandsNothingWithoutATextOrABuffer) {
  OutBuffer out;
  strcpy(out.text, "kept");
  EXPECT_EQ(ztCu_expandEnvString(out.text, nullptr), 0);
  EXPECT_EQ(ztCu_expandEnvString(nullptr, "x"), 0);
  EXPECT_STREQ(out.text, "kept");
}
