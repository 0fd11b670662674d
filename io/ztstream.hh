// Reads and writes streams for the file classes. Repeats interrupted system calls, and counts the bytes read.
#ifndef ZT_IO_ZTSTREAM_HH
#define ZT_IO_ZTSTREAM_HH

#include "core/ztthread.hh"

#include <stdint.h>
#include <stdio.h>

namespace ztcore {

// Opens a stream as `fopen` does.
FILE *openStream(const char *name, const char *mode);
void closeStream(FILE *stream);

// Writes buffered bytes to the system. False when that fails, or when bytes were lost or a read failed since
// the last call; keeps the end-of-file mark.
bool flushStream(FILE *stream);

// As `fwrite` and `fread` of `count` bytes.
size_t putBytes(FILE *stream, const void *bytes, size_t count);
size_t takeBytes(FILE *stream, void *bytes, size_t count);

// Call after `getc` returned EOF: repeats it while signals interrupt it.
int takeByteAgain(FILE *stream);

// The next byte, or EOF.
inline int takeByte(FILE *stream) {
  int byte = getc_unlocked(stream);
  if (byte == EOF) byte = takeByteAgain(stream);
  if (byte != EOF) ++thisThread.bytesRead;
  return byte;
}

// Puts back the byte or EOF that was read last.
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

// Reads a line with its line feed, or its first `count` bytes. Fewer at the end; -1 when a read failed.
int32_t takeLine(FILE *stream, char *bytes, int32_t count);

// Reads `count` bytes, or a line of at most that, into a block that grows as they arrive and has space for a
// terminator. NULL when memory is exhausted. `count` is below INT32_MAX.
char *takeArriving(FILE *stream, int32_t count, bool isLine, int32_t *arrived);

// The bytes between the position and the end of a regular file; -1 when unknown.
int64_t bytesLeft(FILE *stream);

}  // namespace ztcore

#endif
