#include "objects/ztchildren.hh"

#include "core/ztthread.hh"
#include "objects/ztnode.hh"

using namespace ztcore;

static const ztList *listOf(const ztRoot *node) {
  return reinterpret_cast<const ztList *>(node->children);
}

static bool isOwnList(const ztRoot *node) {
  return node->children != nullptr && node->children->klass == ztRootPtrListClass_Instance();
}

// Identifiers -------------------------------------------------------------------------------------

// The table of a node's children, if its keys are those of all children up to the last one that has a key.
static ItemTable *tableWithKeys(const ztRoot *node) {
  ItemTable *table = isOwnList(node) ? tableOf(*listOf(node)) : nullptr;
  return table != nullptr && table->keys.removals == table->removals ? table : nullptr;
}

static bool hasOwnUids(const ElementKeys &keys) {
  for (int32_t i = 0; i < keys.classCount; ++i) {
    if (!hasOwnUid(keys.classes[i])) return false;
  }
  return true;
}

static bool addClass(ElementKeys &keys, const ztClass *klass) {
  for (int32_t i = 0; i < keys.classCount; ++i) {
    if (keys.classes[i] == klass) return true;
  }
  if (keys.classCount == ElementKeys::mostClasses || !hasOwnUid(klass)) return false;
  keys.classes[keys.classCount++] = klass;
  return true;
}

// Enters a child behind all that have keys. False when memory is exhausted.
static bool addKey(ElementKeys &keys, ztRoot *child) {
  const uint64_t key = uidKey(child->uid);
  if (keys.elements.find(key) == nullptr) return keys.elements.insert(key, child);
  keys.elements.replace(key, &severalTimes);
  return true;
}

// Gives the next child its key. False when that is not possible.
static bool coverUid(ItemTable *table, ztListItem *item) {
  ElementKeys &keys = table->keys;
  ztRoot *child = childOf(item);
  if (child != nullptr && (holderOf(child) != keys.owner || !addClass(keys, child->klass))) return false;
  // Every item with a key is also covered.
  if (keys.last == table->last && !table->cover(item)) return false;
  if (child != nullptr && !addKey(keys, child)) return false;
  keys.last = item;
  return true;
}

static int32_t uidOf(const ztRoot *node) {
  return ztRoot_of(node)->getUid(node);
}

static bool hasUid(const ztListItem *item, int32_t uid) {
  return childOf(item) != nullptr && uidOf(childOf(item)) == uid;
}

static ztListItem *walkToUid(ztListItem *item, int32_t uid) {
  while (item != nullptr && !hasUid(item, uid)) item = item->next;
  return item;
}

static ItemTable *makeTableWithKeys(const ztRoot *node) {
  ItemTable *table = isOwnList(node) ? makeTable(*listOf(node)) : nullptr;
  if (table == nullptr) return nullptr;
  ElementKeys &keys = table->keys;
  if (keys.owner == node && keys.removals == table->removals && hasOwnUids(keys)) return table;
  keys.clear();
  keys.owner = node;
  keys.removals = table->removals;
  return table;
}

// Whether the given node is a child with the identifier of the other one, but not by its key: a host wrote it.
static bool isWritten(const ItemTable *table, const ztRoot *given, const ztRoot *child) {
  return child != given && table->find(given) != nullptr;
}

// The item of a child that has the key. NULL when the host changed what the table knows.
static ztListItem *confirmed(const ItemTable *table, const ztRoot *child, const ztRoot *given, int32_t uid) {
  if (isWritten(table, given, child)) return nullptr;
  void *place = table->find(child);
  if (place == nullptr || place == &severalTimes) return nullptr;
  auto *item = static_cast<ztListItem *>(place);
  return item->data == child && child->uid == uid ? item : nullptr;
}

static ztListItem *nextWithoutKey(const ItemTable *table, const ztRoot *node) {
  return table->keys.last == nullptr ? firstChild(node) : table->keys.last->next;
}

// The children before `further` do not have the identifier.
static ztListItem *findKeyed(const ztRoot *node, const ztRoot *given, int32_t uid, ztListItem *further) {
  ItemTable *table = makeTableWithKeys(node);
  if (table == nullptr) return walkToUid(further, uid);
  void *known = table->keys.elements.find(uidKey(uid));
  if (known == &severalTimes) return walkToUid(further, uid);
  if (known != nullptr) {
    if (ztListItem *item = confirmed(table, static_cast<ztRoot *>(known), given, uid)) return item;
  } else {
    bool isWrong = false;
    ztListItem *item = nextWithoutKey(table, node);
    for (; item != nullptr && !isWrong && coverUid(table, item); item = item->next) {
      if (childOf(item) == nullptr || childOf(item)->uid != uid) continue;
      isWrong = isWritten(table, given, childOf(item));
      if (!isWrong) return item;
    }
    if (item != nullptr && !isWrong) return walkToUid(further, uid);
  }
  // If there is such a child, its identifier or its item was written to.
  dropTable(*listOf(node));
  return walkToUid(further, uid);
}

ztListItem *ztcore::findChildWithUidOf(const ztRoot *node, const ztRoot *given) {
  const int32_t uid = uidOf(given);
  ztListItem *item = firstChild(node);
  for (int32_t i = 0; i < itemsWithoutTable && item != nullptr; ++i) {
    if (hasUid(item, uid)) return item;
    item = item->next;
  }
  return item == nullptr ? nullptr : findKeyed(node, given, uid, item);
}

void ztcore::moveUid(ztRoot *node, int32_t old) {
  const ztRoot *holder = holderOf(node);
  ItemTable *table = holder == nullptr || old == node->uid ? nullptr : tableWithKeys(holder);
  if (table == nullptr) return;
  ElementKeys &keys = table->keys;
  const void *known = keys.elements.find(uidKey(old));
  if (known == nullptr) return;  // behind the children with keys
  const bool isKnown = known == node;
  if (isKnown) keys.elements.remove(uidKey(old));
  if (!isKnown || !addKey(keys, node)) keys.clear();
}

// Removing ----------------------------------------------------------------------------------------

// Called before a child's item is removed from the list of a node.
static void forgetUid(const ztRoot *node, const ztRoot *child) {
  ItemTable *table = tableWithKeys(node);
  if (table == nullptr || child == nullptr) return;
  ElementKeys &keys = table->keys;
  if (keys.elements.find(uidKey(child->uid)) == child) keys.elements.remove(uidKey(child->uid));
  ++keys.removals;
}

// A walk that releases nodes below a common node must notice that its way back is broken.
static void leavePath(ztRoot *node) {
  if (!(node->flags & nodeOnPath)) return;
  node->flags &= ~uint32_t{nodeOnPath};
  ++thisThread.brokenPaths;
}

void ztcore::removeChildItem(const ztRoot *node, ztListItem *item) {
  if (item->data != nullptr) leavePath(childOf(item));
  if (mayHaveTables()) forgetUid(node, childOf(item));
  ztRootPtrList_of(node->children)->removeItem(node->children, item);
}

static ztListItem *findChild(const ztRoot *node, const ztRoot *child) {
  ztListItem *item = firstChild(node);
  for (int32_t i = 0; i < itemsWithoutTable && item != nullptr && item->data != child; ++i) item = item->next;
  if (item == nullptr || item->data == child) return item;
  return isOwnList(node) ? findItem(*listOf(node), child, item) : walkTo(item, child);
}

void ztcore::removeChild(const ztRoot *node, const ztRoot *child) {
  ztListItem *item = findChild(node, child);
  if (item != nullptr) removeChildItem(node, item);
}

void ztcore::takeOff(ztRoot *node) {
  const ztRoot *holder = holderOf(node);
  leavePath(node);
  forgetHolder(node);
  node->parent = nullptr;
  if (holder != nullptr) removeChild(holder, node);
}
