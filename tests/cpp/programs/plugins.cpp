// Loads a plugin with a C++ class, uses the class, unloads it, three times.
#include <zentova.hpp>

#include <dlfcn.h>

#include <cstdio>

int main(int, char **argv) {
  for (int i = 0; i < 3; ++i) {
    void *plugin = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    if (plugin == nullptr) return 1;
    {
      const zt::Own<ztObject> turbine(zt::cast<ztObject>(ztNewFromName("Turbine")));
      zt::Property<int32_t>("speed").set(turbine, 5);
      std::printf("speed %d\n", *zt::Property<int32_t>("speed").get(turbine));
    }
    reinterpret_cast<void (*)()>(dlsym(plugin, "keepOne"))();
    if (dlclose(plugin) != 0) return 1;
    std::printf("%d, %s\n", ztOOP_isClassRegistered("Turbine"),
                dlopen(argv[1], RTLD_NOW | RTLD_NOLOAD) == nullptr ? "unloaded" : "still there");
  }
}
