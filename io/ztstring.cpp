#include "io/ztstring.h"

#include "containers/ztchars.hh"
#include "containers/ztcompare.hh"
#include "containers/ztown.hh"
#include "core/ztbasec.hh"
#include "core/ztlayout.hh"
#include "core/ztmem.h"
#include "core/ztmethod.hh"
#include "core/ztparts.hh"
#include "core/ztshared.hh"
#include "core/ztthread.hh"
#include "io/ztclaims.hh"
#include "io/ztfile.h"
#include "io/ztstream.hh"
#include "io/ztstring.hh"

#include <string.h>

using namespace ztcore;

ZT_PIN_CLASS(ztString, 24, 21);
ZT_PIN_FUNCTION(ztString, classInit, 8);
ZT_PIN_FUNCTION(ztString, classDestroy, 9);
ZT_PIN_FUNCTION(ztString, newString, 10);
ZT_PIN_CLASS(ztStringArray, 80, 42);

constexpr int32_t initialSize = 20;

// The buffer --------------------------------------------------------------------------------------

static int32_t sizeOf(const ztCharArray *buffer) {
  return buffer == nullptr ? 0 : ztCharArray_of(buffer)->getSize(buffer);
}

static char *dataOf(const ztCharArray *buffer) {
  return buffer == nullptr ? nullptr : static_cast<char *>(ztCharArray_of(buffer)->getData(buffer));
}

// An empty text when there is none.
static const char *textFrom(const void *string) {
  const char *text = ztString_of(string)->get(string);
  return text == nullptr ? "" : text;
}

static bool resizeBuffer(ztCharArray *buffer, size_t size) {
  return size <= INT32_MAX && ztCharArray_of(buffer)->resize(buffer, static_cast<int32_t>(size)) != 0;
}

// Text --------------------------------------------------------------------------------------------

// The text of a host's buffer class may be anywhere.
static bool mayBeWithin(const ztCharArray *buffer, const char *text) {
  if (!isOwnBuffer(buffer)) return true;
  const auto offset = reinterpret_cast<uintptr_t>(text) - reinterpret_cast<uintptr_t>(buffer->data);
  return offset < static_cast<uintptr_t>(buffer->count);
}

static bool setBytes(ztCharArray *buffer, const char *text, size_t size) {
  if (!resizeBuffer(buffer, size)) return false;
  char *data = dataOf(buffer);
  if (data == nullptr) return false;
  memcpy(data, text, size);
  return true;
}

// Resizing may cut `text` off, so it is copied first.
static bool setOwnBytes(ztCharArray *buffer, const char *text, size_t size) {
  auto *kept = size > INT32_MAX ? nullptr : static_cast<char *>(ztm_alloc(static_cast<int32_t>(size)));
  if (kept == nullptr) return false;
  memcpy(kept, text, size);
  const bool done = setBytes(buffer, kept, size);
  ztm_free(kept);
  return done;
}

// The text may be the buffer's own.
static bool setPlainly(ztCharArray *buffer, const char *text) {
  const size_t size = strlen(text) + 1;
  if (size == static_cast<size_t>(buffer->count)) {
    memmove(buffer->data, text, size);
    return true;
  }
  void *block = size > INT32_MAX ? nullptr : ztm_alloc(static_cast<int32_t>(size));
  if (block == nullptr) return false;
  memcpy(block, text, size);
  replaceChars(buffer, block, static_cast<int32_t>(size));
  return true;
}

static void *stringSet(ztString &string, const char *text) {
  ztCharArray *buffer = string.buffer;
  if (buffer == nullptr) return nullptr;
  if (text != nullptr && hasChars(buffer) && sizesCharsPlainly())
    return setPlainly(buffer, text) ? &string : nullptr;
  if (text == nullptr) return resizeBuffer(buffer, 0) ? &string : nullptr;
  const size_t size = strlen(text) + 1;
  const bool done =
      mayBeWithin(buffer, text) ? setOwnBytes(buffer, text, size) : setBytes(buffer, text, size);
  return done ? &string : nullptr;
}

static const char *stringGet(const ztString &string);
static uint32_t stringLength(const ztString &string);

// Whether a string has a text, which functions of the library read.
static bool hasPlainText(const ztString &string) {
  const ztStringMethods *methods = ztString_of(&string);
  return methods->get == method<stringGet> && methods->length == method<stringLength> &&
         string.buffer != nullptr && hasChars(string.buffer) && string.buffer->count > 0;
}

static const char *dataIn(const ztCharArray *buffer) {
  return static_cast<const char *>(buffer->data);
}

// Whether both strings have a text, and appending is a matter of their blocks only.
static bool catsPlainly(const ztString &string, const ztString &other) {
  return sizesCharsPlainly() && hasPlainText(string) && hasPlainText(other);
}

static bool catPlainly(ztCharArray *buffer, size_t length, const char *other, size_t otherLength) {
  const size_t size = length + otherLength + 1;
  auto *block = size > INT32_MAX ? nullptr : static_cast<char *>(ztm_alloc(static_cast<int32_t>(size)));
  if (block == nullptr) return false;
  memcpy(block, buffer->data, length);
  // Copied before the old block goes, because the other may be this string.
  memcpy(block + length, other, otherLength + 1);
  replaceChars(buffer, block, static_cast<int32_t>(size));
  return true;
}

static void *stringCat(ztString &string, const void *other) {
  if (other == nullptr) return nullptr;
  const auto &added = *static_cast<const ztString *>(other);
  if (catsPlainly(string, added)) {
    const char *text = dataIn(added.buffer);
    const size_t length = strlen(dataIn(string.buffer));
    const size_t addedLength = strlen(text);
    // A block that is large enough stays.
    if (length > 0 && addedLength > 0 && length + addedLength >= static_cast<size_t>(string.buffer->count))
      return catPlainly(string.buffer, length, text, addedLength) ? &string : nullptr;
  }
  const ztStringMethods *methods = ztString_of(&string);
  const ztStringMethods *otherMethods = ztString_of(other);
  const size_t length = methods->length(&string);
  const size_t otherLength = otherMethods->length(other);
  if (otherLength == 0) return &string;
  if (length == 0) return methods->set(&string, otherMethods->get(other));
  if (!resizeBuffer(string.buffer, length + otherLength + 1)) return nullptr;
  char *data = dataOf(string.buffer);
  if (data == nullptr) return nullptr;
  // Read only now: the other may be this string, whose text has just moved.
  char *end = data + length;
  memcpy(end, otherMethods->get(other), otherLength);
  end[otherLength] = '\0';
  return &string;
}

static const char *stringGet(const ztString &string) {
  return dataOf(string.buffer);
}

static uint32_t stringLength(const ztString &string) {
  const char *text = sizeOf(string.buffer) == 0 ? nullptr : dataOf(string.buffer);
  return text == nullptr ? 0 : static_cast<uint32_t>(strlen(text));
}

static int32_t stringIsEmpty(const ztString &string) {
  return ztString_of(&string)->length(&string) == 0;
}

// Comparison --------------------------------------------------------------------------------------

static int32_t stringIsEqual(const ztString &string, const void *other) {
  return other != nullptr && strcmp(textFrom(&string), textFrom(other)) == 0;
}

static int32_t stringIsLess(const ztString &string, const void *other) {
  return other != nullptr && strcmp(textFrom(&string), textFrom(other)) < 0;
}

static int32_t stringIsMajor(const ztString &string, const void *other) {
  return other != nullptr && strcmp(textFrom(&string), textFrom(other)) > 0;
}

// The string as an object -------------------------------------------------------------------------

using StringParts = Parts<&ztBaseClass_table, Part<&ztString::buffer, ztCharArray_ctor>>;

static int32_t createPlainly(ztString &string) {
  string.buffer = static_cast<ztCharArray *>(ztm_alloc(sizeof(ztCharArray)));
  if (string.buffer == nullptr) return 0;
  void *text = ztm_alloc(initialSize);
  fillChars(string.buffer, text, text == nullptr ? 0 : initialSize);
  if (text == nullptr) return 0;
  memset(text, 0, initialSize);
  return 1;
}

static int32_t stringCreate(ztString &string) {
  if (createsCharsPlainly()) return createPlainly(string);
  if (!StringParts::create(string)) return 0;
  return ztCharArray_of(string.buffer)->setSize(string.buffer, initialSize) != 0;
}

static void *stringClone(const ztString &string, void *target) {
  return StringParts::clone(string, target);
}

static int32_t stringAssign(ztString &string, const void *other) {
  if (other == nullptr || !ztBaseClass_table()->assign(&string, other)) return 0;
  ztCharArray *buffer = string.buffer;
  const ztCharArray *source = static_cast<const ztString *>(other)->buffer;
  if (buffer == nullptr) return source == nullptr;
  const ztCharArrayMethods *methods = ztCharArray_of(buffer);
  if (!methods->setSize(buffer, sizeOf(source))) return 0;
  if (source != nullptr) methods->assign(buffer, source);
  return 1;
}

static void stringDestroy(ztString &string) {
  ztBaseClass_table()->destroy(&string);
  ztCharArray *buffer = string.buffer;
  if (buffer == nullptr || !releasesCharsPlainly(buffer)) return releasePart(string.buffer);
  string.buffer = nullptr;
  freeChars(buffer);
}

// Besides its release, which the caller checks.
static bool endsPlainly(const ztString &string) {
  return string.buffer != nullptr && releasesCharsPlainly(string.buffer) &&
         ztBaseClass_table()->destroy == baseDestroy;
}

static bool endStringPlainly(void *object) {
  const auto &string = *static_cast<const ztString *>(object);
  if (ztOOP_classOf(object) != ztStringClass_Instance() || !endsPlainly(string)) return false;
  freeChars(string.buffer);
  freePart(object);
  return true;
}

bool ztcore::releasesPlainly(const ztString *string) {
  return endsByRelease(string, ztStringClass_Instance(), method<stringDestroy>) && endsPlainly(*string);
}

void ztcore::freeString(ztString *string, FreedObjects *freed) {
  ztm_free(string->buffer->data);
  freed->add(string->buffer);
  freed->add(string);
}

bool ztcore::copiesTextsPlainly() {
  const ztStringMethods *methods = ztString_table();
  return methods->clone == method<stringClone> && methods->destroy == method<stringDestroy> &&
         methods->unRef == method<baseUnRef> && ztBaseClass_table()->destroy == baseDestroy &&
         copiesCharsPlainly();
}

bool ztcore::isPlainText(const ztString *string) {
  return string != nullptr && ztOOP_classOf(string) == ztStringClass_Instance() &&
         string->buffer != nullptr && hasChars(string->buffer) && string->buffer->count > 0;
}

static void *copyOf(const void *bytes, size_t size) {
  void *copy = size > INT32_MAX ? nullptr : ztm_alloc(static_cast<int32_t>(size));
  if (copy != nullptr) memcpy(copy, bytes, size);
  return copy;
}

static void beginString(SharedBlock *block, StringWithChars *made) {
  beginPart(block, &made->string, ztStringClass_Instance());
  made->string.buffer = &made->chars;
}

bool StringWithChars::make(SharedBlock *block, const char *text) {
  const size_t size = strlen(text) + 1;
  void *bytes = copyOf(text, size);
  if (bytes == nullptr) return false;
  beginString(block, this);
  fillChars(&chars, bytes, static_cast<int32_t>(size));
  addToBlock(block, &chars);
  return true;
}

bool StringWithChars::copy(SharedBlock *block, const ztString *source) {
  const ztCharArray *buffer = source->buffer;
  void *bytes = copyOf(buffer->data, static_cast<size_t>(buffer->count));
  if (bytes == nullptr) return false;
  beginString(block, this);
  fillCharsLike(&chars, buffer, bytes);
  addToBlock(block, &chars);
  return true;
}

static int32_t stringWrite(const ztString &string, void *file) {
  if (file == nullptr) return 0;
  const ztCharArray *buffer = string.buffer;
  const ztFileMethods *methods = ztFile_of(file);
  const int32_t size = sizeOf(buffer);
  if (methods->writeInt(file, size) <= 0) return 0;
  const char *text = size == 0 ? nullptr : dataOf(buffer);
  return methods->writeString(file, text == nullptr ? "" : text) > 0;
}

// Reading -----------------------------------------------------------------------------------------
//
// Each time a string is read and stored again its stored size grows by one, and so exceeds its text. The excess
// is the slack of a string: zero bytes.

constexpr int64_t smallClaim = 4096;  // granted without a check of the file
constexpr int64_t smallSlack = 8;     // at most twice the bytes of a size in the file
constexpr int64_t largeSlack = 32768;

// Large slack, or slack that exceeds the file's claims, is removed; the text stays.
static bool keepsSlack(Claims *claims, int64_t slack) {
  return slack <= smallSlack || (slack < largeSlack && claims->take(slack));
}

// In the text form, a text with a line feed also arrives shorter than its size.
static void giveUpSlack(ztCharArray *buffer, int32_t size, Claims *claims) {
  if (!claims->isCounted() || !isOwnBuffer(buffer)) return;
  const int64_t arrived = claims->arrivedSince();
  if (arrived > 0 && arrived < size && !keepsSlack(claims, size - arrived)) {
    resizeBuffer(buffer, static_cast<size_t>(arrived) + 1);
    dataOf(buffer)[arrived] = '\0';
  }
}

// Reads one byte more than the stored size.
static int32_t readInto(ztCharArray *buffer, void *file, int32_t size, Claims *claims) {
  if (!ztCharArray_of(buffer)->setSize(buffer, size)) return 0;
  char *text = dataOf(buffer);
  if (text == nullptr) return 0;
  // A buffer that already had this size still has the old text.
  memset(text, 0, static_cast<size_t>(size));
  claims->arrivedSince();
  const bool done = ztFile_of(file)->readString(file, size, text) > 0;
  if (memchr(text, 0, static_cast<size_t>(size)) == nullptr) text[size - 1] = '\0';
  if (done) giveUpSlack(buffer, size, claims);
  return done;
}

// Takes ownership of the block, which becomes the buffer's own if its class is the library's.
static int32_t installText(ztCharArray *buffer, char *block, int32_t size) {
  if (isOwnBuffer(buffer)) {
    ztm_free(buffer->data);
    buffer->data = block;
    buffer->count = size;
    return 1;
  }
  const int32_t done = ztCharArray_of(buffer)->setSize(buffer, size);
  char *text = done ? dataOf(buffer) : nullptr;
  if (text != nullptr) memcpy(text, block, static_cast<size_t>(size));
  ztm_free(block);
  return text != nullptr;
}

// Reads a text that the file may not hold before the buffer grows.
static int32_t readArriving(ztCharArray *buffer, int32_t size, Claims *claims) {
  const bool isLine = claims->isText();
  int32_t arrived = 0;
  char *block = takeArriving(claims->ownStream(), isLine ? size - 1 : size, isLine, &arrived);
  const int64_t slack = int64_t{size} - arrived;
  const bool isBorneOut = block != nullptr && arrived > 0 && slack <= claims->limit();
  if (isBorneOut && arrived < size && isOwnBuffer(buffer) && !keepsSlack(claims, slack)) size = arrived + 1;
  char *text = isBorneOut ? static_cast<char *>(ztm_realloc(block, size)) : nullptr;
  if (text == nullptr) {
    ztm_free(block);
    return 0;
  }
  memset(text + arrived, 0, static_cast<size_t>(size - arrived));
  if (memchr(text, 0, static_cast<size_t>(size)) == nullptr) text[size - 1] = '\0';
  return installText(buffer, text, size);
}

static int32_t stringRead(ztString &string, void *file) {
  ztCharArray *buffer = string.buffer;
  if (buffer == nullptr || file == nullptr) return 0;
  Claims claims(file);
  int32_t stored = 0;
  if (!claims.readCount(&stored) || stored >= INT32_MAX - 1) return 0;
  const int32_t size = stored + 1;
  if (size <= smallClaim || claims.isHeld(stored)) return readInto(buffer, file, size, &claims);
  if (claims.ownStream() != nullptr) return readArriving(buffer, size, &claims);
  return claims.isExcessive(size, 1, 1) ? 0 : readInto(buffer, file, size, &claims);
}

// Several in a row --------------------------------------------------------------------------------
//
// The form: 0 for no text, else the number of characters plus one; a mark; the characters. A text file drops
// white space behind a number; the mark protects that of the text.

constexpr char textMark = ':';

static bool storeBytes(void *file, int32_t count, const char *bytes) {
  return count == 0 || ztFile_of(file)->writeBuf(file, count, bytes) == count;
}

int32_t ztString_store(const void *string, void *file) {
  if (string == nullptr || file == nullptr) return 0;
  const char *text = ztString_of(string)->get(string);
  const size_t length = text == nullptr ? 0 : strlen(text);
  if (length >= INT32_MAX) return 0;
  const auto count = static_cast<int32_t>(length);
  return ztFile_of(file)->writeInt(file, text == nullptr ? 0 : count + 1) > 0 &&
         storeBytes(file, sizeof textMark, &textMark) && storeBytes(file, count, text);
}

static bool loadMark(void *file) {
  char mark = 0;
  return ztFile_of(file)->readBuf(file, sizeof mark, &mark) == sizeof mark && mark == textMark;
}

// As the file's `readBuf`, but allocates only for what arrives.
static char *loadArriving(int32_t count, const Claims *claims) {
  int32_t arrived = 0;
  char *text = takeArriving(claims->ownStream(), count, false, &arrived);
  // In a text file a line feed follows the bytes.
  const bool isWhole = arrived == count && (!claims->isText() || takeByte(claims->ownStream()) == '\n');
  if (text == nullptr || isWhole) return text;
  ztm_free(text);
  return nullptr;
}

static char *loadThroughTable(void *file, int32_t count) {
  auto *text = static_cast<char *>(ztm_alloc(count + 1));
  if (text == nullptr || ztFile_of(file)->readBuf(file, count, text) == count) return text;
  ztm_free(text);
  return nullptr;
}

// A new block with the characters and a terminator; NULL when some are missing.
static char *loadText(void *file, int32_t count, Claims *claims) {
  char *text = nullptr;
  if (count == 0) {
    text = static_cast<char *>(ztm_alloc(1));
  } else if (claims->ownStream() != nullptr) {
    text = loadArriving(count, claims);
  } else if (!claims->isExcessive(count, 1, 1)) {
    text = loadThroughTable(file, count);
  }
  if (text == nullptr) return nullptr;
  text[count] = '\0';
  // A text file returns zeros for missing bytes.
  if (strlen(text) == static_cast<size_t>(count)) return text;
  ztm_free(text);
  return nullptr;
}

int32_t ztString_load(void *string, void *file) {
  if (string == nullptr || file == nullptr) return 0;
  Claims claims(file);
  int32_t stored = 0;
  if (!claims.readCount(&stored) || !loadMark(file)) return 0;
  char *text = stored == 0 ? nullptr : loadText(file, stored - 1, &claims);
  if (text == nullptr && stored != 0) return 0;
  const bool done = ztString_of(string)->set(string, text) != nullptr;
  ztm_free(text);
  return done;
}

// The scratch string ------------------------------------------------------------------------------
//
// Each thread has its own. Its first newString makes it, it is released with the class or the thread, and a
// later newString makes it again.

static void *stringNewString(const void *, const char *text) {
  ThreadBlock *block = blockOfThread();
  if (block->scratchString == nullptr) block->scratchString = makeObject(ztString_ctor);
  void *scratch = block->scratchString;
  return scratch == nullptr ? nullptr : ztString_of(scratch)->set(scratch, text);
}

static void stringClassInit(ztClass *) {
  if (thisThread.block != nullptr) thisThread.block->scratchString = nullptr;
}

static void stringClassDestroy(void *) {
  releaseScratchString();
}

static void stringFunctions(ztStringFunctions *functions) {
  endPlainly(PlainEnd::strings, method<stringDestroy>, endStringPlainly);
  functions->classInit = stringClassInit;
  functions->classDestroy = stringClassDestroy;
  functions->newString = stringNewString;
}

static void stringMethods(ztStringMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, method<stringCreate>);
  ZT_OVERRIDE_METHOD(methods, clone, method<stringClone>);
  ZT_OVERRIDE_METHOD(methods, assign, method<stringAssign>);
  ZT_OVERRIDE_METHOD(methods, isEqual, method<stringIsEqual>);
  ZT_OVERRIDE_METHOD(methods, isLess, method<stringIsLess>);
  ZT_OVERRIDE_METHOD(methods, isMajor, method<stringIsMajor>);
  ZT_OVERRIDE_METHOD(methods, destroy, method<stringDestroy>);
  ZT_OVERRIDE_METHOD(methods, read, method<stringRead>);
  ZT_OVERRIDE_METHOD(methods, write, method<stringWrite>);
  ZT_OVERRIDE_METHOD(methods, set, method<stringSet>);
  ZT_OVERRIDE_METHOD(methods, cat, method<stringCat>);
  ZT_OVERRIDE_METHOD(methods, get, method<stringGet>);
  ZT_OVERRIDE_METHOD(methods, length, method<stringLength>);
  ZT_OVERRIDE_METHOD(methods, isEmpty, method<stringIsEmpty>);
}

ZT_DEFINE_CLASS_FULL(ztString, ztBaseClass, stringMethods, 1, ztStringFunctions, stringFunctions)

// ztStringArray -----------------------------------------------------------------------------------

int32_t ztStringArray_compare_func(const void *first, const void *second) {
  if (first == nullptr || second == nullptr) return compareValues(first != nullptr, second != nullptr);
  const ztStringMethods *methods = ztString_of(first);
  if (methods->isEqual(first, second)) return 0;
  return methods->isMajor(first, second) ? 1 : -1;
}

int32_t ztStringArray_compare_func_ptr(const void *first, const void *second) {
  return ztStringArray_compare_func(first, second);
}

static int32_t stringArrayCreate(ztStringArray &array) {
  if (!ztArray_table()->create(&array)) return 0;
  const ztArrayMethods *methods = ztArray_of(&array);
  methods->setElementConstructor(&array, ztString_ctor);
  methods->setElementSize(&array, sizeof(ztString), 0);
  methods->setCompareFunction(&array, ztStringArray_compare_func);
  return 1;
}

static void stringArrayMethods(ztStringArrayMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, method<stringArrayCreate>);
}

ZT_DEFINE_CLASS(ztStringArray, ztArray, stringArrayMethods)
