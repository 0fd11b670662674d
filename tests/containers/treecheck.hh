// A tree of numbers, and checks of a tree's shape that are independent of the library's iterators.
#ifndef ZT_TESTS_TREECHECK_HH
#define ZT_TESTS_TREECHECK_HH

#include "containers/ztavltree.h"
#include "tests/containers/verbs.hh"

using Tree = Owned<ztAvlTree, ztAvlTreeMethods>;

// Keeps numbers by value.
class IntTree : public Tree {
 public:
  explicit IntTree(const Numbers &numbers = {}, ztCtor constructor = ztAvlTree_ctor);
  ztAvlTreeItem *push(int32_t number) const {
    return (*this)->push(*this, &number);
  }
  int32_t pop(int32_t number) const {
    return (*this)->pop(*this, &number);
  }
  ztAvlTreeItem *find(int32_t number) const {
    return (*this)->find(*this, &number);
  }
};

// The items of a tree in order.
std::vector<ztAvlTreeItem *> itemsIn(const void *tree);

// What is wrong with a tree's balances, order or count; empty when nothing is.
std::string faultOf(const void *tree);

// Levels of a tree.
int32_t heightOf(const void *tree);

// A tree of numbers by value in one line, as in "2=(1=,4-(3=,))": each number, its balance (= even, - left
// higher, + right higher), and its two subtrees unless both are empty.
std::string shapeOf(const void *tree);

#endif
