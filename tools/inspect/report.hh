// The subcommand `report`.
#ifndef ZT_INSPECT_REPORT_HH
#define ZT_INSPECT_REPORT_HH

#include <string>

namespace ztinspect {

// Writes a page that shows a stored file, to standard output where no path is given. Gives 0 for a file that is whole,
// and 1 for another, whose page shows it to the damage.
int report(const std::string &path, const std::string &to, bool withoutEnd);

}  // namespace ztinspect

#endif
