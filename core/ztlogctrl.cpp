#include "core/ztlogctrl.h"

#include "core/ztlock.hh"
#include "core/ztlogctrl.hh"

#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/auxv.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace ztcore;

// The statement of the program, if it has one.
extern "C" ZT_API const char ztLog_target[] __attribute__((weak));

// The log file; -1 while none is open.
static int flog = -1;

namespace {

// What is chosen in place of standard output and the engine's file. Changes only while the library is loaded and
// unloaded, so every thread may read it.
struct {
  bool isMade = false;
  bool isFinal = false;  // by the environment: the program cannot add a file
  int file = -1;         // -1 for nothing; standard error is not owned
} choice;

constexpr size_t textSize = 512;

// One conversion of a printf format, beginning at its '%'.
struct Conversion {
  const char *end;  // behind its last character
  char letter;      // the conversion letter; 0 when the text ends before it
  char spec[32];    // the conversion without length modifier, its '*' replaced by zeros
};

bool isOneOf(char c, const char *set) {
  return c != '\0' && strchr(set, c) != nullptr;
}

// Skips an argument position ("2$"): all arguments are the same.
const char *skipPosition(const char *text) {
  const char *end = text + strspn(text, "0123456789");
  return end != text && *end == '$' ? end + 1 : text;
}

// Reads a width or precision. '*' reads an argument, which is always zero.
const char *readNumber(const char *text, int *number) {
  *number = 0;
  if (*text == '*') return skipPosition(text + 1);
  // Limits a field to the size of the log's buffer.
  for (; *text >= '0' && *text <= '9'; ++text) {
    *number = *number * 10 + (*text - '0');
    if (*number > static_cast<int>(textSize)) *number = static_cast<int>(textSize);
  }
  return text;
}

Conversion readConversion(const char *percent) {
  const char *at = skipPosition(percent + 1);
  char flags[6];
  size_t flagCount = 0;
  for (; isOneOf(*at, "-+ #0'I"); ++at) {
    if (flagCount < sizeof flags - 1 && memchr(flags, *at, flagCount) == nullptr) flags[flagCount++] = *at;
  }
  flags[flagCount] = '\0';
  int width;
  at = readNumber(at, &width);
  int precision = -1;
  if (*at == '.') at = readNumber(at + 1, &precision);
  while (isOneOf(*at, "hlqjzZtL")) ++at;

  Conversion conversion;
  conversion.letter = *at;
  conversion.end = *at == '\0' ? at : at + 1;
  char widthText[12] = "";
  char precisionText[13] = "";
  if (width > 0) snprintf(widthText, sizeof widthText, "%d", width);
  if (precision >= 0) snprintf(precisionText, sizeof precisionText, ".%d", precision);
  snprintf(conversion.spec, sizeof conversion.spec, "%%%s%s%s%c", flags, widthText, precisionText,
           conversion.letter);
  return conversion;
}

// The caller has checked that the argument has the type of the conversion letter.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
void printZero(const Conversion &conversion, const char *percent) {
  if (isOneOf(conversion.letter, "diouxXbBcC")) {
    printf(conversion.spec, 0);
  } else if (isOneOf(conversion.letter, "eEfFgGaA")) {
    printf(conversion.spec, 0.0);
  } else if (isOneOf(conversion.letter, "sSp")) {
    printf(conversion.spec, static_cast<const void *>(nullptr));
  } else if (conversion.letter == 'm') {
    printf(conversion.spec);
  } else if (conversion.letter == '%') {
    putchar('%');
  } else if (conversion.letter != 'n' && conversion.letter != '\0') {
    fwrite(percent, 1, static_cast<size_t>(conversion.end - percent), stdout);
  }
}
#pragma GCC diagnostic pop

// Prints a text as a format whose arguments are all zero. If printf got the text itself, a '%' in it (for
// example in a name from a damaged file) could read the stack or write through a wild pointer.
void printAsFormat(const char *text) {
  for (;;) {
    const char *percent = strchr(text, '%');
    if (percent == nullptr) break;
    fwrite(text, 1, static_cast<size_t>(percent - text), stdout);
    const Conversion conversion = readConversion(percent);
    printZero(conversion, percent);
    text = conversion.end;
  }
  fputs(text, stdout);
}

}  // namespace

static int openUninterrupted(const char *path) {
  // O_CLOEXEC: programs that the host starts do not inherit the file. O_APPEND: several processes may write.
  const int flags = O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
  int file;
  do {
    file = open(path, flags, 0666);
  } while (file < 0 && errno == EINTR);
  return file;
}

// If a host has closed its standard streams, `open` returns one of their descriptors, which the host prints to.
static int awayFromStandardStreams(int file) {
  if (file > STDERR_FILENO) return file;
  const int moved = fcntl(file, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  close(file);
  return moved;
}

static bool emptyUninterrupted(int file) {
  int result;
  do {
    result = ftruncate(file, 0);
  } while (result != 0 && errno == EINTR);
  return result == 0;
}

// Opening a pipe or a device may block or have an effect.
static bool isOtherThanFile(const char *path) {
  struct stat found;
  return stat(path, &found) == 0 && !S_ISREG(found.st_mode);
}

static bool isFile(int file) {
  struct stat found;
  return fstat(file, &found) == 0 && S_ISREG(found.st_mode);
}

// -1 on failure.
static int openEmptied(const char *path) {
  if (path == nullptr || isOtherThanFile(path)) return -1;
  const int file = openUninterrupted(path);
  if (file < 0) return -1;
  if (isFile(file) && emptyUninterrupted(file)) return awayFromStandardStreams(file);
  close(file);
  return -1;
}

int32_t ztLc_openLogFile(const char *path) {
  const Locked locked(logLock);
  if (choice.isFinal) return choice.file > STDERR_FILENO;
  if (flog < 0) flog = openEmptied(path);
  return flog >= 0;
}

// One write, so that texts of several processes do not mix. `file` is read with the lock held.
static void writeToFile(const int &file, const char *text) {
  const Locked locked(logLock);
  size_t left = strlen(text);
  while (file >= 0 && left > 0) {
    const ssize_t written = write(file, text, left);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return;
    text += written;
    left -= static_cast<size_t>(written);
  }
}

static void printText(const char *text) {
  // A text with conversions is printed in pieces.
  flockfile(stdout);
  printAsFormat(text);
  funlockfile(stdout);
}

void ztLc_log(const char *format, ...) {
  if (format == nullptr) return;
  char text[textSize];
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);

  if (choice.isMade) {
    writeToFile(choice.file, text);
  } else {
    printText(text);
  }
  writeToFile(flog, text);
}

void ztLc_closeLogFile(void) {
  const Locked locked(logLock);
  if (flog >= 0) close(flog);
  flog = -1;
}

// The choice --------------------------------------------------------------------------------------

// A program with the rights of another user must not empty or make files for this one.
static const char *targetInEnvironment() {
  return getauxval(AT_SECURE) != 0 ? nullptr : getenv("ZENTOVA_LOG");
}

static void choose(const char *target) {
  choice.isMade = true;
  if (*target == '\0' || strcmp(target, "/dev/null") == 0) return;
  if (strcmp(target, "stderr") != 0) choice.file = openEmptied(target);
  if (choice.file >= 0) return;
  // Also when the path leads to no file: the program's own output stays apart.
  choice.file = STDERR_FILENO;
  if (strcmp(target, "stderr") != 0) ztLc_log("Zentova - Log file '%s' cannot be opened\n", target);
}

void ztcore::chooseLog() {
  const char *target = targetInEnvironment();
  choice.isFinal = target != nullptr;
  if (target == nullptr) target = ztLog_target;
  if (target != nullptr) choose(target);
}

void ztcore::openEnginesLog(const char *path) {
  if (!choice.isMade) ztLc_openLogFile(path);
}

void ztcore::closeChosenLog() {
  if (choice.file > STDERR_FILENO) close(choice.file);
  choice.file = -1;
}
