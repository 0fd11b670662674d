// The bytes of streams, as the file classes move them. A system call that a signal interrupts is made again,
// and what is read is counted.
#ifndef ZT_IO_ZTSTREAM_HH
#define ZT_IO_ZTSTREAM_HH

#include "core/ztthread.hh"

#include <stdint.h>
#include <stdio.h>

// Opens a stream as `fopen` does.
FILE *ztOpenStream(const char *name, const char *mode);
void ztCloseStream(FILE *stream);

// Hands buffered bytes to the system. False when that fails, or when bytes were lost or a read failed since
// the last call; the mark at the end of the file stays.
bool ztFlushStream(FILE *stream);

// As `fwrite` and `fread` of so many bytes.
size_t ztPutBytes(FILE *stream, const void *bytes, size_t count);
size_t ztTakeBytes(FILE *stream, void *bytes, size_t count);

// After `getc` gave EOF: what it gives once no signal interrupts it.
int ztTakeByteAgain(FILE *stream);

// The next byte, or EOF.
inline int ztTakeByte(FILE *stream) {
  int byte = getc_unlocked(stream);
  if (byte == EOF) byte = ztTakeByteAgain(stream);
  if (byte != EOF) ++ztThisThread.bytesRead;
  return byte;
}

// Gives back the byte that was taken last, or EOF.
inline void ztReturnByte(FILE *stream, int byte) {
  if (byte == EOF) return;
  ungetc(byte, stream);
  --ztThisThread.bytesRead;
}

inline bool ztHasByte(FILE *stream) {
  const int byte = ztTakeByte(stream);
  ztReturnByte(stream, byte);
  return byte != EOF;
}

// A line with its line feed, or so many bytes of it. Less at the end; -1 when a read failed.
int32_t ztTakeLine(FILE *stream, char *bytes, int32_t count);

// So many bytes, or a line of no more, in a block that grew as they came and has room for a terminator behind
// them. NULL when memory is exhausted. The count is below INT32_MAX.
char *ztTakeArriving(FILE *stream, int32_t count, bool isLine, int32_t *arrived);

// The bytes between the position and the end of a regular file; -1 where nobody knows.
int64_t ztBytesLeft(FILE *stream);

#endif
