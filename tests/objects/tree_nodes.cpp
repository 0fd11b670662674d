#include "tests/objects/tree_nodes.hh"

#include "containers/ztarrays.h"
#include "core/ztmem.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
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

static void listenerMethods(NodeListenerMethods *) {}

ZT_DEFINE_CLASS(NodeListener, ztObject, listenerMethods)

// What is connected in place of a test.
static void listen(void *listener, void *child) {
  (*static_cast<NodeListener *>(listener)->action)(static_cast<ztRoot *>(child));
}

Forest::Forest() : before(nodesLive) {}

Forest::~Forest() {
  for (const Connected &one : connected) {
    release(one.listener);
    delete one.action;
  }
  EXPECT_EQ(nodesLive, before) << "nodes that did not end, or ended twice";
}

void Forest::on(void *node, const char *signalName, Action action) {
  auto *listener = static_cast<NodeListener *>(NodeListener_ctor(nullptr, 1));
  listener->action = new Action(std::move(action));
  connected.push_back({listener, listener->action});
  ztSlotFunction slot;
  slot.object1 = listen;
  ztClass *klass = static_cast<ztRoot *>(node)->klass;
  EXPECT_EQ(ztRoot_of(node)->connect(klass, node, signalName, listener, "listen", slot, 1), 1);
}

ztRoot *newNode(int32_t uid, ztCtor constructor) {
  auto *node = static_cast<ztRoot *>(constructor(nullptr, 1));
  ztRoot_of(node)->setUid(node, uid);
  return node;
}

ztRoot *newChild(void *parent, int32_t uid) {
  ztRoot *child = newNode(uid);
  addChild(parent, child);
  return child;
}

ztRoot *newCopy(const ztRoot *node) {
  const auto *functions = static_cast<const ztClassFunctions *>(node->klass->classTable);
  auto *target = static_cast<ztRoot *>(functions->newop());
  if (ztRoot_of(node)->clone(node, target) == nullptr) {
    ztm_free(target);
    return nullptr;
  }
  target->refCount = 1;
  return target;
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

std::string nameOf(const void *node) {
  return ztRoot_of(node)->getName(node);
}

int32_t countOf(const void *node) {
  return ztBaseClass_of(node)->getRefCount(node);
}

std::vector<ztRoot *> childrenOf(const void *node) {
  std::vector<ztRoot *> children;
  const int32_t count = ztRoot_of(node)->getChildCount(node);
  for (int32_t i = 0; i < count; ++i) {
    children.push_back(static_cast<ztRoot *>(ztRoot_of(node)->getChildAt(node, i)));
  }
  return children;
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

NodeFile::NodeFile(ztCtor constructor, const std::string &bytes) : file(constructor(nullptr, 1)) {
  char unused[L_tmpnam];
  name = ztFile_functions()->tmpFile(nullptr, unused);
  std::ofstream(name, std::ios::binary) << bytes;
  EXPECT_EQ(ztFile_of(file)->open(file, name.c_str(), "r+b"), 1);
}

NodeFile::~NodeFile() {
  ztFile_of(file)->unRef(file);
  EXPECT_EQ(ztFile_functions()->deleteFile(nullptr, name.c_str()), 0);
}

void NodeFile::rewind() const {
  EXPECT_EQ(ztFile_of(file)->goToBegin(file), 0);
}

std::string NodeFile::bytes() const {
  EXPECT_EQ(ztFile_of(file)->flush(file), 0);
  std::ostringstream contents;
  contents << std::ifstream(name, std::ios::binary).rdbuf();
  return contents.str();
}

Loaded::Loaded(void *file, int32_t count) : roots(ztPtrArray_ctor(nullptr, 1)) {
  result = ztRoot_loadTree(file, count, roots, &report);
}

Loaded::Loaded(const std::string &path) : roots(ztPtrArray_ctor(nullptr, 1)) {
  result = ztRoot_openTree(path.c_str(), roots, &report);
}

Loaded::~Loaded() {
  for (ztRoot *root : tops()) release(root);
  release(roots);
}

std::vector<ztRoot *> Loaded::tops() const {
  std::vector<ztRoot *> found;
  for (int32_t i = 0; i < ztPtrArray_of(roots)->getSize(roots); ++i) {
    found.push_back(static_cast<ztRoot *>(ztPtrArray_of(roots)->getAt(roots, i)));
  }
  return found;
}

std::string Loaded::shapes() const {
  std::string text;
  for (const ztRoot *root : tops()) {
    if (!text.empty()) text += ' ';
    text += shapeOf(root);
  }
  return text;
}

std::vector<int32_t> Loaded::counts() const {
  return {report.nodes, report.orphans, report.doubles, report.loops};
}
