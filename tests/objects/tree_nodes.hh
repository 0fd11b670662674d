// Nodes, trees and listeners for the tests of the node tree.
#ifndef ZT_TESTS_TREE_NODES_HH
#define ZT_TESTS_TREE_NODES_HH

#include "objects/ztroot.h"
#include "tests/helpers/storage.hh"
#include "tests/objects/listeners.hh"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

// LiveNode: a node whose class counts the live ones, and that stores a value behind its record.
#define LiveNode_FIELDS \
  ztRoot_FIELDS         \
  int32_t value;
#define LiveNode_METHODS ztRoot_METHODS
ZT_DECLARE_CLASS(LiveNode)

// LiveNode objects that were created or cloned and not yet destroyed.
extern int32_t nodesLive;

// Constructs a node whose class has a name that fills the name of a node, and its field in an identity.
extern const ztCtor longNamedCtor;

using Nodes = std::vector<ztRoot *>;
using Numbers = std::vector<int32_t>;

// Listeners of nodes, and a check at the end that all LiveNode objects have ended.
class Forest {
 public:
  Forest() = default;
  ~Forest();
  Forest(const Forest &) = delete;
  Forest &operator=(const Forest &) = delete;

  // Has an action run for each "childAdded", "childDeleted" or "destroyed" of a node as long as this lives.
  static void on(void *node, const char *signalName, std::function<void(ztRoot *)> action);
};

class ForestTest : public testing::Test, protected Forest {};

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
  void release();
  // Leaves the tree to the caller.
  ztRoot *handOver() {
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

// A copy that belongs to the caller; NULL when the node is not cloned.
ztRoot *newCopy(const ztRoot *node);

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
