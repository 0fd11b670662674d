// An object's parts share blocks of memory. Each of them is still an object of its own.
#include "containers/ztavltree.h"
#include "containers/ztmapiter.h"
#include "core/ztmem.h"
#include "tests/helpers/allocator.hh"
#include "tests/objects/listeners.hh"

#include <string.h>

#include <thread>

namespace {

void take(void *, intptr_t) {}

ztSlotFunction taking() {
  ztSlotFunction function;
  function.call1 = take;
  return function;
}

ztSignal *signalOf(void *sender, const char *name) {
  return ztObject_of(sender)->addSignal(ztObjectClass_Instance(), sender, name, 1);
}

// A sender with one connection.
struct Connected {
  Connected() {
    connectTo(sender, "changed", receiver, taking());
  }
  ztSignal *signal() {
    return signalOf(sender, "changed");
  }
  ztMapItem *slotItem() {
    return reinterpret_cast<ztMapItem *>(signal()->slots->tree->root);
  }

  Object sender;
  Object receiver;
};

// Each test leaves as many blocks as it found. The first objects of a process are made step by step, and something is
// kept of them.
class SharedBlock : public testing::Test {
 protected:
  SharedBlock() {
    for (int i = 0; i < 2; ++i) Connected();
    blocks = liveBlocks;
  }
  ~SharedBlock() override {
    EXPECT_EQ(liveBlocks, blocks);
  }

 private:
  int blocks;
};

template <typename Part>
Part *takeFrom(Part *&field) {
  return std::exchange(field, nullptr);
}

}  // namespace

TEST_F(SharedBlock, MapsThatAHostTookOutliveTheirObject) {
  Object object;
  ztSignalMap *signals = takeFrom(object.fields().signals);
  ztPropertyMap *properties = takeFrom(object.fields().dynamicProperties);
  object = Object();
  EXPECT_EQ(ztSignalMap_of(signals)->getSize(signals), 0);
  const String key("key");
  const Owned<ztSignal> value(ztSignal_ctor);
  EXPECT_NE(ztSignalMap_of(signals)->pushBack(signals, key, value), nullptr);
  release(signals);
  EXPECT_EQ(ztPropertyMap_of(properties)->getSize(properties), 0);
  release(properties);
}

TEST_F(SharedBlock, MapsThatAHostRefersToOutliveTheirObject) {
  Object object;
  ztSignalMap *signals = object.fields().signals;
  for (int i = 0; i < 2; ++i) ztSignalMap_of(signals)->ref(signals);
  object = Object();
  EXPECT_EQ(signals->refCount, 2);
  EXPECT_EQ(ztSignalMap_of(signals)->getSize(signals), 0);
  release(signals);
}

TEST_F(SharedBlock, TreeThatAHostTookOutlivesMapAndObject) {
  Object object;
  ztAvlTree *tree = takeFrom(object.fields().signals->tree);
  object = Object();
  EXPECT_EQ(ztAvlTree_of(tree)->getSize(tree), 0);
  release(tree);
}

TEST_F(SharedBlock, ReceiverEndsAfterAHostTookTheSignalsOfItsSender) {
  Connected connected;
  ztSignalMap *signals = takeFrom(connected.sender.fields().signals);
  connected.receiver = Object();
  EXPECT_EQ(ztSignalMap_of(signals)->getSize(signals), 2);
  release(signals);
}

TEST_F(SharedBlock, ReceiverEndsAfterAHostTookTheTreeOfTheSignalsOfItsSender) {
  Connected connected;
  ztAvlTree *tree = takeFrom(connected.sender.fields().signals->tree);
  connected.receiver = Object();
  EXPECT_EQ(ztAvlTree_of(tree)->getSize(tree), 2);
  release(tree);
}

TEST_F(SharedBlock, MapsThatAHostReplacedAreReleasedLikeTheFirst) {
  const Object object;
  release(takeFrom(object.fields().signals));
  release(takeFrom(object.fields().dynamicProperties));
  object.fields().signals = static_cast<ztSignalMap *>(ztSignalMap_ctor(nullptr, 1));
  object.fields().dynamicProperties = static_cast<ztPropertyMap *>(ztPropertyMap_ctor(nullptr, 1));
  EXPECT_NE(ztObject_of(object)->addSignal(ztObjectClass_Instance(), object, "changed", 1), nullptr);
}

TEST_F(SharedBlock, PartsMayBeReleasedByAnotherThread) {
  Object object;
  ztSignalMap *signals = takeFrom(object.fields().signals);
  std::thread other([signals] { release(signals); });
  object = Object();
  other.join();
}

TEST_F(SharedBlock, NamesThatAHostTookOutliveSignalAndSlot) {
  Connected connected;
  ztString *names[] = {takeFrom(connected.signal()->name),
                       takeFrom(static_cast<ztSlot *>(connected.slotItem()->value)->name)};
  connected.sender = Object();
  connected.receiver = Object();
  EXPECT_STREQ(ztString_of(names[0])->get(names[0]), "changed");
  EXPECT_STREQ(ztString_of(names[1])->get(names[1]), "slot");
  for (ztString *name : names) {
    ztString_of(name)->set(name, "a text that is longer than it was");
    release(name);
  }
}

TEST_F(SharedBlock, SlotThatAHostTookOutOfItsMapOutlivesIt) {
  Connected connected;
  auto *slot = static_cast<ztSlot *>(takeFrom(connected.slotItem()->value));
  connected.sender = Object();
  EXPECT_EQ(slot->receiver, static_cast<void *>(connected.receiver));
  EXPECT_STREQ(ztString_of(slot->name)->get(slot->name), "slot");
  release(slot);
}

TEST_F(SharedBlock, SlotsMapThatAHostTookOutlivesItsSignal) {
  Connected connected;
  ztSlotMap *slots = takeFrom(connected.signal()->slots);
  connected.sender = Object();
  EXPECT_EQ(ztSlotMap_of(slots)->getSize(slots), 1);
  release(slots);
}

TEST_F(SharedBlock, ValuesThatAHostExchangedAreReleasedOnceEach) {
  Connected connected;
  const Object another;
  connectTo(connected.sender, "changed", another, taking(), 1);
  ztAvlTreeItem *root = connected.signal()->slots->tree->root;
  ztAvlTreeItem *other = root->left != nullptr ? root->left : root->right;
  ASSERT_NE(other, nullptr);
  std::swap(reinterpret_cast<ztMapItem *>(root)->value, reinterpret_cast<ztMapItem *>(other)->value);
  connected.sender = Object();
}

TEST_F(SharedBlock, ItemThatAHostRefersToOutlivesItsConnection) {
  Connected connected;
  ztMapItem *item = connected.slotItem();
  for (int i = 0; i < 2; ++i) ztMapItem_of(item)->ref(item);
  EXPECT_EQ(ztObject_disconnect(connected.sender, "changed", connected.receiver, taking()), 1);
  EXPECT_EQ(item->refCount, 2);
  EXPECT_EQ(item->value, nullptr);
  release(item);
}

TEST_F(SharedBlock, ItemThatAHostRefersToOutlivesItsObject) {
  Connected connected;
  auto *item = reinterpret_cast<ztMapItem *>(connected.sender.fields().signals->tree->root);
  for (int i = 0; i < 2; ++i) ztMapItem_of(item)->ref(item);
  connected.sender = Object();
  EXPECT_EQ(item->refCount, 2);
  EXPECT_EQ(item->data, nullptr);
  EXPECT_EQ(item->value, nullptr);
  release(item);
}

TEST_F(SharedBlock, ItemThatGotTheSlotOfAnotherEndsWithIt) {
  Connected connected;
  const Object others[] = {Object(), Object()};
  for (const Object &other : others) connectTo(connected.sender, "changed", other, taking(), 1);
  // The root gets the slot of an item below it, which is taken out in its place.
  void *first = connected.slotItem()->data;
  EXPECT_EQ(ztObject_disconnect(connected.sender, "changed", first, taking()), 1);
  EXPECT_EQ(ztSlotMap_of(connected.signal()->slots)->getSize(connected.signal()->slots), 2);
}

// Only the item ends then, in one step: the map no longer knows that its key and its value are objects.
TEST_F(SharedBlock, ItemsOfAMapWhoseElementsAreAHostsNowEndWithoutThem) {
  const Object sender;
  ztSignal *signal = signalOf(sender, "changed");
  ztSignalMap *signals = sender.fields().signals;
  void *key = signals->tree->root->data;
  const ztSignalMapMethods *methods = ztSignalMap_of(signals);
  methods->setKeyConstructor(signals, nullptr);
  methods->setKeySize(signals, sizeof key, 1);
  methods->setValueConstructor(signals, nullptr);
  methods->setValueSize(signals, sizeof signal, 1);
  EXPECT_EQ(methods->pop(signals, key), 1);
  EXPECT_EQ(methods->getSize(signals), 0);
  EXPECT_STREQ(textOf(signal->name), "changed");
  EXPECT_STREQ(textOf(static_cast<const ztString *>(key)), "changed");
  release(key);
  release(signal);
}

TEST_F(SharedBlock, SlotOfAMapWhoseElementsAreAHostsNowOutlivesItsConnection) {
  Connected connected;
  ztSlotMap *slots = connected.signal()->slots;
  auto *slot = static_cast<ztSlot *>(connected.slotItem()->value);
  ztSlotMap_of(slots)->setValueConstructor(slots, nullptr);
  ztSlotMap_of(slots)->setValueSize(slots, sizeof slot, 1);
  EXPECT_EQ(ztObject_disconnect(connected.sender, "changed", connected.receiver, taking()), 1);
  EXPECT_STREQ(textOf(slot->name), "slot");
  release(slot);
}

TEST_F(SharedBlock, SlotIsRemovedByTheCompareFunctionOfAHost) {
  Connected connected;
  ztSlotMap *slots = connected.signal()->slots;
  static int calls;
  calls = 0;
  ztSlotMap_of(slots)->setCompareFunction(slots, [](const void *stored, const void *key) {
    ++calls;
    return ztSlotMap_key_compare_func_ptr(stored, key);
  });
  EXPECT_EQ(ztObject_disconnect(connected.sender, "changed", connected.receiver, taking()), 1);
  EXPECT_GE(calls, 1);
}

TEST_F(SharedBlock, SlotThatAHostRefersToOutlivesItsConnection) {
  Connected connected;
  auto *slot = static_cast<ztSlot *>(connected.slotItem()->value);
  for (int i = 0; i < 2; ++i) ztSlot_of(slot)->ref(slot);
  EXPECT_EQ(ztObject_disconnect(connected.sender, "changed", connected.receiver, taking()), 1);
  EXPECT_EQ(slot->refCount, 2);
  EXPECT_STREQ(textOf(slot->name), "slot");
  release(slot);
}

TEST_F(SharedBlock, SignalThatAHostRefersToOutlivesItsObject) {
  Connected connected;
  ztSignal *signal = connected.signal();
  for (int i = 0; i < 2; ++i) ztSignal_of(signal)->ref(signal);
  connected.sender = Object();
  EXPECT_EQ(signal->refCount, 2);
  EXPECT_STREQ(textOf(signal->name), "changed");
  EXPECT_EQ(ztSlotMap_of(signal->slots)->getSize(signal->slots), 1);
  release(signal);
}

TEST_F(SharedBlock, KeyThatAHostRefersToOutlivesItsObject) {
  Object another;
  signalOf(another, "another");
  auto *key = static_cast<ztString *>(another.fields().signals->tree->root->data);
  for (int i = 0; i < 2; ++i) ztString_of(key)->ref(key);
  another = Object();
  EXPECT_EQ(key->refCount, 2);
  EXPECT_STREQ(textOf(key), "another");
  release(key);
}

TEST_F(SharedBlock, TextThatAHostRefersToOutlivesItsName) {
  Connected connected;
  ztCharArray *text = connected.signal()->name->buffer;
  for (int i = 0; i < 2; ++i) ztCharArray_of(text)->ref(text);
  connected.sender = Object();
  EXPECT_EQ(text->refCount, 2);
  EXPECT_STREQ(static_cast<const char *>(ztCharArray_of(text)->getData(text)), "changed");
  release(text);
}

TEST_F(SharedBlock, NamesWhoseTextAHostTookEndWithTheirSignal) {
  Connected connected;
  release(takeFrom(connected.signal()->name->buffer));
  release(takeFrom(static_cast<ztSlot *>(connected.slotItem()->value)->name->buffer));
  connected.sender = Object();
}

TEST_F(SharedBlock, SignalIsFoundByTheCompareFunctionOfAHost) {
  Connected connected;
  ztSignalMap *signals = connected.sender.fields().signals;
  static int calls;
  calls = 0;
  ztSignalMap_of(signals)->setCompareFunction(signals, [](const void *stored, const void *key) {
    ++calls;
    return ztSignalMap_compare_func(stored, key);
  });
  EXPECT_TRUE(isConnected(connected.sender, "changed", connected.receiver, taking()));
  EXPECT_GE(calls, 1);
}

// Static properties -------------------------------------------------------------------------------

// Sundial and its descendant Needle: classes whose static properties are those of ztObject.
#define Sundial_FIELDS ztObject_FIELDS
#define Sundial_METHODS ztObject_METHODS
ZT_DECLARE_CLASS(Sundial)
ZT_DEFINE_CLASS(Sundial, ztObject, [](auto *) {})
#define Needle_FIELDS Sundial_FIELDS
#define Needle_METHODS Sundial_METHODS
ZT_DECLARE_CLASS(Needle)
ZT_DEFINE_CLASS(Needle, Sundial, [](auto *) {})

namespace {

// The first object registers a class, which builds its map.
ztMapItem *firstPropertyOf(ztCtor constructor, ztClass *klass) {
  release(constructor(nullptr, 1));
  if (!ztOOP_isClassRegistered(klass->name)) {
    ztAddNewClass(constructor(nullptr, 0), klass->name, constructor, nullptr);
  }
  const ztPropertyMap *map = static_cast<const ztObjectMethods *>(klass->methodTable)->staticProperties;
  return reinterpret_cast<ztMapItem *>(map->tree->root);
}

ztProperty *propertyIn(const ztMapItem *item) {
  return static_cast<ztProperty *>(item->value);
}

// The registry has no class of the tests afterwards.
class SharedNames : public SharedBlock {
 protected:
  ~SharedNames() override {
    ztFreeClass("Needle");
    ztFreeClass("Sundial");
  }
};

}  // namespace

TEST_F(SharedNames, NamesThatAHostTookOutliveTheirStaticProperty) {
  ztMapItem *item = firstPropertyOf(Sundial_ctor, SundialClass_Instance());
  ztString *names[] = {takeFrom(propertyIn(item)->name), takeFrom(propertyIn(item)->signalName),
                       static_cast<ztString *>(takeFrom(item->data))};
  ztFreeClass("Sundial");
  EXPECT_STREQ(ztString_of(names[0])->get(names[0]), "refCount");
  EXPECT_STREQ(ztString_of(names[1])->get(names[1]), "");
  EXPECT_STREQ(ztString_of(names[2])->get(names[2]), "refCount");
  for (ztString *name : names) {
    ztString_of(name)->set(name, "a text that is longer than it was");
    release(name);
  }
}

TEST_F(SharedNames, ItemThatAHostRefersToOutlivesItsStaticProperty) {
  ztMapItem *item = firstPropertyOf(Sundial_ctor, SundialClass_Instance());
  for (int i = 0; i < 2; ++i) ztMapItem_of(item)->ref(item);
  ztFreeClass("Sundial");
  EXPECT_EQ(item->refCount, 2);
  EXPECT_EQ(item->value, nullptr);
  release(item);
}

TEST_F(SharedNames, AStaticPropertyIsInheritedWithAllItsFields) {
  ztMapItem *item = firstPropertyOf(Sundial_ctor, SundialClass_Instance());
  ztProperty *property = propertyIn(item);
  int word;
  property->userWord = &word;
  const ztProperty *inherited = propertyIn(firstPropertyOf(Needle_ctor, NeedleClass_Instance()));
  EXPECT_EQ(inherited->klass, property->klass);
  EXPECT_EQ(inherited->refCount, 1);
  EXPECT_EQ(inherited->index, property->index);
  EXPECT_EQ(inherited->type, property->type);
  EXPECT_EQ(inherited->getter.getInt, property->getter.getInt);
  EXPECT_EQ(inherited->userWord, &word);
  EXPECT_STREQ(inherited->ownerClassName, "ztObject");
  EXPECT_EQ(inherited->valuePointer, nullptr);
  EXPECT_EQ(inherited->valueSize, 0U);
  // Blocks of texts have the size of the original's.
  EXPECT_EQ(inherited->name->buffer->count, property->name->buffer->count);
  EXPECT_EQ(inherited->signalName->buffer->count, property->signalName->buffer->count);
  EXPECT_NE(inherited->name->buffer->data, property->name->buffer->data);
}

TEST_F(SharedNames, AStaticPropertyIsInheritedWithoutTheNameThatAHostTook) {
  ztMapItem *item = firstPropertyOf(Sundial_ctor, SundialClass_Instance());
  release(takeFrom(propertyIn(item)->signalName));
  EXPECT_EQ(propertyIn(firstPropertyOf(Needle_ctor, NeedleClass_Instance()))->signalName, nullptr);
}

TEST_F(SharedNames, ANameWithAHostsSettingsIsInheritedWithThem) {
  ztMapItem *item = firstPropertyOf(Sundial_ctor, SundialClass_Instance());
  ztCharArray *buffer = propertyIn(item)->name->buffer;
  ztCharArray_of(buffer)->setCompareFunction(buffer, ztIntArray_compare_func);
  const ztCharArray *copy = propertyIn(firstPropertyOf(Needle_ctor, NeedleClass_Instance()))->name->buffer;
  EXPECT_EQ(copy->compareFunction, ztIntArray_compare_func);
  EXPECT_EQ(copy->itemManager, copy);
}

// Copies ------------------------------------------------------------------------------------------

namespace {

// Memory of a host, with garbage in it.
void *garbage(const ztClass *klass) {
  void *memory = ztm_alloc(klass->instanceSize);
  memset(memory, 0xa5, static_cast<size_t>(klass->instanceSize));
  return memory;
}

}  // namespace

TEST_F(SharedBlock, CopyOfAPartOnAHostsMemoryHasItsOwnBlock) {
  Connected connected;
  const ztSignal *signal = connected.signal();
  const auto *slot = static_cast<const ztSlot *>(connected.slotItem()->value);
  const void *parts[] = {connected.sender.fields().signals,
                         connected.sender.fields().dynamicProperties,
                         signal,
                         signal->name,
                         signal->name->buffer,
                         signal->slots,
                         signal->slots->tree,
                         slot,
                         connected.slotItem()};
  for (const void *part : parts) {
    void *memory = garbage(ztOOP_classOf(part));
    void *copy = ztBaseClass_of(part)->clone(part, memory);
    EXPECT_EQ(copy, memory);
    static_cast<ztBaseClass *>(copy)->refCount = 1;
    release(copy);
    void *clone = newCopy(part);
    EXPECT_NE(clone, nullptr);
    release(clone);
  }
}

TEST_F(SharedBlock, ObjectsInAHostsMemoryHaveTheirOwnBlock) {
  const Object object;
  for (const ztCtor constructor :
       {ztString_ctor, ztCharArray_ctor, ztAvlTree_ctor, ztMapItem_ctor, ztSlot_ctor, ztSignal_ctor,
        ztSlotMap_ctor, ztSignalMap_ctor, ztPropertyMap_ctor}) {
    void *prototype = constructor(nullptr, 1);
    void *memory = garbage(ztOOP_classOf(prototype));
    EXPECT_EQ(constructor(memory, 1), memory);
    release(memory);
    release(prototype);
  }
}
