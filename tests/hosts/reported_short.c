/* Refuses every allocation of the system once, while objects are made and reported. */
#include "objects/ztreport.h"
#include "objects/ztroot.h"
#include "tests/hosts/check.h"

#include <stdlib.h>

void *__libc_malloc(size_t size);
void *__libc_realloc(void *block, size_t size);
void __libc_free(void *block);

static long left = -1; /* the allocations before the one that is refused; -1 for none */

static long calls;

static int isRefused(void) {
  ++calls;
  return left >= 0 && left-- == 0;
}

void *malloc(size_t size) {
  return isRefused() ? NULL : __libc_malloc(size);
}

void *realloc(void *block, size_t size) {
  return isRefused() ? NULL : __libc_realloc(block, size);
}

void free(void *block) {
  __libc_free(block);
}

static void makeAndReport(void) {
  ztRoot *plant = ztRoot_new();
  ztRoot *tank = plant == NULL ? NULL : ztRoot_new();
  if (tank != NULL) ztRoot_of(plant)->addChild(plant, tank);
  if (tank != NULL && tank->parent == NULL) ztRoot_of(tank)->unRef(tank);
  remove("report.txt");
  const int32_t isWritten = ztOOP_report("report.txt");
  FILE *report = fopen("report.txt", "re");
  CHECK((report != NULL) == isWritten || left < 0); /* fopen itself may be refused */
  if (report != NULL) fclose(report);
  if (plant != NULL) ztRoot_of(plant)->unRef(plant);
}

int main(void) {
  makeAndReport();
  long refusals = 0;
  for (long wanted = 0;; ++wanted) {
    left = wanted;
    makeAndReport();
    if (left >= 0) break;
    ++refusals;
  }
  left = -1;
  CHECK(refusals > 20 || calls == 0); /* memory checkers put their own functions in front */
  makeAndReport();
  return failedChecks != 0;
}
