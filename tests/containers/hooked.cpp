#include "tests/containers/hooked.hh"

#include "containers/ztarrays.h"
#include "io/ztfile.h"
#include "tests/containers/pairs.hh"

#include <algorithm>

int hookedLive;
const void *hookedSlot;
int clonesBegun;
int clonesBegunDirty;

static std::function<void()> hookFunction;
static Event hookedEvent;
static int othersBefore;
static bool called;
static int quiet;

Quiet::Quiet() {
  ++quiet;
}

Quiet::~Quiet() {
  --quiet;
}

Hook::Hook(Event event, int others, std::function<void()> function) {
  hookFunction = std::move(function);
  hookedEvent = event;
  othersBefore = others;
  called = false;
}

Hook::~Hook() {
  hookFunction = nullptr;
}

bool Hook::isCalled() {
  return called;
}

static void raise(Event event, const void *slot = nullptr) {
  if (hookFunction == nullptr || called || quiet > 0 || event != hookedEvent || othersBefore-- > 0) return;
  called = true;
  hookedSlot = slot;
  hookFunction();
}

static int32_t *newOwned(int32_t value) {
  auto *owned = static_cast<int32_t *>(ztm_alloc(sizeof(int32_t)));
  *owned = value;
  return owned;
}

static int32_t hookedCreate(void *object) {
  if (!ztBaseClass_table()->create(object)) return 0;
  raise(Event::create, object);
  auto *made = static_cast<Hooked *>(object);
  made->value = 0;
  made->owned = newOwned(0);
  ++hookedLive;
  return 1;
}

static void *hookedClone(const void *object, void *target) {
  const int32_t value = static_cast<const Hooked *>(object)->value;
  auto *copy = static_cast<Hooked *>(target);
  ++clonesBegun;
  if (copy->owned != nullptr) ++clonesBegunDirty;
  raise(Event::clone, target);
  copy->klass = HookedClass_Instance();
  copy->value = value;
  copy->owned = newOwned(value);
  ++hookedLive;
  return copy;
}

static int32_t hookedAssign(void *object, const void *other) {
  auto *target = static_cast<Hooked *>(object);
  const int32_t value = static_cast<const Hooked *>(other)->value;
  ztm_free(target->owned);
  target->owned = nullptr;
  raise(Event::assign, object);
  target->value = value;
  target->owned = newOwned(value);
  return 1;
}

static int32_t hookedRead(void *object, void *file) {
  auto *target = static_cast<Hooked *>(object);
  if (!ztFile_of(file)->readInt(file, &target->value)) return 0;
  raise(Event::read, object);
  *target->owned = target->value;
  return 1;
}

static int32_t hookedWrite(const void *object, void *file) {
  return ztFile_of(file)->writeInt(file, static_cast<const Hooked *>(object)->value);
}

static void hookedDestroy(void *object) {
  auto *ended = static_cast<Hooked *>(object);
  raise(Event::destroy, object);
  ztm_free(ended->owned);
  ended->owned = nullptr;
  --hookedLive;
}

static void hookedMethods(HookedMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, hookedCreate);
  ZT_OVERRIDE_METHOD(methods, clone, hookedClone);
  ZT_OVERRIDE_METHOD(methods, assign, hookedAssign);
  ZT_OVERRIDE_METHOD(methods, destroy, hookedDestroy);
  ZT_OVERRIDE_METHOD(methods, read, hookedRead);
  ZT_OVERRIDE_METHOD(methods, write, hookedWrite);
}

ZT_DEFINE_CLASS(Hooked, ztBaseClass, hookedMethods)

namespace {

// Has the class registered, which takes blocks, ahead of every test that counts them.
class HookedClass : public testing::Environment {
 public:
  void SetUp() override {
    ztm_free(Hooked_newop());
  }
};

[[maybe_unused]] const auto *const hookedClass = testing::AddGlobalTestEnvironment(new HookedClass);

}  // namespace

HookedObject hooked(int32_t value) {
  const Quiet making;
  HookedObject object(Hooked_ctor);
  object.fields().value = value;
  *object.fields().owned = value;
  return object;
}

int32_t compareHookedNumbers(const void *first, const void *second) {
  raise(Event::compare);
  return ztIntArray_compare_func(first, second);
}

int32_t compareHooked(const void *first, const void *second) {
  const int32_t one = static_cast<const Hooked *>(first)->value;
  const int32_t other = static_cast<const Hooked *>(second)->value;
  raise(Event::compare);
  return ztIntArray_compare_func(&one, &other);
}

bool isWhole(const void *object) {
  const auto *hookedObject = static_cast<const Hooked *>(object);
  return hookedObject->klass == HookedClass_Instance() && hookedObject->owned != nullptr &&
         *hookedObject->owned == hookedObject->value;
}

static int32_t valueOf(const void *object) {
  EXPECT_TRUE(isWhole(object));
  return static_cast<const Hooked *>(object)->value;
}

void configureHooked(void *container) {
  const ztSequenceContainerMethods *methods = ztSequenceContainer_of(container);
  methods->setElementConstructor(container, Hooked_ctor);
  methods->setElementSize(container, sizeof(Hooked), 0);
  methods->setCompareFunction(container, compareHooked);
}

void *newArray(const Numbers &numbers) {
  return newSequence(ztArray_ctor, &ztArrayMethods::pushBack, numbers);
}

void *newList(const Numbers &numbers) {
  return newSequence(ztList_ctor, &ztListMethods::pushBack, numbers);
}

void *newTree(const Numbers &numbers) {
  return newSequence(ztAvlTree_ctor, &ztAvlTreeMethods::push, numbers);
}

void configureHookedMap(void *map) {
  const ztMapMethods *methods = ztMap_of(map);
  methods->setKeyConstructor(map, Hooked_ctor);
  methods->setValueConstructor(map, Hooked_ctor);
  methods->setCompareFunction(map, compareHooked);
}

void *newMap(const Numbers &numbers) {
  const Quiet making;
  void *map = ztMap_ctor(nullptr, 1);
  configureHookedMap(map);
  for (const int32_t number : numbers) ztMap_of(map)->pushBack(map, hooked(number), hooked(-number));
  return map;
}

void configureHookedTable(void *table) {
  const ztHashTableMethods *methods = ztHashTable_of(table);
  methods->setKeySize(table, sizeof(int32_t), 0);
  methods->setValueConstructor(table, Hooked_ctor);
  methods->setCompareFunction(table, ztIntArray_compare_func);
  methods->setSize(table, 2);
}

void *newTable(const Numbers &numbers) {
  const Quiet making;
  void *table = ztHashTable_ctor(nullptr, 1);
  configureHookedTable(table);
  for (const int32_t number : numbers) putIntoTable(table, number);
  return table;
}

int32_t putIntoTable(void *table, int32_t number) {
  return ztHashTable_of(table)->insert(table, &number, hooked(number));
}

Numbers inArray(const void *array) {
  Numbers numbers;
  for (int32_t i = 0; i < ztArray_of(array)->getSize(array); ++i) {
    numbers.push_back(valueOf(ztArray_of(array)->getAt(array, i)));
  }
  return numbers;
}

Numbers inList(const void *container) {
  const auto *list = static_cast<const ztList *>(container);
  Numbers numbers;
  const ztListItem *before = nullptr;
  for (const ztListItem *item = list->head; item != nullptr; item = item->next) {
    EXPECT_EQ(item->prev, before);
    numbers.push_back(valueOf(item->data));
    before = item;
  }
  EXPECT_EQ(list->tail, before);
  EXPECT_EQ(list->count, numbers.size());
  return numbers;
}

Numbers inTree(const void *tree) {
  EXPECT_EQ(faultOf(tree), "");
  Numbers numbers;
  for (const ztAvlTreeItem *item : itemsIn(tree)) numbers.push_back(valueOf(item->data));
  return numbers;
}

Numbers keysInMap(const void *map) {
  const void *tree = static_cast<const ztMap *>(map)->tree;
  for (const ztAvlTreeItem *item : itemsIn(tree)) {
    EXPECT_EQ(valueOf(reinterpret_cast<const ztMapItem *>(item)->value), -valueOf(item->data));
  }
  return inTree(tree);
}

Numbers inTable(const void *table) {
  Numbers numbers;
  for (const ztHashTableItem *item : itemsInTable(table)) {
    numbers.push_back(valueOf(item->value));
    EXPECT_EQ(*static_cast<const int32_t *>(item->data), numbers.back());
  }
  std::sort(numbers.begin(), numbers.end());
  return numbers;
}
