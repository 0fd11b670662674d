#include "io/ztstring.h"

#include "tests/helpers/scale.hh"
#include "tests/io/strings.hh"

#include <limits.h>
#include <string.h>

#include <random>

using namespace std::string_literals;

// A string that shows a text of its own choosing and records what it is asked.
#define ShoutingString_FIELDS ztString_FIELDS
#define ShoutingString_METHODS ztString_METHODS
ZT_DECLARE_CLASS(ShoutingString)

// A subclass that a slot of a string array cannot hold.
#define LabelledString_FIELDS ztString_FIELDS int64_t label;
#define LabelledString_METHODS ztString_METHODS
ZT_DECLARE_CLASS(LabelledString)

// A file that fails to store and to read texts; what else it reads is as a file of the library reads it.
#define BrokenFile_FIELDS ztFile_FIELDS
#define BrokenFile_METHODS ztFile_METHODS
ZT_DECLARE_CLASS(BrokenFile)

static Texts calls;
static uint32_t shoutedLength = 4;

// Records the call and hands on what it is to give.
template <typename Result>
static Result told(const char *call, Result result) {
  calls.emplace_back(call);
  return result;
}

static void shoutingMethods(ShoutingStringMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, get, [](const void *) { return told("get", "LOUD"); });
  ZT_OVERRIDE_METHOD(methods, length, [](const void *) { return told("length", shoutedLength); });
  ZT_OVERRIDE_METHOD(methods, isEqual, [](const void *, const void *) { return told("isEqual", 0); });
  ZT_OVERRIDE_METHOD(methods, isMajor, [](const void *, const void *) { return told("isMajor", 1); });
}

static void labelledMethods(LabelledStringMethods *) {}

static void brokenMethods(BrokenFileMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, writeString, [](void *, const char *) { return 0; });
  ZT_OVERRIDE_METHOD(methods, readString, [](void *, int32_t, char *) { return intptr_t{0}; });
}

ZT_DEFINE_CLASS(BrokenFile, ztFile, brokenMethods)
ZT_DEFINE_CLASS(ShoutingString, ztString, shoutingMethods)
ZT_DEFINE_CLASS(LabelledString, ztString, labelledMethods)

// Text --------------------------------------------------------------------------------------------

TEST(ztString, HoldsTheEmptyTextInTwentyBytesWhenNew) {
  const String string;
  EXPECT_EQ(string->length(string), 0U);
  EXPECT_EQ(string->isEmpty(string), 1);
  EXPECT_EQ(string.text(), "");
  EXPECT_EQ(string.bufferBytes(), std::string(20, '\0'));
  EXPECT_EQ(string->getRefCount(string), 1);
  const String named(ztNewFromName("ztString"));
  EXPECT_STREQ(ztStringClassName(nullptr, named), "ztString");
  EXPECT_EQ(named.bufferSize(), 20);
}

TEST(ztString, TakesACopyOfExactlyTheText) {
  char text[] = "abc";
  const String string;
  EXPECT_EQ(string->set(string, text), static_cast<void *>(string));
  text[0] = 'x';
  EXPECT_EQ(string->length(string), 3U);
  EXPECT_EQ(string->isEmpty(string), 0);
  EXPECT_EQ(string.bufferBytes(), "abc\0"s);
  string->set(string, "a longer text than the one before");
  EXPECT_EQ(string.bufferSize(), 34);
  string->set(string, "");
  EXPECT_EQ(string.bufferBytes(), "\0"s);
  EXPECT_EQ(string->length(string), 0U);
}

TEST(ztString, HasNoTextAfterNull) {
  const String string("abc");
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(string->set(string, nullptr), static_cast<void *>(string));
    EXPECT_EQ(string->get(string), nullptr);
    EXPECT_EQ(string->length(string), 0U);
    EXPECT_EQ(string->isEmpty(string), 1);
    EXPECT_EQ(string.bufferSize(), 0);
  }
  string->set(string, "again");
  EXPECT_EQ(string.text(), "again");
}

TEST(ztString, TakesItsOwnTextAndParts) {
  const std::string letters = "abcdefghijklmnopqrstuvwxyz";
  for (size_t from = 0; from <= 26; ++from) {
    const String string(letters);
    EXPECT_NE(string->set(string, string->get(string) + from), nullptr);
    EXPECT_EQ(string.bufferBytes(), letters.substr(from) + '\0');
  }
}

TEST(ztString, Appends) {
  struct Row {
    const char *text;
    const char *other;
    std::string expected;
  };
  const Row rows[] = {{"abc", "defg", "abcdefg\0"s},
                      {"abc", "", "abc\0"s},
                      {"abc", nullptr, "abc\0"s},
                      {"", "abc", "abc\0"s},
                      {"", "", "\0"s},
                      {nullptr, "abc", "abc\0"s},
                      {nullptr, "", ""}};
  for (const Row &row : rows) {
    const String string(row.text);
    const String other(row.other);
    EXPECT_EQ(string->cat(string, other), static_cast<void *>(string));
    EXPECT_EQ(string.bufferBytes(), row.expected);
    EXPECT_EQ(other.text(), String(row.other).text());
  }
  const String never;
  never->cat(never, String());
  EXPECT_EQ(never.bufferSize(), 20);
  const String abc("abc");
  abc->cat(abc, never);
  EXPECT_EQ(abc.bufferBytes(), "abc\0"s);
  never->cat(never, String("abc"));
  EXPECT_EQ(never.bufferBytes(), "abc\0"s);
}

TEST(ztString, DoublesTheTextWhenAppendedToItself) {
  const String string("ab");
  std::string expected = "ab";
  while (expected.size() < 4096) {
    EXPECT_EQ(string->cat(string, string), static_cast<void *>(string));
    expected += std::string(expected);
    ASSERT_EQ(string.bufferBytes(), expected + '\0');
  }
}

TEST(ztString, CutsABufferThatIsLargerThanItsTextWhenItAppends) {
  const String string;
  EXPECT_EQ(readRecord(string, "\x0f\0\0\0ab\0.............."s), 1);
  EXPECT_EQ(string.bufferSize(), 16);
  EXPECT_EQ(string->cat(string, string), static_cast<void *>(string));
  EXPECT_EQ(string.bufferBytes(), "abab\0"s);
}

TEST(ztString, ComparesByteByByte) {
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
    const String first(row.first);
    const String second(row.second);
    SCOPED_TRACE(first.text() + " and " + second.text());
    EXPECT_EQ(first->isEqual(first, second), row.order == 0);
    EXPECT_EQ(first->isLess(first, second), row.order < 0);
    EXPECT_EQ(first->isMajor(first, second), row.order > 0);
    EXPECT_EQ(ztStringArray_compare_func(first, second), row.order);
    EXPECT_EQ(ztStringArray_compare_func_ptr(first, second), row.order);
  }
}

TEST(ztString, RefusesNullArguments) {
  const String string("abc");
  EXPECT_EQ(string->cat(string, nullptr), nullptr);
  EXPECT_EQ(string->isEqual(string, nullptr), 0);
  EXPECT_EQ(string->isLess(string, nullptr), 0);
  EXPECT_EQ(string->isMajor(string, nullptr), 0);
  EXPECT_EQ(string->assign(string, nullptr), 0);
  EXPECT_EQ(string->clone(string, nullptr), nullptr);
  EXPECT_EQ(string->read(string, nullptr), 0);
  EXPECT_EQ(string->write(string, nullptr), 0);
  EXPECT_EQ(string.text(), "abc");
}

TEST(ztString, AnswersNullWithNothing) {
  const ztStringMethods *methods = ztString_table();
  const String other("x");
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

TEST(ztString, AsksTheOtherThroughItsMethodTable) {
  const String loud(ShoutingString_ctor);
  const String string("so ");
  string->cat(string, loud);
  EXPECT_EQ(string.text(), "so LOUD");
  EXPECT_EQ(string->isLess(string, loud), 0);
  EXPECT_EQ(string->isEqual(String("LOUD"), loud), 1);
  const String never;
  never->cat(never, loud);
  EXPECT_EQ(never.text(), "LOUD");
  calls.clear();
  EXPECT_EQ(loud->isEmpty(loud), 0);
  EXPECT_EQ(calls, Texts({"length"}));
}

TEST(ztString, AppendsNoTextThatNoBufferHolds) {
  const String loud(ShoutingString_ctor);
  const String string("so ");
  for (const uint32_t length : {uint32_t{INT32_MAX} - 3, UINT32_MAX}) {
    shoutedLength = length;
    EXPECT_EQ(string->cat(string, loud), nullptr);
    EXPECT_EQ(string.text(), "so ");
  }
  shoutedLength = 4;
}

// The string as an object -------------------------------------------------------------------------

TEST(ztString, HasACloneWithABufferOfItsOwn) {
  const String string("abc");
  string->ref(string);
  const String copy = string.copy();
  EXPECT_NE(copy.buffer(), string.buffer());
  EXPECT_EQ(copy.buffer()->refCount, 1);
  copy->set(copy, "changed");
  EXPECT_EQ(string.text(), "abc");
  EXPECT_EQ(copy.text(), "changed");
  const String none = String(noText).copy();
  EXPECT_EQ(none->get(none), nullptr);
  none->set(none, "x");
  EXPECT_EQ(none.text(), "x");
}

TEST(ztString, TakesOverTheBufferThatIsAssigned) {
  const String never;
  for (const char *text : {"", "abc", "a text of more than twenty bytes", noText}) {
    const String string("12345");
    const String other(text);
    EXPECT_EQ(string->assign(string, other), 1);
    EXPECT_EQ(string->assign(string, string), 1);
    EXPECT_EQ(string.bufferBytes(), other.bufferBytes());
    EXPECT_EQ(string.text(), other.text());
    EXPECT_NE(string.buffer(), other.buffer());
    EXPECT_EQ(string->assign(string, never), 1);
    EXPECT_EQ(string.bufferBytes(), std::string(20, '\0'));
  }
}

TEST(ztString, WorksWithoutABuffer) {
  const Storage file;
  ztString bare;
  ztString_ctor(&bare, 1);
  const ztStringMethods *methods = ztString_of(&bare);
  for (int i = 0; i < 2; ++i) {
    methods->destroy(&bare);
    EXPECT_EQ(bare.buffer, nullptr);
  }
  const String other("abc");
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

TEST(ztString, HasOneScratchStringThatIsMadeAgainAfterTheClassWasDestroyed) {
  const ztStringFunctions *functions = ztString_functions();
  void *first = functions->newString(nullptr, "first");
  EXPECT_EQ(textOf(first), "first");
  EXPECT_EQ(functions->newString(nullptr, "second"), first);
  EXPECT_EQ(textOf(first), "second");
  EXPECT_EQ(ztString_of(first)->getRefCount(first), 1);
  EXPECT_EQ(functions->newString(nullptr, ztString_of(first)->get(first) + 3), first);
  EXPECT_EQ(textOf(first), "ond");
  EXPECT_EQ(functions->newString(nullptr, nullptr), first);
  EXPECT_EQ(ztString_of(first)->get(first), nullptr);
  const String prototype;
  functions->classDestroy(prototype);
  functions->classDestroy(prototype);
  EXPECT_EQ(textOf(functions->newString(nullptr, "after")), "after");
}

// The stored form ---------------------------------------------------------------------------------

TEST(ztString, WritesSizeTextAndTerminator) {
  EXPECT_EQ(recordOf(String("abc")), "\4\0\0\0abc\0"s);
  EXPECT_EQ(recordOf(String("")), "\1\0\0\0\0"s);
  EXPECT_EQ(recordOf(String()), "\x14\0\0\0\0"s);
  EXPECT_EQ(recordOf(String(noText)), std::string(5, '\0'));
}

TEST(ztString, ReadsOneByteMoreThanTheSize) {
  const std::tuple<std::string, int64_t, std::string> rows[] = {
      {"\4\0\0\0abc\0XYZ"s, 9, "abc\0X"s},
      {"\x14\0\0\0\0"s + std::string(30, 'x'), 25, '\0' + std::string(19, 'x') + "x"},
      {"\3\0\0\0abcdef"s, 8, "abc\0"s},  // without a terminator it is cut at its last byte
      {recordOf(String(noText)), 5, "\0"s},
  };
  for (const auto &[record, position, buffer] : rows) {
    const Storage file(ztFile_ctor, record);
    const String string("old");
    EXPECT_EQ(string->read(string, file), 1);
    EXPECT_EQ(file->tell(file), position);
    EXPECT_EQ(string.bufferBytes(), buffer);
    EXPECT_EQ(string->length(string), strlen(buffer.c_str()));
  }
}

TEST(ztString, ReadsSeveralWithAByteBetweenOrAStepBack) {
  const Texts texts = {"one", "", "three"};
  for (const bool isPadded : {true, false}) {
    const Storage file;
    for (const std::string &text : texts) {
      EXPECT_EQ(ztString_table()->write(String(text), file), 1);
      if (isPadded) file->writeChar(file, 0);
    }
    file->goToBegin(file);
    for (const std::string &text : texts) {
      const String string;
      EXPECT_EQ(string->read(string, file), 1);
      EXPECT_EQ(string.text(), text);
      if (!isPadded) file->goTo(file, -1);
    }
  }
}

TEST(ztString, ReadsWhatATruncatedFileHasAndZeros) {
  const std::string whole = "\4\0\0\0abc\0"s;
  for (size_t length = 0; length <= whole.size(); ++length) {
    // One of the same buffer size, whose old text must not show through.
    const String string("vwxy");
    EXPECT_EQ(readRecord(string, whole.substr(0, length)), length > 4) << length;
    const std::string expected = length < 4 ? "vwxy" : fieldOf(whole.substr(4, length - 4), 4);
    EXPECT_EQ(string.bufferBytes(), expected + '\0');
  }
}

TEST(ztString, IsUsableAfterADamagedFile) {
  const std::string whole = "\4\0\0\0abc\0X"s;
  for (size_t position = 0; position < whole.size(); ++position) {
    for (const int byte : {0x00, 0x01, 0x03, 0x05, 0x7f, 0x80, 0xff}) {
      std::string damaged = whole;
      damaged[position] = static_cast<char>(byte);
      int32_t size = 0;
      memcpy(&size, damaged.data(), sizeof size);
      const String string("old");
      EXPECT_EQ(readRecord(string, damaged), size >= 0 && size < 70000);
      EXPECT_LE(string->length(string), 5U);
      EXPECT_EQ(strlen(string->get(string)), string->length(string));
      EXPECT_NE(string->cat(string, string), nullptr);
    }
  }
}

TEST(ztString, RefusesAnImpossibleSizeAndKeepsTheText) {
  for (const int32_t size : {-1, -2, INT_MIN, INT_MAX, INT_MAX - 1, 70000}) {
    const String string("kept");
    EXPECT_EQ(readRecord(string, bytesOf(size) + "abcdef"), 0) << size;
    EXPECT_EQ(string.text(), "kept");
  }
}

TEST(ztString, GivesZeroForAFileThatFails) {
  const String string("abc");
  const Storage file;
  file->close(file);
  EXPECT_EQ(string->write(string, file), 0);
  EXPECT_EQ(string->read(string, file), 0);
  const Storage broken(BrokenFile_ctor);
  EXPECT_EQ(string->write(string, broken), 0);
  EXPECT_EQ(broken.bytes(), "\4\0\0\0"s);
  EXPECT_EQ(string->read(string, broken), 0);
  EXPECT_EQ(string.text(), "");
}

// The text form -----------------------------------------------------------------------------------

TEST(ztString, IsTheSizeAndALineInTextForm) {
  struct Row {
    String string;
    const char *record;
    const char *read;  // with the line feed, without white space ahead of it
  };
  Row rows[] = {{String("two words"), "10\ntwo words\n", "two words\n"},
                {String(), "20\nnull\n", "null\n"},
                {String(""), "1\nnull\n", "n"},
                {String("  x"), "4\n  x\n", "x\n"}};
  for (const Row &row : rows) {
    EXPECT_EQ(recordOf(row.string, ztTextFile_ctor), row.record);
    const String read;
    EXPECT_EQ(readRecord(read, row.record, ztTextFile_ctor), 1);
    EXPECT_EQ(read.text(), row.read);
  }
}

TEST(ztString, IsReadInTextFormWithAMalformedSizeButNotWithNoneOrOneTooLarge) {
  const String string("abc");
  EXPECT_EQ(readRecord(string, "", ztTextFile_ctor), 0);
  EXPECT_EQ(string.text(), "abc");
  EXPECT_EQ(readRecord(string, "letters\n", ztTextFile_ctor), 1);
  EXPECT_EQ(string.text(), "");
  EXPECT_EQ(readRecord(string, "70000\nshort\n", ztTextFile_ctor), 0);
  EXPECT_EQ(string.text(), "");
}

// ztStringArray -----------------------------------------------------------------------------------

TEST(ztStringArray, HoldsCopiesOfStringsInItsBlock) {
  const Array array(ztStringArray_ctor);
  const String string("text");
  const void *slot = array->pushBack(array, string);
  EXPECT_EQ(slot, array->getData(array));
  string->set(string, "changed");
  EXPECT_EQ(textsOf(array), Texts({"text"}));
  array->pushBack(array, array->getAt(array, 0));
  EXPECT_EQ(array->setAt(array, string, 0), array->getAt(array, 0));
  EXPECT_EQ(textsOf(array), Texts({"changed", "text"}));
}

TEST(ztStringArray, SortsByBytes) {
  const Array array = arrayOf({"b", "a", "B", "", "ab"});
  array->sort(array, ztStringArray_compare_func);
  EXPECT_EQ(textsOf(array), Texts({"", "B", "a", "ab", "b"}));
  const String key("ab");
  EXPECT_EQ(array->search(array, key, ztStringArray_compare_func), array->getAt(array, 3));
  EXPECT_EQ(array->search(array, String("c"), ztStringArray_compare_func), nullptr);
  EXPECT_EQ(array->find(array, key), array->getAt(array, 3));
  EXPECT_EQ(array->find(array, String("c")), nullptr);
}

TEST(ztStringArray, MakesEmptyStringsForANewSize) {
  const Array array = arrayOf({"a", "b"});
  EXPECT_EQ(array->resize(array, 3), 1);
  EXPECT_EQ(textsOf(array), Texts({"a", "b", ""}));
  EXPECT_EQ(array->setSize(array, 2), 1);
  EXPECT_EQ(textsOf(array), Texts({"", ""}));
}

TEST(ztStringArray, IsCopiedAndAssignedDeeply) {
  const Array array = arrayOf({"a", "b"});
  const Array copy = array.copy();
  void *first = copy->getAt(copy, 0);
  ztString_of(first)->set(first, "x");
  EXPECT_EQ(textsOf(array), Texts({"a", "b"}));
  EXPECT_EQ(textsOf(copy), Texts({"x", "b"}));
  EXPECT_EQ(array->assign(array, copy), 1);
  EXPECT_EQ(textsOf(array), Texts({"x", "b"}));
}

TEST(ztStringArray, RefusesALargerString) {
  const Array array = arrayOf({"a"});
  const String labelled(LabelledString_ctor);
  EXPECT_EQ(array->pushBack(array, labelled), nullptr);
  EXPECT_EQ(array->setAt(array, labelled, 0), nullptr);
  EXPECT_EQ(textsOf(array), Texts({"a"}));
}

TEST(ztStringArray, ComparesThroughTheTableOfTheFirstAndPutsNullAhead) {
  const String loud(ShoutingString_ctor);
  calls.clear();
  EXPECT_EQ(ztStringArray_compare_func(loud, loud), 1);
  EXPECT_EQ(calls, Texts({"isEqual", "isMajor"}));
  const String string("");
  EXPECT_EQ(ztStringArray_compare_func(nullptr, nullptr), 0);
  EXPECT_EQ(ztStringArray_compare_func(nullptr, string), -1);
  EXPECT_EQ(ztStringArray_compare_func(string, nullptr), 1);
}

// In binary form each string takes a byte of the next one's size.
TEST(ztStringArray, ReadsBackFromATextFileOnlyWithItsLineEnds) {
  struct Row {
    ztCtor form;
    std::string record;
    Texts read;
  };
  const Row rows[] = {{ztFile_ctor, "\2\0\0\0\2\0\0\0a\0\4\0\0\0b c\0"s, {"a", ""}},
                      {ztTextFile_ctor, "2\n2\na\n4\nb c\n", {"a\n", "b c\n"}}};
  for (const Row &row : rows) {
    EXPECT_EQ(recordOf(arrayOf({"a", "b c"}), row.form), row.record);
    const Array read(ztStringArray_ctor);
    EXPECT_EQ(readRecord(read, row.record, row.form), 1);
    EXPECT_EQ(textsOf(read), row.read);
  }
}

TEST(ztStringArray, IsUsableAfterATruncatedOrDamagedFile) {
  const std::string whole = recordOf(arrayOf({"a", "bc", "def"}));
  for (size_t length = 0; length < whole.size(); ++length) {
    const Array other(ztStringArray_ctor);
    EXPECT_EQ(readRecord(other, whole.substr(0, length)), length >= 4);
    EXPECT_EQ(other->getSize(other), length >= 4 ? 3 : 0);
    EXPECT_EQ(other->resize(other, 5), 1);
  }
  for (size_t position = 0; position < whole.size(); ++position) {
    for (const int byte : {0x00, 0x01, 0x7f, 0x80, 0xff}) {
      std::string damaged = whole;
      damaged[position] = static_cast<char>(byte);
      int32_t count = 0;
      memcpy(&count, damaged.data(), sizeof count);
      const Array other(ztStringArray_ctor);
      EXPECT_EQ(readRecord(other, damaged), count >= 0 && count <= 65536 / int32_t{sizeof(ztString)});
      for (const std::string &text : textsOf(other)) EXPECT_LE(text.size(), whole.size());
    }
  }
}

// Exhausted memory --------------------------------------------------------------------------------

TEST(ztString, KeepsTheTextWithoutMemory) {
  const String string("0123456789");
  const String other("and more");
  const Storage file(ztFile_ctor, recordOf(other));
  const auto expectFailure = [&](int succeeding, auto operation) {
    const Fault fault(succeeding);
    EXPECT_FALSE(operation());
    EXPECT_TRUE(fault.end());
    EXPECT_EQ(string.text(), "0123456789");
  };
  expectFailure(0, [&] { return string->set(string, "a text that is longer"); });
  expectFailure(0, [&] { return string->cat(string, other); });
  expectFailure(0, [&] { return string->assign(string, other); });
  expectFailure(0, [&] { return string->read(string, file); });
  expectFailure(0, [&] { return string->set(string, string->get(string) + 4); });
  for (const int succeeding : {0, 1}) {
    ztString target;
    expectFailure(succeeding, [&] { return string->clone(string, &target); });
  }
}

TEST(ztString, CanBeReleasedWhenItWasMadeWithoutMemory) {
  for (int succeeding = 0; succeeding < 3; ++succeeding) {
    const Fault fault(succeeding);
    const String string;
    EXPECT_TRUE(fault.end());
    if (succeeding == 0) {
      EXPECT_EQ(static_cast<void *>(string), nullptr);
    } else {
      EXPECT_EQ(string->get(string), nullptr);
      EXPECT_EQ(string->length(string), 0U);
    }
  }
}

TEST(ztString, HasNoScratchStringWithoutMemoryButOneLater) {
  const ztStringFunctions *functions = ztString_functions();
  const String prototype;
  const char *text = "a text that is longer than twenty bytes";
  int failed = 0;
  for (int succeeding = 0; succeeding < 5; ++succeeding) {
    functions->classDestroy(prototype);
    const Fault fault(succeeding);
    void *scratch = functions->newString(nullptr, text);
    EXPECT_TRUE(fault.end() || succeeding == 4);
    if (scratch == nullptr) ++failed;
    EXPECT_EQ(textOf(functions->newString(nullptr, text)), text);
  }
  EXPECT_EQ(failed, 4);
}

// Random operations against a model ---------------------------------------------------------------

TEST(ztString, AgreesWithAStandardStringOverRandomOperations) {
  std::mt19937 random(42);
  std::vector<String> strings(4);
  Texts model(4);
  for (int i = scale(100000); i > 0; --i) {
    const size_t a = random() % model.size();
    String &first = strings[a];
    const size_t b = random() % model.size();
    const String &second = strings[b];
    const std::string other = model[b];
    switch (random() % 8) {
      case 0:
        model[a] = std::string(random() % 30, static_cast<char>('a' + random() % 26));
        first->set(first, model[a].c_str());
        break;
      case 1:
      case 2:
        if (model[a].size() + other.size() > 1000) break;
        first->cat(first, second);
        model[a] += other;
        break;
      case 3:
        first->assign(first, second);
        model[a] = other;
        break;
      case 4:
        first = second.copy();
        model[a] = other;
        break;
      case 5: {
        if (second->get(second) == nullptr) break;
        const size_t from = random() % (other.size() + 1);
        first->set(first, second->get(second) + from);
        model[a] = other.substr(from);
        break;
      }
      case 6:
        if (random() % 4 == 0) first->set(first, nullptr);
        if (first->get(first) == nullptr) model[a].clear();
        break;
      default:
        ASSERT_EQ(first->isEqual(first, second), model[a] == other);
        ASSERT_EQ(first->isLess(first, second), model[a] < other);
        ASSERT_EQ(first->isMajor(first, second), model[a] > other);
        break;
    }
    ASSERT_EQ(first->length(first), model[a].size());
    const char *text = first->get(first);
    ASSERT_STREQ(text == nullptr ? "" : text, model[a].c_str());
  }
}
