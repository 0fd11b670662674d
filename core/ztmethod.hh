// Puts an operation on a typed reference into a slot of a method table:
//
//   static ztListItem *listPushBack(ztList &list, const void *element);
//   ZT_OVERRIDE_METHOD(methods, pushBack, method<listPushBack>);
//
// Callers pass an untyped pointer, which may be NULL. The function in the slot returns the failure value for
// NULL (0, NULL or nothing, unless `methodOr` names another one) and calls the operation otherwise. An
// operation whose signature differs from the slot's does not compile.
#ifndef ZT_CORE_ZTMETHOD_HH
#define ZT_CORE_ZTMETHOD_HH

#include <type_traits>

namespace ztcore {

template <typename Object>
using Untyped = std::conditional_t<std::is_const_v<Object>, const void, void>;

template <auto operation>
struct MethodOf;

template <typename Result, typename Object, typename... Arguments,
          Result (*operation)(Object &, Arguments...)>
struct MethodOf<operation> {
  static Result call(Untyped<Object> *object, Arguments... arguments) {
    if (object == nullptr) [[unlikely]]
      return Result();
    return operation(*static_cast<Object *>(object), arguments...);
  }

  template <auto failure>
  static Result callOr(Untyped<Object> *object, Arguments... arguments) {
    return object == nullptr ? failure : operation(*static_cast<Object *>(object), arguments...);
  }
};

template <auto operation>
inline constexpr auto method = MethodOf<operation>::call;

template <auto operation, auto failure>
inline constexpr auto methodOr = MethodOf<operation>::template callOr<failure>;

// A method that only calls the parent's. The class still has its own function in the slot, because hosts and
// `assignCommon` compare slots to learn whether a class overrides a method.
//
//   ZT_CALL_PARENT_ONLY(methods, ztSequenceContainer, assign);
template <typename Methods, auto table, auto slot>
struct ParentCall;

template <typename Methods, typename ParentMethods, typename Result, typename... Arguments,
          const ParentMethods *(*table)(), Result (*ParentMethods::*slot)(Arguments...)>
struct ParentCall<Methods, table, slot> {
  static Result call(Arguments... arguments) {
    return (table()->*slot)(arguments...);
  }
};

#define ZT_CALL_PARENT_ONLY(methods, Parent, slot)                                                   \
  ((methods)->slot = ::ztcore::ParentCall<std::remove_pointer_t<decltype(methods)>, &Parent##_table, \
                                          &Parent##Methods::slot>::call)

}  // namespace ztcore

#endif
