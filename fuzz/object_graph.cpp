// Objects, nodes and tags are made, connected, set, emitted, attached, copied and destroyed in any order.
//
// Slots do the same in the midst of a delivery. What they do comes from the input as well, so the fuzzer
// finds the orders that matter. Whatever happens, no freed memory is touched, each slot is called as often
// as it should be, lists of children and parents agree, and at the end nothing is left.
#include "fuzz/blocks.hh"
#include "fuzz/objects.hh"
#include "tests/helpers/memory_file.hh"
#include "zentova.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

// Three classes of the host's: each tells when one of its objects comes and goes. They are declared where
// C would have them.
#define FuzzObject_FIELDS \
  ztObject_FIELDS         \
  int32_t number;         \
  double real;            \
  signed char character;  \
  void *pointer;          \
  ztString *string;
#define FuzzObject_METHODS ztObject_METHODS
ZT_DECLARE_CLASS(FuzzObject)

#define FuzzNode_FIELDS ztRoot_FIELDS
#define FuzzNode_METHODS ztRoot_METHODS
ZT_DECLARE_CLASS(FuzzNode)

#define FuzzTag_FIELDS ztTag_FIELDS
#define FuzzTag_METHODS ztTag_METHODS
ZT_DECLARE_CLASS(FuzzTag)

namespace {

constexpr size_t mostObjects = 14;
constexpr int deepest = 4;

Input *input;
const MemoryFile *storage;
int depth;
bool hasFault;

// Every object that lives, in the order in which they came.
std::vector<void *> living;

// Those that are being destroyed, which still receive signals meanwhile.
std::vector<void *> dying;

// Copies of attributes, which belong to nobody else.
std::vector<void *> attributes;

bool lives(const void *object) {
  return std::find(living.begin(), living.end(), object) != living.end();
}

void comes(void *object) {
  living.push_back(object);
}

void goes(void *object) {
  living.erase(std::remove(living.begin(), living.end(), object), living.end());
  dying.push_back(object);
}

void isGone(void *object) {
  dying.erase(std::remove(dying.begin(), dying.end(), object), dying.end());
}

void step();

// What happens in the midst of something.
void act() {
  if (depth >= deepest) return;
  ++depth;
  for (uint32_t i = input->below(4); i > 0; --i) step();
  --depth;
}

// Emissions ---------------------------------------------------------------------------------------

using Call = std::pair<const void *, int>;

// An emission under way that the target began itself; others hide it.
struct Emission {
  const void *sender = nullptr;  // NULL while something else may be delivered
  std::vector<Call> calls;
  bool isQuiet = true;  // no slot did anything
};

Emission *emission;

void called(void *receiver, int slot) {
  const void *sender = ztObject_of(receiver)->getSender(receiver);
  ZT_REQUIRE(sender != nullptr);
  Emission *here = emission;
  if (here != nullptr) {
    ZT_REQUIRE(sender == here->sender);
    const Call call = {receiver, slot};
    ZT_REQUIRE(std::find(here->calls.begin(), here->calls.end(), call) == here->calls.end());
    here->calls.push_back(call);
  }
  emission = nullptr;
  const size_t before = living.size();
  if (depth < deepest && !input->isEmpty()) {
    if (here != nullptr) here->isQuiet = false;
    act();
    // An object that came may lie where one was that is gone.
    if (here != nullptr && living.size() != before) here->calls.clear();
  }
  emission = here;
}

template <int slot>
void slotOf(void *receiver, intptr_t) {
  called(receiver, slot);
}

constexpr int slotCount = 4;

ztSlotFunction functionOf(int slot) {
  static void (*const functions[slotCount])(void *, intptr_t) = {slotOf<0>, slotOf<1>, slotOf<2>, slotOf<3>};
  ztSlotFunction function;
  function.call1 = functions[slot];
  return function;
}

const char *const signalNames[] = {
    "one", "two", "three", "destroyed", "childAdded", "childDeleted", "prop->signalname", ""};

}  // namespace

// The classes -------------------------------------------------------------------------------------

static int32_t fuzzObjectCreate(void *object) {
  auto *self = static_cast<FuzzObject *>(object);
  self->number = 0;
  self->real = 0;
  self->character = 0;
  self->pointer = nullptr;
  self->string = nullptr;
  comes(object);
  if (!ztObject_table()->create(object)) return 0;
  self->string = static_cast<ztString *>(ztString_ctor(nullptr, 1));
  return self->string != nullptr;
}

static void *fuzzObjectClone(const void *object, void *target) {
  auto *copy = static_cast<FuzzObject *>(ztObject_table()->clone(object, target));
  if (copy == nullptr) return nullptr;
  copy->string = static_cast<ztString *>(ztString_ctor(nullptr, 1));
  comes(copy);
  return copy;
}

static void fuzzObjectDestroy(void *object) {
  goes(object);
  ztString *string = static_cast<FuzzObject *>(object)->string;
  static_cast<FuzzObject *>(object)->string = nullptr;
  if (string != nullptr) unRef(string);
  ztObject_table()->destroy(object);
  isGone(object);
}

static int32_t getNumber(const void *object) {
  return static_cast<const FuzzObject *>(object)->number;
}

static void setNumber(void *object, int32_t value) {
  static_cast<FuzzObject *>(object)->number = value;
  act();
}

static double getReal(const void *object) {
  return static_cast<const FuzzObject *>(object)->real;
}

static void setReal(void *object, double value) {
  static_cast<FuzzObject *>(object)->real = value;
}

static signed char getCharacter(const void *object) {
  return static_cast<const FuzzObject *>(object)->character;
}

static void setCharacter(void *object, int32_t value) {
  static_cast<FuzzObject *>(object)->character = static_cast<signed char>(value);
}

static void *getPointer(const void *object) {
  return static_cast<const FuzzObject *>(object)->pointer;
}

static void setPointer(void *object, void *value) {
  static_cast<FuzzObject *>(object)->pointer = value;
}

static void *getString(const void *object) {
  return static_cast<const FuzzObject *>(object)->string;
}

static void setString(void *object, void *const *string) {
  ztString *own = static_cast<FuzzObject *>(object)->string;
  if (own != nullptr && *string != nullptr) ztString_of(own)->assign(own, *string);
}

static int32_t fuzzObjectInitProperties(ztClass *klass) {
  const auto *methods = static_cast<const FuzzObjectMethods *>(klass->methodTable);
  const ztGetter none = {nullptr};
  ztGetter getter = none;
  ztSetter setter;
  getter.getInt = getNumber;
  setter.setInt = setNumber;
  methods->addProperty(klass, "static int", "ztInt", getter, setter, nullptr, nullptr);
  methods->addProperty(klass, "static bool", "ztBool", getter, setter, nullptr, "a name");
  getter.getFloat = getReal;
  setter.setFloat = setReal;
  methods->addProperty(klass, "static float", "ztFloat", getter, setter, nullptr, nullptr);
  getter.getChar = getCharacter;
  setter.setInt = setCharacter;
  methods->addProperty(klass, "static char", "ztChar", getter, setter, nullptr, nullptr);
  getter.getPointer = getPointer;
  setter.setPointer = setPointer;
  methods->addProperty(klass, "static pointer", "ztVoidPtr", getter, setter, nullptr, nullptr);
  getter.getPointer = getString;
  setter.setString = setString;
  return methods->addProperty(klass, "static string", "ztString", getter, setter, nullptr, nullptr);
}

static void fuzzObjectMethods(FuzzObjectMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, fuzzObjectCreate);
  ZT_OVERRIDE_METHOD(methods, clone, fuzzObjectClone);
  ZT_OVERRIDE_METHOD(methods, destroy, fuzzObjectDestroy);
  ZT_OVERRIDE_METHOD(methods, initProperties, fuzzObjectInitProperties);
}

ZT_DEFINE_CLASS(FuzzObject, ztObject, fuzzObjectMethods)

// What the classes of nodes have in common; `table` gives the methods of the parent.
template <auto table>
static int32_t trackedCreate(void *object) {
  comes(object);
  return table()->create(object);
}

template <auto table>
static void *trackedClone(const void *object, void *target) {
  void *copy = table()->clone(object, target);
  if (copy != nullptr) comes(copy);
  return copy;
}

template <auto table>
static void trackedDestroy(void *object) {
  goes(object);
  table()->destroy(object);
  isGone(object);
}

static void fuzzNodeMethods(FuzzNodeMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, trackedCreate<ztRoot_table>);
  ZT_OVERRIDE_METHOD(methods, clone, trackedClone<ztRoot_table>);
  ZT_OVERRIDE_METHOD(methods, destroy, trackedDestroy<ztRoot_table>);
}

ZT_DEFINE_CLASS(FuzzNode, ztRoot, fuzzNodeMethods)

// A slot of "destroyed" may change a copy of an attribute, whose tag is whole until all slots were called.
static void fuzzTagAttrChanged(void *object, void *) {
  ZT_REQUIRE(lives(object) || std::find(dying.begin(), dying.end(), object) != dying.end());
  act();
}

static void fuzzTagMethods(FuzzTagMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, trackedCreate<ztTag_table>);
  ZT_OVERRIDE_METHOD(methods, clone, trackedClone<ztTag_table>);
  ZT_OVERRIDE_METHOD(methods, destroy, trackedDestroy<ztTag_table>);
  ZT_OVERRIDE_METHOD(methods, attrChanged, fuzzTagAttrChanged);
}

ZT_DEFINE_CLASS(FuzzTag, ztTag, fuzzTagMethods)

namespace {

// Choosing ----------------------------------------------------------------------------------------

void *anyObject() {
  return living.empty() ? nullptr : living[input->below(static_cast<uint32_t>(living.size()))];
}

void *anyOf(const char *className) {
  std::vector<void *> candidates;
  for (void *object : living) {
    if (ztOOP_isClassOf(object, className)) candidates.push_back(object);
  }
  return candidates.empty() ? nullptr : candidates[input->below(static_cast<uint32_t>(candidates.size()))];
}

const char *anySignal() {
  return signalNames[input->below(std::size(signalNames))];
}

// Making and ending -------------------------------------------------------------------------------

void make() {
  static const ztCtor constructors[] = {FuzzObject_ctor, FuzzNode_ctor, FuzzTag_ctor};
  if (living.size() >= mostObjects) return;
  void *made = constructors[input->below(3)](nullptr, 1);
  // One whose `create` failed lives as well, but nothing is certain about it.
  if (made != nullptr && ztOOP_isClassOf(made, "ztRoot"))
    ztRoot_of(made)->setUid(made, static_cast<int32_t>(living.size()));
}

void end() {
  void *object = anyObject();
  if (object != nullptr) unRef(object);
}

void copy() {
  void *object = anyObject();
  if (object == nullptr || living.size() >= mostObjects / 2) return;
  newCopy(object);  // which is among the living
}

void assign() {
  void *object = anyObject();
  void *other = anyObject();
  if (object == nullptr || ztOOP_classOf(object) != ztOOP_classOf(other)) return;
  ztBaseClass_of(object)->assign(object, other);
}

// Signals -----------------------------------------------------------------------------------------

int32_t isConnected(const void *sender, const char *signal, const void *receiver, int slot) {
  return ztObject_of(sender)->connectionExist(ztOOP_classOf(sender), sender, signal, receiver,
                                              functionOf(slot));
}

void connect() {
  void *sender = anyObject();
  void *receiver = anyObject();
  if (sender == nullptr) return;
  const char *signal = anySignal();
  const auto slot = static_cast<int>(input->below(slotCount));
  const int32_t was = isConnected(sender, signal, receiver, slot);
  const int32_t done = ztObject_of(sender)->connect(ztOOP_classOf(sender), sender, signal, receiver, "slot",
                                                    functionOf(slot), input->below(6));
  if (was) ZT_REQUIRE(done == 0);
  if (done) ZT_REQUIRE(isConnected(sender, signal, receiver, slot) == 1);
}

void disconnect() {
  void *sender = anyObject();
  void *receiver = anyObject();
  if (sender == nullptr) return;
  const char *signal = anySignal();
  const auto slot = static_cast<int>(input->below(slotCount));
  const int32_t was = isConnected(sender, signal, receiver, slot);
  ZT_REQUIRE(ztObject_disconnect(sender, signal, receiver, functionOf(slot)) == was);
  ZT_REQUIRE(isConnected(sender, signal, receiver, slot) == 0);
}

void block() {
  void *object = anyObject();
  if (object != nullptr) ztObject_blockSignal(object, anySignal(), input->below(2));
}

std::vector<Call> connectionsOf(const void *sender, const char *signal) {
  std::vector<void *> receivers = living;
  receivers.insert(receivers.end(), dying.begin(), dying.end());
  std::vector<Call> connections;
  for (const void *receiver : receivers) {
    for (int slot = 0; slot < slotCount; ++slot) {
      if (isConnected(sender, signal, receiver, slot)) connections.emplace_back(receiver, slot);
    }
  }
  return connections;
}

// Signals whose slots are the fuzzer's alone, so that the number of their calls is known.
void emit() {
  void *sender = anyObject();
  if (sender == nullptr) return;
  const char *signal = signalNames[input->below(3)];
  std::vector<Call> connections = connectionsOf(sender, signal);
  Emission here;
  here.sender = sender;
  emission = &here;
  const int32_t delivered = input->flag() ? ztObject_emitDouble(sender, signal, 1.5)
                                          : ztObject_emit(sender, signal, reinterpret_cast<intptr_t>(sender));
  emission = nullptr;
  if (connections.empty()) ZT_REQUIRE(delivered == 0);
  if (!here.isQuiet || !delivered) return;
  std::sort(connections.begin(), connections.end());
  std::sort(here.calls.begin(), here.calls.end());
  ZT_REQUIRE(here.calls == connections || here.calls.empty());
}

void printConnections() {
  void *object = anyObject();
  if (object != nullptr) ztObject_of(object)->printConnections(ztOOP_classOf(object), object, "/dev/null");
}

// Properties --------------------------------------------------------------------------------------

struct Named {
  const char *name;
  const char *type;
};

const Named properties[] = {
    {"int", "ztInt"},          {"float", "ztFloat"},          {"char", "ztChar"},
    {"bool", "ztBool"},        {"pointer", "ztVoidPtr"},      {"text", "ztCharPtr"},
    {"string", "ztString"},    {"static int", "ztInt"},       {"static float", "ztFloat"},
    {"static char", "ztChar"}, {"static string", "ztString"}, {"static pointer", "ztVoidPtr"},
    {"refCount", "ztInt"},     {"uniqueID", "ztInt"},         {"name", "ztCharPtr"},
    {"nothing", "ztNothing"},
};

// The value in the word as an existing property takes it; the string, if any, lives on.
ztWord wordFor(const std::string &type, void *string) {
  static const char *const texts[] = {"", "a",
                                      "some text that is a good deal longer than the name of a node is"};
  if (type == "ztFloat") return ztWordOfDouble(input->number<double>());
  if (type == "ztString") return reinterpret_cast<ztWord>(string);
  if (type == "ztCharPtr" || type == "ztChar*") return reinterpret_cast<ztWord>(texts[input->below(3)]);
  if (type == "ztVoidPtr" || type == "ztVoid*") return reinterpret_cast<ztWord>(string);
  return input->count();
}

bool hasProperty(void *object, const char *name) {
  int64_t out[2] = {0, 0};
  return ztObject_of(object)->getProperty(object, name, nullptr, out) != 0;
}

void setProperty() {
  void *object = anyObject();
  if (object == nullptr) return;
  const Named &property = properties[input->below(std::size(properties))];
  const Owned<ztString, ztStringMethods> string(ztString_ctor);
  if (string == nullptr) return;
  string->set(string, "a text");
  ztWord word = wordFor(property.type, string);
  // A property that is new takes the value that the word points to.
  const bool isNew = !hasProperty(object, property.name);
  const bool isPointed = strcmp(property.type, "ztString") != 0;
  const ztWord given = isNew && isPointed ? reinterpret_cast<ztWord>(&word) : word;
  const int32_t done = ztObject_of(object)->setProperty(object, property.name, property.type, given);
  if (!isNew) ZT_REQUIRE(done == 1);
  if (isNew && done) ZT_REQUIRE(lives(object) && hasProperty(object, property.name));
}

// Through the property itself.
void setByHandle() {
  void *object = anyObject();
  void *property = nullptr;
  uint32_t kind = 0;
  {
    const Owned<ztPropertyPtrArray, ztPropertyPtrArrayMethods> array(ztPropertyPtrArray_ctor);
    if (array == nullptr || object == nullptr) return;
    const ztObjectMethods *methods = ztObject_of(object);
    kind = input->below(3);
    const auto list = kind == 0   ? methods->getProperties
                      : kind == 1 ? methods->getStaticProperties
                                  : methods->getDynamicProperties;
    const int32_t done = list(object, array);
    const auto count = static_cast<uint32_t>(array->getSize(array));
    if (!done || count == 0) return;
    property = array->getAt(array, static_cast<int32_t>(input->below(count)));
  }
  if (property == nullptr) return;
  const ztPropertyMethods *operations = ztProperty_of(property);
  int64_t out[2] = {0, 0};
  ZT_REQUIRE(operations->getValue(property, object, out) == 1);
  ZT_REQUIRE(operations->isDynamic(property) == (kind == 2) || kind == 0);
  const char *type = operations->getType(property);
  const Owned<ztString, ztStringMethods> string(ztString_ctor);
  if (string == nullptr) return;
  string->set(string, "another text");
  ZT_REQUIRE(operations->setValue(property, object, wordFor(type, string)) == 1);
}

// Nodes -------------------------------------------------------------------------------------------

void addChild() {
  void *node = anyOf("ztRoot");
  void *child = anyOf("ztRoot");
  if (node != nullptr) ztRoot_of(node)->addChild(node, child);
}

void deleteChild() {
  void *node = anyOf("ztRoot");
  void *child = anyOf("ztRoot");
  if (node != nullptr) ztRoot_of(node)->deleteChild(node, child);
}

void setParent() {
  void *node = anyOf("ztRoot");
  void *parent = input->below(4) == 0 ? nullptr : anyOf("ztRoot");
  if (node != nullptr) ztRoot_of(node)->setParent(node, parent);
}

void deleteAllChild() {
  void *node = anyOf("ztRoot");
  // It does not end while a slot keeps adding children.
  if (node == nullptr || depth >= deepest - 1) return;
  ztRoot_of(node)->deleteAllChild(node);
}

void changeNode() {
  void *node = anyOf("ztRoot");
  if (node == nullptr) return;
  const ztRootMethods *methods = ztRoot_of(node);
  methods->setUid(node, static_cast<int32_t>(input->below(6)) - 1);
  methods->setName(node, input->text(100).c_str());
  methods->findChildById(node, static_cast<int32_t>(input->below(6)));
  const int32_t count = methods->getChildCount(node);
  ZT_REQUIRE(methods->getChildAt(node, count) == nullptr && methods->getChildAt(node, -1) == nullptr);
}

void storeAndLoad() {
  void *node = anyOf("ztRoot");
  const Owned<ztFile, ztFileMethods> file(ztFile_ctor);
  const Owned<> roots(ztPtrArray_ctor);  // the nodes in it are among the living
  if (node == nullptr || file == nullptr || roots == nullptr || living.size() >= mostObjects / 2) return;
  ZT_REQUIRE(file->open(file, storage->path(), "w+b") == 1);
  const int32_t stored = ztRoot_storeTree(node, file);
  file->goToBegin(file);
  ztTreeReport report = {};
  if (ztRoot_loadTree(file, -1, roots, &report)) ZT_REQUIRE(report.nodes == stored || hasFault);
}

void resolve() {
  void *node = anyOf("ztRoot");
  ztLink link;
  ztLink_ctor(&link, 1);
  link.targetId = static_cast<int32_t>(input->below(6)) - 1;
  if (ztLink_resolve(&link, node)) ZT_REQUIRE(lives(link.target));
  ztLink_of(&link)->destroy(&link);
}

// Tags --------------------------------------------------------------------------------------------

ztTagHandle anyHandle() {
  return {static_cast<int32_t>(input->below(5)) - 1, static_cast<int32_t>(input->below(4))};
}

void insertAttribute() {
  static const char *const names[] = {"", "one", "two", "a name that is longer than the field it goes into"};
  void *tag = anyOf("ztTag");
  void *attribute = input->flag() ? ztIntTag_ctor(nullptr, 1) : ztFloatTag_ctor(nullptr, 1);
  if (attribute == nullptr) return;
  if (tag == nullptr) {
    unRef(attribute);
    return;
  }
  const int64_t initial = 7;
  ztTagHandle handle = {-1, -1};
  ztTag_of(tag)->insertNew(tag, names[input->below(4)], attribute, &handle, 1,
                           static_cast<int32_t>(input->below(5)), input->flag() ? &initial : nullptr);
}

void changeAttribute() {
  void *tag = anyOf("ztTag");
  if (tag == nullptr) return;
  const ztTagMethods *methods = ztTag_of(tag);
  const ztTagHandle handle = anyHandle();
  const ztTagHandle other = anyHandle();
  int64_t value = 3;
  const uint32_t choice = input->below(7);
  if (choice == 0) methods->setValue(tag, &handle, input->count(), &value);
  if (choice == 1) methods->setNumValues(tag, &handle, static_cast<int32_t>(input->below(9)) - 1, &value);
  if (choice == 2) methods->getValue(tag, &handle, input->count(), &value);
  if (choice == 3) methods->getTotalValue(tag, &handle, &value);
  if (choice == 4) methods->getAverageValue(tag, &handle, &value);
  if (choice == 5) methods->swapTags(tag, &handle, &other);
  if (choice == 6) methods->deallocWise(tag, "one");
}

void copyAttribute() {
  void *tag = anyOf("ztTag");
  const ztTagHandle handle = anyHandle();
  void *attribute = tag == nullptr ? nullptr : ztTag_of(tag)->getByHandle(tag, &handle);
  if (attribute == nullptr || attributes.size() >= 6) return;
  void *made = newCopy(attribute);
  if (made != nullptr) attributes.push_back(made);
}

// A copy tells the tag of the attribute that it was copied from, or goes into a tag, or ends.
void useCopy() {
  if (attributes.empty()) return;
  const size_t index = input->below(static_cast<uint32_t>(attributes.size()));
  void *attribute = attributes[index];
  const int64_t value = 5;
  const uint32_t use = input->below(3);
  // Out of the reach of what the tag does when it is told.
  attributes.erase(attributes.begin() + static_cast<ptrdiff_t>(index));
  if (use == 0) {
    ztTagAttribute_of(attribute)->setValue(attribute, -1, &value);
    attributes.push_back(attribute);
    return;
  }
  void *tag = use == 1 ? anyOf("ztTag") : nullptr;
  if (tag == nullptr) {
    unRef(attribute);
  } else {
    ztTag_of(tag)->insertNew(tag, "copy", attribute, nullptr, 2, 2, &value);
  }
}

// A released attribute leaves its place in its tag empty.
void releaseAttribute() {
  void *tag = anyOf("ztTag");
  const ztTagHandle handle = anyHandle();
  void *attribute = tag == nullptr ? nullptr : ztTag_of(tag)->getByHandle(tag, &handle);
  if (attribute == nullptr || depth > 0) return;
  unRef(attribute);
  ZT_REQUIRE(ztTag_of(tag)->getByHandle(tag, &handle) == nullptr);
}

void enumerate() {
  void *tag = anyOf("ztTag");
  if (tag == nullptr) return;
  ztTag_of(tag)->enumTags(
      tag,
      [](void *, void *, void *) {
        act();
        return static_cast<int32_t>(input->below(8) != 0);
      },
      nullptr);
}

// The functions that check -------------------------------------------------------------------------

// Of no class that has properties.
void *otherObject;

void *anyArgument() {
  const uint32_t choice = input->below(16);
  return choice == 0 ? nullptr : choice == 1 ? otherObject : anyObject();
}

// Of properties of any kind. Those above have one kind each, as `setProperty` takes it as given.
const char *anyNewName() {
  static const char *const names[] = {"new", "newer", "newest", "signalname", "change->new", nullptr};
  return names[input->below(6)];
}

const char *anyPropertyName() {
  static std::string text;
  const uint32_t choice = input->below(20);
  if (choice == 0) return (text = input->text(200)).c_str();
  if (choice < 10) return anyNewName();
  return properties[input->below(std::size(properties))].name;
}

const char *anyText() {
  static const char *const texts[] = {"", "text", "a text that is a good deal longer than the others are",
                                      nullptr};
  return texts[input->below(4)];
}

// Gives back what it was given, in the kind of the property, or nothing.
template <typename Value>
void setAndGet(int32_t (*set)(void *, const char *, Value), int32_t (*get)(void *, const char *, Value *),
               Value value) {
  void *object = anyArgument();
  const char *name = anyPropertyName();
  const bool hasGone = !set(object, name, value) || !lives(object);
  Value read{};
  if (hasGone || !get(object, name, &read)) return;
  // A getter of the library's counts for itself, and slots may have set another value.
  ZT_REQUIRE(ztObject_findProperty(object, name) != nullptr);
}

void setChecked() {
  const uint32_t kind = input->below(6);
  if (kind == 0) setAndGet(ztObject_setInt, ztObject_getInt, input->count());
  if (kind == 1) setAndGet(ztObject_setBool, ztObject_getBool, input->count());
  if (kind == 2) setAndGet(ztObject_setChar, ztObject_getChar, static_cast<signed char>(input->byte()));
  if (kind == 3) setAndGet(ztObject_setFloat, ztObject_getFloat, input->number<double>());
  if (kind == 4) setAndGet<void *>(ztObject_setPointer, ztObject_getPointer, input);
  if (kind == 5) setAndGet<const char *>(ztObject_setText, ztObject_getText, anyText());
}

void addChecked() {
  void *object = anyArgument();
  const char *name = anyNewName();
  const bool isThere = ztObject_findProperty(object, name) != nullptr;
  const uint32_t kind = input->below(7);
  int32_t done = 0;
  if (kind == 0) done = ztObject_addInt(object, name, input->count());
  if (kind == 1) done = ztObject_addBool(object, name, 1);
  if (kind == 2) done = ztObject_addChar(object, name, 'c');
  if (kind == 3) done = ztObject_addFloat(object, name, 0.5);
  if (kind == 4) done = ztObject_addText(object, name, anyText());
  if (kind == 5) done = ztObject_addCharPtr(object, name, anyText());
  if (kind == 6) done = ztObject_addPointer(object, name, input);
  ZT_REQUIRE(!done || !isThere);
  ZT_REQUIRE((ztObject_findProperty(object, name) != nullptr) == (done || isThere));
}

void connectChecked() {
  void *sender = anyArgument();
  void *receiver = anyArgument();
  const auto slot = static_cast<int>(input->below(slotCount));
  if (input->flag()) {
    ztObject_onChange(sender, anyPropertyName(), receiver, functionOf(slot));
    return;
  }
  const char *signal = anySignal();
  if (ztObject_connect(sender, signal, receiver, functionOf(slot), input->below(6))) {
    ZT_REQUIRE(isConnected(sender, signal, receiver, slot) == 1);
  }
}

void emitChecked() {
  ztArgument arguments[5] = {};
  const uint32_t count = input->below(6);
  for (uint32_t i = 0; i < count && i < std::size(arguments); ++i) {
    arguments[i].kind = static_cast<int32_t>(input->below(40));
    arguments[i].kind %= arguments[i].kind == 39 ? 39 : 2;
    arguments[i].value.word = input->count();
  }
  if (count <= std::size(arguments))
    ztObject_emitArgs(anyArgument(), signalNames[input->below(3)], arguments, count);
}

// Pointers that watch, and what each watches.
void *watching[6];
void *watched[6];

void watch() {
  const uint32_t index = input->below(6);
  void *object = anyArgument();
  void *const before = watching[index];
  if (ztObject_watch(object, &watching[index])) {
    ZT_REQUIRE(lives(object) && watching[index] == object);
    watched[index] = object;
  } else {
    ZT_REQUIRE(watching[index] == before);
  }
}

void unwatch() {
  const uint32_t index = input->below(6);
  void *object = input->flag() ? watched[index] : anyArgument();
  const bool isWatched = watching[index] != nullptr && watching[index] == object;
  ZT_REQUIRE(ztObject_unwatch(object, &watching[index]) == isWatched);
  if (isWatched) watching[index] = watched[index] = nullptr;
}

void endWatches() {
  for (size_t index = 0; index < std::size(watching); ++index) {
    ztObject_unwatch(watched[index], &watching[index]);
    watching[index] = watched[index] = nullptr;
  }
}

void declareSignal() {
  static ztClass *const classes[] = {FuzzNodeClass_Instance(), FuzzTagClass_Instance(), nullptr};
  const std::string text = input->text(40);
  // A declaration would be kept. This is none, whatever the text: its brackets cannot be balanced.
  ZT_REQUIRE(!ztOOP_declareSignal(classes[input->below(3)], (text + "(" + text).c_str()));
}

void setLink() {
  ztLink link;
  ztLink_ctor(&link, 1);
  void *node = anyArgument();
  if (ztLink_set(&link, node) && node != nullptr) {
    ZT_REQUIRE(link.target == node && link.targetId == ztRoot_of(node)->getUid(node));
  } else {
    ZT_REQUIRE(link.target == nullptr && link.targetId == -1);
  }
  ztLink_of(&link)->destroy(&link);
}

// One step ----------------------------------------------------------------------------------------

void step() {
  // clang-format off
  static void (*const steps[])() = {
      make, make, end, copy, assign, connect, connect, connect, disconnect, block, emit, emit, emit,
      printConnections, setProperty, setProperty, setByHandle, addChild, addChild, setParent, deleteChild,
      deleteAllChild, changeNode, storeAndLoad, resolve, insertAttribute, changeAttribute, copyAttribute, useCopy,
      releaseAttribute, enumerate, setChecked, setChecked, addChecked, connectChecked, emitChecked, watch, watch, unwatch,
      declareSignal, setLink};
  // clang-format on
  Emission *const outer = emission;
  emission = nullptr;
  steps[input->below(std::size(steps))]();
  emission = outer;
}

// What holds between steps ------------------------------------------------------------------------

int timesListed(const ztRoot *node, const void *child) {
  int times = 0;
  const ztListItem *item = node->children == nullptr ? nullptr : node->children->head;
  for (; item != nullptr; item = item->next) times += item->data == child;
  return times;
}

// A pointer that watches holds an object that lives, or one whose own part of the end has not begun.
void checkWatches() {
  for (void *object : watching) {
    ZT_REQUIRE(object == nullptr || lives(object) ||
               std::find(dying.begin(), dying.end(), object) != dying.end());
  }
}

void checkTrees() {
  for (void *object : living) {
    if (!ztOOP_isClassOf(object, "ztRoot")) continue;
    const auto *node = static_cast<const ztRoot *>(object);
    if (node->parent != nullptr) {
      ZT_REQUIRE(lives(node->parent));
      ZT_REQUIRE(timesListed(node->parent, node) == 1);
    }
    const ztListItem *item = node->children == nullptr ? nullptr : node->children->head;
    for (; item != nullptr; item = item->next) ZT_REQUIRE(lives(item->data));
  }
}

void releaseAttributes() {
  while (!attributes.empty()) {
    unRef(attributes.back());
    attributes.pop_back();
  }
}

void releaseAll() {
  emission = nullptr;
  releaseAttributes();
  endWatches();
  // Steps taken in the end may make objects anew, until the input is used up.
  while (!living.empty()) {
    unRef(living.back());
    releaseAttributes();
  }
  endWatches();
}

}  // namespace

int LLVMFuzzerInitialize(int *, char ***) {
  static const MemoryFile file;
  storage = &file;
  ztLc_closeLogFile();
  // Most of what is tried is refused with a line in the log.
  if (freopen("/dev/null", "w", stdout) == nullptr) abort();
  const ztCtor constructors[] = {ztIntPropertyType_ctor,     ztCharPropertyType_ctor,
                                 ztCharPtrPropertyType_ctor, ztBoolPropertyType_ctor,
                                 ztFloatPropertyType_ctor,   ztVoidPtrPropertyType_ctor,
                                 ztStringPropertyType_ctor};
  for (ztCtor constructor : constructors) {
    const Owned type(constructor);
    ztProperty_functions()->registerNewType(nullptr, ztOOP_classNameOf(type));
  }
  otherObject = ztString_ctor(nullptr, 1);
  static Input nothing(nullptr, 0);
  input = &nothing;
  // What is made once and kept.
  for (ztCtor constructor : {FuzzObject_ctor, FuzzNode_ctor, FuzzTag_ctor}) unRef(constructor(nullptr, 1));
  return 0;
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  Input all(data, size);
  input = &all;
  const uint8_t mode = input->byte();
  hasFault = (mode & 7) == 7;
  const int32_t beforeFault = hasFault ? input->number<uint16_t>() % 1024 : -1;
  const NoBlocksLeft check;
  allocationFaults.before = beforeFault;
  while (!input->isEmpty()) {
    step();
    checkTrees();
    checkWatches();
  }
  releaseAll();
  input = nullptr;
  return 0;
}
