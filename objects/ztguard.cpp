#include "objects/ztguard.hh"

#include "core/ztlogctrl.h"
#include "objects/ztobjbase.hh"

using namespace ztcore;

bool ztcore::isGiven(const char *function, const void *argument, const char *what) {
  if (argument == nullptr) ztLc_log("%s - Error, the %s is NULL\n", function, what);
  return argument != nullptr;
}

bool ztcore::isObject(const char *function, void *argument, const char *what) {
  if (!isGiven(function, argument, what)) return false;
  if (emitterOf(argument) != nullptr) return true;
  ztLc_log("%s - Error, the %s is no ztObject but of class " ZT_CUT_NAME "\n", function, what,
           ztOOP_classNameOf(argument));
  return false;
}

bool ztcore::isLasting(const char *function, const void *object, const char *what) {
  if (!isBeingDestroyed(object)) return true;
  ztLc_log("%s - Error, the %s, of class " ZT_CUT_NAME ", is being destroyed\n", function, what,
           ztOOP_classNameOf(object));
  return false;
}
