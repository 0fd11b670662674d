// Trees with nodes that an earlier version of their class stored.
#include "core/ztreader.h"
#include "io/zttxtfile.h"
#include "tests/helpers/captured_log.hh"
#include "tests/objects/tree_nodes.hh"

#include <algorithm>

// GaugeNode: today a limit is stored behind the value of a LiveNode.
#define GaugeNode_FIELDS LiveNode_FIELDS double limit;
#define GaugeNode_METHODS LiveNode_METHODS
ZT_DECLARE_CLASS(GaugeNode)
// The earlier definition, which writes under today's name.
#define OldGaugeNode_FIELDS LiveNode_FIELDS
#define OldGaugeNode_METHODS LiveNode_METHODS
ZT_DECLARE_CLASS(OldGaugeNode)

static int32_t gaugeNodeRead(void *node, void *file) {
  return LiveNode_table()->read(node, file) &&
         ztFile_of(file)->readFloat(file, &static_cast<GaugeNode *>(node)->limit);
}

static int32_t gaugeNodeWrite(const void *node, void *file) {
  return LiveNode_table()->write(node, file) &&
         ztFile_of(file)->writeFloat(file, static_cast<const GaugeNode *>(node)->limit);
}

static void gaugeNodeMethods(GaugeNodeMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, read, gaugeNodeRead);
  ZT_OVERRIDE_METHOD(methods, write, gaugeNodeWrite);
}

ZT_DEFINE_CLASS_FULL(GaugeNode, LiveNode, gaugeNodeMethods, 2, ztClassFunctions, ztOOP_noFunctions)
ZT_DEFINE_CLASS(OldGaugeNode, LiveNode, noMethods)

namespace {

const std::string sample = "1(2(3 4) 5(6))";
const Numbers complete = {6, 0, 0, 0};
const Numbers oldUids = {2, 3, 6};

int32_t readOldGauge(void *node, void *file, uint32_t version) {
  EXPECT_EQ(version, 1U);
  static_cast<GaugeNode *>(node)->limit = 0.5;
  return LiveNode_table()->read(node, file);
}

void setReader(ztReader reader) {
  EXPECT_EQ(ztOOP_setReader(GaugeNodeClass_Instance(), 1, reader), 1);
}

bool isOld(int32_t uid) {
  return std::find(oldUids.begin(), oldUids.end(), uid) != oldUids.end();
}

// The sample, of LiveNodes and of nodes that the earlier definition of GaugeNode makes.
ztRoot *newOldTree() {
  std::vector<ztRoot *> nodes(7);
  const std::pair<int32_t, int32_t> places[] = {{2, 1}, {3, 2}, {4, 2}, {5, 1}, {6, 5}};
  nodes[1] = newNode(1);
  for (const auto &[uid, parent] : places) {
    const size_t index = static_cast<size_t>(uid);
    nodes[index] =
        newChild(nodes[static_cast<size_t>(parent)], uid, isOld(uid) ? OldGaugeNode_ctor : LiveNode_ctor);
    static_cast<LiveNode *>(static_cast<void *>(nodes[index]))->value = 10 * uid;
  }
  return nodes[1];
}

// Expects the sample, its old nodes as today's.
void expectToday(const Loaded &loaded) {
  EXPECT_EQ(loaded.result, 1);
  EXPECT_EQ(loaded.counts(), complete);
  ASSERT_EQ(loaded.shapes(), sample);
  Tree tree(loaded.tops()[0]);
  for (int32_t uid = 2; uid <= 6; ++uid) {
    const ztRoot *node = tree[uid];
    const void *object = node;
    EXPECT_EQ(node->klass, isOld(uid) ? GaugeNodeClass_Instance() : LiveNodeClass_Instance()) << uid;
    EXPECT_EQ(static_cast<const LiveNode *>(object)->value, 10 * uid);
    if (isOld(uid)) {
      EXPECT_EQ(static_cast<const GaugeNode *>(object)->limit, 0.5) << uid;
    }
  }
  tree.release();  // what was loaded releases it
}

// Expects no tree, and this line.
template <typename Source>
void expectNone(const Source &source, const std::string &line) {
  CapturedLog log;
  {
    const Loaded loaded(source);
    EXPECT_EQ(loaded.result, 0);
    EXPECT_EQ(loaded.shapes(), "none");
  }
  EXPECT_EQ(log.output(), line);
}

const std::string noReader =
    "ztOOP::ztRoot_loadTree - Error, class 'GaugeNode' of version 2 has no reader for version 1\n";

class OldTrees : public ForestTest, public testing::WithParamInterface<bool> {
 protected:
  OldTrees() {
    for (const ztCtor constructor : {GaugeNode_ctor, OldGaugeNode_ctor}) const Owned used(constructor);
    const Replaced asToday(OldGaugeNodeClass_Instance()->name, "GaugeNode");
    const Tree tree(newOldTree());
    EXPECT_EQ(ztRoot_storeTree(tree, file), 6);
    EXPECT_EQ(ztRoot_saveTree(tree, path.c_str(), isText), 6);
    file.rewind();
  }
  ~OldTrees() override {
    setReader(nullptr);
  }

  const bool isText = GetParam();
  const TempFolder folder;
  const std::string path = folder.path("tree.zt");
  const Storage file{isText ? ztTextFile_ctor : ztFile_ctor};
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Forms, OldTrees, testing::Bool(),
                         [](const auto &test) { return test.param ? "Text" : "Binary"; });

TEST_P(OldTrees, AreLoadedByTheReaderOfTheirVersion) {
  setReader(readOldGauge);
  expectToday(Loaded(file));
  expectToday(Loaded(file, 6));
  expectToday(Loaded(path));
}

TEST_P(OldTrees, AreStoredAsTodays) {
  setReader(readOldGauge);
  {
    const Loaded loaded(path);
    ASSERT_EQ(loaded.result, 1);
    EXPECT_EQ(ztRoot_saveTree(loaded.tops()[0], path.c_str(), isText), 6);
  }
  setReader(nullptr);
  expectToday(Loaded(path));
}

TEST_P(OldTrees, AreNotLoadedWithoutAReader) {
  expectNone(file, noReader);
  expectNone(path, noReader);
  setReader(readOldGauge);
  setReader(nullptr);
  expectNone(path, noReader);
}

TEST_P(OldTrees, AreNotLoadedWhereTheReaderFails) {
  setReader([](void *, void *, uint32_t) { return 0; });
  expectNone(file, "");
  expectNone(path, "");
  static int calls;
  calls = 0;
  setReader([](void *node, void *source, uint32_t version) {
    return ++calls < 3 ? readOldGauge(node, source, version) : -1;
  });
  expectNone(path, "");
  EXPECT_EQ(calls, 3);
}

TEST_P(OldTrees, AreNotLoadedWhereTheReaderReadsTooLittle) {
  setReader([](void *node, void *source, uint32_t) { return ztRoot_table()->read(node, source); });
  CapturedLog log;
  EXPECT_EQ(Loaded(file).shapes(), "none");
  EXPECT_EQ(Loaded(path).shapes(), "none");
}

TEST_P(OldTrees, AreNotLoadedWhereTheReaderReadsTooMuch) {
  setReader([](void *node, void *source, uint32_t) {
    char more[30];
    const bool isRead = LiveNode_table()->read(node, source) > 0;
    return isRead && ztFile_of(source)->readBuf(source, sizeof more, more) == sizeof more ? 1 : 0;
  });
  CapturedLog log;
  EXPECT_EQ(Loaded(file).shapes(), "none");
  EXPECT_EQ(Loaded(path).shapes(), "none");
}

// What the reader reads itself does not move the records behind it.
TEST_P(OldTrees, MayHoldOtherObjectsThatAreReadWithinThem) {
  const Storage nested(isText ? ztTextFile_ctor : ztFile_ctor);
  const Tree tree(newOldTree());
  const Replaced asToday(OldGaugeNodeClass_Instance()->name, "GaugeNode");
  const ztRoot *inner = tree[3];
  ztBaseClass_functions()->classWrite(nullptr, tree[2], nested);
  ztRoot_of(tree[2])->write(tree[2], nested);
  ztBaseClass_functions()->classWrite(nullptr, inner, nested);
  ztRoot_of(inner)->write(inner, nested);
  ztBaseClass_functions()->classWrite(nullptr, tree[4], nested);
  ztRoot_of(tree[4])->write(tree[4], nested);
  setReader([](void *node, void *source, uint32_t version) {
    if (!readOldGauge(node, source, version)) return 0;
    if (static_cast<ztRoot *>(node)->uid == 3) return 1;
    const Owned within(ztOOP_readObject(source));
    return within != nullptr && ztRoot_of(within)->getUid(within) == 3 ? 1 : 0;
  });
  const Loaded loaded(nested);
  EXPECT_EQ(loaded.result, 1);
  EXPECT_EQ(loaded.shapes(), "2(4)");
}
