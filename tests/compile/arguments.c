/* The arguments of an emission, and slots of any signature, in C and in C++. */
#include "objects/ztevents.h"

static int target;

static const ztArgument constants[] = {ZT_INT(3), ZT_FLOAT(2.5), ZT_POINTER(&target), ZT_POINTER(NULL)};

static void slot(void *receiver, double number, int32_t word, const char *text) {
  (void)receiver;
  (void)number;
  (void)word;
  (void)text;
}

int32_t emitAll(void *object, void *receiver, int32_t word, float number, const char *text);

int32_t emitAll(void *object, void *receiver, int32_t word, float number, const char *text) {
  const ztArgument arguments[] = {ZT_FLOAT(number), ZT_INT(word), ZT_POINTER(text)};
  const ztSlotFunction function = ZT_SLOT(slot);
  return ztObject_connect(object, "all", receiver, function, 3) &&
         ztObject_connect(object, "none", receiver, ZT_SLOT(slot), 0) &&
         ztObject_emitArgs(object, "all", arguments, 3) && ztObject_emitArgs(object, "all", constants, 4);
}
