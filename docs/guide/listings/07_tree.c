#include "limitgauge.h"
#include "pump.h"

#include <stdio.h>

// begin build
/* Makes a node below a parent, which owns it from then on. */
static void *addNode(void *parent, ztCtor ctor, const char *name, int32_t uid) {
  ztRoot *node = ctor(NULL, 1);
  ztRoot_of(node)->setName(node, name);
  ztRoot_of(node)->setUid(node, uid); /* files and links tell nodes by it */
  if (parent != NULL) ztRoot_of(parent)->addChild(parent, node);
  return node;
}

static ztRoot *newPlant(void) {
  ztRoot *plant = addNode(NULL, ztRoot_ctor, "Waterworks", 1);
  ztRoot *basin = addNode(plant, ztRoot_ctor, "Basin", 2);
  LimitGauge *gauge = addNode(basin, LimitGauge_ctor, "Intake", 3);
  Gauge_of(gauge)->measure(gauge, 412.5);
  Pump *pump = addNode(plant, Pump_ctor, "Pump", 4);
  ztLink_set(&pump->gauge, gauge);
  return plant;
}
// end build

// begin print
static void print(const ztRoot *node, int depth) {
  printf("%*s%s: %s\n", 2 * depth, "", ztOOP_classNameOf(node), node->name);
  const int32_t count = ztRoot_of(node)->getChildCount(node);
  for (int32_t i = 0; i < count; ++i) print(ztRoot_of(node)->getChildAt(node, i), depth + 1);
}
// end print

// begin open
static ztRoot *openPlant(const char *path) {
  ztPtrArray *roots = ztPtrArray_new();
  ztRoot *plant = NULL;
  if (ztRoot_openTree(path, roots, NULL)) plant = ztRoot_cast(ztPtrArray_of(roots)->getAt(roots, 0));
  ztPtrArray_of(roots)->unRef(roots); /* the nodes stay: they are the caller's */
  return plant;
}
// end open

// begin main
int main(void) {
  ztRoot *plant = newPlant();
  print(plant, 0);
  if (ztRoot_saveTree(plant, "plant.bin", 0) != 4) return 1;
  ztRoot_of(plant)->unRef(plant); /* with all nodes below */

  plant = openPlant("plant.bin");
  if (plant == NULL) return 1;
  Pump *pump = Pump_cast(ztRoot_of(plant)->getChildAt(plant, 1));
  if (!ztLink_resolve(&pump->gauge, plant)) return 1;
  const LimitGauge *gauge = LimitGauge_cast(pump->gauge.target);
  printf("%s follows %s, %.1f cm\n", pump->name, gauge->name, gauge->level);
  ztRoot_of(plant)->unRef(plant);
  return 0;
}
// end main
