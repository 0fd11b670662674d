#include "io/zttxtfile.h"

#include "tests/helpers/owned.hh"
#include "tests/helpers/records.hh"
#include "tests/helpers/temp_folder.hh"

#include <cmath>
#include <cstring>

// What a text file has from its parent, ztFile's tests show; tests/protocol holds that it is the parent's.

namespace {

using namespace std::string_literals;

// A text file on a temporary file of its own.
class ztTextFileTest : public testing::Test {
 protected:
  // Opens the file for reading after giving it a content.
  void read(const std::string &content) const {
    file->close(file);
    writeContents(path, content);
    ASSERT_EQ(file->open(file, path.c_str(), "r"), 1);
  }
  // What is left to read.
  std::string rest() const {
    std::string content;
    for (int c = getc(stream()); c != EOF; c = getc(stream())) content += static_cast<char>(c);
    return content;
  }
  // The whole file.
  std::string written() const {
    file->flush(file);
    return contentsOf(path);
  }
  FILE *&stream() const {
    return static_cast<ztFile *>(static_cast<void *>(file))->stream;
  }

  const Storage file{ztTextFile_ctor};
  const std::string path = file->getFileName(file);
};

// Writes to a stream that accepts a number of writes, passed on without delay, and fails from then on.
class ztTextFileThatFails : public testing::Test {
 protected:
  ztTextFileThatFails() {
    file.fields().stream = fopencookie(&writesLeft, "w", {nullptr, countedWrite, nullptr, nullptr});
    setvbuf(file.fields().stream, nullptr, _IONBF, 0);
  }
  static ssize_t countedWrite(void *left, const char *, size_t size) {
    return (*static_cast<int *>(left))-- > 0 ? static_cast<ssize_t>(size) : 0;
  }

  int writesLeft = 0;
  const Owned<ztFile, ztFileMethods> file{ztTextFile_ctor};
};

}  // namespace

// Numbers and characters --------------------------------------------------------------------------

TEST_F(ztTextFileTest, WritesNumbersAsLinesAndReportsTheirLength) {
  EXPECT_EQ(file->writeInt(file, -5), 3);
  EXPECT_EQ(file->writeInt(file, INT32_MIN), 12);
  EXPECT_EQ(file->writeLong(file, 7), 2);
  EXPECT_EQ(file->writeLong(file, INT64_MAX), 20);
  EXPECT_EQ(file->writeFloat(file, 0.5), 9);
  EXPECT_EQ(file->writeFloat(file, -1.0 / 3), 10);
  const std::string numbers = "-5\n-2147483648\n7\n9223372036854775807\n0.500000\n-0.333333\n";
  EXPECT_EQ(written(), numbers);
  const int32_t wholeLength = 309 + 7 + 1;
  EXPECT_EQ(file->writeFloat(file, std::numeric_limits<double>::max()), wholeLength);
  EXPECT_EQ(written().size(), numbers.size() + wholeLength);
}

TEST_F(ztTextFileTest, WritesTheLowByteOfACharacter) {
  for (const int32_t value : {int32_t{'x'}, 0x1279, 0, -1}) EXPECT_EQ(file->writeChar(file, value), 2);
  EXPECT_EQ(written(), "x\ny\n\0\n\xff\n"s);
}

TEST_F(ztTextFileTest, ReadsTheNumbersThatItWrote) {
  file->writeInt(file, INT32_MIN);
  file->writeLong(file, INT64_MIN);
  file->writeFloat(file, -2.25);
  file->writeInt(file, 9);
  read(written());
  EXPECT_EQ(readBy(file->readInt, file), INT32_MIN);
  EXPECT_EQ(readBy(file->readLong, file), INT64_MIN);
  EXPECT_EQ(readBy(file->readFloat, file), -2.25);
  EXPECT_EQ(readBy(file->readInt, file), 9);
  EXPECT_EQ(readBy(file->readInt, file), std::nullopt);
}

TEST_F(ztTextFileTest, SwallowsTheWhiteSpaceBehindANumber) {
  read("  1\n\n \t 2\n  3\n\n  x");
  EXPECT_EQ(readBy(file->readInt, file), 1);
  EXPECT_EQ(file->tell(file), 8);
  EXPECT_EQ(readBy(file->readLong, file), 2);
  EXPECT_EQ(file->tell(file), 12);
  EXPECT_EQ(readBy(file->readFloat, file), 3);
  EXPECT_EQ(rest(), "x");
}

// At the end, and behind the last blank, nothing is there; letters are, though they are no number.
TEST_F(ztTextFileTest, StoresNothingWhereThereIsNoNumber) {
  for (const char *content : {"", " \n\n"}) {
    read(content);
    EXPECT_EQ(readBy(file->readInt, file), std::nullopt);
    EXPECT_EQ(readBy(file->readLong, file), std::nullopt);
    EXPECT_EQ(readBy(file->readFloat, file), std::nullopt);
    EXPECT_EQ(readBy(file->readChar, file), std::nullopt);
    EXPECT_NE(file->eof(file), 0);
  }
  read("xy\n");
  EXPECT_EQ(readBy(file->readInt, file), 77) << "as it was";
  EXPECT_EQ(readBy(file->readLong, file), 77);
  EXPECT_EQ(readBy(file->readFloat, file), 77);
  EXPECT_EQ(rest(), "xy\n");
}

TEST_F(ztTextFileTest, ReadsNumbersBeyondTheirTypeWithoutHarm) {
  const std::string digits(5000, '9');
  read(digits + "\n" + digits + "\n-" + digits + "\n1" + digits + "\n1e999\n-1e999\n42\n");
  EXPECT_NE(readBy(file->readInt, file), std::nullopt);
  EXPECT_NE(readBy(file->readLong, file), std::nullopt);
  EXPECT_NE(readBy(file->readLong, file), std::nullopt);
  for (const double expected : {HUGE_VAL, HUGE_VAL, -HUGE_VAL}) {
    EXPECT_EQ(readBy(file->readFloat, file), expected);
  }
  EXPECT_EQ(readBy(file->readInt, file), 42);
}

TEST_F(ztTextFileTest, LeavesTheLineFeedBehindACharacter) {
  file->writeChar(file, 'x');
  file->writeChar(file, ' ');
  read(written());
  std::string letters;
  char letter = 0;
  while (file->readChar(file, &letter)) letters += letter;
  EXPECT_EQ(letters, "x\n \n");
}

// Buffers -----------------------------------------------------------------------------------------

TEST_F(ztTextFileTest, WritesABufferUnchangedAndALineFeedAndReadsBoth) {
  EXPECT_EQ(file->writeBuf(file, 3, "abcdef"), 3);
  EXPECT_EQ(file->writeBuf(file, 4, "\0\n\xff\n"), 4);
  EXPECT_EQ(written(), "abc\n\0\n\xff\n\n"s);
  read("a\nc\nde\n");
  char buffer[] = "......";
  EXPECT_EQ(file->readBuf(file, 3, buffer), 3);
  EXPECT_STREQ(buffer, "a\nc...");
  EXPECT_EQ(file->readBuf(file, 2, buffer), 2);
  EXPECT_STREQ(buffer, "dec...");
  EXPECT_EQ(rest(), "");
}

TEST_F(ztTextFileTest, DropsWhateverByteStandsBehindABufferAndClearsWhatTheFileLacks) {
  char buffer[] = "......";
  read("abcdef");
  EXPECT_EQ(file->readBuf(file, 3, buffer), 3);
  EXPECT_EQ(rest(), "ef");
  read("ab");
  EXPECT_EQ(file->readBuf(file, 5, buffer), 5);
  EXPECT_EQ(std::string(buffer, 6), "ab\0\0\0."s) << "it is reported all the same";
  EXPECT_EQ(file->readBuf(file, 2, buffer), 2);
  EXPECT_EQ(std::string(buffer, 6), "\0\0\0\0\0."s);
}

TEST_F(ztTextFileTest, HasAnEmptyLineForAnEmptyBufferWhichMayBeNull) {
  char text[] = "abc";
  for (char *buffer : {text, static_cast<char *>(nullptr)}) {
    file.hold("");
    EXPECT_EQ(file->writeBuf(file, 0, buffer), 0);
    file->writeBuf(file, 1, "d");
    EXPECT_EQ(written(), "\nd\n");
    file->goToBegin(file);
    EXPECT_EQ(file->readBuf(file, 0, buffer), 0);
    EXPECT_EQ(rest(), "d\n");
  }
  EXPECT_STREQ(text, "abc");
}

TEST_F(ztTextFileTest, DoesNothingForANegativeCount) {
  char buffer[] = "..";
  EXPECT_EQ(file->writeBuf(file, -1, "abc"), 0);
  EXPECT_EQ(file->writeBuf(file, INT32_MIN, "abc"), 0);
  EXPECT_EQ(written(), "");
  read("abc\n");
  EXPECT_EQ(file->readBuf(file, -1, buffer), 0);
  EXPECT_EQ(file->readBuf(file, INT32_MIN, buffer), 0);
  EXPECT_EQ(file->readString(file, -1, buffer), 0);
  EXPECT_EQ(file->readString(file, 0, buffer), 0);
  EXPECT_STREQ(buffer, "..");
  EXPECT_EQ(rest(), "abc\n");
}

// Texts -------------------------------------------------------------------------------------------

// An empty text is a word; one that ends with a line feed has its own.
TEST_F(ztTextFileTest, WritesATextAsALine) {
  for (const char *text : {"ab", "c\nd", "", "ab\n", "\n", "c\n\n"})
    EXPECT_EQ(file->writeString(file, text), 1);
  EXPECT_EQ(written(), "ab\nc\nd\nnull\nab\n\nc\n\n");
}

TEST_F(ztTextFileTest, ReadsALineWithItsLineFeed) {
  read("ab\n\nnull\nlast");
  char buffer[16];
  for (const char *expected : {"ab\n", "\n", "null\n", "last"}) {
    EXPECT_EQ(file->readString(file, 16, buffer), reinterpret_cast<intptr_t>(buffer));
    EXPECT_STREQ(buffer, expected);
  }
  EXPECT_EQ(file->readString(file, 16, buffer), 0);
}

TEST_F(ztTextFileTest, ReadsALongLineInPieces) {
  read("abcdef\n");
  char buffer[] = "......";
  EXPECT_EQ(file->readString(file, 4, buffer), reinterpret_cast<intptr_t>(buffer));
  EXPECT_EQ(std::string(buffer, 6), "abc\0.."s);
  EXPECT_EQ(rest(), "def\n");
}

// Whole objects -----------------------------------------------------------------------------------

TEST_F(ztTextFileTest, HoldsTheIdentityOfAnObject) {
  EXPECT_EQ(ztBaseClass_functions()->classWrite(nullptr, Owned(ztBaseClass_ctor), file), 1);
  EXPECT_EQ(written(), "ztBaseClass" + std::string(89, '\0') + "\n1\n");
  file->goToBegin(file);
  const Owned copy(ztBaseClass_functions()->classRead(nullptr, file));
  ASSERT_NE(static_cast<void *>(copy), nullptr);
  EXPECT_TRUE(ztBaseClassIsClass(nullptr, copy, "ztBaseClass"));
  EXPECT_EQ(ztBaseClass_functions()->classRead(nullptr, file), nullptr);
}

// Failures ----------------------------------------------------------------------------------------

TEST_F(ztTextFileThatFails, ReportsANegativeNumberForANumberAndTheCountForABuffer) {
  EXPECT_LT(file->writeInt(file, 1), 0);
  EXPECT_LT(file->writeLong(file, 1), 0);
  EXPECT_LT(file->writeFloat(file, 1), 0);
  EXPECT_LT(file->writeChar(file, 'x'), 0);
  EXPECT_EQ(file->writeBuf(file, 3, "abc"), 3);
}

TEST_F(ztTextFileThatFails, ReportsZeroForATextOrItsLineFeed) {
  struct Row {
    int writes;
    const char *text;
    int32_t result;
  };
  for (const Row &row :
       {Row{0, "ab", 0}, Row{0, "", 0}, Row{1, "ab", 0}, Row{1, "ab\n", 1}, Row{2, "ab", 1}}) {
    writesLeft = row.writes;
    EXPECT_EQ(file->writeString(file, row.text), row.result) << row.writes << " writes of " << row.text;
  }
}

TEST_F(ztTextFileTest, ReadsNothingWhenItIsOpenForWriting) {
  ASSERT_EQ(file->open(file, path.c_str(), "w"), 1);
  char buffer[] = "ab";
  EXPECT_EQ(readBy(file->readInt, file), std::nullopt);
  EXPECT_EQ(file->readString(file, 3, buffer), 0);
  EXPECT_STREQ(buffer, "ab");
  EXPECT_EQ(file->readBuf(file, 2, buffer), 2);
  EXPECT_STREQ(buffer, "");
}
