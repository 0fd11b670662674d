#include "tools/inspect/dot.hh"

#include "tools/inspect/output.hh"

namespace ztinspect {

static void appendLine(std::string *to, std::string_view line) {
  for (const char c : printable(line)) {
    if (c == '"' || c == '\\') *to += '\\';
    *to += c;
  }
}

std::string dotQuoted(std::string_view text) {
  std::string result = "\"";
  for (size_t end = text.find('\n'); end != std::string_view::npos; end = text.find('\n')) {
    appendLine(&result, text.substr(0, end));
    result += "\\n";
    text.remove_prefix(end + 1);
  }
  appendLine(&result, text);
  return result + "\"";
}

std::string dotHeading(std::string_view name) {
  return "digraph " + std::string(name) +
         " {\n  rankdir=LR;\n  node [shape=box, fontname=\"sans-serif\"];\n  edge [fontname=\"sans-serif\", "
         "fontsize=10];\n";
}

}  // namespace ztinspect
