// The subcommands `dump` and `verify`.
#ifndef ZT_INSPECT_DUMP_HH
#define ZT_INSPECT_DUMP_HH

#include <string>

namespace ztinspect {

// Shows the records of a file as a tree, or as a JSON array in the order of the file.
int dump(const std::string &path, bool asJson, bool withoutEnd);

}  // namespace ztinspect

#endif
