// Where the library's memory comes from.
#ifndef ZT_CORE_ZTMEM_HH
#define ZT_CORE_ZTMEM_HH

#include "core/ztmem.h"

#include <stddef.h>

namespace ztcore {

struct MemoryFunctions {
  void *(*allocate)(size_t size);
  void *(*resize)(void *block, size_t size);
  void (*release)(void *block);
  // Leaves a block of the library's own out of reports. NULL where nothing is recorded.
  void (*hide)(const void *block);
};

// The system's functions, or those that also record every block. A call through this costs as much as one that the
// dynamic linker binds. Changes only while the library is loaded and unloaded.
extern MemoryFunctions memoryFunctions;

// Hides a block of the library's own that holds the addresses of objects or classes. Returns it.
template <typename Block>
Block *hidden(Block *block) {
  if (memoryFunctions.hide != nullptr) memoryFunctions.hide(block);
  return block;
}

}  // namespace ztcore

#endif
