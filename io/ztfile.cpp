#include "io/ztfile.h"

#include "core/ztlayout.hh"
#include "core/ztmethod.hh"
#include "core/zttext.hh"
#include "io/ztclaims.hh"
#include "io/ztfile.hh"
#include "io/ztstream.hh"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace ztcore;

ZT_PIN_CLASS(ztFile, 536, 39);
ZT_PIN_FUNCTION(ztFile, renameFile, 10);
ZT_PIN_FUNCTION(ztFile, fileExist, 13);

// Opening and closing -----------------------------------------------------------------------------

static int32_t fileCreate(ztFile &file) {
  if (!ztBaseClass_table()->create(&file)) return 0;
  file.stream = nullptr;
  copyText(file.fileName, "");
  return 1;
}

static void fileRelease(ztFile &file) {
  FILE *stream = file.stream;
  if (stream == nullptr) return;
  forgetClaims(&file);
  file.stream = nullptr;
  closeStream(stream);
}

static void fileClose(ztFile &file) {
  fileRelease(file);
  copyText(file.fileName, "");
}

static int32_t fileOpen(ztFile &file, const char *name, const char *mode) {
  // `name` may point to the field that `close` clears; such a name is never cut.
  char kept[sizeof file.fileName];
  const bool isWhole = copyText(kept, name);
  ztFile_of(&file)->close(&file);
  if (name == nullptr || mode == nullptr) return 0;
  file.stream = openStream(isWhole ? kept : name, mode);
  if (file.stream == nullptr) return 0;
  memcpy(file.fileName, kept, sizeof kept);
  return 1;
}

static void fileDestroy(ztFile &file) {
  ztBaseClass_table()->destroy(&file);
  ztFile_of(&file)->close(&file);
}

static void *fileClone(const void *, void *) {
  return nullptr;
}

static const char *fileGetFileName(const ztFile &file) {
  return file.fileName;
}

// Positions ---------------------------------------------------------------------------------------

static int32_t seek(const ztFile &file, int64_t offset, int whence) {
  return file.stream == nullptr ? -1 : fseeko(file.stream, offset, whence);
}

static int32_t fileGoToBegin(ztFile &file) {
  return seek(file, 0, SEEK_SET);
}

static int32_t fileGoToEnd(ztFile &file) {
  return seek(file, 0, SEEK_END);
}

static int32_t fileGoTo(ztFile &file, int64_t offset) {
  return seek(file, offset, SEEK_CUR);
}

static int32_t fileGoToAbs(ztFile &file, int64_t offset) {
  return seek(file, offset, SEEK_SET);
}

static int64_t fileTell(ztFile &file) {
  return file.stream == nullptr ? -1 : ftello(file.stream);
}

static int32_t fileFlush(ztFile &file) {
  return file.stream != nullptr && flushStream(file.stream) ? 0 : EOF;
}

static int32_t fileEof(ztFile &file) {
  return file.stream == nullptr || feof(file.stream);
}

// Primitives --------------------------------------------------------------------------------------
//
// An object belongs to one thread at a time, so these use the calls that do not lock the stream.

static int32_t writeBytes(const ztFile &file, const void *buffer, size_t n) {
  if (file.stream == nullptr || buffer == nullptr) return 0;
  return static_cast<int32_t>(putBytes(file.stream, buffer, n));
}

static int32_t readBytes(const ztFile &file, void *buffer, size_t n) {
  if (file.stream == nullptr || buffer == nullptr) return 0;
  return static_cast<int32_t>(takeBytes(file.stream, buffer, n));
}

template <typename Value>
static int32_t writeValue(ztFile &file, Value value) {
  return writeBytes(file, &value, sizeof value) == sizeof value;
}

template <typename Value>
static int32_t readValue(ztFile &file, Value *out) {
  return readBytes(file, out, sizeof *out) == sizeof *out;
}

static int32_t fileReadInt(ztFile &file, int32_t *out) {
  thisThread.countSource = &file;
  return readValue(file, out);
}

static int32_t fileWriteChar(ztFile &file, int32_t value) {
  return writeValue(file, static_cast<char>(value));
}

static int32_t fileWriteBuf(ztFile &file, int32_t n, const void *buffer) {
  return n <= 0 ? 0 : writeBytes(file, buffer, static_cast<size_t>(n));
}

static int32_t fileReadBuf(ztFile &file, int32_t n, void *buffer) {
  return n <= 0 ? 0 : readBytes(file, buffer, static_cast<size_t>(n));
}

static int32_t fileWriteString(ztFile &file, const char *text) {
  return text == nullptr ? 0 : writeBytes(file, text, strlen(text) + 1);
}

static intptr_t fileReadString(ztFile &file, int32_t n, char *buffer) {
  return fileReadBuf(file, n, buffer);
}

// Class functions ---------------------------------------------------------------------------------

static int32_t fileRenameFile(const void *, const char *oldName, const char *newName) {
  return oldName == nullptr || newName == nullptr ? -1 : rename(oldName, newName);
}

static int32_t fileDeleteFile(const void *, const char *name) {
  return name == nullptr ? -1 : remove(name);
}

// 64 characters, six random bits each.
static const char nameLetters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";

static char *fileTmpFile(const void *, char *buffer) {
  static const char prefix[] = P_tmpdir "/zt";
  constexpr size_t prefixLength = sizeof prefix - 1;
  constexpr size_t randomLength = L_tmpnam - 1 - prefixLength;
  if (buffer == nullptr) return nullptr;
  uint8_t random[randomLength];
  struct stat found;
  do {
    if (getentropy(random, sizeof random) != 0) return nullptr;
    memcpy(buffer, prefix, prefixLength);
    for (size_t i = 0; i < randomLength; ++i) buffer[prefixLength + i] = nameLetters[random[i] % 64];
    buffer[L_tmpnam - 1] = '\0';
  } while (lstat(buffer, &found) == 0);
  return buffer;
}

// Does not open a FIFO: that would wait for a writer, or release a writer that waits for a reader.
static int32_t fileFileExist(const void *, const char *name) {
  struct stat found;
  if (name == nullptr || stat(name, &found) != 0) return 0;
  if (S_ISFIFO(found.st_mode)) return faccessat(AT_FDCWD, name, R_OK, AT_EACCESS) == 0;
  int descriptor;
  do {
    descriptor = open(name, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  } while (descriptor < 0 && errno == EINTR);
  if (descriptor < 0) return 0;
  close(descriptor);
  return 1;
}

void ztcore::fillFileFunctions(ztFileFunctions *functions) {
  functions->renameFile = fileRenameFile;
  functions->deleteFile = fileDeleteFile;
  functions->tmpFile = fileTmpFile;
  functions->fileExist = fileFileExist;
}

static void fileMethods(ztFileMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, method<fileCreate>);
  ZT_OVERRIDE_METHOD(methods, clone, fileClone);
  ZT_CALL_PARENT_ONLY(methods, ztBaseClass, assign);
  ZT_OVERRIDE_METHOD(methods, destroy, method<fileDestroy>);
  ZT_OVERRIDE_METHOD(methods, open, method<fileOpen>);
  ZT_OVERRIDE_METHOD(methods, close, method<fileClose>);
  ZT_OVERRIDE_METHOD(methods, release, method<fileRelease>);
  ZT_OVERRIDE_METHOD(methods, goToBegin, (methodOr<fileGoToBegin, -1>));
  ZT_OVERRIDE_METHOD(methods, goToEnd, (methodOr<fileGoToEnd, -1>));
  ZT_OVERRIDE_METHOD(methods, goTo, (methodOr<fileGoTo, -1>));
  ZT_OVERRIDE_METHOD(methods, goToAbs, (methodOr<fileGoToAbs, -1>));
  ZT_OVERRIDE_METHOD(methods, tell, (methodOr<fileTell, -1>));
  ZT_OVERRIDE_METHOD(methods, flush, (methodOr<fileFlush, EOF>));
  ZT_OVERRIDE_METHOD(methods, eof, (methodOr<fileEof, 1>));
  ZT_OVERRIDE_METHOD(methods, writeInt, method<writeValue<int32_t>>);
  ZT_OVERRIDE_METHOD(methods, readInt, method<fileReadInt>);
  ZT_OVERRIDE_METHOD(methods, writeLong, method<writeValue<int64_t>>);
  ZT_OVERRIDE_METHOD(methods, readLong, method<readValue<int64_t>>);
  ZT_OVERRIDE_METHOD(methods, writeFloat, method<writeValue<double>>);
  ZT_OVERRIDE_METHOD(methods, readFloat, method<readValue<double>>);
  ZT_OVERRIDE_METHOD(methods, writeBuf, method<fileWriteBuf>);
  ZT_OVERRIDE_METHOD(methods, readBuf, method<fileReadBuf>);
  ZT_OVERRIDE_METHOD(methods, writeString, method<fileWriteString>);
  ZT_OVERRIDE_METHOD(methods, readString, method<fileReadString>);
  ZT_OVERRIDE_METHOD(methods, writeChar, method<fileWriteChar>);
  ZT_OVERRIDE_METHOD(methods, readChar, method<readValue<char>>);
  ZT_OVERRIDE_METHOD(methods, getFileName, method<fileGetFileName>);
}

ZT_DEFINE_CLASS_FULL(ztFile, ztBaseClass, fileMethods, 1, ztFileFunctions, fillFileFunctions)
