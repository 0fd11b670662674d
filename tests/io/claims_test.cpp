// Memory follows the bytes that arrive, not the counts that a file claims.
#include "containers/ztarrays.h"
#include "tests/helpers/scale.hh"
#include "tests/io/source.hh"
#include "tests/io/strings.hh"

#include <limits.h>
#include <string.h>

#include <deque>
#include <functional>
#include <ostream>

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

// Elements whose record is in another file.
#define Chain_FIELDS \
  ztBaseClass_FIELDS \
  char room[84];
#define Chain_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Chain)

#define Nest_FIELDS ztArray_FIELDS
#define Nest_METHODS ztArray_METHODS
ZT_DECLARE_CLASS(Nest)

// Classes of a host that record what they are asked.
#define OwnSlots_FIELDS ztArray_FIELDS
#define OwnSlots_METHODS ztArray_METHODS
ZT_DECLARE_CLASS(OwnSlots)

// A file without a stream, whose bytes the host keeps elsewhere.
#define Elsewhere_FIELDS ztFile_FIELDS
#define Elsewhere_METHODS ztFile_METHODS
ZT_DECLARE_CLASS(Elsewhere)

static Texts calls;

// Reads what the record of a Chain leads to.
static std::function<int32_t()> readNext;

static int32_t vastRead(void *object, void *file) {
  return ztFile_of(file)->readInt(file, &static_cast<Vast *>(object)->number);
}

static void vastMethods(VastMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, [](void *object) -> int32_t {
    static_cast<Vast *>(object)->number = 0;
    return ztBaseClass_table()->create(object);
  });
  ZT_OVERRIDE_METHOD(methods, read, vastRead);
}
ZT_DEFINE_CLASS(Vast, ztBaseClass, vastMethods)

static int32_t chainRead(void *, void *) {
  return readNext();
}

static void chainMethods(ChainMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, read, chainRead);
}
ZT_DEFINE_CLASS(Chain, ztBaseClass, chainMethods)

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

static void ownSlotsMethods(OwnSlotsMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, setSize, [](void *array, int32_t count) -> int32_t {
    calls.emplace_back("setSize " + std::to_string(count));
    return ztArray_table()->setSize(array, count);
  });
}
ZT_DEFINE_CLASS(OwnSlots, ztArray, ownSlotsMethods)

static std::string elsewhere;
static size_t elsewhereAt;
static int32_t elsewhereFails;  // what a failing primitive gives

static void holdElsewhere(const std::string &bytes) {
  elsewhere = bytes;
  elsewhereAt = 0;
}

static size_t takeElsewhere(void *buffer, size_t n) {
  const size_t taken = elsewhere.copy(static_cast<char *>(buffer), n, elsewhereAt);
  elsewhereAt += taken;
  return taken;
}

static int32_t elsewhereReadBuf(void *, int32_t n, void *buffer) {
  return static_cast<int32_t>(takeElsewhere(buffer, static_cast<size_t>(n)));
}

static void elsewhereMethods(ElsewhereMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, readInt, [](void *, int32_t *out) -> int32_t {
    return takeElsewhere(out, sizeof *out) == sizeof *out ? 1 : elsewhereFails;
  });
  ZT_OVERRIDE_METHOD(methods, readBuf, elsewhereReadBuf);
  ZT_OVERRIDE_METHOD(methods, readString, [](void *, int32_t n, char *buffer) -> intptr_t {
    const size_t taken = takeElsewhere(buffer, static_cast<size_t>(n));
    return taken == 0 ? elsewhereFails : static_cast<intptr_t>(taken);
  });
  ZT_OVERRIDE_METHOD(methods, eof, [](void *) -> int32_t { return elsewhereAt == elsewhere.size(); });
}
ZT_DEFINE_CLASS(Elsewhere, ztFile, elsewhereMethods)

namespace {

Array arrayOf(ztCtor element, int32_t size, ztCtor constructor = ztArray_ctor) {
  Array array(constructor);
  array->setElementSize(array, size, 0);
  array->setElementConstructor(array, element);
  return array;
}

// An array of so many elements without size.
Array unsizedOf(int32_t count) {
  Array array = arrayOf(nullptr, 0);
  EXPECT_EQ(array->setSize(array, count), 1);
  return array;
}

// An integer array of so many elements.
Array intsOf(int32_t count) {
  Array array(ztIntArray_ctor);
  array->setSize(array, count);
  return array;
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
  constexpr int64_t rounding = 1024;  // blocks are somewhat larger than what was asked for
  return 65536 + 4 * static_cast<int64_t>(bytes) + rounding;
}

struct Form {
  const char *name;
  ztCtor constructor;
  bool isPipe;
};

std::ostream &operator<<(std::ostream &out, const Form &form) {
  return out << form.name;
}

class ClaimsIn : public testing::TestWithParam<Form> {
 protected:
  Source source(const std::string &bytes) const {
    return Source(bytes, GetParam().constructor, GetParam().isPipe);
  }
  std::string number(int32_t value) const {
    return isText ? std::to_string(value) + "\n" : bytesOf(value);
  }
  std::string buffer(const std::string &bytes) const {
    return isText ? bytes + "\n" : bytes;
  }
  std::string stored(const void *object) const {
    return recordOf(object, GetParam().constructor);
  }

  const bool isText = GetParam().constructor == ztTextFile_ctor;
};

INSTANTIATE_TEST_SUITE_P(A, ClaimsIn,
                         testing::Values(Form{"BinaryFile", ztFile_ctor, false},
                                         Form{"TextFile", ztTextFile_ctor, false},
                                         Form{"BinaryPipe", ztFile_ctor, true},
                                         Form{"TextPipe", ztTextFile_ctor, true}),
                         [](const testing::TestParamInfo<Form> &test) { return test.param.name; });

}  // namespace

// Arrays of objects -------------------------------------------------------------------------------

TEST_P(ClaimsIn, OfVastObjectsAreMetOnlyByTheirRecords) {
  std::string bytes = number(2000);
  for (int32_t i = 1; i <= 5; ++i) bytes += number(i);
  const Source file = source(bytes);
  const Array array = arrayOf(Vast_ctor, sizeof(Vast));
  const Owned<Vast, VastMethods> prepared(Vast_ctor);  // a class keeps a prototype from then on
  const Peak peak;
  EXPECT_EQ(array->read(array, file), 0);
  EXPECT_LE(peak.bytes(), allowedFor(bytes.size()) + 5 * int64_t{sizeof(Vast)});
  EXPECT_EQ(array->getSize(array), 0);
}

TEST_P(ClaimsIn, OfVastObjectsThatAreAllThereAreMet) {
  std::string bytes = number(12);
  for (int32_t i = 1; i <= 12; ++i) bytes += number(i);
  const Source file = source(bytes);
  const Array array = arrayOf(Vast_ctor, sizeof(Vast));
  EXPECT_EQ(array->read(array, file), 1);
  ASSERT_EQ(array->getSize(array), 12);
  for (int32_t i = 0; i < 12; ++i) EXPECT_EQ(static_cast<Vast *>(array->getAt(array, i))->number, i + 1);
}

TEST_P(ClaimsIn, OfObjectsWithoutRecordsAreMetUpTo64Kilobytes) {
  for (const int32_t count : {1, 600, 1000000, INT_MAX}) {
    const std::string bytes = number(count) + buffer("rest");
    const Source file = source(bytes);
    const Array array = arrayOf(Silent_ctor, sizeof(Silent));
    const Peak peak;
    EXPECT_EQ(array->read(array, file), count <= 600) << count;
    EXPECT_EQ(array->getSize(array), count <= 600 ? count : 0);
    EXPECT_LE(peak.bytes(), allowedFor(bytes.size())) << count;
  }
}

TEST_P(ClaimsIn, OfManyArraysInOneFileAreWeighedTogether) {
  std::string bytes;
  for (int i = 0; i < 100; ++i) bytes += number(600);
  const Source file = source(bytes);
  std::vector<Array> arrays;
  const Peak peak;
  int32_t met = 0;
  for (int i = 0; i < 100; ++i) {
    arrays.push_back(arrayOf(Silent_ctor, sizeof(Silent)));
    met += arrays.back()->read(arrays.back(), file);
  }
  EXPECT_EQ(met, 1);
  EXPECT_LE(peak.bytes(), allowedFor(bytes.size()) + 100 * int64_t{sizeof(ztArray) + 16});
}

TEST_P(ClaimsIn, OfOneFileDoNotCountWhenItIsReadAgain) {
  if (GetParam().isPipe) GTEST_SKIP() << "a pipe is read once";
  const Source file = source(number(600));
  const Array array = arrayOf(Silent_ctor, sizeof(Silent));
  for (int i = 0; i < 10; ++i) {
    file->goToBegin(file);
    EXPECT_EQ(array->read(array, file), 1);
    array->empty(array);
  }
}

TEST_P(ClaimsIn, OfArraysWithinArraysAreWeighedTogether) {
  const int depth = scale(2000);
  std::string bytes;
  for (int i = 0; i < depth; ++i) bytes += number(500);
  const Source file = source(bytes);
  const Array array(Nest_ctor);
  const Peak peak;
  array->read(array, file);
  // The thread keeps a record of each read that is under way, in a table that doubles.
  constexpr int64_t recordBytes = 128;
  EXPECT_LE(peak.bytes(), allowedFor(bytes.size()) + depth * (int64_t{sizeof(Nest) + 16} + recordBytes));
}

TEST_P(ClaimsIn, OfArraysWithinArraysThatAreAllThereAreMet) {
  const int32_t count = 3000;
  std::string bytes = number(count);
  for (int32_t i = 0; i < count; ++i)
    bytes += number(i % 3) + (i % 3 > 0 ? number(0) : "") + (i % 3 > 1 ? number(0) : "");
  const Source file = source(bytes);
  const Array array(Nest_ctor);
  EXPECT_EQ(array->read(array, file), 1);
  ASSERT_EQ(array->getSize(array), count);
  for (int32_t i = 0; i < count; ++i) ASSERT_EQ(static_cast<ztArray *>(array->getAt(array, i))->count, i % 3);
}

TEST_P(ClaimsIn, OfStringsAreMetOnlyByTheirRecords) {
  std::string bytes = number(10000000);
  for (int i = 0; i < 2000; ++i) bytes += stored(String("ab")) + (isText ? "" : std::string(1, '\0'));
  const Source file = source(bytes);
  const Array array(ztStringArray_ctor);
  const Peak peak;
  EXPECT_EQ(array->read(array, file), 0);
  constexpr int64_t stringBytes = sizeof(ztString) + sizeof(ztCharArray) + 64;
  EXPECT_LE(peak.bytes(), allowedFor(bytes.size()) + 2000 * stringBytes);
  EXPECT_EQ(array->getSize(array), 0);
}

// Elements without objects --------------------------------------------------------------------------

TEST_P(ClaimsIn, OfNumbersThatAFileLacksAreMetUpTo64Kilobytes) {
  for (const int32_t count : {3, 1000, 16384, 20000, 1000000, INT_MAX / 4, INT_MAX}) {
    const std::string bytes = number(count) + buffer("abcd") + buffer("ef");
    const Source file = source(bytes);
    const Array array(ztIntArray_ctor);
    const Peak peak;
    EXPECT_EQ(array->read(array, file), count <= 16384) << count;
    EXPECT_LE(peak.bytes(), allowedFor(bytes.size())) << count;
    ASSERT_EQ(array->getSize(array), count <= 16384 ? count : 0);
    if (count > 16384) continue;
    const auto *data = static_cast<const char *>(array->getData(array));
    EXPECT_EQ(std::string(data, 4), "abcd");
    EXPECT_EQ(data[int64_t{count} * 4 - 1], 0);
  }
}

TEST_P(ClaimsIn, OfManyNumbersThatAreAllThereAreMet) {
  for (const int32_t count : {16384, 16385, 70000}) {
    const Array array = intsOf(count);
    for (int32_t i = 0; i < count; ++i) static_cast<int32_t *>(array->getData(array))[i] = i * 7;
    const std::string bytes = stored(array);
    const Source file = source(bytes + "next");
    const Array other(ztIntArray_ctor);
    const Peak peak;
    EXPECT_EQ(other->read(other, file), 1);
    EXPECT_LE(peak.bytes(), allowedFor(bytes.size()));
    ASSERT_EQ(other->getSize(other), count);
    EXPECT_EQ(memcmp(other->getData(other), array->getData(array), static_cast<size_t>(count) * 4), 0);
    char next[5] = "";
    file->readBuf(file, 4, next);
    EXPECT_STREQ(next, "next");
  }
}

TEST_P(ClaimsIn, OfElementsWithoutSizeDoNotRunForEver) {
  const Source file = source(number(INT_MAX) + "\n\n\n");
  const Array array = unsizedOf(0);
  EXPECT_EQ(array->read(array, file), 1);
  EXPECT_EQ(array->getSize(array), INT_MAX);
}

TEST(Claims, OfElementsWithoutSizeAreKeptByABinaryFileAsTheirCountAlone) {
  const Storage file;
  const Array array = unsizedOf(1000000);
  for (int i = 1; i <= 3; ++i) {
    EXPECT_EQ(array->write(array, file), 1);
    EXPECT_EQ(file->tell(file), 4 * i);
  }
  file->goToBegin(file);
  for (int i = 1; i <= 3; ++i) {
    const Array read = unsizedOf(0);
    EXPECT_EQ(read->read(read, file), 1);
    EXPECT_EQ(read->getSize(read), 1000000);
    EXPECT_EQ(file->tell(file), 4 * i);
  }
}

// A host's file is asked for each element, as it may keep something for it.
TEST(Claims, OfElementsWithoutSizeAreWrittenOneByOneToAHostsFile) {
  const Storage file(FaultyFile_ctor);
  const Array array = unsizedOf(1000);
  const FileScript script;
  EXPECT_EQ(array->write(array, file), 1);
  EXPECT_EQ(script.count("writeBuf"), 1000);
  EXPECT_EQ(script.calls.back(), "writeBuf 0");
  EXPECT_EQ(file.bytes(), bytesOf(1000));
}

TEST_P(ClaimsIn, OfPointersAreWeighedWithTheirStride) {
  for (const int32_t size : {0, 1, 8}) {
    const std::string bytes = number(10000000) + buffer("12345678");
    const Source file = source(bytes);
    const Array array(ztArray_ctor);
    array->setElementSize(array, size, 1);
    const Peak peak;
    EXPECT_EQ(array->read(array, file), 0) << size;
    EXPECT_LE(peak.bytes(), allowedFor(bytes.size())) << size;
  }
}

TEST_P(ClaimsIn, OfTheCountThatAnArrayHasAlreadyKeepItsBlock) {
  const std::string bytes = number(16000) + buffer("abcd");
  const Source file = source(bytes);
  const Array array = intsOf(16000);
  memset(array->getData(array), 'x', 64000);
  const void *block = array->getData(array);
  EXPECT_EQ(array->read(array, file), 1);
  EXPECT_EQ(array->getData(array), block);
  EXPECT_EQ(memcmp(block, "abcd\0\0\0\0", 8), 0);
  EXPECT_EQ(static_cast<const int32_t *>(block)[15999], 0);
}

TEST_P(ClaimsIn, ThatAreRefusedLeaveTheArrayUsableAndAsItWasIfNothingFollows) {
  for (const bool somethingFollows : {false, true}) {
    const Source file = source(number(1000000) + (somethingFollows ? buffer(std::string(5000, 'a')) : ""));
    const Array array(ztIntArray_ctor);
    const int32_t five = 5;
    if (!somethingFollows) array->pushBack(array, &five);
    EXPECT_EQ(array->read(array, file), 0);
    ASSERT_EQ(array->getSize(array), somethingFollows ? 0 : 1);
    EXPECT_NE(array->pushBack(array, &five), nullptr);
    EXPECT_EQ(*static_cast<int32_t *>(array->getAt(array, 0)), 5);
  }
}

// What stands before the count does not bear it out.
TEST(Claims, AreHeldAgainstWhatIsLeftOfTheFile) {
  const Storage file;
  file.hold(std::string(300000, 'x') + bytesOf(200000) + "abc");
  file->goToAbs(file, 300000);
  const Array array(ztCharArray_ctor);
  lastSizeAskedFor = 0;
  EXPECT_EQ(array->read(array, file), 1) << "four times what was read would allow it";
  file->goToAbs(file, 300000);
  const String string;
  const Peak peak;
  EXPECT_EQ(string->read(string, file), 1);
  EXPECT_EQ(string.text(), "abc");
  EXPECT_LE(peak.bytes(), 65536);
}

// Several files -----------------------------------------------------------------------------------

namespace {

// The library keeps accounts of the unmet claims of so many files.
constexpr int mostAccounts = 32;

// How many of so many arrays of elements without records are read from a file.
int32_t readSilent(void *file, int count) {
  int32_t met = 0;
  for (int i = 0; i < count; ++i) {
    const Array array = arrayOf(Silent_ctor, sizeof(Silent));
    met += array->read(array, file);
  }
  return met;
}

}  // namespace

TEST_P(ClaimsIn, OfMoreFilesThanThereAreAccountsForgetTheOldest) {
  std::deque<Source> files;
  for (int i = 0; i < 2 * mostAccounts; ++i) {
    files.emplace_back(number(600) + number(600), GetParam().constructor, GetParam().isPipe);
    EXPECT_EQ(readSilent(files.back(), 1), 1) << i;
  }
  const Peak peak;
  EXPECT_EQ(readSilent(files.back(), 1), 0) << "beside its first";
  EXPECT_EQ(readSilent(files.front(), 1), 1) << "alone";
  EXPECT_LE(peak.bytes(), allowedFor(0));
}

// Reads a file within each file, and does something within the last.
static void readWithin(std::deque<Source> &files, const std::function<void()> &within) {
  size_t next = 0;
  bool isDone = false;
  readNext = [&]() -> int32_t {
    if (next < files.size()) {
      const Array array = arrayOf(Chain_ctor, sizeof(Chain));
      return array->read(array, files[next++]);
    }
    if (!isDone) within();
    isDone = true;
    return 1;
  };
  EXPECT_EQ(readNext(), 1);
  EXPECT_TRUE(isDone);
  readNext = nullptr;
}

TEST_P(ClaimsIn, OfFilesThatAreBeingReadAreNotForgotten) {
  for (const bool isFull : {false, true}) {
    SCOPED_TRACE(isFull);
    std::deque<Source> files;
    for (int i = 0; i < (isFull ? mostAccounts : mostAccounts / 2); ++i) {
      files.emplace_back(number(200) + number(600), GetParam().constructor, GetParam().isPipe);
    }
    const std::string bytes = number(600) + number(600) + number(1000000) + buffer("rest");
    std::deque<Source> others;
    readWithin(files, [&] {
      for (int i = 0; i < 2 * mostAccounts; ++i) {
        others.emplace_back(bytes, GetParam().constructor, GetParam().isPipe);
        const Source &other = others.back();
        EXPECT_EQ(readSilent(other, 2), isFull ? 2 : 1) << "alone without an account";
        const Peak peak;
        EXPECT_EQ(readSilent(other, 1), 0);
        EXPECT_LE(peak.bytes(), allowedFor(bytes.size()));
      }
    });
    for (const Source &file : files) EXPECT_EQ(readSilent(file, 1), 0) << "beside its first";
  }
}

// Strings -----------------------------------------------------------------------------------------

TEST_P(ClaimsIn, OfATextThatIsNotThereAreRefusedAndTheTextKept) {
  for (const int32_t size : {-1, INT_MIN, 70000, INT_MAX - 1, INT_MAX}) {
    const std::string bytes = number(size) + "short\n";
    const Source file = source(bytes);
    const String string("kept");
    const Peak peak;
    EXPECT_EQ(string->read(string, file), 0) << size;
    EXPECT_LE(peak.bytes(), allowedFor(bytes.size())) << size;
    EXPECT_EQ(string.text(), "kept");
  }
}

TEST_P(ClaimsIn, OfManyTextsInOneFileHoldNoMoreThanTheirBytes) {
  if (!isText) GTEST_SKIP() << "a binary text is cut by the end of the file only";
  const int count = scale(2000);
  for (const int32_t size : {100, 3000, 20000, 60000}) {
    std::string bytes;
    for (int i = 0; i < count; ++i) bytes += number(size) + "a\n";
    const Source file = source(bytes);
    std::vector<String> strings(static_cast<size_t>(count));
    const Peak peak;
    for (const String &string : strings) {
      EXPECT_EQ(string->read(string, file), 1);
      EXPECT_EQ(string.text(), "a\n");
    }
    EXPECT_LE(peak.bytes(), allowedFor(bytes.size()) + size);
  }
}

TEST_P(ClaimsIn, OfTextsAreMetOverAnyNumberOfCycles) {
  const int cycles = 50;
  for (const size_t length : {0U, 5U, 4095U, 65536U, 70000U, 200000U}) {
    std::string text(length, 'l');
    String string(text);
    if (isText) text = length == 0 ? "n" : text + "\n";
    for (int i = 0; i < cycles; ++i) {
      const Source file = source(stored(string) + std::string(1, '\0'));
      String next;
      ASSERT_EQ(next->read(next, file), 1) << length << " in cycle " << i;
      if (length == 0 && i > 0 && isText) text = "n\n";
      ASSERT_EQ(next.text(), text) << length << " in cycle " << i;
      string = std::move(next);
    }
  }
}

TEST_P(ClaimsIn, OfAnArrayOfTextsAreMetOverAnyNumberOfCycles) {
  if (!isText) GTEST_SKIP() << "a binary array of strings does not read back";
  const int32_t count = scale(1000);
  Array array = arrayOf(Texts(static_cast<size_t>(count), "abc"));
  for (int cycle = 0; cycle < 150; ++cycle) {
    const Source file = source(stored(array));
    Array next(ztStringArray_ctor);
    ASSERT_EQ(next->read(next, file), 1) << cycle;
    ASSERT_EQ(textsOf(next), Texts(static_cast<size_t>(count), "abc\n")) << cycle;
    array = std::move(next);
  }
}

TEST_P(ClaimsIn, OfATextOfManyLinesAreMetAgainAfterItsNextSave) {
  if (!isText) GTEST_SKIP() << "lines are the text form's";
  String string("first\n" + std::string(200000, 'x'));
  std::string bytes = stored(string);
  for (int i = 0; i < 5; ++i) {
    const Source file = source(bytes);
    const String next;
    if (i == 0 && GetParam().isPipe) bytes = bytes.substr(0, bytes.find('\n') + 1);
    const int32_t done = next->read(next, file);
    if (GetParam().isPipe) break;
    ASSERT_EQ(done, 1) << i;
    EXPECT_EQ(next.text(), "first\n");
    bytes = stored(next);
  }
}

// Classes of a host ---------------------------------------------------------------------------------

TEST(Claims, OfAHostsFileAreMetByTheStatedCallsAlone) {
  const String string(std::string(100000, 'a'));
  const Array array = intsOf(30000);
  const Storage strings(FaultyFile_ctor, recordOf(string));
  const Storage arrays(FaultyFile_ctor, recordOf(array));
  FileScript script;
  const String other;
  EXPECT_EQ(other->read(other, strings), 1);
  EXPECT_EQ(script.calls, Texts({"readInt", "readString 100002"}));
  EXPECT_EQ(other->length(other), 100000U);
  script.calls.clear();
  EXPECT_EQ(array->read(array, arrays), 1);
  Texts expected = {"readInt"};
  expected.resize(30001, "readBuf 4");
  EXPECT_EQ(script.calls, expected);
}

TEST(Claims, OfAHostsFileThatEndsFarBeforeAreRefused) {
  const Storage file(FaultyFile_ctor, bytesOf(INT_MAX / 2) + "abc");
  const String string("kept");
  const Array array(ztCharArray_ctor);
  const Peak peak;
  EXPECT_EQ(string->read(string, file), 0);
  file.rewind();
  EXPECT_EQ(array->read(array, file), 0);
  EXPECT_LE(peak.bytes(), allowedFor(7));
  EXPECT_EQ(string.text(), "kept");
}

TEST(Claims, OfAFileWithoutAStreamAreMetByWhatItBrings) {
  const std::string numbers(400000, 'b');
  holdElsewhere(bytesOf(100000) + numbers + bytesOf(300000) + std::string(300000, 'c') + '\0');
  const Storage file(Elsewhere_ctor);
  file->release(file);
  const Array array(ztIntArray_ctor);
  EXPECT_EQ(array->read(array, file), 1);
  ASSERT_EQ(array->getSize(array), 100000);
  EXPECT_EQ(memcmp(array->getData(array), numbers.data(), numbers.size()), 0);
  const String string;
  EXPECT_EQ(string->read(string, file), 1);
  EXPECT_EQ(string->length(string), 300000U);

  holdElsewhere(bytesOf(INT_MAX / 8) + "abcd");
  const Peak peak;
  EXPECT_EQ(array->read(array, file), 0);
  EXPECT_LE(peak.bytes(), allowedFor(8));
}

TEST(Claims, ThatAHostsFileFailsToReadGiveZero) {
  const Storage file(Elsewhere_ctor);
  for (const int32_t failure : {0, -1, INT_MIN}) {
    elsewhereFails = failure;
    const String string("kept");
    const Array array(ztIntArray_ctor);
    holdElsewhere("");
    EXPECT_EQ(string->read(string, file), 0) << failure;
    EXPECT_EQ(string.text(), "kept");
    EXPECT_EQ(ztString_load(string, file), 0);
    EXPECT_EQ(array->read(array, file), 0) << failure;
    holdElsewhere(bytesOf(5));
    EXPECT_EQ(string->read(string, file), 0) << failure;
  }
  elsewhereFails = 0;
}

TEST(Claims, OfAHostsArrayAreMetByItsSetSize) {
  const Array own = arrayOf(nullptr, 4, OwnSlots_ctor);
  calls.clear();
  EXPECT_EQ(readRecord(own, recordOf(intsOf(30000))), 1);
  EXPECT_EQ(calls, Texts({"setSize 30000"}));
  calls.clear();
  EXPECT_EQ(readRecord(own, bytesOf(INT_MAX / 8) + "abcd"), 0);
  EXPECT_EQ(calls, Texts());
  const Array strings = arrayOf(ztString_ctor, sizeof(ztString), OwnSlots_ctor);
  std::string bytes = "9000\n";
  for (int i = 0; i < 9000; ++i) bytes += "2\na\n";
  EXPECT_EQ(readRecord(strings, bytes, ztTextFile_ctor), 1);
  EXPECT_EQ(calls, Texts({"setSize 9000"}));
  EXPECT_EQ(textOf(strings->getBack(strings)), "a\n");
}
