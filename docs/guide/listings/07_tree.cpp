#include "plant.hpp"

int main() {
  auto plant = newPlant();
  printTree(plant.get());
  if (ztRoot_saveTree(plant.get(), "plant.bin", 0) != 4) return 1;  // 4 nodes

  plant = openPlant("plant.bin");  // the first one ends here
  if (!plant) return 1;
  const auto pump = pumpOf(plant);
  const auto *gauge = zt::cast<LimitGauge>(pump->gauge->target);
  std::printf("%s follows %s, %.1f cm\n", pump->name, gauge->name, gauge->level);
}
