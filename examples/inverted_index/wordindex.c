#include "wordindex.h"

#include <string.h>

/* A power of two, of about as many as there are different words. */
enum { bucketCount = 1024 };

/* Words are copied into the container byte by byte; the arrays of lines are objects, of which it makes
   its own. Both containers take these settings by the same methods. */
static void configure(void *container) {
  const ztAssociativeContainerMethods *methods = ztAssociativeContainer_of(container);
  methods->setCompareFunction(container, wordCompare);
  methods->setKeySize(container, (int32_t)sizeof(Word), 0);
  methods->setValueConstructor(container, ztIntArray_ctor);
}

int32_t wordIndexInit(WordIndex *index) {
  index->map = ztMap_ctor(NULL, 1);
  index->table = ztHashTable_ctor(NULL, 1);
  index->none = ztIntArray_ctor(NULL, 1);
  index->words = 0;
  if (index->map == NULL || index->table == NULL || index->none == NULL) return 0;
  configure(index->map);
  configure(index->table);
  return ztHashTable_of(index->table)->setSize(index->table, bucketCount);
}

static void release(void *object) {
  if (object != NULL) ztBaseClass_of(object)->unRef(object);
}

void wordIndexClear(WordIndex *index) {
  release(index->map);
  release(index->table);
  release(index->none);
}

const ztIntArray *wordIndexLinesInMap(const WordIndex *index, const Word *word) {
  return ztMap_of(index->map)->findValue(index->map, word);
}

const ztIntArray *wordIndexLinesInTable(const WordIndex *index, const Word *word) {
  const ztHashTableItem *item = ztHashTable_of(index->table)->find(index->table, word);
  return item == NULL ? NULL : item->value;
}

/* The map's own array for a word, which is added when it is new. */
static void *arrayInMap(const WordIndex *index, const Word *word) {
  const ztMapMethods *methods = ztMap_of(index->map);
  const ztMapItem *item = methods->find(index->map, word);
  if (item == NULL) item = methods->pushBack(index->map, word, index->none);
  return item == NULL ? NULL : item->value;
}

static void *arrayInTable(const WordIndex *index, const Word *word) {
  const ztHashTableMethods *methods = ztHashTable_of(index->table);
  const ztHashTableItem *item = methods->find(index->table, word);
  if (item == NULL && methods->insert(index->table, word, index->none)) {
    item = methods->find(index->table, word);
  }
  return item == NULL ? NULL : item->value;
}

static int32_t append(void *lines, int32_t line) {
  return lines != NULL && ztIntArray_of(lines)->pushBack(lines, &line) != NULL;
}

int32_t wordIndexAdd(WordIndex *index, const Word *word, int32_t line) {
  ++index->words;
  return append(arrayInMap(index, word), line) && append(arrayInTable(index, word), line);
}

static int32_t sameLines(const ztIntArray *first, const ztIntArray *second) {
  if (first == NULL || second == NULL || first->count != second->count) return 0;
  return memcmp(first->data, second->data, (size_t)first->count * sizeof(int32_t)) == 0;
}

int32_t wordIndexAgrees(const WordIndex *index) {
  const ztHashTable *table = index->table;
  int32_t agrees = ztMap_of(index->map)->getSize(index->map) == (int32_t)table->count;
  ztMapIterator walk;
  ztMapIterator_ctor(&walk, 1);
  const ztMapIteratorMethods *steps = ztMapIterator_of(&walk);
  for (const ztMapItem *item = steps->first(&walk, index->map); item != NULL; item = steps->next(&walk)) {
    agrees = agrees && sameLines(item->value, wordIndexLinesInTable(index, item->data));
  }
  steps->destroy(&walk);
  return agrees;
}
