/* The library, loaded, and its exports by their names alone. */
#include "tests/hosts/raw.h"
#include "tests/protocol/exports.h"

#include <dlfcn.h>
#include <stdio.h>

static void *library;

int openLibrary(const char *path) {
  library = path == NULL ? NULL : dlopen(path, RTLD_NOW | RTLD_LOCAL);
  return library != NULL;
}

void closeLibrary(void) {
  dlclose(library);
}

/* The address of the symbol whose name is made of the two texts. */
static void *symbol(const char *name, const char *suffix) {
  char whole[128];
  snprintf(whole, sizeof whole, "%s%s", name, suffix);
  void *found = dlsym(library, whole);
  if (found == NULL) printf("not exported: %s\n", whole);
  return found;
}

/* Writes it to a variable, which is a pointer to a function of any type. */
static void findFunction(const char *name, const char *suffix, void *variable) {
  void *found = symbol(name, suffix);
  memcpy(variable, &found, sizeof(Function));
}

Engine findEngine(void) {
  Engine engine;
  findFunction("ztOOP_findClass", "", &engine.findClass);
  findFunction("ztOOP_classList", "", &engine.classList);
  findFunction("ztOOP_classCount", "", &engine.classCount);
  findFunction("ztNewFromName", "", &engine.newFromName);
  findFunction("ztOOP_ztVirtualFuncHandler", "", &engine.virtualFuncHandler);
  findFunction("ztm_free", "", &engine.freeMemory);
  findFunction("ztcoreClassFree", "", &engine.freeClasses);
  findFunction("ztOOP_CleanUp", "", &engine.cleanUp);
  return engine;
}

Exports findExports(const char *className) {
  Exports exports;
  exports.className = className;
  exports.nameWord = symbol(className, "_classname_");
  exports.versionWord = symbol(className, "_version_");
  findFunction(className, "Class_Instance", &exports.instance);
  findFunction(className, "_newop", &exports.newop);
  findFunction(className, "_ctor", &exports.ctor);
  findFunction(className, "InitTable", &exports.initTable);
  findFunction(className, "Version", &exports.version);
  findFunction(className, "ClassName", &exports.name);
  findFunction(className, "IsClass", &exports.isClass);
  findFunction(className, "IsClassOf", &exports.isClassOf);
  findFunction(className, "Allocator", &exports.allocator);
  return exports;
}

CompareFunction findCompareFunction(const char *name) {
  CompareFunction result;
  findFunction(name, "", &result);
  return result;
}
