// A class with a static property of each kind, and what the library logs about slips.
#ifndef ZT_TESTS_GAUGE_HH
#define ZT_TESTS_GAUGE_HH

#include "objects/ztvalues.h"
#include "tests/helpers/captured_log.hh"
#include "tests/objects/listeners.hh"

#include <functional>
#include <string>

// "level" (ztInt), "open" (ztBool), "grade" (ztChar), "real" (ztFloat), "label" (ztCharPtr), "owner" (ztVoidPtr),
// "note" (ztString); "fixed" (ztInt) has no setter, "hidden" (ztInt) no getter.
#define Gauge_FIELDS \
  ztObject_FIELDS    \
  int32_t level;     \
  int32_t open;      \
  signed char grade; \
  double real;       \
  const char *label; \
  void *owner;       \
  ztString *note;    \
  void (*onSet)(void *gauge);
#define Gauge_METHODS ztObject_METHODS
ZT_DECLARE_CLASS(Gauge)

// What the library logs meanwhile.
std::string logOf(const std::function<void()> &run);

// Whether the library refuses it with one line, which names all of these.
testing::AssertionResult isRefused(const std::function<int32_t()> &call,
                                   const std::vector<std::string> &names);

#endif
