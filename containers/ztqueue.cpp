#include "containers/ztqueue.h"

#include "containers/ztadaptor.hh"
#include "core/ztlayout.hh"

ZT_PIN_CLASS(ztQueue, 72, 32);
ZT_PIN_FIELD(ztQueue, inner, 64);
ZT_PIN_SLOT(ztQueue, push, 27);
ZT_PIN_SLOT(ztQueue, isEmpty, 31);

static ztDeque *dequeOf(const void *object) {
  return ztInnerOf<ztQueue>(object);
}

static ztListItem *queuePush(void *object, const void *element) {
  ztDeque *deque = dequeOf(object);
  return deque == nullptr ? nullptr : ztDeque_of(deque)->pushBack(deque, element);
}

static ztListItem *queuePop(void *object) {
  ztDeque *deque = dequeOf(object);
  return deque == nullptr ? nullptr : ztDeque_of(deque)->popFront(deque);
}

static void *queueGetBack(const void *object) {
  const ztDeque *deque = dequeOf(object);
  return deque == nullptr ? nullptr : ztDeque_of(deque)->getBack(deque);
}

static void *queueGetFront(const void *object) {
  const ztDeque *deque = dequeOf(object);
  return deque == nullptr ? nullptr : ztDeque_of(deque)->getFront(deque);
}

static int32_t queueGetSize(const void *object) {
  const ztDeque *deque = dequeOf(object);
  return deque == nullptr ? 0 : ztDeque_of(deque)->getSize(deque);
}

static int32_t queueIsEmpty(const void *object) {
  const ztDeque *deque = dequeOf(object);
  if (deque == nullptr) return object != nullptr;
  return ztDeque_of(deque)->isEmpty(deque);
}

static void queueMethods(ztQueueMethods *methods) {
  ztFillAdaptorMethods<ztQueue, ztDeque_ctor>(methods);
  ZT_OVERRIDE_METHOD(methods, getSize, queueGetSize);
  ZT_OVERRIDE_METHOD(methods, push, queuePush);
  ZT_OVERRIDE_METHOD(methods, pop, queuePop);
  ZT_OVERRIDE_METHOD(methods, getBack, queueGetBack);
  ZT_OVERRIDE_METHOD(methods, getFront, queueGetFront);
  ZT_OVERRIDE_METHOD(methods, isEmpty, queueIsEmpty);
}

ZT_DEFINE_CLASS(ztQueue, ztSequenceContainer, queueMethods)
