// Notifications of property changes: one signal for all properties of an object, and one for each property that
// somebody asked for.
#ifndef ZT_OBJECTS_ZTCHANGE_HH
#define ZT_OBJECTS_ZTCHANGE_HH

#include "core/ztcheck.hh"
#include "objects/ztdelivery.hh"
#include "objects/ztobjbase.hh"
#include "objects/ztstrmap.hh"
#include "objects/ztwatch.hh"

namespace ztcore {

inline constexpr char changeOfAny[] = "prop->signalname";

// The signal of one property has this before the property's name.
inline constexpr char changeOfOne[] = "change->";

// The property whose changes a signal tells; NULL for any other signal.
inline const char *propertyOfChange(const char *signalName) {
  for (const char *expected = changeOfOne; *expected != '\0'; ++expected) {
    if (*signalName++ != *expected) return nullptr;
  }
  return signalName;
}

// Emits the signal of all properties, and then that of one.
[[gnu::cold, gnu::noinline]] void notifyBoth(void *object, const ztSignal *ofAny, const void *property,
                                             const ObjectWatch &owner, const EmittedValue &value);

// Emits the signals of a change of a property. Of the property, only the address is used: what ran before may have
// ended it. `owner` tells whether the object lives, which it does at first. An object that has the signal of one
// property has that of all, so that most changes end at the first search. Inlined, because a call would cost a tenth
// of setting a property.
[[gnu::always_inline]] inline void notifyPropertyChange(void *object, const void *property,
                                                        const ObjectWatch &owner, EmittedValue value) {
  if (watchesEmissions) watchEmission(object, changeOfAny);
  const auto *owned = static_cast<const ztObject *>(object);
  const auto *signal =
      static_cast<const ztSignal *>(findByName(owned->signals, ztSignalMap_compare_func, changeOfAny));
  if (signal == nullptr) return;
  if (owned->flags & objectTellsChanges) [[unlikely]]
    return notifyBoth(object, signal, property, owner, value);
  emitFound(object, signal, value);
}

}  // namespace ztcore

#endif
