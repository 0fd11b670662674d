/*
 * A host that is not linked to the library: `dlopen_plugins SCENARIO LIBRARY PLUGIN ROUNDS`. The plugin brings
 * the library with it, or finds it loaded.
 */
#include "tests/hosts/check.h"
#include "tests/hosts/raw.h"

#include <dlfcn.h>
#include <malloc.h>
#include <stdlib.h>
#include <string.h>

static const char *libraryPath;
static const char *pluginPath;
static int rounds;

static void *load(const char *path) {
  void *library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  CHECK(library != NULL);
  if (library == NULL) exit(1);
  return library;
}

static void checkUnloaded(const char *path) {
  CHECK(dlopen(path, RTLD_NOW | RTLD_NOLOAD) == NULL);
}

static void *loadAndUse(void) {
  void *plugin = load(pluginPath);
  void *found = dlsym(plugin, "usePlugin");
  int32_t (*function)(void);
  memcpy(&function, &found, sizeof function);
  CHECK(function() == 1);
  return plugin;
}

static void roundOfPlugin(void) {
  dlclose(loadAndUse());
}

static void roundOfLibrary(void) {
  void *library = load(libraryPath);
  void *found = dlsym(library, "ztNewFromName");
  void *(*newFromName)(const char *name);
  memcpy(&newFromName, &found, sizeof newFromName);
  void *node = newFromName("ztRoot");
  CHECK(node != NULL);
  if (node != NULL) ((void (*)(void *))slot(node, 14))(node);
  dlclose(library);
}

/* The library goes with the last that needs it, whichever was closed first. */
static void libraryFirst(void) {
  void *library = load(libraryPath);
  void *plugin = loadAndUse();
  dlclose(library);
  dlclose(plugin);
  checkUnloaded(libraryPath);
  puts("closed");
}

static void pluginFirst(void) {
  void *library = load(libraryPath);
  dlclose(loadAndUse());
  checkUnloaded(pluginPath);
  puts("plugin closed");
  dlclose(library);
  checkUnloaded(libraryPath);
  puts("closed");
}

static void leaveOpen(void) {
  loadAndUse();
  puts("end");
}

/* The bytes that the process has allocated do not grow from round to round. */
static void manyRounds(void (*oneRound)(void)) {
  for (int i = 0; i < 5; ++i) oneRound();
  const size_t before = mallinfo2().uordblks;
  for (int i = 0; i < rounds; ++i) oneRound();
  CHECK(mallinfo2().uordblks <= before);
  checkUnloaded(libraryPath);
}

int main(int argc, char **argv) {
  if (argc != 5) return 2;
  libraryPath = argv[2];
  pluginPath = argv[3];
  rounds = atoi(argv[4]);
  if (strcmp(argv[1], "library-first") == 0) libraryFirst();
  if (strcmp(argv[1], "plugin-first") == 0) pluginFirst();
  if (strcmp(argv[1], "open") == 0) leaveOpen();
  if (strcmp(argv[1], "plugin-rounds") == 0) manyRounds(roundOfPlugin);
  if (strcmp(argv[1], "library-rounds") == 0) manyRounds(roundOfLibrary);
  return failedChecks != 0;
}
