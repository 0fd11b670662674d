// Elements for containers, by the number that each of them stands for: bytes of any size, pointers, objects.
#ifndef ZT_FUZZ_ELEMENTS_HH
#define ZT_FUZZ_ELEMENTS_HH

#include "containers/ztacont.h"
#include "containers/ztarrays.h"
#include "core/ztmem.h"
#include "fuzz/input.hh"
#include "io/ztfile.h"
#include "io/ztstring.h"

#include <string>

constexpr int valueCount = 24;

// What the numbers look like. As bytes: the number 0 is all zeros, and the first byte is the number.
struct Forms {
  static constexpr int32_t longest = 24;
  unsigned char bytes[valueCount][longest];
  void *strings[valueCount];
  void *file;  // an object that cannot be copied

  void make() {
    for (int value = 0; value < valueCount; ++value) {
      for (int i = 0; i < longest; ++i) bytes[value][i] = static_cast<unsigned char>(value * (i + 1));
      strings[value] = ztString_ctor(nullptr, 1);
      ztString_of(strings[value])->set(strings[value], std::string(static_cast<size_t>(value), 'a').c_str());
    }
    file = ztFile_ctor(nullptr, 1);
  }
};

inline Forms forms;

inline int32_t compareNothing(const void *, const void *) {
  return 0;
}

inline int32_t compareFirstBytes(const void *first, const void *second) {
  const int one = *static_cast<const unsigned char *>(first);
  const int other = *static_cast<const unsigned char *>(second);
  return one - other;
}

// How a container keeps its elements.
struct Elements {
  enum Kind { bytes, pointers, objects };
  Kind kind = bytes;
  int32_t size = 4;

  static Elements from(Input &input) {
    Elements elements;
    elements.kind = static_cast<Kind>(input.below(3));
    elements.size = static_cast<int32_t>(input.below(Forms::longest + 1));
    if (elements.kind == pointers) elements.size = sizeof(void *);
    if (elements.kind == objects) elements.size = sizeof(ztString);
    return elements;
  }

  // A number that such an element can stand for.
  int value(Input &input) const {
    const auto value = static_cast<int>(input.below(valueCount));
    return size == 0 ? 0 : value;
  }

  // In the caller's form.
  const void *give(int value) const {
    if (kind == objects) return forms.strings[value];
    if (kind == pointers && value == 0) return nullptr;
    return forms.bytes[value];
  }

  // What cannot be taken as an element, if there is such a thing.
  bool hasBad() const {
    return kind == objects || (kind == bytes && size > 0);
  }
  const void *giveBad(Input &input) const {
    return kind == objects && input.flag() ? forms.file : nullptr;
  }

  // The number that an element of a container stands for; it has to be whole.
  int read(const void *element) const {
    switch (kind) {
      case objects: {
        const char *text = ztString_of(element)->get(element);
        const size_t length = text == nullptr ? 0 : strlen(text);
        ZT_REQUIRE(length < valueCount && ztString_of(element)->length(element) == length);
        return static_cast<int>(length);
      }
      case pointers:
        for (int value = 0; value < valueCount; ++value) {
          if (element == give(value)) return value;
        }
        reportBroken("a pointer that was given", __FILE__, __LINE__);
      default: {
        ZT_REQUIRE(element != nullptr);
        const int value = size == 0 ? 0 : *static_cast<const unsigned char *>(element);
        ZT_REQUIRE(value < valueCount);
        ZT_REQUIRE(memcmp(element, forms.bytes[value], static_cast<size_t>(size)) == 0);
        return value;
      }
    }
  }

  // Releases an element that a container handed over.
  void release(void *element) const {
    if (kind == objects) ztString_of(element)->unRef(element);
    if (kind == bytes) ztm_free(element);
  }

  // Compares elements.
  ztCompareFunc compare() const {
    if (kind == objects) return ztStringArray_compare_func;
    if (kind == pointers) return ztPtrArray_compare_func_ptr;
    return size == 0 ? compareNothing : compareFirstBytes;
  }
  // Compares what stands in the slots of an array.
  ztCompareFunc compareSlots() const {
    return kind == pointers ? ztPtrArray_compare_func : compare();
  }

  void configure(void *container) const {
    const ztSequenceContainerMethods *methods = ztSequenceContainer_of(container);
    methods->setCompareFunction(container, compare());
    methods->setElementSize(container, size, kind == pointers);
    if (kind == objects) methods->setElementConstructor(container, ztString_ctor);
  }
  void configureKeys(void *container) const {
    const ztAssociativeContainerMethods *methods = ztAssociativeContainer_of(container);
    methods->setCompareFunction(container, compare());
    methods->setKeySize(container, size, kind == pointers);
    if (kind == objects) methods->setKeyConstructor(container, ztString_ctor);
  }
  void configureValues(void *container) const {
    const ztAssociativeContainerMethods *methods = ztAssociativeContainer_of(container);
    methods->setValueSize(container, size, kind == pointers);
    if (kind == objects) methods->setValueConstructor(container, ztString_ctor);
  }
};

#endif
