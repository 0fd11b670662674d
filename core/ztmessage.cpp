#include "core/ztmessage.hh"

#include "core/zttext.hh"
#include "core/ztthread.hh"

#include <stdio.h>

const char *ztFormatMessage(const char *format, va_list arguments) {
  char(&text)[512] = ztBlockOfThread()->message;
  // Formatted aside first: an argument may be the result of an earlier call.
  char fresh[sizeof text] = "";
  if (format != nullptr) vsnprintf(fresh, sizeof fresh, format, arguments);
  ztCopyText(text, fresh);
  return text;
}

const char *ztMessage(const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const char *text = ztFormatMessage(format, arguments);
  va_end(arguments);
  return text;
}
