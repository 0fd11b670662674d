/**
 * @file ztmapitem.h
 * ztMapItem: an item of a map, which holds one pair.
 */
#ifndef ZT_CONTAINERS_ZTMAPITEM_H
#define ZT_CONTAINERS_ZTMAPITEM_H

#include "containers/ztavltitem.h"

/** Fields of ztMapItem. The key is `data`. */
#define ztMapItem_FIELDS \
  ztAvlTreeItem_FIELDS   \
  void *value; /* stored as the map's value policy says; the map releases it */

/** ztMapItem adds no methods. */
#define ztMapItem_METHODS ztAvlTreeItem_METHODS

/** An item of a map. */
ZT_DECLARE_CLASS(ztMapItem)

#endif
