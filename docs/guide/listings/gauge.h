#ifndef GAUGE_H
#define GAUGE_H

#include <zentova.h>

/* A gauge: a node of the plant with a level, in centimetres. */
#define Gauge_FIELDS \
  ztRoot_FIELDS      \
  double level;
#define Gauge_METHODS \
  ztRoot_METHODS      \
  void (*measure)(void *gauge, double level);
ZT_DECLARE_CLASS(Gauge)

#endif
