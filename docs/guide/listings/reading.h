#ifndef READING_H
#define READING_H

#include <zentova.h>

/* What a gauge showed at an hour of the day. */
#define Reading_FIELDS \
  ztBaseClass_FIELDS   \
  int32_t hour;        \
  double level;
#define Reading_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Reading)

/* A reading, which the caller releases; NULL when memory is exhausted. */
Reading *newReading(int32_t hour, double level);

#endif
