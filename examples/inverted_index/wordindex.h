/* The lines in which each word of a text stands, kept twice: sorted in a map, and in a hash table. */
#ifndef WORDINDEX_H
#define WORDINDEX_H

#include "wordreader.h"

#include "zentova.h"

typedef struct WordIndex {
  void *map;   /* a ztMap of Word to ztIntArray */
  void *table; /* a ztHashTable of the same */
  void *none;  /* an empty ztIntArray, of which each new word gets a copy */
  int32_t words;
} WordIndex;

/* 1; 0 without memory. Either way wordIndexClear() releases what was made. */
int32_t wordIndexInit(WordIndex *index);
void wordIndexClear(WordIndex *index);

/* Notes that a word stands in a line. 1; 0 without memory. */
int32_t wordIndexAdd(WordIndex *index, const Word *word, int32_t line);

/* The lines of a word, a ztIntArray of the index, as each container has them; NULL for a word that is
   not in the text. */
const ztIntArray *wordIndexLinesInMap(const WordIndex *index, const Word *word);
const ztIntArray *wordIndexLinesInTable(const WordIndex *index, const Word *word);

/* 1 when both containers hold the same lines of the same words. */
int32_t wordIndexAgrees(const WordIndex *index);

#endif
