#include "tags/ztinttag.h"

#include "containers/ztarrays.h"
#include "core/ztbasec.hh"
#include "core/ztlayout.hh"
#include "core/ztmethod.hh"
#include "tags/zttagattr.hh"

using namespace ztcore;

ZT_PIN_CLASS(ztIntTag, 88, 21);

static int32_t intTagCreate(ztIntTag &attribute) {
  if (!ztTagAttribute_table()->create(&attribute)) return 0;
  attribute.type = 1;
  attribute.cachedResult = 0;
  attribute.values = newObject<ztArray>(ztIntArray_ctor);
  if (attribute.values == nullptr || !ztArray_of(attribute.values)->setSize(attribute.values, 1)) return 0;
  const int32_t zero = 0;
  ztArray_of(attribute.values)->setAt(attribute.values, &zero, 0);
  return 1;
}

static int32_t sumOf(const ztIntTag &attribute, int32_t count) {
  uint32_t sum = 0;  // unsigned: it wraps
  for (int32_t i = 0; i < count; ++i) {
    int32_t value = 0;
    ztIntTag_of(&attribute)->getValue(&attribute, i, &value);
    sum += static_cast<uint32_t>(value);
  }
  return static_cast<int32_t>(sum);
}

// Returns the result of the previous call, if no value has changed since; the new result is for the next call.
static void calculate(ztIntTag &attribute, bool average, void *out) {
  if (!hasValuesOf(&attribute, sizeof(int32_t))) return;
  if (!attribute.changed && out != nullptr) *static_cast<int32_t *>(out) = attribute.cachedResult;
  const int32_t count = countValues(&attribute);
  attribute.cachedResult = sumOf(attribute, count);
  if (average && count > 0) attribute.cachedResult /= count;
}

static void *intTagGetAverageValue(ztIntTag &attribute, void *out) {
  calculate(attribute, true, out);
  return ztTagAttribute_table()->getAverageValue(&attribute, out);
}

static void *intTagGetTotalValue(ztIntTag &attribute, void *out) {
  calculate(attribute, false, out);
  return ztTagAttribute_table()->getTotalValue(&attribute, out);
}

static void intTagMethods(ztIntTagMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, method<intTagCreate>);
  ZT_OVERRIDE_METHOD(methods, getAverageValue, method<intTagGetAverageValue>);
  ZT_OVERRIDE_METHOD(methods, getTotalValue, method<intTagGetTotalValue>);
}

ZT_DEFINE_CLASS(ztIntTag, ztTagAttribute, intTagMethods)
