// Nodes, listeners and files for the tests of the node tree.
#ifndef ZT_TESTS_TREE_NODES_HH
#define ZT_TESTS_TREE_NODES_HH

#include "io/ztfile.h"
#include "objects/ztroot.h"
#include "tests/objects/listeners.hh"

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
inline int32_t &nodesLive = liveOf<LiveNode>;

// NodeListener: an object whose slot runs an action that the test sets.
using Action = std::function<void(ztRoot *child)>;

#define NodeListener_FIELDS \
  ztObject_FIELDS           \
  Action *action; /* not owned */
#define NodeListener_METHODS ztObject_METHODS
ZT_DECLARE_CLASS(NodeListener)

// Checks that all nodes made meanwhile have ended, and gives the test its listeners.
class Forest {
 public:
  Forest();
  ~Forest();
  Forest(const Forest &) = delete;
  Forest &operator=(const Forest &) = delete;

  // Has an action run for each "childAdded" or "childDeleted" of a node, as long as this lives.
  void on(void *node, const char *signalName, Action action);

 private:
  struct Connected {
    void *listener;
    Action *action;
  };

  int32_t before;
  std::vector<Connected> connected;
};

// A new node, not attached.
ztRoot *newNode(int32_t uid = 1, ztCtor constructor = LiveNode_ctor);
// A new node that belongs to its parent alone.
ztRoot *newChild(void *parent, int32_t uid = 1);

// A copy that belongs to the caller; NULL when the node is not cloned.
ztRoot *newCopy(const ztRoot *node);

void addChild(void *node, void *child);
void deleteChild(void *node, void *child);
int32_t setParent(void *node, void *parent);

std::string nameOf(const void *node);
int32_t countOf(const void *node);
std::vector<ztRoot *> childrenOf(const void *node);
// A node and all below it as text, such as "1(2 3(4))".
std::string shapeOf(const ztRoot *node);

// A file that is deleted with this object.
class NodeFile {
 public:
  explicit NodeFile(ztCtor constructor = ztFile_ctor, const std::string &bytes = "");
  ~NodeFile();
  NodeFile(const NodeFile &) = delete;
  NodeFile &operator=(const NodeFile &) = delete;

  void *get() const {
    return file;
  }
  void rewind() const;
  std::string bytes() const;

 private:
  void *file;
  std::string name;
};

// What a load gave; ends with the roots.
class Loaded {
 public:
  explicit Loaded(void *file, int32_t count = -1);
  // A file of its own.
  explicit Loaded(const std::string &path);
  ~Loaded();
  Loaded(const Loaded &) = delete;
  Loaded &operator=(const Loaded &) = delete;

  std::vector<ztRoot *> tops() const;
  std::string shapes() const;
  // Nodes, orphans, doubles and loops.
  std::vector<int32_t> counts() const;

  int32_t result;

 private:
  void *roots;
  ztTreeReport report;
};

#endif
