/*
 * A tree of nodes with links between them: it is built, stored, loaded and put together again, once
 * from a binary file and once from a text file.
 */
#include "house.h"

#include <stdio.h>
#include <stdlib.h>

static int32_t fail(const char *what) {
  fprintf(stderr, "node_tree: %s\n", what);
  return 0;
}

/* The same calls write text when the file is a text file. */
static int32_t storeAndLoad(const House *house, void *file) {
  const ztFileMethods *methods = ztFile_of(file);
  if (!houseStore(house, file) || methods->flush(file) != 0) return fail("cannot store the house");
  printf("\nFrom a %s:\n", ztOOP_classNameOf(file));
  methods->goToBegin(file);
  House loaded;
  const int32_t done = houseLoad(&loaded, file);
  if (done) housePrint(&loaded);
  houseClear(&loaded);
  return done ? 1 : fail("cannot load the house");
}

static int32_t throughFile(const House *house, ztCtor ctor) {
  char path[L_tmpnam];
  void *file = ctor(NULL, 1);
  if (file == NULL) return fail("out of memory");
  int32_t done = 0;
  if (ztFile_functions()->tmpFile(NULL, path) != NULL && ztFile_of(file)->open(file, path, "w+bx")) {
    done = storeAndLoad(house, file);
    ztFile_functions()->deleteFile(NULL, path);
  } else {
    fail("cannot open a temporary file");
  }
  ztFile_of(file)->unRef(file);
  return done;
}

int main(void) {
  House house;
  int32_t done = houseBuild(&house);
  if (done) {
    housePrint(&house);
    done = throughFile(&house, ztFile_ctor) && throughFile(&house, ztTextFile_ctor);
  } else {
    fail("out of memory");
  }
  houseClear(&house);
  return done ? EXIT_SUCCESS : EXIT_FAILURE;
}
