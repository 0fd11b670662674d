// How strings are stored in files.
#include "core/ztmem.h"
#include "io/ztclaims.hh"
#include "io/ztfile.h"
#include "io/ztstream.hh"
#include "io/ztstring.hh"

#include <string.h>

using namespace ztcore;

// The object -----------------------------------------------------------------------------------------

int32_t ztcore::writeString(const ztString &string, void *file) {
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

int32_t ztcore::readString(ztString &string, void *file) {
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
