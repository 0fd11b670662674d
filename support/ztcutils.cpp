#include "support/ztcutils.h"

#include "core/zttext.hh"

#include <stdarg.h>
#include <stdio.h>

const char *ztCu_fmtMsg(const char *format, ...) {
  static char text[512];
  // Formatted aside first: an argument may be the result of an earlier call.
  char fresh[sizeof text] = "";
  if (format != nullptr) {
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(fresh, sizeof fresh, format, arguments);
    va_end(arguments);
  }
  ztCopyText(text, fresh);
  return text;
}
