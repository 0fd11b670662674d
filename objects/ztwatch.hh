// Watches over objects that what a host does meanwhile may destroy.
#ifndef ZT_OBJECTS_ZTWATCH_HH
#define ZT_OBJECTS_ZTWATCH_HH

#include "core/ztcalls.hh"

namespace ztcore {

// Tells whether an object was destroyed meanwhile; a local variable. An object's reference count would not
// do, since a count that comes back down to 1 destroys.
class ObjectWatch {
 public:
  // Inlined always, since it is the frame of its caller that the watch lasts as long as.
  __attribute__((always_inline)) explicit ObjectWatch(const void *watched) {
    const auto frame = reinterpret_cast<uintptr_t>(__builtin_frame_address(0));
    const auto place = static_cast<uint32_t>(frame - reinterpret_cast<uintptr_t>(this));
    beginCall(&mark, CallKind::watch, watched, frame, place);
  }
  ~ObjectWatch() {
    endCall(mark);
  }
  ObjectWatch(const ObjectWatch &) = delete;
  ObjectWatch &operator=(const ObjectWatch &) = delete;

  // False also when that cannot be told: memory was exhausted.
  bool isAlive() const {
    const Call *call = callOf(mark);
    return call != nullptr && call->subject != nullptr;
  }
  static void objectDestroyed(const void *object) {
    forEachCall([=](Call &call) {
      if (call.subject == object && kindOf(call) == CallKind::watch) call.subject = nullptr;
    });
  }

 private:
  CallMark mark;
};

}  // namespace ztcore

#endif
