#include "plant.hpp"

#include <dlfcn.h>

// Adds a thermometer to the plant, by names alone.
static bool use(const zt::Own<ztRoot> &plant) {
  zt::Own<ztRoot> made(zt::cast<ztRoot>(ztNewFromName("Thermometer")));
  if (!made) return false;
  const auto thermometer = zt::addChild(plant, std::move(made));
  const auto shown = zt::connect(thermometer, "measured",
                                 [](double celsius) { std::printf("measured: %.1f degrees\n", celsius); });
  return zt::Property<const char *>("name").set(thermometer, "Water") == zt::Access::done &&
         zt::Property<double>("celsius").set(thermometer, 18.5) == zt::Access::done;
}

int main(int count, char **words) {
  auto plant = newPlant();
  void *plugin = count > 1 ? dlopen(words[1], RTLD_NOW) : nullptr;
  const bool used = plugin != nullptr && use(plant);
  printTree(plant.get());
  plant.reset();  // before the code of the plugin goes
  if (plugin != nullptr) dlclose(plugin);
  std::printf("known: %d\n", ztOOP_isClassRegistered("Thermometer"));
  return used ? 0 : 1;
}
