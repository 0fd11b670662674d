/**
 * @file zthashtitem.h
 * ztHashTableItem: an item of a hash table, which holds one pair and a link.
 */
#ifndef ZT_CONTAINERS_ZTHASHTITEM_H
#define ZT_CONTAINERS_ZTHASHTITEM_H

#include "containers/ztcitem.h"

/** Fields of ztHashTableItem. The key is `data`. */
#define ztHashTableItem_FIELDS                                                \
  ztContainerItem_FIELDS                                                      \
  struct ztHashTableItem *next; /* the next, older item of the same bucket */ \
  void *value;                  /* stored as the table's value policy says; the table releases it */

/** ztHashTableItem adds no methods; a new item has no link. */
#define ztHashTableItem_METHODS ztContainerItem_METHODS

/** An item of a hash table. */
ZT_DECLARE_CLASS(ztHashTableItem)

#endif
