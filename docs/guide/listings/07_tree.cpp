#include "limitgauge.hpp"
#include "pump.hpp"

#include <cstdio>

// begin build
template <typename T>
static zt::Own<T> newNode(const char *name, int32_t uid) {
  auto node = zt::make<T>();
  zt::methods(node)->setName(node.get(), name);
  zt::methods(node)->setUid(node.get(), uid);  // files and links tell nodes by it
  return node;
}

static zt::Own<ztRoot> newPlant() {
  auto plant = newNode<ztRoot>("Waterworks", 1);
  // The parent owns its child from then on. What is left is a zt::Ptr, which owns nothing.
  auto basin = zt::addChild(plant, newNode<ztRoot>("Basin", 2));
  auto gauge = zt::addChild(basin, newNode<LimitGauge>("Intake", 3));
  gauge->measure(412.5);
  auto pump = zt::addChild(plant, newNode<Pump>("Pump", 4));
  ztLink_set(pump->gauge.get(), gauge.get());
  return plant;
}
// end build

// begin rest
static void print(const ztRoot *node, int depth) {
  std::printf("%*s%s: %s\n", 2 * depth, "", ztOOP_classNameOf(node), node->name);
  for (const ztRoot *child : zt::children(node)) print(child, depth + 1);
}

static zt::Own<ztRoot> openPlant(const char *path) {
  zt::Array<ztRoot *> roots;
  if (!ztRoot_openTree(path, roots.get(), nullptr)) return {};
  return zt::Own<ztRoot>(roots[0]);
}

int main() {
  auto plant = newPlant();
  print(plant.get(), 0);
  if (ztRoot_saveTree(plant.get(), "plant.bin", 0) != 4) return 1;

  plant = openPlant("plant.bin");  // the first one ends here
  if (!plant) return 1;
  auto *pump = zt::cast<Pump>(zt::methods(plant)->getChildAt(plant.get(), 1));
  if (!ztLink_resolve(pump->gauge.get(), plant.get())) return 1;
  const auto *gauge = zt::cast<LimitGauge>(pump->gauge->target);
  std::printf("%s follows %s, %.1f cm\n", pump->name, gauge->name, gauge->level);
}
// end rest
