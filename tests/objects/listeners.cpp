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

static void clearDiary() {
  diary.clear();
  reaction = nullptr;
}

Diary::Diary() {
  clearDiary();
}

Diary::~Diary() {
  clearDiary();
}

ListenerTest::~ListenerTest() {
  EXPECT_EQ(listenersLive, 0);
}

Property::Property(ztClass *type) : Owned(ztProperty_ctor) {
  fields().type = type;
}

void *Property::alloc(const void *initial) const {
  return operations()->allocDynamicProperty(fields().type, &fields(), initial);
}

void Property::free() const {
  operations()->freeDynamicProperty(fields().type, &fields());
}

ztWord Property::get(void *owner, void *out) const {
  return operations()->getValue(fields().type, &fields(), owner, out);
}

ztWord Property::set(void *owner, ztWord word) const {
  return operations()->setValue(fields().type, &fields(), owner, &word);
}

const ztPropertyTypeMethods *Property::operations() const {
  return static_cast<const ztPropertyTypeMethods *>(fields().type->methodTable);
}

ztSignal *addSignal(void *object, const char *name, uint32_t argumentCount) {
  return ztObject_of(object)->addSignal(ztOOP_classOf(object), object, name, argumentCount);
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

ztWord wordOf(const void *address) {
  return reinterpret_cast<ztWord>(address);
}

int32_t setProperty(void *object, const char *name, const char *type, ztWord value) {
  return ztObject_of(object)->setProperty(object, name, type, value);
}

void newIntProperty(void *object, const char *name, int32_t value) {
  EXPECT_EQ(setProperty(object, name, "ztInt", wordOf(&value)), 1) << name;
}

int32_t intProperty(void *object, const char *name) {
  int32_t value = 0;
  EXPECT_EQ(ztObject_of(object)->getProperty(object, name, "ztInt", &value), 1) << name;
  return value;
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
