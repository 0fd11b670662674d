/**
 * @file ztlogctrl.h
 * The log: every text goes to standard output and, while a log file is open, to that file.
 */
#ifndef ZT_CORE_ZTLOGCTRL_H
#define ZT_CORE_ZTLOGCTRL_H

#include "core/ztoop.h"

ZT_BEGIN_C

/**
 * Opens the log file, emptying one that exists. An open log file is kept. Programs that the host starts do
 * not inherit it.
 *
 * Only a regular file, or a path where one can be made, becomes the log file. Several processes may have
 * one log file: each empties it when it opens it, and each text is then appended as a whole. A child of
 * `fork` goes on with its parent's.
 * @return 1 when a log file is open afterwards, else 0 (also for a NULL path, and for a directory, a pipe
 *         or a device, which is not opened)
 */
ZT_API int32_t ztLc_openLogFile(const char *path);

/**
 * Formats one text, at most 511 bytes of it, and writes it to standard output and to the log file,
 * which is complete after every call. Texts of several threads do not mix.
 *
 * Standard output interprets a `%` left in the formatted text once more, with zero for every
 * argument and no field wider than 512; the file receives the text unchanged.
 */
ZT_API void ztLc_log(const char *format, ...) __attribute__((format(printf, 1, 2)));

/** Closes the log file, if one is open. */
ZT_API void ztLc_closeLogFile(void);

ZT_END_C

#endif
