// A host in C++ whose program chooses that nothing is logged.
#include "zentova.h"

#include <stdio.h>

ZT_LOG_TO("");

int main() {
  ztLc_log("a text\n");
  puts("host ends");
  return 0;
}
