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
ZT_PIN_FIELD(ztTagAttribute, binding, 68);
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
  const ztArray *values = attribute == nullptr ? nullptr : attributeOf(attribute)->values;
  return values == nullptr ? 0 : ztArray_of(values)->getSize(values);
}

// Owners ------------------------------------------------------------------------------------------
//
// A copy of an attribute names its source's owner, which does not know of it. Such guests have a number
// each, under which their owner is listed, so that a tag that dies can be struck out. The number goes
// with the attribute's bytes, since an array moves the attributes that lie in it.

namespace {

enum : int32_t {
  unbound = 0,  // no owner, or one that the host named
  held = -1,    // in the owner's array
};              // above 0: the number of a guest

struct Guest {
  void *owner;   // NULL once that is destroyed
  int32_t next;  // of an entry that is not in use: the next one
};

}  // namespace

static Guest *guests;
static int32_t guestCapacity;
static int32_t guestCount;
static int32_t freeGuest;  // the first entry not in use; the capacity when all are

static bool growGuests() {
  constexpr int32_t firstCapacity = 16;
  const int32_t capacity = guestCapacity == 0 ? firstCapacity : 2 * guestCapacity;
  const int64_t size = capacity * static_cast<int64_t>(sizeof(Guest));
  if (size > INT32_MAX) return false;
  auto *grown = static_cast<Guest *>(ztm_realloc(guests, static_cast<int32_t>(size)));
  if (grown == nullptr) return false;
  for (int32_t i = guestCapacity; i < capacity; ++i) grown[i] = {nullptr, i + 1};
  guests = grown;
  guestCapacity = capacity;
  return true;
}

// The guest's number; 0 when there is no memory.
static int32_t addGuest(void *owner) {
  if (freeGuest == guestCapacity && !growGuests()) return 0;
  const int32_t index = freeGuest;
  freeGuest = guests[index].next;
  guests[index].owner = owner;
  ++guestCount;
  return index + 1;
}

static void removeGuest(int32_t number) {
  guests[number - 1] = {nullptr, freeGuest};
  freeGuest = number - 1;
  if (--guestCount > 0) return;
  ztm_free(guests);
  guests = nullptr;
  guestCapacity = 0;
  freeGuest = 0;
}

static void bind(ztTagAttribute *attribute, void *owner, int32_t binding) {
  if (attribute->binding > 0) removeGuest(attribute->binding);
  attribute->owner = owner;
  attribute->binding = binding;
}

bool ztTatIsHeld(const ztTagAttribute *attribute) {
  return attribute->binding == held;
}

void ztTatHold(ztTagAttribute *attribute, void *tag) {
  bind(attribute, tag, held);
}

void ztTatLetGo(ztTagAttribute *attribute) {
  bind(attribute, nullptr, unbound);
}

void ztTatForgetOwner(const void *tag) {
  for (int32_t i = 0; i < guestCapacity; ++i) {
    if (guests[i].owner == tag) guests[i].owner = nullptr;
  }
}

static void *livingOwner(const ztTagAttribute *attribute) {
  const bool orphaned = attribute->binding > 0 && guests[attribute->binding - 1].owner == nullptr;
  return orphaned ? nullptr : attribute->owner;
}

// Values ------------------------------------------------------------------------------------------

static void storeEverywhere(ztArray *values, const void *value, int32_t count) {
  for (int32_t i = 0; i < count; ++i) ztArray_of(values)->setAt(values, value, i);
}

static int32_t attributeSetValue(void *object, int32_t index, const void *value) {
  ztTagAttribute *attribute = attributeOf(object);
  const int32_t count = ztTatCount(attribute);
  constexpr int32_t everyIndex = -1;
  if (attribute == nullptr || value == nullptr || attribute->values == nullptr || index < everyIndex)
    return 0;
  if (index >= count) index = 0;
  if (index != everyIndex && count == 0) return 0;
  attribute->changed = 1;
  if (index == everyIndex) {
    storeEverywhere(attribute->values, value, count);
  } else {
    ztArray_of(attribute->values)->setAt(attribute->values, value, index);
  }
  void *owner = livingOwner(attribute);
  if (owner != nullptr) {
    ztTag_of(owner)->attrChanged(owner, attribute);
  } else {
    ztTatLetGo(attribute);
  }
  return 1;
}

static void *attributeGetValue(const void *object, int32_t index, void *out) {
  if (object == nullptr) return nullptr;
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
  if (object == nullptr) return nullptr;
  attributeOf(object)->changed = 0;
  return out;
}

static void *attributeGetTotalValue(void *object, void *out) {
  if (object == nullptr) return nullptr;
  attributeOf(object)->changed = 0;
  return out;
}

static int32_t attributeSetNumValues(void *object, int32_t count) {
  if (object == nullptr) return 0;
  ztArray *values = attributeOf(object)->values;
  return values != nullptr && ztArray_of(values)->resize(values, count) != 0;
}

// Life of an attribute ----------------------------------------------------------------------------

static int32_t attributeCreate(void *object) {
  if (object == nullptr) return 0;
  ztTagAttribute *attribute = attributeOf(object);
  attribute->values = nullptr;
  attribute->owner = nullptr;
  attribute->binding = unbound;
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
  copy->owner = livingOwner(attributeOf(object));
  copy->binding = copy->owner == nullptr ? unbound : addGuest(copy->owner);
  copy->values = static_cast<ztArray *>(ztCopyObject(values));
  const bool isListed = copy->owner == nullptr || copy->binding != unbound;
  if (isListed && (copy->values != nullptr || values == nullptr)) return copy;
  ztTatLetGo(copy);
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
  if (object == nullptr) return;
  ztTagAttribute *attribute = attributeOf(object);
  ztBaseClass_table()->destroy(object);
  // Released while a tag holds it, as by a host that takes a reference and gives it back.
  if (ztTatIsHeld(attribute)) ztTagDropAttribute(attribute->owner, attribute);
  ztTatLetGo(attribute);
  releaseValues(attribute);
}

// The record --------------------------------------------------------------------------------------

constexpr int32_t nameFieldSize = sizeof ztTagAttribute::name;

// The type stands twice.
static int32_t attributeWrite(const void *object, void *file) {
  const ztTagAttribute *attribute = attributeOf(object);
  if (attribute == nullptr || file == nullptr || attribute->values == nullptr) return 0;
  const ztFileMethods *methods = ztFile_of(file);
  return ztBaseClass_table()->write(object, file) &&
         methods->writeBuf(file, nameFieldSize, attribute->name) == nameFieldSize &&
         methods->writeInt(file, attribute->type) > 0 && methods->writeInt(file, attribute->type) > 0 &&
         methods->writeInt(file, attribute->userValue) > 0 &&
         ztArray_of(attribute->values)->write(attribute->values, file);
}

static int32_t attributeRead(void *object, void *file) {
  ztTagAttribute *attribute = attributeOf(object);
  if (attribute == nullptr || file == nullptr || attribute->values == nullptr) return 0;
  if (!ztBaseClass_table()->read(object, file)) return 0;
  const ztFileMethods *methods = ztFile_of(file);
  const int32_t read = methods->readBuf(file, nameFieldSize, attribute->name);
  attribute->name[nameFieldSize - 1] = '\0';
  return read == nameFieldSize && methods->readInt(file, &attribute->type) &&
         methods->readInt(file, &attribute->type) && methods->readInt(file, &attribute->userValue) &&
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
  return methods->writeInt(file, handle->index) > 0 && methods->writeInt(file, handle->type) > 0;
}
