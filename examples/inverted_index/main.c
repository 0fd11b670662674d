/*
 * Notes in which lines of a text each word stands, in a map and in a hash table, and prints the words
 * met most often, the two ends of the alphabet, and the lines of the words asked for.
 *
 *   inverted_index <text file> [<word>...]
 */
#include "wordindex.h"

#include <stdlib.h>
#include <string.h>

static const char *wordOf(const ztMapItem *item) {
  return ((const Word *)item->data)->text;
}

static int32_t timesOf(const ztMapItem *item) {
  return ((const ztIntArray *)item->value)->count;
}

static int32_t readText(WordIndex *index, const char *path) {
  WordReader reader;
  if (!wordReaderOpen(&reader, path)) return 0;
  Word word;
  int32_t added = 1;
  while (added && wordReaderNext(&reader, &word)) added = wordIndexAdd(index, &word, reader.line);
  if (!added) fputs("inverted_index: out of memory\n", stderr);
  return wordReaderClose(&reader, path) && added;
}

/* Compares two items, given the addresses where pointers to them are stored: more often first, then by
   the alphabet. */
static int32_t compareTimes(const void *first, const void *second) {
  const ztMapItem *const *items[2] = {first, second};
  const int32_t times[2] = {timesOf(*items[0]), timesOf(*items[1])};
  if (times[0] != times[1]) return times[0] < times[1] ? 1 : -1;
  return strcmp(wordOf(*items[0]), wordOf(*items[1]));
}

static int32_t printMostFrequent(const WordIndex *index, int32_t most) {
  void *items = ztPtrArray_ctor(NULL, 1);
  if (items == NULL) return 0;
  const ztPtrArrayMethods *methods = ztPtrArray_of(items);
  ztMapIterator walk;
  ztMapIterator_ctor(&walk, 1);
  const ztMapIteratorMethods *steps = ztMapIterator_of(&walk);
  const ztMapItem *item = steps->first(&walk, index->map);
  while (item != NULL && methods->pushBack(items, item) != NULL) item = steps->next(&walk);
  const int32_t complete = item == NULL;
  methods->sort(items, compareTimes);
  if (complete) printf("\nMet most often:\n");
  for (int32_t i = 0; complete && i < most && i < methods->getSize(items); ++i) {
    const ztMapItem *frequent = methods->getAt(items, i);
    printf("  %-10s %4d\n", wordOf(frequent), (int)timesOf(frequent));
  }
  steps->destroy(&walk);
  methods->unRef(items);
  return complete;
}

/* The words nearest to one end of the alphabet. */
static void printEnd(const WordIndex *index, int32_t atFront, int32_t most) {
  ztMapIterator walk;
  ztMapIterator_ctor(&walk, 1);
  const ztMapIteratorMethods *steps = ztMapIterator_of(&walk);
  const ztMapItem *item = atFront ? steps->first(&walk, index->map) : steps->last(&walk, index->map);
  printf("%s", atFront ? "\nFirst words:" : "Last words: ");
  for (int32_t i = 0; item != NULL && i < most; ++i) {
    printf(" %s", wordOf(item));
    item = atFront ? steps->next(&walk) : steps->prev(&walk);
  }
  printf("\n");
  steps->destroy(&walk);
}

static void printLines(const WordIndex *index, const char *text) {
  Word word;
  wordFrom(&word, text);
  const ztIntArray *lines = wordIndexLinesInMap(index, &word);
  if (lines == NULL) {
    printf("  %s: not in the text\n", word.text);
    return;
  }
  printf("  %s:", word.text);
  for (int32_t i = 0; i < lines->count; ++i) printf(" %d", (int)((const int32_t *)lines->data)[i]);
  printf("\n");
}

static int32_t run(WordIndex *index, int argc, char **argv) {
  if (!wordIndexInit(index)) {
    fputs("inverted_index: out of memory\n", stderr);
    return 0;
  }
  if (!readText(index, argv[1])) return 0;
  printf("Read %d words, %d of them different.\n", (int)index->words,
         (int)ztMap_of(index->map)->getSize(index->map));
  if (!printMostFrequent(index, 10)) return 0;
  printEnd(index, 1, 8);
  printEnd(index, 0, 8);
  if (argc > 2) printf("\nLines of the words asked for:\n");
  for (int i = 2; i < argc; ++i) printLines(index, argv[i]);
  if (!wordIndexAgrees(index)) {
    fputs("inverted_index: the hash table differs from the map\n", stderr);
    return 0;
  }
  printf("\nThe hash table holds the same lines of the same words.\n");
  return 1;
}

int main(int argc, char **argv) {
  if (argc < 2) {
    fputs("usage: inverted_index <text file> [<word>...]\n", stderr);
    return 2;
  }
  WordIndex index;
  const int32_t done = run(&index, argc, argv);
  wordIndexClear(&index);
  return done ? EXIT_SUCCESS : EXIT_FAILURE;
}
