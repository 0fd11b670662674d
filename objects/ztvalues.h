/**
 * @file ztvalues.h
 * Properties by their kind: functions that set, read and make a property of a ztObject, one for each kind of
 * value.
 *
 * They call the object's `setProperty` and `getProperty`, so slots are notified and overrides are called. Where
 * those take any name, type and word, these answer: the result is 0, with nothing written and one line in the
 * log, when
 *  - an argument is NULL, or the object is no ztObject,
 *  - the object has no property of that name, or one of another kind,
 *  - it cannot be written (a static property without a setter) or read (one without a getter).
 *
 * A class derived from a property type of the library has the kind of that type.
 */
#ifndef ZT_OBJECTS_ZTVALUES_H
#define ZT_OBJECTS_ZTVALUES_H

#include "objects/ztobject.h"

ZT_BEGIN_C

/** Sets a "ztInt" property. @return 1, or 0 with a line in the log; see above */
ZT_API int32_t ztObject_setInt(void *object, const char *name, int32_t value);
/** Sets a "ztBool" property; 0 is false. @return 1, or 0 with a line in the log; see above */
ZT_API int32_t ztObject_setBool(void *object, const char *name, int32_t value);
/** Sets a "ztChar" property. @return 1, or 0 with a line in the log; see above */
ZT_API int32_t ztObject_setChar(void *object, const char *name, signed char value);
/** Sets a "ztFloat" property. @return 1, or 0 with a line in the log; see above */
ZT_API int32_t ztObject_setFloat(void *object, const char *name, double value);

/** Sets a property that holds a text: a "ztString" gets a copy. A "ztCharPtr" gets the pointer itself: its setter
 *  may copy the text (that of "name" of a ztRoot does), but a dynamic property does not, so the text must outlive
 *  the property or its next value.
 *  @param object  a ztObject
 *  @param name    of the property
 *  @param text    not NULL
 *  @return 1; 0 with a line in the log, see above and when memory is exhausted */
ZT_API int32_t ztObject_setText(void *object, const char *name, const char *text);

/** Sets a "ztVoidPtr" property to any pointer, also NULL, which is not followed.
 *  @return 1, or 0 with a line in the log; see above */
ZT_API int32_t ztObject_setPointer(void *object, const char *name, void *value);

/** Reads a "ztInt" property. @return 1; 0, with @p out unchanged and a line in the log; see above */
ZT_API int32_t ztObject_getInt(void *object, const char *name, int32_t *out);
/** Reads a "ztBool" property. @return 1; 0, with @p out unchanged and a line in the log; see above */
ZT_API int32_t ztObject_getBool(void *object, const char *name, int32_t *out);
/** Reads a "ztChar" property. @return 1; 0, with @p out unchanged and a line in the log; see above */
ZT_API int32_t ztObject_getChar(void *object, const char *name, signed char *out);
/** Reads a "ztFloat" property. @return 1; 0, with @p out unchanged and a line in the log; see above */
ZT_API int32_t ztObject_getFloat(void *object, const char *name, double *out);

/** Reads the text of a "ztString" or "ztCharPtr" property.
 *  @param object  a ztObject
 *  @param name    of the property
 *  @param out     gets the text itself, valid until the property changes or ends; not to be freed. NULL for a
 *                 string without text and a NULL pointer
 *  @return 1; 0, with @p out unchanged and a line in the log; see above */
ZT_API int32_t ztObject_getText(void *object, const char *name, const char **out);

/** Reads a "ztVoidPtr" property. @return 1; 0, with @p out unchanged and a line in the log; see above */
ZT_API int32_t ztObject_getPointer(void *object, const char *name, void **out);

/** Makes a dynamic "ztInt" property of the object. Its type need not be known before.
 *  @return 1; 0 with a line in the log when an argument is NULL, the object is no ztObject, it or its class has a
 *          property of that name, or memory is exhausted */
ZT_API int32_t ztObject_addInt(void *object, const char *name, int32_t initial);
/** Makes a dynamic "ztBool" property. @return as ztObject_addInt() */
ZT_API int32_t ztObject_addBool(void *object, const char *name, int32_t initial);
/** Makes a dynamic "ztChar" property. @return as ztObject_addInt() */
ZT_API int32_t ztObject_addChar(void *object, const char *name, signed char initial);
/** Makes a dynamic "ztFloat" property. @return as ztObject_addInt() */
ZT_API int32_t ztObject_addFloat(void *object, const char *name, double initial);
/** Makes a dynamic "ztString" property, which has copies of this text and of later ones.
 *  @return as ztObject_addInt() */
ZT_API int32_t ztObject_addText(void *object, const char *name, const char *initial);
/** Makes a dynamic "ztCharPtr" property, which holds the pointer only: the text must outlive it. ztObject_setText()
 *  and ztObject_getText() serve it, too.
 *  The text may be NULL.
 *  @return as ztObject_addInt() */
ZT_API int32_t ztObject_addCharPtr(void *object, const char *name, const char *initial);
/** Makes a dynamic "ztVoidPtr" property. @p initial may be NULL. @return as ztObject_addInt() */
ZT_API int32_t ztObject_addPointer(void *object, const char *name, void *initial);

/** Looks a property up, static or dynamic. Nothing is logged.
 *  @return the property; not owned, valid until the object or its class gets or loses a property. NULL when there
 *          is none of that name, an argument is NULL or the object is no ztObject */
ZT_API ztProperty *ztObject_findProperty(void *object, const char *name);

/** Makes the seven property types of the library known to declarations and to `setProperty`.
 *  @return 1, also when they were known; 0 with a line in the log when memory is exhausted: some may be known then,
 *          and the next call makes the others known */
ZT_API int32_t ztProperty_registerTypes(void);

ZT_END_C

#endif
