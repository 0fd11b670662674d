#include "io/zttxtfile.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <limits>
#include <string>

namespace {

using namespace std::string_literals;

std::string drain(FILE *stream) {
  std::string content;
  for (int c = getc(stream); c != EOF; c = getc(stream)) content += static_cast<char>(c);
  return content;
}

// A text file on a temporary file of its own.
class TextFile : public testing::Test {
 protected:
  TextFile() {
    EXPECT_NE(ztTextFile_functions()->tmpFile(nullptr, path), nullptr);
    file = static_cast<ztTextFile *>(ztTextFile_ctor(nullptr, 1));
    methods = ztTextFile_of(file);
  }

  ~TextFile() override {
    methods->unRef(file);
    if (ztTextFile_functions()->fileExist(nullptr, path)) remove(path);
  }

  void write() {
    ASSERT_EQ(methods->open(file, path, "w"), 1);
  }

  // Opens the file for reading after giving it a content.
  void read(const std::string &content) {
    methods->close(file);
    std::ofstream(path, std::ios::binary) << content;
    ASSERT_EQ(methods->open(file, path, "r"), 1);
  }

  // What is left to read.
  std::string rest() {
    return drain(file->stream);
  }

  // The whole file, after closing it.
  std::string written() {
    methods->close(file);
    FILE *stream = fopen(path, "r");
    std::string content = drain(stream);
    fclose(stream);
    return content;
  }

  char path[L_tmpnam] = "";
  ztTextFile *file = nullptr;
  const ztTextFileMethods *methods = nullptr;
};

// A stream that accepts a number of writes, passed on without delay, and fails from then on.
ssize_t countedWrite(void *left, const char *, size_t size) {
  return (*static_cast<int *>(left))-- > 0 ? static_cast<ssize_t>(size) : 0;
}

FILE *failingStream(int *writesLeft) {
  FILE *stream = fopencookie(writesLeft, "w", {nullptr, countedWrite, nullptr, nullptr});
  setvbuf(stream, nullptr, _IONBF, 0);
  return stream;
}

}  // namespace

// The class ---------------------------------------------------------------------------------------

TEST_F(TextFile, IsAFile) {
  EXPECT_TRUE(ztTextFileIsClass(nullptr, file, "ztTextFile"));
  EXPECT_TRUE(ztTextFileIsClassOf(nullptr, file, "ztFile"));
  EXPECT_EQ(ztTextFileClass_Instance()->parent, ztFileClass_Instance());
  EXPECT_EQ(ztTextFileClass_Instance()->instanceSize, ztFileClass_Instance()->instanceSize);
}

TEST_F(TextFile, IsMadeByName) {
  void *object = ztNewFromName("ztTextFile");
  ASSERT_NE(object, nullptr);
  EXPECT_STREQ(ztTextFileClassName(nullptr, object), "ztTextFile");
  EXPECT_STREQ(ztTextFile_of(object)->getFileName(object), "");
  ztTextFile_of(object)->unRef(object);
}

TEST_F(TextFile, OverridesExactlyTheTwelvePrimitives) {
  void *binary = ztFile_ctor(nullptr, 1);
  const auto *of = static_cast<void **>(ztFileClass_Instance()->methodTable);
  const auto *own = static_cast<void **>(ztTextFileClass_Instance()->methodTable);
  for (int slot = 1; slot < 39; ++slot) {
    const bool isPrimitive = slot >= 26 && slot < 38;
    EXPECT_EQ(own[slot] != of[slot], isPrimitive) << "slot " << slot;
  }
  ztFile_of(binary)->unRef(binary);
}

TEST_F(TextFile, CarriesTheClassFunctionsOfAFile) {
  void *binary = ztFile_ctor(nullptr, 1);
  const auto *of = static_cast<void **>(ztFileClass_Instance()->classTable);
  const auto *own = static_cast<void **>(ztTextFileClass_Instance()->classTable);
  for (int slot = 10; slot < 14; ++slot) {
    EXPECT_NE(own[slot], nullptr) << "slot " << slot;
    EXPECT_EQ(own[slot], of[slot]) << "slot " << slot;
  }
  EXPECT_EQ(own[8], nullptr);
  EXPECT_EQ(own[9], nullptr);
  ztFile_of(binary)->unRef(binary);
}

TEST_F(TextFile, RenamesAndDeletesThroughItsClassFunctions) {
  write();
  methods->close(file);
  const auto *functions = ztTextFile_functions();
  const std::string other = path + "2"s;
  EXPECT_EQ(functions->renameFile(nullptr, path, other.c_str()), 0);
  EXPECT_EQ(functions->fileExist(nullptr, path), 0);
  EXPECT_EQ(functions->deleteFile(nullptr, other.c_str()), 0);
  EXPECT_EQ(functions->fileExist(nullptr, other.c_str()), 0);
}

TEST_F(TextFile, OpensPositionsAndClosesLikeAFile) {
  write();
  EXPECT_STREQ(methods->getFileName(file), path);
  methods->writeInt(file, 12);
  EXPECT_EQ(methods->tell(file), 3);
  EXPECT_EQ(methods->goToBegin(file), 0);
  methods->writeInt(file, 34);
  methods->release(file);
  EXPECT_STREQ(methods->getFileName(file), path);
  EXPECT_EQ(written(), "34\n");
  EXPECT_STREQ(methods->getFileName(file), "");
}

TEST_F(TextFile, CannotBeCloned) {
  void *copy = ztTextFile_ctor(nullptr, 1);
  EXPECT_EQ(methods->clone(file, copy), nullptr);
  ztTextFile_of(copy)->unRef(copy);
}

// Numbers and characters --------------------------------------------------------------------------

TEST_F(TextFile, WritesIntegersAsLinesAndReportsTheirLength) {
  write();
  EXPECT_EQ(methods->writeInt(file, -5), 3);
  EXPECT_EQ(methods->writeInt(file, INT32_MIN), 12);
  EXPECT_EQ(methods->writeLong(file, 7), 2);
  EXPECT_EQ(methods->writeLong(file, INT64_MAX), 20);
  EXPECT_EQ(written(), "-5\n-2147483648\n7\n9223372036854775807\n");
}

TEST_F(TextFile, WritesDoublesWithSixDigits) {
  write();
  EXPECT_EQ(methods->writeFloat(file, 0.5), 9);
  EXPECT_EQ(methods->writeFloat(file, -1.0 / 3), 10);
  EXPECT_EQ(written(), "0.500000\n-0.333333\n");
}

TEST_F(TextFile, WritesTheLargestDoubleInFull) {
  write();
  EXPECT_EQ(methods->writeFloat(file, std::numeric_limits<double>::max()), 309 + 7 + 1);
  EXPECT_EQ(written().size(), 317u);
}

TEST_F(TextFile, WritesTheLowByteOfACharacter) {
  write();
  EXPECT_EQ(methods->writeChar(file, 'x'), 2);
  EXPECT_EQ(methods->writeChar(file, 0x1279), 2);
  EXPECT_EQ(methods->writeChar(file, 0), 2);
  EXPECT_EQ(methods->writeChar(file, -1), 2);
  EXPECT_EQ(written(), "x\ny\n\0\n\xff\n"s);
}

TEST_F(TextFile, ReadsBackTheNumbersThatItWrote) {
  write();
  methods->writeInt(file, INT32_MIN);
  methods->writeLong(file, INT64_MIN);
  methods->writeFloat(file, -2.25);
  methods->writeInt(file, 9);
  read(written());
  int32_t number = 0;
  int64_t longNumber = 0;
  double real = 0;
  EXPECT_EQ(methods->readInt(file, &number), 1);
  EXPECT_EQ(number, INT32_MIN);
  EXPECT_EQ(methods->readLong(file, &longNumber), 1);
  EXPECT_EQ(longNumber, INT64_MIN);
  EXPECT_EQ(methods->readFloat(file, &real), 1);
  EXPECT_EQ(real, -2.25);
  EXPECT_EQ(methods->readInt(file, &number), 1);
  EXPECT_EQ(number, 9);
  EXPECT_EQ(methods->readInt(file, &number), 0);
}

TEST_F(TextFile, ReadingANumberSwallowsTheWhiteSpaceBehindIt) {
  read("  1\n\n \t 2\n  3\n\n  x");
  int32_t number = 0;
  int64_t longNumber = 0;
  double real = 0;
  EXPECT_EQ(methods->readInt(file, &number), 1);
  EXPECT_EQ(number, 1);
  EXPECT_EQ(methods->tell(file), 8);
  EXPECT_EQ(methods->readLong(file, &longNumber), 1);
  EXPECT_EQ(longNumber, 2);
  EXPECT_EQ(methods->tell(file), 12);
  EXPECT_EQ(methods->readFloat(file, &real), 1);
  EXPECT_EQ(real, 3);
  EXPECT_EQ(rest(), "x");
}

TEST_F(TextFile, ReadingANumberAtTheEndReportsZeroAndStoresNothing) {
  read("");
  int32_t number = 17;
  int64_t longNumber = 18;
  double real = 19;
  char character = 'c';
  EXPECT_EQ(methods->readInt(file, &number), 0);
  EXPECT_EQ(methods->readLong(file, &longNumber), 0);
  EXPECT_EQ(methods->readFloat(file, &real), 0);
  EXPECT_EQ(methods->readChar(file, &character), 0);
  EXPECT_EQ(number, 17);
  EXPECT_EQ(longNumber, 18);
  EXPECT_EQ(real, 19);
  EXPECT_EQ(character, 'c');
  EXPECT_NE(methods->eof(file), 0);
}

TEST_F(TextFile, ReadingANumberBehindTheLastBlankReportsZero) {
  read(" \n\n");
  int32_t number = 17;
  EXPECT_EQ(methods->readInt(file, &number), 0);
  EXPECT_EQ(number, 17);
}

TEST_F(TextFile, ReadingLettersAsANumberReportsOneAndStoresNothing) {
  read("ab\n");
  int32_t number = 17;
  int64_t longNumber = 18;
  double real = 19;
  EXPECT_EQ(methods->readInt(file, &number), 1);
  EXPECT_EQ(methods->readLong(file, &longNumber), 1);
  EXPECT_EQ(number, 17);
  EXPECT_EQ(longNumber, 18);
  read("xy\n");
  EXPECT_EQ(methods->readFloat(file, &real), 1);
  EXPECT_EQ(real, 19);
  EXPECT_EQ(rest(), "xy\n");
}

TEST_F(TextFile, NumbersBeyondTheirTypeAreReadWithoutHarm) {
  const std::string digits(5000, '9');
  read(digits + "\n" + digits + "\n-" + digits + "\n1" + digits + "\n1e999\n-1e999\n42\n");
  int32_t number = 0;
  int64_t longNumber = 0;
  double real = 0;
  EXPECT_EQ(methods->readInt(file, &number), 1);
  EXPECT_EQ(methods->readLong(file, &longNumber), 1);
  EXPECT_EQ(methods->readLong(file, &longNumber), 1);
  EXPECT_EQ(methods->readFloat(file, &real), 1);
  EXPECT_TRUE(std::isinf(real));
  EXPECT_EQ(methods->readFloat(file, &real), 1);
  EXPECT_EQ(real, HUGE_VAL);
  EXPECT_EQ(methods->readFloat(file, &real), 1);
  EXPECT_EQ(real, -HUGE_VAL);
  EXPECT_EQ(methods->readInt(file, &number), 1);
  EXPECT_EQ(number, 42);
}

TEST_F(TextFile, ReadingACharacterLeavesTheLineFeedBehindIt) {
  write();
  methods->writeChar(file, 'x');
  methods->writeChar(file, ' ');
  read(written());
  std::string letters;
  char letter = 0;
  while (methods->readChar(file, &letter)) letters += letter;
  EXPECT_EQ(letters, "x\n \n");
}

// Buffers -----------------------------------------------------------------------------------------

TEST_F(TextFile, WritesABufferUnchangedAndALineFeed) {
  write();
  EXPECT_EQ(methods->writeBuf(file, 3, "abcdef"), 3);
  EXPECT_EQ(methods->writeBuf(file, 4, "\0\n\xff\n"), 4);
  EXPECT_EQ(written(), "abc\n\0\n\xff\n\n"s);
}

TEST_F(TextFile, ReadsABufferAndTheLineFeedBehindIt) {
  write();
  methods->writeBuf(file, 3, "a\nc");
  methods->writeBuf(file, 2, "de");
  read(written());
  char buffer[] = "......";
  EXPECT_EQ(methods->readBuf(file, 3, buffer), 3);
  EXPECT_STREQ(buffer, "a\nc...");
  EXPECT_EQ(methods->readBuf(file, 2, buffer), 2);
  EXPECT_STREQ(buffer, "dec...");
  EXPECT_EQ(rest(), "");
}

TEST_F(TextFile, ReadingABufferDropsWhateverByteStandsBehindIt) {
  read("abcdef");
  char buffer[3];
  EXPECT_EQ(methods->readBuf(file, 3, buffer), 3);
  EXPECT_EQ(rest(), "ef");
}

TEST_F(TextFile, ReadingABufferPastTheEndReportsTheCountAndClearsTheRest) {
  read("ab");
  char buffer[] = "......";
  EXPECT_EQ(methods->readBuf(file, 5, buffer), 5);
  EXPECT_EQ(std::string(buffer, 6), "ab\0\0\0."s);
  EXPECT_EQ(methods->readBuf(file, 2, buffer), 2);
  EXPECT_EQ(std::string(buffer, 6), "\0\0\0\0\0."s);
}

TEST_F(TextFile, AnEmptyBufferIsAnEmptyLine) {
  write();
  EXPECT_EQ(methods->writeBuf(file, 0, "abc"), 0);
  methods->writeBuf(file, 1, "d");
  const std::string text = written();
  EXPECT_EQ(text, "\nd\n");
  read(text);
  char buffer[] = "..";
  EXPECT_EQ(methods->readBuf(file, 0, buffer), 0);
  EXPECT_STREQ(buffer, "..");
  EXPECT_EQ(rest(), "d\n");
}

TEST_F(TextFile, AnEmptyBufferMayBeNull) {
  write();
  EXPECT_EQ(methods->writeBuf(file, 0, nullptr), 0);
  methods->writeBuf(file, 1, "d");
  const std::string text = written();
  EXPECT_EQ(text, "\nd\n");
  read(text);
  EXPECT_EQ(methods->readBuf(file, 0, nullptr), 0);
  EXPECT_EQ(rest(), "d\n");
}

TEST_F(TextFile, ANegativeCountDoesNothing) {
  write();
  EXPECT_EQ(methods->writeBuf(file, -1, "abc"), 0);
  EXPECT_EQ(methods->writeBuf(file, INT32_MIN, "abc"), 0);
  EXPECT_EQ(written(), "");
  read("abc\n");
  char buffer[] = "..";
  EXPECT_EQ(methods->readBuf(file, -1, buffer), 0);
  EXPECT_EQ(methods->readBuf(file, INT32_MIN, buffer), 0);
  EXPECT_EQ(methods->readString(file, -1, buffer), 0);
  EXPECT_EQ(methods->readString(file, 0, buffer), 0);
  EXPECT_STREQ(buffer, "..");
  EXPECT_EQ(rest(), "abc\n");
}

// Texts -------------------------------------------------------------------------------------------

TEST_F(TextFile, WritesATextAsALine) {
  write();
  EXPECT_EQ(methods->writeString(file, "ab"), 1);
  EXPECT_EQ(methods->writeString(file, "c\nd"), 1);
  EXPECT_EQ(written(), "ab\nc\nd\n");
}

TEST_F(TextFile, WritesAnEmptyTextAsNull) {
  write();
  EXPECT_EQ(methods->writeString(file, ""), 1);
  EXPECT_EQ(written(), "null\n");
}

TEST_F(TextFile, AddsNoLineFeedToATextThatEndsWithOne) {
  write();
  EXPECT_EQ(methods->writeString(file, "ab\n"), 1);
  EXPECT_EQ(methods->writeString(file, "\n"), 1);
  EXPECT_EQ(methods->writeString(file, "c\n\n"), 1);
  EXPECT_EQ(written(), "ab\n\nc\n\n");
}

TEST_F(TextFile, ReadsALineWithItsLineFeed) {
  read("ab\n\nlast");
  char buffer[16];
  const auto address = reinterpret_cast<intptr_t>(buffer);
  EXPECT_EQ(methods->readString(file, 16, buffer), address);
  EXPECT_STREQ(buffer, "ab\n");
  EXPECT_EQ(methods->readString(file, 16, buffer), address);
  EXPECT_STREQ(buffer, "\n");
  EXPECT_EQ(methods->readString(file, 16, buffer), address);
  EXPECT_STREQ(buffer, "last");
  EXPECT_EQ(methods->readString(file, 16, buffer), 0);
}

TEST_F(TextFile, ReadsALongLineInPieces) {
  read("abcdef\n");
  char buffer[] = "......";
  EXPECT_EQ(methods->readString(file, 4, buffer), reinterpret_cast<intptr_t>(buffer));
  EXPECT_EQ(std::string(buffer, 6), "abc\0.."s);
  EXPECT_EQ(rest(), "def\n");
}

TEST_F(TextFile, NullReadsBackAsAWord) {
  write();
  methods->writeString(file, "");
  read(written());
  char buffer[16];
  EXPECT_NE(methods->readString(file, 16, buffer), 0);
  EXPECT_STREQ(buffer, "null\n");
}

// Whole objects -----------------------------------------------------------------------------------

TEST_F(TextFile, CarriesTheIdentityOfAnObject) {
  void *object = ztBaseClass_ctor(nullptr, 1);
  write();
  EXPECT_EQ(ztBaseClass_functions()->classWrite(nullptr, object, file), 1);
  const std::string text = written();
  EXPECT_EQ(text, "ztBaseClass" + std::string(89, '\0') + "\n1\n");
  read(text);
  void *copy = ztBaseClass_functions()->classRead(nullptr, file);
  ASSERT_NE(copy, nullptr);
  EXPECT_TRUE(ztBaseClassIsClass(nullptr, copy, "ztBaseClass"));
  EXPECT_EQ(ztBaseClass_functions()->classRead(nullptr, file), nullptr);
  ztBaseClass_of(copy)->unRef(copy);
  ztBaseClass_of(object)->unRef(object);
}

// Failures ----------------------------------------------------------------------------------------

TEST_F(TextFile, WithoutAnOpenFileEveryPrimitiveFails) {
  int32_t number = 17;
  int64_t longNumber = 18;
  double real = 19;
  char text[] = "text";
  EXPECT_EQ(methods->writeInt(file, 1), 0);
  EXPECT_EQ(methods->readInt(file, &number), 0);
  EXPECT_EQ(methods->writeLong(file, 1), 0);
  EXPECT_EQ(methods->readLong(file, &longNumber), 0);
  EXPECT_EQ(methods->writeFloat(file, 1), 0);
  EXPECT_EQ(methods->readFloat(file, &real), 0);
  EXPECT_EQ(methods->writeBuf(file, 4, text), 0);
  EXPECT_EQ(methods->readBuf(file, 4, text), 0);
  EXPECT_EQ(methods->writeString(file, text), 0);
  EXPECT_EQ(methods->readString(file, 4, text), 0);
  EXPECT_EQ(methods->writeChar(file, 'x'), 0);
  EXPECT_EQ(methods->readChar(file, text), 0);
  EXPECT_EQ(number, 17);
  EXPECT_EQ(longNumber, 18);
  EXPECT_EQ(real, 19);
  EXPECT_STREQ(text, "text");
}

TEST_F(TextFile, OperationsTakeANullFile) {
  char letter = 'x';
  EXPECT_EQ(methods->writeInt(nullptr, 1), 0);
  EXPECT_EQ(methods->writeBuf(nullptr, 1, "a"), 0);
  EXPECT_EQ(methods->writeString(nullptr, "a"), 0);
  EXPECT_EQ(methods->readChar(nullptr, &letter), 0);
  EXPECT_EQ(methods->readBuf(nullptr, 1, &letter), 0);
  EXPECT_EQ(methods->readString(nullptr, 1, &letter), 0);
  EXPECT_EQ(letter, 'x');
}

TEST_F(TextFile, NullWritesNothing) {
  write();
  EXPECT_EQ(methods->writeBuf(file, 4, nullptr), 0);
  EXPECT_EQ(methods->writeString(file, nullptr), 0);
  EXPECT_EQ(written(), "");
}

TEST_F(TextFile, NullReadsNothing) {
  read("12\n");
  EXPECT_EQ(methods->readInt(file, nullptr), 0);
  EXPECT_EQ(methods->readLong(file, nullptr), 0);
  EXPECT_EQ(methods->readFloat(file, nullptr), 0);
  EXPECT_EQ(methods->readBuf(file, 2, nullptr), 0);
  EXPECT_EQ(methods->readString(file, 2, nullptr), 0);
  EXPECT_EQ(methods->readChar(file, nullptr), 0);
  EXPECT_EQ(rest(), "12\n");
}

TEST_F(TextFile, AFailedPrintReportsANegativeNumber) {
  int writesLeft = 0;
  file->stream = failingStream(&writesLeft);
  EXPECT_LT(methods->writeInt(file, 1), 0);
  EXPECT_LT(methods->writeLong(file, 1), 0);
  EXPECT_LT(methods->writeFloat(file, 1), 0);
  EXPECT_LT(methods->writeChar(file, 'x'), 0);
}

TEST_F(TextFile, WritingABufferReportsTheCountEvenWhenItFails) {
  int writesLeft = 0;
  file->stream = failingStream(&writesLeft);
  EXPECT_EQ(methods->writeBuf(file, 3, "abc"), 3);
}

TEST_F(TextFile, AFailedTextReportsZero) {
  int writesLeft = 0;
  file->stream = failingStream(&writesLeft);
  EXPECT_EQ(methods->writeString(file, "ab"), 0);
  EXPECT_EQ(methods->writeString(file, ""), 0);
}

TEST_F(TextFile, AFailedLineFeedReportsZero) {
  int writesLeft = 1;
  file->stream = failingStream(&writesLeft);
  EXPECT_EQ(methods->writeString(file, "ab"), 0);
  writesLeft = 1;
  EXPECT_EQ(methods->writeString(file, "ab\n"), 1);
  writesLeft = 2;
  EXPECT_EQ(methods->writeString(file, "ab"), 1);
}

TEST_F(TextFile, ReadsFailOnAFileOpenForWriting) {
  write();
  int32_t number = 17;
  char buffer[] = "ab";
  EXPECT_EQ(methods->readInt(file, &number), 0);
  EXPECT_EQ(methods->readString(file, 3, buffer), 0);
  EXPECT_STREQ(buffer, "ab");
  EXPECT_EQ(methods->readBuf(file, 2, buffer), 2);
  EXPECT_STREQ(buffer, "");
  EXPECT_EQ(number, 17);
}
