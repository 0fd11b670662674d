#include "tests/containers/elements.hh"

#include "containers/ztlists.h"
#include "core/ztmem.h"

#include <numeric>

using Counts = Counting<Counted, ztBaseClass_table>;

static int32_t countedCreate(void *object) {
  static_cast<Counted *>(object)->value = 0;
  return Counts::create(object);
}

static void *countedClone(const void *object, void *target) {
  if (static_cast<const Counted *>(object)->value == refusesToClone) return nullptr;
  return Counts::clone(object, target);
}

static void countedMethods(CountedMethods *methods) {
  Counts::overrideIn(methods);
  ZT_OVERRIDE_METHOD(methods, create, countedCreate);
  ZT_OVERRIDE_METHOD(methods, clone, countedClone);
}

ZT_DEFINE_CLASS(Counted, ztBaseClass, countedMethods)

static void countedTwinMethods(CountedTwinMethods *) {}

ZT_DEFINE_CLASS(CountedTwin, Counted, countedTwinMethods)

static int32_t countedLargerCreate(void *object) {
  if (!Counted_table()->create(object)) return 0;
  for (int64_t &word : static_cast<CountedLarger *>(object)->more) word = 0;
  return 1;
}

static void countedLargerMethods(CountedLargerMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, countedLargerCreate);
}

ZT_DEFINE_CLASS(CountedLarger, Counted, countedLargerMethods)

Counted *newCounted(int32_t value, ztCtor constructor) {
  auto *object = static_cast<Counted *>(constructor(nullptr, 1));
  object->value = value;
  return object;
}

int32_t compareCounted(const void *first, const void *second) {
  return ztIntList_compare_func(&static_cast<const Counted *>(first)->value,
                                &static_cast<const Counted *>(second)->value);
}

std::string policyName(Policy policy) {
  switch (policy) {
    case Policy::byValue:
      return "byValue";
    case Policy::byPointer:
      return "byPointer";
    default:
      return "constructed";
  }
}

Elements::Elements(Policy kept) : policy(kept), numbers(1000), object(newCounted(0)) {
  std::iota(numbers.begin(), numbers.end(), 0);
}

Elements::~Elements() {
  Counted_of(object)->unRef(object);
}

void Elements::configure(void *container) const {
  const auto *methods = ztSequenceContainer_of(container);
  const int32_t size = policy == Policy::byPointer ? int32_t{sizeof(void *)} : int32_t{sizeof(int32_t)};
  methods->setElementSize(container, size, policy == Policy::byPointer);
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
