#include "objects/zttree.hh"

#include "objects/ztnode.hh"

using namespace ztcore;

void TreeWalk::next() {
  const ztListItem *first = firstChild(node);
  if (first != nullptr && !levels.push({node, first})) {
    outOfMemory = true;
    node = nullptr;
    return;
  }
  while (levels.size() > 0) {
    Level &level = levels.last();
    for (const ztListItem *item = level.following; item != nullptr; item = item->next) {
      ztRoot *child = childOf(item);
      // A host may have put a node into the list that also stands above it.
      if (child == nullptr || holderOf(child) != level.parent) continue;
      level.following = item->next;
      node = child;
      return;
    }
    levels.pop();
  }
  node = nullptr;
}

// The path from a node to the root. A host can turn it into a cycle by removing a node from its parent's list.
namespace {

class WayUp {
 public:
  explicit WayUp(const ztRoot *from) : node(from), seen(from) {}

  // NULL above the root, and after a cycle.
  const ztRoot *current() const {
    return node;
  }
  void next() {
    node = holderOf(node);
    leadsRound = node != nullptr && node == seen;
    if (leadsRound) node = nullptr;
    if (++steps == stride) {
      seen = node;
      stride *= 2;
    }
  }
  bool isRound() const {
    return leadsRound;
  }

 private:
  const ztRoot *node;
  const ztRoot *seen;  // an earlier node, at doubling distances
  uint64_t steps = 0;
  uint64_t stride = 2;
  bool leadsRound = false;
};

}  // namespace

// The path to the root is as long as the tree is deep. After some steps, each step up is paired with a step of
// a walk below `top`, so that the smaller of two trees determines the cost.
bool ztcore::isWithinTree(const ztRoot *node, const ztRoot *top) {
  constexpr int32_t fewSteps = 64;
  WayUp up(node);
  for (int32_t i = 0; i < fewSteps && up.current() != nullptr; ++i) {
    if (up.current() == top) return true;
    up.next();
  }
  TreeWalk below(const_cast<ztRoot *>(top));
  while (up.current() != nullptr && up.current() != top) {
    up.next();
    if (below.current() == nullptr) continue;
    if (below.current() == node) return true;
    below.next();
    if (below.current() == nullptr && !below.failed()) return false;
  }
  return up.current() != nullptr || up.isRound();
}
