// Numbers in text files under a locale of the host's that writes them otherwise.
#include "io/zttxtfile.h"

#include "tests/helpers/records.hh"
#include "tests/helpers/scale.hh"
#include "tests/helpers/temp_folder.hh"

#include <gtest/gtest.h>
#include <locale.h>
#include <math.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <random>
#include <sstream>
#include <string>

namespace {

// A locale with a comma in decimals and a separator between thousands.
class CommaLocale {
 public:
  bool isMade() const {
    const std::string command = "localedef -i de_DE -f UTF-8 " + folder.path("comma") + " >/dev/null 2>&1";
    return system(command.c_str()) == 0;
  }
  locale_t load() const {
    setenv("LOCPATH", folder.path().c_str(), 1);
    return newlocale(LC_ALL_MASK, "comma", nullptr);
  }

 private:
  const TempFolder folder;
};

void expectNumbersWithPoints() {
  const Storage file(ztTextFile_ctor);
  EXPECT_EQ(file->writeFloat(file, 1234567.25), 15);
  file->writeInt(file, -1234567);
  file->writeLong(file, 12345678901);
  file->writeFloat(file, INFINITY);
  EXPECT_EQ(file.bytes(), "1234567.250000\n-1234567\n12345678901\ninf\n");
  file.hold("1234567\n1.5\n-0x1.8p1\n1.25,7\n");
  EXPECT_EQ(readBy(file->readInt, file), 1234567);
  for (const double expected : {1.5, -3.0, 1.25}) EXPECT_EQ(readBy(file->readFloat, file), expected);
  EXPECT_EQ(readBy(file->readChar, file), ',');
}

}  // namespace

// In a child, since the C library never releases what it knows of a host's folder of locales.
TEST(ztTextFile, ShowsNothingOfTheHostsLocaleInNumbers) {
  const CommaLocale comma;
  if (!comma.isMade()) GTEST_SKIP() << "localedef makes no locale here";
  const auto child = [&comma] {
    const locale_t own = comma.load();
    EXPECT_NE(own, nullptr);
    const bool isSet = setlocale(LC_ALL, "comma") != nullptr && strcmp(localeconv()->decimal_point, ",") == 0;
    EXPECT_TRUE(isSet);
    expectNumbersWithPoints();
    EXPECT_EQ(uselocale(nullptr), LC_GLOBAL_LOCALE);
    EXPECT_STREQ(localeconv()->decimal_point, ",") << "it stays the host's";
    setlocale(LC_ALL, "C");
    uselocale(own);
    expectNumbersWithPoints();
    EXPECT_EQ(uselocale(nullptr), own) << "it stays the thread's";
    _exit(testing::Test::HasFailure());
  };
  EXPECT_EXIT(child(), testing::ExitedWithCode(0), "");
}

// The C library's own scan, in the plain locale, is what numbers are read as.
namespace {

int scan(FILE *stream, int32_t *out) {
  return fscanf(stream, "%d\n", out);
}

int scan(FILE *stream, int64_t *out) {
  return fscanf(stream, "%ld\n", out);
}

int scan(FILE *stream, double *out) {
  return fscanf(stream, "%lf\n", out);
}

template <typename Value>
void expectAsScanned(const std::string &text, int32_t (*read)(void *, Value *), const Storage &file) {
  file.hold(text + "\n");
  const char *name = file->getFileName(file);
  FILE *plain = fopen(name, "rb");
  setvbuf(plain, nullptr, _IOFBF, 4096);
  file->flush(file);
  Value mine = 17;
  Value scanned = 17;
  for (int i = 0; i < 3; ++i) {
    const int result = scan(plain, &scanned);
    ASSERT_EQ(read(file, &mine), result != EOF) << text;
    ASSERT_EQ(memcmp(&mine, &scanned, sizeof mine), 0) << text << ": " << mine << " " << scanned;
    if (!feof(plain)) {
      ASSERT_EQ(file->tell(file), ftell(plain)) << text;
    }
    ASSERT_EQ(file->eof(file) != 0, feof(plain) != 0) << text;
  }
  fclose(plain);
}

void expectAllAsScanned(const std::string &text, const Storage &file) {
  expectAsScanned<int32_t>(text, file->readInt, file);
  expectAsScanned<int64_t>(text, file->readLong, file);
  expectAsScanned<double>(text, file->readFloat, file);
}

}  // namespace

TEST(ztTextFile, ReadsNumbersAsTheyAreScanned) {
  const Storage file(ztTextFile_ctor);
  std::istringstream texts(
      "| |5|-5 6|+7\n\n8|--5|+-5|-|+|- 5|007|0x1f|0x|0xg|-0x|0x.8p2|1e5|1e|1e+|1e-3x|1e+-3|e5|.5|.|"
      "-.|5.|5..6|1.2.3|1e5.5|1e5e5|nan|NaN(12)|na|nax|inf|-INF|infinity|infinite|infx|in|i|n|"
      "0x1p-3|0x1p|0x1.fffffffffffffp1023|1e400|-1e400|1e-400|2147483648|-2147483649|"
      "9223372036854775807|9223372036854775808|-9223372036854775808|-9223372036854775809|"
      "99999999999999999999999 1|4294967297|1,5|1'000|1_0|\v\f\r 5|\xa0 5|1e5\xa0|12abc|0x1g|0b1");
  for (std::string text; std::getline(texts, text, '|');) {
    expectAllAsScanned(text, file);
    if (HasFatalFailure()) return;
  }
}

TEST(ztTextFile, ReadsManyDigitsAsTheyAreScanned) {
  const Storage file(ztTextFile_ctor);
  for (const size_t digits : {63U, 64U, 65U, 700U, 5000U}) {
    expectAllAsScanned(std::string(digits, '7') + " 1", file);
    expectAllAsScanned("0." + std::string(digits, '0') + "3 1", file);
    expectAllAsScanned(std::string(digits, '0') + "1.5e3 1", file);
  }
}

TEST(ztTextFile, ReadsRandomLettersAsTheyAreScanned) {
  const Storage file(ztTextFile_ctor);
  std::mt19937 random(7);
  const std::string letters = "0123456789+-..eEpPxXnNaAiIfFtTyY  \n";
  for (int i = scale(1000); i > 0; --i) {
    std::string text;
    for (size_t n = random() % 10; n > 0; --n) text += letters[random() % letters.size()];
    expectAllAsScanned(text, file);
    if (HasFatalFailure()) return;
  }
}
