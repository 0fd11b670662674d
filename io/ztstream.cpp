#include "io/ztstream.hh"

#include "core/ztmem.h"

#include <errno.h>
#include <stdio_ext.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace ztcore;

// Interrupted writes -------------------------------------------------------------------------------
//
// A stream drops its buffer when a write is interrupted. So the buffers of pipes, terminals and similar files,
// where that happens, are written here.

static bool isInterruptible(FILE *stream) {
  struct stat found;
  const int descriptor = fileno(stream);
  if (descriptor < 0 || fstat(descriptor, &found) != 0) return false;
  return S_ISFIFO(found.st_mode) || S_ISSOCK(found.st_mode) || S_ISCHR(found.st_mode);
}

static void markFailed(FILE *stream) {
  stream->_flags |= _IO_ERR_SEEN;
}

// As `clearerr`, but keeps the end-of-file mark.
static void clearFailure(FILE *stream) {
  stream->_flags &= ~_IO_ERR_SEEN;
}

static size_t writeAll(FILE *stream, const char *bytes, size_t count) {
  size_t done = 0;
  while (done < count) {
    const ssize_t written = write(fileno(stream), bytes + done, count - done);
    if (written > 0) {
      done += static_cast<size_t>(written);
    } else if (written == 0 || errno != EINTR) {
      markFailed(stream);
      break;
    }
  }
  return done;
}

static bool writeBuffer(FILE *stream) {
  const size_t pending = __fpending(stream);
  if (pending == 0) return true;
  const size_t written = writeAll(stream, stream->_IO_write_base, pending);
  __fpurge(stream);
  return written == pending;
}

static size_t bufferSize(const FILE *stream) {
  constexpr size_t smallest = 512;  // the smallest buffer that a stream allocates with its first byte
  const auto size = static_cast<size_t>(stream->_IO_buf_end - stream->_IO_buf_base);
  return size == 0 ? smallest : size;
}

// A stream finds out with its first byte whether it writes to a terminal.
static bool isLineBuffered(FILE *stream) {
  return __flbf(stream) || (stream->_IO_buf_base == nullptr && isatty(fileno(stream)));
}

static size_t putPastBuffer(FILE *stream, const void *bytes, size_t count) {
  if (!isInterruptible(stream)) return fwrite_unlocked(bytes, 1, count, stream);
  if (!writeBuffer(stream)) return 0;
  if (count < bufferSize(stream) && !isLineBuffered(stream)) return fwrite_unlocked(bytes, 1, count, stream);
  return writeAll(stream, static_cast<const char *>(bytes), count);
}

size_t ztcore::putBytes(FILE *stream, const void *bytes, size_t count) {
  // 0 for a line-buffered stream, and negative while its buffer has bytes.
  const ptrdiff_t free = stream->_IO_write_end - stream->_IO_write_ptr;
  const bool fits = free >= 0 && count <= static_cast<size_t>(free);
  return fits ? fwrite_unlocked(bytes, 1, count, stream) : putPastBuffer(stream, bytes, count);
}

bool ztcore::flushStream(FILE *stream) {
  const bool hasFailed = ferror_unlocked(stream) != 0;
  const bool wasWritten = !isInterruptible(stream) || writeBuffer(stream);
  if (fflush(stream) == 0 && wasWritten && !hasFailed) return true;
  clearFailure(stream);
  return false;
}

// Opening and closing ------------------------------------------------------------------------------

FILE *ztcore::openStream(const char *name, const char *mode) {
  FILE *stream;
  do {
    errno = 0;
    stream = fopen(name, mode);
  } while (stream == nullptr && errno == EINTR);
  return stream;
}

void ztcore::closeStream(FILE *stream) {
  if (isInterruptible(stream)) writeBuffer(stream);
  fclose(stream);
}

// Reads --------------------------------------------------------------------------------------------

// Whether a signal ended a read early. Clears errno, and the error mark unless it was set before.
static bool wasInterrupted(FILE *stream, bool hadFailed) {
  if (errno != EINTR || feof_unlocked(stream) || !ferror_unlocked(stream)) return false;
  if (!hadFailed) clearFailure(stream);
  errno = 0;
  return true;
}

size_t ztcore::takeBytes(FILE *stream, void *bytes, size_t count) {
  const bool hadFailed = ferror_unlocked(stream) != 0;
  size_t got = fread_unlocked(bytes, 1, count, stream);
  while (got < count && wasInterrupted(stream, hadFailed)) {
    got += fread_unlocked(static_cast<char *>(bytes) + got, 1, count - got, stream);
  }
  thisThread.bytesRead += got;
  return got;
}

// Also clears an older error mark.
int ztcore::takeByteAgain(FILE *stream) {
  int byte = EOF;
  while (byte == EOF && wasInterrupted(stream, false)) byte = getc_unlocked(stream);
  return byte;
}

int32_t ztcore::takeLine(FILE *stream, char *bytes, int32_t count) {
  int32_t got = 0;
  while (got < count) {
    const int byte = takeByte(stream);
    if (byte == EOF) return feof_unlocked(stream) ? got : -1;
    bytes[got++] = static_cast<char>(byte);
    if (byte == '\n') break;
  }
  return got;
}

char *ztcore::takeArriving(FILE *stream, int32_t count, bool isLine, int32_t *arrived) {
  constexpr int32_t atFirst = 4096;
  int32_t capacity = count < atFirst ? count : atFirst;
  auto *block = static_cast<char *>(ztm_alloc(capacity + 1));
  int32_t got = 0;
  while (block != nullptr) {
    const int32_t wanted = capacity - got;
    const int32_t more =
        isLine ? takeLine(stream, block + got, wanted)
               : static_cast<int32_t>(takeBytes(stream, block + got, static_cast<size_t>(wanted)));
    if (more > 0) got += more;
    if (more < wanted || capacity == count || (isLine && block[got - 1] == '\n')) break;
    capacity = capacity > count / 2 ? count : capacity * 2;
    auto *larger = static_cast<char *>(ztm_realloc(block, capacity + 1));
    if (larger == nullptr) ztm_free(block);
    block = larger;
  }
  *arrived = got;
  return block;
}

// Sizes --------------------------------------------------------------------------------------------

int64_t ztcore::bytesLeft(FILE *stream) {
  struct stat found;
  const int descriptor = fileno(stream);
  if (descriptor < 0 || fstat(descriptor, &found) != 0 || !S_ISREG(found.st_mode)) return -1;
  const int64_t here = ftello(stream);
  if (here < 0) return -1;
  return here < found.st_size ? found.st_size - here : 0;
}
