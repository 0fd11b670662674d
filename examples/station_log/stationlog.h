/**
 * @file stationlog.h
 * The log of the stations: a list of measurements. Every failure is told on standard error.
 */
#ifndef STATION_LOG_STATIONLOG_H
#define STATION_LOG_STATIONLOG_H

#include <stdint.h>

/** A list of measurements; all zero, it is empty. */
typedef struct StationLog {
  void **measurements; /**< objects whose class descends from Measurement; owned, one reference each */
  int32_t count;       /**< measurements in the list */
  int32_t room;        /**< measurements that the list has room for */
} StationLog;

/** Appends one measurement per row of a data file.
 *  @return 1 or 0; the log is to be cleared in either case */
int32_t stationLogLoad(StationLog *log, const char *path);

/** Writes all measurements to a new file.
 *  @return the size of the file in bytes, or 0 */
int64_t stationLogStore(const StationLog *log, const char *path);

/** Reads a stored log back and compares it with this one.
 *  @return 1 when all measurements are there and equal, else 0 */
int32_t stationLogCompare(const StationLog *log, const char *path);

/** Sorts the measurements by station, kind and time. */
void stationLogSort(StationLog *log);

/** Prints the rows, minimum, mean and maximum of each station and kind of a sorted log. */
void stationLogPrint(const StationLog *log);

/** Releases the measurements and the list. */
void stationLogClear(StationLog *log);

#endif
