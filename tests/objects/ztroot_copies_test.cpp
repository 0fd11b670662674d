#include "objects/ztroot.h"

#include "tests/helpers/scale.hh"
#include "tests/objects/tree_nodes.hh"

#include <gtest/gtest.h>

#include <map>
#include <random>

// Copies ------------------------------------------------------------------------------------------

TEST(CopyOfANode, IsDetachedWithChildrenOfItsOwn) {
  Forest forest;
  ztRoot *above = newNode(9);
  ztRoot *node = newChild(above, 1);
  ztRoot_of(node)->setName(node, "named");
  newChild(newChild(node, 2), 3);
  newChild(node, 4);
  ztRoot *copy = newCopy(node);
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(copy->klass, LiveNodeClass_Instance());
  EXPECT_EQ(nameOf(copy), "named");
  EXPECT_EQ(shapeOf(copy), "1(2(3) 4)");
  EXPECT_EQ(copy->parent, nullptr);
  EXPECT_EQ(copy->parentUid, -1);
  for (const ztRoot *child : childrenOf(copy)) {
    EXPECT_EQ(child->parent, nullptr);
    EXPECT_EQ(child->parentUid, -1);
    EXPECT_EQ(countOf(child), 1);
  }
  EXPECT_NE(childrenOf(copy)[0], childrenOf(node)[0]);
  release(above);
  EXPECT_EQ(shapeOf(copy), "1(2(3) 4)");
  release(copy);
}

TEST(CopyOfANode, CarriesTheCountAsTheBaseDoes) {
  ztRoot *parent = newNode(1);
  ztRoot *node = newChild(parent, 2);
  void *target = LiveNode_newop();
  ASSERT_EQ(ztRoot_of(node)->clone(node, target), target);
  EXPECT_EQ(countOf(target), 2);
  release(target);
  release(parent);
}

TEST(CopyOfANode, KeepsAPlaceWithoutAChild) {
  ztRoot *node = newNode(1);
  newChild(node, 2);
  ztRootPtrList_of(node->children)->pushBack(node->children, nullptr);
  ztRoot *copy = newCopy(node);
  EXPECT_EQ(ztRoot_of(copy)->getChildCount(copy), 2);
  EXPECT_EQ(ztRoot_of(copy)->getChildAt(copy, 1), nullptr);
  EXPECT_EQ(ztRoot_of(copy)->assign(copy, node), 1);
  ztRoot *second = childrenOf(copy)[0];
  deleteChild(copy, second);
  EXPECT_EQ(ztRoot_of(copy)->deleteAllChild(copy), 0);
  EXPECT_EQ(ztRoot_of(copy)->getChildCount(copy), 0);
  release(second);
  release(copy);
  release(node);
}

TEST(CopyOfANode, IsNotConnected) {
  Forest forest;
  ztRoot *node = newNode(1);
  int calls = 0;
  forest.on(node, "childAdded", [&](ztRoot *) { ++calls; });
  ztRoot *copy = newCopy(node);
  newChild(copy, 2);
  EXPECT_EQ(calls, 0);
  release(copy);
  release(node);
}

TEST(CopyOfANode, ChildrenReleasedByHandLeaveIt) {
  Forest forest;
  ztRoot *node = newNode(1);
  newChild(node, 2);
  newChild(node, 3);
  ztRoot *copy = newCopy(node);
  release(childrenOf(copy)[0]);
  EXPECT_EQ(shapeOf(copy), "1(3)");
  release(copy);
  release(node);
}

TEST(CopyOfANode, ChildrenAreGivenTheirParentInTheirPlaces) {
  Forest forest;
  ztRoot *node = newNode(1);
  for (int32_t uid = 2; uid < 6; ++uid) newChild(node, uid);
  ztRoot *copy = newCopy(node);
  release(node);
  const int32_t count = ztRoot_of(copy)->getChildCount(copy);
  for (int32_t i = 0; i < count; ++i) addChild(copy, ztRoot_of(copy)->getChildAt(copy, i));
  EXPECT_EQ(shapeOf(copy), "1(2 3 4 5)");
  for (const ztRoot *child : childrenOf(copy)) {
    EXPECT_EQ(child->parent, copy);
    EXPECT_EQ(child->parentUid, 1);
    EXPECT_EQ(countOf(child), 2);
  }
  release(copy);
}

TEST(CopyOfANode, ChildrenMayBeAttachedElsewhere) {
  for (const bool copyEndsFirst : {true, false}) {
    Forest forest;
    ztRoot *node = newNode(1);
    newChild(node, 2);
    newChild(node, 3);
    ztRoot *copy = newCopy(node);
    addChild(node, childrenOf(copy)[1]);
    EXPECT_EQ(shapeOf(copy), "1(2)");
    EXPECT_EQ(shapeOf(node), "1(2 3 3)");
    release(copyEndsFirst ? copy : node);
    release(copyEndsFirst ? node : copy);
  }
}

TEST(CopyOfANode, ChildrenAreDeletedLikeAttachedOnes) {
  Forest forest;
  ztRoot *node = newNode(1);
  newChild(node, 2);
  ztRoot *copy = newCopy(node);
  ztRoot *child = childrenOf(copy)[0];
  int calls = 0;
  forest.on(copy, "childDeleted", [&](ztRoot *) { ++calls; });
  deleteChild(copy, child);
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(child->parentUid, 0);
  EXPECT_EQ(countOf(child), 1);
  EXPECT_EQ(shapeOf(copy), "1");
  release(child);
  release(copy);
  release(node);
}

TEST(CopyOfANode, IsNotPutBelowItsOwnChildren) {
  Forest forest;
  ztRoot *node = newNode(1);
  newChild(newChild(node, 2), 3);
  ztRoot *copy = newCopy(node);
  ztRoot *low = childrenOf(childrenOf(copy)[0])[0];
  EXPECT_EQ(setParent(copy, low), 0);
  addChild(low, copy);
  EXPECT_EQ(shapeOf(copy), "1(2(3))");
  ztRoot *again = newCopy(copy);
  EXPECT_EQ(shapeOf(again), "1(2(3))");
  release(again);
  release(copy);
  release(node);
}

// Records what it is assigned.
#define Assigned_FIELDS \
  ztRoot_FIELDS         \
  const void *from;
#define Assigned_METHODS ztRoot_METHODS
ZT_DECLARE_CLASS(Assigned)

static int32_t assignedAssign(void *object, const void *other) {
  static_cast<Assigned *>(object)->from = other;
  return ztRoot_table()->assign(object, other);
}

static void assignedMethods(AssignedMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, assign, assignedAssign);
}

ZT_DEFINE_CLASS(Assigned, ztRoot, assignedMethods)

TEST(AssigningNodes, GoesThroughTheChildrenInStep) {
  const auto build = [](int children) {
    ztRoot *node = newNode(1, Assigned_ctor);
    for (int i = 0; i < children; ++i) {
      ztRoot *child = newNode(i + 2, Assigned_ctor);
      addChild(node, child);
      addChild(child, newNode(i + 10, Assigned_ctor));
    }
    return node;
  };
  for (const auto &[own, others] : {std::pair(3, 2), std::pair(2, 3), std::pair(0, 2), std::pair(2, 0)}) {
    ztRoot *node = build(own);
    ztRoot *source = build(others);
    ztRoot_of(node)->setName(node, "mine");
    const auto ownChildren = childrenOf(node);
    const auto otherChildren = childrenOf(source);
    for (ztRoot *child : ownChildren) reinterpret_cast<Assigned *>(child)->from = nullptr;
    EXPECT_EQ(ztRoot_of(node)->assign(node, source), 1);
    for (size_t i = 0; i < ownChildren.size(); ++i) {
      const void *expected = i < otherChildren.size() ? otherChildren[i] : nullptr;
      EXPECT_EQ(reinterpret_cast<Assigned *>(ownChildren[i])->from, expected);
    }
    // Nothing of the node itself is assigned by itself.
    EXPECT_EQ(nameOf(node), "mine");
    EXPECT_EQ(childrenOf(node), ownChildren);
    release(node);
    release(source);
  }
}

TEST(AssigningNodes, PassesPlacesWithoutAChildBy) {
  ztRoot *node = newNode(1, Assigned_ctor);
  ztRoot *source = newNode(2, Assigned_ctor);
  for (int32_t uid = 3; uid < 6; ++uid) {
    addChild(node, newNode(uid, Assigned_ctor));
    if (uid == 4) {
      ztRootPtrList_of(source->children)->pushBack(source->children, nullptr);
    } else {
      addChild(source, newNode(uid, Assigned_ctor));
    }
  }
  for (ztRoot *child : childrenOf(node)) reinterpret_cast<Assigned *>(child)->from = nullptr;
  EXPECT_EQ(ztRoot_of(node)->assign(node, source), 1);
  for (int32_t i = 0; i < 3; ++i) {
    const auto *child = static_cast<const Assigned *>(ztRoot_of(node)->getChildAt(node, i));
    EXPECT_EQ(child->from, ztRoot_of(source)->getChildAt(source, i)) << i;
  }
  release(node);
  release(source);
}

TEST(AssigningNodes, CallsAHostsOverrideForAChildOfAnotherClassAndGivesTheLibrarysWhatBothHave) {
  Forest forest;
  ztRoot *node = newNode(1);
  ztRoot *source = newNode(2);
  ztRoot *own = newNode(3, Assigned_ctor);
  ztRoot *grandchild = newNode(4, Assigned_ctor);
  addChild(node, own);
  addChild(own, grandchild);
  ztRoot *other = newChild(source, 5);
  ztRoot *below = newNode(6, Assigned_ctor);
  addChild(other, below);
  for (ztRoot *assigned : {own, grandchild}) reinterpret_cast<Assigned *>(assigned)->from = nullptr;
  // The two at the first level are of different classes; their children are of one.
  EXPECT_EQ(ztRoot_of(node)->assign(node, source), 1);
  EXPECT_EQ(reinterpret_cast<Assigned *>(own)->from, other);
  EXPECT_EQ(reinterpret_cast<Assigned *>(grandchild)->from, below);
  release(node);
  release(source);
}

// Random trees ------------------------------------------------------------------------------------

namespace {

// What is known of a node: who lists it, whom it lists, and how many references there are.
struct Model {
  ztRoot *lister = nullptr;
  std::vector<ztRoot *> children;
  bool attached = false;
  int references = 1;
};

class RandomForest {
 public:
  explicit RandomForest(unsigned seed) : random(seed) {}

  void step() {
    switch (random() % 12) {
      case 0:
      case 1:
      case 2:
        add(newNode(nextUid++));
        break;
      case 3:
      case 4:
      case 5:
      case 6:
        move();
        break;
      case 7:
        detach();
        break;
      case 8:
        copy();
        break;
      case 9:
        reference();
        break;
      default:
        if (nodes.size() > 20) drop();
    }
  }

  void check() const {
    ASSERT_EQ(nodesLive - before, static_cast<int32_t>(nodes.size()));
    for (const auto &[node, model] : nodes) {
      ASSERT_EQ(childrenOf(node), model.children);
      ASSERT_EQ(node->parent, model.attached ? model.lister : nullptr);
      ASSERT_EQ(countOf(node), model.references);
    }
  }

  void end() {
    while (!nodes.empty()) {
      release(any());
      check();
    }
  }

  bool empty() const {
    return nodes.empty();
  }

 private:
  ztRoot *any() {
    return std::next(nodes.begin(), static_cast<long>(random() % nodes.size()))->first;
  }
  void add(ztRoot *node) {
    nodes[node];
  }
  bool isWithin(const ztRoot *node, const ztRoot *top) {
    while (node != nullptr && node != top) node = nodes[const_cast<ztRoot *>(node)].lister;
    return node != nullptr;
  }
  void unlist(ztRoot *node) {
    Model &model = nodes[node];
    if (model.lister != nullptr) std::erase(nodes[model.lister].children, node);
    model.lister = nullptr;
    model.attached = false;
  }

  void move() {
    if (nodes.size() < 2) return;
    ztRoot *node = any();
    ztRoot *parent = any();
    Model &model = nodes[node];
    const bool isThere = model.attached && model.lister == parent;
    const bool refused = !isThere && isWithin(parent, node);
    ASSERT_EQ(ztRoot_of(node)->setParent(node, parent), !refused);
    if (refused || isThere) return;
    if (model.attached) ++model.references;
    if (model.lister != parent) {
      unlist(node);
      model.lister = parent;
      nodes[parent].children.push_back(node);
    }
    model.attached = true;
    ++model.references;
  }

  void detach() {
    if (nodes.empty()) return;
    ztRoot *node = any();
    ztRoot *lister = nodes[node].lister;
    if (lister == nullptr) return;
    ztRoot_of(lister)->deleteChild(lister, node);
    unlist(node);
  }

  void copy() {
    if (nodes.empty() || nodes.size() > 200) return;
    const ztRoot *node = any();
    ztRoot *made = newCopy(node);
    ASSERT_NE(made, nullptr);
    addCopied(made);
  }

  // Identifiers are made unlike again, so that each deletion meets the one that is meant.
  void addCopied(ztRoot *node) {
    ztRoot_of(node)->setUid(node, nextUid++);
    Model model;
    model.children = childrenOf(node);
    nodes[node].children = model.children;
    for (ztRoot *child : model.children) {
      addCopied(child);
      nodes[child].lister = node;
    }
  }

  void reference() {
    if (nodes.empty()) return;
    ztRoot *node = any();
    ztRoot_of(node)->ref(node);
    ++nodes[node].references;
  }

  void drop() {
    release(any());
  }

 public:
  // Releases in the model what was released.
  void release(ztRoot *node) {
    ::release(node);
    dropReference(node);
  }

 private:
  void dropReference(ztRoot *node) {
    if (--nodes[node].references > 1) return;
    unlist(node);
    const std::vector<ztRoot *> children = nodes[node].children;
    for (ztRoot *child : children) {
      nodes[child].lister = nullptr;
      nodes[child].attached = false;
      dropReference(child);
    }
    nodes.erase(node);
  }

  std::mt19937 random;
  std::map<ztRoot *, Model> nodes;
  int32_t nextUid = 1;
  int32_t before = nodesLive;
};

}  // namespace

TEST(RandomTrees, FollowTheirModel) {
  for (unsigned seed = 1; seed <= 4; ++seed) {
    Forest forest;
    RandomForest trees(seed);
    for (int i = 0; i < scale(10000); ++i) {
      trees.step();
      if (i % 16 == 0) trees.check();
      if (HasFatalFailure()) return;
    }
    trees.end();
    EXPECT_TRUE(trees.empty());
  }
}
