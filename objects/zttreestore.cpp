#include "objects/zttreestore.hh"

#include "containers/ztarrays.h"
#include "core/ztbasec.hh"
#include "core/ztgrowing.hh"
#include "core/ztpointermap.hh"
#include "core/ztreader.hh"
#include "core/zttext.hh"
#include "io/ztfile.h"
#include "objects/ztnode.hh"
#include "objects/zttree.hh"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

using namespace ztcore;

// The identity of a record ------------------------------------------------------------------------
//
// A reader looks for the first record with the identifier of a node's parent. Where that is another record, or
// the identifier stands for no parent, the name field of the class identity also has, behind the name, the
// distance to the parent's record: how many records before this one it is. Other readers ignore it.

constexpr char hintLabel[] = "above:";
constexpr size_t hintDigits = 10;
constexpr size_t hintSize = sizeof hintLabel - 1 + hintDigits;
// The field and the name each end with a zero.
constexpr size_t hintPlace = sizeof(Identity::name) - 1 - hintSize;

// A class with a longer name stores no distance.
static bool writeIdentity(const ztRoot *node, int32_t distance, void *file) {
  const ztClass *klass = node->klass;
  if (distance == 0 || strlen(klass->name) >= hintPlace) {
    return ztBaseClass_functions()->classWrite(nullptr, node, file) > 0;
  }
  Identity identity;
  copyText(identity.name, klass->name);
  snprintf(identity.name + hintPlace, hintSize + 1, "%s%010d", hintLabel, distance);
  const ztFileMethods *methods = ztFile_of(file);
  return methods->writeBuf(file, sizeof identity.name, identity.name) == sizeof identity.name &&
         methods->writeInt(file, static_cast<int32_t>(klass->version)) > 0;
}

// 0 when there is no distance.
static int64_t distanceIn(const Identity &identity) {
  const size_t length = strlen(identity.name);
  for (size_t i = length; i < hintPlace; ++i) {
    if (identity.name[i] != '\0') return 0;
  }
  const char *hint = identity.name + hintPlace;
  const char *digits = hint + sizeof hintLabel - 1;
  if (length >= hintPlace || memcmp(hint, hintLabel, sizeof hintLabel - 1) != 0) return 0;
  return strspn(digits, "0123456789") == hintDigits ? strtoll(digits, nullptr, 10) : 0;
}

// 0 and -1 stand for no parent.
static bool namesParent(int32_t uid) {
  return uid != 0 && uid != -1;
}

// Storing -----------------------------------------------------------------------------------------

namespace {

class TreeStorer {
 public:
  explicit TreeStorer(void *target) : file(target) {}
  ~TreeStorer() {
    uids.clear();
  }
  TreeStorer(const TreeStorer &) = delete;
  TreeStorer &operator=(const TreeStorer &) = delete;

  // The number of nodes; 0 on failure.
  int32_t store(ztRoot *root);

 private:
  struct Level {
    int32_t record;
    bool isFound;  // by the identifier of the record
  };

  bool noteNode(const ztRoot *node, int32_t depth);
  bool storeNode(ztRoot *node, const ztRoot *above);

  GrowingArray<Level> levels;  // the current node and those above it
  PointerMap uids;             // of the records so far
  void *file;
  int32_t stored = 0;
  bool isFirst = true;  // the file has no records before the tree
};

}  // namespace

bool TreeStorer::noteNode(const ztRoot *node, int32_t depth) {
  const int32_t uid = ztRoot_of(node)->getUid(node);
  const uint64_t key = uidKey(uid);
  const bool isFound = isFirst && namesParent(uid) && uids.find(key) == nullptr;
  while (levels.size() > depth) levels.pop();
  return levels.push({stored, isFound}) && uids.insert(key, this);
}

// The record has the current identifier of the node above, whatever it was when the node was attached; copied
// children were never attached.
bool TreeStorer::storeNode(ztRoot *node, const ztRoot *above) {
  const int32_t kept = node->parentUid;
  int32_t distance = 0;
  if (above != nullptr) {
    node->parentUid = ztRoot_of(above)->getUid(above);
    const Level &level = levels[levels.size() - 2];
    if (!level.isFound) distance = stored - level.record;
  }
  const bool isStored = writeIdentity(node, distance, file) && ztRoot_of(node)->write(node, file) > 0;
  node->parentUid = kept;
  return isStored;
}

int32_t TreeStorer::store(ztRoot *root) {
  isFirst = ztFile_of(file)->tell(file) == 0;
  TreeWalk walk(root);
  for (; walk.current() != nullptr; walk.next()) {
    if (stored == INT32_MAX || !noteNode(walk.current(), walk.depth()) ||
        !storeNode(walk.current(), walk.above())) {
      return 0;
    }
    ++stored;
  }
  return walk.failed() ? 0 : stored;
}

int32_t ztRoot_storeTree(const void *root, void *file) {
  if (root == nullptr || file == nullptr) return 0;
  TreeStorer storer(file);
  return storer.store(static_cast<ztRoot *>(const_cast<void *>(root)));
}

// The mark ----------------------------------------------------------------------------------------

const char ztcore::markName[] = "(end of tree)";

void ztcore::printMark(const TreeMark &mark, char (&text)[markTextSize + 1]) {
  snprintf(text, sizeof text, "nodes %010d bytes %020ld sum %016lx", mark.nodes, mark.bytes, mark.sum);
}

bool ztcore::parseMark(const char *text, TreeMark *mark) {
  char kept[markTextSize + 1];
  memcpy(kept, text, markTextSize);
  kept[markTextSize] = '\0';
  // NOLINTNEXTLINE(cert-err34-c): what is out of range is not printed as it was
  if (sscanf(kept, "nodes %10d bytes %20ld sum %16lx", &mark->nodes, &mark->bytes, &mark->sum) != 3) {
    return false;
  }
  char again[markTextSize + 1];
  printMark(*mark, again);
  return mark->nodes > 0 && memcmp(kept, again, sizeof again) == 0;
}

bool ztcore::writeMark(const TreeMark &mark, void *file) {
  char name[sizeof Identity::name];
  copyText(name, markName);
  char text[markTextSize + 1];
  printMark(mark, text);
  const ztFileMethods *methods = ztFile_of(file);
  return methods->writeBuf(file, sizeof name, name) == sizeof name &&
         methods->writeInt(file, markVersion) > 0 &&
         methods->writeBuf(file, markTextSize, text) == markTextSize;
}

// Loading -----------------------------------------------------------------------------------------

namespace {

constexpr int32_t none = -1;

// A node that was read, and its place in the new tree. Records refer to each other by index.
struct Record {
  ztRoot *node;
  int32_t parent = none;  // until all are read, the parent by the stored distance
  int32_t firstChild = none;
  int32_t nextSibling = none;
  int32_t visit = 0;  // the search for cycles that visited it
};

enum class Found { node, mark, nothing };

class TreeLoader {
 public:
  TreeLoader(void *source, ztTreeReport *found) : file(source), report(found) {}

  bool readAll(int32_t count);
  // Whether the last item was this mark, after that many nodes.
  bool endsWith(const TreeMark &expected) const;
  bool findParents();
  void cutLoops();
  bool attachAll();
  bool handOver(void *roots);
  void releaseAll();

 private:
  Found readNext();
  bool readMark();
  bool readNode(const Identity &identity);
  bool readToEnd();
  bool checkParent(int32_t index);
  void listChildren();
  bool attach(int32_t index);
  int32_t following(int32_t index);

  GrowingArray<Record> records;
  void *file;
  ztTreeReport *report;
  bool endsWithinRecord = false;  // the last record failed after its class identity
  TreeMark mark = {};             // the mark that was read; its `nodes` is 0 before
};

}  // namespace

bool TreeLoader::readMark() {
  char text[markTextSize];
  return ztFile_of(file)->readBuf(file, markTextSize, text) == markTextSize && parseMark(text, &mark);
}

bool TreeLoader::readNode(const Identity &identity) {
  void *object = makeReadable(identity, "ztRoot_loadTree");
  if (object == nullptr) return false;
  const int64_t distance = distanceIn(identity);
  const int32_t index = records.size();
  const int32_t parent = distance <= index ? static_cast<int32_t>(index - distance) : index;
  if (ztOOP_isClassOf(object, ztRoot_classname_) && readRecord(object, identity, file) &&
      records.push({static_cast<ztRoot *>(object), parent})) {
    ++report->nodes;
    return true;
  }
  ztBaseClass_of(object)->unRef(object);
  return false;
}

Found TreeLoader::readNext() {
  Identity identity;
  endsWithinRecord = readIdentity(file, &identity);
  if (!endsWithinRecord) return Found::nothing;
  if (identity.version == markVersion && strcmp(identity.name, markName) == 0) {
    return readMark() ? Found::mark : Found::nothing;
  }
  return readNode(identity) ? Found::node : Found::nothing;
}

// A stream that cannot seek ends where no further class identity follows.
bool TreeLoader::readToEnd() {
  const ztFileMethods *methods = ztFile_of(file);
  const int64_t here = methods->tell(file);
  int64_t end = -1;
  if (here >= 0 && methods->goToEnd(file) == 0) {
    end = methods->tell(file);
    if (methods->goToAbs(file, here) != 0) return false;
  }
  while (end < 0 || methods->tell(file) < end) {
    const Found found = readNext();
    if (found == Found::mark) return true;
    if (found == Found::nothing) return end < 0 && !endsWithinRecord && methods->eof(file) != 0;
  }
  return true;
}

bool TreeLoader::endsWith(const TreeMark &expected) const {
  return mark.nodes == expected.nodes && mark.bytes == expected.bytes && mark.sum == expected.sum &&
         report->nodes == expected.nodes;
}

bool TreeLoader::readAll(int32_t count) {
  if (count < 0) return readToEnd();
  while (count-- > 0) {
    if (readNext() != Found::node) return false;
  }
  return true;
}

// The stored distance is valid if the record there has the parent's identifier.
bool TreeLoader::checkParent(int32_t index) {
  const int32_t parent = records[index].parent;
  records[index].parent = none;
  if (parent == index) return false;
  const ztRoot *node = records[parent].node;
  if (ztRoot_of(node)->getUid(node) != records[index].node->parentUid) return false;
  records[index].parent = parent;
  return true;
}

bool TreeLoader::findParents() {
  PointerMap byUid;
  bool complete = true;
  for (int32_t i = 0; complete && i < records.size(); ++i) {
    const ztRoot *node = records[i].node;
    const uint64_t key = uidKey(ztRoot_of(node)->getUid(node));
    if (byUid.find(key) != nullptr) {
      ++report->doubles;
    } else {
      complete = byUid.insert(key, &records[i]);
    }
  }
  for (int32_t i = 0; complete && i < records.size(); ++i) {
    if (checkParent(i)) continue;
    const int32_t uid = records[i].node->parentUid;
    if (!namesParent(uid)) continue;
    const auto *parent = static_cast<const Record *>(byUid.find(uidKey(uid)));
    if (parent != nullptr) {
      records[i].parent = static_cast<int32_t>(parent - &records[0]);
    } else {
      ++report->orphans;
    }
  }
  byUid.clear();
  return complete;
}

// The path from a record ends at the root, at a record of an earlier search, or, in a cycle, at one of its own.
void TreeLoader::cutLoops() {
  for (int32_t i = 0; i < records.size(); ++i) {
    const int32_t search = i + 1;
    int32_t at = i;
    for (; at != none && records[at].visit == 0; at = records[at].parent) records[at].visit = search;
    if (at == none || records[at].visit != search) continue;
    records[at].parent = none;
    ++report->loops;
  }
}

void TreeLoader::listChildren() {
  for (int32_t i = records.size() - 1; i >= 0; --i) {
    if (records[i].parent == none) continue;
    Record &parent = records[records[i].parent];
    records[i].nextSibling = parent.firstChild;
    parent.firstChild = i;
  }
}

// The next record in the tree; a parent comes before its children.
int32_t TreeLoader::following(int32_t index) {
  if (records[index].firstChild != none) return records[index].firstChild;
  while (index != none && records[index].nextSibling == none) index = records[index].parent;
  return index == none ? none : records[index].nextSibling;
}

bool TreeLoader::attach(int32_t index) {
  if (records[index].parent == none) return true;
  ztRoot *node = records[index].node;
  ztRoot *parent = records[records[index].parent].node;
  return ztRoot_of(node)->setParent(node, parent) != 0 && holderOf(node) == parent;
}

// Parents first: attaching a node without children does not search the nodes above.
bool TreeLoader::attachAll() {
  listChildren();
  for (int32_t top = 0; top < records.size(); ++top) {
    if (records[top].parent != none) continue;
    for (int32_t at = top; at != none; at = following(at)) {
      if (!attach(at)) return false;
    }
  }
  return true;
}

bool TreeLoader::handOver(void *roots) {
  int32_t tops = 0;
  for (int32_t i = 0; i < records.size(); ++i) tops += records[i].parent == none;
  const ztPtrArrayMethods *methods = ztPtrArray_of(roots);
  int32_t at = methods->getSize(roots);
  if (tops == 0) return true;
  if (at > INT32_MAX - tops || !methods->resize(roots, at + tops)) return false;
  for (int32_t i = 0; i < records.size(); ++i) {
    if (records[i].parent == none) methods->setAt(roots, records[i].node, at++);
  }
  return true;
}

void TreeLoader::releaseAll() {
  // Stored first, because a node that is destroyed also destroys those below it.
  for (int32_t i = 0; i < records.size(); ++i) records[i].visit = holderOf(records[i].node) == nullptr;
  for (int32_t i = 0; i < records.size(); ++i) {
    if (records[i].visit) ztRoot_of(records[i].node)->unRef(records[i].node);
  }
}

int32_t ztcore::loadTree(void *file, int32_t count, void *roots, ztTreeReport *report,
                         const TreeMark *expected) {
  ztTreeReport unread;
  if (report == nullptr) report = &unread;
  *report = {};
  if (file == nullptr || roots == nullptr) return 0;
  TreeLoader loader(file, report);
  const bool isRead = loader.readAll(count) && (expected == nullptr || loader.endsWith(*expected));
  if (isRead && loader.findParents()) {
    loader.cutLoops();
    if (loader.attachAll() && loader.handOver(roots)) return 1;
  }
  loader.releaseAll();
  return 0;
}

int32_t ztRoot_loadTree(void *file, int32_t count, void *roots, ztTreeReport *report) {
  return loadTree(file, count, roots, report, nullptr);
}
