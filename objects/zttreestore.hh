// The records of trees in files, for whole files of trees.
#ifndef ZT_OBJECTS_ZTTREESTORE_HH
#define ZT_OBJECTS_ZTTREESTORE_HH

#include "objects/ztroot.h"

// What stands behind the records of a tree that is saved as a whole.
struct ztTreeMark {
  int32_t nodes;  // the records ahead of it
  int64_t bytes;  // what these take in the file
  uint64_t sum;   // over those bytes
};

// A mark is shaped like a record, with a class identity whose name no class bears, and these many bytes of
// text for its numbers.
constexpr int32_t ztMarkTextSize = 64;
extern const char ztMarkName[];
constexpr int32_t ztMarkVersion = 1;

// Prints the numbers, with a terminator behind them.
void ztPrintMark(const ztTreeMark &mark, char (&text)[ztMarkTextSize + 1]);
// False for a text that is not as it is printed.
bool ztParseMark(const char *text, ztTreeMark *mark);

bool ztWriteMark(const ztTreeMark &mark, void *file);

// As ztRoot_loadTree(), and, unless it is NULL, only up to a mark that is the expected one.
int32_t ztLoadTree(void *file, int32_t count, void *roots, ztTreeReport *report, const ztTreeMark *expected);

#endif
