// The subcommand `classes`.
#ifndef ZT_INSPECT_CLASSES_HH
#define ZT_INSPECT_CLASSES_HH

namespace ztinspect {

enum class ClassForm { text, json, dot };

int showClasses(ClassForm form);

}  // namespace ztinspect

#endif
