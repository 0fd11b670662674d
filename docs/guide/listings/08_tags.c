#include <zentova.h>

#include <stdio.h>

// begin build
/* The pump's flow and its starts, hour by hour: a node with two series of numbers. */
static ztTag *newDay(ztTagHandle *flow, ztTagHandle *starts) {
  ztTag *day = ztTag_new();
  ztTag_of(day)->setName(day, "Monday");
  const double none = 0;
  ztTag_of(day)->insertNew(day, "flow", ztFloatTag_new(), flow, 0, 24, &none); /* takes the series over */
  ztTag_of(day)->insertNew(day, "starts", ztIntTag_new(), starts, 0, 24, NULL);
  return day;
}
// end build

// begin main
int main(void) {
  ztTagHandle flow, starts;
  ztTag *day = newDay(&flow, &starts);
  for (int32_t hour = 6; hour < 18; ++hour) {
    const double litres = 30 + hour;
    const int32_t once = 1;
    ztTag_of(day)->setValue(day, &flow, hour, &litres);
    ztTag_of(day)->setValue(day, &starts, hour, &once);
  }

  double noon = 0, total = 0;
  ztTag_of(day)->getValue(day, &flow, 12, &noon);
  ztTag_of(day)->getTotalValue(day, &flow, &total);
  printf("%s: %.0f at noon, %.0f in all\n", day->name, noon, total);

  int32_t runs = 0;
  ztTag_of(day)->getTotalValue(day, &starts, NULL);  /* finds the total of integers, */
  ztTag_of(day)->getTotalValue(day, &starts, &runs); /* and the next call tells it */
  printf("%d starts\n", (int)runs);

  const ztTagAttribute *found = ztTag_of(day)->getByName(day, "flow", NULL);
  printf("%s has %d values\n", found->name, (int)ztTag_of(day)->getNumValues(day, &flow));
  ztTag_of(day)->unRef(day);
  return 0;
}
// end main
