/* What the hosts that load plugins know of each. */
#ifndef ZT_TESTS_PLUGIN_H
#define ZT_TESTS_PLUGIN_H

#include "zentova.h"

ZT_BEGIN_C

/* Makes and releases objects of every class of the plugin's; 1 when they do what they should. */
ZT_API int32_t usePlugin(void);

/* An object of the plugin's main class, the caller's to release. */
ZT_API void *makeObject(void);

ZT_END_C

#endif
