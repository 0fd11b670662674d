// Connections of signals with functions.
// Programs include it through zentova.hpp.
#ifndef ZT_CPP_CONNECT_HPP
#define ZT_CPP_CONNECT_HPP

#include "cpp/owners.hpp"

#include <stdint.h>

#include <new>
#include <type_traits>
#include <utility>

namespace zt {

/** A connection that ends with its handle, or with its sender. The handle may be released at any time, also while
 *  its function is called. */
class [[nodiscard]] Connection {
 public:
  /** No connection. */
  Connection() = default;
  /** Takes over the other's connection. */
  Connection(Connection &&other) noexcept
      : listener(std::exchange(other.listener, nullptr)), end(other.end) {}
  /** Ends its own connection and takes over the other's. */
  Connection &operator=(Connection &&other) noexcept(false) {
    if (this == &other) return *this;
    disconnect();
    listener = std::exchange(other.listener, nullptr);
    end = other.end;
    return *this;
  }
  /** Ends the connection. */
  ~Connection() noexcept(false) {
    disconnect();
  }
  /** False when connecting failed, and after disconnect(). It stays true when the sender ends. */
  explicit operator bool() const {
    return listener != nullptr;
  }
  /** Ends the connection. */
  void disconnect() {
    if (listener != nullptr) end(std::exchange(listener, nullptr));
  }

  /** @cond private */
  Connection(void *called, void (*ending)(void *)) : listener(called), end(ending) {}
  /** @endcond */

 private:
  void *listener = nullptr;
  void (*end)(void *listener) = nullptr;
};

/** @cond private */
namespace detail {

// The receiver of a function object. It is the library's own object in memory of this header.
template <typename F>
struct Listener {
  ztObject object;
  F function;
  int32_t calls;  // under way
  bool hasEnded;

  static void end(void *listener) {
    auto *self = static_cast<Listener *>(listener);
    self->hasEnded = true;
    ztObject_of(&self->object)->destroy(&self->object);
    if (self->calls == 0) delete self;
  }

  struct Call {
    explicit Call(Listener *called) : self(called) {
      ++self->calls;
    }
    ~Call() noexcept(false) {
      if (--self->calls == 0 && self->hasEnded) delete self;
    }
    Call(const Call &) = delete;
    Call &operator=(const Call &) = delete;
    Listener *self;
  };

  template <typename... Arguments>
  struct Entry {
    static void call(void *listener, Passed<Arguments>... arguments) {
      const Call call(static_cast<Listener *>(listener));
      call.self->function(received<Arguments>(arguments)...);
    }
  };
};

// Makes a listener that has the function. `connects` gets it with its slot, and tells whether it is connected.
template <typename F, typename Connects>
Connection listen(F &&function, Connects connects) {
  using Called = Listener<std::decay_t<F>>;
  using Entry = typename Signature<std::decay_t<F>>::template With<Called::template Entry>;
  auto *listener = new (std::nothrow) Called{{}, std::forward<F>(function), 0, false};
  if (listener == nullptr) return {};
  ztObject_ctor(&listener->object, 1);
  if (connects(&listener->object, slotFunction(Entry::call))) return {listener, Called::end};
  Called::end(listener);
  return {};
}

}  // namespace detail
/** @endcond */

/** Connects a function object to a signal: `zt::connect(gauge, "levelChanged", [](int32_t level) { ... })`. It takes
 *  the arguments of the signal, or fewer: integers, enumerations, pointers and doubles.
 *  @param sender         an object with signals
 *  @param signal         the name of the signal
 *  @param function       copied or moved; lives as long as the connection
 *  @param argumentCount  how many arguments the signal has, up to 4
 *  @return the connection, which ends with this handle; an empty one where ztObject_connect() gives 0 */
template <typename From, typename F>
requires(detail::Sender<From> &&detail::Slot<F>) Connection
    connect(From &&sender, const char *signal, F &&function,
            uint32_t argumentCount = detail::Signature<std::decay_t<F>>::count) {
  return detail::listen(std::forward<F>(function), [&](ztObject *listener, ztSlotFunction slot) {
    return argumentCount >= detail::Signature<std::decay_t<F>>::count &&
           ztObject_connect(detail::address(sender), signal, listener, slot, argumentCount);
  });
}

/** Connects a function object to the changes of one property:
 *  `zt::onChange(gauge, "level", [](int32_t level) { ... })`. It takes the new value, or nothing: a double of a double
 *  property, an integer or a pointer of another one. Of a text that a class of C++ keeps the value is a
 *  `const char *`, of a "ztString" property the ztString that was set.
 *  @param sender        an object with signals
 *  @param propertyName  the name of the property
 *  @param function      copied or moved; lives as long as the connection
 *  @return the connection, which ends with this handle; an empty one where ztObject_onChange() gives 0 */
template <typename From, typename F>
requires(detail::Sender<From> &&detail::Slot<F> &&detail::Signature<std::decay_t<F>>::count <= 1) Connection
    onChange(From &&sender, const char *propertyName, F &&function) {
  return detail::listen(std::forward<F>(function), [&](ztObject *listener, ztSlotFunction slot) {
    return ztObject_onChange(detail::address(sender), propertyName, listener, slot);
  });
}

/** Connects a member function of an object: `zt::connect<&Display::show>(gauge, "levelChanged", display)`. The
 *  connection ends with either object, and by zt::disconnect().
 *  @param sender         an object with signals
 *  @param signal         the name of the signal
 *  @param receiver       the object whose member function is called
 *  @param argumentCount  how many arguments the signal has, up to 4
 *  @return false where ztObject_connect() gives 0 */
template <auto function, typename From, typename To>
requires(detail::Sender<From> &&detail::Sender<To> &&detail::Slot<decltype(function)> &&std::is_base_of_v<
         typename detail::ClassOfMember<decltype(function)>::Type,
         detail::AddressOf<To>>) bool connect(From &&sender, const char *signal, To &&receiver,
                                              uint32_t argumentCount =
                                                  detail::Signature<decltype(function)>::count) {
  return argumentCount >= detail::Signature<decltype(function)>::count &&
         ztObject_connect(detail::address(sender), signal, detail::address(receiver),
                          detail::memberFunction<function, detail::AddressOf<To>>(), argumentCount) != 0;
}

/** Ends what zt::connect() with a member function connected. @return false when there is no such connection */
template <auto function, typename From, typename To>
requires(detail::Sender<From> &&detail::Sender<To> &&detail::Slot<decltype(function)>) bool disconnect(
    From &&sender, const char *signal, To &&receiver) {
  return ztObject_disconnect(detail::address(sender), signal, detail::address(receiver),
                             detail::memberFunction<function, detail::AddressOf<To>>()) != 0;
}

/** Emits a signal of an object; see zt::Class::emit(). */
template <typename From, detail::Emitted... Arguments>
requires(detail::Sender<From> &&
         sizeof...(Arguments) <= detail::mostArguments) bool emit(From &&sender, const char *signal,
                                                                  Arguments... arguments) {
  return detail::emit(detail::address(sender), signal, arguments...);
}

}  // namespace zt

#endif
