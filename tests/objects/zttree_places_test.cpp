// Trees in which the identifiers do not tell the places of the nodes.
#include "io/zttxtfile.h"
#include "tests/helpers/scale.hh"
#include "tests/objects/tree_nodes.hh"

#include <unistd.h>

#include <algorithm>
#include <random>
#include <set>
#include <vector>

namespace {

using StoredPlaces = ForestTest;

const size_t recordSize = 100 + 4 + 4 + 80 + 4;

// Stores trees one behind the other.
void storeAll(const std::vector<std::string> &shapes, void *file) {
  for (const std::string &shape : shapes) EXPECT_GT(ztRoot_storeTree(Tree(shape, ztRoot_ctor), file), 0);
}

std::string joined(const std::vector<std::string> &shapes) {
  std::string text;
  for (const std::string &shape : shapes) text += (text.empty() ? "" : " ") + shape;
  return text;
}

}  // namespace

TEST_F(StoredPlaces, ComeBack) {
  const std::vector<std::string> files[] = {
      // A copy beside its original, and below it.
      {"1(2(3 4) 2(3 4) 5)"},
      {"1(2(1(2(3)) 3) 4)"},
      {"1(1(1(2)) 3)"},
      {"1(1(1) 1(1 1))"},
      // Below a parent without a usual identifier.
      {"0(1(2) -1(3 0(4)))"},
      {"-1(5)"},
      {"7(0(8) 0(9))"},
      // Several trees with equal identifiers.
      {"1(2(3))", "1(2(3))", "1(2 3)"},
      {"0(0)", "0(0(0))", "2"},
  };
  for (const auto &shapes : files) {
    for (const ztCtor constructor : {ztFile_ctor, ztTextFile_ctor}) {
      const Storage file(constructor);
      storeAll(shapes, file);
      const Loaded loaded(file);
      EXPECT_EQ(loaded.result, 1);
      EXPECT_EQ(loaded.shapes(), joined(shapes));
      EXPECT_EQ(loaded.counts()[1], 0);
      EXPECT_EQ(loaded.counts()[3], 0);
    }
  }
}

TEST_F(StoredPlaces, BehindOtherTreesOnAPipeComeBackToo) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  {
    const File writer(ztFile_ctor);
    writer.fields().stream = fdopen(ends[1], "wb");
    storeAll({"1(2(3))", "1(2(3) 2)"}, writer);
  }
  const File reader(ztFile_ctor);
  reader.fields().stream = fdopen(ends[0], "rb");
  EXPECT_EQ(Loaded(reader).shapes(), "1(2(3)) 1(2(3) 2)");
}

// Small trees with few identifiers, and some large ones with an identifier for each node.
TEST_F(StoredPlaces, OfRandomTreesComeBack) {
  std::mt19937 random(19);
  const int32_t identifiers[] = {0, -1, 1, 2, INT32_MIN};
  for (int turn = 0; turn < scale(600); ++turn) {
    const bool isLarge = turn % 30 == 0;
    const auto uidOf = [&](size_t i) {
      return isLarge ? static_cast<int32_t>(i * 7919 + 1) : identifiers[random() % 5];
    };
    const Tree top(newNode(uidOf(0), ztRoot_ctor));
    Nodes nodes = {top};
    const size_t count = 1 + random() % (isLarge ? 2000 : 40);
    while (nodes.size() < count) {
      nodes.push_back(newChild(nodes[random() % nodes.size()], uidOf(nodes.size()), ztRoot_ctor));
    }
    const Storage file(turn / 30 % 2 == 0 ? ztFile_ctor : ztTextFile_ctor);
    ASSERT_EQ(ztRoot_storeTree(top, file), static_cast<int32_t>(count));
    const Loaded loaded(file);
    ASSERT_EQ(loaded.shapes(), shapeOf(top));
    if (isLarge) {
      EXPECT_EQ(loaded.counts(), (Numbers{static_cast<int32_t>(count), 0, 0, 0}));
    }
  }
}

// What is told beside the identifiers stands where other readers do not look, and only where it is needed.
TEST_F(StoredPlaces, AreToldBehindTheNameOfTheClassAndOnlyWhereTheIdentifierMisleads) {
  const Storage file;
  storeAll({"1(2(3) 2(4) 0(5))"}, file);
  const std::string bytes = file.bytes();
  const char *hints[] = {"", "", "", "", "above:0000000001", "", "above:0000000001"};
  EXPECT_EQ(bytes.size(), 7 * recordSize);
  for (size_t i = 0; i < 7; ++i) {
    std::string expected = std::string("ztRoot") + std::string(77, '\0') + hints[i];
    expected.resize(100, '\0');
    EXPECT_EQ(bytes.substr(i * recordSize, 100), expected) << i;
    const Tree node(ztBaseClass_functions()->classRead(nullptr, file));
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(node->read(node, file), 1);
  }
}

TEST_F(StoredPlaces, OfFilesThatDoNotTellThemAreThoseOfTheFirstWithTheIdentifier) {
  const Storage stored;
  storeAll({"1(2(3) 2(4))"}, stored);
  const std::string whole = stored.bytes();
  const size_t hint = 4 * recordSize + 83;
  ASSERT_EQ(whole.substr(hint, 6), "above:");
  for (const char *instead : {"", "above:0000000000", "above:0000000005", "above:9999999999",
                              "above:000000000x", "above;0000000001", "above:0000000004"}) {
    std::string bytes = whole;
    bytes.replace(hint, 16, std::string(instead) + std::string(16 - strlen(instead), '\0'));
    EXPECT_EQ(Loaded(Storage(ztFile_ctor, bytes)).shapes(), "1(2(3 4) 2)") << instead;
  }
  // Other bytes that a name's field may hold behind the name.
  std::string bytes = whole;
  bytes[hint - 1] = 'x';
  EXPECT_EQ(Loaded(Storage(ztFile_ctor, bytes)).shapes(), "1(2(3 4) 2)");
}

TEST_F(StoredPlaces, AreLostWhereTheNameOfTheClassLeavesNoPlaceForThem) {
  const Tree tree("1(2 2)", ztRoot_ctor);
  newChild(childrenOf(tree)[1], 3, longNamedCtor);
  const Storage file;
  ASSERT_EQ(ztRoot_storeTree(tree, file), 4);
  EXPECT_EQ(Loaded(file).shapes(), "1(2(3) 2)");
}

namespace {

// The high bits of a product are those of its first place where a key is chosen for a small product.
bool isFirstInTable(uint64_t key) {
  return (key * 0x9E3779B97F4A7C15U) >> 54 == 0;
}

// Keys that all stood in one place of a table whose multiplier is known. Multiples of one number that fall into one
// interval have three distances at most, so few candidates follow each key.
std::vector<uint64_t> keysOfOnePlace(size_t count) {
  std::set<uint64_t> distances;
  std::vector<uint64_t> keys;
  for (uint64_t key = 2; keys.size() < 1000; ++key) {
    if (!isFirstInTable(key)) continue;
    if (!keys.empty()) distances.insert(key - keys.back());
    keys.push_back(key);
  }
  while (keys.size() < count) {
    const auto next = std::find_if(distances.begin(), distances.end(),
                                   [&](uint64_t distance) { return isFirstInTable(keys.back() + distance); });
    if (next == distances.end()) break;
    keys.push_back(keys.back() + *next);
  }
  return keys;
}

}  // namespace

// The test ends in time only where the keys do not meet.
TEST_F(StoredPlaces, OfIdentifiersThatWereChosenToMeetInATableComeBackInTime) {
  Tree top("1", ztRoot_ctor);
  const std::vector<uint64_t> keys = keysOfOnePlace(static_cast<size_t>(scale(200000)));
  ASSERT_EQ(keys.size(), static_cast<size_t>(scale(200000)));
  ASSERT_LT(keys.back(), UINT32_MAX);
  for (const uint64_t key : keys) newChild(top, static_cast<int32_t>(key), ztRoot_ctor);
  const auto made = static_cast<int32_t>(keys.size());
  const Storage file;
  ASSERT_EQ(ztRoot_storeTree(top, file), made + 1);
  top.end();
  EXPECT_EQ(Loaded(file).counts(), (Numbers{made + 1, 0, 0, 0}));
}
