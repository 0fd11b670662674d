// A range over the items of a map, in the order of its keys:
//
//   for (const ztMapItem *item : itemsOf(map)) print(item->data, item->value);
//
// The range is a ztMapIterator: it allocates nothing, and is valid until the map changes. NULL has no items.
#ifndef ZT_CONTAINERS_ZTWALK_HH
#define ZT_CONTAINERS_ZTWALK_HH

#include "containers/ztmapiter.h"

namespace ztcore {

class MapItems {
 public:
  struct End {};

  class Position {
   public:
    Position(ztMapIterator *started, const void *map)
        : walk(started), steps(ztMapIterator_of(walk)), item(steps->first(walk, map)) {}
    ztMapItem *operator*() const {
      return static_cast<ztMapItem *>(item);
    }
    Position &operator++() {
      item = steps->next(walk);
      return *this;
    }
    bool operator!=(End) const {
      return item != nullptr;
    }

   private:
    ztMapIterator *walk;
    const ztMapIteratorMethods *steps;
    void *item;
  };

  explicit MapItems(const void *walked) : map(walked) {
    ztMapIterator_ctor(&walk, 1);
  }
  ~MapItems() {
    ztMapIterator_of(&walk)->destroy(&walk);
  }
  MapItems(const MapItems &) = delete;
  MapItems &operator=(const MapItems &) = delete;

  Position begin() {
    return {&walk, map};
  }
  static End end() {
    return {};
  }

 private:
  const void *map;
  ztMapIterator walk;
};

// The map may be of a subclass of ztMap.
inline MapItems itemsOf(const void *map) {
  return MapItems(map);
}

}  // namespace ztcore

#endif
