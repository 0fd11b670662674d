/* A host whose signals interrupt the library's system calls, and cut its writes short. */
#include "core/ztlogctrl.h"
#include "tests/hosts/check.h"

#include <errno.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

static int interruptions;

static int isInterrupted(void) {
  if (++interruptions % 2 == 0) return 0;
  errno = EINTR;
  return 1;
}

/* In front of the C library's. */
ssize_t write(int file, const void *bytes, size_t size) {
  if (isInterrupted()) return -1;
  return (ssize_t)syscall(SYS_write, file, bytes, size < 5 ? size : 5);
}

int ftruncate(int file, off_t size) {
  return isInterrupted() ? -1 : (int)syscall(SYS_ftruncate, file, size);
}

int main(void) {
  FILE *old = fopen("second.log", "w");
  CHECK(old != NULL && fputs("old contents", old) >= 0 && fclose(old) == 0);
  ztOOP_CleanUp();
  CHECK(ztOOP_Init("second") == 1);
  ztLc_log("a text of several writes\n");
  CHECK(interruptions > 0);
  return failedChecks != 0;
}
