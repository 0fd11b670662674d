// Strings, and arrays of them, with their texts at hand.
#ifndef ZT_TESTS_STRINGS_HH
#define ZT_TESTS_STRINGS_HH

#include "io/ztstring.h"
#include "io/zttxtfile.h"
#include "tests/helpers/faults.hh"
#include "tests/helpers/faulty_file.hh"
#include "tests/helpers/owned.hh"
#include "tests/helpers/records.hh"

#include <string>
#include <vector>

using Texts = std::vector<std::string>;
using Array = Owned<ztArray, ztArrayMethods>;

inline const char *const noText = nullptr;

inline std::string textOf(const void *string) {
  const char *text = ztString_of(string)->get(string);
  return text == nullptr ? "no text" : text;
}

class String : public Owned<ztString, ztStringMethods> {
 public:
  explicit String(ztCtor constructor = ztString_ctor) : Owned(constructor) {}
  explicit String(const char *text) : Owned(ztString_ctor) {
    (*this)->set(*this, text);
  }
  explicit String(const std::string &text) : String(text.c_str()) {}
  explicit String(void *made) : Owned(made) {}
  String(Owned &&owned) : Owned(std::move(owned)) {}

  std::string text() const {
    return textOf(*this);
  }
  ztCharArray *buffer() const {
    return fields().buffer;
  }
  int32_t bufferSize() const {
    return ztCharArray_of(buffer())->getSize(buffer());
  }
  std::string bufferBytes() const {
    const auto *data = static_cast<const char *>(buffer()->data);
    return data == nullptr ? std::string() : std::string(data, static_cast<size_t>(bufferSize()));
  }
};

inline Array arrayOf(const Texts &texts) {
  Array array(ztStringArray_ctor);
  for (const std::string &text : texts) array->pushBack(array, String(text));
  return array;
}

inline Texts textsOf(const Array &array) {
  Texts texts;
  for (int32_t i = 0; i < array->getSize(array); ++i) texts.push_back(textOf(array->getAt(array, i)));
  return texts;
}

#endif
