// Owners of objects, and pointers to them.
// Programs include it through zentova.hpp.
#ifndef ZT_CPP_OWNERS_HPP
#define ZT_CPP_OWNERS_HPP

#include "cpp/class.hpp"

#include <type_traits>
#include <utility>

namespace zt {

/** What is used like a pointer: all that gives an object by its `get`. */
template <typename Self, typename T>
class Pointing {
 public:
  /** The members of the object. */
  T *operator->() const {
    return get();
  }
  /** The object. */
  T &operator*() const {
    return *get();
  }
  /** Whether there is one. */
  explicit operator bool() const {
    return get() != nullptr;
  }

 protected:
  Pointing() = default;

 private:
  T *get() const {
    return static_cast<const Self *>(this)->get();
  }
};

/** A pointer to an object that somebody else owns. */
template <typename T>
class Ptr : public Pointing<Ptr<T>, T> {
 public:
  /** Points to nothing. */
  Ptr() = default;
  /** Points to the object. */
  Ptr(T *pointed) : object(pointed) {}
  /** Points to the same object, as one of a parent class. */
  template <typename U>
  requires std::is_convertible_v<U *, T *> Ptr(Ptr<U> other) : object(other.get()) {}
  /** The object, or NULL. */
  T *get() const {
    return object;
  }
  /** Whether both point to the same object. */
  bool operator==(const Ptr &other) const {
    return object == other.object;
  }

 private:
  T *object = nullptr;
};

/** What owns an object, alone or with others. */
template <typename Self, typename T>
class Owning : public Pointing<Self, T> {
 public:
  /** A pointer that does not own, also as one of a parent class. */
  template <typename U>
  requires std::is_convertible_v<T *, U *>
  operator Ptr<U>() const & {
    return static_cast<const Self *>(this)->get();
  }
  /** An owner that ends at once leaves nothing to point to. */
  template <typename U>
  operator Ptr<U>() const && = delete;

 protected:
  Owning() = default;
};

/** The only owner of an object: releases it at its end. What a slot of "destroyed" throws leaves the release: of an
 *  object of a C++ class, the members have ended then, and one of the C class above is left, which leaks unless it is
 *  released once more with `unRef`. */
template <typename T>
class [[nodiscard]] Own : public Owning<Own<T>, T> {
 public:
  /** Owns nothing. */
  Own() = default;
  /** Takes over the caller's object, which is on the heap. */
  explicit Own(T *owned) : object(owned) {}
  /** Takes over what the other owned. */
  Own(Own &&other) noexcept : object(other.release()) {}
  /** Takes over what the other owned, as one of a parent class. */
  template <typename U>
  requires std::is_convertible_v<U *, T *> Own(Own<U> &&other)
  noexcept : object(other.release()) {}
  /** Releases its own object and takes over the other's. */
  Own &operator=(Own &&other) noexcept(false) {
    reset(other.release());
    return *this;
  }
  /** Releases the object. */
  ~Own() noexcept(false) {
    reset();
  }

  /** The object, or NULL. */
  T *get() const {
    return object;
  }
  /** Hands the object over to the caller. */
  [[nodiscard]] T *release() {
    return std::exchange(object, nullptr);
  }
  /** Releases the object, and takes over another one. */
  void reset(T *other = nullptr) {
    T *old = std::exchange(object, other);
    if (old != nullptr) detail::unRef(old);
  }

 private:
  T *object = nullptr;
};

/** One of several owners of an object: the last one releases it. The engine's count stays one above the number of
 *  owners, because the object ends when it comes down to 1. */
template <typename T>
class Shared : public Owning<Shared<T>, T> {
 public:
  /** Owns nothing. */
  Shared() = default;
  /** Becomes the first owner. */
  Shared(Own<T> &&only) : object(only.release()) {
    hold();
  }
  /** Becomes an owner, too. */
  Shared(const Shared &other) : object(other.object) {
    hold();
  }
  /** Owns in the other's place. */
  Shared(Shared &&other) noexcept : object(std::exchange(other.object, nullptr)) {}
  /** Becomes an owner, too, of the object as one of a parent class. */
  template <typename U>
  requires std::is_convertible_v<U *, T *> Shared(const Shared<U> &other) : object(other.get()) {
    hold();
  }
  /** Becomes an owner of the other's object. */
  Shared &operator=(Shared other) noexcept(false) {
    std::swap(object, other.object);
    return *this;
  }
  /** The last owner releases the object. */
  ~Shared() noexcept(false) {
    if (object != nullptr) detail::unRef(object);
  }

  /** The object, or NULL. */
  T *get() const {
    return object;
  }

 private:
  void hold() {
    if (object != nullptr) detail::methodsOf<ztBaseClass>(object)->ref(object);
  }

  T *object = nullptr;
};

/** A pointer that becomes NULL when its object ends: see ztObject_watch(). The destructor of a C++ class still finds
 *  its object there, the slots of "destroyed" do not. */
template <typename T>
class Weak : public Pointing<Weak<T>, T> {
 public:
  /** Points to nothing. */
  Weak() = default;
  /** Points to an object of a class with signals; to nothing where ztObject_watch() gives 0. */
  template <detail::Sender From>
  requires std::is_convertible_v < detail::AddressOf<From>
  *, T * > Weak(From &&from) {
    watch(detail::address(from));
  }
  /** Points to the same object. */
  Weak(const Weak &other) {
    watch(other.get());
  }
  /** Points to the other's object. */
  Weak &operator=(const Weak &other) {
    if (this == &other) return *this;
    forget();
    watch(other.get());
    return *this;
  }
  /** Stops watching the object. */
  ~Weak() {
    forget();
  }

  /** The object; NULL when it has ended. */
  T *get() const {
    return static_cast<T *>(object);
  }

 private:
  void watch(T *watched) {
    if (watched != nullptr) ztObject_watch(watched, &object);
  }
  void forget() {
    if (object != nullptr) ztObject_unwatch(object, &object);
    object = nullptr;
  }

  void *object = nullptr;
};

/** Makes an object: `zt::make<Gauge>()`, `zt::make<ztRoot>()`. A C++ class gets the arguments of one of its
 *  constructors. What that throws reaches the caller.
 *  @return its owner; when memory is exhausted, an empty one where there are no exceptions */
template <typename T, typename... Arguments>
requires(detail::Usable<T> &&
         (CppClass<T> ? std::is_constructible_v<T, Arguments...>
                      : sizeof...(Arguments) == 0)) Own<T> make(Arguments &&...arguments) {
  if constexpr (CppClass<T>) {
    void *memory = detail::ClassData<T>::newop();
    T *object = nullptr;
    if (memory == nullptr) {
      detail::memoryIsExhausted();
      return {};
    }
    const auto freeMemory = [memory] { detail::unRef(ztBaseClass_ctor(memory, 0)); };
    detail::undoing([&] { object = detail::construct<T>(memory, std::forward<Arguments>(arguments)...); },
                    freeMemory);
    if (object == nullptr) [[unlikely]]
      freeMemory();
    return Own<T>(object);
  } else {
    void *object = detail::Traits<T>::ctor(nullptr, 1);
    if (object == nullptr) [[unlikely]]
      detail::memoryIsExhausted();
    return Own<T>(static_cast<T *>(object));
  }
}

/** Makes a class known by its name before its first object. @return false when another class has its name */
template <typename T>
requires detail::Usable<T>
bool registerClass() {
  return ztOOP_registerClassOf(detail::Traits<T>::ctor) != 0;
}

/** The object as one of a class; NULL, with a line in the log, if it is none. */
template <typename T>
requires detail::Usable<T> T *cast(const void *object) {
  return static_cast<T *>(ztOOP_cast(object, detail::Traits<T>::klass()));
}

/** The method table of an object's class, to call its slots: `zt::methods(node)->getName(node.get())`. */
template <detail::Object From>
const detail::MethodsOf<std::remove_const_t<detail::AddressOf<From>>> *methods(From &&object) {
  return detail::methodsOf<std::remove_const_t<detail::AddressOf<From>>>(detail::address(object));
}

}  // namespace zt

#endif
