#include "flow.h"
#include "limitgauge.h"
#include "pump.h"

/* Runs when a program loads the library: from then on, the classes are known by their names. */
__attribute__((constructor)) static void load(void) {
  ZT_REGISTER_CLASS(Gauge);
  ZT_REGISTER_CLASS(LimitGauge);
  ZT_REGISTER_CLASS(Pump);
  ZT_REGISTER_CLASS(Flow);
}
