/**
 * @file gauge.h
 * Gauge: a view that prints a bar and the state of the burner whenever a boiler changes.
 */
#ifndef MODEL_VIEW_GAUGE_H
#define MODEL_VIEW_GAUGE_H

#include "boiler.h"

/** Gauge adds no fields. */
#define Gauge_FIELDS ztBaseView_FIELDS

/**
 * The methods of a gauge.
 *
 *  - `follow`: connects the gauge with a boiler; 1 or 0. The connection ends with either of them.
 */
#define Gauge_METHODS \
  ztBaseView_METHODS  \
  int32_t (*follow)(void *gauge, void *boiler);

ZT_DECLARE_CLASS(Gauge)

#endif
