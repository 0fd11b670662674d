// A method that is another one for a while.
#ifndef ZT_TESTS_REPLACED_HH
#define ZT_TESTS_REPLACED_HH

#include <type_traits>

// Has another function in the place of a method as long as this lives.
template <typename Method>
class Replaced {
 public:
  Replaced(Method &method, std::type_identity_t<Method> other) : place(method), before(method) {
    place = other;
  }
  ~Replaced() {
    place = before;
  }
  Replaced(const Replaced &) = delete;
  Replaced &operator=(const Replaced &) = delete;

 private:
  Method &place;
  const Method before;
};

#endif
