/*
 * Reads a list of words, sorts it, looks words up, stores the list in a binary file and in a text file,
 * reads both back, compares, and prints a summary.
 *
 *   word_list <text file> [<word>...]
 */
#include "wordlist.h"
#include "wordstore.h"

#include <inttypes.h>
#include <stdlib.h>

static int32_t fail(const char *message) {
  fprintf(stderr, "word_list: %s\n", message);
  return 0;
}

/* Summary --------------------------------------------------------------------------------------- */

static void printRange(const WordList *list, const char *title, int32_t first, int32_t end) {
  printf("%s", title);
  for (int32_t i = first; i < end; ++i) {
    if (i >= 0 && i < wordListSize(list)) printf(" %s", wordListAt(list, i));
  }
  printf("\n");
}

static int32_t printSummary(const WordList *list) {
  const int32_t size = wordListSize(list);
  int32_t middle;
  int32_t greatest;
  if (!wordListLengths(list, &middle, &greatest)) return fail("out of memory");
  printf("Read %d words.\n", (int)size);
  printRange(list, "The first by the alphabet:", 0, 6);
  printRange(list, "The last:", size - 6, size);
  printf("The middle length is %d letters, the greatest %d, first met in \"%s\".\n", (int)middle,
         (int)greatest, wordListAt(list, wordListIndexOfLength(list, greatest)));
  return 1;
}

static void printWord(const WordList *list, const char *word) {
  const int32_t index = wordListSortedIndex(list, word);
  if (index < 0) {
    printf("  %s: not in the list\n", word);
    return;
  }
  printf("  %s: number %d of the list, %d by the alphabet, %.2f %% of all letters\n", word,
         (int)wordListListedIndex(list, word) + 1, (int)index + 1, wordListShare(list, index));
}

/* Storing --------------------------------------------------------------------------------------- */

/* The bytes written, or 0. */
static int64_t store(const WordList *list, void *file, const char *path) {
  const ztFileMethods *methods = ztFile_of(file);
  if (!methods->open(file, path, "wbx")) return 0; /* x: never another's file */
  const int32_t done = wordStoreWrite(list, file) && methods->flush(file) == 0;
  const int64_t size = done ? methods->tell(file) : 0;
  methods->close(file);
  return size;
}

static int32_t isStored(const WordList *list, void *file, const char *path, double tolerance) {
  if (!ztFile_of(file)->open(file, path, "rb")) return 0;
  WordList stored;
  const int32_t same =
      wordListInit(&stored) && wordStoreRead(&stored, file) && wordListsAgree(list, &stored, tolerance);
  wordListClear(&stored);
  ztFile_of(file)->close(file);
  return same;
}

/* Through a file of the class named. */
static int32_t storeAndCompare(const WordList *list, const char *fileClass, double tolerance) {
  char path[L_tmpnam];
  const ztFileFunctions *files = ztFile_functions();
  void *file = ztNewFromName(fileClass);
  if (file == NULL) return fail("out of memory");
  const char *temporary = files->tmpFile(NULL, path);
  const int64_t size = temporary == NULL ? 0 : store(list, file, path);
  const int32_t same = size > 0 && isStored(list, file, path, tolerance);
  if (temporary != NULL) files->deleteFile(NULL, path);
  ztFile_of(file)->unRef(file);
  if (size == 0) return fail("cannot write a temporary file");
  if (!same) return fail("the words were not read back as they were stored");
  printf("Stored in a %s of %" PRId64 " bytes and read back: the same.\n", fileClass, size);
  return 1;
}

static int32_t run(WordList *list, int argc, char **argv) {
  if (!wordListInit(list)) return fail("out of memory");
  if (!wordListLoad(list, argv[1])) return 0;
  wordListSort(list);
  if (!wordListMeasure(list)) return fail("out of memory");
  if (!printSummary(list)) return 0;
  if (argc > 2) printf("\nThe words asked for:\n");
  for (int i = 2; i < argc; ++i) printWord(list, argv[i]);
  printf("\n");
  /* A text file keeps six digits behind the point. */
  return storeAndCompare(list, ztFile_classname_, 0) && storeAndCompare(list, ztTextFile_classname_, 1e-6);
}

int main(int argc, char **argv) {
  if (argc < 2) {
    fputs("usage: word_list <text file> [<word>...]\n", stderr);
    return 2;
  }
  WordList list;
  const int32_t done = run(&list, argc, argv);
  wordListClear(&list);
  return done ? EXIT_SUCCESS : EXIT_FAILURE;
}
