#include <zentova.h>

#include <assert.h>
#include <string.h>

static ztRoot *newNode(const char *name, int32_t uid) {
  ztRoot *node = ztRoot_new();
  ztRoot_of(node)->setName(node, name);
  ztRoot_of(node)->setUid(node, uid);
  return node;
}

// begin find
static ztRoot *findNode(ztRoot *node, const char *name) {
  if (strcmp(node->name, name) == 0) return node;
  ztRoot *found = NULL;
  for (int32_t i = 0; found == NULL && i < ztRoot_of(node)->getChildCount(node); ++i)
    found = findNode(ztRoot_of(node)->getChildAt(node, i), name);
  return found;
}
// end find

// begin walk
static int32_t countNodes(const ztRoot *node) {
  int32_t count = 1;
  for (ztListItem *item = node->children->head; item != NULL; item = item->next)
    count += countNodes(item->data);
  return count;
}
// end walk

static void move(ztRoot *plant) {
  ztRoot *gauge = findNode(plant, "Intake"), *basin = findNode(plant, "Basin");
  // begin move
  ztRoot_of(plant)->deleteChild(plant, gauge); /* finds it by its identifier */
  ztRoot_of(basin)->addChild(basin, gauge);
  ztRoot_of(gauge)->unRef(gauge); /* the reference for the old parent */
  // end move
  assert(gauge->parent == basin && countNodes(plant) == 3);
}

static void take(ztRoot *plant) {
  ztRoot *gauge = findNode(plant, "Intake");
  // begin take
  ztRoot *parent = ztRoot_of(gauge)->getParent(gauge);
  ztRoot_of(parent)->deleteChild(parent, gauge); /* it is yours again */
  ztRoot_of(gauge)->unRef(gauge);                /* and ends here */
  // end take
  assert(countNodes(plant) == 2);
}

static void save(ztRoot *plant) {
  // begin save
  assert(ztRoot_saveTree(plant, "plant.bin", 0) == 3); /* 1 for a text file; gives the number of nodes */
  ztPtrArray *roots = ztPtrArray_new();
  ztTreeReport report;
  assert(ztRoot_openTree("plant.bin", roots, &report) && report.nodes == 3);
  ztRoot *copy = ztRoot_cast(ztPtrArray_of(roots)->getAt(roots, 0));
  // end save
  ztRoot_of(copy)->unRef(copy);
  ztPtrArray_of(roots)->unRef(roots);
}

static void linkTo(ztRoot *plant) {
  ztRoot *gauge = findNode(plant, "Intake");
  // begin link
  ztLink *link = ztLink_new();
  ztLink_set(link, gauge);             /* has the target and its identifier, 3; only that is stored */
  link->target = NULL;                 /* as after loading */
  assert(ztLink_resolve(link, plant)); /* looks for it in the tree */
  assert(link->target == gauge && link->targetId == 3);
  // end link
  ztLink_of(link)->unRef(link);
}

static void childEnds(void) {
  ztRoot *plant = newNode("Waterworks", 1), *gauge = newNode("Intake", 3);
  // begin child
  ztRoot_of(plant)->addChild(plant, gauge); /* from here on the plant's: do not release it */
  ztRoot_of(plant)->unRef(plant);           /* ends both */
  // end child
}

int main(void) {
  ztRoot *plant = newNode("Waterworks", 1);
  ztRoot_of(plant)->addChild(plant, newNode("Basin", 2));
  ztRoot_of(plant)->addChild(plant, newNode("Intake", 3));
  assert(findNode(plant, "Outlet") == NULL);
  save(plant);
  linkTo(plant);
  move(plant);
  take(plant);
  childEnds();
  ztRoot_of(plant)->unRef(plant);
  return 0;
}
