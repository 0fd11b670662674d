#include "tags/zttagattr.h"

#include "core/ztbasec.hh"
#include "core/ztlayout.hh"
#include "core/ztmethod.hh"
#include "core/ztrelease.hh"
#include "core/zttext.hh"
#include "io/ztfile.h"
#include "tags/zttag.h"
#include "tags/zttagattr.hh"
#include "tags/zttagowner.hh"

#include <string.h>

using namespace ztcore;

ZT_PIN_CLASS(ztTagAttribute, 80, 21);
static_assert(sizeof(ztTagHandle) == 8);

static const ztTagAttribute &attributeOf(const void *object) {
  return *static_cast<const ztTagAttribute *>(object);
}

int32_t ztcore::countValues(const void *attribute) {
  const ztArray *values = attributeOf(attribute).values;
  return values == nullptr ? 0 : ztArray_of(values)->getSize(values);
}

// Values ------------------------------------------------------------------------------------------
//
// A caller has a buffer for the type: 4 bytes for an integer, 8 for a double. Hosts can set the type and the
// array of values independently: when they do not match, nothing is copied.

enum : int32_t { intType = 1, floatType = 2 };

static bool typeAllows(int32_t type, int32_t size) {
  if (type == intType) return size == sizeof(int32_t);
  if (type == floatType) return size == sizeof(double);
  return size >= 0;
}

static int32_t valueSize(const ztTagAttribute &attribute) {
  return ztArray_of(attribute.values)->getElementSize(attribute.values);
}

static bool agreesWithType(const ztTagAttribute &attribute) {
  return attribute.values != nullptr && typeAllows(attribute.type, valueSize(attribute));
}

bool ztcore::hasValuesOf(const void *attribute, int32_t size) {
  return agreesWithType(attributeOf(attribute)) && valueSize(attributeOf(attribute)) == size;
}

static void storeEverywhere(ztArray *values, const void *value, int32_t count) {
  for (int32_t i = 0; i < count; ++i) ztArray_of(values)->setAt(values, value, i);
}

static int32_t attributeSetValue(ztTagAttribute &attribute, int32_t index, const void *value) {
  const int32_t count = countValues(&attribute);
  constexpr int32_t everyIndex = -1;
  if (value == nullptr || index < everyIndex || !agreesWithType(attribute)) return 0;
  if (index >= count) index = 0;
  if (index != everyIndex && count == 0) return 0;
  attribute.changed = 1;
  if (index == everyIndex) {
    storeEverywhere(attribute.values, value, count);
  } else {
    ztArray_of(attribute.values)->setAt(attribute.values, value, index);
  }
  void *owner = livingOwner(&attribute);
  if (owner != nullptr) {
    ztTag_of(owner)->attrChanged(owner, &attribute);
  } else {
    forgetDeadOwner(&attribute);
  }
  return 1;
}

static void *attributeGetValue(const ztTagAttribute &attribute, int32_t index, void *out) {
  const int32_t count = countValues(&attribute);
  if (index >= count) index = 0;
  if (index < 0 || count == 0 || !agreesWithType(attribute)) return nullptr;
  void *value = ztArray_of(attribute.values)->getAt(attribute.values, index);
  if (out != nullptr && value != nullptr) memcpy(out, value, static_cast<size_t>(valueSize(attribute)));
  return value;
}

static void *attributeGetAverageValue(ztTagAttribute &attribute, void *out) {
  attribute.changed = 0;
  return out;
}

static void *attributeGetTotalValue(ztTagAttribute &attribute, void *out) {
  attribute.changed = 0;
  return out;
}

static int32_t attributeSetNumValues(ztTagAttribute &attribute, int32_t count) {
  ztArray *values = attribute.values;
  return values != nullptr && ztArray_of(values)->resize(values, count) != 0;
}

// Life of an attribute ----------------------------------------------------------------------------

static int32_t attributeCreate(ztTagAttribute &attribute) {
  attribute.values = nullptr;
  attribute.owner = nullptr;
  attribute.binding = 0;
  if (!ztBaseClass_table()->create(&attribute)) return 0;
  copyText(attribute.name, "");
  attribute.type = -1;
  attribute.changed = 1;
  attribute.userValue = 1;
  return 1;
}

static void *attributeClone(const ztTagAttribute &attribute, void *target) {
  auto *copy = static_cast<ztTagAttribute *>(ztBaseClass_table()->clone(&attribute, target));
  if (copy == nullptr) return nullptr;
  const ztArray *values = attribute.values;
  const bool hasOwner = shareOwner(copy, &attribute);
  copy->values = static_cast<ztArray *>(copyObject(values));
  if (hasOwner && (copy->values != nullptr || values == nullptr)) return copy;
  letGo(copy);
  releasePart(copy->values);
  ztBaseClass_table()->destroy(copy);
  return nullptr;
}

static int32_t attributeAssign(ztTagAttribute &attribute, const void *other) {
  if (other == nullptr || !ztBaseClass_table()->assign(&attribute, other)) return 0;
  ztArray *values = attribute.values;
  const ztArray *source = attributeOf(other).values;
  if (values == nullptr || source == nullptr || values->klass != source->klass) return 1;
  ztArray_of(values)->assign(values, source);
  return 1;
}

static void attributeDestroy(ztTagAttribute &attribute) {
  ztBaseClass_table()->destroy(&attribute);
  // A tag may still hold it, for example when a host takes a reference and releases it.
  leaveArray(&attribute);
  letGo(&attribute);
  releasePart(attribute.values);
}

// The record --------------------------------------------------------------------------------------

constexpr int32_t nameFieldSize = sizeof ztTagAttribute::name;

// Writes the type twice.
static int32_t attributeWrite(const ztTagAttribute &attribute, void *file) {
  if (file == nullptr || attribute.values == nullptr) return 0;
  const ztFileMethods *methods = ztFile_of(file);
  return ztBaseClass_table()->write(&attribute, file) &&
         methods->writeBuf(file, nameFieldSize, attribute.name) == nameFieldSize &&
         methods->writeInt(file, attribute.type) > 0 && methods->writeInt(file, attribute.type) > 0 &&
         methods->writeInt(file, attribute.userValue) > 0 &&
         ztArray_of(attribute.values)->write(attribute.values, file) > 0;
}

// Refuses a type that contradicts the values, because a caller's buffer would be too small.
static bool readTypes(ztTagAttribute &attribute, void *file) {
  const int32_t kept = attribute.type;
  for (int i = 0; i < 2; ++i) {
    int32_t type = attribute.type;
    if (ztFile_of(file)->readInt(file, &type) <= 0) return false;
    const bool allowed = typeAllows(type, valueSize(attribute));
    attribute.type = allowed ? type : kept;
    if (!allowed) return false;
  }
  return true;
}

static int32_t attributeRead(ztTagAttribute &attribute, void *file) {
  if (file == nullptr || attribute.values == nullptr) return 0;
  if (!ztBaseClass_table()->read(&attribute, file)) return 0;
  const ztFileMethods *methods = ztFile_of(file);
  const int32_t read = methods->readBuf(file, nameFieldSize, attribute.name);
  attribute.name[nameFieldSize - 1] = '\0';
  return read == nameFieldSize && readTypes(attribute, file) &&
         methods->readInt(file, &attribute.userValue) > 0 &&
         ztArray_of(attribute.values)->read(attribute.values, file) > 0;
}

static void tagAttributeMethods(ztTagAttributeMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, method<attributeCreate>);
  ZT_OVERRIDE_METHOD(methods, clone, method<attributeClone>);
  ZT_OVERRIDE_METHOD(methods, assign, method<attributeAssign>);
  ZT_OVERRIDE_METHOD(methods, destroy, method<attributeDestroy>);
  ZT_OVERRIDE_METHOD(methods, read, method<attributeRead>);
  ZT_OVERRIDE_METHOD(methods, write, method<attributeWrite>);
  ZT_OVERRIDE_METHOD(methods, setValue, method<attributeSetValue>);
  ZT_OVERRIDE_METHOD(methods, getValue, method<attributeGetValue>);
  ZT_OVERRIDE_METHOD(methods, getAverageValue, method<attributeGetAverageValue>);
  ZT_OVERRIDE_METHOD(methods, getTotalValue, method<attributeGetTotalValue>);
  ZT_OVERRIDE_METHOD(methods, setNumValues, method<attributeSetNumValues>);
}

ZT_DEFINE_CLASS(ztTagAttribute, ztBaseClass, tagAttributeMethods)

// Handles -----------------------------------------------------------------------------------------

int32_t ztTat_readHandle(void *file, ztTagHandle *handle) {
  if (file == nullptr || handle == nullptr) return 0;
  const ztFileMethods *methods = ztFile_of(file);
  return methods->readInt(file, &handle->index) > 0 && methods->readInt(file, &handle->type) > 0;
}

int32_t ztTat_writeHandle(void *file, const ztTagHandle *handle) {
  if (file == nullptr || handle == nullptr) return 0;
  const ztFileMethods *methods = ztFile_of(file);
  return methods->writeInt(file, handle->index) > 0 && methods->writeInt(file, handle->type) > 0;
}
