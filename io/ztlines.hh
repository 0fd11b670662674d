// Text for people, written to a file descriptor.
#ifndef ZT_IO_ZTLINES_HH
#define ZT_IO_ZTLINES_HH

#include <stddef.h>

namespace ztcore {

class Lines {
 public:
  explicit Lines(int descriptor) : file(descriptor) {}
  Lines(const Lines &) = delete;
  Lines &operator=(const Lines &) = delete;

  // At most 1,023 bytes at a time.
  void print(const char *format, ...) __attribute__((format(printf, 2, 3)));
  // A text of any bytes, in quotes: what is no printable ASCII character is written as in C.
  void printQuoted(const char *text, size_t length);
  // Writes what is left. False when anything could not be written.
  bool finish();

 private:
  void add(const char *text, size_t length);

  int file;
  bool failed = false;
  size_t used = 0;
  char buffer[4096];
};

}  // namespace ztcore

#endif
