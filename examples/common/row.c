#include "row.h"

#include <errno.h>
#include <math.h>
#include <stdlib.h>
#include <string.h>

static const char *const columnNames[columnCount] = {"kind", "station", "time", "value", "detail"};

void rowReaderComplain(const RowReader *reader, const char *complaint) {
  fprintf(stderr, "%s: %s:%ld: %s\n", reader->program, reader->path, reader->line, complaint);
}

static void complainOfFile(const RowReader *reader, const char *what) {
  fprintf(stderr, "%s: cannot %s %s: %s\n", reader->program, what, reader->path, strerror(errno));
}

/* Takes the end of the line away; 0 when there is none, although the file goes on. */
static int32_t cutLineEnd(const RowReader *reader, char *text) {
  size_t length = strlen(text);
  const int32_t hasEnd = length > 0 && text[length - 1] == '\n';
  if (hasEnd) text[--length] = '\0';
  if (length > 0 && text[length - 1] == '\r') text[length - 1] = '\0';
  return hasEnd || feof(reader->stream);
}

/* Reads the next line that carries data. */
static RowResult readLine(RowReader *reader, char *text, int size) {
  while (fgets(text, size, reader->stream) != NULL) {
    ++reader->line;
    if (!cutLineEnd(reader, text)) {
      rowReaderComplain(reader, "the line is too long, or holds a zero byte");
      return rowFailed;
    }
    if (text[0] != '#' && text[0] != '\0') return rowFound;
  }
  if (!ferror(reader->stream)) return rowEnd;
  complainOfFile(reader, "read");
  return rowFailed;
}

/* Cuts the line up at its commas; 0 when it has not the right number of columns. */
static int32_t splitColumns(Row *row) {
  char *at = row->text;
  for (int i = 0; i < columnCount; ++i) {
    row->columns[i] = at;
    at += strcspn(at, ",");
    const int32_t isLast = i == columnCount - 1;
    if ((*at == '\0') != isLast) return 0;
    if (!isLast) *at++ = '\0';
  }
  return 1;
}

RowResult rowReaderNext(RowReader *reader, Row *row) {
  const RowResult result = readLine(reader, row->text, (int)sizeof row->text);
  if (result != rowFound) return result;
  if (splitColumns(row)) return rowFound;
  rowReaderComplain(reader, "a row has five columns: kind,station,time,value,detail");
  return rowFailed;
}

static int32_t checkNames(RowReader *reader) {
  Row row;
  const RowResult result = rowReaderNext(reader, &row);
  int32_t right = result == rowFound;
  for (int i = 0; right && i < columnCount; ++i) right = strcmp(row.columns[i], columnNames[i]) == 0;
  if (!right && result != rowFailed) {
    rowReaderComplain(reader, "the row of names, kind,station,time,value,detail, is missing");
  }
  return right;
}

int32_t rowReaderOpen(RowReader *reader, const char *program, const char *path) {
  reader->program = program;
  reader->path = path;
  reader->line = 0;
  reader->stream = fopen(path, "r");
  if (reader->stream == NULL) {
    complainOfFile(reader, "open");
    return 0;
  }
  if (checkNames(reader)) return 1;
  rowReaderClose(reader);
  return 0;
}

void rowReaderClose(RowReader *reader) {
  fclose(reader->stream);
  reader->stream = NULL;
}

int32_t parseNumber(const char *text, double *number) {
  /* strtod also takes spaces, "inf", "nan" and hexadecimal numbers. */
  if (text[0] == '\0' || text[strspn(text, "+-.0123456789eE")] != '\0') return 0;
  char *end;
  const double parsed = strtod(text, &end);
  if (*end != '\0' || !isfinite(parsed)) return 0;
  *number = parsed;
  return 1;
}
