// Elements whose methods call back, to see what a container makes of it, and containers of them.
#ifndef ZT_TESTS_HOOKED_HH
#define ZT_TESTS_HOOKED_HH

#include "containers/ztarrays.h"
#include "containers/zthashtab.h"
#include "containers/ztlist.h"
#include "containers/ztmap.h"
#include "tests/containers/treecheck.hh"

#include <functional>

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
  Hook(Event event, int others, std::function<void()> function);
  Hook(Event event, std::function<void()> function) : Hook(event, 0, std::move(function)) {}
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

// The clones that were made, and those whose field was not zero when they began.
extern int clonesBegun;
extern int clonesBegunDirty;

// A new object, made quietly.
using HookedObject = Owned<Hooked, HookedMethods>;
HookedObject hooked(int32_t value);

// Compares two Hooked objects by their values.
int32_t compareHooked(const void *first, const void *second);
// Compares two numbers, which is an event as well.
int32_t compareHookedNumbers(const void *first, const void *second);

// Whether what lies there is a live object whose memory is its own.
bool isWhole(const void *object);

using Array = Owned<ztArray, ztArrayMethods>;
using List = Owned<ztList, ztListMethods>;
using Map = Owned<ztMap, ztMapMethods>;
using Table = Owned<ztHashTable, ztHashTableMethods>;

// Containers of objects of these values, made quietly. In a map, each value is the negative of its key; in a
// hash table of two buckets, the keys are the numbers themselves, since objects are hashed by their bytes.
void *newArray(const Numbers &numbers);
void *newList(const Numbers &numbers);
void *newTree(const Numbers &numbers);
void *newMap(const Numbers &numbers);
void *newTable(const Numbers &numbers);
void configureHooked(void *container);
void configureHookedMap(void *map);
void configureHookedTable(void *table);

// A container that keeps such objects alone, with the method that puts them in.
template <typename Methods, typename Item>
void *newSequence(ztCtor constructor, Item *(*Methods::*put)(void *, const void *), const Numbers &numbers) {
  const Quiet making;
  void *container = constructor(nullptr, 1);
  configureHooked(container);
  const auto *methods = static_cast<const Methods *>(ztOOP_classOf(container)->methodTable);
  for (const int32_t number : numbers) (methods->*put)(container, hooked(number));
  return container;
}

// Puts a number's object in: 1 when it is in.
int32_t putIntoTable(void *table, int32_t number);

// What a container holds: expects it to be sound, and the objects to be whole. A table's are sorted.
Numbers inArray(const void *array);
Numbers inList(const void *list);
Numbers inTree(const void *tree);
Numbers keysInMap(const void *map);
Numbers inTable(const void *table);

#endif
