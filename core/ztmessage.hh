// Formats texts into this thread's message buffer. The next text overwrites it.
#ifndef ZT_CORE_ZTMESSAGE_HH
#define ZT_CORE_ZTMESSAGE_HH

#include <stdarg.h>

namespace ztcore {

// At most 511 bytes. An argument may be the result of an earlier call; a NULL format gives an empty text.
const char *formatMessage(const char *format, va_list arguments) __attribute__((format(printf, 1, 0)));
const char *makeMessage(const char *format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace ztcore

#endif
