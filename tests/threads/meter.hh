// Classes of the program's own, which threads use.
#ifndef ZT_TESTS_METER_HH
#define ZT_TESTS_METER_HH

#include "objects/ztproptype.h"
#include "objects/ztroot.h"

// An object with a static property, "level".
#define Meter_FIELDS \
  ztObject_FIELDS    \
  int32_t level;
#define Meter_METHODS ztObject_METHODS
ZT_DECLARE_CLASS(Meter)

// As Meter, and its child; used by one test only, which is the first to use them.
#define FreshMeter_FIELDS Meter_FIELDS
#define FreshMeter_METHODS Meter_METHODS
ZT_DECLARE_CLASS(FreshMeter)
#define FreshCounter_FIELDS FreshMeter_FIELDS int32_t count;
#define FreshCounter_METHODS FreshMeter_METHODS int32_t (*next)(void *counter);
ZT_DECLARE_CLASS(FreshCounter)
#define FreshNode_FIELDS ztRoot_FIELDS
#define FreshNode_METHODS ztRoot_METHODS
ZT_DECLARE_CLASS(FreshNode)

// A property type that is made known by one test only.
#define FreshType_FIELDS ztIntPropertyType_FIELDS
#define FreshType_METHODS ztIntPropertyType_METHODS
ZT_DECLARE_CLASS(FreshType)

#endif
