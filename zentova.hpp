/**
 * @file zentova.hpp
 * The library for C++20: classes of the engine as C++ classes, owners, typed properties, functions as slots.
 *
 * @code
 * struct Gauge : zt::Class<Gauge, ztObject> {
 *   static constexpr auto className = "Gauge";
 *   int32_t level = 0;
 *   void setLevel(int32_t value) { level = value; emit("levelChanged", value); }
 *   static void define(zt::Def<Gauge> &c) { c.property<&Gauge::level, &Gauge::setLevel>("level"); }
 * };
 *
 * auto gauge = zt::make<Gauge>();
 * auto seen = zt::connect(gauge, "levelChanged", [](int32_t level) { std::printf("%d\n", level); });
 * zt::Property<int32_t>("level").set(gauge, 42);
 * @endcode
 *
 * All of it stands on the C interface, with or without exceptions and run-time type information. An exception
 * that leaves a slot, a method or a constructor reaches the C++ code that called the engine.
 *
 * Where a function takes "an object", it takes an owner, a reference or a pointer.
 */
#ifndef ZT_ZENTOVA_HPP
#define ZT_ZENTOVA_HPP

#include "zentova.h"

#include <stdint.h>
#include <string.h>

#include <concepts>
#include <cstddef>
#include <exception>
#include <new>
#include <type_traits>
#include <utility>

namespace zt {

template <typename Self, typename Parent>
struct Class;
template <typename Self>
class Def;

/** Whether a type is a class that was made with zt::Class. */
template <typename T>
concept CppClass = requires {
  typename T::ztSelf;
};

/** Whether a type is a class that was declared with ZT_DECLARE_CLASS(). */
template <typename T>
concept CClass = !CppClass<T> && requires(const T *object) {
  ztTraitsOf(object);
};

/** @cond private */
namespace detail {

template <typename T>
struct ClassData;

template <typename T>
struct TraitsOf {
  using Type = ClassData<T>;
};
template <CClass T>
struct TraitsOf<T> {
  using Type = decltype(ztTraitsOf(static_cast<const T *>(nullptr)));
};

// The method table and the functions of a class of either kind.
template <typename T>
using Traits = typename TraitsOf<T>::Type;

template <typename T>
using MethodsOf = typename Traits<T>::Methods;

// The C class at or above a class.
template <typename T>
struct CBaseOf {
  using Type = typename CBaseOf<typename T::ztParent>::Type;
};
template <CClass T>
struct CBaseOf<T> {
  using Type = T;
};
template <typename T>
using CBase = typename CBaseOf<T>::Type;

// Whether a class has properties, signals and slots.
template <typename T>
concept ObjectClass = requires(const MethodsOf<CBase<T>> *methods) {
  methods->initProperties;
};

// Whether the engine can make objects of a class: their header is at their address, and the name is known.
template <typename T>
concept Usable = CClass<T> ||
    (CppClass<T> && !std::is_polymorphic_v<T> && alignof(T) <= alignof(max_align_t) &&
     requires { static_cast<const char *>(T::className); });

template <typename T>
concept HasDefine = requires(Def<T> &c) {
  T::define(c);
};

template <typename T>
const MethodsOf<T> *tableOf() {
  return static_cast<const MethodsOf<T> *>(Traits<T>::klass()->methodTable);
}

template <typename T>
const MethodsOf<T> *methodsOf(const void *object) {
  return static_cast<const MethodsOf<T> *>(ztOOP_classOf(object)->methodTable);
}

inline void unRef(void *object) {
  static_cast<const ztBaseClassMethods *>(ztOOP_classOf(object)->methodTable)->unRef(object);
}

// An object that the engine is making, copying or assigning on this thread: its header stays as it is, and what fails
// in the C part is told here.
struct Making {
  explicit Making(void *made)
      : object(made),
        klass(static_cast<ztBaseClass *>(made)->klass),
        refCount(static_cast<ztBaseClass *>(made)->refCount),
        outer(current) {
    current = this;
  }
  ~Making() {
    current = outer;
  }
  Making(const Making &) = delete;
  Making &operator=(const Making &) = delete;

  // The one of this object, if the engine is making it.
  static Making *of(const void *made) {
    return current != nullptr && current->object == made ? current : nullptr;
  }

  void *object;
  ztClass *klass;
  int32_t refCount;
  bool failed = false;
  Making *outer;

  static inline thread_local Making *current = nullptr;
};

#ifdef __cpp_exceptions
// What a constructor threw while C code made the object.
inline thread_local std::exception_ptr thrown;

template <typename Try, typename Catch>
auto guarded(Try act, Catch instead) {
  try {
    return act();
  } catch (...) {
    thrown = std::current_exception();
    return instead();
  }
}
inline void rethrow() {
  if (thrown) std::rethrow_exception(std::exchange(thrown, nullptr));
}
#else
template <typename Try, typename Catch>
auto guarded(Try act, Catch) {
  return act();
}
inline void rethrow() {}
#endif

// The descriptor of a C++ class, and what the engine calls.
template <typename T>
struct ClassData {
  using Methods = typename T::Methods;
  using Parent = typename T::ztParent;

  static ztClass *klass() {
    return &descriptor;
  }
  static void *ctor(void *object, int32_t create) {
    // Removes the class when its code is unloaded.
    (void)&leave;
    return ztOOP_construct(&description, object, create);
  }
  static void *newop() {
    return ctor(nullptr, 0);
  }
  static void initTable(void *object) {
    ztOOP_initTable(&description, object);
  }
  static uint32_t version(const void *, const void *object) {
    return ztOOP_versionOf(object);
  }
  static const char *className(const void *, const void *object) {
    return ztOOP_classNameOf(object);
  }
  static int32_t isClass(const void *, const void *object, const char *name) {
    return ztOOP_isClass(object, name);
  }
  static int32_t isClassOf(const void *, const void *object, const char *name) {
    return ztOOP_isClassOf(object, name);
  }

  static int32_t create(void *object) {
    if (object == nullptr) return 0;
    Making made(object);
    return guarded(
        [&] {
          T *self = ::new (object) T;
          if (made.failed) self->~T();
          return made.failed ? leaveParent(object) : 1;
        },
        [&] { return leaveParent(object); });
  }
  // What could not be made is an object of the C class above: whoever asked for it releases it as usual.
  static int32_t leaveParent(void *object) {
    Traits<CBase<T>>::ctor(object, 1);
    return 0;
  }
  static void destroy(void *object) {
    if (object != nullptr) static_cast<T *>(object)->~T();
  }
  static void *clone(const void *source, void *target) {
    if constexpr (std::is_copy_constructible_v<T>) {
      if (source == nullptr || target == nullptr) return nullptr;
      static_cast<ztBaseClass *>(target)->klass = ztOOP_classOf(source);
      static_cast<ztBaseClass *>(target)->refCount = static_cast<const ztBaseClass *>(source)->refCount;
      Making made(target);
      return guarded(
          [&]() -> void * {
            T *self = ::new (target) T(*static_cast<const T *>(source));
            if (made.failed) self->~T();
            return made.failed ? nullptr : target;
          },
          []() -> void * { return nullptr; });
    } else {
      return nullptr;
    }
  }
  static int32_t assign(void *object, const void *other) {
    if constexpr (std::is_copy_assignable_v<T>) {
      if (object == nullptr || other == nullptr || ztOOP_cast(other, klass()) == nullptr) return 0;
      Making made(object);
      *static_cast<T *>(object) = *static_cast<const T *>(other);
      return !made.failed;
    } else {
      return 0;
    }
  }

  static int32_t initProperties(ztClass *klass) {
    Def<T> definition(klass);
    if constexpr (HasDefine<T>) T::define(definition);
    return definition.result();
  }

  static void fillMethods(void *table) {
    auto *methods = static_cast<Methods *>(table);
    methods->Allocator = ztOOP_allocatorOf;
    methods->create = create;
    methods->destroy = destroy;
    methods->clone = clone;
    methods->assign = assign;
    if constexpr (ObjectClass<T>) methods->initProperties = initProperties;
    Def<T> definition(methods);
    if constexpr (HasDefine<T>) T::define(definition);
  }
  static void fillFunctions(void *) {}

  static constexpr uint32_t versionOfClass() {
    if constexpr (requires { T::classVersion; }) {
      return T::classVersion;
    } else {
      return 1;
    }
  }

  static inline const char *const name = T::className;
  static inline const uint32_t classVersion = versionOfClass();
  static inline Methods table = {};
  static inline ztClassFunctions functions = {};
  static inline ztClass descriptor = {nullptr, 0, 0, nullptr, 0, 0, &functions, &table};
  static inline ztClassState state = {};
  static inline const ztClassDescription description = {
      &descriptor,
      &state,
      Traits<Parent>::klass,
      Traits<Parent>::initTable,
      &name,
      &classVersion,
      static_cast<int32_t>(sizeof(T)),
      static_cast<uint16_t>(sizeof(Methods) / sizeof(void *)),
      1,
      fillMethods,
      fillFunctions,
      {newop, ctor, initTable, nullptr, version, className, isClass, isClassOf, nullptr, nullptr},
      "",
      "",
      ""};

  struct Leave {
    ~Leave() {
      ztOOP_leaveRegistry(&description);
    }
  };
  static inline const Leave leave;
};

// Arguments of signals -----------------------------------------------------------------------------------

// What an argument register of the C interface holds: a word or a double.
template <typename T>
concept Word = std::is_integral_v<T> || std::is_enum_v<T> || std::is_pointer_v<T>;
template <typename T>
concept Argument = (Word<T> && sizeof(T) <= sizeof(intptr_t)) || std::same_as<T, double>;

template <Argument T>
ztArgument argumentOf(T value) {
  ztArgument argument;
  if constexpr (std::same_as<T, double>) {
    argument.kind = ZT_ARGUMENT_DOUBLE;
    argument.value.number = value;
  } else {
    argument.kind = ZT_ARGUMENT_WORD;
    if constexpr (std::is_pointer_v<T>) {
      argument.value.pointer = reinterpret_cast<const void *>(value);
    } else {
      argument.value.word = static_cast<intptr_t>(value);
    }
  }
  return argument;
}
inline ztArgument argumentOf(float value) {
  return argumentOf(static_cast<double>(value));
}

inline constexpr uint32_t mostArguments = 4;

// The signature of what is called, without its object: a function object, a function, a member function.
template <typename T>
struct Signature : Signature<decltype(&T::operator())> {};
template <typename Result, typename... Arguments>
struct SignatureIs {
  static constexpr uint32_t count = sizeof...(Arguments);
  static constexpr bool isSlot = count <= mostArguments && (Argument<Arguments> && ...);
};
template <typename R, typename... A>
struct Signature<R (*)(A...)> : SignatureIs<R, A...> {
  template <template <typename...> typename To, typename... First>
  using With = To<First..., A...>;
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

// The slot that calls a member function of the receiver.
template <auto function, typename Receiver, typename... Arguments>
struct MemberSlot {
  static void call(void *receiver, Arguments... arguments) {
    (static_cast<Receiver *>(receiver)->*function)(arguments...);
  }
};

template <typename T>
struct ClassOfMember;
template <typename T, typename M>
struct ClassOfMember<M T::*> {
  using Type = T;
};

// Properties ---------------------------------------------------------------------------------------------

// A class for text that is assigned from and read as characters, like std::string.
template <typename T>
concept TextClass = std::is_class_v<T> && requires(T &text, const T &constant, const char *characters) {
  { constant.c_str() } -> std::convertible_to<const char *>;
  text = characters;
};

template <typename T>
constexpr const char *kindOf() {
  if constexpr (std::same_as<T, bool>)
    return "ztBool";
  else if constexpr (std::same_as<T, char> || std::same_as<T, signed char>)
    return "ztChar";
  else if constexpr (std::is_floating_point_v<T> && sizeof(T) <= sizeof(double))
    return "ztFloat";
  else if constexpr (std::same_as<T, const char *> || TextClass<T>)
    return "ztCharPtr";
  else if constexpr (std::is_pointer_v<T> && !std::is_function_v<std::remove_pointer_t<T>>)
    return "ztVoidPtr";
  else if constexpr ((std::is_integral_v<T> || std::is_enum_v<T>)&&sizeof(T) <= sizeof(int32_t))
    return "ztInt";
  else
    return nullptr;
}

// Whether a property can have this type.
template <typename T>
concept Value = kindOf<std::remove_cvref_t<T>>()
!= nullptr;

template <typename Self, auto from>
decltype(auto) valueOf(const Self &self) {
  if constexpr (std::is_member_object_pointer_v<decltype(from)>) {
    return (self.*from);
  } else {
    return (self.*from)();
  }
}

template <typename Self, auto from>
concept Readable = Value<decltype(valueOf<Self, from>(std::declval<const Self &>()))>;

template <typename Self, auto from, auto to>
struct Accessors {
  using Type = std::remove_cvref_t<decltype(valueOf<Self, from>(std::declval<const Self &>()))>;
  static constexpr const char *kind = kindOf<Type>();

  static const Self &selfOf(const void *object) {
    return *static_cast<const Self *>(object);
  }
  template <typename Result>
  static Result get(const void *object) {
    if constexpr (TextClass<Type>) {
      return valueOf<Self, from>(selfOf(object)).c_str();
    } else if constexpr (std::is_pointer_v<Type>) {
      return const_cast<Result>(static_cast<const void *>(valueOf<Self, from>(selfOf(object))));
    } else {
      return static_cast<Result>(valueOf<Self, from>(selfOf(object)));
    }
  }
  static const char *getText(const void *object) {
    if constexpr (TextClass<Type>)
      return valueOf<Self, from>(selfOf(object)).c_str();
    else
      return valueOf<Self, from>(selfOf(object));
  }
  template <typename Given>
  static void set(void *object, Given given) {
    auto &self = *static_cast<Self *>(object);
    if constexpr (std::same_as<std::remove_const_t<decltype(to)>, std::nullptr_t>) {
      (void)self;
    } else if constexpr (std::is_member_object_pointer_v<decltype(to)>) {
      self.*to = static_cast<Type>(given);
    } else {
      (self.*to)(static_cast<Type>(given));
    }
  }
  static char *setText(void *object, const char *text) {
    auto &self = *static_cast<Self *>(object);
    if constexpr (TextClass<Type>) {
      if (text == nullptr) text = "";
    }
    if constexpr (std::is_member_object_pointer_v<decltype(to)>)
      self.*to = text;
    else if constexpr (!std::same_as<std::remove_const_t<decltype(to)>, std::nullptr_t>)
      (self.*to)(text);
    return nullptr;
  }

  static ztGetter getter() {
    ztGetter function;
    if constexpr (kindOf<Type>()[2] == 'F')
      function.getFloat = get<double>;
    else if constexpr (kindOf<Type>()[2] == 'V')
      function.getPointer = get<void *>;
    else if constexpr (std::same_as<Type, const char *> || TextClass<Type>)
      function.getText = getText;
    else if constexpr (std::same_as<Type, char> || std::same_as<Type, signed char>)
      function.getChar = get<signed char>;
    else
      function.getInt = get<int32_t>;
    return function;
  }
  static ztSetter setter() {
    ztSetter function;
    function.setInt = nullptr;
    if constexpr (!std::same_as<std::remove_const_t<decltype(to)>, std::nullptr_t>) {
      if constexpr (kindOf<Type>()[2] == 'F')
        function.setFloat = set<double>;
      else if constexpr (kindOf<Type>()[2] == 'V')
        function.setPointer = set<void *>;
      else if constexpr (std::same_as<Type, const char *> || TextClass<Type>)
        function.setText = setText;
      else
        function.setInt = set<int32_t>;
    }
    return function;
  }
};

}  // namespace detail
/** @endcond */

// Classes ------------------------------------------------------------------------------------------------

/**
 * The base of a C++ class of the engine: `struct Gauge : zt::Class<Gauge, ztObject>`.
 *
 * The parent is a C class or another C++ class. The class has a member `static constexpr auto className`, and may
 * have `static constexpr uint32_t classVersion` (1 by default), `static void define(zt::Def<Gauge> &)`, and
 * `struct Methods : zt::Class<Gauge, ztObject>::Methods` with further slots.
 *
 * The constructors of its members run when the engine creates an object, its destructor when the engine destroys
 * it; the copy constructor and the copy assignment are `clone` and `assign`, if it has them. It has no virtual
 * functions: the slots of the method table are virtual. An object may also be a variable.
 */
template <typename Self, typename Parent>
struct Class : Parent {
  using ztSelf = Self;                       /**< the class itself */
  using ztParent = Parent;                   /**< the parent */
  using Methods = detail::MethodsOf<Parent>; /**< the method table */

  static void *operator new(size_t) = delete; /**< see zt::make() */

  /** The object as the engine makes it, or a variable. */
  Class() {
    if constexpr (CClass<Parent>) {
      if (auto *making = detail::Making::of(this)) {
        this->klass = making->klass;
        this->refCount = making->refCount;
        making->failed = !detail::tableOf<Parent>()->create(this);
      } else {
        detail::Traits<Self>::ctor(this, 0);
        detail::tableOf<Parent>()->create(this);
      }
    } else if (!detail::Making::of(this)) {
      this->klass = takenBy();
    }
  }
  /** A copy, with no references besides the first. */
  Class(const Class &other) : Parent(parentOf(other)) {
    if constexpr (CClass<Parent>) {
      auto *making = detail::Making::of(this);
      const bool copied = detail::tableOf<Parent>()->clone(&other, this) != nullptr;
      if (making != nullptr) {
        making->failed = !copied;
      } else {
        this->klass = takenBy();
        this->refCount = 1;
      }
    }
  }
  /** Assigns the contents. */
  Class &operator=(const Class &other) {
    if constexpr (CClass<Parent>) {
      auto *making = detail::Making::of(this);
      const bool assigned = detail::tableOf<Parent>()->assign(this, &other) != 0;
      if (making != nullptr && !assigned) making->failed = true;
    } else {
      Parent::operator=(other);
    }
    return *this;
  }
  /** A slot that the destruction calls may throw. */
  ~Class() noexcept(false) {
    if constexpr (CClass<Parent>) {
      // The members are gone: from here on it is an object of the parent class.
      this->klass = detail::Traits<Parent>::klass();
      detail::tableOf<Parent>()->destroy(this);
    }
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
  template <typename... Arguments>
  requires(detail::ObjectClass<Parent> &&
           sizeof...(Arguments) <= detail::mostArguments) bool emit(const char *signal,
                                                                    Arguments... arguments) {
    if constexpr (sizeof...(arguments) == 0) {
      return ztObject_emit(this, signal, 0) != 0;
    } else {
      const ztArgument list[] = {detail::argumentOf(arguments)...};
      if constexpr (sizeof...(arguments) == 1) {
        return (list[0].kind == ZT_ARGUMENT_WORD
                    ? ztObject_emit(this, signal, list[0].value.word)
                    : ztObject_emitDouble(this, signal, list[0].value.number)) != 0;
      } else {
        return ztObject_emitArgs(this, signal, list, sizeof...(arguments)) != 0;
      }
    }
  }

 private:
  static ztClass *takenBy() {
    ztBaseClass header;
    detail::Traits<Self>::ctor(&header, 0);
    return header.klass;
  }
  static decltype(auto) parentOf(const Class &other) {
    if constexpr (CClass<Parent>) {
      (void)other;
      return Parent{};
    } else {
      return static_cast<const Parent &>(other);
    }
  }
};

/** What `define` of a class fills: its methods, properties and signals. */
template <typename Self>
class Def {
 public:
  /** Puts a member function into a slot: `c.method<&Gauge::write>(&Methods::write)`. The arguments and the result are
   *  those of the slot; a slot for constant objects takes a constant member function. For a NULL object the
   *  slot returns 0 or NULL. */
  template <auto function, typename Table, typename R, typename Object, typename... A>
  requires(std::is_void_v<Object> &&std::is_invocable_r_v<
           R, decltype(function), std::conditional_t<std::is_const_v<Object>, const Self &, Self &>,
           A...>) void method(R (*Table::*slot)(Object *, A...)) {
    if (methods == nullptr) return;
    methods->*slot = [](Object *object, A... arguments) -> R {
      using This = std::conditional_t<std::is_const_v<Object>, const Self, Self>;
      if (object == nullptr) return R();
      return (static_cast<This *>(object)->*function)(arguments...);
    };
  }

  /** Leaves a method to the subclasses. */
  template <typename Table, typename Slot>
  void abstract(Slot Table::*slot) {
    if (methods != nullptr) ztOOP_setAbstract(&(methods->*slot));
  }

  /** Declares a property that reads and writes a member, or reads by a member and writes by a function:
   *  `c.property<&Gauge::level>("level")`, `c.property<&Gauge::level, &Gauge::setLevel>("level")`. The kind is that of
   *  the member: integers and enumerations of up to 32 bits, bool, char, double and float, text (`const char *` and
   *  classes like std::string), pointers. */
  template <auto from, auto to = from>
  requires(detail::ObjectClass<Self> &&detail::Readable<Self, from>) void property(const char *name) {
    if (declared == nullptr) return;
    using Access = detail::Accessors<Self, from, to>;
    const int32_t known = ztProperty_registerTypes();
    const auto *table = static_cast<const ztObjectMethods *>(declared->methodTable);
    const int32_t added = table->addProperty(declared, name, Access::kind, Access::getter(), Access::setter(),
                                             nullptr, nullptr);
    done = done && known && added;
  }
  /** Declares a property that is read by a member or a member function. */
  template <auto from>
  void readOnly(const char *name) {
    property<from, nullptr>(name);
  }

  /** Declares a signal with its arguments: `c.signal("levelChanged(int32_t level)")`. */
  void signal(const char *text) requires detail::ObjectClass<Self> {
    if (declared != nullptr && !ztOOP_declareSignal(declared, text)) done = false;
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

// Owners -------------------------------------------------------------------------------------------------

/** A pointer to an object that somebody else owns. */
template <typename T>
class Ptr {
 public:
  Ptr() = default;
  /** Points to the object. */
  Ptr(T *pointed) : object(pointed) {}
  T *get() const {
    return object;
  } /**< the object, or NULL */
  T *operator->() const {
    return object;
  } /**< its members */
  T &operator*() const {
    return *object;
  } /**< the object */
  explicit operator bool() const {
    return object != nullptr;
  }                                                  /**< whether there is one */
  bool operator==(const Ptr &other) const = default; /**< whether they point to the same object */

 private:
  T *object = nullptr;
};

/** The only owner of an object: releases it at its end. */
template <typename T>
class [[nodiscard]] Own {
 public:
  Own() = default;
  /** Takes over the caller's object. */
  explicit Own(T *owned) : object(owned) {}
  Own(Own &&other) noexcept : object(other.release()) {} /**< takes over what the other owned */
  /** Takes over what the other owned, or what it owns as a parent class. */
  template <typename U>
  requires(std::is_convertible_v<U *, T *>) Own(Own<U> &&other)
  noexcept : object(other.release()) {}
  /** Releases its own object and takes over the other's. */
  Own &operator=(Own &&other) noexcept(false) {
    reset(other.release());
    return *this;
  }
  ~Own() noexcept(false) {
    reset();
  }

  T *get() const {
    return object;
  } /**< the object, or NULL */
  T *operator->() const {
    return object;
  } /**< its members */
  T &operator*() const {
    return *object;
  } /**< the object */
  explicit operator bool() const {
    return object != nullptr;
  } /**< whether there is one */
  operator Ptr<T>() const {
    return object;
  } /**< a pointer that does not own */
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
class Shared {
 public:
  Shared() = default;
  /** Becomes the first owner. */
  Shared(Own<T> &&only) : object(only.release()) {
    hold();
  }
  Shared(const Shared &other) : object(other.object) {
    hold();
  } /**< becomes an owner, too */
  Shared(Shared &&other) noexcept : object(std::exchange(other.object, nullptr)) {} /**< owns in its place */
  /** Becomes an owner of the other's object. */
  Shared &operator=(Shared other) noexcept(false) {
    std::swap(object, other.object);
    return *this;
  }
  ~Shared() noexcept(false) {
    if (object != nullptr) detail::unRef(object);
  }

  T *get() const {
    return object;
  } /**< the object, or NULL */
  T *operator->() const {
    return object;
  } /**< its members */
  T &operator*() const {
    return *object;
  } /**< the object */
  explicit operator bool() const {
    return object != nullptr;
  } /**< whether there is one */
  operator Ptr<T>() const {
    return object;
  } /**< a pointer that does not own */

 private:
  void hold() {
    if (object != nullptr) detail::methodsOf<ztBaseClass>(object)->ref(object);
  }

  T *object = nullptr;
};

/** Makes an object: `zt::make<Gauge>()`, `zt::make<ztRoot>()`. What a constructor of the class throws reaches the
 *  caller. @return its owner; an empty one when memory is exhausted */
template <typename T>
requires detail::Usable<T> Own<T> make() {
  void *object = detail::Traits<T>::ctor(nullptr, 1);
  if constexpr (CppClass<T>) {
    if (object != nullptr && ztOOP_classOf(object) != detail::Traits<T>::klass()) [[unlikely]] {
      detail::unRef(object);
      detail::rethrow();
      return {};
    }
  }
  return Own<T>(static_cast<T *>(object));
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
template <typename T>
const detail::MethodsOf<T> *methods(const T &object) {
  return detail::methodsOf<T>(&object);
}

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

// An object with signals, or an owner of or a pointer to one. A pointer to void is taken as one.
template <typename T>
concept Sender = requires(T &object) {
  address(object);
}
&&(std::is_void_v<AddressOf<T>> || ObjectClass<std::remove_const_t<AddressOf<T>>>);

}  // namespace detail
/** @endcond */

// Signals and slots --------------------------------------------------------------------------------------

/** A connection that ends with its handle, or with its sender. */
class [[nodiscard]] Connection {
 public:
  Connection() = default;
  Connection(Connection &&other) noexcept
      : listener(std::exchange(other.listener, nullptr)), end(other.end) {} /**< takes it over */
  /** Ends its own connection and takes over the other's. */
  Connection &operator=(Connection &&other) noexcept {
    disconnect();
    listener = std::exchange(other.listener, nullptr);
    end = other.end;
    return *this;
  }
  ~Connection() {
    disconnect();
  }
  explicit operator bool() const {
    return listener != nullptr;
  } /**< false when connecting failed */
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
    ztObject_of(&self->object)->destroy(&self->object);
    self->hasEnded = true;
    if (self->calls == 0) delete self;
  }

  struct Call {
    explicit Call(Listener *called) : self(called) {
      ++self->calls;
    }
    ~Call() {
      if (--self->calls == 0 && self->hasEnded) delete self;
    }
    Call(const Call &) = delete;
    Call &operator=(const Call &) = delete;
    Listener *self;
  };

  template <typename... Arguments>
  struct Entry {
    static void call(void *listener, Arguments... arguments) {
      const Call call(static_cast<Listener *>(listener));
      call.self->function(arguments...);
    }
  };
};

}  // namespace detail
/** @endcond */

/** Connects a function object to a signal: `zt::connect(gauge, "levelChanged", [](int32_t level) { ... })`. It takes
 *  the arguments of the signal: up to four integers, enumerations, pointers and doubles.
 *  @return the connection, which ends with this handle; an empty one where ztObject_connect() gives 0 */
template <typename From, typename F>
requires(detail::Sender<From> &&detail::Slot<F>) Connection
    connect(From &&sender, const char *signal, F &&function) {
  using Called = detail::Listener<std::decay_t<F>>;
  using Signature = detail::Signature<std::decay_t<F>>;
  auto *listener = new (std::nothrow) Called{{}, std::forward<F>(function), 0, false};
  if (listener == nullptr) return {};
  ztObject_ctor(&listener->object, 1);
  using Entry = typename Signature::template With<Called::template Entry>;
  if (ztObject_connect(detail::address(sender), signal, listener, detail::slotFunction(Entry::call),
                       Signature::count)) {
    return {listener, Called::end};
  }
  Called::end(listener);
  return {};
}

/** @cond private */
namespace detail {

template <auto function, typename Receiver>
struct MemberEntry {
  template <typename... Arguments>
  using Of = MemberSlot<function, Receiver, Arguments...>;
};

template <auto function, typename To>
ztSlotFunction memberFunction() {
  using Entry = typename Signature<decltype(function)>::template With<MemberEntry<function, To>::template Of>;
  return slotFunction(Entry::call);
}

}  // namespace detail
/** @endcond */

/** Connects a member function of an object: `zt::connect<&Display::show>(gauge, "levelChanged", display)`. The
 *  connection ends with either object, and by zt::disconnect(). @return false where ztObject_connect() gives 0 */
template <auto function, typename From, typename To>
requires(detail::Sender<From> &&detail::Sender<To> &&detail::Slot<decltype(function)>
             &&std::is_base_of_v<typename detail::ClassOfMember<decltype(function)>::Type,
                                 detail::AddressOf<To>>) bool connect(From &&sender, const char *signal,
                                                                      To &&receiver) {
  using Receiver = detail::AddressOf<To>;
  return ztObject_connect(detail::address(sender), signal, detail::address(receiver),
                          detail::memberFunction<function, Receiver>(),
                          detail::Signature<decltype(function)>::count) != 0;
}

/** Ends what zt::connect() with a member function connected. @return false when there is no such connection */
template <auto function, typename From, typename To>
requires(detail::Sender<From> &&detail::Sender<To> &&detail::Slot<decltype(function)>) bool disconnect(
    From &&sender, const char *signal, To &&receiver) {
  return ztObject_disconnect(detail::address(sender), signal, detail::address(receiver),
                             detail::memberFunction<function, detail::AddressOf<To>>()) != 0;
}

/** Emits a signal of an object; see zt::Class::emit(). */
template <typename From, typename... Arguments>
requires(detail::Sender<From> &&
         sizeof...(Arguments) <= detail::mostArguments) bool emit(From &&sender, const char *signal,
                                                                  Arguments... arguments) {
  const ztArgument list[] = {detail::argumentOf(arguments)..., {}};
  return ztObject_emitArgs(detail::address(sender), signal, list, sizeof...(arguments)) != 0;
}

// Properties ---------------------------------------------------------------------------------------------

/** Why a property was not read or written. */
enum class Access {
  done,          /**< it was */
  noProperty,    /**< the object has none of that name */
  otherKind,     /**< it has another kind */
  notAccessible, /**< it cannot be read, or not be written */
};

/** The result of reading a property. */
template <typename T>
struct Read {
  T value = {};                 /**< the value; zero or NULL unless it was read */
  Access access = Access::done; /**< whether it was read */
  explicit operator bool() const {
    return access == Access::done;
  } /**< whether it was read */
  const T &operator*() const {
    return value;
  } /**< the value */
};

/** A property by its name, with the type of its values: int32_t, bool, char, double, const char *, void *. */
template <typename T>
requires(detail::Value<T>) class Property {
 public:
  /** @param propertyName  stays the caller's, and must stay valid */
  explicit Property(const char *propertyName) : name(propertyName) {}

  /** Sets it. What is wrong is also logged. */
  template <typename Object>
  requires detail::Sender<Object> Access set(Object &&object, T value)
  const {
    void *address = detail::address(object);
    return give(address, value) ? Access::done : reasonOf(address, false);
  }
  /** Reads it. What is wrong is also logged. */
  template <typename Object>
  requires detail::Sender<Object> Read<T> get(Object &&object)
  const {
    void *address = detail::address(object);
    Read<T> read;
    if (!take(address, &read.value)) read.access = reasonOf(address, true);
    return read;
  }

 private:
  static constexpr char kind = detail::kindOf<T>()[2];
  static constexpr bool isText = std::same_as<T, const char *>;

  int32_t give(void *object, T value) const {
    if constexpr (std::same_as<T, bool>)
      return ztObject_setBool(object, name, value);
    else if constexpr (std::same_as<T, char> || std::same_as<T, signed char>)
      return ztObject_setChar(object, name, static_cast<signed char>(value));
    else if constexpr (kind == 'F')
      return ztObject_setFloat(object, name, value);
    else if constexpr (isText)
      return ztObject_setText(object, name, value);
    else if constexpr (kind == 'V')
      return ztObject_setPointer(object, name, value);
    else
      return ztObject_setInt(object, name, static_cast<int32_t>(value));
  }
  template <typename As>
  int32_t taken(void *object, T *value, int32_t (*from)(void *, const char *, As *)) const {
    As read;
    if (!from(object, name, &read)) return 0;
    if constexpr (std::is_pointer_v<T>)
      *value = const_cast<T>(static_cast<const std::remove_pointer_t<T> *>(read));
    else
      *value = static_cast<T>(read);
    return 1;
  }
  int32_t take(void *object, T *value) const {
    if constexpr (std::same_as<T, bool>)
      return taken<int32_t>(object, value, ztObject_getBool);
    else if constexpr (std::same_as<T, char> || std::same_as<T, signed char>)
      return taken<signed char>(object, value, ztObject_getChar);
    else if constexpr (kind == 'F')
      return taken<double>(object, value, ztObject_getFloat);
    else if constexpr (isText)
      return taken<const char *>(object, value, ztObject_getText);
    else if constexpr (kind == 'V')
      return taken<void *>(object, value, ztObject_getPointer);
    else
      return taken<int32_t>(object, value, ztObject_getInt);
  }

  // A text kind serves text; all other kinds only their own.
  bool isOfKind(const ztProperty *property) const {
    const auto *type = static_cast<const ztPropertyTypeMethods *>(property->type->methodTable);
    const char *found = type->getType(property->type);
    if (found == nullptr) return false;
    if constexpr (isText)
      return strcmp(found, "ztChar*") == 0 || strcmp(found, "ztString") == 0;
    else if constexpr (kind == 'V')
      return strcmp(found, "ztVoid*") == 0;
    else
      return strcmp(found, detail::kindOf<T>()) == 0;
  }
  Access reasonOf(void *object, bool reading) const {
    const ztProperty *property = ztObject_findProperty(object, name);
    if (property == nullptr) return Access::noProperty;
    if (!isOfKind(property)) return Access::otherKind;
    (void)reading;
    return Access::notAccessible;
  }

  const char *name;
};

}  // namespace zt

#endif
