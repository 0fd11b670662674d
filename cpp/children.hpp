// The children of nodes.
// Programs include it through zentova.hpp.
#ifndef ZT_CPP_CHILDREN_HPP
#define ZT_CPP_CHILDREN_HPP

#include "cpp/owners.hpp"
#include "cpp/walks.hpp"

#include <stddef.h>
#include <stdint.h>

#include <utility>

namespace zt {

/** @cond private */
namespace detail {

// Whether anything of a program may run, and destroy the child, while it is added: a slot or an override.
inline bool addingRunsCode(const void *parent, const void *child) {
  const auto *signals =
      static_cast<const ztMap *>(static_cast<const void *>(static_cast<const ztRoot *>(parent)->signals));
  const auto *nodes = tableOf<ztRoot>();
  const auto *parents = methodsOf<ztRoot>(parent);
  return signals == nullptr || signals->tree == nullptr || signals->tree->count != 0 ||
         parents->addChild != nodes->addChild || parents->findChildById != nodes->findChildById ||
         methodsOf<ztRoot>(child)->setParent != nodes->setParent;
}

}  // namespace detail
/** @endcond */

/** Gives a node to a parent, which owns it from then on: `zt::addChild(house, std::move(room))`.
 *  @return the child; NULL when a slot of "childAdded" destroyed it, and when the parent refused it: the owner then
 *          keeps it */
template <detail::Node To, typename T>
requires detail::NodeClass<T> Ptr<T> addChild(To &&parent, Own<T> &&child) {
  void *place = detail::address(parent);
  if (place == nullptr || !child) return {};
  void *added = child.release();
  void *watched = added;
  const bool runsCode = detail::addingRunsCode(place, added);
  if (runsCode) ztObject_watch(added, &watched);
  detail::methodsOf<ztRoot>(place)->addChild(place, added);
  if (watched == nullptr) return {};
  if (runsCode) ztObject_unwatch(added, &watched);
  if (static_cast<ztRoot *>(added)->parent == nullptr) {
    child.reset(static_cast<T *>(added));
    return {};
  }
  return static_cast<T *>(added);
}

/** Takes a node from its parent. @return its owner; an empty one when the node has no parent, or a slot of
 *  "childDeleted" destroyed it */
template <detail::Node From>
Own<detail::AddressOf<From>> takeChild(From &&child) {
  using T = detail::AddressOf<From>;
  T *node = detail::address(child);
  if (node == nullptr || detail::methodsOf<ztRoot>(node)->getParent(node) == nullptr) return {};
  void *watched = node;
  ztObject_watch(node, &watched);
  const int32_t count = node->refCount;
  detail::methodsOf<ztRoot>(node)->setParent(node, nullptr);
  if (watched == nullptr) return {};
  ztObject_unwatch(node, &watched);
  // Leaving a parent releases no reference. By `unRef` the node would end.
  node->refCount = count - 1;
  return Own<T>(node);
}

/** @cond private */
namespace detail {

template <typename T>
struct ChildWalk : ListWalk<T *> {
  using Reference = T *const &;
  Reference value() const {
    return ListWalk<T *>::value();
  }
};

}  // namespace detail
/** @endcond */

/** The children of a node as a range of pointers: see zt::children(). */
template <typename T>
class Children {
 public:
  /** The type of the elements. */
  using value_type = T *;
  /** Walks the children in both directions; valid as long as its child stays one. */
  using iterator = detail::Iterator<detail::ChildWalk<T>>;

  /** Without list it is empty. */
  explicit Children(ztRootPtrList *children) : list(reinterpret_cast<ztList *>(children)) {}
  /** The number of children. */
  size_t size() const {
    return list == nullptr ? 0 : list->count;
  }
  /** Whether there are none. */
  bool empty() const {
    return size() == 0;
  }
  /** The first child. */
  iterator begin() const {
    return iterator(detail::ChildWalk<T>{{list, list == nullptr ? nullptr : list->head}});
  }
  /** The end. */
  iterator end() const {
    return iterator(detail::ChildWalk<T>{{list, nullptr}});
  }

 private:
  ztList *list;
};

/** The children of a node in their order: `for (ztRoot *child : zt::children(house))`. With a type, as in
 *  `zt::children<Room>(house)`, they must all be of that class. */
template <typename T = ztRoot, detail::Node Of>
requires detail::NodeClass<T> Children<T> children(Of &&node) {
  return Children<T>(detail::address(node)->children);
}

}  // namespace zt

#endif
