/**
 * @file ztmapiter.h
 * ztMapIterator: walks a ztMap in the order of its keys, forwards and backwards, as a ztAvlIterator
 * (ztavliter.h) walks a tree.
 */
#ifndef ZT_CONTAINERS_ZTMAPITER_H
#define ZT_CONTAINERS_ZTMAPITER_H

#include "containers/ztavliter.h"
#include "containers/ztmap.h"

/** ztMapIterator adds no fields. */
#define ztMapIterator_FIELDS ztAvlIterator_FIELDS

/** ztMapIterator adds no methods to those of ztAvlIterator. `first` and `last` take a map; the inherited
 *  `start` takes the map's tree. The items are ztMapItem. */
#define ztMapIterator_METHODS ztAvlIterator_METHODS

/** An iterator over a map. */
ZT_DECLARE_CLASS(ztMapIterator)

#endif
