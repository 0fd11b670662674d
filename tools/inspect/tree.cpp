#include "tools/inspect/tree.hh"

#include "tools/inspect/output.hh"

#include <limits.h>

namespace ztinspect {

// These stand for no parent.
static bool namesParent(int32_t uid) {
  return uid != 0 && uid != -1;
}

void Tree::add(const Record &record) {
  if (all.size() >= INT_MAX) throw Problem("there are more records than a tree can have");
  Entry entry = {record.offset, record.uid, record.parentUid, record.identity.distance};
  entry.isNode = record.isNode && record.state == State::whole;
  all.push_back(entry);
}

bool Tree::hasParentByDistance(size_t index) {
  Entry &entry = all[index];
  if (entry.distance <= 0 || static_cast<size_t>(entry.distance) > index) return false;
  const size_t above = index - static_cast<size_t>(entry.distance);
  if (!all[above].isNode || all[above].uid != entry.parentUid) return false;
  entry.parent = static_cast<int32_t>(above);
  return true;
}

void Tree::findParents() {
  std::unordered_map<int32_t, int32_t> byUid;
  byUid.reserve(all.size());
  for (size_t i = 0; i < all.size(); ++i) {
    if (all[i].isNode && !byUid.emplace(all[i].uid, static_cast<int32_t>(i)).second) ++withUidOfOther;
  }
  for (size_t i = 0; i < all.size(); ++i) {
    if (!all[i].isNode || hasParentByDistance(i) || !namesParent(all[i].parentUid)) continue;
    const auto parent = byUid.find(all[i].parentUid);
    if (parent != byUid.end()) {
      all[i].parent = parent->second;
    } else {
      ++withoutParent;
    }
  }
}

// The path from a record ends at a root, at a record of an earlier search, or, in a cycle, at one of its own.
void Tree::cutLoops() {
  for (size_t i = 0; i < all.size(); ++i) {
    const auto search = static_cast<int32_t>(i) + 1;
    auto at = static_cast<int32_t>(i);
    const auto entry = [&]() -> Entry & { return all[static_cast<size_t>(at)]; };
    for (; at != none && entry().visit == 0; at = entry().parent) entry().visit = search;
    if (at == none || entry().visit != search) continue;
    entry().parent = none;
    ++cycles;
  }
}

void Tree::finish() {
  findParents();
  cutLoops();
  for (size_t i = all.size(); i-- > 0;) {
    if (all[i].parent == none) continue;
    Entry &parent = all[static_cast<size_t>(all[i].parent)];
    all[i].nextSibling = parent.firstChild;
    parent.firstChild = static_cast<int32_t>(i);
  }
}

void Tree::walk(const std::function<void(const Entry &entry, size_t depth)> &visit) const {
  for (const Entry &top : all) {
    if (top.parent != none) continue;
    size_t depth = 0;
    for (const Entry *at = &top;;) {
      visit(*at, depth);
      if (at->firstChild != none) {
        at = &all[static_cast<size_t>(at->firstChild)];
        ++depth;
        continue;
      }
      for (; depth > 0 && at->nextSibling == none; --depth) at = &all[static_cast<size_t>(at->parent)];
      if (depth == 0) break;
      at = &all[static_cast<size_t>(at->nextSibling)];
    }
  }
}

}  // namespace ztinspect
