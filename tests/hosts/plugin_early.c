/* A plugin that makes an object while it is loaded. */
#include "tests/hosts/plugin.h"

#define Early_FIELDS ztBaseClass_FIELDS
#define Early_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Early)

static void earlyMethods(EarlyMethods *methods) {
  (void)methods;
}

ZT_DEFINE_CLASS(Early, ztBaseClass, earlyMethods)

int32_t usePlugin(void) {
  void *early = makeObject();
  ztBaseClass_of(early)->unRef(early);
  return 1;
}

void *makeObject(void) {
  return Early_ctor(NULL, 1);
}

__attribute__((constructor)) static void loaded(void) {
  usePlugin();
}
