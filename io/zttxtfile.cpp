#include "io/zttxtfile.h"

#include "core/ztgrowing.hh"
#include "core/ztlayout.hh"
#include "core/ztmem.h"
#include "core/ztmethod.hh"
#include "io/ztfile.hh"
#include "io/ztstream.hh"

#include <locale.h>
#include <stdlib.h>
#include <string.h>
#include <type_traits>

using namespace ztcore;

ZT_PIN_CLASS(ztTextFile, 536, 39);
ZT_PIN_FUNCTION(ztTextFile, renameFile, 10);
ZT_PIN_FUNCTION(ztTextFile, fileExist, 13);
static_assert(sizeof(ztTextFileFunctions) == sizeof(ztFileFunctions));

// The type of the formats below.
static_assert(std::is_same_v<int64_t, long>);

// Numbers, written -------------------------------------------------------------------------------
//
// Numbers have a point and no other separator, whatever locale the host or its thread has set.

static locale_t plainLocale() {
  return newlocale(LC_ALL_MASK, "C", nullptr);  // the C library's own, which is not freed
}

// The number of bytes, or a negative number.
static int32_t put(FILE *stream, const char *text, int length) {
  const auto size = static_cast<size_t>(length);
  return putBytes(stream, text, size) == size ? length : -1;
}

template <typename Value>
static int32_t textFileWriteWhole(ztTextFile &file, Value value) {
  if (file.stream == nullptr) return 0;
  char text[24];
  return put(file.stream, text, snprintf(text, sizeof text, "%ld\n", int64_t{value}));
}

static int32_t textFileWriteFloat(ztTextFile &file, double value) {
  if (file.stream == nullptr) return 0;
  char text[330];  // the largest double has 309 digits before the point
  const locale_t before = uselocale(plainLocale());
  const int length = snprintf(text, sizeof text, "%lf\n", value);
  uselocale(before);
  return put(file.stream, text, length);
}

static int32_t textFileWriteChar(ztTextFile &file, int32_t value) {
  const char text[] = {static_cast<char>(value), '\n'};
  return file.stream == nullptr ? 0 : put(file.stream, text, sizeof text);
}

// Numbers, read ----------------------------------------------------------------------------------
//
// As `fscanf` with "%ld\n" and "%lf\n", which reads bytewise and puts back one byte at most. But `fscanf` uses
// the host's locale, and ends a number where a signal interrupts the read.

static bool isSpace(int byte) {
  return byte == ' ' || (byte >= '\t' && byte <= '\r');
}

static bool isDigit(int byte) {
  return byte >= '0' && byte <= '9';
}

static int toLower(int byte) {
  return byte >= 'A' && byte <= 'Z' ? byte + ('a' - 'A') : byte;
}

static bool isHexDigit(int byte) {
  return isDigit(byte) || (toLower(byte) >= 'a' && toLower(byte) <= 'f');
}

static int takeBehindSpace(FILE *stream) {
  int byte;
  do {
    byte = takeByte(stream);
  } while (isSpace(byte));
  return byte;
}

static void skipSpace(FILE *stream) {
  returnByte(stream, takeBehindSpace(stream));
}

// Reads digits, the first of which is given. A number that is too large becomes the largest of its sign.
static int64_t takeDigits(FILE *stream, int digit, bool isNegative) {
  int64_t value = 0;
  bool overflows = false;
  for (; isDigit(digit); digit = takeByte(stream)) {
    const int one = isNegative ? '0' - digit : digit - '0';
    overflows =
        overflows || __builtin_mul_overflow(value, 10, &value) || __builtin_add_overflow(value, one, &value);
  }
  returnByte(stream, digit);
  if (!overflows) return value;
  return isNegative ? INT64_MIN : INT64_MAX;
}

// False when the input ended before a number. True, with nothing stored, before anything but a number.
template <typename Value>
static bool readWhole(FILE *stream, Value *out) {
  int byte = takeBehindSpace(stream);
  if (byte == EOF) return false;
  const bool isNegative = byte == '-';
  if (isNegative || byte == '+') byte = takeByte(stream);
  if (!isDigit(byte)) {
    returnByte(stream, byte);
    return true;
  }
  *out = static_cast<Value>(takeDigits(stream, byte, isNegative));
  skipSpace(stream);
  return true;
}

static int32_t textFileReadLong(ztTextFile &file, int64_t *out) {
  return file.stream != nullptr && out != nullptr && readWhole(file.stream, out);
}

static int32_t textFileReadInt(ztTextFile &file, int32_t *out) {
  thisThread.countSource = &file;
  return file.stream != nullptr && out != nullptr && readWhole(file.stream, out);
}

namespace {

// The bytes of a number as they are read from a stream; always one byte ahead.
class Numeral {
 public:
  explicit Numeral(FILE *source) : stream(source), next(takeBehindSpace(source)) {}
  ~Numeral() {
    if (text != local) ztm_free(text);
  }
  Numeral(const Numeral &) = delete;
  Numeral &operator=(const Numeral &) = delete;

  int ahead() const {
    return next;
  }
  int last() const {
    return size == 0 ? EOF : text[size - 1];
  }
  int32_t length() const {
    return size;
  }

  void take() {
    if (size + 1 < capacity || grow()) text[size++] = static_cast<char>(next);
    next = takeByte(stream);
  }
  // Takes the next byte if it is this letter, in upper or lower case.
  bool takeIf(char letter) {
    if (toLower(next) != letter) return false;
    take();
    return true;
  }
  bool takeWord(const char *letters) {
    while (*letters != '\0' && takeIf(*letters)) ++letters;
    return *letters == '\0';
  }
  void returnAhead() const {
    returnByte(stream, next);
  }

  void makeInvalid() {
    isCut = true;
  }

  // False when memory was exhausted, or the bytes are no number.
  bool convert(double *out) const {
    if (isCut) return false;
    char *end = nullptr;
    text[size] = '\0';
    const double value = strtod_l(text, &end, plainLocale());
    if (end == text) return false;
    *out = value;
    return true;
  }

 private:
  bool grow() {
    char *larger = isCut ? nullptr : growBlock<char>(text, local, &capacity, size + 1);
    isCut = larger == nullptr;
    if (!isCut) text = larger;
    return !isCut;
  }

  FILE *stream;
  int next;
  char local[64];
  char *text = local;
  int32_t size = 0;
  int32_t capacity = sizeof local;
  bool isCut = false;
};

}  // namespace

// Digits with at most one point and one exponent. A hexadecimal prefix without digits is no number.
static void takeDecimal(Numeral &number) {
  bool hasDigit = number.takeIf('0');
  const bool isHex = hasDigit && number.takeIf('x');
  const int32_t prefixLength = number.length();
  if (isHex) hasDigit = false;
  const char exponent = isHex ? 'p' : 'e';
  bool hasPoint = false;
  bool hasExponent = false;
  for (;; number.take()) {
    const int byte = number.ahead();
    if (isDigit(byte) || (isHex && !hasExponent && isHexDigit(byte))) {
      hasDigit = true;
    } else if (hasDigit && !hasExponent && toLower(byte) == exponent) {
      hasPoint = hasExponent = true;
    } else if (byte == '.' && !hasPoint) {
      hasPoint = true;
    } else if (!hasExponent || toLower(number.last()) != exponent || (byte != '-' && byte != '+')) {
      if (isHex && number.length() == prefixLength) number.makeInvalid();
      return;
    }
  }
}

// False for a word that only begins like one of these.
static bool takeFloat(Numeral &number) {
  if (number.ahead() == '-' || number.ahead() == '+') number.take();
  switch (toLower(number.ahead())) {
    case 'n':
      return number.takeWord("nan");
    case 'i':
      return number.takeWord("inf") && (toLower(number.ahead()) != 'i' || number.takeWord("inity"));
    default:
      takeDecimal(number);
      return true;
  }
}

static bool readReal(FILE *stream, double *out) {
  Numeral number(stream);
  if (number.ahead() == EOF) return false;
  // Does not put back the byte by which a word differs.
  if (!takeFloat(number)) return true;
  number.returnAhead();
  if (number.convert(out)) skipSpace(stream);
  return true;
}

static int32_t textFileReadFloat(ztTextFile &file, double *out) {
  return file.stream != nullptr && out != nullptr && readReal(file.stream, out);
}

static int32_t textFileReadChar(ztTextFile &file, char *out) {
  const int byte = file.stream == nullptr || out == nullptr ? EOF : takeByte(file.stream);
  if (byte == EOF) return 0;
  *out = static_cast<char>(byte);
  return 1;
}

// Buffers -----------------------------------------------------------------------------------------

// A buffer of no bytes may be NULL; its line feed is written and read all the same.
static bool isBuffer(int32_t n, const void *buffer) {
  return n == 0 || (n > 0 && buffer != nullptr);
}

static bool putLineFeed(FILE *stream) {
  return putBytes(stream, "\n", 1) == 1;
}

static int32_t textFileWriteBuf(ztTextFile &file, int32_t n, const void *buffer) {
  if (file.stream == nullptr || !isBuffer(n, buffer)) return 0;
  if (n > 0) putBytes(file.stream, buffer, static_cast<size_t>(n));
  putLineFeed(file.stream);
  return n;
}

static int32_t textFileReadBuf(ztTextFile &file, int32_t n, void *buffer) {
  if (file.stream == nullptr || !isBuffer(n, buffer)) return 0;
  const auto wanted = static_cast<size_t>(n);
  const size_t got = n > 0 ? takeBytes(file.stream, buffer, wanted) : 0;
  // The result does not report a short read, so the missing bytes must not be stale memory.
  if (got < wanted) memset(static_cast<char *>(buffer) + got, 0, wanted - got);
  takeByte(file.stream);
  return n;
}

// Texts -------------------------------------------------------------------------------------------

static int32_t textFileWriteString(ztTextFile &file, const char *text) {
  if (file.stream == nullptr || text == nullptr) return 0;
  const char *written = *text == '\0' ? "null" : text;
  const size_t length = strlen(written);
  if (putBytes(file.stream, written, length) != length) return 0;
  return written[length - 1] == '\n' || putLineFeed(file.stream);
}

static intptr_t textFileReadString(ztTextFile &file, int32_t n, char *buffer) {
  if (file.stream == nullptr || buffer == nullptr || n <= 0) return 0;
  const int32_t length = takeLine(file.stream, buffer, n - 1);
  if (length < 0 || (length == 0 && n > 1)) return 0;
  buffer[length] = '\0';
  return reinterpret_cast<intptr_t>(buffer);
}

static void textFileMethods(ztTextFileMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, writeInt, method<textFileWriteWhole<int32_t>>);
  ZT_OVERRIDE_METHOD(methods, readInt, method<textFileReadInt>);
  ZT_OVERRIDE_METHOD(methods, writeLong, method<textFileWriteWhole<int64_t>>);
  ZT_OVERRIDE_METHOD(methods, readLong, method<textFileReadLong>);
  ZT_OVERRIDE_METHOD(methods, writeFloat, method<textFileWriteFloat>);
  ZT_OVERRIDE_METHOD(methods, readFloat, method<textFileReadFloat>);
  ZT_OVERRIDE_METHOD(methods, writeBuf, method<textFileWriteBuf>);
  ZT_OVERRIDE_METHOD(methods, readBuf, method<textFileReadBuf>);
  ZT_OVERRIDE_METHOD(methods, writeString, method<textFileWriteString>);
  ZT_OVERRIDE_METHOD(methods, readString, method<textFileReadString>);
  ZT_OVERRIDE_METHOD(methods, writeChar, method<textFileWriteChar>);
  ZT_OVERRIDE_METHOD(methods, readChar, method<textFileReadChar>);
}

ZT_DEFINE_CLASS_FULL(ztTextFile, ztFile, textFileMethods, 1, ztFileFunctions, fillFileFunctions)
