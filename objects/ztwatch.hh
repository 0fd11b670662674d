// Detects that an object was destroyed while functions of a host ran.
#ifndef ZT_OBJECTS_ZTWATCH_HH
#define ZT_OBJECTS_ZTWATCH_HH

#include "core/ztcalls.hh"

namespace ztcore {

// A local variable that tells whether an object was destroyed meanwhile. A reference would not keep the object
// alive, because an object is destroyed when its count comes down to 1.
class ObjectWatch {
 public:
  // Always inlined: the watch belongs to the frame of its caller.
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

  // False also when memory was exhausted.
  bool isAlive() const {
    const Call *call = callOf(mark);
    return call != nullptr && call->subject != nullptr;
  }
  static void objectDestroyed(const void *object) {
    forEachCallOn(object, [](Call &call, void *) {
      if (kindOf(call) == CallKind::watch) call.subject = nullptr;
    });
  }

 private:
  CallMark mark;
};

}  // namespace ztcore

#endif
