#include "tests/objects/tree_nodes.hh"

#include "core/ztmem.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>

using Counts = Counting<LiveNode, ztRoot_table>;

static int32_t liveNodeCreate(void *object) {
  static_cast<LiveNode *>(object)->value = 0;
  return Counts::create(object);
}

static int32_t liveNodeRead(void *object, void *file) {
  return ztRoot_table()->read(object, file) &&
         ztFile_of(file)->readInt(file, &static_cast<LiveNode *>(object)->value);
}

static int32_t liveNodeWrite(const void *object, void *file) {
  return ztRoot_table()->write(object, file) &&
         ztFile_of(file)->writeInt(file, static_cast<const LiveNode *>(object)->value);
}

static void liveNodeMethods(LiveNodeMethods *methods) {
  Counts::overrideIn(methods);
  ZT_OVERRIDE_METHOD(methods, create, liveNodeCreate);
  ZT_OVERRIDE_METHOD(methods, read, liveNodeRead);
  ZT_OVERRIDE_METHOD(methods, write, liveNodeWrite);
}

ZT_DEFINE_CLASS(LiveNode, ztRoot, liveNodeMethods)
ZT_DEFINE_CLASS(OddNode, LiveNode, noMethods)
ZT_DEFINE_CLASS(OddFile, ztFile, noMethods)

// The methods of a class, of which an object is made first, since that fills them in.
static void *methodsOf(ztCtor constructor) {
  void *object = constructor(nullptr, 1);
  void *methods = ztOOP_classOf(object)->methodTable;
  release(object);
  return methods;
}

OddNodeMethods &oddNode() {
  return *static_cast<OddNodeMethods *>(methodsOf(OddNode_ctor));
}

OddFileMethods &oddFile() {
  return *static_cast<OddFileMethods *>(methodsOf(OddFile_ctor));
}

#define NodeOfAClassWithANameThatIsTooLongForTheNameOfANodeAndForAnythingBehindItInItsIdentity_FIELDS \
  ztRoot_FIELDS
#define NodeOfAClassWithANameThatIsTooLongForTheNameOfANodeAndForAnythingBehindItInItsIdentity_METHODS \
  ztRoot_METHODS
ZT_DECLARE_CLASS(NodeOfAClassWithANameThatIsTooLongForTheNameOfANodeAndForAnythingBehindItInItsIdentity)

ZT_DEFINE_CLASS(NodeOfAClassWithANameThatIsTooLongForTheNameOfANodeAndForAnythingBehindItInItsIdentity,
                ztRoot, noMethods)

const ztCtor longNamedCtor =
    NodeOfAClassWithANameThatIsTooLongForTheNameOfANodeAndForAnythingBehindItInItsIdentity_ctor;

// By their listeners.
static std::map<const void *, std::function<void(ztRoot *)>> actions;

ForestTest::~ForestTest() {
  for (const auto &[listener, action] : actions) release(const_cast<void *>(listener));
  actions.clear();
  EXPECT_EQ(nodesLive, 0) << "nodes that did not end, or ended twice";
  nodesLive = 0;
}

void ForestTest::on(void *node, const char *signalName, std::function<void(ztRoot *)> action) {
  void *listener = ztObject_ctor(nullptr, 1);
  actions[listener] = std::move(action);
  ztSlotFunction slot;
  slot.object1 = [](void *receiver, void *child) { actions[receiver](static_cast<ztRoot *>(child)); };
  EXPECT_EQ(connectTo(node, signalName, listener, slot), 1);
}

static ztRoot *newTree(const char *&text, ztCtor constructor) {
  char *end = nullptr;
  ztRoot *node = newNode(static_cast<int32_t>(strtol(text, &end, 10)), constructor);
  text = end;
  if (*text != '(') return node;
  do {
    addChild(node, newTree(++text, constructor));
  } while (*text == ' ');
  ++text;
  return node;
}

Tree::Tree(const std::string &shape, ztCtor constructor) {
  const char *text = shape.c_str();
  root = newTree(text, constructor);
}

Tree::~Tree() {
  end();
}

static ztRoot *findNode(ztRoot *node, int32_t uid) {
  if (node->uid == uid) return node;
  for (ztRoot *child : childrenOf(node)) {
    ztRoot *found = findNode(child, uid);
    if (found != nullptr) return found;
  }
  return nullptr;
}

ztRoot *Tree::operator[](int32_t uid) const {
  return findNode(root, uid);
}

void Tree::end() {
  if (root != nullptr) ::release(root);
  root = nullptr;
}

ztRoot *newNode(int32_t uid, ztCtor constructor) {
  auto *node = static_cast<ztRoot *>(constructor(nullptr, 1));
  ztRoot_of(node)->setUid(node, uid);
  return node;
}

ztRoot *newChild(void *parent, int32_t uid, ztCtor constructor) {
  ztRoot *child = newNode(uid, constructor);
  addChild(parent, child);
  return child;
}

ztRoot *newChain(int levels, ztCtor constructor) {
  ztRoot *top = newNode(1, constructor);
  ztRoot *at = top;
  for (int32_t uid = 2; uid <= levels; ++uid) at = newChild(at, uid, constructor);
  return top;
}

void addChild(void *node, void *child) {
  ztRoot_of(node)->addChild(node, child);
}

void deleteChild(void *node, void *child) {
  ztRoot_of(node)->deleteChild(node, child);
}

int32_t setParent(void *node, void *parent) {
  return ztRoot_of(node)->setParent(node, parent);
}

void putIntoList(const ztRoot *node, void *child) {
  ztRootPtrList_of(node->children)->pushBack(node->children, child);
}

void releaseDownTo(int32_t references, void *node) {
  for (int32_t i = countOf(node); i > references; --i) release(node);
}

std::string nameOf(const void *node) {
  return ztRoot_of(node)->getName(node);
}

int32_t countOf(const void *node) {
  return ztBaseClass_of(node)->getRefCount(node);
}

ztRoot *parentOf(const void *node) {
  return static_cast<ztRoot *>(ztRoot_of(node)->getParent(node));
}

Nodes childrenOf(const void *node) {
  Nodes children;
  const int32_t count = ztRoot_of(node)->getChildCount(node);
  for (int32_t i = 0; i < count; ++i) {
    children.push_back(static_cast<ztRoot *>(ztRoot_of(node)->getChildAt(node, i)));
  }
  return children;
}

ztRoot *firstChildOf(const void *node) {
  return static_cast<ztRoot *>(ztRoot_of(node)->getChildAt(node, 0));
}

ztRoot *lowestOf(ztRoot *node) {
  while (firstChildOf(node) != nullptr) node = firstChildOf(node);
  return node;
}

int depthOf(const ztRoot *node) {
  int depth = 0;
  for (; node != nullptr; ++depth) node = firstChildOf(node);
  return depth;
}

static void printShape(std::ostream &out, const ztRoot *node) {
  out << node->uid;
  const char *separator = "(";
  for (const ztRoot *child : childrenOf(node)) {
    out << separator;
    printShape(out, child);
    separator = " ";
  }
  if (*separator != '(') out << ")";
}

std::string shapeOf(const ztRoot *node) {
  std::ostringstream shape;
  printShape(shape, node);
  return shape.str();
}

std::string bytesOf(int32_t value) {
  return {reinterpret_cast<const char *>(&value), sizeof value};
}

Loaded::Loaded(void *file, int32_t count) : roots(ztPtrArray_ctor(nullptr, 1)) {
  result = ztRoot_loadTree(file, count, roots, &report);
}

static void *atItsBegin(const Storage &file) {
  EXPECT_EQ(file->goToBegin(file), 0);
  return file;
}

Loaded::Loaded(const Storage &file, int32_t count) : Loaded(atItsBegin(file), count) {}

Loaded::Loaded(const std::string &path) : roots(ztPtrArray_ctor(nullptr, 1)) {
  result = ztRoot_openTree(path.c_str(), roots, &report);
}

Loaded::~Loaded() {
  for (ztRoot *root : tops()) release(root);
  release(roots);
}

Nodes Loaded::tops() const {
  Nodes found;
  for (int32_t i = 0; i < ztPtrArray_of(roots)->getSize(roots); ++i) {
    found.push_back(static_cast<ztRoot *>(ztPtrArray_of(roots)->getAt(roots, i)));
  }
  return found;
}

std::string Loaded::shapes() const {
  if (!result) return "none";
  std::string text;
  for (const ztRoot *root : tops()) {
    if (!text.empty()) text += ' ';
    text += shapeOf(root);
  }
  return text;
}

Numbers Loaded::counts() const {
  return {report.nodes, report.orphans, report.doubles, report.loops};
}
