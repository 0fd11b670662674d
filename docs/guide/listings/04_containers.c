#include "day.h"

#include <stdio.h>
#include <string.h>

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
