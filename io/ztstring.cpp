#include "io/ztstring.h"

#include "containers/ztcompare.hh"
#include "core/ztbasec.hh"
#include "core/ztlayout.hh"
#include "core/ztmem.h"
#include "io/ztfile.hh"
#include "io/ztstring.hh"

#include <string.h>

ZT_PIN_CLASS(ztString, 24, 21);
ZT_PIN_FIELD(ztString, buffer, 16);
ZT_PIN_SLOT(ztString, set, 16);
ZT_PIN_SLOT(ztString, cat, 17);
ZT_PIN_SLOT(ztString, get, 18);
ZT_PIN_SLOT(ztString, length, 19);
ZT_PIN_SLOT(ztString, isEmpty, 20);
ZT_PIN_FUNCTION(ztString, classInit, 8);
ZT_PIN_FUNCTION(ztString, classDestroy, 9);
ZT_PIN_FUNCTION(ztString, newString, 10);
ZT_PIN_CLASS(ztStringArray, 80, 42);

constexpr int32_t initialSize = 20;

// Made by the first newString, released with the class, and made again by a later newString.
static void *scratch;

// The buffer --------------------------------------------------------------------------------------

static ztCharArray *bufferOf(const void *string) {
  return static_cast<const ztString *>(string)->buffer;
}

static int32_t sizeOf(const ztCharArray *buffer) {
  return buffer == nullptr ? 0 : ztCharArray_of(buffer)->getSize(buffer);
}

static char *dataOf(const ztCharArray *buffer) {
  return buffer == nullptr ? nullptr : static_cast<char *>(ztCharArray_of(buffer)->getData(buffer));
}

// No text counts as an empty one.
static const char *textOf(const void *string) {
  const char *text = ztString_of(string)->get(string);
  return text == nullptr ? "" : text;
}

static bool resizeBuffer(ztCharArray *buffer, size_t size) {
  return size <= INT32_MAX && ztCharArray_of(buffer)->resize(buffer, static_cast<int32_t>(size)) != 0;
}

// Text --------------------------------------------------------------------------------------------

// What is written stands in the buffer's block itself; its fields save two calls for each text set.
static bool isWithin(const ztCharArray *buffer, const char *text) {
  const auto offset = reinterpret_cast<uintptr_t>(text) - reinterpret_cast<uintptr_t>(buffer->data);
  return offset < static_cast<uintptr_t>(buffer->count);
}

static bool setBytes(ztCharArray *buffer, const char *text, size_t size) {
  if (!resizeBuffer(buffer, size)) return false;
  memcpy(buffer->data, text, size);
  return true;
}

// Resizing may cut off the very text, so it is kept aside.
static bool setOwnBytes(ztCharArray *buffer, const char *text, size_t size) {
  auto *kept = static_cast<char *>(ztm_alloc(static_cast<int32_t>(size)));
  if (kept == nullptr) return false;
  memcpy(kept, text, size);
  const bool done = setBytes(buffer, kept, size);
  ztm_free(kept);
  return done;
}

static void *stringSet(void *object, const char *text) {
  ztCharArray *buffer = object == nullptr ? nullptr : bufferOf(object);
  if (buffer == nullptr) return nullptr;
  if (text == nullptr) {
    ztCharArray_of(buffer)->empty(buffer);
    return object;
  }
  const size_t size = strlen(text) + 1;
  const bool done = isWithin(buffer, text) ? setOwnBytes(buffer, text, size) : setBytes(buffer, text, size);
  return done ? object : nullptr;
}

static void *stringCat(void *object, const void *other) {
  if (object == nullptr || other == nullptr) return nullptr;
  const ztStringMethods *methods = ztString_of(object);
  const ztStringMethods *otherMethods = ztString_of(other);
  const size_t length = methods->length(object);
  const size_t otherLength = otherMethods->length(other);
  if (otherLength == 0) return object;
  if (length == 0) return methods->set(object, otherMethods->get(other));
  ztCharArray *buffer = bufferOf(object);
  if (!resizeBuffer(buffer, length + otherLength + 1)) return nullptr;
  // Asked for only now: the other may be this string, whose text has just moved.
  char *end = static_cast<char *>(buffer->data) + length;
  memcpy(end, otherMethods->get(other), otherLength);
  end[otherLength] = '\0';
  return object;
}

static const char *stringGet(const void *object) {
  return object == nullptr ? nullptr : dataOf(bufferOf(object));
}

static uint32_t stringLength(const void *object) {
  const char *text = object == nullptr ? nullptr : dataOf(bufferOf(object));
  return text == nullptr ? 0 : static_cast<uint32_t>(strlen(text));
}

static int32_t stringIsEmpty(const void *object) {
  return object != nullptr && ztString_of(object)->length(object) == 0;
}

// Comparison --------------------------------------------------------------------------------------

static int32_t stringIsEqual(const void *object, const void *other) {
  return object != nullptr && other != nullptr && strcmp(textOf(object), textOf(other)) == 0;
}

static int32_t stringIsLess(const void *object, const void *other) {
  return object != nullptr && other != nullptr && strcmp(textOf(object), textOf(other)) < 0;
}

static int32_t stringIsMajor(const void *object, const void *other) {
  return object != nullptr && other != nullptr && strcmp(textOf(object), textOf(other)) > 0;
}

// The string as an object -------------------------------------------------------------------------

static int32_t stringCreate(void *object) {
  if (object == nullptr || !ztBaseClass_table()->create(object)) return 0;
  auto *buffer = ztNewObject<ztCharArray>(ztCharArray_ctor);
  static_cast<ztString *>(object)->buffer = buffer;
  return buffer != nullptr && ztCharArray_of(buffer)->setSize(buffer, initialSize) != 0;
}

static void *stringClone(const void *object, void *target) {
  auto *copy = static_cast<ztString *>(ztBaseClass_table()->clone(object, target));
  if (copy == nullptr) return nullptr;
  copy->buffer = static_cast<ztCharArray *>(ztCopyObject(bufferOf(object)));
  if (copy->buffer != nullptr || bufferOf(object) == nullptr) return copy;
  ztBaseClass_table()->destroy(copy);
  return nullptr;
}

static int32_t stringAssign(void *object, const void *other) {
  if (object == nullptr || other == nullptr || !ztBaseClass_table()->assign(object, other)) return 0;
  ztCharArray *buffer = bufferOf(object);
  const ztCharArray *source = bufferOf(other);
  if (buffer == nullptr) return source == nullptr;
  const ztCharArrayMethods *methods = ztCharArray_of(buffer);
  if (!methods->setSize(buffer, sizeOf(source))) return 0;
  if (source != nullptr) methods->assign(buffer, source);
  return 1;
}

static void stringDestroy(void *object) {
  if (object == nullptr) return;
  ztBaseClass_table()->destroy(object);
  ztCharArray *buffer = bufferOf(object);
  static_cast<ztString *>(object)->buffer = nullptr;
  if (buffer != nullptr) ztCharArray_of(buffer)->unRef(buffer);
}

static int32_t stringWrite(const void *object, void *file) {
  if (object == nullptr || file == nullptr) return 0;
  const ztCharArray *buffer = bufferOf(object);
  const ztFileMethods *methods = ztFile_of(file);
  if (methods->writeInt(file, sizeOf(buffer)) <= 0) return 0;
  const char *text = dataOf(buffer);
  return methods->writeString(file, text == nullptr ? "" : text) > 0;
}

// One byte more than the size says, and so one more than `write` stored.
static int32_t stringRead(void *object, void *file) {
  if (object == nullptr || file == nullptr) return 0;
  ztCharArray *buffer = bufferOf(object);
  const ztFileMethods *methods = ztFile_of(file);
  int32_t stored = 0;
  if (buffer == nullptr || !methods->readInt(file, &stored)) return 0;
  if (stored == INT32_MAX || !ztIsCredibleCount(file, stored)) return 0;
  const int32_t size = stored + 1;
  if (!ztCharArray_of(buffer)->setSize(buffer, size)) return 0;
  char *text = dataOf(buffer);
  // The buffer may have had this size already, and with it the old text.
  memset(text, 0, static_cast<size_t>(size));
  const bool done = methods->readString(file, size, text) != 0;
  if (memchr(text, 0, static_cast<size_t>(size)) == nullptr) text[stored] = '\0';
  return done;
}

void ztReleaseScratchString() {
  void *released = scratch;
  scratch = nullptr;
  if (released != nullptr) ztString_of(released)->unRef(released);
}

static void *stringNewString(const void *, const char *text) {
  if (scratch == nullptr) scratch = ztMakeObject(ztString_ctor);
  return scratch == nullptr ? nullptr : ztString_of(scratch)->set(scratch, text);
}

static void stringClassInit(ztClass *) {
  scratch = nullptr;
}

static void stringClassDestroy(void *) {
  ztReleaseScratchString();
}

static void stringFunctions(ztStringFunctions *functions) {
  functions->classInit = stringClassInit;
  functions->classDestroy = stringClassDestroy;
  functions->newString = stringNewString;
}

static void stringMethods(ztStringMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, stringCreate);
  ZT_OVERRIDE_METHOD(methods, clone, stringClone);
  ZT_OVERRIDE_METHOD(methods, assign, stringAssign);
  ZT_OVERRIDE_METHOD(methods, isEqual, stringIsEqual);
  ZT_OVERRIDE_METHOD(methods, isLess, stringIsLess);
  ZT_OVERRIDE_METHOD(methods, isMajor, stringIsMajor);
  ZT_OVERRIDE_METHOD(methods, destroy, stringDestroy);
  ZT_OVERRIDE_METHOD(methods, read, stringRead);
  ZT_OVERRIDE_METHOD(methods, write, stringWrite);
  ZT_OVERRIDE_METHOD(methods, set, stringSet);
  ZT_OVERRIDE_METHOD(methods, cat, stringCat);
  ZT_OVERRIDE_METHOD(methods, get, stringGet);
  ZT_OVERRIDE_METHOD(methods, length, stringLength);
  ZT_OVERRIDE_METHOD(methods, isEmpty, stringIsEmpty);
}

ZT_DEFINE_CLASS_FULL(ztString, ztBaseClass, stringMethods, 1, ztStringFunctions, stringFunctions)

// ztStringArray -----------------------------------------------------------------------------------

int32_t ztStringArray_compare_func(const void *first, const void *second) {
  if (first == nullptr || second == nullptr) return ztCompareValues(first != nullptr, second != nullptr);
  const ztStringMethods *methods = ztString_of(first);
  if (methods->isEqual(first, second)) return 0;
  return methods->isMajor(first, second) ? 1 : -1;
}

int32_t ztStringArray_compare_func_ptr(const void *first, const void *second) {
  return ztStringArray_compare_func(first, second);
}

static int32_t stringArrayCreate(void *object) {
  if (!ztArray_table()->create(object)) return 0;
  const ztArrayMethods *methods = ztArray_of(object);
  methods->setElementConstructor(object, ztString_ctor);
  methods->setElementSize(object, sizeof(ztString), 0);
  methods->setCompareFunction(object, ztStringArray_compare_func);
  return 1;
}

static void stringArrayMethods(ztStringArrayMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, stringArrayCreate);
}

ZT_DEFINE_CLASS(ztStringArray, ztArray, stringArrayMethods)
