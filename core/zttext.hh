// Copying text into the fixed buffers that the engine's records hold.
#ifndef ZT_CORE_ZTTEXT_HH
#define ZT_CORE_ZTTEXT_HH

#include <string.h>

namespace ztcore {

// Cuts the text to the buffer; NULL counts as empty. All bytes behind the text become zero, so a
// record that is written to a file carries no stale memory. Returns false when the text was cut.
template <size_t size>
inline bool copyText(char (&buffer)[size], const char *text) {
  const size_t length = text == nullptr ? 0 : strnlen(text, size);
  const size_t kept = length < size ? length : size - 1;
  // The text may be the buffer's own.
  if (kept > 0) memmove(buffer, text, kept);
  memset(buffer + kept, 0, size - kept);
  return kept == length;
}

}  // namespace ztcore

#endif
