#include <zentova.h>

#include <stdio.h>

int main(void) {
  // begin make
  ztRoot *plant = ztRoot_new(); /* a node, which has a name */
  if (plant == NULL) return 1;
  // end make
  // begin call
  ztRoot_of(plant)->setName(plant, "Waterworks");
  printf("%s is a %s\n", ztRoot_of(plant)->getName(plant), ztRootClassName(NULL, plant));
  // end call
  // begin by_name
  void *gate = ztNewFromName("ztRoot"); /* the same by the name of the class */
  ztRoot_of(gate)->setName(gate, "Gate");
  printf("%s is a node: %d\n", ztRoot_of(gate)->getName(gate), (int)ztOOP_isClassOf(gate, "ztRoot"));
  // end by_name
  // begin release
  ztRoot_of(gate)->unRef(gate);
  ztRoot_of(plant)->unRef(plant);
  // end release
  return 0;
}
