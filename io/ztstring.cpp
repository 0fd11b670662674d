#include "io/ztstring.h"

#include "containers/ztchars.hh"
#include "containers/ztcompare.hh"
#include "containers/ztown.hh"
#include "core/ztbasec.hh"
#include "core/ztlayout.hh"
#include "core/ztmem.hh"
#include "core/ztmethod.hh"
#include "core/ztparts.hh"
#include "core/ztshared.hh"
#include "core/ztthread.hh"
#include "io/ztstring.hh"

#include <string.h>

using namespace ztcore;

ZT_PIN_CLASS(ztString, 24, 21);
ZT_PIN_FUNCTION(ztString, classInit, 8);
ZT_PIN_FUNCTION(ztString, classDestroy, 9);
ZT_PIN_FUNCTION(ztString, newString, 10);
ZT_PIN_CLASS(ztStringArray, 80, 42);

constexpr int32_t initialSize = 20;

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

// An empty text when there is none.
static const char *textFrom(const void *string) {
  const char *text = ztString_of(string)->get(string);
  return text == nullptr ? "" : text;
}

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
  const bool isPlain = buffer != nullptr && releasesCharsPlainly() && endsPlainly(buffer);
  if (!isPlain) return releasePart(string.buffer);
  string.buffer = nullptr;
  freeChars(buffer);
}

// What `destroy` calls.
static bool destroysOwnStrings() {
  return ztBaseClass_table()->destroy == baseDestroy && releasesCharsPlainly();
}

static bool endStringPlainly(void *object) {
  ztCharArray *buffer = static_cast<const ztString *>(object)->buffer;
  if (ztOOP_classOf(object) != ztStringClass_Instance() || buffer == nullptr) return false;
  if (!endsPlainly(buffer) || !destroysOwnStrings()) return false;
  freeChars(buffer);
  freePart(object);
  return true;
}

bool ztcore::releasesStringsPlainly() {
  return releasesBy(ztStringClass_Instance(), method<stringDestroy>) && destroysOwnStrings();
}

bool ztcore::endsPlainly(const ztString *string) {
  return string != nullptr && endsByRelease(string, ztStringClass_Instance()) && string->buffer != nullptr &&
         endsPlainly(string->buffer);
}

void ztcore::freeString(ztString *string, FreedObjects *freed) {
  ztm_free(string->buffer->data);
  freed->add(string->buffer);
  freed->add(string);
}

bool ztcore::copiesTextsPlainly() {
  return ztString_table()->clone == method<stringClone> && releasesStringsPlainly() && copiesCharsPlainly();
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

// The scratch string ------------------------------------------------------------------------------
//
// Each thread has its own. Its first newString makes it, it is released with the class or the thread, and a
// later newString makes it again.

[[gnu::noinline]] static void *makeScratch() {
  return hidden(makeObject(ztString_ctor));
}

static void *stringNewString(const void *, const char *text) {
  ThreadBlock *block = blockOfThread();
  if (block->scratchString == nullptr) block->scratchString = makeScratch();
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
  ZT_OVERRIDE_METHOD(methods, read, method<readString>);
  ZT_OVERRIDE_METHOD(methods, write, method<writeString>);
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
