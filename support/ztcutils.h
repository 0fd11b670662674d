/**
 * @file ztcutils.h
 * Utilities for hosts: numbers, unique ids, messages, letter case, paths as text.
 *
 * Paths are built with "/"; when a path is split, "/", "\" and ":" all separate. A buffer named @c out belongs
 * to the caller and has at least 512 bytes, of which at most that many are written; an argument may be in it. A
 * text that a function returns in its own buffer is valid until the same thread's next call of the function,
 * and may be an argument of that call. Texts of more than 511 bytes are cut in these buffers. A NULL text
 * counts as empty unless the function says otherwise.
 */
#ifndef ZT_SUPPORT_ZTCUTILS_H
#define ZT_SUPPORT_ZTCUTILS_H

#include "core/ztoop.h"

ZT_BEGIN_C

/* Numbers and ids ------------------------------------------------------------------------------ */

/** Has no function on this platform; use the C library's `isnan`.
 *  @return 0, whatever the value */
ZT_API int32_t ztCu_isnan(double value);

/** @return the nearest integer, a half rounded away from zero; for a value out of range the nearest limit of
 *          the result's type, 0 for a NaN */
ZT_API int32_t ztCu_round(double value);

/**
 * Makes an id from the time and the number of calls so far. The ids of one second differ, each by 1 from the
 * one before; those of different seconds almost always do. Ids are not unique among processes: two processes
 * with the same number of calls make the same id in the same second. All threads of a process share the count.
 *
 * Seeds the C library's `rand` with the time.
 */
ZT_API int32_t ztCu_genUniqueId(void);

/* Text ----------------------------------------------------------------------------------------- */

/** Formats a text of at most 511 bytes.
 *  @return the text, in a buffer that the thread's next call overwrites; empty for a NULL format */
ZT_API const char *ztCu_fmtMsg(const char *format, ...) __attribute__((format(printf, 1, 2)));

/** @return a copy in lower case, bytewise by the current locale, in a buffer shared with ztCu_sToUpper() */
ZT_API const char *ztCu_sToLower(const char *text);

/** @return a copy in upper case; otherwise as ztCu_sToLower() */
ZT_API const char *ztCu_sToUpper(const char *text);

/* Paths ---------------------------------------------------------------------------------------- */

/** Would convert paths to the platform's separators; here they need no change.
 *  @return @p path, unchanged */
ZT_API char *ztCu_fixDosPath(char *path);

/** Cuts a path at its last ".", in place. A "." in a directory's name counts too, the first character does not:
 *  "a.b/c" becomes "a", ".profile" stays.
 *  @return @p path; NULL for NULL */
ZT_API char *ztCu_cutFileExt(char *path);

/** Replaces a doubled separator behind a leading "." by "/", in place: ".//a" becomes "./a". Other paths stay.
 *  @return @p path; NULL for NULL */
ZT_API char *ztCu_fixRelativePath(char *path);

/** Copies the part behind the last separator, or the whole path when there is none. A separator as the first
 *  character does not count: the file name of "/a" is "/a".
 *  @return @p out; NULL when it is NULL */
ZT_API char *ztCu_extractFileName(const char *path, char *out);

/** Copies the part before the last separator, or the whole path when there is none: a bare file name is its own
 *  path. A separator as the first character does not count.
 *  @return @p out; NULL when it is NULL */
ZT_API char *ztCu_extractPath(const char *path, char *out);

/** Joins a directory and a name with "/"; an empty directory gives the name alone.
 *  @return @p out, or the function's own buffer when @p out is NULL */
ZT_API const char *ztCu_makePath(const char *directory, const char *name, char *out);

/** Expands the environment variable at the start of a path: "$(NAME)/x" gives the value of NAME and "/x". Text
 *  before the "$(" is dropped, later variables stay. A name is cut to 103 bytes.
 *  @return 1; @p out then holds the expanded text, a copy of @p in when it names no variable, or its former
 *          text when a ")" is missing; -1 when the variable is not set, @p out is then a copy of @p in; 0, with
 *          nothing written, when either is NULL */
ZT_API int32_t ztCu_expandEnvString(char *out, const char *in);

ZT_END_C

#endif
