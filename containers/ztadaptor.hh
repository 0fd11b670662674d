// What the deque, the queue and the stack have in common: each keeps its elements in a container of
// another class, its field `inner`, which it owns and hands its settings on to. Item manager and item
// constructor are not handed on. `inner` is NULL where there was no memory for it; operations then do
// nothing.
#ifndef ZT_CONTAINERS_ZTADAPTOR_HH
#define ZT_CONTAINERS_ZTADAPTOR_HH

#include "containers/ztscont.h"
#include "core/ztbasec.hh"

template <typename Adaptor>
auto ztInnerOf(const void *object) {
  const auto *adaptor = static_cast<const Adaptor *>(object);
  return adaptor == nullptr ? nullptr : adaptor->inner;
}

// The class of the inner container is the one that `constructInner` makes.
template <typename Adaptor, ztCtor constructInner>
int32_t ztAdaptorCreate(void *object) {
  if (object == nullptr) return 0;
  auto *adaptor = static_cast<Adaptor *>(object);
  adaptor->inner = nullptr;
  if (!ztSequenceContainer_table()->create(object)) return 0;
  adaptor->inner = static_cast<decltype(adaptor->inner)>(ztMakeObject(constructInner));
  return adaptor->inner != nullptr;
}

template <typename Adaptor>
void *ztAdaptorClone(const void *object, void *target) {
  void *copy = ztSequenceContainer_table()->clone(object, target);
  if (copy == nullptr) return nullptr;
  auto *adaptor = static_cast<Adaptor *>(copy);
  adaptor->inner = nullptr;
  const void *inner = static_cast<const Adaptor *>(object)->inner;
  if (inner == nullptr) return copy;
  adaptor->inner = static_cast<decltype(adaptor->inner)>(ztCopyObject(inner));
  if (adaptor->inner != nullptr) return copy;
  ztSequenceContainer_table()->destroy(copy);
  return nullptr;
}

template <typename Adaptor>
void ztAdaptorDestroy(void *object) {
  if (object == nullptr) return;
  auto *adaptor = static_cast<Adaptor *>(object);
  // An element may have another inner container made at its end.
  while (void *inner = adaptor->inner) {
    adaptor->inner = nullptr;
    ztBaseClass_of(inner)->unRef(inner);
  }
  ztSequenceContainer_table()->destroy(object);
}

template <typename Adaptor>
void ztAdaptorSetCompareFunction(void *object, ztCompareFunc compare) {
  ztSequenceContainer_table()->setCompareFunction(object, compare);
  void *inner = ztInnerOf<Adaptor>(object);
  if (inner != nullptr) ztSequenceContainer_of(inner)->setCompareFunction(inner, compare);
}

template <typename Adaptor>
void ztAdaptorSetAllowDuplicate(void *object, uint32_t allow) {
  ztSequenceContainer_table()->setAllowDuplicate(object, allow);
  void *inner = ztInnerOf<Adaptor>(object);
  if (inner != nullptr) ztSequenceContainer_of(inner)->setAllowDuplicate(inner, allow);
}

template <typename Adaptor>
void ztAdaptorSetElementSize(void *object, int32_t size, uint32_t byPointer) {
  ztSequenceContainer_table()->setElementSize(object, size, byPointer);
  void *inner = ztInnerOf<Adaptor>(object);
  if (inner != nullptr) ztSequenceContainer_of(inner)->setElementSize(inner, size, byPointer);
}

template <typename Adaptor>
void ztAdaptorSetElementConstructor(void *object, ztCtor constructor) {
  ztSequenceContainer_table()->setElementConstructor(object, constructor);
  void *inner = ztInnerOf<Adaptor>(object);
  if (inner != nullptr) ztSequenceContainer_of(inner)->setElementConstructor(inner, constructor);
}

// Writes the overrides that are the same for every adaptor; the rest is each class's own.
template <typename Adaptor, ztCtor constructInner, typename Methods>
void ztFillAdaptorMethods(Methods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, (ztAdaptorCreate<Adaptor, constructInner>));
  ZT_OVERRIDE_METHOD(methods, clone, ztAdaptorClone<Adaptor>);
  ZT_OVERRIDE_METHOD(methods, destroy, ztAdaptorDestroy<Adaptor>);
  ZT_OVERRIDE_METHOD(methods, setCompareFunction, ztAdaptorSetCompareFunction<Adaptor>);
  ZT_OVERRIDE_METHOD(methods, setAllowDuplicate, ztAdaptorSetAllowDuplicate<Adaptor>);
  ZT_OVERRIDE_METHOD(methods, setElementSize, ztAdaptorSetElementSize<Adaptor>);
  ZT_OVERRIDE_METHOD(methods, setElementConstructor, ztAdaptorSetElementConstructor<Adaptor>);
}

#endif
