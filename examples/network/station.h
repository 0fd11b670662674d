/**
 * @file station.h
 * Station, a tag that keeps the readings of one weather station.
 */
#ifndef NETWORK_STATION_H
#define NETWORK_STATION_H

#include "zentova.h"

/** Fields of Station: the handles of its three attributes, and how often a value of them was set. */
#define Station_FIELDS                                  \
  ztTag_FIELDS                                          \
  ztTagHandle temperature; /* degrees Celsius */        \
  ztTagHandle rain;        /* millimetres */            \
  ztTagHandle minutes;     /* lengths of the periods */ \
  int32_t changes;

/**
 * Station adds no methods. It has a property "changes" of type "ztInt", and emits "valueChanged" with
 * the attribute whenever a value is set.
 */
#define Station_METHODS ztTag_METHODS

/** A weather station. */
ZT_DECLARE_CLASS(Station)

/** Appends a value to an attribute, 8 bytes for those of doubles and 4 for the integers.
 *  @return 1, or 0 when memory is exhausted */
int32_t stationAppend(Station *station, const ztTagHandle *handle, const void *value);

/** @return 1 when the two stations keep the same values, else 0 */
int32_t stationIsSame(const Station *station, const Station *other);

/** Prints one line about the station. */
void stationPrint(Station *station);

#endif
