// Elements whose methods call back, to see what a container makes of it.
#ifndef ZT_TESTS_HOOKED_HH
#define ZT_TESTS_HOOKED_HH

#include "containers/ztcont.h"

#include <functional>
#include <string>

// Hooked: an object with a value, and memory of its own that repeats it.
#define Hooked_FIELDS \
  ztBaseClass_FIELDS  \
  int32_t value;      \
  int32_t *owned;
#define Hooked_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Hooked)

enum class Event { create, clone, assign, read, destroy, compare };

inline constexpr Event allEvents[] = {Event::create, Event::clone,   Event::assign,
                                      Event::read,   Event::destroy, Event::compare};

// Has a function called once, at the event that follows so many others of its kind, as long as it lives.
class Hook {
 public:
  Hook(Event event, std::function<void()> function, int others = 0);
  ~Hook();
  Hook(const Hook &) = delete;
  Hook &operator=(const Hook &) = delete;

  // Whether the function was called.
  static bool isCalled();
};

// No hook is called as long as it lives: what a test makes for itself raises no events.
class Quiet {
 public:
  Quiet();
  ~Quiet();
  Quiet(const Quiet &) = delete;
  Quiet &operator=(const Quiet &) = delete;
};

// Where the object lies that raised the last event, or that is being cloned into.
extern const void *hookedSlot;

// Hooked objects that were created or cloned and not yet destroyed.
extern int hookedLive;

// A new object, the caller's, made quietly.
Hooked *newHooked(int32_t value);

// Compares two Hooked objects by their values.
int32_t compareHooked(const void *first, const void *second);

// Whether what lies there is a live object whose memory is its own.
bool isWhole(const void *object);

#endif
