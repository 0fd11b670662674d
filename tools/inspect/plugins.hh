// Classes of other programs.
#ifndef ZT_INSPECT_PLUGINS_HH
#define ZT_INSPECT_PLUGINS_HH

#include <string>

namespace ztinspect {

// Loads a shared library that registers classes. A Problem for what is none, and for one of another binary interface.
void loadPlugin(const std::string &path);

}  // namespace ztinspect

#endif
