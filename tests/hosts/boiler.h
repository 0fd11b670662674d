/* A class of a plugin that was compiled with earlier headers, and one below it. */
#ifndef ZT_TESTS_HOSTS_BOILER_H
#define ZT_TESTS_HOSTS_BOILER_H

#include "core/ztbasec.h"

#define Kettle_FIELDS \
  ztBaseClass_FIELDS  \
  int32_t degrees;
#define Kettle_METHODS \
  ztBaseClass_METHODS  \
  int32_t (*heat)(void *kettle, int32_t degrees);
ZT_DECLARE_CLASS(Kettle)

#define Boiler_FIELDS Kettle_FIELDS int32_t litres;
#define Boiler_METHODS Kettle_METHODS int32_t (*fill)(void *boiler, int32_t litres);
ZT_DECLARE_CLASS(Boiler)

#endif
