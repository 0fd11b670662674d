#include "limitgauge.h"

#include <stdio.h>

// begin slots
static void ring(void *receiver, double level) {
  (void)receiver;
  printf("alarm: %.1f cm\n", level);
}

static void showLimit(void *receiver, double limit) {
  (void)receiver;
  printf("the limit is %.0f cm now\n", limit);
}
// end slots

// begin main
int main(void) {
  LimitGauge *gauge = LimitGauge_new();
  ztObject *desk = ztObject_new(); /* the receiver */
  if (gauge == NULL || desk == NULL) return 1;
  ztObject_connect(gauge, "alarm", desk, ZT_SLOT(ring), 1); /* the signal has 1 argument */
  ztObject_onChange(gauge, "limit", desk, ZT_SLOT(showLimit));

  ztObject_setFloat(gauge, "limit", 400);
  Gauge_of(gauge)->measure(gauge, 390);   /* below the limit */
  Gauge_of(gauge)->measure(gauge, 412.5); /* above it */

  double level = 0;
  ztObject_getFloat(gauge, "level", &level);
  printf("the property says %.1f cm\n", level);
  ztObject_setFloat(gauge, "level", 1);    /* refused, with a line in the log: it has no setter */
  ztObject_setFloat(gauge, "limits", 450); /* a slip: so is this */

  ztObject_of(desk)->unRef(desk); /* ends its connections, too */
  Gauge_of(gauge)->measure(gauge, 430);
  LimitGauge_of(gauge)->unRef(gauge);
  return 0;
}
// end main
