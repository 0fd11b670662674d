#pragma once

#include "limitgauge.hpp"
#include "pump.hpp"

#include <cstdio>

// begin build
template <typename T>
zt::Own<T> newNode(const char *name, int32_t uid) {
  auto node = zt::make<T>();
  zt::methods(node)->setName(node.get(), name);
  zt::methods(node)->setUid(node.get(), uid);  // files and links tell nodes by it
  return node;
}

inline zt::Own<ztRoot> newPlant() {
  auto plant = newNode<ztRoot>("Waterworks", 1);
  // The parent owns its child from then on. What is left is a zt::Ptr, which owns nothing.
  auto basin = zt::addChild(plant, newNode<ztRoot>("Basin", 2));
  auto gauge = zt::addChild(basin, newNode<LimitGauge>("Intake", 3));
  gauge->measure(412.5);
  auto pump = zt::addChild(plant, newNode<Pump>("Pump", 4));
  ztLink_set(pump->gauge.get(), gauge.get());
  return plant;
}

inline zt::Ptr<Pump> pumpOf(zt::Ptr<ztRoot> plant) {
  return zt::cast<Pump>(zt::methods(plant)->getChildAt(plant.get(), 1));
}
// end build

// begin print
inline void printTree(const ztRoot *node, int depth = 0) {
  std::printf("%*s%s: %s\n", 2 * depth, "", ztOOP_classNameOf(node), node->name);
  for (const ztRoot *child : zt::children(node)) printTree(child, depth + 1);
}
// end print

// begin open
inline zt::Own<ztRoot> openPlant(const char *path) {
  zt::registerClass<LimitGauge>();  // a process that only opens a plant has made none
  zt::registerClass<Pump>();
  zt::Array<ztRoot *> roots;
  if (!ztRoot_openTree(path, roots.get(), nullptr)) return {};
  zt::Own<ztRoot> plant(roots[0]);
  ztLink_resolve(pumpOf(plant)->gauge.get(), plant.get());
  return plant;
}
// end open
