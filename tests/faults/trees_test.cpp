// Trees in files of their own while calls fail that the library makes for them.
#include "tests/faults/injection.hh"
#include "tests/helpers/temp_folder.hh"
#include "zentova.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

void *newTree(int32_t children) {
  void *tree = ztRoot_ctor(nullptr, 1);
  for (int32_t i = 0; i < children; ++i) ztRoot_of(tree)->addChild(tree, ztRoot_ctor(nullptr, 1));
  return tree;
}

// The number of nodes; 0 where there is no whole tree.
int32_t nodesIn(const std::string &path) {
  const Held roots(ztPtrArray_ctor(nullptr, 1));
  ztTreeReport report;
  if (!ztRoot_openTree(path.c_str(), roots, &report)) return 0;
  releaseIfMade(ztPtrArray_of(roots)->getFront(roots));
  return report.nodes;
}

class SavedTrees : public testing::TestWithParam<Kind> {};

}  // namespace

INSTANTIATE_TEST_SUITE_P(With, SavedTrees, testing::ValuesIn(allKinds()), nameOf);

TEST_P(SavedTrees, AreTheOldOnesOrTheNewOnesWhateverFails) {
  const TempFolder folder;
  const std::string path = folder.path("tree.zt");
  const Held old(newTree(3));
  const Held fresh(newTree(5));
  int strikes = 0;
  for (const int32_t text : {0, 1}) {
    strikes += strikeEach(GetParam(), [&](Trial &trial) {
      trial.need([&] { return ztRoot_saveTree(old, path.c_str(), text); });
      trial.need([&] {
        const int32_t saved = ztRoot_saveTree(fresh, path.c_str(), text);
        if (saved == 0) {
          trial.endFault();
          EXPECT_EQ(nodesIn(path), 4);
        }
        return saved;
      });
      Held roots(trial.make(ztPtrArray_ctor));
      trial.need([&] { return ztRoot_openTree(path.c_str(), roots, nullptr); });
      trial.endFault();
      void *root = ztPtrArray_of(roots)->getFront(roots);
      const std::string children = std::to_string(ztRoot_of(root)->getChildCount(root));
      releaseIfMade(root);
      return children;
    });
  }
  EXPECT_GT(strikes, 0);
  for (const auto &entry : std::filesystem::directory_iterator(folder.path())) {
    EXPECT_EQ(entry.path().string(), path) << "which was left by a save that failed";
  }
}
