#include "tools/inspect/dump.hh"

#include "tools/inspect/output.hh"
#include "tools/inspect/tree.hh"
#include "tools/inspect/values.hh"

namespace ztinspect {

namespace {

// The lines of records.
class Lines {
 public:
  explicit Lines(Output *target) : output(target) {}

  void add(const Record &record, const Trace &trace, size_t depth) {
    // A chain of many nodes would otherwise be wider than any window.
    constexpr size_t deepest = 40;
    indent.assign(2 * std::min(depth, deepest), ' ');
    if (depth > deepest) indent += "(level " + std::to_string(depth) + ") ";
    line = indent + painted("1", printable(record.identity.name));
    if (record.isNode) line += " \"" + printable(record.name) + "\"";
    line += painted("2", " @" + std::to_string(record.offset));
    if (record.state == State::unknown) {
      line += " (skipped, " + std::to_string(record.end - record.identity.end) + " bytes)";
    }
    if (record.state == State::damaged) line += " (damaged at offset " + std::to_string(record.damage) + ")";
    output->write(line + "\n");
    indent.assign(2 * std::min(depth, deepest), ' ');
    for (size_t i = 0; i < trace.steps.size();) i = addValues(record, trace, i);
  }

 private:
  static constexpr size_t onOneLine = 8;

  // Elements of one array stand beside each other. Returns the index behind the last one.
  size_t addValues(const Record &record, const Trace &trace, size_t first) {
    const Name &name = record.names[first];
    const Step &step = trace.steps[first];
    size_t last = first;
    std::string values = shown(trace, step, name.kind);
    while (name.element >= 0 && last + 1 < trace.steps.size() && last + 1 - first < onOneLine) {
      const Name &next = record.names[last + 1];
      if (!next.follows(record.names[last])) break;
      ++last;
      values += " " + shown(trace, trace.steps[last], next.kind);
    }
    line = indent + "    " + painted("2", "@" + std::to_string(step.offset)) + " ";
    line += shown(name, step);
    if (name.element >= 0) {
      line += "[" + std::to_string(name.element);
      if (last > first) line += ".." + std::to_string(record.names[last].element);
      line += "]";
    }
    output->write(line + " = " + values + "\n");
    return last + 1;
  }

  Output *output;
  std::string indent;
  std::string line;
};

}  // namespace

static void dumpJson(const Source &source, Records *records, Skipped *skipped, Output *output) {
  Progress progress(source.name(), true);
  Record record;
  const char *between = "[\n";
  while (records->next(&record, true)) {
    progress.show(record.end, source.size());
    const bool isUnknown = record.state == State::unknown;
    if (isUnknown) skipped->add(record);
    std::string raw;
    if (isUnknown) raw = source.bytes(record.offset, static_cast<size_t>(record.end - record.offset));
    output->write(between +
                  recordToJson(record, records->values(), isUnknown ? &raw : nullptr, source.form()));
    between = ",\n";
  }
  output->write(*between == '[' ? "[]\n" : "\n]\n");
}

static void dumpText(const Source &source, Records *records, Skipped *skipped, Output *output) {
  Progress progress(source.name(), true);
  Tree tree;
  Record record;
  while (records->next(&record, false)) {
    if (record.state == State::unknown) skipped->add(record);
    tree.add(record);
    progress.show(record.end, 2 * source.size());
  }
  tree.finish();
  Lines lines(output);
  Records again(source);
  tree.walk([&](const Entry &entry, size_t depth) {
    again.goTo(entry.offset);
    again.next(&record, true);
    lines.add(record, again.values(), depth);
    progress.show(source.size() + record.end, 2 * source.size());
  });
}

int dump(const std::string &path, bool asJson, bool withoutEnd) {
  const Source source(path);
  Records records(source);
  Skipped skipped;
  Output output("");
  (asJson ? dumpJson : dumpText)(source, &records, &skipped, &output);
  output.finish();
  skipped.sayAll(path);
  return judgeEnd(source, records, withoutEnd);
}

}  // namespace ztinspect
