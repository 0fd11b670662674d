/**
 * @file ztlogctrl.h
 * The log: every text goes to standard output and, while a log file is open, to that file. The engine opens
 * `zentova.log` when the library is loaded.
 *
 * The environment variable `ZENTOVA_LOG` chooses another place in place of both. It is read when the library is
 * loaded, and counts until the library is unloaded, also when the engine is stopped and started again:
 *
 * | `ZENTOVA_LOG`  | effect                                                                      |
 * |----------------|-----------------------------------------------------------------------------|
 * | not set        | as above, or what the program chose with ZT_LOG_TO()                        |
 * | empty          | nothing is written; also for `/dev/null`                                    |
 * | `stderr`       | every text goes to standard error                                           |
 * | a path         | every text goes to that file; a file of the name `stderr` is `./stderr`     |
 *
 * The file must be a regular one; an existing one is emptied. If it cannot be opened, every text goes to standard
 * error, and the first one says so. A relative path begins in the folder in which the library is loaded. A
 * program that has other rights than its user (set-user-id) ignores the variable. Standard error and the file
 * receive the texts unchanged.
 */
#ifndef ZT_CORE_ZTLOGCTRL_H
#define ZT_CORE_ZTLOGCTRL_H

#include "core/ztoop.h"

/**
 * Chooses, for a program, what the variable `ZENTOVA_LOG` may choose for a user. A statement of one line outside
 * all functions and namespaces, in one source file of a program that is linked to the library:
 *
 * @code
 * ZT_LOG_TO("");          // no log file, nothing on standard output
 * @endcode
 *
 * The variable wins where it is set. The program may still open a log file with ztLc_openLogFile(), which then
 * receives the texts, too. A program that loads the library with `dlopen` sets the variable before. Without effect
 * in a program that is linked with a list of exported symbols which has no `ztLog_target`.
 * @param target  a text in quotes: empty, `stderr` or a path
 */
#define ZT_LOG_TO(target)                  \
  ZT_BEGIN_C                               \
  extern ZT_API const char ztLog_target[]; \
  ZT_END_C                                 \
  __attribute__((used)) const char ztLog_target[] = target

ZT_BEGIN_C

/**
 * Opens the log file and empties an existing one. Keeps a log file that is already open. Programs that the host
 * starts do not inherit it.
 *
 * Only a regular file becomes the log file. Several processes may share one: each empties it when it opens it
 * and then appends whole texts. A child of `fork` continues its parent's.
 * @return 1 when a log file is open afterwards, else 0 (also for a NULL path, and for a directory, a pipe or a
 *         device, which is not opened). Where `ZENTOVA_LOG` is set, nothing is opened: 1 if it names the file that
 *         is open
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
