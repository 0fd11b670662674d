/**
 * @file ztlistitem.h
 * ztListItem: what holds one element of a list, and its links.
 */
#ifndef ZT_CONTAINERS_ZTLISTITEM_H
#define ZT_CONTAINERS_ZTLISTITEM_H

#include "containers/ztcitem.h"

/** Fields of ztListItem. The links are the list's to change; a caller follows them to walk a list. */
#define ztListItem_FIELDS                                     \
  ztContainerItem_FIELDS                                      \
  struct ztListItem *prev; /* nearer the front; NULL at it */ \
  struct ztListItem *next; /* nearer the back; NULL at it */

/** ztListItem adds no methods; a new item has no links. */
#define ztListItem_METHODS ztContainerItem_METHODS

/** An item of a list. */
ZT_DECLARE_CLASS(ztListItem)

#endif
