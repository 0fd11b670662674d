// The records of trees in files, for whole files of trees.
#ifndef ZT_OBJECTS_ZTTREESTORE_HH
#define ZT_OBJECTS_ZTTREESTORE_HH

#include "objects/ztroot.h"

namespace ztcore {

// What stands behind the records of a tree that is saved as a whole.
struct TreeMark {
  int32_t nodes;  // the records ahead of it
  int64_t bytes;  // what these take in the file
  uint64_t sum;   // over those bytes
};

// A mark is shaped like a record, with a class identity whose name no class bears, and these many bytes of
// text for its numbers.
constexpr int32_t markTextSize = 64;
extern const char markName[];
constexpr int32_t markVersion = 1;

// Prints the numbers, with a terminator behind them.
void printMark(const TreeMark &mark, char (&text)[markTextSize + 1]);
// False for a text that is not as it is printed.
bool parseMark(const char *text, TreeMark *mark);

bool writeMark(const TreeMark &mark, void *file);

// As ztRoot_loadTree(), and, unless it is NULL, only up to a mark that is the expected one.
int32_t loadTree(void *file, int32_t count, void *roots, ztTreeReport *report, const TreeMark *expected);

}  // namespace ztcore

#endif
