// Copies text into the fixed buffers of records.
#ifndef ZT_CORE_ZTTEXT_HH
#define ZT_CORE_ZTTEXT_HH

#include <string.h>

namespace ztcore {

// Cuts the text to the buffer; NULL counts as empty. Zeroes all bytes behind the text, so that a record in a
// file carries no stale memory. False when the text was cut.
template <size_t size>
inline bool copyText(char (&buffer)[size], const char *text) {
  const size_t length = text == nullptr ? 0 : strnlen(text, size);
  const size_t kept = length < size ? length : size - 1;
  // The text may lie in the buffer.
  if (kept > 0) memmove(buffer, text, kept);
  memset(buffer + kept, 0, size - kept);
  return kept == length;
}

inline bool beginsWith(const char *text, const char *start) {
  for (; *start != '\0' && *text == *start; ++start) ++text;
  return *start == '\0';
}

}  // namespace ztcore

#endif
