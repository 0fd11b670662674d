// Objects, signals, slots and strings that are made and released at once: a host's functions are called as often as
// if each step were taken, and releases inside releases are noticed.
#include "containers/ztarrays.h"
#include "containers/ztavltree.h"
#include "core/ztmem.h"
#include "tests/helpers/replaced.hh"
#include "tests/objects/listeners.hh"

#include <gtest/gtest.h>

#include <string.h>

#include <functional>
#include <utility>

namespace {

// What the next destroyed object of the classes below does, once.
std::function<void(void *)> atEnd;
// The same for the next clone.
std::function<void()> atClone;
int calls;

void runOnce(void *object) {
  const auto action = std::exchange(atEnd, nullptr);
  if (action) action(object);
}

}  // namespace

#define HookedText_FIELDS ztString_FIELDS
#define HookedText_METHODS ztString_METHODS
ZT_DECLARE_CLASS(HookedText)
#define HookedChars_FIELDS ztCharArray_FIELDS
#define HookedChars_METHODS ztCharArray_METHODS
ZT_DECLARE_CLASS(HookedChars)
#define ManagingMap_FIELDS ztSlotMap_FIELDS
#define ManagingMap_METHODS ztSlotMap_METHODS
ZT_DECLARE_CLASS(ManagingMap)
#define HookedItem_FIELDS ztMapItem_FIELDS
#define HookedItem_METHODS ztMapItem_METHODS
ZT_DECLARE_CLASS(HookedItem)
#define CountingTree_FIELDS ztAvlTree_FIELDS
#define CountingTree_METHODS ztAvlTree_METHODS
ZT_DECLARE_CLASS(CountingTree)
#define BareText_FIELDS ztString_FIELDS
#define BareText_METHODS ztString_METHODS
ZT_DECLARE_CLASS(BareText)

static void hookedTextDestroy(void *text) {
  runOnce(text);
  ztString_table()->destroy(text);
}

static void *hookedTextClone(const void *text, void *target) {
  const auto action = std::exchange(atClone, nullptr);
  if (action) action();
  return ztString_table()->clone(text, target);
}

static void hookedTextMethods(HookedTextMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, destroy, hookedTextDestroy);
  ZT_OVERRIDE_METHOD(methods, clone, hookedTextClone);
}

ZT_DEFINE_CLASS(HookedText, ztString, hookedTextMethods)

static void hookedCharsDestroy(void *chars) {
  runOnce(chars);
  ztCharArray_table()->destroy(chars);
}

static void hookedCharsMethods(HookedCharsMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, destroy, hookedCharsDestroy);
}

ZT_DEFINE_CLASS(HookedChars, ztCharArray, hookedCharsMethods)

static void managingMapDeleteItem(void *map, void *item) {
  ++calls;
  ztSlotMap_table()->deleteItem(map, item);
}

static void managingMapMethods(ManagingMapMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, deleteItem, managingMapDeleteItem);
}

ZT_DEFINE_CLASS(ManagingMap, ztSlotMap, managingMapMethods)

static void hookedItemDestroy(void *item) {
  ++calls;
  runOnce(item);
  ztMapItem_table()->destroy(item);
}

static void hookedItemMethods(HookedItemMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, destroy, hookedItemDestroy);
}

ZT_DEFINE_CLASS(HookedItem, ztMapItem, hookedItemMethods)

static ztAvlTreeItem *countingTreePush(void *tree, const void *element) {
  ++calls;
  runOnce(tree);
  return ztAvlTree_table()->push(tree, element);
}

static int32_t countingTreePop(void *tree, const void *key) {
  ++calls;
  return ztAvlTree_table()->pop(tree, key);
}

static void countingTreeMethods(CountingTreeMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, push, countingTreePush);
  ZT_OVERRIDE_METHOD(methods, pop, countingTreePop);
}

ZT_DEFINE_CLASS(CountingTree, ztAvlTree, countingTreeMethods)

// Does not call its parent's `create`.
static int32_t bareTextCreate(void *object) {
  auto *text = static_cast<BareText *>(object);
  text->buffer = static_cast<ztCharArray *>(ztCharArray_ctor(nullptr, 1));
  return text->buffer != nullptr;
}

static void bareTextMethods(BareTextMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, bareTextCreate);
}

ZT_DEFINE_CLASS(BareText, ztString, bareTextMethods)

namespace {

template <typename Methods>
Methods &tableOf(ztClass *klass) {
  return *static_cast<Methods *>(klass->methodTable);
}

void *usedMemory(int32_t size) {
  void *memory = ztm_alloc(size);
  memset(memory, 0xA5, static_cast<size_t>(size));
  return memory;
}

ztSignal *signalOf(const Object &object, const char *name) {
  return object->addSignal(ztObjectClass_Instance(), object, name, 1);
}

// Item managers ---------------------------------------------------------------------------------

TEST(PlainRelease, OfASignalDeletesItsSlotsByTheManagerOfTheirTree) {
  const Owned<> manager(ManagingMap_ctor);
  const Object receiver;
  calls = 0;
  {
    const Object sender;
    ztSignal *signal = signalOf(sender, "sent");
    ASSERT_EQ(sender->addSlot(ztObjectClass_Instance(), signal, receiver, "slot", diarySlot<0>()), 1);
    ztAvlTree_of(signal->slots->tree)->setItemManager(signal->slots->tree, manager);
  }
  EXPECT_EQ(calls, 1);
}

TEST(PlainRelease, OfAnObjectDeletesItsSignalsByTheManagerOfTheirTree) {
  const Owned<ztMap, ztMapMethods> manager(ManagingMap_ctor);
  manager->setKeyConstructor(manager, ztString_ctor);
  manager->setValueConstructor(manager, ztSignal_ctor);
  calls = 0;
  {
    const Object sender;
    signalOf(sender, "sent");
    ztAvlTree *tree = sender.fields().signals->tree;
    ztAvlTree_of(tree)->setItemManager(tree, manager);
  }
  EXPECT_EQ(calls, 1);
}

static void expectACallAtTheEndOfAConnection(const Object &sender, const Object &receiver) {
  ztSignal *signal = signalOf(sender, "sent");
  ASSERT_EQ(sender->addSlot(ztObjectClass_Instance(), signal, receiver, "slot", diarySlot<0>()), 1);
  calls = 0;
  EXPECT_EQ(ztObject_disconnect(sender, "sent", receiver, diarySlot<0>()), 1);
  EXPECT_EQ(calls, 1);
}

TEST(PlainRelease, OfAConnectionDeletesItsSlotByTheManagerOfTheTree) {
  const Owned<ztMap, ztMapMethods> manager(ManagingMap_ctor);
  const Object sender;
  const Object receiver;
  ztSignal *signal = signalOf(sender, "sent");
  ztAvlTree_of(signal->slots->tree)->setItemManager(signal->slots->tree, manager);
  expectACallAtTheEndOfAConnection(sender, receiver);
}

TEST(PlainRelease, OfAConnectionDeletesItsSlotByTheClassOfTheMap) {
  const Object sender;
  const Object receiver;
  ztSignal *signal = signalOf(sender, "sent");
  release(signal->slots);
  signal->slots = static_cast<ztSlotMap *>(ManagingMap_ctor(nullptr, 1));
  ztSlotMap_of(signal->slots)->setAllowDuplicate(signal->slots, 1);
  expectACallAtTheEndOfAConnection(sender, receiver);
}

TEST(PlainCreation, OfAConnectionPushesIntoATreeOfAHostsClassAndItsEndPops) {
  const Object sender;
  const Object receiver;
  ztSlotMap *slots = signalOf(sender, "sent")->slots;
  const Owned<ztAvlTree, ztAvlTreeMethods> tree(CountingTree_ctor);
  tree->setItemManager(tree, slots);
  tree->setCompareFunction(tree, slots->tree->compareFunction);
  tree->setAllowDuplicate(tree, 1);
  ztAvlTree *own = std::exchange(slots->tree, static_cast<ztAvlTree *>(static_cast<void *>(tree)));
  calls = 0;
  EXPECT_EQ(
      sender->addSlot(ztObjectClass_Instance(), signalOf(sender, "sent"), receiver, "slot", diarySlot<0>()),
      1);
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(ztObject_disconnect(sender, "sent", receiver, diarySlot<0>()), 1);
  EXPECT_EQ(calls, 2);
  slots->tree = own;
}

TEST(PlainRelease, OfAnObjectEndsTheItemsOfAHostsClass) {
  calls = 0;
  {
    const Object sender;
    ztSignalMap *signals = sender.fields().signals;
    ztSignalMap_of(signals)->setItemConstructor(signals, HookedItem_ctor);
    ztSlotMap *slots = signalOf(sender, "sent")->slots;
    ztSlotMap_of(slots)->setItemConstructor(slots, HookedItem_ctor);
    EXPECT_EQ(
        sender->addSlot(ztObjectClass_Instance(), signalOf(sender, "sent"), sender, "slot", diarySlot<0>()),
        1);
    EXPECT_EQ(ztOOP_classOf(signals->tree->root), HookedItemClass_Instance());
    EXPECT_EQ(ztOOP_classOf(slots->tree->root), HookedItemClass_Instance());
    calls = 0;
  }
  EXPECT_EQ(calls, 2);
}

// A call on the map itself is under way, not on its tree.
TEST(PlainRelease, IsNoticedByANewItemOfTheMap) {
  void *sender = ztObject_ctor(nullptr, 1);
  ztSignalMap *signals = static_cast<ztObject *>(sender)->signals;
  const Owned<> key(HookedText_ctor);
  const Owned<> value(ztSignal_ctor);
  const ztKeyValue pair = {key, value};
  atClone = [sender] { release(sender); };
  EXPECT_EQ(ztSignalMap_of(signals)->newItem(signals, &pair), nullptr);
}

// A call on the tree is under way, not on its map.
TEST(PlainRelease, IsNoticedByASearchOfTheTree) {
  void *sender = ztObject_ctor(nullptr, 1);
  const Object receiver;
  ASSERT_EQ(connectTo(sender, "sent", receiver, diarySlot<0>()), 1);
  ASSERT_EQ(connectTo(sender, "sent", receiver, diarySlot<1>()), 1);
  const Owned<ztAvlTree, ztAvlTreeMethods> output(CountingTree_ctor);
  output->setElementSize(output, sizeof(void *), 1);
  output->setCompareFunction(output, ztSlotMap_key_compare_func_ptr);
  output->setAllowDuplicate(output, 1);
  calls = 0;
  atEnd = [sender](void *) { release(sender); };
  const ztAvlTree *tree = addSignal(sender, "sent")->slots->tree;
  ztAvlTree_of(tree)->findAll(tree, receiver, output);
  EXPECT_EQ(calls, 1);
}

// Functions in the tables -------------------------------------------------------------------------

void (*ownSetCompareFunction)(void *, ztCompareFunc);
int32_t (*ownCreate)(void *);

void countSetCompareFunction(void *container, ztCompareFunc compare) {
  ++calls;
  ownSetCompareFunction(container, compare);
}

int32_t countCreate(void *object) {
  ++calls;
  return ownCreate(object);
}

TEST(PlainCreation, OfAnObjectCallsTheSetCompareFunctionThatAHostGaveToTrees) {
  const Object before;
  auto &methods = tableOf<ztAvlTreeMethods>(ztAvlTreeClass_Instance());
  ownSetCompareFunction = methods.setCompareFunction;
  calls = 0;
  const Replaced replaced(methods.setCompareFunction, countSetCompareFunction);
  const Object object;
  EXPECT_EQ(calls, 2);
}

int creationsDuring(ztClass *klass, const std::function<void()> &action) {
  auto &methods = tableOf<ztBaseClassMethods>(klass);
  ownCreate = methods.create;
  calls = 0;
  const Replaced replaced(methods.create, countCreate);
  action();
  return calls;
}

// The first item of a tree is made without a probe.
TEST(PlainCreation, OfASignalCallsTheCreateThatAHostGaveToAClassAboveTheItems) {
  for (ztClass *klass : {ztAvlTreeItemClass_Instance(), ztContainerItemClass_Instance()}) {
    const Object sender;
    EXPECT_EQ(creationsDuring(klass, [&] { signalOf(sender, "sent"); }), 1) << klass->name;
  }
}

TEST(PlainCreation, OfASlotCallsTheCreateThatAHostGaveToAClassAboveTheItems) {
  for (ztClass *klass : {ztAvlTreeItemClass_Instance(), ztContainerItemClass_Instance()}) {
    const Object sender;
    ztSignal *signal = signalOf(sender, "sent");
    const auto add = [&] {
      sender->addSlot(ztObjectClass_Instance(), signal, sender, "slot", diarySlot<0>());
    };
    EXPECT_EQ(creationsDuring(klass, add), 1) << klass->name;
  }
}

// Releases inside releases ------------------------------------------------------------------------

TEST(PlainRelease, OfAStringInsideItsOwnReleaseDoesNothing) {
  auto *string = static_cast<ztString *>(newString("text"));
  release(string->buffer);
  string->buffer = static_cast<ztCharArray *>(HookedChars_ctor(nullptr, 1));
  bool isStillThere = false;
  atEnd = [&](void *) {
    string->buffer = static_cast<ztCharArray *>(ztCharArray_ctor(nullptr, 1));
    release(string);
    isStillThere = ztOOP_classOf(string) == ztStringClass_Instance();
    release(std::exchange(string->buffer, nullptr));
  };
  release(string);
  EXPECT_TRUE(isStillThere);
}

TEST(PlainRelease, OfASlotInsideItsOwnReleaseDoesNothing) {
  auto *slot = static_cast<ztSlot *>(ztSlot_ctor(nullptr, 1));
  release(slot->name);
  slot->name = static_cast<ztString *>(HookedText_ctor(nullptr, 1));
  bool isStillThere = false;
  atEnd = [&](void *) {
    slot->name = static_cast<ztString *>(newString("another"));
    release(slot);
    isStillThere = ztOOP_classOf(slot) == ztSlotClass_Instance();
    release(std::exchange(slot->name, nullptr));
  };
  release(slot);
  EXPECT_TRUE(isStillThere);
}

TEST(PlainRelease, OfASignalInsideItsOwnReleaseDoesNothing) {
  auto *signal = static_cast<ztSignal *>(ztSignal_ctor(nullptr, 1));
  release(signal->name);
  signal->name = static_cast<ztString *>(HookedText_ctor(nullptr, 1));
  signal->slots = static_cast<ztSlotMap *>(ztSlotMap_ctor(nullptr, 1));
  bool isStillThere = false;
  atEnd = [&](void *) {
    signal->name = static_cast<ztString *>(newString("another"));
    release(signal);
    isStillThere = ztOOP_classOf(signal) == ztSignalClass_Instance();
    release(std::exchange(signal->name, nullptr));
  };
  release(signal);
  EXPECT_TRUE(isStillThere);
}

// Ends the receiver, whose end calls a function of the host, which ends the sender.
static void endFromWithin(void *sender, Object &receiver) {
  bool hasEnded = false;
  atEnd = [&](void *) {
    release(sender);
    hasEnded = true;
  };
  receiver = Object();
  EXPECT_TRUE(hasEnded);
}

TEST(PlainRelease, OfASlotsNameMayEndTheSender) {
  void *sender = ztObject_ctor(nullptr, 1);
  Object receiver;
  for (const char *name : {"first", "second", "third"}) {
    ASSERT_EQ(connectTo(sender, name, receiver, diarySlot<0>()), 1);
    const auto *item = reinterpret_cast<const ztMapItem *>(addSignal(sender, name)->slots->tree->root);
    auto *slot = static_cast<ztSlot *>(item->value);
    release(slot->name);
    slot->name = static_cast<ztString *>(HookedText_ctor(nullptr, 1));
  }
  endFromWithin(sender, receiver);
}

// The first signal is not the root of the tree.
TEST(PlainRelease, OfAReceiverDropsItsSlotsInTheOrderOfTheSignals) {
  const Object sender;
  Object receiver;
  for (const char *name : {"first", "second", "third"}) {
    ASSERT_EQ(connectTo(sender, name, receiver, diarySlot<0>()), 1);
  }
  ASSERT_STRNE(textOf(static_cast<const ztString *>(sender.fields().signals->tree->root->data)), "destroyed");
  const ztSlotMap *slots = signalOf(sender, "destroyed")->slots;
  auto *slot = static_cast<ztSlot *>(reinterpret_cast<const ztMapItem *>(slots->tree->root)->value);
  release(slot->name);
  slot->name = static_cast<ztString *>(HookedText_ctor(nullptr, 1));
  int connected = 0;
  void *peer = receiver;
  atEnd = [&](void *) {
    for (const char *name : {"first", "second", "third"}) {
      connected += isConnected(sender, name, peer, diarySlot<0>());
    }
  };
  receiver = Object();
  EXPECT_EQ(connected, 3);
}

void (*ownUnRef)(void *);

void unRefOnce(void *object) {
  runOnce(object);
  ownUnRef(object);
}

TEST(PlainRelease, OfAnItemMayEndTheSenderByTheUnRefThatAHostGaveToItems) {
  void *sender = ztObject_ctor(nullptr, 1);
  Object receiver;
  for (const char *name : {"first", "second", "third"}) {
    for (int i = 0; i < 2; ++i) {
      ASSERT_EQ(connectTo(sender, name, receiver, i == 0 ? diarySlot<0>() : diarySlot<1>()), 1);
    }
  }
  auto &methods = tableOf<ztMapItemMethods>(ztMapItemClass_Instance());
  ownUnRef = methods.unRef;
  const Replaced replaced(methods.unRef, unRefOnce);
  endFromWithin(sender, receiver);
}

TEST(PlainRelease, OfAnItemOfAHostsClassMayEndTheSender) {
  void *sender = ztObject_ctor(nullptr, 1);
  Object receiver;
  ztSlotMap *slots = addSignal(sender, "sent")->slots;
  // The item of the host's class leaves in the place of the root, of the library's.
  const ztSlotFunction functions[] = {diarySlot<0>(), diarySlot<1>(), diarySlot<2>()};
  for (int i = 0; i < 3; ++i) {
    ztSlotMap_of(slots)->setItemConstructor(slots, i == 0 ? HookedItem_ctor : ztMapItem_ctor);
    ASSERT_EQ(connectTo(sender, "sent", receiver, functions[i]), 1);
  }
  ASSERT_EQ(ztOOP_classOf(slots->tree->root), ztMapItemClass_Instance());
  ASSERT_EQ(ztOOP_classOf(slots->tree->root->right), HookedItemClass_Instance());
  endFromWithin(sender, receiver);
}

// A release that ends an object has counted.
TEST(PlainRelease, IsCountedWhenTheObjectEnds) {
  for (const int32_t references : {1, 2}) {
    void *text = HookedText_ctor(nullptr, 1);
    for (int i = 1; i < references; ++i) ztBaseClass_of(text)->ref(text);
    int32_t left = -1;
    atEnd = [&](void *ended) { left = ztBaseClass_of(ended)->getRefCount(ended); };
    release(text);
    EXPECT_EQ(left, references - 1);
  }
}

// The owner would free the part under the feet of its release.
TEST(PlainRelease, OfAnOwnerLeavesAPartThatIsBeingReleased) {
  auto *slot = static_cast<ztSlot *>(ztSlot_ctor(nullptr, 1));
  ztString *name = slot->name;
  release(name->buffer);
  name->buffer = static_cast<ztCharArray *>(HookedChars_ctor(nullptr, 1));
  bool isStillThere = false;
  atEnd = [&](void *) {
    name->buffer = static_cast<ztCharArray *>(ztCharArray_ctor(nullptr, 1));
    release(slot);
    isStillThere = ztOOP_classOf(name) == ztStringClass_Instance();
    release(std::exchange(name->buffer, nullptr));
  };
  release(name);
  EXPECT_TRUE(isStillThere);
}

TEST(PlainRelease, OfASignalEndsTheBufferOfItsNameByTheClassOfTheBuffer) {
  bool hasEnded = false;
  {
    const Object sender;
    ztString *name = signalOf(sender, "sent")->name;
    release(name->buffer);
    name->buffer = static_cast<ztCharArray *>(HookedChars_ctor(nullptr, 1));
    atEnd = [&](void *) { hasEnded = true; };
  }
  EXPECT_TRUE(hasEnded);
}

TEST(PlainRelease, OfASignalEndsTheObjectsThatAHostPutIntoTheBufferOfItsName) {
  bool hasEnded = false;
  {
    const Object sender;
    ztCharArray *buffer = signalOf(sender, "sent")->name->buffer;
    const ztCharArrayMethods *methods = ztCharArray_of(buffer);
    methods->setSize(buffer, 0);
    methods->setElementConstructor(buffer, HookedText_ctor);
    methods->setElementSize(buffer, sizeof(HookedText), 0);
    ASSERT_EQ(methods->setSize(buffer, 1), 1);
    atEnd = [&](void *) { hasEnded = true; };
  }
  EXPECT_TRUE(hasEnded);
}

// Memory that was used before ---------------------------------------------------------------------

// Only Valgrind notices that something else was read.
TEST(PlainRelease, OfAnObjectThatOwnsNothingReadsOnlyItsClassAndCount) {
  for (const ztCtor constructor : {ztBaseClass_ctor, ztAvlTreeItem_ctor}) {
    void *object = constructor(ztm_alloc(sizeof(ztAvlTreeItem)), 1);
    EXPECT_EQ(ztBaseClass_of(object)->getRefCount(object), 1);
    release(object);
  }
}

TEST(PlainRelease, FreesAStringThatWasMadeWithoutCreate) {
  auto *string = static_cast<ztString *>(ztString_ctor(usedMemory(sizeof(ztString)), 0));
  string->buffer = static_cast<ztCharArray *>(ztCharArray_ctor(nullptr, 1));
  ztString_of(string)->set(string, "text");
  EXPECT_STREQ(textOf(string), "text");
  release(string);
}

TEST(PlainRelease, FreesASlotThatWasMadeWithoutCreate) {
  auto *slot = static_cast<ztSlot *>(ztSlot_ctor(usedMemory(sizeof(ztSlot)), 0));
  slot->name = static_cast<ztString *>(newString("name"));
  slot->receiver = nullptr;
  EXPECT_STREQ(textOf(slot->name), "name");
  release(slot);
}

TEST(PlainRelease, FreesASignalThatWasMadeWithoutCreate) {
  auto *signal = static_cast<ztSignal *>(ztSignal_ctor(usedMemory(sizeof(ztSignal)), 0));
  signal->name = static_cast<ztString *>(newString("name"));
  signal->slots = nullptr;
  EXPECT_STREQ(textOf(signal->name), "name");
  release(signal);
}

TEST(PlainRelease, FreesAStringOfAClassWhoseCreateDoesAllItself) {
  void *string = BareText_ctor(usedMemory(sizeof(BareText)), 1);
  ztString_of(string)->set(string, "text");
  EXPECT_STREQ(textOf(string), "text");
  release(string);
}

// Copies the bytes by the `clone` of the root class, and the rest itself.
void *cloneByRoot(const void *object, void *target) {
  auto *copy = static_cast<ztSlot *>(ztBaseClass_table()->clone(object, target));
  copy->name = static_cast<ztString *>(newString("of the host"));
  return copy;
}

TEST(PlainRelease, FreesACopyOfAPartThatAHostsCloneMade) {
  const Object sender;
  ztSignal *signal = signalOf(sender, "sent");
  ASSERT_EQ(sender->addSlot(ztObjectClass_Instance(), signal, sender, "slot", diarySlot<0>()), 1);
  const auto *item = reinterpret_cast<const ztMapItem *>(signal->slots->tree->root);
  const Replaced replaced(tableOf<ztSlotMethods>(ztSlotClass_Instance()).clone, cloneByRoot);
  const Owned<ztSlot, ztSlotMethods> copy(newCopy(item->value));
  EXPECT_STREQ(textOf(copy.fields().name), "of the host");
  EXPECT_STREQ(textOf(static_cast<const ztSlot *>(item->value)->name), "slot");
}

}  // namespace
