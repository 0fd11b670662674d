#include "tags/ztfloattag.h"

#include "containers/ztarrays.h"
#include "core/ztbasec.hh"
#include "core/ztlayout.hh"
#include "core/ztmethod.hh"
#include "tags/zttagattr.hh"

#include <string.h>

ZT_PIN_CLASS(ztFloatTag, 96, 21);
ZT_PIN_FIELD(ztFloatTag, cachedResult, 80);
ZT_PIN_FIELD(ztFloatTag, reserved, 88);

static int32_t floatTagCreate(void *object) {
  if (!ztTagAttribute_table()->create(object)) return 0;
  auto *attribute = static_cast<ztFloatTag *>(object);
  attribute->type = 2;
  attribute->cachedResult = 0.0;
  attribute->reserved = 0;
  attribute->values = ztNewObject<ztArray>(ztFloatArray_ctor);
  if (attribute->values == nullptr || !ztArray_of(attribute->values)->setSize(attribute->values, 1)) return 0;
  const double zero = 0.0;
  ztArray_of(attribute->values)->setAt(attribute->values, &zero, 0);
  return 1;
}

static void *floatTagClone(const void *object, void *target) {
  return ztTagAttribute_table()->clone(object, target);
}

static int32_t floatTagAssign(void *object, const void *other) {
  return ztTagAttribute_table()->assign(object, other);
}

static void floatTagDestroy(void *object) {
  ztTagAttribute_table()->destroy(object);
}

static void recalculate(ztFloatTag *attribute, bool average) {
  const int32_t count = ztTatCount(attribute);
  attribute->cachedResult = 0.0;
  for (int32_t i = 0; i < count; ++i) {
    double value = 0.0;
    ztFloatTag_of(attribute)->getValue(attribute, i, &value);
    attribute->cachedResult += value;
  }
  if (average) attribute->cachedResult /= count;  // no number for no values
}

static void calculate(ztFloatTag *attribute, bool average, void *out) {
  if (!ztTatHasValuesOf(attribute, sizeof(double))) return;
  if (attribute->changed) recalculate(attribute, average);
  if (out != nullptr) memcpy(out, &attribute->cachedResult, sizeof attribute->cachedResult);
}

static void *floatTagGetAverageValue(ztFloatTag &self, void *out) {
  calculate(&self, true, out);
  return ztTagAttribute_table()->getAverageValue(&self, out);
}

static void *floatTagGetTotalValue(ztFloatTag &self, void *out) {
  calculate(&self, false, out);
  return ztTagAttribute_table()->getTotalValue(&self, out);
}

static void floatTagMethods(ztFloatTagMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, floatTagCreate);
  ZT_OVERRIDE_METHOD(methods, clone, floatTagClone);
  ZT_OVERRIDE_METHOD(methods, assign, floatTagAssign);
  ZT_OVERRIDE_METHOD(methods, destroy, floatTagDestroy);
  ZT_OVERRIDE_METHOD(methods, getAverageValue, ztMethod<floatTagGetAverageValue>);
  ZT_OVERRIDE_METHOD(methods, getTotalValue, ztMethod<floatTagGetTotalValue>);
}

ZT_DEFINE_CLASS(ztFloatTag, ztTagAttribute, floatTagMethods)
