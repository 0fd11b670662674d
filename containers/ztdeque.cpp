#include "containers/ztdeque.h"

#include "containers/ztadaptor.hh"
#include "core/ztlayout.hh"

using namespace ztcore;

ZT_PIN_CLASS(ztDeque, 72, 34);

// These read the list's fields and call none of its methods.

static void *dequeGetBack(const ztDeque &deque) {
  const ztList *list = deque.inner;
  return list == nullptr || list->tail == nullptr ? nullptr : list->tail->data;
}

static void *dequeGetFront(const ztDeque &deque) {
  const ztList *list = deque.inner;
  return list == nullptr || list->head == nullptr ? nullptr : list->head->data;
}

static int32_t dequeGetSize(const ztDeque &deque) {
  return deque.inner == nullptr ? 0 : static_cast<int32_t>(deque.inner->count);
}

static int32_t dequeIsEmpty(const ztDeque &deque) {
  return deque.inner == nullptr || deque.inner->count == 0;
}

static void dequeMethods(ztDequeMethods *methods) {
  fillAdaptorMethods<ztDeque, ztList_ctor>(methods);
  ZT_OVERRIDE_METHOD(methods, getSize, method<dequeGetSize>);
  ZT_OVERRIDE_METHOD(methods, pushBack, (innerMethod<ztDeque, &ztListMethods::pushBack>));
  ZT_OVERRIDE_METHOD(methods, pushFront, (innerMethod<ztDeque, &ztListMethods::pushFront>));
  ZT_OVERRIDE_METHOD(methods, popBack, (innerMethod<ztDeque, &ztListMethods::popBack>));
  ZT_OVERRIDE_METHOD(methods, popFront, (innerMethod<ztDeque, &ztListMethods::popFront>));
  ZT_OVERRIDE_METHOD(methods, getBack, method<dequeGetBack>);
  ZT_OVERRIDE_METHOD(methods, getFront, method<dequeGetFront>);
  ZT_OVERRIDE_METHOD(methods, isEmpty, method<dequeIsEmpty>);
}

ZT_DEFINE_CLASS(ztDeque, ztSequenceContainer, dequeMethods)
