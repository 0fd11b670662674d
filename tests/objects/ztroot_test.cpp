#include "objects/ztroot.h"

#include "io/ztstring.h"
#include "io/zttxtfile.h"
#include "objects/ztlink.h"
#include "tests/helpers/host_process.hh"
#include "tests/objects/tree_nodes.hh"

#include <setjmp.h>

#include <cstring>
#include <set>

// A class of the host's that declares a property.
#define Weighty_FIELDS \
  ztRoot_FIELDS        \
  int32_t weight;
#define Weighty_METHODS ztRoot_METHODS
ZT_DECLARE_CLASS(Weighty)

static int32_t weightyGetWeight(const void *object) {
  return static_cast<const Weighty *>(object)->weight;
}

static int32_t weightyInitProperties(ztClass *klass) {
  const auto setWeight = [](void *object, int32_t weight) {
    static_cast<Weighty *>(object)->weight = weight;
  };
  const auto *methods = static_cast<const WeightyMethods *>(klass->methodTable);
  return methods->addProperty(klass, "weight", "ztInt", getterOf(weightyGetWeight), setterOf(setWeight),
                              nullptr, nullptr);
}

static void weightyMethods(WeightyMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, initProperties, weightyInitProperties);
}

ZT_DEFINE_CLASS(Weighty, ztRoot, weightyMethods)

using ztRootTest = ForestTest;

// A new node --------------------------------------------------------------------------------------

TEST_F(ztRootTest, IsDetachedAndEmptyWhenItIsNew) {
  for (void *made : {ztRoot_ctor(nullptr, 1), ztNewFromName("ztRoot")}) {
    const Tree node(made);
    EXPECT_TRUE(ztOOP_isClass(node, "ztRoot"));
    EXPECT_TRUE(ztOOP_isClassOf(node, "ztObject"));
    EXPECT_EQ(countOf(node), 1);
    EXPECT_EQ(parentOf(node), nullptr);
    EXPECT_EQ(node.fields().parentUid, -1);
    EXPECT_EQ(node.fields().reservedWord, nullptr);
    EXPECT_TRUE(ztOOP_isClass(node.fields().children, "ztRootPtrList"));
    EXPECT_EQ(childrenOf(node), Nodes());
    EXPECT_EQ(firstChildOf(node), nullptr);
  }
}

TEST_F(ztRootTest, HasItsClassAndACounterOfAllNodesForANameThatIsCutToFit) {
  const Tree first(ztRoot_ctor(nullptr, 1));
  const Tree second(LiveNode_ctor(nullptr, 1));
  const Tree third(ztRoot_ctor(nullptr, 1));
  ASSERT_EQ(nameOf(first).substr(0, 7), "ztRoot_");
  const int number = atoi(nameOf(first).c_str() + 7);
  EXPECT_EQ(nameOf(second), std::string("LiveNode_").append(std::to_string(number + 1)));
  EXPECT_EQ(nameOf(third), std::string("ztRoot_").append(std::to_string(number + 2)));
  const Tree node(longNamedCtor(nullptr, 1));
  EXPECT_EQ(nameOf(node), std::string(ztOOP_classNameOf(node)).substr(0, 79));
  HostProcess host;
  EXPECT_EQ(host.run("node_names"), 0) << "counted from zero" << host.output();
}

// Name and identifier -----------------------------------------------------------------------------

TEST_F(ztRootTest, KeepsNamesOf79CharactersWithZerosBehind) {
  const Tree node("1");
  const ztRoot *fields = node;
  for (const size_t length : {0U, 1U, 78U, 79U, 80U, 81U, 200U, 2U}) {
    EXPECT_EQ(node->setName(node, std::string(length, 'n').c_str()), fields->name);
    char expected[80] = "";
    memset(expected, 'n', std::min<size_t>(length, 79));
    EXPECT_EQ(memcmp(fields->name, expected, sizeof expected), 0) << length;
    EXPECT_EQ(node->getName(node), fields->name);
  }
  EXPECT_EQ(fields->uid, 1);
}

TEST_F(ztRootTest, TakesNoNameAsTheEmptyOneAndAPartOfItsOwn) {
  const Tree node("1");
  node->setName(node, "abcdef");
  node->setName(node, node->getName(node) + 2);
  EXPECT_EQ(nameOf(node), "cdef");
  node->setName(node, nullptr);
  EXPECT_EQ(nameOf(node), "");
}

TEST_F(ztRootTest, KeepsAnyUidAndGeneratesThem) {
  const Tree node("1");
  for (const int32_t uid : {0, -1, 1, INT32_MAX, INT32_MIN}) {
    node->setUid(node, uid);
    EXPECT_EQ(node->getUid(node), uid);
    EXPECT_EQ(node.fields().uid, uid);
  }
  const Tree other(ztRoot_ctor(nullptr, 1));
  std::set<int32_t> seen = {other->getUid(other)};
  for (int i = 0; i < 50; ++i) {
    seen.insert(node->generateUid(node));
    EXPECT_EQ(seen.count(node->getUid(node)), 1U);
  }
  // Two of them are equal only when the clock turned in between, and then hardly ever.
  EXPECT_GE(seen.size(), 50U) << "a new node has one, too";
}

TEST_F(ztRootTest, LeavesUpdateToSubclasses) {
  const Tree node("5");
  const std::string name = nameOf(node);
  node->update(node);
  EXPECT_EQ(shapeOf(node), "5");
  EXPECT_EQ(nameOf(node), name);
}

TEST_F(ztRootTest, TakesNullForItself) {
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

TEST_F(ztRootTest, TakesNoNullForAnother) {
  const Tree node("1");
  addChild(node, nullptr);
  EXPECT_EQ(node->getChildCount(node), 0);
  deleteChild(node, nullptr);
  EXPECT_EQ(node->assign(node, nullptr), 0);
  EXPECT_EQ(node->read(node, nullptr), 0);
  EXPECT_EQ(node->write(node, nullptr), 0);
}

// Attaching and detaching -------------------------------------------------------------------------

TEST_F(ztRootTest, GivesTheParentAReferenceAndTheChildTheParentsUid) {
  const Tree parent("7");
  ztRoot *child = newChild(parent, 8);
  EXPECT_EQ(countOf(child), 2);
  EXPECT_EQ(countOf(parent), 1);
  EXPECT_EQ(parentOf(child), parent);
  EXPECT_EQ(child->parentUid, 7);
  EXPECT_EQ(childrenOf(parent), Nodes{child});
}

TEST_F(ztRootTest, AsksForTheParentsUidThroughTheMethodTable) {
  const Tree parent("5", OddNode_ctor);
  const Replaced getUid(oddNode().getUid, [](const void *) { return 1005; });
  EXPECT_EQ(newChild(parent, 1)->parentUid, 1005);
}

TEST_F(ztRootTest, CountsReferencesStepByStep) {
  const Tree a("1");
  const Tree b("2");
  const Tree child("3");
  const std::pair<ztRoot *, int32_t> steps[] = {{a, 2}, {a, 2}, {b, 4}, {nullptr, 5}, {nullptr, 5}};
  for (const auto &[parent, references] : steps) {
    EXPECT_EQ(setParent(child, parent), 1);
    EXPECT_EQ(countOf(child), references);
  }
  releaseDownTo(2, child);
}

TEST_F(ztRootTest, GivesADetachedChildTheParentUidZero) {
  const Tree parent("1");
  const Tree child("2");
  setParent(child, nullptr);
  const ztRoot *fields = child;
  EXPECT_EQ(fields->parentUid, -1) << "it never had one";
  addChild(parent, child);
  deleteChild(parent, child);
  EXPECT_EQ(countOf(child), 2) << "which costs no reference";
  EXPECT_EQ(fields->parentUid, 0);
  EXPECT_EQ(parentOf(child), nullptr);
  addChild(parent, child);
  EXPECT_EQ(countOf(child), 3);
  EXPECT_EQ(fields->parentUid, 1);
  setParent(child, nullptr);
  EXPECT_EQ(countOf(child), 4);
  EXPECT_EQ(fields->parentUid, 0);
  EXPECT_EQ(parent->getChildCount(parent), 0);
  releaseDownTo(2, child);
}

TEST_F(ztRootTest, AppendsChildrenInOrder) {
  const Tree parent("0");
  for (int32_t uid = 1; uid <= 5; ++uid) newChild(parent, uid);
  EXPECT_EQ(shapeOf(parent), "0(1 2 3 4 5)");
  for (const int32_t outside : {-1, 5, INT32_MAX, INT32_MIN}) {
    EXPECT_EQ(parent->getChildAt(parent, outside), nullptr) << outside;
  }
  ztRoot *third = parent[3];
  setParent(third, parent[1]);
  EXPECT_EQ(shapeOf(parent), "0(1(3) 2 4 5)");
  setParent(third, parent);
  EXPECT_EQ(shapeOf(parent), "0(1 2 4 5 3)");
  releaseDownTo(2, third);
}

TEST_F(ztRootTest, RefusesACycle) {
  const Tree top("1(2(3))");
  ztRoot *middle = top[2];
  ztRoot *low = top[3];
  for (ztRoot *below : {static_cast<ztRoot *>(top), middle, low}) EXPECT_EQ(setParent(top, below), 0);
  EXPECT_EQ(setParent(middle, low), 0);
  for (ztRoot *above : {static_cast<ztRoot *>(top), middle, low}) addChild(low, above);
  EXPECT_EQ(shapeOf(top), "1(2(3))");
  EXPECT_EQ(countOf(top), 1);
  EXPECT_EQ(countOf(middle), 2);
  EXPECT_EQ(top.fields().parentUid, -1);
  const Tree leaf("4");
  EXPECT_EQ(setParent(leaf, leaf), 0);
}

TEST_F(ztRootTest, DeletesTheFirstChildWithTheUidOfWhatIsGiven) {
  const Tree parent("1");
  const Tree first("5");
  const Tree second("5");
  const Tree stranger("5");
  addChild(parent, first);
  addChild(parent, second);
  deleteChild(parent, stranger);
  EXPECT_EQ(first.fields().parentUid, 0);
  EXPECT_EQ(childrenOf(parent), Nodes{second});
  deleteChild(parent, second);
  EXPECT_EQ(parent->getChildCount(parent), 0);
  deleteChild(parent, second);
}

TEST_F(ztRootTest, MovesTheSecondOfEqualUidsOffBoth) {
  const Tree from("1");
  const Tree to("2");
  const Tree first("5");
  addChild(from, first);
  ztRoot *second = newChild(from, 5);
  EXPECT_EQ(setParent(second, to), 1);
  EXPECT_EQ(shapeOf(from), "1");
  EXPECT_EQ(childrenOf(to), Nodes{second});
  EXPECT_EQ(parentOf(first), nullptr);
  releaseDownTo(1, second);
  EXPECT_EQ(shapeOf(to), "2");
}

TEST_F(ztRootTest, DeletesAllChildrenFromTheFirstOn) {
  const Tree parent("0(1 2 3 4)");
  const Nodes children = childrenOf(parent);
  Numbers deleted;
  on(parent, "childDeleted", [&](const ztRoot *child) { deleted.push_back(child->uid); });
  EXPECT_EQ(parent->deleteAllChild(parent), 0);
  EXPECT_EQ(deleted, (Numbers{1, 2, 3, 4}));
  EXPECT_EQ(parent->getChildCount(parent), 0);
  EXPECT_EQ(parent->deleteAllChild(parent), 0);
  for (ztRoot *child : children) {
    EXPECT_EQ(countOf(child), 2);
    release(child);
  }
}

// The list of the children is the host's to reach into.

TEST_F(ztRootTest, IsLeftByAChildThatTheHostTookOffTheList) {
  const Tree parent("1(2 3)");
  ztRoot *child = parent[2];
  ztRoot *other = parent[3];
  ztRootPtrList *list = parent.fields().children;
  ztRootPtrList_of(list)->popFront(list);
  EXPECT_EQ(setParent(child, nullptr), 1);
  EXPECT_EQ(parentOf(child), nullptr);
  EXPECT_EQ(child->parentUid, 0);
  EXPECT_EQ(childrenOf(parent), Nodes{other});
  releaseDownTo(1, child);
}

TEST_F(ztRootTest, PassesAPlaceWithoutAChildBy) {
  const Tree parent("1");
  putIntoList(parent, nullptr);
  const Tree child(newChild(parent, 0));
  deleteChild(parent, child);
  EXPECT_EQ(childrenOf(parent), Nodes{nullptr});
}

TEST_F(ztRootTest, FindsNoChildById) {
  const Tree top("1(2(3))");
  for (const ztRoot *node : {static_cast<const ztRoot *>(top), static_cast<const ztRoot *>(top[2])}) {
    for (const int32_t uid : {1, 2, 3, 0, -1}) EXPECT_EQ(ztRoot_of(node)->findChildById(node, uid), nullptr);
  }
}

static jmp_buf beforeTheQuestion;

TEST_F(ztRootTest, StaysDetachedWhenALongjmpOfTheParentsLeavesSetParent) {
  const Tree parent("1", OddNode_ctor);
  const Tree child("2");
  const Replaced getUid(oddNode().getUid, [](const void *) -> int32_t { longjmp(beforeTheQuestion, 1); });
  if (setjmp(beforeTheQuestion) == 0) {
    setParent(child, parent);
    ADD_FAILURE() << "the parent was not asked";
  }
  EXPECT_EQ(parentOf(child), nullptr);
  EXPECT_EQ(child.fields().parentUid, -1);
  EXPECT_EQ(countOf(child), 1);
  EXPECT_EQ(parent->getChildCount(parent), 0);
}

TEST_F(ztRootTest, AddsNoChildWhoseUidIsFound) {
  const Tree parent("1", OddNode_ctor);
  const Replaced find(oddNode().findChildById,
                      [](const void *node, int32_t) { return const_cast<void *>(node); });
  const Tree child("2");
  on(parent, "childAdded", [](const ztRoot *) { ADD_FAILURE() << "nothing was added"; });
  addChild(parent, child);
  EXPECT_EQ(parent->getChildCount(parent), 0);
  EXPECT_EQ(parentOf(child), nullptr);
}

TEST_F(ztRootTest, AnnouncesNothingWhenItEndsMeanwhile) {
  ztRoot *parent = newNode(1);
  const Tree child("2", OddNode_ctor);
  const Replaced method(oddNode().setParent, [](void *node, void *given) {
    const int32_t result = ztRoot_table()->setParent(node, given);
    if (given != nullptr) release(given);
    return result;
  });
  child->ref(child);
  on(parent, "childAdded", [](const ztRoot *) { ADD_FAILURE() << "there is nobody to tell of it"; });
  addChild(parent, child);
  EXPECT_EQ(nodesLive, 1);
  EXPECT_EQ(parentOf(child), nullptr);
}

TEST_F(ztRootTest, WritesNullIntoTheReservedWordsOfTheClass) {
  static char mark;
  const Tree parent("1", OddNode_ctor);
  const Tree child("2");
  OddNodeMethods &methods = oddNode();
  methods.reserved1 = methods.reserved2 = &mark;
  addChild(parent, child);
  EXPECT_EQ(methods.reserved1, nullptr);
  EXPECT_EQ(methods.reserved2, &mark);
  methods.reserved1 = &mark;
  deleteChild(parent, child);
  EXPECT_EQ(methods.reserved1, &mark);
  EXPECT_EQ(methods.reserved2, nullptr);
  methods.reserved1 = nullptr;
}

// The record --------------------------------------------------------------------------------------

static std::string nameField(const std::string &name) {
  return name + std::string(80 - name.size(), '\0');
}

// Whether the three parts of a record that a new node reads from the file are these.
static void expectRecord(const Storage &file, int32_t uid, const std::string &name, int32_t parentUid) {
  const Tree node(ztRoot_ctor(nullptr, 1));
  file->goToBegin(file);
  EXPECT_EQ(node->read(node, file), 1);
  EXPECT_EQ(node->getUid(node), uid);
  EXPECT_EQ(nameOf(node), name);
  EXPECT_EQ(node.fields().parentUid, parentUid);
  EXPECT_EQ(parentOf(node), nullptr);
  EXPECT_EQ(node->getChildCount(node), 0);
}

TEST_F(ztRootTest, StoresUidNameAndParentUid) {
  const Tree parent("77(-3(5))");
  ztRoot *node = parent[-3];
  ztRoot_of(node)->setName(node, "a longer one");
  ztRoot_of(node)->setName(node, "node");
  const Storage file;
  EXPECT_EQ(ztRoot_table()->write(node, file), 1);
  EXPECT_EQ(file.bytes(), bytesOf(-3) + nameField("node") + bytesOf(77));
  expectRecord(file, -3, "node", 77);
  const Storage text(ztTextFile_ctor);
  EXPECT_EQ(ztRoot_table()->write(node, text), 1);
  EXPECT_EQ(text.bytes(), "-3\n" + nameField("node") + "\n77\n");
  expectRecord(text, -3, "node", 77);
}

TEST_F(ztRootTest, StopsReadingAtTheFirstFailure) {
  const std::string record = bytesOf(21) + nameField("short") + bytesOf(22);
  for (size_t length = 0; length <= record.size(); ++length) {
    const Storage file(ztFile_ctor, record.substr(0, length));
    const Tree node("1");
    node->setName(node, "before");
    EXPECT_EQ(ztRoot_table()->read(node, file), length == record.size());
    const ztRoot *fields = node;
    if (length == 0 || length >= 4) {
      EXPECT_EQ(fields->uid, length == 0 ? 1 : 21);
    }
    if (length <= 84 || length == record.size()) {
      EXPECT_EQ(fields->parentUid, length <= 84 ? -1 : 22);
    }
    if (length >= 84) {
      EXPECT_EQ(nameOf(node), "short");
    }
    EXPECT_LT(nameOf(node).size(), 80U);
  }
}

TEST_F(ztRootTest, CutsAStoredNameWithoutEnd) {
  expectRecord(Storage(ztFile_ctor, bytesOf(1) + std::string(80, 'n') + bytesOf(2)), 1, std::string(79, 'n'),
               2);
}

TEST_F(ztRootTest, IsNotReadFromAFileThatGivesANegativeResult) {
  const Storage file(OddFile_ctor, std::string(200, 'x'));
  const Replaced readInt(oddFile().readInt, [](void *, int32_t *) { return -1; });
  const Tree node("1");
  EXPECT_EQ(ztRoot_table()->read(node, file), 0);
  void *link = ztLink_ctor(nullptr, 1);
  EXPECT_EQ(ztLink_of(link)->read(link, file), 0);
  release(link);
}

TEST_F(ztRootTest, IsNotStoredInAFileThatIsClosedOrFull) {
  const Tree node("1");
  char few[20];  // for the identifier and a part of the name
  const File file(ztFile_ctor);
  EXPECT_EQ(node->write(node, file), 0);
  EXPECT_EQ(node->read(node, file), 0);
  file.fields().stream = fmemopen(few, sizeof few, "w");
  setbuf(file.fields().stream, nullptr);
  EXPECT_EQ(ztRoot_table()->write(node, file), 0);
}

// Properties --------------------------------------------------------------------------------------

// Those of a new node.
static std::vector<std::string> propertyNames(ztCtor constructor) {
  const Tree node("1", constructor);
  void *array = ztPropertyPtrArray_ctor(nullptr, 1);
  EXPECT_EQ(node->getProperties(node, array), 1);
  std::vector<std::string> names;
  for (int32_t i = 0; i < ztPropertyPtrArray_of(array)->getSize(array); ++i) {
    const auto *property = static_cast<const ztProperty *>(ztPropertyPtrArray_of(array)->getAt(array, i));
    names.push_back(textOf(property->name));
  }
  release(array);
  return names;
}

TEST_F(ztRootTest, HasItsIdentifierAndItsNameForProperties) {
  const Tree node(ztRoot_ctor(nullptr, 1));
  int32_t uid = 0;
  EXPECT_EQ(node->getProperty(node, "uniqueID", "ztInt", &uid), 1);
  EXPECT_EQ(uid, node->getUid(node));
  EXPECT_EQ(node->setProperty(node, "uniqueID", "ztInt", 4711), 1);
  EXPECT_EQ(node->getUid(node), 4711);
  const char *name = nullptr;
  EXPECT_EQ(node->getProperty(node, "name", "ztCharPtr", &name), 1);
  EXPECT_EQ(name, node->getName(node));
  const std::string given(200, 'g');
  EXPECT_EQ(node->setProperty(node, "name", "ztCharPtr", reinterpret_cast<ztWord>(given.c_str())), 1);
  EXPECT_EQ(nameOf(node), std::string(79, 'g'));
}

TEST_F(ztRootTest, HandsItsPropertiesToSubclassesWhoseOwnComeBehind) {
  const std::vector<std::string> own = {"refCount", "uniqueID", "name"};
  EXPECT_EQ(propertyNames(ztRoot_ctor), own);
  EXPECT_EQ(propertyNames(LiveNode_ctor), own);
  EXPECT_EQ(propertyNames(Weighty_ctor),
            (std::vector<std::string>{"refCount", "uniqueID", "name", "weight"}));
  const Tree quiet(LiveNode_ctor(nullptr, 1));
  EXPECT_EQ(quiet->setProperty(quiet, "uniqueID", "ztInt", 12), 1);
  EXPECT_EQ(quiet->getUid(quiet), 12);
  const Tree weighty(Weighty_ctor(nullptr, 1));
  EXPECT_EQ(weighty->setProperty(weighty, "weight", "ztInt", 3), 1);
  EXPECT_EQ(weightyGetWeight(weighty), 3);
}

// The list of children ----------------------------------------------------------------------------

TEST(ztRootPtrList, KeepsPointersAndFindsThem) {
  auto *list = static_cast<ztRootPtrList *>(ztRootPtrList_ctor(nullptr, 1));
  EXPECT_EQ(list->elementSize, 8);
  EXPECT_NE(list->byPointer, 0U);
  const Tree first("1");
  const Tree second("2");
  const ztRootPtrListMethods *methods = ztRootPtrList_of(list);
  methods->pushBack(list, first);
  methods->pushBack(list, second);
  EXPECT_EQ(methods->getAt(list, 1), second);
  EXPECT_EQ(methods->find(list, second), methods->getItemAt(list, 1));
  release(list);
  EXPECT_EQ(countOf(first), 1);
}

TEST(ztRootPtrList, ComparesPointers) {
  const ztRoot neighbours[2] = {};
  const ztRoot *nodes[2] = {&neighbours[0], &neighbours[1]};
  for (const auto &[one, other, expected] :
       {std::tuple(0, 0, 0), std::tuple(1, 0, 1), std::tuple(0, 1, -1)}) {
    EXPECT_EQ(ztRootPtrList_compare_func(&nodes[one], &nodes[other]), expected);
    EXPECT_EQ(ztRootPtrList_compare_func_ptr(nodes[one], nodes[other]), expected);
  }
}
