#include "plant.h"

#include <stdio.h>

int main(void) {
  ztRoot *plant = newPlant();
  printTree(plant, 0);
  if (ztRoot_saveTree(plant, "plant.bin", 0) != 4) return 1; /* 4 nodes */
  ztRoot_of(plant)->unRef(plant);                            /* with all nodes below */

  plant = openPlant("plant.bin");
  if (plant == NULL) return 1;
  const Pump *pump = pumpOf(plant);
  const LimitGauge *gauge = LimitGauge_cast(pump->gauge.target);
  printf("%s follows %s, %.1f cm\n", pump->name, gauge->name, gauge->level);
  ztRoot_of(plant)->unRef(plant);
  return 0;
}
