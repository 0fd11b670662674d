// begin log
#include <zentova.h>

ZT_LOG_TO(""); /* no log; "stderr" or a path for another place */

int main(void) {
  ztLc_log("this goes nowhere\n");
  return 0;
}
// end log
