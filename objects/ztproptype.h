/**
 * @file ztproptype.h
 * Property types: classes whose operations read, write, allocate and free one kind of value. No objects of a
 * property type are used; its operations take its class descriptor in place of an object.
 */
#ifndef ZT_OBJECTS_ZTPROPTYPE_H
#define ZT_OBJECTS_ZTPROPTYPE_H

#include "core/ztbasec.h"

ZT_BEGIN_C

/** A value of any property type in one word: the value itself for the integer, character, boolean and pointer
 *  kinds (smaller ones sign-extended), the bit pattern for a double. */
typedef intptr_t ztWord;

/** The function that reads a static property's value from the object. Use the member of the property's kind:
 *  `ZT_GETTER(getInt, function)`, or `{NULL}` for none. The forms that end in `Of` also receive the property
 *  (a ztProperty), so that one function can serve several properties. */
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

/** The function that writes a static property's value into the object; see ztGetter. */
typedef union ztSetter {
  void (*setInt)(void *object, int32_t value);          /**< "ztInt", "ztBool", "ztChar" */
  void (*setFloat)(void *object, double value);         /**< "ztFloat" */
  void (*setPointer)(void *object, void *value);        /**< "ztVoidPtr" */
  char *(*setText)(void *object, const char *text);     /**< "ztCharPtr"; the result is ignored */
  void (*setString)(void *object, void *const *string); /**< "ztString": the address of the word that
                                                              holds the ztString */
} ztSetter;

#ifdef __cplusplus
#define ZT_GETTER(member, function) \
  ztGetter {                        \
    .member = (function)            \
  }
#define ZT_SETTER(member, function) \
  ztSetter {                        \
    .member = (function)            \
  }
#else
/** The ztGetter of a function: `ZT_GETTER(getInt, gaugeLevel)`. A function that is not of the member's type is a
 *  compile-time error or, in C, a warning. */
#define ZT_GETTER(member, function) ((ztGetter){.member = (function)})
/** The ztSetter of a function: `ZT_SETTER(setInt, gaugeSetLevel)`; see ZT_GETTER(). */
#define ZT_SETTER(member, function) ((ztSetter){.member = (function)})
#endif

/** @return the word that holds a double, for a "ztFloat" property */
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
 * The operations of a property type, in slot order. `property` is a ztProperty, `object` its ztObject.
 *
 *  - `getValue`: reads the property's value by its getter or from its storage, stores it in @c out, as wide as
 *    the kind, unless that is NULL, and returns it as a word. Without getter and storage returns 0 and leaves
 *    @c out.
 *  - `setValue`: passes the value in the word at @c word to the setter or stores it, and notifies the slots of
 *    the object's signal "prop->signalname", whatever signal name was declared. Returns the value as a word.
 *  - `allocDynamicProperty`: allocates the property's own storage with a copy of the value at @c initial (a
 *    ztString for "ztString"; zero or the empty text for NULL). Returns the property's storage, or NULL.
 *  - `freeDynamicProperty`: frees that storage.
 *  - `getType`: the name of the kind.
 *
 * The first two are abstract in ztPropertyType, the others empty.
 */
#define ztPropertyType_METHODS                                                                             \
  ztBaseClass_METHODS                                                                                      \
  ztWord (*getValue)(ztClass * type, const ztBorrowed *property, ztBorrowed *object, ztOut *out); /* 16 */ \
  ztWord (*setValue)(ztClass * type, ztBorrowed * property, ztBorrowed * object,                           \
                     const ztWord *word); /* 17 */                                                         \
  ztBorrowed *(*allocDynamicProperty)(ztClass * type, ztBorrowed * property,                               \
                                      const ztBorrowed *initial);     /* 18 */                             \
  void (*freeDynamicProperty)(ztClass * type, ztBorrowed * property); /* 19 */                             \
  const ztBorrowedText *(*getType)(ztClass * type);                   /* 20 */

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
/** Declared with "ztString": a ztString. The property owns a string as its storage; `getValue` returns that
 *  string, `setValue` assigns the ztString in the word to it. */
ZT_DECLARE_CLASS(ztStringPropertyType)

#endif
