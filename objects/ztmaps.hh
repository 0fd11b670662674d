// The maps of objects and signals: how they are made and released at once.
#ifndef ZT_OBJECTS_ZTMAPS_HH
#define ZT_OBJECTS_ZTMAPS_HH

#include "containers/ztplainmap.hh"
#include "core/ztrelease.hh"
#include "objects/ztobject.h"

#include <type_traits>

namespace ztcore {

// Whether the creation of a map of this class calls only functions of the library, besides what all maps have in
// common.
bool createsSignalMapsPlainly();
bool createsPropertyMapsPlainly();
bool createsSlotMapsPlainly();

// Whether the release of a map with all its contents calls only functions of the library, besides what all maps have
// in common; and the freeing of such a map. Properties: only of a map that is empty.
bool releasesSlotsPlainly(const ztSlotMap *slots);
void freeSlots(ztSlotMap *slots, FreedObjects *freed);
bool releasesPropertiesPlainly(const ztPropertyMap *properties);
void freeProperties(ztPropertyMap *properties, FreedObjects *freed);
bool releasesSignalsPlainly(const ztSignalMap *signals);
void freeSignals(ztSignalMap *signals, FreedObjects *freed);

// Whether adding a signal to a map calls only functions of the library.
bool addsSignalsPlainly(const ztSignalMap *signals);

// Adds a signal, with an empty map of slots, under a name that such a map does not have. NULL when memory is
// exhausted.
ztSignal *addSignalPlainly(ztSignalMap *signals, const char *name, uint32_t argumentCount);

// The classes of maps add no fields.
template <typename Map>
inline auto asMap(Map *map) {
  static_assert(sizeof(Map) == sizeof(ztMap));
  using Base = std::conditional_t<std::is_const_v<Map>, const ztMap, ztMap>;
  return reinterpret_cast<Base *>(map);
}

// A part that is a map. `releases` tells whether `free` can release it.
template <typename Part, auto field, auto releases, auto free>
struct MapPart : Part {
  template <typename Object>
  static void release(Object &object) {
    auto *map = object.*field;
    if (map == nullptr) return;
    if (!releasesMapsPlainly() || !releases(map)) return Part::release(object);
    object.*field = nullptr;
    FreedObjects freed;
    free(map, &freed);
  }
};

}  // namespace ztcore

#endif
