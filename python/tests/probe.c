/* A plugin with what the gauge does not have: methods of all kinds, fields, and arguments that nothing describes. */
#include "zentova.h"

#include <stdio.h>
#include <string.h>

struct Probe;

#define Probe_FIELDS \
  ztRoot_FIELDS      \
  int32_t count;     \
  double ratio;      \
  char label[16];    \
  ztString *title;   \
  void *any;
#define Probe_METHODS                                                                 \
  ztRoot_METHODS                                                                      \
  int64_t (*wide)(const void *probe, int64_t value, uint8_t small, uint64_t large);   \
  double (*scale)(const void *probe, double value, float factor);                     \
  int32_t (*divide)(const void *probe, int32_t value, int32_t by, int32_t *out);      \
  const ztBorrowedText *(*describe)(const void *probe, const ztBorrowedText *prefix); \
  ztOwnedText *(*copyText)(const void *probe, const ztBorrowedText *text);            \
  ztOwned *(*makeOther)(const void *probe);                                           \
  ztBorrowed *(*self)(void *probe);                                                   \
  int32_t (*distance)(const void *probe, const ztBorrowed *other);                    \
  int32_t (*with)(const void *probe, const struct Probe *other);                      \
  void (*fill)(void *probe, int32_t *values, int32_t count);                          \
  void (*callBack)(void *probe, ztCompareFunc function);                              \
  int32_t (*ask)(void *probe, int32_t value, double factor, const char *text);        \
  int32_t (*askTwice)(void *probe, int32_t value);
ZT_DECLARE_CLASS(Probe)

static int32_t probeCreate(void *object) {
  Probe *probe = object;
  if (!ztRoot_table()->create(probe)) return 0;
  probe->count = 3;
  probe->ratio = 0.5;
  memset(probe->label, 0, sizeof probe->label);
  probe->title = ztString_new();
  probe->any = &probe->count;
  return probe->title != NULL;
}

static void probeDestroy(void *object) {
  Probe *probe = object;
  if (probe->title != NULL) ztString_of(probe->title)->unRef(probe->title);
  ztRoot_table()->destroy(probe);
}

static void *probeClone(const void *object, void *target) {
  Probe *copy = ztRoot_table()->clone(object, target);
  if (copy == NULL) return NULL;
  copy->title = ztString_new();
  return copy;
}

static int64_t probeWide(const void *probe, int64_t value, uint8_t small, uint64_t large) {
  (void)probe;
  return value + small + (int64_t)(large >> 63);
}

static double probeScale(const void *probe, double value, float factor) {
  (void)probe;
  return value * (double)factor;
}

static int32_t probeDivide(const void *probe, int32_t value, int32_t by, int32_t *out) {
  (void)probe;
  if (by == 0) {
    ztLc_log("Probe - Error, nothing is divided by zero\n");
    return 0;
  }
  *out = value / by;
  return 1;
}

static const char *probeDescribe(const void *probe, const char *prefix) {
  static char text[64];
  snprintf(text, sizeof text, "%s %d", prefix, (int)((const Probe *)probe)->count);
  return text;
}

static char *probeCopyText(const void *probe, const char *text) {
  (void)probe;
  const size_t size = strlen(text) + 1;
  char *copy = ztm_alloc((int32_t)size);
  if (copy != NULL) memcpy(copy, text, size);
  return copy;
}

static void *probeMakeOther(const void *probe) {
  (void)probe;
  return Probe_new();
}

static void *probeSelf(void *probe) {
  return probe;
}

static int32_t probeDistance(const void *probe, const void *other) {
  return ((const Probe *)probe)->count - ((const Probe *)other)->count;
}

static int32_t probeWith(const void *probe, const struct Probe *other) {
  return probeDistance(probe, other);
}

static void probeFill(void *probe, int32_t *values, int32_t count) {
  (void)probe;
  for (int32_t i = 0; i < count; ++i) values[i] = i;
}

static void probeCallBack(void *probe, ztCompareFunc function) {
  function(probe, probe);
}

static int32_t probeAsk(void *probe, int32_t value, double factor, const char *text) {
  return ((Probe *)probe)->count + value + (int32_t)factor + (int32_t)strlen(text);
}

static int32_t probeAskTwice(void *probe, int32_t value) {
  return Probe_of(probe)->ask(probe, value, 2.5, "ab") + Probe_of(probe)->ask(probe, 2 * value, 2.5, "");
}

static void probeMethods(ProbeMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, probeCreate);
  ZT_OVERRIDE_METHOD(methods, destroy, probeDestroy);
  ZT_OVERRIDE_METHOD(methods, clone, probeClone);
  ZT_OVERRIDE_METHOD(methods, wide, probeWide);
  ZT_OVERRIDE_METHOD(methods, scale, probeScale);
  ZT_OVERRIDE_METHOD(methods, divide, probeDivide);
  ZT_OVERRIDE_METHOD(methods, describe, probeDescribe);
  ZT_OVERRIDE_METHOD(methods, copyText, probeCopyText);
  ZT_OVERRIDE_METHOD(methods, makeOther, probeMakeOther);
  ZT_OVERRIDE_METHOD(methods, self, probeSelf);
  ZT_OVERRIDE_METHOD(methods, distance, probeDistance);
  ZT_OVERRIDE_METHOD(methods, with, probeWith);
  ZT_OVERRIDE_METHOD(methods, fill, probeFill);
  ZT_OVERRIDE_METHOD(methods, callBack, probeCallBack);
  ZT_OVERRIDE_METHOD(methods, ask, probeAsk);
  ZT_OVERRIDE_METHOD(methods, askTwice, probeAskTwice);
}

ZT_DEFINE_CLASS(Probe, ztRoot, probeMethods)

__attribute__((constructor)) static void registerProbe(void) {
  ZT_REGISTER_CLASS(Probe);
}
