/* The classes of the demonstration as a plugin, with which ztinspect shows the files that it writes. */
#include "../network/station.h"

__attribute__((constructor)) static void makeClassesKnown(void) {
  ZT_REGISTER_CLASS(Station);
}
