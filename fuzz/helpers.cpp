#include "fuzz/input.hh"
int LLVMFuzzerInitialize(int *, char ***) {
  return 0;
}
int LLVMFuzzerTestOneInput(const uint8_t *, size_t) {
  return 0;
}
