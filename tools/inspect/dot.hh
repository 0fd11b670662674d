// Graphs for Graphviz.
#ifndef ZT_INSPECT_DOT_HH
#define ZT_INSPECT_DOT_HH

#include <string>
#include <string_view>

namespace ztinspect {

// A text as Graphviz takes it, in quotes. Lines end with "\n".
std::string dotQuoted(std::string_view text);

// How every graph begins.
std::string dotHeading(std::string_view name);

}  // namespace ztinspect

#endif
