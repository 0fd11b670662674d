#include "objects/ztroot.h"

#include "io/ztstring.h"
#include "io/zttxtfile.h"
#include "objects/ztlink.h"
#include "tests/helpers/host_process.hh"
#include "tests/objects/tree_nodes.hh"

#include <gtest/gtest.h>

#include <setjmp.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <set>

// A class of the host that says nothing of properties, and one that declares its own.
#define Quiet_FIELDS ztRoot_FIELDS
#define Quiet_METHODS ztRoot_METHODS
ZT_DECLARE_CLASS(Quiet)

static void quietMethods(QuietMethods *) {}

ZT_DEFINE_CLASS(Quiet, ztRoot, quietMethods)

#define Weighty_FIELDS \
  ztRoot_FIELDS        \
  int32_t weight;
#define Weighty_METHODS ztRoot_METHODS
ZT_DECLARE_CLASS(Weighty)

static int32_t weightyGetWeight(const void *object) {
  return static_cast<const Weighty *>(object)->weight;
}

static void weightySetWeight(void *object, int32_t weight) {
  static_cast<Weighty *>(object)->weight = weight;
}

static int32_t weightyInitProperties(ztClass *klass) {
  ztGetter getter;
  ztSetter setter;
  getter.getInt = weightyGetWeight;
  setter.setInt = weightySetWeight;
  const auto *methods = static_cast<const WeightyMethods *>(klass->methodTable);
  return methods->addProperty(klass, "weight", "ztInt", getter, setter, nullptr, nullptr);
}

// An identifier of its own making, which everything is to ask for.
static int32_t weightyGetUid(const void *object) {
  return static_cast<const Weighty *>(object)->uid + 1000;
}

static void weightyMethods(WeightyMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, initProperties, weightyInitProperties);
  ZT_OVERRIDE_METHOD(methods, getUid, weightyGetUid);
}

ZT_DEFINE_CLASS(Weighty, ztRoot, weightyMethods)

// A class with a name that fills the names of its nodes.
#define NodeOfAClassWhoseNameIsSoLongThatItDoesNotFitIntoTheNameOfANodeAsTheNumberBehindIt_FIELDS \
  ztRoot_FIELDS
#define NodeOfAClassWhoseNameIsSoLongThatItDoesNotFitIntoTheNameOfANodeAsTheNumberBehindIt_METHODS \
  ztRoot_METHODS
ZT_DECLARE_CLASS(NodeOfAClassWhoseNameIsSoLongThatItDoesNotFitIntoTheNameOfANodeAsTheNumberBehindIt)

static void longNameMethods(
    NodeOfAClassWhoseNameIsSoLongThatItDoesNotFitIntoTheNameOfANodeAsTheNumberBehindItMethods *) {}

ZT_DEFINE_CLASS(NodeOfAClassWhoseNameIsSoLongThatItDoesNotFitIntoTheNameOfANodeAsTheNumberBehindIt, ztRoot,
                longNameMethods)

// A new node --------------------------------------------------------------------------------------

TEST(NewNode, IsDetachedAndEmpty) {
  auto *node = static_cast<ztRoot *>(ztRoot_ctor(nullptr, 1));
  EXPECT_EQ(countOf(node), 1);
  EXPECT_EQ(ztRoot_of(node)->getParent(node), nullptr);
  EXPECT_EQ(node->parentUid, -1);
  EXPECT_EQ(node->reservedWord, nullptr);
  EXPECT_EQ(ztRoot_of(node)->getChildCount(node), 0);
  EXPECT_EQ(ztRoot_of(node)->getChildAt(node, 0), nullptr);
  EXPECT_TRUE(ztOOP_isClass(node->children, "ztRootPtrList"));
  EXPECT_TRUE(ztOOP_isClassOf(node, "ztObject"));
  release(node);
}

TEST(NewNode, IsMadeByTheNameOfItsClass) {
  void *node = ztNewFromName("ztRoot");
  ASSERT_NE(node, nullptr);
  EXPECT_TRUE(ztOOP_isClass(node, "ztRoot"));
  release(node);
}

TEST(NewNode, HasItsClassAndACounterOfAllNodesForAName) {
  void *first = ztRoot_ctor(nullptr, 1);
  void *second = Quiet_ctor(nullptr, 1);
  void *third = ztRoot_ctor(nullptr, 1);
  ASSERT_EQ(nameOf(first).substr(0, 7), "ztRoot_");
  const int number = atoi(nameOf(first).c_str() + 7);
  EXPECT_EQ(nameOf(second), std::string("Quiet_").append(std::to_string(number + 1)));
  EXPECT_EQ(nameOf(third), std::string("ztRoot_").append(std::to_string(number + 2)));
  for (void *node : {first, second, third}) release(node);
}

TEST(NewNode, HasANameThatIsCutToFit) {
  using Long = NodeOfAClassWhoseNameIsSoLongThatItDoesNotFitIntoTheNameOfANodeAsTheNumberBehindIt;
  void *node =
      NodeOfAClassWhoseNameIsSoLongThatItDoesNotFitIntoTheNameOfANodeAsTheNumberBehindIt_ctor(nullptr, 1);
  EXPECT_EQ(nameOf(node), std::string(static_cast<Long *>(node)->klass->name).substr(0, 79));
  release(node);
}

TEST(NewNode, IsCountedFromZero) {
  HostProcess host;
  EXPECT_EQ(host.run("node_names"), 0) << host.output();
}

// Name and identifier -----------------------------------------------------------------------------

TEST(NodeName, IsKeptUpTo79Characters) {
  ztRoot *node = newNode();
  for (const size_t length : {0u, 1u, 78u, 79u}) {
    const std::string name(length, 'n');
    EXPECT_EQ(ztRoot_of(node)->setName(node, name.c_str()), node->name);
    EXPECT_EQ(nameOf(node), name);
  }
  for (const size_t length : {80u, 81u, 200u}) {
    EXPECT_EQ(ztRoot_of(node)->setName(node, std::string(length, 'l').c_str()), node->name);
    EXPECT_EQ(nameOf(node), std::string(79, 'l'));
  }
  EXPECT_EQ(node->uid, 1);
  release(node);
}

TEST(NodeName, IsZeroBehindItsText) {
  ztRoot *node = newNode();
  ztRoot_of(node)->setName(node, std::string(79, 'x').c_str());
  ztRoot_of(node)->setName(node, "ab");
  char expected[80] = "ab";
  EXPECT_EQ(memcmp(node->name, expected, sizeof expected), 0);
  release(node);
}

TEST(NodeName, TakesNoTextAsTheEmptyOneAndAPartOfItself) {
  ztRoot *node = newNode();
  ztRoot_of(node)->setName(node, "abcdef");
  ztRoot_of(node)->setName(node, ztRoot_of(node)->getName(node) + 2);
  EXPECT_EQ(nameOf(node), "cdef");
  ztRoot_of(node)->setName(node, nullptr);
  EXPECT_EQ(nameOf(node), "");
  release(node);
}

TEST(NodeUid, IsStoredAndLoaded) {
  ztRoot *node = newNode();
  for (const int32_t uid : {0, -1, 1, INT32_MAX, INT32_MIN}) {
    ztRoot_of(node)->setUid(node, uid);
    EXPECT_EQ(ztRoot_of(node)->getUid(node), uid);
    EXPECT_EQ(node->uid, uid);
  }
  release(node);
}

TEST(NodeUid, IsGenerated) {
  std::set<int32_t> seen;
  ztRoot *node = newNode();
  for (int i = 0; i < 50; ++i) {
    const int32_t uid = ztRoot_of(node)->generateUid(node);
    EXPECT_EQ(ztRoot_of(node)->getUid(node), uid);
    seen.insert(uid);
  }
  // Two of them are equal only when the clock turned in between, and then hardly ever.
  EXPECT_GE(seen.size(), 49u);
  auto *other = static_cast<ztRoot *>(ztRoot_ctor(nullptr, 1));
  EXPECT_NE(other->uid, node->uid);
  release(node);
  release(other);
}

TEST(Node, LeavesUpdateToSubclasses) {
  ztRoot *node = newNode(5);
  const std::string name = nameOf(node);
  ztRoot_of(node)->update(node);
  EXPECT_EQ(shapeOf(node), "5");
  EXPECT_EQ(nameOf(node), name);
  release(node);
}

TEST(Node, TakesNullForItself) {
  const ztRootMethods *methods = ztRoot_table();
  EXPECT_EQ(methods->setName(nullptr, "name"), nullptr);
  EXPECT_EQ(methods->getName(nullptr), nullptr);
  EXPECT_EQ(methods->generateUid(nullptr), 0);
  methods->setUid(nullptr, 1);
  EXPECT_EQ(methods->getUid(nullptr), 0);
  EXPECT_EQ(methods->setParent(nullptr, nullptr), 0);
  EXPECT_EQ(methods->getParent(nullptr), nullptr);
  methods->update(nullptr);
  EXPECT_EQ(methods->findChildById(nullptr, 1), nullptr);
  methods->addChild(nullptr, nullptr);
  methods->deleteChild(nullptr, nullptr);
  EXPECT_EQ(methods->deleteAllChild(nullptr), 0);
  EXPECT_EQ(methods->getChildAt(nullptr, 0), nullptr);
  EXPECT_EQ(methods->getChildCount(nullptr), 0);
  EXPECT_EQ(methods->assign(nullptr, nullptr), 0);
  EXPECT_EQ(methods->read(nullptr, nullptr), 0);
  EXPECT_EQ(methods->write(nullptr, nullptr), 0);
  methods->destroy(nullptr);
}

TEST(Node, AddsAndDeletesNoNull) {
  ztRoot *node = newNode();
  addChild(node, nullptr);
  EXPECT_EQ(ztRoot_of(node)->getChildCount(node), 0);
  deleteChild(node, nullptr);
  EXPECT_EQ(ztRoot_of(node)->assign(node, nullptr), 0);
  EXPECT_EQ(ztRoot_of(node)->read(node, nullptr), 0);
  EXPECT_EQ(ztRoot_of(node)->write(node, nullptr), 0);
  release(node);
}

// Attaching and detaching -------------------------------------------------------------------------

TEST(Attaching, GivesTheParentAReferenceAndTheChildTheParentsUid) {
  Forest forest;
  ztRoot *parent = newNode(7);
  ztRoot *child = newNode(8);
  addChild(parent, child);
  EXPECT_EQ(countOf(child), 2);
  EXPECT_EQ(countOf(parent), 1);
  EXPECT_EQ(ztRoot_of(child)->getParent(child), parent);
  EXPECT_EQ(child->parentUid, 7);
  EXPECT_EQ(ztRoot_of(parent)->getChildCount(parent), 1);
  EXPECT_EQ(ztRoot_of(parent)->getChildAt(parent, 0), child);
  release(parent);
}

TEST(Attaching, AsksForTheUidThroughTheMethodTable) {
  auto *parent = static_cast<ztRoot *>(Weighty_ctor(nullptr, 1));
  ztRoot_of(parent)->setUid(parent, 5);
  ztRoot *child = newChild(parent, 1);
  EXPECT_EQ(child->parentUid, 1005);
  release(parent);
}

TEST(Attaching, CountsReferencesStepByStep) {
  Forest forest;
  ztRoot *a = newNode(1);
  ztRoot *b = newNode(2);
  ztRoot *child = newNode(3);
  EXPECT_EQ(countOf(child), 1);
  EXPECT_EQ(setParent(child, a), 1);
  EXPECT_EQ(countOf(child), 2);
  EXPECT_EQ(setParent(child, a), 1);
  EXPECT_EQ(countOf(child), 2);
  EXPECT_EQ(setParent(child, b), 1);
  EXPECT_EQ(countOf(child), 4);
  EXPECT_EQ(setParent(child, nullptr), 1);
  EXPECT_EQ(countOf(child), 5);
  EXPECT_EQ(setParent(child, nullptr), 1);
  EXPECT_EQ(countOf(child), 5);
  for (int i = 0; i < 4; ++i) release(child);
  release(a);
  release(b);
}

TEST(Attaching, DetachingCostsNoReference) {
  Forest forest;
  ztRoot *parent = newNode(1);
  ztRoot *child = newChild(parent, 2);
  deleteChild(parent, child);
  EXPECT_EQ(countOf(child), 2);
  addChild(parent, child);
  EXPECT_EQ(countOf(child), 3);
  setParent(child, nullptr);
  EXPECT_EQ(countOf(child), 4);
  for (int i = 0; i < 3; ++i) release(child);
  release(parent);
}

TEST(Attaching, DetachedChildrenHaveParentUidZero) {
  ztRoot *parent = newNode(1);
  ztRoot *child = newNode(2);
  setParent(child, nullptr);
  EXPECT_EQ(child->parentUid, -1);
  addChild(parent, child);
  deleteChild(parent, child);
  EXPECT_EQ(child->parentUid, 0);
  EXPECT_EQ(ztRoot_of(child)->getParent(child), nullptr);
  addChild(parent, child);
  EXPECT_EQ(child->parentUid, 1);
  setParent(child, nullptr);
  EXPECT_EQ(child->parentUid, 0);
  EXPECT_EQ(ztRoot_of(parent)->getChildCount(parent), 0);
  release(child);
  release(child);
  release(child);
  release(parent);
}

TEST(Attaching, AppendsInOrder) {
  Forest forest;
  ztRoot *parent = newNode(0);
  for (int32_t uid = 1; uid <= 5; ++uid) newChild(parent, uid);
  EXPECT_EQ(shapeOf(parent), "0(1 2 3 4 5)");
  EXPECT_EQ(ztRoot_of(parent)->getChildAt(parent, -1), nullptr);
  EXPECT_EQ(ztRoot_of(parent)->getChildAt(parent, 5), nullptr);
  EXPECT_EQ(ztRoot_of(parent)->getChildAt(parent, INT32_MAX), nullptr);
  EXPECT_EQ(ztRoot_of(parent)->getChildAt(parent, INT32_MIN), nullptr);
  ztRoot *third = childrenOf(parent)[2];
  setParent(third, childrenOf(parent)[0]);
  EXPECT_EQ(shapeOf(parent), "0(1(3) 2 4 5)");
  setParent(third, parent);
  EXPECT_EQ(shapeOf(parent), "0(1 2 4 5 3)");
  // The two moves left two references beyond the list's.
  for (int i = countOf(third); i > 2; --i) release(third);
  release(parent);
}

TEST(Attaching, RefusesACycle) {
  Forest forest;
  ztRoot *top = newNode(1);
  ztRoot *middle = newChild(top, 2);
  ztRoot *low = newChild(middle, 3);
  EXPECT_EQ(setParent(top, top), 0);
  EXPECT_EQ(setParent(top, middle), 0);
  EXPECT_EQ(setParent(top, low), 0);
  EXPECT_EQ(setParent(middle, low), 0);
  addChild(low, top);
  addChild(low, middle);
  addChild(low, low);
  EXPECT_EQ(shapeOf(top), "1(2(3))");
  EXPECT_EQ(countOf(top), 1);
  EXPECT_EQ(countOf(middle), 2);
  EXPECT_EQ(top->parentUid, -1);
  ztRoot *leaf = newNode(4);
  EXPECT_EQ(setParent(leaf, leaf), 0);
  release(leaf);
  release(top);
}

TEST(Attaching, DeleteChildTakesTheFirstWithTheUidOfWhatIsGiven) {
  Forest forest;
  ztRoot *parent = newNode(1);
  ztRoot *first = newChild(parent, 5);
  ztRoot *second = newChild(parent, 5);
  ztRoot *stranger = newNode(5);
  deleteChild(parent, stranger);
  EXPECT_EQ(first->parentUid, 0);
  EXPECT_EQ(childrenOf(parent), std::vector<ztRoot *>{second});
  deleteChild(parent, second);
  EXPECT_EQ(ztRoot_of(parent)->getChildCount(parent), 0);
  deleteChild(parent, second);
  for (ztRoot *node : {first, second, stranger, parent}) release(node);
}

TEST(Attaching, MovesTheSecondOfEqualUidsOffBoth) {
  Forest forest;
  ztRoot *from = newNode(1);
  ztRoot *to = newNode(2);
  ztRoot *first = newChild(from, 5);
  ztRoot *second = newChild(from, 5);
  EXPECT_EQ(setParent(second, to), 1);
  EXPECT_EQ(shapeOf(from), "1");
  EXPECT_EQ(childrenOf(to), std::vector<ztRoot *>{second});
  EXPECT_EQ(ztRoot_of(first)->getParent(first), nullptr);
  release(first);
  release(from);
  for (int i = countOf(second); i > 1; --i) release(second);
  EXPECT_EQ(shapeOf(to), "2");
  release(to);
}

TEST(Attaching, DeletesAllChildrenFromTheFirstOn) {
  Forest forest;
  ztRoot *parent = newNode(0);
  std::vector<ztRoot *> children;
  for (int32_t uid = 1; uid <= 4; ++uid) children.push_back(newChild(parent, uid));
  std::vector<int32_t> deleted;
  forest.on(parent, "childDeleted", [&](const ztRoot *child) { deleted.push_back(child->uid); });
  EXPECT_EQ(ztRoot_of(parent)->deleteAllChild(parent), 0);
  EXPECT_EQ(deleted, (std::vector<int32_t>{1, 2, 3, 4}));
  EXPECT_EQ(ztRoot_of(parent)->getChildCount(parent), 0);
  EXPECT_EQ(ztRoot_of(parent)->deleteAllChild(parent), 0);
  for (ztRoot *child : children) {
    EXPECT_EQ(countOf(child), 2);
    release(child);
  }
  release(parent);
}

// The list of the children is the host's to reach into.

TEST(Attaching, AChildThatTheHostTookOffTheListLeavesItsParentAllTheSame) {
  Forest forest;
  ztRoot *parent = newNode(1);
  ztRoot *child = newChild(parent, 2);
  ztRoot *other = newChild(parent, 3);
  ztRootPtrList_of(parent->children)->popFront(parent->children);
  EXPECT_EQ(setParent(child, nullptr), 1);
  EXPECT_EQ(ztRoot_of(child)->getParent(child), nullptr);
  EXPECT_EQ(child->parentUid, 0);
  EXPECT_EQ(childrenOf(parent), std::vector<ztRoot *>{other});
  for (int i = countOf(child); i > 1; --i) release(child);
  release(parent);
}

TEST(Attaching, APlaceWithoutAChildIsPassedBy) {
  Forest forest;
  ztRoot *parent = newNode(1);
  ztRootPtrList_of(parent->children)->pushBack(parent->children, nullptr);
  ztRoot *child = newChild(parent, 0);
  deleteChild(parent, child);
  EXPECT_EQ(childrenOf(parent), std::vector<ztRoot *>{nullptr});
  release(child);
  release(parent);
}

TEST(Attaching, FindChildByIdFindsNothing) {
  Forest forest;
  ztRoot *top = newNode(1);
  ztRoot *child = newChild(top, 2);
  newChild(child, 3);
  for (const ztRoot *node : {top, child}) {
    for (const int32_t uid : {1, 2, 3, 0, -1}) {
      EXPECT_EQ(ztRoot_of(node)->findChildById(node, uid), nullptr);
    }
  }
  release(top);
}

// A node whose identifier is not told: who asks for it is left with a longjmp.
#define Secretive_FIELDS ztRoot_FIELDS
#define Secretive_METHODS ztRoot_METHODS
ZT_DECLARE_CLASS(Secretive)

static jmp_buf beforeTheQuestion;

static int32_t secretiveGetUid(const void *) {
  longjmp(beforeTheQuestion, 1);
}

static void secretiveMethods(SecretiveMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, getUid, secretiveGetUid);
}

ZT_DEFINE_CLASS(Secretive, ztRoot, secretiveMethods)

TEST(Attaching, ThatIsLeftByALongjmpOfTheParentsChangesNothing) {
  ztRoot *parent = newNode(1, Secretive_ctor);
  ztRoot *child = newNode(2, ztRoot_ctor);
  if (setjmp(beforeTheQuestion) == 0) {
    setParent(child, parent);
    ADD_FAILURE() << "the parent was not asked";
  }
  EXPECT_EQ(ztRoot_of(child)->getParent(child), nullptr);
  EXPECT_EQ(child->parentUid, -1);
  EXPECT_EQ(countOf(child), 1);
  EXPECT_EQ(ztRoot_of(parent)->getChildCount(parent), 0);
  release(parent);
  release(child);
}

// A node that knows a child of any identifier, and one that ends what it is attached to.
#define Knowing_FIELDS LiveNode_FIELDS
#define Knowing_METHODS LiveNode_METHODS
ZT_DECLARE_CLASS(Knowing)
#define Ruinous_FIELDS LiveNode_FIELDS
#define Ruinous_METHODS LiveNode_METHODS
ZT_DECLARE_CLASS(Ruinous)

static void *knowingFindChildById(const void *object, int32_t) {
  return const_cast<void *>(object);
}

static void knowingMethods(KnowingMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, findChildById, knowingFindChildById);
}

static int32_t ruinousSetParent(void *object, void *parent) {
  const int32_t result = ztRoot_table()->setParent(object, parent);
  if (parent != nullptr) release(parent);
  return result;
}

static void ruinousMethods(RuinousMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, setParent, ruinousSetParent);
}

ZT_DEFINE_CLASS(Knowing, LiveNode, knowingMethods)
ZT_DEFINE_CLASS(Ruinous, LiveNode, ruinousMethods)

TEST(Attaching, AChildWhoseUidIsFoundIsNotAdded) {
  Forest forest;
  ztRoot *parent = newNode(1, Knowing_ctor);
  ztRoot *child = newNode(2);
  forest.on(parent, "childAdded", [](const ztRoot *) { ADD_FAILURE() << "nothing was added"; });
  addChild(parent, child);
  EXPECT_EQ(ztRoot_of(parent)->getChildCount(parent), 0);
  EXPECT_EQ(ztRoot_of(child)->getParent(child), nullptr);
  release(parent);
  release(child);
}

TEST(Attaching, AParentThatEndsMeanwhileAnnouncesNothing) {
  Forest forest;
  ztRoot *parent = newNode(1);
  ztRoot *child = newNode(2, Ruinous_ctor);
  ztRoot_of(child)->ref(child);
  forest.on(parent, "childAdded", [](const ztRoot *) { ADD_FAILURE() << "there is nobody to tell of it"; });
  addChild(parent, child);
  EXPECT_EQ(nodesLive, 1);
  EXPECT_EQ(ztRoot_of(child)->getParent(child), nullptr);
  release(child);
}

TEST(Attaching, WritesNullIntoTheReservedWordsOfTheClass) {
  static char mark;
  auto *table = static_cast<LiveNodeMethods *>(LiveNodeClass_Instance()->methodTable);
  ztRoot *parent = newNode(1);
  ztRoot *child = newNode(2);
  table->reserved1 = &mark;
  table->reserved2 = &mark;
  addChild(parent, child);
  EXPECT_EQ(table->reserved1, nullptr);
  EXPECT_EQ(table->reserved2, &mark);
  table->reserved1 = &mark;
  deleteChild(parent, child);
  EXPECT_EQ(table->reserved1, &mark);
  EXPECT_EQ(table->reserved2, nullptr);
  table->reserved1 = nullptr;
  release(child);
  release(parent);
}

// The record --------------------------------------------------------------------------------------

static std::string bytesOf(int32_t value) {
  return {reinterpret_cast<const char *>(&value), sizeof value};
}

static std::string nameField(const std::string &name) {
  return name + std::string(80 - name.size(), '\0');
}

TEST(NodeRecord, IsUidNameAndParentUid) {
  ztRoot *parent = newNode(77);
  ztRoot *node = newChild(parent, -3);
  ztRoot_of(node)->setName(node, "a longer one");
  ztRoot_of(node)->setName(node, "node");
  newChild(node, 5);
  NodeFile file;
  EXPECT_EQ(ztRoot_table()->write(node, file.get()), 1);
  EXPECT_EQ(file.bytes(), bytesOf(-3) + nameField("node") + bytesOf(77));
  file.rewind();
  auto *read = static_cast<ztRoot *>(ztRoot_ctor(nullptr, 1));
  EXPECT_EQ(ztRoot_of(read)->read(read, file.get()), 1);
  EXPECT_EQ(read->uid, -3);
  EXPECT_EQ(nameOf(read), "node");
  EXPECT_EQ(read->parentUid, 77);
  EXPECT_EQ(read->parent, nullptr);
  EXPECT_EQ(ztRoot_of(read)->getChildCount(read), 0);
  release(read);
  release(parent);
}

TEST(NodeRecord, IsTheSameInText) {
  ztRoot *node = newNode(12);
  ztRoot_of(node)->setName(node, "node");
  NodeFile file(ztTextFile_ctor);
  EXPECT_EQ(ztRoot_table()->write(node, file.get()), 1);
  EXPECT_EQ(file.bytes(), "12\n" + nameField("node") + "\n-1\n");
  file.rewind();
  auto *read = static_cast<ztRoot *>(ztRoot_ctor(nullptr, 1));
  EXPECT_EQ(ztRoot_of(read)->read(read, file.get()), 1);
  EXPECT_EQ(read->uid, 12);
  EXPECT_EQ(nameOf(read), "node");
  EXPECT_EQ(read->parentUid, -1);
  release(read);
  release(node);
}

TEST(NodeRecord, StopsAtTheFirstFailure) {
  const std::string record = bytesOf(21) + nameField("short") + bytesOf(22);
  for (size_t length = 0; length <= record.size(); ++length) {
    NodeFile file(ztFile_ctor, record.substr(0, length));
    ztRoot *node = newNode(1);
    ztRoot_of(node)->setName(node, "before");
    EXPECT_EQ(ztRoot_table()->read(node, file.get()), length == record.size());
    if (length == 0 || length >= 4) {
      EXPECT_EQ(node->uid, length == 0 ? 1 : 21);
    }
    if (length <= 84 || length == record.size()) {
      EXPECT_EQ(node->parentUid, length <= 84 ? -1 : 22);
    }
    if (length >= 84) {
      EXPECT_EQ(nameOf(node), "short");
    }
    EXPECT_LT(nameOf(node).size(), 80u);
    release(node);
  }
}

TEST(NodeRecord, ANameWithoutEndIsCut) {
  NodeFile file(ztFile_ctor, bytesOf(1) + std::string(80, 'n') + bytesOf(2));
  auto *node = static_cast<ztRoot *>(ztRoot_ctor(nullptr, 1));
  EXPECT_EQ(ztRoot_of(node)->read(node, file.get()), 1);
  EXPECT_EQ(nameOf(node), std::string(79, 'n'));
  EXPECT_EQ(node->parentUid, 2);
  release(node);
}

// A file that reports an error by a negative number.
#define Negative_FIELDS ztFile_FIELDS
#define Negative_METHODS ztFile_METHODS
ZT_DECLARE_CLASS(Negative)

static int32_t negativeReadInt(void *, int32_t *) {
  return -1;
}

static void negativeMethods(NegativeMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, readInt, negativeReadInt);
}

ZT_DEFINE_CLASS(Negative, ztFile, negativeMethods)

TEST(NodeRecord, IsNotReadFromAFileThatGivesANegativeResult) {
  const NodeFile file(Negative_ctor, std::string(200, 'x'));
  ztRoot *node = newNode(1);
  EXPECT_EQ(ztRoot_table()->read(node, file.get()), 0);
  release(node);
  void *link = ztLink_ctor(nullptr, 1);
  EXPECT_EQ(ztLink_of(link)->read(link, file.get()), 0);
  release(link);
}

TEST(NodeRecord, IsNotWrittenWithoutAFile) {
  ztRoot *node = newNode(1);
  void *closed = ztFile_ctor(nullptr, 1);
  EXPECT_EQ(ztRoot_of(node)->write(node, closed), 0);
  EXPECT_EQ(ztRoot_of(node)->read(node, closed), 0);
  release(closed);
  // Room for the identifier and a part of the name.
  char few[20];
  auto *full = static_cast<ztFile *>(ztFile_ctor(nullptr, 1));
  full->stream = fmemopen(few, sizeof few, "w");
  setbuf(full->stream, nullptr);
  EXPECT_EQ(ztRoot_table()->write(node, full), 0);
  release(full);
  release(node);
}

// Properties --------------------------------------------------------------------------------------

static std::vector<std::string> propertyNames(const ztRoot *node) {
  auto *array = ztPropertyPtrArray_ctor(nullptr, 1);
  EXPECT_EQ(ztRoot_of(node)->getProperties(node, array), 1);
  std::vector<std::string> names;
  for (int32_t i = 0; i < ztPropertyPtrArray_of(array)->getSize(array); ++i) {
    const auto *property = static_cast<const ztProperty *>(ztPropertyPtrArray_of(array)->getAt(array, i));
    names.push_back(ztString_of(property->name)->get(property->name));
  }
  release(array);
  return names;
}

TEST(NodeProperties, AreIdentifierAndName) {
  auto *node = static_cast<ztRoot *>(ztRoot_ctor(nullptr, 1));
  EXPECT_EQ(propertyNames(node), (std::vector<std::string>{"refCount", "uniqueID", "name"}));
  int32_t uid = 0;
  EXPECT_EQ(ztRoot_of(node)->getProperty(node, "uniqueID", "ztInt", &uid), 1);
  EXPECT_EQ(uid, ztRoot_of(node)->getUid(node));
  EXPECT_EQ(ztRoot_of(node)->setProperty(node, "uniqueID", "ztInt", 4711), 1);
  EXPECT_EQ(node->uid, 4711);
  const char *name = nullptr;
  EXPECT_EQ(ztRoot_of(node)->getProperty(node, "name", "ztCharPtr", &name), 1);
  EXPECT_EQ(name, node->name);
  const std::string given(200, 'g');
  EXPECT_EQ(ztRoot_of(node)->setProperty(node, "name", "ztCharPtr", reinterpret_cast<ztWord>(given.c_str())),
            1);
  EXPECT_EQ(nameOf(node), std::string(79, 'g'));
  release(node);
}

TEST(NodeProperties, AreInheritedByAClassThatDeclaresNone) {
  auto *node = static_cast<ztRoot *>(Quiet_ctor(nullptr, 1));
  EXPECT_EQ(propertyNames(node), (std::vector<std::string>{"refCount", "uniqueID", "name"}));
  EXPECT_EQ(ztRoot_of(node)->setProperty(node, "uniqueID", "ztInt", 12), 1);
  EXPECT_EQ(node->uid, 12);
  release(node);
}

TEST(NodeProperties, ComeBeforeThoseOfASubclass) {
  auto *node = static_cast<Weighty *>(Weighty_ctor(nullptr, 1));
  EXPECT_EQ(propertyNames(reinterpret_cast<ztRoot *>(node)),
            (std::vector<std::string>{"refCount", "uniqueID", "name", "weight"}));
  EXPECT_EQ(Weighty_of(node)->setProperty(node, "weight", "ztInt", 3), 1);
  EXPECT_EQ(node->weight, 3);
  release(node);
}

// The list of children ----------------------------------------------------------------------------

TEST(RootPtrList, KeepsPointersAndFindsThem) {
  auto *list = static_cast<ztRootPtrList *>(ztRootPtrList_ctor(nullptr, 1));
  EXPECT_EQ(list->elementSize, 8);
  EXPECT_NE(list->byPointer, 0u);
  ztRoot *first = newNode(1);
  ztRoot *second = newNode(2);
  ztRootPtrList_of(list)->pushBack(list, first);
  ztRootPtrList_of(list)->pushBack(list, second);
  EXPECT_EQ(ztRootPtrList_of(list)->getAt(list, 1), second);
  EXPECT_EQ(ztRootPtrList_of(list)->find(list, second), ztRootPtrList_of(list)->getItemAt(list, 1));
  release(list);
  EXPECT_EQ(countOf(first), 1);
  release(first);
  release(second);
}

TEST(RootPtrList, ComparesPointers) {
  const ztRoot *nodes[2] = {};
  nodes[1] = nodes[0] + 1;
  EXPECT_EQ(ztRootPtrList_compare_func(&nodes[0], &nodes[0]), 0);
  EXPECT_EQ(ztRootPtrList_compare_func(&nodes[1], &nodes[0]), 1);
  EXPECT_EQ(ztRootPtrList_compare_func(&nodes[0], &nodes[1]), -1);
  EXPECT_EQ(ztRootPtrList_compare_func_ptr(nodes[0], nodes[0]), 0);
  EXPECT_EQ(ztRootPtrList_compare_func_ptr(nodes[1], nodes[0]), 1);
  EXPECT_EQ(ztRootPtrList_compare_func_ptr(nodes[0], nodes[1]), -1);
}
