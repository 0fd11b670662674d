#include "plant.h"

#include <stdio.h>

// begin build
void *addNode(void *parent, ztCtor ctor, const char *name, int32_t uid) {
  ztRoot *node = ctor(NULL, 1);
  ztRoot_of(node)->setName(node, name);
  ztRoot_of(node)->setUid(node, uid); /* files and links tell nodes by it */
  if (parent != NULL) ztRoot_of(parent)->addChild(parent, node);
  return node;
}

ztRoot *newPlant(void) {
  ztRoot *plant = addNode(NULL, ztRoot_ctor, "Waterworks", 1);
  ztRoot *basin = addNode(plant, ztRoot_ctor, "Basin", 2);
  LimitGauge *gauge = addNode(basin, LimitGauge_ctor, "Intake", 3);
  Gauge_of(gauge)->measure(gauge, 412.5);
  Pump *pump = addNode(plant, Pump_ctor, "Pump", 4);
  ztLink_set(&pump->gauge, gauge);
  return plant;
}

Pump *pumpOf(const ztRoot *plant) {
  return Pump_cast(ztRoot_of(plant)->getChildAt(plant, 1));
}
// end build

// begin print
void printTree(const ztRoot *node, int depth) {
  printf("%*s%s: %s\n", 2 * depth, "", ztOOP_classNameOf(node), node->name);
  const int32_t count = ztRoot_of(node)->getChildCount(node);
  for (int32_t i = 0; i < count; ++i) printTree(ztRoot_of(node)->getChildAt(node, i), depth + 1);
}
// end print

// begin open
ztRoot *openPlant(const char *path) {
  ztPtrArray *roots = ztPtrArray_new();
  ztRoot *plant = NULL;
  ZT_REGISTER_CLASS(LimitGauge); /* a process that only opens a plant has made none */
  ZT_REGISTER_CLASS(Pump);
  if (ztRoot_openTree(path, roots, NULL)) plant = ztRoot_cast(ztPtrArray_of(roots)->getAt(roots, 0));
  if (plant != NULL) ztLink_resolve(&pumpOf(plant)->gauge, plant);
  ztPtrArray_of(roots)->unRef(roots); /* the nodes stay: they are the caller's */
  return plant;
}
// end open
