/**
 * @file ztdescribe.h
 * Classes that describe themselves: the methods and fields of a class with their C declarations. The text is that of
 * the lists that ZT_DECLARE_CLASS() was given.
 *
 * @code
 * ztClassInfo *info = ztOOP_classInfo(ztOOP_findClass("ztString"));
 * for (int32_t i = 0; i < info->methodCount; ++i)
 *   printf("%2d %s\n", info->methods[i].slot, info->methods[i].declaration);
 * ztOOP_freeClassInfo(info);
 * @endcode
 */
#ifndef ZT_CORE_ZTDESCRIBE_H
#define ZT_CORE_ZTDESCRIBE_H

#include "core/ztclass.h"

ZT_BEGIN_C

/** What is in a method slot. */
typedef enum ztMethodState {
  ztMethodDefined,  /**< a function */
  ztMethodAbstract, /**< left to the subclasses */
  ztMethodEmpty,    /**< NULL */
  ztMethodData      /**< a pointer to data, not to a function */
} ztMethodState;

/** One slot of a method table. */
typedef struct ztMethodInfo {
  const char *name;        /**< "write"; empty when unknown: see ztClassInfo */
  const char *declaration; /**< "int32_t (*write)(const void *object, void *file)"; empty when unknown */
  int32_t slot;            /**< its number in the table */
  ztMethodState state;     /**< what is in it */
  ztClass *introducedBy;   /**< the class that added the slot */
  ztClass *definedBy;      /**< the class whose function is in it; NULL for an abstract and an empty slot */
} ztMethodInfo;

/** One field of an instance. */
typedef struct ztFieldInfo {
  const char *name; /**< "refCount" */
  const char *type; /**< "int32_t", "ztString *", "char[104]" */
  int32_t offset; /**< bytes from the start of the object; -1 when unknown, as behind a field of a host's own
                              struct type */
  ztClass *introducedBy; /**< the class that added the field */
} ztFieldInfo;

/** One slot of a class-function table. */
typedef struct ztFunctionInfo {
  const char *name;        /**< "classRead" */
  const char *declaration; /**< "ztOwned *(*classRead)(const void *ignored, ztBorrowed *file)" */
  int32_t slot;            /**< its number in the table */
} ztFunctionInfo;

/** What a class is. The texts and lists are part of it. */
typedef struct ztClassInfo {
  ztClass *klass;       /**< the class */
  const char *name;     /**< its name */
  ztClass *parent;      /**< its parent; NULL for ztBaseClass */
  uint32_t version;     /**< its version */
  int32_t instanceSize; /**< bytes of one instance */
  int32_t isDescribed;  /**< 0 for a class that was compiled with headers of a version that kept no texts:
                                        only what it inherits from described classes is listed */
  int32_t methodCount;  /**< the number of methods */
  const ztMethodInfo
      *methods;              /**< own and inherited, in slot order. A slot that such a class added between two
                                        described ones has no name; nor have those of a class that
                                        declares something else than one pointer for each */
  int32_t fieldCount;        /**< the number of fields */
  const ztFieldInfo *fields; /**< own and inherited, in the order of their offsets */
  int32_t functionCount;     /**< the number of class functions */
  const ztFunctionInfo *functions; /**< in slot order */
} ztClassInfo;

/** Describes a class of the library or of a host.
 *  @param klass  the class. It must be in use: registered, or an object of it was made
 *  @return what it is; the caller releases it with ztOOP_freeClassInfo(). It stays valid when the class goes, but the
 *          descriptors in it do not. NULL when memory is exhausted and, with a line in the log, for NULL and for a
 *          class that is not in use: not yet, or no longer because its code was unloaded */
ZT_API ztClassInfo *ztOOP_classInfo(ztClass *klass);

/** Releases a description; NULL is allowed. */
ZT_API void ztOOP_freeClassInfo(ztClassInfo *info);

ZT_END_C

#endif
