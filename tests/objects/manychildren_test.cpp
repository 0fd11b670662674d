// Nodes with many children: whatever a host does to their lists, each operation does what a walk over the children
// would do.
#include "tests/helpers/scale.hh"
#include "tests/objects/tree_nodes.hh"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>

// AskedNode: a node whose class has its own `getUid`, which notes the calls.
#define AskedNode_FIELDS LiveNode_FIELDS
#define AskedNode_METHODS LiveNode_METHODS
ZT_DECLARE_CLASS(AskedNode)

// WritingNode: a node whose class writes the identifier itself.
#define WritingNode_FIELDS LiveNode_FIELDS
#define WritingNode_METHODS LiveNode_METHODS
ZT_DECLARE_CLASS(WritingNode)

static std::vector<const void *> asked;

static int32_t askedNodeGetUid(const void *node) {
  asked.push_back(node);
  return static_cast<const AskedNode *>(node)->uid;
}

static void askedNodeMethods(AskedNodeMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, getUid, askedNodeGetUid);
}

static void writingNodeSetUid(void *node, int32_t uid) {
  static_cast<WritingNode *>(node)->uid = uid;
}

static void writingNodeMethods(WritingNodeMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, setUid, writingNodeSetUid);
}

ZT_DEFINE_CLASS(AskedNode, LiveNode, askedNodeMethods)
ZT_DEFINE_CLASS(WritingNode, LiveNode, writingNodeMethods)

// Releases a node however many references it has.
static void end(ztRoot *node) {
  node->refCount = 1;
  release(node);
}

static Nodes walk(const ztRoot *node) {
  Nodes children;
  const ztListItem *last = nullptr;
  for (const ztListItem *item = node->children->head; item != nullptr; item = item->next) {
    EXPECT_EQ(item->prev, last);
    last = item;
    children.push_back(static_cast<ztRoot *>(item->data));
  }
  EXPECT_EQ(node->children->tail, last);
  EXPECT_EQ(node->children->count, children.size());
  return children;
}

// What a host does, and how often; the classes of its nodes.
struct Habits {
  const char *name;
  int meddling;    // of 1000 operations, those that change a list or an identifier past the nodes
  int duplicates;  // of 100 identifiers, those that another node has
  int otherNodes;  // of 100 nodes, those of other classes
  uint32_t seed;
};

static void PrintTo(const Habits &habits, std::ostream *out) {
  *out << habits.name;
}

namespace {

// Two nodes, their children, and what the children have to be.
class TwoParents {
 public:
  explicit TwoParents(const Habits &chosen) : habits(chosen), random(chosen.seed) {
    for (ztRoot *&parent : parents) parent = newNode(-7, LiveNode_ctor);
  }
  ~TwoParents() {
    for (ztRoot *parent : parents) ztRootPtrList_of(parent->children)->empty(parent->children);
    for (ztRoot *node : nodes) end(node);
    for (ztRoot *parent : parents) end(parent);
  }
  TwoParents(const TwoParents &) = delete;
  TwoParents &operator=(const TwoParents &) = delete;

  void act() {
    side = below(8) == 0 ? 1 : 0;
    if (size() >= 90) grows = false;
    if (size() <= 8) grows = true;
    if (nodes.size() > 200) finish(anyNode());
    if (below(1000) < habits.meddling) {
      meddle();
    } else {
      live();
    }
  }

  void check() const {
    for (int i : {0, 1}) ASSERT_EQ(walk(parents[i]), children[i]);
    for (const ztRoot *node : nodes) ASSERT_EQ(node->parent, parentIn(holders, node));
  }

  size_t size() const {
    return children[0].size();
  }

 private:
  int below(size_t limit) {
    return static_cast<int>(random() % limit);
  }
  bool oneOf100(int share) {
    return below(100) < share;
  }
  Nodes &listed() {
    return children[side];
  }
  ztRootPtrList *list() {
    return parents[side]->children;
  }
  const ztRootPtrListMethods *methods() {
    return ztRootPtrList_of(list());
  }
  static ztRoot *parentIn(const std::map<const ztRoot *, ztRoot *> &all, const ztRoot *node) {
    const auto found = all.find(node);
    return found == all.end() ? nullptr : found->second;
  }
  int indexOf(const ztRoot *parent) const {
    return parent == parents[0] ? 0 : 1;
  }

  ztRoot *anyNode() {
    return nodes.empty() ? nullptr : nodes[static_cast<size_t>(below(nodes.size()))];
  }
  // Mostly one of the last.
  int anyIndex() {
    const int count = static_cast<int>(listed().size());
    return below(2) == 0 ? below(static_cast<size_t>(count))
                         : count - 1 - below(static_cast<size_t>(std::min(count, 4)));
  }
  ztRoot *anyChild() {
    return listed().empty() ? nullptr : listed()[static_cast<size_t>(anyIndex())];
  }
  ztListItem *anyItem() {
    return listed().empty() ? nullptr : methods()->getItemAt(list(), anyIndex());
  }
  int32_t anyUid() {
    const ztRoot *other = oneOf100(habits.duplicates) ? anyNode() : nullptr;
    return other != nullptr ? other->uid : ++lastUid;
  }
  ztRoot *makeNode() {
    const ztCtor other = below(2) == 0 ? AskedNode_ctor : WritingNode_ctor;
    nodes.push_back(newNode(anyUid(), oneOf100(habits.otherNodes) ? other : LiveNode_ctor));
    return nodes.back();
  }

  // What the library does, on the model.

  void takeOff(const ztRoot *node, ztRoot *holder) {
    Nodes &from = children[indexOf(holder)];
    const auto place = std::find(from.begin(), from.end(), node);
    if (place != from.end()) from.erase(place);
    holders.erase(node);
  }
  static void ask(const ztRoot *node, std::vector<const void *> &calls) {
    if (ztOOP_classOf(node) == AskedNodeClass_Instance()) calls.push_back(node);
  }
  // The calls of `getUid` that it takes.
  std::vector<const void *> modelDelete(ztRoot *parent, const ztRoot *given) {
    std::vector<const void *> calls;
    ask(given, calls);
    for (ztRoot *child : Nodes(children[indexOf(parent)])) {
      if (child == nullptr) continue;
      ask(child, calls);
      if (child->uid != given->uid) continue;
      takeOff(child, parent);
      break;
    }
    return calls;
  }
  void modelMove(ztRoot *node, ztRoot *parent) {
    ztRoot *from = parentIn(holders, node);
    if (from == parent) return;
    if (from != nullptr) {
      modelDelete(from, node);
      if (parentIn(holders, node) == from) takeOff(node, from);
    }
    children[indexOf(parent)].push_back(node);
    holders[node] = parent;
  }

  // Operations of nodes.

  void live() {
    const int choice = below(100);
    ztRoot *child = anyChild();
    if (choice < (grows ? 60 : 20) || child == nullptr) {
      add(below(4) == 0 && anyNode() != nullptr ? anyNode() : makeNode());
    } else if (choice < 65) {
      remove(below(10) == 0 ? anyNode() : child);
    } else if (choice < 75) {
      move(child, parents[1 - side]);
    } else if (choice < 90) {
      finish(child);
    } else if (choice < 99) {
      ztRoot_of(child)->setUid(child, anyUid());
    } else {
      ztRoot_of(child)->generateUid(child);
    }
  }
  void add(ztRoot *node) {
    addChild(parents[side], node);
    modelMove(node, parents[side]);
  }
  void remove(ztRoot *given) {
    asked.clear();
    const std::vector<const void *> calls = modelDelete(parents[side], given);
    deleteChild(parents[side], given);
    ASSERT_EQ(asked, calls);
  }
  void move(ztRoot *node, ztRoot *parent) {
    modelMove(node, parent);
    ASSERT_EQ(setParent(node, parent), 1);
  }
  // A node that a host put into lists must have left them.
  void finish(ztRoot *node) {
    ztRoot *holder = parentIn(holders, node);
    size_t others = 0;
    for (const Nodes &all : children) others += static_cast<size_t>(std::count(all.begin(), all.end(), node));
    if (holder != nullptr) {
      const Nodes &held = children[indexOf(holder)];
      others -= std::find(held.begin(), held.end(), node) != held.end() ? 1 : 0;
    }
    if (others > 0) return;
    if (holder != nullptr) takeOff(node, holder);
    nodes.erase(std::find(nodes.begin(), nodes.end(), node));
    end(node);
  }

  // Operations of a host on a list, its items, and fields of nodes.

  void meddle() {
    const int index = listed().empty() ? 0 : anyIndex();
    ztListItem *item = methods()->getItemAt(list(), index);
    const auto place = listed().begin() + index;
    ztRoot *node = below(8) == 0 || anyNode() == nullptr ? nullptr : anyNode();
    const int choice = below(12);
    if (choice == 0) {
      methods()->pushBack(list(), node);
      listed().push_back(node);
    } else if (choice == 1) {
      methods()->pushFront(list(), node);
      listed().insert(listed().begin(), node);
    } else if (item == nullptr) {
      return;
    } else if (choice == 2) {
      methods()->insertNext(list(), item, node);
      listed().insert(place + 1, node);
    } else if (choice == 3) {
      methods()->insertPrev(list(), item, node);
      listed().insert(place, node);
    } else if (choice == 4) {
      methods()->popFront(list());
      listed().erase(listed().begin());
    } else if (choice == 5) {
      methods()->popBack(list());
      listed().pop_back();
    } else if (choice == 6) {
      methods()->removeItem(list(), item);
      listed().erase(place);
    } else if (choice == 7 || choice == 8) {
      exchange(item, *place);
    } else if (choice == 9) {
      replace(item, *place, node);
    } else if (choice == 10 && *place != nullptr) {
      (*place)->uid = ++lastUid;
    } else if (choice == 11 && *place != nullptr) {
      writeAndRemove(*place);
    }
    if (below(500) == 0) emptyList();
  }
  void exchange(ztListItem *item, ztRoot *&child) {
    const int other = anyIndex();
    std::swap(item->data, methods()->getItemAt(list(), other)->data);
    std::swap(child, listed()[static_cast<size_t>(other)]);
  }
  // By a node that is not in the list.
  void replace(ztListItem *item, ztRoot *&child, ztRoot *node) {
    if (node != nullptr && std::count(listed().begin(), listed().end(), node) > 0) node = makeNode();
    item->data = node;
    child = node;
  }
  // A written identifier counts at once for the child itself.
  void writeAndRemove(ztRoot *child) {
    child->uid = anyNode()->uid;
    remove(child);
    child->uid = ++lastUid;
  }
  void emptyList() {
    methods()->empty(list());
    listed().clear();
  }

  Habits habits;
  std::mt19937 random;
  ztRoot *parents[2] = {};
  Nodes children[2];
  Nodes nodes;  // all but the parents
  std::map<const ztRoot *, ztRoot *> holders;
  int32_t lastUid = 1000;
  int side = 0;
  bool grows = true;
};

class ManyChildren : public ForestTest, public testing::WithParamInterface<Habits> {};

}  // namespace

TEST_P(ManyChildren, AreWhatAModelHas) {
  TwoParents parents(GetParam());
  size_t most = 0;
  for (int i = 0; i < scale(4000); ++i) {
    parents.act();
    parents.check();
    if (HasFatalFailure()) FAIL() << "at operation " << i;
    most = std::max(most, parents.size());
  }
  EXPECT_GT(most, 60U);
}

INSTANTIATE_TEST_SUITE_P(
    , ManyChildren,
    testing::Values(Habits{"undisturbed", 0, 0, 0, 1}, Habits{"with equal identifiers", 0, 20, 0, 2},
                    Habits{"disturbed now and then", 20, 2, 0, 3}, Habits{"disturbed often", 300, 10, 0, 4},
                    Habits{"of several classes", 10, 2, 1, 5}, Habits{"of many classes", 100, 10, 20, 6}),
    [](const testing::TestParamInfo<Habits> &info) {
      std::string name = info.param.name;
      std::replace(name.begin(), name.end(), ' ', '_');
      return name;
    });
