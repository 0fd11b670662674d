/**
 * @file rainfall.h
 * Rainfall: what fell in a period, in millimetres; its figure is the rate in millimetres per hour.
 */
#ifndef STATION_LOG_RAINFALL_H
#define STATION_LOG_RAINFALL_H

#include "measurement.h"

/** Fields of Rainfall. */
#define Rainfall_FIELDS \
  Measurement_FIELDS    \
  int32_t minutes; /* length of the period, 1 to 1440 */

/** The methods of Measurement. */
#define Rainfall_METHODS Measurement_METHODS

ZT_DECLARE_CLASS(Rainfall)

#endif
