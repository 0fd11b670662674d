/**
 * @file ztlistitem.h
 * ztListItem: an item of a list, with its links.
 */
#ifndef ZT_CONTAINERS_ZTLISTITEM_H
#define ZT_CONTAINERS_ZTLISTITEM_H

#include "containers/ztcitem.h"

/** Fields of ztListItem. Only the list changes the links; a caller may follow them. */
#define ztListItem_FIELDS                                            \
  ztContainerItem_FIELDS                                             \
  struct ztListItem *prev; /* nearer the front; NULL at the front */ \
  struct ztListItem *next; /* nearer the back; NULL at the back */

/** ztListItem adds no methods; a new item has no links. */
#define ztListItem_METHODS ztContainerItem_METHODS

/** An item of a list. */
ZT_DECLARE_CLASS(ztListItem)

#endif
