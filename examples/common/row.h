/**
 * @file row.h
 * Reading the log of the weather stations: comma-separated rows below a row with the columns' names. Lines that begin
 * with '#' and empty lines are left out.
 */
#ifndef EXAMPLES_ROW_H
#define EXAMPLES_ROW_H

#include <stdint.h>
#include <stdio.h>

/** The columns of a row. */
enum { columnKind, columnStation, columnTime, columnValue, columnDetail, columnCount };

/** One row. */
typedef struct Row {
  const char *columns[columnCount]; /**< their texts, within @c text */
  char text[160];                   /**< the line, cut up */
} Row;

/** An open data file. */
typedef struct RowReader {
  const char *program; /**< the name that messages begin with; the caller's */
  const char *path;    /**< as given to rowReaderOpen(), for messages; the caller's */
  FILE *stream;        /**< owned */
  long line;           /**< number of the line that was read last, from 1 on */
} RowReader;

/** What rowReaderNext() found. */
typedef enum RowResult { rowFound, rowEnd, rowFailed } RowResult;

/**
 * Opens a data file and checks its row of names.
 * @return 1, and rowReaderClose() is due; or 0 after a message on standard error
 */
int32_t rowReaderOpen(RowReader *reader, const char *program, const char *path);

/** Reads the next row.
 *  @return rowFailed after a message on standard error */
RowResult rowReaderNext(RowReader *reader, Row *row);

/** Says on standard error what is wrong with the line that was read last. */
void rowReaderComplain(const RowReader *reader, const char *complaint);

/** Closes the file. */
void rowReaderClose(RowReader *reader);

/** Reads a text that is a finite decimal number as a whole.
 *  @return 1, or 0 and @p number is left alone */
int32_t parseNumber(const char *text, double *number);

#endif
