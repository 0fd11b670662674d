/**
 * @file zttxtfile.h
 * ztTextFile: a file whose primitives write and read lines of text.
 *
 * An object that is given a text file instead of a ztFile writes the same contents in a form made for
 * reports and inspection. The text carries no types and no escapes, so only numbers read back exactly
 * as they were written (doubles to the six digits that are printed); a text that contains a line feed
 * spans lines, and an empty text becomes the word "null". A text, buffer or character that begins with
 * white space loses it where it follows a number, since reading a number skips the white space behind it:
 * `ztString_store` keeps such texts.
 */
#ifndef ZT_IO_ZTTXTFILE_H
#define ZT_IO_ZTTXTFILE_H

#include "io/ztfile.h"

/** ztTextFile adds no fields. */
#define ztTextFile_FIELDS ztFile_FIELDS

/**
 * The methods of ztFile; these twelve are its own. Without an open file, with a NULL where a text,
 * buffer or result belongs, and with a negative count, each gives 0 and does nothing.
 *
 *  - `writeInt`, `writeLong`, `writeFloat`: the number in decimal, a double with six digits after the
 *    point, and a line feed. `writeChar`: the low byte and a line feed. The number of bytes printed,
 *    negative on failure.
 *  - `readInt`, `readLong`, `readFloat`: skips white space, reads a number and skips the white space
 *    behind it: the line feed, empty lines and the indentation of the next line. `readChar`: the next
 *    byte, whatever it is; a line feed behind it stays for the next read. 1, or 0 when the input ended
 *    before there was anything to convert. Where something else stands than a number the result is 1
 *    too: nothing is stored and the text stays for the next read, so give the variable a value first. A
 *    number too large for its type stores some value.
 *  - `writeBuf`: the @c n bytes as they are, and a line feed, also for no bytes, where the buffer may
 *    be NULL. @c n.
 *  - `readBuf`: @c n bytes, and one more that is dropped, the line feed of `writeBuf`; the buffer may be
 *    NULL for no bytes. @c n, also when the input ends early; the bytes that were not there are zero.
 *  - `writeString`: the text, or "null" for an empty one, and a line feed unless the text ends with
 *    one. 1 or 0.
 *  - `readString`: one line, at most @c n - 1 bytes of it, and a terminating zero; the line feed is
 *    kept, and the rest of a longer line stays for the next read. The address of the buffer as an
 *    integer, or 0 at the end of input, on failure and when @c n is 0.
 *
 * Numbers are written and read with a point and without separators between thousands, whatever locale the
 * host has set.
 */
#define ztTextFile_METHODS ztFile_METHODS

/** The class functions of ztFile. */
#define ztTextFile_FUNCTIONS ztFile_FUNCTIONS

/** A text file. */
ZT_DECLARE_CLASS(ztTextFile)
ZT_DECLARE_CLASS_FUNCTIONS(ztTextFile)

#endif
