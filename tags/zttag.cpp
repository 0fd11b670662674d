#include "tags/zttag.h"

#include "core/ztbasec.hh"
#include "core/ztlayout.hh"
#include "core/zttext.hh"
#include "objects/ztobject.hh"
#include "tags/zttagattr.hh"

#include <string.h>

#include <utility>

ZT_PIN_CLASS(ztTag, 160, 64);
ZT_PIN_FIELD(ztTag, attributes, 152);
ZT_PIN_SLOT(ztTag, insertNew, 48);
ZT_PIN_SLOT(ztTag, getByHandle, 58);
ZT_PIN_SLOT(ztTag, emptySlot2, 59);
ZT_PIN_SLOT(ztTag, swapTags, 63);

// Attributes of a tag -----------------------------------------------------------------------------

static int32_t countOf(const void *object) {
  const ztPtrArray *attributes = static_cast<const ztTag *>(object)->attributes;
  return attributes == nullptr ? 0 : ztPtrArray_of(attributes)->getSize(attributes);
}

static ztTagAttribute *attributeAt(const void *object, int32_t index) {
  const ztPtrArray *attributes = static_cast<const ztTag *>(object)->attributes;
  if (attributes == nullptr) return nullptr;
  return static_cast<ztTagAttribute *>(ztPtrArray_of(attributes)->getAt(attributes, index));
}

static ztTagAttribute *resolve(const void *object, const ztTagHandle *handle) {
  if (handle == nullptr) return nullptr;
  ztTagAttribute *attribute = attributeAt(object, handle->index);
  return attribute != nullptr && attribute->type == handle->type ? attribute : nullptr;
}

static bool isHeld(const ztTagAttribute *attribute) {
  if (attribute->owner == nullptr) return false;
  for (int32_t i = 0; i < countOf(attribute->owner); ++i) {
    if (attributeAt(attribute->owner, i) == attribute) return true;
  }
  return false;
}

static bool append(ztTag *tag, void *attribute) {
  if (tag->attributes == nullptr) tag->attributes = static_cast<ztPtrArray *>(ztPtrArray_ctor(nullptr, 1));
  if (tag->attributes == nullptr) return false;
  return ztPtrArray_of(tag->attributes)->pushBack(tag->attributes, attribute) != nullptr;
}

static int32_t tagInsertNew(void *object, const char *name, void *given, ztTagHandle *handle,
                            int32_t userValue, int32_t count, const void *initial) {
  auto *attribute = static_cast<ztTagAttribute *>(given);
  if (attribute == nullptr || isHeld(attribute)) return 0;
  if (name == nullptr) name = "";
  const ztTagAttributeMethods *methods = ztTagAttribute_of(attribute);
  const bool hasName = strcmp(name, attribute->name) == 0;
  if ((countOf(object) > 0 && hasName) || !append(static_cast<ztTag *>(object), attribute)) {
    methods->unRef(attribute);
    return 0;
  }
  ztCopyText(attribute->name, name);
  methods->setNumValues(attribute, count);
  methods->setValue(attribute, -1, initial);
  ztTatSetOwner(attribute, object);
  attribute->userValue = userValue;
  if (handle != nullptr) *handle = {countOf(object) - 1, attribute->type};
  return 1;
}

static void *tagGetByHandle(const void *object, const ztTagHandle *handle) {
  return resolve(object, handle);
}

static void *tagGetByName(const void *object, const char *name, int32_t *index) {
  if (name == nullptr) return nullptr;
  for (int32_t i = 0; i < countOf(object); ++i) {
    ztTagAttribute *attribute = attributeAt(object, i);
    if (attribute == nullptr || strcmp(attribute->name, name) != 0) continue;
    if (index != nullptr) *index = i;
    return attribute;
  }
  return nullptr;
}

static int32_t tagEnumTags(void *object, ztTagCallback callback, void *userData) {
  if (callback == nullptr) return 0;
  // The callback may insert attributes, or release the tag.
  ObjectWatch watch(object);
  for (int32_t i = 0; watch.isAlive() && i < countOf(object); ++i) {
    if (!callback(object, attributeAt(object, i), userData)) return 0;
  }
  return 1;
}

// Values ------------------------------------------------------------------------------------------

static int32_t tagSetValue(void *object, const ztTagHandle *handle, int32_t index, const void *value) {
  ztTagAttribute *attribute = resolve(object, handle);
  return attribute == nullptr ? 0 : ztTagAttribute_of(attribute)->setValue(attribute, index, value);
}

static int32_t tagSetNumValues(void *object, const ztTagHandle *handle, int32_t count, const void *initial) {
  ztTagAttribute *attribute = resolve(object, handle);
  if (attribute == nullptr || !ztTagAttribute_of(attribute)->setNumValues(attribute, count)) return 0;
  ztTagAttribute_of(attribute)->setValue(attribute, -1, initial);
  return 1;
}

static int32_t tagGetNumValues(const void *object, const ztTagHandle *handle) {
  const ztTagAttribute *attribute = resolve(object, handle);
  return attribute == nullptr ? 0 : ztTatCount(attribute);
}

static void *tagGetValue(const void *object, const ztTagHandle *handle, int32_t index, void *out) {
  const ztTagAttribute *attribute = resolve(object, handle);
  return attribute == nullptr ? nullptr : ztTagAttribute_of(attribute)->getValue(attribute, index, out);
}

static ztArray *tagGetValues(const void *object, const ztTagHandle *handle) {
  const ztTagAttribute *attribute = resolve(object, handle);
  return attribute == nullptr ? nullptr : attribute->values;
}

static void *tagGetAverageValue(void *object, const ztTagHandle *handle, void *out) {
  ztTagAttribute *attribute = resolve(object, handle);
  return attribute == nullptr ? nullptr : ztTagAttribute_of(attribute)->getAverageValue(attribute, out);
}

static void *tagGetTotalValue(void *object, const ztTagHandle *handle, void *out) {
  ztTagAttribute *attribute = resolve(object, handle);
  return attribute == nullptr ? nullptr : ztTagAttribute_of(attribute)->getTotalValue(attribute, out);
}

static int32_t tagAllocWise(void *, const ztTagHandle *) {
  return 0;
}

static int32_t tagDeallocWise(void *object, const char *name) {
  void *attribute = ztTag_of(object)->getByName(object, name, nullptr);
  return attribute == nullptr ? 0 : ztTagAttribute_of(attribute)->setNumValues(attribute, 1);
}

static void tagAttrChanged(void *, void *) {}

// A stored attribute may bring another type than its values have, so the arrays are looked at too.
static bool canSwap(const ztTagAttribute *first, const ztTagAttribute *second) {
  return first != nullptr && second != nullptr && first->type == second->type && first->values != nullptr &&
         second->values != nullptr && first->values->klass == second->values->klass &&
         ztTatCount(first) == ztTatCount(second);
}

static int32_t tagSwapTags(void *object, const ztTagHandle *first, const ztTagHandle *second) {
  ztTagAttribute *one = resolve(object, first);
  ztTagAttribute *other = resolve(object, second);
  if (!canSwap(one, other)) return 0;
  std::swap(one->values, other->values);
  return 1;
}

// Life of a tag -----------------------------------------------------------------------------------

static int32_t tagCreate(void *object) {
  static_cast<ztTag *>(object)->attributes = nullptr;
  return ztRoot_table()->create(object) != 0;
}

static void releaseArray(ztTag *tag) {
  ztPtrArray *attributes = tag->attributes;
  tag->attributes = nullptr;
  if (attributes != nullptr) ztPtrArray_of(attributes)->unRef(attributes);
}

static void releaseAttribute(const ztTag *tag, ztTagAttribute *attribute) {
  if (attribute == nullptr) return;
  // The host may hold a reference of its own; the attribute then lives on without this owner.
  if (attribute->owner == tag) ztTatSetOwner(attribute, nullptr);
  ztTagAttribute_of(attribute)->unRef(attribute);
}

// The copy's array holds the source's attributes until each is replaced by its copy.
static bool cloneAttributes(const ztTag *tag, ztTag *copy) {
  copy->attributes = static_cast<ztPtrArray *>(ztCopyObject(tag->attributes));
  if (copy->attributes == nullptr) return false;
  const int32_t count = countOf(tag);
  for (int32_t i = 0; i < count; ++i) {
    auto *attribute = static_cast<ztTagAttribute *>(ztCopyObject(attributeAt(tag, i)));
    if (attribute == nullptr) {
      while (--i >= 0) releaseAttribute(copy, attributeAt(copy, i));
      releaseArray(copy);
      return false;
    }
    ztTatSetOwner(attribute, copy);
    ztPtrArray_of(copy->attributes)->setAt(copy->attributes, attribute, i);
  }
  return true;
}

static void *tagClone(const void *object, void *target) {
  auto *copy = static_cast<ztTag *>(ztRoot_table()->clone(object, target));
  if (copy == nullptr) return nullptr;
  const auto *tag = static_cast<const ztTag *>(object);
  copy->attributes = nullptr;
  if (tag->attributes == nullptr || cloneAttributes(tag, copy)) return copy;
  ztRoot_table()->destroy(copy);
  return nullptr;
}

static int32_t tagAssign(void *object, const void *other) {
  if (other == nullptr || !ztRoot_table()->assign(object, other)) return 0;
  for (int32_t i = 0; i < countOf(other); ++i) {
    ztTagAttribute *attribute = attributeAt(object, i);
    const ztTagAttribute *source = attributeAt(other, i);
    if (attribute != nullptr && source != nullptr) ztTagAttribute_of(attribute)->assign(attribute, source);
  }
  return 1;
}

static void tagDestroy(void *object) {
  auto *tag = static_cast<ztTag *>(object);
  ztRoot_table()->destroy(object);
  for (int32_t i = 0; i < countOf(tag); ++i) releaseAttribute(tag, attributeAt(tag, i));
  releaseArray(tag);
  ztTatForgetOwner(tag);
}

// The record --------------------------------------------------------------------------------------

static int32_t tagWrite(const void *object, void *file) {
  if (!ztRoot_table()->write(object, file)) return 0;
  for (int32_t i = 0; i < countOf(object); ++i) {
    const ztTagAttribute *attribute = attributeAt(object, i);
    if (attribute != nullptr && !ztTagAttribute_of(attribute)->write(attribute, file)) return 0;
  }
  return 1;
}

static int32_t tagRead(void *object, void *file) {
  if (!ztRoot_table()->read(object, file)) return 0;
  for (int32_t i = 0; i < countOf(object); ++i) {
    ztTagAttribute *attribute = attributeAt(object, i);
    if (attribute != nullptr && !ztTagAttribute_of(attribute)->read(attribute, file)) return 0;
  }
  return 1;
}

static void tagMethods(ztTagMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, tagCreate);
  ZT_OVERRIDE_METHOD(methods, clone, tagClone);
  ZT_OVERRIDE_METHOD(methods, assign, tagAssign);
  ZT_OVERRIDE_METHOD(methods, destroy, tagDestroy);
  ZT_OVERRIDE_METHOD(methods, read, tagRead);
  ZT_OVERRIDE_METHOD(methods, write, tagWrite);
  ZT_OVERRIDE_METHOD(methods, insertNew, tagInsertNew);
  ZT_OVERRIDE_METHOD(methods, setValue, tagSetValue);
  ZT_OVERRIDE_METHOD(methods, setNumValues, tagSetNumValues);
  ZT_OVERRIDE_METHOD(methods, getNumValues, tagGetNumValues);
  ZT_OVERRIDE_METHOD(methods, getValue, tagGetValue);
  ZT_OVERRIDE_METHOD(methods, getValues, tagGetValues);
  ZT_OVERRIDE_METHOD(methods, getAverageValue, tagGetAverageValue);
  ZT_OVERRIDE_METHOD(methods, getTotalValue, tagGetTotalValue);
  ZT_OVERRIDE_METHOD(methods, enumTags, tagEnumTags);
  ZT_OVERRIDE_METHOD(methods, getByName, tagGetByName);
  ZT_OVERRIDE_METHOD(methods, getByHandle, tagGetByHandle);
  ZT_OVERRIDE_METHOD(methods, allocWise, tagAllocWise);
  ZT_OVERRIDE_METHOD(methods, deallocWise, tagDeallocWise);
  ZT_OVERRIDE_METHOD(methods, attrChanged, tagAttrChanged);
  ZT_OVERRIDE_METHOD(methods, swapTags, tagSwapTags);
}

ZT_DEFINE_CLASS(ztTag, ztRoot, tagMethods)
