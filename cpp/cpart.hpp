// What objects of C++ classes are made of: a part in C, whose tables call the methods of the class.
// Programs include it through zentova.hpp.
#ifndef ZT_CPP_CPART_HPP
#define ZT_CPP_CPART_HPP

#include "zentova.h"

#include <stdint.h>

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

}  // namespace detail
/** @endcond */

}  // namespace zt

#endif
