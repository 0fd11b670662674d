/* Stores a list of words in a file, binary or text, and reads it back. */
#ifndef WORDSTORE_H
#define WORDSTORE_H

#include "wordlist.h"

/* Writes the words, in the order of the list, and their figures to an open file: a ztFile or a
   ztTextFile. 1 or 0. */
int32_t wordStoreWrite(const WordList *list, void *file);

/* Reads them into a new list, and sorts it. 1; 0 when the file holds something else. */
int32_t wordStoreRead(WordList *list, void *file);

#endif
