#ifndef DAY_H
#define DAY_H

#include "reading.h"

/* The readings of a day: a list, which the caller releases. */
ztList *newDay(void);

/* Prints a line for each reading. */
void printDay(const ztList *day);

/* The middle one of all levels. */
double middleOf(const ztList *day);

#endif
