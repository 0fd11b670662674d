/**
 * @file warden.h
 * Warden: a view that turns the burner of an overheated boiler off, and counts how often it had to.
 */
#ifndef MODEL_VIEW_WARDEN_H
#define MODEL_VIEW_WARDEN_H

#include "boiler.h"

/** Fields of Warden. */
#define Warden_FIELDS \
  ztBaseView_FIELDS   \
  int32_t alarms;

/**
 * The methods of a warden.
 *
 *  - `watch`: connects the warden with a boiler; 1 or 0. The connection ends with either of them.
 */
#define Warden_METHODS \
  ztBaseView_METHODS   \
  int32_t (*watch)(void *warden, void *boiler);

ZT_DECLARE_CLASS(Warden)

#endif
