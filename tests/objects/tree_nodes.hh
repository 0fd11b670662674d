// Nodes, trees and listeners for the tests of the node tree.
#ifndef ZT_TESTS_TREE_NODES_HH
#define ZT_TESTS_TREE_NODES_HH

#include "containers/ztarrays.h"
#include "objects/ztroot.h"
#include "tests/helpers/owned.hh"
#include "tests/helpers/replaced.hh"
#include "tests/helpers/storage.hh"
#include "tests/objects/listeners.hh"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <type_traits>
#include <vector>

// LiveNode: a node whose class counts the live ones, and that stores a value behind its record.
#define LiveNode_FIELDS \
  ztRoot_FIELDS         \
  int32_t value;
#define LiveNode_METHODS ztRoot_METHODS
ZT_DECLARE_CLASS(LiveNode)

// LiveNode objects that were created or cloned and not yet destroyed.
inline int32_t &nodesLive = liveOf<LiveNode>;

// Classes whose methods tests replace.
#define OddNode_FIELDS LiveNode_FIELDS
#define OddNode_METHODS LiveNode_METHODS
ZT_DECLARE_CLASS(OddNode)
#define OddFile_FIELDS ztFile_FIELDS
#define OddFile_METHODS ztFile_METHODS
ZT_DECLARE_CLASS(OddFile)
OddNodeMethods &oddNode();
OddFileMethods &oddFile();

// Constructs a node whose class has a name that fills the name of a node, and its field in an identity.
extern const ztCtor longNamedCtor;

using Nodes = std::vector<ztRoot *>;
using File = Owned<ztFile, ztFileMethods>;
using Pointers = Owned<ztPtrArray, ztPtrArrayMethods>;
using Numbers = std::vector<int32_t>;

// A test of trees, at whose end all LiveNode objects have to be gone.
class ForestTest : public testing::Test {
 protected:
  ~ForestTest() override;

  // Has an action run for each "childAdded", "childDeleted" or "destroyed" of a node during the test.
  static void on(void *node, const char *signalName, std::function<void(ztRoot *)> action);
};

// A tree that a test owns.
class Tree {
 public:
  // As "1(2(3) 4)", by the identifiers.
  explicit Tree(const std::string &shape, ztCtor constructor = LiveNode_ctor);
  explicit Tree(void *top) : root(static_cast<ztRoot *>(top)) {}
  ~Tree();
  Tree(const Tree &) = delete;
  Tree &operator=(const Tree &) = delete;

  operator ztRoot *() const {
    return root;
  }
  const ztRootMethods *operator->() const {
    return ztRoot_of(root);
  }
  ztRoot &fields() const {
    return *root;
  }
  // The first node with the identifier.
  ztRoot *operator[](int32_t uid) const;

  // Releases the tree early.
  void end();
  // Hands the tree over.
  ztRoot *release() {
    return std::exchange(root, nullptr);
  }

 private:
  ztRoot *root;
};

// A new node, not attached.
ztRoot *newNode(int32_t uid = 1, ztCtor constructor = LiveNode_ctor);
// A new node that belongs to its parent alone.
ztRoot *newChild(void *parent, int32_t uid, ztCtor constructor = LiveNode_ctor);
// Nodes with the identifiers from 1 on, each the only child of the one before.
ztRoot *newChain(int levels, ztCtor constructor);

void addChild(void *node, void *child);
void deleteChild(void *node, void *child);
int32_t setParent(void *node, void *parent);
// Lists a child as a host may do it, by the methods of the list.
void putIntoList(const ztRoot *node, void *child);
// Takes references back until a node has no more than these.
void releaseDownTo(int32_t references, void *node);

std::string nameOf(const void *node);
int32_t countOf(const void *node);
ztRoot *parentOf(const void *node);
Nodes childrenOf(const void *node);
// NULL for a node without children.
ztRoot *firstChildOf(const void *node);
// The last of the first children, and how many there are from the node on.
ztRoot *lowestOf(ztRoot *node);
int depthOf(const ztRoot *node);
// A node and all below it as text, such as "1(2 3(4))".
std::string shapeOf(const ztRoot *node);

// The bytes of a number as they are stored.
std::string bytesOf(int32_t value);

// What a load gave; ends with the roots.
class Loaded {
 public:
  // From where the file stands.
  explicit Loaded(void *file, int32_t count = -1);
  // From the beginning of a file.
  explicit Loaded(const Storage &file, int32_t count = -1);
  // A file of its own.
  explicit Loaded(const std::string &path);
  ~Loaded();
  Loaded(const Loaded &) = delete;
  Loaded &operator=(const Loaded &) = delete;

  Nodes tops() const;
  // "none" where the load failed.
  std::string shapes() const;
  // Nodes, orphans, doubles and loops.
  Numbers counts() const;

  int32_t result;

 private:
  void *roots;
  ztTreeReport report;
};

#endif
