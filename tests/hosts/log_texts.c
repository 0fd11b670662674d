/* Logs each argument as a finished text, one line each. */
#include "core/ztlogctrl.h"

int main(int argc, char **argv) {
  for (int i = 1; i < argc; ++i) {
    ztLc_log("%s", argv[i]);
    ztLc_log("\n");
  }
  return 0;
}
