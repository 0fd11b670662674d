#include "tools/inspect/graph.hh"

#include "tools/inspect/dot.hh"
#include "tools/inspect/output.hh"

#include <fstream>
#include <set>
#include <tuple>
#include <vector>

namespace ztinspect {

namespace {

constexpr std::string_view firstLine = "Zentova report 1 ";

// "#12 ztRoot "plant"", as reports name an object.
struct Reference {
  std::string number;
  std::string label;
};

struct Edge {
  std::string from;
  std::string to;
  std::string label;
  bool isConnection;
};

// What a report says, read line by line.
class Reading {
 public:
  explicit Reading(const std::string &path) : name(path) {}

  void read();
  const std::vector<Reference> &objects() const {
    return all;
  }
  const std::vector<Edge> &edges() const {
    return links;
  }

 private:
  void readLine();
  void readHolder();
  void readBlock();
  void readSignal();
  Reference readReference();
  std::string readQuoted();
  std::string readWord();
  bool take(std::string_view expected);
  [[noreturn]] void fail(const std::string &what) const;

  std::string name;
  std::string line;
  std::string_view rest;  // of the line
  uint64_t lineNumber = 0;
  uint64_t blocks = 0;
  std::vector<Reference> all;
  std::vector<Edge> links;
};

}  // namespace

void Reading::fail(const std::string &what) const {
  throw Problem(printable(name) + ":" + std::to_string(lineNumber) + ": " + what);
}

bool Reading::take(std::string_view expected) {
  if (rest.substr(0, expected.size()) != expected) return false;
  rest.remove_prefix(expected.size());
  return true;
}

std::string Reading::readWord() {
  const size_t end = rest.find(' ');
  const std::string word(rest.substr(0, end));
  rest.remove_prefix(word.size());
  if (word.empty()) fail("a word is missing");
  return word;
}

// Names stay as reports write them, in quotes: an escaped character is two here as well.
std::string Reading::readQuoted() {
  size_t end = 1;
  while (end < rest.size() && rest[end] != '"') end += rest[end] == '\\' ? 2 : 1;
  if (rest.empty() || rest[0] != '"' || end >= rest.size()) fail("a name has no end");
  const std::string text(rest.substr(0, end + 1));
  rest.remove_prefix(text.size());
  return text;
}

Reference Reading::readReference() {
  Reference reference;
  reference.number = readWord();
  const bool isNumber = reference.number.size() > 1 && reference.number[0] == '#' &&
                        reference.number.find_first_not_of("0123456789.", 1) == std::string::npos;
  if (!isNumber || !take(" ")) fail("that is no object");
  reference.label = readWord();
  if (rest.substr(0, 2) == " \"") {
    take(" ");
    reference.label += " " + readQuoted();
  }
  return reference;
}

// Other memory of the program is a node without number.
void Reading::readBlock() {
  const std::string number = "block " + std::to_string(++blocks);
  links.push_back({number, all.back().number, "", false});
  all.insert(all.end() - 1, {number, "a block of " + std::string(rest)});
}

// What a signal's slots lead to is drawn as a connection.
void Reading::readHolder() {
  if (take("a block of ")) return readBlock();
  const Reference holder = readReference();
  const std::string field = take(" in ") ? readWord() : "";
  if (field == "signals") return;
  links.push_back({holder.number, all.back().number, field, false});
}

void Reading::readSignal() {
  std::string signal = rest.substr(0, 1) == "?" ? readWord() : readQuoted();
  if (signal.size() > 1) signal = signal.substr(1, signal.size() - 2);
  if (!take(" calls ")) fail("a signal calls nothing");
  // The first: the receiver's name may be any text.
  const size_t end = rest.find(" of #");
  // A receiver may be in memory that the library does not know.
  if (end == std::string_view::npos) return;
  const std::string function(rest.substr(0, end));
  rest.remove_prefix(end + 4);
  links.push_back({all.back().number, readReference().number, signal + "\n" + function, true});
}

void Reading::readLine() {
  if (!line.empty() && line[0] == '#') return all.push_back(readReference());
  if (all.empty() || !take("    ")) return;
  if (take("held by ")) return readHolder();
  if (take("signal ")) readSignal();
}

void Reading::read() {
  std::ifstream file(name, std::ios::binary);
  if (!file) failWithErrno(printable(name));
  while (std::getline(file, line)) {
    rest = line;
    if (lineNumber++ == 0 && !take(firstLine)) break;
    readLine();
  }
  if (file.bad()) failWithErrno(printable(name));
  if (lineNumber == 0 || (lineNumber == 1 && line.substr(0, firstLine.size()) != firstLine)) {
    throw Problem(printable(name) + " is no report of ztOOP_report");
  }
}

static std::string lineOf(const Reference &object) {
  const bool isBlock = object.number[0] != '#';
  return "  " + dotQuoted(object.number) +
         " [label=" + dotQuoted(isBlock ? object.label : object.label + "\n" + object.number) +
         (isBlock ? ", style=dashed];\n" : "];\n");
}

static std::string lineOf(const Edge &edge) {
  std::string text = "  " + dotQuoted(edge.from) + " -> " + dotQuoted(edge.to);
  if (!edge.label.empty())
    text += " [label=" + dotQuoted(edge.label) + (edge.isConnection ? ", style=dashed" : "") + "]";
  return text + ";\n";
}

// Which object leads to which one, and whether by a connection.
using Ends = std::tuple<std::string, std::string, bool>;

// A field by which a part knows its owner, which holds it, or a receiver the sender.
static bool leadsBack(const Edge &edge, const std::set<Ends> &ends) {
  const bool isSender = edge.label == "sender";
  const bool isBack = isSender || edge.label == "parent" || edge.label == "owner";
  return isBack && ends.count({edge.to, edge.from, isSender}) != 0;
}

static void writeEdges(const std::vector<Edge> &edges, Output *output) {
  std::set<Ends> ends;
  for (const Edge &edge : edges) ends.insert({edge.from, edge.to, edge.isConnection});
  for (const Edge &edge : edges) {
    if (edge.isConnection || !leadsBack(edge, ends)) output->write(lineOf(edge));
  }
}

int graph(const std::string &report, const std::string &path) {
  Reading reading(report);
  reading.read();
  Output output(path);
  output.write(dotHeading("objects"));
  for (const Reference &object : reading.objects()) output.write(lineOf(object));
  writeEdges(reading.edges(), &output);
  output.write("}\n");
  output.finish();
  return 0;
}

}  // namespace ztinspect
