#include "tools/inspect/records.hh"

#include "tools/inspect/output.hh"
#include "zentova.h"

#include <algorithm>
#include <new>

namespace ztinspect {

Records::Records(const Source &stored)
    : source(stored), file(openTraced(stored.name(), stored.form(), &trace)) {}

Records::~Records() {
  closeTraced(file);
}

void Records::goTo(int64_t offset) {
  at = offset;
  isOver = false;
}

const Records::Known &Records::knownClass(const std::string &name) {
  const auto found = classes.find(name);
  if (found != classes.end()) return found->second;
  Known known;
  for (const ztClassEntry *entry = ztOOP_classList(); entry != nullptr; entry = entry->next) {
    if (name != entry->name) continue;
    known.ctor = entry->ctor;
    known.klass = ztOOP_classOf(entry->prototype);
    known.isNode = ztOOP_isClassOfClass(known.klass, "ztRoot") != 0;
    known.isLink = ztOOP_isClassOfClass(known.klass, "ztLink") != 0;
    known.isTag = ztOOP_isClassOfClass(known.klass, "ztTag") != 0;
    break;
  }
  return classes.emplace(name, known).first->second;
}

bool Records::finish(End end, std::string reason, int64_t where) {
  itsEnd = end;
  itsReason = std::move(reason);
  at = where;
  isOver = true;
  return false;
}

bool Records::finishAtMark(const Identity &identity) {
  int64_t behind = 0;
  const std::optional<Mark> mark = source.markAt(identity.end, &behind);
  if (!mark || identity.version != 1)
    return finish(End::damaged, "the mark of the end is damaged", identity.end);
  if (mark->bytes != at) return finish(End::damaged, "the mark of the end belongs to another length", at);
  if (mark->nodes != counted) return finish(End::damaged, "the mark of the end counts other records", at);
  if (mark->sum != source.sumBefore(at)) return finish(End::damaged, "the check sum does not match", at);
  if (behind != source.size())
    return finish(End::damaged, "there is data behind the mark of the end", behind);
  return finish(End::mark, "", behind);
}

std::string Records::whyNoIdentity() const {
  constexpr int64_t shortest = nameField + 2;
  return source.size() - at < shortest ? "the file ends within a class identity"
                                       : "there is no class identity";
}

bool Records::next(Record *record, bool withNames) {
  if (isOver) return false;
  if (at >= source.size()) return finish(End::noMark, "", at);
  std::optional<Identity> identity = source.identityAt(at);
  if (!identity) return finish(End::damaged, whyNoIdentity(), at);
  if (identity->name == markName) return finishAtMark(*identity);
  *record = {};
  record->offset = at;
  record->identity = std::move(*identity);
  trace.begin();
  const Known &known = knownClass(record->identity.name);
  if (known.ctor == nullptr) {
    skip(record, "class " + record->identity.name + " is not known");
  } else {
    readKnown(known, record, withNames);
  }
  at = record->end;
  ++counted;
  if (record->state == State::damaged) finish(End::damaged, record->reason, record->damage);
  return true;
}

void Records::skip(Record *record, const std::string &reason) {
  record->state = State::unknown;
  record->reason = reason;
  record->end = source.nextIdentity(record->identity.end);
}

void Records::readKnown(const Known &known, Record *record, bool withNames) {
  const auto version = static_cast<uint32_t>(record->identity.version);
  const bool isOwn = version == known.klass->version;
  const ztReader reader = isOwn ? nullptr : ztOOP_readerOf(known.klass, version);
  if (!isOwn && reader == nullptr) {
    const std::string own = std::to_string(known.klass->version);
    return skip(record, "class " + record->identity.name + " of version " + own +
                            " has no reader for version " + std::to_string(version));
  }
  void *object = known.ctor(nullptr, 1);
  if (object == nullptr) throw Problem("no object of class " + record->identity.name + " can be made");
  const ztFileMethods *methods = ztFile_table();
  if (methods->tell(file) != record->identity.end) methods->goToAbs(file, record->identity.end);
  bool done = isOwn ? ztBaseClass_of(object)->read(object, file) > 0 : reader(object, file, version) > 0;
  // Where a class has its own record, that of the tag does not end it.
  const bool endsAsTag = known.isTag && isOwn && ztTag_of(object)->read == ztTag_table()->read;
  if (done && endsAsTag) done = readAttributes(object);
  record->end = methods->tell(file);
  judge(done, known.klass, record);
  record->isNode = known.isNode;
  record->isLink = known.isLink;
  if (known.isNode) {
    record->uid = ztRoot_of(object)->getUid(object);
    record->parentUid = static_cast<ztRoot *>(object)->parentUid;
    const char *name = ztRoot_of(object)->getName(object);
    record->name = name == nullptr ? "" : name;
    const void *place = &static_cast<ztRoot *>(object)->parentUid;
    for (size_t i = 0; i < trace.steps.size(); ++i) {
      if (trace.steps[i].address == place) record->parentStep = i;
    }
  }
  if (withNames) namer.nameAll(object, trace, &record->names);
  ztBaseClass_of(object)->unRef(object);
}

// A tag reads the attributes that it has, and the file does not say how many there were. Those of the library show
// what they are.
bool Records::readAttributes(void *tag) {
  const ztFileMethods *methods = ztFile_table();
  for (int32_t type = 0; (type = source.attributeTypeAt(methods->tell(file))) != 0;) {
    void *attribute = type == 1 ? static_cast<void *>(ztIntTag_new()) : ztFloatTag_new();
    if (attribute == nullptr || !ztTag_of(tag)->insertNew(tag, "new", attribute, nullptr, 0, 1, nullptr)) {
      throw std::bad_alloc();
    }
    if (ztTagAttribute_of(attribute)->read(attribute, file) <= 0) return false;
  }
  return true;
}

void Records::judge(bool done, const ztClass *klass, Record *record) {
  const bool goesBack = record->end < record->identity.end;
  if (done && !goesBack && trace.reason.empty()) return;
  record->state = State::damaged;
  record->damage = trace.reason.empty() ? std::max(record->end, record->identity.end) : trace.failedAt;
  record->reason = trace.reason;
  if (record->reason.empty()) {
    record->reason = std::string("class ") + klass->name +
                     (goesBack ? " went back behind the start of its record" : " refuses its record");
  }
}

std::string whatEnded(const Records &records, bool withoutEnd) {
  if (records.end() == End::damaged)
    return "damaged at offset " + std::to_string(records.place()) + ": " + records.reason();
  if (records.end() == End::mark || withoutEnd) return "";
  return "incomplete: there is no mark of the end (--no-end takes files without)";
}

int judgeEnd(const Source &source, const Records &records, bool withoutEnd) {
  const std::string problem = whatEnded(records, withoutEnd);
  if (problem.empty()) return 0;
  say(source.name() + ": " + problem);
  return 1;
}

void Skipped::add(const Record &record) {
  const auto isSame = [&](const Count &count) { return count.reason == record.reason; };
  const auto found = std::find_if(reasons.begin(), reasons.end(), isSame);
  if (found != reasons.end()) {
    ++found->records;
  } else {
    reasons.push_back({record.reason, 1, record.offset});
  }
}

std::vector<std::string> Skipped::lines() const {
  std::vector<std::string> lines;
  for (const Count &count : reasons) {
    const bool isOne = count.records == 1;
    lines.push_back(count.reason + ": " + std::to_string(count.records) + (isOne ? " record" : " records") +
                    " skipped, " + (isOne ? "" : "the first ") + "at offset " + std::to_string(count.first));
  }
  return lines;
}

void Skipped::sayAll(const std::string &file) const {
  for (const std::string &line : lines()) say(file + ": " + line);
}

}  // namespace ztinspect
