/* Chooses where the log goes. */
#include "zentova.h"

static ZT_MAYBE_UNUSED const char *chosenLater(void) {
  return "";
}

ZT_LOG_TO(TARGET);
