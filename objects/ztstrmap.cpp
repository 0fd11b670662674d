#include "objects/ztstrmap.hh"

#include "containers/ztown.hh"

using namespace ztcore;

// Most names differ in their first byte.
static int compareTexts(const char *first, const char *second) {
  const int order = static_cast<unsigned char>(*first) - static_cast<unsigned char>(*second);
  return order != 0 ? order : strcmp(first, second);
}

static void *searchTree(const ztAvlTreeItem *item, const char *name) {
  while (item != nullptr) {
    const int order = item->data == nullptr ? -1 : compareTexts(textOf(item->data), name);
    if (order == 0) return reinterpret_cast<const ztMapItem *>(item)->value;
    item = order < 0 ? item->right : item->left;
  }
  return nullptr;
}

// Out of line, so that the usual search needs no place for a key on the stack.
[[gnu::noinline]] static void *findThroughTable(const ztMap &map, const char *name) {
  const BorrowedText key(name);
  return ztMap_of(&map)->findValue(&map, key.get());
}

void *ztcore::findInMap(const ztMap &map, ztCompareFunc compare, const char *name) {
  const bool isPlain =
      map.tree->compareFunction == compare && map.keyConstructor == ztString_ctor && findsByTree(map);
  return isPlain ? searchTree(map.tree->root, name) : findThroughTable(map, name);
}
