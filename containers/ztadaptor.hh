// What the deque, the queue and the stack have in common: each keeps its elements in a container of
// another class, its field `inner`, which it owns and hands its settings on to. Item manager and item
// constructor are not handed on. `inner` is NULL where there was no memory for it; operations then do
// nothing.
#ifndef ZT_CONTAINERS_ZTADAPTOR_HH
#define ZT_CONTAINERS_ZTADAPTOR_HH

#include "containers/ztscont.h"
#include "core/ztmethod.hh"
#include "core/ztparts.hh"

// The class of the inner container is the one that `constructInner` makes.
template <typename Adaptor, ztCtor constructInner>
using ztAdaptorParts = ztParts<&ztSequenceContainer_table, ztPart<&Adaptor::inner, constructInner>>;

template <typename Adaptor, ztCtor constructInner>
void *ztAdaptorClone(const Adaptor &adaptor, void *target) {
  return ztAdaptorParts<Adaptor, constructInner>::clone(adaptor, target);
}

template <typename Adaptor>
void ztAdaptorDestroy(Adaptor &adaptor) {
  // An element may have another inner container made at its end.
  while (adaptor.inner != nullptr) ztReleasePart(adaptor.inner);
  ztSequenceContainer_table()->destroy(&adaptor);
}

// The method that calls the inner container's method of that slot.
template <typename Adaptor, auto slot>
struct ztInnerCall;

template <typename Adaptor, typename Methods, typename Result, typename Object, typename... Arguments,
          Result (*Methods::*slot)(Object *, Arguments...)>
struct ztInnerCall<Adaptor, slot> {
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
inline constexpr auto ztInnerMethod = ztMethod<ztInnerCall<Adaptor, slot>::call>;

// The same for a setting, which the adaptor keeps, too.
template <typename Adaptor, auto slot>
inline constexpr auto ztInnerSetting = ztMethod<ztInnerCall<Adaptor, slot>::set>;

// Writes the overrides that are the same for every adaptor; the rest is each class's own.
template <typename Adaptor, ztCtor constructInner, typename Methods>
void ztFillAdaptorMethods(Methods *methods) {
  using Settings = ztSequenceContainerMethods;
  using Parts = ztAdaptorParts<Adaptor, constructInner>;
  ZT_OVERRIDE_METHOD(methods, create, ztMethod<Parts::template create<Adaptor>>);
  ZT_OVERRIDE_METHOD(methods, clone, (ztMethod<ztAdaptorClone<Adaptor, constructInner>>));
  ZT_OVERRIDE_METHOD(methods, destroy, ztMethod<ztAdaptorDestroy<Adaptor>>);
  ZT_OVERRIDE_METHOD(methods, setCompareFunction, (ztInnerSetting<Adaptor, &Settings::setCompareFunction>));
  ZT_OVERRIDE_METHOD(methods, setAllowDuplicate, (ztInnerSetting<Adaptor, &Settings::setAllowDuplicate>));
  ZT_OVERRIDE_METHOD(methods, setElementSize, (ztInnerSetting<Adaptor, &Settings::setElementSize>));
  ZT_OVERRIDE_METHOD(methods, setElementConstructor,
                     (ztInnerSetting<Adaptor, &Settings::setElementConstructor>));
}

#endif
