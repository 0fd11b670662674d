/**
 * @file ztmap.h
 * ztMap: pairs of a key and a value, sorted by key.
 *
 * Set the compare function, which compares keys (a stored one first), and the policies of keys and values
 * (ztacont.h) before the first pair. In the caller's form a key or value stored by pointer is the pointer
 * itself, otherwise an address to copy from, or the object to copy. A key for a search has the same form.
 * Without a value policy the map is a set: its values have no bytes and may be NULL.
 *
 * @code
 * void *map = ztMap_ctor(NULL, 1);
 * const ztMapMethods *methods = ztMap_of(map);
 * methods->setCompareFunction(map, compareInts);
 * methods->setKeySize(map, sizeof(int), 0);
 * methods->setValueSize(map, sizeof(char *), 1);
 * methods->pushBack(map, &year, "a name");
 * const char *name = methods->findValue(map, &year);
 * methods->unRef(map);
 * @endcode
 *
 * Walk a map with a ztMapIterator (ztmapiter.h).
 */
#ifndef ZT_CONTAINERS_ZTMAP_H
#define ZT_CONTAINERS_ZTMAP_H

#include "containers/ztacont.h"
#include "containers/ztmapitem.h"

/** Fields of ztMap. */
#define ztMap_FIELDS            \
  ztAssociativeContainer_FIELDS \
  struct ztAvlTree *tree; /* holds the items, made by the map; owned; NULL only when memory was exhausted */

/**
 * The methods of a map, in slot order after those of ztAssociativeContainer. The map keeps its items. A map of
 * more than one pair needs its compare function, as a tree does.
 *
 *  - `pushBack`: adds a pair before those with an equal key. Returns its item; NULL when duplicates are not
 *    allowed and the key exists (its value stays), or when a copy cannot be made.
 *  - `pop`: removes a pair with an equal key, and releases both parts as the policies say. 1; 0 when there is
 *    none; 1 when the map is empty. Keep no item across a `pop`: pairs move between items. To remove every pair
 *    of a key, call `pop` as long as `find` returns one.
 *  - `empty`: removes and releases every pair.
 *  - `find`: an item with an equal key, or NULL. `findValue`: the value of that item, or NULL.
 *  - `findAll`: allows duplicates in another map, adds pairs with an equal key to it with its `pushBack`, and
 *    returns its new size. It takes the pairs on one path down the tree, which goes left after each, and may
 *    miss others. 0, with the other map unchanged, when duplicates are not allowed, even if the key exists, or
 *    when the output is no map.
 *
 * `setCompareFunction` and `setAllowDuplicate` also apply to the tree. `setItemManager` does not: the map
 * itself makes the items. `clone` makes an independent copy, its pairs in the same order.
 */
#define ztMap_METHODS                                                                                \
  ztAssociativeContainer_METHODS                                                                     \
  struct ztMapItem *(*pushBack)(void *map, const ztBorrowed *key, const ztBorrowed *value); /* 29 */ \
  int32_t (*pop)(void *map, const ztBorrowed *key);                                         /* 30 */ \
  void (*empty)(void *map);                                                                 /* 31 */ \
  struct ztMapItem *(*find)(const void *map, const ztBorrowed *key);                        /* 32 */ \
  ztBorrowed *(*findValue)(const void *map, const ztBorrowed *key);                         /* 33 */ \
  int32_t (*findAll)(const void *map, const ztBorrowed *key, ztBorrowed *output);           /* 34 */

/** A sorted container of pairs. */
ZT_DECLARE_CLASS(ztMap)

#endif
