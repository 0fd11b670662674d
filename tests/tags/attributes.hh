// Attributes and tags with the calls that their tests make most and values of their kinds.
#ifndef ZT_TESTS_ATTRIBUTES_HH
#define ZT_TESTS_ATTRIBUTES_HH

#include "io/zttxtfile.h"
#include "tags/ztfloattag.h"
#include "tags/ztinttag.h"
#include "tags/zttag.h"
#include "tests/helpers/faulty_file.hh"
#include "tests/helpers/owned.hh"
#include "tests/helpers/records.hh"

#include <gtest/gtest.h>

#include <stdlib.h>
#include <string.h>

#include <sstream>
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

using Numbers = std::vector<double>;

inline constexpr int32_t intType = 1;
inline constexpr int32_t floatType = 2;
inline constexpr double untouched = 77;  // what an output holds until something is written to it

inline size_t valueSizeOf(const void *attribute) {
  const ztArray *values = static_cast<const ztTagAttribute *>(attribute)->values;
  return static_cast<size_t>(ztArray_of(values)->getElementSize(values));
}

// An integer of 4 bytes or a double of 8, in memory of no more, so that one byte beyond is noticed.
class Value {
 public:
  explicit Value(size_t size, double value = untouched)
      : bytes(malloc(size)), isInt(size == sizeof(int32_t)) {
    const int32_t whole = isInt ? static_cast<int32_t>(value) : 0;
    memcpy(bytes, isInt ? static_cast<const void *>(&whole) : &value, size);
  }
  // Of the attribute's kind.
  explicit Value(const void *attribute, double value = untouched) : Value(valueSizeOf(attribute), value) {}
  ~Value() {
    free(bytes);
  }
  Value(const Value &) = delete;
  Value &operator=(const Value &) = delete;

  operator void *() const {
    return bytes;
  }
  double number() const {
    return isInt ? *static_cast<const int32_t *>(bytes) : *static_cast<const double *>(bytes);
  }

 private:
  void *bytes;
  bool isInt;
};

// The attribute's values as `getValue` gives them, with blanks between.
inline std::string valuesOf(const void *attribute) {
  const ztArray *values = static_cast<const ztTagAttribute *>(attribute)->values;
  std::ostringstream all;
  all.precision(17);
  for (int32_t i = 0; i < ztArray_of(values)->getSize(values); ++i) {
    const Value value(attribute);
    EXPECT_NE(ztTagAttribute_of(attribute)->getValue(attribute, i, value), nullptr);
    all << (i == 0 ? "" : " ") << value.number();
  }
  return all.str();
}

inline int32_t setValue(void *attribute, int32_t index, double value) {
  return ztTagAttribute_of(attribute)->setValue(attribute, index, Value(attribute, value));
}

inline void setValues(void *attribute, const Numbers &values) {
  ASSERT_EQ(ztTagAttribute_of(attribute)->setNumValues(attribute, static_cast<int32_t>(values.size())), 1);
  for (int32_t i = 0; const double value : values) ASSERT_EQ(setValue(attribute, i++, value), 1);
}

inline void release(void *object) {
  ztBaseClass_of(object)->unRef(object);
}

// Takes so many references that `unRef` leaves the object alive once.
inline void keep(void *object) {
  ztBaseClass_of(object)->ref(object);
  ztBaseClass_of(object)->ref(object);
}

using Node = Owned<ztRoot, ztRootMethods>;
using Array = Owned<ztArray, ztArrayMethods>;

// Releases the object now.
template <typename OwnedObject>
void end(OwnedObject &object) {
  const OwnedObject ended = std::move(object);
}

class Attribute : public Owned<ztTagAttribute, ztTagAttributeMethods> {
 public:
  explicit Attribute(ztCtor constructor) : Owned(constructor) {}
  explicit Attribute(ztCtor constructor, const Numbers &values) : Owned(constructor) {
    setValues(*this, values);
  }
  explicit Attribute(void *made) : Owned(made) {}

  ztTagAttribute *address() const {
    return &fields();
  }
  std::string values() const {
    return valuesOf(*this);
  }
  int32_t set(int32_t index, double value) const {
    return setValue(*this, index, value);
  }
  // What is delivered; `untouched` where nothing is.
  double total() const {
    const Value out(*this);
    EXPECT_EQ((*this)->getTotalValue(*this, out), static_cast<void *>(out));
    return out.number();
  }
  double average() const {
    const Value out(*this);
    EXPECT_EQ((*this)->getAverageValue(*this, out), static_cast<void *>(out));
    return out.number();
  }
};

inline Attribute copyOf(const ztTagAttribute *source) {
  return Attribute(newCopy(source));
}

class Tag : public Owned<ListeningTag, ztTagMethods> {
 public:
  explicit Tag(ztCtor constructor = ListeningTag_ctor) : Owned(constructor) {}
  explicit Tag(void *made) : Owned(made) {}

  // A tag of the same class that has its attributes' copies.
  Tag copy() const {
    return Tag(newCopy(*this));
  }
  // Inserts an attribute with these values; its handle.
  ztTagHandle insert(const char *name, ztCtor constructor, const Numbers &values) const {
    ztTagHandle handle = {-7, -7};
    void *attribute = constructor(nullptr, 1);
    EXPECT_EQ((*this)->insertNew(*this, name, attribute, &handle, 0, 1, nullptr), 1);
    setValues(attribute, values);
    return handle;
  }
  ztTagAttribute *at(const ztTagHandle &handle) const {
    return static_cast<ztTagAttribute *>((*this)->getByHandle(*this, &handle));
  }
  std::string values(const ztTagHandle &handle) const {
    return valuesOf(at(handle));
  }
  // Of its places for attributes, those that are empty with them.
  int32_t count() const {
    const ztPtrArray *attributes = fields().attributes;
    return attributes == nullptr ? 0 : ztPtrArray_of(attributes)->getSize(attributes);
  }
  int32_t &changes() const {
    return fields().changes;
  }
};

#endif
