// Objects whose records an earlier version of their class may have written.
#ifndef ZT_CORE_ZTREADER_HH
#define ZT_CORE_ZTREADER_HH

#include "core/ztbasec.hh"

namespace ztcore {

// Makes an object that can read the record behind an identity. NULL, with a line in the log that names the
// function, when its class has no reader for the version; also without memory and for an unknown class.
void *makeReadable(const Identity &identity, const char *function);

// Has such an object read its record.
bool readRecord(void *object, const Identity &identity, void *file);

}  // namespace ztcore

#endif
