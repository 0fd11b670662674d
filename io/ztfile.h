/**
 * @file ztfile.h
 * ztFile: one open file, and the typed primitives through which every object is stored.
 *
 * Writes are buffered, so a full disk may be noticed late, and `close` does not report it. To know that all
 * data was written, or that no read failed, call `flush` before `close`. Writing to a pipe without a reader
 * raises SIGPIPE, which ends a host that does not ignore it; the library changes no signals.
 *
 * A binary file is the concatenation of what was written: no alignment, no tags, no separators, values in the
 * machine's byte order. A system call that a signal interrupts is repeated: reads, writes, and an `open` that
 * waits for the other end of a FIFO.
 *
 * A host's class that overrides primitives gets exactly the calls that an object's `read` and `write` make. If
 * its `readInt` is the library's or calls that, a count is compared with what is left of @c stream.
 *
 * Objects call the primitives through the method table: another file class writes the same in another form.
 */
#ifndef ZT_IO_ZTFILE_H
#define ZT_IO_ZTFILE_H

#include "core/ztbasec.h"

#include <stdio.h>

/** Fields of ztFile; the name is cut to 511 characters. */
#define ztFile_FIELDS                                         \
  ztBaseClass_FIELDS                                          \
  FILE *stream;       /* NULL while no file is open; owned */ \
  char fileName[512]; /* of the last successful `open` */

/**
 * The methods of a file, in slot order. Without an open file, and for a NULL text or buffer, a primitive fails:
 * 0, -1 from the positions, non-zero from `eof`.
 *
 *  - `open`: closes the open file, then opens @c name in a mode of the C library's `fopen`. 1; 0 on failure,
 *    with no file open and an empty name.
 *  - `close`: closes the file, if one is open, and clears the name. `release`: keeps the name.
 *  - `goToBegin`, `goToEnd`, `goTo` (relative to the position), `goToAbs` (from the start): 0, or -1 on
 *    failure. `tell`: the position in bytes, or -1.
 *  - `flush`: writes buffered bytes to the system. 0; EOF when that fails or an error occurred since the last
 *    `flush`: a write whose bytes were lost, or a read. Each error is reported once. Does not change `eof`.
 *  - `eof`: not 0 after a read reached the end of the file.
 *  - `writeInt`, `readInt`: 4 bytes; `writeLong`, `readLong`: 8 bytes; `writeFloat`, `readFloat`: the 8 bytes
 *    of a double; `writeChar`, `readChar`: 1 byte, the low one of the argument. 1 or 0; a failed read may have
 *    stored part of the value.
 *  - `writeBuf`, `readBuf`: @c n bytes; the number of bytes written or read.
 *  - `writeString`: the text and its terminating zero; the number of bytes written.
 *  - `readString`: up to @c n bytes, with or without terminators, like `readBuf`; the number of bytes read.
 *    (Other file classes return the address of the buffer, or 0.)
 *  - `getFileName`: the name of the last successful `open`, owned by the object; empty after `close`.
 *
 * `clone` returns NULL: a file cannot be copied. `assign` copies neither stream nor name.
 */
#define ztFile_METHODS                                                                          \
  ztBaseClass_METHODS                                                                           \
  int32_t (*open)(void *file, const ztBorrowedText *name, const ztBorrowedText *mode); /* 16 */ \
  void (*close)(void *file);                                                           /* 17 */ \
  void (*release)(void *file);                                                         /* 18 */ \
  int32_t (*goToBegin)(void *file);                                                    /* 19 */ \
  int32_t (*goToEnd)(void *file);                                                      /* 20 */ \
  int32_t (*goTo)(void *file, int64_t offset);                                         /* 21 */ \
  int32_t (*goToAbs)(void *file, int64_t offset);                                      /* 22 */ \
  int64_t (*tell)(void *file);                                                         /* 23 */ \
  int32_t (*flush)(void *file);                                                        /* 24 */ \
  int32_t (*eof)(void *file);                                                          /* 25 */ \
  int32_t (*writeInt)(void *file, int32_t value);                                      /* 26 */ \
  int32_t (*readInt)(void *file, int32_t *out);                                        /* 27 */ \
  int32_t (*writeLong)(void *file, int64_t value);                                     /* 28 */ \
  int32_t (*readLong)(void *file, int64_t *out);                                       /* 29 */ \
  int32_t (*writeFloat)(void *file, double value);                                     /* 30 */ \
  int32_t (*readFloat)(void *file, double *out);                                       /* 31 */ \
  int32_t (*writeBuf)(void *file, int32_t n, const ztBorrowed *buffer);                /* 32 */ \
  int32_t (*readBuf)(void *file, int32_t n, ztOut *buffer);                            /* 33 */ \
  int32_t (*writeString)(void *file, const ztBorrowedText *text);                      /* 34 */ \
  intptr_t (*readString)(void *file, int32_t n, ztOutText *buffer);                    /* 35 */ \
  int32_t (*writeChar)(void *file, int32_t value);                                     /* 36 */ \
  int32_t (*readChar)(void *file, char *out);                                          /* 37 */ \
  const ztBorrowedText *(*getFileName)(const void *file);                              /* 38 */

/**
 * The class functions of ztFile, from class slot 10 on; they need no file object.
 *
 *  - `renameFile(NULL, oldName, newName)`, `deleteFile(NULL, name)`: 0, or -1 on failure.
 *  - `tmpFile(NULL, buffer)`: writes an unpredictable name that no file has, in the system's folder for
 *    temporary files, into a buffer of at least L_tmpnam bytes; creates no file. The buffer; NULL on failure.
 *  - `fileExist(NULL, name)`: 1 when the file can be opened for reading, else 0. Never waits: for a FIFO it
 *    only checks the permission to read.
 */
#define ztFile_FUNCTIONS                                                                                    \
  int32_t (*renameFile)(const void *ignored, const ztBorrowedText *oldName, const ztBorrowedText *newName); \
  int32_t (*deleteFile)(const void *ignored, const ztBorrowedText *name);                                   \
  ztBorrowedText *(*tmpFile)(const void *ignored, ztOutText *buffer);                                       \
  int32_t (*fileExist)(const void *ignored, const ztBorrowedText *name);

/** A binary file. */
ZT_DECLARE_CLASS(ztFile)
ZT_DECLARE_CLASS_FUNCTIONS(ztFile)

#endif
