// Memory follows the bytes that arrive, not the counts that a file claims.
#include "containers/ztarrays.h"
#include "io/ztstring.h"
#include "io/zttxtfile.h"

#include "tests/helpers/faults.hh"
#include "tests/helpers/owned.hh"
#include "tests/helpers/scale.hh"
#include "tests/helpers/storage.hh"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <limits.h>
#include <string.h>
#include <unistd.h>

#include <memory>
#include <ostream>
#include <string>
#include <vector>

// Elements of a megabyte, and the same whose records are empty; small ones with an empty record; and arrays
// whose elements are arrays of their own kind.
#define Vast_FIELDS  \
  ztBaseClass_FIELDS \
  int32_t number;    \
  char room[1 << 20];
#define Vast_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Vast)

#define Silent_FIELDS \
  ztBaseClass_FIELDS  \
  char room[84];
#define Silent_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Silent)

#define Nest_FIELDS ztArray_FIELDS
#define Nest_METHODS ztArray_METHODS
ZT_DECLARE_CLASS(Nest)

// Classes of a host that record what they are asked.
#define Recorder_FIELDS ztFile_FIELDS
#define Recorder_METHODS ztFile_METHODS
ZT_DECLARE_CLASS(Recorder)

#define OwnSlots_FIELDS ztArray_FIELDS
#define OwnSlots_METHODS ztArray_METHODS
ZT_DECLARE_CLASS(OwnSlots)

// A file without a stream, whose bytes the host keeps elsewhere.
#define Elsewhere_FIELDS ztFile_FIELDS
#define Elsewhere_METHODS ztFile_METHODS
ZT_DECLARE_CLASS(Elsewhere)

static std::vector<std::string> calls;

static int32_t vastCreate(void *object) {
  static_cast<Vast *>(object)->number = 0;
  return ztBaseClass_table()->create(object);
}

static int32_t vastRead(void *object, void *file) {
  return ztFile_of(file)->readInt(file, &static_cast<Vast *>(object)->number);
}

static void vastMethods(VastMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, vastCreate);
  ZT_OVERRIDE_METHOD(methods, read, vastRead);
}
ZT_DEFINE_CLASS(Vast, ztBaseClass, vastMethods)

static void silentMethods(SilentMethods *) {}
ZT_DEFINE_CLASS(Silent, ztBaseClass, silentMethods)

static int32_t nestCreate(void *object) {
  if (!ztArray_table()->create(object)) return 0;
  ztArray_of(object)->setElementSize(object, sizeof(Nest), 0);
  ztArray_of(object)->setElementConstructor(object, Nest_ctor);
  return 1;
}

static void nestMethods(NestMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, nestCreate);
}
ZT_DEFINE_CLASS(Nest, ztArray, nestMethods)

static int32_t recorderReadInt(void *file, int32_t *out) {
  calls.emplace_back("readInt");
  return ztFile_table()->readInt(file, out);
}

static intptr_t recorderReadString(void *file, int32_t n, char *buffer) {
  calls.emplace_back("readString " + std::to_string(n));
  return ztFile_table()->readString(file, n, buffer);
}

static int32_t recorderReadBuf(void *file, int32_t n, void *buffer) {
  calls.emplace_back("readBuf " + std::to_string(n));
  return ztFile_table()->readBuf(file, n, buffer);
}

static int32_t recorderWriteBuf(void *file, int32_t n, const void *buffer) {
  calls.emplace_back("writeBuf " + std::to_string(n));
  return ztFile_table()->writeBuf(file, n, buffer);
}

static int64_t recorderTell(void *file) {
  calls.emplace_back("tell");
  return ztFile_table()->tell(file);
}

static int32_t recorderGoToEnd(void *file) {
  calls.emplace_back("goToEnd");
  return ztFile_table()->goToEnd(file);
}

static void recorderMethods(RecorderMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, readInt, recorderReadInt);
  ZT_OVERRIDE_METHOD(methods, readString, recorderReadString);
  ZT_OVERRIDE_METHOD(methods, readBuf, recorderReadBuf);
  ZT_OVERRIDE_METHOD(methods, writeBuf, recorderWriteBuf);
  ZT_OVERRIDE_METHOD(methods, tell, recorderTell);
  ZT_OVERRIDE_METHOD(methods, goToEnd, recorderGoToEnd);
}
ZT_DEFINE_CLASS(Recorder, ztFile, recorderMethods)

static int32_t ownSetSize(void *array, int32_t count) {
  calls.emplace_back("setSize " + std::to_string(count));
  return ztArray_table()->setSize(array, count);
}

static void ownSlotsMethods(OwnSlotsMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, setSize, ownSetSize);
}
ZT_DEFINE_CLASS(OwnSlots, ztArray, ownSlotsMethods)

static std::string elsewhere;
static size_t elsewhereAt;
static int32_t elsewhereFails;  // what a failing primitive gives

static size_t takeElsewhere(void *buffer, size_t n) {
  const size_t left = elsewhere.size() - elsewhereAt;
  const size_t taken = n < left ? n : left;
  memcpy(buffer, elsewhere.data() + elsewhereAt, taken);
  elsewhereAt += taken;
  return taken;
}

static int32_t elsewhereReadInt(void *, int32_t *out) {
  return takeElsewhere(out, sizeof *out) == sizeof *out ? 1 : elsewhereFails;
}

static int32_t elsewhereReadBuf(void *, int32_t n, void *buffer) {
  return static_cast<int32_t>(takeElsewhere(buffer, static_cast<size_t>(n)));
}

static intptr_t elsewhereReadString(void *, int32_t n, char *buffer) {
  const size_t taken = takeElsewhere(buffer, static_cast<size_t>(n));
  return taken == 0 ? elsewhereFails : static_cast<intptr_t>(taken);
}

static int32_t elsewhereEof(void *) {
  return elsewhereAt == elsewhere.size();
}

static void elsewhereMethods(ElsewhereMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, readInt, elsewhereReadInt);
  ZT_OVERRIDE_METHOD(methods, readBuf, elsewhereReadBuf);
  ZT_OVERRIDE_METHOD(methods, readString, elsewhereReadString);
  ZT_OVERRIDE_METHOD(methods, eof, elsewhereEof);
}
ZT_DEFINE_CLASS(Elsewhere, ztFile, elsewhereMethods)

namespace {

using Array = Owned<ztArray, ztArrayMethods>;
using String = Owned<ztString, ztStringMethods>;
using Calls = std::vector<std::string>;

// Blocks are somewhat larger than what was asked for.
constexpr int64_t rounding = 1024;

std::string intBytes(int32_t value) {
  return std::string(reinterpret_cast<const char *>(&value), sizeof value);
}

Array arrayOf(ztCtor element, int32_t size, ztCtor constructor = ztArray_ctor) {
  Array array(constructor);
  array->setElementSize(array, size, 0);
  array->setElementConstructor(array, element);
  return array;
}

String stringOf(const std::string &text) {
  String string(ztString_ctor);
  string->set(string, text.c_str());
  return string;
}

// What the largest use of memory meanwhile is beyond the one before.
class Peak {
 public:
  Peak() : before(liveBytes) {
    mostBytes = liveBytes;
  }
  int64_t bytes() const {
    return mostBytes - before;
  }

 private:
  int64_t before;
};

int64_t allowedFor(size_t bytes) {
  return 65536 + 4 * static_cast<int64_t>(bytes) + rounding;
}

// Bytes behind a file: one that can seek, or the reading end of a pipe.
class Source {
 public:
  Source(const std::string &bytes, ztCtor constructor, bool isPipe) : file(constructor) {
    if (!isPipe) {
      // Not by the file itself, which may be one of text.
      const std::string path = file->getFileName(file);
      FILE *plain = fopen(path.c_str(), "wb");
      fwrite(bytes.data(), 1, bytes.size(), plain);
      fclose(plain);
      EXPECT_EQ(file->open(file, path.c_str(), "r+b"), 1);
      return;
    }
    EXPECT_EQ(pipe(ends), 0);
    EXPECT_GE(fcntl(ends[1], F_SETPIPE_SZ, 1 << 20), static_cast<int>(bytes.size()));
    EXPECT_EQ(::write(ends[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    close(ends[1]);
    const std::string name = "/proc/self/fd/" + std::to_string(ends[0]);
    EXPECT_EQ(file->open(file, name.c_str(), "rb"), 1);
  }
  ~Source() {
    if (ends[0] >= 0) close(ends[0]);
  }
  Source(const Source &) = delete;
  Source &operator=(const Source &) = delete;

  operator void *() const {
    return file;
  }
  const ztFileMethods *operator->() const {
    return ztFile_of(file);
  }

 private:
  Storage file;
  int ends[2] = {-1, -1};
};

struct Form {
  const char *name;
  ztCtor constructor;
  bool isPipe;

  bool isText() const {
    return constructor == ztTextFile_ctor;
  }
};

std::ostream &operator<<(std::ostream &out, const Form &form) {
  return out << form.name;
}

class Claims : public testing::TestWithParam<Form> {
 protected:
  std::unique_ptr<Source> source(const std::string &bytes) const {
    return std::make_unique<Source>(bytes, GetParam().constructor, GetParam().isPipe);
  }
  std::string number(int32_t value) const {
    return GetParam().isText() ? std::to_string(value) + "\n" : intBytes(value);
  }
  std::string buffer(const std::string &bytes) const {
    return GetParam().isText() ? bytes + "\n" : bytes;
  }
  static std::string stored(const void *object, ztCtor constructor) {
    const Storage file(constructor);
    EXPECT_EQ(ztBaseClass_of(object)->write(object, file), 1);
    return file.bytes();
  }
  std::string stored(const void *object) const {
    return stored(object, GetParam().constructor);
  }
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(From, Claims,
                         testing::Values(Form{"BinaryFile", ztFile_ctor, false},
                                         Form{"TextFile", ztTextFile_ctor, false},
                                         Form{"BinaryPipe", ztFile_ctor, true},
                                         Form{"TextPipe", ztTextFile_ctor, true}),
                         [](const testing::TestParamInfo<Form> &test) { return test.param.name; });

// Arrays of objects -------------------------------------------------------------------------------

TEST_P(Claims, OfVastObjectsAreMetOnlyByTheirRecords) {
  std::string bytes = number(2000);
  for (int32_t i = 1; i <= 5; ++i) bytes += number(i);
  const auto file = source(bytes);
  const Array array = arrayOf(Vast_ctor, sizeof(Vast));
  const Owned<Vast, VastMethods> prepared(Vast_ctor);  // a class keeps a prototype from then on
  const Peak peak;
  EXPECT_EQ(array->read(array, *file), 0);
  EXPECT_LE(peak.bytes(), allowedFor(bytes.size()) + 5 * int64_t{sizeof(Vast)});
  EXPECT_EQ(array->getSize(array), 0);
}

TEST_P(Claims, OfVastObjectsThatAreAllThereAreMet) {
  std::string bytes = number(12);
  for (int32_t i = 1; i <= 12; ++i) bytes += number(i);
  const auto file = source(bytes);
  const Array array = arrayOf(Vast_ctor, sizeof(Vast));
  EXPECT_EQ(array->read(array, *file), 1);
  ASSERT_EQ(array->getSize(array), 12);
  for (int32_t i = 0; i < 12; ++i) EXPECT_EQ(static_cast<Vast *>(array->getAt(array, i))->number, i + 1);
}

TEST_P(Claims, OfObjectsWithoutRecordsAreMetUpTo64Kilobytes) {
  for (const int32_t count : {1, 600, 1000000, INT_MAX}) {
    const std::string bytes = number(count) + buffer("rest");
    const auto file = source(bytes);
    const Array array = arrayOf(Silent_ctor, sizeof(Silent));
    const Peak peak;
    EXPECT_EQ(array->read(array, *file), count <= 600) << count;
    EXPECT_EQ(array->getSize(array), count <= 600 ? count : 0);
    EXPECT_LE(peak.bytes(), allowedFor(bytes.size())) << count;
  }
}

TEST_P(Claims, OfManyArraysInOneFileAreWeighedTogether) {
  std::string bytes;
  for (int i = 0; i < 100; ++i) bytes += number(600);
  const auto file = source(bytes);
  std::vector<Array> arrays;
  const Peak peak;
  int32_t met = 0;
  for (int i = 0; i < 100; ++i) {
    arrays.push_back(arrayOf(Silent_ctor, sizeof(Silent)));
    met += arrays.back()->read(arrays.back(), *file);
  }
  EXPECT_EQ(met, 1);
  EXPECT_LE(peak.bytes(), allowedFor(bytes.size()) + 100 * int64_t{sizeof(ztArray) + 16});
}

TEST_P(Claims, OfOneFileDoNotCountWhenItIsReadAgain) {
  if (GetParam().isPipe) GTEST_SKIP() << "a pipe is read once";
  const auto file = source(number(600));
  const Array array = arrayOf(Silent_ctor, sizeof(Silent));
  for (int i = 0; i < 10; ++i) {
    (*file)->goToBegin(*file);
    EXPECT_EQ(array->read(array, *file), 1);
    array->empty(array);
  }
}

TEST_P(Claims, OfArraysWithinArraysAreWeighedTogether) {
  const int depth = scale(2000);
  std::string bytes;
  for (int i = 0; i < depth; ++i) bytes += number(500);
  const auto file = source(bytes);
  const Array array(Nest_ctor);
  const Peak peak;
  array->read(array, *file);
  // The thread keeps a record of each read that is under way, in a table that doubles.
  constexpr int64_t recordBytes = 128;
  EXPECT_LE(peak.bytes(), allowedFor(bytes.size()) + depth * (int64_t{sizeof(Nest) + 16} + recordBytes));
}

TEST_P(Claims, OfArraysWithinArraysThatAreAllThereAreMet) {
  const int32_t count = 3000;
  std::string bytes = number(count);
  for (int32_t i = 0; i < count; ++i)
    bytes += number(i % 3) + (i % 3 > 0 ? number(0) : "") + (i % 3 > 1 ? number(0) : "");
  const auto file = source(bytes);
  const Array array(Nest_ctor);
  EXPECT_EQ(array->read(array, *file), 1);
  ASSERT_EQ(array->getSize(array), count);
  for (int32_t i = 0; i < count; ++i) ASSERT_EQ(static_cast<ztArray *>(array->getAt(array, i))->count, i % 3);
}

TEST_P(Claims, OfStringsAreMetOnlyByTheirRecords) {
  std::string bytes = number(10000000);
  for (int i = 0; i < 2000; ++i)
    bytes += stored(stringOf("ab")) + (GetParam().isText() ? "" : std::string(1, '\0'));
  const auto file = source(bytes);
  const Array array(ztStringArray_ctor);
  const Peak peak;
  EXPECT_EQ(array->read(array, *file), 0);
  constexpr int64_t stringBytes = sizeof(ztString) + sizeof(ztCharArray) + 64;
  EXPECT_LE(peak.bytes(), allowedFor(bytes.size()) + 2000 * stringBytes);
  EXPECT_EQ(array->getSize(array), 0);
}

// Elements without objects --------------------------------------------------------------------------

TEST_P(Claims, OfNumbersThatAFileLacksAreMetUpTo64Kilobytes) {
  for (const int32_t count : {3, 1000, 16384, 20000, 1000000, INT_MAX / 4, INT_MAX}) {
    const std::string bytes = number(count) + buffer("abcd") + buffer("ef");
    const auto file = source(bytes);
    const Array array(ztIntArray_ctor);
    const Peak peak;
    EXPECT_EQ(array->read(array, *file), count <= 16384) << count;
    EXPECT_LE(peak.bytes(), allowedFor(bytes.size())) << count;
    ASSERT_EQ(array->getSize(array), count <= 16384 ? count : 0);
    if (count > 16384) continue;
    const auto *data = static_cast<const char *>(array->getData(array));
    EXPECT_EQ(std::string(data, 4), "abcd");
    EXPECT_EQ(data[int64_t{count} * 4 - 1], 0);
  }
}

TEST_P(Claims, OfManyNumbersThatAreAllThereAreMet) {
  for (const int32_t count : {16384, 16385, 70000}) {
    const Array array(ztIntArray_ctor);
    array->setSize(array, count);
    for (int32_t i = 0; i < count; ++i) static_cast<int32_t *>(array->getData(array))[i] = i * 7;
    const std::string bytes = stored(array);
    const auto file = source(bytes + "next");
    const Array other(ztIntArray_ctor);
    const Peak peak;
    EXPECT_EQ(other->read(other, *file), 1);
    EXPECT_LE(peak.bytes(), allowedFor(bytes.size()));
    ASSERT_EQ(other->getSize(other), count);
    EXPECT_EQ(memcmp(other->getData(other), array->getData(array), static_cast<size_t>(count) * 4), 0);
    char next[5] = "";
    (*file)->readBuf(*file, 4, next);
    EXPECT_STREQ(next, "next");
  }
}

TEST_P(Claims, OfElementsWithoutSizeDoNotRunForEver) {
  const auto file = source(number(INT_MAX) + "\n\n\n");
  const Array array(ztArray_ctor);
  array->setElementSize(array, 0, 0);
  EXPECT_EQ(array->read(array, *file), 1);
  EXPECT_EQ(array->getSize(array), INT_MAX);
}

TEST(Claims, OfElementsWithoutSizeAreKeptByABinaryFileAsTheirCountAlone) {
  const Storage file;
  const Array array(ztArray_ctor);
  array->setElementSize(array, 0, 0);
  ASSERT_EQ(array->setSize(array, 1000000), 1);
  for (int i = 1; i <= 3; ++i) {
    EXPECT_EQ(array->write(array, file), 1);
    EXPECT_EQ(file->tell(file), 4 * i);
  }
  file->goToBegin(file);
  for (int i = 1; i <= 3; ++i) {
    const Array read(ztArray_ctor);
    read->setElementSize(read, 0, 0);
    EXPECT_EQ(read->read(read, file), 1);
    EXPECT_EQ(read->getSize(read), 1000000);
    EXPECT_EQ(file->tell(file), 4 * i);
  }
}

// A host's file is asked for each element, as it may keep something for it.
TEST(Claims, OfElementsWithoutSizeAreWrittenOneByOneToAHostsFile) {
  const Storage file(Recorder_ctor);
  const Array array(ztArray_ctor);
  array->setElementSize(array, 0, 0);
  ASSERT_EQ(array->setSize(array, 1000), 1);
  calls.clear();
  EXPECT_EQ(array->write(array, file), 1);
  EXPECT_EQ(calls, Calls(1000, "writeBuf 0"));
  EXPECT_EQ(file->tell(file), 4);
}

TEST_P(Claims, OfPointersAreWeighedWithTheirStride) {
  for (const int32_t size : {0, 1, 8}) {
    const std::string bytes = number(10000000) + buffer("12345678");
    const auto file = source(bytes);
    const Array array(ztArray_ctor);
    array->setElementSize(array, size, 1);
    const Peak peak;
    EXPECT_EQ(array->read(array, *file), 0) << size;
    EXPECT_LE(peak.bytes(), allowedFor(bytes.size())) << size;
  }
}

TEST_P(Claims, OfTheCountThatAnArrayHasAlreadyKeepItsBlock) {
  const std::string bytes = number(16000) + buffer("abcd");
  const auto file = source(bytes);
  const Array array(ztIntArray_ctor);
  array->setSize(array, 16000);
  memset(array->getData(array), 'x', 64000);
  const void *block = array->getData(array);
  EXPECT_EQ(array->read(array, *file), 1);
  EXPECT_EQ(array->getData(array), block);
  EXPECT_EQ(memcmp(block, "abcd\0\0\0\0", 8), 0);
  EXPECT_EQ(static_cast<const int32_t *>(block)[15999], 0);
}

TEST_P(Claims, ThatNothingFollowsLeaveTheArrayAsItWas) {
  const auto file = source(number(1000000));
  const Array array(ztIntArray_ctor);
  const int32_t five = 5;
  array->pushBack(array, &five);
  EXPECT_EQ(array->read(array, *file), 0);
  ASSERT_EQ(array->getSize(array), 1);
  EXPECT_EQ(*static_cast<int32_t *>(array->getAt(array, 0)), 5);
}

TEST_P(Claims, ThatAreRefusedHalfWayLeaveAUsableArray) {
  const auto file = source(number(1000000) + buffer(std::string(5000, 'a')));
  const Array array(ztIntArray_ctor);
  EXPECT_EQ(array->read(array, *file), 0);
  EXPECT_EQ(array->getSize(array), 0);
  const int32_t five = 5;
  EXPECT_NE(array->pushBack(array, &five), nullptr);
}

// What stands before the count does not bear it out.
TEST(Claims, AreHeldAgainstWhatIsLeftOfTheFile) {
  const Storage file;
  file.hold(std::string(300000, 'x') + intBytes(200000) + "abc");
  file->goToAbs(file, 300000);
  const Array array(ztCharArray_ctor);
  lastSizeAskedFor = 0;
  EXPECT_EQ(array->read(array, file), 1) << "four times what was read would allow it";
  file->goToAbs(file, 300000);
  const String string(ztString_ctor);
  const Peak peak;
  EXPECT_EQ(string->read(string, file), 1);
  EXPECT_STREQ(string->get(string), "abc");
  EXPECT_LE(peak.bytes(), 65536);
}

// Strings -----------------------------------------------------------------------------------------

TEST_P(Claims, OfATextThatIsNotThereAreRefusedAndTheTextKept) {
  for (const int32_t size : {-1, INT_MIN, 70000, INT_MAX - 1, INT_MAX}) {
    const std::string bytes = number(size) + "short\n";
    const auto file = source(bytes);
    const String string = stringOf("kept");
    const Peak peak;
    EXPECT_EQ(string->read(string, *file), 0) << size;
    EXPECT_LE(peak.bytes(), allowedFor(bytes.size())) << size;
    EXPECT_STREQ(string->get(string), "kept");
  }
}

TEST_P(Claims, OfManyTextsInOneFileHoldNoMoreThanTheirBytes) {
  if (!GetParam().isText()) GTEST_SKIP() << "a binary text is cut by the end of the file only";
  const int count = scale(2000);
  for (const int32_t size : {100, 3000, 20000, 60000}) {
    std::string bytes;
    for (int i = 0; i < count; ++i) bytes += number(size) + "a\n";
    const auto file = source(bytes);
    std::vector<String> strings;
    for (int i = 0; i < count; ++i) strings.emplace_back(ztString_ctor);
    const Peak peak;
    for (const String &string : strings) {
      EXPECT_EQ(string->read(string, *file), 1);
      EXPECT_STREQ(string->get(string), "a\n");
    }
    EXPECT_LE(peak.bytes(), allowedFor(bytes.size()) + size);
  }
}

TEST_P(Claims, OfTextsAreMetOverAnyNumberOfCycles) {
  const int cycles = 50;
  for (const size_t length : {0U, 5U, 4095U, 65536U, 70000U, 200000U}) {
    std::string text(length, 'l');
    String string = stringOf(text);
    if (GetParam().isText()) text = length == 0 ? "n" : text + "\n";
    for (int i = 0; i < cycles; ++i) {
      const auto file = source(stored(string) + std::string(1, '\0'));
      String next(ztString_ctor);
      ASSERT_EQ(next->read(next, *file), 1) << length << " in cycle " << i;
      if (length == 0 && i > 0 && GetParam().isText()) text = "n\n";
      ASSERT_EQ(std::string(next->get(next)), text) << length << " in cycle " << i;
      string = std::move(next);
    }
  }
}

TEST_P(Claims, OfAnArrayOfTextsAreMetOverAnyNumberOfCycles) {
  if (!GetParam().isText()) GTEST_SKIP() << "a binary array of strings does not read back";
  const int32_t count = scale(1000);
  Array array(ztStringArray_ctor);
  for (int32_t i = 0; i < count; ++i) array->pushBack(array, stringOf("abc"));
  for (int cycle = 0; cycle < 150; ++cycle) {
    const auto file = source(stored(array));
    Array next(ztStringArray_ctor);
    ASSERT_EQ(next->read(next, *file), 1) << cycle;
    ASSERT_EQ(next->getSize(next), count) << cycle;
    for (int32_t i = 0; i < count; ++i) {
      const void *string = next->getAt(next, i);
      ASSERT_STREQ(ztString_of(string)->get(string), "abc\n") << cycle;
    }
    array = std::move(next);
  }
}

TEST_P(Claims, OfATextOfManyLinesAreMetAgainAfterItsNextSave) {
  if (!GetParam().isText()) GTEST_SKIP() << "lines are the text form's";
  String string = stringOf("first\n" + std::string(200000, 'x'));
  std::string bytes = stored(string);
  for (int i = 0; i < 5; ++i) {
    const auto file = source(bytes);
    const String next(ztString_ctor);
    if (i == 0 && GetParam().isPipe) bytes = bytes.substr(0, bytes.find('\n') + 1);
    const int32_t done = next->read(next, *file);
    if (GetParam().isPipe) break;
    ASSERT_EQ(done, 1) << i;
    EXPECT_STREQ(next->get(next), "first\n");
    bytes = stored(next);
  }
}

// Classes of a host ---------------------------------------------------------------------------------

TEST(Claims, OfAHostsFileAreMetByTheStatedCallsAlone) {
  const Storage file(Recorder_ctor);
  const String string = stringOf(std::string(100000, 'a'));
  string->write(string, file);
  file->goToBegin(file);
  const String other(ztString_ctor);
  calls.clear();
  EXPECT_EQ(other->read(other, file), 1);
  EXPECT_EQ(calls, Calls({"readInt", "readString 100002"}));
  EXPECT_EQ(other->length(other), 100000U);

  file.hold("");
  const Array array(ztIntArray_ctor);
  array->setSize(array, 30000);
  array->write(array, file);
  file->goToBegin(file);
  const Array read(ztIntArray_ctor);
  calls.clear();
  EXPECT_EQ(read->read(read, file), 1);
  Calls expected = {"readInt"};
  expected.resize(30001, "readBuf 4");
  EXPECT_EQ(calls, expected);
}

TEST(Claims, OfAHostsFileThatEndsFarBeforeAreRefused) {
  const Storage file(Recorder_ctor);
  file.hold(intBytes(INT_MAX / 2) + "abc");
  const String string = stringOf("kept");
  const Array array(ztCharArray_ctor);
  const Peak peak;
  EXPECT_EQ(string->read(string, file), 0);
  file->goToBegin(file);
  EXPECT_EQ(array->read(array, file), 0);
  EXPECT_LE(peak.bytes(), allowedFor(7));
  EXPECT_STREQ(string->get(string), "kept");
}

TEST(Claims, OfAFileWithoutAStreamAreMetByWhatItBrings) {
  const Array array(ztIntArray_ctor);
  array->setSize(array, 100000);
  memset(array->getData(array), 'b', 400000);
  elsewhere =
      intBytes(100000) + std::string(400000, 'b') + intBytes(300000) + std::string(300000, 'c') + '\0';
  elsewhereAt = 0;
  Storage file(Elsewhere_ctor);
  file->release(file);
  const Array other(ztIntArray_ctor);
  EXPECT_EQ(other->read(other, file), 1);
  ASSERT_EQ(other->getSize(other), 100000);
  EXPECT_EQ(memcmp(other->getData(other), array->getData(array), 400000), 0);
  const String string(ztString_ctor);
  EXPECT_EQ(string->read(string, file), 1);
  EXPECT_EQ(string->length(string), 300000U);

  elsewhere = intBytes(INT_MAX / 8) + "abcd";
  elsewhereAt = 0;
  const Peak peak;
  EXPECT_EQ(other->read(other, file), 0);
  EXPECT_LE(peak.bytes(), allowedFor(8));
}

TEST(Claims, ThatAHostsFileFailsToReadGiveZero) {
  const Storage file(Elsewhere_ctor);
  elsewhere.clear();
  elsewhereAt = 0;
  for (const int32_t failure : {0, -1, INT_MIN}) {
    elsewhereFails = failure;
    const String string = stringOf("kept");
    EXPECT_EQ(string->read(string, file), 0) << failure;
    EXPECT_STREQ(string->get(string), "kept");
    EXPECT_EQ(ztString_load(string, file), 0);
    const Array array(ztIntArray_ctor);
    EXPECT_EQ(array->read(array, file), 0) << failure;
    elsewhere = intBytes(5);
    EXPECT_EQ(string->read(string, file), 0) << failure;
    elsewhere.clear();
    elsewhereAt = 0;
  }
  elsewhereFails = 0;
}

TEST(Claims, OfAHostsArrayAreMetByItsSetSize) {
  const Storage file;
  const Array array(ztIntArray_ctor);
  array->setSize(array, 30000);
  array->write(array, file);
  file->goToBegin(file);
  const Array own = arrayOf(nullptr, 4, OwnSlots_ctor);
  calls.clear();
  EXPECT_EQ(own->read(own, file), 1);
  EXPECT_EQ(calls, Calls({"setSize 30000"}));
  file.hold(intBytes(INT_MAX / 8) + "abcd");
  calls.clear();
  EXPECT_EQ(own->read(own, file), 0);
  EXPECT_EQ(calls, Calls());
}

TEST(Claims, OfAHostsArrayOfStringsAreMetByItsSetSize) {
  std::string bytes = "9000\n";
  for (int i = 0; i < 9000; ++i) bytes += "2\na\n";
  const Storage file(ztTextFile_ctor);
  file.hold(bytes);
  const Array own = arrayOf(ztString_ctor, sizeof(ztString), OwnSlots_ctor);
  calls.clear();
  EXPECT_EQ(own->read(own, file), 1);
  EXPECT_EQ(calls, Calls({"setSize 9000"}));
  const void *last = own->getBack(own);
  EXPECT_STREQ(ztString_of(last)->get(last), "a\n");
}
