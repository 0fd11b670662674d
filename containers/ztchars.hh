// The arrays of characters that strings own, made, resized, copied and released at once where only functions of the
// library would run.
#ifndef ZT_CONTAINERS_ZTCHARS_HH
#define ZT_CONTAINERS_ZTCHARS_HH

#include "containers/ztarrays.h"

namespace ztcore {

// Whether creation, copying, sizing and release call only functions of the library.
bool createsCharsPlainly();
bool copiesCharsPlainly();
bool sizesCharsPlainly();
bool releasesCharsPlainly();

// Whether the next release of an array that keeps characters ends it.
bool endsPlainly(const ztCharArray *chars);

// Whether an array is of the library's class and keeps characters, as it was made.
inline bool hasChars(const ztCharArray *chars) {
  return ztOOP_classOf(chars) == ztCharArrayClass_Instance() && chars->elementSize == 1 &&
         chars->elementConstructor == nullptr && chars->byPointer == 0;
}

// Makes an array in memory of the caller, with a block that it owns from now on. Only after one of the first two
// functions above has returned true.
void fillChars(ztCharArray *chars, void *block, int32_t count);

// The same for a copy of another array, with a copy of its block.
void fillCharsLike(ztCharArray *chars, const ztCharArray *source, void *block);

// Replaces the block of an array.
void replaceChars(ztCharArray *chars, void *block, int32_t count);

void freeChars(ztCharArray *chars);

}  // namespace ztcore

#endif
