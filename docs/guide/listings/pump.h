#ifndef PUMP_H
#define PUMP_H

#include <zentova.h>

/* A pump, with a link to the gauge that it follows. */
#define Pump_FIELDS \
  ztRoot_FIELDS     \
  ztLink gauge;
#define Pump_METHODS ztRoot_METHODS
ZT_DECLARE_CLASS(Pump)

#endif
