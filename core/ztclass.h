/**
 * @file ztclass.h
 * How a class is declared and defined, and what all classes have in common.
 *
 * A class has two parts. Its header lists the instance fields and the methods, each list beginning with the
 * parent's, and declares the class:
 *
 * @code
 * #define Station_FIELDS ztBaseClass_FIELDS  double height;
 * #define Station_METHODS ztBaseClass_METHODS  double (*describe)(const void *station);
 * ZT_DECLARE_CLASS(Station)
 * @endcode
 *
 * Its source has the operations as ordinary functions, puts them into the method table and defines the class:
 *
 * @code
 * static int32_t stationCreate(void *object) {
 *   if (!ztBaseClass_table()->create(object)) return 0;     // the parent's version
 *   ((Station *)object)->height = 0;
 *   return 1;
 * }
 * static void stationMethods(StationMethods *methods) {
 *   ZT_OVERRIDE_METHOD(methods, create, stationCreate);
 * }
 * ZT_DEFINE_CLASS(Station, ztBaseClass, stationMethods)
 * @endcode
 *
 * Make objects with `Station_ctor(NULL, 1)` or `ztNewFromName("Station")`, and call their methods with
 * `Station_of(object)->describe(object)`.
 */
#ifndef ZT_CORE_ZTCLASS_H
#define ZT_CORE_ZTCLASS_H

#include "core/ztoop.h"

ZT_BEGIN_C

/* Class functions ---------------------------------------------------------------------------- */

/**
 * The ten entries that every class-function table begins with, in slot order.
 *
 *  - `newop`: an object on the heap whose `create` has not run.
 *  - `ctor`: makes an object, as `C_ctor` does.
 *  - `InitTable`: writes the methods of the class into the table of the object's class.
 *  - `allocator`: set by hosts only; `CAllocator` returns it; not owned.
 *  - `Version`, `ClassName`: of the object's own class.
 *  - `IsClass`: 1 when the object's own class has the name, else 0. `IsClassOf`: also checks its ancestors.
 *  - `classInit`: called once, when the descriptor is filled; may be NULL.
 *  - `classDestroy`: called once, when the registry frees the class; may be NULL.
 */
#define ztClass_FUNCTIONS                                                                          \
  ztOwned *(*newop)(void);                                                                         \
  ztCtor ctor;                                                                                     \
  void (*InitTable)(void *object);                                                                 \
  void *allocator;                                                                                 \
  uint32_t (*Version)(const void *ignored, const ztBorrowed *object);                              \
  const ztBorrowedText *(*ClassName)(const void *ignored, const ztBorrowed *object);               \
  int32_t (*IsClass)(const void *ignored, const ztBorrowed *object, const ztBorrowedText *name);   \
  int32_t (*IsClassOf)(const void *ignored, const ztBorrowed *object, const ztBorrowedText *name); \
  void (*classInit)(ztClass * klass);                                                              \
  ztClassDestroyHook classDestroy;

/** The class-function table of a class that adds no class functions. */
typedef struct ZT_MAY_ALIAS ztClassFunctions {
  ztClass_FUNCTIONS
} ztClassFunctions;

/** The state of a class that is not in its descriptor. Private. */
typedef struct ztClassState {
  int32_t filling;           /**< 1 while the descriptor is being filled or the class registered */
  int32_t registrationTried; /**< 1 once an object of its own had the class registered; read without
                                  a lock, and so written when all the rest is in place */
  const struct ztClassDescription *next; /**< the class that was filled before this one; from form 1 on */
} ztClassState;

/** The description of a class for the engine; made by ZT_DEFINE_CLASS. Later versions of the library add members
 *  at the end, and a form that has them. */
typedef struct ztClassDescription {
  ztClass *klass;                         /**< the descriptor, with its two table pointers set */
  ztClassState *state;                    /**< beside the descriptor */
  ztClass *(*parent)(void);               /**< the parent's Class_Instance; ztBaseClass names itself */
  void (*parentInitTable)(void *object);  /**< the parent's InitTable */
  const char *const *name;                /**< C_classname_ */
  const uint32_t *version;                /**< C_version_ */
  int32_t instanceSize;                   /**< bytes of one instance */
  uint16_t slotCount;                     /**< slots of the method table */
  uint16_t form;                          /**< 0 without the texts, 1 with them */
  void (*fillMethods)(void *methods);     /**< writes the class's own methods into a table */
  void (*fillFunctions)(void *functions); /**< writes class slots 8 and up */
  ztClassFunctions functions;             /**< class slots 0 to 7 */
  const char *fieldsText;                 /**< the fields that the class adds, as its header declares them */
  const char *methodsText;                /**< the methods that it adds */
  const char *functionsText;              /**< its class functions from slot 8 on; the list's name for none */
} ztClassDescription;

/* The protocol, shared by the classes of the library and of hosts ------------------------------ */

/**
 * Makes an object: the body of every `C_ctor`, and of `C_newop` with NULL and 0.
 *
 * The first object of a class fills the class's tables and registers it.
 * @param description  the class
 * @param object       memory of at least the instance size, or NULL to allocate it
 * @param create       not 0: runs the object's `create` and ignores its result
 * @return the object; NULL when memory is exhausted
 */
ZT_API void *ztOOP_construct(const ztClassDescription *description, void *object, int32_t create);

/** The body of every `C_InitTable`: writes the methods of a class and its ancestors into the table of the
 *  object's class, and fills each descriptor on its first use.
 *  @param description  the class
 *  @param object       its class must be the described one or a descendant */
ZT_API void ztOOP_initTable(const ztClassDescription *description, void *object);

/**
 * Removes a class and its descendants from the registry, and releases their properties and their property
 * types. ZT_DEFINE_CLASS calls it when the defining shared library is unloaded. The hooks run as with
 * ztFreeClass(). Classes of the program itself stay until ztOOP_CleanUp(): its code is never unloaded.
 *
 * Objects of the class must be destroyed before; remaining ones can no longer be used.
 */
ZT_API void ztOOP_leaveRegistry(const ztClassDescription *description);

/** @return the version of the object's own class; 0 for NULL */
ZT_API uint32_t ztOOP_versionOf(const void *object);
/** @return the name of the object's own class; NULL for NULL */
ZT_API const char *ztOOP_classNameOf(const void *object);
/** @return the allocator that a host put into class slot 3 of the object's class, or NULL */
ZT_API void *ztOOP_allocatorOf(const void *object);
/** @return 1 when the object's own class has exactly this name */
ZT_API int32_t ztOOP_isClass(const void *object, const char *name);
/** @return 1 when the object's class or one of its ancestors has exactly this name */
ZT_API int32_t ztOOP_isClassOf(const void *object, const char *name);
/** @return 1 when the class itself or one of its ancestors has exactly this name */
ZT_API int32_t ztOOP_isClassOfClass(const ztClass *klass, const char *name);
/**
 * Makes a class known by its name before its first object.
 * @param description  the class. What ZT_DEFINE_CLASS defines is private to its source file: see ZT_REGISTER_CLASS()
 * @return 1, also when it was known; 0 when memory is exhausted, and, with a line in the log, for NULL and when the
 *         name belongs to another class
 */
ZT_API int32_t ztOOP_registerClass(const ztClassDescription *description);
/** As ztOOP_registerClass(), for the class of the objects that @p ctor makes. */
ZT_API int32_t ztOOP_registerClassOf(ztCtor ctor);

/** @return the object, if it is of the class or a descendant; NULL, with a line in the log, for NULL and for an
 *          object of another class */
ZT_API void *ztOOP_cast(const void *object, const ztClass *klass);
/** The most method slots of a class whose calls ZT_CHECKED checks. */
#define ZT_CHECKED_SLOTS 1024
/** @return the method table of an object that is of the class or a descendant. For NULL and for an object of
 *          another class, with a line in the log, a table of ZT_CHECKED_SLOTS functions that do nothing and return 0 or
 *          NULL */
ZT_API const void *ztOOP_checkedTable(const void *object, const ztClass *klass);
/** Writes ztOOP_ztVirtualFuncHandler() into a method slot, given by its address. */
ZT_API void ztOOP_setAbstract(void *slot);

/** @return the class of an object that is not NULL */
static inline ztClass *ztOOP_classOf(const void *object) {
  typedef ztClass *ZT_MAY_ALIAS Header;
  return *(const Header *)object;
}

/** Writes no class functions; for classes with a standard class table. */
static inline void ztOOP_noFunctions(ztClassFunctions *functions) {
  (void)functions;
}

ZT_END_C

/* Declaring a class ---------------------------------------------------------------------------- */

#ifdef __cplusplus
/** What C++ templates know of a class: its method table and its functions. */
template <typename Table, ztClass *(*instance)(void), void *(*construct)(void *, int32_t),
          void (*fill)(void *)>
struct ztClassTraits {
  typedef Table Methods; /**< CMethods */
  /** @return the descriptor */
  static ztClass *klass() {
    return instance();
  }
  /** C_ctor() */
  static void *ctor(void *object, int32_t create) {
    return construct(object, create);
  }
  /** CInitTable() */
  static void initTable(void *object) {
    fill(object);
  }
};
/** Declares a function, never defined, whose result are the traits of class C. */
#define ZT_DECLARE_TRAITS(C) \
  extern "C++" ztClassTraits<C##Methods, C##Class_Instance, C##_ctor, C##InitTable> ztTraitsOf(const C *);
#else
/** Nothing in C. */
#define ZT_DECLARE_TRAITS(C)
#endif

#ifdef ZT_CHECKED
/** The method table of an object that should be of class C. */
#define ZT_TABLE_OF(C, object) ztOOP_checkedTable(object, C##Class_Instance())
/** A compile-time error for a class with more slots than are checked. */
#define ZT_CHECK_SLOTS(C)                                                   \
  ZT_STATIC_ASSERT(sizeof(C##Methods) <= ZT_CHECKED_SLOTS * sizeof(void *), \
                   "class " #C " has more method slots than ZT_CHECKED checks");
#else
/** The method table of an object of class C. */
#define ZT_TABLE_OF(C, object) ztOOP_classOf(object)->methodTable
/** Nothing where calls are not checked. */
#define ZT_CHECK_SLOTS(C)
#endif

#ifdef ZT_NO_SHORT_NAMES
#define ZT_SHORT_NAMES(C)
#else
/** The functions with the shortest names of a class; see ZT_DECLARE_CLASS(). */
#define ZT_SHORT_NAMES(C)                                         \
  static inline ZT_MAYBE_UNUSED C *C##_new(void) {                \
    return (C *)C##_ctor(NULL, 1);                                \
  }                                                               \
  static inline ZT_MAYBE_UNUSED C *C##_cast(const void *object) { \
    return (C *)ztOOP_cast(object, C##Class_Instance());          \
  }
#endif

/**
 * Declares class C from the lists `C_FIELDS` and `C_METHODS`: the instance struct `C`, the method table
 * `CMethods`, the functions of every class, and
 *  - `C_new()`, a new object, which the caller releases with `unRef`; NULL when memory is exhausted;
 *  - `C_cast(object)`, the object as a C; NULL, with a line in the log, if it is none or NULL;
 *  - `C_of(object)`, the method table of the object's own class, for calls;
 *  - `C_table()`, the method table of C itself, for calls of C's version from a subclass.
 *
 * A program that defines ZT_NO_SHORT_NAMES has functions of its own under the first two names. With ZT_CHECKED
 * defined, `C_of` checks its object: calls for NULL and for an object of another class do nothing, with a line in
 * the log.
 */
#define ZT_DECLARE_CLASS(C)                                                               \
  ZT_BEGIN_C                                                                              \
  typedef struct ZT_MAY_ALIAS C {                                                         \
    C##_FIELDS                                                                            \
  } C;                                                                                    \
  typedef struct ZT_MAY_ALIAS C##Methods {                                                \
    C##_METHODS                                                                           \
  } C##Methods;                                                                           \
  extern ZT_API const uint32_t C##_version_;                                              \
  extern ZT_API const char *const C##_classname_;                                         \
  ZT_API ztClass *C##Class_Instance(void);                                                \
  ZT_API uint32_t C##Version(const void *ignored, const void *object);                    \
  ZT_API const char *C##ClassName(const void *ignored, const void *object);               \
  ZT_API void *C##Allocator(const void *object);                                          \
  ZT_API int32_t C##IsClass(const void *ignored, const void *object, const char *name);   \
  ZT_API int32_t C##IsClassOf(const void *ignored, const void *object, const char *name); \
  ZT_API void C##InitTable(void *object);                                                 \
  ZT_API void *C##_ctor(void *object, int32_t create);                                    \
  ZT_API void *C##_newop(void);                                                           \
  static inline ZT_MAYBE_UNUSED const C##Methods *C##_of(const void *object) {            \
    return (const C##Methods *)ZT_TABLE_OF(C, object);                                    \
  }                                                                                       \
  static inline ZT_MAYBE_UNUSED const C##Methods *C##_table(void) {                       \
    return (const C##Methods *)C##Class_Instance()->methodTable;                          \
  }                                                                                       \
  ZT_CHECK_SLOTS(C)                                                                       \
  ZT_SHORT_NAMES(C)                                                                       \
  ZT_DECLARE_TRAITS(C)                                                                    \
  ZT_END_C

/** Makes class C known by its name before its first object: a statement in `main`, or in the constructor function
 *  of a plugin. Its value is that of ztOOP_registerClass(). */
#define ZT_REGISTER_CLASS(C) ztOOP_registerClassOf(C##_ctor)

/** Declares, after ZT_DECLARE_CLASS(C), the class-function table `CFunctions` of a class that lists class
 *  functions in `C_FUNCTIONS`, and `C_functions()`, which returns it. */
#define ZT_DECLARE_CLASS_FUNCTIONS(C)                                     \
  ZT_BEGIN_C                                                              \
  typedef struct ZT_MAY_ALIAS C##Functions {                              \
    ztClass_FUNCTIONS                                                     \
    C##_FUNCTIONS                                                         \
  } C##Functions;                                                         \
  static inline ZT_MAYBE_UNUSED const C##Functions *C##_functions(void) { \
    return (const C##Functions *)C##Class_Instance()->classTable;         \
  }                                                                       \
  ZT_END_C

/* Defining a class ----------------------------------------------------------------------------- */

/** The text of a list after macro expansion. */
#define ZT_TEXT_OF(...) ZT_TEXT_OF_(__VA_ARGS__)
/** The second step of ZT_TEXT_OF(). */
#define ZT_TEXT_OF_(...) #__VA_ARGS__

#ifdef __cplusplus
#define ZT_STATIC_ASSERT(condition, message) static_assert(condition, message)
#else
/** A compile-time assertion, in C and in C++. */
#define ZT_STATIC_ASSERT(condition, message) _Static_assert(condition, message)
#endif

/** A compile-time error where a list of a class does not begin with its parent's: the parent's operations would
 *  use other fields, and calls would run other methods. */
#define ZT_BEGINS_WITH(List, ParentList, message)                                            \
  ZT_STATIC_ASSERT(__extension__(__builtin_strncmp(ZT_TEXT_OF(List), ZT_TEXT_OF(ParentList), \
                                                   sizeof ZT_TEXT_OF(ParentList) - 1) == 0), \
                   message)

#if defined __cplusplus && __cplusplus >= 201402L
/** The end of a text that is known to the compiler, which leaves out the rest. */
template <unsigned long length>
struct ztTextEnd {
  /** Copies the text and its zero. */
  constexpr explicit ztTextEnd(const char *from) : text() {
    for (unsigned long i = 0; i < length; ++i) text[i] = from[i];
  }
  char text[length]; /**< the copy */
};
/** Defines what a list adds to the parent's, as text. */
#define ZT_DEFINE_OWN_TEXT(name, List, ParentList)                                              \
  static constexpr ztTextEnd<sizeof ZT_TEXT_OF(List) - sizeof ZT_TEXT_OF(ParentList) + 1> name( \
      &ZT_TEXT_OF(List)[sizeof ZT_TEXT_OF(ParentList) - 1]);
/** The text that ZT_DEFINE_OWN_TEXT() defined. */
#define ZT_OWN_TEXT(name, List, ParentList) name.text
#else
/** Nothing: ZT_OWN_TEXT() needs no definition. */
#define ZT_DEFINE_OWN_TEXT(name, List, ParentList)
/** What a list adds to the parent's, as text. */
#define ZT_OWN_TEXT(name, List, ParentList) __extension__ &ZT_TEXT_OF(List)[sizeof ZT_TEXT_OF(ParentList) - 1]
#endif

/* The library's own classes are released with the library. */
#ifdef ZT_BUILDING_LIBRARY
#define ZT_LEAVE_WITH_CODE(C)
#else
/** Removes a class from the registry when the code that defines it is unloaded: after the other destructors of
 *  that code, which may still release objects of the class. */
#define ZT_LEAVE_WITH_CODE(C)                                         \
  __attribute__((destructor(101))) static void C##Class_leave(void) { \
    ztOOP_leaveRegistry(&C##Class_Description);                       \
  }
#endif

/** Defines class C with version 1 and no added class functions.
 *  @param C            the class, declared with ZT_DECLARE_CLASS
 *  @param Parent       its parent class; a compile-time error unless the lists of C begin with the parent's
 *  @param methodsFill  `void methodsFill(CMethods *methods)`: writes the methods that C adds or overrides, with
 *                      ZT_OVERRIDE_METHOD and ZT_ABSTRACT_METHOD */
#define ZT_DEFINE_CLASS(C, Parent, methodsFill) \
  ZT_DEFINE_CLASS_FULL(C, Parent, methodsFill, 1, ztClassFunctions, ztOOP_noFunctions)

/** Defines class C with every option.
 *  @param C              as in ZT_DEFINE_CLASS
 *  @param Parent         as in ZT_DEFINE_CLASS
 *  @param methodsFill    as in ZT_DEFINE_CLASS
 *  @param classVersion   the version that is stored with objects of the class
 *  @param Functions      the struct of its class-function table: ztClassFunctions, or `CFunctions` after
 *                        ZT_DECLARE_CLASS_FUNCTIONS(C)
 *  @param functionsFill  `void functionsFill(Functions *functions)`: writes class slots 8 and up */
#define ZT_DEFINE_CLASS_FULL(C, Parent, methodsFill, classVersion, Functions, functionsFill)              \
  ZT_BEGINS_WITH(C##_FIELDS, Parent##_FIELDS, #C "_FIELDS must begin with " #Parent "_FIELDS");           \
  ZT_BEGINS_WITH(C##_METHODS, Parent##_METHODS, #C "_METHODS must begin with " #Parent "_METHODS");       \
  const uint32_t C##_version_ = (classVersion);                                                           \
  const char *const C##_classname_ = #C;                                                                  \
  static C##Methods C##Class_VTable;                                                                      \
  static Functions C##Class_CTable;                                                                       \
  static ztClass C##Class_Inst = {NULL, 0, 0, NULL, 0, 0, &C##Class_CTable, &C##Class_VTable};            \
  static ztClassState C##Class_State;                                                                     \
  static void C##Class_fillMethods(void *C##Class_table) {                                                \
    ((C##Methods *)C##Class_table)->Allocator = C##Allocator;                                             \
    methodsFill((C##Methods *)C##Class_table);                                                            \
  }                                                                                                       \
  static void C##Class_fillFunctions(void *C##Class_table) {                                              \
    functionsFill((Functions *)C##Class_table);                                                           \
  }                                                                                                       \
  ZT_DEFINE_OWN_TEXT(C##Class_fieldsText, C##_FIELDS, Parent##_FIELDS)                                    \
  ZT_DEFINE_OWN_TEXT(C##Class_methodsText, C##_METHODS, Parent##_METHODS)                                 \
  static const ztClassDescription C##Class_Description = {                                                \
      &C##Class_Inst,                                                                                     \
      &C##Class_State,                                                                                    \
      Parent##Class_Instance,                                                                             \
      Parent##InitTable,                                                                                  \
      &C##_classname_,                                                                                    \
      &C##_version_,                                                                                      \
      (int32_t)sizeof(C),                                                                                 \
      (uint16_t)(sizeof(C##Methods) / sizeof(void *)),                                                    \
      1,                                                                                                  \
      C##Class_fillMethods,                                                                               \
      C##Class_fillFunctions,                                                                             \
      {C##_newop, C##_ctor, C##InitTable, NULL, C##Version, C##ClassName, C##IsClass, C##IsClassOf, NULL, \
       NULL},                                                                                             \
      ZT_OWN_TEXT(C##Class_fieldsText, C##_FIELDS, Parent##_FIELDS),                                      \
      ZT_OWN_TEXT(C##Class_methodsText, C##_METHODS, Parent##_METHODS),                                   \
      ZT_TEXT_OF(C##_FUNCTIONS)};                                                                         \
  ZT_LEAVE_WITH_CODE(C)                                                                                   \
  ztClass *C##Class_Instance(void) {                                                                      \
    return &C##Class_Inst;                                                                                \
  }                                                                                                       \
  uint32_t C##Version(const void *ignored, const void *object) {                                          \
    (void)ignored;                                                                                        \
    return ztOOP_versionOf(object);                                                                       \
  }                                                                                                       \
  const char *C##ClassName(const void *ignored, const void *object) {                                     \
    (void)ignored;                                                                                        \
    return ztOOP_classNameOf(object);                                                                     \
  }                                                                                                       \
  void *C##Allocator(const void *object) {                                                                \
    return ztOOP_allocatorOf(object);                                                                     \
  }                                                                                                       \
  int32_t C##IsClass(const void *ignored, const void *object, const char *name) {                         \
    (void)ignored;                                                                                        \
    return ztOOP_isClass(object, name);                                                                   \
  }                                                                                                       \
  int32_t C##IsClassOf(const void *ignored, const void *object, const char *name) {                       \
    (void)ignored;                                                                                        \
    return ztOOP_isClassOf(object, name);                                                                 \
  }                                                                                                       \
  void C##InitTable(void *object) {                                                                       \
    ztOOP_initTable(&C##Class_Description, object);                                                       \
  }                                                                                                       \
  void *C##_ctor(void *object, int32_t create) {                                                          \
    return ztOOP_construct(&C##Class_Description, object, create);                                        \
  }                                                                                                       \
  void *C##_newop(void) {                                                                                 \
    return ztOOP_construct(&C##Class_Description, NULL, 0);                                               \
  }

/** Puts a function into a method slot. Another signature is a compile-time error on this line. */
#ifdef __cplusplus
#define ZT_OVERRIDE_METHOD(methods, slot, function) ((methods)->slot = (function))
#else
/* A plain assignment only warns in C. The error of _Generic is reported at its first argument, in the host's
   line. */
#define ZT_OVERRIDE_METHOD(methods, slot, function) \
  ((methods)->slot = _Generic(function, __typeof__((methods)->slot) : function))
#endif

/** Leaves a method to the subclasses: calling it returns the text of ztOOP_ztVirtualFuncHandler(). */
#define ZT_ABSTRACT_METHOD(methods, slot) ztOOP_setAbstract(&(methods)->slot)

/** 1 when the method slot of the object's class C is not NULL; otherwise logs the empty slot and returns 0:
 *  `if (ZT_HAS_METHOD(C, object, slot)) C_of(object)->slot(object);` */
#define ZT_HAS_METHOD(C, object, slot) \
  (C##_of(object)->slot != NULL || ztOOP_HandleNullFuncPtr((object), #slot))

#endif
