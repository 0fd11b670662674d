#include "house.h"

#include <stdio.h>
#include <string.h>

/* Building ---------------------------------------------------------------------------------------- */

/* Makes a node of a class and attaches it. The parent has a reference of its own then, so that the
   node ends with it. NULL on failure. */
static void *addNode(void *parent, ztCtor ctor, const char *name) {
  ztRoot *node = ctor(NULL, 1);
  if (node == NULL) return NULL;
  ztRoot_of(node)->setName(node, name);
  ztRoot_of(parent)->addChild(parent, node);
  if (node->parent == parent) return node;
  ztRoot_of(node)->unRef(node);
  return NULL;
}

static Room *addRoom(void *floor, const char *name, double area) {
  Room *room = addNode(floor, Room_ctor, name);
  if (room != NULL) room->area = area;
  return room;
}

/* Links hold the identifier of their target, which is what is stored. */
static int32_t addExit(House *house, const Room *room) {
  if (room == NULL) return 0;
  ztLink link;
  ztLink_ctor(&link, 1);
  link.targetId = Room_of(room)->getUid(room);
  const int32_t added = ztLinkArray_of(house->exits)->pushBack(house->exits, &link) != NULL;
  ztLink_of(&link)->destroy(&link);
  return added;
}

int32_t houseBuild(House *house) {
  house->root = ztRoot_ctor(NULL, 1);
  house->exits = ztLinkArray_ctor(NULL, 1);
  if (house->root == NULL || house->exits == NULL) return 0;
  ztRoot_of(house->root)->setName(house->root, "House");
  void *ground = addNode(house->root, ztRoot_ctor, "Ground floor");
  void *upper = addNode(house->root, ztRoot_ctor, "Upper floor");
  if (ground == NULL || upper == NULL) return 0;
  return addExit(house, addRoom(ground, "Hall", 9.5)) && addExit(house, addRoom(ground, "Kitchen", 14)) &&
         addRoom(upper, "Study", 12.25) != NULL && addExit(house, addRoom(upper, "Balcony", 4)) &&
         ztLinkArray_resolve(house->exits, house->root) == 3;
}

/* Printing ---------------------------------------------------------------------------------------- */

static void printNode(const ztRoot *node, int depth) {
  const ztRootMethods *methods = ztRoot_of(node);
  printf("%*s%s", 2 * depth, "", methods->getName(node));
  if (ztOOP_isClassOf(node, Room_classname_)) printf(", %.2f m2", ((const Room *)node)->area);
  putchar('\n');
  const int32_t count = methods->getChildCount(node);
  for (int32_t i = 0; i < count; ++i) printNode(methods->getChildAt(node, i), depth + 1);
}

void housePrint(const House *house) {
  printNode(house->root, 0);
  const ztLinkArrayMethods *exits = ztLinkArray_of(house->exits);
  const int32_t count = exits->getSize(house->exits);
  for (int32_t i = 0; i < count; ++i) {
    const ztLink *link = exits->getAt(house->exits, i);
    printf("%s%s", i == 0 ? "Ways out: " : ", ", ztRoot_of(link->target)->getName(link->target));
  }
  puts("");
}

/* Storing and loading ----------------------------------------------------------------------------- */

int32_t houseStore(const House *house, void *file) {
  return ztLinkArray_of(house->exits)->write(house->exits, file) && ztRoot_storeTree(house->root, file) > 0;
}

/* The nodes come in the order of the file, and find their parents by the identifiers stored. */
static int32_t loadRoot(House *house, void *file) {
  void *roots = ztPtrArray_ctor(NULL, 1);
  if (roots == NULL) return 0;
  const ztPtrArrayMethods *methods = ztPtrArray_of(roots);
  int32_t done = ztRoot_loadTree(file, -1, roots, NULL);
  if (done && methods->getSize(roots) == 1) {
    house->root = methods->getAt(roots, 0);
  } else {
    for (int32_t i = 0; i < methods->getSize(roots); ++i) {
      void *root = methods->getAt(roots, i);
      ztRoot_of(root)->unRef(root);
    }
    done = 0;
  }
  methods->unRef(roots);
  return done;
}

int32_t houseLoad(House *house, void *file) {
  house->root = NULL;
  house->exits = ztLinkArray_ctor(NULL, 1);
  if (house->exits == NULL || !ztLinkArray_of(house->exits)->read(house->exits, file)) return 0;
  if (!loadRoot(house, file)) return 0;
  const int32_t count = ztLinkArray_of(house->exits)->getSize(house->exits);
  return ztLinkArray_resolve(house->exits, house->root) == count;
}

void houseClear(House *house) {
  if (house->exits != NULL) ztLinkArray_of(house->exits)->unRef(house->exits);
  if (house->root != NULL) ztRoot_of(house->root)->unRef(house->root);
  memset(house, 0, sizeof *house);
}
