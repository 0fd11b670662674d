// Classes of the engine that are written in C++.
// Programs include it through zentova.hpp.
#ifndef ZT_CPP_CLASS_HPP
#define ZT_CPP_CLASS_HPP

#include "cpp/accessors.hpp"
#include "cpp/arguments.hpp"

#include <stddef.h>
#include <stdint.h>

#include <concepts>
#include <type_traits>
#include <utility>

namespace zt {
/** @cond private */
namespace detail {

template <typename T>
T *address(T *object) {
  return object;
}
template <typename T>
requires(CClass<T> || CppClass<T>) T *address(T &object) {
  return &object;
}
template <typename Owner>
requires requires(const Owner &owner) {
  owner.get();
}
auto *address(const Owner &owner) {
  return owner.get();
}

template <typename T>
using AddressOf = std::remove_pointer_t<decltype(address(std::declval<T &>()))>;

// An object, or an owner of or a pointer to one.
template <typename T>
concept Object = requires(T &object) {
  address(object);
}
&&(CClass<AddressOf<T>> || CppClass<AddressOf<T>>);

// The same, of a class with signals. A pointer to void is taken as one.
template <typename T>
concept Sender = requires(T &object) {
  address(object);
}
&&(std::same_as<AddressOf<T>, void> || (Object<T> && ObjectClass<AddressOf<T>>));

template <typename T>
concept Node = Object<T> && NodeClass<AddressOf<T>>;

}  // namespace detail
/** @endcond */

/**
 * The base of a C++ class of the engine: `struct Gauge : zt::Class<Gauge, ztObject>`.
 *
 * The parent is a C class or another C++ class. The class has a member `static constexpr auto className`, and may
 * have `static constexpr uint32_t classVersion` (1 by default), `static void define(zt::Def<Gauge> &)`, and
 * `struct Methods : zt::Class<Gauge, ztObject>::Methods` with further slots.
 *
 * Its constructors and its destructor are `create` and `destroy`, its copy constructor and copy assignment `clone`
 * and `assign`. As in C++, while the constructor or the destructor of a parent runs, the object is one of that
 * parent's class; but while it is copied, methods that the C parent's `clone` calls on the copy are already its own,
 * though its members have not begun. What the engine cannot make, because a constructor throws, is not public or
 * needs arguments, or because memory is exhausted, is an object of the C class above the C++ ones, with a line in the
 * log. What it cannot copy gives NULL. A class with a member that looks as if it could be copied but cannot, like
 * std::vector<std::unique_ptr<int>>, needs `Gauge(const Gauge &) = delete;`.
 *
 * What its destructor itself throws leaves the memory of the object behind.
 *
 * It has no virtual functions, and its first base is zt::Class: the slots of the method table are virtual. An object
 * may also be a variable. A copy of an object of a subclass, as a variable of this class, is made by the C parent's
 * `create` and `assign`. Without exceptions, a variable whose C parent's `create` failed has a count below 0.
 *
 * The class is registered with its first object, or by zt::registerClass(), and leaves the registry when its code is
 * unloaded. A plugin is unloaded only if it is compiled with `-fvisibility=hidden` or `-fno-gnu-unique`.
 */
template <typename Self, typename Parent>
struct Class : detail::CopyBegins<Class<Self, Parent>>,
               detail::BaseOf<Parent>,
               detail::CopyEnds<Class<Self, Parent>> {
  /** The class itself. */
  using ztSelf = Self;
  /** The parent. */
  using ztParent = Parent;
  /** The method table. */
  using Methods = detail::MethodsOf<Parent>;

  /** Objects on the heap are made by zt::make(). */
  static void *operator new(size_t) = delete;

  /** The object with the contents that the parent's `create` gives. */
  Class() {
    ztBegin();
  }
  /** A copy, with a count of 1; if the parent can be copied. */
  Class(const Class &other) = default;
  /** Assigns the contents by the parent's `assign`. */
  Class &operator=(const Class &other) = default;
  /** Ends the members of the class. Slots that are called meanwhile may throw. */
  ~Class() noexcept(false) {
    if constexpr (CppClass<Parent>) this->klass = detail::Traits<Parent>::klass();
  }

  /** Calls the parent's version of a method: `super(&Methods::write, file)`. */
  template <typename R, typename Table, typename... A, typename... Given>
  R super(R (*Table::*slot)(const void *, A...), Given &&...arguments) const {
    return (detail::tableOf<Parent>()->*slot)(this, std::forward<Given>(arguments)...);
  }
  /** The same for a method that may change the object. */
  template <typename R, typename Table, typename... A, typename... Given>
  R super(R (*Table::*slot)(void *, A...), Given &&...arguments) {
    return (detail::tableOf<Parent>()->*slot)(this, std::forward<Given>(arguments)...);
  }

  /** Emits a signal with up to four arguments: integers, enumerations, pointers and floating-point numbers.
   *  @return false when it has no slots, and where ztObject_emitArgs() gives 0 */
  template <detail::Emitted... Arguments>
  requires(detail::ObjectClass<Parent> &&
           sizeof...(Arguments) <= detail::mostArguments) bool emit(const char *signal,
                                                                    Arguments... arguments) {
    return detail::emit(this, signal, arguments...);
  }

  /** @cond private */
  void ztBegin() {
    static_assert(detail::Usable<Self>,
                  "a class has a name of its own, begins with zt::Class, and has no virtual functions");
    detail::ClassData<Self>::prepare();
    this->klass = detail::ClassData<Self>::klass();
  }
  /** @endcond */
};

/** What `define` of a class fills: its methods, properties and signals. The engine calls `define` whenever it fills
 *  the tables of the class or of a class below it, so `define` does nothing else.
 *  Every function returns the definition, so that calls may be chained. */
template <typename Self>
class Def {
 public:
  /** Puts a member function into a slot: `c.method<&Gauge::write>(&Methods::write)`. Arguments and result are
   *  those of the slot, or such as these convert to; a slot for constant objects takes a constant member function. For
   *  a NULL object the slot returns 0 or NULL. `create` and `destroy` stay the constructor and the destructor. */
  template <auto function, typename Table, typename R, typename Object, typename... A>
  requires(std::is_void_v<Object> &&std::is_invocable_r_v<
           R, decltype(function), std::conditional_t<std::is_const_v<Object>, const Self &, Self &>, A...>)
      Def &method(R (*Table::*slot)(Object *, A...)) {
    if (methods == nullptr) return *this;
    methods->*slot = [](Object *object, A... arguments) -> R {
      using This = std::conditional_t<std::is_const_v<Object>, const Self, Self>;
      if (object == nullptr) return R();
      return (static_cast<This *>(object)->*function)(arguments...);
    };
    return *this;
  }
  /** Puts a function with the slot's own arguments into a slot: for the slots that take a class. */
  template <auto function, typename Table, typename R, typename... A>
  requires std::same_as<decltype(function), R (*)(A...)> Def &method(R (*Table::*slot)(A...)) {
    if (methods != nullptr) methods->*slot = function;
    return *this;
  }

  /** Leaves a method to the subclasses. */
  template <typename Table, typename Slot>
  Def &abstract(Slot Table::*slot) {
    if (methods != nullptr) ztOOP_setAbstract(&(methods->*slot));
    return *this;
  }

  /** Declares a property that reads and writes a member, or reads by a member and writes by a function:
   *  `c.property<&Gauge::level>("level")`, `c.property<&Gauge::level, &Gauge::setLevel>("level")`. The kind is that
   *  of the member: "ztInt" for integers and enumerations of up to 32 bits, "ztBool" for bool, "ztChar" for char,
   *  "ztFloat" for double and float, "ztCharPtr" for classes like std::string, which take a copy, and for
   *  `const char *`, which keeps the pointer, "ztString" for zt::Own<ztString>, "ztVoidPtr" for pointers. It is read
   *  by a member or by a constant member function, which returns a text by reference; a function that writes a text
   *  takes what a `const char *` converts to. */
  template <auto from, auto to = from>
  requires(detail::ObjectClass<Self> &&detail::Property<Self, from, to>) Def &property(const char *name) {
    if (declared == nullptr) return *this;
    using Access = detail::Accessors<Self, from, to>;
    const int32_t known = ztProperty_registerTypes();
    const auto *table = static_cast<const ztObjectMethods *>(declared->methodTable);
    const int32_t added = table->addProperty(declared, name, detail::nameOf(Access::kind), Access::getter(),
                                             Access::setter(), nullptr, nullptr);
    done = done && known && added;
    return *this;
  }
  /** Declares a property that is read by a member or a member function, and not written. */
  template <auto from>
  requires(detail::ObjectClass<Self> &&detail::Readable<Self, from>) Def &readOnly(const char *name) {
    return property<from, nullptr>(name);
  }

  /** Declares a signal with its arguments: `c.signal("levelChanged(int32_t level)")`. */
  Def &signal(const char *text) requires detail::ObjectClass<Self> {
    if (declared != nullptr && !ztOOP_declareSignal(declared, text)) done = false;
    return *this;
  }

  /** @cond private */
  explicit Def(typename Self::Methods *table) : methods(table) {}
  explicit Def(ztClass *klass) : declared(klass) {}
  int32_t result() const {
    return done;
  }
  /** @endcond */

 private:
  typename Self::Methods *methods = nullptr;
  ztClass *declared = nullptr;
  bool done = true;
};

}  // namespace zt

#endif
