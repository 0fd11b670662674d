/**
 * @file ztweak.h
 * Pointers that become NULL when their object ends.
 *
 * @code
 * void *station = NULL;
 * ztObject_watch(node, &station);
 * ...
 * if (station != NULL) ztRoot_of(station)->getName(station);
 * ...
 * ztObject_unwatch(node, &station);  // before the memory of the pointer ends; harmless when the node has ended
 * @endcode
 *
 * The object is not kept alive. It must stay in its place while it is watched: an object in the block of an array
 * may be moved.
 */
#ifndef ZT_OBJECTS_ZTWEAK_H
#define ZT_OBJECTS_ZTWEAK_H

#include "objects/ztobject.h"

ZT_BEGIN_C

/**
 * Stores an object at a pointer, which becomes NULL when the object ends: at the beginning of ztObject's `destroy`,
 * before a slot of "destroyed" is called. Overrides of `destroy` that run before it still find the object there.
 *
 * Any number of pointers may watch an object. A pointer watches one object: what it watched before, it no longer
 * does. A pointer that was changed by other means is left as it is when the object ends. Copies of an object are not
 * watched. The pointer belongs to the object's thread: it is written by the one that ends the object.
 *
 * @param object   a ztObject
 * @param pointer  must stay until the object ends or ztObject_unwatch() is called
 * @return 1, also when the pointer watches the object already; 0, with nothing written and one line in the log, when
 *         an argument is NULL, the object is no ztObject or is being destroyed, or memory is exhausted
 */
ZT_API int32_t ztObject_watch(void *object, void **pointer);

/** Ends a watch; the pointer keeps its value. Nothing is logged.
 *  @param object   is not followed, so it may have ended
 *  @param pointer  as it was given to ztObject_watch()
 *  @return 1; 0 when the pointer does not watch this object: it never did, or the object has ended */
ZT_API int32_t ztObject_unwatch(void *object, void **pointer);

ZT_END_C

#endif
