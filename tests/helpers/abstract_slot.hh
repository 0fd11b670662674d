// Calls of method slots that a class leaves to its subclasses.
#ifndef ZT_TESTS_ABSTRACT_SLOT_HH
#define ZT_TESTS_ABSTRACT_SLOT_HH

#include <string.h>

#include <string>

// What the slot gives, called as what every abstract slot is: a function that returns a text.
template <typename Slot>
std::string textOfAbstract(Slot slot, const void *object) {
  void *(*handler)(const void *) = nullptr;
  static_assert(sizeof handler == sizeof slot);
  memcpy(&handler, &slot, sizeof handler);
  return static_cast<const char *>(handler(object));
}

// The text for an object of the class of this name.
inline std::string virtualCall(const std::string &className) {
  return "ztOOP -> Error: Trying to call a virtual function member for class: " + className + "\n";
}

#endif
