/**
 * @file measurement.h
 * Measurement: one reading of a weather station; the parent of all kinds of them.
 */
#ifndef STATION_LOG_MEASUREMENT_H
#define STATION_LOG_MEASUREMENT_H

#include "../common/row.h"
#include "zentova.h"

/** Fields of Measurement. Behind the texts' ends there are only zeros. */
#define Measurement_FIELDS                      \
  ztBaseClass_FIELDS                            \
  char station[16];                             \
  char time[20]; /* as in "2024-03-01T06:00" */ \
  double value;  /* as it stands in the data file */

/**
 * The methods of a measurement.
 *
 *  - `setFrom`: takes the measurement over from a row of its kind; NULL, or a text that tells what is
 *    wrong with the row. An override calls its parent's first.
 *  - `getFigure`: what the reading comes to, in the unit of its kind; the value itself, if not
 *    overridden.
 *  - `getUnit`: the name of that unit; abstract in Measurement.
 *
 * `isEqual` compares all that the objects carry, and so does each override; `isLess` orders by station,
 * kind and time.
 */
#define Measurement_METHODS                                  \
  ztBaseClass_METHODS                                        \
  const char *(*setFrom)(void *measurement, const Row *row); \
  double (*getFigure)(const void *measurement);              \
  const char *(*getUnit)(const void *measurement);

ZT_DECLARE_CLASS(Measurement)

#endif
