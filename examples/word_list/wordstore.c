#include "wordstore.h"

#include <string.h>

static int32_t isText(const void *file) {
  return ztOOP_isClassOf(file, ztTextFile_classname_);
}

/* Words ----------------------------------------------------------------------------------------- */

/* In a binary file `read` takes one byte more than `write` has written, so one is put there for it:
   without that byte the next word would be read from its second byte on. A text file has lines. */
static int32_t writeWord(const void *word, void *file) {
  if (!ztString_of(word)->write(word, file)) return 0;
  return isText(file) || ztFile_of(file)->writeChar(file, 0);
}

/* A word that came from a text file ends with the line feed of its line. */
static int32_t cutLineFeed(void *word) {
  char text[wordRoom] = "";
  strncpy(text, ztString_of(word)->get(word), sizeof text - 1);
  text[strcspn(text, "\n")] = '\0';
  return ztString_of(word)->set(word, text) != NULL;
}

static int32_t readWord(void *word, void *file) {
  if (!ztString_of(word)->read(word, file)) return 0;
  return !isText(file) || cutLineFeed(word);
}

static int32_t writeWords(const WordList *list, void *file) {
  if (!ztFile_of(file)->writeInt(file, wordListSize(list))) return 0;
  const ztListItem *item = ztStringList_of(list->listed)->getItemAt(list->listed, 0);
  while (item != NULL && writeWord(item->data, file)) item = item->next;
  return item == NULL;
}

static int32_t readWords(WordList *list, int32_t count, void *file) {
  ztString word;
  ztString_ctor(&word, 1);
  const ztStringMethods *methods = ztString_of(&word);
  int32_t done = 1;
  for (int32_t i = 0; done && i < count; ++i) {
    done = readWord(&word, file) && wordListAdd(list, methods->get(&word));
  }
  methods->destroy(&word);
  return done;
}

/* Figures --------------------------------------------------------------------------------------- */

/* An array of numbers writes its count and the bytes of its elements. These are bytes in a text file
   too, nothing to look at; so the numbers are written there one by one. */
static int32_t writeNumbers(const WordList *list, void *file) {
  if (!isText(file)) {
    return ztIntArray_of(list->lengths)->write(list->lengths, file) &&
           ztFloatArray_of(list->shares)->write(list->shares, file);
  }
  int32_t done = 1;
  for (int32_t i = 0; done && i < wordListSize(list); ++i) {
    done = ztTextFile_of(file)->writeInt(file, wordListLength(list, i)) > 0 &&
           ztTextFile_of(file)->writeFloat(file, wordListShare(list, i)) > 0;
  }
  return done;
}

static int32_t readNumbers(WordList *list, void *file) {
  if (!isText(file)) {
    return ztIntArray_of(list->lengths)->read(list->lengths, file) &&
           ztFloatArray_of(list->shares)->read(list->shares, file);
  }
  int32_t done = 1;
  for (int32_t i = 0; done && i < wordListSize(list); ++i) {
    int32_t length = 0; /* where no number stands, nothing is stored */
    double share = 0;
    done = ztTextFile_of(file)->readInt(file, &length) && ztTextFile_of(file)->readFloat(file, &share) &&
           ztIntArray_of(list->lengths)->pushBack(list->lengths, &length) != NULL &&
           ztFloatArray_of(list->shares)->pushBack(list->shares, &share) != NULL;
  }
  return done;
}

/* Both ------------------------------------------------------------------------------------------ */

int32_t wordStoreWrite(const WordList *list, void *file) {
  return writeWords(list, file) && writeNumbers(list, file);
}

int32_t wordStoreRead(WordList *list, void *file) {
  int32_t count = 0;
  if (!ztFile_of(file)->readInt(file, &count) || !readWords(list, count, file)) return 0;
  wordListSort(list);
  return readNumbers(list, file);
}
