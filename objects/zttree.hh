// What the modules of the tree share: who lists a node, the library's own operations, walks over trees, an
// index by words.
#ifndef ZT_OBJECTS_ZTTREE_HH
#define ZT_OBJECTS_ZTTREE_HH

#include "containers/ztlistitem.h"
#include "core/ztmem.h"
#include "objects/ztroot.h"

inline ztRoot *ztChildOf(const ztListItem *item) {
  return static_cast<ztRoot *>(item->data);
}

inline ztListItem *ztFirstChild(const ztRoot *node) {
  return node->children == nullptr ? nullptr : node->children->head;
}

// The one node that lists this node among its children: its parent; or, for the child of a copy and
// for a child whose deletion is being announced, a node that is not its parent. NULL for none.
ztRoot *ztListerOf(const ztRoot *node);

// Notes who lists a node that has no parent. False without memory.
bool ztRememberLister(ztRoot *node, ztRoot *lister);

// The methods of the nearest class of the library's: a node does what they do where its own are the same.
const ztRootMethods *ztLibraryMethodsOf(const ztRoot *node);

// Fills the list of a copy with copies of a node's children, and of all below them. False, with a part of
// them listed, where one cannot be copied.
bool ztCopyChildren(const ztRoot *node, ztRoot *copy);

// Assigns the children of another node to those in the same places, and so on below them. 0 where that
// would take more stack or memory than there is.
int32_t ztAssignChildren(ztRoot *node, const ztRoot *other);

// Begins a copy of a node: all but its children, in memory that holds nothing. NULL on failure.
ztRoot *ztCopyNodeAlone(const void *node, void *target);

// Elements side by side, without constructors and destructors of their own.
template <typename Element>
class GrowingArray {
 public:
  GrowingArray() = default;
  ~GrowingArray() {
    ztm_free(elements);
  }
  GrowingArray(const GrowingArray &) = delete;
  GrowingArray &operator=(const GrowingArray &) = delete;

  // False, with the array as it was, without memory.
  bool push(const Element &element) {
    if (used == room && !grow()) return false;
    elements[used++] = element;
    return true;
  }
  void pop() {
    --used;
  }
  int32_t size() const {
    return used;
  }
  Element &operator[](int32_t index) {
    return elements[index];
  }
  const Element &last() const {
    return elements[used - 1];
  }
  Element &last() {
    return elements[used - 1];
  }

 private:
  bool grow() {
    constexpr int32_t size = sizeof(Element);
    const int32_t wanted = room == 0 ? 16 : 2 * room;
    if (wanted > INT32_MAX / 2 / size) return false;
    void *moved = ztm_realloc(elements, wanted * size);
    if (moved == nullptr) return false;
    elements = static_cast<Element *>(moved);
    room = wanted;
    return true;
  }

  Element *elements = nullptr;
  int32_t used = 0;
  int32_t room = 0;
};

// A hash table from words to pointers. Where a key stands depends on a secret of the process, so that nobody
// can choose keys that all stand in one place. Plain data without destructor, so that it can be static:
// `clear` releases what it holds, and so does the removal of the last entry.
class WordTable {
 public:
  // NULL when there is no such key.
  void *find(uint64_t key) const;
  // A key that is there keeps its value. False without memory.
  bool insert(uint64_t key, void *value);
  // The key is there.
  void remove(uint64_t key);
  void clear();

 private:
  struct Entry {
    uint64_t key;
    void *value;  // NULL while the place is free
  };

  uint32_t last() const;
  uint32_t homeOf(uint64_t key) const;
  uint32_t placeOf(uint64_t key) const;
  bool grow();

  Entry *entries = nullptr;
  uint32_t bits = 0;   // there are 2^bits places; none without entries
  uint32_t count = 0;  // at most half of the places are taken
};

// The key of an identifier.
inline uint64_t ztUidKey(int32_t uid) {
  return static_cast<uint32_t>(uid);
}

// Visits a node and all below it, each before its children and these in their order. It takes memory by
// the depth of the tree, which is not to change meanwhile.
class TreeWalk {
 public:
  explicit TreeWalk(ztRoot *top) : node(top) {}

  // NULL behind the last node, and when memory ran out.
  ztRoot *current() const {
    return node;
  }
  // The node above the current one; NULL for the top.
  ztRoot *above() const {
    return levels.size() == 0 ? nullptr : levels.last().parent;
  }
  // How many nodes of the walk are above the current one.
  int32_t depth() const {
    return levels.size();
  }
  void next();
  bool failed() const {
    return outOfMemory;
  }

 private:
  struct Level {
    ztRoot *parent;
    const ztListItem *following;  // the next of its children
  };

  GrowingArray<Level> levels;  // those above the current node, from the top on
  ztRoot *node;
  bool outOfMemory = false;
};

#endif
