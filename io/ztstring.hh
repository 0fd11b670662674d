// Strings as the library's own modules use them: made from text, and looked up by.
#ifndef ZT_IO_ZTSTRING_HH
#define ZT_IO_ZTSTRING_HH

#include "core/ztbasec.hh"
#include "io/ztstring.h"

#include <string.h>

namespace ztcore {

// A new string with the text, the caller's to release; NULL when memory is exhausted.
inline ztString *makeString(const char *text) {
  auto *string = newObject<ztString>(ztString_ctor);
  if (string == nullptr) return nullptr;
  if (ztString_of(string)->set(string, text) != nullptr) return string;
  ztString_of(string)->unRef(string);
  return nullptr;
}

// Whether a buffer is of the library's own class, which keeps its text where its fields say.
inline bool isOwnBuffer(const ztCharArray *buffer) {
  return ztOOP_classOf(buffer) == ztCharArrayClass_Instance();
}

// The text in the buffer of a host's class. Kept apart, for hardly any text is in one.
[[gnu::cold, gnu::noinline]] inline const char *textOfForeign(const ztCharArray *buffer) {
  const ztCharArrayMethods *methods = ztCharArray_of(buffer);
  const void *text = methods->getSize(buffer) == 0 ? nullptr : methods->getData(buffer);
  return text == nullptr ? "" : static_cast<const char *>(text);
}

// The text of a string; a string without one reads as empty.
inline const char *textOf(const void *string) {
  const ztCharArray *buffer = static_cast<const ztString *>(string)->buffer;
  if (buffer == nullptr) return "";
  if (!isOwnBuffer(buffer)) return textOfForeign(buffer);
  return buffer->count == 0 ? "" : static_cast<const char *>(buffer->data);
}

// Compares two strings by their text: 0, 1 or -1. NULL sorts first.
inline int32_t compareStrings(const void *first, const void *second) {
  if (first == nullptr || second == nullptr) return (first != nullptr) - (second != nullptr);
  const int order = strcmp(textOf(first), textOf(second));
  return (order > 0) - (order < 0);
}

// A text that reads as a ztString, for look-ups that shall not allocate. It owns nothing, lives no
// longer than the text, and is only read: neither created nor destroyed.
class BorrowedText {
 public:
  explicit BorrowedText(const char *text) {
    string.klass = ztStringClass_Instance();
    string.refCount = 1;
    string.buffer = &buffer;
    buffer.klass = ztCharArrayClass_Instance();
    buffer.refCount = 1;
    // A look-up reads no other field.
    hold(text);  // NOLINT(clang-analyzer-optin.cplusplus.UninitializedObject)
  }
  BorrowedText(const BorrowedText &) = delete;
  BorrowedText &operator=(const BorrowedText &) = delete;

  const ztString *get() const {
    return &string;
  }

 protected:
  void hold(const char *text) {
    const size_t size = strlen(text) + 1;
    buffer.count = size > INT32_MAX ? -1 : static_cast<int32_t>(size);  // too long to be copied
    buffer.data = const_cast<char *>(text);
  }

  ztString string;
  ztCharArray buffer;
};

// A view of which copies can be made: its parts are complete. NULL counts as empty.
class CopyableText : public BorrowedText {
 public:
  explicit CopyableText(const char *text) : BorrowedText("") {
    ztString_ctor(&string, 0);
    string.buffer = &buffer;
    ztCharArray_ctor(&buffer, 1);
    hold(text == nullptr ? "" : text);
  }

  // As a field of an object that is copied and not destroyed.
  ztString *field() {
    return &string;
  }
};

}  // namespace ztcore

#endif
