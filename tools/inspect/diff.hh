// The subcommand `diff`.
#ifndef ZT_INSPECT_DIFF_HH
#define ZT_INSPECT_DIFF_HH

#include <string>

namespace ztinspect {

// Compares the records of two files: nodes by their identifiers, others by their order. 0 when nothing differs.
int diff(const std::string &first, const std::string &second, bool withoutEnd);

}  // namespace ztinspect

#endif
