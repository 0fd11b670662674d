#include "io/ztfile.h"

#include "io/zttxtfile.h"
#include "tests/helpers/owned.hh"
#include "tests/helpers/records.hh"
#include "tests/helpers/temp_folder.hh"

#include <float.h>
#include <math.h>
#include <string.h>
#include <sys/random.h>
#include <unistd.h>

#include <limits>
#include <set>
#include <vector>

using namespace std::string_literals;

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

// Counts what is closed, through overrides of both.
#define CountingFile_FIELDS ztFile_FIELDS
#define CountingFile_METHODS ztFile_METHODS
ZT_DECLARE_CLASS(CountingFile)

static int32_t closed;

static void countingMethods(CountingFileMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, close, [](void *file) {
    ++closed;
    ztFile_table()->close(file);
  });
}

ZT_DEFINE_CLASS(CountingFile, ztFile, countingMethods)

namespace {

using File = Owned<ztFile, ztFileMethods>;

class ztFileTest : public testing::Test {
 protected:
  void openFor(const char *mode) const {
    ASSERT_EQ(file->open(file, path.c_str(), mode), 1);
  }
  void openWith(const std::string &bytes) const {
    writeContents(path, bytes);
    openFor("rb");
  }
  // What the file holds while it is open.
  std::string written() const {
    EXPECT_EQ(file->flush(file), 0);
    return contentsOf(path);
  }
  std::string name() const {
    return file->getFileName(file);
  }
  bool isOpen() const {
    return file.fields().stream != nullptr;
  }
  // Writes the values and reads them back; the bytes are those that they have in memory.
  template <typename Value>
  void expectKept(const std::vector<Value> &values, int32_t (*write)(void *, Value),
                  int32_t (*read)(void *, Value *)) const {
    openFor("w+b");
    std::string expected;
    for (const Value value : values) {
      EXPECT_EQ(write(file, value), 1);
      expected += bytesOf(value);
    }
    EXPECT_EQ(written(), expected);
    file->goToBegin(file);
    for (const Value value : values) {
      const std::optional<Value> found = readBy(read, file);
      ASSERT_TRUE(found);
      EXPECT_EQ(bytesOf(*found), bytesOf(value));
    }
  }

  const TempFolder folder;
  const std::string path = folder.path("file");
  const std::string missing = folder.path("missing");
  const File file{ztFile_ctor};
  const ztFileFunctions *functions = ztFile_functions();
};

// A file of bytes, or of text.
class ztFileOfEitherKind : public testing::TestWithParam<ztCtor> {};

INSTANTIATE_TEST_SUITE_P(Of, ztFileOfEitherKind, testing::Values(ztFile_ctor, ztTextFile_ctor),
                         [](const auto &kind) { return kind.param == ztFile_ctor ? "Bytes" : "Text"; });

}  // namespace

// Opening and closing -----------------------------------------------------------------------------

TEST_F(ztFileTest, HasAStreamAndANameFromOpenToClose) {
  EXPECT_FALSE(isOpen());
  EXPECT_EQ(name(), "");
  EXPECT_EQ(file->getFileName(file), file.fields().fileName);
  openFor("wb");
  EXPECT_TRUE(isOpen());
  EXPECT_EQ(name(), path);
  EXPECT_TRUE(std::filesystem::exists(path));
  for (int i = 0; i < 2; ++i) {
    file->release(file);
    EXPECT_FALSE(isOpen());
    EXPECT_EQ(name(), path) << "only `close` clears it";
  }
  openFor("rb");
  for (int i = 0; i < 2; ++i) {
    file->close(file);
    EXPECT_FALSE(isOpen());
    EXPECT_EQ(name(), "");
  }
}

TEST_F(ztFileTest, ClosesTheOpenFileWhenItOpensAnother) {
  openFor("wb");
  file->writeString(file, "text");
  const std::string other = folder.path("other");
  ASSERT_EQ(file->open(file, other.c_str(), "wb"), 1);
  EXPECT_EQ(contentsOf(path), "text\0"s);
  EXPECT_EQ(name(), other);
}

TEST_F(ztFileTest, IsClosedAndNamelessWhenItFailsToOpen) {
  struct Row {
    const char *path;
    const char *mode;
  };
  const Row rows[] = {{missing.c_str(), "r"}, {path.c_str(), "q"},     {path.c_str(), ""},
                      {nullptr, "r"},         {path.c_str(), nullptr}, {folder.path().c_str(), "w"}};
  for (const Row &row : rows) {
    for (const bool wasOpen : {false, true}) {
      if (wasOpen) openFor("wb");
      EXPECT_EQ(file->open(file, row.path, row.mode), 0);
      EXPECT_FALSE(isOpen());
      EXPECT_EQ(name(), "");
    }
  }
}

TEST_F(ztFileTest, OpensItsOwnNameOrAPartOfItAgain) {
  openFor("wb");
  file->writeInt(file, 5);
  EXPECT_EQ(file->open(file, file->getFileName(file), "rb"), 1);
  EXPECT_EQ(name(), path);
  EXPECT_EQ(readBy(file->readInt, file), 5);
  file->release(file);
  EXPECT_EQ(file->open(file, file->getFileName(file), "rb"), 1);
  EXPECT_EQ(name(), path);
  ASSERT_EQ(file->open(file, ("/." + path).c_str(), "wb"), 1);
  EXPECT_EQ(file->open(file, file->getFileName(file) + 2, "rb"), 1);
  EXPECT_EQ(name(), path);
}

TEST_F(ztFileTest, PassesTheModeThrough) {
  openFor("w");
  file->writeBuf(file, 3, "abc");
  openFor("a");
  file->writeBuf(file, 3, "def");
  EXPECT_EQ(written(), "abcdef");
  openFor("r+");
  file->writeBuf(file, 1, "X");
  EXPECT_EQ(written(), "Xbcdef");
  openFor("a+");
  char text[3] = "";
  file->goToBegin(file);
  EXPECT_EQ(file->readBuf(file, 2, text), 2);
  EXPECT_STREQ(text, "Xb");
  openFor("w+");
  EXPECT_EQ(written(), "");
  openFor("r");
  EXPECT_EQ(file->writeInt(file, 1), 0);
  openFor("w");
  EXPECT_EQ(readBy(file->readInt, file), std::nullopt);
  EXPECT_EQ(file->open(file, path.c_str(), "wx"), 0);
}

TEST_F(ztFileTest, CutsALongNameThatOpens) {
  std::string longName = folder.path();
  while (longName.size() < 600) longName += "/.";
  longName += "/file";
  ASSERT_EQ(file->open(file, longName.c_str(), "wb"), 1);
  EXPECT_EQ(name(), longName.substr(0, 511));
  EXPECT_TRUE(std::filesystem::exists(path));
}

TEST_F(ztFileTest, ReadsNothingFromAFolder) {
  ASSERT_EQ(file->open(file, folder.path().c_str(), "r"), 1);
  EXPECT_EQ(readBy(file->readInt, file), std::nullopt);
}

TEST_F(ztFileTest, ClosesInDestroyWhichMayRunTwiceAndWhenItIsReleased) {
  ztFile embedded;
  ASSERT_EQ(ztFile_ctor(&embedded, 1), &embedded);
  ASSERT_EQ(file->open(&embedded, path.c_str(), "wb"), 1);
  file->writeInt(&embedded, 1);
  for (int i = 0; i < 2; ++i) {
    file->destroy(&embedded);
    EXPECT_EQ(embedded.stream, nullptr);
    EXPECT_STREQ(embedded.fileName, "");
  }
  EXPECT_EQ(contentsOf(path).size(), 4U);
  void *other = ztFile_ctor(nullptr, 1);
  ASSERT_EQ(file->open(other, path.c_str(), "wb"), 1);
  file->writeLong(other, 1);
  file->unRef(other);
  EXPECT_EQ(contentsOf(path).size(), 8U);
}

TEST_F(ztFileTest, CannotBeClonedAndAssignsNeitherStreamNorName) {
  openFor("wb");
  ztFile target;
  memset(&target, 0x11, sizeof target);
  const ztFile before = target;
  EXPECT_EQ(file->clone(file, &target), nullptr);
  EXPECT_EQ(memcmp(&before, &target, sizeof target), 0);
  const File other(ztFile_ctor);
  EXPECT_EQ(other->assign(other, file), 1);
  EXPECT_EQ(other.fields().stream, nullptr);
  EXPECT_STREQ(other->getFileName(other), "");
}

TEST_F(ztFileTest, ClosesThroughTheMethodTableInOpenAndDestroy) {
  void *counting = CountingFile_ctor(nullptr, 1);
  closed = 0;
  EXPECT_EQ(CountingFile_of(counting)->open(counting, path.c_str(), "wb"), 1);
  EXPECT_EQ(closed, 1);
  EXPECT_EQ(CountingFile_of(counting)->open(counting, missing.c_str(), "rb"), 0);
  EXPECT_EQ(closed, 2);
  CountingFile_of(counting)->unRef(counting);
  EXPECT_EQ(closed, 3);
}

// Without an open file ----------------------------------------------------------------------------

namespace {

// Calls every primitive, which is to fail and to write nothing.
void expectPrimitivesToFail(const ztFileMethods *methods, void *file) {
  int32_t anInt = 1;
  int64_t aLong = 2;
  double aFloat = 3;
  char text[4] = "abc";
  EXPECT_EQ(methods->writeInt(file, 1), 0);
  EXPECT_EQ(methods->readInt(file, &anInt), 0);
  EXPECT_EQ(methods->writeLong(file, 1), 0);
  EXPECT_EQ(methods->readLong(file, &aLong), 0);
  EXPECT_EQ(methods->writeFloat(file, 1), 0);
  EXPECT_EQ(methods->readFloat(file, &aFloat), 0);
  EXPECT_EQ(methods->writeChar(file, 'a'), 0);
  EXPECT_EQ(methods->readChar(file, text), 0);
  EXPECT_EQ(methods->writeBuf(file, 3, "xyz"), 0);
  EXPECT_EQ(methods->readBuf(file, 3, text), 0);
  EXPECT_EQ(methods->writeString(file, "xyz"), 0);
  EXPECT_EQ(methods->readString(file, 3, text), 0);
  EXPECT_EQ(anInt, 1);
  EXPECT_EQ(aLong, 2);
  EXPECT_EQ(aFloat, 3);
  EXPECT_STREQ(text, "abc");
}

}  // namespace

TEST_P(ztFileOfEitherKind, FailsInEachOperationWithoutAnOpenFileOrAnyFile) {
  const File unopened(GetParam());
  for (void *file : {static_cast<void *>(unopened), static_cast<void *>(nullptr)}) {
    expectPrimitivesToFail(unopened.operator->(), file);
    EXPECT_EQ(unopened->goToBegin(file), -1);
    EXPECT_EQ(unopened->goToEnd(file), -1);
    EXPECT_EQ(unopened->goTo(file, 0), -1);
    EXPECT_EQ(unopened->goToAbs(file, 0), -1);
    EXPECT_EQ(unopened->tell(file), -1);
    EXPECT_EQ(unopened->flush(file), EOF);
    EXPECT_NE(unopened->eof(file), 0);
  }
}

TEST_P(ztFileOfEitherKind, ReadsAndWritesNothingForNull) {
  const Storage file(GetParam(), "12345678");
  EXPECT_EQ(file->readInt(file, nullptr), 0);
  EXPECT_EQ(file->readLong(file, nullptr), 0);
  EXPECT_EQ(file->readFloat(file, nullptr), 0);
  EXPECT_EQ(file->readChar(file, nullptr), 0);
  EXPECT_EQ(file->readBuf(file, 4, nullptr), 0);
  EXPECT_EQ(file->readString(file, 4, nullptr), 0);
  EXPECT_EQ(file->writeBuf(file, 4, nullptr), 0);
  EXPECT_EQ(file->writeString(file, nullptr), 0);
  EXPECT_EQ(file->tell(file), 0);
  EXPECT_EQ(file.bytes(), "12345678");
}

TEST_F(ztFileTest, AnswersNullWithNothing) {
  EXPECT_EQ(file->create(nullptr), 0);
  EXPECT_EQ(file->open(nullptr, path.c_str(), "wb"), 0);
  EXPECT_EQ(file->getFileName(nullptr), nullptr);
  file->close(nullptr);
  file->release(nullptr);
  file->destroy(nullptr);
  EXPECT_FALSE(std::filesystem::exists(path));
}

// Primitives --------------------------------------------------------------------------------------

TEST_F(ztFileTest, ConcatenatesWhatIsWritten) {
  openFor("wb");
  EXPECT_EQ(file->writeInt(file, 1), 1);
  EXPECT_EQ(file->writeLong(file, 2), 1);
  EXPECT_EQ(file->writeFloat(file, 0.5), 1);
  EXPECT_EQ(file->writeChar(file, 'x'), 1);
  EXPECT_EQ(written(), "\1\0\0\0\2\0\0\0\0\0\0\0\0\0\0\0\0\0\xe0\x3fx"s);
  EXPECT_EQ(file->tell(file), 21);
}

TEST_F(ztFileTest, KeepsEveryNumber) {
  expectKept<int32_t>({0, 1, -1, 0x01020304, INT32_MIN, INT32_MAX}, file->writeInt, file->readInt);
  expectKept<int64_t>({0, 1, -1, 0x0102030405060708, INT64_MIN, INT64_MAX}, file->writeLong, file->readLong);
  const double least = std::numeric_limits<double>::denorm_min();
  expectKept<double>({0.0, -0.0, 0.1, -1.5, DBL_MAX, DBL_MIN, least, INFINITY, -INFINITY, NAN},
                     file->writeFloat, file->readFloat);
}

TEST_F(ztFileTest, WritesTheLowByteAsACharacter) {
  openFor("w+b");
  for (const int32_t value : {0x41, 0x142, -1, 0, 0x7f, 0x80, INT32_MIN}) {
    EXPECT_EQ(file->writeChar(file, value), 1);
  }
  EXPECT_EQ(written(), "\x41\x42\xff\0\x7f\x80\0"s);
  file->goToBegin(file);
  EXPECT_EQ(readBy(file->readChar, file), 'A');
}

TEST_F(ztFileTest, CountsTheBytesOfBuffers) {
  openFor("w+b");
  EXPECT_EQ(file->writeBuf(file, 5, "a\0b\nc"), 5);
  for (const int32_t none : {0, -1, INT32_MIN}) EXPECT_EQ(file->writeBuf(file, none, "xyz"), 0);
  EXPECT_EQ(written(), "a\0b\nc"s);
  file->goToBegin(file);
  char text[16];
  memset(text, '#', sizeof text);
  EXPECT_EQ(file->readBuf(file, 0, text), 0);
  EXPECT_EQ(file->readBuf(file, -1, text), 0);
  EXPECT_EQ(file->readBuf(file, 3, text), 3);
  EXPECT_EQ(std::string(text, 4), "a\0b#"s);
  EXPECT_EQ(file->readBuf(file, 10, text), 2);
  EXPECT_EQ(std::string(text, 4), "\ncb#");
  EXPECT_EQ(file->readBuf(file, 10, text), 0);
}

TEST_F(ztFileTest, WritesATextWithItsTerminatorAndReadsPastIt) {
  openFor("wb");
  EXPECT_EQ(file->writeString(file, "hi"), 3);
  EXPECT_EQ(file->writeString(file, ""), 1);
  EXPECT_EQ(written(), "hi\0\0"s);
  openWith("hi\0abcd"s);
  char text[8];
  memset(text, '#', sizeof text);
  EXPECT_EQ(file->readString(file, 5, text), 5);
  EXPECT_EQ(std::string(text, 6), "hi\0ab#"s);
  EXPECT_EQ(file->readString(file, 5, text), 2);
  EXPECT_EQ(std::string(text, 3), "cd\0"s);
  EXPECT_EQ(file->readString(file, 0, text), 0);
  EXPECT_EQ(file->readString(file, -4, text), 0);
}

TEST_F(ztFileTest, MovesALargeBuffer) {
  std::string bytes(3000000, '\0');
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 31 >> 3);
  openFor("w+b");
  const auto size = static_cast<int32_t>(bytes.size());
  EXPECT_EQ(file->writeBuf(file, size, bytes.data()), size);
  file->goToBegin(file);
  std::string read(bytes.size() + 10, '\0');
  EXPECT_EQ(file->readBuf(file, size + 10, read.data()), size);
  read.resize(bytes.size());
  EXPECT_TRUE(read == bytes);
}

TEST_F(ztFileTest, FailsToReadAnIncompleteValue) {
  for (size_t length = 0; length < 8; ++length) {
    openWith(std::string(length, '\1'));
    EXPECT_EQ(readBy(file->readChar, file).has_value(), length >= 1);
    file->goToBegin(file);
    int32_t number = 0;
    EXPECT_EQ(file->readInt(file, &number), length >= 4);
    file->goToBegin(file);
    double parts = 0;
    EXPECT_EQ(file->readFloat(file, &parts), 0);
    file->goToBegin(file);
    int64_t wide = 0;
    EXPECT_EQ(file->readLong(file, &wide), 0);
  }
}

TEST_F(ztFileTest, FailsToWriteToAFullDevice) {
  if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "no /dev/full";
  ASSERT_EQ(file->open(file, "/dev/full", "wb"), 1);
  // Whatever the stream's buffer takes is refused when it is handed on.
  EXPECT_EQ(file->writeInt(file, 1), 1);
  EXPECT_EQ(file->flush(file), EOF);
  setvbuf(file.fields().stream, nullptr, _IONBF, 0);
  EXPECT_EQ(file->writeInt(file, 1), 0);
  EXPECT_EQ(file->writeLong(file, 1), 0);
  EXPECT_EQ(file->writeFloat(file, 1), 0);
  EXPECT_EQ(file->writeChar(file, 1), 0);
  EXPECT_EQ(file->writeBuf(file, 3, "abc"), 0);
  EXPECT_EQ(file->writeString(file, "abc"), 0);
  EXPECT_EQ(ztBaseClass_functions()->classWrite(nullptr, file, file), 0);
}

// Positions ---------------------------------------------------------------------------------------

TEST_F(ztFileTest, GoesWhereItIsSentButNotAheadOfTheStart) {
  openWith("0123456789");
  EXPECT_EQ(file->tell(file), 0);
  EXPECT_EQ(file->goToAbs(file, 4), 0);
  EXPECT_EQ(readBy(file->readChar, file), '4');
  EXPECT_EQ(file->goTo(file, 2), 0);
  EXPECT_EQ(file->tell(file), 7);
  EXPECT_EQ(file->goTo(file, -5), 0);
  EXPECT_EQ(readBy(file->readChar, file), '2');
  EXPECT_EQ(file->goToAbs(file, -1), -1);
  EXPECT_EQ(file->goTo(file, -4), -1);
  EXPECT_EQ(file->goTo(file, INT64_MIN), -1);
  EXPECT_EQ(file->tell(file), 3);
  EXPECT_EQ(file->goToEnd(file), 0);
  EXPECT_EQ(file->tell(file), 10);
  EXPECT_EQ(file->goToBegin(file), 0);
  EXPECT_EQ(file->tell(file), 0);
}

TEST_F(ztFileTest, TakesPositionsOf64Bits) {
  openFor("w+b");
  const int64_t far = (int64_t{1} << 32) + 5;
  EXPECT_EQ(file->goToAbs(file, far), 0);
  EXPECT_EQ(file->tell(file), far);
  EXPECT_EQ(file->goTo(file, 10), 0);
  EXPECT_EQ(file->tell(file), far + 10);
  EXPECT_EQ(written(), "");  // going somewhere writes nothing
}

TEST_F(ztFileTest, KnowsItsEndOnceAReadMetIt) {
  openWith("ab");
  char text[4];
  EXPECT_EQ(file->eof(file), 0);
  EXPECT_EQ(file->readBuf(file, 2, text), 2);
  EXPECT_EQ(file->eof(file), 0);
  EXPECT_EQ(file->readBuf(file, 1, text), 0);
  EXPECT_NE(file->eof(file), 0);
  EXPECT_EQ(file->goToBegin(file), 0);
  EXPECT_EQ(file->eof(file), 0);
}

// Class functions ---------------------------------------------------------------------------------

TEST_F(ztFileTest, RenamesAndDeletesFiles) {
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

TEST_F(ztFileTest, KnowsWhetherAFileExists) {
  EXPECT_EQ(functions->fileExist(nullptr, path.c_str()), 0);
  writeContents(path, "");
  EXPECT_EQ(functions->fileExist(nullptr, path.c_str()), 1);
  EXPECT_EQ(functions->fileExist(nullptr, folder.path().c_str()), 1);
  EXPECT_EQ(functions->fileExist(nullptr, ""), 0);
}

TEST_F(ztFileTest, RefusesNullInItsClassFunctions) {
  EXPECT_EQ(functions->renameFile(nullptr, nullptr, "a"), -1);
  EXPECT_EQ(functions->renameFile(nullptr, path.c_str(), nullptr), -1);
  EXPECT_EQ(functions->deleteFile(nullptr, nullptr), -1);
  EXPECT_EQ(functions->tmpFile(nullptr, nullptr), nullptr);
  EXPECT_EQ(functions->fileExist(nullptr, nullptr), 0);
}

TEST_F(ztFileTest, MakesUpNamesThatNoFileHas) {
  std::set<std::string> names;
  for (int i = 0; i < 1000; ++i) {
    char buffer[L_tmpnam + 1];
    memset(buffer, '#', sizeof buffer);
    ASSERT_EQ(functions->tmpFile(nullptr, buffer), buffer);
    ASSERT_EQ(strnlen(buffer, sizeof buffer), size_t{L_tmpnam} - 1);
    ASSERT_EQ(buffer[L_tmpnam], '#');
    const std::string made = buffer;
    ASSERT_EQ(made.substr(0, made.rfind('/')), P_tmpdir);
    ASSERT_FALSE(std::filesystem::exists(made));
    names.insert(made);
  }
  EXPECT_EQ(names.size(), 1000U);
}

TEST_F(ztFileTest, MakesUpAnotherNameWhereOneIsTaken) {
  char taken[L_tmpnam];
  scriptedEntropy = "a";
  ASSERT_EQ(functions->tmpFile(nullptr, taken), taken);
  ASSERT_EQ(file->open(file, taken, "w+bx"), 1);
  EXPECT_EQ(functions->fileExist(nullptr, taken), 1);
  char made[L_tmpnam];
  scriptedEntropy = "aab";
  ASSERT_EQ(functions->tmpFile(nullptr, made), made);
  EXPECT_EQ(scriptedEntropy, "") << "one try for each";
  EXPECT_STRNE(made, taken);
  EXPECT_FALSE(std::filesystem::exists(made));
  EXPECT_EQ(functions->deleteFile(nullptr, taken), 0);
}

TEST_F(ztFileTest, MakesUpNoNameWithoutRandomBytes) {
  char made[L_tmpnam] = "kept";
  scriptedEntropy = "!";
  EXPECT_EQ(functions->tmpFile(nullptr, made), nullptr);
  EXPECT_STREQ(made, "kept");
}
