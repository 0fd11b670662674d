// Typed access to properties.
// Programs include it through zentova.hpp.
#ifndef ZT_CPP_PROPERTY_HPP
#define ZT_CPP_PROPERTY_HPP

#include "cpp/owners.hpp"

#include <stddef.h>
#include <stdint.h>
#include <string.h>

namespace zt {

/** Why a property was not read or written. */
enum class Access {
  /** It was. */
  done,
  /** The object has none of that name, or there is no object. */
  noProperty,
  /** It has another kind. */
  otherKind,
  /** It cannot be written. */
  readOnly,
  /** It cannot be read. */
  writeOnly,
  /** Its text is NULL, memory is exhausted, or an override of the object refused. */
  refused
};

/** The result of reading a property. */
template <typename T>
struct Read {
  /** The value; zero, NULL or empty unless it was read. */
  T value = {};
  /** Whether it was read. */
  Access access = Access::done;
  /** Whether it was read. */
  explicit operator bool() const {
    return access == Access::done;
  }
  /** The value. */
  const T &operator*() const {
    return value;
  }
  /** The members of the value. */
  const T *operator->() const {
    return &value;
  }
};

/** A property by its name, with the type of its values: an integer or an enumeration of up to 32 bits, bool, char,
 *  double or float, a pointer. A text is a `const char *`, which is read as the address of the property's own text, or
 *  a class like std::string. */
template <detail::Value T>
class Property {
 public:
  /** @param propertyName  stays the caller's, and must stay valid */
  explicit Property(const char *propertyName) : name(propertyName) {}

  /** Sets it. What is wrong is also logged. */
  template <detail::Sender Object>
  Access set(Object &&object, const T &value) const {
    void *address = detail::address(object);
    if (give(address, value)) [[likely]]
      return Access::done;
    return reasonOf(address, Access::readOnly);
  }
  /** Reads it. What is wrong is also logged. */
  template <detail::Sender Object>
  Read<T> get(Object &&object) const {
    void *address = detail::address(object);
    Read<T> read;
    if (!take(address, &read.value)) [[unlikely]]
      read.access = reasonOf(address, Access::writeOnly);
    return read;
  }

 private:
  static constexpr detail::Kind kind = detail::kindOf<T>();

  int32_t give(void *object, const T &value) const {
    if constexpr (detail::TextClass<T>) {
      return ztObject_setText(object, name, value.c_str());
    } else if constexpr (kind == detail::Kind::text) {
      return ztObject_setText(object, name, value);
    } else if constexpr (kind == detail::Kind::boolean) {
      return ztObject_setBool(object, name, value);
    } else if constexpr (kind == detail::Kind::character) {
      return ztObject_setChar(object, name, static_cast<signed char>(value));
    } else if constexpr (kind == detail::Kind::number) {
      return ztObject_setFloat(object, name, static_cast<double>(value));
    } else if constexpr (kind == detail::Kind::pointer) {
      return ztObject_setPointer(object, name, const_cast<void *>(static_cast<const void *>(value)));
    } else {
      return ztObject_setInt(object, name, static_cast<int32_t>(value));
    }
  }
  template <typename As>
  int32_t taken(void *object, T *value, int32_t (*from)(void *, const char *, As *)) const {
    As read;
    if (!from(object, name, &read)) return 0;
    if constexpr (detail::TextClass<T>) {
      *value = read == nullptr ? "" : read;
    } else {
      *value = static_cast<T>(read);
    }
    return 1;
  }
  int32_t take(void *object, T *value) const {
    if constexpr (kind == detail::Kind::text) {
      return taken<const char *>(object, value, ztObject_getText);
    } else if constexpr (kind == detail::Kind::boolean) {
      return taken<int32_t>(object, value, ztObject_getBool);
    } else if constexpr (kind == detail::Kind::character) {
      return taken<signed char>(object, value, ztObject_getChar);
    } else if constexpr (kind == detail::Kind::number) {
      return taken<double>(object, value, ztObject_getFloat);
    } else if constexpr (kind == detail::Kind::pointer) {
      return taken<void *>(object, value, ztObject_getPointer);
    } else {
      return taken<int32_t>(object, value, ztObject_getInt);
    }
  }

  static bool isWithin(const ztClass *type, const char *kindName) {
    for (; type != nullptr; type = type->parent) {
      const size_t length = strlen(kindName);
      if (strncmp(type->name, kindName, length) == 0 && strcmp(type->name + length, "PropertyType") == 0) {
        return true;
      }
    }
    return false;
  }
  // Text serves two kinds, the others only their own.
  static bool isOfKind(const ztClass *type) {
    return isWithin(type, detail::nameOf(kind)) ||
           (kind == detail::Kind::text && isWithin(type, detail::nameOf(detail::Kind::string)));
  }
  Access reasonOf(void *object, Access missing) const {
    const ztProperty *property = ztObject_findProperty(object, name);
    if (property == nullptr) return Access::noProperty;
    if (!isOfKind(property->type)) return Access::otherKind;
    const bool accessible =
        property->valueSize != 0 || (missing == Access::readOnly ? property->setter.setInt != nullptr
                                                                 : property->getter.getInt != nullptr);
    return accessible ? Access::refused : missing;
  }

  const char *name;
};

}  // namespace zt

#endif
