/**
 * @file ztavltitem.h
 * ztAvlTreeItem: an item of a tree, with its links.
 */
#ifndef ZT_CONTAINERS_ZTAVLTITEM_H
#define ZT_CONTAINERS_ZTAVLTITEM_H

#include "containers/ztcitem.h"

/** Fields of ztAvlTreeItem; only the tree changes them. */
#define ztAvlTreeItem_FIELDS                                                                \
  ztContainerItem_FIELDS                                                                    \
  int32_t balance;             /* height of the right subtree minus the left: -1, 0 or 1 */ \
  struct ztAvlTreeItem *left;  /* elements that sort before this one or equal to it */      \
  struct ztAvlTreeItem *right; /* elements that sort after it */

/** ztAvlTreeItem adds no methods; a new item has no links. */
#define ztAvlTreeItem_METHODS ztContainerItem_METHODS

/** An item of a tree. */
ZT_DECLARE_CLASS(ztAvlTreeItem)

#endif
