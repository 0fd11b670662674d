#include "containers/ztstack.h"

#include "containers/ztadaptor.hh"
#include "core/ztlayout.hh"

ZT_PIN_CLASS(ztStack, 72, 31);
ZT_PIN_FIELD(ztStack, inner, 64);
ZT_PIN_SLOT(ztStack, push, 27);
ZT_PIN_SLOT(ztStack, isEmpty, 30);

static ztDeque *dequeOf(const void *object) {
  return ztInnerOf<ztStack>(object);
}

static ztListItem *stackPush(void *object, const void *element) {
  ztDeque *deque = dequeOf(object);
  return deque == nullptr ? nullptr : ztDeque_of(deque)->pushBack(deque, element);
}

static ztListItem *stackPop(void *object) {
  ztDeque *deque = dequeOf(object);
  return deque == nullptr ? nullptr : ztDeque_of(deque)->popBack(deque);
}

static void *stackGetTop(const void *object) {
  const ztDeque *deque = dequeOf(object);
  return deque == nullptr ? nullptr : ztDeque_of(deque)->getBack(deque);
}

static int32_t stackGetSize(const void *object) {
  const ztDeque *deque = dequeOf(object);
  return deque == nullptr ? 0 : ztDeque_of(deque)->getSize(deque);
}

static int32_t stackIsEmpty(const void *object) {
  const ztDeque *deque = dequeOf(object);
  if (deque == nullptr) return object != nullptr;
  return ztDeque_of(deque)->isEmpty(deque);
}

static void stackMethods(ztStackMethods *methods) {
  ztFillAdaptorMethods<ztStack, ztDeque_ctor>(methods);
  ZT_OVERRIDE_METHOD(methods, getSize, stackGetSize);
  ZT_OVERRIDE_METHOD(methods, push, stackPush);
  ZT_OVERRIDE_METHOD(methods, pop, stackPop);
  ZT_OVERRIDE_METHOD(methods, getTop, stackGetTop);
  ZT_OVERRIDE_METHOD(methods, isEmpty, stackIsEmpty);
}

ZT_DEFINE_CLASS(ztStack, ztSequenceContainer, stackMethods)
