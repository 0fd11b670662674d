// Which record is below which: the tree that the library would load.
#ifndef ZT_INSPECT_TREE_HH
#define ZT_INSPECT_TREE_HH

#include "tools/inspect/records.hh"

#include <functional>
#include <vector>

namespace ztinspect {

constexpr int32_t none = -1;

// A record, as far as the tree needs it.
struct Entry {
  int64_t offset;
  int32_t uid;
  int32_t parentUid;
  int32_t distance;
  int32_t parent = none;  // the index of its entry
  int32_t firstChild = none;
  int32_t nextSibling = none;
  int32_t visit = 0;  // the search for cycles that visited it
  bool isNode = false;
};

class Tree {
 public:
  // All records of a file, read once.
  void add(const Record &record);
  // Finds the parents, when all records were added.
  void finish();

  const std::vector<Entry> &entries() const {
    return all;
  }
  int64_t orphans() const {
    return withoutParent;
  }
  int64_t doubles() const {
    return withUidOfOther;
  }
  int64_t loops() const {
    return cycles;
  }
  // Calls a function with each entry, parents first, and its depth.
  void walk(const std::function<void(const Entry &entry, size_t depth)> &visit) const;

 private:
  bool hasParentByDistance(size_t index);
  void findParents();
  void cutLoops();

  std::vector<Entry> all;
  int64_t withoutParent = 0;
  int64_t withUidOfOther = 0;
  int64_t cycles = 0;
};

}  // namespace ztinspect

#endif
