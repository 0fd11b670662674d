#include "io/zttxtfile.h"

#include "core/ztlayout.hh"
#include "io/ztfile.hh"

#include <string.h>
#include <type_traits>

ZT_PIN_CLASS(ztTextFile, 536, 39);
ZT_PIN_FUNCTION(ztTextFile, renameFile, 10);
ZT_PIN_FUNCTION(ztTextFile, fileExist, 13);
static_assert(sizeof(ztTextFileFunctions) == sizeof(ztFileFunctions));

// What the formats below name.
static_assert(std::is_same_v<int32_t, int> && std::is_same_v<int64_t, long>);

static FILE *streamOf(const void *file) {
  return file == nullptr ? nullptr : static_cast<const ztTextFile *>(file)->stream;
}

// The stream, when there is one and also something to take from it or give to it.
static FILE *streamFor(const void *file, const void *data) {
  return data == nullptr ? nullptr : streamOf(file);
}

// Numbers and characters --------------------------------------------------------------------------
//
// A scan that converts nothing counts as read unless the input ended: only the end is told.
// NOLINTBEGIN(cert-err34-c)

static int32_t textFileWriteInt(void *object, int32_t value) {
  FILE *stream = streamOf(object);
  return stream == nullptr ? 0 : fprintf(stream, "%d\n", value);
}

static int32_t textFileReadInt(void *object, int32_t *out) {
  FILE *stream = streamFor(object, out);
  return stream != nullptr && fscanf(stream, "%d\n", out) != EOF;
}

static int32_t textFileWriteLong(void *object, int64_t value) {
  FILE *stream = streamOf(object);
  return stream == nullptr ? 0 : fprintf(stream, "%ld\n", value);
}

static int32_t textFileReadLong(void *object, int64_t *out) {
  FILE *stream = streamFor(object, out);
  return stream != nullptr && fscanf(stream, "%ld\n", out) != EOF;
}

static int32_t textFileWriteFloat(void *object, double value) {
  FILE *stream = streamOf(object);
  return stream == nullptr ? 0 : fprintf(stream, "%lf\n", value);
}

static int32_t textFileReadFloat(void *object, double *out) {
  FILE *stream = streamFor(object, out);
  return stream != nullptr && fscanf(stream, "%lf\n", out) != EOF;
}

static int32_t textFileWriteChar(void *object, int32_t value) {
  FILE *stream = streamOf(object);
  return stream == nullptr ? 0 : fprintf(stream, "%c\n", value);
}

static int32_t textFileReadChar(void *object, char *out) {
  FILE *stream = streamFor(object, out);
  return stream != nullptr && fscanf(stream, "%c", out) != EOF;
}

// NOLINTEND(cert-err34-c)

// Buffers -----------------------------------------------------------------------------------------

// A buffer of no bytes needs no memory; its line feed is written and read all the same.
static bool isBuffer(int32_t n, const void *buffer) {
  return n == 0 || (n > 0 && buffer != nullptr);
}

static int32_t textFileWriteBuf(void *object, int32_t n, const void *buffer) {
  FILE *stream = streamOf(object);
  if (stream == nullptr || !isBuffer(n, buffer)) return 0;
  if (n > 0) fwrite_unlocked(buffer, 1, static_cast<size_t>(n), stream);
  putc_unlocked('\n', stream);
  return n;
}

static int32_t textFileReadBuf(void *object, int32_t n, void *buffer) {
  FILE *stream = streamOf(object);
  if (stream == nullptr || !isBuffer(n, buffer)) return 0;
  const auto wanted = static_cast<size_t>(n);
  const size_t got = n > 0 ? fread_unlocked(buffer, 1, wanted, stream) : 0;
  // The result does not tell a short read, so what is missing must not be stale memory.
  if (got < wanted) memset(static_cast<char *>(buffer) + got, 0, wanted - got);
  getc_unlocked(stream);
  return n;
}

// Texts -------------------------------------------------------------------------------------------

static int32_t textFileWriteString(void *object, const char *text) {
  FILE *stream = streamFor(object, text);
  if (stream == nullptr) return 0;
  const char *written = *text == '\0' ? "null" : text;
  if (fputs(written, stream) == EOF) return 0;
  const bool endsLine = written[strlen(written) - 1] == '\n';
  return endsLine || putc_unlocked('\n', stream) != EOF;
}

static intptr_t textFileReadString(void *object, int32_t n, char *buffer) {
  FILE *stream = streamFor(object, buffer);
  if (stream == nullptr || n <= 0) return 0;
  return reinterpret_cast<intptr_t>(fgets(buffer, n, stream));
}

static void textFileMethods(ztTextFileMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, writeInt, textFileWriteInt);
  ZT_OVERRIDE_METHOD(methods, readInt, textFileReadInt);
  ZT_OVERRIDE_METHOD(methods, writeLong, textFileWriteLong);
  ZT_OVERRIDE_METHOD(methods, readLong, textFileReadLong);
  ZT_OVERRIDE_METHOD(methods, writeFloat, textFileWriteFloat);
  ZT_OVERRIDE_METHOD(methods, readFloat, textFileReadFloat);
  ZT_OVERRIDE_METHOD(methods, writeBuf, textFileWriteBuf);
  ZT_OVERRIDE_METHOD(methods, readBuf, textFileReadBuf);
  ZT_OVERRIDE_METHOD(methods, writeString, textFileWriteString);
  ZT_OVERRIDE_METHOD(methods, readString, textFileReadString);
  ZT_OVERRIDE_METHOD(methods, writeChar, textFileWriteChar);
  ZT_OVERRIDE_METHOD(methods, readChar, textFileReadChar);
}

ZT_DEFINE_CLASS_FULL(ztTextFile, ztFile, textFileMethods, 1, ztFileFunctions, ztFillFileFunctions)
