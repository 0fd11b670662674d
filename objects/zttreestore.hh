// Records and marks of trees in files.
#ifndef ZT_OBJECTS_ZTTREESTORE_HH
#define ZT_OBJECTS_ZTTREESTORE_HH

#include "objects/ztroot.h"

namespace ztcore {

// The mark behind the records of a saved tree.
struct TreeMark {
  int32_t nodes;  // the number of records before it
  int64_t bytes;  // the size of these records in the file
  uint64_t sum;   // the check sum of those bytes
};

// A mark has the form of a record: a class identity with a name that no class has, and this many bytes of text.
constexpr int32_t markTextSize = 64;
extern const char markName[];
constexpr int32_t markVersion = 1;

// Prints the numbers and a terminator.
void printMark(const TreeMark &mark, char (&text)[markTextSize + 1]);
// False for a text of any other form.
bool parseMark(const char *text, TreeMark *mark);

bool writeMark(const TreeMark &mark, void *file);

// As ztRoot_loadTree(); unless `expected` is NULL, requires that mark at the end.
int32_t loadTree(void *file, int32_t count, void *roots, ztTreeReport *report, const TreeMark *expected);

}  // namespace ztcore

#endif
