/**
 * @file boiler.h
 * Boiler: a model. It knows nothing of its views; they follow its properties and its signal.
 */
#ifndef MODEL_VIEW_BOILER_H
#define MODEL_VIEW_BOILER_H

#include "zentova.h"

/** Fields of Boiler. */
#define Boiler_FIELDS                          \
  ztBaseModel_FIELDS                           \
  double temperature; /* in degrees Celsius */ \
  int32_t burning;    /* 1 while the burner is on */

/**
 * The methods of a boiler.
 *
 *  - `pass`: lets some minutes go by: the burner heats, and without it the boiler cools down.
 *
 * Its properties are "temperature" (ztFloat) and "burning" (ztBool). Each change through `setProperty`
 * is announced by the signal "prop->signalname", and a temperature that passes the limit by the signal
 * "overheated", whose argument is that temperature, a double.
 */
#define Boiler_METHODS \
  ztBaseModel_METHODS  \
  void (*pass)(void *boiler, int32_t minutes);

ZT_DECLARE_CLASS(Boiler)

#endif
