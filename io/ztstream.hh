// The bytes of streams, as the file classes move them. A system call that a signal interrupts is made again,
// and what is read is counted.
#ifndef ZT_IO_ZTSTREAM_HH
#define ZT_IO_ZTSTREAM_HH

#include "core/ztthread.hh"

#include <stdint.h>
#include <stdio.h>

namespace ztcore {

// Opens a stream as `fopen` does.
FILE *openStream(const char *name, const char *mode);
void closeStream(FILE *stream);

// Hands buffered bytes to the system. False when that fails, or when bytes were lost or a read failed since
// the last call; the mark at the end of the file stays.
bool flushStream(FILE *stream);

// As `fwrite` and `fread` of so many bytes.
size_t putBytes(FILE *stream, const void *bytes, size_t count);
size_t takeBytes(FILE *stream, void *bytes, size_t count);

// After `getc` gave EOF: what it gives once no signal interrupts it.
int takeByteAgain(FILE *stream);

// The next byte, or EOF.
inline int takeByte(FILE *stream) {
  int byte = getc_unlocked(stream);
  if (byte == EOF) byte = takeByteAgain(stream);
  if (byte != EOF) ++thisThread.bytesRead;
  return byte;
}

// Gives back the byte that was taken last, or EOF.
inline void returnByte(FILE *stream, int byte) {
  if (byte == EOF) return;
  ungetc(byte, stream);
  --thisThread.bytesRead;
}

inline bool hasByte(FILE *stream) {
  const int byte = takeByte(stream);
  returnByte(stream, byte);
  return byte != EOF;
}

// A line with its line feed, or so many bytes of it. Less at the end; -1 when a read failed.
int32_t takeLine(FILE *stream, char *bytes, int32_t count);

// So many bytes, or a line of no more, in a block that grew as they came and is large enough for a terminator behind
// them. NULL when memory is exhausted. The count is below INT32_MAX.
char *takeArriving(FILE *stream, int32_t count, bool isLine, int32_t *arrived);

// The bytes between the position and the end of a regular file; -1 where nobody knows.
int64_t bytesLeft(FILE *stream);

}  // namespace ztcore

#endif
