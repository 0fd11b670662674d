#include "tests/objects/listeners.hh"

int32_t listenersLive;
std::vector<Call> diary;
std::function<void(const Call &)> reaction;

static int32_t listenerCreate(void *object) {
  if (!ztObject_table()->create(object)) return 0;
  static_cast<Listener *>(object)->number = 0;
  ++listenersLive;
  return 1;
}

static void *listenerClone(const void *object, void *target) {
  void *copy = ztObject_table()->clone(object, target);
  if (copy != nullptr) ++listenersLive;
  return copy;
}

static void listenerDestroy(void *object) {
  ztObject_table()->destroy(object);
  --listenersLive;
}

static void listenerMethods(ListenerMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, listenerCreate);
  ZT_OVERRIDE_METHOD(methods, clone, listenerClone);
  ZT_OVERRIDE_METHOD(methods, destroy, listenerDestroy);
}

ZT_DEFINE_CLASS(Listener, ztObject, listenerMethods)

Listener *newListener(int32_t number) {
  auto *listener = static_cast<Listener *>(Listener_ctor(nullptr, 1));
  listener->number = number;
  return listener;
}

void enter(int slot, void *receiver, intptr_t first) {
  const Call call = {slot, receiver, ztObject_of(receiver)->getSender(receiver), first};
  diary.push_back(call);
  // A copy, since what it does may set another.
  const auto react = reaction;
  if (react) react(call);
}

void registerAllPropertyTypes() {
  for (const char *type :
       {"ztIntPropertyType", "ztCharPropertyType", "ztCharPtrPropertyType", "ztBoolPropertyType",
        "ztFloatPropertyType", "ztVoidPtrPropertyType", "ztStringPropertyType"}) {
    ztProperty_functions()->registerNewType(nullptr, type);
  }
}
