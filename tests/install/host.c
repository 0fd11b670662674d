/* A host of the installed library, in what C and C++ share: a class of its own, a container, a file. */
#include "zentova.h"

#include <stdio.h>

#define Gauge_FIELDS \
  ztBaseClass_FIELDS \
  int32_t level;
#define Gauge_METHODS \
  ztBaseClass_METHODS \
  int32_t (*doubled)(const void *gauge);
ZT_DECLARE_CLASS(Gauge)

static int32_t gaugeDoubled(const void *gauge) {
  return 2 * ((const Gauge *)gauge)->level;
}

static int32_t gaugeWrite(const void *gauge, void *file) {
  return ztBaseClass_table()->write(gauge, file) &&
         ztFile_of(file)->writeInt(file, ((const Gauge *)gauge)->level);
}

static void gaugeMethods(GaugeMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, doubled, gaugeDoubled);
  ZT_OVERRIDE_METHOD(methods, write, gaugeWrite);
}

ZT_DEFINE_CLASS(Gauge, ztBaseClass, gaugeMethods)

int main(void) {
  Gauge *gauge = (Gauge *)Gauge_ctor(NULL, 1);
  gauge->level = 21;
  printf("%s %d\n", GaugeClassName(NULL, gauge), (int)Gauge_of(gauge)->doubled(gauge));

  void *file = ztNewFromName("ztTextFile");
  if (!ztFile_of(file)->open(file, "gauge.txt", "w+")) return 1;
  int32_t level = 0;
  Gauge_of(gauge)->write(gauge, file);
  ztFile_of(file)->goToBegin(file);
  ztFile_of(file)->readInt(file, &level);
  printf("read %d\n", (int)level);

  void *numbers = ztNewFromName("ztIntArray");
  for (int32_t number = 3; number > 0; --number) ztIntArray_of(numbers)->pushBack(numbers, &number);
  ztIntArray_of(numbers)->sort(numbers, ztIntArray_compare_func);
  printf("first of %d: %d\n", (int)ztIntArray_of(numbers)->getSize(numbers),
         (int)*(const int32_t *)ztIntArray_of(numbers)->getFront(numbers));

  ztIntArray_of(numbers)->unRef(numbers);
  ztFile_of(file)->unRef(file);
  Gauge_of(gauge)->unRef(gauge);
  return 0;
}
