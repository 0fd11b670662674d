/* Declares methods with marks and overrides them, and two of the library's, with functions that have none. */
#include "core/ztbasec.h"

#define OWN_METHODS                                                              \
  ztOwned *(*make)(const void *station, const ztBorrowed *other, ztOut *out);    \
  ztOwnedText *(*copyName)(const void *station);                                 \
  const ztBorrowedText *(*setName)(void *station, const ztBorrowedText *name);   \
  int32_t (*getName)(const void *station, ztOutText *buffer, ztBorrowed *other); \
  void (*take)(void *station, ztOwned *other);

#define Station_FIELDS ztBaseClass_FIELDS
#define Station_METHODS \
  ztBaseClass_METHODS   \
  OWN_METHODS
ZT_DECLARE_CLASS(Station)

#define FIRST_METHOD "ztOwned *(*make)(const void *station, const ztBorrowed *other, ztOut *out);"
ZT_STATIC_ASSERT(__extension__(__builtin_strncmp(ZT_TEXT_OF(OWN_METHODS), FIRST_METHOD,
                                                 sizeof FIRST_METHOD - 1) == 0),
                 "the text of a list has its marks");

static void *stationClone(const void *station, void *target) {
  return ztBaseClass_table()->clone(station, target);
}

static void stationUnRef(void *station) {
  ztBaseClass_table()->unRef(station);
}

static void *stationMake(const void *station, const void *other, void *out) {
  return station == other ? out : NULL;
}

static char *stationCopyName(const void *station) {
  (void)station;
  return NULL;
}

static const char *stationSetName(void *station, const char *name) {
  (void)station;
  return name;
}

static int32_t stationGetName(const void *station, char *buffer, void *other) {
  buffer[0] = '\0';
  return station == other;
}

static void stationTake(void *station, void *other) {
  (void)station;
  (void)other;
}

static void stationMethods(StationMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, clone, stationClone);
  ZT_OVERRIDE_METHOD(methods, unRef, stationUnRef);
  ZT_OVERRIDE_METHOD(methods, make, stationMake);
  ZT_OVERRIDE_METHOD(methods, copyName, stationCopyName);
  ZT_OVERRIDE_METHOD(methods, setName, stationSetName);
  ZT_OVERRIDE_METHOD(methods, getName, stationGetName);
  ZT_OVERRIDE_METHOD(methods, take, stationTake);
}

ZT_DEFINE_CLASS(Station, ztBaseClass, stationMethods)
