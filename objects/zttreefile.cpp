// Files of one tree, which are either complete or absent.

#include "core/ztbasec.hh"
#include "core/zttext.hh"
#include "io/ztreplace.hh"
#include "io/zttxtfile.h"
#include "objects/zttreestore.hh"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace ztcore;

// A file object on a descriptor, which the caller closes. NULL on failure.
static void *openOn(int descriptor, const char *path, bool isText, const char *mode) {
  auto *file = newObject<ztFile>(isText ? ztTextFile_ctor : ztFile_ctor);
  if (file == nullptr) return nullptr;
  const int own = fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
  file->stream = own < 0 ? nullptr : fdopen(own, mode);
  if (file->stream != nullptr) {
    copyText(file->fileName, path);
    return file;
  }
  if (own >= 0) close(own);
  ztFile_of(file)->unRef(file);
  return nullptr;
}

static void release(void *file) {
  ztFile_of(file)->unRef(file);
}

// Reads at most `size` bytes; returns their number.
static size_t readAt(int descriptor, int64_t offset, size_t size, char *bytes) {
  size_t done = 0;
  while (done < size) {
    const ssize_t got = pread(descriptor, bytes + done, size - done, offset + static_cast<int64_t>(done));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    done += static_cast<size_t>(got);
  }
  return done;
}

// Detects damage, not forgery.
static uint64_t addWord(uint64_t sum, uint64_t word) {
  sum = (sum ^ word) * 0x9E3779B97F4A7C15U;
  return sum ^ sum >> 32;
}

static bool sumUp(int descriptor, int64_t size, uint64_t *sum) {
  *sum = 0;
  for (int64_t at = 0; at < size;) {
    uint64_t words[512] = {};
    const int64_t left = size - at;
    const size_t wanted =
        left < static_cast<int64_t>(sizeof words) ? static_cast<size_t>(left) : sizeof words;
    if (readAt(descriptor, at, wanted, reinterpret_cast<char *>(words)) != wanted) return false;
    for (size_t i = 0; i * sizeof *words < wanted; ++i) *sum = addWord(*sum, words[i]);
    at += static_cast<int64_t>(wanted);
  }
  return true;
}

// Saving ------------------------------------------------------------------------------------------

static bool describe(int descriptor, int32_t nodes, TreeMark *mark) {
  struct stat found;
  if (fstat(descriptor, &found) != 0) return false;
  mark->nodes = nodes;
  mark->bytes = found.st_size;
  return sumUp(descriptor, mark->bytes, &mark->sum);
}

static int32_t writeAll(const void *root, void *file, int descriptor) {
  const ztFileMethods *methods = ztFile_of(file);
  const int32_t nodes = ztRoot_storeTree(root, file);
  if (nodes <= 0 || methods->flush(file) != 0) return 0;
  TreeMark mark;
  if (!describe(descriptor, nodes, &mark) || methods->goToEnd(file) != 0) return 0;
  return writeMark(mark, file) && methods->flush(file) == 0 ? nodes : 0;
}

int32_t ztRoot_saveTree(const void *root, const char *path, int32_t text) {
  FileReplacement replacement;
  if (root == nullptr || path == nullptr || !replacement.begin(path)) return 0;
  void *file = openOn(replacement.descriptor(), path, text != 0, "r+b");
  if (file == nullptr) return 0;
  const int32_t nodes = writeAll(root, file, replacement.descriptor());
  release(file);
  return nodes > 0 && replacement.commit() ? nodes : 0;
}

// Opening -----------------------------------------------------------------------------------------

constexpr size_t markNameSize = sizeof Identity::name;
constexpr size_t largestMark = markNameSize + 8 + markTextSize;

// The bytes of a mark as each file class writes them; returns their number.
static size_t layOut(const TreeMark &mark, bool isText, char (&bytes)[largestMark]) {
  char text[markTextSize + 1];
  printMark(mark, text);
  memset(bytes, 0, sizeof bytes);
  memcpy(bytes, markName, strlen(markName));
  char *behindName = bytes + markNameSize;
  if (isText) return markNameSize + static_cast<size_t>(sprintf(behindName, "\n%d\n%s\n", markVersion, text));
  memcpy(behindName, &markVersion, sizeof markVersion);
  memcpy(behindName + sizeof markVersion, text, markTextSize);
  return markNameSize + sizeof markVersion + markTextSize;
}

// Whether the file ends with a mark of that form which matches all data before it.
static bool findMark(int descriptor, int64_t size, bool isText, TreeMark *mark) {
  char expected[largestMark];
  char found[largestMark];
  const size_t markSize = layOut(*mark, isText, expected);
  const int64_t place = size - static_cast<int64_t>(markSize);
  if (place < 0 || readAt(descriptor, place, markSize, found) != markSize) return false;
  const size_t behindText = isText ? 1 : 0;
  if (!parseMark(found + markSize - behindText - markTextSize, mark) || mark->bytes != place) return false;
  layOut(*mark, isText, expected);
  uint64_t sum = 0;
  return memcmp(found, expected, markSize) == 0 && sumUp(descriptor, place, &sum) && sum == mark->sum;
}

static int32_t openFile(int descriptor, const char *path, void *roots, ztTreeReport *report) {
  struct stat found;
  if (fstat(descriptor, &found) != 0 || !S_ISREG(found.st_mode)) return 0;
  TreeMark mark = {};
  const bool isBinary = findMark(descriptor, found.st_size, false, &mark);
  if (!isBinary && !findMark(descriptor, found.st_size, true, &mark)) return 0;
  void *file = openOn(descriptor, path, !isBinary, "rb");
  if (file == nullptr) return 0;
  const int32_t result = loadTree(file, -1, roots, report, &mark);
  release(file);
  return result;
}

int32_t ztRoot_openTree(const char *path, void *roots, ztTreeReport *report) {
  if (report != nullptr) *report = {};
  if (path == nullptr || roots == nullptr) return 0;
  // Does not wait for a writer if the path is a pipe.
  const int descriptor = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (descriptor < 0) return 0;
  const int32_t result = openFile(descriptor, path, roots, report);
  close(descriptor);
  return result;
}
