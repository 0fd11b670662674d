/**
 * @file ztavltree.h
 * ztAvlTree: a sorted container, a height-balanced binary search tree.
 *
 * Set the compare function and the element policy (see ztcont.h) before the first element. The compare
 * function is always called with a stored element first and the key, or the new element, second. An
 * element in the caller's form is the pointer itself for a tree by pointer, otherwise an address to
 * copy from; a key has the form of a stored element, which is the same: the pointer, the address of the
 * bytes, the object.
 *
 * Equal elements are refused unless `setAllowDuplicate` allows them. A new element comes before those
 * equal to it. Walk a tree with a ztAvlIterator (ztavliter.h).
 *
 * Every item is made and deleted by the item manager: each `push` but the first into an empty tree makes
 * two and deletes one of them. An item that is deleted may still bear links; its disposal must not follow
 * them. By the time an item is deleted the tree is whole again without it.
 */
#ifndef ZT_CONTAINERS_ZTAVLTREE_H
#define ZT_CONTAINERS_ZTAVLTREE_H

#include "containers/ztavltitem.h"
#include "containers/ztscont.h"

/** Fields of ztAvlTree. In order, no item sorts before the one ahead of it; the two subtrees of an item
 *  never differ by more than 1 in height. */
#define ztAvlTree_FIELDS                                   \
  ztSequenceContainer_FIELDS                               \
  struct ztAvlTreeItem *root; /* NULL when empty; owned */ \
  uint32_t count;             /* the number of items */

/**
 * The methods of a tree, in slot order after those of ztSequenceContainer. Items stay the tree's. With
 * more than one element, or to find or take one, a tree needs its compare function: without it the
 * result is NULL or 0 and nothing changes.
 *
 *  - `push`: adds an element. Returns the item that holds it; NULL when duplicates are not allowed and an equal
 *    element is there, or when the item manager makes no item.
 *  - `pop`: removes the first element met from the root down that is equal to the key, and releases it
 *    as the policy says. 1; 0 when there is none; 1 when the tree is empty. Items are not stable: the
 *    element of another item may have moved into the one that held the removed element, so hold no item
 *    across a `pop`.
 *  - `empty`: removes and releases every element.
 *  - `find`: the first item met from the root down whose element is equal to the key, or NULL.
 *  - `findAll`: appends elements equal to the key to another sequence container, with the method that
 *    stands first in that class's own (a list's or array's `pushBack`, a queue's, stack's or tree's
 *    `push`), and returns the container's size then. Takes the equal elements that one way down from the
 *    root meets, which goes left after each; others may be missed. 0, with nothing appended, when
 *    duplicates are not allowed, even if the key is there (use `find`), or the output is no sequence
 *    container.
 *
 * `clone` gives an independent copy, its elements in the same order, equal ones included, made by the
 * copy's own item manager, itself. The items of a map's tree hold values besides, which a tree cannot
 * copy: a copy of that tree is empty.
 */
#define ztAvlTree_METHODS                                                       \
  ztSequenceContainer_METHODS                                                   \
  struct ztAvlTreeItem *(*push)(void *tree, const void *element);      /* 27 */ \
  int32_t (*pop)(void *tree, const void *key);                         /* 28 */ \
  void (*empty)(void *tree);                                           /* 29 */ \
  struct ztAvlTreeItem *(*find)(const void *tree, const void *key);    /* 30 */ \
  int32_t (*findAll)(const void *tree, const void *key, void *output); /* 31 */

/** A sorted container. */
ZT_DECLARE_CLASS(ztAvlTree)

#endif
