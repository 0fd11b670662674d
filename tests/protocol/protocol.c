/*
 * Every class of the library keeps the protocol that hosts rely on: its descriptor, its two tables, its
 * registration, and how its objects are made, compared with names, copied, counted, stored and
 * released. All of it is reached by numbers; see exports.h for where the exports come from.
 *
 * The argument is the library's path; none for the one that is linked.
 */
#include "tests/hosts/check.h"
#include "tests/hosts/raw.h"
#include "tests/protocol/classes.h"
#include "tests/protocol/exports.h"

#include <stdlib.h>
#include <string.h>

enum { classCount = 62, nameFieldSize = 100, identitySize = 104, room = 640, filler = 0xA5 };

/* The slots that are used here. */
enum {
  slotStaticProperties = 16, /* of ztObject and its descendants: not a method, each class has its own */
  slotCreate = 4,
  slotClone = 5,
  slotAssign = 6,
  slotDestroy = 10,
  slotRead = 11,
  slotWrite = 12,
  slotRef = 13,
  slotUnRef = 14,
  slotGetRefCount = 15,
  slotOpen = 16,
  slotClose = 17,
  slotGoToBegin = 19,
  slotTell = 23
};

typedef int32_t (*Status)(void *object);
typedef void (*Action)(void *object);
typedef void *(*Clone)(const void *object, void *target);
typedef int32_t (*WithOther)(void *object, void *other);
typedef int32_t (*Open)(void *file, const char *name, const char *mode);
typedef int64_t (*Tell)(void *file);
typedef int32_t (*ClassWrite)(const void *ignored, const void *object, void *file);
typedef void *(*ClassRead)(const void *ignored, void *file);

/* What is expected ------------------------------------------------------------------------------ */

typedef struct Class {
  const char *name;
  const char *parent; /* ztBaseClass names itself */
  int size;
  int slots;
  int classSlots;
  const char *overrides;
  const char *abstract;
  const char *empty;
  int stored;
} Class;

#define ROW(C, Parent, size, slots, classSlots, overrides, abstract, empty, stored) \
  {#C, #Parent, size, slots, classSlots, overrides, abstract, empty, stored},
static const Class classes[] = {ZT_CLASSES(ROW)};
_Static_assert(sizeof classes / sizeof classes[0] == classCount, "a row for every class");

/* What stands in a field of an object that `create` has made. */
typedef struct Field {
  const char *owner; /* the class that says so, for its descendants too unless one says otherwise */
  size_t offset;
  enum { isInt, isNull, isSelf, isText, isObject, isCtor, isCompare } kind;
  int value;        /* isInt */
  const char *name; /* the class of the owned object, of the constructor; the compare function */
} Field;

/* clang-format off */
static const Field fields[] = {
    {"ztContainerItem",         16, isNull,    0, NULL},
    {"ztListItem",              24, isNull,    0, NULL},
    {"ztListItem",              32, isNull,    0, NULL},
    {"ztAvlTreeItem",           24, isInt,     0, NULL},
    {"ztAvlTreeItem",           32, isNull,    0, NULL},
    {"ztAvlTreeItem",           40, isNull,    0, NULL},
    {"ztMapItem",               48, isNull,    0, NULL},
    {"ztHashTableItem",         24, isNull,    0, NULL},
    {"ztHashTableItem",         32, isNull,    0, NULL},

    {"ztContainer",             16, isNull,    0, NULL},
    {"ztContainer",             24, isSelf,    0, NULL},
    {"ztContainer",             32, isNull,    0, NULL},
    {"ztContainer",             40, isInt,     0, NULL},
    {"ztSequenceContainer",     44, isInt,     0, NULL},
    {"ztSequenceContainer",     48, isInt,     0, NULL},
    {"ztSequenceContainer",     56, isNull,    0, NULL},
    {"ztAssociativeContainer",  44, isInt,     0, NULL},
    {"ztAssociativeContainer",  48, isInt,     0, NULL},
    {"ztAssociativeContainer",  52, isInt,     0, NULL},
    {"ztAssociativeContainer",  56, isInt,     0, NULL},
    {"ztAssociativeContainer",  64, isNull,    0, NULL},
    {"ztAssociativeContainer",  72, isNull,    0, NULL},
    {"ztAssociativeContainer",  80, isNull,    0, NULL},

    {"ztArray",                 64, isInt,     0, NULL},
    {"ztArray",                 72, isNull,    0, NULL},
    {"ztPtrArray",              32, isCompare, 0, "ztPtrArray_compare_func_ptr"},
    {"ztPtrArray",              44, isInt,     1, NULL},
    {"ztPtrArray",              48, isInt,     8, NULL},
    {"ztIntArray",              32, isCompare, 0, "ztIntArray_compare_func"},
    {"ztIntArray",              48, isInt,     4, NULL},
    {"ztCharArray",             32, isCompare, 0, "ztCharArray_compare_func"},
    {"ztCharArray",             48, isInt,     1, NULL},
    {"ztFloatArray",            32, isCompare, 0, "ztFloatArray_compare_func"},
    {"ztFloatArray",            48, isInt,     8, NULL},
    {"ztStringArray",           32, isCompare, 0, "ztStringArray_compare_func"},
    {"ztStringArray",           48, isInt,    24, NULL},
    {"ztStringArray",           56, isCtor,    0, "ztString"},
    {"ztLinkArray",             32, isCompare, 0, "ztLinkArray_compare_func"},
    {"ztLinkArray",             48, isInt,    32, NULL},
    {"ztLinkArray",             56, isCtor,    0, "ztLink"},
    {"ztPropertyPtrArray",      32, isCompare, 0, "ztPropertyPtrArray_compare_func_ptr"},
    {"ztPropertyPtrArray",      44, isInt,     1, NULL},
    {"ztPropertyPtrArray",      48, isInt,     8, NULL},

    {"ztList",                  16, isCtor,    0, "ztListItem"},
    {"ztList",                  64, isNull,    0, NULL},
    {"ztList",                  72, isNull,    0, NULL},
    {"ztList",                  80, isInt,     0, NULL},
    {"ztIntList",               32, isCompare, 0, "ztIntList_compare_func"},
    {"ztIntList",               48, isInt,     4, NULL},
    {"ztStringList",            32, isCompare, 0, "ztStringList_compare_func"},
    {"ztStringList",            48, isInt,    24, NULL},
    {"ztStringList",            56, isCtor,    0, "ztString"},
    {"ztPtrList",               32, isCompare, 0, "ztPtrList_compare_func_ptr"},
    {"ztPtrList",               44, isInt,     1, NULL},
    {"ztPtrList",               48, isInt,     8, NULL},
    {"ztRootPtrList",           32, isCompare, 0, "ztRootPtrList_compare_func_ptr"},
    {"ztRootPtrList",           44, isInt,     1, NULL},
    {"ztRootPtrList",           48, isInt,     8, NULL},

    {"ztDeque",                 64, isObject,  0, "ztList"},
    {"ztQueue",                 64, isObject,  0, "ztDeque"},
    {"ztStack",                 64, isObject,  0, "ztDeque"},
    {"ztPtrQueue",              32, isCompare, 0, "ztPtrQueue_compare_func_ptr"},
    {"ztPtrQueue",              44, isInt,     1, NULL},
    {"ztPtrQueue",              48, isInt,     8, NULL},
    {"ztPtrStack",              32, isCompare, 0, "ztPtrStack_compare_func_ptr"},
    {"ztPtrStack",              44, isInt,     1, NULL},
    {"ztPtrStack",              48, isInt,     8, NULL},

    {"ztAvlTree",               16, isCtor,    0, "ztAvlTreeItem"},
    {"ztAvlTree",               64, isNull,    0, NULL},
    {"ztAvlTree",               72, isInt,     0, NULL},
    {"ztMap",                   16, isCtor,    0, "ztMapItem"},
    {"ztMap",                   88, isObject,  0, "ztAvlTree"},
    {"ztHashTable",             16, isCtor,    0, "ztHashTableItem"},
    {"ztHashTable",             88, isInt,     0, NULL},
    {"ztHashTable",             96, isObject,  0, "ztPtrArray"},

    {"ztString",                16, isObject,  0, "ztCharArray"},
    {"ztFile",                  16, isNull,    0, NULL},
    {"ztFile",                  24, isText,    0, NULL},

    {"ztProperty",              12, isInt,     0, NULL},
    {"ztProperty",              16, isObject,  0, "ztString"},
    {"ztProperty",              24, isNull,    0, NULL},
    {"ztProperty",              32, isNull,    0, NULL},
    {"ztProperty",              40, isNull,    0, NULL},
    {"ztProperty",              48, isNull,    0, NULL},
    {"ztProperty",              56, isObject,  0, "ztString"},
    {"ztProperty",              64, isText,    0, NULL},
    {"ztProperty",             168, isNull,    0, NULL},
    {"ztProperty",             176, isInt,     0, NULL},
    {"ztPropertyMap",           32, isCompare, 0, "ztPropertyMap_compare_func"},
    {"ztPropertyMap",           52, isInt,    24, NULL},
    {"ztPropertyMap",           56, isInt,   184, NULL},
    {"ztPropertyMap",           64, isCtor,    0, "ztString"},
    {"ztPropertyMap",           72, isCtor,    0, "ztProperty"},
    {"ztPropertyMap",           80, isCompare, 0, "ztPropertyMap_compare_func"},
    {"ztPropertyTypeMap",       32, isCompare, 0, "ztPropertyTypeMap_key_compare_func"},
    {"ztPropertyTypeMap",       48, isInt,     1, NULL},
    {"ztPropertyTypeMap",       52, isInt,    24, NULL},
    {"ztPropertyTypeMap",       56, isInt,     8, NULL},
    {"ztPropertyTypeMap",       64, isCtor,    0, "ztString"},
    {"ztPropertyTypeMap",       80, isCompare, 0, "ztPropertyTypeMap_value_compare_func_ptr"},

    {"ztObject",                16, isObject,  0, "ztSignalMap"},
    {"ztObject",                24, isObject,  0, "ztPropertyMap"},
    {"ztObject",                32, isNull,    0, NULL},
    {"ztSignal",                16, isObject,  0, "ztString"},
    {"ztSignal",                24, isNull,    0, NULL},
    {"ztSignal",                32, isInt,     0, NULL},
    {"ztSignal",                36, isInt,     0, NULL},
    {"ztSignalMap",             32, isCompare, 0, "ztSignalMap_compare_func"},
    {"ztSignalMap",             52, isInt,    24, NULL},
    {"ztSignalMap",             56, isInt,    40, NULL},
    {"ztSignalMap",             64, isCtor,    0, "ztString"},
    {"ztSignalMap",             72, isCtor,    0, "ztSignal"},
    {"ztSignalMap",             80, isCompare, 0, "ztSignalMap_compare_func"},
    {"ztSlot",                  16, isObject,  0, "ztString"},
    {"ztSlot",                  24, isNull,    0, NULL},
    {"ztSlot",                  32, isNull,    0, NULL},
    {"ztSlotMap",               32, isCompare, 0, "ztSlotMap_key_compare_func_ptr"},
    {"ztSlotMap",               44, isInt,     1, NULL},
    {"ztSlotMap",               52, isInt,     8, NULL},
    {"ztSlotMap",               56, isInt,    40, NULL},
    {"ztSlotMap",               72, isCtor,    0, "ztSlot"},
    {"ztSlotMap",               80, isCompare, 0, "ztSlotMap_value_compare_func"},

    {"ztRoot",                  40, isObject,  0, "ztRootPtrList"},
    {"ztRoot",                 132, isInt,    -1, NULL},
    {"ztRoot",                 136, isNull,    0, NULL},
    {"ztRoot",                 144, isNull,    0, NULL},
    {"ztLink",                  16, isNull,    0, NULL},
    {"ztLink",                  24, isInt,    -1, NULL},
    {"ztTag",                  152, isNull,    0, NULL},
    {"ztTagAttribute",          16, isNull,    0, NULL},
    {"ztTagAttribute",          24, isText,    0, NULL},
    {"ztTagAttribute",          56, isInt,    -1, NULL},
    {"ztTagAttribute",          60, isInt,     1, NULL},
    {"ztTagAttribute",          64, isInt,     1, NULL},
    {"ztTagAttribute",          72, isNull,    0, NULL},
    {"ztIntTag",                56, isInt,     1, NULL},
    {"ztIntTag",                72, isObject,  0, "ztIntArray"},
    {"ztIntTag",                80, isInt,     0, NULL},
    {"ztFloatTag",              56, isInt,     2, NULL},
    {"ztFloatTag",              72, isObject,  0, "ztFloatArray"},
    {"ztFloatTag",              80, isNull,    0, NULL},
    {"ztFloatTag",              88, isNull,    0, NULL},
};
/* clang-format on */

/* Helpers --------------------------------------------------------------------------------------- */

static Engine engine;

/* A check that names the class it is about. */
static void checkOf(const Class *class, int holds, const char *condition, int line) {
  if (!holds) printf("%s: ", class->name);
  check(holds, condition, line);
}

#define CHECK_OF(class, condition) checkOf(class, (condition) ? 1 : 0, #condition, __LINE__)

static const Class *classNamed(const char *name) {
  for (int i = 0; i < classCount; ++i) {
    if (strcmp(classes[i].name, name) == 0) return &classes[i];
  }
  printf("no row for %s\n", name);
  exit(2);
}

/* The parent's row; NULL for that of ztBaseClass. */
static const Class *parentOf(const Class *class) {
  return strcmp(class->name, class->parent) == 0 ? NULL : classNamed(class->parent);
}

static int descends(const Class *class, const char *name) {
  for (; class != NULL; class = parentOf(class)) {
    if (strcmp(class->name, name) == 0) return 1;
  }
  return 0;
}

/* Whether a list such as "4,10,16-21" has the number. */
static int lists(const char *list, int number) {
  while (*list != '\0') {
    char *end;
    const long first = strtol(list, &end, 10);
    const long last = *end == '-' ? strtol(end + 1, &end, 10) : first;
    if (first <= number && number <= last) return 1;
    list = *end == ',' ? end + 1 : end;
  }
  return 0;
}

/* The descriptor of a class, and what it holds. */
static const void *descriptorOf(const Class *class) {
  return findExports(class->name).instance();
}

static const void *methodTableOf(const Class *class) {
  return pointerAt(descriptorOf(class), 40);
}

static const void *classTableOf(const Class *class) {
  return pointerAt(descriptorOf(class), 32);
}

static int sameFunction(Function table, const void *function) {
  return memcmp(&table, function, sizeof table) == 0;
}

static int32_t countOf(void *object) {
  return ((Status)slot(object, slotGetRefCount))(object);
}

static void release(void *object) {
  ((Action)slot(object, slotUnRef))(object);
}

static int isFilled(const void *memory, size_t size) {
  const unsigned char *bytes = memory;
  for (size_t i = 0; i < size; ++i) {
    if (bytes[i] != filler) return 0;
  }
  return 1;
}

/* Memory for an object of any class, and more, none of it zero. */
typedef union Place {
  unsigned char bytes[room];
  double alignment;
  void *pointer;
} Place;

static void fill(Place *place) {
  memset(place->bytes, filler, room);
}

/* The registry ---------------------------------------------------------------------------------- */

static const void *entryAfter(const void *registered) {
  return registered == NULL ? engine.classList() : pointerAt(registered, 128);
}

static const void *entryNamed(const char *name) {
  const void *registered = entryAfter(NULL);
  while (registered != NULL && strcmp(registered, name) != 0) registered = entryAfter(registered);
  return registered;
}

/* The newest class comes first. */
static void checkRegistry(void) {
  const void *registered = NULL;
  for (int i = classCount; i-- > 0;) {
    registered = entryAfter(registered);
    CHECK_OF(&classes[i], registered != NULL);
    if (registered == NULL) return;
    CHECK_OF(&classes[i], strcmp(registered, classes[i].name) == 0);
  }
  CHECK(entryAfter(registered) == NULL);
  CHECK(engine.classCount() == classCount);
}

static void checkRegistered(const Class *class, const Exports *exports) {
  const void *registered = entryNamed(class->name);
  CHECK_OF(class, registered != NULL);
  if (registered == NULL) return;
  CHECK_OF(class, engine.findClass(class->name) == exports->instance());
  CHECK_OF(class, sameFunction(entry(registered, 13), &exports->ctor));
  CHECK_OF(class, pointerAt(registered, 112) == pointerAt(classTableOf(class), 72));
  const void *prototype = pointerAt(registered, 120);
  CHECK_OF(class, pointerAt(prototype, 0) == exports->instance());
  CHECK_OF(class, intAt(prototype, 8) == 1);
}

/* The descriptor and the tables ----------------------------------------------------------------- */

static void checkDescriptor(const Class *class, const Exports *exports) {
  const void *klass = exports->instance();
  const Class *parent = parentOf(class);
  CHECK_OF(class, pointerAt(klass, 0) == (parent == NULL ? NULL : descriptorOf(parent)));
  CHECK_OF(class, intAt(klass, 8) == 1 && *exports->versionWord == 1);
  CHECK_OF(class, intAt(klass, 12) == class->size);
  CHECK_OF(class, pointerAt(klass, 16) == *exports->nameWord);
  CHECK_OF(class, strcmp(*exports->nameWord, class->name) == 0);
  CHECK_OF(class, intAt(klass, 24) == 1);
  CHECK_OF(class, intAt(klass, 28) == 0);
}

static void checkChain(const Class *class) {
  const void *klass = descriptorOf(class);
  for (const Class *step = class; step != NULL; step = parentOf(step)) {
    CHECK_OF(class, klass != NULL);
    if (klass == NULL) return;
    CHECK_OF(class, strcmp(pointerAt(klass, 16), step->name) == 0);
    klass = pointerAt(klass, 0);
  }
  CHECK_OF(class, klass == NULL);
}

static void checkClassTable(const Class *class, const Exports *exports) {
  const void *table = classTableOf(class);
  CHECK_OF(class, sameFunction(entry(table, 0), &exports->newop));
  CHECK_OF(class, sameFunction(entry(table, 1), &exports->ctor));
  CHECK_OF(class, sameFunction(entry(table, 2), &exports->initTable));
  CHECK_OF(class, entry(table, 3) == NULL);
  CHECK_OF(class, sameFunction(entry(table, 4), &exports->version));
  CHECK_OF(class, sameFunction(entry(table, 5), &exports->name));
  CHECK_OF(class, sameFunction(entry(table, 6), &exports->isClass));
  CHECK_OF(class, sameFunction(entry(table, 7), &exports->isClassOf));
  const int hasHooks = strcmp(class->name, "ztObject") == 0 || strcmp(class->name, "ztString") == 0 ||
                       strcmp(class->name, "ztProperty") == 0;
  CHECK_OF(class, (entry(table, 8) != NULL) == hasHooks);
  CHECK_OF(class, (entry(table, 9) != NULL) == hasHooks);
  for (int i = 10; i < class->classSlots; ++i) CHECK_OF(class, entry(table, i) != NULL);
}

/* The function is one of the class's own, or one that its parent has. */
static void checkOrigin(const Class *class, int number, Function own) {
  const Class *parent = parentOf(class);
  const int inherited = parent != NULL && number < parent->slots;
  const int overridden = number == 0 || lists(class->overrides, number);
  if (inherited) {
    const int same = own == entry(methodTableOf(parent), number);
    if (same != !overridden) printf("slot %d: ", number);
    CHECK_OF(class, same == !overridden);
  } else {
    CHECK_OF(class, number == 0 || !overridden);
  }
}

static void checkMethod(const Class *class, int number) {
  const Function own = entry(methodTableOf(class), number);
  const int abstract = sameFunction(own, &engine.virtualFuncHandler);
  const int lacksOwn = (number >= 7 && number <= 9 && !descends(class, "ztString"));
  const int empty = number == 3 || lists(class->empty, number);
  if (abstract != (lacksOwn || lists(class->abstract, number)) || (own == NULL) != empty) {
    printf("slot %d: ", number);
  }
  CHECK_OF(class, abstract == (lacksOwn || lists(class->abstract, number)));
  CHECK_OF(class, (own == NULL) == empty);
  checkOrigin(class, number, own);
}

/* Each class of objects has static properties of its own in place of a method. */
static void checkStaticProperties(const Class *class) {
  const void *map = pointerAt(methodTableOf(class), slotStaticProperties * sizeof(void *));
  CHECK_OF(class, map != NULL && pointerAt(map, 0) == descriptorOf(classNamed("ztPropertyMap")));
  for (int i = 0; i < classCount; ++i) {
    if (&classes[i] == class || !descends(&classes[i], "ztObject")) continue;
    CHECK_OF(class, pointerAt(methodTableOf(&classes[i]), slotStaticProperties * sizeof(void *)) != map);
  }
}

static void checkMethodTable(const Class *class, const Exports *exports) {
  CHECK_OF(class, sameFunction(entry(methodTableOf(class), 0), &exports->allocator));
  const int hasProperties = descends(class, "ztObject");
  if (hasProperties) checkStaticProperties(class);
  for (int i = 0; i < class->slots; ++i) {
    if (!hasProperties || i != slotStaticProperties) checkMethod(class, i);
  }
}

/* Objects --------------------------------------------------------------------------------------- */

/* Whether the field's owner is the nearest class, on the way up from this one, that speaks of it. */
static int applies(const Field *field, const Class *class) {
  for (; class != NULL; class = parentOf(class)) {
    if (strcmp(class->name, field->owner) == 0) return 1;
    for (size_t i = 0; i < sizeof fields / sizeof fields[0]; ++i) {
      if (fields[i].offset == field->offset && strcmp(fields[i].owner, class->name) == 0) return 0;
    }
  }
  return 0;
}

static int holds(const Field *field, const void *object) {
  const void *word = (const char *)object + field->offset;
  if (field->kind == isInt) return intAt(object, field->offset) == field->value;
  if (field->kind == isText) return *(const char *)word == '\0';
  if (field->kind == isNull) return pointerAt(object, field->offset) == NULL;
  if (field->kind == isSelf) return pointerAt(object, field->offset) == object;
  if (field->kind == isCtor) {
    const Exports exports = findExports(field->name);
    return memcmp(word, &exports.ctor, sizeof exports.ctor) == 0;
  }
  if (field->kind == isCompare) {
    const CompareFunction function = findCompareFunction(field->name);
    return memcmp(word, &function, sizeof function) == 0;
  }
  const void *owned = pointerAt(object, field->offset);
  return owned != NULL && pointerAt(owned, 0) == findExports(field->name).instance() && intAt(owned, 8) == 1;
}

static void checkFields(const Class *class, const void *object) {
  for (size_t i = 0; i < sizeof fields / sizeof fields[0]; ++i) {
    if (!applies(&fields[i], class)) continue;
    const int asExpected = holds(&fields[i], object);
    if (!asExpected) printf("offset %d: ", (int)fields[i].offset);
    CHECK_OF(class, asExpected);
  }
}

/* A copy owns nothing of what its source owns. */
static void checkNothingShared(const Class *class, const void *first, const void *second) {
  for (size_t i = 0; i < sizeof fields / sizeof fields[0]; ++i) {
    if (fields[i].kind != isObject || !descends(class, fields[i].owner)) continue;
    CHECK_OF(class, pointerAt(first, fields[i].offset) != pointerAt(second, fields[i].offset));
  }
}

/* By the class's own functions and by those of the root, against the name of every class. */
static void checkNames(const Class *class, const Exports *exports, const void *object) {
  const Exports base = findExports("ztBaseClass");
  CHECK_OF(class, exports->version(NULL, object) == 1);
  CHECK_OF(class, strcmp(exports->name(NULL, object), class->name) == 0);
  CHECK_OF(class, strcmp(base.name(NULL, object), class->name) == 0);
  CHECK_OF(class, exports->allocator(object) == NULL);
  for (int i = 0; i < classCount; ++i) {
    const char *name = classes[i].name;
    CHECK_OF(class, exports->isClass(NULL, object, name) == (&classes[i] == class));
    CHECK_OF(class, base.isClass(NULL, object, name) == (&classes[i] == class));
    CHECK_OF(class, exports->isClassOf(NULL, object, name) == descends(class, name));
    CHECK_OF(class, base.isClassOf(NULL, object, name) == descends(class, name));
  }
  CHECK_OF(class, exports->isClassOf(NULL, object, "ztNobody") == 0);
}

static void checkHeader(const Class *class, const Exports *exports, void *object) {
  CHECK_OF(class, pointerAt(object, 0) == exports->instance());
  CHECK_OF(class, intAt(object, 8) == 1);
  CHECK_OF(class, countOf(object) == 1);
}

static void checkHeapObject(const Class *class, const Exports *exports) {
  void *object = engine.newFromName(class->name);
  CHECK_OF(class, object != NULL);
  if (object == NULL) return;
  checkHeader(class, exports, object);
  checkFields(class, object);
  checkNames(class, exports, object);
  ((Action)slot(object, slotRef))(object);
  CHECK_OF(class, countOf(object) == 2);
  ((Action)slot(object, slotRef))(object);
  CHECK_OF(class, countOf(object) == 3);
  release(object);
  CHECK_OF(class, countOf(object) == 2);
  release(object); /* its last: the memory checkers tell when something of it stays, or goes twice */
  release(exports->ctor(NULL, 1));
}

static void checkPlacedObject(const Class *class, const Exports *exports) {
  Place place;
  fill(&place);
  CHECK_OF(class, exports->ctor(&place, 1) == (void *)&place);
  checkHeader(class, exports, &place);
  checkFields(class, &place);
  CHECK_OF(class, isFilled(place.bytes + class->size, room - (size_t) class->size));
  ((Action)slot(&place, slotDestroy))(&place);
  CHECK_OF(class, pointerAt(&place, 0) == exports->instance());
  ((Action)slot(&place, slotDestroy))(&place); /* harmless */
}

/* Without `create` nothing but the header is written, so there is nothing to destroy. */
static void checkUncreatedObject(const Class *class, const Exports *exports) {
  Place place;
  fill(&place);
  CHECK_OF(class, exports->ctor(&place, 0) == (void *)&place);
  checkHeader(class, exports, &place);
  CHECK_OF(class, isFilled(place.bytes + 12, room - 12));
  CHECK_OF(class, ((Status)slot(&place, slotCreate))(&place) == 1);
  checkFields(class, &place);
  ((Action)slot(&place, slotDestroy))(&place);

  void *object = exports->newop();
  checkHeader(class, exports, object);
  engine.freeMemory(object);
}

static void checkClone(const Class *class, const Exports *exports) {
  Place place;
  fill(&place);
  void *object = exports->ctor(NULL, 1);
  exports->ctor(&place, 0);
  ((Action)slot(object, slotRef))(object);
  void *copy = ((Clone)slot(object, slotClone))(object, &place);
  if (descends(class, "ztFile")) {
    CHECK_OF(class, copy == NULL);
  } else {
    CHECK_OF(class, copy == (void *)&place);
    CHECK_OF(class, pointerAt(&place, 0) == exports->instance());
    CHECK_OF(class, countOf(&place) == 2); /* the source's */
    CHECK_OF(class, isFilled(place.bytes + class->size, room - (size_t) class->size));
    checkFields(class, &place);
    checkNothingShared(class, object, &place);
    ((Action)slot(&place, slotDestroy))(&place);
  }
  checkFields(class, object);
  release(object);
}

static void checkAssign(const Class *class, const Exports *exports) {
  void *objects[] = {exports->ctor(NULL, 1), exports->ctor(NULL, 1)};
  CHECK_OF(class, ((WithOther)slot(objects[0], slotAssign))(objects[0], objects[1]) == 1);
  for (int i = 0; i < 2; ++i) {
    checkHeader(class, exports, objects[i]);
    checkFields(class, objects[i]);
    release(objects[i]);
  }
}

/* The identity of a class, as a binary file holds it. */
static void checkStoredIdentity(const Class *class, const char *path) {
  char expected[identitySize] = {0};
  char found[identitySize];
  const int32_t version = 1;
  memcpy(expected, class->name, strlen(class->name));
  memcpy(expected + nameFieldSize, &version, sizeof version);
  FILE *stream = fopen(path, "rb");
  CHECK_OF(class, stream != NULL);
  if (stream == NULL) return;
  CHECK_OF(class, fread(found, 1, sizeof found, stream) == sizeof found);
  CHECK_OF(class, memcmp(found, expected, sizeof found) == 0);
  fclose(stream);
}

/* Stores an object, identity first, and reads it back, in a file of either kind. */
static void checkStored(const Class *class, const Exports *exports, const char *fileClass) {
  static const char path[] = "object.stored";
  const Function *functions = classTableOf(classNamed("ztBaseClass"));
  const int isBinary = strcmp(fileClass, "ztFile") == 0;
  const int succeeds = class->stored != refused;
  void *object = exports->ctor(NULL, 1);
  void *file = engine.newFromName(fileClass);
  CHECK_OF(class, ((Open)slot(file, slotOpen))(file, path, "w+b") == 1);
  CHECK_OF(class, ((ClassWrite)functions[11])(NULL, object, file) != 0);
  CHECK_OF(class, ((WithOther)slot(object, slotWrite))(object, file) == succeeds);
  if (isBinary && succeeds)
    CHECK_OF(class, ((Tell)slot(file, slotTell))(file) == identitySize + class->stored);

  CHECK_OF(class, ((Status)slot(file, slotGoToBegin))(file) == 0);
  void *read = ((ClassRead)functions[10])(NULL, file);
  CHECK_OF(class, read != NULL);
  if (read != NULL) {
    checkHeader(class, exports, read);
    CHECK_OF(class, ((WithOther)slot(read, slotRead))(read, file) == succeeds);
    release(read);
  }
  ((Action)slot(file, slotClose))(file);
  if (isBinary) checkStoredIdentity(class, path);
  release(file);
  release(object);
  remove(path);
}

static void checkClass(const Class *class) {
  const Exports exports = findExports(class->name);
  checkRegistered(class, &exports);
  checkDescriptor(class, &exports);
  checkChain(class);
  checkClassTable(class, &exports);
  checkMethodTable(class, &exports);
  checkHeapObject(class, &exports);
  checkPlacedObject(class, &exports);
  checkUncreatedObject(class, &exports);
  checkClone(class, &exports);
  checkAssign(class, &exports);
  checkStored(class, &exports, "ztFile");
  checkStored(class, &exports, "ztTextFile");
}

/* A text file's class functions are those of a file. */
static void checkFileFunctions(void) {
  for (int i = 10; i < 14; ++i) {
    CHECK(entry(classTableOf(classNamed("ztTextFile")), i) == entry(classTableOf(classNamed("ztFile")), i));
  }
}

/* The end --------------------------------------------------------------------------------------- */

/* The library frees its property types by names that no class bears, all but one, which is another's. */
static void checkFreed(void) {
  static const char *const staying[] = {
      "ztStringPropertyType",  "ztVoidPtrPropertyType", "ztFloatPropertyType", "ztBoolPropertyType",
      "ztCharPtrPropertyType", "ztCharPropertyType",    "ztIntPropertyType"};
  engine.freeClasses();
  const void *registered = NULL;
  for (size_t i = 0; i < sizeof staying / sizeof staying[0]; ++i) {
    registered = entryAfter(registered);
    CHECK(registered != NULL);
    if (registered == NULL) return;
    CHECK(strcmp(registered, staying[i]) == 0);
  }
  CHECK(entryAfter(registered) == NULL);
  CHECK(engine.findClass("ztString") == NULL);
  CHECK(engine.classCount() == classCount);
}

/* Every class goes on by its functions, and no object brings its name back. */
static void checkUsableWithoutNames(void) {
  const void *newest = engine.classList();
  for (int i = 0; i < classCount; ++i) {
    const Exports exports = findExports(classes[i].name);
    void *object = exports.ctor(NULL, 1);
    checkHeader(&classes[i], &exports, object);
    checkFields(&classes[i], object);
    release(object);
  }
  CHECK(engine.classList() == newest);
  CHECK(engine.classCount() == classCount);
}

int main(int argc, char **argv) {
  if (!openLibrary(argc > 1 ? argv[1] : NULL)) return 2;
  engine = findEngine();
  checkRegistry();
  for (int i = 0; i < classCount; ++i) checkClass(&classes[i]);
  checkFileFunctions();
  checkRegistry(); /* no object has added to it */
  checkFreed();
  checkUsableWithoutNames();
  engine.cleanUp();
  CHECK(engine.classList() == NULL);
  checkUsableWithoutNames();
  closeLibrary();
  return failedChecks != 0;
}
