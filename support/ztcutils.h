/**
 * @file ztcutils.h
 * Common utilities for hosts: numbers, unique ids, messages, letter case, paths as text.
 *
 * Paths are built with "/"; when a path is taken apart, "/", "\" and ":" all separate. A buffer named
 * @c out belongs to the caller and holds at least 512 bytes; at most that many are written, and it may
 * be the buffer an argument stands in. A text that a function returns from a buffer of its own is valid
 * until that function is called again by the same thread, and may be an argument of that call. Texts of more than 511
 * bytes are cut where they go into one of these buffers. A NULL text counts as empty unless the
 * function says otherwise.
 */
#ifndef ZT_SUPPORT_ZTCUTILS_H
#define ZT_SUPPORT_ZTCUTILS_H

#include "core/ztoop.h"

ZT_BEGIN_C

/* Numbers and ids ------------------------------------------------------------------------------ */

/** Tells nothing on this platform; use the C library's `isnan`.
 *  @return 0, whatever the value */
ZT_API int32_t ztCu_isnan(double value);

/** @return the nearest integer, a half rounded away from zero; the nearest limit of the result's type
 *  for a value beyond it, 0 for what is not a number */
ZT_API int32_t ztCu_round(double value);

/**
 * Makes an id from the time and the number of calls so far. The ids of one second differ, each by 1
 * from the one before; those of different seconds almost always do. They are not unique among
 * processes: two that have made as many ids make the same one in the same second. All threads of a process
 * count together.
 *
 * Seeds the C library's `rand` with the time.
 */
ZT_API int32_t ztCu_genUniqueId(void);

/* Text ----------------------------------------------------------------------------------------- */

/**
 * Formats a text, at most 511 bytes of it.
 * @return the text, in a buffer that the thread's next call overwrites; empty for a NULL format
 */
ZT_API const char *ztCu_fmtMsg(const char *format, ...) __attribute__((format(printf, 1, 2)));

/** @return a copy in lower case, byte by byte and by the current locale, in the one buffer that this
 *  function and ztCu_sToUpper() share */
ZT_API const char *ztCu_sToLower(const char *text);

/** @return a copy in upper case; otherwise as ztCu_sToLower() */
ZT_API const char *ztCu_sToUpper(const char *text);

/* Paths ---------------------------------------------------------------------------------------- */

/** The place where paths would be converted to the platform's separators; here they need no change.
 *  @return @p path, unchanged */
ZT_API char *ztCu_fixDosPath(char *path);

/**
 * Cuts a path at its last ".", in place. A "." in a directory's name counts as well, the first
 * character does not: "a.b/c" becomes "a", ".profile" stays.
 * @return @p path; NULL for NULL
 */
ZT_API char *ztCu_cutFileExt(char *path);

/**
 * Turns a doubled separator behind a leading "." into one "/", in place: ".//a" becomes "./a". Any
 * other path stays.
 * @return @p path; NULL for NULL
 */
ZT_API char *ztCu_fixRelativePath(char *path);

/** Copies what stands behind the last separator, the whole path when there is none. A separator that
 *  is the first character does not count: the file name of "/a" is "/a".
 *  @return @p out; NULL when it is NULL */
ZT_API char *ztCu_extractFileName(const char *path, char *out);

/** Copies what stands before the last separator, the whole path when there is none: a bare file name
 *  is its own path. A separator that is the first character does not count.
 *  @return @p out; NULL when it is NULL */
ZT_API char *ztCu_extractPath(const char *path, char *out);

/** Joins a directory and a name with "/"; an empty directory gives the name alone.
 *  @return @p out, or a buffer of the function's own when @p out is NULL */
ZT_API const char *ztCu_makePath(const char *directory, const char *name, char *out);

/**
 * Expands the environment variable that a path begins with: "$(NAME)/x" gives the value of NAME and
 * "/x". What stands before the "$(" is dropped, later variables stay as they are. A name is cut to 103
 * bytes.
 * @return 1, @p out then holds the expanded text, a copy of @p in when it names no variable, or what it
 *         held before when a ")" is missing; -1 when the variable is not set, @p out is then a copy of
 *         @p in; 0, with nothing written, when one of them is NULL
 */
ZT_API int32_t ztCu_expandEnvString(char *out, const char *in);

ZT_END_C

#endif
