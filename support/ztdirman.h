/**
 * @file ztdirman.h
 * The directory manager: names of directories, the current directory, a walk over files.
 *
 * Buffers and NULL texts are as in ztcutils.h: a buffer named @c out has at least 512 bytes and may be NULL;
 * the result is then in the function's own buffer, which the same thread's next call overwrites.
 */
#ifndef ZT_SUPPORT_ZTDIRMAN_H
#define ZT_SUPPORT_ZTDIRMAN_H

#include "core/ztoop.h"

ZT_BEGIN_C

/** Called by ztDm_enumFiles() for each file that it finds.
 *  @param path      directory and name; valid during the call, like @p name
 *  @param name      the name alone
 *  @param userData  the argument of the walk
 *  @return ignored */
typedef int32_t (*ztDmFileCallback)(const char *path, const char *name, void *userData);

/** Makes no directory; use the system's `mkdir`.
 *  @return 0 */
ZT_API int32_t ztDm_makeDir(const char *path);

/** @return the last component of a path: the part behind the last "/", "\" or ":", empty when the path ends
 *          with one, the whole path when there is none. The first character does not count. */
ZT_API const char *ztDm_getDirName(const char *path, char *out);

/** @return the part before the last "/" of a path, the whole path when there is none. Unlike in
 *          ztCu_extractPath(), "\" and ":" do not separate. The first character does not count. */
ZT_API const char *ztDm_extractPath(const char *path, char *out);

/** @return the result of ztCu_makePath(), in this function's own buffer */
ZT_API const char *ztDm_makePath(const char *directory, const char *name, char *out);

/** @return the current directory of the process; "/" when the system does not return it, or when it has more
 *          than 511 bytes or was removed */
ZT_API const char *ztDm_getCurrentDir(char *out);

/** Changes the current directory of the process.
 *  @return 1; 0 when it did not change, and for NULL */
ZT_API int32_t ztDm_changeDir(const char *path);

/**
 * Calls @p callback for each entry of a directory with the extension, also for directories, in system order.
 *
 * The extension is the part behind the last "." of the entry's name; a "." as the first character does not
 * count, and an entry without extension is never reported. An entry with the extension "*" is always reported.
 *
 * With @p recursive, the entries below an entry come before it. Symbolic links are followed, except to a
 * directory above that is being walked: such a link is reported like any entry, but nothing below it. Entries
 * whose path is longer than 511 bytes are left out. The walk keeps one directory open on each level; one that
 * can no longer be opened counts as empty.
 * @param directory  a directory that cannot be opened has no entries
 * @param extension  without the "."; upper and lower case differ
 * @param recursive  not 0: also the directories below
 * @param callback   see ztDmFileCallback; it may change the directories, and walk others
 * @param userData   passed to the callback
 * @return 1; with a NULL directory, extension or callback nothing else happens
 */
ZT_API int32_t ztDm_enumFiles(const char *directory, const char *extension, int32_t recursive,
                              ztDmFileCallback callback, void *userData);

ZT_END_C

#endif
