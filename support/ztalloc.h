/**
 * @file ztalloc.h
 * ztAllocator: the interface of objects that allocate memory. A host may put one into class slot 3 of a class,
 * where `CAllocator` returns it; the library's own objects never use it.
 */
#ifndef ZT_SUPPORT_ZTALLOC_H
#define ZT_SUPPORT_ZTALLOC_H

#include "core/ztbasec.h"

/** ztAllocator adds no fields. */
#define ztAllocator_FIELDS ztBaseClass_FIELDS

/**
 * The methods of an allocator, in slot order; all are abstract in ztAllocator.
 *
 *  - `allocate`: @c size bytes, not cleared, or NULL.
 *  - `reallocate`: the block with @c newSize bytes, perhaps moved; on failure NULL, and the old block stays.
 *    @c oldSize is for allocators that do not know their blocks' sizes.
 *  - `deallocate`: frees a block; NULL is allowed.
 *  - `reserved`: abstract in every class of the library; free for hosts.
 */
#define ztAllocator_METHODS                                                                             \
  ztBaseClass_METHODS                                                                                   \
  ztOwned *(*allocate)(void *allocator, uint64_t size);                                        /* 16 */ \
  ztOwned *(*reallocate)(void *allocator, ztOwned *block, uint64_t oldSize, uint64_t newSize); /* 17 */ \
  void (*deallocate)(void *allocator, ztOwned *block);                                         /* 18 */ \
  ztBorrowed *(*reserved)(void *allocator);                                                    /* 19 */

/** The abstract allocator. */
ZT_DECLARE_CLASS(ztAllocator)

#endif
