#include <zentova.hpp>

#include <cstdio>

int main() {
  auto plant = zt::make<ztRoot>();  // an owner, which releases the node at its end
  zt::methods(plant)->setName(plant.get(), "Waterworks");
  std::printf("%s is a %s\n", zt::methods(plant)->getName(plant.get()), ztOOP_classNameOf(plant.get()));

  const zt::Own<ztRoot> gate(zt::cast<ztRoot>(ztNewFromName("ztRoot")));
  zt::methods(gate)->setName(gate.get(), "Gate");
  std::printf("%s is a node: %d\n", gate->name, ztOOP_isClassOf(gate.get(), "ztRoot"));
}
