// What all fuzz targets share: the bytes of one input, taken apart, and what has to hold.
#ifndef ZT_FUZZ_INPUT_HH
#define ZT_FUZZ_INPUT_HH

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <string>

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

// Ends the program, and so makes the input a finding, unless the condition holds.
#define ZT_REQUIRE(condition) \
  ((condition) ? static_cast<void>(0) : reportBroken(#condition, __FILE__, __LINE__))

[[noreturn]] inline void reportBroken(const char *condition, const char *file, int line) {
  fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, condition);
  abort();
}

// One input, taken from the front; zeros once it is used up.
class Input {
 public:
  Input(const uint8_t *bytes, size_t size) : at(bytes), left(size) {}

  bool isEmpty() const {
    return left == 0;
  }

  template <typename Number>
  Number number() {
    Number taken{};
    take(&taken, sizeof taken);
    return taken;
  }
  uint8_t byte() {
    return number<uint8_t>();
  }
  bool flag() {
    return (byte() & 1) != 0;
  }

  // From 0 to the bound less 1.
  uint32_t below(uint32_t bound) {
    return bound <= 1 ? 0 : (bound <= 256 ? byte() : number<uint16_t>()) % bound;
  }

  // A number as a count, an index or an identifier: mostly small, now and then one at some limit.
  int32_t count() {
    static const int32_t limits[] = {
        -1,      INT32_MIN, INT32_MAX, INT32_MAX - 1, 65535,         65536, 65537, 1 << 20,
        1 << 28, 1 << 30,   -2,        127,           INT32_MIN + 1, 255,   256,   512};
    const uint8_t first = byte();
    if (first < 232) return first % 24;
    if (first < 248) return limits[first - 232];
    return number<int32_t>();
  }

  // Up to so many bytes, zeros among them or not.
  std::string bytes(size_t atMost) {
    std::string taken(below(static_cast<uint32_t>(atMost) + 1), '\0');
    if (taken.size() > left) taken.resize(left);
    take(taken.data(), taken.size());
    return taken;
  }
  // The same up to the first zero.
  std::string text(size_t atMost) {
    const std::string taken = bytes(atMost);
    return taken.c_str();
  }

 private:
  void take(void *out, size_t size) {
    const size_t taken = size < left ? size : left;
    if (taken > 0) memcpy(out, at, taken);
    at += taken;
    left -= taken;
  }

  const uint8_t *at;
  size_t left;
};

#endif
