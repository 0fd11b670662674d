#include "tags/zttagattr.h"

#include "core/ztbasec.hh"
#include "core/ztlayout.hh"
#include "core/ztmem.h"
#include "core/zttext.hh"
#include "io/ztfile.h"
#include "tags/zttag.h"
#include "tags/zttagattr.hh"

#include <string.h>

ZT_PIN_CLASS(ztTagAttribute, 80, 21);
ZT_PIN_FIELD(ztTagAttribute, owner, 16);
ZT_PIN_FIELD(ztTagAttribute, name, 24);
ZT_PIN_FIELD(ztTagAttribute, type, 56);
ZT_PIN_FIELD(ztTagAttribute, changed, 60);
ZT_PIN_FIELD(ztTagAttribute, userValue, 64);
ZT_PIN_FIELD(ztTagAttribute, values, 72);
ZT_PIN_SLOT(ztTagAttribute, setValue, 16);
ZT_PIN_SLOT(ztTagAttribute, setNumValues, 20);
static_assert(sizeof(ztTagHandle) == 8);

static ztTagAttribute *attributeOf(void *object) {
  return static_cast<ztTagAttribute *>(object);
}

static const ztTagAttribute *attributeOf(const void *object) {
  return static_cast<const ztTagAttribute *>(object);
}

int32_t ztTatCount(const void *attribute) {
  const ztArray *values = attributeOf(attribute)->values;
  return values == nullptr ? 0 : ztArray_of(values)->getSize(values);
}

// Owners ------------------------------------------------------------------------------------------

namespace {

struct Guest {
  ztTagAttribute *attribute;
  Guest *next;
};

}  // namespace

static Guest *guests;

static bool addGuest(ztTagAttribute *attribute) {
  auto *guest = static_cast<Guest *>(ztm_alloc(sizeof(Guest)));
  if (guest == nullptr) return false;
  *guest = {attribute, guests};
  guests = guest;
  return true;
}

static void removeGuest(const ztTagAttribute *attribute) {
  Guest **at = &guests;
  while (*at != nullptr && (*at)->attribute != attribute) at = &(*at)->next;
  if (*at == nullptr) return;
  Guest *removed = *at;
  *at = removed->next;
  ztm_free(removed);
}

void ztTatSetOwner(ztTagAttribute *attribute, void *tag) {
  removeGuest(attribute);
  attribute->owner = tag;
}

void ztTatForgetOwner(const void *tag) {
  for (Guest **at = &guests; *at != nullptr;) {
    Guest *guest = *at;
    if (guest->attribute->owner != tag) {
      at = &guest->next;
      continue;
    }
    guest->attribute->owner = nullptr;
    *at = guest->next;
    ztm_free(guest);
  }
}

// Values ------------------------------------------------------------------------------------------

static void storeEverywhere(ztArray *values, const void *value, int32_t count) {
  for (int32_t i = 0; i < count; ++i) ztArray_of(values)->setAt(values, value, i);
}

static int32_t attributeSetValue(void *object, int32_t index, const void *value) {
  ztTagAttribute *attribute = attributeOf(object);
  const int32_t count = ztTatCount(attribute);
  constexpr int32_t everyIndex = -1;
  if (value == nullptr || attribute->values == nullptr || index < everyIndex) return 0;
  if (index >= count) index = 0;
  if (index != everyIndex && count == 0) return 0;
  attribute->changed = 1;
  if (index == everyIndex) {
    storeEverywhere(attribute->values, value, count);
  } else {
    ztArray_of(attribute->values)->setAt(attribute->values, value, index);
  }
  void *owner = attribute->owner;
  if (owner != nullptr) ztTag_of(owner)->attrChanged(owner, attribute);
  return 1;
}

static void *attributeGetValue(const void *object, int32_t index, void *out) {
  const ztArray *values = attributeOf(object)->values;
  const int32_t count = ztTatCount(object);
  if (index >= count) index = 0;
  if (index < 0 || count == 0) return nullptr;
  void *value = ztArray_of(values)->getAt(values, index);
  if (out != nullptr && value != nullptr) {
    memcpy(out, value, static_cast<size_t>(ztArray_of(values)->getElementSize(values)));
  }
  return value;
}

static void *attributeGetAverageValue(void *object, void *out) {
  attributeOf(object)->changed = 0;
  return out;
}

static void *attributeGetTotalValue(void *object, void *out) {
  attributeOf(object)->changed = 0;
  return out;
}

static int32_t attributeSetNumValues(void *object, int32_t count) {
  ztArray *values = attributeOf(object)->values;
  return values != nullptr && ztArray_of(values)->resize(values, count) != 0;
}

// Life of an attribute ----------------------------------------------------------------------------

static int32_t attributeCreate(void *object) {
  ztTagAttribute *attribute = attributeOf(object);
  attribute->values = nullptr;
  attribute->owner = nullptr;
  if (!ztBaseClass_table()->create(object)) return 0;
  ztCopyText(attribute->name, "");
  attribute->type = -1;
  attribute->changed = 1;
  attribute->userValue = 1;
  return 1;
}

static void releaseValues(ztTagAttribute *attribute) {
  ztArray *values = attribute->values;
  attribute->values = nullptr;
  if (values != nullptr) ztArray_of(values)->unRef(values);
}

static void *attributeClone(const void *object, void *target) {
  auto *copy = static_cast<ztTagAttribute *>(ztBaseClass_table()->clone(object, target));
  if (copy == nullptr) return nullptr;
  const ztArray *values = attributeOf(object)->values;
  copy->values = static_cast<ztArray *>(ztCopyObject(values));
  const bool complete = copy->values != nullptr || values == nullptr;
  if (complete && (copy->owner == nullptr || addGuest(copy))) return copy;
  releaseValues(copy);
  ztBaseClass_table()->destroy(copy);
  return nullptr;
}

static int32_t attributeAssign(void *object, const void *other) {
  if (other == nullptr || !ztBaseClass_table()->assign(object, other)) return 0;
  ztArray *values = attributeOf(object)->values;
  const ztArray *source = attributeOf(other)->values;
  if (values == nullptr || source == nullptr || values->klass != source->klass) return 1;
  ztArray_of(values)->assign(values, source);
  return 1;
}

static void attributeDestroy(void *object) {
  ztBaseClass_table()->destroy(object);
  ztTatSetOwner(attributeOf(object), nullptr);
  releaseValues(attributeOf(object));
}

// The record --------------------------------------------------------------------------------------

constexpr int32_t nameFieldSize = sizeof ztTagAttribute::name;

// The type stands twice.
static int32_t attributeWrite(const void *object, void *file) {
  const ztTagAttribute *attribute = attributeOf(object);
  if (file == nullptr || attribute->values == nullptr) return 0;
  const ztFileMethods *methods = ztFile_of(file);
  return ztBaseClass_table()->write(object, file) &&
         methods->writeBuf(file, nameFieldSize, attribute->name) &&
         methods->writeInt(file, attribute->type) && methods->writeInt(file, attribute->type) &&
         methods->writeInt(file, attribute->userValue) &&
         ztArray_of(attribute->values)->write(attribute->values, file);
}

static int32_t attributeRead(void *object, void *file) {
  ztTagAttribute *attribute = attributeOf(object);
  if (file == nullptr || attribute->values == nullptr) return 0;
  if (!ztBaseClass_table()->read(object, file)) return 0;
  const ztFileMethods *methods = ztFile_of(file);
  const int32_t read = methods->readBuf(file, nameFieldSize, attribute->name);
  attribute->name[nameFieldSize - 1] = '\0';
  return read && methods->readInt(file, &attribute->type) && methods->readInt(file, &attribute->type) &&
         methods->readInt(file, &attribute->userValue) &&
         ztArray_of(attribute->values)->read(attribute->values, file);
}

static void tagAttributeMethods(ztTagAttributeMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, attributeCreate);
  ZT_OVERRIDE_METHOD(methods, clone, attributeClone);
  ZT_OVERRIDE_METHOD(methods, assign, attributeAssign);
  ZT_OVERRIDE_METHOD(methods, destroy, attributeDestroy);
  ZT_OVERRIDE_METHOD(methods, read, attributeRead);
  ZT_OVERRIDE_METHOD(methods, write, attributeWrite);
  ZT_OVERRIDE_METHOD(methods, setValue, attributeSetValue);
  ZT_OVERRIDE_METHOD(methods, getValue, attributeGetValue);
  ZT_OVERRIDE_METHOD(methods, getAverageValue, attributeGetAverageValue);
  ZT_OVERRIDE_METHOD(methods, getTotalValue, attributeGetTotalValue);
  ZT_OVERRIDE_METHOD(methods, setNumValues, attributeSetNumValues);
}

ZT_DEFINE_CLASS(ztTagAttribute, ztBaseClass, tagAttributeMethods)

// Handles -----------------------------------------------------------------------------------------

int32_t ztTat_readHandle(void *file, ztTagHandle *handle) {
  if (file == nullptr || handle == nullptr) return 0;
  const ztFileMethods *methods = ztFile_of(file);
  return methods->readInt(file, &handle->index) && methods->readInt(file, &handle->type);
}

int32_t ztTat_writeHandle(void *file, const ztTagHandle *handle) {
  if (file == nullptr || handle == nullptr) return 0;
  const ztFileMethods *methods = ztFile_of(file);
  return methods->writeInt(file, handle->index) && methods->writeInt(file, handle->type);
}
