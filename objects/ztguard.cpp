#include "objects/ztguard.hh"

#include "core/ztlogctrl.h"
#include "core/ztoop.hh"
#include "objects/ztobjbase.hh"

using namespace ztcore;

bool ztcore::isGiven(const char *function, const void *argument, const char *what) {
  if (argument == nullptr) ztLc_log("%s - Error, the %s is NULL\n", function, what);
  return argument != nullptr;
}

// By the addresses of descriptors: nothing else of the object is read.
bool ztcore::isOf(const char *function, const void *object, const ztClass *klass, const char *what) {
  if (isWithin(ztOOP_classOf(object), klass)) return true;
  ztLc_log("%s - Error, the %s is no %s but of class " ZT_CUT_NAME "\n", function, what, klass->name,
           ztOOP_classNameOf(object));
  return false;
}

bool ztcore::isObject(const char *function, const void *argument, const char *what) {
  return isGiven(function, argument, what) && isOf(function, argument, ztObjectClass_Instance(), what);
}

bool ztcore::isLasting(const char *function, const void *object, const char *what) {
  if (!isBeingDestroyed(object)) return true;
  ztLc_log("%s - Error, the %s, of class " ZT_CUT_NAME ", is being destroyed\n", function, what,
           ztOOP_classNameOf(object));
  return false;
}
