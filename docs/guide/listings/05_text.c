#include <zentova.h>

#include <stdio.h>

// begin string
/* "Waterworks / Intake": a new string, which the caller releases. */
static ztString *newPath(const char *plant, const char *gauge) {
  ztString *path = ztString_new();
  ztString_of(path)->set(path, plant);
  const char *const parts[] = {" / ", gauge};
  for (int i = 0; i < 2; ++i) ztString_of(path)->cat(path, ztString_functions()->newString(NULL, parts[i]));
  return path;
}
// end string

// begin compare
static void compare(const ztString *path, const ztString *other) {
  printf("%s: %u characters\n", ztString_of(path)->get(path), (unsigned)ztString_of(path)->length(path));
  printf("equal: %d, less: %d\n", (int)ztString_of(path)->isEqual(path, other),
         (int)ztString_of(path)->isLess(path, other));
}
// end compare

// begin store
/* Stores the two in a text file, and loads them again. */
static int storeAndLoad(const ztString *path, const ztString *note) {
  ztTextFile *file = ztTextFile_new();
  ztString *loaded = ztString_new();
  if (!ztTextFile_of(file)->open(file, "notes.txt", "w+")) return 0;
  int done = ztString_store(path, file) && ztString_store(note, file) &&
             ztTextFile_of(file)->writeFloat(file, 412.5) > 0;
  ztTextFile_of(file)->goToBegin(file);
  for (int i = 0; i < 2 && done; ++i) {
    done = ztString_load(loaded, file);
    printf("loaded: %s\n", ztString_of(loaded)->get(loaded));
  }
  ztString_of(loaded)->unRef(loaded);
  ztTextFile_of(file)->unRef(file);
  return done;
}
// end store

// begin main
int main(void) {
  ztString *path = newPath("Waterworks", "Intake");
  ztString *note = ztString_new();
  ztString_of(note)->set(note, "cleaned,\nthen measured");
  compare(path, note);
  const int done = storeAndLoad(path, note);
  ztString_of(note)->unRef(note);
  ztString_of(path)->unRef(path);
  return done ? 0 : 1;
}
// end main
