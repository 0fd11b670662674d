#include "objects/ztreport.hh"

#include "containers/ztavltree.h"
#include "containers/ztmapitem.h"
#include "core/ztdescribe.h"
#include "core/ztlock.hh"
#include "core/ztlogctrl.h"
#include "core/ztoop.hh"
#include "core/zttext.hh"
#include "io/ztlines.hh"
#include "io/ztreplace.hh"
#include "objects/ztroot.h"
#include "objects/ztsnapshot.hh"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

using namespace ztcore;

namespace {

// The objects of one class that were made by the same calls.
struct Group {
  const TrackedClass *klass;
  const Site *site;
  uint64_t bytes;
  int32_t count;
};

// What leads to an object.
struct Holder {
  uint64_t serial;
  int32_t block;
  uint64_t offset;
};

// The calls of a site by name.
struct NamedSite {
  const Site *site = nullptr;
  char text[3 * 256 + 8] = "";
};

class Report {
 public:
  explicit Report(int descriptor) : lines(descriptor) {}
  ~Report() {
    for (ztClassInfo *info : infos) ztOOP_freeClassInfo(info);
  }
  Report(const Report &) = delete;
  Report &operator=(const Report &) = delete;

  bool take() {
    return snapshot.take();
  }
  bool writeHeading();
  bool writeSummary(const char *title);
  bool writeObjects();

 private:
  bool makeGroups();
  void writeSite(const Site *site);
  void writeReference(const SnapshotObject &object);
  void writeObject(int32_t index);
  void writeHolders(int32_t object);
  void writeHolder(int32_t holder, uint64_t offset);
  void writeSignals(const SnapshotObject &object);
  void writeSignalItems(const ztAvlTreeItem *item, int depth);
  void writeSlotItems(const ztString *signal, const ztAvlTreeItem *item, int depth);
  void writeSlot(const ztString *signal, const ztMapItem &item);
  void writeText(const ztString *string);
  void writeFunction(const ztSlot &slot);
  const ztClassInfo *infoOf(const ztClass *klass);
  const char *fieldAt(const ztClass *klass, uint64_t offset);

  static constexpr size_t keptCount = 16;  // and of classes

  Lines lines;
  Snapshot snapshot;
  NamedSite sites[keptCount];
  GrowingArray<Group> groups;
  int32_t untold = 0;                  // because memory was exhausted
  ztClassInfo *infos[keptCount] = {};  // of the classes that were asked for last
};

}  // namespace

static unsigned long longOf(uint64_t number) {
  return number;
}

// Groups ------------------------------------------------------------------------------------------

static int compareGroups(const void *first, const void *second) {
  const auto *one = static_cast<const Group *>(first);
  const auto *other = static_cast<const Group *>(second);
  if (one->klass != other->klass) return strcmp(one->klass->name, other->klass->name);
  if (one->site != other->site) return one->site < other->site ? -1 : 1;
  return 0;
}

static int compareCounts(const void *first, const void *second) {
  const auto *one = static_cast<const Group *>(first);
  const auto *other = static_cast<const Group *>(second);
  if (one->count != other->count) return one->count > other->count ? -1 : 1;
  return compareGroups(first, second);
}

// An object for each, sorted, then those of a kind put together.
bool Report::makeGroups() {
  for (int32_t i = 0; i < snapshot.objectCount(); ++i) {
    const SnapshotObject &object = snapshot.object(i);
    const SnapshotBlock &block = snapshot.block(object.block);
    const uint64_t bytes = object.place == 0 ? snapshot.bytesOf(object.block) : 0;
    if (!groups.push({object.klass, block.site, bytes, 1})) return false;
  }
  if (groups.size() == 0) return true;
  qsort(&groups[0], static_cast<size_t>(groups.size()), sizeof(Group), compareGroups);
  int32_t last = 0;
  for (int32_t i = 1; i < groups.size(); ++i) {
    if (compareGroups(&groups[last], &groups[i]) == 0) {
      groups[last].count += groups[i].count;
      groups[last].bytes += groups[i].bytes;
    } else {
      groups[++last] = groups[i];
    }
  }
  while (groups.size() > last + 1) groups.pop();
  qsort(&groups[0], static_cast<size_t>(groups.size()), sizeof(Group), compareCounts);
  return true;
}

// The innermost calls, up to main.
static void nameSite(char *text, size_t size, const Site *site) {
  constexpr int32_t most = 3;
  char call[256];
  size_t used = 0;
  int32_t told = 0;
  for (int32_t i = 0; site != nullptr && told < most; ++i) {
    i = nameCall(call, sizeof call, *site, i);
    if (i < 0) break;
    used += static_cast<size_t>(snprintf(text + used, size - used, "%s%s", told++ == 0 ? "" : " < ", call));
    if (beginsWith(call, "main+")) break;
  }
  if (told == 0 && size >= sizeof "unknown") memcpy(text, "unknown", sizeof "unknown");
}

// Names are read from the files of programs, so the latest ones are kept.
void Report::writeSite(const Site *site) {
  NamedSite &named = sites[reinterpret_cast<uintptr_t>(site) / sizeof(Site) % keptCount];
  if (named.site != site || named.text[0] == '\0') {
    named.site = site;
    nameSite(named.text, sizeof named.text, site);
  }
  lines.print("%s", named.text);
}

// Tells programs what they read.
bool Report::writeHeading() {
  lines.print("Zentova report 1 of process %d\n", static_cast<int>(getpid()));
  return lines.finish();
}

bool Report::writeSummary(const char *title) {
  if (!makeGroups()) return false;
  const int32_t count = snapshot.objectCount();
  lines.print("%s: %d\n", title, count);
  if (lostBlocks() != 0) lines.print("%u blocks were not recorded: memory was exhausted\n", lostBlocks());
  if (count != 0) lines.print("%8s %10s  %-24s %s\n", "count", "bytes", "class", "made by");
  for (int32_t i = 0; i < groups.size(); ++i) {
    const Group &group = groups[i];
    lines.print("%8d %10lu  %-24s ", group.count, longOf(group.bytes), group.klass->name);
    writeSite(group.site);
    lines.print("\n");
  }
  return lines.finish();
}

// Objects -----------------------------------------------------------------------------------------

// "#12 ztRoot "plant"", the name of nodes only.
void Report::writeReference(const SnapshotObject &object) {
  lines.print("#%lu", longOf(snapshot.block(object.block).serial));
  if (object.place != 0) lines.print(".%d", object.place);
  lines.print(" %s", object.klass->name);
  const void *bytes = object.klass->isNode ? snapshot.bytesAt(object.address, sizeof(ztRoot)) : nullptr;
  if (bytes == nullptr) return;
  const char *name = static_cast<const ztRoot *>(bytes)->name;
  lines.print(" ");
  lines.printQuoted(name, strnlen(name, sizeof(ztRoot::name)));
}

void Report::writeText(const ztString *string) {
  const auto *copy = snapshot.at<ztString>(string);
  const auto *buffer = copy == nullptr ? nullptr : snapshot.at<ztCharArray>(copy->buffer);
  if (buffer == nullptr || buffer->count <= 0) return lines.print("?");
  const auto size = static_cast<size_t>(buffer->count);
  const void *text = snapshot.bytesAt(reinterpret_cast<uintptr_t>(buffer->data), size);
  if (text == nullptr) return lines.print("?");
  lines.printQuoted(static_cast<const char *>(text), strnlen(static_cast<const char *>(text), size));
}

// NULL for a class whose code is gone, and when memory is exhausted.
const ztClassInfo *Report::infoOf(const ztClass *klass) {
  ztClassInfo *&info = infos[reinterpret_cast<uintptr_t>(klass) / sizeof(ztClass) % keptCount];
  if (info != nullptr && info->klass == klass) return info;
  ztOOP_freeClassInfo(info);
  info = isInUse(klass) ? ztOOP_classInfo(const_cast<ztClass *>(klass)) : nullptr;
  return info;
}

// The last field that does not begin behind the position.
const char *Report::fieldAt(const ztClass *klass, uint64_t offset) {
  const ztClassInfo *info = infoOf(klass);
  const char *name = "";
  for (int32_t i = 0; info != nullptr && i < info->fieldCount; ++i) {
    const int32_t begin = info->fields[i].offset;
    if (begin >= 0 && static_cast<uint64_t>(begin) <= offset) name = info->fields[i].name;
  }
  return name;
}

void Report::writeHolder(int32_t holder, uint64_t offset) {
  const SnapshotBlock &block = snapshot.block(holder);
  const SnapshotObject *object = snapshot.objectAround(holder, block.address + offset);
  lines.print("    held by ");
  if (object != nullptr) {
    writeReference(*object);
    const char *field = fieldAt(object->klass->klass, block.address + offset - object->address);
    if (*field != '\0') lines.print(" in %s", field);
  } else if (block.klass != nullptr) {
    writeReference({block.address, block.klass, holder, 0});
  } else {
    lines.print("a block of %lu bytes, made by ", longOf(block.size));
    writeSite(block.site);
  }
  lines.print("\n");
}

static int compareHolders(const void *first, const void *second) {
  const auto *one = static_cast<const Holder *>(first);
  const auto *other = static_cast<const Holder *>(second);
  if (one->serial != other->serial) return one->serial > other->serial ? 1 : -1;
  return (one->offset > other->offset) - (one->offset < other->offset);
}

// The oldest first. Several parts behind one field count once.
void Report::writeHolders(int32_t object) {
  constexpr int32_t most = 8;
  GrowingArray<Holder> holders;
  snapshot.forEachHolder(object, [&](int32_t holder, uint64_t offset) {
    const SnapshotBlock &block = snapshot.block(holder);
    if (!block.isHidden && !holders.push({block.serial, holder, offset})) ++untold;
  });
  if (holders.size() == 0) return;
  qsort(&holders[0], static_cast<size_t>(holders.size()), sizeof(Holder), compareHolders);
  int32_t count = 0;
  for (int32_t i = 0; i < holders.size(); ++i) {
    if (i != 0 && compareHolders(&holders[i - 1], &holders[i]) == 0) continue;
    if (++count <= most) writeHolder(holders[i].block, holders[i].offset);
  }
  if (count > most) lines.print("    and %d more\n", count - most);
}

void Report::writeObject(int32_t index) {
  const SnapshotObject &object = snapshot.object(index);
  const SnapshotBlock &block = snapshot.block(object.block);
  const auto *header =
      static_cast<const ztBaseClass *>(snapshot.bytesAt(object.address, sizeof(ztBaseClass)));
  writeReference(object);
  lines.print("\n    count %d", header->refCount);
  if (object.place == 0) lines.print(", %lu bytes", longOf(snapshot.bytesOf(object.block)));
  lines.print(", made by ");
  writeSite(block.site);
  lines.print("\n");
  writeHolders(index);
  if (object.klass->isObject) writeSignals(object);
}

// Connections -------------------------------------------------------------------------------------

// A sound tree of this height has more items than any memory.
constexpr int mostHeight = 90;

static const void *functionOf(const ztSlot &slot) {
  const void *function;
  memcpy(&function, &slot.function, sizeof function);
  return function;
}

void Report::writeFunction(const ztSlot &slot) {
  char name[256];
  nameFrame(name, sizeof name, reinterpret_cast<uintptr_t>(functionOf(slot)) + 1);
  // Without the distance from its beginning.
  name[strcspn(name, "+")] = '\0';
  lines.print("%s", name);
}

// The functions that `connect` uses to disconnect are left out.
void Report::writeSlot(const ztString *signal, const ztMapItem &item) {
  const auto *slot = snapshot.at<ztSlot>(item.value);
  if (slot == nullptr || isOwnCode(functionOf(*slot))) return;
  lines.print("    signal ");
  writeText(signal);
  lines.print(" calls ");
  writeFunction(*slot);
  lines.print(" of ");
  const SnapshotObject *receiver = snapshot.objectAt(reinterpret_cast<uintptr_t>(slot->receiver));
  if (receiver != nullptr) {
    writeReference(*receiver);
  } else {
    lines.print("an object in other memory");
  }
  lines.print("\n");
}

void Report::writeSlotItems(const ztString *signal, const ztAvlTreeItem *item, int depth) {
  const auto *copy = snapshot.at<ztMapItem>(item);
  if (copy == nullptr || depth > mostHeight) return;
  const auto *links = reinterpret_cast<const ztAvlTreeItem *>(copy);
  writeSlotItems(signal, links->left, depth + 1);
  writeSlot(signal, *copy);
  writeSlotItems(signal, links->right, depth + 1);
}

void Report::writeSignalItems(const ztAvlTreeItem *item, int depth) {
  const auto *copy = snapshot.at<ztMapItem>(item);
  if (copy == nullptr || depth > mostHeight) return;
  const auto *links = reinterpret_cast<const ztAvlTreeItem *>(copy);
  writeSignalItems(links->left, depth + 1);
  const auto *signal = snapshot.at<ztSignal>(copy->value);
  const auto *slots = signal == nullptr ? nullptr : snapshot.at<ztSlotMap>(signal->slots);
  const auto *tree = slots == nullptr ? nullptr : snapshot.at<ztAvlTree>(slots->tree);
  if (tree != nullptr) writeSlotItems(signal->name, tree->root, 0);
  writeSignalItems(links->right, depth + 1);
}

void Report::writeSignals(const SnapshotObject &object) {
  const auto *copy = static_cast<const ztObject *>(snapshot.bytesAt(object.address, sizeof(ztObject)));
  const auto *signals = copy == nullptr ? nullptr : snapshot.at<ztSignalMap>(copy->signals);
  const auto *tree = signals == nullptr ? nullptr : snapshot.at<ztAvlTree>(signals->tree);
  if (tree != nullptr) writeSignalItems(tree->root, 0);
}

bool Report::writeObjects() {
  lines.print("\nObjects\n");
  for (int32_t i = 0; i < snapshot.objectCount(); ++i) writeObject(i);
  return lines.finish() && untold == 0;
}

// The report --------------------------------------------------------------------------------------

static bool writeReport(const char *fileName) {
  const Unrecorded own;
  FileReplacement file;
  if (!file.begin(fileName)) return false;
  Report report(file.descriptor());
  const bool isTaken = report.take();
  if (!isTaken) ztLc_log("ztOOP_report - Error, memory is exhausted\n");
  return isTaken && report.writeHeading() && report.writeSummary("Live objects") && report.writeObjects() &&
         file.commit();
}

int32_t ztOOP_report(const char *fileName) {
  if (fileName == nullptr) {
    ztLc_log("ztOOP_report - Error, the file name is NULL\n");
    return 0;
  }
  if (!tracksBlocks) {
    ztLc_log("ztOOP_report - Error, objects are not tracked: start the program with ZENTOVA_TRACK=1\n");
    return 0;
  }
  if (writeReport(fileName)) return 1;
  ztLc_log("ztOOP_report - Error, the file '%s' is not written\n", fileName);
  return 0;
}

void ztcore::printLiveObjects() {
  const Unrecorded own;
  Report report(STDERR_FILENO);
  if (report.take()) report.writeSummary("zentova: objects left at the end");
}
