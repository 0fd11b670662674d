// What nodes announce, how they end, and what slots may do meanwhile.
#include "tests/helpers/scale.hh"
#include "tests/objects/tree_nodes.hh"

#include <algorithm>

using ztRootSignals = ForestTest;
using ztRootEnds = ForestTest;

TEST_F(ztRootSignals, TellOfAChildThatIsListedAlready) {
  const Tree parent("1");
  ztRoot *child = newNode(2);
  int calls = 0;
  on(parent, "childAdded", [&](ztRoot *added) {
    ++calls;
    EXPECT_EQ(added, child);
    EXPECT_EQ(parentOf(added), parent);
    EXPECT_EQ(firstChildOf(parent), child);
  });
  addChild(parent, child);
  EXPECT_EQ(calls, 1);
  addChild(parent, child);
  EXPECT_EQ(calls, 2);
  EXPECT_EQ(countOf(child), 2);
  EXPECT_EQ(childrenOf(parent), Nodes{child});
}

TEST_F(ztRootSignals, TellOfADetachedChildThatIsStillListed) {
  const Tree parent("1(2)");
  const Tree child(parent[2]);
  int calls = 0;
  on(parent, "childDeleted", [&](ztRoot *deleted) {
    ++calls;
    EXPECT_EQ(deleted, child);
    EXPECT_EQ(parentOf(deleted), nullptr);
    EXPECT_EQ(deleted->parentUid, 0);
    EXPECT_EQ(childrenOf(parent), Nodes{deleted});
  });
  for (int i = 0; i < 2; ++i) {
    deleteChild(parent, child);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(shapeOf(parent), "1");
  }
}

TEST_F(ztRootSignals, TellOfAMoveTheOldParentAndTheNewOneOnlyThroughAddChild) {
  const Tree a("1(3)");
  const Tree b("2");
  ztRoot *child = a[3];
  std::string told;
  for (ztRoot *parent : {static_cast<ztRoot *>(a), static_cast<ztRoot *>(b)}) {
    const std::string name = std::to_string(parent->uid);
    on(parent, "childAdded", [&told, name](ztRoot *) { told += "+" + name; });
    on(parent, "childDeleted", [&told, name](ztRoot *) { told += "-" + name; });
  }
  setParent(child, b);
  EXPECT_EQ(told, "-1");
  addChild(a, child);
  EXPECT_EQ(told, "-1-2+1");
  releaseDownTo(2, child);
}

TEST_F(ztRootSignals, DoNotTellOfARefusedChild) {
  const Tree top("1(2)");
  ztRoot *low = top[2];
  on(low, "childAdded", [](ztRoot *) { ADD_FAILURE(); });
  addChild(low, top);
  addChild(low, low);
}

TEST_F(ztRootSignals, MayDeleteTheSameChildAgainOrAddItAgainOrBoth) {
  struct Row {
    const char *name;
    std::function<void(ztRoot *parent, ztRoot *child)> reaction;
    const char *shape;
    int32_t calls;
    int32_t references;
  };
  const auto deleteAgain = [](ztRoot *parent, ztRoot *child) {
    deleteChild(parent, child);
    deleteChild(parent, child);
    EXPECT_EQ(shapeOf(parent), "1(3)");
  };
  const auto addAgain = [](ztRoot *parent, ztRoot *child) {
    addChild(parent, child);
    EXPECT_EQ(parentOf(child), parent);
    EXPECT_EQ(child->parentUid, 1);
  };
  const auto addAndDelete = [](ztRoot *parent, ztRoot *child) {
    addChild(parent, child);
    deleteChild(parent, child);
  };
  for (const Row &row : {Row{"deleted", deleteAgain, "1(3)", 1, 2}, Row{"added", addAgain, "1(3 2)", 1, 3},
                         Row{"added and deleted", addAndDelete, "1(3)", 2, 3}}) {
    SCOPED_TRACE(row.name);
    const Tree parent("1(2 3)");
    const Tree child(parent[2]);
    int32_t calls = 0;
    on(parent, "childDeleted", [&](ztRoot *deleted) {
      if (++calls == 1) row.reaction(parent, deleted);
    });
    deleteChild(parent, child);
    EXPECT_EQ(calls, row.calls);
    EXPECT_EQ(shapeOf(parent), row.shape);
    EXPECT_EQ(countOf(child), row.references);
    releaseDownTo(2, child);
  }
}

TEST_F(ztRootSignals, MayDeleteAllChildren) {
  const Tree parent("0(1 2 3 4)");
  const Nodes children = childrenOf(parent);
  Numbers deleted;
  on(parent, "childDeleted", [&](const ztRoot *child) {
    deleted.push_back(child->uid);
    parent->deleteAllChild(parent);
  });
  deleteChild(parent, children[1]);
  std::sort(deleted.begin(), deleted.end());
  EXPECT_EQ(deleted, (Numbers{1, 2, 3, 4}));
  EXPECT_EQ(shapeOf(parent), "0");
  for (ztRoot *child : children) release(child);
}

TEST_F(ztRootSignals, MayReleaseTheChild) {
  const std::pair<const char *, void (*)(void *, void *)> changes[] = {{"childDeleted", deleteChild},
                                                                       {"childAdded", addChild}};
  for (const auto &[signalName, change] : changes) {
    const Tree node("2(3)");
    ztRoot *child = newNode(4);
    if (change == deleteChild) addChild(node, child);
    on(node, signalName, [&](ztRoot *told) {
      release(told);
      EXPECT_EQ(shapeOf(node), "2(3)");
    });
    change(node, child);
    EXPECT_EQ(shapeOf(node), "2(3)");
  }
}

TEST_F(ztRootSignals, MayReleaseTheNode) {
  ztRoot *node = newNode(1);
  const Tree added("2");
  newChild(node, 3);
  on(node, "childAdded", [&](ztRoot *) { release(node); });
  added->ref(added);
  addChild(node, added);
  EXPECT_EQ(countOf(added), 2) << "the node's end has taken back its reference";
  EXPECT_EQ(parentOf(added), nullptr);

  node = newNode(1);
  const Tree deleted(newChild(node, 2));
  newChild(node, 3);
  on(node, "childDeleted", [&](ztRoot *) { release(node); });
  deleteChild(node, deleted);
  EXPECT_EQ(countOf(deleted), 2) << "detached already, it keeps what it had";
  EXPECT_EQ(parentOf(deleted), nullptr);

  node = newNode(1);
  const Tree first(newChild(node, 2));
  newChild(node, 3);
  on(node, "childDeleted", [&](ztRoot *) { release(node); });
  EXPECT_EQ(ztRoot_of(node)->deleteAllChild(node), 0);
}

TEST_F(ztRootSignals, MayFollowTheChildThatLeaves) {
  const Tree node("1(2)");
  const Tree child(node[2]);
  int calls = 0;
  on(node, "childDeleted", [&](ztRoot *deleted) { on(deleted, "childAdded", [&](ztRoot *) { ++calls; }); });
  deleteChild(node, child);
  EXPECT_EQ(calls, 0);
  newChild(child, 3);
  EXPECT_EQ(calls, 1);
}

TEST_F(ztRootSignals, MayAttachTheChildElsewhere) {
  const Tree from("1(4)");
  const Tree elsewhere("2");
  const Tree to("3");
  ztRoot *child = from[4];
  on(from, "childDeleted", [&](ztRoot *deleted) { addChild(elsewhere, deleted); });
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
  releaseDownTo(2, child);
}

TEST_F(ztRootSignals, MayPutTheNewParentBelowTheChild) {
  const Tree from("1(3)");
  ztRoot *to = newNode(2);
  const Tree child(from[3]);
  on(from, "childDeleted", [&](ztRoot *deleted) { addChild(deleted, to); });
  EXPECT_EQ(setParent(child, to), 0);
  EXPECT_EQ(shapeOf(child), "3(2)");
  release(child);
}

TEST_F(ztRootSignals, MayReleaseTheNewParentOrTheMovedNode) {
  const Tree from("1(3)");
  ztRoot *child = from[3];
  ztRoot *released = newNode(2);
  on(from, "childDeleted", [&](ztRoot *) {
    for (int i = released == child ? 2 : 1; i > 0; --i) release(released);
  });
  EXPECT_EQ(setParent(child, released), 0);
  EXPECT_EQ(parentOf(child), nullptr);
  EXPECT_EQ(countOf(child), 3);
  release(child);

  addChild(from, child);
  release(child);
  const Tree to("2");
  released = child;
  EXPECT_EQ(setParent(child, to), 0);
  EXPECT_EQ(shapeOf(from), "1");
}

TEST_F(ztRootSignals, OfItsEndFindANodeThatTakesNoChildrenAndNoParent) {
  Tree node("1(2)");
  ztRoot *parent = node;
  ztRoot *child = node[2];
  const Tree other("3");
  int calls = 0;
  on(child, "destroyed", [&](ztRoot *) {
    ++calls;
    addChild(parent, other);
    addChild(child, other);
    addChild(other, child);
    addChild(other, parent);
    EXPECT_EQ(ztRoot_of(parent)->getChildCount(parent), 0);
    EXPECT_EQ(ztRoot_of(child)->getChildCount(child), 0);
    EXPECT_EQ(ztRoot_of(child)->deleteAllChild(child), 0);
    EXPECT_EQ(ztRoot_of(child)->getChildAt(child, 0), nullptr);
    EXPECT_EQ(ztRoot_of(child)->findChildById(child, 3), nullptr);
    deleteChild(child, other);
    EXPECT_EQ(parentOf(child), nullptr);
    EXPECT_EQ(nameOf(child), "");
  });
  node.end();
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(shapeOf(other), "3");
  EXPECT_EQ(countOf(other), 1);
}

TEST_F(ztRootEnds, ComeFromBelowAndAreToldOnce) {
  Tree top("1(2(3 4) 5(6))");
  Numbers ended;
  for (int32_t uid = 1; uid <= 6; ++uid) {
    on(top[uid], "destroyed", [&ended](const ztRoot *dying) { ended.push_back(dying->uid); });
  }
  top.end();
  EXPECT_EQ(ended, (Numbers{3, 4, 2, 6, 5, 1}));
}

TEST_F(ztRootEnds, OfAChildThatItsMakerReleasesTakeItOffItsParentInSilence) {
  const Tree parent("1(2 3)");
  on(parent, "childDeleted", [](ztRoot *) { ADD_FAILURE() << "to leave so is silent"; });
  release(parent[2]);
  EXPECT_EQ(shapeOf(parent), "1(3)");
}

TEST_F(ztRootEnds, AreSurvivedByAChildWithFurtherReferences) {
  Tree parent("1(2(3))");
  const Tree child(parent[2]);
  child->ref(child);
  parent.end();
  EXPECT_EQ(parentOf(child), nullptr);
  EXPECT_EQ(child.fields().parentUid, 0);
  EXPECT_EQ(countOf(child), 2);
  EXPECT_EQ(shapeOf(child), "2(3)");
}

TEST_F(ztRootEnds, MayComeInEveryOrder) {
  Numbers order = {0, 1, 2, 3};
  do {
    ztRoot *top = newNode(0);
    ztRoot *middle = newChild(top, 1);
    ztRoot *nodes[] = {top, middle, newChild(middle, 2), newChild(top, 3)};
    // Two references beyond the list's: nobody ends before the test lets it.
    for (ztRoot *node : nodes) {
      while (countOf(node) < 3) ztRoot_of(node)->ref(node);
    }
    for (const int32_t i : order) releaseDownTo(1, nodes[i]);
    ASSERT_EQ(nodesLive, 0);
  } while (std::next_permutation(order.begin(), order.end()));
}

TEST_F(ztRootEnds, MayBeTwo) {
  alignas(ztRoot) char memory[sizeof(ztRoot)];
  ztRoot *node = static_cast<ztRoot *>(ztRoot_ctor(memory, 1));
  newChild(node, 2);
  ztRoot_of(node)->destroy(node);
  EXPECT_EQ(ztRoot_of(node)->getChildCount(node), 0);
  EXPECT_EQ(nameOf(node), "");
  ztRoot_of(node)->destroy(node);
}

TEST_F(ztRootEnds, MayReleaseSiblingsAndAncestorsBySlots) {
  ztRoot *top = newNode(1);
  ztRoot *middle = newChild(top, 2);
  ztRoot *first = newChild(middle, 3);
  ztRoot *second = newChild(middle, 4);
  newChild(middle, 5);
  on(first, "destroyed", [&](ztRoot *) {
    release(second);
    EXPECT_EQ(shapeOf(middle), "2(5)");
    release(top);
  });
  release(first);
}

TEST_F(ztRootEnds, OfManyLevelsNeedNoStack) {
  const int levels = scale(100000);
  const Tree top("0");
  ztRoot *at = top;
  for (int level = 1; level < levels; ++level) {
    ztRoot *below = newNode(level);
    // Leaves beside the way down, before it and behind it.
    if (level % 3 == 0) setParent(newNode(-level), at);
    EXPECT_EQ(setParent(below, at), 1);
    if (level % 5 == 0) setParent(newNode(-level), at);
    at = below;
  }
}

TEST_F(ztRootEnds, OfAParentAreThoseOfANodeThatAHostPutIntoItsList) {
  const Tree parent("1");
  putIntoList(parent, Tree("2(3)").release());
  newChild(parent, 4);
}

// What there may be at any level: a place without a child, a child with more references than its parent's,
// one that a host put into the list, and one that is being deleted.
TEST_F(ztRootEnds, OfManyLevelsReleaseOnlyWhatIsTheirs) {
  ztRoot *top = newChain(200, LiveNode_ctor);
  ztRoot *at = lowestOf(top);
  putIntoList(at, nullptr);
  const Tree kept(newChild(at, 1001));
  newChild(kept, 1002);
  kept->ref(kept);
  putIntoList(at, Tree("1003(1004)").release());
  const Tree leaving(newChild(at, 1005));
  newChild(leaving, 1006);
  on(at, "childDeleted", [&](const ztRoot *) { release(top); });
  deleteChild(at, leaving);
  EXPECT_EQ(shapeOf(kept), "1001(1002)");
  EXPECT_EQ(shapeOf(leaving), "1005(1006)");
  EXPECT_EQ(nodesLive, 4);
  EXPECT_EQ(parentOf(kept), nullptr);
  EXPECT_EQ(parentOf(leaving), nullptr);
}

TEST_F(ztRootEnds, OfManyLevelsMayBeChangedBySlots) {
  constexpr int levels = 3000;
  Tree top(newChain(levels, ztRoot_ctor));
  Nodes chain = {top};
  while (firstChildOf(chain.back()) != nullptr) chain.push_back(firstChildOf(chain.back()));
  const Tree refuge("-1");
  // The end of the lowest frees half of the chain, and ends a part of the other half.
  on(chain.back(), "destroyed", [&](ztRoot *) {
    addChild(refuge, chain[1500]);
    release(chain[1000]);
  });
  top.end();
  EXPECT_EQ(childrenOf(refuge), Nodes{chain[1500]});
  EXPECT_EQ(depthOf(chain[1500]), levels - 1 - 1500);
  releaseDownTo(2, chain[1500]);
}
