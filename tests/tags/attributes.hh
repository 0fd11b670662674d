// Attributes with given values, a tag that listens to them, and records, for the tests of the tags.
#ifndef ZT_TESTS_ATTRIBUTES_HH
#define ZT_TESTS_ATTRIBUTES_HH

#include "io/ztfile.h"
#include "tags/ztfloattag.h"
#include "tags/ztinttag.h"
#include "tags/zttag.h"
#include "tests/helpers/temp_folder.hh"

#include <gtest/gtest.h>

#include <string.h>

#include <limits>
#include <string>
#include <vector>

// ListeningTag: a tag that notes what its attributes tell it, and hands it on.
#define ListeningTag_FIELDS                                                                   \
  ztTag_FIELDS                                                                                \
  int32_t changes;                              /* calls of `attrChanged` */                  \
  void *lastAttribute;                          /* the attribute of the last; not followed */ \
  void (*onChange)(void *tag, void *attribute); /* called for each; may be NULL */
#define ListeningTag_METHODS ztTag_METHODS
ZT_DECLARE_CLASS(ListeningTag)

// RefusingFile: a file that accepts only so many writes of integers and buffers, and keeps none.
#define RefusingFile_FIELDS                  \
  ztFile_FIELDS                              \
  int32_t allowed; /* writes that succeed */ \
  int32_t calls;   /* writes so far, the refused with it */
#define RefusingFile_METHODS ztFile_METHODS
ZT_DECLARE_CLASS(RefusingFile)

using Ints = std::vector<int32_t>;
using Floats = std::vector<double>;

inline constexpr int32_t intType = 1;
inline constexpr int32_t floatType = 2;

inline ztCtor constructorFor(int32_t) {
  return ztIntTag_ctor;
}

inline ztCtor constructorFor(double) {
  return ztFloatTag_ctor;
}

inline int32_t countOf(const void *attribute) {
  const ztArray *values = static_cast<const ztTagAttribute *>(attribute)->values;
  return ztArray_of(values)->getSize(values);
}

template <typename Value>
std::vector<Value> valuesOf(const void *attribute) {
  std::vector<Value> values;
  for (int32_t i = 0; i < countOf(attribute); ++i) {
    Value value = 0;
    EXPECT_NE(ztTagAttribute_of(attribute)->getValue(attribute, i, &value), nullptr);
    values.push_back(value);
  }
  return values;
}

template <typename Value>
void setValues(void *attribute, const std::vector<Value> &values) {
  const ztTagAttributeMethods *methods = ztTagAttribute_of(attribute);
  ASSERT_EQ(methods->setNumValues(attribute, static_cast<int32_t>(values.size())), 1);
  for (size_t i = 0; i < values.size(); ++i) {
    ASSERT_EQ(methods->setValue(attribute, static_cast<int32_t>(i), &values[i]), 1);
  }
}

// A new attribute with these values; the caller's to release.
template <typename Value>
ztTagAttribute *newAttribute(const std::vector<Value> &values) {
  auto *attribute = static_cast<ztTagAttribute *>(constructorFor(Value())(nullptr, 1));
  setValues(attribute, values);
  return attribute;
}

// Inserts an attribute with these values under a name; its handle.
template <typename Value>
ztTagHandle insert(void *tag, const char *name, const std::vector<Value> &values) {
  ztTagHandle handle = {-7, -7};
  void *attribute = constructorFor(Value())(nullptr, 1);
  EXPECT_EQ(ztTag_of(tag)->insertNew(tag, name, attribute, &handle, 0, 1, nullptr), 1);
  setValues(attribute, values);
  return handle;
}

// A new heap object with one reference, filled by the source's `clone`; the caller's to release.
inline void *copyOf(const void *source) {
  const ztClass *klass = ztOOP_classOf(source);
  void *fresh = static_cast<const ztClassFunctions *>(klass->classTable)->newop();
  void *copy = ztBaseClass_of(source)->clone(source, fresh);
  EXPECT_EQ(copy, fresh);
  static_cast<ztBaseClass *>(copy)->refCount = 1;
  return copy;
}

inline void release(void *object) {
  ztBaseClass_of(object)->unRef(object);
}

// Takes so many references that `unRef` leaves the object alive once.
inline void keep(void *object) {
  ztBaseClass_of(object)->ref(object);
  ztBaseClass_of(object)->ref(object);
}

template <typename Value>
std::string bytesOf(Value value) {
  return std::string(reinterpret_cast<const char *>(&value), sizeof value);
}

// A text in a field of a size, zero behind it.
inline std::string fieldOf(std::string text, size_t size) {
  text.resize(size);
  return text;
}

// Writes objects into a file and reads them from one, in the form of a file class.
class Records {
 public:
  explicit Records(ztCtor fileClass = ztFile_ctor) : file(fileClass(nullptr, 1)), methods(ztFile_of(file)) {}
  ~Records() {
    methods->unRef(file);
  }
  Records(const Records &) = delete;
  Records &operator=(const Records &) = delete;

  // The open file, empty, or with these bytes to read.
  void *toWrite() {
    EXPECT_EQ(methods->open(file, path.c_str(), "wb"), 1);
    return file;
  }
  void *toRead(const std::string &bytes) {
    methods->close(file);
    writeContents(path, bytes);
    EXPECT_EQ(methods->open(file, path.c_str(), "rb"), 1);
    return file;
  }
  std::string written() {
    methods->close(file);
    return contentsOf(path);
  }

  std::string of(const void *object) {
    EXPECT_EQ(ztBaseClass_of(object)->write(object, toWrite()), 1);
    return written();
  }
  int32_t read(void *object, const std::string &bytes) {
    return ztBaseClass_of(object)->read(object, toRead(bytes));
  }
  int64_t position() {
    return methods->tell(file);
  }

 private:
  TempFolder folder;
  const std::string path = folder.path("records");
  void *file;
  const ztFileMethods *methods;
};

#endif
