#include "core/ztmessage.hh"

#include "core/zttext.hh"
#include "core/ztthread.hh"

#include <stdio.h>

using namespace ztcore;

const char *ztcore::formatMessage(const char *format, va_list arguments) {
  char(&text)[512] = blockOfThread()->message;
  // Formatted into another buffer first, because an argument may be the result of an earlier call.
  char fresh[sizeof text] = "";
  if (format != nullptr) vsnprintf(fresh, sizeof fresh, format, arguments);
  copyText(text, fresh);
  return text;
}

const char *ztcore::makeMessage(const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const char *text = formatMessage(format, arguments);
  va_end(arguments);
  return text;
}
