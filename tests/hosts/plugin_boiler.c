/*
 * A class of today below one that was compiled with earlier headers.
 */
#include "tests/hosts/boiler.h"

static int32_t boilerHeat(void *boiler, int32_t degrees) {
  return 2 * Kettle_table()->heat(boiler, degrees);
}

static int32_t boilerFill(void *boiler, int32_t litres) {
  return ((Boiler *)boiler)->litres = litres;
}

static void boilerMethods(BoilerMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, heat, boilerHeat);
  ZT_OVERRIDE_METHOD(methods, fill, boilerFill);
}

ZT_DEFINE_CLASS(Boiler, Kettle, boilerMethods)
