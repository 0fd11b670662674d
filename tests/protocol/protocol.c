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

/* What stands in the fields of an object that `create` has made. */
typedef struct Field {
  size_t offset; /* 0 behind the last */
  enum { isInt, isNull, isSelf, isText, isObject, isCtor, isCompare } kind;
  int value;        /* isInt */
  const char *name; /* the class of the owned object, of the constructor; the compare function */
} Field;

typedef struct Fields {
  const char *owner; /* the class that says so, for its descendants too unless one says otherwise */
  Field fields[11];
} Fields;

/* clang-format off */
#define INT(offset, value) {offset, isInt, value, NULL}
#define NONE(offset) {offset, isNull, 0, NULL}
#define SELF(offset) {offset, isSelf, 0, NULL}
#define TEXT(offset) {offset, isText, 0, NULL}
#define OWN(offset, C) {offset, isObject, 0, #C}
#define CTOR(offset, C) {offset, isCtor, 0, #C}
#define COMPARE(offset, function) {offset, isCompare, 0, #function}

static const Fields classFields[] = {
    {"ztContainerItem", {NONE(16)}},
    {"ztListItem", {NONE(24), NONE(32)}},
    {"ztAvlTreeItem", {INT(24, 0), NONE(32), NONE(40)}},
    {"ztMapItem", {NONE(48)}},
    {"ztHashTableItem", {NONE(24), NONE(32)}},
    {"ztContainer", {NONE(16), SELF(24), NONE(32), INT(40, 0)}},
    {"ztSequenceContainer", {INT(44, 0), INT(48, 0), NONE(56)}},
    {"ztAssociativeContainer", {INT(44, 0), INT(48, 0), INT(52, 0), INT(56, 0), NONE(64), NONE(72),
        NONE(80)}},
    {"ztArray", {INT(64, 0), NONE(72)}},
    {"ztPtrArray", {COMPARE(32, ztPtrArray_compare_func_ptr), INT(44, 1), INT(48, 8)}},
    {"ztIntArray", {COMPARE(32, ztIntArray_compare_func), INT(48, 4)}},
    {"ztCharArray", {COMPARE(32, ztCharArray_compare_func), INT(48, 1)}},
    {"ztFloatArray", {COMPARE(32, ztFloatArray_compare_func), INT(48, 8)}},
    {"ztStringArray", {COMPARE(32, ztStringArray_compare_func), INT(48, 24), CTOR(56, ztString)}},
    {"ztLinkArray", {COMPARE(32, ztLinkArray_compare_func), INT(48, 32), CTOR(56, ztLink)}},
    {"ztPropertyPtrArray", {COMPARE(32, ztPropertyPtrArray_compare_func_ptr), INT(44, 1), INT(48, 8)}},
    {"ztList", {CTOR(16, ztListItem), NONE(64), NONE(72), INT(80, 0)}},
    {"ztIntList", {COMPARE(32, ztIntList_compare_func), INT(48, 4)}},
    {"ztStringList", {COMPARE(32, ztStringList_compare_func), INT(48, 24), CTOR(56, ztString)}},
    {"ztPtrList", {COMPARE(32, ztPtrList_compare_func_ptr), INT(44, 1), INT(48, 8)}},
    {"ztRootPtrList", {COMPARE(32, ztRootPtrList_compare_func_ptr), INT(44, 1), INT(48, 8)}},
    {"ztDeque", {OWN(64, ztList)}},
    {"ztQueue", {OWN(64, ztDeque)}},
    {"ztStack", {OWN(64, ztDeque)}},
    {"ztPtrQueue", {COMPARE(32, ztPtrQueue_compare_func_ptr), INT(44, 1), INT(48, 8)}},
    {"ztPtrStack", {COMPARE(32, ztPtrStack_compare_func_ptr), INT(44, 1), INT(48, 8)}},
    {"ztAvlTree", {CTOR(16, ztAvlTreeItem), NONE(64), INT(72, 0)}},
    {"ztMap", {CTOR(16, ztMapItem), OWN(88, ztAvlTree)}},
    {"ztHashTable", {CTOR(16, ztHashTableItem), INT(88, 0), OWN(96, ztPtrArray)}},
    {"ztString", {OWN(16, ztCharArray)}},
    {"ztFile", {NONE(16), TEXT(24)}},
    {"ztProperty", {INT(12, 0), OWN(16, ztString), NONE(24), NONE(32), NONE(40), NONE(48), OWN(56, ztString),
        TEXT(64), NONE(168), INT(176, 0)}},
    {"ztPropertyMap", {COMPARE(32, ztPropertyMap_compare_func), INT(52, 24), INT(56, 184), CTOR(64, ztString),
        CTOR(72, ztProperty), COMPARE(80, ztPropertyMap_compare_func)}},
    {"ztPropertyTypeMap", {COMPARE(32, ztPropertyTypeMap_key_compare_func), INT(48, 1), INT(52, 24),
        INT(56, 8), CTOR(64, ztString), COMPARE(80, ztPropertyTypeMap_value_compare_func_ptr)}},
    {"ztObject", {OWN(16, ztSignalMap), OWN(24, ztPropertyMap), NONE(32)}},
    {"ztSignal", {OWN(16, ztString), NONE(24), INT(32, 0), INT(36, 0)}},
    {"ztSignalMap", {COMPARE(32, ztSignalMap_compare_func), INT(52, 24), INT(56, 40), CTOR(64, ztString),
        CTOR(72, ztSignal), COMPARE(80, ztSignalMap_compare_func)}},
    {"ztSlot", {OWN(16, ztString), NONE(24), NONE(32)}},
    {"ztSlotMap", {COMPARE(32, ztSlotMap_key_compare_func_ptr), INT(44, 1), INT(52, 8), INT(56, 40),
        CTOR(72, ztSlot), COMPARE(80, ztSlotMap_value_compare_func)}},
    {"ztRoot", {OWN(40, ztRootPtrList), INT(132, -1), NONE(136), NONE(144)}},
    {"ztLink", {NONE(16), INT(24, -1)}},
    {"ztTag", {NONE(152)}},
    {"ztTagAttribute", {NONE(16), TEXT(24), INT(56, -1), INT(60, 1), INT(64, 1), NONE(72)}},
    {"ztIntTag", {INT(56, 1), OWN(72, ztIntArray), INT(80, 0)}},
    {"ztFloatTag", {INT(56, 2), OWN(72, ztFloatArray), NONE(80), NONE(88)}},
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

/* What the class itself says of its fields; NULL when it says nothing. */
static const Field *fieldsOf(const Class *class) {
  for (size_t i = 0; i < sizeof classFields / sizeof classFields[0]; ++i) {
    if (strcmp(classFields[i].owner, class->name) == 0) return classFields[i].fields;
  }
  return NULL;
}

/* What the nearest class, on the way up from this one, says of the field at an offset. */
static const Field *fieldAt(const Class *class, size_t offset) {
  for (; class != NULL; class = parentOf(class)) {
    for (const Field *field = fieldsOf(class); field != NULL && field->offset != 0; ++field) {
      if (field->offset == offset) return field;
    }
  }
  return NULL;
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
  for (size_t offset = 12; offset < (size_t) class->size; offset += 4) {
    const Field *field = fieldAt(class, offset);
    if (field == NULL) continue;
    const int asExpected = holds(field, object);
    if (!asExpected) printf("offset %d: ", (int)offset);
    CHECK_OF(class, asExpected);
  }
}

/* A copy owns nothing of what its source owns. */
static void checkNothingShared(const Class *class, const void *first, const void *second) {
  for (size_t offset = 16; offset < (size_t) class->size; offset += 8) {
    const Field *field = fieldAt(class, offset);
    if (field == NULL || field->kind != isObject) continue;
    CHECK_OF(class, pointerAt(first, offset) != pointerAt(second, offset));
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
