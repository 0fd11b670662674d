/**
 * @file ztavltitem.h
 * ztAvlTreeItem: what holds one element of a tree, and its links.
 */
#ifndef ZT_CONTAINERS_ZTAVLTITEM_H
#define ZT_CONTAINERS_ZTAVLTITEM_H

#include "containers/ztcitem.h"

/** Fields of ztAvlTreeItem; the tree alone changes them. */
#define ztAvlTreeItem_FIELDS                                                                       \
  ztContainerItem_FIELDS                                                                           \
  int32_t balance;             /* height of the right subtree less that of the left: -1, 0 or 1 */ \
  struct ztAvlTreeItem *left;  /* the elements that sort before this one or equal to it */         \
  struct ztAvlTreeItem *right; /* the elements that sort after it */

/** ztAvlTreeItem adds no methods; a new item has no links. */
#define ztAvlTreeItem_METHODS ztContainerItem_METHODS

/** An item of a tree. */
ZT_DECLARE_CLASS(ztAvlTreeItem)

#endif
