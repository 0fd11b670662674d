// What objects are read from, whether it can seek or not.
#ifndef ZT_TESTS_SOURCE_HH
#define ZT_TESTS_SOURCE_HH

#include "tests/helpers/storage.hh"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <string>

// A file with bytes to read: one that can seek, or the reading end of a pipe.
class Source : public Storage {
 public:
  Source(const std::string &bytes, ztCtor form, bool isPipe) : Storage(form, isPipe ? "" : bytes) {
    if (!isPipe) return;
    EXPECT_EQ(pipe(ends), 0);
    // All pipes of a user may hold 64 MB together.
    const auto size = static_cast<int>(bytes.size());
    if (size > fcntl(ends[1], F_GETPIPE_SZ)) {
      EXPECT_GE(fcntl(ends[1], F_SETPIPE_SZ, size), size);
    }
    EXPECT_EQ(::write(ends[1], bytes.data(), bytes.size()), size);
    close(ends[1]);
    const std::string reader = "/proc/self/fd/" + std::to_string(ends[0]);
    EXPECT_EQ((*this)->open(*this, reader.c_str(), "rb"), 1);
  }
  ~Source() {
    if (ends[0] >= 0) close(ends[0]);
  }

 private:
  int ends[2] = {-1, -1};
};

#endif
