/* The library that is linked, by its headers; these have to agree with the table of classes. */
#include "tests/protocol/classes.h"
#include "tests/protocol/exports.h"
#include "zentova.h"

#include <stdio.h>
#include <string.h>

#define SLOTS(Table) ((int)(sizeof(Table) / sizeof(void *)))

#define AGREES(C, Parent, size, slots, classSlots, overrides, abstract, empty, stored) \
  _Static_assert(sizeof(C) == (size), "instance size of " #C);                         \
  _Static_assert(SLOTS(C##Methods) == (slots), "methods of " #C);                      \
  _Static_assert(SLOTS(C##Methods) >= SLOTS(Parent##Methods), "parent of " #C);
ZT_CLASSES(AGREES)

_Static_assert(SLOTS(ztClassFunctions) == 10, "class functions of most classes");
_Static_assert(SLOTS(ztBaseClassFunctions) == 12, "class functions of ztBaseClass");
_Static_assert(SLOTS(ztStringFunctions) == 11, "class functions of ztString");
_Static_assert(SLOTS(ztPropertyFunctions) == 12, "class functions of ztProperty");
_Static_assert(SLOTS(ztFileFunctions) == 14, "class functions of ztFile");
_Static_assert(SLOTS(ztTextFileFunctions) == 14, "class functions of ztTextFile");

#define EXPORTS(C, Parent, size, slots, classSlots, overrides, abstract, empty, stored)     \
  {#C,           &C##_classname_, &C##_version_, C##Class_Instance, C##_newop,    C##_ctor, \
   C##InitTable, C##Version,      C##ClassName,  C##IsClass,        C##IsClassOf, C##Allocator},

int openLibrary(const char *path) {
  return path == NULL;
}

void closeLibrary(void) {}

Engine findEngine(void) {
  const Engine engine = {
      ztOOP_findClass, ztOOP_classList, ztOOP_classCount, ztNewFromName, ztOOP_ztVirtualFuncHandler,
      ztm_free,        ztcoreClassFree, ztOOP_CleanUp};
  return engine;
}

Exports findExports(const char *className) {
  static const Exports all[] = {ZT_CLASSES(EXPORTS)};
  for (size_t i = 0; i < sizeof all / sizeof all[0]; ++i) {
    if (strcmp(all[i].className, className) == 0) return all[i];
  }
  printf("no such class: %s\n", className);
  const Exports none = {0};
  return none;
}

CompareFunction findCompareFunction(const char *name) {
#define COMPARES(function) \
  { #function, function }
  static const struct {
    const char *name;
    CompareFunction function;
  } all[] = {
      COMPARES(ztPtrArray_compare_func_ptr),
      COMPARES(ztIntArray_compare_func),
      COMPARES(ztCharArray_compare_func),
      COMPARES(ztFloatArray_compare_func),
      COMPARES(ztStringArray_compare_func),
      COMPARES(ztLinkArray_compare_func),
      COMPARES(ztPropertyPtrArray_compare_func_ptr),
      COMPARES(ztIntList_compare_func),
      COMPARES(ztStringList_compare_func),
      COMPARES(ztPtrList_compare_func_ptr),
      COMPARES(ztRootPtrList_compare_func_ptr),
      COMPARES(ztPtrQueue_compare_func_ptr),
      COMPARES(ztPtrStack_compare_func_ptr),
      COMPARES(ztPropertyMap_compare_func),
      COMPARES(ztPropertyTypeMap_key_compare_func),
      COMPARES(ztPropertyTypeMap_value_compare_func_ptr),
      COMPARES(ztSignalMap_compare_func),
      COMPARES(ztSlotMap_key_compare_func_ptr),
      COMPARES(ztSlotMap_value_compare_func),
  };
#undef COMPARES
  for (size_t i = 0; i < sizeof all / sizeof all[0]; ++i) {
    if (strcmp(all[i].name, name) == 0) return all[i].function;
  }
  printf("no such compare function: %s\n", name);
  return NULL;
}
