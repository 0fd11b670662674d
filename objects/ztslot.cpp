#include "objects/ztslot.h"

#include "containers/ztavltree.hh"
#include "containers/ztcompare.hh"
#include "containers/ztown.hh"
#include "core/ztbasec.hh"
#include "core/ztcalls.hh"
#include "core/ztlayout.hh"
#include "core/ztmem.h"
#include "core/ztmethod.hh"
#include "core/ztoop.hh"
#include "core/ztparts.hh"
#include "io/ztstring.hh"
#include "objects/ztmaps.hh"
#include "objects/ztslots.hh"

using namespace ztcore;

ZT_PIN_CLASS(ztSlot, 40, 16);

using SlotParts = Parts<&ztBaseClass_table, Part<&ztSlot::name, ztString_ctor>>;

static int32_t slotCreate(ztSlot &slot) {
  slot.receiver = nullptr;
  slot.function.call0 = nullptr;
  return SlotParts::create(slot);
}

static void *slotClone(const ztSlot &slot, void *target) {
  return SlotParts::clone(slot, target);
}

// Besides the release of the name, `destroy` calls that of the root class, as the `destroy` of strings does.
static bool releasesOwnSlots() {
  return releasesBy(ztSlotClass_Instance(), method<SlotParts::destroy<ztSlot>>) && releasesStringsPlainly();
}

static void freeSlot(ztSlot *slot, FreedObjects *freed) {
  freeString(slot->name, freed);
  freed->add(slot);
}

static bool endSlotPlainly(void *object) {
  auto *slot = static_cast<ztSlot *>(object);
  if (ztOOP_classOf(object) != ztSlotClass_Instance()) return false;
  if (!endsPlainly(slot->name) || !releasesStringsPlainly()) return false;
  FreedObjects freed;
  freeSlot(slot, &freed);
  return true;
}

static void slotFunctions(ztClassFunctions *) {
  endPlainly(PlainEnd::slots, method<SlotParts::destroy<ztSlot>>, endSlotPlainly);
}

static void slotMethods(ztSlotMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, method<slotCreate>);
  ZT_OVERRIDE_METHOD(methods, clone, method<slotClone>);
  ZT_CALL_PARENT_ONLY(methods, ztBaseClass, assign);
  ZT_OVERRIDE_METHOD(methods, destroy, method<SlotParts::destroy<ztSlot>>);
}

ZT_DEFINE_CLASS_FULL(ztSlot, ztBaseClass, slotMethods, 1, ztClassFunctions, slotFunctions)

static int32_t slotMapCreate(void *object) {
  if (!ztMap_table()->create(object)) return 0;
  const ztSlotMapMethods *methods = ztSlotMap_of(object);
  methods->setKeySize(object, sizeof(void *), 1);
  methods->setCompareFunction(object, ztSlotMap_key_compare_func_ptr);
  methods->setValueConstructor(object, ztSlot_ctor);
  methods->setValueSize(object, sizeof(ztSlot), 0);
  methods->setValueCompareFunction(object, ztSlotMap_value_compare_func);
  return 1;
}

// Hosts may remove slots from a signal's map, also during a delivery.
static void slotMapDeleteItem(void *object, void *item) {
  ztMap_table()->deleteItem(object, item);
  if (thisThread.calls != nullptr) ++thisThread.calls->removals;
}

bool ztcore::createsSlotMapsPlainly() {
  return createsPlainly(ztSlotMapClass_Instance(), slotMapCreate);
}

static bool hasPlainSlot(const ztMapItem *item) {
  const ztSlot *slot = slotOf(item);
  return slot != nullptr && endsByRelease(slot, ztSlotClass_Instance()) && endsPlainly(slot->name);
}

static void freeSlotOf(ztMapItem *item, FreedObjects *freed) {
  freeSlot(slotOf(item), freed);
  if (thisThread.calls != nullptr) ++thisThread.calls->removals;
}

static bool ownsSlotsOnly(const ztSlotMap *slots) {
  return slots->keyConstructor == nullptr && slots->keyByPointer != 0 &&
         slots->valueConstructor == ztSlot_ctor;
}

static bool isPlain(const ztMapItem *item) {
  return endsPlainly(item) && hasPlainSlot(item);
}

bool ztcore::releasesSlotsPlainly(const ztSlotMap *slots) {
  return releasesPlainly(asMap(slots), ztSlotMapClass_Instance(), slotMapDeleteItem) &&
         ownsSlotsOnly(slots) &&
         (slots->tree->root == nullptr ||
          (releasesItemsPlainly() && releasesOwnSlots() && holdsForAll(slots->tree->root, isPlain)));
}

void ztcore::freeSlots(ztSlotMap *slots, FreedObjects *freed) {
  freeItems(slots->tree->root, freed, [=](ztMapItem *item) { freeSlotOf(item, freed); });
  freeMap(asMap(slots), freed);
}

bool ztcore::popsSlotsPlainly() {
  return popsPlainly(ztSlotMapClass_Instance(), slotMapDeleteItem);
}

bool ztcore::hasOwnSlots(const ztSlotMap *slots) {
  return hasOwnItems(asMap(slots), ztSlotMapClass_Instance()) && ownsSlotsOnly(slots) &&
         slots->tree->compareFunction == ztSlotMap_key_compare_func_ptr;
}

// The item that leaves the tree with the pair of this one, which may get the pair of the next.
static const ztAvlTreeItem *leavingFor(const ztMapItem *top) {
  if (top->left == nullptr || top->right == nullptr) return reinterpret_cast<const ztAvlTreeItem *>(top);
  const ztAvlTreeItem *next = top->right;
  while (next->left != nullptr) next = next->left;
  return next;
}

// Whether the release of the item of a slot calls only functions of the library. A function of a host might end the
// map, and the object that has it.
static bool releasesItemOf(const ztMapItem *top) {
  return ztOOP_classOf(leavingFor(top)) == ztMapItemClass_Instance() && releasesItemsPlainly();
}

// Flat, as is the adding below: each asks a dozen questions about tables, which as calls took as long again.
[[gnu::flatten]] bool ztcore::popSlotPlainly(ztSlotMap *slots, const ztMapItem *top) {
  if (!hasPlainSlot(top) || !releasesItemOf(top) || !releasesOwnSlots()) return false;
  ztAvlTree &tree = *slots->tree;
  const bool isOnly = top->left == nullptr && top->right == nullptr &&
                      tree.root == reinterpret_cast<const ztAvlTreeItem *>(top);
  auto *item = reinterpret_cast<ztMapItem *>(isOnly ? takeRoot(tree) : takeOut(tree, top->data));
  if (!endsPlainly(item)) {
    ztSlotMap_of(slots)->deleteItem(slots, item);
    return true;
  }
  FreedObjects freed;
  freeSlotOf(item, &freed);
  freed.add(item);
  return true;
}

namespace {

// A slot in a map, with its name and its item.
struct SlotBlock : SharedBlock {
  ztSlot slot;
  StringWithChars name;
  ztMapItem item;
};

}  // namespace

// Whether slots are what a new one would be copied as: objects of the library's class, which copies and releases
// them.
static bool keepsOwnSlots(const ztSlotMap *slots) {
  return ownsSlotsOnly(slots) && slots->tree->allowDuplicate != 0 &&
         slots->tree->compareFunction == ztSlotMap_key_compare_func_ptr &&
         ztSlot_table()->clone == method<slotClone> &&
         releasesBy(ztSlotClass_Instance(), method<SlotParts::destroy<ztSlot>>);
}

// The first object of the class registers it.
static bool isRegistered() {
  static bool known;
  if (__atomic_load_n(&known, __ATOMIC_RELAXED)) return true;
  const bool isTaken = isNameTaken(ztSlot_classname_);
  if (isTaken) __atomic_store_n(&known, true, __ATOMIC_RELAXED);
  return isTaken;
}

[[gnu::flatten]] bool ztcore::addsSlotsPlainly(const ztSlotMap *slots) {
  return insertsPlainly(asMap(slots), ztSlotMapClass_Instance(), slotMapDeleteItem) && keepsOwnSlots(slots) &&
         copiesTextsPlainly() && isRegistered();
}

bool ztcore::addSlotPlainly(ztSlotMap *slots, const char *name, void *receiver, ztSlotFunction function) {
  auto *block = static_cast<SlotBlock *>(ztm_alloc(sizeof(SlotBlock)));
  if (block == nullptr) return false;
  block->living = 0;
  ztSlot *slot = &block->slot;
  beginPart(block, slot, ztSlotClass_Instance());
  slot->name = &block->name.string;
  slot->receiver = receiver;
  slot->function = function;
  if (!block->name.make(block, name)) {
    ztm_free(block);
    return false;
  }
  insertPlainly(asMap(slots), block, &block->item, receiver, slot);
  return true;
}

static void slotMapMethods(ztSlotMapMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, slotMapCreate);
  ZT_OVERRIDE_METHOD(methods, deleteItem, slotMapDeleteItem);
}

ZT_DEFINE_CLASS(ztSlotMap, ztMap, slotMapMethods)

int32_t ztSlotMap_key_compare_func(const void *first, const void *second) {
  return compareAt<uintptr_t>(first, second);
}

int32_t ztSlotMap_key_compare_func_ptr(const void *first, const void *second) {
  return compareWords<uintptr_t>(first, second);
}

int32_t ztSlotMap_value_compare_func(const void *first, const void *second) {
  if (first == nullptr || second == nullptr) return (first != nullptr) - (second != nullptr);
  const auto *one = static_cast<const ztSlot *>(first);
  const auto *other = static_cast<const ztSlot *>(second);
  if (one->receiver != other->receiver) {
    return compareWords<uintptr_t>(one->receiver, other->receiver);
  }
  return compareAt<uintptr_t>(&one->function, &other->function);
}

int32_t ztSlotMap_value_compare_func_ptr(const void *first, const void *second) {
  return ztSlotMap_value_compare_func(first, second);
}
