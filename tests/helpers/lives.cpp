#include "tests/helpers/lives.hh"

#include "zentova.h"

#include <gtest/gtest.h>

#include <string.h>

#include <algorithm>
#include <iterator>

namespace {

// What is described ---------------------------------------------------------------------------------

std::string textOf(const void *string) {
  if (string == nullptr) return "no string";
  const char *text = ztString_of(string)->get(string);
  return text == nullptr ? "no text" : text;
}

int pointees[8];

std::string number(int64_t value) {
  return std::to_string(value) + " ";
}

std::string pointer(const void *stored) {
  return stored == nullptr ? "none " : number(static_cast<const int *>(stored) - pointees);
}

// Arrays --------------------------------------------------------------------------------------------

template <typename Element>
std::string describeArray(const void *object) {
  const ztArrayMethods *methods = ztArray_of(object);
  std::string all;
  for (int32_t i = 0; i < methods->getSize(object); ++i) all += Element::describe(methods->getAt(object, i));
  return all;
}

void removeSecond(Trial &trial, void *object) {
  const ztArrayMethods *methods = ztArray_of(object);
  const int32_t size = methods->getSize(object);
  trial.need([=] {
    methods->removeAt(object, 1);
    return methods->getSize(object) == size - 1;
  });
}

template <typename Element>
void fillArray(Trial &trial, void *object) {
  const ztArrayMethods *methods = ztArray_of(object);
  const Element elements(trial);
  for (int i = 0; i < 3; ++i) trial.need([&] { return methods->pushBack(object, elements[i]) != nullptr; });
  trial.need([&] { return methods->resize(object, 5); });
  trial.need([&] { return methods->setAt(object, elements[3], 3) != nullptr; });
  removeSecond(trial, object);
  trial.need([&] { return methods->resize(object, 3); });
}

// Four values; of the wholes among eighths, for doubles, too.
template <typename Value>
struct Plain {
  explicit Plain(Trial &) {}
  static std::string describe(const void *element) {
    Value value;
    memcpy(&value, element, sizeof value);
    return number(static_cast<int64_t>(value * 8));
  }
  const void *operator[](int index) const {
    return &values[index];
  }
  static const Value values[4];
};

using Ints = Plain<int32_t>;
using Chars = Plain<char>;
using Doubles = Plain<double>;
template <>
const int32_t Ints::values[] = {3, 1, -4, 5};
template <>
const char Chars::values[] = {'a', 'b', 'c', 'd'};
template <>
const double Doubles::values[] = {0.5, -1.25, 2, 1e3};

struct Pointers {
  explicit Pointers(Trial &) {}
  static std::string describe(const void *element) {
    return pointer(element);
  }
  const void *operator[](int index) const {
    return &pointees[index];
  }
};

struct Strings {
  explicit Strings(Trial &trial) : string(trial.make(ztString_ctor)), tried(trial) {}
  static std::string describe(const void *element) {
    return textOf(element) + " ";
  }
  const void *operator[](int index) const {
    static const char *const texts[] = {"one", "two", "a text longer than a new string's buffer", ""};
    tried.need([&] { return ztString_of(string)->set(string, texts[index]) != nullptr; });
    return string;
  }
  Held string;
  Trial &tried;
};

struct Links {
  explicit Links(Trial &trial) : link(trial.make(ztLink_ctor)) {}
  static std::string describe(const void *element) {
    return number(static_cast<const ztLink *>(element)->targetId);
  }
  const void *operator[](int index) const {
    link.fields().targetId = 10 * index;
    return link;
  }
  Owned<ztLink> link;
};

void keepInts(Trial &, void *object) {
  ztSequenceContainer_of(object)->setElementSize(object, sizeof(int32_t), 0);
  ztSequenceContainer_of(object)->setCompareFunction(object, ztIntArray_compare_func);
}

template <void (*fill)(Trial &trial, void *object)>
void withInts(Trial &trial, void *object) {
  keepInts(trial, object);
  fill(trial, object);
}

// Lists, and what is made of them -------------------------------------------------------------------

template <typename Element>
std::string describeList(const void *object) {
  std::string all;
  for (const ztListItem *item = static_cast<const ztList *>(object)->head; item != nullptr;
       item = item->next) {
    all += Element::describe(item->data);
  }
  return all;
}

template <typename Element>
void fillList(Trial &trial, void *object) {
  const ztListMethods *methods = ztList_of(object);
  const Element elements(trial);
  trial.need([&] { return methods->pushBack(object, elements[0]); });
  trial.need([&] { return methods->pushFront(object, elements[1]); });
  trial.need([&] { return methods->pushBack(object, elements[2]); });
  auto *list = static_cast<ztList *>(object);
  trial.need([&] { return methods->insertNext(object, list->head, elements[3]); });
  trial.need([&] { return methods->insertPrev(object, list->tail, elements[1]); });
  methods->popBack(object);
}

template <typename Element>
std::string describeDeque(const void *object) {
  return describeList<Element>(static_cast<const ztDeque *>(object)->inner);
}

// Of queues and stacks alike.
template <typename Element>
std::string describeAdaptor(const void *object) {
  return describeDeque<Element>(static_cast<const ztQueue *>(object)->inner);
}

template <typename Element>
void fillDeque(Trial &trial, void *object) {
  const ztDequeMethods *methods = ztDeque_of(object);
  const Element elements(trial);
  trial.need([&] { return methods->pushBack(object, elements[0]); });
  trial.need([&] { return methods->pushFront(object, elements[1]); });
  trial.need([&] { return methods->pushFront(object, elements[2]); });
  methods->popBack(object);
}

// Its first method adds an element, for queues and stacks alike.
template <typename Element>
void fillAdaptor(Trial &trial, void *object) {
  const Element elements(trial);
  for (int i = 0; i < 3; ++i) trial.need([&] { return ztQueue_of(object)->push(object, elements[i]); });
}

// Trees and maps ------------------------------------------------------------------------------------

std::string describeTree(const void *object) {
  ztAvlIterator walk;
  ztAvlIterator_ctor(&walk, 1);
  std::string all;
  const void *item = ztAvlIterator_of(&walk)->first(&walk, object);
  for (; item != nullptr; item = ztAvlIterator_of(&walk)->next(&walk)) {
    all += Ints::describe(static_cast<const ztAvlTreeItem *>(item)->data);
  }
  ztAvlIterator_of(&walk)->destroy(&walk);
  return all;
}

void fillTree(Trial &trial, void *object) {
  const ztAvlTreeMethods *methods = ztAvlTree_of(object);
  methods->setAllowDuplicate(object, 1);
  for (const int32_t value : {5, 2, 8, 1, 9, 3, 5}) trial.need([&] { return methods->push(object, &value); });
  const int32_t key = 2;
  EXPECT_EQ(methods->pop(object, &key), 1);
  Held found(trial.make(ztIntArray_ctor));
  const int32_t equal = 5;
  trial.need([&] {
    ztArray_of(found)->empty(found);
    return methods->findAll(object, &equal, found) == 2;
  });
}

template <typename Key, typename Value>
std::string describeMap(const void *object) {
  ztMapIterator walk;
  ztMapIterator_ctor(&walk, 1);
  std::string all;
  const void *at = ztMapIterator_of(&walk)->first(&walk, object);
  for (; at != nullptr; at = ztMapIterator_of(&walk)->next(&walk)) {
    const auto *item = static_cast<const ztMapItem *>(at);
    all += Key::describe(item->data) + "to " + Value::describe(item->value);
  }
  ztMapIterator_of(&walk)->destroy(&walk);
  return all;
}

template <typename Key, typename Value>
void fillMap(Trial &trial, void *object) {
  const ztMapMethods *methods = ztMap_of(object);
  const Key keys(trial);
  const Value values(trial);
  for (int i = 0; i < 3; ++i) {
    trial.need([&] { return methods->pushBack(object, keys[i], values[i]) != nullptr; });
  }
  EXPECT_EQ(methods->pop(object, keys[1]), 1);
  trial.need([&] { return methods->pushBack(object, keys[3], values[1]) != nullptr; });
  EXPECT_NE(methods->findValue(object, keys[0]), nullptr);
}

void setUpIntMap(Trial &, void *object) {
  const ztAssociativeContainerMethods *methods = ztAssociativeContainer_of(object);
  methods->setCompareFunction(object, ztIntArray_compare_func);
  methods->setKeySize(object, sizeof(int32_t), 0);
  methods->setValueConstructor(object, ztString_ctor);
}

void fillIntMap(Trial &trial, void *object) {
  setUpIntMap(trial, object);
  fillMap<Ints, Strings>(trial, object);
  Held found(trial.make(ztMap_ctor));
  setUpIntMap(trial, found);
  ztMap_of(object)->setAllowDuplicate(object, 1);
  const int32_t key = 3;
  trial.need([&] {
    ztMap_of(found)->empty(found);
    return ztMap_of(object)->findAll(object, &key, found) == 1;
  });
}

struct Properties {
  explicit Properties(Trial &trial) : property(trial.make(ztProperty_ctor)), names(trial) {}
  static std::string describe(const void *element) {
    const auto *described = static_cast<const ztProperty *>(element);
    return textOf(described->name) + "/" + textOf(described->signalName) + " ";
  }
  const void *operator[](int index) const {
    ztString *name = property.fields().name;
    names.tried.need([&] { return ztString_of(name)->assign(name, names[index]); });
    return property;
  }
  Owned<ztProperty> property;
  Strings names;
};

struct Signals {
  explicit Signals(Trial &trial) : signal(trial.make(ztSignal_ctor)) {}
  static std::string describe(const void *element) {
    return textOf(static_cast<const ztSignal *>(element)->name) +
           number(static_cast<const ztSignal *>(element)->argumentCount);
  }
  const void *operator[](int index) const {
    signal.fields().argumentCount = static_cast<uint32_t>(index);
    return signal;
  }
  Owned<ztSignal> signal;
};

struct Slots {
  explicit Slots(Trial &trial) : slot(trial.make(ztSlot_ctor)) {}
  static std::string describe(const void *element) {
    return textOf(static_cast<const ztSlot *>(element)->name) +
           pointer(static_cast<const ztSlot *>(element)->receiver);
  }
  const void *operator[](int index) const {
    slot.fields().receiver = &pointees[index];
    return slot;
  }
  Owned<ztSlot> slot;
};

std::string describeTable(const void *object) {
  const auto *table = static_cast<const ztHashTable *>(object);
  std::string all = number(table->count);
  for (const int32_t key : {3, 1, -4, 5}) {
    const ztHashTableItem *item = ztHashTable_of(object)->find(object, &key);
    all += item == nullptr ? "none " : Strings::describe(item->value);
  }
  return all;
}

void fillTable(Trial &trial, void *object) {
  setUpIntMap(trial, object);
  const ztHashTableMethods *methods = ztHashTable_of(object);
  trial.need([&] { return methods->setSize(object, 4); });
  const Ints keys(trial);
  const Strings values(trial);
  for (int i = 0; i < 3; ++i) trial.need([&] { return methods->insert(object, keys[i], values[i]); });
}

// Strings, links, signals and slots -----------------------------------------------------------------

void fillString(Trial &trial, void *object) {
  const ztStringMethods *methods = ztString_of(object);
  trial.need([&] { return methods->set(object, "a text that is longer than a new string's buffer"); });
  trial.need([&] { return methods->cat(object, object); });
  trial.need([&] { return methods->set(object, methods->get(object) + 40); });
  EXPECT_EQ(methods->length(object), 56U);
}

void fillLink(Trial &, void *object) {
  static_cast<ztLink *>(object)->targetId = 77;
}

std::string describeSignal(const void *object) {
  const auto *signal = static_cast<const ztSignal *>(object);
  return textOf(signal->name) + (signal->slots == nullptr ? "" : describeMap<Pointers, Slots>(signal->slots));
}

void fillSignal(Trial &trial, void *object) {
  auto *signal = static_cast<ztSignal *>(object);
  trial.need([&] { return ztString_of(signal->name)->set(signal->name, "changed"); });
  signal->slots = static_cast<ztSlotMap *>(trial.make(ztSlotMap_ctor));
  if (signal->slots != nullptr) fillMap<Pointers, Slots>(trial, signal->slots);
}

void fillSlot(Trial &trial, void *object) {
  auto *slot = static_cast<ztSlot *>(object);
  trial.need([&] { return ztString_of(slot->name)->set(slot->name, "onChange"); });
  slot->receiver = &pointees[2];
}

std::string describeProperty(const void *object) {
  const auto *property = static_cast<const ztProperty *>(object);
  void *value = nullptr;
  ztProperty_of(object)->getValue(object, nullptr, &value);
  return textOf(property->name) + (value == nullptr ? "" : textOf(value));
}

void fillProperty(Trial &trial, void *object) {
  auto *property = static_cast<ztProperty *>(object);
  trial.need([&] { return ztString_of(property->name)->set(property->name, "level"); });
  const Strings initial(trial);
  property->type = ztStringPropertyTypeClass_Instance();
  const ztStringPropertyTypeMethods *type = ztStringPropertyType_table();
  trial.need([&] { return type->allocDynamicProperty(property->type, property, initial[2]); });
}

// Objects and nodes ---------------------------------------------------------------------------------

int32_t intPropertyOf(const void *object, const char *name) {
  int32_t value = -1;
  ztObject_of(object)->getProperty(const_cast<void *>(object), name, "ztInt", &value);
  return value;
}

std::string describeObject(const void *object) {
  const auto *described = static_cast<const ztObject *>(object);
  return number(intPropertyOf(object, "level")) + number(intPropertyOf(object, "refCount")) +
         number(ztMap_of(described->signals)->getSize(described->signals));
}

void ignore(void *, intptr_t) {}

void fillObject(Trial &trial, void *object) {
  const ztObjectMethods *methods = ztObject_of(object);
  const int32_t level = 3;
  trial.need(
      [&] { return methods->setProperty(object, "level", "ztInt", reinterpret_cast<ztWord>(&level)); });
  ztSlotFunction slot;
  slot.call1 = ignore;
  trial.need([&] {
    return methods->connect(ztObjectClass_Instance(), object, "changed", object, "ignore", slot, 1);
  });
  Held properties(trial.make(ztPropertyPtrArray_ctor));
  trial.need([&] { return methods->getProperties(object, properties); });
}

std::string describeNode(const void *object) {
  const ztRootMethods *methods = ztRoot_of(object);
  std::string all = describeObject(object) + methods->getName(object) + " " + number(methods->getUid(object));
  for (int32_t i = 0; i < methods->getChildCount(object); ++i) {
    all += "(" + describeNode(methods->getChildAt(object, i)) + ")";
  }
  return all;
}

void name(void *node, const char *text, int32_t uid) {
  ztRoot_of(node)->setName(node, text);
  ztRoot_of(node)->setUid(node, uid);
}

void addChild(Trial &trial, void *node, const char *text, int32_t uid) {
  void *child = trial.make(ztRoot_ctor);
  name(child, text, uid);
  const int32_t before = ztRoot_of(node)->getChildCount(node);
  trial.need([=] {
    ztRoot_of(node)->addChild(node, child);
    return ztRoot_of(node)->getChildCount(node) == before + 1;
  });
}

void fillNode(Trial &trial, void *object) {
  fillObject(trial, object);
  name(object, "top", 1);
  addChild(trial, object, "left", 2);
  addChild(trial, object, "right", 3);
  addChild(trial, ztRoot_of(object)->getChildAt(object, 0), "below", 4);
}

// Attributes ----------------------------------------------------------------------------------------

std::string describeAttribute(const void *object) {
  const auto *attribute = static_cast<const ztTagAttribute *>(object);
  std::string all = std::string(attribute->name) + " " + number(attribute->userValue);
  if (attribute->values == nullptr) return all;
  return all + (attribute->type == 1 ? describeArray<Ints>(attribute->values)
                                     : describeArray<Doubles>(attribute->values));
}

template <typename Value>
void fillAttribute(Trial &trial, void *object) {
  trial.need([&] { return ztTagAttribute_of(object)->setNumValues(object, 3); });
  const Value value = Value{15} / 2;
  EXPECT_EQ(ztTagAttribute_of(object)->setValue(object, 1, &value), 1);
}

std::string describeTag(const void *object) {
  std::string all = describeNode(object);
  for (const char *attribute : {"ints", "floats"}) {
    all += describeAttribute(ztTag_of(object)->getByName(object, attribute, nullptr));
  }
  return all;
}

void insertAttribute(Trial &trial, void *tag, const char *text, ztCtor constructor, const void *initial) {
  ztTagHandle handle;
  trial.need([&] {
    void *attribute = trial.make(constructor);
    return ztTag_of(tag)->insertNew(tag, text, attribute, &handle, 9, 4, initial);
  });
  trial.need([&] { return ztTag_of(tag)->setNumValues(tag, &handle, 5, initial); });
}

void insertAttributes(Trial &trial, void *object) {
  const int32_t whole = 6;
  const double real = 2.5;
  insertAttribute(trial, object, "ints", ztIntTag_ctor, &whole);
  insertAttribute(trial, object, "floats", ztFloatTag_ctor, &real);
}

void fillTag(Trial &trial, void *object) {
  fillNode(trial, object);
  insertAttributes(trial, object);
}

// Files ---------------------------------------------------------------------------------------------

std::string describeFile(const void *object) {
  const char *path = ztFile_of(object)->getFileName(object);
  return *path == '\0' ? "closed" : "open";
}

// Nothing may fail unnoticed: what the flush confirmed can be read.
void fillFile(Trial &trial, void *object) {
  const MemoryFile values;
  const ztFileMethods *methods = ztFile_of(object);
  trial.need([&] {
    return methods->open(object, values.path(), "wb") && methods->writeInt(object, 5) > 0 &&
           methods->writeFloat(object, 0.5) > 0 && methods->writeLong(object, -7) > 0 &&
           methods->writeChar(object, 'c') > 0 && methods->writeString(object, "text") > 0 &&
           methods->flush(object) == 0;
  });
  int32_t whole = 0;
  double real = 0;
  int64_t wide = 0;
  trial.need([&] {
    return methods->open(object, values.path(), "rb") && methods->readInt(object, &whole) &&
           methods->readFloat(object, &real) && methods->readLong(object, &wide) &&
           methods->goToBegin(object) == 0 && methods->goToEnd(object) == 0 && methods->tell(object) > 0 &&
           methods->goToAbs(object, 4) == 0 && methods->goTo(object, 1) == 0 && methods->flush(object) == 0;
  });
  EXPECT_EQ(whole, 5);
  EXPECT_EQ(real, 0.5);
  EXPECT_EQ(wide, -7);
  methods->close(object);
}

// Property types ------------------------------------------------------------------------------------

// A property of the type that the class is named for, on an object of its own.
void useType(Trial &trial, void *type) {
  const std::string className = ztOOP_classNameOf(type);
  const std::string typeName = className.substr(0, className.find("PropertyType"));
  const Held object(trial.make(ztObject_ctor));
  const Strings strings(trial);
  const int64_t zero = 0;
  const bool isString = typeName == "ztString";
  const void *const first = isString ? static_cast<void *>(strings.string) : static_cast<const void *>(&zero);
  const auto initial = reinterpret_cast<ztWord>(first);
  const ztObjectMethods *methods = ztObject_of(object);
  trial.need([&] { return methods->setProperty(object, "value", typeName.c_str(), initial); });
  int64_t out = -1;
  EXPECT_EQ(methods->getProperty(object, "value", typeName.c_str(), &out), 1);
  EXPECT_EQ(methods->setProperty(object, "value", typeName.c_str(), isString ? initial : 1), 1);
}

// All classes ---------------------------------------------------------------------------------------

constinit const Life all[] = {
    // clang-format off
    {"ztAllocator"}, {"ztAssociativeContainer"}, {"ztAvlIterator"}, {"ztAvlTreeItem"}, {"ztBaseClass"},
    {"ztContainer"}, {"ztContainerItem"}, {"ztHashTableItem"}, {"ztIterator"}, {"ztListItem"}, {"ztMapItem"},
    {"ztMapIterator"}, {"ztPropertyType"}, {"ztSequenceContainer"}, {"ztStdAllocator"},
    // clang-format on

    {.name = "ztIntPropertyType", .fill = useType},
    {.name = "ztCharPropertyType", .fill = useType},
    {.name = "ztCharPtrPropertyType", .fill = useType},
    {.name = "ztBoolPropertyType", .fill = useType},
    {.name = "ztFloatPropertyType", .fill = useType},
    {.name = "ztVoidPtrPropertyType", .fill = useType},
    {.name = "ztStringPropertyType", .fill = useType},

    {.name = "ztArray",
     .describe = describeArray<Ints>,
     .fill = withInts<fillArray<Ints>>,
     .prepare = keepInts},
    {.name = "ztPtrArray", .describe = describeArray<Pointers>, .fill = fillArray<Pointers>},
    {.name = "ztCharArray", .describe = describeArray<Chars>, .fill = fillArray<Chars>},
    {.name = "ztIntArray", .describe = describeArray<Ints>, .fill = fillArray<Ints>},
    {.name = "ztFloatArray", .describe = describeArray<Doubles>, .fill = fillArray<Doubles>},
    {.name = "ztStringArray", .describe = describeArray<Strings>, .fill = fillArray<Strings>, .loads = false},
    {.name = "ztLinkArray", .describe = describeArray<Links>, .fill = fillArray<Links>},
    {.name = "ztPropertyPtrArray", .describe = describeArray<Pointers>, .fill = fillArray<Pointers>},

    {.name = "ztList", .describe = describeList<Ints>, .fill = withInts<fillList<Ints>>},
    {.name = "ztPtrList", .describe = describeList<Pointers>, .fill = fillList<Pointers>},
    {.name = "ztIntList", .describe = describeList<Ints>, .fill = fillList<Ints>},
    {.name = "ztStringList", .describe = describeList<Strings>, .fill = fillList<Strings>},
    {.name = "ztRootPtrList", .describe = describeList<Pointers>, .fill = fillList<Pointers>},
    {.name = "ztDeque", .describe = describeDeque<Ints>, .fill = withInts<fillDeque<Ints>>},
    {.name = "ztQueue", .describe = describeAdaptor<Ints>, .fill = withInts<fillAdaptor<Ints>>},
    {.name = "ztStack", .describe = describeAdaptor<Ints>, .fill = withInts<fillAdaptor<Ints>>},
    {.name = "ztPtrQueue", .describe = describeAdaptor<Pointers>, .fill = fillAdaptor<Pointers>},
    {.name = "ztPtrStack", .describe = describeAdaptor<Pointers>, .fill = fillAdaptor<Pointers>},

    {.name = "ztAvlTree", .describe = describeTree, .fill = withInts<fillTree>},
    {.name = "ztMap", .describe = describeMap<Ints, Strings>, .fill = fillIntMap},
    {.name = "ztHashTable", .describe = describeTable, .fill = fillTable},
    {.name = "ztPropertyTypeMap",
     .describe = describeMap<Strings, Pointers>,
     .fill = fillMap<Strings, Pointers>},
    {.name = "ztPropertyMap",
     .describe = describeMap<Strings, Properties>,
     .fill = fillMap<Strings, Properties>},
    {.name = "ztSignalMap", .describe = describeMap<Strings, Signals>, .fill = fillMap<Strings, Signals>},
    {.name = "ztSlotMap", .describe = describeMap<Pointers, Slots>, .fill = fillMap<Pointers, Slots>},

    {.name = "ztString", .describe = textOf, .fill = fillString},
    {.name = "ztLink", .describe = Links::describe, .fill = fillLink},
    {.name = "ztSignal", .describe = describeSignal, .fill = fillSignal},
    {.name = "ztSlot", .describe = Slots::describe, .fill = fillSlot},
    {.name = "ztProperty", .describe = describeProperty, .fill = fillProperty},
    {.name = "ztObject", .describe = describeObject, .fill = fillObject},
    {.name = "ztBaseModel", .describe = describeObject, .fill = fillObject},
    {.name = "ztBaseView", .describe = describeObject, .fill = fillObject},
    {.name = "ztRoot", .describe = describeNode, .fill = fillNode},
    {.name = "ztTagAttribute", .describe = describeAttribute, .stores = false},
    {.name = "ztIntTag", .describe = describeAttribute, .fill = fillAttribute<int32_t>},
    {.name = "ztFloatTag", .describe = describeAttribute, .fill = fillAttribute<double>},
    {.name = "ztTag", .describe = describeTag, .fill = fillTag, .prepare = insertAttributes},
    {.name = "ztFile", .describe = describeFile, .fill = fillFile, .clones = false},
    {.name = "ztTextFile", .describe = describeFile, .fill = fillFile, .clones = false},
};

// A life --------------------------------------------------------------------------------------------

// A file of the class, open in the mode; NULL when it cannot be.
void *openFile(ztCtor fileConstructor, const char *path, const char *mode) {
  void *file = fileConstructor(nullptr, 1);
  if (file == nullptr || ztFile_of(file)->open(file, path, mode)) return file;
  releaseIfMade(file);
  return nullptr;
}

bool store(ztCtor fileConstructor, const char *path, const void *object) {
  Held file(openFile(fileConstructor, path, "wb"));
  return file != nullptr && ztBaseClass_functions()->classWrite(nullptr, object, file) &&
         ztBaseClass_of(object)->write(object, file) && ztFile_of(file)->flush(file) == 0;
}

// NULL, with nothing left behind, when it fails.
void *load(Trial &trial, const Life &life, ztCtor fileConstructor, const char *path) {
  Held file(openFile(fileConstructor, path, "rb"));
  if (file == nullptr) return nullptr;
  const int before = trial.struck();
  Held object(ztBaseClass_functions()->classRead(nullptr, file));
  // It makes the object by name, which does not tell whether that is complete.
  if (object == nullptr || trial.struck() != before) return nullptr;
  life.prepare(trial, object);
  const bool read = ztBaseClass_of(object)->read(object, file) && ztFile_of(file)->flush(file) == 0;
  return read ? object.release() : nullptr;
}

std::string storeAndLoad(Trial &trial, const Life &life, ztCtor fileConstructor, const void *object) {
  const MemoryFile stored;
  trial.need([&] { return store(fileConstructor, stored.path(), object); });
  if (trial.isHopeless()) return "not stored";
  if (!life.loads) return stored.bytes();
  Held loaded(trial.need([&] { return load(trial, life, fileConstructor, stored.path()); }));
  return loaded == nullptr ? "not loaded" : life.describe(loaded);
}

std::string copyAndAssign(Trial &trial, const Life &life, const void *object) {
  Held copy(trial.need([&] { return newClone(object); }));
  if (copy == nullptr) return "not copied";
  const std::string copied = life.describe(copy);
  trial.need([&] { return ztBaseClass_of(copy)->assign(copy, object); });
  return copied + "\n" + life.describe(copy);
}

}  // namespace

std::string liveOnce(Trial &trial, const Life &life) {
  releaseIfMade(trial.makeByName(life.name));
  const ztClass *klass = ztOOP_findClass(life.name);
  Held object(trial.make(static_cast<const ztClassFunctions *>(klass->classTable)->ctor));
  if (object == nullptr) return "not made";
  life.fill(trial, object);
  if (trial.isHopeless()) return "not filled";
  std::string result = life.describe(object);
  if (life.clones) result += "\n" + copyAndAssign(trial, life, object);
  if (!life.stores) return result;
  for (const ztCtor fileConstructor : {ztFile_ctor, ztTextFile_ctor}) {
    result += "\n" + storeAndLoad(trial, life, fileConstructor, object);
  }
  return result;
}

const Life *lifeOf(const char *className) {
  const auto *found = std::find_if(std::begin(all), std::end(all),
                                   [=](const Life &life) { return strcmp(life.name, className) == 0; });
  return found == std::end(all) ? nullptr : found;
}

void registerPropertyTypes() {
  for (const char *type : {"ztCharPropertyType", "ztCharPtrPropertyType", "ztBoolPropertyType",
                           "ztFloatPropertyType", "ztVoidPtrPropertyType", "ztStringPropertyType"}) {
    ztProperty_functions()->registerNewType(nullptr, type);
  }
}

std::span<const Life> lives() {
  return all;
}

std::ostream &operator<<(std::ostream &out, const Life &life) {
  return out << life.name;
}
