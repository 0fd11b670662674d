/* A child of fork that ends, logs, or starts an engine of its own, as the argument names. */
#include "zentova.h"

#include "tests/hosts/check.h"

#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#define Leaf_FIELDS ztBaseClass_FIELDS
#define Leaf_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Leaf)

static void leafMethods(LeafMethods *methods) {
  (void)methods;
}

ZT_DEFINE_CLASS(Leaf, ztBaseClass, leafMethods)

static void childRuns(const char *scenario) {
  void *leaf = ztNewFromName("Leaf");
  CHECK(leaf != NULL);
  if (leaf != NULL) ztBaseClass_of(leaf)->unRef(leaf);
  if (strcmp(scenario, "talk") == 0) ztLc_log("the child talks\n");
  if (strcmp(scenario, "restart") == 0) {
    ztOOP_CleanUp();
    CHECK(ztOOP_Init("child") == 1);
    ztOOP_CleanUp();
  }
  exit(failedChecks != 0);
}

int main(int argc, char **argv) {
  if (argc != 2) return 2;
  Leaf leaf;
  Leaf_ctor(&leaf, 1);
  fflush(stdout); /* what is printed already is not printed twice */
  const pid_t child = fork();
  if (child == 0) childRuns(argv[1]);
  int status = -1;
  CHECK(waitpid(child, &status, 0) == child && status == 0);
  if (strcmp(argv[1], "talk") == 0) ztLc_log("the parent talks\n");
  return failedChecks != 0;
}
