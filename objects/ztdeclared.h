/**
 * @file ztdeclared.h
 * Declared signals: a class tells which signals its objects emit.
 */
#ifndef ZT_OBJECTS_ZTDECLARED_H
#define ZT_OBJECTS_ZTDECLARED_H

#include "objects/ztobject.h"

ZT_BEGIN_C

/**
 * Declares a signal of a class, in the class's `initProperties`:
 *
 * @code
 * static int32_t gaugeInitProperties(ztClass *klass) {
 *   return ztOOP_declareSignal(klass, "levelChanged(int32_t level)");
 * }
 * @endcode
 *
 * Subclasses inherit the declaration. It is a description: a signal is still made by the first connection, and any
 * signal can be emitted. But connecting to an object whose class, or an ancestor that is not the library's, declares
 * signals, and none of that name, logs one line. The signals of property changes and "destroyed" need no declaration.
 *
 * Declarations live as long as the static properties of all classes: they are made again after ztOOP_CleanUp(), and
 * removed when the code of the class is unloaded.
 *
 * @param klass        a ztObject class, as `initProperties` gets it
 * @param declaration  copied: a name, and in brackets up to four arguments, each by its type and, if wanted, a name;
 *                     `void`, empty brackets and none stand for no argument. At most 255 characters
 * @return 1, also when the class or an ancestor has declared the same; 0, with nothing changed and one line in the
 *         log, when an argument is NULL, the class is no ztObject class, the text is malformed, a signal of that name
 *         is declared with another text, or memory is exhausted
 */
ZT_API int32_t ztOOP_declareSignal(ztClass *klass, const char *declaration);

ZT_END_C

#endif
