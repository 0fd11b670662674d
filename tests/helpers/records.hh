// What objects store, and files with such bytes to read.
#ifndef ZT_TESTS_RECORDS_HH
#define ZT_TESTS_RECORDS_HH

#include "tests/helpers/storage.hh"
#include "tests/helpers/temp_folder.hh"

#include <gtest/gtest.h>

#include <string>

template <typename Number>
std::string bytesOf(Number number) {
  return std::string(reinterpret_cast<const char *>(&number), sizeof number);
}

// A text in a field of a size, zero behind it.
inline std::string fieldOf(std::string text, size_t size) {
  text.resize(size);
  return text;
}

// An open file with just these bytes to read, whatever its class makes of what it writes.
class FileWith : public Storage {
 public:
  explicit FileWith(const std::string &bytes, ztCtor form = ztFile_ctor) : Storage(form) {
    const std::string path = (*this)->getFileName(*this);
    writeContents(path, bytes);
    EXPECT_EQ((*this)->open(*this, path.c_str(), "r+b"), 1);
  }
};

inline std::string recordOf(const void *object, ztCtor form = ztFile_ctor) {
  const Storage file(form);
  EXPECT_EQ(ztBaseClass_of(object)->write(object, file), 1);
  return file.bytes();
}

inline int32_t readRecord(void *object, const std::string &record, ztCtor form = ztFile_ctor) {
  return ztBaseClass_of(object)->read(object, FileWith(record, form));
}

#endif
