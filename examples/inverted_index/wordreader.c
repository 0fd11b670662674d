#include "wordreader.h"

#include <ctype.h>
#include <errno.h>
#include <string.h>

int32_t wordReaderOpen(WordReader *reader, const char *path) {
  reader->stream = fopen(path, "r");
  reader->line = 1;
  if (reader->stream == NULL) {
    fprintf(stderr, "inverted_index: cannot open %s: %s\n", path, strerror(errno));
    return 0;
  }
  reader->next = fgetc(reader->stream);
  return 1;
}

static void skip(WordReader *reader) {
  if (reader->next == '\n') ++reader->line;
  reader->next = fgetc(reader->stream);
}

/* Takes the next character into a word that is so long already. */
static size_t take(WordReader *reader, Word *word, size_t length) {
  const size_t room = sizeof word->text - 1;
  if (length < room) word->text[length++] = (char)tolower(reader->next);
  skip(reader);
  return length;
}

int32_t wordReaderNext(WordReader *reader, Word *word) {
  memset(word, 0, sizeof *word);
  while (reader->next != EOF && !isalpha(reader->next)) skip(reader);
  if (reader->next == EOF) return 0;
  size_t length = 0;
  while (isalpha(reader->next) || reader->next == '\'') length = take(reader, word, length);
  while (word->text[length - 1] == '\'') word->text[--length] = '\0'; /* it closed a quotation */
  return 1;
}

int32_t wordReaderClose(WordReader *reader, const char *path) {
  const int failed = ferror(reader->stream);
  fclose(reader->stream);
  if (failed) fprintf(stderr, "inverted_index: cannot read %s\n", path);
  return !failed;
}

void wordFrom(Word *word, const char *text) {
  memset(word, 0, sizeof *word);
  for (size_t i = 0; i < sizeof word->text - 1 && text[i] != '\0'; ++i) {
    word->text[i] = (char)tolower((unsigned char)text[i]);
  }
}

int32_t wordCompare(const void *first, const void *second) {
  return strcmp(((const Word *)first)->text, ((const Word *)second)->text);
}
