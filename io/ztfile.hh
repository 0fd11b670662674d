#ifndef ZT_IO_ZTFILE_HH
#define ZT_IO_ZTFILE_HH

#include "io/ztfile.h"

namespace ztcore {

// Class functions are not inherited: each file class fills its own table with them.
void fillFileFunctions(ztFileFunctions *functions);

}  // namespace ztcore

#endif
