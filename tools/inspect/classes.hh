// The subcommand `classes`.
#ifndef ZT_INSPECT_CLASSES_HH
#define ZT_INSPECT_CLASSES_HH

#include <string>

namespace ztinspect {

enum class ClassForm { text, json, dot };

int showClasses(ClassForm form);

// A JSON array of all classes, parents first, with what each adds to its parent or replaces.
std::string classesInShort();

}  // namespace ztinspect

#endif
