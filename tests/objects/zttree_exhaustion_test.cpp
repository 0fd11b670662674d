// What happens to whole trees when memory is exhausted, beyond what all scenarios with failing calls ask for.
#include "tags/ztinttag.h"
#include "tags/zttag.h"
#include "tests/helpers/faults.hh"
#include "tests/helpers/temp_folder.hh"
#include "tests/objects/tree_nodes.hh"

namespace {

// 1(2(3) 2(0)), of tags, plain nodes and a host's; only the places tell the two apart that bear 2.
class TreeExhaustion : public ForestTest {
 protected:
  TreeExhaustion() : tree("1", ztTag_ctor) {
    const int32_t value = 7;
    ztTag_of(tree)->insertNew(tree, "value", ztIntTag_ctor(nullptr, 1), nullptr, 0, 1, &value);
    newChild(newChild(tree, 2, ztRoot_ctor), 3, ztRoot_ctor);
    newChild(newChild(tree, 2, LiveNode_ctor), 0, ztTag_ctor);
    live = nodesLive;
  }

  static int32_t &valueOf(const ztRoot *node) {
    const ztTagHandle handle = {0, 1};
    return *static_cast<int32_t *>(ztTag_of(node)->getValue(node, &handle, 0, nullptr));
  }

  const Tree tree;
  int32_t live;
};

}  // namespace

TEST_F(TreeExhaustion, OfACopyLeavesNothingOfIt) {
  exhaustMemoryIn([this] {
    Tree copy(newCopy(tree));
    if (copy != nullptr) {
      EXPECT_EQ(shapeOf(copy), "1(2(3) 2(0))");
    }
    copy.end();
    EXPECT_EQ(nodesLive, live);
  });
}

// The holders of the copies are in a table, which is to be half empty.
TEST_F(TreeExhaustion, OfALargerTableOfHoldersLeavesCopiesWholeAsLongAsItHasAPlace) {
  constexpr int32_t placesAtFirst = 16;
  const Tree parent("1");
  const SizeRefused larger(2 * placesAtFirst * 2 * int32_t{sizeof(void *)});
  for (int32_t children = 1; children <= placesAtFirst; ++children) {
    newChild(parent, 1 + children);
    const bool hasPlace = children < placesAtFirst;
    const int before = nodesLive;
    Tree copy(newCopy(parent));
    EXPECT_EQ(larger.isMet(), children > placesAtFirst / 2) << children;
    EXPECT_EQ(copy != nullptr, hasPlace) << children;
    if (copy != nullptr) {
      EXPECT_EQ(shapeOf(copy), shapeOf(parent));
    }
    copy.end();
    EXPECT_EQ(nodesLive, before);
  }
}

TEST_F(TreeExhaustion, OfAnAssignmentLeavesAllAsItWas) {
  const Tree target(newCopy(tree));
  exhaustMemoryIn([this, &target] {
    valueOf(target) = 1;
    const int32_t assigned = target->assign(target, tree);
    EXPECT_EQ(valueOf(target), assigned ? 7 : 1);
  });
}

TEST_F(TreeExhaustion, OfASaveLeavesTheOldFile) {
  const TempFolder folder;
  const std::string path = folder.path("tree.zt");
  for (const int32_t text : {0, 1}) {
    exhaustMemoryIn([&] {
      writeContents(path, "old");
      const int32_t saved = ztRoot_saveTree(tree, path.c_str(), text);
      EXPECT_TRUE(saved == 0 || saved == 5);
      EXPECT_EQ(contentsOf(path) == "old", saved == 0);
    });
  }
}

TEST_F(TreeExhaustion, OfATreeThatIsOpenedLeavesNothing) {
  const TempFolder folder;
  const std::string path = folder.path("tree.zt");
  const Tree plain("1", ztRoot_ctor);
  for (const ztRoot *child : childrenOf(tree)) addChild(plain, newCopy(child));
  live = nodesLive;
  for (const int32_t text : {0, 1}) {
    ASSERT_EQ(ztRoot_saveTree(plain, path.c_str(), text), 5);
    exhaustMemoryIn([&] {
      void *roots = ztPtrArray_ctor(nullptr, 1);
      if (roots == nullptr) return;
      const int32_t opened = ztRoot_openTree(path.c_str(), roots, nullptr);
      EXPECT_EQ(ztPtrArray_of(roots)->getSize(roots), opened);
      if (opened) {
        EXPECT_EQ(shapeOf(Tree(ztPtrArray_of(roots)->getAt(roots, 0))), "1(2(3) 2(0))");
      }
      EXPECT_EQ(nodesLive, live);
      release(roots);
    });
  }
}
