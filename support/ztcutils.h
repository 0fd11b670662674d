/**
 * @file ztcutils.h
 * Common utilities for hosts.
 */
#ifndef ZT_SUPPORT_ZTCUTILS_H
#define ZT_SUPPORT_ZTCUTILS_H

#include "core/ztoop.h"

ZT_BEGIN_C

/**
 * Formats a text, at most 511 bytes of it.
 * @return the text, in a buffer of the library's that the next call overwrites; empty for a NULL format
 */
ZT_API const char *ztCu_fmtMsg(const char *format, ...) __attribute__((format(printf, 1, 2)));

ZT_END_C

#endif
