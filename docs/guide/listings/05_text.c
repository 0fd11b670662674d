#include "day.h"

#include <stdio.h>

// begin string
static void append(ztString *text, const char *part) {
  ztString_of(text)->cat(text, ztString_functions()->newString(NULL, part));
}

/* A title and a line for each reading: a new string, which the caller releases. */
static ztString *newReport(const char *title, const ztList *day) {
  ztString *report = ztString_new();
  ztString_of(report)->set(report, title);
  for (ztListItem *item = ztList_of(day)->getItemAt(day, 0); item != NULL; item = item->next) {
    const Reading *reading = item->data;
    append(report, ztCu_fmtMsg("\n%02d:00  %.1f cm", (int)reading->hour, reading->level));
  }
  return report;
}
// end string

// begin compare
static void compare(const ztString *report, const ztString *name) {
  printf("%s: %u characters\n", ztString_of(name)->get(name), (unsigned)ztString_of(name)->length(name));
  printf("equal: %d, less: %d\n", (int)ztString_of(name)->isEqual(name, report),
         (int)ztString_of(name)->isLess(name, report));
}
// end compare

// begin store
/* Stores both in a text file, with the middle of the day, and loads the report again. */
static int storeAndLoad(const ztString *name, ztString *report, double middle) {
  ztTextFile *file = ztTextFile_new();
  ztString *loaded = ztString_new();
  int done = ztTextFile_of(file)->open(file, "report.txt", "w+") && ztString_store(name, file) &&
             ztString_store(report, file) && ztTextFile_of(file)->writeFloat(file, middle) > 0;
  ztTextFile_of(file)->goToBegin(file);
  done = done && ztString_load(loaded, file) && ztString_load(loaded, file); /* the second is the report */
  printf("restored: %d\n", (int)ztString_of(loaded)->isEqual(loaded, report));
  ztString_of(loaded)->unRef(loaded);
  ztTextFile_of(file)->unRef(file);
  return done;
}
// end store

// begin main
int main(void) {
  ztList *day = newDay();
  ztString *name = ztString_new();
  ztString_of(name)->set(name, "Waterworks");
  ztString *report = newReport("Waterworks, Monday", day);
  compare(report, name);
  const int done = storeAndLoad(name, report, middleOf(day));
  ztString_of(report)->unRef(report);
  ztString_of(name)->unRef(name);
  ztList_of(day)->unRef(day);
  return done ? 0 : 1;
}
// end main
