// Copies of nodes, and what nodes are assigned.
#include "tests/helpers/scale.hh"
#include "tests/objects/tree_nodes.hh"

#include <map>
#include <random>

namespace {

using ztRootCopy = ForestTest;

// What each OddNode was assigned in the test.
std::map<const void *, const void *> assigned;

class ztRootAssign : public ForestTest {
 protected:
  ~ztRootAssign() override {
    assigned.clear();
  }

 private:
  const Replaced<int32_t (*)(void *, const void *)> assign{oddNode().assign,
                                                           [](void *node, const void *other) {
                                                             assigned[node] = other;
                                                             return ztRoot_table()->assign(node, other);
                                                           }};
};

}  // namespace

TEST_F(ztRootCopy, IsDetachedWithChildrenOfItsOwn) {
  Tree above("9(1(2(3) 4))");
  ztRoot *node = above[1];
  ztRoot_of(node)->setName(node, "named");
  const Tree copy(newCopy(node));
  const ztRoot *fields = copy;
  EXPECT_EQ(fields->klass, LiveNodeClass_Instance());
  EXPECT_EQ(nameOf(copy), "named");
  EXPECT_EQ(fields->parent, nullptr);
  EXPECT_EQ(fields->parentUid, -1);
  for (const ztRoot *child : childrenOf(copy)) {
    EXPECT_EQ(child->parent, nullptr);
    EXPECT_EQ(child->parentUid, -1);
    EXPECT_EQ(countOf(child), 1);
  }
  EXPECT_NE(firstChildOf(copy), firstChildOf(node));
  above.end();
  EXPECT_EQ(shapeOf(copy), "1(2(3) 4)");
}

TEST_F(ztRootCopy, CarriesTheCountAsTheBaseDoes) {
  const Tree parent("1(2)");
  const Tree copy(LiveNode_newop());
  ASSERT_EQ(parent->clone(parent[2], copy), copy);
  EXPECT_EQ(countOf(copy), 2);
}

TEST_F(ztRootCopy, KeepsAPlaceWithoutAChild) {
  const Tree node("1(2)");
  putIntoList(node, nullptr);
  const Tree copy(newCopy(node));
  EXPECT_EQ(copy->getChildCount(copy), 2);
  EXPECT_EQ(copy->getChildAt(copy, 1), nullptr);
  EXPECT_EQ(copy->assign(copy, node), 1);
  const Tree child(firstChildOf(copy));
  deleteChild(copy, child);
  EXPECT_EQ(copy->deleteAllChild(copy), 0);
  EXPECT_EQ(copy->getChildCount(copy), 0);
}

TEST_F(ztRootCopy, IsNotConnected) {
  const Tree node("1");
  on(node, "childAdded", [](ztRoot *) { ADD_FAILURE(); });
  const Tree copy(newCopy(node));
  newChild(copy, 2);
}

TEST_F(ztRootCopy, IsLeftByChildrenThatAreReleasedByHand) {
  const Tree node("1(2 3)");
  const Tree copy(newCopy(node));
  release(copy[2]);
  EXPECT_EQ(shapeOf(copy), "1(3)");
}

TEST_F(ztRootCopy, GivesItsChildrenTheirParentInTheirPlaces) {
  Tree node("1(2 3 4 5)");
  const Tree copy(newCopy(node));
  node.end();
  for (ztRoot *child : childrenOf(copy)) addChild(copy, child);
  EXPECT_EQ(shapeOf(copy), "1(2 3 4 5)");
  for (const ztRoot *child : childrenOf(copy)) {
    EXPECT_EQ(child->parent, copy);
    EXPECT_EQ(child->parentUid, 1);
    EXPECT_EQ(countOf(child), 2);
  }
}

TEST_F(ztRootCopy, HasChildrenThatMayBeAttachedElsewhere) {
  for (const bool copyEndsFirst : {true, false}) {
    Tree node("1(2 3)");
    Tree copy(newCopy(node));
    addChild(node, copy[3]);
    EXPECT_EQ(shapeOf(copy), "1(2)");
    EXPECT_EQ(shapeOf(node), "1(2 3 3)");
    (copyEndsFirst ? copy : node).end();
  }
}

TEST_F(ztRootCopy, HasChildrenThatAreDeletedLikeAttachedOnes) {
  const Tree node("1(2)");
  const Tree copy(newCopy(node));
  const Tree child(copy[2]);
  int calls = 0;
  on(copy, "childDeleted", [&](ztRoot *) { ++calls; });
  deleteChild(copy, child);
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(child.fields().parentUid, 0);
  EXPECT_EQ(countOf(child), 1);
  EXPECT_EQ(shapeOf(copy), "1");
}

TEST_F(ztRootCopy, IsNotPutBelowItsOwnChildren) {
  const Tree node("1(2(3))");
  const Tree copy(newCopy(node));
  EXPECT_EQ(setParent(copy, copy[3]), 0);
  addChild(copy[3], copy);
  EXPECT_EQ(shapeOf(copy), "1(2(3))");
  const Tree again(newCopy(copy));
  EXPECT_EQ(shapeOf(again), "1(2(3))");
}

TEST_F(ztRootAssign, GoesThroughTheChildrenInStep) {
  const char *const shapes[] = {"1", "1(2(10) 3(11))", "1(2(10) 3(11) 4(12))"};
  for (const auto &[own, others] : {std::pair(2, 1), std::pair(1, 2), std::pair(0, 1), std::pair(1, 0)}) {
    const Tree node(shapes[own], OddNode_ctor);
    const Tree source(shapes[others], OddNode_ctor);
    node->setName(node, "mine");
    const Nodes ownChildren = childrenOf(node);
    const Nodes otherChildren = childrenOf(source);
    assigned.clear();
    EXPECT_EQ(node->assign(node, source), 1);
    for (size_t i = 0; i < ownChildren.size(); ++i) {
      EXPECT_EQ(assigned[ownChildren[i]], i < otherChildren.size() ? otherChildren[i] : nullptr);
    }
    EXPECT_EQ(nameOf(node), "mine") << "nothing of the node itself is assigned by itself";
    EXPECT_EQ(childrenOf(node), ownChildren);
  }
}

TEST_F(ztRootAssign, PassesPlacesWithoutAChildBy) {
  const Tree node("1(3 4 5)", OddNode_ctor);
  const Tree source("2(3)", OddNode_ctor);
  putIntoList(source, nullptr);
  newChild(source, 5, OddNode_ctor);
  EXPECT_EQ(node->assign(node, source), 1);
  for (int32_t i = 0; i < 3; ++i) {
    EXPECT_EQ(assigned[node->getChildAt(node, i)], source->getChildAt(source, i)) << i;
  }
}

TEST_F(ztRootAssign, CallsAHostsOverrideForAChildOfAnotherClassAndGivesTheLibrarysWhatBothHave) {
  const Tree node("1");
  const Tree source("2");
  ztRoot *own = newChild(node, 3, OddNode_ctor);
  ztRoot *grandchild = newChild(own, 4, OddNode_ctor);
  ztRoot *other = newChild(source, 5);
  ztRoot *below = newChild(other, 6, OddNode_ctor);
  // The two at the first level are of different classes; their children are of one.
  EXPECT_EQ(node->assign(node, source), 1);
  EXPECT_EQ(assigned[own], other);
  EXPECT_EQ(assigned[grandchild], below);
}

// Random trees ------------------------------------------------------------------------------------

namespace {

// What is known of a node: who lists it, whom it lists, and how many references there are.
struct Model {
  ztRoot *holder = nullptr;
  Nodes children;
  bool attached = false;
  int references = 1;
};

class RandomForest {
 public:
  explicit RandomForest(unsigned seed) : random(seed) {}

  void step() {
    const auto choice = random() % 12;
    if (choice < 3 || nodes.empty()) {
      nodes[newNode(nextUid++)];
    } else if (choice < 7) {
      move();
    } else if (choice == 7) {
      detach();
    } else if (choice == 8) {
      copy();
    } else if (choice == 9) {
      reference();
    } else if (nodes.size() > 20) {
      release(any());
    }
  }

  void check() const {
    ASSERT_EQ(nodesLive, static_cast<int32_t>(nodes.size()));
    for (const auto &[node, model] : nodes) {
      ASSERT_EQ(childrenOf(node), model.children);
      ASSERT_EQ(node->parent, model.attached ? model.holder : nullptr);
      ASSERT_EQ(countOf(node), model.references);
    }
  }

  void end() {
    while (!nodes.empty()) {
      release(any());
      check();
    }
  }

 private:
  ztRoot *any() {
    return std::next(nodes.begin(), static_cast<long>(random() % nodes.size()))->first;
  }
  bool isWithin(const ztRoot *node, const ztRoot *top) {
    while (node != nullptr && node != top) node = nodes[const_cast<ztRoot *>(node)].holder;
    return node != nullptr;
  }
  void takeOff(ztRoot *node) {
    Model &model = nodes[node];
    if (model.holder != nullptr) std::erase(nodes[model.holder].children, node);
    model.holder = nullptr;
    model.attached = false;
  }

  void move() {
    ztRoot *node = any();
    ztRoot *parent = any();
    Model &model = nodes[node];
    const bool isThere = model.attached && model.holder == parent;
    const bool refused = !isThere && isWithin(parent, node);
    ASSERT_EQ(setParent(node, parent), !refused);
    if (refused || isThere) return;
    if (model.attached) ++model.references;
    if (model.holder != parent) {
      takeOff(node);
      model.holder = parent;
      nodes[parent].children.push_back(node);
    }
    model.attached = true;
    ++model.references;
  }

  void detach() {
    ztRoot *node = any();
    ztRoot *holder = nodes[node].holder;
    if (holder == nullptr) return;
    deleteChild(holder, node);
    takeOff(node);
  }

  void copy() {
    if (nodes.size() > 200) return;
    const ztRoot *node = any();
    auto *made = static_cast<ztRoot *>(newCopy(node));
    ASSERT_NE(made, nullptr);
    addCopied(made);
  }

  // Identifiers are made unlike again, so that each deletion meets the one that is meant.
  void addCopied(ztRoot *node) {
    ztRoot_of(node)->setUid(node, nextUid++);
    nodes[node].children = childrenOf(node);
    for (ztRoot *child : childrenOf(node)) {
      addCopied(child);
      nodes[child].holder = node;
    }
  }

  void reference() {
    ztRoot *node = any();
    ztRoot_of(node)->ref(node);
    ++nodes[node].references;
  }

  void release(ztRoot *node) {
    ::release(node);
    dropReference(node);
  }

  void dropReference(ztRoot *node) {
    if (--nodes[node].references > 1) return;
    takeOff(node);
    const Nodes children = nodes[node].children;
    for (ztRoot *child : children) {
      nodes[child].holder = nullptr;
      nodes[child].attached = false;
      dropReference(child);
    }
    nodes.erase(node);
  }

  std::mt19937 random;
  std::map<ztRoot *, Model> nodes;
  int32_t nextUid = 1;
};

}  // namespace

TEST_F(ztRootCopy, AndItsOriginalFollowAModelInRandomTrees) {
  for (unsigned seed = 1; seed <= 4; ++seed) {
    RandomForest trees(seed);
    for (int i = 0; i < scale(5000); ++i) {
      trees.step();
      if (i % 16 == 0) trees.check();
      if (HasFatalFailure()) return;
    }
    trees.end();
  }
}
