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

void release(void *object) {
  ztBaseClass_of(object)->unRef(object);
}

void *newString(const char *text) {
  void *string = ztString_ctor(nullptr, 1);
  ztString_of(string)->set(string, text);
  return string;
}

const char *textOf(const void *string) {
  return ztString_of(string)->get(string);
}

void enter(int slot, void *receiver, intptr_t first) {
  const Call call = {slot, receiver, ztObject_of(receiver)->getSender(receiver), first};
  diary.push_back(call);
  // A copy, since what it does may set another.
  const auto react = reaction;
  if (react) react(call);
}

int32_t connectTo(void *sender, const char *signal, void *receiver, ztSlotFunction function,
                  uint32_t argumentCount) {
  ztClass *klass = ztOOP_classOf(sender);
  return ztObject_of(sender)->connect(klass, sender, signal, receiver, "slot", function, argumentCount);
}

bool isConnected(const void *sender, const char *signal, const void *receiver, ztSlotFunction function) {
  ztClass *klass = ztOOP_classOf(sender);
  return ztObject_of(sender)->connectionExist(klass, sender, signal, receiver, function) == 1;
}

ztGetter getterOf(int32_t (*function)(const void *)) {
  ztGetter getter;
  getter.getInt = function;
  return getter;
}

ztSetter setterOf(void (*function)(void *, int32_t)) {
  ztSetter setter;
  setter.setInt = function;
  return setter;
}

void registerAllPropertyTypes() {
  const ztCtor constructors[] = {ztIntPropertyType_ctor,     ztCharPropertyType_ctor,
                                 ztCharPtrPropertyType_ctor, ztBoolPropertyType_ctor,
                                 ztFloatPropertyType_ctor,   ztVoidPtrPropertyType_ctor,
                                 ztStringPropertyType_ctor};
  for (ztCtor constructor : constructors) {
    ztBaseClass type;
    constructor(&type, 1);
    ztProperty_functions()->registerNewType(nullptr, ztOOP_classNameOf(&type));
  }
}
