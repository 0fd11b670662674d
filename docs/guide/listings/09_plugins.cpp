#include <zentova.hpp>

#include <dlfcn.h>
#include <cstdio>

static bool use() {
  const zt::Own<ztRoot> thermometer(zt::cast<ztRoot>(ztNewFromName("Thermometer")));
  if (!thermometer) return false;
  const auto shown = zt::connect(thermometer, "measured",
                                 [](double celsius) { std::printf("measured: %.1f degrees\n", celsius); });
  return zt::Property<double>("celsius").set(thermometer, 18.5) == zt::Access::done;
}

int main(int count, char **words) {
  void *plugin = count > 1 ? dlopen(words[1], RTLD_NOW) : nullptr;
  if (plugin == nullptr) return 1;
  std::printf("known: %d\n", ztOOP_isClassRegistered("Thermometer"));
  const bool used = use();  // releases its objects: they need the code of the plugin
  dlclose(plugin);
  std::printf("known: %d\n", ztOOP_isClassRegistered("Thermometer"));
  return used ? 0 : 1;
}
