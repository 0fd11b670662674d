// Notifications of property changes: one signal for all properties of an object, and one for each property that
// somebody asked for.
#ifndef ZT_OBJECTS_ZTCHANGE_HH
#define ZT_OBJECTS_ZTCHANGE_HH

#include "objects/ztdelivery.hh"
#include "objects/ztwatch.hh"

namespace ztcore {

inline constexpr char changeOfAny[] = "prop->signalname";

// The signal of one property has this before the property's name.
inline constexpr char changeOfOne[] = "change->";

// Emits the signals of a change of a property. Of the property, only the address is used: what ran before may have
// ended it. `owner` tells whether the object lives, which it does at first.
void notifyPropertyChange(void *object, const void *property, const ObjectWatch &owner, EmittedValue value);

}  // namespace ztcore

#endif
