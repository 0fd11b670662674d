#include "gauge.h"

#include <stdio.h>

int main(void) {
  Gauge *gauge = Gauge_new();
  if (gauge == NULL) return 1;
  Gauge_of(gauge)->setName(gauge, "Intake"); /* inherited from ztRoot */
  Gauge_of(gauge)->measure(gauge, 412.5);
  printf("%s: %.1f cm\n", gauge->name, gauge->level);

  Gauge *second = Gauge_new();
  Gauge_of(second)->measure(second, gauge->level + 1);
  printf("%.1f and %.1f cm\n", gauge->level, second->level);

  Gauge_of(second)->unRef(second);
  Gauge_of(gauge)->unRef(gauge);
  return 0;
}
