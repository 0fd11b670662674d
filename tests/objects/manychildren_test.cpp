// Nodes with many children: whatever a host does to their lists, each operation does what a walk over the children
// would do.
#include "tests/helpers/faults.hh"
#include "tests/helpers/scale.hh"
#include "tests/objects/tree_nodes.hh"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>

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
  int otherNodes;  // of 100 nodes, those of the other class
  ztCtor other;
};

static void PrintTo(const Habits &habits, std::ostream *out) {
  *out << habits.name;
}

namespace {

// Two nodes, their children, and what the children have to be.
class TwoParents {
 public:
  TwoParents(const Habits &chosen, uint32_t seed) : habits(chosen), random(seed) {
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
    return other != nullptr && !isWritten(other) ? other->uid : ++lastUid;
  }
  // Whether a host wrote the node into an item, or its identifier. It must not let an earlier child become equal to a
  // later one in this way, as objects/ztroot.h says: nothing else gets this identifier, and the node no second item.
  bool isWritten(const ztRoot *node) const {
    return written.count(node) > 0;
  }
  ztRoot *makeNode() {
    nodes.push_back(newNode(anyUid(), oneOf100(habits.otherNodes) ? habits.other : LiveNode_ctor));
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
      ztRoot *known = below(4) == 0 ? anyNode() : nullptr;
      add(known != nullptr && !isWritten(known) ? known : makeNode());
    } else if (choice < 65) {
      remove(below(10) == 0 ? anyNode() : child);
    } else if (choice < 75) {
      if (!isWritten(child)) move(child, parents[1 - side]);
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
    written.erase(node);
    end(node);
  }

  // Operations of a host on a list, its items, and fields of nodes.

  void meddle() {
    const int index = listed().empty() ? 0 : anyIndex();
    ztListItem *item = methods()->getItemAt(list(), index);
    const auto place = listed().begin() + index;
    ztRoot *node = below(8) == 0 ? nullptr : anyNode();
    if (isWritten(node)) node = nullptr;
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
      written.insert(*place);
    } else if (choice == 11 && *place != nullptr) {
      writeAndRemove(*place);
    }
    if (below(500) == 0) emptyList();
  }
  static bool hasOwnGetUid(const ztRoot *node) {
    return node != nullptr && ztOOP_classOf(node) != LiveNodeClass_Instance();
  }
  // Whether no other child of the list has its identifier, which its class does not give.
  bool isUnlike(const ztRoot *node) {
    if (hasOwnGetUid(node)) return false;
    const auto equals = [node](const ztRoot *child) { return child != nullptr && child->uid == node->uid; };
    return node == nullptr || std::count_if(listed().begin(), listed().end(), equals) <= 1;
  }
  void exchange(ztListItem *item, ztRoot *&child) {
    const int other = anyIndex();
    if (!isUnlike(child) || !isUnlike(listed()[static_cast<size_t>(other)])) return;
    std::swap(item->data, methods()->getItemAt(list(), other)->data);
    std::swap(child, listed()[static_cast<size_t>(other)]);
    written.insert({child, listed()[static_cast<size_t>(other)]});
  }
  // By a node that is not in the list.
  void replace(ztListItem *item, ztRoot *&child, ztRoot *node) {
    const auto equals = [node](const ztRoot *listedChild) {
      return listedChild != nullptr && listedChild->uid == node->uid;
    };
    if (node != nullptr && (hasOwnGetUid(node) || std::any_of(listed().begin(), listed().end(), equals))) {
      nodes.push_back(newNode(++lastUid, LiveNode_ctor));
      node = nodes.back();
    }
    item->data = node;
    child = node;
    written.insert(node);
  }
  // A written identifier counts at once for the child itself.
  void writeAndRemove(ztRoot *child) {
    child->uid = anyNode()->uid;
    remove(child);
    child->uid = ++lastUid;
    written.insert(child);
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
  std::set<const ztRoot *> written;
  int32_t lastUid = 1000;
  int side = 0;
  bool grows = true;
};

class ManyChildrenOfAModel : public ForestTest, public testing::WithParamInterface<Habits> {};

}  // namespace

TEST_P(ManyChildrenOfAModel, AreTheSameAfterEachOperation) {
  // Fewer operations would leave each parent with so few children that no table finds them.
  const auto seeds = static_cast<uint32_t>(std::max(scale(5), 1));
  for (uint32_t seed = 0; seed < seeds; ++seed) {
    TwoParents parents(GetParam(), seed);
    size_t most = 0;
    for (int i = 0; i < 1000; ++i) {
      parents.act();
      parents.check();
      if (HasFatalFailure()) FAIL() << "at operation " << i << " of seed " << seed;
      most = std::max(most, parents.size());
    }
    EXPECT_GT(most, 60U);
  }
}

INSTANTIATE_TEST_SUITE_P(, ManyChildrenOfAModel,
                         testing::Values(Habits{"undisturbed", 0, 0, 0, LiveNode_ctor},
                                         Habits{"with equal identifiers", 0, 20, 0, LiveNode_ctor},
                                         Habits{"disturbed now and then", 20, 2, 0, LiveNode_ctor},
                                         Habits{"disturbed often", 300, 10, 0, LiveNode_ctor},
                                         Habits{"partly asked", 10, 2, 3, AskedNode_ctor},
                                         Habits{"partly writing", 10, 10, 3, WritingNode_ctor},
                                         Habits{"mostly asked", 50, 10, 80, AskedNode_ctor}),
                         [](const testing::TestParamInfo<Habits> &one) {
                           std::string name = one.param.name;
                           std::replace(name.begin(), name.end(), ' ', '_');
                           return name;
                         });

// One case at a time ------------------------------------------------------------------------------

namespace {

// A node with so many children, 1 to 40, that they are found by a table.
class ManyChildrenTest : public ForestTest {
 protected:
  ManyChildrenTest() {
    for (int32_t uid = 1; uid <= 40; ++uid) add(uid);
  }
  ~ManyChildrenTest() override {
    for (const Nodes &all : {others, children}) {
      for (ztRoot *node : all) end(node);
    }
  }

  ztRootPtrList *list() const {
    return parent.fields().children;
  }
  const ztRootPtrListMethods *methods() const {
    return ztRootPtrList_of(list());
  }
  ztListItem *itemOf(const ztRoot *child) const {
    return methods()->find(list(), child);
  }
  ztRoot *add(int32_t uid, ztCtor constructor = OddNode_ctor) {
    ztRoot *child = newNode(uid, constructor);
    addChild(parent, child);
    children.push_back(child);
    return child;
  }
  void take(const ztRoot *child) {
    children.erase(std::find(children.begin(), children.end(), child));
  }
  // The child has left, and the others are as before.
  void expectWithout(ztRoot *child) {
    take(child);
    EXPECT_EQ(walk(parent), children);
    others.push_back(child);
  }
  // There is a table afterwards, if the child is none of the first.
  void deleteOne(int32_t uid) {
    ztRoot *child = parent[uid];
    deleteChild(parent, child);
    expectWithout(child);
  }

  // A search for the node itself, not for an identifier.
  void endLast() {
    ztRoot *last = add(99);
    take(last);
    end(last);
    EXPECT_EQ(walk(parent), children);
  }

  const Tree parent{"1000"};
  Nodes children;
  Nodes others;  // that are no children any more
};

}  // namespace

TEST_F(ManyChildrenTest, LoseTheFirstOfThreePlacesOfAChild) {
  ztRoot *child = parent[20];
  const auto putAgain = [&] {
    putIntoList(parent, child);
    children.push_back(child);
  };
  putAgain();
  add(41);
  add(42);
  deleteOne(42);
  putAgain();
  setParent(child, nullptr);
  take(child);
  EXPECT_EQ(walk(parent), children);
  deleteChild(parent, child);
  take(child);
  EXPECT_EQ(walk(parent), children);
  methods()->popBack(list());
  expectWithout(child);
}

TEST_F(ManyChildrenTest, AreFoundInTheOrderOfTheListAfterTheHostMovedOneBehindAnother) {
  deleteOne(40);
  ztRoot *child = parent[30];
  methods()->removeItem(list(), itemOf(child));
  take(child);
  ztRoot *other = add(30);
  putIntoList(parent, child);
  children.push_back(child);
  endLast();
  deleteChild(parent, child);
  expectWithout(other);
}

TEST_F(ManyChildrenTest, AreFoundInTheOrderOfTheListAfterOneLeftAndCameBack) {
  deleteOne(40);
  ztRoot *child = parent[30];
  const Tree elsewhere("1001");
  setParent(child, elsewhere);
  take(child);
  ztRoot *other = add(30);
  setParent(child, parent);
  children.push_back(child);
  endLast();
  deleteChild(parent, child);
  expectWithout(other);
}

TEST_F(ManyChildrenTest, AreFoundByIdentifiersThatTheirClassWrites) {
  ztRoot *writing = add(41, WritingNode_ctor);
  ztRoot *last = add(42);
  deleteOne(40);
  const Tree stranger(newNode(42));
  deleteChild(parent, stranger);
  expectWithout(last);
  last = add(43);
  deleteOne(39);
  ztRoot_of(writing)->setUid(writing, 43);
  deleteChild(parent, last);
  expectWithout(writing);
}

TEST_F(ManyChildrenTest, AreAskedForAnIdentifierOfTheirClassEachTime) {
  ztRoot *child = add(41, AskedNode_ctor);
  for (int32_t uid = 51; uid < 56; ++uid) add(uid);
  for (int32_t uid = 51; uid < 55; ++uid) {
    ztRoot *given = parent[uid];
    asked.clear();
    deleteChild(parent, given);
    EXPECT_EQ(asked, std::vector<const void *>{child});
    expectWithout(given);
  }
}

static int32_t questions;

static int32_t countQuestion(const void *node) {
  ++questions;
  return static_cast<const ztRoot *>(node)->uid;
}

TEST_F(ManyChildrenTest, AreAskedForAnIdentifierOnceTheHostReplacedTheMethod) {
  for (int32_t uid = 51; uid < 56; ++uid) add(uid, LiveNode_ctor);
  deleteOne(55);
  auto *methods = static_cast<LiveNodeMethods *>(LiveNodeClass_Instance()->methodTable);
  const Replaced getUid(methods->getUid, countQuestion);
  questions = 0;
  deleteOne(53);
  EXPECT_EQ(questions, 4);  // the given node, then three children
  questions = 0;
  deleteOne(40);
  EXPECT_EQ(questions, 0);
}

TEST_F(ManyChildrenTest, AreFoundByIdentifiersThatWereSet) {
  deleteOne(40);
  ztRoot *child = parent[20];
  ztRoot_of(child)->setUid(child, 35);
  deleteChild(parent, children[34]);
  expectWithout(child);
  ztRoot_of(parent[22])->setUid(parent[22], 21);
  deleteOne(39);
  // The identifier of two children.
  child = parent[21];
  ztRoot_of(child)->setUid(child, 36);
  deleteChild(parent, children[34]);
  expectWithout(child);
}

TEST_F(ManyChildrenTest, AreFoundByTheIdentifierOfAChildThatOnlyTheListKnows) {
  ztRoot *foreign = newNode(41, OddNode_ctor);
  putIntoList(parent, foreign);
  children.push_back(foreign);
  ztRoot *last = add(42);
  add(43);
  deleteOne(43);
  ztRoot_of(foreign)->setUid(foreign, 42);
  deleteChild(parent, last);
  expectWithout(foreign);
}

TEST_F(ManyChildrenTest, AreFoundByIdentifiersThatWereRead) {
  deleteOne(40);
  const Storage file;
  const Tree stored(newNode(35));
  ASSERT_EQ(ztRoot_table()->write(stored, file), 1);
  file.rewind();
  ztRoot *child = parent[20];
  ASSERT_EQ(ztRoot_table()->read(child, file), 1);
  deleteChild(parent, children[34]);
  expectWithout(child);
}

TEST_F(ManyChildrenTest, AreFoundByIdentifiersThatWereGenerated) {
  deleteOne(40);
  ztRoot *child = parent[20];
  ztRoot *last = parent[39];
  ztRoot_of(last)->setUid(last, ztRoot_of(child)->generateUid(child));
  deleteChild(parent, last);
  expectWithout(child);
}

TEST_F(ManyChildrenTest, AreFoundByAnIdentifierThatWasWrittenToTheField) {
  deleteOne(40);
  ztRoot *child = parent[20];
  child->uid = 35;
  deleteChild(parent, child);
  expectWithout(child);
  parent[21]->uid = 100;
  deleteOne(100);
  parent[30]->uid = 101;
  const Tree stranger(newNode(30));
  deleteChild(parent, stranger);
  EXPECT_EQ(walk(parent), children);
}

static void unlink(ztRootPtrList *list, ztListItem *item) {
  item->prev->next = item->next;
  item->next->prev = item->prev;
  --list->count;
  release(item);
}

TEST_F(ManyChildrenTest, AreNotLookedForInAnItemThatTheHostUnlinked) {
  deleteOne(40);
  ztRoot *child = parent[30];
  unlink(list(), itemOf(child));
  deleteChild(parent, child);
  setParent(child, nullptr);
  expectWithout(child);
  ztRoot *other = parent[25];
  deleteOne(29);
  unlink(list(), itemOf(other));
  add(41);
  setParent(other, nullptr);
  expectWithout(other);
  deleteOne(28);
  other = parent[24];
  unlink(list(), itemOf(other));
  ztRoot *first = parent[1];
  methods()->popFront(list());
  for (ztRoot *node : {first, other}) setParent(node, nullptr);
  take(first);
  others.push_back(first);
  expectWithout(other);
}

static ztListItem *unlinkAndReturnNull(void *list, ztListItem *item) {
  unlink(static_cast<ztRootPtrList *>(list), item);
  return nullptr;
}

static ztListItem *linkBehind(void *list, ztListItem *item, const void *element) {
  auto *added = static_cast<ztListItem *>(ztListItem_ctor(nullptr, 1));
  added->data = const_cast<void *>(element);
  added->prev = item;
  added->next = item->next;
  item->next->prev = added;
  item->next = added;
  ++static_cast<ztRootPtrList *>(list)->count;
  return added;
}

TEST_F(ManyChildrenTest, AreNotLookedForInAnItemThatAMethodOfTheHostUnlinked) {
  deleteOne(40);
  auto *slots = const_cast<ztRootPtrListMethods *>(methods());
  const Replaced removeItem(slots->removeItem, unlinkAndReturnNull);
  const Replaced insertNext(slots->insertNext, linkBehind);
  ztRoot *child = parent[30];
  ztRoot *other = newNode(50);
  methods()->removeItem(list(), itemOf(child));
  methods()->insertNext(list(), itemOf(parent[20]), other);
  children.insert(children.begin() + 20, other);
  deleteChild(parent, child);
  setParent(child, nullptr);
  expectWithout(child);
  deleteOne(50);
}

static void unlinkAll(void *list) {
  auto *all = static_cast<ztRootPtrList *>(list);
  while (ztListItem *item = all->head) {
    all->head = item->next;
    release(item);
  }
  all->tail = nullptr;
  all->count = 0;
}

TEST_F(ManyChildrenTest, LeaveNoTableBehindWhenAMethodOfTheHostEmptiesTheirList) {
  const int before = liveBlocks;
  deleteOne(40);
  ztRootPtrList *taken = std::exchange(parent.fields().children, nullptr);
  const Replaced empty(const_cast<ztRootPtrListMethods *>(ztRootPtrList_of(taken))->empty, unlinkAll);
  release(taken);
  EXPECT_EQ(liveBlocks, before - 41);  // the list and its items
  for (ztRoot *child : children) EXPECT_EQ(setParent(child, nullptr), 1);
}

TEST_F(ManyChildrenTest, OfACopyAreDeletedFromTheBack) {
  deleteOne(40);
  auto *copy = static_cast<ztRoot *>(ztRoot_of(parent)->clone(parent, LiveNode_newop()));
  copy->refCount = 1;
  const Tree owned(copy);
  Nodes copied = walk(copy);
  ASSERT_EQ(copied.size(), 39U);
  while (!copied.empty()) {
    ztRoot *last = copied.back();
    copied.pop_back();
    deleteChild(copy, last);
    ASSERT_EQ(walk(copy), copied);
    end(last);
  }
}

TEST_F(ManyChildrenTest, MayBeDeletedMovedAndReleasedByTheSlotsOfTheirDeletion) {
  const Tree elsewhere("1001");
  enum { deletes, moves, ends, keeps, ways };
  int way = ways;
  on(parent, "childDeleted", [&](ztRoot *child) {
    if (way == deletes) deleteChild(parent, child);
    if (way == moves) setParent(child, elsewhere);
    if (way == ends) end(child);
    if (way == keeps) setParent(child, parent);
  });
  for (int32_t uid = 40; uid > 20; --uid) {
    ztRoot *child = parent[uid];
    way = uid % ways;
    deleteChild(parent, child);
    take(child);
    if (way == keeps) children.push_back(child);
    if (way == deletes) others.push_back(child);
    ASSERT_EQ(walk(parent), children);
  }
  EXPECT_EQ(walk(elsewhere).size(), 5U);
  for (ztRoot *moved : walk(elsewhere)) end(moved);
}

// Deletes the first child with the identifier of one that is behind it.
static void deleteTwin(const Tree &parent, Nodes &children, ztRoot *twin) {
  const auto first = std::find_if(children.begin(), children.end(),
                                  [=](const ztRoot *child) { return child->uid == twin->uid; });
  ztRoot *child = *first;
  deleteChild(parent, twin);
  children.erase(first);
  ASSERT_EQ(walk(parent), children);
  end(child);
}

TEST(ManyChildren, AreDeletedWhateverAllocationFails) {
  for (const bool andAllFollowing : {false, true}) {
    for (int succeeding = 0; succeeding < 12; ++succeeding) {
      const Tree parent("1000");
      Nodes children;
      for (int32_t i = 0; i < 60; ++i) children.push_back(newChild(parent, i % 40));
      {
        const Fault fault(succeeding, andAllFollowing);
        deleteTwin(parent, children, children[35]);
      }
      for (const size_t index : {57U, 52U, 47U}) deleteTwin(parent, children, children[index]);
      for (ztRoot *child : children) end(child);
    }
  }
}
