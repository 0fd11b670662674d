// Strings with a buffer of a host's class, strings in a file of a host's class, and what is stored exactly.
#include "containers/ztarrays.h"
#include "tests/helpers/replaced.hh"
#include "tests/io/source.hh"
#include "tests/io/strings.hh"

#include <string.h>

#include <thread>

using namespace std::string_literals;

// A buffer that keeps its bytes where no field says, and records what it is asked.
#define HostBuffer_FIELDS         \
  ztCharArray_FIELDS char *bytes; \
  int32_t size;                   \
  int32_t capacity;
#define HostBuffer_METHODS ztCharArray_METHODS
ZT_DECLARE_CLASS(HostBuffer)

// A string and an array that record what their own setting-up calls.
#define ToldString_FIELDS ztString_FIELDS
#define ToldString_METHODS ztString_METHODS
ZT_DECLARE_CLASS(ToldString)

#define ToldArray_FIELDS ztStringArray_FIELDS
#define ToldArray_METHODS ztStringArray_METHODS
ZT_DECLARE_CLASS(ToldArray)

static Texts calls;

static std::string with(const char *name, int64_t value) {
  return std::string(name) + " " + std::to_string(value);
}

// The capacity stays when the size shrinks, and what is behind the size is no zero.
static int32_t hostResize(void *buffer, int32_t size) {
  calls.push_back(with("resize", size));
  auto *host = static_cast<HostBuffer *>(buffer);
  if (size > host->capacity) {
    host->bytes = static_cast<char *>(ztm_realloc(host->bytes, size));
    host->capacity = size;
  }
  for (int32_t i = host->size; i < size; ++i) host->bytes[i] = 0;
  host->size = size;
  return 1;
}

static int32_t hostSetSize(void *buffer, int32_t size) {
  calls.push_back(with("setSize", size));
  static_cast<HostBuffer *>(buffer)->size = 0;
  const int32_t done = hostResize(buffer, size);
  calls.pop_back();
  return done;
}

static int32_t hostAssign(void *buffer, const void *other) {
  calls.emplace_back("assign");
  auto *host = static_cast<HostBuffer *>(buffer);
  memcpy(host->bytes, ztCharArray_of(other)->getData(other), static_cast<size_t>(host->size));
  return 1;
}

static void *hostClone(const void *buffer, void *target) {
  calls.emplace_back("clone");
  auto *copy = static_cast<HostBuffer *>(ztCharArray_table()->clone(buffer, target));
  if (copy == nullptr) return nullptr;
  copy->bytes = static_cast<char *>(ztm_alloc(copy->capacity));
  memcpy(copy->bytes, static_cast<const HostBuffer *>(buffer)->bytes, static_cast<size_t>(copy->capacity));
  return copy;
}

static void hostMethods(HostBufferMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, [](void *buffer) -> int32_t {
    auto *host = static_cast<HostBuffer *>(buffer);
    host->bytes = nullptr;
    host->size = host->capacity = 0;
    return ztCharArray_table()->create(buffer);
  });
  ZT_OVERRIDE_METHOD(methods, clone, hostClone);
  ZT_OVERRIDE_METHOD(methods, assign, hostAssign);
  ZT_OVERRIDE_METHOD(methods, destroy, [](void *buffer) {
    ztm_free(static_cast<HostBuffer *>(buffer)->bytes);
    static_cast<HostBuffer *>(buffer)->bytes = nullptr;
    ztCharArray_table()->destroy(buffer);
  });
  ZT_OVERRIDE_METHOD(methods, resize, hostResize);
  ZT_OVERRIDE_METHOD(methods, setSize, hostSetSize);
  ZT_OVERRIDE_METHOD(methods, getData, [](const void *buffer) -> void * {
    calls.emplace_back("getData");
    return static_cast<const HostBuffer *>(buffer)->bytes;
  });
  ZT_OVERRIDE_METHOD(methods, getSize,
                     [](const void *buffer) { return static_cast<const HostBuffer *>(buffer)->size; });
  ZT_OVERRIDE_METHOD(methods, empty, [](void *) { calls.emplace_back("empty"); });
}
ZT_DEFINE_CLASS(HostBuffer, ztCharArray, hostMethods)

static void toldStringMethods(ToldStringMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, set, [](void *string, const char *text) -> void * {
    calls.push_back(std::string("set ") + (text == nullptr ? "NULL" : text));
    return ztString_table()->set(string, text);
  });
}
ZT_DEFINE_CLASS(ToldString, ztString, toldStringMethods)

static void toldSize(void *array, int32_t size, uint32_t byPointer) {
  calls.push_back(with("setElementSize", size));
  ztStringArray_table()->setElementSize(array, size, byPointer);
}

static void toldArrayMethods(ToldArrayMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, setElementConstructor, [](void *array, ztCtor constructor) {
    calls.emplace_back("setElementConstructor");
    ztStringArray_table()->setElementConstructor(array, constructor);
  });
  ZT_OVERRIDE_METHOD(methods, setElementSize, toldSize);
  ZT_OVERRIDE_METHOD(methods, setCompareFunction, [](void *array, ztCompareFunc compare) {
    calls.emplace_back("setCompareFunction");
    ztStringArray_table()->setCompareFunction(array, compare);
  });
}
ZT_DEFINE_CLASS(ToldArray, ztStringArray, toldArrayMethods)

// A string whose buffer is of the host's class.
static String hostString(const char *text) {
  String string;
  ztCharArray_of(string.buffer())->unRef(string.buffer());
  string.fields().buffer = static_cast<ztCharArray *>(HostBuffer_ctor(nullptr, 1));
  if (text != nullptr) string->set(string, text);
  calls.clear();
  return string;
}

// A buffer of a host's class ------------------------------------------------------------------------

TEST(ztStringWithAHostsBuffer, SetsATextThroughItsTable) {
  const String string = hostString(nullptr);
  EXPECT_EQ(string->set(string, "abc"), static_cast<void *>(string));
  EXPECT_EQ(calls, Texts({"resize 4", "getData"}));
  EXPECT_EQ(string.text(), "abc");
  EXPECT_EQ(string->length(string), 3U);
  EXPECT_NE(string->set(string, string->get(string) + 1), nullptr);
  EXPECT_EQ(string.text(), "bc") << "a part of its own";
  calls.clear();
  EXPECT_EQ(string->set(string, nullptr), static_cast<void *>(string));
  EXPECT_EQ(calls, Texts({"resize 0"}));
  EXPECT_EQ(string->length(string), 0U);
  EXPECT_EQ(string->isEmpty(string), 1);
  EXPECT_EQ(recordOf(string), std::string(5, '\0'));
}

TEST(ztStringWithAHostsBuffer, AppendsThroughItsTable) {
  const String string = hostString("abc");
  EXPECT_EQ(string->cat(string, String("def")), static_cast<void *>(string));
  EXPECT_EQ(calls, Texts({"getData", "resize 7", "getData"}));
  EXPECT_EQ(string->cat(string, string), static_cast<void *>(string));
  EXPECT_EQ(string.text(), "abcdefabcdef");
}

TEST(ztStringWithAHostsBuffer, IsClonedByTheBuffersOwnClass) {
  const String string = hostString("abc");
  const String copy = string.copy();
  EXPECT_EQ(calls, Texts({"clone"}));
  EXPECT_EQ(ztOOP_classOf(copy.buffer()), HostBufferClass_Instance());
  EXPECT_EQ(copy.text(), "abc");
}

TEST(ztStringWithAHostsBuffer, IsAssignedBySetSizeAndAssign) {
  const String string = hostString("a longer text");
  const String other("abc");
  EXPECT_EQ(string->assign(string, other), 1);
  EXPECT_EQ(calls, Texts({"setSize 4", "assign"}));
  EXPECT_EQ(string.text(), "abc");
  EXPECT_EQ(other->assign(other, string), 1);
}

TEST(ztStringWithAHostsBuffer, IsReadBySetSizeAndGetData) {
  for (const size_t length : {3U, 100000U}) {
    const std::string text(length, 'x');
    const String string = hostString("old");
    EXPECT_EQ(readRecord(string, recordOf(String(text))), 1);
    EXPECT_EQ(calls, Texts({with("setSize", static_cast<int64_t>(length) + 2), "getData"}));
    EXPECT_EQ(string.text(), text);
    EXPECT_EQ(ztString_store(string, Storage()), 1);
  }
}

// The text is not copied into the buffer until it has arrived.
TEST(ztStringWithAHostsBuffer, IsReadFromAPipeBySetSizeAndGetData) {
  const std::string text(10000, 'x');
  const String string = hostString("old");
  EXPECT_EQ(string->read(string, Source(recordOf(String(text)), ztFile_ctor, true)), 1);
  EXPECT_EQ(calls, Texts({"setSize 10002", "getData"}));
  EXPECT_EQ(string.text(), text);
  auto *methods = static_cast<HostBufferMethods *>(HostBufferClass_Instance()->methodTable);
  const Replaced refused(methods->setSize, [](void *, int32_t) -> int32_t { return 0; });
  EXPECT_EQ(string->read(string, Source(recordOf(String(text)), ztFile_ctor, true)), 0);
  EXPECT_EQ(string.text(), text);
}

// A file of a host's class --------------------------------------------------------------------------

TEST(ztStringInAHostsFile, IsASizeAndAText) {
  const Storage file(FaultyFile_ctor);
  const String string("abc");
  const FileScript script;
  EXPECT_EQ(string->write(string, file), 1);
  file.rewind();
  EXPECT_EQ(string->read(string, file), 1);
  EXPECT_EQ(script.calls, Texts({"writeInt 4", "writeString abc", "readInt", "readString 5"}));
}

TEST(ztStringInAHostsFile, AsksForNothingMoreAfterAFailure) {
  const String string("abc");
  const Storage file(FaultyFile_ctor, recordOf(string));
  const Array array(ztIntArray_ctor);
  for (const int32_t failure : {0, -1}) {
    FileScript script;
    // What fails when so many primitives went through.
    const auto expectFailure = [&](int primitives, auto operation, const Texts &expected) {
      file.rewind();
      script.calls.clear();
      script.answerAll(failure, primitives);
      EXPECT_EQ(operation(), 0) << failure;
      EXPECT_EQ(script.calls, expected);
    };
    string->set(string, "abc");
    expectFailure(0, [&] { return string->read(string, file); }, {"readInt"});
    expectFailure(0, [&] { return array->read(array, file); }, {"readInt"});
    expectFailure(0, [&] { return string->write(string, file); }, {"writeInt 4"});
    expectFailure(0, [&] { return array->write(array, file); }, {"writeInt 0"});
    expectFailure(0, [&] { return ztString_store(string, file); }, {"writeInt 4"});
    expectFailure(1, [&] { return string->write(string, file); }, {"writeInt 4", "writeString abc"});
    expectFailure(1, [&] { return string->read(string, file); }, {"readInt", "readString 5"});
  }
}

// Setting up ----------------------------------------------------------------------------------------

static int32_t toldSetSize(void *array, int32_t size) {
  calls.push_back(with("setSize", size));
  return ztArray_table()->setSize(array, size);
}

static int32_t toldResize(void *array, int32_t size) {
  calls.push_back(with("resize", size));
  return ztArray_table()->resize(array, size);
}

// In the table of the buffer's own class for once, since a string makes its buffer itself.
TEST(ztString, SetsTheSizeOfItsBufferTo20) {
  auto *table = static_cast<ztCharArrayMethods *>(ztCharArrayClass_Instance()->methodTable);
  const ztCharArrayMethods before = *table;
  table->setSize = toldSetSize;
  table->resize = toldResize;
  calls.clear();
  const String string;
  *table = before;
  EXPECT_EQ(calls, Texts({"setSize 20"}));
  EXPECT_EQ(string.bufferSize(), 20);
}

TEST(ztStringArray, SetsConstructorSizeAndComparisonInCreate) {
  calls.clear();
  const Array array(ToldArray_ctor);
  const std::string size = with("setElementSize", sizeof(ztString));
  EXPECT_EQ(calls, Texts({"setElementConstructor", size, "setCompareFunction"}));
  EXPECT_EQ(array->getElementSize(array), static_cast<int32_t>(sizeof(ztString)));
  EXPECT_EQ(array.fields().byPointer, 0U);
  EXPECT_EQ(array.fields().elementConstructor, &ztString_ctor);
  EXPECT_EQ(array.fields().compareFunction, &ztStringArray_compare_func);
}

TEST(ztString, CallsItsOwnSetToAppendToNothing) {
  const String string(ToldString_ctor);
  calls.clear();
  string->cat(string, String("abc"));
  EXPECT_EQ(calls, Texts({"set abc"}));
}

TEST(ztString, ForgetsTheScratchStringInClassInit) {
  const ztStringFunctions *functions = ztString_functions();
  const String first(functions->newString(nullptr, "first"));
  functions->classInit(ztStringClass_Instance());
  EXPECT_NE(functions->newString(nullptr, "second"), static_cast<void *>(first));
  EXPECT_EQ(first.text(), "first");
}

TEST(ztString, HasAScratchStringForEachThread) {
  const ztStringFunctions *functions = ztString_functions();
  void *mine = functions->newString(nullptr, "mine");
  const int before = liveBlocks;
  std::thread([&] {
    void *other = functions->newString(nullptr, "other");
    EXPECT_NE(other, mine);
    EXPECT_EQ(functions->newString(nullptr, "again"), other);
  }).join();
  EXPECT_EQ(textOf(mine), "mine");
  EXPECT_EQ(liveBlocks, before) << "the thread's end releases its own";
}

// A class from the numbers of its slots alone: slots 0 to 20 as the classes of the library lay them out.
TEST(ztString, WorksAsTheParentOfAClassWrittenByHand) {
  constexpr int createSlot = 4;
  constexpr int getSlot = 18;
  void *table[21];
  memcpy(table, ztStringClass_Instance()->methodTable, sizeof table);
  const char *(*get)(const void *) = [](const void *) { return "by hand"; };
  memcpy(&table[getSlot], &get, sizeof get);
  ztClass handClass = *ztStringClass_Instance();
  handClass.parent = ztStringClass_Instance();
  handClass.name = "ByHand";
  handClass.methodTable = table;
  ztString object;
  object.klass = &handClass;
  object.refCount = 1;
  int32_t (*create)(void *) = nullptr;
  memcpy(&create, &table[createSlot], sizeof create);
  ASSERT_EQ(create(&object), 1);
  ztString_of(&object)->set(&object, "another");
  EXPECT_EQ(textOf(&object), "by hand");
  EXPECT_EQ(ztOOP_isClassOf(&object, "ztString"), 1);
  const String proper("so ");
  proper->cat(proper, &object);
  EXPECT_EQ(proper.text(), "so by hand");
  EXPECT_EQ(recordOf(&object), "\x8\0\0\0another\0"s);
  ztString_of(&object)->destroy(&object);
}

// Stored exactly ------------------------------------------------------------------------------------

namespace {

class ztStringStored : public testing::TestWithParam<ztCtor> {
 protected:
  const Storage file{GetParam()};
};

INSTANTIATE_TEST_SUITE_P(In, ztStringStored, testing::Values(ztFile_ctor, ztTextFile_ctor, FaultyFile_ctor),
                         [](const testing::TestParamInfo<ztCtor> &test) {
                           return test.param == ztFile_ctor       ? "Bytes"
                                  : test.param == ztTextFile_ctor ? "Text"
                                                                  : "HostFile";
                         });

}  // namespace

TEST_P(ztStringStored, ComesBackExactlyOneAfterAnother) {
  const std::string large(300000, 'l');
  const char *const texts[] = {nullptr,       "",  "abc", "  leading", "\n\nlines\n", "null", "5",
                               "\t",          ":", "12:", nullptr,     nullptr,       "\xff", "",
                               large.c_str(), " ", ""};
  for (const char *text : texts) {
    EXPECT_EQ(ztString_store(String(text), file), 1);
    file->writeInt(file, 7);
  }
  EXPECT_EQ(ztString_store(String(), file), 1);
  file->goToBegin(file);
  for (const char *text : texts) {
    const String string("old");
    ASSERT_EQ(ztString_load(string, file), 1);
    EXPECT_EQ(string->get(string) == nullptr, text == nullptr);
    EXPECT_EQ(string.text(), String(text).text());
    EXPECT_EQ(readBy(file->readInt, file), 7);
  }
  const String never("old");
  EXPECT_EQ(ztString_load(never, file), 1);
  EXPECT_EQ(never.text(), "");
  EXPECT_EQ(ztString_load(never, file), 0);
  EXPECT_EQ(never.text(), "");
}

TEST_P(ztStringStored, IsNotLoadedWhenItIsCut) {
  ztString_store(String("abcdefgh"), file);
  const std::string whole = file.bytes();
  for (size_t length = 0; length < whole.size(); ++length) {
    file.hold(whole.substr(0, length));
    const String other("kept");
    EXPECT_EQ(ztString_load(other, file), 0) << length;
    EXPECT_EQ(other.text(), "kept");
  }
}

TEST_P(ztStringStored, ClaimsNoMemoryWhenItIsDamaged) {
  for (const int32_t size : {INT32_MAX, INT32_MAX - 1, 1000000, -1}) {
    file.hold("");
    file->writeInt(file, size);
    file->writeBuf(file, 1, ":");
    file->writeBuf(file, 4, "abcd");
    file->goToBegin(file);
    const String string("kept");
    const int64_t before = mostBytes = liveBytes;
    EXPECT_EQ(ztString_load(string, file), 0) << size;
    EXPECT_LE(mostBytes - before, 65536);
    EXPECT_EQ(string.text(), "kept");
  }
}

TEST_P(ztStringStored, TakesNeitherNullNorAClosedFile) {
  const String string("kept");
  EXPECT_EQ(ztString_store(nullptr, file), 0);
  EXPECT_EQ(ztString_load(nullptr, file), 0);
  file->close(file);
  for (void *none : {static_cast<void *>(nullptr), static_cast<void *>(file)}) {
    EXPECT_EQ(ztString_store(string, none), 0);
    EXPECT_EQ(ztString_load(string, none), 0);
  }
  EXPECT_EQ(string.text(), "kept");
}

TEST_P(ztStringStored, IsSetThroughTheStringsTable) {
  ztString_store(String("abc"), file);
  ztString_store(String(noText), file);
  file->goToBegin(file);
  const String string(ToldString_ctor);
  calls.clear();
  EXPECT_EQ(ztString_load(string, file), 1);
  EXPECT_EQ(ztString_load(string, file), 1);
  std::erase_if(calls, [](const std::string &call) { return !call.starts_with("set"); });
  EXPECT_EQ(calls, Texts({"set abc", "set NULL"}));
}

TEST_P(ztStringStored, KeepsItsTextWithoutMemory) {
  ztString_store(String("a text of more than twenty characters"), file);
  for (int succeeding = 0;; ++succeeding) {
    file->goToBegin(file);
    const String string("kept");
    const Fault fault(succeeding);
    const int32_t done = ztString_load(string, file);
    if (!fault.end()) break;
    EXPECT_EQ(done, 0);
    EXPECT_EQ(string.text(), "kept");
  }
}
