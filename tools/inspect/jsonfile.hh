// Files of JSON that were made of stored files.
#ifndef ZT_INSPECT_JSONFILE_HH
#define ZT_INSPECT_JSONFILE_HH

#include "tools/inspect/encode.hh"

#include <string>

namespace ztinspect {

// Whether a file begins as an array of JSON.
bool isJsonFile(const std::string &path);

// Writes what the JSON describes, record by record. A Problem for anything else.
void writeFromJson(const std::string &path, Writer *writer);

}  // namespace ztinspect

#endif
