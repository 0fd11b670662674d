// Trees of any depth, on stacks of any size.
#include "tags/ztinttag.h"
#include "tags/zttag.h"
#include "tests/helpers/scale.hh"
#include "tests/objects/tree_nodes.hh"

#include <pthread.h>

namespace {

using DeepTree = ForestTest;

int32_t parentsEnded;
int32_t childrenSeen;
int32_t parentsAskedFor;

// A `destroy` of a host's, which counts the children that it finds.
void seeingDestroy(void *object) {
  ++parentsEnded;
  childrenSeen += ztRoot_of(object)->getChildCount(object);
  LiveNode_table()->destroy(object);
}

// Runs in a thread with a small stack.
void onSmallStack(const std::function<void()> &work) {
  pthread_attr_t attributes;
  ASSERT_EQ(pthread_attr_init(&attributes), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, 64 * 1024), 0);
  pthread_t thread;
  const auto run = [](void *given) -> void * {
    (*static_cast<const std::function<void()> *>(given))();
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attributes, run, const_cast<std::function<void()> *>(&work)), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

// All nodes of a chain, from the top.
Nodes nodesOf(ztRoot *chain) {
  Nodes nodes;
  for (; chain != nullptr; chain = firstChildOf(chain)) nodes.push_back(chain);
  return nodes;
}

void doEverything(int levels, ztCtor constructor) {
  Tree chain(newChain(levels, constructor));
  const Tree copy(newCopy(chain));
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(depthOf(copy), levels);
  EXPECT_EQ(copy->assign(copy, chain), 1);
  const Storage file;
  EXPECT_EQ(ztRoot_storeTree(chain, file), levels);
  chain.end();
  const Loaded loaded(file);
  ASSERT_EQ(loaded.tops().size(), 1U);
  EXPECT_EQ(depthOf(loaded.tops()[0]), levels);
}

}  // namespace

// Nodes of the library's ----------------------------------------------------------------------------

TEST_F(DeepTree, OfAMillionLevelsIsMadeCopiedAssignedStoredLoadedAndReleasedOnASmallStack) {
  onSmallStack([] { doEverything(scale(1000000), ztRoot_ctor); });
}

TEST_F(DeepTree, OfTagsNeedsNoMoreThanASmallStack) {
  onSmallStack([] { doEverything(scale(100000), ztTag_ctor); });
}

TEST_F(DeepTree, OfTagsIsCopiedAndAssignedWithItsAttributes) {
  const Tree chain(newChain(scale(2000), ztTag_ctor));
  const auto valueOf = [](const ztRoot *node) -> int32_t & {
    const ztTagHandle handle = {0, 1};
    return *static_cast<int32_t *>(ztTag_of(node)->getValue(node, &handle, 0, nullptr));
  };
  const Nodes sources = nodesOf(chain);
  for (ztRoot *node : sources) {
    ASSERT_EQ(ztTag_of(node)->insertNew(node, "value", ztIntTag_ctor(nullptr, 1), nullptr, 0, 1, &node->uid),
              1);
  }
  const Tree copy(newCopy(chain));
  const Nodes copies = nodesOf(copy);
  ASSERT_EQ(copies.size(), sources.size());
  for (size_t i = 0; i < copies.size(); ++i) {
    ASSERT_NE(&valueOf(copies[i]), &valueOf(sources[i]));
    ASSERT_EQ(valueOf(copies[i]), copies[i]->uid);
    valueOf(sources[i]) = -sources[i]->uid;
  }
  EXPECT_EQ(copy->assign(copy, chain), 1);
  for (const ztRoot *node : copies) ASSERT_EQ(valueOf(node), -node->uid);
}

TEST_F(DeepTree, TellsOfEachEndBehindThoseBelow) {
  constexpr int levels = 300;
  Tree chain(newChain(levels, ztRoot_ctor));
  Numbers ended;
  for (ztRoot *node : nodesOf(chain)) {
    on(node, "destroyed", [&](const ztRoot *dying) { ended.push_back(dying->uid); });
  }
  chain.end();
  ASSERT_EQ(ended.size(), static_cast<size_t>(levels));
  for (int i = 0; i < levels; ++i) EXPECT_EQ(ended[static_cast<size_t>(i)], levels - i);
}

// Slots that change another tree each time do not make the release begin again.
TEST_F(DeepTree, EndsWhileSlotsChangeAnotherTree) {
  const int levels = scale(20000);
  Tree chain(newChain(levels, ztRoot_ctor));
  const Tree grave("0", ztRoot_ctor);
  for (ztRoot *node : nodesOf(chain)) {
    on(node, "destroyed", [&](const ztRoot *dying) { newChild(grave, dying->uid, ztRoot_ctor); });
  }
  chain.end();
  EXPECT_EQ(grave->getChildCount(grave), levels);
}

// Overrides of hosts --------------------------------------------------------------------------------

TEST_F(DeepTree, AHostsDestroyFindsItsChildrenAtEveryDepth) {
  constexpr int levels = 2000;
  const Replaced destroy(oddNode().destroy, seeingDestroy);
  parentsEnded = childrenSeen = 0;
  release(newChain(levels, OddNode_ctor));
  EXPECT_EQ(parentsEnded, levels);
  EXPECT_EQ(childrenSeen, levels - 1);
}

TEST_F(DeepTree, AHostsDestroyFindsItsChildrenBelowNodesOfTheLibrarys) {
  const int levels = scale(300000);
  const Replaced destroy(oddNode().destroy, seeingDestroy);
  Tree top("1", ztRoot_ctor);
  ztRoot *at = top;
  int hosts = 0;
  for (int32_t uid = 2; uid <= levels; ++uid) {
    const bool isHost = uid % (levels / 100) == 0;
    hosts += isHost;
    at = newChild(at, uid, isHost ? OddNode_ctor : ztRoot_ctor);
  }
  newChild(at, 0, ztRoot_ctor);
  parentsEnded = childrenSeen = 0;
  top.end();
  EXPECT_EQ(parentsEnded, hosts);
  EXPECT_EQ(childrenSeen, hosts);
}

TEST_F(DeepTree, OfAHostsNodesEndsWhereTheStackIsTooSmallForAll) {
  onSmallStack([] {
    constexpr int levels = 20000;
    const Replaced destroy(oddNode().destroy, seeingDestroy);
    parentsEnded = childrenSeen = 0;
    release(newChain(levels, OddNode_ctor));
    EXPECT_EQ(parentsEnded, levels);
    EXPECT_GE(childrenSeen, 10);
    EXPECT_LT(childrenSeen, levels - 1) << "so many levels do not fit";
  });
}

// Those that survive keep what is below them, also below the last level that the stack reaches.
TEST_F(DeepTree, OfAHostsNodesKeepsWhatSurvives) {
  onSmallStack([] {
    Tree chain(newChain(3000, LiveNode_ctor));
    const Tree kept(nodesOf(chain)[1999]);
    kept->ref(kept);
    chain.end();
    EXPECT_EQ(countOf(kept), 2);
    EXPECT_EQ(depthOf(kept), 1001);
  });
}

TEST_F(DeepTree, IsCopiedThroughOverridesAsDeepAsTheStackAllowsOrNotAtAll) {
  onSmallStack([] {
    bool refused = false;
    for (int levels = 2; levels < 5000 && !refused; levels *= 2) {
      const Tree chain(newChain(levels, LiveNode_ctor));
      const Tree copy(newCopy(chain));
      refused = copy == nullptr;
      if (refused) {
        EXPECT_GT(levels, 8);
        EXPECT_EQ(nodesLive, levels) << "a copy that was begun is gone";
      } else {
        EXPECT_EQ(depthOf(copy), levels);
      }
    }
    EXPECT_TRUE(refused);
  });
}

TEST_F(DeepTree, IsAssignedThroughOverridesAsDeepAsTheStackAllowsOrNotAtAll) {
  const Replaced assign(oddNode().assign, [](void *node, const void *other) {
    static_cast<LiveNode *>(node)->value = static_cast<const LiveNode *>(other)->value;
    return ztRoot_table()->assign(node, other);
  });
  onSmallStack([] {
    bool refused = false;
    for (int levels = 2; levels < 5000 && !refused; levels *= 2) {
      const Tree node(newChain(levels, OddNode_ctor));
      const Tree source(newChain(levels, OddNode_ctor));
      for (ztRoot *at : nodesOf(source)) reinterpret_cast<LiveNode *>(at)->value = 7;
      // The uppermost is assigned by the base's, so that it stays as it is.
      refused = !ztRoot_table()->assign(node, source);
      for (const ztRoot *at : nodesOf(firstChildOf(node))) {
        ASSERT_EQ(reinterpret_cast<const LiveNode *>(at)->value, refused ? 0 : 7) << levels;
      }
      if (refused) {
        EXPECT_GT(levels, 8);
      }
    }
    EXPECT_TRUE(refused);
  });
}

// The list of the children is the host's to reach into.
TEST_F(DeepTree, ThatLeadsBackIntoItselfIsNeitherCopiedNorAssigned) {
  const Tree top(newChain(5, ztRoot_ctor));
  ztRootPtrList *list = lowestOf(top)->children;
  ztRootPtrList_of(list)->pushBack(list, top);
  EXPECT_EQ(newCopy(top), nullptr);
  EXPECT_EQ(top->assign(top, top), 0);
  ztRootPtrList_of(list)->popBack(list);
  EXPECT_EQ(top->assign(top, top), 1);
}

// Building ------------------------------------------------------------------------------------------

TEST_F(DeepTree, IsBuiltWithoutAskingAnybodyAboveWhereGetParentIsTheLibrarys) {
  const Replaced getParent(oddNode().getParent, [](const void *node) {
    ++parentsAskedFor;
    return ztRoot_table()->getParent(node);
  });
  const Tree top("1", OddNode_ctor);
  ztRoot *at = newChild(top, 2, ztRoot_ctor);
  parentsAskedFor = 0;
  for (int32_t uid = 3; uid < 100; ++uid) {
    at = newChild(at, uid, ztRoot_ctor);
    ztRoot_of(at)->findChildById(at, 1);
  }
  EXPECT_EQ(parentsAskedFor, 0);
  // A host's own is asked.
  top->findChildById(top, 1);
  EXPECT_EQ(parentsAskedFor, 1);
  newChild(top, 100, ztRoot_ctor);
  EXPECT_EQ(parentsAskedFor, 2);
}

TEST_F(DeepTree, IsBuiltFromEitherEndAndFromPieces) {
  const int levels = scale(200000);
  // A new top each time.
  ztRoot *top = newNode(0, ztRoot_ctor);
  for (int i = 1; i < levels; ++i) {
    ztRoot *above = newNode(i, ztRoot_ctor);
    addChild(above, top);
    top = above;
  }
  EXPECT_EQ(depthOf(top), levels);
  release(top);
  // A piece of two at the lower end each time.
  const Tree pieces("0", ztRoot_ctor);
  ztRoot *at = pieces;
  for (int i = 1; i < levels; i += 2) {
    ztRoot *upper = newNode(i, ztRoot_ctor);
    ztRoot *lower = newChild(upper, i + 1, ztRoot_ctor);
    addChild(at, upper);
    at = lower;
  }
  EXPECT_GE(depthOf(pieces), levels);
}

TEST_F(DeepTree, RefusesACycleAtAnyDepth) {
  for (const int levels : {2, 64, 65, 66, 130, 1000}) {
    SCOPED_TRACE(levels);
    const Tree top(newChain(levels, ztRoot_ctor));
    // So that there is much below as well.
    for (int i = 0; i < 200; ++i) newChild(top, -i, ztRoot_ctor);
    ztRoot *low = lowestOf(top);
    EXPECT_EQ(setParent(top, low), 0);
    ztRoot *second = firstChildOf(top);
    if (levels > 2) {
      EXPECT_EQ(setParent(second, low), 0);
    }
    EXPECT_EQ(setParent(second, childrenOf(top)[1]), 1);
    releaseDownTo(2, second);
  }
}

// A host that takes a child off the list itself leaves the child's parent as it was, and can so make the way
// up lead round.
TEST_F(DeepTree, IsNotClimbedForEverWhereAHostMadeTheWayUpLeadRound) {
  const Tree above("1(2)", ztRoot_ctor);
  const Tree child(above[2]);
  ztRootPtrList_of(above.fields().children)->popFront(above.fields().children);
  EXPECT_EQ(setParent(above, child), 1);
  const Tree other("3(4)", ztRoot_ctor);
  EXPECT_EQ(setParent(other, above), 0) << "nothing is above such a node";
  deleteChild(child, above);
  child.fields().parent = nullptr;
}
