/*
 * A program that is not position-independent: the addresses that it has for functions of the library are those of
 * stubs of its own. They are also what it finds in the tables of classes, in the registry and in objects.
 */
#include "zentova.h"

#include "tests/hosts/check.h"
#include "tests/protocol/classes.h"

#include <dlfcn.h>
#include <stdlib.h>
#include <string.h>

/* Stands in front of the library's own: all words of the objects can be read, also those that nothing sets. */
void *ztm_alloc(int32_t size) {
  return size < 0 ? NULL : calloc(1, (size_t)size);
}

typedef struct ClassAddresses {
  const char *name;
  ztClassFunctions functions; /* of which only those that every class has */
  void *(*allocator)(const void *object);
} ClassAddresses;

#define ADDRESSES(C, ...)                                                                              \
  {#C,                                                                                                 \
   {C##_newop, C##_ctor, C##InitTable, NULL, C##Version, C##ClassName, C##IsClass, C##IsClassOf, NULL, \
    NULL},                                                                                             \
   C##Allocator},

static const ClassAddresses classes[] = {ZT_CLASSES(ADDRESSES)};

/* Taking their addresses makes the stubs. */
static const ztCompareFunc compareFunctions[] = {
    ztCharArray_compare_func,
    ztCharArray_compare_func_ptr,
    ztFloatArray_compare_func,
    ztFloatArray_compare_func_ptr,
    ztIntArray_compare_func,
    ztIntArray_compare_func_ptr,
    ztIntList_compare_func,
    ztIntList_compare_func_ptr,
    ztLinkArray_compare_func,
    ztLinkArray_compare_func_ptr,
    ztPropertyMap_compare_func,
    ztPropertyMap_compare_func_ptr,
    ztPropertyPtrArray_compare_func,
    ztPropertyPtrArray_compare_func_ptr,
    ztPropertyTypeMap_key_compare_func,
    ztPropertyTypeMap_key_compare_func_ptr,
    ztPropertyTypeMap_value_compare_func,
    ztPropertyTypeMap_value_compare_func_ptr,
    ztPtrArray_compare_func,
    ztPtrArray_compare_func_ptr,
    ztPtrList_compare_func,
    ztPtrList_compare_func_ptr,
    ztPtrQueue_compare_func,
    ztPtrQueue_compare_func_ptr,
    ztPtrStack_compare_func,
    ztPtrStack_compare_func_ptr,
    ztRootPtrList_compare_func,
    ztRootPtrList_compare_func_ptr,
    ztSignalMap_compare_func,
    ztSignalMap_compare_func_ptr,
    ztSlotMap_key_compare_func,
    ztSlotMap_key_compare_func_ptr,
    ztSlotMap_value_compare_func,
    ztSlotMap_value_compare_func_ptr,
    ztStringArray_compare_func,
    ztStringArray_compare_func_ptr,
    ztStringList_compare_func,
    ztStringList_compare_func_ptr,
};

enum { classCount = sizeof classes / sizeof *classes };

static const ztClassEntry *entryOf(const char *name) {
  const ztClassEntry *entry = ztOOP_classList();
  while (entry != NULL && strcmp(entry->name, name) != 0) entry = entry->next;
  return entry;
}

static void checkTables(const ClassAddresses *expected) {
  const ztClassEntry *entry = entryOf(expected->name);
  CHECK(entry != NULL);
  if (entry == NULL) return;
  CHECK(entry->ctor == expected->functions.ctor);
  const ztClassFunctions *functions = ztOOP_classOf(entry->prototype)->classTable;
  CHECK(functions->newop == expected->functions.newop);
  CHECK(functions->ctor == expected->functions.ctor);
  CHECK(functions->InitTable == expected->functions.InitTable);
  CHECK(functions->Version == expected->functions.Version);
  CHECK(functions->ClassName == expected->functions.ClassName);
  CHECK(functions->IsClass == expected->functions.IsClass);
  CHECK(functions->IsClassOf == expected->functions.IsClassOf);
  CHECK(ztBaseClass_of(entry->prototype)->Allocator == expected->allocator);
}

static void tables(void) {
  CHECK(ztOOP_classCount() == classCount);
  for (int i = 0; i < classCount; ++i) checkTables(&classes[i]);
  ztOOP_CleanUp();
  ztOOP_Init("again");
  ztcoreClassInit();
  for (int i = 0; i < classCount; ++i) checkTables(&classes[i]);
}

/* Whether it is an address that the program's name for the function has, or no function of the library's. */
static int isAddressInProgram(const void *address) {
  Dl_info found;
  if (dladdr(address, &found) == 0 || found.dli_sname == NULL || found.dli_saddr != address) return 1;
  const void *inProgram = dlsym(RTLD_DEFAULT, found.dli_sname);
  return inProgram == NULL || inProgram == address;
}

static void checkWords(const void *block, size_t size, const char *name) {
  for (size_t at = 0; at + sizeof(void *) <= size; at += sizeof(void *)) {
    const void *word;
    memcpy(&word, (const char *)block + at, sizeof word);
    if (isAddressInProgram(word)) continue;
    printf("%s has the library's address of a function at byte %zu\n", name, at);
    CHECK(0);
  }
}

static void checkObject(const void *object) {
  checkWords(object, (size_t)ztOOP_classOf(object)->instanceSize, ztOOP_classNameOf(object));
}

/* What a container keeps its elements in. */
static const void *innerOf(const void *object) {
  if (ztOOP_isClassOf(object, "ztMap")) return ((const ztMap *)object)->tree;
  if (ztOOP_isClassOf(object, "ztDeque")) return ((const ztDeque *)object)->inner;
  if (ztOOP_isClassOf(object, "ztStack")) return ((const ztStack *)object)->inner;
  if (ztOOP_isClassOf(object, "ztQueue")) return ((const ztQueue *)object)->inner;
  return NULL;
}

static void objects(void) {
  for (int i = 0; i < classCount; ++i) {
    void *object = classes[i].functions.ctor(NULL, 1);
    CHECK(object != NULL);
    if (object == NULL) continue;
    for (const void *part = object; part != NULL; part = innerOf(part)) checkObject(part);
    ztBaseClass_of(object)->unRef(object);
  }
}

static void methods(void) {
  for (int i = 0; i < classCount; ++i) {
    void *object = classes[i].functions.ctor(NULL, 0);
    CHECK(object != NULL);
    if (object == NULL) continue;
    /* The shortest of all tables; the others begin with one. */
    checkWords(ztOOP_classOf(object)->methodTable, sizeof(ztBaseClassMethods), classes[i].name);
    ztm_free(object);
  }
  const ztBaseClassMethods *base = ztBaseClass_table();
  void *(*handler)(const void *) = ztOOP_ztVirtualFuncHandler;
  CHECK(memcmp(&base->isEqual, &handler, sizeof handler) == 0);
}

/* A program's address goes into an object and comes out of it. */
static void compareFunction(void) {
  for (size_t i = 0; i < sizeof compareFunctions / sizeof *compareFunctions; ++i) {
    CHECK(isAddressInProgram((const void *)(uintptr_t)compareFunctions[i]));
  }
  ztIntArray *array = ztIntArray_ctor(NULL, 1);
  CHECK(array->compareFunction == ztIntArray_compare_func);
  ztString *text = ztString_ctor(NULL, 1);
  CHECK(((ztArray *)text->buffer)->compareFunction == ztCharArray_compare_func);
  ztString_of(text)->unRef(text);
  ztIntArray_of(array)->unRef(array);
}

int main(int argc, char **argv) {
  static const Scenario scenarios[] = {
      {"tables", tables},
      {"objects", objects},
      {"methods", methods},
      {"compare", compareFunction},
  };
  return argc == 2 ? RUN(scenarios, argv[1]) : 2;
}
