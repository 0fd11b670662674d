/**
 * @file ztmem.h
 * The memory manager: a plain form, which allocates all memory of the library, and a tracking form, which
 * records every live block and reports leaks.
 *
 * With ZT_TRACK_MEMORY defined, the host's own calls of ztm_alloc(), ztm_realloc(), ztm_free() and ZTM_NEW()
 * use the tracking form, with the file and line of each call; its source does not change. The library always
 * uses the plain form, so a block that one side allocates and the other frees is reported, but freed properly.
 */
#ifndef ZT_CORE_ZTMEM_H
#define ZT_CORE_ZTMEM_H

#include "core/ztoop.h"

ZT_BEGIN_C

/** Record of one live block of the tracking form. */
typedef struct ztMemBlock {
  void *block;             /**< the address returned */
  int64_t size;            /**< bytes requested */
  int64_t line;            /**< source line of the allocation */
  char file[512];          /**< source file of the allocation, cut to 511 characters */
  char type[104];          /**< type name given by the caller, cut to 103 characters */
  struct ztMemBlock *next; /**< the block allocated before this one */
  struct ztMemBlock *prev; /**< the block allocated after this one */
} ztMemBlock;

/** The result of ztm_getmemstatus(). */
typedef struct ztMemStatus {
  int64_t blocks;    /**< live tracked blocks */
  int64_t bytes;     /**< the sum of their sizes */
  ztMemBlock *first; /**< the newest block; NULL when none */
} ztMemStatus;

/** @return @p size bytes, not cleared; NULL when memory is exhausted or the size is negative */
ZT_API void *ztm_alloc(int32_t size);

/** Resizes a block; allocates one for NULL.
 *  @return the block, which may have moved; NULL on failure, the old block then stays */
ZT_API void *ztm_realloc(void *block, int32_t size);

/** Frees a block; NULL is allowed. */
ZT_API void ztm_free(void *block);

/** Allocates a block and records it.
 *  @param size  bytes
 *  @param file  source file of the call, copied; NULL counts as empty
 *  @param line  source line of the call
 *  @param type  name of the type, copied; NULL counts as empty
 *  @return the block, not cleared; NULL when memory is exhausted (recorded all the same) */
ZT_API void *ztm_dbg_alloc(int64_t size, const char *file, int64_t line, const char *type);

/** Resizes a block and updates its record; a block without record gets none. A failed resize leaves the old
 *  block valid but stores NULL in its record.
 *  @return the block, or NULL on failure */
ZT_API void *ztm_dbg_realloc(void *block, int64_t size);

/** Frees a block and its record. For a block without record, logs a warning with @p file and @p line. Ignores
 *  NULL. */
ZT_API void ztm_dbg_free(void *block, const char *file, int64_t line);

/** @return the newest record of @p block, or NULL; valid until the block is freed */
ZT_API ztMemBlock *ztm_findblock(const void *block);

/** Records a block as the newest and counts it; does nothing when memory is exhausted. */
ZT_API void ztm_addblock(void *block, int64_t size, const char *file, int64_t line, const char *type);

/** Makes a record without adding it to the list.
 *  @return the record, which the caller releases with `free`; NULL when memory is exhausted */
ZT_API ztMemBlock *ztm_allocblock(void *block, int64_t size, const char *file, int64_t line,
                                  const char *type);

/** Removes the record of a block; the block stays.
 *  @return 1, or 0 when it has no record */
ZT_API int32_t ztm_removeblock(void *block);

/** @return the number of live tracked blocks; -1 when @p status is NULL */
ZT_API int32_t ztm_getmemstatus(ztMemStatus *status);

/** Logs the live tracked blocks, newest first, and the numbers of calls. */
ZT_API void ztm_dumpblocks(void);

ZT_END_C

#ifdef ZT_TRACK_MEMORY
#define ztm_alloc(size) ztm_dbg_alloc((size), __FILE__, __LINE__, "")
#define ztm_realloc(block, size) ztm_dbg_realloc((block), (size))
#define ztm_free(block) ztm_dbg_free((block), __FILE__, __LINE__)
#define ZTM_NEW(Type) ((Type *)ztm_dbg_alloc((int64_t)sizeof(Type), __FILE__, __LINE__, #Type))
#else
/** Allocates memory for one Type; the tracking form records its name. */
#define ZTM_NEW(Type) ((Type *)ztm_alloc((int32_t)sizeof(Type)))
#endif

#endif
