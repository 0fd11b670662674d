#include "tools/inspect/plugins.hh"

#include "tools/inspect/output.hh"
#include "zentova.h"

#include <dlfcn.h>
#include <link.h>
#include <string.h>

#include <algorithm>
#include <vector>

namespace ztinspect {

static int countLibrary(dl_phdr_info *info, size_t, void *count) {
  const char *slash = strrchr(info->dlpi_name, '/');
  const char *name = slash == nullptr ? info->dlpi_name : slash + 1;
  if (strncmp(name, "libztcore.so", strlen("libztcore.so")) == 0) ++*static_cast<int *>(count);
  return 0;
}

// A plugin of another interface brings the library that it was linked with.
static bool hasSecondLibrary() {
  int count = 0;
  dl_iterate_phdr(countLibrary, &count);
  return count > 1;
}

// Those that were loaded; they stay.
static std::vector<void *> plugins;

static bool isNew(void *plugin) {
  return std::find(plugins.begin(), plugins.end(), plugin) == plugins.end();
}

void loadPlugin(const std::string &path) {
  // Without a slash, the dynamic linker would look in the system's folders.
  const std::string file = path.find('/') == std::string::npos ? "./" + path : path;
  const int32_t classes = ztOOP_classCount();
  void *plugin = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (plugin == nullptr) {
    const char *reason = dlerror();
    throw Problem("cannot load " + path + ": " + (reason == nullptr ? "no reason is known" : reason));
  }
  if (hasSecondLibrary()) throw Problem(path + " is linked with another version of libztcore.so");
  if (isNew(plugin) && ztOOP_classCount() == classes) throw Problem(path + " registers no class");
  plugins.push_back(plugin);
}

}  // namespace ztinspect
