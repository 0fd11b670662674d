/*
 * Logs in the ways that the argument names, and prints a line of its own. Built several times: with LOG_TARGET, the
 * program chooses where the log goes; in C++, too.
 */
#include "zentova.h"

#include "tests/hosts/check.h"

#include <sys/auxv.h>

#ifdef LOG_TARGET
ZT_LOG_TO(LOG_TARGET);
#endif

static void talk(void) {
  ztLc_log("%s", "100%%\n");
}

/* The choice counts for every start. */
static void startAgain(void) {
  ztOOP_CleanUp();
  ztLc_log("stopped\n");
  CHECK(ztOOP_Init("second") == 1);
  ztLc_log("started\n");
}

static void openOwnFile(void) {
  ztLc_closeLogFile();
  printf("own file: %d\n", (int)ztLc_openLogFile("own.log"));
  ztLc_log("for the own file\n");
  ztLc_closeLogFile();
  ztLc_log("behind it\n");
}

static void tellRights(void) {
  printf("other rights: %d\n", getauxval(AT_SECURE) != 0);
}

int main(int argc, char **argv) {
  static const Scenario scenarios[] = {
      {"talk", talk}, {"again", startAgain}, {"own-file", openOwnFile}, {"rights", tellRights}};
  puts("host starts");
  fflush(stdout);
  return argc == 2 ? RUN(scenarios, argv[1]) : 2;
}
