#include "tags/zttag.h"

#include "core/ztbasec.hh"
#include "core/ztlayout.hh"
#include "core/ztmethod.hh"
#include "core/ztrelease.hh"
#include "core/zttext.hh"
#include "objects/ztwatch.hh"
#include "tags/zttag.hh"
#include "tags/zttagattr.hh"
#include "tags/zttagowner.hh"

#include <string.h>

#include <utility>

using namespace ztcore;

ZT_PIN_CLASS(ztTag, 160, 64);

// Attributes of a tag -----------------------------------------------------------------------------

static int32_t countOf(const ztTag &tag) {
  const ztPtrArray *attributes = tag.attributes;
  return attributes == nullptr ? 0 : ztPtrArray_of(attributes)->getSize(attributes);
}

// NULL when there is none, and when the attribute was destroyed.
static ztTagAttribute *attributeAt(const ztTag &tag, int32_t index) {
  const ztPtrArray *attributes = tag.attributes;
  if (attributes == nullptr) return nullptr;
  return static_cast<ztTagAttribute *>(ztPtrArray_of(attributes)->getAt(attributes, index));
}

// An array moves the tags in its block, so a returned attribute stores its tag's current address.
static ztTagAttribute *toHandOut(const ztTag &tag, ztTagAttribute *attribute) {
  holdAttribute(attribute, &tag);
  return attribute;
}

static ztTagAttribute *resolve(const ztTag &tag, const ztTagHandle *handle) {
  if (handle == nullptr) return nullptr;
  ztTagAttribute *attribute = attributeAt(tag, handle->index);
  if (attribute == nullptr || attribute->type != handle->type) return nullptr;
  return toHandOut(tag, attribute);
}

// The last index of the attribute in the tag; -1 when there is none.
static int32_t indexOf(const ztTag &tag, const ztTagAttribute *attribute) {
  int32_t index = countOf(tag) - 1;
  while (index >= 0 && attributeAt(tag, index) != attribute) --index;
  return index;
}

// Later handles stay valid. The last place also stays when memory is exhausted.
static void removeAttribute(const ztTag &tag, int32_t index) {
  ztPtrArray_of(tag.attributes)->setAt(tag.attributes, nullptr, index);
  if (index == countOf(tag) - 1) ztPtrArray_of(tag.attributes)->removeAt(tag.attributes, index);
}

// Binds the attribute to the tag, so that no other tag can take it while its values are set.
static bool append(ztTag &tag, ztTagAttribute *attribute) {
  if (tag.attributes == nullptr) tag.attributes = newObject<ztPtrArray>(ztPtrArray_ctor);
  if (tag.attributes == nullptr) return false;
  if (ztPtrArray_of(tag.attributes)->pushBack(tag.attributes, attribute) == nullptr) return false;
  if (enlist(attribute, &tag)) return true;
  removeAttribute(tag, countOf(tag) - 1);
  return false;
}

// Whether setting this number of values failed because memory was exhausted. It is no failure that a negative
// number changes nothing, or that a host's class refuses a number.
static bool lacksMemory(const ztTagAttribute *attribute, int32_t count) {
  if (ztTagAttribute_of(attribute)->setNumValues != ztTagAttribute_table()->setNumValues) return false;
  const ztArray *values = attribute->values;
  if (values == nullptr || count < 0) return false;
  const int32_t size = ztArray_of(values)->getElementSize(values);
  return int64_t{count} * size <= INT32_MAX;
}

// Sets the values of an attribute in the tag. Returns its index, or -1 when it is no longer in the tag: a copy
// tells its source's owner, whose `attrChanged` may destroy the tag or remove the attribute.
static int32_t fill(ztTag &tag, ztTagAttribute *attribute, int32_t count, const void *initial) {
  const ztTagAttributeMethods *methods = ztTagAttribute_of(attribute);
  ObjectWatch watch(&tag);
  const bool isSized = methods->setNumValues(attribute, count) != 0;
  int32_t index = watch.isAlive() ? indexOf(tag, attribute) : -1;
  if (index < 0) return -1;
  if (!isSized && lacksMemory(attribute, count)) {
    removeAttribute(tag, index);
    withdraw(attribute);
    methods->unRef(attribute);
    return -1;
  }
  methods->setValue(attribute, -1, initial);
  return watch.isAlive() ? indexOf(tag, attribute) : -1;
}

static int32_t tagInsertNew(ztTag &tag, const char *name, void *given, ztTagHandle *handle, int32_t userValue,
                            int32_t count, const void *initial) {
  auto *attribute = static_cast<ztTagAttribute *>(given);
  if (attribute == nullptr || isHeldAttribute(attribute)) return 0;
  if (name == nullptr) name = "";
  const bool hasName = strcmp(name, attribute->name) == 0;
  if ((countOf(tag) > 0 && hasName) || !append(tag, attribute)) {
    ztTagAttribute_of(attribute)->unRef(attribute);
    return 0;
  }
  copyText(attribute->name, name);
  const int32_t index = fill(tag, attribute, count, initial);
  if (index < 0) return 0;
  holdAttribute(attribute, &tag);
  attribute->userValue = userValue;
  if (handle != nullptr) *handle = {index, attribute->type};
  return 1;
}

static void *tagGetByHandle(const ztTag &tag, const ztTagHandle *handle) {
  return resolve(tag, handle);
}

static void *tagGetByName(const ztTag &tag, const char *name, int32_t *index) {
  if (name == nullptr) return nullptr;
  for (int32_t i = 0; i < countOf(tag); ++i) {
    ztTagAttribute *attribute = attributeAt(tag, i);
    if (attribute == nullptr || strcmp(attribute->name, name) != 0) continue;
    if (index != nullptr) *index = i;
    return toHandOut(tag, attribute);
  }
  return nullptr;
}

static int32_t tagEnumTags(ztTag &tag, ztTagCallback callback, void *userData) {
  if (callback == nullptr) return 0;
  // The callback may insert attributes, or release the tag.
  ObjectWatch watch(&tag);
  for (int32_t i = 0; watch.isAlive() && i < countOf(tag); ++i) {
    ztTagAttribute *attribute = attributeAt(tag, i);
    if (attribute == nullptr) continue;
    if (!callback(&tag, toHandOut(tag, attribute), userData)) return 0;
  }
  return 1;
}

// Values ------------------------------------------------------------------------------------------

static int32_t tagSetValue(ztTag &tag, const ztTagHandle *handle, int32_t index, const void *value) {
  ztTagAttribute *attribute = resolve(tag, handle);
  return attribute == nullptr ? 0 : ztTagAttribute_of(attribute)->setValue(attribute, index, value);
}

static int32_t tagSetNumValues(ztTag &tag, const ztTagHandle *handle, int32_t count, const void *initial) {
  ztTagAttribute *attribute = resolve(tag, handle);
  if (attribute == nullptr || !ztTagAttribute_of(attribute)->setNumValues(attribute, count)) return 0;
  ztTagAttribute_of(attribute)->setValue(attribute, -1, initial);
  return 1;
}

static int32_t tagGetNumValues(const ztTag &tag, const ztTagHandle *handle) {
  const ztTagAttribute *attribute = resolve(tag, handle);
  return attribute == nullptr ? 0 : countValues(attribute);
}

static void *tagGetValue(const ztTag &tag, const ztTagHandle *handle, int32_t index, void *out) {
  const ztTagAttribute *attribute = resolve(tag, handle);
  return attribute == nullptr ? nullptr : ztTagAttribute_of(attribute)->getValue(attribute, index, out);
}

static ztArray *tagGetValues(const ztTag &tag, const ztTagHandle *handle) {
  const ztTagAttribute *attribute = resolve(tag, handle);
  return attribute == nullptr ? nullptr : attribute->values;
}

static void *tagGetAverageValue(ztTag &tag, const ztTagHandle *handle, void *out) {
  ztTagAttribute *attribute = resolve(tag, handle);
  return attribute == nullptr ? nullptr : ztTagAttribute_of(attribute)->getAverageValue(attribute, out);
}

static void *tagGetTotalValue(ztTag &tag, const ztTagHandle *handle, void *out) {
  ztTagAttribute *attribute = resolve(tag, handle);
  return attribute == nullptr ? nullptr : ztTagAttribute_of(attribute)->getTotalValue(attribute, out);
}

static int32_t tagAllocWise(void *, const ztTagHandle *) {
  return 0;
}

static int32_t tagDeallocWise(ztTag &tag, const char *name) {
  void *attribute = ztTag_of(&tag)->getByName(&tag, name, nullptr);
  return attribute == nullptr ? 0 : ztTagAttribute_of(attribute)->setNumValues(attribute, 1);
}

static void tagAttrChanged(void *, void *) {}

// Compares the arrays too, because a host can set the type independently of the values.
static bool canSwap(const ztTagAttribute *first, const ztTagAttribute *second) {
  return first != nullptr && second != nullptr && first->type == second->type && first->values != nullptr &&
         second->values != nullptr && first->values->klass == second->values->klass &&
         first->values->elementSize == second->values->elementSize &&
         countValues(first) == countValues(second);
}

static int32_t tagSwapTags(ztTag &tag, const ztTagHandle *first, const ztTagHandle *second) {
  ztTagAttribute *one = resolve(tag, first);
  ztTagAttribute *other = resolve(tag, second);
  if (!canSwap(one, other)) return 0;
  std::swap(one->values, other->values);
  return 1;
}

// Life of a tag -----------------------------------------------------------------------------------

static int32_t tagCreate(ztTag &tag) {
  tag.attributes = nullptr;
  return ztRoot_table()->create(&tag) != 0;
}

// Removes each attribute from its place before its release. The others stay bound: one that a host's `destroy`
// releases removes itself from the array. After an exception the tag has the rest until its next destruction.
static bool releaseEach(const ztTag &tag) {
  bool released = false;
  for (int32_t i = 0; i < countOf(tag); ++i) {
    ztTagAttribute *attribute = attributeAt(tag, i);
    if (attribute == nullptr) continue;
    released = true;
    // If the host has a reference, the attribute stays alive without an owner.
    ztPtrArray_of(tag.attributes)->setAt(tag.attributes, nullptr, i);
    letGo(attribute);
    ztTagAttribute_of(attribute)->unRef(attribute);
  }
  return released;
}

static void releaseAttributes(ztTag &tag) {
  // Repeats for attributes that a `destroy` inserts or moves to an earlier place.
  while (releaseEach(tag)) {
  }
  ownerDestroyed(&tag, tag.attributes);
  releasePart(tag.attributes);
}

// The copy's array first holds the source's attributes. Copies replace them, or NULL after a failed copy.
static bool cloneAttributes(const ztTag &tag, ztTag &copy) {
  copy.attributes = static_cast<ztPtrArray *>(copyObject(tag.attributes));
  if (copy.attributes == nullptr) return false;
  bool complete = true;
  for (int32_t i = 0; i < countOf(copy); ++i) {
    const ztTagAttribute *source = attributeAt(tag, i);
    auto *attribute = static_cast<ztTagAttribute *>(complete ? copyObject(source) : nullptr);
    const bool isHeld = attribute != nullptr && holdAttribute(attribute, &copy);
    complete = complete && (isHeld || source == nullptr);
    ztPtrArray_of(copy.attributes)->setAt(copy.attributes, attribute, i);
  }
  return complete;
}

bool ztcore::copyAttributes(const ztTag *tag, ztTag *copy) {
  copy->attributes = nullptr;
  return tag->attributes == nullptr || cloneAttributes(*tag, *copy);
}

static void *tagClone(const ztTag &tag, void *target) {
  auto *copy = static_cast<ztTag *>(ztRoot_table()->clone(&tag, target));
  if (copy == nullptr || copyAttributes(&tag, copy)) return copy;
  releaseAttributes(*copy);
  ztRoot_table()->destroy(copy);
  return nullptr;
}

void ztcore::assignAttributes(ztTag *tag, const ztTag *other) {
  for (int32_t i = 0; i < countOf(*other); ++i) {
    ztTagAttribute *attribute = attributeAt(*tag, i);
    const ztTagAttribute *source = attributeAt(*other, i);
    if (attribute != nullptr && source != nullptr) assignCommon(attribute, source);
  }
}

static int32_t tagAssign(ztTag &tag, const void *other) {
  if (other == nullptr || !ztRoot_table()->assign(&tag, other)) return 0;
  assignAttributes(&tag, static_cast<const ztTag *>(other));
  return 1;
}

static void tagDestroy(ztTag &tag) {
  ztRoot_table()->destroy(&tag);
  releaseAttributes(tag);
}

// The record --------------------------------------------------------------------------------------

static int32_t tagWrite(const ztTag &tag, void *file) {
  if (!ztRoot_table()->write(&tag, file)) return 0;
  for (int32_t i = 0; i < countOf(tag); ++i) {
    const ztTagAttribute *attribute = attributeAt(tag, i);
    if (attribute != nullptr && ztTagAttribute_of(attribute)->write(attribute, file) <= 0) return 0;
  }
  return 1;
}

static int32_t tagRead(ztTag &tag, void *file) {
  if (!ztRoot_table()->read(&tag, file)) return 0;
  for (int32_t i = 0; i < countOf(tag); ++i) {
    ztTagAttribute *attribute = attributeAt(tag, i);
    if (attribute != nullptr && ztTagAttribute_of(attribute)->read(attribute, file) <= 0) return 0;
  }
  return 1;
}

static void tagMethods(ztTagMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, method<tagCreate>);
  ZT_OVERRIDE_METHOD(methods, clone, method<tagClone>);
  ZT_OVERRIDE_METHOD(methods, assign, method<tagAssign>);
  ZT_OVERRIDE_METHOD(methods, destroy, method<tagDestroy>);
  ZT_OVERRIDE_METHOD(methods, read, method<tagRead>);
  ZT_OVERRIDE_METHOD(methods, write, method<tagWrite>);
  ZT_OVERRIDE_METHOD(methods, insertNew, method<tagInsertNew>);
  ZT_OVERRIDE_METHOD(methods, setValue, method<tagSetValue>);
  ZT_OVERRIDE_METHOD(methods, setNumValues, method<tagSetNumValues>);
  ZT_OVERRIDE_METHOD(methods, getNumValues, method<tagGetNumValues>);
  ZT_OVERRIDE_METHOD(methods, getValue, method<tagGetValue>);
  ZT_OVERRIDE_METHOD(methods, getValues, method<tagGetValues>);
  ZT_OVERRIDE_METHOD(methods, getAverageValue, method<tagGetAverageValue>);
  ZT_OVERRIDE_METHOD(methods, getTotalValue, method<tagGetTotalValue>);
  ZT_OVERRIDE_METHOD(methods, enumTags, method<tagEnumTags>);
  ZT_OVERRIDE_METHOD(methods, getByName, method<tagGetByName>);
  ZT_OVERRIDE_METHOD(methods, getByHandle, method<tagGetByHandle>);
  ZT_OVERRIDE_METHOD(methods, allocWise, tagAllocWise);
  ZT_OVERRIDE_METHOD(methods, deallocWise, method<tagDeallocWise>);
  ZT_OVERRIDE_METHOD(methods, attrChanged, tagAttrChanged);
  ZT_OVERRIDE_METHOD(methods, swapTags, method<tagSwapTags>);
}

ZT_DEFINE_CLASS(ztTag, ztRoot, tagMethods)
