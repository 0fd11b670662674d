/**
 * @file ztlogctrl.h
 * The log: every text goes to standard output and, while a log file is open, to that file.
 */
#ifndef ZT_CORE_ZTLOGCTRL_H
#define ZT_CORE_ZTLOGCTRL_H

#include "core/ztoop.h"

ZT_BEGIN_C

/**
 * Opens the log file and empties an existing one. Keeps a log file that is already open. Programs that the host
 * starts do not inherit it.
 *
 * Only a regular file becomes the log file. Several processes may share one: each empties it when it opens it
 * and then appends whole texts. A child of `fork` continues its parent's.
 * @return 1 when a log file is open afterwards, else 0 (also for a NULL path, and for a directory, a pipe or a
 *         device, which is not opened)
 */
ZT_API int32_t ztLc_openLogFile(const char *path);

/**
 * Formats one text, at most 511 bytes, and writes it to standard output and to the log file, which is complete
 * after every call. Texts of several threads do not mix.
 *
 * Standard output interprets a `%` in the formatted text again, with zero for every argument and no field wider
 * than 512; the file receives the text unchanged.
 */
ZT_API void ztLc_log(const char *format, ...) __attribute__((format(printf, 1, 2)));

/** Closes the log file, if one is open. */
ZT_API void ztLc_closeLogFile(void);

ZT_END_C

#endif
