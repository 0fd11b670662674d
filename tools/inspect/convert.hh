// The subcommands `convert` and `verify`.
#ifndef ZT_INSPECT_CONVERT_HH
#define ZT_INSPECT_CONVERT_HH

#include <string>

namespace ztinspect {

// What `convert` writes.
enum class Target { text, binary, json };

// Writes a file, or the JSON that was made of one, in another form. Without path to standard output.
int convert(const std::string &path, Target target, const std::string &to, bool withoutEnd);

// Whether a file is whole: all that the library checks when it loads it, and that each class is known.
int verify(const std::string &path, bool withoutEnd);

}  // namespace ztinspect

#endif
