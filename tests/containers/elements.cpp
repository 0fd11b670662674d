#include "tests/containers/elements.hh"

#include "containers/ztlists.h"
#include "core/ztmem.h"
#include "io/ztfile.h"

#include <numeric>

using Counts = Counting<Counted, ztBaseClass_table>;

static void countedMethods(CountedMethods *methods) {
  Counts::overrideIn(methods);
  methods->create = [](void *object) {
    static_cast<Counted *>(object)->value = 0;
    static_cast<Counted *>(object)->owned = new int32_t;
    return Counts::create(object);
  };
  methods->clone = [](const void *object, void *target) -> void * {
    if (static_cast<const Counted *>(object)->value == refusesToClone) return nullptr;
    void *copy = Counts::clone(object, target);
    static_cast<Counted *>(copy)->owned = new int32_t;
    return copy;
  };
  methods->assign = [](void *object, const void *other) {
    static_cast<Counted *>(object)->value = static_cast<const Counted *>(other)->value;
    return 1;
  };
  methods->destroy = [](void *object) {
    delete static_cast<Counted *>(object)->owned;
    Counts::destroy(object);
  };
  methods->read = [](void *object, void *file) {
    return ztFile_of(file)->readInt(file, &static_cast<Counted *>(object)->value);
  };
  methods->write = [](const void *object, void *file) {
    return ztFile_of(file)->writeInt(file, static_cast<const Counted *>(object)->value);
  };
}

ZT_DEFINE_CLASS(Counted, ztBaseClass, countedMethods)

static void countedTwinMethods(CountedTwinMethods *) {}

ZT_DEFINE_CLASS(CountedTwin, Counted, countedTwinMethods)

static void countedLargerMethods(CountedLargerMethods *methods) {
  methods->create = [](void *object) {
    for (int64_t &word : static_cast<CountedLarger *>(object)->more) word = 0;
    return Counted_table()->create(object);
  };
}

ZT_DEFINE_CLASS(CountedLarger, Counted, countedLargerMethods)

Counted *newCounted(int32_t value, ztCtor constructor) {
  auto *object = static_cast<Counted *>(constructor(nullptr, 1));
  object->value = value;
  return object;
}

CountedObject counted(int32_t value, ztCtor constructor) {
  return CountedObject(newCounted(value, constructor));
}

int32_t compareCounted(const void *first, const void *second) {
  return ztIntList_compare_func(&static_cast<const Counted *>(first)->value,
                                &static_cast<const Counted *>(second)->value);
}

std::string policyName(Policy policy) {
  const char *const names[] = {"byValue", "byPointer", "constructed"};
  return names[static_cast<int>(policy)];
}

std::ostream &operator<<(std::ostream &out, Policy policy) {
  return out << policyName(policy);
}

Elements::Elements(Policy kept) : policy(kept), numbers(1000), object(newCounted(0)) {
  std::iota(numbers.begin(), numbers.end(), 0);
}

Elements::~Elements() {
  Counted_of(object)->unRef(object);
}

void Elements::configure(void *container) const {
  const auto *methods = ztSequenceContainer_of(container);
  const int32_t sizes[] = {sizeof(int32_t), sizeof(void *), sizeof(Counted)};
  methods->setElementSize(container, sizes[static_cast<int>(policy)], policy == Policy::byPointer);
  methods->setElementConstructor(container, policy == Policy::constructed ? Counted_ctor : nullptr);
  methods->setCompareFunction(container,
                              policy == Policy::constructed ? compareCounted : ztIntList_compare_func);
}

const void *Elements::make(int32_t number) {
  if (policy != Policy::constructed) return &numbers[static_cast<size_t>(number)];
  object->value = number;
  return object;
}

int32_t Elements::numberOf(const void *stored) const {
  if (policy == Policy::constructed) return static_cast<const Counted *>(stored)->value;
  return *static_cast<const int32_t *>(stored);
}

bool Elements::isCopy(const void *stored) const {
  if (policy == Policy::constructed) return stored != object;
  const auto *number = static_cast<const int32_t *>(stored);
  return number < numbers.data() || number >= numbers.data() + numbers.size();
}

void Elements::release(void *handed) const {
  if (policy == Policy::byValue) ztm_free(handed);
  if (policy == Policy::constructed) Counted_of(handed)->unRef(handed);
}

Numbers numbersOf(const ztList &list, const Elements &elements) {
  Numbers numbers;
  const ztListItem *before = nullptr;
  for (const ztListItem *item = list.head; item != nullptr; item = item->next) {
    EXPECT_EQ(item->prev, before);
    numbers.push_back(elements.numberOf(item->data));
    before = item;
  }
  EXPECT_EQ(list.tail, before);
  EXPECT_EQ(list.count, numbers.size());
  EXPECT_EQ(ztList_of(&list)->getSize(&list), static_cast<int32_t>(numbers.size()));
  return numbers;
}
