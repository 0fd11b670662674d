/**
 * @file zthashtab.h
 * ztHashTable: pairs of a key and a value, found by the key's bytes.
 *
 * Before the first pair set the compare function, which compares keys (a stored one first), the policies of
 * keys and values (ztacont.h), and the number of buckets. The table never grows: set a power of two that is
 * about the number of pairs. With another number some buckets stay unused.
 *
 * @code
 * void *table = ztHashTable_ctor(NULL, 1);
 * const ztHashTableMethods *methods = ztHashTable_of(table);
 * methods->setCompareFunction(table, compareInts);
 * methods->setKeySize(table, sizeof(int), 0);
 * methods->setValueSize(table, sizeof(double), 0);
 * methods->setSize(table, 1024);
 * methods->insert(table, &year, &height);
 * const ztHashTableItem *item = methods->find(table, &year);
 * methods->unRef(table);
 * @endcode
 *
 * A key is hashed over as many raw bytes as the key size says, at the key's address, whatever the key policy.
 * So keys stored by pointer are hashed by the bytes that they point to, text keys need buffers of one size that
 * are zero behind the text, and two objects with the same contents, for example two strings, are different
 * keys: their bytes are addresses. With a key size of 0 every key is in the first bucket.
 */
#ifndef ZT_CONTAINERS_ZTHASHTAB_H
#define ZT_CONTAINERS_ZTHASHTAB_H

#include "containers/ztacont.h"
#include "containers/zthashtitem.h"

/** Fields of ztHashTable. While the count is 0 the contents of the buckets are invalid. */
#define ztHashTable_FIELDS                              \
  ztAssociativeContainer_FIELDS                         \
  uint32_t count;             /* the number of items */ \
  struct ztPtrArray *buckets; /* the newest item of each bucket, or NULL; owned */

/**
 * The methods of a hash table, in slot order after those of ztAssociativeContainer. The table keeps its items.
 *
 *  - `setSize`: removes and releases every pair, also those that are added meanwhile, then sets the number of
 *    buckets. 1; 0 when it is negative or too large (nothing changes), or when memory is exhausted.
 *  - `empty`: removes and releases every pair. The buckets stay.
 *  - `insert`: adds a pair before the others in its bucket. Calls a host's compare function for each of those,
 *    even if duplicates are allowed. 1; 0 when duplicates are not allowed and the key exists, when a copy
 *    cannot be made, when there are no buckets, or when a compare function is needed and not set.
 *  - `find`: the item of the last added pair with an equal key, or NULL.
 *
 * `getSize` stays abstract: read the field `count`. `clone` makes an independent copy.
 */
#define ztHashTable_METHODS                                                                \
  ztAssociativeContainer_METHODS                                                           \
  int32_t (*setSize)(void *table, int32_t count);                                 /* 29 */ \
  void (*empty)(void *table);                                                     /* 30 */ \
  int32_t (*insert)(void *table, const ztBorrowed *key, const ztBorrowed *value); /* 31 */ \
  struct ztHashTableItem *(*find)(const void *table, const ztBorrowed *key);      /* 32 */

/** An unordered container of pairs. */
ZT_DECLARE_CLASS(ztHashTable)

#endif
