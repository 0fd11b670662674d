// What functions that hand results out are given.
#ifndef ZT_TESTS_OUT_BUFFER_HH
#define ZT_TESTS_OUT_BUFFER_HH

#include <string.h>

#include <string>

// A buffer of exactly the size that callers owe, so that a byte too many is seen.
struct OutBuffer {
  char text[512];
  char guard[8];

  OutBuffer() {
    memset(this, '#', sizeof *this);
    strcpy(text, "kept");
  }

  bool isIntact() const {
    return std::string(guard, sizeof guard) == "########";
  }
};

#endif
