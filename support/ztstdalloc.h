/**
 * @file ztstdalloc.h
 * ztStdAllocator: the allocator of the system's memory.
 */
#ifndef ZT_SUPPORT_ZTSTDALLOC_H
#define ZT_SUPPORT_ZTSTDALLOC_H

#include "support/ztalloc.h"

/** ztStdAllocator adds no fields. */
#define ztStdAllocator_FIELDS ztAllocator_FIELDS

/** The methods of ztAllocator. The blocks come from the system, not from ztm_alloc(), so the tracking form of
 *  the memory manager does not record them; `reallocate` ignores the old size. */
#define ztStdAllocator_METHODS ztAllocator_METHODS

/** The system's allocator. */
ZT_DECLARE_CLASS(ztStdAllocator)

#endif
