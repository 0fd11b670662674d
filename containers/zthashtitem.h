/**
 * @file zthashtitem.h
 * ztHashTableItem: what holds one pair of a hash table, and its link.
 */
#ifndef ZT_CONTAINERS_ZTHASHTITEM_H
#define ZT_CONTAINERS_ZTHASHTITEM_H

#include "containers/ztcitem.h"

/** Fields of ztHashTableItem. The key is `data`. */
#define ztHashTableItem_FIELDS                                                       \
  ztContainerItem_FIELDS                                                             \
  struct ztHashTableItem *next; /* the next item of the same bucket, an older one */ \
  void *value;                  /* as the table's value policy stored it; the table releases it */

/** ztHashTableItem adds no methods; a new item has no link. */
#define ztHashTableItem_METHODS ztContainerItem_METHODS

/** An item of a hash table. */
ZT_DECLARE_CLASS(ztHashTableItem)

#endif
