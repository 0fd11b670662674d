// The base of the deque, the queue and the stack: each owns a container of another class, its field `inner`,
// which holds the elements. Settings are passed on to it, except for item manager and item constructor. If
// memory was exhausted, `inner` is NULL and operations do nothing.
#ifndef ZT_CONTAINERS_ZTADAPTOR_HH
#define ZT_CONTAINERS_ZTADAPTOR_HH

#include "containers/ztscont.h"
#include "core/ztmethod.hh"
#include "core/ztparts.hh"

namespace ztcore {

// Returns the class that `constructInner` makes.
template <typename Adaptor, ztCtor constructInner>
using AdaptorParts = Parts<&ztSequenceContainer_table, Part<&Adaptor::inner, constructInner>>;

template <typename Adaptor, ztCtor constructInner>
void *adaptorClone(const Adaptor &adaptor, void *target) {
  return AdaptorParts<Adaptor, constructInner>::clone(adaptor, target);
}

template <typename Adaptor>
void adaptorDestroy(Adaptor &adaptor) {
  // An element that is destroyed may make a new inner container.
  while (adaptor.inner != nullptr) releasePart(adaptor.inner);
  ztSequenceContainer_table()->destroy(&adaptor);
}

// Calls the inner container's method in that slot.
template <typename Adaptor, auto slot>
struct InnerCall;

template <typename Adaptor, typename Methods, typename Result, typename Object, typename... Arguments,
          Result (*Methods::*slot)(Object *, Arguments...)>
struct InnerCall<Adaptor, slot> {
  static Result call(std::conditional_t<std::is_const_v<Object>, const Adaptor, Adaptor> &adaptor,
                     Arguments... arguments) {
    if (adaptor.inner == nullptr) return Result();
    const void *methods = ztOOP_classOf(adaptor.inner)->methodTable;
    return (static_cast<const Methods *>(methods)->*slot)(adaptor.inner, arguments...);
  }

  static void set(Adaptor &adaptor, Arguments... arguments) {
    (ztSequenceContainer_table()->*slot)(&adaptor, arguments...);
    call(adaptor, arguments...);
  }
};

template <typename Adaptor, auto slot>
inline constexpr auto innerMethod = method<InnerCall<Adaptor, slot>::call>;

// The same for a setting, which the adaptor also stores.
template <typename Adaptor, auto slot>
inline constexpr auto innerSetting = method<InnerCall<Adaptor, slot>::set>;

// Fills the slots that are the same for every adaptor.
template <typename Adaptor, ztCtor constructInner, typename Methods>
void fillAdaptorMethods(Methods *methods) {
  using Settings = ztSequenceContainerMethods;
  using Parts = AdaptorParts<Adaptor, constructInner>;
  ZT_OVERRIDE_METHOD(methods, create, method<Parts::template create<Adaptor>>);
  ZT_OVERRIDE_METHOD(methods, clone, (method<adaptorClone<Adaptor, constructInner>>));
  ZT_OVERRIDE_METHOD(methods, destroy, method<adaptorDestroy<Adaptor>>);
  ZT_OVERRIDE_METHOD(methods, setCompareFunction, (innerSetting<Adaptor, &Settings::setCompareFunction>));
  ZT_OVERRIDE_METHOD(methods, setAllowDuplicate, (innerSetting<Adaptor, &Settings::setAllowDuplicate>));
  ZT_OVERRIDE_METHOD(methods, setElementSize, (innerSetting<Adaptor, &Settings::setElementSize>));
  ZT_OVERRIDE_METHOD(methods, setElementConstructor,
                     (innerSetting<Adaptor, &Settings::setElementConstructor>));
}

}  // namespace ztcore

#endif
