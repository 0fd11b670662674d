#include "flow.h"
#include "plant.h"

#include <stdio.h>

// begin fill
static void fill(Flow *flow) {
  for (int32_t hour = 6; hour < 18; ++hour) {
    const double litres = 30 + hour;
    const int32_t once = 1;
    Flow_of(flow)->setValue(flow, &flow->litres, hour, &litres);
    Flow_of(flow)->setValue(flow, &flow->starts, hour, &once);
  }
}
// end fill

// begin print
static void print(Flow *flow) {
  double noon = 0, total = 0;
  Flow_of(flow)->getValue(flow, &flow->litres, 12, &noon);
  Flow_of(flow)->getTotalValue(flow, &flow->litres, &total);
  printf("%s: %.0f at noon, %.0f in all\n", flow->name, noon, total);

  int32_t runs = 0;
  Flow_of(flow)->getTotalValue(flow, &flow->starts, NULL);  /* finds the total of integers, */
  Flow_of(flow)->getTotalValue(flow, &flow->starts, &runs); /* and the next call tells it */
  const ztTagAttribute *found = Flow_of(flow)->getByName(flow, "starts", NULL);
  printf("%d %s, %d values\n", (int)runs, found->name, (int)Flow_of(flow)->getNumValues(flow, &flow->starts));
}
// end print

// begin main
int main(void) {
  ztRoot *plant = newPlant();
  fill(addNode(pumpOf(plant), Flow_ctor, "Monday", 5)); /* a node below the pump */
  if (ztRoot_saveTree(plant, "plant.bin", 0) != 5) return 1;
  ztRoot_of(plant)->unRef(plant);

  plant = openPlant("plant.bin");
  if (plant == NULL) return 1;
  const Pump *pump = pumpOf(plant);
  print(Flow_cast(Pump_of(pump)->getChildAt(pump, 0)));
  ztRoot_of(plant)->unRef(plant);
  return 0;
}
// end main
