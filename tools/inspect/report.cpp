#include "tools/inspect/report.hh"

#include "tools/inspect/classes.hh"
#include "tools/inspect/output.hh"
#include "tools/inspect/page.hh"
#include "tools/inspect/tree.hh"
#include "tools/inspect/values.hh"

namespace ztinspect {

// In the text of a page, nothing of the data may end the element that it stands in.
static std::string inPage(const std::string &json) {
  std::string text;
  text.reserve(json.size());
  for (const char c : json) {
    if (c == '<') {
      text += "\\u003c";
    } else {
      text += c;
    }
  }
  return text;
}

static std::string quoted(std::string_view text) {
  std::string json;
  appendJsonText(&json, printable(text));
  return json;
}

// The JSON array of a range, each element of which becomes JSON by a function.
template <typename Range, typename Function>
static std::string arrayOf(const Range &range, Function toJson) {
  std::string json = "[";
  for (const auto &element : range) {
    if (json.size() > 1) json += ",";
    json += toJson(element);
  }
  return json + "]";
}

namespace {

// Texts that many records have stand in the page once, and have numbers.
class Numbers {
 public:
  size_t of(const std::string &text) {
    const auto [found, isNew] = byText.emplace(text, all.size());
    if (isNew) all.push_back(text);
    return found->second;
  }
  const std::vector<std::string> &texts() const {
    return all;
  }

 private:
  std::unordered_map<std::string, size_t> byText;
  std::vector<std::string> all;
};

// The data of a page, in the form that page/page.js reads. Records are written as they come, in elements of limited
// size, so that neither this program nor a browser holds a text of all of them.
class PageData {
 public:
  explicit PageData(Output *target) : output(target) {}

  void add(const Record &record, const Trace &trace) {
    if (block == 0) output->write("<script type=\"application/json\" class=\"records\">[\n");
    const std::string json = (block == 0 ? "" : ",\n") + inPage(toJson(record, trace));
    output->write(json);
    block += json.size();
    constexpr size_t blockSize = size_t{1} << 20U;
    if (block > blockSize) endBlock();
  }

  // What holds for all of them, behind the last one.
  void finish(const Source &source, const Tree &tree, const std::vector<std::string> &problems,
              const std::string &classes) {
    endBlock();
    output->write("<script type=\"application/json\" id=\"about\">\n{");
    output->write(
        inPage("\"file\":" + quoted(source.name()) + ",\"bytes\":" + std::to_string(source.size()) +
               ",\"form\":" + quoted(nameOf(source.form())) + ",\n\"problems\":" + arrayOf(problems, quoted) +
               ",\n\"kinds\":" + arrayOf(kinds.texts(), [](const std::string &kind) { return kind; }) +
               ",\n\"names\":" + arrayOf(names.texts(), quoted)));
    output->write(",\n\"parents\":[");
    const char *between = "";
    for (const Entry &entry : tree.entries()) {
      output->write(between + std::to_string(entry.parent));
      between = ",";
    }
    output->write("],\n\"classes\":" + inPage(classes) + "}\n</script>\n");
  }

 private:
  void endBlock() {
    if (block > 0) output->write("]\n</script>\n");
    block = 0;
  }

  std::string toJson(const Record &record, const Trace &trace) {
    const Identity &identity = record.identity;
    const std::string kind = "[" + quoted(identity.name) + "," + std::to_string(identity.version) + "]";
    std::string json = "[" + std::to_string(kinds.of(kind)) + "," + std::to_string(record.offset) + "," +
                       std::to_string(record.end - record.offset) + ",";
    const bool isNode = record.isNode && record.state != State::unknown;
    json += isNode ? std::to_string(record.uid) + "," + quoted(record.name) : "null,null";
    json += ",[";
    for (size_t i = 0; i < trace.steps.size();) {
      if (i > 0) json += ",";
      i = addField(&json, record, trace, i);
    }
    json += "]";
    if (record.state != State::whole) json += "," + quoted(record.reason);
    if (record.state == State::damaged) json += "," + std::to_string(record.damage);
    return json + "]";
  }

  // Elements of one array become one field. Returns the index behind the last one.
  size_t addField(std::string *json, const Record &record, const Trace &trace, size_t first) {
    const Name &name = record.names[first];
    const Step &step = trace.steps[first];
    *json += "[" + std::to_string(names.of(shown(name, step))) + "," + std::to_string(step.offset) + ",";
    size_t next = first + 1;
    if (name.element < 0) {
      *json += name.isTarget && step.kind == Kind::whole ? std::to_string(trace.wholeOf(step))
                                                         : quoted(shown(trace, step, name.kind));
    } else {
      *json += "[" + elementOf(trace, step, name.kind);
      for (; next < trace.steps.size(); ++next) {
        const Name &other = record.names[next];
        if (!other.follows(record.names[next - 1])) break;
        *json += "," + elementOf(trace, trace.steps[next], other.kind);
      }
      *json += "]," + std::to_string(name.element);
    }
    *json += "]";
    return next;
  }

  // Numbers that JSON and JavaScript have are numbers.
  static std::string elementOf(const Trace &trace, const Step &step, Kind as) {
    const std::string text = shown(trace, step, as);
    const bool isNumber = as == Kind::whole || as == Kind::real;
    return isNumber && text.find_first_not_of("0123456789+-.e") == std::string::npos ? text : quoted(text);
  }

  Output *output;
  Numbers kinds;
  Numbers names;
  size_t block = 0;
};

}  // namespace

int report(const std::string &path, const std::string &to, bool withoutEnd) {
  // Reading a file makes classes of this program.
  const std::string classes = classesInShort();
  const Source source(path);
  Records records(source);
  Skipped skipped;
  Tree tree;
  Output output(to);
  const size_t place = pageText.find(pageDataMark);
  output.write(pageText.substr(0, place));
  PageData data(&output);
  {
    Progress progress(path, output.isStandard());
    Record record;
    while (records.next(&record, true)) {
      if (record.state == State::unknown) skipped.add(record);
      tree.add(record);
      data.add(record, records.values());
      progress.show(record.end, source.size());
    }
  }
  tree.finish();
  std::vector<std::string> problems = skipped.lines();
  const std::string ended = whatEnded(records, withoutEnd);
  if (!ended.empty()) problems.insert(problems.begin(), ended);
  data.finish(source, tree, problems, classes);
  output.write(pageText.substr(place + pageDataMark.size()));
  output.finish();
  skipped.sayAll(path);
  return judgeEnd(source, records, withoutEnd);
}

}  // namespace ztinspect
