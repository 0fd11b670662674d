#include "plant.h"

#include <dlfcn.h>
#include <stdio.h>

// begin use
static void showCelsius(void *receiver, double celsius) {
  (void)receiver;
  printf("measured: %.1f degrees\n", celsius);
}

/* Adds a thermometer to the plant, by names alone. */
static int use(ztRoot *plant) {
  void *thermometer = ztNewFromName("Thermometer");
  if (thermometer == NULL) return 0;
  ztRoot_of(plant)->addChild(plant, thermometer);
  return ztObject_connect(thermometer, "measured", plant, ZT_SLOT(showCelsius), 1) &&
         ztObject_setText(thermometer, "name", "Water") && ztObject_setFloat(thermometer, "celsius", 18.5);
}
// end use

// begin main
int main(int count, char **words) {
  ztRoot *plant = newPlant();
  void *plugin = count > 1 ? dlopen(words[1], RTLD_NOW) : NULL;
  const int used = plugin != NULL && use(plant);
  printTree(plant, 0);
  ztRoot_of(plant)->unRef(plant); /* before the code of the plugin goes */
  if (plugin != NULL) dlclose(plugin);
  printf("known: %d\n", (int)ztOOP_isClassRegistered("Thermometer"));
  return used ? 0 : 1;
}
// end main
