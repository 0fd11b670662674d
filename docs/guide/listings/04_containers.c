#include "reading.h"

#include <stdio.h>
#include <string.h>

// begin list
/* A list whose elements are objects: it keeps copies, made by their `clone`. */
static ztList *newDay(void) {
  ztList *day = ztList_new();
  ztList_of(day)->setElementConstructor(day, Reading_ctor);
  for (int32_t hour = 6; hour < 9; ++hour) {
    Reading *reading = newReading(hour, 420.0 - hour);
    ztList_of(day)->pushBack(day, reading);
    Reading_of(reading)->unRef(reading); /* the list has its own */
  }
  return day;
}

static void printDay(const ztList *day) {
  for (ztListItem *item = ztList_of(day)->getItemAt(day, 0); item != NULL; item = item->next) {
    const Reading *reading = item->data;
    printf("%02d:00  %.1f cm\n", (int)reading->hour, reading->level);
  }
}
// end list

// begin array
/* The middle one of all levels. */
static double middleOf(const ztList *day) {
  ztFloatArray *levels = ztFloatArray_new();
  for (ztListItem *item = ztList_of(day)->getItemAt(day, 0); item != NULL; item = item->next)
    ztFloatArray_of(levels)->pushBack(levels, &((const Reading *)item->data)->level);
  ztFloatArray_of(levels)->sort(levels, ztFloatArray_compare_func);
  const double *sorted = ztFloatArray_of(levels)->getData(levels);
  const double middle = sorted[ztFloatArray_of(levels)->getSize(levels) / 2];
  ztFloatArray_of(levels)->unRef(levels);
  return middle;
}
// end array

// begin map
static int32_t compareTexts(const void *first, const void *second) {
  return strcmp(first, second);
}

/* A map from names, which stay the program's, to copies of numbers. */
static void printLimits(void) {
  ztMap *limits = ztMap_new();
  ztMap_of(limits)->setCompareFunction(limits, compareTexts);
  ztMap_of(limits)->setKeySize(limits, sizeof(char *), 1);
  ztMap_of(limits)->setValueSize(limits, sizeof(double), 0);
  const double intake = 415, basin = 300;
  ztMap_of(limits)->pushBack(limits, "Intake", &intake);
  ztMap_of(limits)->pushBack(limits, "Basin", &basin);

  ztMapIterator walk;
  ztMapIterator_ctor(&walk, 1);
  const ztMapItem *item = ztMapIterator_of(&walk)->first(&walk, limits);
  for (; item != NULL; item = ztMapIterator_of(&walk)->next(&walk))
    printf("%s: %.0f cm\n", (const char *)item->data, *(const double *)item->value);
  ztMapIterator_of(&walk)->destroy(&walk); /* in our own memory: no unRef */
  ztMap_of(limits)->unRef(limits);
}
// end map

// begin main
int main(void) {
  ztList *day = newDay();
  printDay(day);
  printf("the middle is %.1f cm\n", middleOf(day));
  printLimits();
  ztList_of(day)->unRef(day);
  return 0;
}
// end main
