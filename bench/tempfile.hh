// A file that the benchmarks write and read: in a temporary folder, which goes when the program ends.
#ifndef ZT_BENCH_TEMPFILE_HH
#define ZT_BENCH_TEMPFILE_HH

#include "tests/helpers/temp_folder.hh"

inline const char *temporaryFile() {
  static const TempFolder folder;
  static const std::string path = folder.path("values");
  return path.c_str();
}

#endif
