// The names of functions, from the files of programs and libraries. The dynamic linker knows only those that are
// exported, and tells them with a lock held.
#ifndef ZT_CORE_ZTSYMBOL_HH
#define ZT_CORE_ZTSYMBOL_HH

#include <stddef.h>
#include <stdint.h>

namespace ztcore {

// Finds the function around an address in an ELF file; `address` is that in the file, before it is loaded. Writes its
// name and returns its start; returns 0 when the file cannot be read, or has no such function.
uint64_t findFunction(const char *path, uint64_t address, char *name, size_t size);

}  // namespace ztcore

#endif
