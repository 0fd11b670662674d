/* Makes files for the tests of ztinspect: inspect_maker <kind> <file> [text] [plugin], or many <file> <count>. */
#include "zentova.h"

#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

ZT_LOG_TO("");

static ztRoot *addNode(void *node, const char *name, int32_t uid, void *parent) {
  if (node == NULL) {
    fprintf(stderr, "inspect_maker: no node for %s\n", name);
    exit(1);
  }
  ztRoot_of(node)->setName(node, name);
  ztRoot_of(node)->setUid(node, uid);
  // The parent has the reference that counts.
  if (parent != NULL) ztRoot_of(node)->setParent(node, parent);
  return node;
}

/* plant 1 { hall 2 { tank 3 }, "night shift" 4 } */
static ztRoot *makePlant(void) {
  ztRoot *plant = addNode(ztRoot_new(), "plant", 1, NULL);
  ztRoot *hall = addNode(ztRoot_new(), "hall", 2, plant);
  addNode(ztRoot_new(), "tank", 3, hall);
  addNode(ztRoot_new(), "night shift", 4, plant);
  return plant;
}

/* The same, otherwise: the tank has moved, a node was removed, one added, one has another name. */
static ztRoot *makeOtherPlant(void) {
  ztRoot *plant = addNode(ztRoot_new(), "plant", 1, NULL);
  addNode(ztRoot_new(), "great hall", 2, plant);
  addNode(ztRoot_new(), "tank", 3, plant);
  addNode(ztRoot_new(), "yard", 5, plant);
  return plant;
}

static ztRoot *makeManyNodes(int32_t count) {
  ztRoot *root = addNode(ztRoot_new(), "root", 1, NULL);
  ztRoot *above = root;
  for (int32_t i = 2; i <= count; ++i) {
    char name[32];
    snprintf(name, sizeof name, "node %d", i);
    ztRoot *node = addNode(ztRoot_new(), name, i, i % 100 == 2 ? root : above);
    if (i % 100 == 2) above = node;
  }
  return root;
}

static ztRoot *makeStations(void) {
  ztRoot *root = addNode(ztRoot_new(), "stations", 1, NULL);
  ztRoot *ridge = addNode(ztNewFromName("Station"), "Ridge", 10, root);
  ztObject_setFloat(ridge, "height", 412.5);
  addNode(ztRoot_new(), "cellar", 11, ridge);
  addNode(ztNewFromName("Station"), "Lake \x1b[31m", 12, root);
  return root;
}

static ztRoot *makeTags(void) {
  ztRoot *root = addNode(ztRoot_new(), "plant", 1, NULL);
  ztTag *tag = (ztTag *)addNode(ztNewFromName("Sensors"), "sensors", 20, root);
  for (int32_t i = 0; i < 3; ++i) ztTag_of(tag)->setValue(tag, &(ztTagHandle){0, 1}, i, &(int32_t){10 * i});
  for (int32_t i = 0; i < 10; ++i) ztTag_of(tag)->setValue(tag, &(ztTagHandle){1, 2}, i, &(double){0.5 * i});
  return root;
}

static void addSeries(ztTag *tag, const char *name, void *attribute, int32_t count) {
  ztTagHandle handle;
  if (!ztTag_of(tag)->insertNew(tag, name, attribute, &handle, 7, count, NULL)) exit(1);
  for (int32_t i = 0; i < count; ++i) {
    const void *value = handle.type == 1 ? (void *)&(int32_t){10 * i} : (void *)&(double){0.5 * i};
    ztTag_of(tag)->setValue(tag, &handle, i, value);
  }
}

/* Tags of the library's own class, the first one with series: plant 1 { sensors 2 { spare 3 }, empty 4 } */
static ztRoot *makeOwnTags(void) {
  ztRoot *root = addNode(ztRoot_new(), "plant", 1, NULL);
  ztTag *tag = (ztTag *)addNode(ztTag_new(), "sensors", 2, root);
  addSeries(tag, "count", ztIntTag_new(), 3);
  addSeries(tag, "level", ztFloatTag_new(), 10);
  addNode(ztRoot_new(), "spare", 3, tag);
  addNode(ztTag_new(), "empty", 4, root);
  return root;
}

static void addSignpost(ztRoot *root, const char *name, int32_t uid, int32_t way) {
  ztRoot *post = addNode(ztNewFromName("Signpost"), name, uid, root);
  if (!ztObject_setInt(post, "way", way)) exit(1);
}

/* Links in a circle, to themselves, to nothing; names that no page may take for its own text; series. */
static ztRoot *makeSigns(void) {
  ztRoot *root = addNode(ztRoot_new(), "plant", 1, NULL);
  addSignpost(root, "first", 2, 3);
  addSignpost(root, "second", 3, 2);
  addSignpost(root, "self", 4, 4);
  addSignpost(root, "lost", 5, 99);
  addSignpost(root, "unset", 6, -1);
  addNode(ztRoot_new(), "</script><script>document.title = 'broken'</script>", 7, root);
  addNode(ztRoot_new(), "\"quotes' \\ &amp; <!-- <b>", 8, root);
  addNode(ztRoot_new(), "bell\a tab\t escape\x1b[31m", 9, root);
  addNode(ztRoot_new(), "no text: \xff\xc3(", 10, root);
  ztTag *tag = (ztTag *)addNode(ztTag_new(), "sensors", 11, root);
  addSeries(tag, "count", ztIntTag_new(), 3);
  addSeries(tag, "level", ztFloatTag_new(), 1000);
  return root;
}

static void *openFile(const char *path, int32_t isText) {
  ztFile *file = isText ? (ztFile *)ztTextFile_new() : ztFile_new();
  if (!ztFile_of(file)->open(file, path, "wb")) exit(1);
  return file;
}

static int32_t storeTree(const ztRoot *root, const char *path, int32_t isText) {
  void *file = openFile(path, isText);
  const int32_t done = ztRoot_storeTree(root, file);
  ztFile_of(file)->unRef(file);
  return done;
}

static void storeObject(void *object, void *file) {
  ztBaseClass_functions()->classWrite(NULL, object, file);
  ztBaseClass_of(object)->write(object, file);
  ztBaseClass_of(object)->unRef(object);
}

static int32_t storeObjects(const char *path, int32_t isText) {
  void *file = openFile(path, isText);
  ztIntArray *array = ztIntArray_new();
  for (int32_t i = 1; i <= 3; ++i) ztIntArray_of(array)->pushBack(array, &i);
  storeObject(array, file);
  ztLink *link = ztLink_new();
  link->targetId = 3;
  storeObject(link, file);
  ztString *string = ztString_new();
  ztString_of(string)->set(string, "Aare");
  storeObject(string, file);
  ztFile_of(file)->unRef(file);
  return 1;
}

static int32_t make(const char *kind, const char *path, int32_t isText) {
  if (strcmp(kind, "objects") == 0) return storeObjects(path, isText);
  ztRoot *root = strcmp(kind, "other") == 0      ? makeOtherPlant()
                 : strcmp(kind, "tags") == 0     ? makeTags()
                 : strcmp(kind, "owntags") == 0  ? makeOwnTags()
                 : strcmp(kind, "signs") == 0    ? makeSigns()
                 : strcmp(kind, "stations") == 0 ? makeStations()
                                                 : makePlant();
  const int32_t done =
      strcmp(kind, "stored") == 0 ? storeTree(root, path, isText) : ztRoot_saveTree(root, path, isText);
  ztRoot_of(root)->unRef(root);
  return done;
}

static int32_t makeMany(const char *path, int32_t count) {
  ztRoot *root = makeManyNodes(count);
  const int32_t done = ztRoot_saveTree(root, path, 0);
  ztRoot_of(root)->unRef(root);
  return done;
}

static void showLevel(void *panel, intptr_t level) {
  (void)panel;
  (void)level;
}

/* A report of live objects, which the environment has to ask for. */
static int32_t reportObjects(const char *path) {
  ztRoot *plant = ztRoot_new();
  ztRoot_of(plant)->setName(plant, "plant");
  ztRoot *tank = ztRoot_new();
  ztRoot_of(tank)->setName(tank, "a \"tank\"");
  ztRoot_of(plant)->addChild(plant, tank);
  ztObject *panel = ztObject_new();
  const int32_t done =
      ztObject_connect(tank, "levelChanged", panel, ZT_SLOT(showLevel), 1) && ztOOP_report(path);
  ztObject_of(panel)->unRef(panel);
  ztRoot_of(plant)->unRef(plant);
  return done;
}

int main(int count, char **words) {
  if (count < 3) return 2;
  if (strcmp(words[1], "many") == 0)
    return !makeMany(words[2], count < 4 ? 1000 : (int32_t)strtol(words[3], NULL, 10));
  if (strcmp(words[1], "tracked") == 0) return !reportObjects(words[2]);
  if (count > 4 && dlopen(words[4], RTLD_NOW) == NULL) {
    fprintf(stderr, "inspect_maker: %s\n", dlerror());
    return 1;
  }
  return !make(words[1], words[2], count > 3 && strcmp(words[3], "text") == 0);
}
