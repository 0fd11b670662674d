/**
 * @file ztavltree.h
 * ztAvlTree: a sorted container, a height-balanced binary search tree.
 *
 * Set the compare function and the element policy (see ztcont.h) before the first element. The compare function
 * always gets a stored element first and the key, or the new element, second. In the caller's form an element
 * or a key is the pointer itself for a tree by pointer, otherwise the address of the bytes or of the object.
 *
 * Equal elements are refused unless `setAllowDuplicate` allows them. A new element comes before equal ones.
 * Walk a tree with a ztAvlIterator (ztavliter.h).
 *
 * The item manager makes and deletes every item: each `push`, except into an empty tree, makes two and deletes
 * one of them. A deleted item may still have links; its `deleteItem` must not follow them. The tree no longer
 * has an item when the item is deleted.
 */
#ifndef ZT_CONTAINERS_ZTAVLTREE_H
#define ZT_CONTAINERS_ZTAVLTREE_H

#include "containers/ztavltitem.h"
#include "containers/ztscont.h"

/** Fields of ztAvlTree. No item sorts before the previous one; an item's subtrees differ by at most 1 in
 *  height. */
#define ztAvlTree_FIELDS                                   \
  ztSequenceContainer_FIELDS                               \
  struct ztAvlTreeItem *root; /* NULL when empty; owned */ \
  uint32_t count;             /* the number of items */

/**
 * The methods of a tree, in slot order after those of ztSequenceContainer. The tree keeps its items. A tree
 * needs its compare function to hold more than one element, and to find or remove one: without it the result is
 * NULL or 0 and nothing changes.
 *
 *  - `push`: adds an element. Returns its item; NULL when duplicates are not allowed and an equal element
 *    exists, or when the item manager makes no item.
 *  - `pop`: removes the first element met from the root down that is equal to the key, and releases it as the
 *    policy says. 1; 0 when there is none; 1 when the tree is empty. Keep no item across a `pop`: the element
 *    of another item may have moved into the item of the removed element.
 *  - `empty`: removes and releases every element.
 *  - `find`: the first item met from the root down whose element is equal to the key, or NULL.
 *  - `findAll`: appends elements equal to the key to another sequence container, with the first method of its
 *    own class (a list's or array's `pushBack`, a queue's, stack's or tree's `push`), and returns the
 *    container's new size. It takes the equal elements on one path down from the root, which goes left after
 *    each, and may miss others. 0, with nothing appended, when duplicates are not allowed, even if the key
 *    exists (use `find`), or when the output is no sequence container.
 *
 * `clone` makes an independent copy with its elements in the same order; the copy is its own item manager. A
 * tree cannot copy the values in the items of a map's tree: a copy of that tree is empty.
 */
#define ztAvlTree_METHODS                                                                   \
  ztSequenceContainer_METHODS                                                               \
  struct ztAvlTreeItem *(*push)(void *tree, const ztBorrowed *element);            /* 27 */ \
  int32_t (*pop)(void *tree, const ztBorrowed *key);                               /* 28 */ \
  void (*empty)(void *tree);                                                       /* 29 */ \
  struct ztAvlTreeItem *(*find)(const void *tree, const ztBorrowed *key);          /* 30 */ \
  int32_t (*findAll)(const void *tree, const ztBorrowed *key, ztBorrowed *output); /* 31 */

/** A sorted container. */
ZT_DECLARE_CLASS(ztAvlTree)

#endif
