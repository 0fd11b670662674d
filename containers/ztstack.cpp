#include "containers/ztstack.h"

#include "containers/ztadaptor.hh"
#include "core/ztlayout.hh"

using namespace ztcore;

ZT_PIN_CLASS(ztStack, 72, 31);

static int32_t stackIsEmpty(const ztStack &stack) {
  return stack.inner == nullptr ? 1 : ztDeque_of(stack.inner)->isEmpty(stack.inner);
}

static void stackMethods(ztStackMethods *methods) {
  fillAdaptorMethods<ztStack, ztDeque_ctor>(methods);
  ZT_OVERRIDE_METHOD(methods, getSize, (innerMethod<ztStack, &ztDequeMethods::getSize>));
  ZT_OVERRIDE_METHOD(methods, push, (innerMethod<ztStack, &ztDequeMethods::pushBack>));
  ZT_OVERRIDE_METHOD(methods, pop, (innerMethod<ztStack, &ztDequeMethods::popBack>));
  ZT_OVERRIDE_METHOD(methods, getTop, (innerMethod<ztStack, &ztDequeMethods::getBack>));
  ZT_OVERRIDE_METHOD(methods, isEmpty, method<stackIsEmpty>);
}

ZT_DEFINE_CLASS(ztStack, ztSequenceContainer, stackMethods)
