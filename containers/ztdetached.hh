#ifndef ZT_CONTAINERS_ZTDETACHED_HH
#define ZT_CONTAINERS_ZTDETACHED_HH

#include "containers/ztarray.hh"

namespace ztcore {

// The block of an array that is out of it while a host's code works on one of the objects: they keep their
// addresses, whatever that code does to the array. If the array is destroyed, so are the other objects.
class DetachedBlock {
 public:
  // No call may use the block.
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

  // False when memory was exhausted; nothing has changed then.
  bool isOut() const {
    return use.record() != nullptr;
  }
  bool ended() const {
    return use.ended();
  }
  char *placeOf(int32_t index) const {
    return block + int64_t{index} * stride;
  }
  // Begins the work on an object.
  char *open(int32_t index) {
    use.record()->open = index;
    return placeOf(index);
  }
  // Ends the work: the object is complete. If the others were destroyed meanwhile, destroys it too.
  void close(int32_t index) {
    Use *record = use.record();
    if (record == nullptr) return;
    record->open = -1;
    if (record->kind != PartKind::objects) destroyObject(placeOf(index));
  }
  // Constructs an object in place of one that could not be cloned, so that the array keeps its count.
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
