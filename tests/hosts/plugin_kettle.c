/*
 * A class as its macros expanded before the library kept the texts of lists: its description is shorter than those
 * of today. Programs that were compiled then load today's library. Not to be compiled anew from the macros.
 */
#include <stddef.h>
#include <stdint.h>

typedef struct ztClass ztClass;
typedef void *(*ztCtor)(void *object, int32_t create);
typedef void (*ztClassDestroyHook)(void *prototype);
struct __attribute__((may_alias)) ztClass {
  ztClass *parent;
  uint32_t version;
  int32_t instanceSize;
  const char *name;
  uint32_t initialised;
  uint32_t spare;
  void *classTable;
  void *methodTable;
};
typedef struct ztClassEntry {
  char name[104];
  ztCtor ctor;
  ztClassDestroyHook classDestroy;
  void *prototype;
  struct ztClassEntry *next;
} ztClassEntry;
__attribute__((visibility("default"))) int32_t ztAddNewClass(void *prototype, const char *name, ztCtor ctor,
                                                             ztClassDestroyHook classDestroy);
__attribute__((visibility("default"))) void *ztNewFromName(const char *name);
__attribute__((visibility("default"))) void ztFreeClass(const char *name);
__attribute__((visibility("default"))) ztClass *ztOOP_findClass(const char *name);
__attribute__((visibility("default"))) int32_t ztOOP_isClassRegistered(const char *name);
__attribute__((visibility("default"))) const ztClassEntry *ztOOP_classList(void);
__attribute__((visibility("default"))) int32_t ztOOP_classCount(void);
__attribute__((visibility("default"))) int32_t ztOOP_Init(const char *baseName);
__attribute__((visibility("default"))) void ztOOP_CleanUp(void);
__attribute__((visibility("default"))) void zt_assert(int32_t condition, const char *message);
__attribute__((visibility("default"))) int32_t ztOOP_HandleNullFuncPtr(const void *object,
                                                                       const char *memberName);
__attribute__((visibility("default"))) void *ztOOP_ztVirtualFuncHandler(const void *object);

typedef struct __attribute__((may_alias)) ztClassFunctions {
  void *(*newop)(void);
  ztCtor ctor;
  void (*InitTable)(void *object);
  void *allocator;
  uint32_t (*Version)(const void *ignored, const void *object);
  const char *(*ClassName)(const void *ignored, const void *object);
  int32_t (*IsClass)(const void *ignored, const void *object, const char *name);
  int32_t (*IsClassOf)(const void *ignored, const void *object, const char *name);
  void (*classInit)(ztClass *klass);
  ztClassDestroyHook classDestroy;
} ztClassFunctions;
typedef struct ztClassState {
  int32_t filling;
  int32_t registrationTried;
} ztClassState;
typedef struct ztClassDescription {
  ztClass *klass;
  ztClassState *state;
  ztClass *(*parent)(void);
  void (*parentInitTable)(void *object);
  const char *const *name;
  const uint32_t *version;
  int32_t instanceSize;
  int32_t slotCount;
  void (*fillMethods)(void *methods);
  void (*fillFunctions)(void *functions);
  ztClassFunctions functions;
} ztClassDescription;
__attribute__((visibility("default"))) void *ztOOP_construct(const ztClassDescription *description,
                                                             void *object, int32_t create);
__attribute__((visibility("default"))) void ztOOP_initTable(const ztClassDescription *description,
                                                            void *object);
__attribute__((visibility("default"))) void ztOOP_leaveRegistry(const ztClassDescription *description);
__attribute__((visibility("default"))) uint32_t ztOOP_versionOf(const void *object);
__attribute__((visibility("default"))) const char *ztOOP_classNameOf(const void *object);
__attribute__((visibility("default"))) void *ztOOP_allocatorOf(const void *object);
__attribute__((visibility("default"))) int32_t ztOOP_isClass(const void *object, const char *name);
__attribute__((visibility("default"))) int32_t ztOOP_isClassOf(const void *object, const char *name);
__attribute__((visibility("default"))) int32_t ztOOP_isClassOfClass(const ztClass *klass, const char *name);
__attribute__((visibility("default"))) void ztOOP_setAbstract(void *slot);
static inline ztClass *ztOOP_classOf(const void *object) {
  typedef ztClass *__attribute__((may_alias)) Header;
  return *(const Header *)object;
}
static inline void ztOOP_noFunctions(ztClassFunctions *functions) {
  (void)functions;
}

typedef struct __attribute__((may_alias)) ztBaseClass {
  ztClass *klass;
  int32_t refCount;
} ztBaseClass;
typedef struct __attribute__((may_alias)) ztBaseClassMethods {
  void *(*Allocator)(const void *object);
  void (*classInstanceCreate)(ztClass *klass);
  void (*classInstanceDestroy)(ztClass *klass);
  void *emptySlot;
  int32_t (*create)(void *object);
  void *(*clone)(const void *object, void *target);
  int32_t (*assign)(void *object, const void *other);
  int32_t (*isEqual)(const void *object, const void *other);
  int32_t (*isLess)(const void *object, const void *other);
  int32_t (*isMajor)(const void *object, const void *other);
  void (*destroy)(void *object);
  int32_t (*read)(void *object, void *file);
  int32_t (*write)(const void *object, void *file);
  void (*ref)(void *object);
  void (*unRef)(void *object);
  int32_t (*getRefCount)(const void *object);
} ztBaseClassMethods;
extern __attribute__((visibility("default"))) const uint32_t ztBaseClass_version_;
extern __attribute__((visibility("default"))) const char *const ztBaseClass_classname_;
__attribute__((visibility("default"))) ztClass *ztBaseClassClass_Instance(void);
__attribute__((visibility("default"))) uint32_t ztBaseClassVersion(const void *ignored, const void *object);
__attribute__((visibility("default"))) const char *ztBaseClassClassName(const void *ignored,
                                                                        const void *object);
__attribute__((visibility("default"))) void *ztBaseClassAllocator(const void *object);
__attribute__((visibility("default"))) int32_t ztBaseClassIsClass(const void *ignored, const void *object,
                                                                  const char *name);
__attribute__((visibility("default"))) int32_t ztBaseClassIsClassOf(const void *ignored, const void *object,
                                                                    const char *name);
__attribute__((visibility("default"))) void ztBaseClassInitTable(void *object);
__attribute__((visibility("default"))) void *ztBaseClass_ctor(void *object, int32_t create);
__attribute__((visibility("default"))) void *ztBaseClass_newop(void);
static inline __attribute__((unused)) const ztBaseClassMethods *ztBaseClass_of(const void *object) {
  return (const ztBaseClassMethods *)ztOOP_classOf(object)->methodTable;
}
static inline __attribute__((unused)) const ztBaseClassMethods *ztBaseClass_table(void) {
  return (const ztBaseClassMethods *)ztBaseClassClass_Instance()->methodTable;
}
typedef struct __attribute__((may_alias)) ztBaseClassFunctions {
  void *(*newop)(void);
  ztCtor ctor;
  void (*InitTable)(void *object);
  void *allocator;
  uint32_t (*Version)(const void *ignored, const void *object);
  const char *(*ClassName)(const void *ignored, const void *object);
  int32_t (*IsClass)(const void *ignored, const void *object, const char *name);
  int32_t (*IsClassOf)(const void *ignored, const void *object, const char *name);
  void (*classInit)(ztClass *klass);
  ztClassDestroyHook classDestroy;
  void *(*classRead)(const void *ignored, void *file);
  int32_t (*classWrite)(const void *ignored, const void *object, void *file);
} ztBaseClassFunctions;
static inline __attribute__((unused)) const ztBaseClassFunctions *ztBaseClass_functions(void) {
  return (const ztBaseClassFunctions *)ztBaseClassClass_Instance()->classTable;
}
typedef struct __attribute__((may_alias)) Kettle {
  ztClass *klass;
  int32_t refCount;
  int32_t degrees;
} Kettle;
typedef struct __attribute__((may_alias)) KettleMethods {
  void *(*Allocator)(const void *object);
  void (*classInstanceCreate)(ztClass *klass);
  void (*classInstanceDestroy)(ztClass *klass);
  void *emptySlot;
  int32_t (*create)(void *object);
  void *(*clone)(const void *object, void *target);
  int32_t (*assign)(void *object, const void *other);
  int32_t (*isEqual)(const void *object, const void *other);
  int32_t (*isLess)(const void *object, const void *other);
  int32_t (*isMajor)(const void *object, const void *other);
  void (*destroy)(void *object);
  int32_t (*read)(void *object, void *file);
  int32_t (*write)(const void *object, void *file);
  void (*ref)(void *object);
  void (*unRef)(void *object);
  int32_t (*getRefCount)(const void *object);
  int32_t (*heat)(void *kettle, int32_t degrees);
} KettleMethods;
extern __attribute__((visibility("default"))) const uint32_t Kettle_version_;
extern __attribute__((visibility("default"))) const char *const Kettle_classname_;
__attribute__((visibility("default"))) ztClass *KettleClass_Instance(void);
__attribute__((visibility("default"))) uint32_t KettleVersion(const void *ignored, const void *object);
__attribute__((visibility("default"))) const char *KettleClassName(const void *ignored, const void *object);
__attribute__((visibility("default"))) void *KettleAllocator(const void *object);
__attribute__((visibility("default"))) int32_t KettleIsClass(const void *ignored, const void *object,
                                                             const char *name);
__attribute__((visibility("default"))) int32_t KettleIsClassOf(const void *ignored, const void *object,
                                                               const char *name);
__attribute__((visibility("default"))) void KettleInitTable(void *object);
__attribute__((visibility("default"))) void *Kettle_ctor(void *object, int32_t create);
__attribute__((visibility("default"))) void *Kettle_newop(void);
static inline __attribute__((unused)) const KettleMethods *Kettle_of(const void *object) {
  return (const KettleMethods *)ztOOP_classOf(object)->methodTable;
}
static inline __attribute__((unused)) const KettleMethods *Kettle_table(void) {
  return (const KettleMethods *)KettleClass_Instance()->methodTable;
}
static int32_t kettleCreate(void *kettle) {
  if (!ztBaseClass_table()->create(kettle)) return 0;
  ((Kettle *)kettle)->degrees = 20;
  return 1;
}
static int32_t kettleHeat(void *kettle, int32_t degrees) {
  return ((Kettle *)kettle)->degrees += degrees;
}
static void kettleMethods(KettleMethods *methods) {
  ((methods)->create = _Generic(kettleCreate, __typeof__((methods)->create) : kettleCreate));
  ((methods)->heat = _Generic(kettleHeat, __typeof__((methods)->heat) : kettleHeat));
}
_Static_assert(__extension__(__builtin_strncmp("ztClass *klass; int32_t refCount; int32_t degrees;",
                                               "ztClass *klass; int32_t refCount;",
                                               sizeof "ztClass *klass; int32_t refCount;" - 1) == 0),
               "Kettle"
               "_FIELDS must begin with "
               "ztBaseClass"
               "_FIELDS");
_Static_assert(
    __extension__(
        __builtin_strncmp(
            "void *(*Allocator)(const void *object); void (*classInstanceCreate)(ztClass * klass); void "
            "(*classInstanceDestroy)(ztClass * klass); void *emptySlot; int32_t (*create)(void *object); "
            "void *(*clone)(const void *object, void *target); int32_t (*assign)(void *object, const void "
            "*other); int32_t (*isEqual)(const void *object, const void *other); int32_t (*isLess)(const "
            "void *object, const void *other); int32_t (*isMajor)(const void *object, const void *other); "
            "void (*destroy)(void *object); int32_t (*read)(void *object, void *file); int32_t "
            "(*write)(const void *object, void *file); void (*ref)(void *object); void (*unRef)(void "
            "*object); int32_t (*getRefCount)(const void *object); int32_t (*heat)(void *kettle, int32_t "
            "degrees);",
            "void *(*Allocator)(const void *object); void (*classInstanceCreate)(ztClass * klass); void "
            "(*classInstanceDestroy)(ztClass * klass); void *emptySlot; int32_t (*create)(void *object); "
            "void *(*clone)(const void *object, void *target); int32_t (*assign)(void *object, const void "
            "*other); int32_t (*isEqual)(const void *object, const void *other); int32_t (*isLess)(const "
            "void *object, const void *other); int32_t (*isMajor)(const void *object, const void *other); "
            "void (*destroy)(void *object); int32_t (*read)(void *object, void *file); int32_t "
            "(*write)(const void *object, void *file); void (*ref)(void *object); void (*unRef)(void "
            "*object); int32_t (*getRefCount)(const void *object);",
            sizeof "void *(*Allocator)(const void *object); void (*classInstanceCreate)(ztClass * klass); "
                   "void (*classInstanceDestroy)(ztClass * klass); void *emptySlot; int32_t (*create)(void "
                   "*object); void *(*clone)(const void *object, void *target); int32_t (*assign)(void "
                   "*object, const void *other); int32_t (*isEqual)(const void *object, const void *other); "
                   "int32_t (*isLess)(const void *object, const void *other); int32_t (*isMajor)(const void "
                   "*object, const void *other); void (*destroy)(void *object); int32_t (*read)(void "
                   "*object, void *file); int32_t (*write)(const void *object, void *file); void (*ref)(void "
                   "*object); void (*unRef)(void *object); int32_t (*getRefCount)(const void *object);" -
                1) == 0),
    "Kettle"
    "_METHODS must begin with "
    "ztBaseClass"
    "_METHODS");
const uint32_t Kettle_version_ = (1);
const char *const Kettle_classname_ = "Kettle";
static KettleMethods KettleClass_VTable;
static ztClassFunctions KettleClass_CTable;
static ztClass KettleClass_Inst = {NULL, 0, 0, NULL, 0, 0, &KettleClass_CTable, &KettleClass_VTable};
static ztClassState KettleClass_State;
static void KettleClass_fillMethods(void *KettleClass_table) {
  ((KettleMethods *)KettleClass_table)->Allocator = KettleAllocator;
  kettleMethods((KettleMethods *)KettleClass_table);
}
static void KettleClass_fillFunctions(void *KettleClass_table) {
  ztOOP_noFunctions((ztClassFunctions *)KettleClass_table);
}
static const ztClassDescription KettleClass_Description = {
    &KettleClass_Inst,
    &KettleClass_State,
    ztBaseClassClass_Instance,
    ztBaseClassInitTable,
    &Kettle_classname_,
    &Kettle_version_,
    (int32_t)sizeof(Kettle),
    (int32_t)(sizeof(KettleMethods) / sizeof(void *)),
    KettleClass_fillMethods,
    KettleClass_fillFunctions,
    {Kettle_newop, Kettle_ctor, KettleInitTable, NULL, KettleVersion, KettleClassName, KettleIsClass,
     KettleIsClassOf, NULL, NULL}};
__attribute__((destructor(101))) static void KettleClass_leave(void) {
  ztOOP_leaveRegistry(&KettleClass_Description);
}
ztClass *KettleClass_Instance(void) {
  return &KettleClass_Inst;
}
uint32_t KettleVersion(const void *ignored, const void *object) {
  (void)ignored;
  return ztOOP_versionOf(object);
}
const char *KettleClassName(const void *ignored, const void *object) {
  (void)ignored;
  return ztOOP_classNameOf(object);
}
void *KettleAllocator(const void *object) {
  return ztOOP_allocatorOf(object);
}
int32_t KettleIsClass(const void *ignored, const void *object, const char *name) {
  (void)ignored;
  return ztOOP_isClass(object, name);
}
int32_t KettleIsClassOf(const void *ignored, const void *object, const char *name) {
  (void)ignored;
  return ztOOP_isClassOf(object, name);
}
void KettleInitTable(void *object) {
  ztOOP_initTable(&KettleClass_Description, object);
}
void *Kettle_ctor(void *object, int32_t create) {
  return ztOOP_construct(&KettleClass_Description, object, create);
}
void *Kettle_newop(void) {
  return ztOOP_construct(&KettleClass_Description, NULL, 0);
}
