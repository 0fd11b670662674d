// The arguments of signals and slots.
// Programs include it through zentova.hpp.
#ifndef ZT_CPP_ARGUMENTS_HPP
#define ZT_CPP_ARGUMENTS_HPP

#include "cpp/cpart.hpp"

#include <stdint.h>

#include <concepts>
#include <type_traits>

namespace zt {
/** @cond private */
namespace detail {

// What an argument register of the C interface holds: a word or a double.
template <typename T>
concept Word = (std::is_integral_v<T> || std::is_enum_v<T> || std::is_pointer_v<T>)&&sizeof(T) <=
               sizeof(intptr_t);
template <typename T>
concept Argument = Word<T> || std::same_as<T, double>;
// What can be emitted.
template <typename T>
concept Emitted = Argument<T> || std::same_as<T, float>;

template <Word T>
intptr_t wordOf(T value) {
  if constexpr (std::is_pointer_v<T>) {
    return reinterpret_cast<intptr_t>(value);
  } else {
    return static_cast<intptr_t>(value);
  }
}

template <Emitted T>
ztArgument argumentOf(T value) {
  ztArgument argument;
  if constexpr (Word<T>) {
    argument.kind = ZT_ARGUMENT_WORD;
    argument.value.word = wordOf(value);
  } else {
    argument.kind = ZT_ARGUMENT_DOUBLE;
    argument.value.number = static_cast<double>(value);
  }
  return argument;
}

inline constexpr uint32_t mostArguments = 4;

template <Emitted... Arguments>
bool emit(void *sender, const char *signal, Arguments... arguments) {
  if constexpr (sizeof...(arguments) == 0) {
    return ztObject_emit(sender, signal, 0) != 0;
  } else if constexpr (sizeof...(arguments) > 1) {
    const ztArgument list[] = {argumentOf(arguments)...};
    return ztObject_emitArgs(sender, signal, list, sizeof...(arguments)) != 0;
  } else if constexpr ((Word<Arguments> && ...)) {
    return (ztObject_emit(sender, signal, wordOf(arguments)) && ...);
  } else {
    return (ztObject_emitDouble(sender, signal, static_cast<double>(arguments)) && ...);
  }
}

// How a slot gets an argument: as the engine passes it.
template <Argument T>
using Passed = std::conditional_t<Word<T>, intptr_t, double>;

template <Argument T>
T received(Passed<T> passed) {
  if constexpr (std::same_as<T, bool>) {
    return passed != 0;
  } else if constexpr (std::is_pointer_v<T>) {
    return reinterpret_cast<T>(passed);
  } else {
    return static_cast<T>(passed);
  }
}

// The signature of what is called, without its object: a function object, a function, a member function.
template <typename T>
struct Signature : Signature<decltype(&T::operator())> {};
template <typename R, typename... A>
struct Signature<R (*)(A...)> {
  static constexpr uint32_t count = sizeof...(A);
  static constexpr bool isSlot = count <= mostArguments && (Argument<A> && ...);
  template <template <typename...> typename To>
  using With = To<A...>;
};
template <typename R, typename... A>
struct Signature<R (*)(A...) noexcept> : Signature<R (*)(A...)> {};
template <typename R, typename T, typename... A>
struct Signature<R (T::*)(A...)> : Signature<R (*)(A...)> {};
template <typename R, typename T, typename... A>
struct Signature<R (T::*)(A...) const> : Signature<R (*)(A...)> {};
template <typename R, typename T, typename... A>
struct Signature<R (T::*)(A...) noexcept> : Signature<R (*)(A...)> {};
template <typename R, typename T, typename... A>
struct Signature<R (T::*)(A...) const noexcept> : Signature<R (*)(A...)> {};

template <typename T>
concept HasSignature = requires {
  Signature<T>::count;
};

template <typename F>
concept Slot = HasSignature<std::decay_t<F>> && Signature<std::decay_t<F>>::isSlot;

template <typename... Arguments>
ztSlotFunction slotFunction(void (*function)(void *, Arguments...)) {
  ztSlotFunction slot;
  slot.call0 = reinterpret_cast<void (*)(void *)>(reinterpret_cast<void (*)()>(function));
  return slot;
}

template <typename T>
struct ClassOfMember;
template <typename T, typename M>
struct ClassOfMember<M T::*> {
  using Type = T;
};

// The slot that calls a member function of the receiver.
template <auto function, typename Receiver>
struct MemberSlot {
  template <typename... Arguments>
  struct Entry {
    static void call(void *receiver, Passed<Arguments>... arguments) {
      (static_cast<Receiver *>(receiver)->*function)(received<Arguments>(arguments)...);
    }
  };
};

// One function for a receiver and for what is derived from its class, so that either disconnects.
template <auto function, typename To>
ztSlotFunction memberFunction() {
  using Member = typename ClassOfMember<decltype(function)>::Type;
  using Receiver = std::conditional_t<CppClass<Member>, Member, To>;
  using Entry =
      typename Signature<decltype(function)>::template With<MemberSlot<function, Receiver>::template Entry>;
  return slotFunction(Entry::call);
}

}  // namespace detail
/** @endcond */

}  // namespace zt

#endif
