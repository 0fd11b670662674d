#include "io/ztstring.h"

#include <gtest/gtest.h>
#include <string.h>

#include <algorithm>
#include <climits>
#include <random>
#include <string>
#include <vector>

#include "io/zttxtfile.h"
#include "tests/helpers/faults.hh"
#include "tests/helpers/owned.hh"
#include "tests/helpers/scale.hh"
#include "tests/helpers/storage.hh"

// A string that shows a text of its own choosing and counts what it is asked.
#define ShoutingString_FIELDS ztString_FIELDS
#define ShoutingString_METHODS ztString_METHODS
ZT_DECLARE_CLASS(ShoutingString)

// A subclass that a slot of a string array cannot hold.
#define LabelledString_FIELDS ztString_FIELDS int64_t label;
#define LabelledString_METHODS ztString_METHODS
ZT_DECLARE_CLASS(LabelledString)

// A file without end or position that says it stored texts.
#define BrokenFile_FIELDS ztFile_FIELDS
#define BrokenFile_METHODS ztFile_METHODS
ZT_DECLARE_CLASS(BrokenFile)

static std::vector<std::string> calls;

static const char *shoutingGet(const void *) {
  calls.emplace_back("get");
  return "LOUD";
}

static uint32_t shoutedLength = 4;

static uint32_t shoutingLength(const void *) {
  calls.emplace_back("length");
  return shoutedLength;
}

static void *shoutingSet(void *object, const char *text) {
  calls.emplace_back("set");
  return ztString_table()->set(object, text);
}

static int32_t shoutingIsEqual(const void *, const void *) {
  calls.emplace_back("isEqual");
  return 0;
}

static int32_t shoutingIsMajor(const void *, const void *) {
  calls.emplace_back("isMajor");
  return 1;
}

static void shoutingMethods(ShoutingStringMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, get, shoutingGet);
  ZT_OVERRIDE_METHOD(methods, length, shoutingLength);
  ZT_OVERRIDE_METHOD(methods, set, shoutingSet);
  ZT_OVERRIDE_METHOD(methods, isEqual, shoutingIsEqual);
  ZT_OVERRIDE_METHOD(methods, isMajor, shoutingIsMajor);
}

static void labelledMethods(LabelledStringMethods *) {}

static int32_t brokenWriteString(void *, const char *) {
  return 0;
}

static intptr_t brokenReadString(void *, int32_t, char *) {
  return 0;
}

static void brokenMethods(BrokenFileMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, writeString, brokenWriteString);
  ZT_OVERRIDE_METHOD(methods, readString, brokenReadString);
}

ZT_DEFINE_CLASS(ShoutingString, ztString, shoutingMethods)
ZT_DEFINE_CLASS(LabelledString, ztString, labelledMethods)
ZT_DEFINE_CLASS(BrokenFile, ztFile, brokenMethods)

namespace {

using String = Owned<ztString, ztStringMethods>;
using Array = Owned<ztArray, ztArrayMethods>;
using Texts = std::vector<std::string>;

String stringOf(const char *text) {
  String string(ztString_ctor);
  string->set(string, text);
  return string;
}

const ztCharArray *bufferOf(const String &string) {
  return string.fields().buffer;
}

int32_t bufferSize(const String &string) {
  return ztCharArray_of(bufferOf(string))->getSize(bufferOf(string));
}

std::string bufferBytes(const String &string) {
  const auto *data = static_cast<const char *>(bufferOf(string)->data);
  return data == nullptr ? std::string() : std::string(data, static_cast<size_t>(bufferSize(string)));
}

Array arrayOf(const Texts &texts) {
  Array array(ztStringArray_ctor);
  for (const std::string &text : texts) array->pushBack(array, stringOf(text.c_str()));
  return array;
}

Texts textsOf(const Array &array) {
  Texts texts;
  for (int32_t i = 0; i < array->getSize(array); ++i) {
    const void *string = array->getAt(array, i);
    texts.emplace_back(ztString_of(string)->get(string));
  }
  return texts;
}

}  // namespace

// Text --------------------------------------------------------------------------------------------

TEST(String, NewStringHoldsTheEmptyTextInTwentyBytes) {
  const String string(ztString_ctor);
  EXPECT_EQ(string->length(string), 0U);
  EXPECT_EQ(string->isEmpty(string), 1);
  EXPECT_STREQ(string->get(string), "");
  EXPECT_EQ(bufferBytes(string), std::string(20, '\0'));
  EXPECT_EQ(string->getRefCount(string), 1);
}

TEST(String, SetTakesACopyOfExactlyTheText) {
  char text[] = "abc";
  const String string(ztString_ctor);
  EXPECT_EQ(string->set(string, text), static_cast<void *>(string));
  text[0] = 'x';
  EXPECT_STREQ(string->get(string), "abc");
  EXPECT_EQ(string->length(string), 3U);
  EXPECT_EQ(string->isEmpty(string), 0);
  EXPECT_EQ(bufferBytes(string), std::string("abc\0", 4));
  string->set(string, "a longer text than the one before");
  EXPECT_EQ(bufferSize(string), 34);
  string->set(string, "");
  EXPECT_EQ(bufferSize(string), 1);
  EXPECT_EQ(string->length(string), 0U);
  EXPECT_STREQ(string->get(string), "");
}

TEST(String, SetNullLeavesNoText) {
  const String string = stringOf("abc");
  EXPECT_EQ(string->set(string, nullptr), static_cast<void *>(string));
  EXPECT_EQ(string->get(string), nullptr);
  EXPECT_EQ(string->length(string), 0U);
  EXPECT_EQ(string->isEmpty(string), 1);
  EXPECT_EQ(bufferSize(string), 0);
  EXPECT_EQ(string->set(string, nullptr), static_cast<void *>(string));
  string->set(string, "again");
  EXPECT_STREQ(string->get(string), "again");
}

TEST(String, SetTakesItsOwnTextAndParts) {
  for (size_t from = 0; from <= 26; ++from) {
    const char *letters = "abcdefghijklmnopqrstuvwxyz";
    const String string = stringOf(letters);
    EXPECT_NE(string->set(string, string->get(string) + from), nullptr);
    EXPECT_STREQ(string->get(string), letters + from);
    EXPECT_EQ(bufferSize(string), static_cast<int32_t>(27 - from));
  }
}

TEST(String, CatAppends) {
  const String string = stringOf("abc");
  const String other = stringOf("defg");
  EXPECT_EQ(string->cat(string, other), static_cast<void *>(string));
  EXPECT_EQ(bufferBytes(string), std::string("abcdefg\0", 8));
  EXPECT_STREQ(other->get(other), "defg");
}

TEST(String, CatOfAnEmptyStringChangesNothing) {
  const String string = stringOf("abc");
  const String never(ztString_ctor);
  EXPECT_EQ(string->cat(string, never), static_cast<void *>(string));
  EXPECT_EQ(string->cat(string, stringOf(nullptr)), static_cast<void *>(string));
  EXPECT_EQ(bufferBytes(string), std::string("abc\0", 4));
  const String fresh(ztString_ctor);
  fresh->cat(fresh, never);
  EXPECT_EQ(bufferSize(fresh), 20);
  const String none = stringOf(nullptr);
  none->cat(none, never);
  EXPECT_EQ(none->get(none), nullptr);
}

TEST(String, CatToAnEmptyStringSetsIt) {
  const String other = stringOf("abc");
  for (const char *text : {"", static_cast<const char *>(nullptr)}) {
    const String string = stringOf(text);
    EXPECT_EQ(string->cat(string, other), static_cast<void *>(string));
    EXPECT_EQ(bufferBytes(string), std::string("abc\0", 4));
  }
  const String never(ztString_ctor);
  never->cat(never, other);
  EXPECT_EQ(bufferBytes(never), std::string("abc\0", 4));
}

TEST(String, CatWithItselfDoublesTheText) {
  const String string = stringOf("ab");
  for (size_t length = 4; length <= 4096; length *= 2) {
    EXPECT_EQ(string->cat(string, string), static_cast<void *>(string));
    ASSERT_EQ(string->length(string), length);
    ASSERT_EQ(bufferSize(string), static_cast<int32_t>(length) + 1);
  }
  const std::string text = string->get(string);
  for (size_t i = 0; i < text.size(); ++i) ASSERT_EQ(text[i], "ab"[i % 2]);
}

TEST(String, CatCutsABufferThatIsLargerThanItsText) {
  const Storage file;
  file.hold(std::string("\x0f\0\0\0ab\0..............", 20));
  const String string(ztString_ctor);
  EXPECT_EQ(string->read(string, file), 1);
  EXPECT_EQ(bufferSize(string), 16);
  EXPECT_EQ(string->cat(string, string), static_cast<void *>(string));
  EXPECT_EQ(bufferBytes(string), std::string("abab\0", 5));
}

TEST(String, ComparesByteByByte) {
  struct Row {
    const char *first;
    const char *second;
    int order;
  };
  const Row rows[] = {
      {"a", "a", 0},      {"A", "a", -1},        {"b", "a", 1},     {"B", "a", -1},   {"ab", "a", 1},
      {"a", "ab", -1},    {"", "", 0},           {"", "a", -1},     {"\x80", "a", 1}, {nullptr, "", 0},
      {nullptr, "a", -1}, {nullptr, nullptr, 0}, {"a", nullptr, 1}, {"", nullptr, 0}, {"z", "\xff", -1},
  };
  for (const Row &row : rows) {
    const String first = stringOf(row.first);
    const String second = stringOf(row.second);
    EXPECT_EQ(first->isEqual(first, second), row.order == 0);
    EXPECT_EQ(first->isLess(first, second), row.order < 0);
    EXPECT_EQ(first->isMajor(first, second), row.order > 0);
    EXPECT_EQ(ztStringArray_compare_func(first, second), row.order);
    EXPECT_EQ(ztStringArray_compare_func_ptr(first, second), row.order);
  }
}

TEST(String, NullArgumentsAreRefused) {
  const String string = stringOf("abc");
  EXPECT_EQ(string->cat(string, nullptr), nullptr);
  EXPECT_EQ(string->isEqual(string, nullptr), 0);
  EXPECT_EQ(string->isLess(string, nullptr), 0);
  EXPECT_EQ(string->isMajor(string, nullptr), 0);
  EXPECT_EQ(string->assign(string, nullptr), 0);
  EXPECT_EQ(string->clone(string, nullptr), nullptr);
  EXPECT_EQ(string->read(string, nullptr), 0);
  EXPECT_EQ(string->write(string, nullptr), 0);
  EXPECT_STREQ(string->get(string), "abc");
}

TEST(String, NullStringGivesNothing) {
  const ztStringMethods *methods = ztString_of(stringOf("abc"));
  const String other = stringOf("x");
  EXPECT_EQ(methods->create(nullptr), 0);
  EXPECT_EQ(methods->set(nullptr, "x"), nullptr);
  EXPECT_EQ(methods->cat(nullptr, other), nullptr);
  EXPECT_EQ(methods->get(nullptr), nullptr);
  EXPECT_EQ(methods->length(nullptr), 0U);
  EXPECT_EQ(methods->isEmpty(nullptr), 0);
  EXPECT_EQ(methods->isEqual(nullptr, other), 0);
  EXPECT_EQ(methods->isLess(nullptr, other), 0);
  EXPECT_EQ(methods->isMajor(nullptr, other), 0);
  EXPECT_EQ(methods->assign(nullptr, other), 0);
  EXPECT_EQ(methods->read(nullptr, nullptr), 0);
  EXPECT_EQ(methods->write(nullptr, nullptr), 0);
  methods->destroy(nullptr);
}

TEST(String, OperationsAskTheOtherThroughItsMethodTable) {
  const String loud(ShoutingString_ctor);
  const String string = stringOf("so ");
  string->cat(string, loud);
  EXPECT_STREQ(string->get(string), "so LOUD");
  EXPECT_EQ(string->isLess(string, loud), 0);
  EXPECT_EQ(stringOf("LOUD")->isEqual(stringOf("LOUD"), loud), 1);
  const String never(ztString_ctor);
  never->cat(never, loud);
  EXPECT_STREQ(never->get(never), "LOUD");
  calls.clear();
  EXPECT_EQ(loud->isEmpty(loud), 0);
  EXPECT_EQ(calls, Texts({"length"}));
}

TEST(String, CatRefusesATextThatNoBufferHolds) {
  const String loud(ShoutingString_ctor);
  const String string = stringOf("so ");
  for (const uint32_t length : {uint32_t{INT32_MAX} - 3, UINT32_MAX}) {
    shoutedLength = length;
    EXPECT_EQ(string->cat(string, loud), nullptr);
    EXPECT_STREQ(string->get(string), "so ");
  }
  shoutedLength = 4;
}

// The string as an object -------------------------------------------------------------------------

TEST(String, IsKnownByItsName) {
  const String string(ztNewFromName("ztString"));
  EXPECT_STREQ(ztStringClassName(nullptr, string), "ztString");
  EXPECT_EQ(bufferSize(string), 20);
}

TEST(String, CloneHasABufferOfItsOwn) {
  const String string = stringOf("abc");
  string->ref(string);
  const String copy = string.copy();
  EXPECT_NE(copy.fields().buffer, string.fields().buffer);
  EXPECT_EQ(copy.fields().buffer->refCount, 1);
  copy->set(copy, "changed");
  EXPECT_STREQ(string->get(string), "abc");
  EXPECT_STREQ(copy->get(copy), "changed");
}

TEST(String, CloneOfNoTextHasNoText) {
  const String copy = stringOf(nullptr).copy();
  EXPECT_EQ(copy->get(copy), nullptr);
  copy->set(copy, "x");
  EXPECT_STREQ(copy->get(copy), "x");
}

TEST(String, AssignTakesOverTheBuffer) {
  const String never(ztString_ctor);
  for (const char *text : {"", "abc", "a text of more than twenty bytes"}) {
    const String string = stringOf("12345");
    const String other = stringOf(text);
    EXPECT_EQ(string->assign(string, other), 1);
    EXPECT_EQ(bufferBytes(string), bufferBytes(other));
    EXPECT_NE(string.fields().buffer, other.fields().buffer);
    EXPECT_EQ(string->assign(string, never), 1);
    EXPECT_EQ(bufferBytes(string), std::string(20, '\0'));
  }
}

TEST(String, AssignOfItselfAndOfNoText) {
  const String string = stringOf("abc");
  EXPECT_EQ(string->assign(string, string), 1);
  EXPECT_STREQ(string->get(string), "abc");
  const String none = stringOf(nullptr);
  EXPECT_EQ(string->assign(string, none), 1);
  EXPECT_EQ(string->get(string), nullptr);
  EXPECT_EQ(none->assign(none, none), 1);
  EXPECT_EQ(none->get(none), nullptr);
}

TEST(String, WithoutABufferNothingFails) {
  const Storage file;
  ztString bare;
  ztString_ctor(&bare, 1);
  const ztStringMethods *methods = ztString_of(&bare);
  methods->destroy(&bare);
  EXPECT_EQ(bare.buffer, nullptr);
  methods->destroy(&bare);
  const String other = stringOf("abc");
  EXPECT_EQ(methods->set(&bare, "x"), nullptr);
  EXPECT_EQ(methods->cat(&bare, other), nullptr);
  EXPECT_EQ(methods->get(&bare), nullptr);
  EXPECT_EQ(methods->length(&bare), 0U);
  EXPECT_EQ(methods->isEmpty(&bare), 1);
  EXPECT_EQ(methods->isLess(&bare, other), 1);
  EXPECT_EQ(other->cat(other, &bare), static_cast<void *>(other));
  EXPECT_EQ(methods->assign(&bare, other), 0);
  EXPECT_EQ(methods->assign(&bare, &bare), 1);
  EXPECT_EQ(other->assign(other, &bare), 1);
  EXPECT_EQ(other->get(other), nullptr);
  EXPECT_EQ(methods->write(&bare, file), 1);
  EXPECT_EQ(file.bytes(), std::string(5, '\0'));
  EXPECT_EQ(methods->read(&bare, file), 0);
  ztString copy;
  EXPECT_EQ(methods->clone(&bare, &copy), &copy);
  EXPECT_EQ(copy.buffer, nullptr);
}

// The scratch string ------------------------------------------------------------------------------

TEST(String, NewStringReturnsTheOneScratchString) {
  const ztStringFunctions *functions = ztString_functions();
  void *first = functions->newString(nullptr, "first");
  EXPECT_STREQ(ztString_of(first)->get(first), "first");
  void *second = functions->newString(nullptr, "second");
  EXPECT_EQ(second, first);
  EXPECT_STREQ(ztString_of(first)->get(first), "second");
  EXPECT_EQ(ztString_of(first)->getRefCount(first), 1);
  EXPECT_EQ(functions->newString(nullptr, ztString_of(first)->get(first) + 3), first);
  EXPECT_STREQ(ztString_of(first)->get(first), "ond");
  EXPECT_EQ(functions->newString(nullptr, nullptr), first);
  EXPECT_EQ(ztString_of(first)->get(first), nullptr);
}

TEST(String, NewStringWorksAgainAfterTheClassWasDestroyed) {
  const ztStringFunctions *functions = ztString_functions();
  functions->newString(nullptr, "before");
  const String prototype(ztString_ctor);
  functions->classDestroy(prototype);
  functions->classDestroy(prototype);
  void *scratch = functions->newString(nullptr, "after");
  EXPECT_STREQ(ztString_of(scratch)->get(scratch), "after");
}

TEST(String, ClassFunctionsStandInTheirSlots) {
  const auto *slots = static_cast<void *const *>(ztStringClass_Instance()->classTable);
  const ztStringFunctions *functions = ztString_functions();
  EXPECT_EQ(memcmp(&slots[8], &functions->classInit, sizeof(void *)), 0);
  EXPECT_EQ(memcmp(&slots[9], &functions->classDestroy, sizeof(void *)), 0);
  EXPECT_EQ(memcmp(&slots[10], &functions->newString, sizeof(void *)), 0);
  EXPECT_NE(slots[8], nullptr);
  EXPECT_NE(slots[9], nullptr);
  EXPECT_NE(slots[10], nullptr);
}

// The stored form ---------------------------------------------------------------------------------

TEST(String, WritesSizeTextAndTerminator) {
  const Storage file;
  EXPECT_EQ(stringOf("abc")->write(stringOf("abc"), file), 1);
  EXPECT_EQ(file.bytes(), std::string("\4\0\0\0abc\0", 8));
}

TEST(String, WritesEmptyNeverSetAndMissingText) {
  const Storage file;
  const String never(ztString_ctor);
  EXPECT_EQ(stringOf("")->write(stringOf(""), file), 1);
  EXPECT_EQ(file.bytes(), std::string("\1\0\0\0\0", 5));
  file.hold("");
  EXPECT_EQ(never->write(never, file), 1);
  EXPECT_EQ(file.bytes(), std::string("\x14\0\0\0\0", 5));
  file.hold("");
  EXPECT_EQ(stringOf(nullptr)->write(stringOf(nullptr), file), 1);
  EXPECT_EQ(file.bytes(), std::string(5, '\0'));
}

TEST(String, ReadTakesOneByteMoreThanTheSize) {
  const Storage file;
  file.hold(std::string("\4\0\0\0abc\0XYZ", 11));
  const String string(ztString_ctor);
  EXPECT_EQ(string->read(string, file), 1);
  EXPECT_EQ(file->tell(file), 9);
  EXPECT_STREQ(string->get(string), "abc");
  EXPECT_EQ(string->length(string), 3U);
  EXPECT_EQ(bufferBytes(string), std::string("abc\0X", 5));
}

TEST(String, ReadOfANeverSetStringTakesTwentyOneBytes) {
  const Storage file;
  file.hold(std::string("\x14\0\0\0\0", 5) + std::string(30, 'x'));
  const String string = stringOf("old");
  EXPECT_EQ(string->read(string, file), 1);
  EXPECT_EQ(file->tell(file), 25);
  EXPECT_EQ(string->length(string), 0U);
  EXPECT_EQ(bufferSize(string), 21);
}

TEST(String, StringsReadBackWithOnePaddingByteBetween) {
  const Storage file;
  const Texts texts = {"one", "", "three"};
  for (const std::string &text : texts) {
    const String string = stringOf(text.c_str());
    EXPECT_EQ(string->write(string, file), 1);
    file->writeChar(file, 0);
  }
  file->goToBegin(file);
  for (const std::string &text : texts) {
    const String string(ztString_ctor);
    EXPECT_EQ(string->read(string, file), 1);
    EXPECT_EQ(string->get(string), text);
  }
}

TEST(String, StringsReadBackWithOneStepBack) {
  const Storage file;
  const Texts texts = {"one", "two"};
  for (const std::string &text : texts) stringOf("")->write(stringOf(text.c_str()), file);
  file->goToBegin(file);
  for (const std::string &text : texts) {
    const String string(ztString_ctor);
    EXPECT_EQ(string->read(string, file), 1);
    EXPECT_EQ(string->get(string), text);
    file->goTo(file, -1);
  }
}

TEST(String, ReadOfAMissingTextGivesTheEmptyText) {
  const Storage file;
  stringOf(nullptr)->write(stringOf(nullptr), file);
  file->goToBegin(file);
  const String string = stringOf("old");
  EXPECT_EQ(string->read(string, file), 1);
  EXPECT_STREQ(string->get(string), "");
  EXPECT_EQ(bufferSize(string), 1);
}

TEST(String, ATruncatedFileLeavesWhatWasReadAndZeros) {
  const Storage file;
  const std::string whole("\4\0\0\0abc\0", 8);
  for (size_t length = 0; length <= whole.size(); ++length) {
    file.hold(whole.substr(0, length));
    // One of the same buffer size, whose old text must not show through.
    const String string = stringOf("vwxy");
    EXPECT_EQ(string->read(string, file), length > 4) << length;
    if (length < 4) {
      EXPECT_STREQ(string->get(string), "vwxy");
    } else {
      std::string expected = whole.substr(4, length - 4);
      expected.resize(5, '\0');
      EXPECT_EQ(bufferBytes(string), expected);
    }
  }
}

TEST(String, ADamagedFileLeavesAUsableString) {
  const Storage file;
  const std::string whole("\4\0\0\0abc\0X", 9);
  for (size_t position = 0; position < whole.size(); ++position) {
    for (const int byte : {0x00, 0x01, 0x03, 0x05, 0x7f, 0x80, 0xff}) {
      std::string damaged = whole;
      damaged[position] = static_cast<char>(byte);
      file.hold(damaged);
      int32_t size = 0;
      memcpy(&size, damaged.data(), sizeof size);
      const String string = stringOf("old");
      EXPECT_EQ(string->read(string, file), size >= 0 && size < 70000);
      EXPECT_LE(string->length(string), 5U);
      EXPECT_EQ(strlen(string->get(string)), string->length(string));
      EXPECT_NE(string->cat(string, string), nullptr);
    }
  }
}

TEST(String, ATextWithoutTerminatorIsCutAtItsLastByte) {
  const Storage file;
  file.hold(std::string("\3\0\0\0abcdef", 10));
  const String string(ztString_ctor);
  EXPECT_EQ(string->read(string, file), 1);
  EXPECT_STREQ(string->get(string), "abc");
  EXPECT_EQ(file->tell(file), 8);
}

TEST(String, AnImpossibleSizeIsRefusedAndTheTextKept) {
  const Storage file;
  for (const int32_t size : {-1, -2, INT_MIN, INT_MAX, INT_MAX - 1, 70000}) {
    file.hold("");
    file->writeInt(file, size);
    file->writeBuf(file, 6, "abcdef");
    file->goToBegin(file);
    const String string = stringOf("kept");
    EXPECT_EQ(string->read(string, file), 0) << size;
    EXPECT_STREQ(string->get(string), "kept");
  }
}

TEST(String, ALongTextReadsBack) {
  const Storage file;
  const std::string text(200000, 'l');
  const String string = stringOf(text.c_str());
  EXPECT_EQ(string->write(string, file), 1);
  file->goToBegin(file);
  const String other(ztString_ctor);
  EXPECT_EQ(other->read(other, file), 1);
  EXPECT_EQ(other->get(other), text);
}

TEST(String, AFileThatFailsGivesZero) {
  const String string = stringOf("abc");
  const Storage file;
  file->close(file);
  EXPECT_EQ(string->write(string, file), 0);
  EXPECT_EQ(string->read(string, file), 0);
  const Storage broken(BrokenFile_ctor);
  EXPECT_EQ(string->write(string, broken), 0);
  EXPECT_EQ(broken.bytes(), std::string("\4\0\0\0", 4));
  EXPECT_EQ(string->read(string, broken), 0);
  EXPECT_STREQ(string->get(string), "");
}

// The text form -----------------------------------------------------------------------------------

TEST(String, TextFormIsTheSizeAndALine) {
  const Storage file(ztTextFile_ctor);
  const String string = stringOf("two words");
  EXPECT_EQ(string->write(string, file), 1);
  EXPECT_EQ(file.bytes(), "10\ntwo words\n");
  const String other(ztString_ctor);
  EXPECT_EQ(other->read(other, file), 1);
  EXPECT_STREQ(other->get(other), "two words\n");
}

TEST(String, TextFormOfAStringWithoutTextIsNull) {
  const Storage file(ztTextFile_ctor);
  const String never(ztString_ctor);
  never->write(never, file);
  EXPECT_EQ(file.bytes(), "20\nnull\n");
  EXPECT_EQ(never->read(never, file), 1);
  EXPECT_STREQ(never->get(never), "null\n");
  file.hold("");
  stringOf("")->write(stringOf(""), file);
  EXPECT_EQ(file.bytes(), "1\nnull\n");
  EXPECT_EQ(never->read(never, file), 1);
  EXPECT_STREQ(never->get(never), "n");
}

TEST(String, TextFormLosesLeadingWhiteSpace) {
  const Storage file(ztTextFile_ctor);
  const String string = stringOf("  x");
  string->write(string, file);
  file->goToBegin(file);
  EXPECT_EQ(string->read(string, file), 1);
  EXPECT_STREQ(string->get(string), "x\n");
}

TEST(String, AMalformedOrAbsentSizeInTextForm) {
  const Storage file(ztTextFile_ctor);
  const String string = stringOf("abc");
  EXPECT_EQ(string->read(string, file), 0);
  EXPECT_STREQ(string->get(string), "abc");
  file.hold("letters\n");
  EXPECT_EQ(string->read(string, file), 1);
  EXPECT_STREQ(string->get(string), "");
  file.hold("70000\nshort\n");
  EXPECT_EQ(string->read(string, file), 0);
  EXPECT_STREQ(string->get(string), "");
}

// ztStringArray -----------------------------------------------------------------------------------

TEST(StringArray, CreateSetsThePolicy) {
  const Array array(ztStringArray_ctor);
  EXPECT_EQ(array->getElementSize(array), static_cast<int32_t>(sizeof(ztString)));
  EXPECT_EQ(array.fields().byPointer, 0U);
  EXPECT_EQ(array.fields().elementConstructor, &ztString_ctor);
  EXPECT_EQ(array.fields().compareFunction, &ztStringArray_compare_func);
  const Array named(ztNewFromName("ztStringArray"));
  EXPECT_STREQ(ztArrayClassName(nullptr, named), "ztStringArray");
}

TEST(StringArray, HoldsCopiesOfStringsInItsBlock) {
  const Array array(ztStringArray_ctor);
  const String string = stringOf("text");
  const void *slot = array->pushBack(array, string);
  EXPECT_EQ(slot, array->getData(array));
  string->set(string, "changed");
  EXPECT_EQ(textsOf(array), Texts({"text"}));
  array->pushBack(array, array->getAt(array, 0));
  EXPECT_EQ(array->setAt(array, string, 0), array->getAt(array, 0));
  EXPECT_EQ(textsOf(array), Texts({"changed", "text"}));
}

TEST(StringArray, SortsByBytes) {
  const Array array = arrayOf({"b", "a", "B", "", "ab"});
  array->sort(array, ztStringArray_compare_func);
  EXPECT_EQ(textsOf(array), Texts({"", "B", "a", "ab", "b"}));
  const String key = stringOf("ab");
  EXPECT_EQ(array->search(array, key, ztStringArray_compare_func), array->getAt(array, 3));
  EXPECT_EQ(array->search(array, stringOf("c"), ztStringArray_compare_func), nullptr);
  EXPECT_EQ(array->find(array, key), array->getAt(array, 3));
  EXPECT_EQ(array->find(array, stringOf("c")), nullptr);
}

TEST(StringArray, SetSizeAndResizeMakeEmptyStrings) {
  const Array array = arrayOf({"a", "b"});
  EXPECT_EQ(array->resize(array, 3), 1);
  EXPECT_EQ(textsOf(array), Texts({"a", "b", ""}));
  EXPECT_EQ(array->setSize(array, 2), 1);
  EXPECT_EQ(textsOf(array), Texts({"", ""}));
}

TEST(StringArray, CopiesAreDeep) {
  const Array array = arrayOf({"a", "b"});
  const Array copy = array.copy();
  void *first = copy->getAt(copy, 0);
  ztString_of(first)->set(first, "x");
  EXPECT_EQ(textsOf(array), Texts({"a", "b"}));
  EXPECT_EQ(textsOf(copy), Texts({"x", "b"}));
  EXPECT_EQ(array->assign(array, copy), 1);
  EXPECT_EQ(textsOf(array), Texts({"x", "b"}));
}

TEST(StringArray, ALargerStringIsRefused) {
  const Array array = arrayOf({"a"});
  const String labelled(LabelledString_ctor);
  EXPECT_EQ(array->pushBack(array, labelled), nullptr);
  EXPECT_EQ(array->setAt(array, labelled, 0), nullptr);
  EXPECT_EQ(textsOf(array), Texts({"a"}));
}

TEST(StringArray, CompareAsksTheFirstThroughItsMethodTable) {
  const String loud(ShoutingString_ctor);
  calls.clear();
  EXPECT_EQ(ztStringArray_compare_func(loud, loud), 1);
  EXPECT_EQ(calls, Texts({"isEqual", "isMajor"}));
}

TEST(StringArray, ComparePutsNullFirst) {
  const String string = stringOf("");
  EXPECT_EQ(ztStringArray_compare_func(nullptr, nullptr), 0);
  EXPECT_EQ(ztStringArray_compare_func(nullptr, string), -1);
  EXPECT_EQ(ztStringArray_compare_func(string, nullptr), 1);
}

TEST(StringArray, WritesItsStringsOneAfterAnother) {
  const Storage file;
  const Array array = arrayOf({"a", "bc"});
  EXPECT_EQ(array->write(array, file), 1);
  EXPECT_EQ(file.bytes(), std::string("\2\0\0\0\2\0\0\0a\0\3\0\0\0bc\0", 17));
}

// Each string takes a byte of the next one's size.
TEST(StringArray, DoesNotReadBackFromABinaryFile) {
  const Storage file;
  const Array array = arrayOf({"a", "bc"});
  array->write(array, file);
  file->goToBegin(file);
  const Array other(ztStringArray_ctor);
  EXPECT_EQ(other->read(other, file), 1);
  EXPECT_EQ(textsOf(other), Texts({"a", ""}));
}

TEST(StringArray, ReadsBackFromATextFileWithItsLineEnds) {
  const Storage file(ztTextFile_ctor);
  const Array array = arrayOf({"a", "b c"});
  array->write(array, file);
  EXPECT_EQ(file.bytes(), "2\n2\na\n4\nb c\n");
  const Array other(ztStringArray_ctor);
  EXPECT_EQ(other->read(other, file), 1);
  EXPECT_EQ(textsOf(other), Texts({"a\n", "b c\n"}));
}

TEST(StringArray, ATruncatedOrDamagedFileLeavesAUsableArray) {
  const Storage file;
  const Array array = arrayOf({"a", "bc", "def"});
  array->write(array, file);
  const std::string whole = file.bytes();
  for (size_t length = 0; length < whole.size(); ++length) {
    file.hold(whole.substr(0, length));
    const Array other(ztStringArray_ctor);
    EXPECT_EQ(other->read(other, file), length >= 4);
    EXPECT_EQ(other->getSize(other), length >= 4 ? 3 : 0);
    EXPECT_EQ(other->resize(other, 5), 1);
  }
  for (size_t position = 0; position < whole.size(); ++position) {
    for (const int byte : {0x00, 0x01, 0x7f, 0x80, 0xff}) {
      std::string damaged = whole;
      damaged[position] = static_cast<char>(byte);
      file.hold(damaged);
      int32_t count = 0;
      memcpy(&count, damaged.data(), sizeof count);
      const Array other(ztStringArray_ctor);
      EXPECT_EQ(other->read(other, file), count >= 0 && count <= 65536 / int32_t{sizeof(ztString)});
      for (const std::string &text : textsOf(other)) EXPECT_LE(text.size(), whole.size());
    }
  }
}

// Exhausted memory --------------------------------------------------------------------------------

TEST(String, SetAndCatWithoutMemoryKeepTheText) {
  const String string = stringOf("0123456789");
  const String other = stringOf("and more");
  const Fault fault(0);
  EXPECT_EQ(string->set(string, "a text that is longer"), nullptr);
  EXPECT_TRUE(fault.end());
  EXPECT_STREQ(string->get(string), "0123456789");
  {
    const Fault second(0);
    EXPECT_EQ(string->cat(string, other), nullptr);
    EXPECT_TRUE(second.end());
  }
  EXPECT_STREQ(string->get(string), "0123456789");
  for (int succeeding = 0; succeeding < 2; ++succeeding) {
    const Fault third(succeeding);
    EXPECT_EQ(string->set(string, string->get(string) + 4), nullptr);
    EXPECT_TRUE(third.end());
    EXPECT_STREQ(string->get(string), "0123456789");
  }
}

TEST(String, AStringMadeWithoutMemoryCanBeReleased) {
  for (int succeeding = 1; succeeding < 3; ++succeeding) {
    const Fault fault(succeeding);
    const String string(ztString_ctor);
    EXPECT_TRUE(fault.end());
    EXPECT_EQ(string->get(string), nullptr);
    EXPECT_EQ(string->length(string), 0U);
  }
  const Fault fault(0);
  EXPECT_EQ(ztString_ctor(nullptr, 1), nullptr);
}

TEST(String, CloneWithoutMemoryGivesNullAndLeavesNothing) {
  const String string = stringOf("abc");
  for (int succeeding = 0; succeeding < 2; ++succeeding) {
    ztString target;
    ztString_ctor(&target, 0);
    const Fault fault(succeeding);
    EXPECT_EQ(string->clone(string, &target), nullptr);
    EXPECT_TRUE(fault.end());
  }
}

TEST(String, AssignAndReadWithoutMemoryKeepTheText) {
  const Storage file;
  stringOf("abcd")->write(stringOf("abcd"), file);
  file->goToBegin(file);
  const String string = stringOf("12");
  const String other = stringOf("abcd");
  {
    const Fault fault(0);
    EXPECT_EQ(string->assign(string, other), 0);
    EXPECT_TRUE(fault.end());
  }
  EXPECT_STREQ(string->get(string), "12");
  {
    const Fault fault(0);
    EXPECT_EQ(string->read(string, file), 0);
    EXPECT_TRUE(fault.end());
  }
  EXPECT_STREQ(string->get(string), "12");
}

TEST(String, NewStringWithoutMemoryGivesNullAndWorksLater) {
  const ztStringFunctions *functions = ztString_functions();
  const String prototype(ztString_ctor);
  const char *text = "a text that is longer than twenty bytes";
  int failed = 0;
  for (int succeeding = 0; succeeding < 5; ++succeeding) {
    functions->classDestroy(prototype);
    const Fault fault(succeeding);
    void *scratch = functions->newString(nullptr, text);
    EXPECT_TRUE(fault.end() || succeeding == 4);
    if (scratch == nullptr) {
      ++failed;
      scratch = functions->newString(nullptr, text);
    }
    EXPECT_STREQ(ztString_of(scratch)->get(scratch), text);
  }
  EXPECT_EQ(failed, 4);
}

// Random operations against a model ---------------------------------------------------------------

TEST(String, RandomOperationsAgreeWithAStandardString) {
  std::mt19937 random(42);
  std::vector<String> strings;
  Texts model(4);
  for (size_t i = 0; i < model.size(); ++i) strings.emplace_back(ztString_ctor);
  const int operations = scale(100000);
  for (int i = 0; i < operations; ++i) {
    const size_t a = random() % model.size();
    const size_t b = random() % model.size();
    String &first = strings[a];
    String &second = strings[b];
    switch (random() % 8) {
      case 0: {
        const std::string text(random() % 30, static_cast<char>('a' + random() % 26));
        first->set(first, text.c_str());
        model[a] = text;
        break;
      }
      case 1:
      case 2:
        if (model[a].size() + model[b].size() > 1000) break;
        first->cat(first, second);
        model[a] += std::string(model[b]);
        break;
      case 3:
        first->assign(first, second);
        model[a] = std::string(model[b]);
        break;
      case 4:
        first = second.copy();
        model[a] = std::string(model[b]);
        break;
      case 5: {
        if (second->get(second) == nullptr) break;
        const size_t from = random() % (model[b].size() + 1);
        const std::string rest = model[b].substr(from);
        first->set(first, second->get(second) + from);
        model[a] = rest;
        break;
      }
      case 6:
        if (random() % 4 == 0) first->set(first, nullptr);
        if (first->get(first) == nullptr) model[a].clear();
        break;
      default:
        ASSERT_EQ(first->isEqual(first, second), model[a] == model[b]);
        ASSERT_EQ(first->isLess(first, second), model[a] < model[b]);
        ASSERT_EQ(first->isMajor(first, second), model[a] > model[b]);
        break;
    }
    ASSERT_EQ(first->length(first), model[a].size());
    const char *text = first->get(first);
    ASSERT_STREQ(text == nullptr ? "" : text, model[a].c_str());
  }
}
