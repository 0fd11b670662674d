// Strings for the library's own modules.
#ifndef ZT_IO_ZTSTRING_HH
#define ZT_IO_ZTSTRING_HH

#include "core/ztbasec.hh"
#include "core/ztshared.hh"
#include "io/ztstring.h"

#include <string.h>

namespace ztcore {

// A new string with the text, which the caller releases; NULL when memory is exhausted.
inline ztString *makeString(const char *text) {
  auto *string = newObject<ztString>(ztString_ctor);
  if (string == nullptr) return nullptr;
  if (ztString_of(string)->set(string, text) != nullptr) return string;
  ztString_of(string)->unRef(string);
  return nullptr;
}

// Whether a buffer is of the library's own class, so that its fields give the text.
inline bool isOwnBuffer(const ztCharArray *buffer) {
  return ztOOP_classOf(buffer) == ztCharArrayClass_Instance();
}

// No bytes without a buffer.
inline int32_t sizeOf(const ztCharArray *buffer) {
  return buffer == nullptr ? 0 : ztCharArray_of(buffer)->getSize(buffer);
}

inline char *dataOf(const ztCharArray *buffer) {
  return buffer == nullptr ? nullptr : static_cast<char *>(ztCharArray_of(buffer)->getData(buffer));
}

inline bool resizeBuffer(ztCharArray *buffer, size_t size) {
  return size <= INT32_MAX && ztCharArray_of(buffer)->resize(buffer, static_cast<int32_t>(size)) != 0;
}

// The text in a buffer of a host's class. Out of line, because this is rare.
[[gnu::cold, gnu::noinline]] inline const char *textOfForeign(const ztCharArray *buffer) {
  const ztCharArrayMethods *methods = ztCharArray_of(buffer);
  const void *text = methods->getSize(buffer) == 0 ? nullptr : methods->getData(buffer);
  return text == nullptr ? "" : static_cast<const char *>(text);
}

// The text of a string; an empty text when it has none.
inline const char *textOf(const void *string) {
  const ztCharArray *buffer = static_cast<const ztString *>(string)->buffer;
  if (buffer == nullptr) return "";
  if (!isOwnBuffer(buffer)) return textOfForeign(buffer);
  return buffer->count == 0 ? "" : static_cast<const char *>(buffer->data);
}

// A string and its buffer in a shared block. The text has a block of its own.
struct StringWithChars {
  ztString string;
  ztCharArray chars;

  // False when memory is exhausted; the block then has no part more.
  bool make(SharedBlock *block, const char *text);

  // The same for a copy of a plain string.
  bool copy(SharedBlock *block, const ztString *source);

  // Frees the text of a string whose block is given up.
  void freeText() {
    ztm_free(chars.data);
  }
};

// Whether a string is of the library's class and has characters, so that its fields are all there is to copy.
bool isPlainText(const ztString *string);

// Whether copying a text in the form of a ztString, and releasing the copy, calls only functions of the library.
bool copiesTextsPlainly();

// Whether the release of strings calls only functions of the library.
bool releasesStringsPlainly();

// Whether the next release of a string, which may be NULL, ends it and its buffer.
bool endsPlainly(const ztString *string);

// Frees a string where both hold.
void freeString(ztString *string, FreedObjects *freed);

// `write` and `read` of a string.
int32_t writeString(const ztString &string, void *file);
int32_t readString(ztString &string, void *file);

// Compares two strings by their text: 0, 1 or -1. NULL sorts first.
inline int32_t compareStrings(const void *first, const void *second) {
  if (first == nullptr || second == nullptr) return (first != nullptr) - (second != nullptr);
  const int order = strcmp(textOf(first), textOf(second));
  return (order > 0) - (order < 0);
}

// A text in the form of a ztString, for lookups without allocation. It owns nothing, is only read, never
// created or destroyed, and must not be used after the text.
class BorrowedText {
 public:
  explicit BorrowedText(const char *text) {
    string.klass = ztStringClass_Instance();
    string.refCount = 1;
    string.buffer = &buffer;
    buffer.klass = ztCharArrayClass_Instance();
    buffer.refCount = 1;
    // A lookup reads no other field.
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

// A borrowed text that can also be copied: its parts are complete. NULL counts as empty.
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
