/**
 * @file ztstring.h
 * ztString, a text object, and ztStringArray, an array of them.
 *
 * A string holds a zero-terminated text, or no text: after `set(NULL)`, `get` returns NULL. For all else a
 * string without text counts as empty.
 *
 * How strings are stored: `write` stores the size of the text with its terminator, then the text and its
 * terminator. `read` reads one byte more than `write` stored: the stored size plus one. So a host that stores
 * several things in one binary file writes one byte after each string (`writeChar(file, 0)`), or steps back one
 * byte after reading one (`goTo(file, -1)`). The `write` and `read` of a ztStringArray do neither, so an array
 * of strings cannot be read back from a binary file: store its strings one by one. A new string that was never
 * set is stored with size 20 and one byte, and cannot be read back if more data follows. `ztString_store` and
 * `ztString_load` have none of these limits: they keep any text, in both kinds of file.
 *
 * `read` returns 0 for a size that exceeds the file by more than 64 KB and what has been read allow, so that a
 * damaged file cannot demand memory. A string whose size is far beyond its text is cut to the text.
 */
#ifndef ZT_IO_ZTSTRING_H
#define ZT_IO_ZTSTRING_H

#include "containers/ztarrays.h"

/** Fields of ztString. */
#define ztString_FIELDS \
  ztBaseClass_FIELDS    \
  ztCharArray *buffer; /* the text and its terminator; empty without text; owned */

/**
 * The methods of a string, in slot order after those of ztBaseClass.
 *
 *  - `set`: copies a text, which may be the string's own or a part of it; NULL leaves the string without text.
 *    The string; NULL, with the text unchanged, when memory is exhausted.
 *  - `cat`: appends the text of another string, which may be the same one. The string; NULL, with the text
 *    unchanged, when the other is NULL or memory is exhausted.
 *  - `get`: the text, which the string owns, until the string is changed; NULL without text.
 *  - `length`: the number of characters before the terminator.
 *  - `isEmpty`: 1 when the length is 0, else 0.
 *
 * `isEqual`, `isLess` and `isMajor` compare byte by byte with another string. A new string is empty.
 */
#define ztString_METHODS                                                 \
  ztBaseClass_METHODS                                                    \
  ztBorrowed *(*set)(void *string, const ztBorrowedText *text); /* 16 */ \
  ztBorrowed *(*cat)(void *string, const ztBorrowed *other);    /* 17 */ \
  const ztBorrowedText *(*get)(const void *string);             /* 18 */ \
  uint32_t (*length)(const void *string);                       /* 19 */ \
  int32_t (*isEmpty)(const void *string);                       /* 20 */

/**
 * The class functions of ztString, from class slot 10 on.
 *
 *  - `newString(NULL, text)`: sets the thread's scratch string to the text and returns it. The library owns it:
 *    the thread's next call changes it, the end of the thread releases it, and the caller must not `unRef` it.
 *    NULL when memory is exhausted.
 */
#define ztString_FUNCTIONS ztBorrowed *(*newString)(const void *ignored, const ztBorrowedText *text);

/** A text object. */
ZT_DECLARE_CLASS(ztString)
ZT_DECLARE_CLASS_FUNCTIONS(ztString)

ZT_BEGIN_C

/** Stores a string so that ztString_load restores it exactly: no text, an empty one, or any text. Several
 *  strings and other data may follow one another in both kinds of file. Uses the file's own `writeInt` and
 *  `writeBuf`.
 *  @param string  a ztString; NULL gives 0
 *  @param file    an open ztFile, of any class; NULL gives 0
 *  @return 1, or 0 when a write fails */
ZT_API int32_t ztString_store(const void *string, void *file);

/** Loads what ztString_store stored, and sets the string to it. Allocates only for bytes that the file has.
 *  Uses the file's own `readInt` and `readBuf`.
 *  @param string  a ztString, which keeps its text when the result is 0; NULL gives 0
 *  @param file    an open ztFile, of any class; NULL gives 0
 *  @return 1, or 0 when there is no complete string or memory is exhausted */
ZT_API int32_t ztString_load(void *string, void *file);

ZT_END_C

/** ztStringArray adds no fields. */
#define ztStringArray_FIELDS ztArray_FIELDS
/** ztStringArray adds no methods. */
#define ztStringArray_METHODS ztArray_METHODS
/** An array that holds ztString objects in its block. */
ZT_DECLARE_CLASS(ztStringArray)

ZT_BEGIN_C

/** Compares two ztString objects by their text: 0 when equal, 1 when the first is greater, else -1. NULL sorts
 *  first. For `sort`, `search` and `find` of a ztStringArray. */
ZT_API int32_t ztStringArray_compare_func(const void *first, const void *second);

/** The same: a string in the array's block is its own address. */
ZT_API int32_t ztStringArray_compare_func_ptr(const void *first, const void *second);

ZT_END_C

#endif
