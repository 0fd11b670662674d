/* A list of words, kept in the order of its file and by the alphabet, with figures of each word. */
#ifndef WORDLIST_H
#define WORDLIST_H

#include "zentova.h"

/* The bytes of the longest line, its line feed and a terminating zero. */
enum { wordRoom = 64 };

typedef struct WordList {
  void *listed;  /* a ztStringList, in the order in which the words were added */
  void *sorted;  /* a ztStringArray of the same words, in the order of their bytes once sorted */
  void *lengths; /* a ztIntArray: the letters of each sorted word, in bytes */
  void *shares;  /* a ztFloatArray: what part of all letters these are, in percent */
} WordList;

/* 1; 0 without memory. Either way wordListClear() releases what was made. */
int32_t wordListInit(WordList *list);
void wordListClear(WordList *list);

/* Adds a word at the end of both containers. 1; 0 without memory. */
int32_t wordListAdd(WordList *list, const char *word);

/* Adds the words of a text file, one a line, blanks around it or not; empty lines
   do not count. 1; 0 with a message. */
int32_t wordListLoad(WordList *list, const char *path);

/* Sorts the words. */
void wordListSort(WordList *list);

/* Fills in the figures of the sorted words. 1; 0 without memory. */
int32_t wordListMeasure(WordList *list);

int32_t wordListSize(const WordList *list);

/* The sorted word at an index that is in range. */
const char *wordListAt(const WordList *list, int32_t index);

/* The index of a word among the sorted ones, or among those in the order of the file; -1 for a word
   that is not in the list. */
int32_t wordListSortedIndex(const WordList *list, const char *word);
int32_t wordListListedIndex(const WordList *list, const char *word);

/* The figures of the sorted word at an index that is in range. */
int32_t wordListLength(const WordList *list, int32_t index);
double wordListShare(const WordList *list, int32_t index);

/* The index of the first sorted word with so many letters; -1 without one. */
int32_t wordListIndexOfLength(const WordList *list, int32_t length);

/* The length in the middle of all lengths, and the greatest, of a list with words. 1; 0 without memory. */
int32_t wordListLengths(const WordList *list, int32_t *middle, int32_t *greatest);

/* 1 when both lists hold the same words in the same orders with the same figures, shares not further
   apart than the tolerance. */
int32_t wordListsAgree(const WordList *first, const WordList *second, double tolerance);

#endif
