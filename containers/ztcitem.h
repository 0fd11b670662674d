/**
 * @file ztcitem.h
 * ztContainerItem: an item, which holds one element of a container.
 */
#ifndef ZT_CONTAINERS_ZTCITEM_H
#define ZT_CONTAINERS_ZTCITEM_H

#include "core/ztbasec.h"

/** Fields of ztContainerItem; each container's item class adds its links. */
#define ztContainerItem_FIELDS \
  ztBaseClass_FIELDS           \
  void *data; /* the element, stored as the container's policy says; the container releases it */

/** ztContainerItem adds no methods. */
#define ztContainerItem_METHODS ztBaseClass_METHODS

/** The base of all items. */
ZT_DECLARE_CLASS(ztContainerItem)

#endif
