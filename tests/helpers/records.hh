// What objects store, and how they read it.
#ifndef ZT_TESTS_RECORDS_HH
#define ZT_TESTS_RECORDS_HH

#include "tests/helpers/storage.hh"

#include <gtest/gtest.h>

#include <optional>

template <typename Number>
std::string bytesOf(Number number) {
  return std::string(reinterpret_cast<const char *>(&number), sizeof number);
}

// A text in a field of a size, zero behind it.
inline std::string fieldOf(std::string text, size_t size) {
  text.resize(size);
  return text;
}

// The number that a primitive reads; nothing where it fails, which leaves the output as it is.
template <typename Number>
std::optional<Number> readBy(int32_t (*primitive)(void *, Number *), void *file) {
  constexpr Number untouched = 77;
  Number number = untouched;
  const int32_t result = primitive(file, &number);
  if (result == 1) return number;
  EXPECT_EQ(result, 0);
  EXPECT_EQ(number, untouched);
  return std::nullopt;
}

inline std::string recordOf(const void *object, ztCtor form = ztFile_ctor) {
  const Storage file(form);
  EXPECT_EQ(ztBaseClass_of(object)->write(object, file), 1);
  return file.bytes();
}

inline int32_t readRecord(void *object, const std::string &record, ztCtor form = ztFile_ctor) {
  return ztBaseClass_of(object)->read(object, Storage(form, record));
}

#endif
