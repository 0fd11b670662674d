#include "objects/zttree.hh"

#include "containers/ztarrays.h"
#include "containers/ztlistitem.h"
#include "core/ztoop.hh"
#include "io/ztfile.h"

#include <string.h>

// Words to pointers -------------------------------------------------------------------------------

uint32_t WordTable::last() const {
  return (uint32_t{1} << bits) - 1;
}

// The high bits of the product depend on all bits of the key.
uint32_t WordTable::homeOf(uint64_t key) const {
  return static_cast<uint32_t>((key * 0x9E3779B97F4A7C15U) >> (64 - bits));
}

// Where the key is, or the free place where it would be.
uint32_t WordTable::placeOf(uint64_t key) const {
  uint32_t place = homeOf(key);
  while (entries[place].value != nullptr && entries[place].key != key) place = (place + 1) & last();
  return place;
}

void *WordTable::find(uint64_t key) const {
  return entries == nullptr ? nullptr : entries[placeOf(key)].value;
}

bool WordTable::grow() {
  constexpr uint32_t fewest = 4;
  constexpr uint32_t most = 26;
  WordTable larger;
  larger.bits = entries == nullptr ? fewest : bits + 1;
  if (larger.bits > most) return false;
  const size_t bytes = sizeof(Entry) << larger.bits;
  larger.entries = static_cast<Entry *>(ztm_alloc(static_cast<int32_t>(bytes)));
  if (larger.entries == nullptr) return false;
  memset(larger.entries, 0, bytes);
  for (uint32_t place = 0; entries != nullptr && place <= last(); ++place) {
    const Entry &entry = entries[place];
    if (entry.value != nullptr) larger.entries[larger.placeOf(entry.key)] = entry;
  }
  larger.count = count;
  ztm_free(entries);
  *this = larger;
  return true;
}

bool WordTable::insert(uint64_t key, void *value) {
  if ((entries == nullptr || count > last() / 2) && !grow()) return false;
  Entry &entry = entries[placeOf(key)];
  if (entry.value != nullptr) return true;
  entry = {key, value};
  ++count;
  return true;
}

void WordTable::remove(uint64_t key) {
  // Later entries that the freed place keeps apart from their homes move up.
  uint32_t freed = placeOf(key);
  for (uint32_t place = (freed + 1) & last(); entries[place].value != nullptr; place = (place + 1) & last()) {
    const uint32_t fromHome = (place - homeOf(entries[place].key)) & last();
    const uint32_t fromFreed = (place - freed) & last();
    if (fromHome < fromFreed) continue;
    entries[freed] = entries[place];
    freed = place;
  }
  entries[freed].value = nullptr;
  if (--count == 0) clear();
}

void WordTable::clear() {
  ztm_free(entries);
  *this = WordTable();
}

// The walk ----------------------------------------------------------------------------------------

void TreeWalk::next() {
  const ztListItem *first = node->children == nullptr ? nullptr : node->children->head;
  if (first != nullptr && !levels.push({node, first})) {
    outOfMemory = true;
    node = nullptr;
    return;
  }
  while (levels.size() > 0) {
    Level &level = levels.last();
    for (const ztListItem *item = level.following; item != nullptr; item = item->next) {
      auto *child = static_cast<ztRoot *>(item->data);
      // A node that was put into the list by other means may stand above it as well.
      if (child == nullptr || ztListerOf(child) != level.parent) continue;
      level.following = item->next;
      node = child;
      return;
    }
    levels.pop();
  }
  node = nullptr;
}

// Storing -----------------------------------------------------------------------------------------

// The record bears the identifier that the node above has now, whatever it was when the node was
// attached there; copied children were never attached.
static bool storeNode(ztRoot *node, const ztRoot *above, void *file) {
  const int32_t kept = node->parentUid;
  if (above != nullptr) node->parentUid = ztRoot_of(above)->getUid(above);
  const bool stored = ztBaseClass_functions()->classWrite(nullptr, node, file) != 0 &&
                      ztRoot_of(node)->write(node, file) != 0;
  node->parentUid = kept;
  return stored;
}

int32_t ztRoot_storeTree(const void *root, void *file) {
  if (root == nullptr || file == nullptr) return 0;
  int32_t stored = 0;
  TreeWalk walk(static_cast<ztRoot *>(const_cast<void *>(root)));
  for (; walk.current() != nullptr; walk.next()) {
    if (!storeNode(walk.current(), walk.above(), file)) return 0;
    ++stored;
  }
  return walk.failed() ? 0 : stored;
}

// Loading -----------------------------------------------------------------------------------------

namespace {

constexpr int32_t none = -1;

// A node that was read, and its place in the tree that is to be. Records refer to each other by index.
struct Record {
  ztRoot *node;
  int32_t parent = none;
  int32_t firstChild = none;
  int32_t nextSibling = none;
  int32_t visit = 0;  // the search for loops that came by
};

class TreeLoader {
 public:
  TreeLoader(void *source, ztTreeReport *found) : file(source), report(found) {}

  bool readAll(int32_t count);
  bool findParents();
  void cutLoops();
  bool attachAll();
  bool handOver(void *roots);
  void releaseAll();

 private:
  bool readNode();
  bool readToEnd();
  void listChildren();
  bool attach(int32_t index);
  int32_t following(int32_t index);

  GrowingArray<Record> records;
  void *file;
  ztTreeReport *report;
  bool endsWithinNode = false;  // the last node that could not be read had its class identity
};

}  // namespace

bool TreeLoader::readNode() {
  void *object = ztBaseClass_functions()->classRead(nullptr, file);
  endsWithinNode = object != nullptr;
  if (object == nullptr) return false;
  if (ztOOP_isClassOf(object, ztRoot_classname_) && ztRoot_of(object)->read(object, file) != 0 &&
      records.push({static_cast<ztRoot *>(object)})) {
    ++report->nodes;
    return true;
  }
  ztBaseClass_of(object)->unRef(object);
  return false;
}

// A stream that cannot seek is at its end when it has no further class identity.
bool TreeLoader::readToEnd() {
  const ztFileMethods *methods = ztFile_of(file);
  const int64_t here = methods->tell(file);
  int64_t end = -1;
  if (here >= 0 && methods->goToEnd(file) == 0) {
    end = methods->tell(file);
    if (methods->goToAbs(file, here) != 0) return false;
  }
  while (end < 0 || methods->tell(file) < end) {
    if (!readNode()) return end < 0 && !endsWithinNode && methods->eof(file) != 0;
  }
  return true;
}

bool TreeLoader::readAll(int32_t count) {
  if (count < 0) return readToEnd();
  while (count-- > 0) {
    if (!readNode()) return false;
  }
  return true;
}

bool TreeLoader::findParents() {
  WordTable byUid;
  bool complete = true;
  for (int32_t i = 0; complete && i < records.size(); ++i) {
    const ztRoot *node = records[i].node;
    const uint64_t key = ztUidKey(ztRoot_of(node)->getUid(node));
    if (byUid.find(key) != nullptr) {
      ++report->doubles;
    } else {
      complete = byUid.insert(key, &records[i]);
    }
  }
  for (int32_t i = 0; complete && i < records.size(); ++i) {
    const int32_t uid = records[i].node->parentUid;
    if (uid == 0 || uid == -1) continue;
    const auto *parent = static_cast<const Record *>(byUid.find(ztUidKey(uid)));
    if (parent != nullptr) {
      records[i].parent = static_cast<int32_t>(parent - &records[0]);
    } else {
      ++report->orphans;
    }
  }
  byUid.clear();
  return complete;
}

// The way up from a record ends at the top, on the way of an earlier search, or where it came by.
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

// The record behind this one in the tree, each before its children.
int32_t TreeLoader::following(int32_t index) {
  if (records[index].firstChild != none) return records[index].firstChild;
  while (index != none && records[index].nextSibling == none) index = records[index].parent;
  return index == none ? none : records[index].nextSibling;
}

bool TreeLoader::attach(int32_t index) {
  if (records[index].parent == none) return true;
  ztRoot *node = records[index].node;
  ztRoot *parent = records[records[index].parent].node;
  return ztRoot_of(node)->setParent(node, parent) != 0 && ztListerOf(node) == parent;
}

// Parents first: a node without children is attached without a look at all that is above.
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
  // Noted beforehand, for the end of a node is the end of those below it.
  for (int32_t i = 0; i < records.size(); ++i) records[i].visit = ztListerOf(records[i].node) == nullptr;
  for (int32_t i = 0; i < records.size(); ++i) {
    if (records[i].visit) ztRoot_of(records[i].node)->unRef(records[i].node);
  }
}

int32_t ztRoot_loadTree(void *file, int32_t count, void *roots, ztTreeReport *report) {
  ztTreeReport unread;
  if (report == nullptr) report = &unread;
  *report = {};
  if (file == nullptr || roots == nullptr) return 0;
  TreeLoader loader(file, report);
  if (loader.readAll(count) && loader.findParents()) {
    loader.cutLoops();
    if (loader.attachAll() && loader.handOver(roots)) return 1;
  }
  loader.releaseAll();
  return 0;
}
