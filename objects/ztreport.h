/**
 * @file ztreport.h
 * Who lives, who made it, and what holds it: a report of the live objects of a running program.
 *
 * The library knows the live objects if ZENTOVA_TRACK is in the program's environment when the library is loaded. Its
 * value is a list of words, separated by commas:
 *
 *  - `1`: the live objects are known, and ztOOP_report() writes them. A summary is printed when the program ends: how
 *    many objects of which class are left, and which calls made them.
 *  - `lives`: besides, a line is printed when an object is made and when it ends. The line comes with the next block
 *    that its thread allocates or releases, or before the object itself emits or ends. Of the objects inside the
 *    block of an array, the first one stands for the block.
 *  - `emissions`: besides, a line is printed for each emission of a signal that the object has, but for "destroyed".
 *
 * All of it is printed to standard error, unless that is closed when the library is loaded; the summary by the process
 * that loaded the library, not by the children that it forks. Without ZENTOVA_TRACK, nothing is recorded and nothing is
 * slower.
 *
 * Objects in the memory of ztm_alloc() are known, and those inside the blocks of arrays; objects on a stack, and in
 * other memory of the program, are not; nor are variables of the program, as holders. Parts that the library makes
 * inside an object, such as its maps, and the items of containers are counted with it and not listed. A program that
 * replaces ztm_alloc() gets an empty report; one that is linked without the dynamic linker does not know the calls that
 * made its objects, and lists parts as objects.
 */
#ifndef ZT_OBJECTS_ZTREPORT_H
#define ZT_OBJECTS_ZTREPORT_H

#include "core/ztoop.h"

ZT_BEGIN_C

/** Writes a report of the live objects to a file: their number by class and by the calls that made them; and for each
 *  object its class, name, reference count and size, the calls that made it, what leads to it, and the slots that are
 *  connected to its signals. `ztinspect graph` draws it. Calls no method of the objects. Any thread may
 *  call it while others go on, but no handler of a signal of the system.
 *  @param fileName  the file, made or replaced as a whole
 *  @return 1; 0, with a line in the log and the file unchanged, when it is NULL or cannot be written, when memory is
 *          exhausted, and when objects are not tracked */
ZT_API int32_t ztOOP_report(const char *fileName);

ZT_END_C

#endif
