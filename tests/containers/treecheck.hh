// Checks of a tree's shape, independent of the library's iterators.
#ifndef ZT_TESTS_TREECHECK_HH
#define ZT_TESTS_TREECHECK_HH

#include "containers/ztavltree.h"

#include <string>
#include <vector>

// The items of a tree in order.
std::vector<ztAvlTreeItem *> itemsOf(const ztAvlTree *tree);

// The position of an item in the tree's order.
size_t positionOf(const ztAvlTree *tree, const ztAvlTreeItem *item);

// What is wrong with a tree's balances, order or count; empty when nothing is.
std::string faultOf(const ztAvlTree *tree);

// Levels of a tree.
int32_t heightOf(const ztAvlTree *tree);

// A tree of int32_t by value in one line, as in "2=(1=,4-(3=,))": each number, its balance (= even, - left
// higher, + right higher), and its two subtrees unless both are empty.
std::string shapeOf(const ztAvlTree *tree);

// A host's item manager. It keeps elements as the sequence policy says, and writes down what it is asked
// for: 'n' for a new item, 'c' for a copy, 'd' for a deletion.
#define Recorder_FIELDS                                                        \
  ztSequenceContainer_FIELDS                                                   \
  char calls[64];                                                              \
  int32_t count;                                                               \
  ztAvlTreeItem *lastMade;                                                     \
  ztAvlTreeItem *lastDeleted;          /* by then released */                  \
  const ztAvlTreeItem *rightOfDeleted; /* its right link */                    \
  int32_t refuseFrom;                  /* from this call on no item is made */ \
  const ztAvlTree *watched;            /* is whole whenever an item is deleted */
#define Recorder_METHODS ztSequenceContainer_METHODS
ZT_DECLARE_CLASS(Recorder)

// What the recorder wrote down since it was asked last.
std::string callsOf(Recorder *recorder);

#endif
