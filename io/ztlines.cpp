#include "io/ztlines.hh"

#include <errno.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

using namespace ztcore;

void Lines::add(const char *text, size_t length) {
  if (sizeof buffer - used < length) finish();
  memcpy(buffer + used, text, length);
  used += length;
}

void Lines::print(const char *format, ...) {
  char text[1024];
  va_list arguments;
  va_start(arguments, format);
  const int length = vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  if (length > 0) add(text, strnlen(text, sizeof text));
}

void Lines::printQuoted(const char *text, size_t length) {
  add("\"", 1);
  for (size_t i = 0; i < length; ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if (byte == '"' || byte == '\\') {
      print("\\%c", byte);
    } else if (byte < ' ' || byte > '~') {
      print("\\x%02x", byte);
    } else {
      add(&text[i], 1);
    }
  }
  add("\"", 1);
}

bool Lines::finish() {
  const char *at = buffer;
  while (used > 0) {
    const ssize_t written = write(file, at, used);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) {
      failed = true;
      used = 0;
      break;
    }
    at += written;
    used -= static_cast<size_t>(written);
  }
  return !failed;
}
