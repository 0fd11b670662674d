// What other classes share with files beyond the public interface.
#ifndef ZT_IO_ZTFILE_HH
#define ZT_IO_ZTFILE_HH

#include "io/ztfile.h"

// Class functions are not inherited: each file class fills its own table with them.
void ztFillFileFunctions(ztFileFunctions *functions);

// For classes that read a count and then that many elements. False for a count that cannot be true,
// so that a damaged file does not demand memory: a negative one, or a large one for which the file
// has not as many bytes left. Streams that cannot seek are not asked.
inline bool ztIsCredibleCount(void *file, int32_t count) {
  constexpr int32_t alwaysCredible = 65536;
  if (count <= alwaysCredible) return count >= 0;
  const ztFileMethods *methods = ztFile_of(file);
  const int64_t here = methods->tell(file);
  if (here < 0 || methods->goToEnd(file) != 0) return true;
  const int64_t end = methods->tell(file);
  // What follows cannot be read from anywhere else.
  if (methods->goToAbs(file, here) != 0) return false;
  return end < 0 || count <= end - here;
}

#endif
