#ifndef FLOW_H
#define FLOW_H

#include <zentova.h>

/* The flow and the starts of a pump, hour by hour: a node with two series of numbers. */
#define Flow_FIELDS   \
  ztTag_FIELDS        \
  ztTagHandle litres; \
  ztTagHandle starts;
#define Flow_METHODS ztTag_METHODS
ZT_DECLARE_CLASS(Flow)

#endif
