#ifndef LIMITGAUGE_H
#define LIMITGAUGE_H

#include "gauge.h"

/* A gauge that emits "alarm" with its level, a double, when that is above a limit. */
#define LimitGauge_FIELDS Gauge_FIELDS double limit;
#define LimitGauge_METHODS Gauge_METHODS
ZT_DECLARE_CLASS(LimitGauge)

#endif
