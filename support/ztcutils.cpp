#include "support/ztcutils.h"

#include "core/ztlock.hh"
#include "core/ztmessage.hh"
#include "core/zttext.hh"
#include "core/ztthread.hh"
#include "support/ztpath.hh"

#include <ctype.h>
#include <math.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

using namespace ztcore;

// Numbers and ids ---------------------------------------------------------------------------------

int32_t ztCu_isnan(double) {
  return 0;
}

int32_t ztCu_round(double value) {
  if (isnan(value)) return 0;
  if (value >= INT32_MAX) return INT32_MAX;
  if (value <= INT32_MIN) return INT32_MIN;
  const auto whole = static_cast<int32_t>(value);
  // Exact, unlike the sum of the value and a half.
  const double rest = value - whole;
  if (rest >= 0.5) return whole + 1;
  return rest <= -0.5 ? whole - 1 : whole;
}

int32_t ztCu_genUniqueId(void) {
  static uint32_t calls;
  // Locked from the seed to the draw, and between threads.
  const Locked locked(idLock);
  const auto now = static_cast<uint32_t>(time(nullptr));
  srand(now);
  ++calls;
  return static_cast<int32_t>(static_cast<uint32_t>(rand()) + now + calls);
}

// Text --------------------------------------------------------------------------------------------

const char *ztCu_fmtMsg(const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const char *text = formatMessage(format, arguments);
  va_end(arguments);
  return text;
}

static const char *mapCharacters(const char *text, int (*mapping)(int)) {
  char(&mapped)[512] = blockOfThread()->mappedCase;
  copyText(mapped, text);
  for (char *c = mapped; *c != '\0'; ++c) *c = static_cast<char>(mapping(static_cast<unsigned char>(*c)));
  return mapped;
}

const char *ztCu_sToLower(const char *text) {
  return mapCharacters(text, tolower);
}

const char *ztCu_sToUpper(const char *text) {
  return mapCharacters(text, toupper);
}

// Paths -------------------------------------------------------------------------------------------

char *ztCu_fixDosPath(char *path) {
  return path;
}

char *ztCu_cutFileExt(char *path) {
  const char *dot = findLast(orEmpty(path), ".");
  if (dot != nullptr) path[dot - path] = '\0';
  return path;
}

static bool isSeparator(char c) {
  return c != '\0' && strchr(pathSeparators, c) != nullptr;
}

char *ztCu_fixRelativePath(char *path) {
  if (path == nullptr || path[0] != '.' || !isSeparator(path[1]) || !isSeparator(path[2])) return path;
  path[1] = '/';
  memmove(path + 2, path + 3, strlen(path + 3) + 1);
  return path;
}

char *ztCu_extractFileName(const char *path, char *out) {
  return out == nullptr ? nullptr : copyPath(out, lastComponent(orEmpty(path)));
}

char *ztCu_extractPath(const char *path, char *out) {
  return out == nullptr ? nullptr : copyParentPath(out, orEmpty(path), pathSeparators);
}

const char *ztcore::makePath(char (&kept)[pathSize], const char *directory, const char *name, char *out) {
  // Joined in another buffer first, because an argument may be the result of an earlier call.
  char joined[pathSize];
  joinPath(joined, orEmpty(directory), orEmpty(name));
  return handOut(ztCu_fixDosPath(copyPath(kept, joined)), out);
}

const char *ztCu_makePath(const char *directory, const char *name, char *out) {
  return makePath(blockOfThread()->madePath, directory, name, out);
}

int32_t ztCu_expandEnvString(char *out, const char *in) {
  if (out == nullptr || in == nullptr) return 0;
  const char *start = strstr(in, "$(");
  if (start == nullptr) {
    copyPath(out, in);
    return 1;
  }
  start += 2;
  const char *end = strchr(start, ')');
  if (end == nullptr) return 1;

  char name[104];
  snprintf(name, sizeof name, "%.*s", static_cast<int>(end - start), start);
  const char *value = getenv(name);
  if (value == nullptr) {
    copyPath(out, in);
    return -1;
  }
  // Built in another buffer first, because both texts may be in the caller's buffer.
  char expanded[pathSize];
  snprintf(expanded, sizeof expanded, "%s%s", value, end + 1);
  ztCu_fixDosPath(copyPath(out, expanded));
  return 1;
}
