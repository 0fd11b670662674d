// Methods of a host's class that note that they were called.
#ifndef ZT_TESTS_NOTING_HH
#define ZT_TESTS_NOTING_HH

#include <stdint.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

using Notes = std::vector<std::string>;

inline Notes notes;

// What else is done at each call, while a test sets it.
inline std::function<void()> atEachNote;

// What was noted since it was asked last.
inline Notes taken() {
  return std::exchange(notes, {});
}

template <size_t length>
struct MethodName {
  consteval MethodName(const char (&characters)[length]) {
    for (size_t i = 0; i < length; ++i) text[i] = characters[i];
  }
  char text[length];
};

// An index or a size is noted with the method.
template <typename Argument>
std::string noteOf(Argument argument) {
  if constexpr (std::is_same_v<Argument, int32_t>) return " " + std::to_string(argument);
  return "";
}

// The method of that slot: notes the call, and calls the parent's.
template <MethodName name, auto slot>
struct NotingMethod;

template <MethodName name, typename Methods, typename Result, typename Object, typename... Arguments,
          Result (*Methods::*slot)(Object *, Arguments...)>
struct NotingMethod<name, slot> {
  static inline Result (*parents)(Object *, Arguments...);

  static Result call(Object *object, Arguments... arguments) {
    notes.push_back((std::string(name.text) + ... + noteOf(arguments)));
    if (atEachNote) atEachNote();
    return parents(object, arguments...);
  }
};

template <MethodName name, auto slot, typename Methods>
void note(Methods *methods) {
  using Noting = NotingMethod<name, slot>;
  Noting::parents = methods->*slot;
  methods->*slot = Noting::call;
}

#endif
