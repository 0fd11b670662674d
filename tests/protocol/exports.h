/* What the library exports, as each of the programs here gets hold of it: by linking, or by name. */
#ifndef ZT_TESTS_PROTOCOL_EXPORTS_H
#define ZT_TESTS_PROTOCOL_EXPORTS_H

#include <stdint.h>

struct ztClass;
struct ztClassEntry;

typedef int32_t (*CompareFunction)(const void *first, const void *second);

/* The functions and variables that every class has. */
typedef struct Exports {
  const char *className;
  const char *const *nameWord;
  const uint32_t *versionWord;
  struct ztClass *(*instance)(void);
  void *(*newop)(void);
  void *(*ctor)(void *object, int32_t create);
  void (*initTable)(void *object);
  uint32_t (*version)(const void *ignored, const void *object);
  const char *(*name)(const void *ignored, const void *object);
  int32_t (*isClass)(const void *ignored, const void *object, const char *name);
  int32_t (*isClassOf)(const void *ignored, const void *object, const char *name);
  void *(*allocator)(const void *object);
} Exports;

typedef struct Engine {
  struct ztClass *(*findClass)(const char *name);
  const struct ztClassEntry *(*classList)(void);
  int32_t (*classCount)(void);
  void *(*newFromName)(const char *name);
  void *(*virtualFuncHandler)(const void *object);
  void (*freeMemory)(void *block);
  void (*freeClasses)(void);
  void (*cleanUp)(void);
} Engine;

/* 1 when the library is there. @p path is the library's, or NULL for the one that is linked. */
int openLibrary(const char *path);
void closeLibrary(void);

/* Each prints what it does not find, and leaves it NULL. */
Engine findEngine(void);
Exports findExports(const char *className);
CompareFunction findCompareFunction(const char *name);

#endif
