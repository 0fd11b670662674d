#include "io/ztfile.h"

#include "tests/helpers/temp_folder.hh"

#include <gtest/gtest.h>

#include <float.h>
#include <math.h>
#include <string.h>
#include <sys/random.h>
#include <unistd.h>

#include <limits>
#include <set>

// What the system's random bytes are, a letter for each time that they are asked for: bytes of that letter,
// or, for '!', none. They are random behind the last letter.
static std::string scriptedEntropy;

// Stands in front of the system's.
extern "C" int getentropy(void *buffer, size_t size) {
  if (scriptedEntropy.empty()) return getrandom(buffer, size, 0) == static_cast<ssize_t>(size) ? 0 : -1;
  const char letter = scriptedEntropy.front();
  scriptedEntropy.erase(0, 1);
  if (letter == '!') return -1;
  memset(buffer, letter, size);
  return 0;
}

namespace {

template <typename Value>
std::string bytesOf(Value value) {
  return std::string(reinterpret_cast<const char *>(&value), sizeof value);
}

class File : public testing::Test {
 protected:
  ~File() override {
    methods->unRef(file);
  }

  void openFor(const char *mode) {
    ASSERT_EQ(methods->open(file, path.c_str(), mode), 1);
  }
  void openWith(const std::string &bytes) {
    writeContents(path, bytes);
    openFor("rb");
  }
  std::string written() {
    methods->flush(file);
    return contentsOf(path);
  }

  TempFolder folder;
  const std::string path = folder.path("file");
  void *file = ztFile_ctor(nullptr, 1);
  const ztFileMethods *methods = ztFile_of(file);
  const ztFileFunctions *functions = ztFile_functions();
};

// Opening and closing -----------------------------------------------------------------------------

TEST_F(File, IsClosedAndNamelessWhenNew) {
  EXPECT_EQ(static_cast<ztFile *>(file)->stream, nullptr);
  EXPECT_STREQ(methods->getFileName(file), "");
  EXPECT_EQ(methods->getFileName(file), static_cast<ztFile *>(file)->fileName);
}

TEST_F(File, OpenTakesStreamAndName) {
  openFor("wb");
  EXPECT_NE(static_cast<ztFile *>(file)->stream, nullptr);
  EXPECT_EQ(methods->getFileName(file), path);
  EXPECT_TRUE(std::filesystem::exists(path));
}

TEST_F(File, CloseClearsTheNameAndReleaseKeepsIt) {
  openFor("wb");
  methods->release(file);
  EXPECT_EQ(static_cast<ztFile *>(file)->stream, nullptr);
  EXPECT_EQ(methods->getFileName(file), path);
  methods->release(file);
  EXPECT_EQ(methods->getFileName(file), path);
  openFor("rb");
  methods->close(file);
  EXPECT_EQ(static_cast<ztFile *>(file)->stream, nullptr);
  EXPECT_STREQ(methods->getFileName(file), "");
  methods->close(file);
}

TEST_F(File, OpenClosesTheOpenFile) {
  openFor("wb");
  methods->writeString(file, "text");
  const std::string other = folder.path("other");
  ASSERT_EQ(methods->open(file, other.c_str(), "wb"), 1);
  EXPECT_EQ(contentsOf(path), std::string("text", 5));
  EXPECT_EQ(methods->getFileName(file), other);
}

TEST_F(File, FailedOpenLeavesItClosedAndNameless) {
  EXPECT_EQ(methods->open(file, folder.path("missing").c_str(), "r"), 0);
  EXPECT_STREQ(methods->getFileName(file), "");
  openFor("wb");
  EXPECT_EQ(methods->open(file, folder.path("missing").c_str(), "r"), 0);
  EXPECT_EQ(static_cast<ztFile *>(file)->stream, nullptr);
  EXPECT_STREQ(methods->getFileName(file), "");
}

TEST_F(File, RefusesAnUnknownModeAndNull) {
  EXPECT_EQ(methods->open(file, path.c_str(), "q"), 0);
  EXPECT_EQ(methods->open(file, path.c_str(), ""), 0);
  openFor("wb");
  EXPECT_EQ(methods->open(file, nullptr, "r"), 0);
  EXPECT_EQ(static_cast<ztFile *>(file)->stream, nullptr);
  EXPECT_STREQ(methods->getFileName(file), "");
  openFor("wb");
  EXPECT_EQ(methods->open(file, path.c_str(), nullptr), 0);
  EXPECT_EQ(static_cast<ztFile *>(file)->stream, nullptr);
}

TEST_F(File, OpensItsOwnNameAgain) {
  openFor("wb");
  methods->writeInt(file, 5);
  EXPECT_EQ(methods->open(file, methods->getFileName(file), "rb"), 1);
  EXPECT_EQ(methods->getFileName(file), path);
  int32_t value = 0;
  EXPECT_EQ(methods->readInt(file, &value), 1);
  EXPECT_EQ(value, 5);
  methods->release(file);
  EXPECT_EQ(methods->open(file, methods->getFileName(file), "rb"), 1);
  EXPECT_EQ(methods->getFileName(file), path);
}

TEST_F(File, OpensAPartOfItsOwnName) {
  ASSERT_EQ(methods->open(file, ("/." + path).c_str(), "wb"), 1);
  EXPECT_EQ(methods->open(file, methods->getFileName(file) + 2, "rb"), 1);
  EXPECT_EQ(methods->getFileName(file), path);
}

TEST_F(File, PassesTheModeThrough) {
  openFor("w");
  methods->writeBuf(file, 3, "abc");
  openFor("a");
  methods->writeBuf(file, 3, "def");
  EXPECT_EQ(written(), "abcdef");
  openFor("r+");
  methods->writeBuf(file, 1, "X");
  EXPECT_EQ(written(), "Xbcdef");
  openFor("a+");
  char text[3] = "";
  methods->goToBegin(file);
  EXPECT_EQ(methods->readBuf(file, 2, text), 2);
  EXPECT_STREQ(text, "Xb");
  openFor("w+");
  EXPECT_EQ(written(), "");
  openFor("r");
  EXPECT_EQ(methods->writeInt(file, 1), 0);
  openFor("w");
  int32_t value = 9;
  EXPECT_EQ(methods->readInt(file, &value), 0);
  EXPECT_EQ(methods->open(file, path.c_str(), "wx"), 0);
}

TEST_F(File, CutsALongNameThatOpens) {
  std::string name = folder.path();
  while (name.size() < 600) name += "/.";
  name += "/file";
  ASSERT_EQ(methods->open(file, name.c_str(), "wb"), 1);
  EXPECT_EQ(methods->getFileName(file), name.substr(0, 511));
  EXPECT_TRUE(std::filesystem::exists(path));
}

TEST_F(File, ReadsNothingFromAFolder) {
  ASSERT_EQ(methods->open(file, folder.path().c_str(), "r"), 1);
  int32_t value = 7;
  EXPECT_EQ(methods->readInt(file, &value), 0);
  EXPECT_EQ(methods->open(file, folder.path().c_str(), "w"), 0);
}

TEST_F(File, DestroyClosesItAndMayRunTwice) {
  ztFile embedded;
  ASSERT_EQ(ztFile_ctor(&embedded, 1), &embedded);
  ASSERT_EQ(ztFile_of(&embedded)->open(&embedded, path.c_str(), "wb"), 1);
  ztFile_of(&embedded)->writeInt(&embedded, 1);
  ztFile_of(&embedded)->destroy(&embedded);
  EXPECT_EQ(embedded.stream, nullptr);
  EXPECT_STREQ(embedded.fileName, "");
  EXPECT_EQ(contentsOf(path).size(), 4U);
  ztFile_of(&embedded)->destroy(&embedded);
}

TEST_F(File, ReleasingTheObjectClosesTheFile) {
  void *other = ztFile_ctor(nullptr, 1);
  ASSERT_EQ(ztFile_of(other)->open(other, path.c_str(), "wb"), 1);
  ztFile_of(other)->writeInt(other, 1);
  ztFile_of(other)->unRef(other);
  EXPECT_EQ(contentsOf(path).size(), 4U);
}

TEST_F(File, CannotBeCloned) {
  openFor("wb");
  ztFile target;
  memset(&target, 0x11, sizeof target);
  const ztFile before = target;
  EXPECT_EQ(methods->clone(file, &target), nullptr);
  EXPECT_EQ(memcmp(&before, &target, sizeof target), 0);
}

TEST_F(File, AssignTakesNeitherStreamNorName) {
  openFor("wb");
  void *other = ztFile_ctor(nullptr, 1);
  EXPECT_EQ(methods->assign(other, file), 1);
  EXPECT_EQ(static_cast<ztFile *>(other)->stream, nullptr);
  EXPECT_STREQ(methods->getFileName(other), "");
  methods->unRef(other);
}

// Without an open file ----------------------------------------------------------------------------

TEST_F(File, PrimitivesFailWithoutAnOpenFile) {
  int32_t anInt = 1;
  int64_t aLong = 2;
  double aFloat = 3;
  char letter = 'x';
  char text[4] = "abc";
  EXPECT_EQ(methods->writeInt(file, 1), 0);
  EXPECT_EQ(methods->readInt(file, &anInt), 0);
  EXPECT_EQ(methods->writeLong(file, 1), 0);
  EXPECT_EQ(methods->readLong(file, &aLong), 0);
  EXPECT_EQ(methods->writeFloat(file, 1), 0);
  EXPECT_EQ(methods->readFloat(file, &aFloat), 0);
  EXPECT_EQ(methods->writeChar(file, 'a'), 0);
  EXPECT_EQ(methods->readChar(file, &letter), 0);
  EXPECT_EQ(methods->writeBuf(file, 3, "xyz"), 0);
  EXPECT_EQ(methods->readBuf(file, 3, text), 0);
  EXPECT_EQ(methods->writeString(file, "xyz"), 0);
  EXPECT_EQ(methods->readString(file, 3, text), 0);
  EXPECT_EQ(anInt, 1);
  EXPECT_EQ(aLong, 2);
  EXPECT_EQ(aFloat, 3);
  EXPECT_EQ(letter, 'x');
  EXPECT_STREQ(text, "abc");
}

TEST_F(File, PositionsFailWithoutAnOpenFile) {
  EXPECT_EQ(methods->goToBegin(file), -1);
  EXPECT_EQ(methods->goToEnd(file), -1);
  EXPECT_EQ(methods->goTo(file, 0), -1);
  EXPECT_EQ(methods->goToAbs(file, 0), -1);
  EXPECT_EQ(methods->tell(file), -1);
  EXPECT_EQ(methods->flush(file), EOF);
  EXPECT_NE(methods->eof(file), 0);
}

TEST_F(File, PrimitivesTakeNull) {
  openFor("w+b");
  methods->writeLong(file, 0);
  methods->goToBegin(file);
  EXPECT_EQ(methods->readInt(file, nullptr), 0);
  EXPECT_EQ(methods->readLong(file, nullptr), 0);
  EXPECT_EQ(methods->readFloat(file, nullptr), 0);
  EXPECT_EQ(methods->readChar(file, nullptr), 0);
  EXPECT_EQ(methods->readBuf(file, 4, nullptr), 0);
  EXPECT_EQ(methods->readString(file, 4, nullptr), 0);
  EXPECT_EQ(methods->writeBuf(file, 4, nullptr), 0);
  EXPECT_EQ(methods->writeString(file, nullptr), 0);
  EXPECT_EQ(methods->tell(file), 0);
}

TEST_F(File, OperationsTakeANullFile) {
  EXPECT_EQ(methods->create(nullptr), 0);
  EXPECT_EQ(methods->open(nullptr, path.c_str(), "wb"), 0);
  EXPECT_EQ(methods->getFileName(nullptr), nullptr);
  methods->close(nullptr);
  methods->release(nullptr);
  methods->destroy(nullptr);
  EXPECT_EQ(methods->goToBegin(nullptr), -1);
  EXPECT_EQ(methods->goToEnd(nullptr), -1);
  EXPECT_EQ(methods->goTo(nullptr, 0), -1);
  EXPECT_EQ(methods->goToAbs(nullptr, 0), -1);
  EXPECT_EQ(methods->tell(nullptr), -1);
  EXPECT_EQ(methods->flush(nullptr), EOF);
  EXPECT_NE(methods->eof(nullptr), 0);
  EXPECT_EQ(methods->writeInt(nullptr, 1), 0);
  EXPECT_EQ(methods->writeString(nullptr, "a"), 0);
  char letter = 'x';
  EXPECT_EQ(methods->readChar(nullptr, &letter), 0);
  EXPECT_EQ(methods->readString(nullptr, 1, &letter), 0);
  EXPECT_EQ(letter, 'x');
  EXPECT_FALSE(std::filesystem::exists(path));
}

// Primitives --------------------------------------------------------------------------------------

TEST_F(File, ConcatenatesWhatIsWritten) {
  openFor("wb");
  EXPECT_EQ(methods->writeInt(file, 1), 1);
  EXPECT_EQ(methods->writeLong(file, 2), 1);
  EXPECT_EQ(methods->writeFloat(file, 0.5), 1);
  EXPECT_EQ(methods->writeChar(file, 'x'), 1);
  EXPECT_EQ(written(), std::string("\1\0\0\0\2\0\0\0\0\0\0\0\0\0\0\0\0\0\xe0\x3fx", 21));
  EXPECT_EQ(methods->tell(file), 21);
}

TEST_F(File, KeepsEveryInt) {
  const int32_t values[] = {0, 1, -1, 0x01020304, INT32_MIN, INT32_MAX};
  openFor("w+b");
  std::string expected;
  for (const int32_t value : values) {
    EXPECT_EQ(methods->writeInt(file, value), 1);
    expected += bytesOf(value);
  }
  EXPECT_EQ(written(), expected);
  methods->goToBegin(file);
  for (const int32_t value : values) {
    int32_t read = 77;
    EXPECT_EQ(methods->readInt(file, &read), 1);
    EXPECT_EQ(read, value);
  }
}

TEST_F(File, KeepsEveryLong) {
  const int64_t values[] = {0, 1, -1, 0x0102030405060708, INT64_MIN, INT64_MAX};
  openFor("w+b");
  std::string expected;
  for (const int64_t value : values) {
    EXPECT_EQ(methods->writeLong(file, value), 1);
    expected += bytesOf(value);
  }
  EXPECT_EQ(written(), expected);
  methods->goToBegin(file);
  for (const int64_t value : values) {
    int64_t read = 77;
    EXPECT_EQ(methods->readLong(file, &read), 1);
    EXPECT_EQ(read, value);
  }
}

TEST_F(File, KeepsEveryDouble) {
  const double values[] = {
      0.0,      -0.0,      0.1, -1.5, DBL_MAX, DBL_MIN, std::numeric_limits<double>::denorm_min(),
      INFINITY, -INFINITY, NAN};
  openFor("w+b");
  std::string expected;
  for (const double value : values) {
    EXPECT_EQ(methods->writeFloat(file, value), 1);
    expected += bytesOf(value);
  }
  EXPECT_EQ(written(), expected);
  methods->goToBegin(file);
  for (const double value : values) {
    double read = 77;
    EXPECT_EQ(methods->readFloat(file, &read), 1);
    EXPECT_EQ(bytesOf(read), bytesOf(value));
  }
}

TEST_F(File, CharIsTheLowByte) {
  openFor("w+b");
  for (const int32_t value : {0x41, 0x142, -1, 0, 0x7f, 0x80, INT32_MIN})
    EXPECT_EQ(methods->writeChar(file, value), 1);
  EXPECT_EQ(written(), std::string("\x41\x42\xff\0\x7f\x80\0", 7));
  methods->goToBegin(file);
  char letter = 0;
  EXPECT_EQ(methods->readChar(file, &letter), 1);
  EXPECT_EQ(letter, 'A');
}

TEST_F(File, BuffersAreCounted) {
  openFor("w+b");
  EXPECT_EQ(methods->writeBuf(file, 5, "a\0b\nc"), 5);
  EXPECT_EQ(methods->writeBuf(file, 0, "xyz"), 0);
  EXPECT_EQ(methods->writeBuf(file, -1, "xyz"), 0);
  EXPECT_EQ(methods->writeBuf(file, INT32_MIN, "xyz"), 0);
  EXPECT_EQ(written(), std::string("a\0b\nc", 5));
  methods->goToBegin(file);
  char text[16];
  memset(text, '#', sizeof text);
  EXPECT_EQ(methods->readBuf(file, 0, text), 0);
  EXPECT_EQ(methods->readBuf(file, -1, text), 0);
  EXPECT_EQ(methods->readBuf(file, 3, text), 3);
  EXPECT_EQ(std::string(text, 4), std::string("a\0b#", 4));
  EXPECT_EQ(methods->readBuf(file, 10, text), 2);
  EXPECT_EQ(std::string(text, 4), "\ncb#");
  EXPECT_EQ(methods->readBuf(file, 10, text), 0);
}

TEST_F(File, WritesAStringWithItsTerminator) {
  openFor("wb");
  EXPECT_EQ(methods->writeString(file, "hi"), 3);
  EXPECT_EQ(methods->writeString(file, ""), 1);
  EXPECT_EQ(written(), std::string("hi\0\0", 4));
}

TEST_F(File, ReadsAStringPastItsTerminator) {
  openWith(std::string("hi\0abcd", 7));
  char text[8];
  memset(text, '#', sizeof text);
  EXPECT_EQ(methods->readString(file, 5, text), 5);
  EXPECT_EQ(std::string(text, 6), std::string("hi\0ab#", 6));
  EXPECT_EQ(methods->readString(file, 5, text), 2);
  EXPECT_EQ(std::string(text, 3), std::string("cd\0", 3));
  EXPECT_EQ(methods->readString(file, 0, text), 0);
  EXPECT_EQ(methods->readString(file, -4, text), 0);
}

TEST_F(File, MovesALargeBuffer) {
  std::string bytes(3000000, '\0');
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 31 >> 3);
  openFor("w+b");
  const auto size = static_cast<int32_t>(bytes.size());
  EXPECT_EQ(methods->writeBuf(file, size, bytes.data()), size);
  methods->goToBegin(file);
  std::string read(bytes.size() + 10, '\0');
  EXPECT_EQ(methods->readBuf(file, size + 10, read.data()), size);
  read.resize(bytes.size());
  EXPECT_TRUE(read == bytes);
}

TEST_F(File, ReadsFailInAnIncompleteValue) {
  for (size_t length = 0; length < 8; ++length) {
    openWith(std::string(length, '\1'));
    int32_t anInt = 0;
    int64_t aLong = 0;
    double aFloat = 0;
    EXPECT_EQ(methods->readInt(file, &anInt), length >= 4);
    methods->goToBegin(file);
    EXPECT_EQ(methods->readLong(file, &aLong), 0);
    methods->goToBegin(file);
    EXPECT_EQ(methods->readFloat(file, &aFloat), 0);
    methods->goToBegin(file);
    char letter = 0;
    EXPECT_EQ(methods->readChar(file, &letter), length >= 1);
  }
}

TEST_F(File, WritesToAFullDeviceFail) {
  if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "no /dev/full";
  ASSERT_EQ(methods->open(file, "/dev/full", "wb"), 1);
  // Whatever the stream's buffer takes is refused when it is handed on.
  EXPECT_EQ(methods->writeInt(file, 1), 1);
  EXPECT_EQ(methods->flush(file), EOF);
  setvbuf(static_cast<ztFile *>(file)->stream, nullptr, _IONBF, 0);
  EXPECT_EQ(methods->writeInt(file, 1), 0);
  EXPECT_EQ(methods->writeLong(file, 1), 0);
  EXPECT_EQ(methods->writeFloat(file, 1), 0);
  EXPECT_EQ(methods->writeChar(file, 1), 0);
  EXPECT_EQ(methods->writeBuf(file, 3, "abc"), 0);
  EXPECT_EQ(methods->writeString(file, "abc"), 0);
  const auto *base = ztBaseClass_functions();
  EXPECT_EQ(base->classWrite(nullptr, file, file), 0);
}

// Positions ---------------------------------------------------------------------------------------

TEST_F(File, GoesWhereItIsSent) {
  openWith("0123456789");
  char letter = 0;
  EXPECT_EQ(methods->tell(file), 0);
  EXPECT_EQ(methods->goToAbs(file, 4), 0);
  EXPECT_EQ(methods->readChar(file, &letter), 1);
  EXPECT_EQ(letter, '4');
  EXPECT_EQ(methods->goTo(file, 2), 0);
  EXPECT_EQ(methods->tell(file), 7);
  EXPECT_EQ(methods->goTo(file, -5), 0);
  EXPECT_EQ(methods->readChar(file, &letter), 1);
  EXPECT_EQ(letter, '2');
  EXPECT_EQ(methods->goToEnd(file), 0);
  EXPECT_EQ(methods->tell(file), 10);
  EXPECT_EQ(methods->goToBegin(file), 0);
  EXPECT_EQ(methods->tell(file), 0);
}

TEST_F(File, RefusesAPositionBeforeTheStart) {
  openWith("0123456789");
  methods->goToAbs(file, 3);
  EXPECT_EQ(methods->goToAbs(file, -1), -1);
  EXPECT_EQ(methods->goTo(file, -4), -1);
  EXPECT_EQ(methods->goTo(file, INT64_MIN), -1);
  EXPECT_EQ(methods->tell(file), 3);
}

TEST_F(File, PositionsTake64Bits) {
  openFor("w+b");
  const int64_t far = (int64_t{1} << 32) + 5;
  EXPECT_EQ(methods->goToAbs(file, far), 0);
  EXPECT_EQ(methods->tell(file), far);
  EXPECT_EQ(methods->goTo(file, 10), 0);
  EXPECT_EQ(methods->tell(file), far + 10);
  EXPECT_EQ(written(), "");  // going somewhere writes nothing
}

TEST_F(File, KnowsItsEndOnceAReadMetIt) {
  openWith("ab");
  char text[4];
  EXPECT_EQ(methods->eof(file), 0);
  EXPECT_EQ(methods->readBuf(file, 2, text), 2);
  EXPECT_EQ(methods->eof(file), 0);
  EXPECT_EQ(methods->readBuf(file, 1, text), 0);
  EXPECT_NE(methods->eof(file), 0);
  EXPECT_EQ(methods->goToBegin(file), 0);
  EXPECT_EQ(methods->eof(file), 0);
}

TEST_F(File, FlushHandsTheBytesOver) {
  openFor("wb");
  methods->writeBuf(file, 3, "abc");
  EXPECT_EQ(methods->flush(file), 0);
  EXPECT_EQ(contentsOf(path), "abc");
}

// Class functions ---------------------------------------------------------------------------------

TEST_F(File, RenamesAndDeletesFiles) {
  writeContents(path, "contents");
  const std::string other = folder.path("other");
  EXPECT_EQ(functions->renameFile(nullptr, path.c_str(), other.c_str()), 0);
  EXPECT_FALSE(std::filesystem::exists(path));
  EXPECT_EQ(contentsOf(other), "contents");
  EXPECT_EQ(functions->renameFile(nullptr, path.c_str(), other.c_str()), -1);
  EXPECT_EQ(functions->deleteFile(ztFileClass_Instance(), other.c_str()), 0);
  EXPECT_FALSE(std::filesystem::exists(other));
  EXPECT_EQ(functions->deleteFile(nullptr, other.c_str()), -1);
}

TEST_F(File, KnowsWhetherAFileExists) {
  EXPECT_EQ(functions->fileExist(nullptr, path.c_str()), 0);
  writeContents(path, "");
  EXPECT_EQ(functions->fileExist(nullptr, path.c_str()), 1);
  EXPECT_EQ(functions->fileExist(nullptr, folder.path().c_str()), 1);
  EXPECT_EQ(functions->fileExist(nullptr, ""), 0);
}

TEST_F(File, ClassFunctionsTakeNull) {
  EXPECT_EQ(functions->renameFile(nullptr, nullptr, "a"), -1);
  EXPECT_EQ(functions->renameFile(nullptr, path.c_str(), nullptr), -1);
  EXPECT_EQ(functions->deleteFile(nullptr, nullptr), -1);
  EXPECT_EQ(functions->tmpFile(nullptr, nullptr), nullptr);
  EXPECT_EQ(functions->fileExist(nullptr, nullptr), 0);
}

TEST_F(File, MakesUpNamesThatNoFileBears) {
  std::set<std::string> names;
  for (int i = 0; i < 1000; ++i) {
    char buffer[L_tmpnam + 1];
    memset(buffer, '#', sizeof buffer);
    ASSERT_EQ(functions->tmpFile(nullptr, buffer), buffer);
    ASSERT_EQ(strnlen(buffer, sizeof buffer), size_t{L_tmpnam} - 1);
    ASSERT_EQ(buffer[L_tmpnam], '#');
    const std::string name = buffer;
    ASSERT_EQ(name.substr(0, name.rfind('/')), P_tmpdir);
    ASSERT_FALSE(std::filesystem::exists(name));
    names.insert(name);
  }
  EXPECT_EQ(names.size(), 1000U);
}

TEST_F(File, MakesUpAnotherNameWhereOneIsTaken) {
  char taken[L_tmpnam];
  scriptedEntropy = "a";
  ASSERT_EQ(functions->tmpFile(nullptr, taken), taken);
  ASSERT_EQ(methods->open(file, taken, "wb"), 1);
  char name[L_tmpnam];
  scriptedEntropy = "aab";
  ASSERT_EQ(functions->tmpFile(nullptr, name), name);
  EXPECT_EQ(scriptedEntropy, "") << "one try for each";
  EXPECT_STRNE(name, taken);
  EXPECT_FALSE(std::filesystem::exists(name));
  EXPECT_EQ(functions->deleteFile(nullptr, taken), 0);
}

TEST_F(File, MakesUpNoNameWithoutRandomBytes) {
  char name[L_tmpnam] = "kept";
  scriptedEntropy = "!";
  EXPECT_EQ(functions->tmpFile(nullptr, name), nullptr);
  EXPECT_STREQ(name, "kept");
}

TEST_F(File, AMadeUpNameCanBeOpened) {
  char name[L_tmpnam];
  ASSERT_NE(functions->tmpFile(nullptr, name), nullptr);
  ASSERT_EQ(methods->open(file, name, "w+bx"), 1);
  methods->close(file);
  EXPECT_EQ(functions->fileExist(nullptr, name), 1);
  EXPECT_EQ(functions->deleteFile(nullptr, name), 0);
}

// A file class of a host --------------------------------------------------------------------------

}  // namespace

// Counts what is closed, through overrides of both.
#define CountingFile_FIELDS \
  ztFile_FIELDS             \
  int32_t closed;
#define CountingFile_METHODS ztFile_METHODS
ZT_DECLARE_CLASS(CountingFile)

static int32_t countingCreate(void *file) {
  if (!ztFile_table()->create(file)) return 0;
  static_cast<CountingFile *>(file)->closed = 0;
  return 1;
}

static int32_t allClosed;

static void countingClose(void *file) {
  ++static_cast<CountingFile *>(file)->closed;
  ++allClosed;
  ztFile_table()->close(file);
}

static void countingMethods(CountingFileMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, countingCreate);
  ZT_OVERRIDE_METHOD(methods, close, countingClose);
}

ZT_DEFINE_CLASS(CountingFile, ztFile, countingMethods)

namespace {

TEST_F(File, OpenAndDestroyCloseThroughTheMethodTable) {
  auto *counting = static_cast<CountingFile *>(CountingFile_ctor(nullptr, 1));
  EXPECT_EQ(CountingFile_of(counting)->open(counting, path.c_str(), "wb"), 1);
  EXPECT_EQ(counting->closed, 1);
  EXPECT_EQ(CountingFile_of(counting)->open(counting, folder.path("missing").c_str(), "rb"), 0);
  EXPECT_EQ(counting->closed, 2);
  allClosed = 0;
  CountingFile_of(counting)->unRef(counting);
  EXPECT_EQ(allClosed, 1);
}

}  // namespace
