/* Saves a tree over another one and is killed on the way.
 *
 *   treesave_killed PATH TEXT make           saves the old tree
 *   treesave_killed PATH TEXT bytes N        saves the new one; a signal ends the process when the file grows
 *                                            beyond N bytes
 *   treesave_killed PATH TEXT full N         the same on a disk with room for N bytes; the result is the exit
 *                                            status
 *   treesave_killed PATH TEXT call N         the process is killed at the Nth call for files, ahead of the call
 *   treesave_killed PATH TEXT fail N         that call fails
 */
#include "tests/hosts/check.h"
#include "zentova.h"

#include <dlfcn.h>
#include <errno.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

static int callsLeft = -1;
static int callsFail;
static int struck;

/* Whether the call is to fail. */
static int strike(void) {
  if (callsLeft < 0 || --callsLeft >= 0) return 0;
  if (!callsFail) kill(getpid(), SIGKILL);
  errno = EIO;
  struck = 1;
  return 1;
}

typedef int OfDescriptor(int descriptor);
typedef int OfNames(const char *from, const char *to);
typedef int OfMode(int descriptor, mode_t mode);

static void *following(const char *name) {
  return dlsym(RTLD_NEXT, name);
}

int fsync(int descriptor) {
  OfDescriptor *real;
  *(void **)&real = following("fsync");
  return strike() ? -1 : real(descriptor);
}

int rename(const char *from, const char *to) {
  OfNames *real;
  *(void **)&real = following("rename");
  return strike() ? -1 : real(from, to);
}

int fchmod(int descriptor, mode_t mode) {
  OfMode *real;
  *(void **)&real = following("fchmod");
  return strike() ? -1 : real(descriptor, mode);
}

static void *newTree(int32_t nodes) {
  void *root = ztRoot_ctor(NULL, 1);
  ztRoot_of(root)->setUid(root, nodes);
  for (int32_t i = 1; i < nodes; ++i) {
    void *child = ztRoot_ctor(NULL, 1);
    ztRoot_of(child)->setUid(child, -i);
    ztRoot_of(root)->addChild(root, child);
  }
  return root;
}

static void limitFiles(const char *bytes, int endsProcess) {
  const struct rlimit limit = {strtoul(bytes, NULL, 10), RLIM_INFINITY};
  const struct rlimit noCore = {0, 0};
  setrlimit(RLIMIT_CORE, &noCore);
  setrlimit(RLIMIT_FSIZE, &limit);
  signal(SIGXFSZ, endsProcess ? SIG_DFL : SIG_IGN);
}

int main(int argc, char **argv) {
  if (argc < 4) return 91;
  const char *what = argv[3];
  const int isNew = strcmp(what, "make") != 0;
  if (isNew && argc < 5) return 91;
  void *root = newTree(isNew ? 40 : 30);
  /* So that all later output goes nowhere, whatever the limit. */
  if (freopen("/dev/null", "w", stdout) == NULL) return 91;
  if (strcmp(what, "bytes") == 0) limitFiles(argv[4], 1);
  if (strcmp(what, "full") == 0) limitFiles(argv[4], 0);
  callsFail = strcmp(what, "fail") == 0;
  if (callsFail || strcmp(what, "call") == 0) callsLeft = atoi(argv[4]);
  const int32_t saved = ztRoot_saveTree(root, argv[1], atoi(argv[2]));
  ztRoot_of(root)->unRef(root);
  const struct rlimit none = {RLIM_INFINITY, RLIM_INFINITY};
  setrlimit(RLIMIT_FSIZE, &none);
  if (saved != 0 && saved != (isNew ? 40 : 30)) return 92;
  return (saved == 0 ? 1 : 0) + (struck ? 2 : 0);
}
