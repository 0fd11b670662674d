/**
 * @file ztproperty.h
 * ztProperty, a named and typed value of an object, and the containers of properties.
 */
#ifndef ZT_OBJECTS_ZTPROPERTY_H
#define ZT_OBJECTS_ZTPROPERTY_H

#include "containers/ztarray.h"
#include "containers/ztmap.h"
#include "io/ztstring.h"
#include "objects/ztproptype.h"

/** Fields of ztProperty. A static property is declared once for a class and has a getter and a setter, each of
 *  which may be missing; a dynamic one belongs to one object and has storage. */
#define ztProperty_FIELDS                                                                       \
  ztBaseClass_FIELDS                                                                            \
  int32_t index;            /* order of creation within its owner */                            \
  ztString *name;           /* owned */                                                         \
  ztClass *type;            /* the property type */                                             \
  ztGetter getter;          /* may be NULL */                                                   \
  ztSetter setter;          /* may be NULL */                                                   \
  void *userWord;           /* of the host; copied with the property */                         \
  ztString *signalName;     /* as declared; owned */                                            \
  char ownerClassName[104]; /* the class that declared or created it, cut to 103 characters */  \
  void *valuePointer;       /* storage of a dynamic property; owned while valueSize is not 0 */ \
  uint32_t valueSize;       /* 0 for a static property */

/**
 * The methods of a property, in slot order.
 *
 *  - `setValue`: writes the value in the word through the property's type, which notifies the object's slots.
 *    ztWordOfDouble() makes the word of a "ztFloat"; that of a "ztString" is the address of a ztString. Always
 *    1.
 *  - `getValue`: reads the value into @c out, which is as wide as the kind. Always 1.
 *  - `getType`: the name of the type.
 *  - `isDynamic`: 1 when the property has storage of its own, else 0.
 */
#define ztProperty_METHODS                                                            \
  ztBaseClass_METHODS                                                                 \
  int32_t (*setValue)(void *property, ztBorrowed *object, ztWord value);     /* 16 */ \
  int32_t (*getValue)(const void *property, ztBorrowed *object, ztOut *out); /* 17 */ \
  const ztBorrowedText *(*getType)(const void *property);                    /* 18 */ \
  int32_t (*isDynamic)(const void *property);                                /* 19 */

/**
 * The class functions of ztProperty, from class slot 10 on.
 *
 *  - `registerNewType(NULL, typeClassName)`: makes a registered property type, for example
 *    "ztBoolPropertyType", known to declarations. 1 when the name was unknown before; 0 otherwise, for NULL and
 *    when memory is exhausted. The result does not tell whether the name is known now: a class that is not
 *    registered, or is no ztPropertyType, stays unknown. Ask `getPropertyTypeClass`.
 *  - `getPropertyTypeClass(NULL, typeClassName)`: the property type known under that name, or NULL.
 *
 * A host registers a type before it declares or sets properties of it. "ztIntPropertyType" and, with ztRoot,
 * "ztCharPtrPropertyType" are registered by the library.
 */
#define ztProperty_FUNCTIONS                                                            \
  int32_t (*registerNewType)(const void *ignored, const ztBorrowedText *typeClassName); \
  ztClass *(*getPropertyTypeClass)(const void *ignored, const ztBorrowedText *typeClassName);

/** A property. */
ZT_DECLARE_CLASS(ztProperty)
ZT_DECLARE_CLASS_FUNCTIONS(ztProperty)

#define ztPropertyMap_FIELDS ztMap_FIELDS
#define ztPropertyMap_METHODS ztMap_METHODS
/** A map from names (ztString) to properties (ztProperty); keeps copies of both. */
ZT_DECLARE_CLASS(ztPropertyMap)

#define ztPropertyPtrArray_FIELDS ztArray_FIELDS
#define ztPropertyPtrArray_METHODS ztArray_METHODS
/** An array of pointers to properties; it neither copies nor owns them. */
ZT_DECLARE_CLASS(ztPropertyPtrArray)

#define ztPropertyTypeMap_FIELDS ztMap_FIELDS
#define ztPropertyTypeMap_METHODS ztMap_METHODS
/** A map from names (ztString) to class descriptors of property types. */
ZT_DECLARE_CLASS(ztPropertyTypeMap)

ZT_BEGIN_C

/** Compares two keys of a ztPropertyMap, ztString objects. @return 0, 1 or -1 */
ZT_API int32_t ztPropertyMap_compare_func(const void *first, const void *second);
/** The same for the elements themselves. */
ZT_API int32_t ztPropertyMap_compare_func_ptr(const void *first, const void *second);

/** Compares the pointers stored at two addresses. @return 0, 1 or -1 */
ZT_API int32_t ztPropertyPtrArray_compare_func(const void *first, const void *second);
/** Compares two pointers. @return 0, 1 or -1 */
ZT_API int32_t ztPropertyPtrArray_compare_func_ptr(const void *first, const void *second);

/** Compares two keys of a ztPropertyTypeMap, ztString objects. @return 0, 1 or -1 */
ZT_API int32_t ztPropertyTypeMap_key_compare_func(const void *first, const void *second);
/** The same for the elements themselves. */
ZT_API int32_t ztPropertyTypeMap_key_compare_func_ptr(const void *first, const void *second);

/** Compares the descriptor pointers stored at two addresses. @return 0, 1 or -1 */
ZT_API int32_t ztPropertyTypeMap_value_compare_func(const void *first, const void *second);
/** Compares two descriptor pointers. @return 0, 1 or -1 */
ZT_API int32_t ztPropertyTypeMap_value_compare_func_ptr(const void *first, const void *second);

ZT_END_C

#endif
