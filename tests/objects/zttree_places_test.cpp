// Trees in which the identifiers do not tell the places of the nodes.
#include "objects/ztroot.h"

#include "io/zttxtfile.h"
#include "tests/helpers/scale.hh"
#include "tests/objects/tree_nodes.hh"

#include <gtest/gtest.h>

#include <unistd.h>

#include <random>

// A class with a name that leaves no room behind it in the name field of an identity.
#define NodeOfAClassWhoseNameIsSoLongThatNothingElseFitsIntoTheNameFieldOfTheIdentityThatIsStoredWithIt_FIELDS \
  ztRoot_FIELDS
#define NodeOfAClassWhoseNameIsSoLongThatNothingElseFitsIntoTheNameFieldOfTheIdentityThatIsStoredWithIt_METHODS \
  ztRoot_METHODS
ZT_DECLARE_CLASS(
    NodeOfAClassWhoseNameIsSoLongThatNothingElseFitsIntoTheNameFieldOfTheIdentityThatIsStoredWithIt)

static void longMethods(
    NodeOfAClassWhoseNameIsSoLongThatNothingElseFitsIntoTheNameFieldOfTheIdentityThatIsStoredWithItMethods
        *) {}

ZT_DEFINE_CLASS(
    NodeOfAClassWhoseNameIsSoLongThatNothingElseFitsIntoTheNameFieldOfTheIdentityThatIsStoredWithIt, ztRoot,
    longMethods)

namespace {

const size_t recordSize = 100 + 4 + 4 + 80 + 4;

// As "1(2(3))", of plain nodes.
ztRoot *newTree(const char *&text) {
  char *end = nullptr;
  ztRoot *node = newNode(static_cast<int32_t>(strtol(text, &end, 10)), ztRoot_ctor);
  text = end;
  if (*text != '(') return node;
  do {
    addChild(node, newTree(++text));
  } while (*text == ' ');
  ++text;
  return node;
}

ztRoot *newTree(const std::string &shape) {
  const char *text = shape.c_str();
  return newTree(text);
}

void expectToComeBack(const std::vector<std::string> &shapes) {
  std::string expected;
  for (const std::string &shape : shapes) expected += (expected.empty() ? "" : " ") + shape;
  for (const ztCtor constructor : {ztFile_ctor, ztTextFile_ctor}) {
    const NodeFile file(constructor);
    for (const std::string &shape : shapes) {
      ztRoot *tree = newTree(shape);
      EXPECT_GT(ztRoot_storeTree(tree, file.get()), 0);
      release(tree);
    }
    file.rewind();
    const Loaded loaded(file.get());
    EXPECT_EQ(loaded.result, 1);
    EXPECT_EQ(loaded.shapes(), expected);
    EXPECT_EQ(loaded.counts()[1], 0);
    EXPECT_EQ(loaded.counts()[3], 0);
  }
}

}  // namespace

TEST(StoredPlaces, OfACopyBesideItsOriginalComeBack) {
  expectToComeBack({"1(2(3 4) 2(3 4) 5)"});
}

TEST(StoredPlaces, OfACopyBelowItsOriginalComeBack) {
  expectToComeBack({"1(2(1(2(3)) 3) 4)"});
  expectToComeBack({"1(1(1(2)) 3)"});
  expectToComeBack({"1(1(1) 1(1 1))"});
}

TEST(StoredPlaces, BelowAParentWithoutAUsualIdentifierComeBack) {
  expectToComeBack({"0(1(2) -1(3 0(4)))"});
  expectToComeBack({"-1(5)"});
  expectToComeBack({"7(0(8) 0(9))"});
}

TEST(StoredPlaces, OfSeveralTreesWithEqualIdentifiersInOneFileComeBack) {
  expectToComeBack({"1(2(3))", "1(2(3))", "1(2 3)"});
  expectToComeBack({"0(0)", "0(0(0))", "2"});
}

TEST(StoredPlaces, OfATreeBehindOthersOnAPipeComeBackToo) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  auto *writer = static_cast<ztFile *>(ztFile_ctor(nullptr, 1));
  writer->stream = fdopen(ends[1], "wb");
  for (const char *shape : {"1(2(3))", "1(2(3) 2)"}) {
    ztRoot *tree = newTree(shape);
    EXPECT_GT(ztRoot_storeTree(tree, writer), 0);
    release(tree);
  }
  release(writer);
  auto *reader = static_cast<ztFile *>(ztFile_ctor(nullptr, 1));
  reader->stream = fdopen(ends[0], "rb");
  const Loaded loaded(reader);
  EXPECT_EQ(loaded.shapes(), "1(2(3)) 1(2(3) 2)");
  release(reader);
}

TEST(StoredPlaces, OfRandomTreesWithFewIdentifiersComeBack) {
  std::mt19937 random(19);
  const int32_t identifiers[] = {0, -1, 1, 2, INT32_MIN};
  for (int turn = 0; turn < scale(600); ++turn) {
    std::vector<ztRoot *> nodes = {newNode(identifiers[random() % 5], ztRoot_ctor)};
    const int count = 1 + static_cast<int>(random() % 40);
    while (static_cast<int>(nodes.size()) < count) {
      ztRoot *parent = nodes[random() % nodes.size()];
      nodes.push_back(newNode(identifiers[random() % 5], ztRoot_ctor));
      addChild(parent, nodes.back());
    }
    const NodeFile file(turn % 2 == 0 ? ztFile_ctor : ztTextFile_ctor);
    ASSERT_EQ(ztRoot_storeTree(nodes[0], file.get()), count);
    file.rewind();
    {
      const Loaded loaded(file.get());
      ASSERT_EQ(loaded.shapes(), shapeOf(nodes[0]));
    }
    release(nodes[0]);
  }
}

// What is told beside the identifiers stands where other readers do not look, and only where it is needed.
TEST(StoredPlaces, AreToldBehindTheNameOfTheClassAndOnlyWhereTheIdentifierMisleads) {
  ztRoot *tree = newTree("1(2(3) 2(4) 0(5))");
  const NodeFile file;
  ASSERT_EQ(ztRoot_storeTree(tree, file.get()), 7);
  const std::string bytes = file.bytes();
  const char *hints[] = {"", "", "", "", "above:0000000001", "", "above:0000000001"};
  for (size_t i = 0; i < 7; ++i) {
    const std::string field = bytes.substr(i * recordSize, 100);
    std::string expected = std::string("ztRoot") + std::string(77, '\0') + hints[i];
    expected.resize(100, '\0');
    EXPECT_EQ(field, expected) << i;
  }
  file.rewind();
  for (int i = 0; i < 7; ++i) {
    void *node = ztBaseClass_functions()->classRead(nullptr, file.get());
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(ztRoot_of(node)->read(node, file.get()), 1);
    release(node);
  }
  release(tree);
}

TEST(StoredPlaces, OfFilesThatDoNotTellThemAreThoseOfTheFirstWithTheIdentifier) {
  ztRoot *tree = newTree("1(2(3) 2(4))");
  const NodeFile stored;
  ASSERT_EQ(ztRoot_storeTree(tree, stored.get()), 5);
  release(tree);
  const std::string whole = stored.bytes();
  const size_t hint = 4 * recordSize + 83;
  ASSERT_EQ(whole.substr(hint, 6), "above:");
  for (const char *instead : {"", "above:0000000000", "above:0000000005", "above:9999999999",
                              "above:000000000x", "above;0000000001", "above:0000000004"}) {
    std::string bytes = whole;
    bytes.replace(hint, 16, std::string(instead) + std::string(16 - strlen(instead), '\0'));
    const NodeFile file(ztFile_ctor, bytes);
    EXPECT_EQ(Loaded(file.get()).shapes(), "1(2(3 4) 2)") << instead;
  }
  // Other bytes that a name's field may hold behind the name.
  std::string bytes = whole;
  bytes[hint - 1] = 'x';
  const NodeFile file(ztFile_ctor, bytes);
  EXPECT_EQ(Loaded(file.get()).shapes(), "1(2(3 4) 2)");
}

TEST(StoredPlaces, AreLostWhereTheNameOfTheClassLeavesNoRoom) {
  ztRoot *tree = newTree("1(2 2)");
  addChild(
      childrenOf(tree)[1],
      newNode(
          3,
          NodeOfAClassWhoseNameIsSoLongThatNothingElseFitsIntoTheNameFieldOfTheIdentityThatIsStoredWithIt_ctor));
  const NodeFile file;
  ASSERT_EQ(ztRoot_storeTree(tree, file.get()), 4);
  release(tree);
  file.rewind();
  EXPECT_EQ(Loaded(file.get()).shapes(), "1(2(3) 2)");
}

// Keys that all stood in one place of a table whose key is known: at the distance of the inverse of its
// multiplier. The test ends in time only where they do not.
TEST(LargeTrees, WithIdentifiersThatWereChosenToMeetAreLoadedAllTheSame) {
  const int count = scale(200000);
  constexpr uint64_t multiplier = 0x9E3779B97F4A7C15U;
  ztRoot *top = newNode(1, ztRoot_ctor);
  int made = 0;
  // The high bits of a product are those of its first place where a key is chosen for a small product.
  uint64_t key = 2;
  for (; made < count && key < UINT32_MAX; ++key) {
    if ((key * multiplier) >> 54 != 0) continue;
    addChild(top, newNode(static_cast<int32_t>(key), ztRoot_ctor));
    ++made;
  }
  const NodeFile file;
  ASSERT_EQ(ztRoot_storeTree(top, file.get()), made + 1);
  release(top);
  file.rewind();
  const Loaded loaded(file.get());
  EXPECT_EQ(loaded.counts(), (std::vector<int32_t>{made + 1, 0, 0, 0}));
}
