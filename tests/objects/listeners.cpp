#include "tests/objects/listeners.hh"

std::vector<Call> diary;
std::function<void(const Call &)> reaction;

static int32_t listenerCreate(void *object) {
  static_cast<Listener *>(object)->number = 0;
  return Counting<Listener, ztObject_table>::create(object);
}

static void listenerMethods(ListenerMethods *methods) {
  Counting<Listener, ztObject_table>::overrideIn(methods);
  ZT_OVERRIDE_METHOD(methods, create, listenerCreate);
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
