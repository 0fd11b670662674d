#include "containers/ztqueue.h"

#include "containers/ztadaptor.hh"
#include "core/ztlayout.hh"

ZT_PIN_CLASS(ztQueue, 72, 32);

static int32_t queueIsEmpty(const ztQueue &queue) {
  return queue.inner == nullptr ? 1 : ztDeque_of(queue.inner)->isEmpty(queue.inner);
}

static void queueMethods(ztQueueMethods *methods) {
  ztFillAdaptorMethods<ztQueue, ztDeque_ctor>(methods);
  ZT_OVERRIDE_METHOD(methods, getSize, (ztInnerMethod<ztQueue, &ztDequeMethods::getSize>));
  ZT_OVERRIDE_METHOD(methods, push, (ztInnerMethod<ztQueue, &ztDequeMethods::pushBack>));
  ZT_OVERRIDE_METHOD(methods, pop, (ztInnerMethod<ztQueue, &ztDequeMethods::popFront>));
  ZT_OVERRIDE_METHOD(methods, getBack, (ztInnerMethod<ztQueue, &ztDequeMethods::getBack>));
  ZT_OVERRIDE_METHOD(methods, getFront, (ztInnerMethod<ztQueue, &ztDequeMethods::getFront>));
  ZT_OVERRIDE_METHOD(methods, isEmpty, ztMethod<queueIsEmpty>);
}

ZT_DEFINE_CLASS(ztQueue, ztSequenceContainer, queueMethods)
