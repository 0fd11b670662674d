/*
 * A host that includes no header of the library: it knows the names of exported symbols, the numbers
 * of slots and the offsets of fields.
 *
 * The arguments are the library's path and what comes after its use: `exit` or `close` (dlclose), and
 * `reload` (closed, loaded and used again, closed).
 */
#include "tests/hosts/check.h"
#include "tests/hosts/raw.h"

#include <dlfcn.h>

typedef void *(*FromName)(const char *name);
typedef void *(*Instance)(void);
typedef int32_t (*WriteInt)(void *file, int32_t value);
typedef int32_t (*ReadInt)(void *file, int32_t *out);
typedef int32_t (*WriteLong)(void *file, int64_t value);
typedef int32_t (*ReadLong)(void *file, int64_t *out);
typedef int32_t (*WriteFloat)(void *file, double value);
typedef int32_t (*ReadFloat)(void *file, double *out);
typedef int32_t (*WriteBuf)(void *file, int32_t n, const void *buffer);
typedef int32_t (*ReadBuf)(void *file, int32_t n, void *buffer);
typedef int32_t (*WriteString)(void *file, const char *text);
typedef intptr_t (*ReadString)(void *file, int32_t n, char *buffer);
typedef int32_t (*ReadChar)(void *file, char *out);
typedef const char *(*GetText)(const void *file);
typedef int32_t (*FileExist)(const void *ignored, const char *name);

static void *library;

static void *symbol(const char *name) {
  void *found = dlsym(library, name);
  CHECK(found != NULL);
  return found;
}

static Function function(const char *name) {
  void *found = symbol(name);
  Function result;
  memcpy(&result, &found, sizeof result);
  return result;
}

static void writeEverything(void *file) {
  CHECK(((WriteInt)slot(file, 26))(file, 1) == 1);
  CHECK(((WriteLong)slot(file, 28))(file, 2) == 1);
  CHECK(((WriteFloat)slot(file, 30))(file, 0.5) == 1);
  CHECK(((WriteBuf)slot(file, 32))(file, 3, "abc") == 3);
  CHECK(((WriteString)slot(file, 34))(file, "xy") == 3);
  CHECK(((WriteInt)slot(file, 36))(file, '!') == 1);
  CHECK(((Tell)slot(file, 23))(file) == 27);
  CHECK(((Status)slot(file, 24))(file) == 0);
}

static void readEverything(void *file) {
  int32_t anInt = 0;
  int64_t aLong = 0;
  double aFloat = 0;
  char text[4] = "";
  char letter = 0;
  CHECK(((ReadInt)slot(file, 27))(file, &anInt) == 1 && anInt == 1);
  CHECK(((ReadLong)slot(file, 29))(file, &aLong) == 1 && aLong == 2);
  CHECK(((ReadFloat)slot(file, 31))(file, &aFloat) == 1 && aFloat == 0.5);
  CHECK(((ReadBuf)slot(file, 33))(file, 3, text) == 3 && memcmp(text, "abc", 3) == 0);
  CHECK(((ReadString)slot(file, 35))(file, 3, text) == 3 && strcmp(text, "xy") == 0);
  CHECK(((ReadChar)slot(file, 37))(file, &letter) == 1 && letter == '!');
  CHECK(((ReadChar)slot(file, 37))(file, &letter) == 0);
  CHECK(((Status)slot(file, 25))(file) != 0);
}

static void checkIdentity(void *file, const void *baseClass) {
  const void *functions = pointerAt(baseClass, 32);
  CHECK(((Status)slot(file, 19))(file) == 0);
  CHECK(((ClassWrite)entry(functions, 11))(NULL, file, file) == 1);
  CHECK(((Tell)slot(file, 23))(file) == 104);
  CHECK(((Status)slot(file, 19))(file) == 0);
  void *made = ((ClassRead)entry(functions, 10))(NULL, file);
  CHECK(made != NULL && pointerAt(made, 0) == pointerAt(file, 0));
  if (made != NULL) ((Action)slot(made, 14))(made);
}

static void useFile(void) {
  void *baseClass = ((Instance)function("ztBaseClassClass_Instance"))();
  void *klass = ((Instance)function("ztFileClass_Instance"))();
  CHECK(((FromName)function("ztOOP_findClass"))("ztFile") == klass);
  void *file = ((FromName)function("ztNewFromName"))("ztFile");
  CHECK(file != NULL && pointerAt(file, 0) == klass);
  CHECK(((Open)slot(file, 16))(file, "numbers.bin", "w+b") == 1);
  CHECK(pointerAt(file, 16) != NULL);
  CHECK(strcmp((const char *)file + 24, "numbers.bin") == 0);
  CHECK(((GetText)slot(file, 38))(file) == (const char *)file + 24);
  writeEverything(file);
  CHECK(((Status)slot(file, 19))(file) == 0);
  readEverything(file);
  CHECK(((FileExist)entry(pointerAt(klass, 32), 13))(NULL, "numbers.bin") == 1);
  checkIdentity(file, baseClass);

  ((Action)slot(file, 17))(file);
  CHECK(pointerAt(file, 16) == NULL && ((const char *)file)[24] == '\0');
  ((Action)slot(file, 14))(file);
}

static void load(const char *path) {
  library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  CHECK(library != NULL);
}

static void closeLibrary(const char *path) {
  CHECK(dlclose(library) == 0);
  CHECK(dlopen(path, RTLD_NOW | RTLD_NOLOAD) == NULL);
  puts("host closed the library");
}

int main(int argc, char **argv) {
  if (argc != 3) return 2;
  load(argv[1]);
  if (library == NULL) return 1;
  useFile();
  if (strcmp(argv[2], "exit") != 0) closeLibrary(argv[1]);
  if (strcmp(argv[2], "reload") == 0) {
    load(argv[1]);
    if (library == NULL) return 1;
    useFile();
    closeLibrary(argv[1]);
  }
  puts("host ends");
  return failedChecks != 0;
}
