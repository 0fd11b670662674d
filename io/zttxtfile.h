/**
 * @file zttxtfile.h
 * ztTextFile: a file whose primitives write and read lines of text.
 *
 * With a text file in place of a ztFile an object writes the same contents in a form for reports and
 * inspection. Not all of it is text: bytes are written raw. Names of classes and nodes are fields of fixed size with
 * zero bytes behind the name, and elements of arrays and values of tags are bytes as in the binary form.
 *
 * The text has no types and no escapes, so only numbers are read back exactly as they were written
 * (doubles to the six printed digits). A text with a line feed spans lines, and an empty text becomes the word
 * "null". A text, buffer or character that follows a number loses its leading white space, because reading a
 * number skips the white space after it: `ztString_store` keeps such texts.
 */
#ifndef ZT_IO_ZTTXTFILE_H
#define ZT_IO_ZTTXTFILE_H

#include "io/ztfile.h"

/** ztTextFile adds no fields. */
#define ztTextFile_FIELDS ztFile_FIELDS

/**
 * The methods of ztFile; these twelve are its own. Without an open file, for a NULL text, buffer or result, and
 * for a negative count, each returns 0 and does nothing.
 *
 *  - `writeInt`, `writeLong`, `writeFloat`: the number in decimal, a double with six digits after the point,
 *    and a line feed. `writeChar`: the low byte and a line feed. The number of bytes, negative on failure.
 *  - `readInt`, `readLong`, `readFloat`: skips white space, reads a number and skips the white space after it:
 *    the line feed, empty lines and the indentation of the next line. `readChar`: the next byte, whatever it
 *    is; a line feed after it stays for the next read. 1, or 0 when the input ended before a number. When
 *    something else than a number follows, the result is also 1: nothing is stored and the text stays for the
 *    next read, so initialise the variable. A number too large for its type stores some value.
 *  - `writeBuf`: the @c n bytes as they are, and a line feed; the buffer may be NULL for no bytes. @c n.
 *  - `readBuf`: @c n bytes, and drops one more, the line feed of `writeBuf`; the buffer may be NULL for no
 *    bytes. @c n, also when the input ends early; missing bytes are zero.
 *  - `writeString`: the text, or "null" for an empty one, and a line feed unless the text ends with one. 1 or
 *    0.
 *  - `readString`: one line, at most @c n - 1 bytes, and a terminating zero; keeps the line feed, and leaves
 *    the rest of a longer line for the next read. The address of the buffer as an integer, or 0 at the end of
 *    input, on failure and when @c n is 0.
 *
 * Numbers have a point and no separators between thousands, whatever locale the host has set.
 */
#define ztTextFile_METHODS ztFile_METHODS

/** The class functions of ztFile. */
#define ztTextFile_FUNCTIONS ztFile_FUNCTIONS

/** A text file. */
ZT_DECLARE_CLASS(ztTextFile)
ZT_DECLARE_CLASS_FUNCTIONS(ztTextFile)

#endif
