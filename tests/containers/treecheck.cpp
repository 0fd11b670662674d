#include "tests/containers/treecheck.hh"

#include "containers/ztarrays.h"

#include <algorithm>

IntTree::IntTree(const Numbers &numbers, ztCtor constructor) : Tree(constructor) {
  (*this)->setElementSize(*this, sizeof(int32_t), 0);
  (*this)->setCompareFunction(*this, ztIntArray_compare_func);
  for (const int32_t number : numbers) push(number);
}

static const ztAvlTreeItem *rootOf(const void *tree) {
  return static_cast<const ztAvlTree *>(tree)->root;
}

static void collect(ztAvlTreeItem *item, std::vector<ztAvlTreeItem *> &items) {
  if (item == nullptr) return;
  collect(item->left, items);
  items.push_back(item);
  collect(item->right, items);
}

std::vector<ztAvlTreeItem *> itemsIn(const void *tree) {
  std::vector<ztAvlTreeItem *> items;
  collect(static_cast<const ztAvlTree *>(tree)->root, items);
  return items;
}

// The levels below and with an item; appends what is wrong to the fault.
static int32_t checkedHeight(const ztAvlTreeItem *item, std::string &fault) {
  if (item == nullptr) return 0;
  const int32_t left = checkedHeight(item->left, fault);
  const int32_t right = checkedHeight(item->right, fault);
  if (item->balance != right - left) fault += "a balance is not the difference of the heights; ";
  if (std::abs(right - left) > 1) fault += "the heights differ by more than 1; ";
  return 1 + std::max(left, right);
}

int32_t heightOf(const void *tree) {
  std::string fault;
  return checkedHeight(rootOf(tree), fault);
}

std::string faultOf(const void *object) {
  std::string fault;
  checkedHeight(rootOf(object), fault);
  const auto *tree = static_cast<const ztAvlTree *>(object);
  const auto items = itemsIn(tree);
  if (tree->count != items.size()) fault += "the count is not the number of items; ";
  if (ztAvlTree_of(tree)->getSize(tree) != static_cast<int32_t>(items.size())) fault += "getSize differs; ";
  for (size_t i = 1; i < items.size(); ++i) {
    const int32_t order = tree->compareFunction(items[i - 1]->data, items[i]->data);
    if (order > 0) fault += "the order is wrong; ";
    if (order == 0 && !tree->allowDuplicate) fault += "equal elements; ";
  }
  return fault;
}

static std::string shapeBelow(const ztAvlTreeItem *item) {
  if (item == nullptr) return "";
  std::string shape = std::to_string(*static_cast<const int32_t *>(item->data)) + "-=+"[item->balance + 1];
  if (item->left == nullptr && item->right == nullptr) return shape;
  return shape + "(" + shapeBelow(item->left) + "," + shapeBelow(item->right) + ")";
}

std::string shapeOf(const void *tree) {
  return shapeBelow(rootOf(tree));
}
