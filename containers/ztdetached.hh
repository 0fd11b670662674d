// Blocks of objects that are out of their array as long as one of the objects works.
#ifndef ZT_CONTAINERS_ZTDETACHED_HH
#define ZT_CONTAINERS_ZTDETACHED_HH

#include "containers/ztarray.hh"

namespace ztcore {

// The block of an array, out of it while a host's code works on one of the objects in it: they keep their
// addresses, whatever that code does to the array. An array that is destroyed meanwhile destroys the objects,
// except for the one that is worked on.
class DetachedBlock {
 public:
  // The block must be in no other use.
  ZT_IN_CALLERS_FRAME explicit DetachedBlock(ztArray &owner)
      : array(owner),
        constructor(owner.elementConstructor),
        stride(owner.elementSize),
        block(static_cast<char *>(owner.data)),
        use(&owner) {
    Use *record = use.record();
    if (record == nullptr) return;
    record->part = block;
    record->kind = PartKind::objects;
    record->count = array.count;
    record->stride = stride;
    array.data = nullptr;
    array.count = 0;
  }

  // False without memory; nothing has changed then.
  bool isOut() const {
    return use.record() != nullptr;
  }
  // Whether the array was destroyed.
  bool ended() const {
    return use.ended();
  }
  char *placeOf(int32_t index) const {
    return block + int64_t{index} * stride;
  }
  // Takes the object in a place for one that is worked on.
  char *open(int32_t index) {
    use.record()->open = index;
    return placeOf(index);
  }
  // The object is whole. Where the others were destroyed meanwhile it is, too.
  void close(int32_t index) {
    Use *record = use.record();
    if (record == nullptr) return;
    record->open = -1;
    if (record->kind != PartKind::objects) destroyObject(placeOf(index));
  }
  // Constructs an object in place of one that could not be cloned, so that no element goes.
  void refill(int32_t index) const {
    if (constructorFits(constructor, stride)) {
      constructor(placeOf(index), 1);
    } else {
      ztBaseClass_ctor(placeOf(index), 1);
    }
  }
  bool add(int32_t added);
  bool putBack();

 private:
  bool grow(int32_t added);
  bool append();

  ztArray &array;
  ztCtor constructor;
  int32_t stride;
  char *block;
  ContainerUse use;
};

}  // namespace ztcore

#endif
