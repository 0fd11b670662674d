/**
 * @file ztdirman.h
 * The directory manager: names of directories, the current directory, a walk over files.
 *
 * Buffers and NULL texts are as ztcutils.h has them: a buffer named @c out holds at least 512 bytes and
 * may be NULL; the result is then in a buffer of the function's own, which its next call by the same thread
 * overwrites.
 */
#ifndef ZT_SUPPORT_ZTDIRMAN_H
#define ZT_SUPPORT_ZTDIRMAN_H

#include "core/ztoop.h"

ZT_BEGIN_C

/** Called by ztDm_enumFiles() for each file that it finds.
 *  @param path      directory and name; valid during the call, like @p name
 *  @param name      the name alone
 *  @param userData  as given to the walk
 *  @return ignored */
typedef int32_t (*ztDmFileCallback)(const char *path, const char *name, void *userData);

/** Makes no directory; use the system's `mkdir`.
 *  @return 0 */
ZT_API int32_t ztDm_makeDir(const char *path);

/** @return the last component of a path: what stands behind the last "/", "\" or ":", empty when the
 *  path ends with one, the whole path when there is none. The first character does not count. */
ZT_API const char *ztDm_getDirName(const char *path, char *out);

/** @return what stands before the last "/" of a path, the whole path when there is none. Unlike with
 *  ztCu_extractPath(), "\" and ":" do not separate. The first character does not count. */
ZT_API const char *ztDm_extractPath(const char *path, char *out);

/** @return what ztCu_makePath() gives, from a buffer of this function's own */
ZT_API const char *ztDm_makePath(const char *directory, const char *name, char *out);

/** @return the current directory of the process; "/" when the system does not tell it, as for one of
 *  more than 511 bytes or one that was removed */
ZT_API const char *ztDm_getCurrentDir(char *out);

/** Changes the current directory of the process.
 *  @return 1, or 0 when it stays as it was; 0 for NULL */
ZT_API int32_t ztDm_changeDir(const char *path);

/**
 * Calls @p callback for every entry of a directory that has an extension, directories among them, in
 * the order in which the system lists them.
 *
 * The extension is what stands behind the last "." of the entry's name; a "." that is the first
 * character does not count, and an entry without extension is never reported. An entry whose own
 * extension is "*" is always reported.
 *
 * With @p recursive, what lies below an entry comes before the entry itself. Symbolic links are
 * followed, except into a directory that is being walked already further up: a link that leads back is
 * reported like any entry, and nothing below it. Entries whose path is longer than 511 bytes are left
 * out. The walk keeps one directory open on each level; one that cannot be opened any more counts as
 * empty.
 * @param directory  a directory that cannot be opened has no entries
 * @param extension  without the "."; capital and small letters differ
 * @param recursive  not 0: also the directories below
 * @param callback   see ztDmFileCallback; it may change the directories, and walk others
 * @param userData   handed to the callback
 * @return 1; with a NULL directory, extension or callback nothing else happens
 */
ZT_API int32_t ztDm_enumFiles(const char *directory, const char *extension, int32_t recursive,
                              ztDmFileCallback callback, void *userData);

ZT_END_C

#endif
