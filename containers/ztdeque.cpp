#include "containers/ztdeque.h"

#include "containers/ztadaptor.hh"
#include "core/ztlayout.hh"

ZT_PIN_CLASS(ztDeque, 72, 34);
ZT_PIN_FIELD(ztDeque, inner, 64);
ZT_PIN_SLOT(ztDeque, pushBack, 27);
ZT_PIN_SLOT(ztDeque, isEmpty, 33);

static ztList *listOf(const void *object) {
  return ztInnerOf<ztDeque>(object);
}

static ztListItem *dequePushBack(void *object, const void *element) {
  ztList *list = listOf(object);
  return list == nullptr ? nullptr : ztList_of(list)->pushBack(list, element);
}

static ztListItem *dequePushFront(void *object, const void *element) {
  ztList *list = listOf(object);
  return list == nullptr ? nullptr : ztList_of(list)->pushFront(list, element);
}

static ztListItem *dequePopBack(void *object) {
  ztList *list = listOf(object);
  return list == nullptr ? nullptr : ztList_of(list)->popBack(list);
}

static ztListItem *dequePopFront(void *object) {
  ztList *list = listOf(object);
  return list == nullptr ? nullptr : ztList_of(list)->popFront(list);
}

// Looking at the ends reads the list's fields, and calls none of its methods.

static void *dequeGetBack(const void *object) {
  const ztList *list = listOf(object);
  return list == nullptr || list->tail == nullptr ? nullptr : list->tail->data;
}

static void *dequeGetFront(const void *object) {
  const ztList *list = listOf(object);
  return list == nullptr || list->head == nullptr ? nullptr : list->head->data;
}

static int32_t dequeGetSize(const void *object) {
  const ztList *list = listOf(object);
  return list == nullptr ? 0 : static_cast<int32_t>(list->count);
}

static int32_t dequeIsEmpty(const void *object) {
  const ztList *list = listOf(object);
  return object != nullptr && (list == nullptr || list->count == 0);
}

static void dequeMethods(ztDequeMethods *methods) {
  ztFillAdaptorMethods<ztDeque, ztList_ctor>(methods);
  ZT_OVERRIDE_METHOD(methods, getSize, dequeGetSize);
  ZT_OVERRIDE_METHOD(methods, pushBack, dequePushBack);
  ZT_OVERRIDE_METHOD(methods, pushFront, dequePushFront);
  ZT_OVERRIDE_METHOD(methods, popBack, dequePopBack);
  ZT_OVERRIDE_METHOD(methods, popFront, dequePopFront);
  ZT_OVERRIDE_METHOD(methods, getBack, dequeGetBack);
  ZT_OVERRIDE_METHOD(methods, getFront, dequeGetFront);
  ZT_OVERRIDE_METHOD(methods, isEmpty, dequeIsEmpty);
}

ZT_DEFINE_CLASS(ztDeque, ztSequenceContainer, dequeMethods)
