/**
 * @file ztavliter.h
 * ztAvlIterator: walks a ztAvlTree in order, forwards and backwards.
 *
 * @code
 * ztAvlIterator walk;
 * ztAvlIterator_ctor(&walk, 1);
 * const ztAvlIteratorMethods *methods = ztAvlIterator_of(&walk);
 * for (ztAvlTreeItem *item = (ztAvlTreeItem *)methods->first(&walk, tree); item != NULL;
 *      item = (ztAvlTreeItem *)methods->next(&walk)) ...
 * @endcode
 *
 * It allocates nothing and owns nothing. A walk is valid until the tree changes; begin a new one after
 * each `push`, `pop` or `empty`.
 */
#ifndef ZT_CONTAINERS_ZTAVLITER_H
#define ZT_CONTAINERS_ZTAVLITER_H

#include "containers/ztavltree.h"
#include "containers/ztiter.h"

/** Fields of ztAvlIterator. A tree of 64 levels would not fit into memory. */
#define ztAvlIterator_FIELDS                                                             \
  ztIterator_FIELDS                                                                      \
  const struct ztAvlTree *tree;   /* the tree being walked; not owned */                 \
  struct ztAvlTreeItem *current;  /* the item last returned; NULL when the walk ended */ \
  struct ztAvlTreeItem *path[64]; /* the items above the current one, the root first */  \
  uint32_t depth;                 /* entries in use of the path */

/**
 * ztAvlIterator adds no methods to those of ztIterator. Its containers are trees, its items ztAvlTreeItem.
 *
 * `move`, `next` and `prev` return NULL for a walk that has ended or was never begun. `first` and `last` begin
 * with `start`, `next` and `prev` step with `move`. A `clone` continues at its source's position.
 */
#define ztAvlIterator_METHODS ztIterator_METHODS

/** An iterator over a tree. */
ZT_DECLARE_CLASS(ztAvlIterator)

#endif
