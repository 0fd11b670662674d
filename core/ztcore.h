/**
 * @file ztcore.h
 * The list of the library's classes, and the functions that run when the library is loaded and unloaded.
 */
#ifndef ZT_CORE_ZTCORE_H
#define ZT_CORE_ZTCORE_H

#include "core/ztoop.h"

ZT_BEGIN_C

/** Registers the library's classes that are not registered, for instance after a clean-up and ztOOP_Init(). */
ZT_API void ztcoreClassInit(void);

/** Frees the library's classes by name. The property types stay registered until ztOOP_CleanUp(), because the
 *  list has them under the names that properties are declared with. */
ZT_API void ztcoreClassFree(void);

/** Runs when the library is loaded: starts the engine with the log file "zentova.log" in the current folder and
 *  registers the library's classes. Hosts do not call it. */
ZT_API void ztcore_lnx_init(void);

/** Runs when the library is unloaded: frees the library's classes. Hosts do not call it. */
ZT_API void ztcore_lnx_free(void);

ZT_END_C

#endif
