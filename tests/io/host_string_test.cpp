// Strings with a buffer of a host's class, strings in a file of a host's class, and what is stored exactly.
#include "containers/ztarrays.h"
#include "io/ztstring.h"
#include "io/zttxtfile.h"

#include "tests/helpers/faults.hh"
#include "tests/helpers/owned.hh"
#include "tests/helpers/storage.hh"

#include <gtest/gtest.h>
#include <string.h>

#include <string>
#include <thread>
#include <vector>

// A buffer that keeps its bytes where no field says, and records what it is asked.
#define HostBuffer_FIELDS         \
  ztCharArray_FIELDS char *bytes; \
  int32_t size;                   \
  int32_t room;
#define HostBuffer_METHODS ztCharArray_METHODS
ZT_DECLARE_CLASS(HostBuffer)

#define HostFile_FIELDS ztFile_FIELDS
#define HostFile_METHODS ztFile_METHODS
ZT_DECLARE_CLASS(HostFile)

// A string and an array that record what their own setting-up calls.
#define ToldString_FIELDS ztString_FIELDS
#define ToldString_METHODS ztString_METHODS
ZT_DECLARE_CLASS(ToldString)

#define ToldArray_FIELDS ztStringArray_FIELDS
#define ToldArray_METHODS ztStringArray_METHODS
ZT_DECLARE_CLASS(ToldArray)

static std::vector<std::string> calls;
static int32_t failing;  // the primitive that fails, counted from 1
static int32_t failure;  // what it gives

static std::string with(const char *name, int64_t value) {
  return std::string(name) + " " + std::to_string(value);
}

// The room stays when the size shrinks, and what is behind the size is no zero.
static int32_t hostResize(void *buffer, int32_t size) {
  calls.push_back(with("resize", size));
  auto *host = static_cast<HostBuffer *>(buffer);
  if (size > host->room) {
    host->bytes = static_cast<char *>(ztm_realloc(host->bytes, size));
    host->room = size;
  }
  for (int32_t i = host->size; i < size; ++i) host->bytes[i] = 0;
  host->size = size;
  return 1;
}

static int32_t hostSetSize(void *buffer, int32_t size) {
  calls.push_back(with("setSize", size));
  auto *host = static_cast<HostBuffer *>(buffer);
  host->size = 0;
  const int32_t done = hostResize(buffer, size);
  calls.pop_back();
  return done;
}

static void *hostGetData(const void *buffer) {
  calls.emplace_back("getData");
  return static_cast<const HostBuffer *>(buffer)->bytes;
}

static int32_t hostGetSize(const void *buffer) {
  return static_cast<const HostBuffer *>(buffer)->size;
}

static int32_t hostAssign(void *buffer, const void *other) {
  calls.emplace_back("assign");
  auto *host = static_cast<HostBuffer *>(buffer);
  memcpy(host->bytes, ztCharArray_of(other)->getData(other), static_cast<size_t>(host->size));
  return 1;
}

static int32_t hostCreate(void *buffer) {
  auto *host = static_cast<HostBuffer *>(buffer);
  host->bytes = nullptr;
  host->size = host->room = 0;
  return ztCharArray_table()->create(buffer);
}

static void *hostClone(const void *buffer, void *target) {
  calls.emplace_back("clone");
  auto *copy = static_cast<HostBuffer *>(ztCharArray_table()->clone(buffer, target));
  if (copy == nullptr) return nullptr;
  copy->bytes = static_cast<char *>(ztm_alloc(copy->room));
  memcpy(copy->bytes, static_cast<const HostBuffer *>(buffer)->bytes, static_cast<size_t>(copy->room));
  return copy;
}

static void hostDestroy(void *buffer) {
  ztm_free(static_cast<HostBuffer *>(buffer)->bytes);
  static_cast<HostBuffer *>(buffer)->bytes = nullptr;
  ztCharArray_table()->destroy(buffer);
}

static void hostEmpty(void *) {
  calls.emplace_back("empty");
}

static void hostMethods(HostBufferMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, hostCreate);
  ZT_OVERRIDE_METHOD(methods, clone, hostClone);
  ZT_OVERRIDE_METHOD(methods, assign, hostAssign);
  ZT_OVERRIDE_METHOD(methods, destroy, hostDestroy);
  ZT_OVERRIDE_METHOD(methods, resize, hostResize);
  ZT_OVERRIDE_METHOD(methods, setSize, hostSetSize);
  ZT_OVERRIDE_METHOD(methods, getData, hostGetData);
  ZT_OVERRIDE_METHOD(methods, getSize, hostGetSize);
  ZT_OVERRIDE_METHOD(methods, empty, hostEmpty);
}
ZT_DEFINE_CLASS(HostBuffer, ztCharArray, hostMethods)

static bool fails() {
  return failing > 0 && --failing == 0;
}

static int32_t fileWriteInt(void *file, int32_t value) {
  calls.push_back(with("writeInt", value));
  return fails() ? failure : ztFile_table()->writeInt(file, value);
}

static int32_t fileReadInt(void *file, int32_t *out) {
  calls.emplace_back("readInt");
  return fails() ? failure : ztFile_table()->readInt(file, out);
}

static int32_t fileWriteString(void *file, const char *text) {
  calls.push_back(std::string("writeString ") + text);
  return fails() ? failure : ztFile_table()->writeString(file, text);
}

static intptr_t fileReadString(void *file, int32_t n, char *buffer) {
  calls.push_back(with("readString", n));
  return fails() ? failure : ztFile_table()->readString(file, n, buffer);
}

static int32_t fileWriteBuf(void *file, int32_t n, const void *buffer) {
  calls.push_back(with("writeBuf", n));
  return fails() ? failure : ztFile_table()->writeBuf(file, n, buffer);
}

static int32_t fileReadBuf(void *file, int32_t n, void *buffer) {
  calls.push_back(with("readBuf", n));
  return fails() ? failure : ztFile_table()->readBuf(file, n, buffer);
}

static void hostFileMethods(HostFileMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, writeInt, fileWriteInt);
  ZT_OVERRIDE_METHOD(methods, readInt, fileReadInt);
  ZT_OVERRIDE_METHOD(methods, writeString, fileWriteString);
  ZT_OVERRIDE_METHOD(methods, readString, fileReadString);
  ZT_OVERRIDE_METHOD(methods, writeBuf, fileWriteBuf);
  ZT_OVERRIDE_METHOD(methods, readBuf, fileReadBuf);
}
ZT_DEFINE_CLASS(HostFile, ztFile, hostFileMethods)

static void *toldSet(void *string, const char *text) {
  calls.push_back(std::string("set ") + (text == nullptr ? "NULL" : text));
  return ztString_table()->set(string, text);
}

static void toldStringMethods(ToldStringMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, set, toldSet);
}
ZT_DEFINE_CLASS(ToldString, ztString, toldStringMethods)

static void toldConstructor(void *array, ztCtor constructor) {
  calls.emplace_back("setElementConstructor");
  ztStringArray_table()->setElementConstructor(array, constructor);
}

static void toldSize(void *array, int32_t size, uint32_t byPointer) {
  calls.push_back(with("setElementSize", size));
  ztStringArray_table()->setElementSize(array, size, byPointer);
}

static void toldCompare(void *array, ztCompareFunc compare) {
  calls.emplace_back("setCompareFunction");
  ztStringArray_table()->setCompareFunction(array, compare);
}

static void toldArrayMethods(ToldArrayMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, setElementConstructor, toldConstructor);
  ZT_OVERRIDE_METHOD(methods, setElementSize, toldSize);
  ZT_OVERRIDE_METHOD(methods, setCompareFunction, toldCompare);
}
ZT_DEFINE_CLASS(ToldArray, ztStringArray, toldArrayMethods)

// A class written by hand, from the numbers of its slots alone.
namespace {

constexpr int createSlot = 4;
constexpr int getSlot = 18;
constexpr int slotCount = 21;
void *handTable[slotCount];
ztClass handClass;

const char *handGet(const void *) {
  return "by hand";
}

using Calls = std::vector<std::string>;
using String = Owned<ztString, ztStringMethods>;
using Array = Owned<ztArray, ztArrayMethods>;

String stringOf(const char *text, ztCtor constructor = ztString_ctor) {
  String string(constructor);
  string->set(string, text);
  return string;
}

// A string whose buffer is of the host's class.
String hostString(const char *text) {
  String string(ztString_ctor);
  ztCharArray_of(string.fields().buffer)->unRef(string.fields().buffer);
  string.fields().buffer = static_cast<ztCharArray *>(HostBuffer_ctor(nullptr, 1));
  if (text != nullptr) string->set(string, text);
  calls.clear();
  return string;
}

}  // namespace

// A buffer of a host's class ------------------------------------------------------------------------

TEST(HostBuffer, TakesATextThroughItsTable) {
  const String string = hostString(nullptr);
  EXPECT_EQ(string->set(string, "abc"), static_cast<void *>(string));
  EXPECT_EQ(calls, Calls({"resize 4", "getData"}));
  EXPECT_STREQ(string->get(string), "abc");
  EXPECT_EQ(string->length(string), 3U);
}

TEST(HostBuffer, IsResizedToNothingForNoText) {
  const String string = hostString("abc");
  EXPECT_EQ(string->set(string, nullptr), static_cast<void *>(string));
  EXPECT_EQ(calls, Calls({"resize 0"}));
  EXPECT_EQ(string->length(string), 0U);
  EXPECT_EQ(string->isEmpty(string), 1);
  const Storage file;
  EXPECT_EQ(string->write(string, file), 1);
  EXPECT_EQ(file.bytes(), std::string(5, '\0'));
}

TEST(HostBuffer, TakesItsOwnTextAndParts) {
  const String string = hostString("abcdef");
  EXPECT_NE(string->set(string, string->get(string) + 2), nullptr);
  EXPECT_STREQ(string->get(string), "cdef");
}

TEST(HostBuffer, IsAppendedToThroughItsTable) {
  const String string = hostString("abc");
  const String other = stringOf("def");
  EXPECT_EQ(string->cat(string, other), static_cast<void *>(string));
  EXPECT_EQ(calls, Calls({"getData", "resize 7", "getData"}));
  EXPECT_EQ(string->cat(string, string), static_cast<void *>(string));
  EXPECT_STREQ(string->get(string), "abcdefabcdef");
}

TEST(HostBuffer, IsClonedByItsOwnClass) {
  const String string = hostString("abc");
  const String copy = string.copy();
  EXPECT_EQ(calls, Calls({"clone"}));
  EXPECT_EQ(ztOOP_classOf(copy.fields().buffer), HostBufferClass_Instance());
  EXPECT_STREQ(copy->get(copy), "abc");
}

TEST(HostBuffer, IsAssignedToBySetSizeAndAssign) {
  const String string = hostString("a longer text");
  const String other = stringOf("abc");
  EXPECT_EQ(string->assign(string, other), 1);
  EXPECT_EQ(calls, Calls({"setSize 4", "assign"}));
  EXPECT_STREQ(string->get(string), "abc");
  EXPECT_EQ(other->assign(other, string), 1);
}

TEST(HostBuffer, IsReadBySetSizeAndGetData) {
  for (const size_t length : {3U, 100000U}) {
    const std::string text(length, 'x');
    const Storage file;
    stringOf(text.c_str())->write(stringOf(text.c_str()), file);
    file->goToBegin(file);
    const String string = hostString("old");
    EXPECT_EQ(string->read(string, file), 1);
    EXPECT_EQ(calls, Calls({with("setSize", static_cast<int64_t>(length) + 2), "getData"}));
    EXPECT_EQ(string->get(string), text);
    const Storage stored;
    EXPECT_EQ(ztString_store(string, stored), 1);
  }
}

static int32_t toldSetSize(void *array, int32_t size) {
  calls.push_back(with("setSize", size));
  return ztArray_table()->setSize(array, size);
}

static int32_t toldResize(void *array, int32_t size) {
  calls.push_back(with("resize", size));
  return ztArray_table()->resize(array, size);
}

// In the table of the buffer's own class for once, since a string makes its buffer itself.
TEST(String, CreateSetsTheSizeOfItsBufferTo20) {
  auto *table = static_cast<ztCharArrayMethods *>(ztCharArrayClass_Instance()->methodTable);
  const ztCharArrayMethods before = *table;
  table->setSize = toldSetSize;
  table->resize = toldResize;
  calls.clear();
  const String string(ztString_ctor);
  *table = before;
  EXPECT_EQ(calls, Calls({"setSize 20"}));
  EXPECT_EQ(ztCharArray_of(string.fields().buffer)->getSize(string.fields().buffer), 20);
}

// A file of a host's class --------------------------------------------------------------------------

TEST(HostFile, IsAskedForASizeAndAText) {
  const Storage file(HostFile_ctor);
  const String string = stringOf("abc");
  calls.clear();
  EXPECT_EQ(string->write(string, file), 1);
  EXPECT_EQ(calls, Calls({"writeInt 4", "writeString abc"}));
  file->goToBegin(file);
  calls.clear();
  EXPECT_EQ(string->read(string, file), 1);
  EXPECT_EQ(calls, Calls({"readInt", "readString 5"}));
}

TEST(HostFile, IsAskedForNothingMoreAfterAFailure) {
  const Storage file(HostFile_ctor);
  const String string = stringOf("abc");
  string->write(string, file);
  const Array array(ztIntArray_ctor);
  for (const int32_t result : {0, -1}) {
    failure = result;
    string->set(string, "abc");
    file->goToBegin(file);
    calls.clear();
    failing = 1;
    EXPECT_EQ(string->read(string, file), 0);
    EXPECT_EQ(calls, Calls({"readInt"}));
    failing = 1;
    EXPECT_EQ(array->read(array, file), 0);
    calls.clear();
    failing = 1;
    EXPECT_EQ(string->write(string, file), 0);
    failing = 1;
    EXPECT_EQ(array->write(array, file), 0);
    failing = 1;
    EXPECT_EQ(ztString_store(string, file), 0);
    EXPECT_EQ(calls, Calls({"writeInt 4", "writeInt 0", "writeInt 4"}));
    file->goToBegin(file);
    failing = 2;
    EXPECT_EQ(string->read(string, file), 0) << result;
    failing = 2;
    EXPECT_EQ(string->write(string, file), 0) << result;
  }
  failing = 0;
}

// Setting up ----------------------------------------------------------------------------------------

TEST(StringArray, CreateSetsConstructorSizeAndComparison) {
  calls.clear();
  const Array array(ToldArray_ctor);
  EXPECT_EQ(calls,
            Calls({"setElementConstructor", with("setElementSize", sizeof(ztString)), "setCompareFunction"}));
}

TEST(String, CatOntoAnEmptyStringCallsItsOwnSet) {
  const String string(ToldString_ctor);
  const String other = stringOf("abc");
  calls.clear();
  string->cat(string, other);
  EXPECT_EQ(calls, Calls({"set abc"}));
}

TEST(String, ClassInitForgetsTheScratchString) {
  const ztStringFunctions *functions = ztString_functions();
  void *first = functions->newString(nullptr, "first");
  functions->classInit(ztStringClass_Instance());
  void *second = functions->newString(nullptr, "second");
  EXPECT_NE(second, first);
  EXPECT_STREQ(ztString_of(first)->get(first), "first");
  ztString_of(first)->unRef(first);
}

TEST(String, EachThreadHasAScratchStringOfItsOwn) {
  const ztStringFunctions *functions = ztString_functions();
  void *mine = functions->newString(nullptr, "mine");
  const int before = liveBlocks;
  std::thread([&] {
    void *other = functions->newString(nullptr, "other");
    EXPECT_NE(other, mine);
    EXPECT_EQ(functions->newString(nullptr, "again"), other);
  }).join();
  EXPECT_STREQ(ztString_of(mine)->get(mine), "mine");
  EXPECT_EQ(liveBlocks, before) << "the thread's end releases its own";
}

// Slots 0 to 20 as the classes of the library lay them out; `get` is one of them.
TEST(String, AClassWrittenByHandBelowItWorks) {
  const String proper = stringOf("so ");
  memcpy(handTable, ztStringClass_Instance()->methodTable, sizeof handTable);
  const char *(*get)(const void *) = handGet;
  memcpy(&handTable[getSlot], &get, sizeof get);
  handClass = *ztStringClass_Instance();
  handClass.parent = ztStringClass_Instance();
  handClass.name = "ByHand";
  handClass.methodTable = handTable;
  ztString object;
  object.klass = &handClass;
  object.refCount = 1;
  int32_t (*create)(void *) = nullptr;
  memcpy(&create, &handTable[createSlot], sizeof create);
  ASSERT_EQ(create(&object), 1);
  ztString_of(&object)->set(&object, "another");
  EXPECT_STREQ(ztString_of(&object)->get(&object), "by hand");
  EXPECT_EQ(ztOOP_isClassOf(&object, "ztString"), 1);
  proper->cat(proper, &object);
  EXPECT_STREQ(proper->get(proper), "so by hand");
  const Storage file;
  EXPECT_EQ(ztString_of(&object)->write(&object, file), 1);
  EXPECT_EQ(file.bytes(), std::string("\x8\0\0\0another\0", 12));
  ztString_of(&object)->destroy(&object);
}

// Stored exactly ------------------------------------------------------------------------------------

class StoredStrings : public testing::TestWithParam<ztCtor> {
 protected:
  StoredStrings() : file(GetParam()) {}
  Storage file;
};

INSTANTIATE_TEST_SUITE_P(In, StoredStrings, testing::Values(ztFile_ctor, ztTextFile_ctor, HostFile_ctor),
                         [](const testing::TestParamInfo<ztCtor> &test) {
                           return test.param == ztFile_ctor       ? "Bytes"
                                  : test.param == ztTextFile_ctor ? "Text"
                                                                  : "HostFile";
                         });

TEST_P(StoredStrings, ComeBackExactlyOneAfterAnother) {
  const std::string large(300000, 'l');
  const char *const texts[] = {nullptr,       "",  "abc", "  leading", "\n\nlines\n", "null", "5",
                               "\t",          ":", "12:", nullptr,     nullptr,       "\xff", "",
                               large.c_str(), " ", ""};
  for (const char *text : texts) {
    EXPECT_EQ(ztString_store(stringOf(text), file), 1);
    file->writeInt(file, 7);
  }
  EXPECT_EQ(ztString_store(String(ztString_ctor), file), 1);
  file->goToBegin(file);
  for (const char *text : texts) {
    const String string = stringOf("old");
    ASSERT_EQ(ztString_load(string, file), 1);
    if (text == nullptr) {
      EXPECT_EQ(string->get(string), nullptr);
    } else {
      EXPECT_STREQ(string->get(string), text);
    }
    int32_t between = 0;
    EXPECT_EQ(file->readInt(file, &between), 1);
    EXPECT_EQ(between, 7);
  }
  const String never = stringOf("old");
  EXPECT_EQ(ztString_load(never, file), 1);
  EXPECT_STREQ(never->get(never), "");
  EXPECT_EQ(ztString_load(never, file), 0);
  EXPECT_STREQ(never->get(never), "");
}

TEST_P(StoredStrings, ThatAreCutAreNotLoaded) {
  const String string = stringOf("abcdefgh");
  ztString_store(string, file);
  const std::string whole = file.bytes();
  const size_t needed = whole.size() - (GetParam() == ztTextFile_ctor ? 1 : 0);
  for (size_t length = 0; length < needed; ++length) {
    file.hold(whole.substr(0, length));
    const String other = stringOf("kept");
    EXPECT_EQ(ztString_load(other, file), 0) << length;
    EXPECT_STREQ(other->get(other), "kept");
  }
}

TEST_P(StoredStrings, ThatAreDamagedClaimNoMemory) {
  const int32_t sizes[] = {INT32_MAX, INT32_MAX - 1, 1000000, -1};
  for (const int32_t size : sizes) {
    file.hold("");
    file->writeInt(file, size);
    file->writeBuf(file, 1, ":");
    file->writeBuf(file, 4, "abcd");
    file->goToBegin(file);
    const String string = stringOf("kept");
    const int64_t before = mostBytes = liveBytes;
    EXPECT_EQ(ztString_load(string, file), 0) << size;
    EXPECT_LE(mostBytes - before, 65536);
    EXPECT_STREQ(string->get(string), "kept");
  }
}

TEST_P(StoredStrings, TakeNeitherNullNorAClosedFile) {
  const String string = stringOf("kept");
  EXPECT_EQ(ztString_store(nullptr, file), 0);
  EXPECT_EQ(ztString_store(string, nullptr), 0);
  EXPECT_EQ(ztString_load(nullptr, file), 0);
  EXPECT_EQ(ztString_load(string, nullptr), 0);
  file->close(file);
  EXPECT_EQ(ztString_store(string, file), 0);
  EXPECT_EQ(ztString_load(string, file), 0);
  EXPECT_STREQ(string->get(string), "kept");
}

TEST_P(StoredStrings, AreSetThroughTheStringsTable) {
  ztString_store(stringOf("abc"), file);
  ztString_store(stringOf(nullptr), file);
  file->goToBegin(file);
  const String string(ToldString_ctor);
  calls.clear();
  EXPECT_EQ(ztString_load(string, file), 1);
  EXPECT_EQ(ztString_load(string, file), 1);
  std::erase_if(calls, [](const std::string &call) { return !call.starts_with("set"); });
  EXPECT_EQ(calls, Calls({"set abc", "set NULL"}));
}

TEST_P(StoredStrings, WithoutMemoryKeepTheirText) {
  ztString_store(stringOf("a text of more than twenty characters"), file);
  for (int succeeding = 0;; ++succeeding) {
    file->goToBegin(file);
    const String string = stringOf("kept");
    const Fault fault(succeeding);
    const int32_t done = ztString_load(string, file);
    if (!fault.end()) break;
    EXPECT_EQ(done, 0);
    EXPECT_STREQ(string->get(string), "kept");
  }
}
