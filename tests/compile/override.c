/* Overrides `create` with a function of the result and argument types given on the command line. */
#include "core/ztbasec.h"

#define Station_FIELDS ztBaseClass_FIELDS
#define Station_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Station)

static RESULT stationCreate(ARGUMENT station) {
  return station == 0 ? (RESULT)0 : (RESULT)1;
}

static void stationMethods(StationMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, stationCreate);
}

ZT_DEFINE_CLASS(Station, ztBaseClass, stationMethods)
