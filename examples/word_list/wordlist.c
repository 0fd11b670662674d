#include "wordlist.h"

#include <ctype.h>
#include <errno.h>
#include <math.h>
#include <string.h>

int32_t wordListInit(WordList *list) {
  list->listed = ztStringList_ctor(NULL, 1);
  list->sorted = ztStringArray_ctor(NULL, 1);
  list->lengths = ztIntArray_ctor(NULL, 1);
  list->shares = ztFloatArray_ctor(NULL, 1);
  return list->listed != NULL && list->sorted != NULL && list->lengths != NULL && list->shares != NULL;
}

static void release(void *object) {
  if (object != NULL) ztBaseClass_of(object)->unRef(object);
}

void wordListClear(WordList *list) {
  release(list->listed);
  release(list->sorted);
  release(list->lengths);
  release(list->shares);
}

/* The string that the library lends for a moment: to hand over a text where a string is asked for,
   whether the other side copies it, as containers do, or just compares with it. */
static const void *lentString(const char *text) {
  return ztString_functions()->newString(NULL, text);
}

/* Adding ---------------------------------------------------------------------------------------- */

int32_t wordListAdd(WordList *list, const char *word) {
  const void *string = lentString(word);
  return string != NULL && ztStringList_of(list->listed)->pushBack(list->listed, string) != NULL &&
         ztStringArray_of(list->sorted)->pushBack(list->sorted, string) != NULL;
}

static int32_t fail(const char *what, const char *path, const char *why) {
  fprintf(stderr, "word_list: %s %s: %s\n", what, path, why);
  return 0;
}

/* Takes the blanks around a word away, with them the line feed: a text file hands out its lines with
   theirs. 0 when the line goes on behind the buffer. */
static int32_t cutBlanks(const ztTextFile *file, char *line) {
  size_t length = strlen(line);
  if ((length == 0 || line[length - 1] != '\n') && !feof(file->stream)) return 0;
  while (length > 0 && isspace((unsigned char)line[length - 1])) --length;
  line[length] = '\0';
  const size_t blanks = strspn(line, " \t\v\f\r");
  memmove(line, line + blanks, length - blanks + 1);
  return 1;
}

static int32_t addLines(WordList *list, ztTextFile *file, const char *path) {
  char line[wordRoom];
  while (ztTextFile_of(file)->readString(file, (int32_t)sizeof line, line) != 0) {
    if (!cutBlanks(file, line)) return fail("cannot use", path, "a line is too long, or holds a zero byte");
    if (line[0] != '\0' && !wordListAdd(list, line)) return fail("cannot keep", path, "out of memory");
  }
  if (ferror(file->stream)) return fail("cannot read", path, strerror(errno));
  return wordListSize(list) > 0 ? 1 : fail("cannot use", path, "there is no word in it");
}

int32_t wordListLoad(WordList *list, const char *path) {
  ztTextFile file;
  ztTextFile_ctor(&file, 1);
  const int32_t opened = ztTextFile_of(&file)->open(&file, path, "r");
  const int32_t done = opened ? addLines(list, &file, path) : fail("cannot open", path, strerror(errno));
  ztTextFile_of(&file)->destroy(&file);
  return done;
}

/* Sorting and measuring ------------------------------------------------------------------------- */

void wordListSort(WordList *list) {
  ztStringArray_of(list->sorted)->sort(list->sorted, ztStringArray_compare_func);
}

int32_t wordListSize(const WordList *list) {
  return ztStringArray_of(list->sorted)->getSize(list->sorted);
}

static const void *stringAt(const WordList *list, int32_t index) {
  return ztStringArray_of(list->sorted)->getAt(list->sorted, index);
}

const char *wordListAt(const WordList *list, int32_t index) {
  const void *string = stringAt(list, index);
  return ztString_of(string)->get(string);
}

/* The length of every word; returns their sum. */
static int64_t measureLengths(WordList *list) {
  int64_t letters = 0;
  for (int32_t i = 0; i < wordListSize(list); ++i) {
    const void *string = stringAt(list, i);
    const int32_t length = (int32_t)ztString_of(string)->length(string);
    ztIntArray_of(list->lengths)->setAt(list->lengths, &length, i);
    letters += length;
  }
  return letters;
}

int32_t wordListMeasure(WordList *list) {
  const int32_t size = wordListSize(list);
  if (!ztIntArray_of(list->lengths)->setSize(list->lengths, size)) return 0;
  if (!ztFloatArray_of(list->shares)->setSize(list->shares, size)) return 0;
  const int64_t letters = measureLengths(list);
  for (int32_t i = 0; i < size; ++i) {
    const double share = 100.0 * wordListLength(list, i) / (double)letters;
    ztFloatArray_of(list->shares)->setAt(list->shares, &share, i);
  }
  return 1;
}

/* Looking up ------------------------------------------------------------------------------------ */

/* The index of an element that `search` or `find` returned: its distance from the array's block. */
static int32_t indexOf(const ztArray *array, const void *element) {
  if (element == NULL) return -1;
  return (int32_t)(((const char *)element - (const char *)array->data) / array->elementSize);
}

int32_t wordListSortedIndex(const WordList *list, const char *word) {
  const ztStringArrayMethods *methods = ztStringArray_of(list->sorted);
  return indexOf(list->sorted, methods->search(list->sorted, lentString(word), ztStringArray_compare_func));
}

int32_t wordListListedIndex(const WordList *list, const char *word) {
  const ztListItem *item = ztStringList_of(list->listed)->find(list->listed, lentString(word));
  int32_t index = -1;
  for (; item != NULL; item = item->prev) ++index;
  return index;
}

int32_t wordListLength(const WordList *list, int32_t index) {
  const int32_t *length = ztIntArray_of(list->lengths)->getAt(list->lengths, index);
  return *length;
}

double wordListShare(const WordList *list, int32_t index) {
  const double *share = ztFloatArray_of(list->shares)->getAt(list->shares, index);
  return *share;
}

int32_t wordListIndexOfLength(const WordList *list, int32_t length) {
  return indexOf(list->lengths, ztIntArray_of(list->lengths)->find(list->lengths, &length));
}

int32_t wordListLengths(const WordList *list, int32_t *middle, int32_t *greatest) {
  ztIntArray ordered; /* a copy, for the lengths themselves follow the words */
  ztIntArray_ctor(&ordered, 0);
  if (ztIntArray_of(list->lengths)->clone(list->lengths, &ordered) == NULL) return 0;
  const ztIntArrayMethods *methods = ztIntArray_of(&ordered);
  methods->sort(&ordered, ztIntArray_compare_func);
  const int32_t *lengths = methods->getData(&ordered);
  *middle = lengths[ordered.count / 2];
  *greatest = lengths[ordered.count - 1];
  methods->destroy(&ordered);
  return 1;
}

/* Comparing ------------------------------------------------------------------------------------- */

static int32_t sameListed(const WordList *first, const WordList *second) {
  const ztListItem *a = ztStringList_of(first->listed)->getItemAt(first->listed, 0);
  const ztListItem *b = ztStringList_of(second->listed)->getItemAt(second->listed, 0);
  while (a != NULL && b != NULL && ztString_of(a->data)->isEqual(a->data, b->data)) {
    a = a->next;
    b = b->next;
  }
  return a == NULL && b == NULL;
}

static int32_t sameAt(const WordList *first, const WordList *second, int32_t index, double tolerance) {
  return strcmp(wordListAt(first, index), wordListAt(second, index)) == 0 &&
         wordListLength(first, index) == wordListLength(second, index) &&
         fabs(wordListShare(first, index) - wordListShare(second, index)) <= tolerance;
}

/* Whether there are as many figures as there are words. */
static int32_t isComplete(const WordList *list) {
  const int32_t size = wordListSize(list);
  return ztIntArray_of(list->lengths)->getSize(list->lengths) == size &&
         ztFloatArray_of(list->shares)->getSize(list->shares) == size;
}

int32_t wordListsAgree(const WordList *first, const WordList *second, double tolerance) {
  const int32_t size = wordListSize(first);
  if (wordListSize(second) != size || !isComplete(first) || !isComplete(second)) return 0;
  int32_t agree = sameListed(first, second);
  for (int32_t i = 0; agree && i < size; ++i) agree = sameAt(first, second, i, tolerance);
  return agree;
}
