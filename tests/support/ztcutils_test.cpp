#include "support/ztcutils.h"

#include "tests/helpers/scale.hh"
#include "tests/helpers/temp_folder.hh"
#include "tests/support/out_buffer.hh"

#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

// Numbers and ids ---------------------------------------------------------------------------------

TEST(Numbers, AreNeverNan) {
  EXPECT_EQ(ztCu_isnan(1.0), 0);
  EXPECT_EQ(ztCu_isnan(std::nan("")), 0);
}

TEST(Numbers, AreRoundedHalfAwayFromZeroAndStayWithinTheLimits) {
  const std::pair<double, int32_t> rows[] = {{2.5, 3},
                                             {-2.5, -3},
                                             {-2.4, -2},
                                             {2.4, 2},
                                             {0.0, 0},
                                             {-0.0, 0},
                                             {0.5, 1},
                                             {-0.5, -1},
                                             {std::nextafter(0.5, 0.0), 0},
                                             {std::nextafter(-0.5, 0.0), 0},
                                             {2147483646.5, INT32_MAX},
                                             {2147483647.4, INT32_MAX},
                                             {2147483647.5, INT32_MAX},
                                             {1e300, INT32_MAX},
                                             {HUGE_VAL, INT32_MAX},
                                             {-2147483647.4, -INT32_MAX},
                                             {-2147483648.0, INT32_MIN},
                                             {-2147483648.5, INT32_MIN},
                                             {-HUGE_VAL, INT32_MIN},
                                             {std::nan(""), 0}};
  for (const auto &[value, rounded] : rows) EXPECT_EQ(ztCu_round(value), rounded) << value;
}

TEST(Numbers, AreRoundedAsTheCLibraryRounds) {
  std::mt19937_64 random(1);
  std::uniform_real_distribution<double> exponent(-3, 31);
  for (int i = 0; i < scale(100000); ++i) {
    const double size = std::exp2(exponent(random));
    const double half = std::floor(size) + 0.5;
    for (const double value : {size, half, std::nextafter(half, 0.0), std::nextafter(half, size * 2)}) {
      if (std::round(value) > INT32_MAX) continue;
      ASSERT_EQ(ztCu_round(value), static_cast<int32_t>(std::round(value))) << value;
      ASSERT_EQ(ztCu_round(-value), static_cast<int32_t>(std::round(-value))) << value;
    }
  }
}

// Repeats a piece of work until it happens to stay within one second, which it is told.
void withinOneSecond(const std::function<void(time_t)> &work) {
  time_t before = 0;
  do {
    before = time(nullptr);
    work(before);
  } while (time(nullptr) != before);
}

// The part of an id that the time does not explain.
uint32_t counterOf(int32_t id, time_t now) {
  srand(static_cast<unsigned>(now));
  return static_cast<uint32_t>(id) - static_cast<uint32_t>(rand()) - static_cast<uint32_t>(now);
}

TEST(Ids, AreTheSumOfARandomNumberTheTimeAndTheCallCount) {
  uint32_t counters[3];
  withinOneSecond([&](time_t now) {
    for (uint32_t &counter : counters) counter = counterOf(ztCu_genUniqueId(), now);
  });
  EXPECT_GE(counters[0], 1u);
  EXPECT_LT(counters[0], 1000u);
  EXPECT_EQ(counters[1], counters[0] + 1);
  EXPECT_EQ(counters[2], counters[0] + 2);
}

TEST(Ids, SeedTheRandomGeneratorWithTheTime) {
  int next = 0, expected = 0;
  withinOneSecond([&](time_t now) {
    srand(1);
    ztCu_genUniqueId();
    next = rand();
    srand(static_cast<unsigned>(now));
    rand();
    expected = rand();
  });
  EXPECT_EQ(next, expected);
}

TEST(Ids, OfOneSecondDifferAmongThreads) {
  const int count = scale(20000);
  std::vector<uint32_t> ids, others;
  const auto fill = [count](std::vector<uint32_t> &made) {
    made.clear();
    for (int i = 0; i < count; ++i) made.push_back(static_cast<uint32_t>(ztCu_genUniqueId()));
  };
  withinOneSecond([&](time_t) {
    std::thread other(fill, std::ref(others));
    fill(ids);
    other.join();
  });
  ids.insert(ids.end(), others.begin(), others.end());
  std::sort(ids.begin(), ids.end());
  EXPECT_EQ(ids.back() - ids.front() + 1, static_cast<uint32_t>(2 * count));
  EXPECT_EQ(std::adjacent_find(ids.begin(), ids.end()), ids.end());
}

// Text --------------------------------------------------------------------------------------------

TEST(Messages, AreFormattedIntoOneBuffer) {
  const char *first = ztCu_fmtMsg("%s-%d", "a", 5);
  EXPECT_STREQ(first, "a-5");
  EXPECT_EQ(ztCu_fmtMsg("%5.2f|", 1.5), first);
  EXPECT_STREQ(first, " 1.50|");
  ztCu_fmtMsg("inner");
  EXPECT_STREQ(ztCu_fmtMsg("<%s|%s>", first, first), "<inner|inner>");
}

TEST(Messages, AreCutAt511Bytes) {
  EXPECT_EQ(ztCu_fmtMsg("%s", std::string(511, 'a').c_str()), std::string(511, 'a'));
  EXPECT_EQ(ztCu_fmtMsg("%s", std::string(512, 'a').c_str()), std::string(511, 'a'));
  EXPECT_EQ(ztCu_fmtMsg("%100000d", 1), std::string(511, ' '));
}

TEST(Messages, AreEmptyForNullAndTheEmptyFormat) {
  const char *(*const unchecked)(const char *, ...) = ztCu_fmtMsg;
  ztCu_fmtMsg("something");
  EXPECT_STREQ(unchecked(nullptr), "");
  EXPECT_STREQ(ztCu_fmtMsg("%s", ""), "");
}

TEST(CaseFunctions, MapACopyInTheOneBufferTheyShare) {
  const char text[] = "aBc-9 Z";
  const char *lower = ztCu_sToLower(text);
  EXPECT_STREQ(lower, "abc-9 z");
  EXPECT_EQ(ztCu_sToUpper(text), lower);
  EXPECT_STREQ(lower, "ABC-9 Z");
  EXPECT_STREQ(text, "aBc-9 Z");
  EXPECT_STREQ(ztCu_sToLower(lower), "abc-9 z");
  EXPECT_STREQ(ztCu_sToUpper(lower + 1), "BC-9 Z");
}

TEST(CaseFunctions, TakeEveryByte) {
  std::string all;
  for (int byte = 1; byte < 256; ++byte) all += static_cast<char>(byte);
  std::string lower = all, upper = all;
  for (char &c : lower) c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
  for (char &c : upper) c = static_cast<char>(toupper(static_cast<unsigned char>(c)));
  EXPECT_EQ(ztCu_sToLower(all.c_str()), lower);
  EXPECT_EQ(ztCu_sToUpper(all.c_str()), upper);
}

TEST(CaseFunctions, CutLongTexts) {
  for (const size_t length : {511U, 512U, 600U}) {
    EXPECT_EQ(ztCu_sToUpper(std::string(length, 'a').c_str()), std::string(511, 'A'));
  }
  EXPECT_STREQ(ztCu_sToLower(nullptr), "");
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

TEST(CaseFunctions, MapByTheLocale) {
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

// The environment ---------------------------------------------------------------------------------

// Sets an environment variable for one test.
class Environment {
 public:
  Environment(const std::string &variable, const std::string &value) : name(variable) {
    setenv(name.c_str(), value.c_str(), 1);
  }
  ~Environment() {
    unsetenv(name.c_str());
  }

 private:
  const std::string name;
};

// The contents of a buffer that held "kept".
std::string expanded(const std::string &text, int32_t result = 1) {
  OutBuffer out;
  EXPECT_EQ(ztCu_expandEnvString(out.text, text.c_str()), result);
  EXPECT_TRUE(out.isIntact());
  return out.text;
}

TEST(EnvironmentTexts, ExpandTheVariableThatAPathBeginsWith) {
  const Environment variable("ZT_TEST_FOLDER", "/some/folder");
  EXPECT_EQ(expanded("$(ZT_TEST_FOLDER)/x"), "/some/folder/x");
  EXPECT_EQ(expanded("pre/$(ZT_TEST_FOLDER)/x"), "/some/folder/x");
  EXPECT_EQ(expanded("$(ZT_TEST_FOLDER)"), "/some/folder");
}

TEST(EnvironmentTexts, ExpandTheFirstVariableOnly) {
  const Environment variable("ZT_TEST_FOLDER", "$(ZT_TEST_FOLDER)");
  EXPECT_EQ(expanded(")$(ZT_TEST_FOLDER)/$(ZT_TEST_FOLDER))"), "$(ZT_TEST_FOLDER)/$(ZT_TEST_FOLDER))");
}

TEST(EnvironmentTexts, AreCopiedWithoutAVariableAndLeftAloneWithAnUnclosedOne) {
  EXPECT_EQ(expanded("a$b(c)"), "a$b(c)");
  EXPECT_EQ(expanded(""), "");
  EXPECT_EQ(expanded("$(HOME"), "kept");
  EXPECT_EQ(expanded(")$("), "kept");
}

TEST(EnvironmentTexts, TellOfAnUnsetVariableAndNotOfAnEmptyOne) {
  unsetenv("ZT_TEST_UNSET");
  EXPECT_EQ(expanded("a/$(ZT_TEST_UNSET)/x", -1), "a/$(ZT_TEST_UNSET)/x");
  EXPECT_EQ(expanded("$()", -1), "$()");
  const Environment variable("ZT_TEST_FOLDER", "");
  EXPECT_EQ(expanded("$(ZT_TEST_FOLDER)/x"), "/x");
}

TEST(EnvironmentTexts, ExpandInPlace) {
  const Environment variable("ZT_TEST_FOLDER", "a value longer than the name");
  char text[512] = "p$(ZT_TEST_FOLDER)/rest";
  for (int time = 0; time < 2; ++time) {
    EXPECT_EQ(ztCu_expandEnvString(text, text), 1);
    EXPECT_STREQ(text, "a value longer than the name/rest");
  }
}

TEST(EnvironmentTexts, AreCutToTheCallersBuffer) {
  const std::string value(400, 'v'), rest(600, 'r');
  const Environment variable("ZT_TEST_FOLDER", value);
  EXPECT_EQ(expanded("$(ZT_TEST_FOLDER)" + rest), value + std::string(111, 'r'));
  EXPECT_EQ(expanded(rest), std::string(511, 'r'));
  EXPECT_EQ(expanded("$(ZT_TEST_UNSET)" + rest, -1), "$(ZT_TEST_UNSET)" + std::string(495, 'r'));
}

TEST(EnvironmentTexts, CutTheNameOfAVariable) {
  const std::string name(103, 'N');
  const Environment variable(name, "found");
  EXPECT_EQ(expanded("$(" + name + ")/x"), "found/x");
  EXPECT_EQ(expanded("$(" + name + std::string(900, 'N') + ")/y"), "found/y");
}

TEST(EnvironmentTexts, NeedATextAndABuffer) {
  OutBuffer out;
  EXPECT_EQ(ztCu_expandEnvString(out.text, nullptr), 0);
  EXPECT_EQ(ztCu_expandEnvString(nullptr, "x"), 0);
  EXPECT_STREQ(out.text, "kept");
}

}  // namespace
