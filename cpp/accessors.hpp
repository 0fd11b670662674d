// Getters and setters of members and member functions.
// Programs include it through zentova.hpp.
#ifndef ZT_CPP_ACCESSORS_HPP
#define ZT_CPP_ACCESSORS_HPP

#include "cpp/arguments.hpp"

#include <stdint.h>

#include <concepts>
#include <type_traits>
#include <utility>

namespace zt {
/** @cond private */
namespace detail {

// A class for text that is assigned from and read as characters, like std::string.
template <typename T>
concept TextClass = std::is_class_v<T> && requires(T &text, const T &constant, const char *characters) {
  { constant.c_str() } -> std::convertible_to<const char *>;
  text = characters;
};

enum class Kind { none, integer, boolean, character, number, text, pointer, string };

template <typename T>
constexpr Kind kindOf() {
  if constexpr (std::same_as<T, bool>) {
    return Kind::boolean;
  } else if constexpr (std::same_as<T, char> || std::same_as<T, signed char>) {
    return Kind::character;
  } else if constexpr (std::same_as<T, float> || std::same_as<T, double>) {
    return Kind::number;
  } else if constexpr (std::same_as<T, const char *> || TextClass<T>) {
    return Kind::text;
  } else if constexpr (std::same_as<T, Own<ztString>>) {
    return Kind::string;
  } else if constexpr (std::is_pointer_v<T>) {
    return std::is_function_v<std::remove_pointer_t<T>> ? Kind::none : Kind::pointer;
  } else if constexpr (std::is_integral_v<T> || std::is_enum_v<T>) {
    return sizeof(T) <= sizeof(int32_t) ? Kind::integer : Kind::none;
  } else {
    return Kind::none;
  }
}

constexpr const char *nameOf(Kind kind) {
  constexpr const char *names[] = {"",        "ztInt",     "ztBool",    "ztChar",
                                   "ztFloat", "ztCharPtr", "ztVoidPtr", "ztString"};
  return names[static_cast<int>(kind)];
}

// Whether a property can be read and written with this type.
template <typename T>
concept Value = std::same_as<T, std::remove_cvref_t<T>> && kindOf<T>()
!= Kind::none &&kindOf<T>() != Kind::string;

template <typename Self, auto from>
decltype(auto) valueOf(const Self &self) {
  if constexpr (std::is_member_object_pointer_v<decltype(from)>) {
    return (self.*from);
  } else {
    return (self.*from)();
  }
}

template <typename Self, auto from>
using ResultOf = decltype(valueOf<Self, from>(std::declval<const Self &>()));
template <typename Self, auto from>
using TypeOf = std::remove_cvref_t<ResultOf<Self, from>>;

// A text or a string is served by its address, so it must outlive the function.
template <typename Self, auto from>
concept Readable = std::is_invocable_v<decltype(from), const Self &> &&
    kindOf<std::remove_cvref_t<std::invoke_result_t<decltype(from), const Self &>>>()
!= Kind::none && (std::is_scalar_v<std::remove_cvref_t<std::invoke_result_t<decltype(from), const Self &>>> ||
                  std::is_member_object_pointer_v<decltype(from)> ||
                  std::is_lvalue_reference_v<std::invoke_result_t<decltype(from), const Self &>>);

// What a setter gets for a value of this type.
template <typename T>
using Given = std::conditional_t<kindOf<T>() == Kind::string, const ztString *,
                                 std::conditional_t<TextClass<T>, const char *, T>>;

template <typename Self, auto to, typename T>
constexpr bool isWritable() {
  if constexpr (std::is_null_pointer_v<decltype(to)>) {
    return true;
  } else if constexpr (std::is_member_object_pointer_v<decltype(to)>) {
    return std::is_same_v<std::remove_reference_t<decltype(std::declval<Self &>().*to)>, T>;
  } else {
    return std::is_invocable_v<decltype(to), Self &, Given<T>>;
  }
}

template <typename Self, auto from, auto to>
concept Property = Readable<Self, from> &&
    isWritable<Self, to, std::remove_cvref_t<std::invoke_result_t<decltype(from), const Self &>>>();

template <typename Self, auto from, auto to>
struct Accessors {
  using Type = TypeOf<Self, from>;
  static constexpr Kind kind = kindOf<Type>();

  static decltype(auto) read(const void *object) {
    return valueOf<Self, from>(*static_cast<const Self *>(object));
  }
  static void write(void *object, Given<Type> value) {
    auto &self = *static_cast<Self *>(object);
    if constexpr (!std::is_member_object_pointer_v<decltype(to)>) {
      (self.*to)(value);
    } else if constexpr (kind == Kind::string) {
      assignText(self.*to, value);
    } else {
      self.*to = value;
    }
  }
  template <typename Text>
  static void assignText(Text &text, const ztString *value) {
    if (!text) text = Text(static_cast<ztString *>(ztString_ctor(nullptr, 1)));
    if (!text || value == nullptr) return;
    ztString_of(text.get())->set(text.get(), ztString_of(value)->get(value));
  }

  template <typename As>
  static As get(const void *object) {
    return static_cast<As>(read(object));
  }
  static void *getPointer(const void *object) {
    if constexpr (kind == Kind::string) {
      return read(object).get();
    } else {
      return const_cast<void *>(static_cast<const void *>(read(object)));
    }
  }
  static const char *getText(const void *object) {
    if constexpr (TextClass<Type>) {
      return read(object).c_str();
    } else {
      return read(object);
    }
  }
  static void setInt(void *object, int32_t value) {
    write(object, static_cast<Type>(value));
  }
  static void setFloat(void *object, double value) {
    write(object, static_cast<Type>(value));
  }
  static void setPointer(void *object, void *value) {
    write(object, static_cast<Type>(value));
  }
  static void setString(void *object, void *const *string) {
    write(object, static_cast<const ztString *>(*string));
  }
  static char *setText(void *object, const char *text) {
    write(object, TextClass<Type> && text == nullptr ? "" : text);
    return nullptr;
  }

  static ztGetter getter() {
    ztGetter function;
    if constexpr (kind == Kind::number) {
      function.getFloat = get<double>;
    } else if constexpr (kind == Kind::pointer || kind == Kind::string) {
      function.getPointer = getPointer;
    } else if constexpr (kind == Kind::text) {
      function.getText = getText;
    } else if constexpr (kind == Kind::character) {
      function.getChar = get<signed char>;
    } else {
      function.getInt = get<int32_t>;
    }
    return function;
  }
  static ztSetter setter() {
    ztSetter function;
    if constexpr (std::is_null_pointer_v<decltype(to)>) {
      function.setInt = nullptr;
    } else if constexpr (kind == Kind::number) {
      function.setFloat = setFloat;
    } else if constexpr (kind == Kind::pointer) {
      function.setPointer = setPointer;
    } else if constexpr (kind == Kind::string) {
      function.setString = setString;
    } else if constexpr (kind == Kind::text) {
      function.setText = setText;
    } else {
      function.setInt = setInt;
    }
    return function;
  }
};

}  // namespace detail
/** @endcond */

}  // namespace zt

#endif
