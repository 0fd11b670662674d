/**
 * @file ztobjinfo.h
 * What ztObject adds to the description of a class: its static properties and its declared signals. The methods and
 * fields are told by ztOOP_classInfo().
 */
#ifndef ZT_OBJECTS_ZTOBJINFO_H
#define ZT_OBJECTS_ZTOBJINFO_H

#include "objects/ztobject.h"

ZT_BEGIN_C

/** A static property of a class. */
typedef struct ztPropertyInfo {
  const char *name; /**< "level" */
  const char
      *type; /**< the name of its kind: "ztInt"; "ztChar*" of a "ztCharPtr", "ztVoid*" of a "ztVoidPtr" */
  ztClass *typeClass;     /**< its property type */
  const char *declaredBy; /**< the name of the class that declared it */
  int32_t isReadable;     /**< 1 when it has a getter */
  int32_t isWritable;     /**< 1 when it has a setter */
} ztPropertyInfo;

/** An argument of a declared signal. */
typedef struct ztSignalArgument {
  const char *type; /**< "int32_t" */
  const char *name; /**< "level"; empty when the declaration has none */
} ztSignalArgument;

/** A declared signal of a class. */
typedef struct ztSignalInfo {
  const char *name;        /**< "levelChanged" */
  const char *declaration; /**< "levelChanged(int32_t level)", as ztOOP_declareSignal() was given it */
  ztClass *declaredBy;     /**< the class that declared it */
  int32_t argumentCount;   /**< the number of arguments, 0 to 4 */
  const ztSignalArgument *arguments; /**< in their order */
} ztSignalInfo;

/** The properties and signals of a class. The texts and lists are part of it. */
typedef struct ztObjectInfo {
  ztClass *klass;        /**< the class */
  int32_t propertyCount; /**< the number of properties */
  const ztPropertyInfo
      *properties;             /**< own and inherited, in the order of their declaration, inherited first */
  int32_t signalCount;         /**< the number of signals */
  const ztSignalInfo *signals; /**< own and inherited, in the order of their declaration, inherited first */
} ztObjectInfo;

/** Describes the properties and signals of a class.
 *  @param klass  ztObject or a class derived from it. It must be in use: registered, or an object of it was made
 *  @return what it is; the caller releases it with ztObject_freeClassInfo(). It stays valid when the class goes, but
 *          the descriptors in it do not. NULL when memory is exhausted and, with a line in the log, for NULL, for
 *          another class and for one that is not in use: not yet, or no longer because its code was unloaded */
ZT_API ztObjectInfo *ztObject_classInfo(ztClass *klass);

/** Releases a description; NULL is allowed. */
ZT_API void ztObject_freeClassInfo(ztObjectInfo *info);

ZT_END_C

#endif
