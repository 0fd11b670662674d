#include <zentova.h>

#include <dlfcn.h>
#include <stdio.h>

static void showCelsius(void *receiver, double celsius) {
  (void)receiver;
  printf("measured: %.1f degrees\n", celsius);
}

static int use(void) {
  void *thermometer = ztNewFromName("Thermometer");
  ztObject *desk = ztObject_new();
  const int used = thermometer != NULL && desk != NULL &&
                   ztObject_connect(thermometer, "measured", desk, ZT_SLOT(showCelsius), 1) &&
                   ztObject_setFloat(thermometer, "celsius", 18.5);
  if (desk != NULL) ztObject_of(desk)->unRef(desk);
  if (thermometer != NULL) ztObject_of(thermometer)->unRef(thermometer);
  return used;
}

int main(int count, char **words) {
  void *plugin = count > 1 ? dlopen(words[1], RTLD_NOW) : NULL;
  if (plugin == NULL) return 1;
  printf("known: %d\n", (int)ztOOP_isClassRegistered("Thermometer"));
  const int used = use(); /* releases its objects: they need the code of the plugin */
  dlclose(plugin);
  printf("known: %d\n", (int)ztOOP_isClassRegistered("Thermometer"));
  return used ? 0 : 1;
}
