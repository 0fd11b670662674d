#include "objects/ztroot.h"

#include "tests/helpers/scale.hh"
#include "tests/objects/tree_nodes.hh"

#include <gtest/gtest.h>

#include <algorithm>

// Announcements -----------------------------------------------------------------------------------

TEST(Announcing, TellsOfAChildThatIsListedAlready) {
  Forest forest;
  ztRoot *parent = newNode(1);
  ztRoot *child = newNode(2);
  int calls = 0;
  forest.on(parent, "childAdded", [&](ztRoot *added) {
    ++calls;
    EXPECT_EQ(added, child);
    EXPECT_EQ(ztRoot_of(added)->getParent(added), parent);
    EXPECT_EQ(ztRoot_of(parent)->getChildAt(parent, 0), child);
  });
  addChild(parent, child);
  EXPECT_EQ(calls, 1);
  addChild(parent, child);  // again
  EXPECT_EQ(calls, 2);
  EXPECT_EQ(countOf(child), 2);
  EXPECT_EQ(ztRoot_of(parent)->getChildCount(parent), 1);
  release(parent);
}

TEST(Announcing, TellsOfADetachedChildThatIsStillListed) {
  Forest forest;
  ztRoot *parent = newNode(1);
  ztRoot *child = newChild(parent, 2);
  int calls = 0;
  forest.on(parent, "childDeleted", [&](ztRoot *deleted) {
    ++calls;
    EXPECT_EQ(deleted, child);
    EXPECT_EQ(ztRoot_of(deleted)->getParent(deleted), nullptr);
    EXPECT_EQ(deleted->parentUid, 0);
    EXPECT_EQ(childrenOf(parent), std::vector<ztRoot *>{child});
  });
  deleteChild(parent, child);
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(ztRoot_of(parent)->getChildCount(parent), 0);
  deleteChild(parent, child);
  EXPECT_EQ(calls, 1);
  release(child);
  release(parent);
}

TEST(Announcing, AMoveTellsTheOldParentAndTheNewOneOnlyThroughAddChild) {
  Forest forest;
  ztRoot *a = newNode(1);
  ztRoot *b = newNode(2);
  ztRoot *child = newChild(a, 3);
  std::string told;
  for (ztRoot *parent : {a, b}) {
    const std::string name = std::to_string(parent->uid);
    forest.on(parent, "childAdded", [&told, name](ztRoot *) { told += "+" + name; });
    forest.on(parent, "childDeleted", [&told, name](ztRoot *) { told += "-" + name; });
  }
  setParent(child, b);
  EXPECT_EQ(told, "-1");
  told.clear();
  addChild(a, child);
  EXPECT_EQ(told, "-2+1");
  for (int i = countOf(child); i > 2; --i) release(child);
  release(a);
  release(b);
}

TEST(Announcing, ARefusedChildIsNotTold) {
  Forest forest;
  ztRoot *top = newNode(1);
  ztRoot *low = newChild(top, 2);
  forest.on(low, "childAdded", [](ztRoot *) { ADD_FAILURE(); });
  addChild(low, top);
  addChild(low, low);
  release(top);
}

TEST(Announcing, ASlotMayDeleteTheSameChildAgain) {
  Forest forest;
  ztRoot *parent = newNode(1);
  ztRoot *child = newChild(parent, 2);
  ztRoot *other = newChild(parent, 3);
  int calls = 0;
  forest.on(parent, "childDeleted", [&](ztRoot *deleted) {
    ++calls;
    deleteChild(parent, deleted);
    deleteChild(parent, deleted);
    EXPECT_EQ(childrenOf(parent), std::vector<ztRoot *>{other});
  });
  deleteChild(parent, child);
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(countOf(child), 2);
  release(child);
  release(parent);
}

TEST(Announcing, ASlotMayDeleteAllChildren) {
  Forest forest;
  ztRoot *parent = newNode(0);
  std::vector<ztRoot *> children;
  for (int32_t uid = 1; uid <= 4; ++uid) children.push_back(newChild(parent, uid));
  std::vector<int32_t> deleted;
  forest.on(parent, "childDeleted", [&](const ztRoot *child) {
    deleted.push_back(child->uid);
    ztRoot_of(parent)->deleteAllChild(parent);
  });
  deleteChild(parent, children[1]);
  std::sort(deleted.begin(), deleted.end());
  EXPECT_EQ(deleted, (std::vector<int32_t>{1, 2, 3, 4}));
  EXPECT_EQ(ztRoot_of(parent)->getChildCount(parent), 0);
  for (ztRoot *child : children) release(child);
  release(parent);
}

TEST(Announcing, ASlotMayReleaseTheChild) {
  Forest forest;
  ztRoot *parent = newNode(1);
  for (const char *signalName : {"childDeleted", "childAdded"}) {
    ztRoot *node = newNode(2);
    ztRoot *sibling = newChild(node, 3);
    ztRoot *child = newNode(4);
    if (signalName == std::string("childDeleted")) addChild(node, child);
    forest.on(node, signalName, [&](ztRoot *told) {
      release(told);
      EXPECT_EQ(childrenOf(node), std::vector<ztRoot *>{sibling});
    });
    if (signalName == std::string("childDeleted")) {
      deleteChild(node, child);
    } else {
      addChild(node, child);
    }
    EXPECT_EQ(shapeOf(node), "2(3)");
    release(node);
  }
  release(parent);
}

TEST(Announcing, ASlotMayReleaseTheNode) {
  Forest forest;
  ztRoot *node = newNode(1);
  ztRoot *child = newNode(2);
  newChild(node, 3);
  forest.on(node, "childAdded", [&](ztRoot *) { release(node); });
  ztRoot_of(child)->ref(child);
  addChild(node, child);
  // The node's end has taken back its reference and left two.
  EXPECT_EQ(countOf(child), 2);
  EXPECT_EQ(ztRoot_of(child)->getParent(child), nullptr);
  release(child);

  node = newNode(1);
  child = newChild(node, 2);
  newChild(node, 3);
  forest.on(node, "childDeleted", [&](ztRoot *) { release(node); });
  deleteChild(node, child);
  // Detached already, it keeps what it had.
  EXPECT_EQ(countOf(child), 2);
  EXPECT_EQ(ztRoot_of(child)->getParent(child), nullptr);
  release(child);
}

TEST(Announcing, ASlotMayReleaseTheNodeWhileAllAreDeleted) {
  Forest forest;
  ztRoot *node = newNode(1);
  ztRoot *first = newChild(node, 2);
  newChild(node, 3);
  forest.on(node, "childDeleted", [&](ztRoot *) { release(node); });
  EXPECT_EQ(ztRoot_of(node)->deleteAllChild(node), 0);
  release(first);
}

TEST(Announcing, ASlotMayFollowTheChildThatLeaves) {
  Forest forest;
  ztRoot *node = newNode(1);
  ztRoot *child = newChild(node, 2);
  int calls = 0;
  forest.on(node, "childDeleted",
            [&](ztRoot *deleted) { forest.on(deleted, "childAdded", [&](ztRoot *) { ++calls; }); });
  deleteChild(node, child);
  EXPECT_EQ(calls, 0);
  newChild(child, 3);
  EXPECT_EQ(calls, 1);
  release(child);
  release(node);
}

TEST(Announcing, ASlotMayAddTheChildAgain) {
  Forest forest;
  ztRoot *node = newNode(1);
  ztRoot *child = newChild(node, 2);
  newChild(node, 3);
  forest.on(node, "childDeleted", [&](ztRoot *deleted) {
    addChild(node, deleted);
    EXPECT_EQ(ztRoot_of(deleted)->getParent(deleted), node);
  });
  deleteChild(node, child);
  EXPECT_EQ(shapeOf(node), "1(3 2)");
  EXPECT_EQ(child->parentUid, 1);
  EXPECT_EQ(countOf(child), 3);
  release(child);
  release(node);
}

TEST(Announcing, ASlotMayAddTheChildAgainAndDeleteItAgain) {
  Forest forest;
  ztRoot *node = newNode(1);
  ztRoot *child = newChild(node, 2);
  int calls = 0;
  forest.on(node, "childDeleted", [&](ztRoot *deleted) {
    if (++calls > 1) return;
    addChild(node, deleted);
    deleteChild(node, deleted);
  });
  deleteChild(node, child);
  EXPECT_EQ(calls, 2);
  EXPECT_EQ(shapeOf(node), "1");
  EXPECT_EQ(countOf(child), 3);
  release(child);
  release(child);
  release(node);
}

TEST(Announcing, ASlotMayAttachTheChildElsewhere) {
  Forest forest;
  ztRoot *from = newNode(1);
  ztRoot *elsewhere = newNode(2);
  ztRoot *to = newNode(3);
  ztRoot *child = newChild(from, 4);
  forest.on(from, "childDeleted", [&](ztRoot *deleted) { addChild(elsewhere, deleted); });
  deleteChild(from, child);
  EXPECT_EQ(shapeOf(from), "1");
  EXPECT_EQ(shapeOf(elsewhere), "2(4)");
  addChild(from, child);
  EXPECT_EQ(shapeOf(elsewhere), "2");
  // On the way to a third node it does not stay on the second.
  EXPECT_EQ(setParent(child, to), 1);
  EXPECT_EQ(shapeOf(from), "1");
  EXPECT_EQ(shapeOf(elsewhere), "2");
  EXPECT_EQ(shapeOf(to), "3(4)");
  for (int i = countOf(child); i > 2; --i) release(child);
  for (ztRoot *node : {from, elsewhere, to}) release(node);
}

TEST(Announcing, ASlotMayPutTheNewParentBelowTheChild) {
  Forest forest;
  ztRoot *from = newNode(1);
  ztRoot *to = newNode(2);
  ztRoot *child = newChild(from, 3);
  forest.on(from, "childDeleted", [&](ztRoot *deleted) { addChild(deleted, to); });
  EXPECT_EQ(setParent(child, to), 0);
  EXPECT_EQ(shapeOf(child), "3(2)");
  release(child);
  release(child);
  release(from);
}

TEST(Announcing, ASlotMayReleaseTheNewParentOrTheMovedNode) {
  Forest forest;
  ztRoot *from = newNode(1);
  ztRoot *to = newNode(2);
  ztRoot *child = newChild(from, 3);
  ztRoot *released = to;
  forest.on(from, "childDeleted", [&](ztRoot *) {
    for (int i = released == child ? 2 : 1; i > 0; --i) release(released);
  });
  EXPECT_EQ(setParent(child, to), 0);
  EXPECT_EQ(ztRoot_of(child)->getParent(child), nullptr);
  EXPECT_EQ(countOf(child), 3);
  release(child);

  addChild(from, child);
  release(child);
  to = newNode(2);
  released = child;
  EXPECT_EQ(setParent(child, to), 0);
  EXPECT_EQ(shapeOf(from), "1");
  release(from);
  release(to);
}

TEST(Announcing, ADyingNodeTakesNoChildrenAndNoParent) {
  Forest forest;
  ztRoot *node = newNode(1);
  ztRoot *child = newChild(node, 2);
  ztRoot *other = newNode(3);
  int calls = 0;
  forest.on(child, "destroyed", [&](ztRoot *) {
    ++calls;
    addChild(node, other);
    addChild(child, other);
    addChild(other, child);
    addChild(other, node);
    EXPECT_EQ(ztRoot_of(node)->getChildCount(node), 0);
    EXPECT_EQ(ztRoot_of(child)->getChildCount(child), 0);
    EXPECT_EQ(ztRoot_of(child)->deleteAllChild(child), 0);
    EXPECT_EQ(ztRoot_of(child)->getChildAt(child, 0), nullptr);
    EXPECT_EQ(ztRoot_of(child)->findChildById(child, 3), nullptr);
    deleteChild(child, other);
    EXPECT_EQ(ztRoot_of(child)->getParent(child), nullptr);
    EXPECT_EQ(nameOf(child), "");
  });
  release(node);
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(shapeOf(other), "3");
  EXPECT_EQ(countOf(other), 1);
  release(other);
}

// The end of nodes --------------------------------------------------------------------------------

TEST(Ending, TheParentsEndIsTheChildrensEnd) {
  Forest forest;
  ztRoot *top = newNode(1);
  for (int32_t uid = 2; uid < 5; ++uid) newChild(newChild(top, uid), uid + 10);
  release(top);
}

TEST(Ending, ComesFromBelowAndIsToldOnce) {
  Forest forest;
  ztRoot *top = newNode(1);
  ztRoot *left = newChild(top, 2);
  newChild(left, 3);
  newChild(left, 4);
  newChild(newChild(top, 5), 6);
  std::vector<int32_t> ended;
  const std::function<void(ztRoot *)> watch = [&](ztRoot *node) {
    forest.on(node, "destroyed", [&ended](const ztRoot *dying) { ended.push_back(dying->uid); });
    for (ztRoot *child : childrenOf(node)) watch(child);
  };
  watch(top);
  release(top);
  EXPECT_EQ(ended, (std::vector<int32_t>{3, 4, 2, 6, 5, 1}));
}

TEST(Ending, AChildReleasedByItsMakerLeavesItsParent) {
  Forest forest;
  ztRoot *parent = newNode(1);
  ztRoot *child = newChild(parent, 2);
  newChild(parent, 3);
  forest.on(parent, "childDeleted", [](ztRoot *) { ADD_FAILURE() << "to leave so is silent"; });
  release(child);
  EXPECT_EQ(shapeOf(parent), "1(3)");
  release(parent);
}

TEST(Ending, AChildWithFurtherReferencesSurvivesItsParent) {
  Forest forest;
  ztRoot *parent = newNode(1);
  ztRoot *child = newChild(parent, 2);
  newChild(child, 3);
  ztRoot_of(child)->ref(child);
  release(parent);
  EXPECT_EQ(ztRoot_of(child)->getParent(child), nullptr);
  EXPECT_EQ(child->parentUid, 0);
  EXPECT_EQ(countOf(child), 2);
  EXPECT_EQ(shapeOf(child), "2(3)");
  release(child);
}

TEST(Ending, EveryOrderIsGood) {
  std::vector<int> order = {0, 1, 2, 3};
  do {
    Forest forest;
    ztRoot *top = newNode(0);
    ztRoot *middle = newChild(top, 1);
    ztRoot *low = newChild(middle, 2);
    ztRoot *beside = newChild(top, 3);
    ztRoot *nodes[] = {top, middle, low, beside};
    // Two references beyond the list's: nobody ends before the test lets it.
    for (ztRoot *node : nodes) {
      while (countOf(node) < 3) ztRoot_of(node)->ref(node);
    }
    for (const int i : order) {
      ztRoot *node = nodes[i];
      for (int left = countOf(node); left > 1; --left) release(node);
    }
  } while (std::next_permutation(order.begin(), order.end()));
}

TEST(Ending, ASecondDestroyIsHarmless) {
  alignas(ztRoot) char memory[sizeof(ztRoot)];
  ztRoot *node = static_cast<ztRoot *>(ztRoot_ctor(memory, 1));
  Forest forest;
  newChild(node, 2);
  ztRoot_of(node)->destroy(node);
  EXPECT_EQ(ztRoot_of(node)->getChildCount(node), 0);
  EXPECT_EQ(nameOf(node), "");
  ztRoot_of(node)->destroy(node);
}

TEST(Ending, SlotsMayReleaseSiblingsAndAncestors) {
  Forest forest;
  ztRoot *top = newNode(1);
  ztRoot *middle = newChild(top, 2);
  ztRoot *first = newChild(middle, 3);
  ztRoot *second = newChild(middle, 4);
  newChild(middle, 5);
  forest.on(first, "destroyed", [&](ztRoot *) {
    release(second);
    EXPECT_EQ(shapeOf(middle), "2(5)");
    release(top);
  });
  release(first);
}

TEST(Ending, ATreeOfManyLevelsNeedsNoStack) {
  Forest forest;
  const int levels = scale(100000);
  ztRoot *top = newNode(0);
  ztRoot *at = top;
  for (int level = 1; level < levels; ++level) {
    ztRoot *below = newNode(level);
    // Leaves beside the way down, before it and behind it. They come by setParent, since addChild looks
    // for the top each time.
    if (level % 3 == 0) setParent(newNode(-level), at);
    EXPECT_EQ(setParent(below, at), 1);
    if (level % 5 == 0) setParent(newNode(-level), at);
    at = below;
  }
  release(top);
}

TEST(Ending, ANodeThatAHostPutIntoTheListEndsWithIt) {
  Forest forest;
  ztRoot *parent = newNode(1);
  ztRoot *stranger = newNode(2);
  newChild(stranger, 3);
  ztRootPtrList_of(parent->children)->pushBack(parent->children, stranger);
  newChild(parent, 4);
  release(parent);
}

// What there may be at any level: a place without a child, a child with more references than its parent's,
// one that a host put into the list, and one that is being deleted.
TEST(Ending, ATreeOfManyLevelsReleasesOnlyWhatIsItsOwn) {
  Forest forest;
  ztRoot *top = newNode(0);
  ztRoot *at = top;
  for (int32_t level = 1; level < 200; ++level) at = newChild(at, level);
  ztRootPtrList_of(at->children)->pushBack(at->children, nullptr);
  ztRoot *kept = newChild(at, 1001);
  newChild(kept, 1002);
  ztRoot_of(kept)->ref(kept);
  ztRoot *stranger = newNode(1003);
  newChild(stranger, 1004);
  ztRootPtrList_of(at->children)->pushBack(at->children, stranger);
  ztRoot *leaving = newChild(at, 1005);
  newChild(leaving, 1006);
  forest.on(at, "childDeleted", [&](const ztRoot *) { release(top); });
  deleteChild(at, leaving);
  EXPECT_EQ(shapeOf(kept), "1001(1002)");
  EXPECT_EQ(shapeOf(leaving), "1005(1006)");
  EXPECT_EQ(nodesLive, 4);
  for (ztRoot *node : {kept, leaving}) {
    EXPECT_EQ(ztRoot_of(node)->getParent(node), nullptr);
    release(node);
  }
}

TEST(Ending, SlotsMayChangeATreeOfManyLevelsWhileItEnds) {
  Forest forest;
  constexpr int levels = 3000;
  ztRoot *top = newNode(0, ztRoot_ctor);
  std::vector<ztRoot *> chain = {top};
  while (chain.size() < levels) {
    ztRoot *below = newNode(static_cast<int32_t>(chain.size()), ztRoot_ctor);
    addChild(chain.back(), below);
    chain.push_back(below);
  }
  ztRoot *refuge = newNode(-1);
  // The end of the lowest frees half of the chain, and ends a part of the other half.
  forest.on(chain[levels - 1], "destroyed", [&](ztRoot *) {
    addChild(refuge, chain[1500]);
    release(chain[1000]);
  });
  release(top);
  EXPECT_EQ(ztRoot_of(refuge)->getChildCount(refuge), 1);
  int depth = 0;
  for (ztRoot *node = chain[1500]; node != nullptr;
       node = static_cast<ztRoot *>(ztRoot_of(node)->getChildAt(node, 0))) {
    ++depth;
  }
  EXPECT_EQ(depth, levels - 1 - 1500);
  for (int i = countOf(chain[1500]); i > 2; --i) release(chain[1500]);
  release(refuge);
}
