/**
 * @file zentova.hpp
 * The library for C++20: classes of the engine as C++ classes, owners, typed properties, functions as slots, and the
 * containers as ranges.
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
 * All of it stands on the C interface, with or without exceptions and run-time type information; all sources of a
 * program that share a class are compiled with exceptions, or all without. An exception that leaves a slot, a getter,
 * a setter or a method reaches the C++ code that called the engine. Where memory is exhausted, what makes an object
 * throws std::bad_alloc; without exceptions it gives an empty owner.
 *
 * Where a function takes "an object", it takes an owner, a reference or a pointer. As in C, one thread at a time uses
 * an object with all that is connected to it, its owners and connections included.
 */
#ifndef ZT_ZENTOVA_HPP
#define ZT_ZENTOVA_HPP

#include "zentova.h"

#include <stdint.h>
#include <string.h>

#include <concepts>
#include <cstddef>
#include <new>
#include <type_traits>
#include <utility>

/** The layer for C++20: see zentova.hpp. */
namespace zt {

template <typename Self, typename Parent>
struct Class;
template <typename Self>
class Def;
template <typename T>
class Own;

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

// Whether a class has children.
template <typename T>
concept NodeClass = requires(const MethodsOf<CBase<T>> *methods) {
  methods->getChildCount;
};

#pragma GCC diagnostic push
// The engine's header has one place in each class: there are no virtual bases.
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
// Whether the header of an object is at its address.
template <typename T>
inline constexpr bool beginsWithHeader = offsetof(T, klass) == 0;
#pragma GCC diagnostic pop

template <typename T>
constexpr bool hasOwnName() {
  if constexpr (CppClass<typename T::ztParent>) {
    return static_cast<const void *>(&T::className) != static_cast<const void *>(&T::ztParent::className);
  } else {
    return true;
  }
}

// Whether the engine can make objects of a class: nothing moves their header, and the name is the class's own.
template <typename T>
concept Usable = CClass<T> ||
    (CppClass<T> && !std::is_polymorphic_v<T> && beginsWithHeader<T> && alignof(T) <= alignof(max_align_t) &&
     requires { static_cast<const char *>(T::className); } && hasOwnName<T>());

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
  methodsOf<ztBaseClass>(object)->unRef(object);
}

// Exceptions ---------------------------------------------------------------------------------------------

#ifdef __cpp_exceptions
// Calls an operation that the engine asked for; what it throws is a failure of the operation.
template <typename Try, typename Catch>
auto guarded(Try act, Catch instead) {
  try {
    return act();
  } catch (...) {
    return instead();
  }
}
// Calls an operation, and another one where that throws.
template <typename Try, typename Catch>
void undoing(Try act, Catch undo) {
  try {
    act();
  } catch (...) {
    undo();
    throw;
  }
}
inline constexpr bool throws = true;
inline void memoryIsExhausted() {
  throw std::bad_alloc();
}
#else
template <typename Try, typename Catch>
auto guarded(Try act, Catch) {
  return act();
}
template <typename Try, typename Catch>
void undoing(Try act, Catch) {
  act();
}
inline constexpr bool throws = false;
inline void memoryIsExhausted() {}
#endif

// The C part of a C++ object -----------------------------------------------------------------------------

// Has the tables of a class filled, so that objects can be made by its methods.
template <typename T>
struct Prepared {
  static inline bool is = false;

  static void now() {
    if (!__atomic_load_n(&is, __ATOMIC_ACQUIRE)) [[unlikely]]
      first();
  }
  [[gnu::noinline]] static void first() {
    // Without `create`, an object is only a header.
    ztBaseClass header;
    Traits<T>::ctor(&header, 0);
    __atomic_store_n(&is, true, __ATOMIC_RELEASE);
  }
};

// Set while an object is being copied whole, and not only the part of it that a parent class has.
inline thread_local const void *copiedWhole = nullptr;

// Set when a parent's `assign` failed.
inline thread_local bool refusedAssignment = false;

// What a constructor leaves where a parent's `create` failed and there are no exceptions.
constexpr int32_t unmade = INT32_MIN;

// The constructors write the whole header: for the compiler, what stood there before the object began is gone.
template <typename Parent>
struct CPart : Parent {
  CPart() {
    Prepared<Parent>::now();
    if (!ztBegin()->create(this)) ztFail();
  }
#pragma GCC diagnostic push
// The fields of the parent are written by its `clone`.
#pragma GCC diagnostic ignored "-Wextra"
  CPart(const CPart &other) {
    const auto *table = ztBegin();
    const bool whole = std::exchange(copiedWhole, nullptr) == this;
    bool done;
    if (whole) {
      done = table->clone(&other, this) != nullptr;
      ztBegin();
      // What could not be cloned owns nothing, and is no object yet.
      if (!done) table->create(this);
    } else {
      done = table->create(this) && table->assign(this, &other);
    }
    if (!done) ztFail();
  }
#pragma GCC diagnostic pop
  CPart &operator=(const CPart &other) {
    if (this != &other && !tableOf<Parent>()->assign(this, &other)) refusedAssignment = true;
    return *this;
  }
  // The members are gone: from here on it is an object of the parent class.
  ~CPart() noexcept(false) {
    ztBecome()->destroy(this);
  }

 private:
  // An object of the parent class; its methods.
  const MethodsOf<Parent> *ztBecome() {
    ztClass *itsClass = Traits<Parent>::klass();
    this->klass = itsClass;
    return static_cast<const MethodsOf<Parent> *>(itsClass->methodTable);
  }
  const MethodsOf<Parent> *ztBegin() {
    this->refCount = 1;
    return ztBecome();
  }
  void ztFail() {
    // Where the constructor throws, no destructor runs.
    if (throws) ztBecome()->destroy(this);
    this->refCount = unmade;
    memoryIsExhausted();
  }
};

template <typename Parent>
using BaseOf = std::conditional_t<CClass<Parent>, CPart<Parent>, Parent>;

// What a copy does before its parent is copied: it tells the C part that it has room for all of the other.
template <typename C>
struct CopyBegins {
  CopyBegins() = default;
  CopyBegins(const CopyBegins &other) {
    if (static_cast<const C &>(other).klass == ClassData<typename C::ztSelf>::klass()) copiedWhole = this;
  }
  CopyBegins &operator=(const CopyBegins &) = default;
};

// What it does afterwards.
template <typename C>
struct CopyEnds {
  CopyEnds() = default;
  CopyEnds(const CopyEnds &) {
    static_cast<C *>(this)->ztBegin();
  }
  CopyEnds &operator=(const CopyEnds &) = default;
};

// Constructs an object in memory. NULL where there are no exceptions and its C part could not be made.
template <typename T, typename... Arguments>
T *construct(void *memory, Arguments &&...arguments) {
  T *object;
  if constexpr (sizeof...(arguments) == 0) {
    object = ::new (memory) T;
  } else {
    object = ::new (memory) T(std::forward<Arguments>(arguments)...);
  }
  if (object->refCount != unmade) [[likely]]
    return object;
  object->~T();
  return nullptr;
}

// The descriptor of a C++ class, and what the engine calls.
template <typename T>
struct ClassData {
  using Methods = typename T::Methods;
  using Parent = typename T::ztParent;

  static ztClass *klass() {
    return &descriptor;
  }
  static void *ctor(void *object, int32_t create) {
    return ztOOP_construct(&description, object, create);
  }
  static void *newop() {
    return ctor(nullptr, 0);
  }
  static void initTable(void *object) {
    ztOOP_initTable(&description, object);
  }
  // As Prepared, by the engine's own mark.
  static void prepare() {
    if (!__atomic_load_n(&state.registrationTried, __ATOMIC_ACQUIRE)) [[unlikely]]
      Prepared<T>::first();
  }
  static uint32_t version(const void *, const void *object) {
    return ztOOP_versionOf(object);
  }
  static const char *className(const void *, const void *object) {
    return ztOOP_classNameOf(object);
  }
  static int32_t isClass(const void *, const void *object, const char *wanted) {
    return ztOOP_isClass(object, wanted);
  }
  static int32_t isClassOf(const void *, const void *object, const char *wanted) {
    return ztOOP_isClassOf(object, wanted);
  }

  static int32_t create(void *object) {
    if (object == nullptr) return 0;
    if constexpr (std::is_default_constructible_v<T>) {
      return guarded([&] { return construct<T>(object) != nullptr ? 1 : leaveParent(object); },
                     [&] { return leaveParent(object); });
    } else {
      return leaveParent(object);
    }
  }
  // What could not be made is an object of the C class above: whoever asked for it releases it as usual.
  [[gnu::noinline]] static int32_t leaveParent(void *object) {
    ztLc_log("zt::Class - Error, no '%s' could be made\n", nameOfClass);
    Traits<CBase<T>>::ctor(object, 1);
    return 0;
  }
  static void destroy(void *object) {
    if (object == nullptr) return;
    static_cast<T *>(object)->~T();
    // Whoever frees the memory asks the class.
    static_cast<ztBaseClass *>(object)->klass = klass();
  }
  static void *clone(const void *source, void *target) {
    if constexpr (std::is_copy_constructible_v<T>) {
      if (source == nullptr || target == nullptr) return nullptr;
      return guarded(
          [&]() -> void * {
            T *copy = construct<T>(target, *static_cast<const T *>(source));
            if (copy == nullptr) return nullptr;
            copy->klass = ztOOP_classOf(source);
            copy->refCount = static_cast<const T *>(source)->refCount;
            return target;
          },
          []() -> void * { return nullptr; });
    } else {
      return nullptr;
    }
  }
  static int32_t assign(void *object, const void *other) {
    if constexpr (std::is_copy_assignable_v<T>) {
      if (object == nullptr || other == nullptr || ztOOP_cast(other, klass()) == nullptr) return 0;
      refusedAssignment = false;
      *static_cast<T *>(object) = *static_cast<const T *>(other);
      return !std::exchange(refusedAssignment, false);
    } else {
      return 0;
    }
  }

  static int32_t initProperties(ztClass *declared) {
    Def<T> definition(declared);
    if constexpr (HasDefine<T>) T::define(definition);
    return definition.result();
  }

  static void fillMethods(void *filled) {
    // Removes the class when its code is unloaded.
    (void)&leave;
    auto *methods = static_cast<Methods *>(filled);
    methods->Allocator = ztOOP_allocatorOf;
    methods->clone = clone;
    methods->assign = assign;
    if constexpr (ObjectClass<T>) methods->initProperties = initProperties;
    Def<T> definition(methods);
    if constexpr (HasDefine<T>) T::define(definition);
    // Nothing else may begin and end the members.
    methods->create = create;
    methods->destroy = destroy;
  }
  static void fillFunctions(void *) {}

  static constexpr uint32_t versionOfClass() {
    if constexpr (requires { T::classVersion; }) {
      return T::classVersion;
    } else {
      return 1;
    }
  }

  static constinit inline const char *const nameOfClass = T::className;
  static constinit inline const uint32_t classVersion = versionOfClass();
  static constinit inline Methods methodTable = {};
  static constinit inline ztClassFunctions functionTable = {};
  static constinit inline ztClass descriptor = {nullptr, 0, 0, nullptr, 0, 0, &functionTable, &methodTable};
  static constinit inline ztClassState state = {};
  // Without texts: there is no list of what the class adds.
  static constinit inline const ztClassDescription description = {
      &descriptor,
      &state,
      Traits<Parent>::klass,
      Traits<Parent>::initTable,
      &nameOfClass,
      &classVersion,
      static_cast<int32_t>(sizeof(T)),
      static_cast<uint16_t>(sizeof(Methods) / sizeof(void *)),
      0,
      fillMethods,
      fillFunctions,
      {newop, ctor, initTable, nullptr, version, className, isClass, isClassOf, nullptr, nullptr},
      "",
      "",
      ""};

  // After the other destructors of the code, which may still release objects of the class.
  [[gnu::destructor(101), gnu::used]] static void leave() {
    ztOOP_leaveRegistry(&description);
  }
};

// Arguments of signals -----------------------------------------------------------------------------------

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

// Properties ---------------------------------------------------------------------------------------------

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

// Objects as arguments -----------------------------------------------------------------------------------

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

// Classes ------------------------------------------------------------------------------------------------

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

// Owners -------------------------------------------------------------------------------------------------

/** A pointer to an object that somebody else owns. */
template <typename T>
class Ptr {
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
  /** Its members. */
  T *operator->() const {
    return object;
  }
  /** The object. */
  T &operator*() const {
    return *object;
  }
  /** Whether there is one. */
  explicit operator bool() const {
    return object != nullptr;
  }
  /** Whether both point to the same object. */
  bool operator==(const Ptr &other) const = default;

 private:
  T *object = nullptr;
};

/** The only owner of an object: releases it at its end. What a slot of "destroyed" throws leaves the release: of an
 *  object of a C++ class, the members have ended then, and one of the C class above is left, which leaks unless it is
 *  released once more with `unRef`. */
template <typename T>
class [[nodiscard]] Own {
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
  /** Its members. */
  T *operator->() const {
    return object;
  }
  /** The object. */
  T &operator*() const {
    return *object;
  }
  /** Whether there is one. */
  explicit operator bool() const {
    return object != nullptr;
  }
  /** A pointer that does not own, also as one of a parent class. */
  template <typename U>
  requires std::is_convertible_v<T *, U *>
  operator Ptr<U>() const & {
    return object;
  }
  /** An owner that ends at once leaves nothing to point to. */
  template <typename U>
  operator Ptr<U>() const && = delete;
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
  /** Its members. */
  T *operator->() const {
    return object;
  }
  /** The object. */
  T &operator*() const {
    return *object;
  }
  /** Whether there is one. */
  explicit operator bool() const {
    return object != nullptr;
  }
  /** A pointer that does not own, also as one of a parent class. */
  template <typename U>
  requires std::is_convertible_v<T *, U *>
  operator Ptr<U>() const & {
    return object;
  }
  /** An owner that ends at once leaves nothing to point to. */
  template <typename U>
  operator Ptr<U>() const && = delete;

 private:
  void hold() {
    if (object != nullptr) detail::methodsOf<ztBaseClass>(object)->ref(object);
  }

  T *object = nullptr;
};

/** A pointer that becomes NULL when its object ends: see ztObject_watch(). The destructor of a C++ class still finds
 *  its object there, the slots of "destroyed" do not. */
template <typename T>
class Weak {
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
  /** Its members. */
  T *operator->() const {
    return get();
  }
  /** The object. */
  T &operator*() const {
    return *get();
  }
  /** Whether it lives. */
  explicit operator bool() const {
    return object != nullptr;
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

// Children -----------------------------------------------------------------------------------------------

/** @cond private */
namespace detail {

// Whether anything of a program may run, and destroy the child, while it is added: a slot or an override.
inline bool addingRunsCode(const void *parent, const void *child) {
  const auto *signals =
      static_cast<const ztMap *>(static_cast<const void *>(static_cast<const ztRoot *>(parent)->signals));
  const auto *nodes = tableOf<ztRoot>();
  const auto *parents = methodsOf<ztRoot>(parent);
  return signals == nullptr || signals->tree == nullptr || signals->tree->count != 0 ||
         parents->addChild != nodes->addChild || parents->findChildById != nodes->findChildById ||
         methodsOf<ztRoot>(child)->setParent != nodes->setParent;
}

}  // namespace detail
/** @endcond */

/** Gives a node to a parent, which owns it from then on: `zt::addChild(house, std::move(room))`.
 *  @return the child; NULL when a slot of "childAdded" destroyed it, and when the parent refused it: the owner then
 *          keeps it */
template <detail::Node To, typename T>
requires detail::NodeClass<T> Ptr<T> addChild(To &&parent, Own<T> &&child) {
  void *place = detail::address(parent);
  if (place == nullptr || !child) return {};
  void *added = child.release();
  void *watched = added;
  const bool runsCode = detail::addingRunsCode(place, added);
  if (runsCode) ztObject_watch(added, &watched);
  detail::methodsOf<ztRoot>(place)->addChild(place, added);
  if (watched == nullptr) return {};
  if (runsCode) ztObject_unwatch(added, &watched);
  if (static_cast<ztRoot *>(added)->parent == nullptr) {
    child.reset(static_cast<T *>(added));
    return {};
  }
  return static_cast<T *>(added);
}

/** Takes a node from its parent. @return its owner; an empty one when the node has no parent, or a slot of
 *  "childDeleted" destroyed it */
template <detail::Node From>
Own<detail::AddressOf<From>> takeChild(From &&child) {
  using T = detail::AddressOf<From>;
  T *node = detail::address(child);
  if (node == nullptr || detail::methodsOf<ztRoot>(node)->getParent(node) == nullptr) return {};
  void *watched = node;
  ztObject_watch(node, &watched);
  const int32_t count = node->refCount;
  detail::methodsOf<ztRoot>(node)->setParent(node, nullptr);
  if (watched == nullptr) return {};
  ztObject_unwatch(node, &watched);
  // Leaving a parent releases no reference. By `unRef` the node would end.
  node->refCount = count - 1;
  return Own<T>(node);
}

// Signals and slots --------------------------------------------------------------------------------------

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
  using Called = detail::Listener<std::decay_t<F>>;
  auto *listener = new (std::nothrow) Called{{}, std::forward<F>(function), 0, false};
  if (listener == nullptr) return {};
  ztObject_ctor(&listener->object, 1);
  using Entry = typename detail::Signature<std::decay_t<F>>::template With<Called::template Entry>;
  if (argumentCount >= detail::Signature<std::decay_t<F>>::count &&
      ztObject_connect(detail::address(sender), signal, listener, detail::slotFunction(Entry::call),
                       argumentCount)) {
    return {listener, Called::end};
  }
  Called::end(listener);
  return {};
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

// Properties ---------------------------------------------------------------------------------------------

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

// Containers ---------------------------------------------------------------------------------------------

/** @cond private */
namespace detail {

// What a container stores by itself: the bytes of a value, or a pointer.
template <typename T>
concept Element = std::is_trivially_copyable_v<T> && std::same_as<T, std::remove_cvref_t<T>> &&
                  alignof(T) <= alignof(max_align_t);

// An element in the caller's form: pointers are passed as they are, values by address.
template <Element T>
const void *given(const T &value) {
  if constexpr (std::is_pointer_v<T>) {
    return reinterpret_cast<const void *>(value);
  } else {
    return &value;
  }
}

// An element as an item holds it.
template <Element T>
T &stored(void *&data) {
  if constexpr (std::is_pointer_v<T>) {
    return *static_cast<T *>(static_cast<void *>(&data));
  } else {
    return *static_cast<T *>(data);
  }
}

template <Element T>
constexpr uint32_t byPointer = std::is_pointer_v<T> ? 1 : 0;

template <Element T>
constexpr auto arrayCtor() {
  if constexpr (std::is_pointer_v<T>) {
    return ztPtrArray_ctor;
  } else if constexpr (std::same_as<T, int32_t>) {
    return ztIntArray_ctor;
  } else if constexpr (std::same_as<T, double>) {
    return ztFloatArray_ctor;
  } else if constexpr (std::same_as<T, char> || std::same_as<T, signed char>) {
    return ztCharArray_ctor;
  } else {
    return ztArray_ctor;
  }
}

template <Element T>
constexpr auto listCtor() {
  if constexpr (std::is_pointer_v<T>) {
    return ztPtrList_ctor;
  } else if constexpr (std::same_as<T, int32_t>) {
    return ztIntList_ctor;
  } else {
    return ztList_ctor;
  }
}

// A new sequence for elements of this type; see make().
template <Element T>
void *newSequence(ztCtor ctor, bool needsPolicy) {
  void *sequence = ctor(nullptr, 1);
  if (sequence == nullptr) [[unlikely]] {
    memoryIsExhausted();
  } else if (needsPolicy) {
    methodsOf<ztSequenceContainer>(sequence)->setElementSize(sequence, sizeof(T), byPointer<T>);
  }
  return sequence;
}

// Keys are compared as texts if they are texts, else by == and <.
template <Element K>
int32_t compareKeys(const void *first, const void *second) {
  if constexpr (std::same_as<K, const char *>) {
    return strcmp(static_cast<const char *>(first), static_cast<const char *>(second));
  } else {
    K a;
    K b;
    if constexpr (std::is_pointer_v<K>) {
      a = static_cast<K>(const_cast<void *>(first));
      b = static_cast<K>(const_cast<void *>(second));
    } else {
      a = *static_cast<const K *>(first);
      b = *static_cast<const K *>(second);
    }
    if (a == b) return 0;
    if constexpr (requires { a < b; }) {
      return a < b ? -1 : 1;
    } else {
      return 1;
    }
  }
}

template <Element K, Element V>
void *newPairs(ztCtor ctor) {
  void *pairs = ctor(nullptr, 1);
  if (pairs == nullptr) [[unlikely]] {
    memoryIsExhausted();
    return nullptr;
  }
  const auto *methods = methodsOf<ztAssociativeContainer>(pairs);
  methods->setCompareFunction(pairs, compareKeys<K>);
  methods->setKeySize(pairs, sizeof(K), byPointer<K>);
  methods->setValueSize(pairs, sizeof(V), byPointer<V>);
  return pairs;
}

// An iterator over the items of a container, of which Walk knows the next and what an item holds.
template <typename Walk>
class Iterator : Walk {
 public:
  using value_type = typename Walk::Value;
  using reference = typename Walk::Reference;
  using pointer = void;
  using difference_type = ptrdiff_t;

  Iterator() = default;
  explicit Iterator(const Walk &walk) : Walk(walk) {}
  reference operator*() const {
    return Walk::value();
  }
  Iterator &operator++() {
    Walk::next();
    return *this;
  }
  Iterator operator++(int) {
    Iterator before(*this);
    Walk::next();
    return before;
  }
  Iterator &operator--() requires requires(Walk &walk) {
    walk.previous();
  }
  {
    Walk::previous();
    return *this;
  }
  Iterator operator--(int) requires requires(Walk &walk) {
    walk.previous();
  }
  {
    Iterator before(*this);
    Walk::previous();
    return before;
  }
  bool operator==(const Iterator &other) const {
    return this->item == other.item;
  }
  // The item of the container, or NULL at its end.
  auto *at() const {
    return this->item;
  }
};

template <Element T>
struct ListWalk {
  using Value = T;
  using Reference = T &;
  const ztList *list = nullptr;
  ztListItem *item = nullptr;

  Reference value() const {
    return stored<T>(item->data);
  }
  void next() {
    item = item->next;
  }
  void previous() {
    item = item == nullptr ? list->tail : item->prev;
  }
};

}  // namespace detail
/** @endcond */

/** A key and its value in a container. */
template <typename K, typename V>
struct Pair {
  /** The key. */
  const K &key;
  /** The value, which may be changed. */
  V &value;
};

/** @cond private */
namespace detail {

template <Element K, Element V>
struct MapWalk {
  using Value = Pair<K, V>;
  using Reference = Pair<K, V>;
  ztMapItem *item = nullptr;
  // The items above that come later. A tree of 64 levels would not fit into memory.
  uint32_t depth = 0;
  ztMapItem *later[64];

  MapWalk() {}
  explicit MapWalk(ztMapItem *root) {
    descend(root);
  }
  MapWalk(const MapWalk &other) : item(other.item), depth(other.depth) {
    copyPath(other);
  }
  MapWalk &operator=(const MapWalk &other) {
    item = other.item;
    depth = other.depth;
    copyPath(other);
    return *this;
  }

  Reference value() const {
    return {stored<K>(item->data), stored<V>(item->value)};
  }
  void next() {
    if (item->right != nullptr) {
      descend(asItem(item->right));
    } else {
      item = depth == 0 ? nullptr : later[--depth];
    }
  }

 private:
  static ztMapItem *asItem(ztAvlTreeItem *item) {
    return reinterpret_cast<ztMapItem *>(item);
  }
  void copyPath(const MapWalk &other) {
    for (uint32_t i = 0; i < other.depth; ++i) later[i] = other.later[i];
  }
  void descend(ztMapItem *from) {
    item = from;
    if (item == nullptr) return;
    for (; item->left != nullptr; item = asItem(item->left)) later[depth++] = item;
  }
};

template <Element K, Element V>
struct HashWalk {
  using Value = Pair<K, V>;
  using Reference = Pair<K, V>;
  const ztPtrArray *buckets = nullptr;
  int32_t bucket = 0;
  ztHashTableItem *item = nullptr;

  HashWalk() = default;
  explicit HashWalk(const ztHashTable *table) {
    // The buckets of an empty table are not valid.
    if (table == nullptr || table->count == 0) return;
    buckets = table->buckets;
    bucket = -1;
    nextBucket();
  }
  Reference value() const {
    return {stored<K>(item->data), stored<V>(item->value)};
  }
  void next() {
    item = item->next;
    if (item == nullptr) nextBucket();
  }

 private:
  void nextBucket() {
    auto *const *items = static_cast<ztHashTableItem *const *>(buckets->data);
    while (item == nullptr && ++bucket < buckets->count) item = items[bucket];
  }
};

}  // namespace detail
/** @endcond */

/** The elements of a C array as a range: zt::elements(). An iterator is a pointer, valid until an element is added or
 *  removed. */
template <detail::Element T>
class ArrayView {
 public:
  /** The type of the elements. */
  using value_type = T;

  /** Without array it is empty. */
  explicit ArrayView(ztArray *viewed) : array(viewed) {}
  /** The C array. */
  ztArray *get() const {
    return array;
  }
  /** The elements side by side. */
  T *data() const {
    return array == nullptr ? nullptr : static_cast<T *>(array->data);
  }
  /** The number of elements. */
  size_t size() const {
    return array == nullptr ? 0 : static_cast<size_t>(array->count);
  }
  /** Whether there are none. */
  bool empty() const {
    return size() == 0;
  }
  /** The first element. */
  T *begin() const {
    return data();
  }
  /** The end. */
  T *end() const {
    return data() + size();
  }
  /** The element at an index, which is not checked. */
  T &operator[](size_t index) const {
    return static_cast<T *>(array->data)[index];
  }
  /** Adds an element at the end. @return false when memory is exhausted */
  bool push_back(const T &value) const {
    return detail::methodsOf<ztArray>(array)->pushBack(array, detail::given(value)) != nullptr;
  }
  /** Removes the element at an index. */
  void erase(size_t index) const {
    detail::methodsOf<ztArray>(array)->removeAt(array, static_cast<int32_t>(index));
  }
  /** Removes all elements. */
  void clear() const {
    detail::methodsOf<ztArray>(array)->empty(array);
  }
  /** Adds zeros or removes elements at the end. @return false when memory is exhausted */
  bool resize(size_t count) const {
    return detail::methodsOf<ztArray>(array)->resize(array, static_cast<int32_t>(count)) != 0;
  }

 private:
  ztArray *array;
};

/** The elements of a C list as a range: zt::elements(). An iterator is valid as long as its element is in the list;
 *  it walks in both directions. */
template <detail::Element T>
class ListView {
 public:
  /** The type of the elements. */
  using value_type = T;
  /** Walks the list. */
  using iterator = detail::Iterator<detail::ListWalk<T>>;

  /** Without list it is empty. */
  explicit ListView(ztList *viewed) : list(viewed) {}
  /** The C list. */
  ztList *get() const {
    return list;
  }
  /** The number of elements. */
  size_t size() const {
    return list == nullptr ? 0 : list->count;
  }
  /** Whether there are none. */
  bool empty() const {
    return size() == 0;
  }
  /** The first element. */
  iterator begin() const {
    return iterator(detail::ListWalk<T>{list, list == nullptr ? nullptr : list->head});
  }
  /** The end. */
  iterator end() const {
    return iterator(detail::ListWalk<T>{list, nullptr});
  }
  /** The first element of a list that has one. */
  T &front() const {
    return detail::stored<T>(list->head->data);
  }
  /** The last element of a list that has one. */
  T &back() const {
    return detail::stored<T>(list->tail->data);
  }
  /** Adds an element at the end. @return false when memory is exhausted */
  bool push_back(const T &value) const {
    return detail::methodsOf<ztList>(list)->pushBack(list, detail::given(value)) != nullptr;
  }
  /** Adds an element at the front. @return false when memory is exhausted */
  bool push_front(const T &value) const {
    return detail::methodsOf<ztList>(list)->pushFront(list, detail::given(value)) != nullptr;
  }
  /** Removes an element. @return the one behind it */
  iterator erase(iterator at) const {
    ztListItem *item = at.at();
    ++at;
    // The list hands the element of its first item over.
    void *handedOver = item == list->head && !detail::byPointer<T> ? item->data : nullptr;
    detail::methodsOf<ztList>(list)->removeItem(list, item);
    // In brackets, so that the block is not taken for one of the program's.
    if (handedOver != nullptr) (ztm_free)(handedOver);
    return at;
  }
  /** Removes the first element of a list that has one. */
  void pop_front() const {
    erase(begin());
  }
  /** Removes the last element of a list that has one. */
  void pop_back() const {
    erase(--end());
  }
  /** Removes all elements. */
  void clear() const {
    detail::methodsOf<ztList>(list)->empty(list);
  }

 private:
  ztList *list;
};

/** The pairs of a C map as a range, in the order of their keys: zt::pairs(). An iterator gives a zt::Pair and is valid
 *  until a pair is added or removed. */
template <detail::Element K, detail::Element V>
class MapView {
 public:
  /** Walks the map. */
  using iterator = detail::Iterator<detail::MapWalk<K, V>>;

  /** Without map it is empty. */
  explicit MapView(ztMap *viewed) : map(viewed) {}
  /** The C map. */
  ztMap *get() const {
    return map;
  }
  /** The number of pairs. */
  size_t size() const {
    return map == nullptr || map->tree == nullptr ? 0 : map->tree->count;
  }
  /** Whether there are none. */
  bool empty() const {
    return size() == 0;
  }
  /** The pair with the smallest key. */
  iterator begin() const {
    auto *root = map == nullptr || map->tree == nullptr ? nullptr : map->tree->root;
    return iterator(detail::MapWalk<K, V>(reinterpret_cast<ztMapItem *>(root)));
  }
  /** The end. */
  iterator end() const {
    return iterator();
  }
  /** Adds a pair. @return false when the key exists, whose value stays, or memory is exhausted */
  bool insert(const K &key, const V &value) const {
    return detail::methodsOf<ztMap>(map)->pushBack(map, detail::given(key), detail::given(value)) != nullptr;
  }
  /** The value of a key, valid until a pair is added or removed; NULL when there is none. */
  V *find(const K &key) const {
    ztMapItem *item = detail::methodsOf<ztMap>(map)->find(map, detail::given(key));
    return item == nullptr ? nullptr : &detail::stored<V>(item->value);
  }
  /** Whether there is a pair with this key. */
  bool contains(const K &key) const {
    return find(key) != nullptr;
  }
  /** Removes a pair. @return false when there is none with this key */
  bool erase(const K &key) const {
    return !empty() && detail::methodsOf<ztMap>(map)->pop(map, detail::given(key)) != 0;
  }
  /** Removes all pairs. */
  void clear() const {
    detail::methodsOf<ztMap>(map)->empty(map);
  }

 private:
  ztMap *map;
};

/** The pairs of a C hash table as a range, in no order: zt::pairs(). An iterator gives a zt::Pair and is valid until a
 *  pair is added. */
template <detail::Element K, detail::Element V>
class HashTableView {
 public:
  /** Walks the table. */
  using iterator = detail::Iterator<detail::HashWalk<K, V>>;

  /** Without table it is empty. */
  explicit HashTableView(ztHashTable *viewed) : table(viewed) {}
  /** The C hash table. */
  ztHashTable *get() const {
    return table;
  }
  /** The number of pairs. */
  size_t size() const {
    return table == nullptr ? 0 : table->count;
  }
  /** Whether there are none. */
  bool empty() const {
    return size() == 0;
  }
  /** The first pair. */
  iterator begin() const {
    return iterator(detail::HashWalk<K, V>(table));
  }
  /** The end. */
  iterator end() const {
    return iterator();
  }
  /** Adds a pair. @return false when the key exists, whose value stays, or memory is exhausted */
  bool insert(const K &key, const V &value) const {
    return detail::methodsOf<ztHashTable>(table)->insert(table, detail::given(key), detail::given(value)) !=
           0;
  }
  /** The value of a key, valid until clear(); NULL when there is none. */
  V *find(const K &key) const {
    ztHashTableItem *item = detail::methodsOf<ztHashTable>(table)->find(table, detail::given(key));
    return item == nullptr ? nullptr : &detail::stored<V>(item->value);
  }
  /** Whether there is a pair with this key. */
  bool contains(const K &key) const {
    return find(key) != nullptr;
  }
  /** Removes all pairs; the buckets stay. */
  void clear() const {
    detail::methodsOf<ztHashTable>(table)->empty(table);
  }

 private:
  ztHashTable *table;
};

/** @cond private */
namespace detail {

// A view that owns its container.
template <typename View>
class Owned : public View {
 public:
  Owned(const Owned &) = delete;
  Owned &operator=(Owned &&other) noexcept(false) {
    Owned old(std::move(other));
    std::swap(static_cast<View &>(*this), static_cast<View &>(old));
    return *this;
  }

 protected:
  using View::View;
  Owned(Owned &&other) noexcept : View(std::exchange(static_cast<View &>(other), View(nullptr))) {}
  ~Owned() noexcept(false) {
    if (this->get() != nullptr) unRef(this->get());
  }
};

}  // namespace detail
/** @endcond */

/** An array of its own: `zt::Array<int32_t>` is a ztIntArray, one of char a ztCharArray, of double a ztFloatArray, of
 *  pointers a ztPtrArray, of other values that are copied as bytes a ztArray. One that was moved from may only be
 *  assigned or destroyed. */
template <detail::Element T>
class Array : public detail::Owned<ArrayView<T>> {
 public:
  /** An empty array. */
  Array()
      : detail::Owned<ArrayView<T>>(static_cast<ztArray *>(detail::newSequence<T>(
            detail::arrayCtor<T>(), detail::arrayCtor<T>() == static_cast<ztCtor>(ztArray_ctor)))) {}
};

/** A list of its own: `zt::List<int32_t>` is a ztIntList, one of pointers a ztPtrList, of other values that are copied
 *  as bytes a ztList. One that was moved from may only be assigned or destroyed. */
template <detail::Element T>
class List : public detail::Owned<ListView<T>> {
 public:
  /** An empty list. */
  List()
      : detail::Owned<ListView<T>>(static_cast<ztList *>(detail::newSequence<T>(
            detail::listCtor<T>(), detail::listCtor<T>() == static_cast<ztCtor>(ztList_ctor)))) {}
};

/** A ztMap of its own. Keys are values with == and <, or pointers; `const char *` keys are compared as texts, but stay
 *  the caller's. One that was moved from may only be assigned or destroyed. */
template <detail::Element K, detail::Element V>
class Map : public detail::Owned<MapView<K, V>> {
 public:
  /** An empty map. */
  Map() : detail::Owned<MapView<K, V>>(static_cast<ztMap *>(detail::newPairs<K, V>(ztMap_ctor))) {}
};

/** A ztHashTable of its own. Keys are values without padding whose bytes differ if they differ, so no floating-point
 *  numbers and no pointers. One that was moved from may only be assigned or destroyed. */
template <detail::Element K, detail::Element V>
requires(std::has_unique_object_representations_v<K> && !std::is_pointer_v<K>) class HashTable
    : public detail::Owned<HashTableView<K, V>> {
 public:
  /** An empty table with that many buckets, which it keeps: a power of two, about the number of pairs. */
  explicit HashTable(size_t buckets)
      : detail::Owned<HashTableView<K, V>>(
            static_cast<ztHashTable *>(detail::newPairs<K, V>(ztHashTable_ctor))) {
    ztHashTable *made = this->get();
    if (made != nullptr && !ztHashTable_of(made)->setSize(made, static_cast<int32_t>(buckets)))
      detail::memoryIsExhausted();
  }
};

/** A map from texts, of which it keeps copies. One that was moved from may only be assigned or destroyed. */
template <detail::Element V>
class TextMap : Map<const char *, V> {
  using Base = Map<const char *, V>;

 public:
  /** Walks the map. */
  using iterator = typename Base::iterator;
  using Base::begin;
  using Base::contains;
  using Base::empty;
  using Base::end;
  using Base::find;
  using Base::size;

  /** An empty map. */
  TextMap() = default;
  /** Takes over what the other has. */
  TextMap(TextMap &&other) noexcept = default;
  /** Ends its own pairs and takes over the other's. */
  TextMap &operator=(TextMap &&other) noexcept(false) {
    if (this == &other) return *this;
    freeKeys();
    Base::operator=(std::move(other));
    return *this;
  }
  /** Ends the pairs and the keys. */
  ~TextMap() noexcept(false) {
    freeKeys();
  }

  /** Adds a pair with a copy of the key. @return false when the key exists, whose value stays, or memory is
   *  exhausted */
  bool insert(const char *key, const V &value) {
    const size_t bytes = strlen(key) + 1;
    char *copy = new (std::nothrow) char[bytes];
    if (copy == nullptr) return false;
    if (Base::insert(static_cast<const char *>(memcpy(copy, key, bytes)), value)) return true;
    delete[] copy;
    return false;
  }
  /** Removes a pair. @return false when there is none with this key */
  bool erase(const char *key) {
    ztMapItem *item = detail::methodsOf<ztMap>(this->get())->find(this->get(), key);
    if (item == nullptr) return false;
    const char *copy = static_cast<const char *>(item->data);
    Base::erase(key);
    delete[] copy;
    return true;
  }
  /** Removes all pairs. */
  void clear() {
    freeKeys();
    Base::clear();
  }

 private:
  // Without its keys a map may only be emptied.
  void freeKeys() {
    for (const auto &pair : *this) delete[] pair.key;
  }
};

/** @cond private */
namespace detail {

template <typename C>
using TableOf = const MethodsOf<CBase<AddressOf<C>>> *;

template <typename C>
concept ArrayObject = Object<C> && requires(TableOf<C> methods) {
  methods->getData;
};
template <typename C>
concept ListObject = Object<C> && requires(TableOf<C> methods) {
  methods->insertPrev;
};
template <typename C>
concept MapObject = Object<C> && requires(TableOf<C> methods) {
  methods->findValue;
};
template <typename C>
concept HashTableObject = Object<C> && requires(TableOf<C> methods) {
  methods->setSize;
  methods->setKeySize;
};

template <typename T>
struct ChildWalk : ListWalk<T *> {
  using Reference = T *const &;
  Reference value() const {
    return ListWalk<T *>::value();
  }
};

}  // namespace detail
/** @endcond */

/** The elements of a C array: `zt::elements<int32_t>(array)`. The type must be that of the elements. */
template <detail::Element T, detail::ArrayObject C>
ArrayView<T> elements(C &&array) {
  return ArrayView<T>(reinterpret_cast<ztArray *>(detail::address(array)));
}
/** The elements of a C list: `zt::elements<int32_t>(list)`. The type must be that of the elements. */
template <detail::Element T, detail::ListObject C>
ListView<T> elements(C &&list) {
  return ListView<T>(reinterpret_cast<ztList *>(detail::address(list)));
}
/** The pairs of a C map: `zt::pairs<int32_t, double>(map)`. The types must be those of the pairs. */
template <detail::Element K, detail::Element V, detail::MapObject C>
MapView<K, V> pairs(C &&map) {
  return MapView<K, V>(reinterpret_cast<ztMap *>(detail::address(map)));
}
/** The pairs of a C hash table. The types must be those of the pairs. */
template <detail::Element K, detail::Element V, detail::HashTableObject C>
HashTableView<K, V> pairs(C &&table) {
  return HashTableView<K, V>(reinterpret_cast<ztHashTable *>(detail::address(table)));
}

/** The children of a node as a range of pointers: see zt::children(). */
template <typename T>
class Children {
 public:
  /** The type of the elements. */
  using value_type = T *;
  /** Walks the children in both directions; valid as long as its child stays one. */
  using iterator = detail::Iterator<detail::ChildWalk<T>>;

  /** Without list it is empty. */
  explicit Children(ztRootPtrList *children) : list(reinterpret_cast<ztList *>(children)) {}
  /** The number of children. */
  size_t size() const {
    return list == nullptr ? 0 : list->count;
  }
  /** Whether there are none. */
  bool empty() const {
    return size() == 0;
  }
  /** The first child. */
  iterator begin() const {
    return iterator(detail::ChildWalk<T>{{list, list == nullptr ? nullptr : list->head}});
  }
  /** The end. */
  iterator end() const {
    return iterator(detail::ChildWalk<T>{{list, nullptr}});
  }

 private:
  ztList *list;
};

/** The children of a node in their order: `for (ztRoot *child : zt::children(house))`. With a type, as in
 *  `zt::children<Room>(house)`, they must all be of that class. */
template <typename T = ztRoot, detail::Node Of>
requires detail::NodeClass<T> Children<T> children(Of &&node) {
  return Children<T>(detail::address(node)->children);
}

}  // namespace zt

#endif
