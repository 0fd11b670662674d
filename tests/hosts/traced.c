/* Makes and ends objects, in the way that the first argument names, for traces of their lives. */
#include "tests/hosts/check.h"
#include "tests/hosts/left.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <stdlib.h>
#include <unistd.h>

/* An object of one block: nothing is allocated behind it. */
static void *makePlain(void *ignored) {
  (void)ignored;
  return ztBaseClass_new();
}

static void onTick(void *panel, intptr_t value) {
  (void)panel;
  (void)value;
}

static void emitAtOnce(void) {
  ztObject *clock = ztObject_new();
  ztObject *panel = ztObject_new();
  CHECK(ztObject_connect(clock, "tick", panel, ZT_SLOT(onTick), 1));
  CHECK(ztObject_emit(clock, "tick", 1)); /* allocates what later emissions need */
  void *plain = makePlain(NULL);
  CHECK(ztObject_emit(clock, "tick", 1));
  release(plain);
  release(clock);
  release(panel);
}

static void endElsewhere(void) {
  pthread_t thread;
  void *made;
  CHECK(pthread_create(&thread, NULL, makePlain, NULL) == 0);
  pthread_join(thread, &made);
  release(made);
}

static void leaveLast(void) {
  leave(makePlain(NULL));
}

/* What the program frees past the library, and what the system frees in the place of a change of size. */
static void freePastTheLibrary(void) {
  free(ztm_alloc(1 << 22));
  for (int i = 0; i < 40; ++i) {
    free(ztm_alloc(64));
    CHECK(ztm_realloc(ztm_alloc(64), 0) == NULL);
  }
  release(makePlain(NULL));
  free(ztm_alloc(1 << 22));
  CHECK(ztOOP_report("report.txt") == 1);
}

static volatile int isLoaded;

static void *makeMany(void *ignored) {
  while (!__atomic_load_n(&isLoaded, __ATOMIC_RELAXED)) release(makePlain(NULL));
  return ignored;
}

static void loadPlugins(void) {
  pthread_t thread;
  CHECK(pthread_create(&thread, NULL, makeMany, NULL) == 0);
  for (int i = 0; i < 40; ++i) {
    void *plugin = dlopen(ZT_PLUGIN, RTLD_NOW);
    CHECK(plugin != NULL);
    if (plugin != NULL) dlclose(plugin);
  }
  __atomic_store_n(&isLoaded, 1, __ATOMIC_RELAXED);
  pthread_join(thread, NULL);
}

static void emitInOtherMemory(void) {
  ztObject *panel = ztObject_new();
  ztArray *array = newArrayOf(ztObject_ctor, panel, 2);
  static ztObject still;
  ztObject_ctor(&still, 1);
  void *emitters[] = {ztArray_of(array)->getAt(array, 1), &still};
  for (int i = 0; i < 2; ++i) {
    CHECK(ztObject_connect(emitters[i], "tick", panel, ZT_SLOT(onTick), 1));
    CHECK(ztObject_emit(emitters[i], "tick", 1));
  }
  ztObject_of(&still)->destroy(&still);
  release(array);
  release(panel);
}

/* Runs this program again with standard error closed: then a file of the program has its number. */
static const char *program;

static void closeErrors(void) {
  close(STDERR_FILENO);
  execl(program, program, "openFile", NULL);
}

static void openFile(void) {
  CHECK(open("data.txt", O_CREAT | O_WRONLY, 0600) >= 0);
  for (int i = 0; i < 2; ++i) release(makePlain(NULL));
}

int main(int argc, char **argv) {
  static const Scenario scenarios[] = {
      {"emitAtOnce", emitAtOnce},   {"endElsewhere", endElsewhere}, {"leaveLast", leaveLast},
      {"past", freePastTheLibrary}, {"loading", loadPlugins},       {"other", emitInOtherMemory},
      {"closed", closeErrors},      {"openFile", openFile},
  };
  program = argv[0];
  return RUN(scenarios, argc > 1 ? argv[1] : "");
}
