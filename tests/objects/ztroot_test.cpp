#include "objects/ztroot.h"

#include "containers/ztarrays.h"
#include "containers/ztlistitem.h"
#include "core/ztmem.h"
#include "io/ztstring.h"
#include "io/zttxtfile.h"
#include "tests/objects/tree_nodes.hh"
#include "tests/support/scale.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <map>
#include <random>
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

static std::string nameOf(const void *node) {
  return ztRoot_of(node)->getName(node);
}

static void addChild(void *node, void *child) {
  ztRoot_of(node)->addChild(node, child);
}

static void deleteChild(void *node, void *child) {
  ztRoot_of(node)->deleteChild(node, child);
}

static int32_t setParent(void *node, void *parent) {
  return ztRoot_of(node)->setParent(node, parent);
}

static ztRoot *copyOf(const ztRoot *node) {
  auto *target =
      static_cast<ztRoot *>(static_cast<const ztClassFunctions *>(node->klass->classTable)->newop());
  if (ztRoot_of(node)->clone(node, target) == nullptr) {
    ztm_free(target);
    return nullptr;
  }
  target->refCount = 1;
  return target;
}

// A new node -----------------------------------------------------------------------------------------

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

// Run in a process of its own by the test below, where no node was made before.
TEST(NodeNames, DISABLED_InAFreshProcess) {
  void *first = Quiet_ctor(nullptr, 1);
  void *second = ztRoot_ctor(nullptr, 1);
  EXPECT_EQ(nameOf(first), "Quiet_0");
  EXPECT_EQ(nameOf(second), "ztRoot_1");
  release(first);
  release(second);
}

TEST(NodeNames, BeginAtZero) {
  char program[4096] = "";
  ASSERT_GT(readlink("/proc/self/exe", program, sizeof program - 1), 0);
  std::string command = "'";
  command += program;
  command += "' --gtest_filter=NodeNames.DISABLED_InAFreshProcess --gtest_also_run_disabled_tests";
  FILE *output = popen(command.c_str(), "r");
  ASSERT_NE(output, nullptr);
  std::string printed;
  for (int character = getc(output); character != EOF; character = getc(output)) {
    printed += static_cast<char>(character);
  }
  EXPECT_EQ(pclose(output), 0) << printed;
  EXPECT_NE(printed.find("[  PASSED  ] 1 test."), std::string::npos) << printed;
}

// Name and identifier --------------------------------------------------------------------------------

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

// Attaching and detaching --------------------------------------------------------------------------------

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

// Announcements --------------------------------------------------------------------------------------

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

// The end of nodes ------------------------------------------------------------------------------------

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

TEST(Ending, SlotsMayChangeATreeOfManyLevelsWhileItEnds) {
  Forest forest;
  constexpr int levels = 3000;
  ztRoot *top = newNode(0);
  std::vector<ztRoot *> chain = {top};
  while (chain.size() < levels) chain.push_back(newChild(chain.back(), static_cast<int32_t>(chain.size())));
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

// Copies --------------------------------------------------------------------------------------------

TEST(CopyOfANode, IsDetachedWithChildrenOfItsOwn) {
  Forest forest;
  ztRoot *above = newNode(9);
  ztRoot *node = newChild(above, 1);
  ztRoot_of(node)->setName(node, "named");
  newChild(newChild(node, 2), 3);
  newChild(node, 4);
  ztRoot *copy = copyOf(node);
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
  ztRoot *copy = copyOf(node);
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
  ztRoot *copy = copyOf(node);
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
  ztRoot *copy = copyOf(node);
  release(childrenOf(copy)[0]);
  EXPECT_EQ(shapeOf(copy), "1(3)");
  release(copy);
  release(node);
}

TEST(CopyOfANode, ChildrenAreGivenTheirParentInTheirPlaces) {
  Forest forest;
  ztRoot *node = newNode(1);
  for (int32_t uid = 2; uid < 6; ++uid) newChild(node, uid);
  ztRoot *copy = copyOf(node);
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
    ztRoot *copy = copyOf(node);
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
  ztRoot *copy = copyOf(node);
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
  ztRoot *copy = copyOf(node);
  ztRoot *low = childrenOf(childrenOf(copy)[0])[0];
  EXPECT_EQ(setParent(copy, low), 0);
  addChild(low, copy);
  EXPECT_EQ(shapeOf(copy), "1(2(3))");
  ztRoot *again = copyOf(copy);
  EXPECT_EQ(shapeOf(again), "1(2(3))");
  release(again);
  release(copy);
  release(node);
}

// The levels of a chain are those of the copy that is tried.
static ztRoot *newChain(int levels) {
  ztRoot *top = newNode(0);
  ztRoot *at = top;
  for (int level = 1; level < levels; ++level) at = newChild(at, level);
  return top;
}

TEST(CopyOfANode, HasAtMostSoManyLevels) {
  Forest forest;
  ztRoot *chain = newChain(ZT_ROOT_MAX_LEVELS);
  ztRoot *copy = copyOf(chain);
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(ztRoot_of(copy)->assign(copy, chain), 1);
  ztRoot *longer = newNode(-1);
  addChild(longer, chain);
  EXPECT_EQ(copyOf(longer), nullptr);
  EXPECT_EQ(ztRoot_of(longer)->assign(longer, longer), 1);
  release(copy);
  release(longer);
  // A refusal leaves nothing behind.
  ztRoot *small = newNode(1);
  ztRoot *smallCopy = copyOf(small);
  EXPECT_NE(smallCopy, nullptr);
  release(smallCopy);
  release(small);
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

// The record ----------------------------------------------------------------------------------------

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

// Properties ----------------------------------------------------------------------------------------

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

// The list of children ------------------------------------------------------------------------------------

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

// Random trees ----------------------------------------------------------------------------------------

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
    ztRoot *made = copyOf(node);
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
    for (int i = 0; i < scale(20000); ++i) {
      trees.step();
      if (i % 16 == 0) trees.check();
      if (HasFatalFailure()) return;
    }
    trees.end();
    EXPECT_TRUE(trees.empty());
  }
}
