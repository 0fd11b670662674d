/* Reads a text word by word. */
#ifndef WORDREADER_H
#define WORDREADER_H

#include <stdint.h>
#include <stdio.h>

/* A word in small letters. The rest of its bytes is zero, so that words are equal when all bytes are:
   the hash table looks at the bytes. */
typedef struct Word {
  char text[32];
} Word;

typedef struct WordReader {
  FILE *stream;
  int32_t line; /* of the word read last, from 1 */
  int32_t next; /* the character to look at, or EOF */
} WordReader;

/* 1; 0, with a message, when the file cannot be opened. */
int32_t wordReaderOpen(WordReader *reader, const char *path);

/* 1 when there was another word. Letters make a word, and apostrophes within it; it is cut to fit. */
int32_t wordReaderNext(WordReader *reader, Word *word);

/* Closes the file. 1; 0, with a message, when it could not be read to its end. */
int32_t wordReaderClose(WordReader *reader, const char *path);

/* Takes a text for a word: as wordReaderNext() would, for a text that is one. */
void wordFrom(Word *word, const char *text);

/* Compares two words as strcmp() does. */
int32_t wordCompare(const void *first, const void *second);

#endif
