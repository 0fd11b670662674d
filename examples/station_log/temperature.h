/**
 * @file temperature.h
 * Temperature: a measurement in degrees Celsius.
 */
#ifndef STATION_LOG_TEMPERATURE_H
#define STATION_LOG_TEMPERATURE_H

#include "measurement.h"

/** Fields of Temperature. */
#define Temperature_FIELDS \
  Measurement_FIELDS       \
  double height; /* of the sensor above the ground, in metres */

/** The methods of Measurement. */
#define Temperature_METHODS Measurement_METHODS

ZT_DECLARE_CLASS(Temperature)

#endif
