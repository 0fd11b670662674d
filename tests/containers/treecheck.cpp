#include "tests/containers/treecheck.hh"

#include "core/ztmem.h"

#include <gtest/gtest.h>
#include <string.h>

#include <algorithm>

static void collect(ztAvlTreeItem *item, std::vector<ztAvlTreeItem *> &items) {
  if (item == nullptr) return;
  collect(item->left, items);
  items.push_back(item);
  collect(item->right, items);
}

std::vector<ztAvlTreeItem *> itemsOf(const ztAvlTree *tree) {
  std::vector<ztAvlTreeItem *> items;
  collect(tree->root, items);
  return items;
}

size_t positionOf(const ztAvlTree *tree, const ztAvlTreeItem *item) {
  const auto items = itemsOf(tree);
  return static_cast<size_t>(std::find(items.begin(), items.end(), item) - items.begin());
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

int32_t heightOf(const ztAvlTree *tree) {
  std::string fault;
  return checkedHeight(tree->root, fault);
}

std::string faultOf(const ztAvlTree *tree) {
  std::string fault;
  checkedHeight(tree->root, fault);
  const auto items = itemsOf(tree);
  if (tree->count != items.size()) fault += "the count is not the number of items; ";
  if (ztAvlTree_of(tree)->getSize(tree) != static_cast<int32_t>(items.size())) fault += "getSize differs; ";
  for (size_t i = 1; i < items.size(); ++i) {
    const int32_t order = tree->compareFunction(items[i - 1]->data, items[i]->data);
    if (order > 0) fault += "the order is wrong; ";
    if (order == 0 && !tree->allowDuplicate) fault += "equal elements; ";
  }
  return fault;
}

static std::string shapeOf(const ztAvlTreeItem *item) {
  if (item == nullptr) return "";
  const char *signs[] = {"-", "=", "+"};
  std::string shape = std::to_string(*static_cast<const int32_t *>(item->data)) + signs[item->balance + 1];
  if (item->left == nullptr && item->right == nullptr) return shape;
  return shape + "(" + shapeOf(item->left) + "," + shapeOf(item->right) + ")";
}

std::string shapeOf(const ztAvlTree *tree) {
  return shapeOf(tree->root);
}

static int32_t recorderCreate(void *object) {
  if (!ztSequenceContainer_table()->create(object)) return 0;
  auto *recorder = static_cast<Recorder *>(object);
  memset(recorder->calls, 0, sizeof recorder->calls);
  recorder->count = 0;
  recorder->lastMade = nullptr;
  recorder->lastDeleted = nullptr;
  recorder->rightOfDeleted = nullptr;
  recorder->refuseFrom = INT32_MAX;
  recorder->watched = nullptr;
  recorder->itemConstructor = ztAvlTreeItem_ctor;
  return 1;
}

static void record(void *object, char call) {
  auto *recorder = static_cast<Recorder *>(object);
  if (recorder->count < static_cast<int32_t>(sizeof recorder->calls) - 1) {
    recorder->calls[recorder->count] = call;
  }
  ++recorder->count;
}

static void *recorderNewItem(void *object, const void *element) {
  record(object, 'n');
  auto *recorder = static_cast<Recorder *>(object);
  if (recorder->count >= recorder->refuseFrom) return nullptr;
  recorder->lastMade = static_cast<ztAvlTreeItem *>(ztSequenceContainer_table()->newItem(object, element));
  return recorder->lastMade;
}

static void *recorderCopyItem(void *object, void *destination, const void *source) {
  record(object, 'c');
  return ztSequenceContainer_table()->copyItem(object, destination, source);
}

static void recorderDeleteItem(void *object, void *item) {
  record(object, 'd');
  auto *recorder = static_cast<Recorder *>(object);
  recorder->lastDeleted = static_cast<ztAvlTreeItem *>(item);
  recorder->rightOfDeleted = recorder->lastDeleted->right;
  if (recorder->watched != nullptr) {
    EXPECT_EQ(faultOf(recorder->watched), "");
  }
  ztSequenceContainer_table()->deleteItem(object, item);
}

static void recorderMethods(RecorderMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, recorderCreate);
  ZT_OVERRIDE_METHOD(methods, newItem, recorderNewItem);
  ZT_OVERRIDE_METHOD(methods, copyItem, recorderCopyItem);
  ZT_OVERRIDE_METHOD(methods, deleteItem, recorderDeleteItem);
}

ZT_DEFINE_CLASS(Recorder, ztSequenceContainer, recorderMethods)

std::string callsOf(Recorder *recorder) {
  std::string calls = recorder->calls;
  memset(recorder->calls, 0, sizeof recorder->calls);
  recorder->count = 0;
  return calls;
}
