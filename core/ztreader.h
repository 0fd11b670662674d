/**
 * @file ztreader.h
 * Files that earlier versions of a class wrote.
 *
 * A stored object has the version of its class. A program that changes what a class stores raises the version, and
 * keeps the `read` of each earlier version as a reader:
 *
 * @code
 * // Version 1 stored the level only; version 2 also stores the limit.
 * static int32_t gaugeReadVersion1(void *object, void *file, uint32_t version) {
 *   Gauge *gauge = object;                                   // its `create` has run
 *   (void)version;
 *   gauge->limit = 100;
 *   return ztBaseClass_table()->read(gauge, file) && ztFile_of(file)->readInt(file, &gauge->level);
 * }
 *
 * ZT_DEFINE_CLASS_FULL(Gauge, ztBaseClass, gaugeMethods, 2, ztClassFunctions, ztOOP_noFunctions)
 *
 * // once the class is known by its name:
 * ztOOP_setReader(GaugeClass_Instance(), 1, gaugeReadVersion1);
 * Gauge *gauge = ztOOP_readObject(file);                     // a record of either version
 * @endcode
 *
 * A record begins with the name and the version of the object's own class (`classWrite`); what `write` stored
 * follows. It has no versions of the ancestors. So raise the version of a class, too, when an ancestor of it stores
 * something else. Its reader calls the ancestor's reader in place of the ancestor's `read`:
 *
 * @code
 * static int32_t pumpReadVersion1(void *pump, void *file, uint32_t version) {
 *   return gaugeReadVersion1(pump, file, 1) && ztFile_of(file)->readInt(file, &((Pump *)pump)->flow);
 * }
 * @endcode
 *
 * A record of a class that the process does not know yet cannot be read: see ztNewFromName().
 *
 * ztRoot_loadTree() and ztRoot_openTree() use readers, too. `classRead` of ztBaseClass does not.
 */
#ifndef ZT_CORE_ZTREADER_H
#define ZT_CORE_ZTREADER_H

#include "core/ztoop.h"

ZT_BEGIN_C

/**
 * Reads what the `write` of an earlier version of a class stored. Like a `read`, it must read all of it and no
 * more: a file does not tell where a record ends.
 * @param object   a new object of today's class, or of a descendant whose reader calls this one; `create` has run.
 *                 Not the reader's to release
 * @param file     a ztFile, behind the class identity
 * @param version  the version in that identity
 * @return 1; 0 on failure, the caller then releases the object
 */
typedef int32_t (*ztReader)(void *object, void *file, uint32_t version);

/**
 * Names the reader for an earlier version of a class, in place of any other one for that version. It stays until
 * ztOOP_CleanUp(), or until the class's code is unloaded (ztOOP_leaveRegistry()).
 * @param klass    a class that had an object or was registered: before, its version is not known
 * @param version  less than the version of the class
 * @param reader   NULL to remove the reader, also if there is none
 * @return 1; 0, with a line in the log and nothing changed, for NULL and a class that is not known yet, for its own
 *         or a later version, and when memory is exhausted
 */
ZT_API int32_t ztOOP_setReader(ztClass *klass, uint32_t version, ztReader reader);

/** @return the reader for a version of the class itself, not of its ancestors; NULL when there is none. For the
 *          reader of a descendant that cannot name its ancestor's */
ZT_API ztReader ztOOP_readerOf(const ztClass *klass, uint32_t version);

/**
 * Reads the next object that `classWrite` and its `write` stored: makes an object of the class registered under the
 * stored name, and has it read by its `read` or, for an earlier version of the class, by the reader for that
 * version. Works on files of every class, also in a `read` or a reader, for an object within another.
 * @param file  an open file, at a class identity. It is behind the record afterwards, and anywhere within it after
 *              a failure: go back with `goToAbs` to the place that `tell` gave before
 * @return the object, the caller's; release it with `unRef`. NULL, with a line in the log, for a NULL file, at the
 *         end of the file, for a damaged or incomplete record, an unknown class, a version that is not the
 *         class's own and has no reader, a `read` or reader that fails, and when memory is exhausted
 */
ZT_API void *ztOOP_readObject(void *file);

ZT_END_C

#endif
