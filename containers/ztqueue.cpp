#include "containers/ztqueue.h"

#include "containers/ztadaptor.hh"
#include "core/ztlayout.hh"

using namespace ztcore;

ZT_PIN_CLASS(ztQueue, 72, 32);

static int32_t queueIsEmpty(const ztQueue &queue) {
  return queue.inner == nullptr ? 1 : ztDeque_of(queue.inner)->isEmpty(queue.inner);
}

static void queueMethods(ztQueueMethods *methods) {
  fillAdaptorMethods<ztQueue, ztDeque_ctor>(methods);
  ZT_OVERRIDE_METHOD(methods, getSize, (innerMethod<ztQueue, &ztDequeMethods::getSize>));
  ZT_OVERRIDE_METHOD(methods, push, (innerMethod<ztQueue, &ztDequeMethods::pushBack>));
  ZT_OVERRIDE_METHOD(methods, pop, (innerMethod<ztQueue, &ztDequeMethods::popFront>));
  ZT_OVERRIDE_METHOD(methods, getBack, (innerMethod<ztQueue, &ztDequeMethods::getBack>));
  ZT_OVERRIDE_METHOD(methods, getFront, (innerMethod<ztQueue, &ztDequeMethods::getFront>));
  ZT_OVERRIDE_METHOD(methods, isEmpty, method<queueIsEmpty>);
}

ZT_DEFINE_CLASS(ztQueue, ztSequenceContainer, queueMethods)
