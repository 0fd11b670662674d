#include "objects/ztweak.h"

#include "core/ztlock.hh"
#include "core/ztlogctrl.h"
#include "core/ztmem.hh"
#include "core/ztpointermap.hh"
#include "objects/ztguard.hh"
#include "objects/ztobjbase.hh"
#include "objects/ztweak.hh"

using namespace ztcore;

namespace {

// A pointer that watches an object. It is found by either address; no address is followed to find it.
struct Watch {
  const void *object;
  void **pointer;
  Watch *next;  // of the same object
  Watch *previous;
};

}  // namespace

// Of all threads; tablesLock guards them.
static PointerMap byPointer;  // its watch
static PointerMap byObject;   // its first watch

static uint64_t keyOf(const void *address) {
  return reinterpret_cast<uintptr_t>(address);
}

static Watch *watchOf(void **pointer) {
  return static_cast<Watch *>(byPointer.find(keyOf(pointer)));
}

static Watch *firstOf(const void *object) {
  return static_cast<Watch *>(byObject.find(keyOf(object)));
}

// False when memory is exhausted.
static bool attach(Watch *watch, const void *object) {
  Watch *first = firstOf(object);
  if (first == nullptr) {
    if (!byObject.insert(keyOf(object), watch)) return false;
  } else {
    byObject.replace(keyOf(object), watch);
    first->previous = watch;
  }
  watch->object = object;
  watch->next = first;
  watch->previous = nullptr;
  return true;
}

static void detach(const Watch *watch) {
  if (watch->next != nullptr) watch->next->previous = watch->previous;
  if (watch->previous != nullptr) {
    watch->previous->next = watch->next;
  } else if (watch->next != nullptr) {
    byObject.replace(keyOf(watch->object), watch->next);
  } else {
    byObject.remove(keyOf(watch->object));
  }
}

static void end(Watch *watch) {
  detach(watch);
  byPointer.remove(keyOf(watch->pointer));
  ztm_free(watch);
}

// An object without the flag has no watch: those at its address are of an earlier one, whose memory was freed
// without `destroy`. Their pointers may be gone, too.
static void forgetEarlier(const ztObject *object) {
  if (object->flags & objectWatched) return;
  while (Watch *watch = firstOf(object)) end(watch);
}

static bool makeWatch(const void *object, void **pointer) {
  auto *watch = static_cast<Watch *>(hidden(ztm_alloc(sizeof(Watch))));
  if (watch == nullptr) return false;
  watch->pointer = pointer;
  if (byPointer.insert(keyOf(pointer), watch)) {
    if (attach(watch, object)) return true;
    byPointer.remove(keyOf(pointer));
  }
  ztm_free(watch);
  return false;
}

// Attached first, because that may fail.
static bool moveWatch(Watch *watch, const void *object) {
  const Watch before = *watch;
  if (!attach(watch, object)) return false;
  detach(&before);
  return true;
}

static bool watch(ztObject *object, void **pointer) {
  const Locked locked(tablesLock);
  forgetEarlier(object);
  Watch *known = watchOf(pointer);
  if (known == nullptr && !makeWatch(object, pointer)) return false;
  if (known != nullptr && known->object != object && !moveWatch(known, object)) return false;
  object->flags |= objectWatched;
  *pointer = object;
  return true;
}

int32_t ztObject_watch(void *object, void **pointer) {
  if (!isObject(__func__, object, "object") || !isGiven(__func__, pointer, "pointer")) return 0;
  if (!isLasting(__func__, object, "object")) return 0;
  if (watch(static_cast<ztObject *>(object), pointer)) return 1;
  ztLc_log("%s - Error, memory is exhausted\n", __func__);
  return 0;
}

int32_t ztObject_unwatch(void *object, void **pointer) {
  if (object == nullptr || pointer == nullptr) return 0;
  const Locked locked(tablesLock);
  Watch *known = watchOf(pointer);
  if (known == nullptr || known->object != object) return 0;
  end(known);
  return 1;
}

void ztcore::endWatches(ztObject *object) {
  object->flags &= ~uint32_t{objectWatched};
  const Locked locked(tablesLock);
  while (Watch *watch = firstOf(object)) {
    if (*watch->pointer == object) *watch->pointer = nullptr;
    end(watch);
  }
}
