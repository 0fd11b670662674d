/**
 * @file ztproptype.h
 * Property types: classes whose operations know how to read, write, allocate and free one kind of
 * value. A property type is never instantiated for use; its operations take its class descriptor where
 * others take an object.
 */
#ifndef ZT_OBJECTS_ZTPROPTYPE_H
#define ZT_OBJECTS_ZTPROPTYPE_H

#include "core/ztbasec.h"

ZT_BEGIN_C

/** A value of any property type in one word: the value itself for the integer, character, boolean and
 *  pointer kinds (smaller ones sign-extended), the bit pattern for a double. */
typedef intptr_t ztWord;

/**
 * How a static property reads its value from the object. Use the member of the property's kind:
 * `(ztGetter){.getInt = function}`, or `{NULL}` for none. The forms that end in `Of` receive the
 * property (a ztProperty) too, for one function that serves several properties.
 */
typedef union ztGetter {
  int32_t (*getInt)(const void *object);                              /**< "ztInt" and "ztBool" */
  signed char (*getChar)(const void *object);                         /**< "ztChar" */
  double (*getFloat)(const void *object);                             /**< "ztFloat" */
  void *(*getPointer)(const void *object);                            /**< "ztVoidPtr", "ztString" */
  const char *(*getText)(const void *object);                         /**< "ztCharPtr" */
  int32_t (*getIntOf)(const void *object, const void *property);      /**< see getInt */
  signed char (*getCharOf)(const void *object, const void *property); /**< see getChar */
  double (*getFloatOf)(const void *object, const void *property);     /**< see getFloat */
  void *(*getPointerOf)(const void *object, const void *property);    /**< see getPointer */
} ztGetter;

/** How a static property writes a value into the object; as ztGetter. */
typedef union ztSetter {
  void (*setInt)(void *object, int32_t value);          /**< "ztInt", "ztBool", "ztChar" */
  void (*setFloat)(void *object, double value);         /**< "ztFloat" */
  void (*setPointer)(void *object, void *value);        /**< "ztVoidPtr" */
  char *(*setText)(void *object, const char *text);     /**< "ztCharPtr"; the result is ignored */
  void (*setString)(void *object, void *const *string); /**< "ztString": the address of the word that
                                                              holds the ztString */
} ztSetter;

/** @return the word that holds a double, for the value of a "ztFloat" property */
static inline ztWord ztWordOfDouble(double value) {
  union {
    double value;
    ztWord word;
  } bits;
  bits.value = value;
  return bits.word;
}

ZT_END_C

/** ztPropertyType adds no fields. */
#define ztPropertyType_FIELDS ztBaseClass_FIELDS

/**
 * The operations of a property type, in slot order. `property` is a ztProperty, `object` the ztObject
 * that it belongs to.
 *
 *  - `getValue`: the property's value, by its getter or from its storage. Stored in @c out, as wide as
 *    the kind, unless that is NULL, and returned as a word. Without getter and storage @c out stays as
 *    it is and the result is 0.
 *  - `setValue`: takes the value from the word at @c word, hands it to the setter or stores it, and
 *    notifies the slots of the object's signal "prop->signalname", whatever signal name the property
 *    was declared with. The value as a word.
 *  - `allocDynamicProperty`: gives the property storage of its own that holds a copy of the value at
 *    @c initial (a ztString for "ztString"; zero or the empty text for NULL). The storage, owned by
 *    the property, or NULL.
 *  - `freeDynamicProperty`: releases that storage.
 *  - `getType`: the name of the kind.
 *
 * The first two are abstract in ztPropertyType, the others empty.
 */
#define ztPropertyType_METHODS                                                                   \
  ztBaseClass_METHODS                                                                            \
  ztWord (*getValue)(ztClass * type, const void *property, void *object, void *out);    /* 16 */ \
  ztWord (*setValue)(ztClass * type, void *property, void *object, const ztWord *word); /* 17 */ \
  void *(*allocDynamicProperty)(ztClass * type, void *property, const void *initial);   /* 18 */ \
  void (*freeDynamicProperty)(ztClass * type, void *property);                          /* 19 */ \
  const char *(*getType)(ztClass * type);                                               /* 20 */

/** The abstract property type. */
ZT_DECLARE_CLASS(ztPropertyType)

#define ztIntPropertyType_FIELDS ztPropertyType_FIELDS
#define ztIntPropertyType_METHODS ztPropertyType_METHODS
/** Declared with "ztInt": a signed 32-bit integer. */
ZT_DECLARE_CLASS(ztIntPropertyType)

#define ztCharPropertyType_FIELDS ztPropertyType_FIELDS
#define ztCharPropertyType_METHODS ztPropertyType_METHODS
/** Declared with "ztChar": one signed character. */
ZT_DECLARE_CLASS(ztCharPropertyType)

#define ztCharPtrPropertyType_FIELDS ztPropertyType_FIELDS
#define ztCharPtrPropertyType_METHODS ztPropertyType_METHODS
/** Declared with "ztCharPtr", called "ztChar*": a pointer to characters, which are not copied. */
ZT_DECLARE_CLASS(ztCharPtrPropertyType)

#define ztBoolPropertyType_FIELDS ztPropertyType_FIELDS
#define ztBoolPropertyType_METHODS ztPropertyType_METHODS
/** Declared with "ztBool": a 32-bit boolean. */
ZT_DECLARE_CLASS(ztBoolPropertyType)

#define ztFloatPropertyType_FIELDS ztPropertyType_FIELDS
#define ztFloatPropertyType_METHODS ztPropertyType_METHODS
/** Declared with "ztFloat": a double. */
ZT_DECLARE_CLASS(ztFloatPropertyType)

#define ztVoidPtrPropertyType_FIELDS ztPropertyType_FIELDS
#define ztVoidPtrPropertyType_METHODS ztPropertyType_METHODS
/** Declared with "ztVoidPtr", called "ztVoid*": a pointer, which is not followed. */
ZT_DECLARE_CLASS(ztVoidPtrPropertyType)

#define ztStringPropertyType_FIELDS ztPropertyType_FIELDS
#define ztStringPropertyType_METHODS ztPropertyType_METHODS
/** Declared with "ztString": a ztString. Storage is a string of the property's own; `getValue` gives
 *  that string itself, `setValue` assigns to it from the ztString that the word holds. */
ZT_DECLARE_CLASS(ztStringPropertyType)

#endif
