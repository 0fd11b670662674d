#include "day.h"

#include <stdio.h>

// begin list
ztList *newDay(void) {
  ztList *day = ztList_new();
  ztList_of(day)->setElementConstructor(day, Reading_ctor);
  for (int32_t hour = 6; hour < 9; ++hour) {
    Reading *reading = newReading(hour, 420.0 - hour);
    ztList_of(day)->pushBack(day, reading);
    Reading_of(reading)->unRef(reading); /* the list has its own */
  }
  return day;
}

void printDay(const ztList *day) {
  for (ztListItem *item = ztList_of(day)->getItemAt(day, 0); item != NULL; item = item->next) {
    const Reading *reading = item->data;
    printf("%02d:00  %.1f cm\n", (int)reading->hour, reading->level);
  }
}
// end list

// begin array
double middleOf(const ztList *day) {
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
