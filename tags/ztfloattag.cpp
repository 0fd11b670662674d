#include "tags/ztfloattag.h"

#include "containers/ztarrays.h"
#include "core/ztbasec.hh"
#include "core/ztlayout.hh"
#include "core/ztmethod.hh"
#include "tags/zttagattr.hh"

#include <string.h>

using namespace ztcore;

ZT_PIN_CLASS(ztFloatTag, 96, 21);

static int32_t floatTagCreate(ztFloatTag &attribute) {
  if (!ztTagAttribute_table()->create(&attribute)) return 0;
  attribute.type = 2;
  attribute.cachedResult = 0.0;
  attribute.reserved = 0;
  attribute.values = newObject<ztArray>(ztFloatArray_ctor);
  if (attribute.values == nullptr || !ztArray_of(attribute.values)->setSize(attribute.values, 1)) return 0;
  const double zero = 0.0;
  ztArray_of(attribute.values)->setAt(attribute.values, &zero, 0);
  return 1;
}

static void recalculate(ztFloatTag &attribute, bool average) {
  const int32_t count = countValues(&attribute);
  attribute.cachedResult = 0.0;
  for (int32_t i = 0; i < count; ++i) {
    double value = 0.0;
    ztFloatTag_of(&attribute)->getValue(&attribute, i, &value);
    attribute.cachedResult += value;
  }
  if (average) attribute.cachedResult /= count;  // NaN for no values
}

static void calculate(ztFloatTag &attribute, bool average, void *out) {
  if (!hasValuesOf(&attribute, sizeof(double))) return;
  if (attribute.changed) recalculate(attribute, average);
  if (out != nullptr) memcpy(out, &attribute.cachedResult, sizeof attribute.cachedResult);
}

static void *floatTagGetAverageValue(ztFloatTag &attribute, void *out) {
  calculate(attribute, true, out);
  return ztTagAttribute_table()->getAverageValue(&attribute, out);
}

static void *floatTagGetTotalValue(ztFloatTag &attribute, void *out) {
  calculate(attribute, false, out);
  return ztTagAttribute_table()->getTotalValue(&attribute, out);
}

static void floatTagMethods(ztFloatTagMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, method<floatTagCreate>);
  // Its own fields are plain values, so the parent's methods suffice.
  ZT_CALL_PARENT_ONLY(methods, ztTagAttribute, clone);
  ZT_CALL_PARENT_ONLY(methods, ztTagAttribute, assign);
  ZT_CALL_PARENT_ONLY(methods, ztTagAttribute, destroy);
  ZT_OVERRIDE_METHOD(methods, getAverageValue, method<floatTagGetAverageValue>);
  ZT_OVERRIDE_METHOD(methods, getTotalValue, method<floatTagGetTotalValue>);
}

ZT_DEFINE_CLASS(ztFloatTag, ztTagAttribute, floatTagMethods)
