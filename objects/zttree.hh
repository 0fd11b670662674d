#ifndef ZT_OBJECTS_ZTTREE_HH
#define ZT_OBJECTS_ZTTREE_HH

#include "core/ztgrowing.hh"
#include "objects/ztroot.h"

namespace ztcore {

// Visits a node and all nodes below it: a node before its children, children in their order. The tree must not
// change during the walk, which uses memory for each level.
class TreeWalk {
 public:
  explicit TreeWalk(ztRoot *top) : node(top) {}

  // NULL behind the last node, and when memory is exhausted.
  ztRoot *current() const {
    return node;
  }
  // The node above the current one; NULL for the top.
  ztRoot *above() const {
    return levels.size() == 0 ? nullptr : levels.last().parent;
  }
  // The number of nodes of the walk above the current one.
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
    const ztListItem *following;  // the next child
  };

  GrowingArray<Level> levels;  // the nodes above the current one, from the top down
  ztRoot *node;
  bool outOfMemory = false;
};

// Whether a node is `top` or below it.
bool isWithinTree(const ztRoot *node, const ztRoot *top);

}  // namespace ztcore

#endif
