/* Writes files for tests/formats/reader.py, and prints what the library knows of their contents.
 *
 *   host tree PATH TEXT    saves a tree, loads it again and prints the nodes
 *   host open PATH         prints nothing; fails unless the library opens the file
 *   host values PATH TEXT  writes and prints values
 */
#include "zentova.h"

#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

ZT_LOG_TO("");

#define Room_FIELDS \
  ztRoot_FIELDS     \
  double area;
#define Room_METHODS ztRoot_METHODS
ZT_DECLARE_CLASS(Room)

static int32_t roomWrite(const void *room, void *file) {
  return ztRoot_table()->write(room, file) && ztFile_of(file)->writeFloat(file, ((const Room *)room)->area);
}

static int32_t roomRead(void *room, void *file) {
  return ztRoot_table()->read(room, file) && ztFile_of(file)->readFloat(file, &((Room *)room)->area);
}

static void roomMethods(RoomMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, write, roomWrite);
  ZT_OVERRIDE_METHOD(methods, read, roomRead);
}

ZT_DEFINE_CLASS_FULL(Room, ztRoot, roomMethods, 3, ztClassFunctions, ztOOP_noFunctions)

#define Station_FIELDS \
  ztTag_FIELDS         \
  ztTagHandle rain, level;
#define Station_METHODS ztTag_METHODS
ZT_DECLARE_CLASS(Station)

/* A tag stores no number of attributes: its class makes them. */
static int32_t stationCreate(void *object) {
  if (!ztTag_table()->create(object)) return 0;
  Station *station = (Station *)object;
  const int32_t none = 0;
  const double low = 0.5;
  const ztTagMethods *methods = ztTag_table();
  return methods->insertNew(station, "rain", ztIntTag_new(), &station->rain, 7, 3, &none) &&
         methods->insertNew(station, "level", ztFloatTag_new(), &station->level, -7, 2, &low);
}

static void stationMethods(StationMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, stationCreate);
}

ZT_DEFINE_CLASS(Station, ztTag, stationMethods)

/* The tree ------------------------------------------------------------------------------------- */

static void *add(void *parent, void *node, const char *name, int32_t uid) {
  ztRoot_of(node)->setName(node, name);
  ztRoot_of(node)->setUid(node, uid);
  if (parent != NULL) ztRoot_of(parent)->addChild(parent, node);
  return node;
}

/* With identifiers that are there twice, or stand for no parent. */
static void *makeTree(void) {
  void *house = add(NULL, ztRoot_new(), "house", 1);
  void *first = add(house, Room_new(), "first room", 2);
  void *second = add(house, Room_new(), "", 2);
  ((Room *)first)->area = 12.25;
  ((Room *)second)->area = -0.5;
  add(first, ztRoot_new(), "chair", 10);
  add(second, ztRoot_new(), "table\n", 11);
  add(second, ztRoot_new(),
      "a name that is longer than the field of eighty bytes, so that it is cut to seventy-nine", -12);
  void *nobody = add(house, ztRoot_new(), "with the identifier of no node", 0);
  add(nobody, ztRoot_new(), "below it", 13);
  Station *station = (Station *)add(house, Station_new(), "station", 20);
  const int32_t rain[] = {3, 0x0a0a0a0a, -1};
  const double level[] = {412.5, 1e300};
  for (int32_t i = 0; i < 3; ++i) ztTag_of(station)->setValue(station, &station->rain, i, &rain[i]);
  ztTag_of(station)->setValue(station, &station->level, 0, &level[0]);
  return house;
}

static int32_t printAttribute(void *tag, void *attribute, void *unused) {
  (void)tag;
  (void)unused;
  const ztTagAttribute *series = (const ztTagAttribute *)attribute;
  printf(" %s type %d user %d:", series->name, (int)series->type, (int)series->userValue);
  ztArray *values = series->values;
  for (int32_t i = 0; i < values->count; ++i) {
    const void *place = ztArray_of(values)->getAt(values, i);
    printf(" %.6f", series->type == 1 ? *(const int32_t *)place : *(const double *)place);
  }
  return 1;
}

static void printNode(void *node, int indent) {
  const ztRootMethods *methods = ztRoot_of(node);
  printf("%*s%s version %u uid %d '%s'", indent, "", ztOOP_classNameOf(node), ztOOP_versionOf(node),
         (int)methods->getUid(node), methods->getName(node));
  if (ztOOP_isClassOf(node, "Room")) printf(" area %.6f", ((Room *)node)->area);
  if (ztOOP_isClassOf(node, "ztTag")) ztTag_of(node)->enumTags(node, printAttribute, NULL);
  printf("\n");
  for (int32_t i = 0; i < methods->getChildCount(node); ++i)
    printNode(methods->getChildAt(node, i), indent + 2);
}

static int openTree(const char *path, int prints) {
  ztPtrArray *roots = ztPtrArray_new();
  const int32_t done = ztRoot_openTree(path, roots, NULL);
  for (int32_t i = 0; i < roots->count; ++i) {
    void *root = ztPtrArray_of(roots)->getAt(roots, i);
    if (prints) printNode(root, 0);
    ztRoot_of(root)->unRef(root);
  }
  ztPtrArray_of(roots)->unRef(roots);
  return done ? EXIT_SUCCESS : EXIT_FAILURE;
}

static int saveTree(const char *path, int32_t text) {
  void *house = makeTree();
  const int32_t saved = ztRoot_saveTree(house, path, text);
  ztRoot_of(house)->unRef(house);
  return saved ? openTree(path, 1) : EXIT_FAILURE;
}

/* Values --------------------------------------------------------------------------------------- */

static void writeNumbers(ztFile *file) {
  const ztFileMethods *methods = ztFile_of(file);
  methods->writeInt(file, 7);
  methods->writeInt(file, INT32_MIN);
  methods->writeInt(file, 0);
  methods->writeLong(file, INT64_MAX);
  methods->writeLong(file, -1);
  methods->writeFloat(file, -412.125);
  methods->writeFloat(file, INFINITY);
  methods->writeChar(file, 'a');
  methods->writeBuf(file, 5, "\n\0 \r1");
  methods->writeString(file, "a b c");
  methods->writeString(file, "");
  printf(
      "int 7 -2147483648 0\nlong 9223372036854775807 -1\nfloat %.6f %.6f\nchar 97\nbytes 0a00200d31\n"
      "text 'a b c' ''\n",
      -412.125, INFINITY);
}

/* A new string, one that was never set, and an empty one; then what has no byte behind it. */
static void writeStrings(ztFile *file) {
  static const char *const texts[] = {"Aare", NULL, ""};
  static const char *const stored[] = {" two\nlines\n", "", NULL, ":"};
  for (int i = 0; i < 3; ++i) {
    ztString *string = ztString_new();
    if (texts[i] != NULL) ztString_of(string)->set(string, texts[i]);
    ztString_of(string)->write(string, file);
    ztFile_of(file)->writeChar(file, 0);
    printf("string '%s'\n", ztString_of(string)->get(string));
    ztString_of(string)->unRef(string);
  }
  for (int i = 0; i < 4; ++i) {
    ztString *string = ztString_new();
    ztString_of(string)->set(string, stored[i]);
    ztString_store(string, file);
    printf(stored[i] == NULL ? "no string\n" : "stored '%s'\n", stored[i]);
    ztString_of(string)->unRef(string);
  }
}

static void writeNumbersInArrays(ztFile *file) {
  static const int32_t whole[] = {1, -1, 10};
  static const double real[] = {0.5, -1e10};
  ztIntArray *ints = ztIntArray_new();
  ztFloatArray *floats = ztFloatArray_new();
  ztCharArray *chars = ztCharArray_new();
  for (int i = 0; i < 3; ++i) ztIntArray_of(ints)->pushBack(ints, &whole[i]);
  for (int i = 0; i < 2; ++i) ztFloatArray_of(floats)->pushBack(floats, &real[i]);
  for (int i = 0; i < 2; ++i) ztCharArray_of(chars)->pushBack(chars, &"\nz"[i]);
  ztBaseClass_functions()->classWrite(NULL, ints, file);
  ztIntArray_of(ints)->write(ints, file);
  ztFloatArray_of(floats)->write(floats, file);
  ztCharArray_of(chars)->write(chars, file);
  printf("%s version %u: [1, -1, 10]\nfloats %.6f %.6f\nchars [10, 122]\n", ztOOP_classNameOf(ints),
         ztOOP_versionOf(ints), real[0], real[1]);
  ztIntArray_of(ints)->unRef(ints);
  ztFloatArray_of(floats)->unRef(floats);
  ztCharArray_of(chars)->unRef(chars);
}

static void writeObjectsInArrays(ztFile *file) {
  ztStringArray *strings = ztStringArray_new();
  ztLinkArray *links = ztLinkArray_new();
  for (int i = 0; i < 2; ++i) {
    ztString *string = ztString_new();
    ztString_of(string)->set(string, i == 0 ? "Rhine" : "null");
    ztStringArray_of(strings)->pushBack(strings, string);
    ztString_of(string)->unRef(string);
    ztLink *link = ztLink_new();
    if (i == 0) link->targetId = 1234567;
    ztLinkArray_of(links)->pushBack(links, link);
    ztLink_of(link)->unRef(link);
  }
  ztStringArray_of(strings)->write(strings, file);
  ztLinkArray_of(links)->write(links, file);
  printf("strings ['Rhine', 'null']\nlinks [1234567, -1]\n");
  ztStringArray_of(strings)->unRef(strings);
  ztLinkArray_of(links)->unRef(links);
}

static int writeValues(const char *path, int32_t text) {
  ztFile *file = text ? (ztFile *)ztTextFile_new() : ztFile_new();
  if (!ztFile_of(file)->open(file, path, "wb")) return EXIT_FAILURE;
  writeNumbers(file);
  writeStrings(file);
  writeNumbersInArrays(file);
  writeObjectsInArrays(file);
  const ztTagHandle handle = {3, 2};
  ztTat_writeHandle(file, &handle);
  printf("handle 3 2\n");
  const int32_t lost = ztFile_of(file)->flush(file);
  ztFile_of(file)->unRef(file);
  return lost ? EXIT_FAILURE : EXIT_SUCCESS;
}

int main(int count, char **arguments) {
  ZT_REGISTER_CLASS(Room);
  ZT_REGISTER_CLASS(Station);
  if (count == 3 && strcmp(arguments[1], "open") == 0) return openTree(arguments[2], 0);
  if (count != 4) return EXIT_FAILURE;
  const int32_t text = strcmp(arguments[3], "text") == 0;
  return strcmp(arguments[1], "tree") == 0 ? saveTree(arguments[2], text) : writeValues(arguments[2], text);
}
