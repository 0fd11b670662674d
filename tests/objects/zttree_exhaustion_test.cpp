// What happens to whole trees when memory is exhausted.
#include "containers/ztarrays.h"
#include "tags/ztinttag.h"
#include "tags/zttag.h"
#include "tests/helpers/faults.hh"
#include "tests/helpers/temp_folder.hh"
#include "tests/objects/tree_nodes.hh"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

void releaseIfMade(void *object) {
  if (object != nullptr) release(object);
}

// 1(2(3) 2), of tags and of plain nodes; the second 2 has a tag below it that bears no usual identifier.
ztRoot *newMixedTree() {
  ztRoot *top = newNode(1, ztTag_ctor);
  const int32_t value = 7;
  ztTag_of(top)->insertNew(top, "value", ztIntTag_ctor(nullptr, 1), nullptr, 0, 1, &value);
  ztRoot *left = newNode(2, ztRoot_ctor);
  addChild(top, left);
  addChild(left, newNode(3, ztRoot_ctor));
  ztRoot *right = newNode(2, LiveNode_ctor);
  addChild(top, right);
  addChild(right, newNode(0, ztTag_ctor));
  return top;
}

}  // namespace

TEST(TreeExhaustion, OfACopyLeavesNothingOfIt) {
  ztRoot *tree = newMixedTree();
  const int32_t live = nodesLive;
  exhaustMemoryIn([tree, live] {
    ztRoot *copy = newCopy(tree);
    if (copy != nullptr) {
      EXPECT_EQ(shapeOf(copy), "1(2(3) 2(0))");
    }
    releaseIfMade(copy);
    EXPECT_EQ(nodesLive, live);
  });
  release(tree);
}

TEST(TreeExhaustion, OfAnAssignmentLeavesAllAsItWas) {
  ztRoot *tree = newMixedTree();
  ztRoot *target = newCopy(tree);
  const auto valueOf = [](const ztRoot *node) -> int32_t & {
    const ztTagHandle handle = {0, 1};
    return *static_cast<int32_t *>(ztTag_of(node)->getValue(node, &handle, 0, nullptr));
  };
  exhaustMemoryIn([tree, target, valueOf] {
    valueOf(target) = 1;
    const int32_t assigned = ztRoot_of(target)->assign(target, tree);
    EXPECT_EQ(valueOf(target), assigned ? 7 : 1);
  });
  release(target);
  release(tree);
}

TEST(TreeExhaustion, OfASavedTreeLeavesTheOldOneAndNoOtherFile) {
  const TempFolder folder;
  const std::string path = folder.path("tree.zt");
  ztRoot *tree = newMixedTree();
  for (const int32_t text : {0, 1}) {
    exhaustMemoryIn([&] {
      writeContents(path, "old");
      const int32_t saved = ztRoot_saveTree(tree, path.c_str(), text);
      EXPECT_TRUE(saved == 0 || saved == 5);
      EXPECT_EQ(contentsOf(path) == "old", saved == 0);
      for (const auto &entry : std::filesystem::directory_iterator(folder.path())) {
        EXPECT_EQ(entry.path().string(), path);
      }
    });
    std::filesystem::remove(path);
  }
  release(tree);
}

TEST(TreeExhaustion, OfATreeThatIsOpenedLeavesNothing) {
  const TempFolder folder;
  const std::string path = folder.path("tree.zt");
  ztRoot *tree = newMixedTree();
  for (const int32_t text : {0, 1}) {
    ztRoot *plain = newNode(1, ztRoot_ctor);
    addChild(plain, newCopy(childrenOf(tree)[0]));
    addChild(plain, newCopy(childrenOf(tree)[1]));
    ASSERT_EQ(ztRoot_saveTree(plain, path.c_str(), text), 5);
    const int32_t live = nodesLive;
    exhaustMemoryIn([&] {
      void *roots = ztPtrArray_ctor(nullptr, 1);
      if (roots == nullptr) return;
      const int32_t opened = ztRoot_openTree(path.c_str(), roots, nullptr);
      EXPECT_EQ(ztPtrArray_of(roots)->getSize(roots), opened);
      if (opened) {
        auto *top = static_cast<ztRoot *>(ztPtrArray_of(roots)->getAt(roots, 0));
        EXPECT_EQ(shapeOf(top), "1(2(3) 2(0))");
        release(top);
      }
      EXPECT_EQ(nodesLive, live);
      release(roots);
    });
    release(plain);
  }
  release(tree);
}
