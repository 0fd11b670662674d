#include "tools/inspect/diff.hh"

#include "tools/inspect/output.hh"
#include "tools/inspect/records.hh"
#include "tools/inspect/values.hh"

#include <functional>

namespace ztinspect {

// A value in a form that does not depend on that of the file.
static std::string_view comparable(const Trace &trace, const Step &step, Form form) {
  std::string_view value = trace.valueOf(step);
  if (step.kind != Kind::string) return value;
  value = value.substr(0, value.find('\0'));
  if (form == Form::text && !value.empty() && value.back() == '\n') value.remove_suffix(1);
  return form == Form::text && value == "null" ? "" : value;
}

namespace {

// What is kept of a record of the first file.
struct Kept {
  int64_t offset;
  uint64_t contents;
  int32_t parentUid;
  bool isFound = false;  // in the second file
};

// Records by what they are compared by: nodes by the identifier, and which of that identifier they are.
class Keys {
 public:
  uint64_t next(const Record &record) {
    if (!record.isNode) return objects++ | uint64_t{1} << 63U;
    const auto uid = static_cast<uint32_t>(record.uid);
    return uid | uint64_t{occurrences[uid]++} << 32U;
  }

 private:
  std::unordered_map<uint32_t, uint32_t> occurrences;
  uint64_t objects = 0;
};

class File {
 public:
  explicit File(const std::string &path) : source(path), records(source), details(source) {}

  // A number for all that a record stores but for its place in the tree.
  uint64_t contentsOf(const Record &record) {
    text = record.identity.name;
    text.append(reinterpret_cast<const char *>(&record.identity.version), sizeof record.identity.version);
    if (record.state == State::unknown) {
      text += source.bytes(record.offset, static_cast<size_t>(record.end - record.offset));
    }
    const Trace &trace = records.values();
    for (size_t i = 0; i < trace.steps.size(); ++i) {
      if (i == record.parentStep) continue;
      const std::string_view value = comparable(trace, trace.steps[i], source.form());
      const size_t size = value.size();
      text += static_cast<char>(trace.steps[i].kind);
      text.append(reinterpret_cast<const char *>(&size), sizeof size);
      text += value;
    }
    return std::hash<std::string>()(text);
  }

  // Reads a record again, with the names of its values.
  Record detailsAt(int64_t offset) {
    Record record;
    details.goTo(offset);
    details.next(&record, true);
    return record;
  }

  const Source source;
  Records records;
  Records details;

 private:
  std::string text;
};

class Difference {
 public:
  Difference(const std::string &first, const std::string &second)
      : firstFile(first), secondFile(second), output("") {}

  int show(bool withoutEnd) {
    readFirst();
    readSecond();
    showRemoved();
    output.finish();
    const int firstStatus = judgeEnd(firstFile.source, firstFile.records, withoutEnd);
    const int secondStatus = judgeEnd(secondFile.source, secondFile.records, withoutEnd);
    return isSame && firstStatus == 0 && secondStatus == 0 ? 0 : 1;
  }

 private:
  void readFirst() {
    Progress progress(firstFile.source.name(), true);
    Keys keys;
    Record record;
    while (firstFile.records.next(&record, false)) {
      if (record.state == State::damaged) break;
      byKey.emplace(keys.next(record), kept.size());
      kept.push_back({record.offset, firstFile.contentsOf(record), record.parentUid});
      progress.show(record.end, firstFile.source.size());
    }
  }
  void readSecond() {
    Progress progress(secondFile.source.name(), true);
    Keys keys;
    Record record;
    while (secondFile.records.next(&record, false)) {
      if (record.state == State::damaged) break;
      const auto found = byKey.find(keys.next(record));
      if (found == byKey.end()) {
        add("added", record, record.isNode ? " below " + std::to_string(record.parentUid) : "");
      } else {
        compare(&kept[found->second], record);
      }
      progress.show(record.end, secondFile.source.size());
    }
  }
  void compare(Kept *first, const Record &second) {
    first->isFound = true;
    if (second.isNode && first->parentUid != second.parentUid) {
      add("moved", second,
          " from " + std::to_string(first->parentUid) + " to " + std::to_string(second.parentUid));
    }
    if (first->contents != secondFile.contentsOf(second)) showChanges(first->offset, second.offset);
  }
  void showRemoved() {
    for (const Kept &record : kept) {
      if (record.isFound) continue;
      const Record removed = firstFile.detailsAt(record.offset);
      add("removed", removed, removed.isNode ? " from " + std::to_string(removed.parentUid) : "");
    }
  }

  static const char *colourOf(std::string_view what) {
    return what == "added" ? "32" : what == "removed" ? "31" : "33";
  }
  void add(const char *what, const Record &record, const std::string &more) {
    isSame = false;
    std::string line = painted(colourOf(what), what) + " " + printable(record.identity.name);
    line += record.isNode ? " " + std::to_string(record.uid) + " \"" + printable(record.name) + "\""
                          : " @" + std::to_string(record.offset);
    output.write(line + more + "\n");
  }
  void showChanges(int64_t firstOffset, int64_t secondOffset) {
    const Record first = firstFile.detailsAt(firstOffset);
    const Record second = secondFile.detailsAt(secondOffset);
    const std::string before = first.identity.name + " of version " + std::to_string(first.identity.version);
    const std::string now = second.identity.name + " of version " + std::to_string(second.identity.version);
    if (before != now) return add("changed", second, ": class: " + before + " -> " + now);
    if (second.state == State::unknown) return add("changed", second, ": bytes of a class that is not known");
    showValues(first, second);
  }
  void showValues(const Record &first, const Record &second) {
    const Trace &old = firstFile.details.values();
    const Trace &own = secondFile.details.values();
    const size_t common = std::min(old.steps.size(), own.steps.size());
    for (size_t i = 0; i < common; ++i) {
      const bool isEqual = comparable(old, old.steps[i], firstFile.source.form()) ==
                           comparable(own, own.steps[i], secondFile.source.form());
      if (isEqual || i == second.parentStep) continue;
      const Name &name = second.names[i];
      std::string place = shown(name, own.steps[i]);
      if (name.element >= 0) place += "[" + std::to_string(name.element) + "]";
      add("changed", second,
          ": " + place + ": " + shown(old, old.steps[i], first.names[i].kind) + " -> " +
              shown(own, own.steps[i], name.kind));
    }
    if (old.steps.size() == own.steps.size()) return;
    add("changed", second,
        ": " + std::to_string(old.steps.size()) + " -> " + std::to_string(own.steps.size()) + " values");
  }

  File firstFile;
  File secondFile;
  Output output;
  std::unordered_map<uint64_t, size_t> byKey;
  std::vector<Kept> kept;
  bool isSame = true;
};

}  // namespace

int diff(const std::string &first, const std::string &second, bool withoutEnd) {
  return Difference(first, second).show(withoutEnd);
}

}  // namespace ztinspect
